"""soak_service.py BUILD: a service, used for long by many while its cameras fail at random. What must hold:

- its memory, threads and descriptors do not grow once it has seen everything (the second half is held against what was there
  at its beginning);
- no event client misses an event without being told so by a resync, whether it stays or comes back with the id that it had last;
- every answer has a status that the request may have, and none takes longer than a camera's own limits;
- when the faults have gone, all cameras are up, and the level of every input is the camera's;
- it ends when it is told to, with 0."""
import argparse, collections, http.client, pathlib, random, statistics, sys, tempfile, threading, time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / 'tests/support'))
from world import Camsim, Service, events_of, wait_for

EVENT_CLIENTS, PICTURE_CLIENTS, CALLERS, FAULTS_AT_A_TIME = 20, 5, 4, 10
MODELS = ('D850', 'D870', 'F320', 'GXE500', 'L115', 'S202')
FAULTS = ('web-refused', 'web-silent', 'web-closed', 'identify-no-answer', 'settings-no-answer', 'settings-dropped',
          'settings-unavailable', 'settings-garbage', 'wrong-password', 'monitor-dropped', 'monitor-silent', 'monitor-closes',
          'monitor-no-answer', 'write-dropped', 'write-ignored', 'position-no-answer', 'rtsp-refused', 'stream-silent', 'stream-lost',
          'answers-slow', 'answers-lost')
LONGEST_ANSWER = 60  # seconds: of a call that waits for others of a camera which is silent
GROWTH = 1.05
# Of a read, of what a camera may refuse, and of what waits for others.
EXPECTED = {'GET': {200, 204, 503}, 'POST': {200, 202, 409, 422, 502, 503}, 'PATCH': {200, 409, 422, 502, 503}, 'DELETE': {204, 409, 503}}


