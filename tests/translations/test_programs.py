# SPDX-License-Identifier: LGPL-2.1-or-later
"""The programs in other languages, as a person has them whose environment names one.

usage: test_programs.py ACCOUNT_PROGRAM WINDOW_PROGRAM DAEMON MARKED_ACCOUNT_PROGRAM

The locales need not be installed: Qt reads the variables itself. MARKED_ACCOUNT_PROGRAM is the first in a language in
which each text that was looked up stands between « and »."""
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest

import results

ACCOUNT, WINDOW, DAEMON, MARKED = sys.argv[1:5]
GERMAN = {"LC_ALL": "de_DE.UTF-8"}
FRENCH = {"LC_ALL": "fr_FR.UTF-8"}
ENGLISH = {"LC_ALL": "C.UTF-8"}
SECRET = "pa55-Shibboleth"


def run(program, *arguments, language, text=""):
    environment = {name: value for name, value in os.environ.items()
                   if name not in ("LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG")}
    # Nothing listens there; a server that is asked refuses at once.
    return subprocess.run([program, *arguments], input=text, capture_output=True, text=True,
                          env={**environment, **language}, check=False)


def account(*arguments, language):
    return run(ACCOUNT, *arguments, language=language)


def set_account_up():
    done = run(ACCOUNT, "add", "--email", "alice@localhost", "--server", "localhost", "--port", "9", "--keep", "3",
               "--no-check", "--password-stdin", "Zuhause", language=ENGLISH, text=SECRET + "\n")
    assert done.returncode == 0, done.stderr


class Languages(unittest.TestCase):
    def test_help_is_in_the_language(self):
        for language, word, title in ((GERMAN, "Aufruf: ", "Befehle"), (FRENCH, "Utilisation\N{NBSP}: ", "Commandes")):
            told = account("--help", language=language).stdout
            self.assertTrue(told.startswith(f"{word}orvmail-account COMMAND [options]\n"), told[:80])
            self.assertIn(f"\n{title} (help COMMAND ", told)
            for name in ("add", "outbox", "--json"):
                self.assertRegex(told, rf"\n  {name}  ")

    def test_help_of_a_command_is_in_the_language(self):
        told = account("help", "sync", language=GERMAN).stdout
        self.assertIn("\norvmail-account sync: ein Konto oder alle synchronisieren\n", told)
        self.assertIn("\nOptionen:\n  -q, --quiet ", told)

    def test_failure_is_told_in_the_language(self):
        for language, text in ((GERMAN, "es gibt kein Konto „Arbeit“; „orvmail-account list“ zeigt alle"),
                               (FRENCH, "il n’y a pas de compte «\N{NBSP}Arbeit\N{NBSP}»\N{NBSP}; «\N{NBSP}"
                                        "orvmail-account list\N{NBSP}» les montre tous")):
            done = account("show", "Arbeit", language=language)
            self.assertEqual((done.returncode, done.stderr), (1, f"orvmail-account: {text}\n"))

    def test_reason_of_the_protocol_is_told_in_the_language(self):
        done = account("test", "Zuhause", language=GERMAN)
        self.assertRegex(done.stderr, r"^orvmail-account: keine Verbindung zu localhost:9 \(Verbindung zurückgewiesen\); "
                                      "prüfen Sie Server, Port und Netz\n$")

    def test_settings_are_shown_in_the_language(self):
        told = account("show", "Zuhause", language=GERMAN).stdout
        self.assertRegex(told, r"\nVerschlüsselung +tls\n")
        self.assertRegex(told, r"\nbehalten +3 Tage\n")
        self.assertRegex(told, r"\nPasswort +\(aufbewahrt, nicht gezeigt\)\n")

    def test_window_program_and_daemon_tell_of_themselves_in_the_language(self):
        self.assertTrue(run(WINDOW, "--help", language=GERMAN).stdout.startswith("Aufruf: orvmail-account-window"))
        self.assertTrue(run(DAEMON, "--help", language=GERMAN).stdout.startswith("Aufruf: asdaemon"))
        self.assertEqual(run(DAEMON, "--patience", "0", language=FRENCH).stderr,
                         "pas de 1 à 3600 secondes\N{NBSP}: 0\n")

    def test_missing_display_is_told_in_the_language(self):
        done = run(WINDOW, language={**GERMAN, "QT_QPA_PLATFORM": "xcb", "DISPLAY": ""})
        self.assertEqual(done.returncode, 1)
        self.assertIn("orvmail-account: es gibt keine Anzeige für ein Fenster;", done.stderr)

    def test_wrong_option_is_told_in_the_language(self):
        self.assertEqual(account("list", "--wrong", language=GERMAN).stderr,
                         "orvmail-account: Unbekannte Option „wrong“.\n")

    def test_first_language_that_is_there_is_taken(self):
        def word(**language):
            return account("--help", language=language).stdout.split(":")[0].strip()
        self.assertEqual(word(LANG="de_DE.UTF-8"), "Aufruf")
        self.assertEqual(word(LANG="de_AT.UTF-8"), "Aufruf")
        self.assertEqual(word(LANG="fr_FR.UTF-8", LC_MESSAGES="de_DE.UTF-8"), "Aufruf")
        self.assertEqual(word(LANG="fr_FR.UTF-8", LANGUAGE="pl:de_CH:fr"), "Aufruf")
        self.assertEqual(word(LANG="de_DE.UTF-8", LANGUAGE="en_GB:de"), "Usage")
        self.assertEqual(word(LANG="pl_PL.UTF-8"), "Usage")

    def test_without_a_locale_it_is_english(self):
        for plain in ("C", "C.UTF-8", "POSIX", ""):
            told = account("show", "Arbeit", language={"LC_ALL": plain, "LANGUAGE": "de"}).stderr
            self.assertIn('there is no account "Arbeit"', told, plain)

    def test_report_is_english(self):
        with tempfile.NamedTemporaryFile() as file:
            told = account("report", "--output", "-", language={**GERMAN, "QMF_DATA": file.name + "/below"}).stdout
        self.assertIn("How the parts are found", told)
        self.assertRegex(told, "the mail store's folder .* cannot be made")

    def test_json_is_the_same_in_each_language(self):
        for command in ("list", "show Zuhause", "folders Zuhause", "status", "outbox", "show Arbeit", "sync Zuhause"):
            english = account(*command.split(), "--json", language=ENGLISH)
            german = account(*command.split(), "--json", language=GERMAN)
            json.loads(english.stdout)
            self.assertEqual((german.returncode, german.stdout, german.stderr),
                             (english.returncode, english.stdout, english.stderr), command)


