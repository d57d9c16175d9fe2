"""Drives the phone's pages in a real browser against the real server: phone_pages_test.py PROGRAM"""

import os
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

PROGRAM = os.path.abspath(sys.argv[1]) if len(sys.argv) > 1 else ''
MIB = 1024 * 1024
INSECURE = 'telefon.test'  # resolved to this computer by the browser alone; not a secure context

CHECKING = 'Sprawdzanie połączenia…'
READY = 'Oczekiwanie na zdjęcie…'
UNREACHABLE = ('Uruchom Kopertal na Macu i upewnij się, że oba urządzenia są w tej samej sieci '
               'Wi-Fi.')
SENDING = 'Wysyłanie…'
SENT = 'Zdjęcie wysłane! Możesz zamknąć tę stronę.'
LOST = 'Brak połączenia z Macem — uruchom aplikację i spróbuj ponownie.'


class Server:
    """kopertal serve on one port; can be paused, stopped and started again."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory()
        self.process = None
        with socket.socket() as probe:
            probe.bind(('127.0.0.1', 0))
            self.port = probe.getsockname()[1]
        self.start()

    def start(self):
        self.process = subprocess.Popen(
            [PROGRAM, 'serve', '--port', str(self.port), '--save-photos', self.folder.name],
            stderr=subprocess.PIPE, text=True)
        for line in self.process.stderr:
            if 'Ctrl+C' in line:
                return
        raise AssertionError('the server did not start')

    def stop(self):
        if not self.process:
            return 0
        self.resume()
        self.process.send_signal(signal.SIGINT)
        self.process.stderr.read()
        code = self.process.wait(timeout=20)
        self.process.stderr.close()
        self.process = None
        return code

    def pause(self):
        self.process.send_signal(signal.SIGSTOP)

    def resume(self):
        self.process.send_signal(signal.SIGCONT)

    def photos(self):
        return sorted(Path(self.folder.name).glob('zdjecie_*'),
                      key=lambda path: path.stat().st_mtime_ns)

    def address(self, path='/', host=INSECURE):
        return f'http://{host}:{self.port}{path}'


def start_browser(hosts=INSECURE):
    """Finds `hosts` on this computer."""
    options = webdriver.ChromeOptions()
    options.binary_location = '/usr/bin/chromium'
    for argument in ['--headless=new', '--no-sandbox', '--disable-gpu', '--disable-quic',
                     '--no-first-run', '--disable-background-networking',
                     '--disable-component-update', '--disable-sync', '--disable-dev-shm-usage',
                     '--no-proxy-server', f'--host-resolver-rules=MAP {hosts} 127.0.0.1']:
        options.add_argument(argument)
    options.set_capability('goog:loggingPrefs', {'browser': 'ALL'})
    browser = webdriver.Chrome(service=Service('/usr/bin/chromedriver'), options=options)
    browser.execute_cdp_cmd('Emulation.setTouchEmulationEnabled', {'enabled': True})
    set_screen(browser, 390, 844)
    return browser


def set_screen(browser, width, height):
    browser.execute_cdp_cmd('Emulation.setDeviceMetricsOverride', {
        'width': width, 'height': height, 'deviceScaleFactor': 1, 'mobile': True})


class PhonePagesTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.files = tempfile.TemporaryDirectory()

    @classmethod
    def tearDownClass(cls):
        cls.files.cleanup()

    def setUp(self):
        self.server = Server()
        self.addCleanup(self.server.folder.cleanup)
        self.addCleanup(self.server.stop)
        self.browser = start_browser()
        self.addCleanup(self.browser.quit)

    # What the tests do on the page.

    def open(self, path='/', host=INSECURE):
        self.browser.get(self.server.address(path, host))

    def element(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def photo(self, size, name='zdjecie.jpg'):
        path = Path(self.files.name) / name
        if not path.exists():
            path.write_bytes((b'\xff\xd8\xff\xe0' + os.urandom(MIB) * (size // MIB + 1))[:size])
        return path

    def choose(self, path):
        # The browser's driver skips the click with which a picker opens.
        self.browser.execute_script('document.getElementById("status").textContent = "";'
                                    'document.getElementById("photo").dispatchEvent('
                                    '    new Event("click"));')
        self.element('#photo').send_keys(str(path))

    def status(self):
        return self.element('#status').text, self.element('#status').get_attribute('class')

    def assert_limit(self, seconds, started):
        """The page's limit was that long; a busy machine adds to it, but the page's two limits are far apart."""
        elapsed = time.monotonic() - started
        self.assertGreater(elapsed, seconds - 0.5)
        self.assertLess(elapsed, seconds + 4)

    def await_status(self, text, style='', seconds=8):
        expected = (text, f'status {style}'.strip())
        deadline = time.monotonic() + seconds
        while self.status() != expected and time.monotonic() < deadline:
            time.sleep(0.05)
        self.assertEqual(self.status(), expected)

    def await_photos(self, count):
        """The photos kept, the latest last: the page has its answer before they are written."""
        deadline = time.monotonic() + 8
        while len(self.server.photos()) < count and time.monotonic() < deadline:
            time.sleep(0.05)
        self.assertEqual(len(self.server.photos()), count)
        return self.server.photos()

    def bar(self):
        """The bar's width as a part of its track, as it will be when it has come to rest."""
        return float(self.element('#bar').get_attribute('style').split('width:')[1].split('%')[0])

    def assert_no_complaints(self):
        self.assertEqual([entry for entry in self.browser.get_log('browser')
                          if entry['level'] == 'SEVERE'], [])

    # The tests.

    def test_scan_page_takes_pictures(self):
        self.open()
        self.await_status(READY)
        self.assertEqual(self.browser.title, 'Kopertal')
        self.assertEqual(self.element('#photo').get_attribute('accept'), 'image/*')
        self.assertEqual(self.element('#photo').get_attribute('capture'), 'environment')
        self.assertFalse(self.element('#progress').is_displayed())
        self.assertFalse(self.element('#retry').is_displayed())
        self.assert_no_complaints()

    def test_pairing_page_leads_to_the_home_screen(self):
        self.open('/pair?x=1')
        self.assertEqual(self.browser.title, "Sparuj iPhone'a — Kopertal")
        self.assertEqual([bold.text for bold in self.browser.find_elements(By.TAG_NAME, 'b')],
                         ['„Dodaj do ekranu głównego”', '„Dodaj”'])
        self.assertEqual(self.browser.find_elements(By.TAG_NAME, 'script'), [])

    def test_both_pages_share_the_manifest(self):
        for path in ['/', '/pair']:
            with self.subTest(path=path):
                self.open(path)
                self.assertEqual(self.browser.execute_script('return document.characterSet'),
                                 'UTF-8')
                manifest = self.browser.execute_cdp_cmd('Page.getAppManifest', {})
                self.assertEqual(manifest['errors'], [])
                self.assertEqual(manifest['url'], self.server.address('/manifest.json'))
                self.assertIn('"start_url":"/"', manifest['data'])
        # The home-screen icon is a picture that browsers can draw.
        size = self.browser.execute_async_script(
            'const done = arguments[0]; const image = new Image();'
            'image.onload = () => done([image.naturalWidth, image.naturalHeight]);'
            'image.onerror = () => done(null);'
            'image.src = document.querySelector("link[rel=apple-touch-icon]").href;')
        self.assertEqual(size, [180, 180])

    def test_every_screen_shows_all_of_both_pages(self):
        long = 'Bardzodługiejednosłowo' * 6
        for width, height in [(320, 568), (360, 640), (390, 844), (430, 932), (768, 1024),
                              (568, 320), (844, 390), (1024, 768)]:
            set_screen(self.browser, width, height)
            for path, state in [('/', ''), ('/', UNREACHABLE), ('/', long), ('/pair', '')]:
                with self.subTest(width=width, height=height, path=path, state=state[:10]):
                    self.open(path)
                    if state:
                        self.await_status(READY)
                        self.browser.execute_script(
                            'status_ = document.getElementById("status");'
                            'status_.textContent = arguments[0];'
                            'status_.className = "status warning";'
                            'document.getElementById("retry").hidden = false;'
                            'document.getElementById("photo").disabled = true;', state)
                    box = self.browser.execute_script(
                        'const card = document.querySelector(".card").getBoundingClientRect();'
                        'const root = document.scrollingElement;'
                        'return {left: card.left, top: card.top, width: card.width,'
                        '        wide: root.scrollWidth}')
                    self.assertEqual(box['wide'], width)
                    self.assertEqual(box['width'], min(380, width - 40))
                    self.assertEqual(box['left'], (width - box['width']) / 2)
                    self.assertGreaterEqual(box['top'], 24)

    def test_sends_photos_byte_for_byte(self):
        self.open()
        self.await_status(READY)
        for number, size in enumerate([5, 200_000, 12 * MIB + 7], start=1):
            photo = self.photo(size, f'zdjecie{size}.jpg')
            self.choose(photo)
            self.await_status(SENT, 'success')
            self.assertEqual(self.bar(), 100)
            self.assertEqual(self.await_photos(number)[-1].read_bytes(), photo.read_bytes())
        self.assert_no_complaints()

    def test_shows_progress_and_counts_photos_on_their_way_together(self):
        self.open()
        self.await_status(READY)
        self.server.pause()
        self.choose(self.photo(40 * MIB, 'duze.jpg'))
        self.await_status(SENDING)
        time.sleep(1)  # until the system's buffers are full
        self.assertTrue(self.element('#progress').is_displayed())
        self.assertGreater(self.bar(), 0)
        self.assertLess(self.bar(), 90)
        self.choose(self.photo(1000, 'male.jpg'))
        time.sleep(0.5)
        self.assertEqual(self.status()[0], SENDING)
        self.server.resume()
        self.await_status(SENT, 'success')
        self.assertEqual(self.bar(), 100)
        self.assertEqual(sorted(photo.stat().st_size for photo in self.await_photos(2)),
                         [1000, 40 * MIB])

    def test_shows_refusals_with_their_number(self):
        self.open()
        self.await_status(READY)
        self.choose(self.photo(60_000_000, 'zaduze.jpg'))
        self.await_status('Błąd: 413', 'error')
        self.choose(self.photo(0, 'puste.jpg'))
        self.await_status('Błąd: 400', 'error')
        self.choose(self.photo(1000, 'dobre.jpg'))
        self.await_status(SENT, 'success')
        self.assertEqual(len(self.await_photos(1)), 1)

    def test_shows_a_lost_connection(self):
        self.open()
        self.await_status(READY)
        photo = self.photo(1000, 'dobre.jpg')
        self.server.pause()
        started = time.monotonic()
        self.choose(photo)
        self.await_status(SENDING)
        self.await_status(LOST, 'error', seconds=13)
        self.assert_limit(10, started)
        self.assertEqual(self.server.stop(), 0)
        self.choose(photo)
        self.await_status(LOST, 'error')
        self.server.start()
        self.choose(photo)
        self.await_status(SENT, 'success')

    def test_a_cancelled_picker_changes_nothing(self):
        self.open()
        self.await_status(READY)
        self.choose(self.photo(1000, 'dobre.jpg'))
        self.await_status(SENT, 'success')
        self.browser.execute_cdp_cmd('Page.setInterceptFileChooserDialog', {'enabled': True})
        before = self.element('body').get_attribute('innerHTML')
        self.element('.main-button').click()
        time.sleep(0.3)
        root = self.browser.execute_cdp_cmd('DOM.getDocument', {})['root']['nodeId']
        node = self.browser.execute_cdp_cmd('DOM.querySelector',
                                            {'nodeId': root, 'selector': '#photo'})['nodeId']
        self.browser.execute_cdp_cmd('DOM.setFileInputFiles', {'files': [], 'nodeId': node})
        self.browser.execute_script(
            'document.getElementById("photo").dispatchEvent(new Event("change"))')
        time.sleep(0.3)
        self.assertEqual(self.element('body').get_attribute('innerHTML'), before)
        self.assertEqual(len(self.server.photos()), 1)

    def test_a_phone_that_can_keep_nothing_is_served(self):
        self.open()
        outcome = self.browser.execute_async_script("""
            const done = arguments[0];
            const listeners = {};
            const worker = {addEventListener: (name, listener) => { listeners[name] = listener; }};
            const full = {open: async () => ({put: async () => { throw new Error('full'); }})};
            fetch('/sw.js').then((answer) => answer.text()).then(async (script) => {
              new Function('self', 'caches', script)(worker, full);
              let answer;
              let kept;
              listeners.fetch({
                request: new Request('/ping'),
                respondWith: (promise) => { answer = promise; },
                waitUntil: (promise) => { kept = promise; },
              });
              const text = await (await answer).text();
              kept.then(() => done(text), (error) => done(`not caught: ${error}`));
            });""")
        self.assertEqual(outcome, 'ok')

    def test_starts_offline_and_recovers(self):
        self.open(host='localhost')
        self.await_status(READY)
        WebDriverWait(self.browser, 8).until(lambda browser: browser.execute_script(
            'return navigator.serviceWorker.controller !== null'))
        self.assertEqual(self.browser.execute_script(
            'return navigator.serviceWorker.controller.scriptURL'),
            self.server.address('/sw.js', 'localhost'))
        # Only "/" is kept so far: the page starts, the check finds nobody.
        self.server.stop()
        set_screen(self.browser, 568, 320)
        self.browser.refresh()
        self.await_status(UNREACHABLE, 'warning')
        WebDriverWait(self.browser, 8).until(lambda browser: browser.execute_script(
            'return document.getElementById("retry").getBoundingClientRect().bottom') <= 320)
        set_screen(self.browser, 390, 844)
        self.assertTrue(self.element('#retry').is_displayed())
        self.assertFalse(self.element('#photo').is_enabled())
        # A server that does not answer is the same after three seconds.
        self.server.start()
        self.server.pause()
        started = time.monotonic()
        self.element('#retry').click()
        self.await_status(CHECKING)
        self.assertFalse(self.element('#retry').is_displayed())
        self.await_status(UNREACHABLE, 'warning')
        self.assert_limit(3, started)
        self.server.resume()
        self.element('#retry').click()
        self.await_status(READY)
        self.assertTrue(self.element('#photo').is_enabled())
        # Now "/ping" is kept as well: the check succeeds, an upload tells the truth.
        keys = self.browser.execute_async_script(
            'caches.open("zq-v1").then((cache) => cache.keys())'
            '.then((keys) => arguments[0](keys.map((key) => new URL(key.url).pathname)))')
        self.assertIn('/', keys)
        self.assertIn('/ping', keys)
        self.server.stop()
        self.browser.refresh()
        self.await_status(READY)
        self.choose(self.photo(1000, 'dobre.jpg'))
        self.await_status(LOST, 'error')
        self.server.start()
        self.browser.refresh()
        self.await_status(READY)
        self.choose(self.photo(1000, 'dobre.jpg'))
        self.await_status(SENT, 'success')


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=2)
