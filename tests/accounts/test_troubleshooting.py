# SPDX-License-Identifier: LGPL-2.1-or-later
"""The page about what is wrong: the programs say the sentences that it quotes, and take the commands that it names.

usage: test_troubleshooting.py BUILD_DIR
"""
import os
import re
import shlex
import shutil
import signal
import subprocess
import sys
import unittest
from pathlib import Path

import results
from stage import DAEMON, TOP
from waiting import await_true

BUILD = Path(sys.argv[1]).resolve()
PAGE = (TOP / "docs/troubleshooting.md").read_text()
WRONG_USAGE = 2
SWITCH = "dbus-update-activation-environment"
# What stands for something in the page, and in the sources.
VARIABLE, ARGUMENT = r"\b[A-Z][A-Z]+\b(?!-)", r"%(?:\d|n)"
# Words in capitals that stand for themselves.
NAMES = {"TLS", "QMF"}
LITERAL = r'"((?:[^"\\\n]|\\.)*)"'


def sentences():
    return [re.sub(VARIABLE, lambda found: found.group() if found.group() in NAMES else "%", words(text))
            for text in re.findall("“(.*?)”", PAGE, re.S)]


def words(text):
    return " ".join(text.split())


def literals():
    """The texts in the sources of the programs; those that stand side by side are one."""
    for folder in ("accounts", "daemon"):
        for path in sorted((TOP / folder).rglob("*.cpp")):
            for text in re.finditer(rf"{LITERAL}(?:\s*{LITERAL})*", path.read_text()):
                whole = "".join(re.findall(LITERAL, text.group()))
                yield re.sub(ARGUMENT, "%", whole.replace('\\"', '"'))


def commands(program):
    """Each command line of that program in the page."""
    lines = re.findall(r"`([^`\n]+)`", re.sub(r"(?m)^ *```.*$", "", PAGE).replace("\n", " "))
    for block in re.findall(r"(?ms)^ *```\n(.*?)^ *```", PAGE):
        lines += block.splitlines()
    return sorted({words(line) for line in lines if words(line).split()[0:1] == [program]})


def run(command, **environment):
    return subprocess.run(command, stdin=subprocess.DEVNULL, text=True, capture_output=True, check=False,
                          env={**os.environ, **environment})


def ask_bus(method, *arguments):
    return run(["dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                f"org.freedesktop.DBus.{method}", *arguments]).stdout


def end_daemon():
    process = int(ask_bus("GetConnectionUnixProcessID", f"string:{DAEMON}").split()[-1])
    os.kill(process, signal.SIGTERM)
    await_true("end of the daemon", lambda: "true" not in ask_bus("NameHasOwner", f"string:{DAEMON}"))


class Troubleshooting(unittest.TestCase):
    def test_programs_say_each_sentence(self):
        said = list(literals())
        wanted = sentences()
        self.assertGreater(len(wanted), 30)
        unknown = [sentence for sentence in wanted if not any(sentence in text for text in said)]
        self.assertEqual(unknown, [])

    def test_account_program_takes_each_command(self):
        found = commands("orvmail-account")
        self.assertGreater(len(found), 15)
        for line in found:
            arguments = shlex.split(line)[1:]
            if arguments == ["report"]:
                arguments += ["--output", "-"]
            done = run([BUILD / "bin/orvmail-account", *arguments])
            self.assertNotRegex(done.stderr, "no such command|[Uu]nknown option|arguments; see|which account", line)
            # The account that the page speaks of is not here; "add" wants what a person would type.
            self.assertTrue(done.returncode != WRONG_USAGE or arguments == ["add"], f"{line}\n{done.stderr}")

    def test_daemon_takes_each_command(self):
        found = commands("asdaemon")
        self.assertNotEqual(found, [])
        for line in found:
            done = run([BUILD / "bin/asdaemon", *shlex.split(line)[1:]], DBUS_SESSION_BUS_ADDRESS="unix:path=/none")
            self.assertIn("there is no session bus", done.stderr, line)

    @unittest.skipUnless(shutil.which(SWITCH), f"{SWITCH} is not installed")
    def test_debug_log_is_switched_on_and_off_without_systemd(self):
        [line] = commands(SWITCH)
        services = Path(os.environ["XDG_DATA_HOME"]) / "dbus-1/services"
        (services / f"{DAEMON}.service").write_text(f"[D-BUS Service]\nName={DAEMON}\nExec={BUILD}/bin/asdaemon\n")
        ask_bus("ReloadConfig")
        log = Path(os.environ["QMF_DATA"]) / "asdaemon.log"
        try:
            for words_of_person, is_kept in ((line.replace("=1", "=0"), False), (line, True)):
                self.assertEqual(run(shlex.split(words_of_person)).returncode, 0)
                ask_bus("StartServiceByName", f"string:{DAEMON}", "uint32:0")
                self.assertIn("uint32", ask_bus("GetConnectionUnixProcessID", f"string:{DAEMON}"))
                self.assertEqual(log.exists(), is_kept)
                end_daemon()
        finally:
            (services / f"{DAEMON}.service").unlink()
            ask_bus("ReloadConfig")

    def test_links_lead_somewhere(self):
        titles = {re.sub(r"[^a-z0-9 -]", "", title.lower()).replace(" ", "-")
                  for title in re.findall(r"(?m)^#+ (.*)$", PAGE)}
        for target in re.findall(r"\]\(([^)]+)\)", PAGE):
            if target.startswith("#"):
                self.assertIn(target[1:], titles)
            else:
                self.assertTrue((TOP / "docs" / target.partition("#")[0]).exists(), target)

    def test_the_files_and_variables_are_those_of_the_programs(self):
        header = (TOP / "asclient/debuglog.h").read_text()
        for name in ("ASDAEMON_DEBUG", "asdaemon.log", "asdaemon.log.old"):
            self.assertIn(f'"{name}"', header)
            self.assertIn(name, PAGE)


if __name__ == "__main__":
    sys.exit(results.run("troubleshooting"))
