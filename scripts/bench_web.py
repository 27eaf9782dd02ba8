"""bench_web.py BUILD SECONDS: see scripts/bench-web."""
import pathlib, re, subprocess, sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / 'tests/support'))
from world import World, free_port, wait_for

CAMERAS, CLIENTS = 100, 16
PATHS = ('/cameras', '/site')


def rate(url, seconds, *headers):
    """Requests a second."""
    words = ['wrk', '-t1', f'-c{CLIENTS}', f'-d{seconds}s', *(word for one in headers for word in ('-H', one)), url]
    told = subprocess.run(words, capture_output=True, text=True, check=True).stdout
    if 'Non-2xx' in told or 'Socket errors' in told:
        sys.exit(told)
    return float(re.search(r'Requests/sec:\s+(\S+)', told)[1])


def nginx(folder):
    """Its address; it serves what is in the folder."""
    address = f'127.0.0.1:{free_port()}'
    (folder / 'nginx.conf').write_text(
        f'worker_processes 1; daemon off; pid {folder}/nginx.pid; error_log stderr error;\nevents {{}}\n'
        f'http {{ access_log off; keepalive_requests 1000000000; sendfile on;\n'
        f'  server {{ listen {address}; root {folder}/www; }} }}\n')
    process = subprocess.Popen(['/usr/sbin/nginx', '-e', 'stderr', '-c', folder / 'nginx.conf'])
    return process, address


def main():
    build, seconds = pathlib.Path(sys.argv[1]), int(sys.argv[2])
    world = World(build, ('--count', str(CAMERAS), '--no-rtsp'), lambda camsim: {'cameras': [
        {'name': f'c{i}', 'address': address, 'inputs': []} for i, address in enumerate(camsim.cameras)]})
    folder = pathlib.Path(world.folder.name)
    web = None
    try:
        token = world.service.add_token('bench', 'view')
        wait_for('all cameras', lambda: all(one['state'] == 'up' for one in world.service.cameras(token).values()))
        web, address = nginx(folder)
        (folder / 'www').mkdir()
        folder.chmod(0o755)
        for path in PATHS:
            body = world.service.open_stream(path, token)[1].read()
            (folder / 'www' / path[1:]).write_bytes(body)
            wait_for('nginx', lambda: subprocess.run(['curl', '-sf', '-o', '/dev/null', f'http://{address}{path}']).returncode == 0)
            ours = rate(f'{world.service.origin}/api/v1{path}', seconds, f'Authorization: Bearer {token}')
            theirs = rate(f'http://{address}{path}', seconds)
            print(f'{path}: {len(body)} bytes; the service {ours:.0f} a second, nginx {theirs:.0f}, {ours / theirs:.2f} of it')
    finally:
        if web:
            web.terminate()
            web.wait()
        world.end()


main()
