"""Simulated cameras, and the service that keeps them, for checks that use both from outside."""
import http.client
import json
import os
import pathlib
import re
import select
import signal
import socket
import subprocess
import tempfile
import time
import urllib.error
import urllib.request

LIMIT = float(os.environ.get('CHECK_PAGE_LIMIT', 30))  # seconds: generous, for a machine that is busy with other things


def wait_for(what, condition, limit=LIMIT, period=0.02):
    """What `condition` returns once that is true."""
    end = time.monotonic() + limit
    while True:
        found = condition()
        if found:
            return found
        if time.monotonic() > end:
            raise AssertionError(f'{what}: not within {limit} s')
        time.sleep(period)


def free_port():
    with socket.socket() as probe:
        probe.bind(('127.0.0.1', 0))
        return probe.getsockname()[1]


class Process:
    def __init__(self, command, errors):
        self.command, self.errors = command, errors
        self.start()

    def start(self):
        """Also once more, when it has ended."""
        with open(self.errors, 'a') as stderr:
            self.process = subprocess.Popen(self.command, stdout=subprocess.PIPE, stderr=stderr, text=True)
        self.told = self.first_line()

    def first_line(self):
        if not select.select([self.process.stdout], [], [], LIMIT)[0]:
            raise AssertionError(f'{self.process.args[0]} says nothing')
        line = self.process.stdout.readline()
        if not line:
            raise AssertionError(f'{self.process.args} ended: {self.errors.read_text()}')
        return json.loads(line)

    def is_running(self):
        return self.process.poll() is None

    def end(self, number=signal.SIGTERM):
        """Its exit status; negative where the signal ended it."""
        self.process.send_signal(number)
        status = self.process.wait(LIMIT)
        self.process.stdout.close()
        return status


class Camsim(Process):
    """Simulated cameras, with the control interface that changes them."""

    def __init__(self, build, folder, *options):
        where = () if '--listen' in options else ('--listen', '127.0.0.1:0')
        super().__init__([build / 'bin/camsim', *where, *options], folder / 'camsim.errors')
        self.rtsp = self.told.get('rtsp', [])

    @property
    def cameras(self):
        return self.told['cameras']

    def entry(self, name, number=0, **more):
        """A camera of a site file, whose streams are its own."""
        return {'name': name, 'address': self.cameras[number], 'rtspPort': int(self.rtsp[number].rpartition(':')[2]), **more}

    def ask(self, method, path, body=None):
        request = urllib.request.Request(f'http://{self.told["control"]}{path}', method=method,
                                         data=None if body is None else json.dumps(body).encode(),
                                         headers={'Content-Type': 'application/json'})
        try:
            with urllib.request.urlopen(request, timeout=LIMIT) as answer:
                text = answer.read()
        except urllib.error.HTTPError as refusal:
            raise AssertionError(f'{method} {path} {body}: {refusal.read().decode()}') from refusal
        return json.loads(text) if text else None

    def set_input(self, level, camera=0, terminal=1):
        self.ask('PATCH', f'/cameras/{camera}/inputs', {str(terminal): level})

    def settings(self, camera=0):
        return self.ask('GET', f'/cameras/{camera}/settings')

    def set_settings(self, values, camera=0):
        self.ask('PATCH', f'/cameras/{camera}/settings', values)

    def fault(self, name, camera):
        self.ask('POST', '/faults', {'name': name, 'camera': camera})

    def no_faults(self):
        self.ask('DELETE', '/faults')

    def position(self, camera=0):
        return self.ask('GET', f'/cameras/{camera}')['position']

    def requests(self, camera=0, after=0):
        return self.ask('GET', f'/requests?camera={camera}&after={after}')['requests']

    def last_request(self, camera=0):
        return max((request['id'] for request in self.requests(camera)), default=0)


