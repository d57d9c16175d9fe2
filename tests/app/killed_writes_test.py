"""Kills the real program at each of its calls that change files, one after the other, or has the call fail, and looks at
what is left: killed_writes_test.py PROGRAM"""

import json
import os
import re
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.request
import zipfile
from collections import Counter
from pathlib import Path

PROGRAM = sys.argv[1] if len(sys.argv) > 1 else ''
PATIENCE = 30  # seconds
CALLS = ('mkdir,write,pwrite64,rename,renameat,renameat2,link,linkat,unlink,unlinkat,rmdir,chmod,fchmod,ftruncate,'
         'fsync,fdatasync')
KILLED = -signal.SIGKILL


def wait_until(condition, process=None):
    deadline = time.monotonic() + PATIENCE
    while not condition() and (process is None or process.poll() is None):
        if time.monotonic() > deadline:
            raise TimeoutError('in vain')
        time.sleep(0.01)


def handles_termination(pid):
    try:
        handled = re.search(r'^SigCgt:\s*(\w+)', Path(f'/proc/{pid}/status').read_text(), re.MULTILINE)[1]
    except OSError:
        return False
    return bool(int(handled, 16) & 1 << signal.SIGTERM - 1)


def names(folder):
    return sorted(path.name for path in folder.iterdir())


