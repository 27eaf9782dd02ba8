"""Makes the changes that mutants.py finds, one at a time in copies of the tree, and runs the tests for each."""
import argparse, collections, contextlib, itertools, json, multiprocessing, os, pathlib, random, re, shlex, signal
import subprocess, sys, time
import mutants

ROOT = pathlib.Path(__file__).resolve().parent.parent
FILES = '(?=(handler|camera|ptz|events|refhost)/)'
AREAS = ('plugin', 'refhost', 'vornhost')
TARGETS = 'plugin_test plugin_exports_test refhost_test http_test vornhost_test vornhost_parts_test'.split()
class Worker:
    """A copy of the tree with a build of its own; both stay for the next run."""
    def __init__(self, number):
        self.folder = ROOT / 'build-mutation' / str(number)
        self.tree, self.build = self.folder / 'tree', self.folder / 'build'
        self.tree.mkdir(parents=True, exist_ok=True)
        # With the times of now, so that what is written is built again.
        failed = self.run('rsync', '-a', '--no-times', '--checksum', '--delete', '--exclude=/build*', '--exclude=.git',
                          f'{ROOT}/', self.tree)[0] or self.run(
            'cmake', '-G', 'Ninja', '-S', self.tree, '-B', self.build, '-DCMAKE_CXX_COMPILER=clang++',
            '-DCMAKE_BUILD_TYPE=None', '-DCMAKE_EXPORT_COMPILE_COMMANDS=ON', '-DCMAKE_LINK_DEPENDS_NO_SHARED=ON')[0]
        if failed or self.make()[0]:
            raise SystemExit(f'it cannot be built without a change either: see {self.folder}/last.log')
        self.unchanged = {path: hash(path.read_bytes()) for path in (self.build / 'lib').glob('*.so')}
        self.counts, failures = zip(*map(self.test, AREAS))
        if any(failures):
            raise SystemExit(f'tests fail without a change too: {failures}')
    def run(self, *command, **variables):
        """The exit status and the output. What the command leaves running ends with it."""
        variables = {**os.environ, 'CCACHE_BASEDIR': str(self.folder), 'CCACHE_NOHASHDIR': '1', **variables}
        with open(self.folder / 'last.log', 'w+', errors='replace') as log:
            process = subprocess.Popen(command, stdout=log, stderr=log, env=variables, start_new_session=True)
            try:
                status = process.wait()
            finally:
                with contextlib.suppress(ProcessLookupError):
                    os.killpg(process.pid, signal.SIGKILL)
            log.seek(0)
            return status, log.read()
    def make(self, **variables):
        return self.run('cmake', '--build', self.build, '-j2', '--target', *TARGETS, **variables)
    def test(self, area, which='.', which_not='^$'):
        """How many tests passed, and how the first ended that did not."""
        failed, output = self.run(
            'prlimit', '--core=0', '--as=8000000000', '--fsize=1000000000', 'ctest', '--test-dir',
            self.build / 'tests' / area, '-R', which, '-E', f'{which_not}|^ForeignLocale', '-j3', '--timeout', '120',
            '--stop-on-failure')
        ends = re.findall(r'Test +#\d+: (\S+) .*?(Passed|\*{3}\S.*?) +[0-9.]+ sec', output)
        failures = [f'{name} {end.strip("*:")}' for name, end in ends if end != 'Passed'] or ['the list of tests']
        return len(ends), failures[0] if failed else ''
    def units(self, pattern):
        """What mutants.find() is to be called with."""
        root, units = f'{self.tree}/', {}
        for entry in json.loads((self.build / 'compile_commands.json').read_text()):
            arguments = shlex.split(re.sub(r' -Xclang \S+', '', entry['command']))  # no precompiled headers
            name = entry['file'].removeprefix(root)
            if re.match(FILES, name):
                units[name] = entry['file'], arguments[1:arguments.index('-o')], root, FILES + pattern
        return [units[name] for name in units if re.match(pattern, name)] or units.values()  # those of a header
    def describe(self, name, start, end, replacement):
        """The place, and the change with what stands around it."""
        text = (self.tree / name).read_text(encoding='latin-1')
        before, after = text[max(start - 20, 0):start], text[end:end + 20]
        change = f'{before}{text[start:end]}{after} → {before}{replacement}{after}'
        return f'{name}:{text.count(chr(10), 0, start) + 1}', ' '.join(change.split())
    def judge(self, name, start, end, replacement):
        """What became of the change, and by what."""
        path, ran = self.tree / name, collections.Counter()
        library = self.build / 'lib' / ('libvornhost.so' if 'refhost/' in name else 'libpanasonic_handler.so')
        original = path.read_bytes()
        path.write_bytes(original[:start] + replacement.encode('latin-1') + original[end:])
        try:
            if self.make(CCACHE_READONLY='1')[0]:
                return 'not compiled', ''
            if hash(library.read_bytes()) == self.unchanged[library]:
                return 'same code', ''
            area, *others = ('refhost', 'vornhost', 'plugin') if 'refhost/' in name else ('plugin', 'vornhost')
            first = re.split('[_.]', path.name)[0].capitalize()  # the tests that are named like it
            for area, *which in [(area, first), (area, '.', first), *zip(others)]:
                number, failure = self.test(area, *which)
                ran[area] += number
                if failure:
                    return 'caught', failure
            if not ran.items() <= set(zip(AREAS, self.counts)):
                raise RuntimeError(f'{ran} tests of {self.counts} ran')
            return 'survived', ', '.join(f'{number} of {area}_test' for area, number in ran.items())
        finally:
            path.write_bytes(original)
def begin(workers):
    judge.worker = workers.get()  # that of this process
def judge(change):
    began = time.monotonic()
    verdict, reason = judge.worker.judge(*change)
    return (verdict, *judge.worker.describe(*change), reason, f'{time.monotonic() - began:.0f} s')
def report(results):
    verdicts = collections.Counter(verdict for verdict, *_ in results)
    for row in sorted(row[1:4] for row in results if row[0] == 'survived'):
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
    for end in (signal.SIGINT, signal.SIGTERM):
        signal.signal(end, lambda *_: sys.exit(1))
    print(f'==> building, and testing without a change; the seed is {options.seed}', flush=True)
    workers, results = multiprocessing.SimpleQueue(), []
    for made in (Worker(1), Worker(2)):
        workers.put(made)
    with open(options.keep, 'a') as keep, multiprocessing.Pool(2, begin, (workers,)) as pool:
        found = pool.starmap(mutants.find, made.units(options.files))
        changes, places = sorted(set().union(*found)), collections.defaultdict(itertools.count)
        random.Random(options.seed).shuffle(changes)
        # One of each place before a second one, or the tables would outweigh the rest.
        changes.sort(key=lambda change: next(places[change[0], change[1] // 60]))
        print(f'==> testing {options.number} of {len(changes)} changes', flush=True)
        for result in pool.imap_unordered(judge, changes):
            print(*result, sep='\t', file=keep, flush=True)
            results.append(result)
            if sum(verdict in ('caught', 'survived') for verdict, *_ in results) >= options.number:
                break
    report(results)
main()
