"""try_together.py BUILD CAMERAS: see scripts/try-together."""
import collections, json, pathlib, signal, subprocess, sys, tempfile, threading, time, urllib.parse, urllib.request

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / 'tests/support'))
from world import Camsim, Service, events_of, free_port, wait_for

SERVICES = ('north', 'south')
A_MINUTE = 60
complaints = []


def complain(what):
    complaints.append(what)
    print(f'  WRONG: {what}', flush=True)


class Broker:
    """Keeps nothing on disk: what it retained is gone when it is killed."""

    def __init__(self, folder):
        self.port = free_port()
        self.file = folder / 'mosquitto.conf'
        self.file.write_text(f'listener {self.port} 127.0.0.1\nallow_anonymous true\npersistence false\nlog_dest none\n')
        self.start()

    def start(self):
        self.process = subprocess.Popen(['/usr/sbin/mosquitto', '-c', self.file])

    def kill(self):
        self.process.kill()
        self.process.wait()

    def retained(self):
        """What a client that subscribes now is told at once, by topic."""
        heard = subprocess.run(['mosquitto_sub', '-p', str(self.port), '-t', 'vornhost/#', '--retained-only', '-W', '2',
                                '-F', '%t %p'], capture_output=True, text=True)
        return dict(line.partition(' ')[::2] for line in heard.stdout.splitlines())


class Prometheus:
    def __init__(self, folder, targets):
        self.port = free_port()
        scrapes = [{'job_name': name, 'metrics_path': '/api/v1/metrics', 'authorization': {'credentials': token},
                    'static_configs': [{'targets': [address]}]} for name, (address, token) in targets.items()]
        file = folder / 'prometheus.yml'  # of which JSON is a part
        file.write_text(json.dumps({'global': {'scrape_interval': '1s', 'scrape_timeout': '1s'}, 'scrape_configs': scrapes}))
        with open(folder / 'prometheus.errors', 'w') as errors:
            self.process = subprocess.Popen(['prometheus', f'--config.file={file}', f'--storage.tsdb.path={folder / "data"}',
                                             f'--web.listen-address=127.0.0.1:{self.port}'], stderr=errors)

    def value(self, query):
        """Of each job."""
        words = urllib.parse.urlencode({'query': query})
        with urllib.request.urlopen(f'http://127.0.0.1:{self.port}/api/v1/query?{words}', timeout=10) as answer:
            return {one['metric'].get('job', ''): float(one['value'][1]) for one in json.load(answer)['data']['result']}

    def is_there(self):
        try:
            return self.value('up')
        except OSError:
            return False


class Listener:
    """A client of a service's events, which comes back as a browser does."""

    def __init__(self, service, token):
        self.service, self.token = service, token
        self.heard, self.last, self.is_on = collections.Counter(), None, True
        threading.Thread(target=self.run, daemon=True).start()

    def run(self):
        while self.is_on:
            try:
                connection, reply = self.service.open_stream('/events', self.token,
                                                             **({'Last-Event-ID': self.last} if self.last else {}))
                for kind, number, data in events_of(reply):
                    self.heard[f'{kind} {data["state"]}' if kind == 'camera' else kind] += 1
                    self.last = number or self.last
                self.heard['stream ended'] += 1
            except (OSError, ValueError, AttributeError):
                self.heard['no service'] += 1
            time.sleep(0.5)

    def take(self):
        heard, self.heard = self.heard, collections.Counter()
        return dict(heard)