class KilledWritesTest(unittest.TestCase):
    def setUp(self):
        if subprocess.run(['strace', '-qq', '-o', '/dev/null', 'true'], check=False).returncode:
            self.skipTest('the system allows no tracing')
        stage = tempfile.TemporaryDirectory()
        self.addCleanup(stage.cleanup)
        self.stage = Path(stage.name)
        self.config, self.runtime, self.temporary, self.out = (
            self.stage / name for name in ('config', 'runtime', 'temporary', 'out'))
        for folder in (self.config, self.runtime, self.temporary, self.out):
            folder.mkdir(mode=0o700)
        self.settings = self.config / 'kopertal/settings.json'
        self.addresses = self.stage / 'adresy.txt'
        self.addresses.write_text('Łucja Próbna\nul. Długa 5\n80-831 Gdańsk\n\n' * 12)
        self.environment = dict(
            os.environ, HOME=str(self.stage), XDG_CONFIG_HOME=str(self.config), XDG_RUNTIME_DIR=str(self.runtime),
            TMPDIR=str(self.temporary), QT_QPA_PLATFORM='offscreen', DBUS_SESSION_BUS_ADDRESS='unix:path=/nonexistent',
            ASAN_OPTIONS='detect_leaks=0')  # which cannot be had in a traced process

    def start(self, *arguments, kill=None, words=subprocess.DEVNULL, fate='signal=KILL'):
        """Traced; `kill` names a call and which of them meets its fate."""
        injection = ['-e', f'inject={kill[0]}:{fate}:when={kill[1]}'] if kill else []
        return subprocess.Popen(
            ['strace', '-D', '-f', '-qq', '-y', '-o', self.stage / 'trace', '-e', f'trace={CALLS}', *injection, PROGRAM,
             *arguments], env=self.environment, stdout=subprocess.DEVNULL, stderr=words, text=True)

    def kill_points(self, process):
        """The calls of a run that has ended which concern the stage's files, each as (NAME, N)."""
        calls = Counter()
        points = []
        for line in (self.stage / 'trace').read_text().splitlines():
            if call := re.match(rf'{process.pid} +(\w+)\((1<)?', line):
                calls[call[1]] += 1
                if str(self.stage) in line and not call[2]:  # which is its output
                    points.append((call[1], calls[call[1]]))
        self.assertTrue(points)
        return points

    def kill_everywhere(self, run, check):
        """`run(kill)` prepares, starts and ends the program, and returns its process."""
        points = self.kill_points(run(None))
        killed = 0
        for point in points:
            with self.subTest(call=point):
                process = run(point)
                killed += process.returncode == KILLED
                check()
        self.assertGreater(killed, len(points) * 3 // 4)

    def test_settings(self):
        register, layout = 'tracking.sentBooks', 'window.layout'
        values = {'sender.name': 'Żak', 'sender.address': 'ul. Nowa 1', 'paths.saveFolder': str(self.out)}
        self.settings.parent.mkdir()

        def begin_and_end(process):
            """The window's start takes the register of the last run away, its end writes what it looked like."""
            wait_until(lambda: handles_termination(process.pid), process)
            if process.poll() is None:
                process.terminate()
            process.wait(PATIENCE)
            return process

        def run(kill):
            for left in self.runtime.iterdir():
                left.unlink()
            self.settings.write_text(json.dumps(values | {register: {'base64': 'W10='}}))
            return begin_and_end(self.start(kill=kill))

        def check():
            kept = json.loads(self.settings.read_text())
            self.assertEqual({key: kept[key] for key in values}, values)
            self.assertLessEqual(set(kept) - set(values), {register, layout})
            self.assertEqual([name for name in names(self.settings.parent) if 'damaged' in name], [])
            self.assertEqual(begin_and_end(self.start()).returncode, 0)  # in spite of locks that nobody holds
            self.assertEqual(set(json.loads(self.settings.read_text())) - {layout}, set(values))

        self.kill_everywhere(run, check)

    def generate(self, **options):
        register = self.out / 'rejestr.docx'
        register.write_text('old')
        process = self.start('generate', self.addresses, '--output', register, **options)
        _, words = process.communicate(timeout=PATIENCE)
        return process, words

    def pages(self):
        with zipfile.ZipFile(self.out / 'rejestr.docx') as archive:
            self.assertIsNone(archive.testzip())
            return archive.read('word/document.xml')

    def test_registers(self):
        self.assertEqual(self.generate()[0].returncode, 0)
        whole = self.pages()

        def check():
            if (self.out / 'rejestr.docx').read_bytes() != b'old':
                self.assertEqual(self.pages(), whole)
            self.assertEqual([name for name in names(self.out) if name.endswith('.docx')], ['rejestr.docx'])

        self.kill_everywhere(lambda kill: self.generate(kill=kill)[0], check)

    def test_registers_on_a_full_disk(self):
        points = self.kill_points(self.generate()[0])
        whole = self.pages()
        for point in points:
            if point[0] in ('unlink', 'rmdir'):
                continue  # what cannot be removed stays
            with self.subTest(call=point):
                process, words = self.generate(kill=point, fate='error=ENOSPC', words=subprocess.PIPE)
                if process.returncode == 0:
                    self.assertEqual(self.pages(), whole)
                else:
                    self.assertEqual(process.returncode, 1)
                    self.assertRegex(words, r'^\S.*:.+')
                    self.assertEqual((self.out / 'rejestr.docx').read_bytes(), b'old')
                self.assertEqual(names(self.out) + names(self.temporary), ['rejestr.docx'])

    @staticmethod
    def upload(port, photo):
        try:
            urllib.request.urlopen(f'http://127.0.0.1:{port}/upload', photo, PATIENCE).close()
        except OSError:
            pass  # its answer dies with the program

    def test_photos(self):
        photo = b'\xff\xd8\xff\xe0' + b'x' * 200_000

        def run(kill):
            process = self.start('serve', '--save-photos', self.out, kill=kill, words=subprocess.PIPE)
            with process.stderr as words:
                for line in words:
                    if address := re.match(r'http://[0-9.]+:([0-9]+)$', line):
                        self.upload(address[1], photo)
                    if 'Odebrano' in line:
                        process.terminate()
            process.wait(PATIENCE)
            return process

        def check():
            for name in names(self.out):
                if name.endswith('.jpg'):
                    self.assertEqual((self.out / name).read_bytes(), photo)
                else:
                    self.assertRegex(name, r'^\.kopertal-')

        self.kill_everywhere(run, check)


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1])
