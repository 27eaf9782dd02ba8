"""Makes the changes that mutants.py finds, one at a time in copies of the tree, and runs the tests that concern them."""
import argparse, collections, concurrent.futures, contextlib, itertools, json, multiprocessing, os, pathlib, random, re
import shlex, signal, subprocess, threading, time
import mutants

ROOT = pathlib.Path(__file__).resolve().parent.parent
FILES = '(?=(handler|camera|ptz|events|refhost)/)'
TARGETS = 'plugin_test plugin_exports_test refhost_test http_test vornhost_test vornhost_parts_test'.split()
# Which tests run first, by the beginning of the path. Then come the area's others, those that take long at last.
FIRST = {'camera/set': 'Setting|SetdataParser', 'camera/(capability|numbers)': 'Capability', 'camera/ptz': 'Ptz',
         'camera/(codec|stream)': 'Video|CodecConversion', 'camera/audio': 'Audio', 'camera/alarm': 'AlarmInputs',
         'camera/(image|lens|adj)': 'ImageAndLens', 'camera/transport': 'Transport', 'camera/(pan|cam)': 'Camera',
         'ptz/': 'PtzController', 'events/dry': 'DryContact', 'events/': 'EventElement', 'handler/object': 'Exports',
         'handler/': 'Handler', 'refhost/(http|cgi|secrets)': 'Http|Secrets', 'refhost/model': 'ModelList', '': '.'}
LONG = 'StartUp|ItIsTakenDown|GivesUpAfter'
def steps(name):
    """The steps of testing a change in a file: area, which tests, which not, how many at once, seconds for one."""
    area, others = ('refhost', ['vornhost', 'plugin']) if 'refhost/' in name else ('plugin', ['vornhost'])
    first = next(f'^({tests})' for beginning, tests in FIRST.items() if re.match(beginning, name))
    return [(area, first, LONG, 2, 60), (area, '.', f'{first}|{LONG}', 2, 60), (area, LONG, '^$', 4, 180),
            *((other, '.', '^$', 4, 180) for other in others)]
class Worker:
    """A copy of the tree with a build of its own; both stay for the next run."""
    def __init__(self, number):
        self.folder, self.process = ROOT / 'build-mutation' / str(number), None
        self.tree, self.build = self.folder / 'tree', self.folder / 'build'
        self.tree.mkdir(parents=True, exist_ok=True)
        # With the times of now, so that what is written is built again.
        failed = self.run('rsync', '-a', '--no-times', '--checksum', '--delete', '--exclude=/build*', '--exclude=.git',
                          f'{ROOT}/', self.tree)[0] or self.run(
            'cmake', '-G', 'Ninja', '-S', self.tree, '-B', self.build, '-DCMAKE_CXX_COMPILER=clang++',
            '-DCMAKE_BUILD_TYPE=None', '-DCMAKE_EXPORT_COMPILE_COMMANDS=ON', '-DCMAKE_LINK_DEPENDS_NO_SHARED=ON')[0]
        if failed or self.make()[0]:
            raise SystemExit(f'it cannot be built without a change either: see {self.folder}/last.log')
        self.unchanged = {path: path.read_bytes() for path in (self.build / 'lib').glob('*.so')}
    def run(self, *command, **variables):
        """The exit status and the output. What the command leaves running ends with it."""
        variables = {**os.environ, 'CCACHE_BASEDIR': str(self.folder), 'CCACHE_NOHASHDIR': '1', **variables}
        with open(self.folder / 'last.log', 'w+', errors='replace') as log:
            self.process = subprocess.Popen(command, stdout=log, stderr=log, env=variables, start_new_session=True)
            try:
                status = self.process.wait()
            finally:
                self.end()
            log.seek(0)
            return status, log.read()
    def end(self):
        with contextlib.suppress(ProcessLookupError):
            os.killpg(self.process.pid, signal.SIGKILL)
    def make(self, **variables):
        return self.run('cmake', '--build', self.build, '-j2', '--target', *TARGETS, **variables)
    def test(self, area, which='.', which_not='^$', jobs=4, timeout=180):
        """How many tests passed, and how the first ended that did not."""
        failed, output = self.run(
            'prlimit', '--core=0', '--as=8000000000', '--fsize=1000000000', 'ctest', '--test-dir',
            self.build / 'tests' / area, '-R', which, '-E', f'{which_not}|^ForeignLocale', '-j', str(jobs), '--timeout', str(timeout),
            '--stop-on-failure')
        ends = re.findall(r'Test +#\d+: (\S+) .*?(Passed|\*{3}\S.*?) +[0-9.]+ sec', output)
        failures = [f'{name} {end.strip("*:")}' for name, end in ends if end != 'Passed'] or ['the list of tests']
        return len(ends), failures[0] if failed else ''
    def count_tests(self):
        results = {area: self.test(area) for area in ('plugin', 'refhost', 'vornhost')}
        if any(failure for _, failure in results.values()):
            raise SystemExit(f'tests fail without a change too: {results}')
        return {area: number for area, (number, _) in results.items()}
    def changes(self, pattern):
        root, units = f'{self.tree}/', {}
        for entry in json.loads((self.build / 'compile_commands.json').read_text()):
            arguments = shlex.split(re.sub(r' -Xclang \S+', '', entry['command']))  # no precompiled headers
            name = entry['file'].removeprefix(root)
            if re.match(FILES, name):
                units[name] = entry['file'], arguments[1:arguments.index('-o')], root, FILES + pattern
        wanted = [units[name] for name in units if re.match(pattern, name)] or units.values()  # those of a header
        with multiprocessing.Pool(2, signal.signal, (signal.SIGTERM, signal.SIG_DFL)) as pool:
            return sorted(set().union(*pool.starmap(mutants.find, wanted)))
    def describe(self, name, start, end, replacement):
        """The place, and the change with what stands around it."""
        text = (self.tree / name).read_text(encoding='latin-1')
        around = text[max(start - 20, 0):start], text[end:end + 20]
        sides = [' '.join(middle.join(around).split()) for middle in (text[start:end], replacement)]
        return f'{name}:{text.count(chr(10), 0, start) + 1}', ' → '.join(sides)
    def judge(self, counts, name, start, end, replacement):
        """What became of the change, and by what; `counts` has the number of each area's tests."""
        path, ran = self.tree / name, collections.Counter()
        library = self.build / 'lib' / ('librefhost.so' if 'refhost/' in name else 'libpanasonic_handler.so')
        original = path.read_bytes()
        path.write_bytes(original[:start] + replacement.encode('latin-1') + original[end:])
        try:
            if self.make(CCACHE_READONLY='1')[0]:
                return 'not compiled', ''
            if library.read_bytes() == self.unchanged[library]:
                return 'same code', ''
            for area, *step in steps(name):
                number, failure = self.test(area, *step)
                ran[area] += number
                if failure:
                    return 'caught', failure
            if ran != {area: counts[area] for area in ran}:
                raise RuntimeError(f'{ran} tests of {counts} ran')
            return 'survived', ', '.join(f'{number} of {area}_test' for area, number in ran.items())
        finally:
            path.write_bytes(original)