class Together:
    def __init__(self, build, folder, cameras):
        # A port of their own, so that the cameras are where they were when they come again.
        self.camsim = Camsim(build, folder, '--listen', f'127.0.120.1:{free_port()}', '--addresses', 'consecutive-hosts', '--no-rtsp',
                             '--count', str(2 * cameras), '--model', 'D850', '--control-port', str(free_port()))
        self.broker = Broker(folder)
        self.services, self.tokens = {}, {}
        for place, name in enumerate(SERVICES):
            addresses = self.camsim.cameras[place * cameras:(place + 1) * cameras]
            site = {'cameras': [{'name': f'{name}{i}', 'address': address} for i, address in enumerate(addresses)]}
            self.services[name] = Service(build, folder / name, site, '--name', name, '--mqtt', f'mqtt://127.0.0.1:{self.broker.port}')
            self.tokens[name] = self.services[name].add_token('all', 'view')
        self.prometheus = Prometheus(folder, {name: (one.address, self.tokens[name]) for name, one in self.services.items()})
        self.listeners = {name: Listener(one, self.tokens[name]) for name, one in self.services.items()}
        wait_for('Prometheus', self.prometheus.is_there)
        self.await_state('up', 'north', 'south')

    def await_state(self, state, *names, limit=60):
        began = time.monotonic()
        for name in names:
            wait_for(f'{name}: all cameras {state}', lambda: all(
                one['state'] == state for one in self.services[name].cameras(self.tokens[name]).values()), limit, 0.2)
        return time.monotonic() - began

    def wrong_retained(self, gone=()):
        """What the broker tells whoever subscribes now, against what the services say themselves."""
        told = {topic: json.loads(value)['state'] if topic.count('/') == 3 and topic.endswith('/state') else value
                for topic, value in self.broker.retained().items()}
        wanted = {}
        for name, service in self.services.items():
            wanted[f'vornhost/{name}/state'] = 'offline' if name in gone else 'online'
            for camera, one in ({} if name in gone else service.cameras(self.tokens[name])).items():
                wanted[f'vornhost/{name}/{camera}/availability'] = 'offline' if one['state'] == 'down' else 'online'
                wanted[f'vornhost/{name}/{camera}/state'] = one['state']
                for level in one['inputs']:
                    topic = f'vornhost/{name}/{camera}/input/{level["input"]}'
                    # One that cannot be known now keeps what it was, under an availability that says so.
                    wanted[topic] = told.get(topic) if level['state'] == 'unknown' else level['state']
        cameras_of_gone = {topic for topic in told for name in gone if topic.startswith(f'vornhost/{name}/')}
        return sorted(topic for topic in wanted.keys() | (told.keys() - cameras_of_gone) if told.get(topic) != wanted.get(topic))

    def hold_retained(self, when, gone=()):
        if wrong := self.wrong_retained(gone):
            complain(f'{when}: {len(wrong)} retained topics are wrong: {wrong[:3]}')
        else:
            print(f'  {when}: {len(self.broker.retained())} retained topics, none wrong', flush=True)

    def tell(self, when):
        time.sleep(2)  # what happens now is scraped within a second
        up, cameras = self.prometheus.value('up'), self.prometheus.value('sum by (job) (vornhost_camera_up)')
        mqtt = self.prometheus.value('vornhost_mqtt_connected')
        print(f'  {when}:')
        for name in SERVICES:
            print(f'    {name}: Prometheus up={up.get(name):.0f} cameras={cameras.get(name, 0):.0f} mqtt={mqtt.get(name, 0):.0f}; '
                  f'events {self.listeners[name].take()}', flush=True)

    def change_inputs(self, level):
        for camera in range(len(self.camsim.cameras)):
            self.camsim.set_input(level, camera)

    def lose_broker(self):
        print('the broker is killed, inputs change meanwhile, and it comes back with nothing', flush=True)
        self.broker.kill()
        self.change_inputs('Low')
        time.sleep(10)
        self.tell('after 10 s')
        if any(self.prometheus.value('vornhost_mqtt_connected').values()):
            complain('a service says that it has a broker')
        self.broker.start()
        began = time.monotonic()
        wait_for('all retained again', lambda: not self.wrong_retained(), A_MINUTE, 1)
        print(f'  all retained is right {time.monotonic() - began:.0f} s after it is back')
        self.tell('then')

    def lose_service(self):
        print('a service is killed (kill -9), inputs change meanwhile, and it comes back', flush=True)
        self.services['north'].end(signal.SIGKILL)
        self.change_inputs('High')
        time.sleep(10)
        self.tell('after 10 s')
        self.hold_retained('after 10 s', gone=('north',))
        if self.prometheus.value('up').get('north') != 0:
            complain('Prometheus takes the killed service for one that is up')
        self.services['north'].start()
        print(f'  all its cameras are known {self.await_state("up", "north"):.1f} s after it is back')
        time.sleep(A_MINUTE)
        self.hold_retained('a minute later')
        self.tell('then')

    def lose_cameras(self):
        print('the cameras are killed (kill -9), and come back', flush=True)
        self.camsim.end(signal.SIGKILL)
        print(f'  all are known to be down after {self.await_state("down", *SERVICES):.1f} s')
        self.tell('then')
        time.sleep(A_MINUTE)
        self.hold_retained('a minute later')
        self.camsim.start()
        print(f'  all are up {self.await_state("up", *SERVICES):.1f} s after they are back')
        time.sleep(A_MINUTE)
        self.hold_retained('a minute later')
        self.tell('then')

    def end(self):
        for name, one in self.services.items():
            if (status := one.end()) != 0:
                complain(f'{name} ended with {status}: {one.errors.read_text()[-1000:]}')
        self.hold_retained('all services have ended', gone=SERVICES)
        for one in (self.prometheus, self.broker):
            one.process.terminate()
            one.process.wait()
        self.camsim.end()


def main():
    build, cameras = pathlib.Path(sys.argv[1]), int(sys.argv[2])
    with tempfile.TemporaryDirectory() as name:
        together = Together(build, pathlib.Path(name), cameras)
        try:
            together.hold_retained('at first')
            together.tell('at first')
            together.lose_broker()
            together.lose_service()
            together.lose_cameras()
        except AssertionError as error:
            complain(str(error))
        finally:
            together.end()
    print(f'{len(complaints)} complaints')
    sys.exit(1 if complaints else 0)


main()