class Soak:
    def __init__(self, build, seconds, cameras, seed):
        self.folder = tempfile.TemporaryDirectory()
        path = pathlib.Path(self.folder.name)
        words = [word for model in MODELS for word in ('--model', model)]
        # Addresses of their own: the RTSP port is the same at each.
        self.camsim = Camsim(build, path, '--listen', '127.0.110.1:0', '--addresses', 'consecutive-hosts', '--count', str(cameras),
                             '--reboot-seconds', '2', *words)
        names = {f'c{i}': address for i, address in enumerate(self.camsim.cameras)}
        self.service = Service(build, path, {'cameras': [{'name': name, 'address': address} for name, address in names.items()]},
                               '--drift-minutes', '5')
        self.token = self.service.add_token('soak', 'operate')
        self.names, self.seconds, self.seed = list(names), seconds, seed
        self.until = time.monotonic() + seconds
        self.counts, self.complaints = collections.Counter(), []
        self.samples = []
        self.lock = threading.Lock()  # guards the counts and complaints

    def count(self, what, number=1):
        with self.lock:
            self.counts[what] += number

    def complain(self, what):
        with self.lock:
            self.complaints.append(what)

    def is_on(self):
        return time.monotonic() < self.until and self.service.is_running()

    # Each runs on a thread of its own until the time is over.

    def fail_cameras(self, chance):
        present = collections.deque()
        while self.is_on():
            camera = chance.randrange(len(self.names))
            if all(camera != one for one, _ in present):
                added = self.camsim.ask('POST', '/faults', {'name': chance.choice(FAULTS), 'camera': camera})
                present.append((camera, added['ids'][0]))
                self.count('faults')
            if len(present) > FAULTS_AT_A_TIME:
                self.camsim.ask('DELETE', f'/faults/{present.popleft()[1]}')
            if chance.random() < 0.2:
                self.camsim.ask('POST', f'/cameras/{chance.randrange(len(self.names))}/reboot', {})
                self.count('restarts')
            time.sleep(chance.uniform(0.5, 3))
        self.camsim.no_faults()

    def change_inputs(self, chance):
        watched = [i for i in range(len(self.names)) if self.camsim.ask('GET', f'/cameras/{i}/inputs')]
        while self.is_on():
            self.camsim.set_input(chance.choice(('High', 'Low')), chance.choice(watched))
            self.count('input changes')
            time.sleep(chance.uniform(0.01, 0.2))

    def listen(self, chance):
        last = None
        while self.is_on():
            headers = {'Last-Event-ID': last} if last else {}
            leaves = time.monotonic() + chance.uniform(1, 120)
            try:
                connection, reply = self.service.open_stream('/events', self.token, **headers)
            except OSError as error:
                self.complain(f'events: {error!r}')
                continue
            try:
                last = self.follow(reply, last, leaves)
            except (OSError, http.client.HTTPException):
                self.count('event streams cut off')
            finally:
                connection.close()
            self.count('event streams')

    def follow(self, reply, last, leaves):
        for kind, number, _ in events_of(reply):
            self.count('events')
            if kind == 'resync':
                self.count('resyncs')
            elif kind != 'heartbeat' and last and not self.follows(number, last):
                self.complain(f'an event client has {last} and then {number}, and no resync between them')
            last = number or last
            if time.monotonic() > leaves or not self.is_on():
                break
        return last

    @staticmethod
    def follows(number, last):
        epoch, _, count = number.partition('-')
        before, _, counted = last.partition('-')
        return epoch == before and int(count) == int(counted) + 1

    def look(self, chance):
        while self.is_on():
            name, leaves = chance.choice(self.names), time.monotonic() + chance.uniform(5, 60)
            try:
                connection, reply = self.service.open_stream(f'/cameras/{name}/picture.mjpeg?fps=5', self.token)
                while time.monotonic() < leaves and self.is_on() and (line := reply.readline()):
                    self.count('pictures', line.startswith(b'Content-Type: image/jpeg'))
                if reply.status not in EXPECTED['GET']:
                    self.complain(f'pictures of {name}: {reply.status}')
                connection.close()
            except (OSError, http.client.HTTPException):
                self.count('picture streams without a picture for long')
            time.sleep(0.2)

    def call(self, chance):
        while self.is_on():
            name = chance.choice(self.names)
            method, path, body = chance.choice((
                ('GET', '/cameras', None), ('GET', f'/cameras/{name}', None), ('GET', '/metrics', None),
                ('GET', f'/cameras/{name}/requests', None), ('GET', f'/cameras/{name}/history', None),
                ('GET', f'/cameras/{name}/picture.jpg', None),
                ('POST', f'/cameras/{name}/calls', {'operation': 'getVpaBrightness', 'arguments': ['0']}),
                ('POST', f'/cameras/{name}/check', {}), ('POST', f'/cameras/{name}/move', {'pan': chance.randint(-100, 100)}),
                ('DELETE', f'/cameras/{name}/move', None),
                ('PATCH', f'/cameras/{name}/adjustments', {'brightness': str(chance.randrange(101))})))
            began = time.monotonic()
            try:
                status, told = self.service.ask(method, path, self.token, body)
            except (OSError, http.client.HTTPException) as error:
                self.complain(f'{method} {path}: {error!r}')
                continue
            self.count(f'{method} {status}')
            if status not in EXPECTED[method]:
                self.complain(f'{method} {path}: {status} {told}')
            if time.monotonic() - began > LONGEST_ANSWER:
                self.complain(f'{method} {path}: after {time.monotonic() - began:.0f} s')
            time.sleep(chance.uniform(0, 0.2))

    def sample(self, _):
        process = pathlib.Path('/proc') / str(self.service.process.pid)
        begin = told = time.monotonic()
        while self.is_on():
            status = dict(line.split(':\t') for line in (process / 'status').read_text().splitlines() if ':\t' in line)
            ticks = sum(map(int, (process / 'stat').read_text().rpartition(')')[2].split()[11:13]))
            self.samples.append((time.monotonic() - begin, int(status['VmRSS'].split()[0]) / 1024, int(status['Threads']),
                                 len(list((process / 'fd').iterdir())), ticks / 100))
            if time.monotonic() - told >= self.seconds / 12:
                told = time.monotonic()
                print('{:6.0f} s: {:.0f} MiB, {} threads, {} descriptors, {:.0f} s of CPU'.format(*self.samples[-1]), flush=True)
            time.sleep(1)

    def run(self):
        wait_for('an answer to all', self.service.is_ready)
        work = [self.fail_cameras, self.change_inputs, self.sample, *[self.listen] * EVENT_CLIENTS, *[self.look] * PICTURE_CLIENTS,
                *[self.call] * CALLERS]
        threads = [threading.Thread(target=self.guarded, args=(one, random.Random(self.seed * 1000 + number)))
                   for number, one in enumerate(work)]
        for one in threads:
            one.start()
        for one in threads:
            one.join()
        assert self.service.is_running(), 'the service has ended'
        self.settle()
        self.hold_flat()

    def guarded(self, work, chance):
        try:
            work(chance)
        except Exception as error:  # ends this thread alone, and the soak with it
            self.complain(f'{work.__name__}: {error!r}')

    def settle(self):
        wait_for('all cameras up', lambda: all(one['state'] == 'up' for one in self.service.cameras(self.token).values()), 180, 1)
        wait_for('each input as it is', self.are_levels_right, 60, 1)

    def are_levels_right(self):
        cameras = self.service.cameras(self.token)
        for place, name in enumerate(self.names):
            levels = self.camsim.ask('GET', f'/cameras/{place}/inputs')
            for one in cameras[name]['inputs']:
                if one['state'] != ('active' if levels[str(one['input'] + 1)] == 'High' else 'inactive'):
                    return False
        return True

    def hold_flat(self):
        halfway = self.samples[len(self.samples) // 2:]
        part = max(1, len(halfway) // 5)
        for name, place in (('MiB', 1), ('threads', 2), ('descriptors', 3)):
            before, after = (statistics.median(one[place] for one in some) for some in (halfway[:part], halfway[-part:]))
            print(f'{name}: {before:.0f} in the middle, {after:.0f} at the end, '
                  f'{max(one[place] for one in self.samples):.0f} at most')
            if after > before * GROWTH + 2:
                self.complain(f'{name} have grown from {before:.0f} to {after:.0f}')

    def end(self):
        status = self.service.end() if self.service.is_running() else self.service.process.returncode
        if status != 0:
            self.complain(f'the service ended with {status}: {self.service.errors.read_text()[-2000:]}')
        self.camsim.end()
        self.folder.cleanup()


def main():
    options = argparse.ArgumentParser(description=__doc__)
    options.add_argument('build', type=pathlib.Path)
    options.add_argument('--seconds', type=int, required=True)
    options.add_argument('--cameras', type=int, required=True)
    options.add_argument('--seed', type=int, required=True)
    chosen = options.parse_args()
    soak = Soak(chosen.build, chosen.seconds, chosen.cameras, chosen.seed)
    try:
        soak.run()
    except AssertionError as error:
        soak.complain(str(error))
    finally:
        soak.end()
    print(*(f'{what}: {number}' for what, number in sorted(soak.counts.items())), sep='\n')
    print(*(f'{what} ({number} times)' for what, number in collections.Counter(soak.complaints).most_common()), sep='\n')
    print(f'{len(soak.complaints)} complaints')
    sys.exit(1 if soak.complaints or not soak.counts['events'] or not soak.counts['pictures'] else 0)


main()
