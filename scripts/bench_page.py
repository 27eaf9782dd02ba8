"""bench_page.py BUILD: see scripts/bench-page."""
import os
import pathlib
import statistics
import subprocess
import sys
import time

TESTS = pathlib.Path(__file__).resolve().parent.parent / 'tests'
sys.path[:0] = [str(TESTS / 'support'), str(TESTS / 'page/browser')]
from browser import Browser
from world import World, wait_for

CAMERAS, CHANGES, RATE, SECONDS = 16, 50, 5, 20
# Of each codec's stream 0 640x360 at 5 a second; and what turns it into such pictures elsewhere.
SETTINGS = {'IMAGERATIO': '16_9', 'IMAGESELECT': '1.3m', 'IMAGESIZE': '640', 'LIVEINT': str(RATE), 'H264SIZE': '640',
            'H264NRFRAMERATE': str(RATE)}
STREAMS = {
    '0,mjpeg,0': ('/MediaInput/jpeg', 'rtpjpegdepay'),
    '0,h264,0': ('/MediaInput/h264', 'rtph264depay ! h264parse ! avdec_h264 max-threads=1 ! videoconvert ! jpegenc'),
}


def name_of(number):
    return f'c{number:02}'


def cpu_of(process):
    """Seconds of computing so far."""
    fields = pathlib.Path(f'/proc/{process.pid}/stat').read_text().rpartition(')')[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf('SC_CLK_TCK')


def share_of(process):
    """Per cent of a core, for a while."""
    before, begun = cpu_of(process), time.monotonic()
    time.sleep(SECONDS)
    return 100 * (cpu_of(process) - before) / (time.monotonic() - begun)


def told(values):
    return f'median {statistics.median(values):.0f} ms, {max(values):.0f} at most, of {len(values)}'


def log_in(browser, service):
    browser.go(service.printed_address)
    wait_for('all cameras are on the page', lambda: browser.text('.state-button[data-kind=up]').endswith(str(CAMERAS)))


def change_to_screen(world, browser):
    """When the list shows what an input has become, drawn, on this machine's clock."""
    browser.run('''
      window.shown = [];
      const list = document.querySelector('.site-list');
      new MutationObserver(() => requestAnimationFrame(() => setTimeout(() => {
        const row = [...document.querySelectorAll('.row')].find(one => one.querySelector('.row-name').textContent === arguments[0]);
        window.shown.push([Date.now(), row?.querySelector('.chip-inputs').textContent ?? '']);
      }))).observe(list, {subtree: true, childList: true, characterData: true, attributes: true});''', name_of(0))
    times = []
    for number in range(CHANGES):
        level, words = (('Low', '1 alarm input inactive'), ('High', 'Alarm input 1 active'))[number % 2]
        browser.run('window.shown.length = 0')
        time.sleep(0.3 + number % 7 / 70)  # at any point of the camera's and the service's ticks
        begun = time.time() * 1000
        world.camsim.set_input(level)
        times.append(wait_for(words, lambda: next((at for at, text in browser.run('return window.shown') if words in text), None)) - begun)
    return times


def first_pictures(world, browser):
    """From the opening of a camera's address, for each camera, none of whose streams runs."""
    times = []
    for number in range(CAMERAS):
        browser.go('about:blank')
        browser.go(f'{world.service.origin}/?{number}#/camera/{name_of(number)}/settings')
        times.append(browser.driver.execute_async_script('''
          const done = arguments[arguments.length - 1];
          const look = () => {
            const image = document.querySelector('.live-image');
            if (image && !image.hidden && image.naturalWidth > 0)
              done(performance.now());
            else
              requestAnimationFrame(look);
          };
          look();'''))
    browser.go('about:blank')
    return times


def of_service(world, token, stream):
    url = f'{world.service.origin}/api/v1/cameras/%s/picture.mjpeg?stream={stream}&fps={RATE}'
    clients = [subprocess.Popen(['curl', '-sN', '-o', '/dev/null', '-H', f'Authorization: Bearer {token}', url % name_of(number)])
               for number in range(CAMERAS)]
    try:
        time.sleep(3)  # all streams have begun
        return share_of(world.service.process)
    finally:
        for client in clients:
            client.terminate()
            client.wait()


def of_pipeline(world, place, elements):
    words = [word for number in range(CAMERAS) for word in (
        f'rtspsrc location=rtsp://admin:12345@{world.camsim.rtsp[number]}{place} protocols=tcp latency=0 ! '
        f'{elements} ! fakesink sync=false').split()]
    process = subprocess.Popen(['gst-launch-1.0', '-q', *words])
    try:
        time.sleep(3)
        return share_of(process)
    finally:
        process.terminate()
        process.wait()


def main():
    world = World(pathlib.Path(sys.argv[1]), ('--model', 'F320', '--count', str(CAMERAS)), lambda camsim: {'cameras': [
        camsim.entry(name_of(number), number, inputs=[0] if number == 0 else []) for number in range(CAMERAS)]})
    browser = None
    try:
        for number in range(CAMERAS):
            world.camsim.set_settings(SETTINGS, number)
        token = world.service.add_token('bench', 'view')
        wait_for('all cameras', lambda: all(one['state'] == 'up' for one in world.service.cameras(token).values()))
        browser = Browser()
        log_in(browser, world.service)
        print('change to screen:', told(change_to_screen(world, browser)), flush=True)
        browser.go('about:blank')
        time.sleep(15)  # the list's streams have ended
        print('first picture:', told(first_pictures(world, browser)), flush=True)
        browser.end()
        browser = None
        time.sleep(15)
        rest = share_of(world.service.process)
        print(f'at rest: {rest:.1f} % of a core', flush=True)
        for stream, (place, elements) in STREAMS.items():
            ours, theirs = of_service(world, token, stream), of_pipeline(world, place, elements)
            print(f'{CAMERAS} pictures of {stream}: the service {ours:.1f} % of a core, the pipeline {theirs:.1f} %, '
                  f'{ours / theirs:.2f} of it', flush=True)
            time.sleep(15)
    finally:
        if browser:
            browser.end()
        world.end()


main()
