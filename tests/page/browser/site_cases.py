"""The list of cameras: what it tells, finds and draws."""
from browser import TELEPHONE
from case import PageCase
from world import wait_for

MARKUP = '<img src=x onerror=window.taken=1>'


class TroubledSite(PageCase):
    camsim_options = ('--model', 'F320', '--count', '6')

    @classmethod
    def site(cls, camsim):
        names = ('gate', 'hall', 'dock', 'yard', 'tower', 'odd')
        cameras = {name: camsim.entry(name, number) for number, name in enumerate(names)}
        cameras['gate'].update(tags=['outside'], adjustments={'brightness': '60'})
        cameras['hall'].update(tags=['inside'], inputs=[0])
        cameras['dock'].update(credentials='wrong')
        cameras['tower'].update(serialNumber='X1')
        camsim.fault('web-refused', 3)
        camsim.set_settings({'CAMTITLE': MARKUP})
        camsim.ask('POST', '/faults', {'path': '/cgi-bin/getinfo*', 'kind': 'body', 'camera': 5, 'unauthorized': True,
                                       'body': f'<html>{MARKUP}</html>\r\n'})
        return {'cameras': list(cameras.values())}

    def row(self, name):
        self.browser.find('.row-name', name)
        return self.browser.run('''return [...document.querySelectorAll('.row')].find(
          row => row.querySelector('.row-name').textContent === arguments[0]).innerText''', name)

    def says_of(self, name, *texts):
        wait_for(f'the row of {name} says {texts}', lambda: all(text in self.row(name) for text in texts))

    def names(self):
        return [one.text for one in self.browser.all('.row-name')]

    def test_whoever_opens_the_printed_address_is_in_and_the_token_has_left_the_address(self):
        self.browser.go('about:blank')
        self.browser.command('Network.clearBrowserCookies')
        self.browser.go(self.service.printed_address)
        self.browser.find('.row-name', 'gate')
        self.browser.says('first · administrator', '#session')
        self.assertNotIn('token', self.browser.run('return location.href'))
        history = self.browser.command('Page.getNavigationHistory')['entries']
        self.assertFalse([entry for entry in history if self.token in entry['url']])
        cookie, = self.browser.command('Network.getCookies')['cookies']
        self.assertEqual((cookie['httpOnly'], cookie['sameSite']), (True, 'Strict'))
        self.assertEqual(self.browser.run('return JSON.stringify([{...localStorage}, {...sessionStorage}])').count(self.token), 0)

    def test_each_camera_that_fails_says_why_and_what_to_try(self):
        browser = self.open()
        self.says_of('dock', 'Problem', 'refuses the user name or the password', 'Try the same user and password')
        self.says_of('yard', 'Down', 'nothing listens at this port', 'wait a minute')
        self.says_of('tower', 'Problem', 'What answers there is not this camera', 'look where the camera is now')
        self.says_of('gate', 'Working', 'since', '1 setting differs')
        self.says_of('hall', 'Working', 'Alarm input 1')
        browser.says('5 cameras need attention', '.headline')
        self.assertEqual(set(self.names()[-1:]), {'hall'}, 'what needs nobody stands last')
        browser.shoot('site')
        self.open(scheme='dark').find('.row-name', 'hall')
        browser.find('.tile-image')
        browser.shoot('site-dark')
        self.open(size=TELEPHONE).find('.row-name', 'dock')
        browser.shoot('site-telephone')

    def test_the_doctor_examines_many_and_what_it_found_is_kept(self):
        browser = self.open()
        browser.find('.row-name', 'yard')
        browser.says('5 cameras need attention', '.headline')
        browser.click('.site-summary button', 'Examine these')
        browser.says('5 cameras examined', '.examined')
        self.says_of('dock', 'Doctor, ', ': the same')
        self.says_of('gate', 'Doctor, ', 'the camera is not set as the site file wants it')
        self.assertNotIn('Doctor', self.row('hall'))
        browser.shoot('site-examined')
        browser.route('#/camera/gate/doctor')
        browser.find('.verdict', 'not set as the site file wants it')
        self.assertEqual(len(browser.all('.check .tag')), 1)

    def test_the_camera_s_page_leads_with_what_was_asked_and_answered(self):
        for name, told in (('yard', ('connection refused', 'ADDRESS:PORT')), ('dock', ('401', 'password file')),
                           ('tower', ('X1', 'site file'))):
            browser = self.open_camera(name)
            for text in told:
                browser.says(text, '.problem')
            browser.says('What came back', '.problem')
            browser.shoot(f'camera-{name}')

    def test_markup_that_a_camera_sends_is_text(self):
        browser = self.open_camera('odd', 'exchanges')
        browser.says(MARKUP, '.problem')
        browser.click('.exchange-line', 'getinfo')
        browser.says(MARKUP, '.exchange-details')
        self.open_camera('gate', 'calls')
        browser.fill(browser.find('.calls input[type=search]'), 'getCameraName')
        browser.click('.operations option', 'getCameraName')
        browser.fill(browser.find('.call-form input'), '0')
        browser.click('.call-form button', 'Call')
        browser.says(MARKUP, '.answers')
        self.assertEqual(browser.run('return [window.taken, document.querySelectorAll("img[src=x]").length]'), [None, 0])

    def test_search_state_and_tag_choose_who_is_shown(self):
        browser = self.open()
        search = browser.find('input[type=search]')
        for words, found in (('outside', ['gate']), ('password', ['dock']), (':' + self.camsim.cameras[1].rpartition(':')[2], ['hall'])):
            browser.fill(search, words)
            wait_for(f'{words} finds {found}', lambda: self.names() == found)
        browser.fill(search, 'nobody at all')
        browser.click('button', 'Show all')
        wait_for('all are shown', lambda: len(self.names()) == 6)
        browser.click('.state-button', 'Down')
        wait_for('one is down', lambda: self.names() == ['yard'])
        browser.click('.state-button', 'All')
        wait_for('all are shown again', lambda: len(self.names()) == 6)

    def test_a_change_at_a_camera_shows_without_asking(self):
        self.open()
        self.says_of('hall', 'Alarm input 1 active')
        self.camsim.set_input('Low', camera=1)
        self.says_of('hall', '1 alarm input inactive')
        self.camsim.set_input('High', camera=1)
        self.says_of('hall', 'Alarm input 1 active')

    def test_by_keys_from_the_list_into_a_camera_and_back(self):
        browser = self.open()
        browser.find('.row-name', 'hall')
        browser.run('document.querySelector(".row-name").focus()')
        first = browser.run('return document.activeElement.textContent')
        browser.hands().send_keys('\ue015').perform()  # down
        second = browser.run('return document.activeElement.textContent')
        self.assertEqual([first, second], self.names()[:2])
        browser.hands().send_keys('\ue007').perform()  # Enter
        browser.says(second, 'h1')
        browser.driver.back()
        browser.find('.row-name', second)
        wait_for('the focus is where it was', lambda: browser.run('return document.activeElement.textContent') == second)