class Service(Process):
    """vornhost serve, on a site file of its own."""

    def __init__(self, build, folder, site, *options):
        self.build, self.state = build, folder / 'state'
        self.file = folder / 'yard.json'
        folder.mkdir(exist_ok=True)
        for name, password in (('yard', '12345'), ('wrong', '54321')):
            file = folder / f'{name}.password'
            file.write_text(password + '\n')
            file.chmod(0o600)
        self.file.write_text(json.dumps({
            'credentials': {'yard': {'user': 'admin', 'passwordFile': 'yard.password'},
                            'wrong': {'user': 'admin', 'passwordFile': 'wrong.password'}},
            'defaults': {'credentials': 'yard'}, **site}))
        self.address = f'127.0.0.1:{free_port()}'
        self.origin = f'http://{self.address}'
        super().__init__([build / 'bin/vornhost', 'serve', self.file, '--state', self.state,
                          '--listen', self.address, *options], folder / 'serve.errors')

    @property
    def printed_address(self):
        """The page's address, as it is told to whoever starts the service."""
        return re.search(r'http://\S+#token=\S+', self.errors.read_text())[0]

    def add_token(self, name, role):
        added = subprocess.run([self.build / 'bin/vornhost', 'token', 'add', name, '--role', role, '--state', self.state],
                               capture_output=True, text=True, check=True)
        return added.stdout.strip()

    def revoke(self, name):
        subprocess.run([self.build / 'bin/vornhost', 'token', 'revoke', name, '--state', self.state], check=True,
                       capture_output=True)

    def ask(self, method, path, token, body=None):
        """The status, and what came: of JSON what it says."""
        connection = http.client.HTTPConnection(self.address, timeout=LIMIT)
        try:
            connection.request(method, f'/api/v1{path}', body=None if body is None else json.dumps(body),
                               headers={'Authorization': f'Bearer {token}', 'Content-Type': 'application/json'})
            reply = connection.getresponse()
            text = reply.read()
            return reply.status, json.loads(text) if reply.getheader('Content-Type', '').endswith('json') else text
        finally:
            connection.close()

    def cameras(self, token):
        """By name, as the list tells them."""
        return {one['name']: one for one in self.ask('GET', '/cameras', token)[1]['cameras']}

    def is_ready(self):
        return self.ask('GET', '/readyz', '')[0] == 200

    def metric(self, name, token):
        """The value of a metric that has no labels."""
        return float(re.search(rf'^{name} (\S+)', self.ask('GET', '/metrics', token)[1].decode(), re.MULTILINE)[1])

    def open_stream(self, path, token, **headers):
        """A connection and its answer, whose body has no end."""
        connection = http.client.HTTPConnection(self.address, timeout=LIMIT)
        connection.request('GET', f'/api/v1{path}', headers={'Authorization': f'Bearer {token}', **headers})
        return connection, connection.getresponse()

    def session(self, token):
        """The cookie's value, as a browser gets it for a token."""
        request = urllib.request.Request(f'{self.origin}/api/v1/session', data=json.dumps({'token': token}).encode(), headers={
            'Content-Type': 'application/json', 'Origin': self.origin})
        with urllib.request.urlopen(request, timeout=LIMIT) as answer:
            return re.match('vornhost_session=([^;]+)', answer.headers['Set-Cookie'])[1]

    def wished(self):
        return json.loads(self.file.read_text())


def events_of(lines):
    """Each server-sent event of a stream's lines: its kind, its id or None, and its data."""
    event = {}
    for line in lines:
        name, _, value = line.decode().rstrip('\r\n').partition(': ')
        if name:
            event[name] = value
        elif event:
            yield event['event'], event.get('id'), json.loads(event['data'])
            event = {}


class World:
    """Both, in a folder that goes with them."""

    def __init__(self, build, camsim_options, site, service_options=()):
        self.folder = tempfile.TemporaryDirectory()
        path = pathlib.Path(self.folder.name)
        self.camsim = Camsim(build, path, *camsim_options)
        self.service = None
        try:
            self.service = Service(build, path, site(self.camsim), *service_options)
        except BaseException:
            self.end()
            raise

    def end(self):
        """The exit status of each, by its program."""
        statuses = {process.command[0].name: process.end() for process in (self.service, self.camsim) if process}
        self.folder.cleanup()
        return statuses
