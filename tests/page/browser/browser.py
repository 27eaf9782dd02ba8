"""Debian's Chromium, headless, as the tests drive it."""
import json
import pathlib
import urllib.parse

from selenium import webdriver
from selenium.common.exceptions import StaleElementReferenceException
from selenium.webdriver.chrome.service import Service as Driver
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By

from world import LIMIT, wait_for

DESKTOP, TELEPHONE = (1280, 900), (360, 780)
# Nothing but this machine is reached, whatever the page or the browser itself would like.
SWITCHES = ['--headless=new', '--no-sandbox', '--disable-dev-shm-usage', '--disable-gpu', '--no-first-run', '--mute-audio',
            '--disable-background-networking', '--disable-component-update', '--disable-extensions', '--disable-sync',
            '--host-resolver-rules=MAP * ~NOTFOUND , EXCLUDE 127.0.0.1', '--force-color-profile=srgb', '--window-size=1280,1000', '--lang=en-US']


class Browser:
    def __init__(self, shots=None):
        options = webdriver.ChromeOptions()
        options.binary_location = '/usr/bin/chromium'
        for switch in SWITCHES:
            options.add_argument(switch)
        options.set_capability('goog:loggingPrefs', {'browser': 'ALL', 'performance': 'ALL'})
        self.driver = webdriver.Chrome(options=options, service=Driver('/usr/bin/chromedriver'))
        self.driver.set_page_load_timeout(LIMIT)
        self.driver.set_script_timeout(LIMIT)
        self.shots = shots
        self.traffic, self.complaints = [], []
        self.watch()

    def end(self):
        self.driver.quit()

    def command(self, command, /, **values):
        return self.driver.execute_cdp_cmd(command, values)

    # What the policy refuses is told to the console; a page of our own counts it as well, in each document.
    def watch(self):
        self.command('Page.addScriptToEvaluateOnNewDocument', source='''
          window.violations = [];
          document.addEventListener('securitypolicyviolation', event =>
            window.violations.push(`${event.violatedDirective} ${event.blockedURI}`));''')
        self.look(*DESKTOP)

    def look(self, width, height, scheme='light', mobile=False):
        self.command('Emulation.setDeviceMetricsOverride', width=width, height=height, deviceScaleFactor=1, mobile=mobile)
        self.command('Emulation.setEmulatedMedia', features=[{'name': 'prefers-color-scheme', 'value': scheme}])

    def go(self, address):
        self.driver.get(address)

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    # The window's place in the address, without a load: as a link does it.
    def route(self, fragment):
        self.run('location.hash = arguments[0]', fragment)

    def all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def find(self, selector, text=None):
        """The first that is shown, with that text in it, once there is one."""
        def fitting():
            try:
                return next((one for one in self.all(selector)
                             if one.is_displayed() and (text is None or text in one.text)), None)
            except StaleElementReferenceException:
                return None
        return wait_for(f'{selector} {text or ""} in {self.text()[:1500]!r}', fitting)

    def gone(self, selector, text=None):
        def none():
            try:
                return not any(one.is_displayed() and (text is None or text in one.text) for one in self.all(selector))
            except StaleElementReferenceException:
                return False
        wait_for(f'{selector} {text or ""} goes', none)

    def text(self, selector='body'):
        return self.run('return document.querySelector(arguments[0])?.innerText ?? ""', selector)

    def says(self, text, selector='body'):
        wait_for(f'{selector} says {text!r} and not {self.text(selector)[:1500]!r}', lambda: text in self.text(selector))

    def click(self, selector, text=None):
        element = self.find(selector, text)
        self.run('arguments[0].scrollIntoView({block: "center"})', element)
        element.click()

    def fill(self, element, value):
        element.clear()
        element.send_keys(value)

    def hands(self):
        return ActionChains(self.driver)

    def set_offline(self, is_offline):
        self.command('Network.enable')
        self.command('Network.emulateNetworkConditions', offline=is_offline, latency=0, downloadThroughput=-1,
                     uploadThroughput=-1)

    def listen(self):
        """Takes what the browser has logged since it was last asked."""
        for entry in self.driver.get_log('performance'):
            message = json.loads(entry['message'])['message']
            if message['method'] == 'Network.requestWillBeSent':
                self.traffic.append(message['params']['request'])
        self.complaints += [entry['message'] for entry in self.driver.get_log('browser')
                            if entry['level'] in ('SEVERE', 'WARNING')]
        self.complaints += [f'policy: {one}' for one in self.run('return window.violations ?? []')]

    def hosts(self):
        return {urllib.parse.urlsplit(request['url']).netloc for request in self.traffic
                if not request['url'].startswith(('blob:', 'data:', 'chrome:', 'about:'))}

    def shoot(self, name, limit=None):
        """For a person to look at: only where somebody asked for pictures."""
        if not self.shots:
            return
        pathlib.Path(self.shots).mkdir(parents=True, exist_ok=True)
        self.driver.get_screenshot_as_file(f'{self.shots}/{name}.png')
