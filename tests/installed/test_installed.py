# SPDX-License-Identifier: LGPL-2.1-or-later
"""What is installed fits together: the files by which D-Bus and systemd start programs, and the programs.

usage: test_installed.py BUILD_DIR
"""
import configparser
import os
import re
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

import results
from installed import InstalledStage
from stage import DAEMON, TOP

BUILD = Path(sys.argv[1])
PLACE = Path(os.environ["ORVMAIL_TEST_PLACE"])
ROOT, OWN = PLACE / "installed", PLACE / "own"


def read(path):
    file = configparser.RawConfigParser(strict=False, interpolation=None)
    file.optionxform = str
    file.read(path)
    return file


def found(pattern):
    return sorted(ROOT.rglob(pattern))


def is_program(command):
    """Of this installation, or of the machine."""
    program = command.split()[0]
    return any(os.access(path, os.X_OK) for path in (ROOT / program.lstrip("/"), program))


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        subprocess.run(["cmake", "--install", BUILD], env={**os.environ, "DESTDIR": str(ROOT)}, check=True,
                       stdout=subprocess.DEVNULL)
        [cls.unit_path] = found("systemd/user/asdaemon.service")
        [cls.activation_path] = found("dbus-1/services/com.tarvo.asdbus.service")
        cls.unit, cls.activation = read(cls.unit_path), read(cls.activation_path)["D-BUS Service"]

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(ROOT, ignore_errors=True)

    def test_unit_and_bus_start_the_same_program_under_the_same_name(self):
        service = self.unit["Service"]
        self.assertEqual(service["Type"], "dbus")
        self.assertEqual(service["BusName"], self.activation["Name"])
        self.assertEqual(service["ExecStart"], self.activation["Exec"])
        self.assertEqual(self.unit_path.name, self.activation["SystemdService"])
        self.assertTrue(os.access(ROOT / service["ExecStart"].lstrip("/"), os.X_OK))

    def test_unit_can_be_enabled(self):
        self.assertEqual(self.unit["Install"]["WantedBy"], "default.target")

    def test_every_activation_file_names_a_program_that_is_there(self):
        for path in found("dbus-1/services/*.service"):
            service = read(path)["D-BUS Service"]
            self.assertTrue(service["Name"], path)
            self.assertTrue(is_program(service["Exec"]), f"{path}: {service['Exec']}")

    def test_message_server_is_started_by_a_file_of_our_own_name(self):
        [path] = found("dbus-1/services/orvmail-messageserver.service")
        self.assertEqual(read(path)["D-BUS Service"]["Name"], "org.qt.messageserver")
        self.assertEqual(found("dbus-1/services/org.qt.messageserver.service"), [])

    def test_message_server_can_be_started_beside_another_packages_file_for_it(self):
        names = {path.name: read(path)["D-BUS Service"]["Name"] for path in found("dbus-1/services/*.service")}
        self.assertIn("org.qt.messageserver", names.values())
        self.assertNotIn("org.qt.messageserver.service", names)

    def test_every_program_has_its_page_and_the_shells_their_completion(self):
        for file in ("man/man1/orvmail-account.1", "man/man1/orvmail-account-window.1", "man/man8/asdaemon.8",
                     "bash-completion/completions/orvmail-account", "zsh/site-functions/_orvmail-account"):
            [path] = found(f"share/{file}")
            # A page writes each hyphen as "\\-", so that it can be copied from the screen.
            self.assertIn("orvmail-account", path.read_text().replace("\\-", "-"), file)

    def test_desktop_finds_the_window_and_its_icon(self):
        [path] = found("share/applications/*.desktop")
        entry = read(path)["Desktop Entry"]
        self.assertTrue(is_program(f"{path.parents[2].relative_to(ROOT)}/bin/{entry['Exec']}"))
        self.assertEqual(len(found(f"share/icons/hicolor/scalable/apps/{entry['Icon']}.svg")), 1)
        self.assertEqual(len(found(f"share/metainfo/{path.stem}.metainfo.xml")), 1)

    def test_nothing_is_left_to_be_filled_in(self):
        for pattern in ("*.service", "*.conf"):
            for path in found(pattern):
                code = [line for line in path.read_text().splitlines() if not line.startswith("#")]
                self.assertNotIn("@ASDAEMON", "\n".join(code), path)


def install(prefix):
    return subprocess.run(["cmake", "--install", BUILD, "--prefix", prefix], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, check=False)


class OwnPrefix(unittest.TestCase):
    """An installation below a folder of the user's own, who is told first what the session needs for it."""

    @classmethod
    def setUpClass(cls):
        cls.done = install(OWN)

    def told_environment(self):
        """What the lines bring about that the person is to copy."""
        lines = re.findall(r"^ +(export .*)$", self.done.stdout, re.M)
        self.assertEqual(len(lines), 2)
        env = subprocess.run(["sh", "-c", f"{'; '.join(lines)}; env -0"], check=True, capture_output=True, text=True,
                             env={"PATH": os.environ["PATH"]}).stdout
        return dict(pair.split("=", 1) for pair in env.split("\0") if pair.startswith(("XDG_", "QT_")))

    def test_says_what_it_lacks_before_it_writes(self):
        self.assertEqual(self.done.returncode, 0, self.done.stdout)
        self.assertLess(self.done.stdout.index("XDG_DATA_DIRS"), self.done.stdout.index("-- Installing"))

    def test_writes_nowhere_else(self):
        written = (BUILD / "install_manifest.txt").read_text().splitlines()
        self.assertGreater(len(written), 5)
        self.assertEqual([path for path in written if not os.path.realpath(path).startswith(f"{OWN}/")], [])

    def test_mail_comes_in_the_session_that_it_tells_of(self):
        with InstalledStage(BUILD, prefix=OWN, more=self.told_environment()) as stage:
            shutil.copytree(TOP / "tests/data/mail", stage.dir / "mail/alice/Inbox", ignore=lambda _, names: [
                name for name in names if not name.startswith("plain")])
            stage.start_server(stage.dir / "mail")
            stage.add_account()
            self.assertIn(f"{OWN}/libexec/asdaemon", stage.running()[stage.owner(DAEMON)])
            self.assertGreater(len(stage.mail("messages", folder="Inbox")["messages"]), 2)

    def test_writes_nothing_where_it_may_not(self):
        (PLACE / "file").write_text("")
        done = install(PLACE / "file/prefix")
        self.assertNotEqual(done.returncode, 0)
        self.assertIn(f"{PLACE}/file/prefix cannot be written to", " ".join(done.stdout.split()))
        self.assertNotIn("-- Installing", done.stdout)


class Versions(unittest.TestCase):
    def test_build_changelog_and_package_tell_the_same_version(self):
        [version] = re.findall(r"^project\(orvmail VERSION (\S+)", (TOP / "CMakeLists.txt").read_text(), re.M)
        changelog = re.search(r"^## (\S+)", (TOP / "CHANGELOG.md").read_text(), re.M)
        package = re.match(r"orvmail \((\S+)-\d+\)", (TOP / "debian/changelog").read_text())
        self.assertEqual([changelog.group(1), package.group(1)], [version, version])


if __name__ == "__main__":
    sys.exit(results.run("packaging"))
