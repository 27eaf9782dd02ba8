"""What stands behind the page: simulated cameras, and the service that keeps them."""
import json
import os
import pathlib
import re
import select
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
    def __init__(self, command, errors, **options):
        self.errors = errors
        with open(errors, 'w') as stderr:
            self.process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=stderr, text=True, **options)

    def first_line(self):
        if not select.select([self.process.stdout], [], [], LIMIT)[0]:
            raise AssertionError(f'{self.process.args[0]} says nothing')
        line = self.process.stdout.readline()
        if not line:
            raise AssertionError(f'{self.process.args} ended: {self.errors.read_text()}')
        return json.loads(line)

    def end(self):
        self.process.terminate()
        self.process.wait(LIMIT)
        self.process.stdout.close()


class Camsim(Process):
    """Simulated cameras, with the control interface that changes them."""

    def __init__(self, build, folder, *options):
        super().__init__([build / 'bin/camsim', '--listen', f'127.0.0.1:0', *options], folder / 'camsim.errors')
        told = self.first_line()
        self.cameras, self.control = told['cameras'], told['control']
        self.rtsp = told.get('rtsp', [])

    def ask(self, method, path, body=None):
        request = urllib.request.Request(f'http://{self.control}{path}', method=method,
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
        for name, password in (('yard', '12345'), ('wrong', '54321')):
            file = folder / f'{name}.password'
            file.write_text(password + '\n')
            file.chmod(0o600)
        self.file.write_text(json.dumps({
            'credentials': {'yard': {'user': 'admin', 'passwordFile': 'yard.password'},
                            'wrong': {'user': 'admin', 'passwordFile': 'wrong.password'}},
            'defaults': {'credentials': 'yard'}, **site}))
        self.origin = f'http://127.0.0.1:{free_port()}'
        super().__init__([build / 'bin/vornhost', 'serve', self.file, '--state', self.state,
                          '--listen', self.origin.removeprefix('http://'), *options], folder / 'serve.errors')
        self.first_line()

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

    def ask(self, path, token):
        request = urllib.request.Request(f'{self.origin}/api/v1{path}', headers={'Authorization': f'Bearer {token}'})
        with urllib.request.urlopen(request, timeout=LIMIT) as answer:
            return answer.read().decode()

    def session(self, token):
        """The cookie's value, as a browser gets it for a token."""
        request = urllib.request.Request(f'{self.origin}/api/v1/session', data=json.dumps({'token': token}).encode(), headers={
            'Content-Type': 'application/json', 'Origin': self.origin})
        with urllib.request.urlopen(request, timeout=LIMIT) as answer:
            return re.match('vornhost_session=([^;]+)', answer.headers['Set-Cookie'])[1]

    def event_clients(self, token):
        return int(re.search(r'^vornhost_event_clients (\d+)', self.ask('/metrics', token), re.MULTILINE)[1])

    def wished(self):
        return json.loads(self.file.read_text())


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
        for process in (self.service, self.camsim):
            if process:
                process.end()
        self.folder.cleanup()