class Marks(unittest.TestCase):
    """No text is shown that was not looked up."""

    def unmarked(self, text):
        """The words without a mark that are no names."""
        self.assertIn("«", text)
        rest = re.sub("«[^«»]*»", " ", text)
        # The command line of an example.
        rest = re.sub(r"^  (\*/15 .*|orvmail-account .*)$", "", rest, flags=re.M)
        # Programs, their options, what stands for something, variables, files, numbers; the account; schemes.
        rest = re.sub(r"orvmail-account(-window)?|(?<!\w)--?[a-z][a-z-]*|\b[A-Z_]{2,}\b|~?(/[\w.]+)+", " ", rest)
        rest = re.sub(r"\balice@localhost\b|\blocalhost\b|\bZuhause\b|\bArbeit\b|\btls\b", " ", rest)
        return re.findall(r"[^\W\d_]{2,}", rest)

    def commands(self):
        told = run(ACCOUNT, "--help", language=ENGLISH).stdout
        return re.findall(r"^  (\w+) ", told.split("\nCommands")[1].split("\n\n")[0], re.M)

    def test_help(self):
        commands = self.commands()
        self.assertIn("outbox", commands)
        # What is typed as it is: commands, and the words of their arguments.
        names = {*commands, "options", "retry", "to", "drafts"}
        for command in ["", *commands]:
            told = run(MARKED, "help", *command.split(), language=ENGLISH).stdout
            self.assertEqual([word for word in self.unmarked(told) if word not in names], [], command or "--help")

    def test_what_the_commands_say(self):
        for command in ("list", "show Zuhause", "folders Zuhause", "status", "status Zuhause", "outbox", "set Zuhause "
                        "--push off", "set Zuhause --server localhost --port 9", "test Zuhause", "sync Zuhause",
                        "sync", "remove Zuhause", "show Arbeit", "outbox retry 7"):
            done = run(MARKED, *command.split(), language=ENGLISH)
            self.assertEqual(self.unmarked(done.stdout + done.stderr), [], f"{command}: {done.stdout}{done.stderr}")

    def test_wrong_usage(self):
        for command in ("", "wash", "show", "outbox discard 7", "list too many", "show Zuhause --bogus", "set Zuhause", "add --port 0",
                        "set Zuhause --push maybe", "set Zuhause --keep 5", "add --email a", "test Zuhause --timeout 0",
                        "set Zuhause --encryption rot13", "set Zuhause --favourite Arbeit",
                        "add --email alice@localhost --server http:// --password-stdin"):
            done = run(MARKED, *command.split(), language=ENGLISH)
            self.assertGreater(done.returncode, 0, command)
            given = set(re.findall(r"[^\W\d_]{2,}", command))
            self.assertEqual([word for word in self.unmarked(done.stderr) if word not in given], [],
                             f"{command}: {done.stderr}")


if __name__ == "__main__":
    set_account_up()
    sys.exit(results.run("translated-programs"))
