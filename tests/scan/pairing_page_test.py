"""Opens the static page of packaging/pairing-page in a real browser: where does it lead?"""

import http.server
import threading
import unittest
from functools import partial
from pathlib import Path

from phone_pages_test import start_browser
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

PAGE = Path(__file__).parents[2] / 'packaging' / 'pairing-page'
COMPUTER = 'biuro-2.local'


class Quiet(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *_):
        pass


class PhoneServer(Quiet):
    """Stands for the program: says which of its pages was asked for."""

    def do_GET(self):
        self.send_response(200)
        self.send_header('Content-Type', 'text/plain')
        self.end_headers()
        self.wfile.write(f'asked for {self.path}'.encode())


def serve(handler):
    server = http.server.ThreadingHTTPServer(('127.0.0.1', 0), handler)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server


class PairingPageTest(unittest.TestCase):
    def setUp(self):
        self.web = serve(partial(Quiet, directory=PAGE))
        self.program = serve(PhoneServer)
        self.port = self.program.server_port
        self.browser = start_browser('*')
        for release in [self.browser.quit, self.web.shutdown, self.web.server_close,
                        self.program.shutdown, self.program.server_close]:
            self.addCleanup(release)

    def open(self, query):
        self.address = f'http://www.example.org:{self.web.server_port}/index.html{query}'
        self.browser.get(self.address)

    def test_leads_to_the_computer(self):
        for host in [COMPUTER, 'BIURO.local', 'x.local', 'a' * 63 + '.local']:
            for query in [f'?h={host}&p={self.port}', f'?utm=1&p={self.port}&h={host}#x']:
                with self.subTest(query=query):
                    self.open(query)
                    WebDriverWait(self.browser, 8).until(
                        lambda browser: browser.current_url ==
                        f'http://{host.lower()}:{self.port}/pair')
                    self.assertIn('asked for /pair',
                                  self.browser.find_element(By.TAG_NAME, 'body').text)

    def test_leads_nowhere_else(self):
        good = f'h={COMPUTER}&p={self.port}'
        hosts = ['', 'evil.com', 'evil.com/.local', 'evil.com#.local', 'evil.com%23.local',
                 'evil.com%2F.local', 'a@evil.local', 'evil.com:80.local', 'a.b.local', '.local',
                 'local', '-a.local', 'a-.local', 'a' * 64 + '.local', 'a_b.local', 'a.local.',
                 'a.local%0A', ' a.local', 'a.localx', 'a%00.local', 'żółw.local', '127.0.0.1',
                 'javascript:alert(1)//.local']
        ports = ['', '0', '65536', '080', '-1', '+80', '8e1', '80%20', '80%0A', '80/x', '80@evil.com',
                 '0x50', '٨٠']
        queries = ['', '?', f'?{good}&h=evil.com', f'?{good}&p=80', f'?p={self.port}',
                   f'?h={COMPUTER}', f'#{good}']
        queries += [f'?h={host}&p={self.port}' for host in hosts]
        queries += [f'?h={COMPUTER}&p={port}' for port in ports]
        for query in queries:
            with self.subTest(query=query):
                self.open(query)
                self.assertTrue(self.browser.current_url.startswith(self.address.split('?')[0]))
                self.assertTrue(self.browser.find_element(By.ID, 'refused').is_displayed())
                self.assertFalse(self.browser.find_element(By.ID, 'connecting').is_displayed())

    def test_says_what_to_do_when_the_computer_does_not_answer(self):
        self.program.shutdown()  # takes the connection and answers nothing
        self.browser.set_page_load_timeout(1)
        address = f'http://{COMPUTER}:{self.port}/pair'
        try:
            self.open(f'?h={COMPUTER}&p={self.port}')
        except Exception:  # the load that is meant not to end
            pass
        self.assertEqual(self.browser.find_element(By.ID, 'link').get_attribute('href'), address)
        self.assertEqual(self.browser.find_element(By.ID, 'link').text, address)
        self.assertFalse(self.browser.find_element(By.ID, 'refused').is_displayed())


if __name__ == '__main__':
    unittest.main()
