# SPDX-License-Identifier: LGPL-2.1-or-later
"""The Debian packages in a clean system that has neither our sources nor a network: what they install, and that
accounts, keys and mail outlive upgrade, removal and purge; and what a person is told there (desktop.py).

usage: test_package.py BUILD_DIR, with the packages in BUILD_DIR/../package and the packed system in
$ORVMAIL_CLEAN_SYSTEM
"""
import contextlib
import os
import re
import shutil
import sqlite3
import subprocess
import sys
import unittest

import results
from cleansystem import (BUILD, HIGHER, MEDIA, PACKAGES, ROOT, apt, as_root, built, files, fill_inbox, installed,
                         make_higher, prepare)
from desktop import Desktop  # noqa: F401
from installed import InstalledStage
from stage import DAEMON, MESSAGE_SERVER, TOP
from system import administer


def own_indexes(store):
    """What the daemon has put into the mail store's database."""
    with contextlib.closing(sqlite3.connect(store)) as base:
        return sorted(name for name, in base.execute(
            "SELECT name FROM sqlite_master WHERE type = 'index' AND name LIKE 'orvmail%'"))


def setUpModule():
    prepare()


class Contents(unittest.TestCase):
    """What is installed, and that it does the main job."""

    @classmethod
    def setUpClass(cls):
        cls.before = installed()
        apt("install", built("orvmail"))
        cls.alone = installed()
        cls.window = administer(ROOT, ["orvmail-account", "--window"], MEDIA)
        apt("install", built("orvmail-window"))

    def test_first_package_brings_no_widgets_and_nothing_of_a_developers(self):
        brought = self.alone.keys() - self.before.keys()
        self.assertIn("qmfmessageserver", brought)
        self.assertEqual([name for name in brought if "widgets" in name or name.endswith("-dev")], [])

    def test_who_asks_for_the_window_without_it_is_told_its_package(self):
        self.assertEqual(self.window.returncode, 1)
        self.assertIn("package orvmail-window", self.window.stdout)

    def test_nothing_for_developers_is_installed(self):
        found = [path for name in PACKAGES for path in files(name)
                 if path.suffix in (".h", ".a") or "include" in path.parts or "interfaces" in path.parts]
        self.assertEqual(found, [])

    def test_every_program_is_there_once_and_tells_the_packages_version(self):
        version = installed()["orvmail"].partition("-")[0]
        for program in ("/usr/libexec/asdaemon", "/usr/bin/orvmail-account"):
            self.assertEqual(as_root(program, "--version").split()[-1], version)

    def test_programs_and_plugins_are_stripped(self):
        binaries = [path for name in PACKAGES for path in files(name) if path.read_bytes()[:4] == b"\x7fELF"]
        self.assertEqual(len(binaries), 5)
        for path in binaries:
            sections = subprocess.run(["readelf", "-SW", path], check=True, capture_output=True, text=True).stdout
            self.assertNotRegex(sections, r"\.symtab|\.debug_", path)

    def test_daemon_is_enabled_for_every_user(self):
        link = ROOT / "etc/systemd/user/default.target.wants/asdaemon.service"
        self.assertEqual(os.readlink(link), "/usr/lib/systemd/user/asdaemon.service")

    def test_unit_is_one_that_systemd_understands(self):
        self.assertEqual(as_root("env", "XDG_RUNTIME_DIR=/run", "systemd-analyze", "--user", "verify", "--man=no",
                                 "/usr/lib/systemd/user/asdaemon.service"), "")

    def test_rule_for_temporary_files_is_one_that_systemd_understands(self):
        self.assertEqual(as_root("systemd-tmpfiles", "--dry-run", "--create", "--clean", "asdaemon.conf"), "")

    def test_every_command_has_a_manual_page(self):
        commands = [path.name for name in PACKAGES for path in files(name) if path.parent.name == "bin"]
        self.assertEqual(sorted(commands), ["orvmail-account", "orvmail-account-window"])
        for command in commands:
            self.assertTrue((ROOT / f"usr/share/man/man1/{command}.1.gz").exists(), command)

    def test_demo_runs(self):
        done = subprocess.run([TOP / "tests/demo/demo", BUILD, "--installed", ROOT], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("/usr/libexec/asdaemon", done.stdout)


class Life(unittest.TestCase):
    """One user's account from the first installation to the purge."""

    def setUp(self):
        self.stage = InstalledStage(BUILD, ROOT)
        fill_inbox(self.stage)
        self.stage.start_server(self.stage.dir / "mail")
        self.seen = 0

    def tearDown(self):
        self.stage.close()

    def subjects(self):
        return sorted(message["subject"] for message in self.stage.mail("messages", folder="Inbox")["messages"])

    def asked(self):
        """What the server was asked since this was asked last."""
        entries = self.stage.control("log", since=self.seen)["log"]
        self.seen = max([self.seen, *(entry["number"] for entry in entries)])
        return entries

    def end_session(self):
        self.stage.end(MESSAGE_SERVER)
        self.stage.end(DAEMON)

    def deliver(self, subject):
        self.stage.control("deliver", user="alice", message=f"From: c@elsewhere.test\r\nSubject: {subject}\r\n\r\nText\r\n")

    def fetched(self):
        """How many messages have come since this was asked last, and whether a key was asked for anew."""
        entries = self.asked()
        come = sum(one["commands"].get("Add", 0) for entry in entries for one in entry.get("collections", []))
        anew = [entry["url"] for entry in entries if re.search(r"SyncKey>0<", entry.get("request") or "")]
        return come, bool(anew)

    def goes_on(self, subject):
        """A message that is new is fetched, with the keys that were there, and nothing else is."""
        before = self.subjects()
        self.deliver(subject)
        with self.stage.robot() as robot:
            robot.refresh()
        self.assertEqual(self.fetched(), (1, False))
        self.assertEqual(self.subjects(), sorted([*before, subject]))

    def test_accounts_keys_and_mail_outlive_upgrade_and_removal(self):
        self.stage.add_account()
        for name, program in ((MESSAGE_SERVER, "messageserver5"), (DAEMON, "/usr/libexec/asdaemon")):
            self.assertIn(program, self.stage.running()[self.stage.owner(name)])
        come, anew = self.fetched()
        self.assertEqual((come, anew), (len(self.subjects()), True))
        self.assertGreater(come, 2)

        # The daemon that runs is the one from before until its session ends.
        apt("install", *map(make_higher, PACKAGES))
        self.assertEqual({installed()[name] for name in PACKAGES}, {HIGHER})
        self.goes_on("During the upgrade")
        self.end_session()
        self.goes_on("After the upgrade")

        before = self.subjects()
        apt("remove", *PACKAGES)
        self.end_session()
        self.assertEqual(self.subjects(), before)
        self.stage.bus_starts(DAEMON)
        self.assertIsNone(self.stage.owner(DAEMON))
        apt("install", *map(built, PACKAGES))
        self.goes_on("After the removal")

        before = self.subjects()
        self.end_session()
        # The system's only user who has a home there is root.
        apt("install", "sqlite3")
        store = ROOT / "root/.local/share/qmf/database/qmailstore.db"
        store.parent.mkdir(parents=True)
        shutil.copy(self.stage.dir / "home/.local/share/qmf/database/qmailstore.db", store)
        dropped = re.findall(r"DROP INDEX IF EXISTS (\w+);", (TOP / "debian/orvmail.postrm").read_text())
        self.assertEqual(own_indexes(store), sorted(dropped))
        told = apt("purge", *PACKAGES)
        self.assertIn(f"removed its indexes from /{store.relative_to(ROOT)}", told)
        self.assertEqual(own_indexes(store), [])
        self.assertIn("~/.local/share/qmf", told)
        self.assertTrue((self.stage.dir / "home/.local/share/qmf/asdaemon.db").exists())
        left = [path for folder in ("usr", "etc", "var/lib/systemd") for path in (ROOT / folder).rglob("*")
                if re.search("orvmail|asdaemon", path.name)]
        self.assertEqual(left, [])
        self.assertEqual(self.subjects(), before)


if __name__ == "__main__":
    sys.exit(results.run("package"))