def draw(changes, seed):
    """The order to make them in: one of each place before a second one, or the tables would outweigh the rest."""
    random.Random(seed).shuffle(changes)
    places = collections.defaultdict(itertools.count)
    return collections.deque(sorted(changes, key=lambda change: next(places[change[0], change[1] // 60])))
def report(results):
    verdicts = collections.Counter(verdict for verdict, *_ in results)
    for row in sorted(row[1:] for row in results if row[0] == 'survived'):
        print(*row, sep='  ')
    made, timeouts = verdicts['caught'] + verdicts['survived'], sum(row[3].endswith('Timeout') for row in results)
    print(f"{made} made, {verdicts['caught']} caught ({timeouts} by time-out), {verdicts['survived']} survived, "
          f"{verdicts['not compiled']} not compiled, {verdicts['same code']} without effect; "
          f"{100 * verdicts['caught'] / max(made, 1):.0f} % caught")
def main():
    parser = argparse.ArgumentParser(prog='scripts/mutation')
    parser.add_argument('number', nargs='?', type=int, default=50, metavar='N')
    parser.add_argument('--seed', type=int, default=random.randrange(10**6))
    parser.add_argument('--files', default='', metavar='PATTERN')
    parser.add_argument('--keep', default='/dev/stderr', metavar='FILE')
    options = parser.parse_args()
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    print(f'==> building; the seed is {options.seed}', flush=True)
    workers, results, lock = [Worker(1), Worker(2)], [], threading.Lock()
    changes = draw(workers[0].changes(options.files), options.seed)
    def work(worker, counts):
        while True:
            with lock:
                if not options.number or not changes:
                    return
                options.number, change, began = options.number - 1, changes.popleft(), time.monotonic()
            verdict, reason = worker.judge(counts, *change)
            with lock:
                options.number += verdict not in ('caught', 'survived')
                results.append((verdict, *worker.describe(*change), reason))
                print(*results[-1], f'{time.monotonic() - began:.0f} s', sep='\t', file=keep, flush=True)

    with open(options.keep, 'a') as keep, concurrent.futures.ThreadPoolExecutor() as pool:
        try:
            print(f'==> testing without a change, then with {options.number} of {len(changes)}', flush=True)
            list(pool.map(work, workers, list(pool.map(Worker.count_tests, workers))))
        except KeyboardInterrupt:
            lock.acquire()  # what the threads see from now on is no result
            for worker in workers:
                worker.end()
            os._exit(1)
    report(results)

if __name__ == '__main__':
    main()
