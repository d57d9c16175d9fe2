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


def help_of(*command):
    return subprocess.run([PROGRAM, *command, '--help'], capture_output=True, text=True,
                          check=True).stdout


def options_of(*command):
    """Those at the starts of lines: '  -o FOLDER', '  -h, --help', '      --json'."""
    found = set()
    for line in help_of(*command).splitlines():
        if line.startswith('  ') and line.lstrip().startswith('-'):
            found |= set(OPTION.findall(re.split(r' {2,}', line.strip())[0]))
    return found


COMMANDS = {}


def setUpModule():
    names = re.findall(r'^  ([a-z]+) {2,}', help_of(), re.MULTILINE)
    COMMANDS.update({name: options_of(name) for name in names})


class CommandLineDocumentsTest(unittest.TestCase):
    def test_the_help_is_read(self):
        self.assertEqual(sorted(COMMANDS), ['generate', 'scan', 'serve', 'track'])
        self.assertIn('-o', COMMANDS['generate'])
        self.assertEqual(COMMANDS['track'], {'-h', '--help', '--json', '--verbose'})

    def test_manuals_describe_every_option_of_every_command_and_no_other(self):
        common = options_of()
        for manual in sorted(PACKAGING.glob('man/*.1')):
            text = manual.read_text().replace('\\-', '-')
            sections = dict(re.findall(r'^\.SS (\w+)\n(.*?)(?=^\.S[SH] )', text, re.M | re.S))
            self.assertEqual(sorted(sections), sorted(COMMANDS))
            for name, options in COMMANDS.items():
                with self.subTest(manual=manual.name, command=name):
                    described = re.findall(r'^\.TP\n\.BI? (--?[a-z-]+)', sections[name], re.M)
                    self.assertEqual(set(described), options - common)

    def test_manuals_name_the_environment(self):
        listed = help_of('track').split('Zmienne środowiska:\n')[1]
        variables = re.findall(r'\w+', ' '.join(line[:29] for line in listed.splitlines()))
        self.assertIn('no_proxy', variables)
        for manual in sorted(PACKAGING.glob('man/*.1')):
            for variable in variables:
                self.assertIn(variable, manual.read_text())

    def test_manuals_are_clean(self):
        for manual in sorted(PACKAGING.glob('man/*.1')):
            with self.subTest(manual=manual.name):
                groff = subprocess.run(['groff', '-man', '-Kutf8', '-Tutf8', '-ww', manual],
                                       capture_output=True, text=True, check=True)
                self.assertEqual(groff.stderr, '')

    def complete_in_bash(self, *words):
        script = '''
            source /usr/share/bash-completion/bash_completion
            source "$1/completion/kopertal.bash"
            shift
            COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_LINE="$*" COMP_POINT=${#COMP_LINE}
            _kopertal
            printf '%s\\n' "${COMPREPLY[@]}"'''
        with tempfile.TemporaryDirectory() as folder:
            for name in ['adresy.txt', 'zdjecie.HEIC', 'inny.pdf']:
                Path(folder, name).touch()
            Path(folder, 'zapis').mkdir()
            answer = subprocess.run(['bash', '-c', script, 'bash', PACKAGING, 'kopertal', *words],
                                    cwd=folder, capture_output=True, text=True, check=True)
        self.assertEqual(answer.stderr, '')
        return set(answer.stdout.split())

    def test_bash_completes(self):
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
                self.assertEqual(self.complete_in_bash(*words), expected)

    @unittest.skipUnless(shutil.which('fish'), 'no fish')
    def test_fish_completes(self):
        for name, options in COMMANDS.items():
            with self.subTest(command=name):
                answer = subprocess.run(
                    ['fish', '--no-config', '-c', f'source {PACKAGING}/completion/kopertal.fish; '
                     f'complete -C "kopertal {name} -"'], capture_output=True, text=True, check=True)
                self.assertEqual({line.split('\t')[0] for line in answer.stdout.splitlines()}, options)

    def test_zsh_knows_every_option(self):
        text = (PACKAGING / 'completion' / '_kopertal').read_text()
        branches = dict(re.findall(r'^    (\w+)\)\n(.*?);;', text, re.M | re.S))
        self.assertEqual(sorted(branches), sorted(COMMANDS))
        for name, options in COMMANDS.items():
            with self.subTest(command=name):
                offered = set(re.findall(r"^ *'(?:\([^)]*\))?(--?[a-z-]+)", branches[name], re.M))
                self.assertEqual(offered, options - {'-h', '--help'})


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=2)
