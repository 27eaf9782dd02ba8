"""What every case of the page begins with and is held to at its end."""
import re
import unittest

from browser import DESKTOP, Browser
from world import World

REFUSED = r'Failed to load resource: the server responded with a status of '


class Setting:
    """Made once by check-page: the programs under test, and what somebody wants kept."""
    build = axe = shots = None


class PageCase(unittest.TestCase):
    camsim_options = ()
    # What the browser tells of requests that fail because the case wants them to: patterns. A working camera's picture
    # may be late where the machine is busy; one that is known to have none must not be asked for.
    expected = (r'cameras/(gate|hall)/picture\.jpg.* 503',)

    @classmethod
    def site(cls, camsim):
        raise NotImplementedError

    @classmethod
    def setUpClass(cls):
        cls.world = World(Setting.build, cls.camsim_options, cls.site)
        cls.addClassCleanup(cls.world.end)
        cls.camsim, cls.service = cls.world.camsim, cls.world.service
        cls.token = cls.service.printed_address.partition('#token=')[2]
        cls.browser = Browser(Setting.shots)
        cls.addClassCleanup(cls.browser.end)

    def setUp(self):
        self.browser.traffic.clear()
        self.browser.complaints.clear()
        self.expected = list(type(self).expected)
        self.be(self.token)

    def be(self, token):
        """Whoever has this token looks at the page from now on."""
        self.browser.go('about:blank')
        self.browser.command('Network.setCookie', url=self.service.origin, name='vornhost_session', httpOnly=True,
                             value=self.service.session(token), sameSite='Strict')

    def open(self, fragment='#/', size=DESKTOP, scheme='light'):
        self.browser.look(*size, scheme, mobile=size[0] < 600)
        self.browser.go(self.service.origin + '/?' + self.id().rpartition('.')[2] + fragment)
        return self.browser

    def open_camera(self, name, tab='settings', **options):
        browser = self.open(f'#/camera/{name}/{tab}', **options)
        browser.find('h1', name)
        browser.says(name, 'h1')
        return browser

    def expect_refusals(self, *statuses):
        self.expected += [f'{REFUSED}{status}' for status in statuses]

    def tearDown(self):
        if self._outcome.result and any(case is self for case, _ in self._outcome.result.failures + self._outcome.result.errors):
            self.browser.shoot('failed-' + self.id().rpartition('.')[2])
        self.browser.listen()
        unexpected = [one for one in self.browser.complaints if not any(re.search(known, one) for known in self.expected)]
        self.assertEqual(unexpected, [], 'the browser complains')
        self.assertLessEqual(self.browser.hosts(), {self.service.origin.removeprefix('http://')}, 'another host was asked')
