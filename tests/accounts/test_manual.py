# SPDX-License-Identifier: LGPL-2.1-or-later
"""The man pages and the completion, as they are written while the programs are built, in what reads them.

usage: test_manual.py ACCOUNT_PROGRAM PAGES
"""
import os
import re
import shutil
import subprocess
import sys
import unittest
import unittest.mock
from pathlib import Path

import results

PROGRAM, PAGES = Path(sys.argv[1]), Path(sys.argv[2])
ENVIRONMENT = {**os.environ, "PATH": f"{PROGRAM.parent}:{os.environ['PATH']}", "LC_ALL": "C.UTF-8"}
NAMES = ["orvmail-account.1", "orvmail-account-window.1", "asdaemon.8"]


def run(*command, text=""):
    return subprocess.run(command, input=text, capture_output=True, text=True, env=ENVIRONMENT, check=False)


def account(*arguments, text=""):
    return run(PROGRAM, *arguments, text=text)


def needs(program):
    return unittest.skipUnless(shutil.which(program), f"{program} is not installed")


def words(text):
    """Without what only breaks its lines."""
    return " ".join(text.split())


def rendered(page):
    return words(run("groff", "-man", "-Tascii", "-P-cbou", "-rLL=500n", "-rHY=0", PAGES / page).stdout)


class ManPages(unittest.TestCase):
    @needs("groff")
    def test_groff_reads_each_page_without_a_warning(self):
        for name in NAMES:
            self.assertEqual(run("groff", "-man", "-Tutf8", "-ww", "-z", PAGES / name).stderr, "", name)

    @needs("mandoc")
    def test_mandoc_reads_each_page_without_a_warning(self):
        for name in NAMES:
            told = run("mandoc", "-T", "lint", "-W", "warning", PAGES / name).stdout.splitlines()
            # Only a release has one, by SOURCE_DATE_EPOCH.
            self.assertEqual([line for line in told if "missing date" not in line], [], name)

    @needs("groff")
    def test_page_has_every_command_with_what_its_help_says(self):
        page = rendered("orvmail-account.1")
        overview = account("--help").stdout
        commands = re.findall(r"^  (\w+) ", overview.split("Commands")[1].split("\n\n")[0], re.M)
        self.assertIn("sync", commands)
        for command in commands:
            told = account("help", command).stdout
            rows = re.findall(r"^  (\S.*?)(?:  +|\n +)(.*(?:\n {8,}.*)*)", told, re.M)
            self.assertTrue(rows, command)
            for name, text in rows:
                self.assertIn(words(name), page, command)
                self.assertIn(words(text), page, f"{command} {name}")

    @needs("groff")
    def test_pages_tell_exit_codes_files_and_environment(self):
        for name in NAMES:
            page = rendered(name)
            for part in ("EXIT STATUS", "FILES", "ENVIRONMENT", "QMF_DATA", "SEE ALSO"):
                self.assertIn(part, page, name)


class Completion:
    """What the person is offered who has typed so much."""

    script = """
source "$1"; shift
COMP_LINE=$1; COMP_POINT=${#COMP_LINE}
# As readline does it: blanks part words, and so does each of these, which is one itself.
mapfile -t COMP_WORDS < <(sed -E 's/([=:@]+)/\\n\\1\\n/g; s/ +/\\n/g' <<<"$COMP_LINE" | sed '/^$/d')
[[ $COMP_LINE != *" " ]] || COMP_WORDS+=("")
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
_orvmail_account
((${#COMPREPLY[@]} == 0)) || printf '%s\\n' "${COMPREPLY[@]}"
"""

    def __new__(cls, line):
        done = run("bash", "--norc", "-c", cls.script, "test", PAGES / "orvmail-account.bash",
                   f"orvmail-account {line}")
        assert done.stderr == "", done.stderr
        return done.stdout.splitlines()


class BashCompletion(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        for name, address in (("Work", "alice@example.test"), ("At home", "bob@example.test"),
                              ("carol@example.test", "carol@example.test")):
            done = account("add", "--email", address, "--server", "mail.example.test", "--no-check",
                           "--password-stdin", name, text="pa55-Shibboleth\n")
            assert done.returncode == 0, done.stderr
        cls.numbers = re.findall(r"^ *(\d+)  ", account("list").stdout, re.M)

    def test_commands_are_offered_first(self):
        offered = Completion("")
        for command in ("add", "list", "sync", "help", "--version", "--window"):
            self.assertIn(command, offered)

    def test_begun_command_is_completed(self):
        self.assertEqual(Completion("fol"), ["folders"])

    def test_options_are_those_of_the_command(self):
        self.assertIn("--favourite", Completion("set --"))
        self.assertNotIn("--favourite", Completion("add --"))
        self.assertEqual(Completion("remove --y"), ["--yes"])

    def test_what_can_stand_behind_an_option_is_offered(self):
        self.assertEqual(Completion("set Work --push "), ["on", "off"])
        self.assertEqual(Completion("set Work --push=of"), ["off"])
        self.assertEqual(Completion("add --encryption n"), ["none"])

    def test_nothing_is_offered_for_what_only_the_person_knows(self):
        self.assertEqual(Completion("set Work --user "), [])

    def test_accounts_are_offered_by_number_and_name(self):
        self.assertEqual(len(self.numbers), 3)
        self.assertEqual(sorted(Completion("show ")),
                         sorted(self.numbers + ["Work", "At\\ home", "carol@example.test"]))
        self.assertEqual(Completion("show W"), ["Work"])

    def test_accounts_are_offered_in_each_language(self):
        with unittest.mock.patch.dict(ENVIRONMENT, {"LC_ALL": "", "LANG": "de_DE.UTF-8"}):
            self.assertIn("  bei mail.example.test", account("list").stdout)
            self.assertIn("Work", Completion("show "))

    def test_name_with_a_blank_is_completed_in_quotes(self):
        self.assertEqual(Completion('show "At'), ["At home"])

    def test_address_is_completed_behind_its_sign(self):
        self.assertEqual(Completion("show carol@ex"), ["example.test"])

    def test_account_is_offered_behind_options(self):
        self.assertEqual(Completion("set --push on W"), ["Work"])
        self.assertEqual(Completion("set --push=on --no-check W"), ["Work"])

    def test_only_one_account_is_offered_where_one_is_taken(self):
        self.assertEqual(Completion("show Work "), [])

    def test_words_are_offered_beside_accounts(self):
        self.assertEqual(sorted(Completion("outbox ")),
                         sorted(self.numbers + ["Work", "At\\ home", "carol@example.test", "retry", "to-drafts"]))
        self.assertEqual(Completion("outbox retry "), [])

    def test_help_is_offered_the_commands(self):
        self.assertEqual(Completion("help fo"), ["folders"])


class ZshCompletion(unittest.TestCase):
    @needs("zsh")
    def test_zsh_reads_it(self):
        self.assertEqual(run("zsh", "-n", PAGES / "_orvmail-account").stderr, "")

    def test_it_has_every_option(self):
        text = (PAGES / "_orvmail-account").read_text()
        for option in re.findall(r"^  (?:-\w, )?(--[\w-]+)", account("help", "set").stdout, re.M):
            self.assertRegex(text, re.escape(option) + r"=?\[")


if __name__ == "__main__":
    sys.exit(results.run("manual"))
