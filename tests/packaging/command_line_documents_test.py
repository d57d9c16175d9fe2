"""Sets the manuals and the shells' completions beside what the program's help says:
command_line_documents_test.py PROGRAM"""

import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROGRAM = sys.argv[1] if len(sys.argv) > 1 else ''
PACKAGING = Path(__file__).parents[2] / 'packaging'
OPTION = re.compile(r'(?<![\w-])(--?[a-z][a-z-]*)')


def output_of(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, check=True, **options)


def help_of(*command):
    return output_of(PROGRAM, *command, '--help').stdout


def options_of(*command):
    """Those at the starts of lines: '  -o FOLDER', '  -h, --help', '      --json'."""
    starts = re.findall(r'^ +(-.*?)(?:  |$)', help_of(*command), re.MULTILINE)
    return set(OPTION.findall(' '.join(starts)))


COMMANDS = {}


def setUpModule():
    names = re.findall(r'^  ([a-z]+) {2,}', help_of(), re.MULTILINE)
    COMMANDS.update({name: options_of(name) for name in names})


class CommandLineDocumentsTest(unittest.TestCase):
    def test_the_help_is_read(self):
        self.assertEqual(sorted(COMMANDS), ['generate', 'scan', 'serve', 'track'])
        self.assertIn('-o', COMMANDS['generate'])
        self.assertEqual(COMMANDS['track'], {'-h', '--help', '--json', '--verbose'})

    def test_manuals(self):
        common = options_of()
        listed = help_of('track').split('Zmienne środowiska:\n')[1]
        variables = re.findall(r'\w+', ' '.join(line[:29] for line in listed.splitlines()))
        self.assertIn('no_proxy', variables)
        manuals = list(PACKAGING.glob('man/*.1'))
        self.assertEqual(len(manuals), 2)
        for manual in manuals:
            text = manual.read_text().replace('\\-', '-')
            self.assertEqual([name for name in variables if name not in text], [], manual)
            sections = dict(re.findall(r'^\.SS (\w+)\n(.*?)(?=^\.S[SH] )', text, re.M | re.S))
            described = {name: set(re.findall(r'^\.TP\n\.BI? (--?[a-z-]+)', section, re.M))
                         for name, section in sections.items()}
            self.assertEqual(described, {name: options - common for name, options in COMMANDS.items()})
            groff = output_of('groff', '-man', '-Kutf8', '-Tutf8', '-ww', manual)
            self.assertEqual(groff.stderr, '')

    def test_bash_completes(self):
        script = '''
            source /usr/share/bash-completion/bash_completion
            source "$1/completion/kopertal.bash"
            shift
            COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_LINE="$*" COMP_POINT=${#COMP_LINE}
            _kopertal
            printf '%s\\n' "${COMPREPLY[@]}"'''
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        for name in ['adresy.txt', 'zdjecie.HEIC', 'inny.pdf']:
            Path(folder.name, name).touch()
        Path(folder.name, 'zapis').mkdir()
        for words, expected in [
                (['--'], options_of() - {'-h'}),
                ([''], {*COMMANDS, 'adresy.txt', 'zapis'}),
                (['ge'], {'generate'}),
                (['generate', ''], {'adresy.txt', 'zapis'}),
                (['generate', '-o', ''], {'zapis'}),
                (['scan', 'zd'], {'zdjecie.HEIC'}),
                (['serve', '--save-photos', ''], {'zapis'}),
                (['serve', '--port', ''], set()),
                *([[name, '-'], options - {'-h'}] for name, options in COMMANDS.items())]:
            with self.subTest(words=words):
                answer = output_of('bash', '-c', script, 'bash', PACKAGING, 'kopertal', *words,
                                   cwd=folder.name)
                self.assertEqual((set(answer.stdout.split()), answer.stderr), (expected, ''))

    @unittest.skipUnless(shutil.which('fish'), 'no fish')
    def test_fish_completes(self):
        for name, options in COMMANDS.items():
            answer = output_of('fish', '--no-config', '-c', f'source {PACKAGING}/completion/kopertal.fish; '
                               f'complete -C "kopertal {name} -"')
            self.assertEqual({line.split('\t')[0] for line in answer.stdout.splitlines()}, options)

    def test_zsh_knows_every_option(self):
        text = (PACKAGING / 'completion' / '_kopertal').read_text()
        branches = re.findall(r'^    (\w+)\)\n(.*?);;', text, re.M | re.S)
        offered = {name: set(re.findall(r"^ *'(?:\([^)]*\))?(--?[a-z-]+)", branch, re.M))
                   for name, branch in branches}
        self.assertEqual(offered, {name: options - {'-h', '--help'} for name, options in COMMANDS.items()})


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=2)
