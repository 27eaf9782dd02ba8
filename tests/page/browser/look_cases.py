"""How it looks to whoever cannot see well, has a small screen, or works in the dark."""
from browser import DESKTOP, TELEPHONE
from case import PageCase, Setting

PLACES = ['#/'] + [f'#/camera/gate/{tab}' for tab in ('settings', 'drift', 'doctor', 'history', 'exchanges', 'calls')] + \
    ['#/camera/dock/settings']


class Look(PageCase):
    camsim_options = ('--model', 'D850', '--count', '3')

    @classmethod
    def site(cls, camsim):
        return {'cameras': [{'name': 'gate', 'address': camsim.cameras[0], 'adjustments': {'brightness': '60'}},
                            {'name': 'dock', 'address': camsim.cameras[1], 'credentials': 'wrong'},
                            {'name': 'a-name-as-long-as-names-may-be.without_a_place_to_break_it', 'address': camsim.cameras[2],
                             'tags': ['outside', 'north', 'a-tag-of-many-letters']}]}

    def go(self, place, size, scheme):
        browser = self.open(place, size=size, scheme=scheme)
        browser.find('.row-name' if place == '#/' else '[role=tabpanel]')
        if place != '#/':
            browser.says('Settings', '.tabs')
        return browser

    def barriers(self):
        self.browser.run(Setting.axe)
        found = self.browser.driver.execute_async_script('''
          const done = arguments[0];
          axe.run(document, {resultTypes: ['violations']}).then(({violations}) => done(violations
            .filter(({impact}) => impact === 'serious' || impact === 'critical')
            .map(({id, nodes}) => `${id}: ${nodes.map(({target, failureSummary}) => `${target} ${failureSummary}`).join('; ')}`)));''')
        return found

    def test_no_barrier_in_any_place_by_day_or_night(self):
        for scheme in ('light', 'dark'):
            for place in PLACES:
                with self.subTest(place=place, scheme=scheme):
                    self.go(place, DESKTOP, scheme)
                    self.assertEqual(self.barriers(), [])

    def test_nothing_runs_out_of_a_telephone(self):
        for place in PLACES:
            with self.subTest(place=place):
                browser = self.go(place, TELEPHONE, 'light')
                self.assertEqual(browser.run('''
                  const wide = document.documentElement.clientWidth;
                  return [document.documentElement.scrollWidth > wide, [...document.querySelectorAll('main button, main input')]
                    .filter(one => one.offsetParent && !one.closest('[role=tablist]') && one.getBoundingClientRect().right > wide + 1)
                    .map(one => one.outerHTML)];'''), [False, []])

    def test_it_is_dark_where_the_system_is(self):
        def brightness(scheme):
            red, green, blue = self.go('#/', DESKTOP, scheme).run(
                r'return getComputedStyle(document.body).backgroundColor.match(/\d+/g).map(Number)')
            return red + green + blue
        self.assertGreater(brightness('light'), 600)
        self.assertLess(brightness('dark'), 150)
