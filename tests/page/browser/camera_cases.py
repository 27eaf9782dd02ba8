"""A camera's page: what it sees, how it is set and how it is examined."""
import re
import signal

from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import Select

from browser import TELEPHONE
from case import PageCase
from world import wait_for


class Camera(PageCase):
    camsim_options = ('--model', 'D850', '--model', 'F320', '--count', '2')

    @classmethod
    def site(cls, camsim):
        return {'cameras': [camsim.entry('gate', inputs=[0, 1], adjustments={'saturation': '60'}),
                            camsim.entry('hall', 1, inputs=[])]}

    def tearDown(self):
        self.camsim.no_faults()
        super().tearDown()

    def row(self, field):
        return self.browser.find(f'tr[data-field={field}]')

    def set(self, field, value):
        self.browser.fill(self.row(field).find_element(By.CSS_SELECTOR, 'input'), value)
        self.browser.click('.settings-group button.primary')

    def test_the_picture_comes_and_goes_on(self):
        browser = self.open_camera('gate')
        browser.find('.live-image')
        number = 'return document.querySelector(".live-image").src'
        first = browser.run(number)
        wait_for('the next picture', lambda: browser.run(number) != first)
        self.assertEqual(browser.run('return document.querySelector(".live-image").naturalWidth'), 640)
        browser.says(' old', '.picture-age')
        browser.shoot('camera')
        self.open_camera('gate', scheme='dark').find('.live-image')
        browser.shoot('camera-dark')
        self.open_camera('gate', size=TELEPHONE).find('.live-image')
        browser.shoot('camera-telephone')

    def test_a_picture_that_no_longer_comes_turns_old(self):
        self.expect_refusals(503)
        browser = self.open_camera('hall')
        browser.find('.live-frame[data-state=live]')
        self.camsim.process.send_signal(signal.SIGSTOP)
        try:
            browser.find('.live-frame[data-state=old]')
            browser.says('not live', '.picture-age')
        finally:
            self.camsim.process.send_signal(signal.SIGCONT)
        browser.find('.live-frame[data-state=live]')

    def test_inputs_change_on_the_screen_and_in_the_line_of_the_hour(self):
        browser = self.open_camera('gate')
        for level, word in (('Low', 'inactive'), ('High', 'active'), ('Low', 'inactive')):
            self.camsim.set_input(level)
            wait_for(f'input 1 is {word}', lambda: browser.text('.input-row').split('\n')[1].strip() == word)
        browser.says('changes in the last hour', '.input-row')
        self.assertTrue(browser.all('.time-active'))

    def test_a_setting_is_set_told_and_undone(self):
        browser = self.open_camera('gate')
        before = self.camsim.settings()
        Select(self.row('backLight').find_element(By.CSS_SELECTOR, 'select')).select_by_value('on')
        browser.says('1 change not yet set', '.settings')
        browser.click('.settings-group button.primary')
        browser.says('asked on, accepted', 'tr[data-field=backLight]')
        changed = {key for key, value in self.camsim.settings().items() if before.get(key) != value}
        self.assertTrue(changed)
        browser.click('button', 'Undo')
        browser.says('back to off', 'tr[data-field=backLight]')
        self.assertEqual(self.camsim.settings(), before)

    def test_rows_stand_still_and_an_undo_tells_what_the_camera_made_of_it(self):
        browser = self.open_camera('hall')
        self.row('brightness')
        places = 'return [...document.querySelectorAll(".settings tr")].map(row => row.getBoundingClientRect().top + scrollY)'
        before = browser.run(places)
        self.set('brightness', '73')
        browser.says('asked 73, now 72', 'tr[data-field=brightness]')
        browser.click('button', 'Undo')
        browser.says('back to 49, not to 50', 'tr[data-field=brightness]')
        self.assertEqual(browser.run(places), before)

    def test_a_setting_that_the_camera_makes_otherwise_is_told_with_both_values(self):
        self.expect_refusals(409)
        self.camsim.fault('write-ignored', 0)
        browser = self.open_camera('gate')
        self.set('sharpness', '80')
        browser.says('asked 80, now 53', 'tr[data-field=sharpness]')
        browser.says('reports another value', '.settings')
        browser.says('What to try', '.settings')

    def test_a_difference_is_set_or_taken_as_the_wish(self):
        browser = self.open_camera('gate', 'drift')
        browser.says('1 setting differs', '.drift')
        browser.shoot('wish')
        browser.click('.drift td button', 'Set the camera')
        browser.says('asked 60, accepted', '.drift')
        browser.says('set as the site file wants it', '.drift')
        now = self.set_otherwise()
        browser.click('.drift button', 'Compare now')
        browser.says('1 setting differs', '.drift')
        browser.click('.drift td button', 'Take into the site file')
        browser.says('Written into the site file.', '.drift')
        wished = next(camera for camera in self.service.wished()['cameras'] if camera['name'] == 'gate')
        self.assertEqual(wished['adjustments'], {'saturation': now})

    def set_otherwise(self):
        self.browser.run('location.hash = "#/camera/gate/settings"')
        self.set('saturation', '40')
        self.browser.says('asked 40', 'tr[data-field=saturation]')
        self.browser.run('location.hash = "#/camera/gate/drift"')
        return self.browser.find('.drift tbody td:nth-of-type(3)').text

    def test_the_doctor_tells_each_check_as_it_runs_and_gives_a_bundle(self):
        browser = self.open_camera('hall', 'doctor')
        browser.click('#doctor-bundle')
        browser.click('.doctor button.primary', 'Examine')
        browser.find('.check', 'Web server')
        self.assertFalse(browser.all('.verdict'), 'checks are told before the verdict')
        browser.find('.verdict', 'checks')
        browser.shoot('doctor')
        link = browser.find('.doctor a.button', 'Download')
        size, kind, first = browser.driver.execute_async_script('''
          const done = arguments[1];
          fetch(arguments[0]).then(async answer => {
            const bytes = new Uint8Array(await answer.arrayBuffer());
            done([bytes.length, answer.headers.get('Content-Type'), bytes[0] === 0x1f && bytes[1] === 0x8b]);
          });''', link.get_attribute('href'))
        self.assertEqual((kind, first), ('application/gzip', True))
        self.assertGreater(size, 1000)

    def test_the_doctor_names_the_fault(self):
        self.camsim.fault('settings-forbidden', 1)
        browser = self.open_camera('hall', 'doctor')
        browser.click('.doctor button.primary')
        browser.find('.verdict', 'may not do this')
        browser.says('What to try', '.check[data-result=fault]')

    def sync(self):
        """The gate is as the site file wants it."""
        self.browser.driver.execute_async_script("""
          fetch('/api/v1/cameras/gate/sync', {method: 'POST', headers: {'Content-Type': 'application/json'}, body: '{}'})
            .then(arguments[0]);""")

    def test_the_doctor_says_that_all_is_well(self):
        browser = self.open_camera('gate', 'doctor')
        self.sync()
        browser.click('.doctor button.primary')
        browser.find('.verdict[data-kind=ok]', 'Nothing is wrong')

    def test_exchanges_come_once_although_their_tab_is_opened_again(self):
        browser = self.open_camera('gate', 'exchanges')
        browser.find('.exchange-line', 'get_capability')
        for tab in ('history', 'exchanges'):
            browser.run(f'location.hash = "#/camera/gate/{tab}"')
        count = '[...document.querySelectorAll(".exchange-line")].filter(one => one.textContent.includes("get_capability")).length'
        self.sync()
        browser.find('.exchange-line', 'POST')  # what comes with the stream has come
        self.assertEqual(browser.run(f'return {count}'), 1)

    def test_exchanges_come_are_filtered_and_kept_still(self):
        browser = self.open_camera('gate', 'exchanges')
        browser.find('.exchange-line', 'getinfo')
        self.sync()
        browser.fill(browser.find('.exchanges input[type=search]'), 'POST')
        browser.find('.exchange-line', 'POST')
        wait_for('only those are shown', lambda: all('POST' in line.text for line in browser.all('.exchange-line')))
        browser.click('.exchanges button', 'Pause')
        browser.click('.exchange-line', 'POST')
        browser.command('Browser.grantPermissions', permissions=['clipboardReadWrite', 'clipboardSanitizedWrite'])
        browser.click('.exchange-details button', 'Copy as curl')
        browser.says('Copied', '.exchange-details')
        copied = browser.driver.execute_async_script('navigator.clipboard.readText().then(arguments[0])')
        self.assertTrue(copied.startswith('curl '), copied)
        self.assertNotIn('12345', copied)

    def test_a_call_by_name_is_answered_with_its_arguments_explained(self):
        self.expect_refusals(400)
        browser = self.open_camera('gate', 'calls')
        browser.fill(browser.find('.calls input[type=search]'), 'cameraname')
        browser.click('.operations option', 'getCameraName')
        browser.says('Form:', '.argument')
        browser.fill(browser.find('.call-form input'), '0')
        browser.click('.call-form button', 'Call')
        browser.says('Success', '.answers')
        browser.find('.call-form input').clear()
        browser.click('.call-form button', 'Call')
        browser.says('wrong argument ""', '.answers')

    def test_the_last_hour_is_drawn_and_read_by_keys(self):
        browser = self.open_camera('gate', 'history')
        browser.find('.plot-line')
        browser.run('document.querySelector(".plot-canvas").focus()')
        browser.hands().send_keys('\ue012').perform()  # left
        self.assertTrue(re.search(r'median .+ asked, \d+ lost', browser.text('.readout')), browser.text('.readout'))
        browser.click('.plot summary', 'As a table')
        browser.says('Median', '.plot table')
        browser.shoot('history')

    def test_a_role_that_may_look_is_offered_nothing_else(self):
        self.be(self.service.add_token('guard', 'view'))
        browser = self.open_camera('gate')
        browser.says('guard · may look', '#session')
        browser.says('Your role may look, but not move the head.', '.ptz')
        browser.says('Brightness', '.settings')
        shown = [button.text for button in browser.all('.ptz *, .settings *') if button.is_displayed() and
                 button.tag_name in ('button', 'input', 'select')]
        self.assertEqual(shown, [], 'what changes something is hidden')

    def test_an_expired_session_says_so_and_loses_nothing_that_was_typed(self):
        self.expect_refusals(401)
        self.be(self.service.add_token('desk', 'operate'))
        browser = self.open_camera('gate')
        browser.fill(self.row('brightness').find_element(By.CSS_SELECTOR, 'input'), '65')
        self.service.revoke('desk')
        browser.says('Your session has expired', 'dialog')
        browser.shoot('expired')
        browser.find('#token').send_keys('not a token')
        browser.click('dialog button', 'Log in')
        browser.says('does not know this token', 'dialog')
        browser.fill(browser.find('#token'), self.token)
        browser.click('dialog button', 'Log in')
        browser.gone('dialog')
        self.assertEqual(self.row('brightness').find_element(By.CSS_SELECTOR, 'input').get_attribute('value'), '65')
        browser.click('.settings-group button.primary')
        browser.says('asked 65', 'tr[data-field=brightness]')
        browser.says('Live', '#connection')