class LargeSite(PageCase):
    COUNT = 1000
    camsim_options = ('--model', 'F320', '--count', str(COUNT), '--no-rtsp')

    @classmethod
    def site(cls, camsim):
        # Each input that is watched costs a thread: a hundred are enough.
        return {'cameras': [{'name': f'camera-{number:04}', 'address': address, 'inputs': [0] if number < 100 else []}
                            for number, address in enumerate(camsim.cameras)]}

    # No streams are there to be seen.
    expected = (r'picture\.jpg.* 503',)

    def test_of_a_thousand_cameras_only_those_on_the_screen_are_drawn(self):
        browser = self.open()
        browser.says('1,000 cameras', '.shown')
        # Some may tell by then that their pictures did not come.
        of = lambda kind: int(browser.text(f'.state-button[data-kind={kind}] .number'))
        wait_for('all answer', lambda: of('up') + of('degraded') == self.COUNT, limit=60)
        for top in (0, 12000, 40000, 10 ** 6):
            browser.run('scrollTo(0, arguments[0])', top)
            wait_for('the screen is full', self.is_full)
            self.assertLess(len(browser.all('.row')), 40)
        self.assertLess(browser.run('return document.querySelectorAll("*").length'), 1500)
        self.assertIn('camera-0999', browser.text('.site-list'))
        browser.shoot('site-1000')

    # Whatever the screen shows of the list is a row.
    def is_full(self):
        return self.browser.run('''
          const list = document.querySelector('.site-list').getBoundingClientRect();
          const x = list.left + 5;
          for (let y = Math.max(list.top + 5, 230); y < Math.min(list.bottom - 5, innerHeight - 5); y += 20)
            if (!document.elementFromPoint(x, y)?.closest('.row'))
              return false;
          return true;''')

    def test_while_all_are_scrolled_through_few_are_drawn_at_a_time(self):
        browser = self.open()
        browser.says('1,000 cameras', '.shown')
        drawn = browser.driver.execute_async_script('''
          const done = arguments[arguments.length - 1];
          let most = 0, frames = 0;
          const step = () => {
            most = Math.max(most, document.querySelectorAll('.row').length);
            frames += 1;
            if (scrollY + innerHeight >= document.documentElement.scrollHeight - 2)
              done([most, frames]);
            else {
              scrollBy(0, 700);
              requestAnimationFrame(step);
            }
          };
          step();''')
        self.assertLess(drawn[0], 40)
        self.assertGreater(drawn[1], 50)


# Of its own: the service notices only after a while that a browser of another case has gone.
class Tabs(PageCase):
    camsim_options = ('--no-rtsp',)

    @classmethod
    def site(cls, camsim):
        return {'cameras': [{'name': 'gate', 'address': camsim.cameras[0]}]}

    def test_two_tabs_have_one_connection_for_events(self):
        browser = self.open()
        browser.says('Live', '#connection')
        wait_for('the events of one tab', lambda: self.service.metric('vornhost_event_clients', self.token) == 1)
        first = browser.driver.current_window_handle
        browser.driver.switch_to.new_window('tab')
        try:
            browser.go(self.service.origin + '/#/')
            browser.says('Live', '#connection')
            browser.find('.row-name', 'gate')
            self.assertEqual(self.service.metric('vornhost_event_clients', self.token), 1)
        finally:
            browser.driver.close()
            browser.driver.switch_to.window(first)
