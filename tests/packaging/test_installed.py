# SPDX-License-Identifier: LGPL-2.1-or-later
"""What is installed fits together: the files by which D-Bus and systemd start programs, and the programs.

usage: test_installed.py BUILD_DIR
"""
import configparser
import os
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

BUILD = Path(sys.argv[1])
ROOT = Path(os.environ["ORVMAIL_TEST_PLACE"], "installed")


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

    def test_nothing_is_left_to_be_filled_in(self):
        for pattern in ("*.service", "*.conf"):
            for path in found(pattern):
                code = [line for line in path.read_text().splitlines() if not line.startswith("#")]
                self.assertNotIn("@ASDAEMON", "\n".join(code), path)


class Result(unittest.TextTestResult):
    """Prints as Qt Test does."""

    def addSuccess(self, test):
        super().addSuccess(test)
        print(f"PASS   : packaging::{test.id().rpartition('.')[2]}()", flush=True)

    def addFailure(self, test, error):
        super().addFailure(test, error)
        print(f"FAIL!  : packaging::{test.id().rpartition('.')[2]}()", flush=True)

    def addError(self, test, error):
        super().addError(test, error)
        print(f"FAIL!  : packaging::{test.id().rpartition('.')[2]}()", flush=True)


if __name__ == "__main__":
    runner = unittest.TextTestRunner(resultclass=Result, verbosity=0)
    sys.exit(not runner.run(unittest.defaultTestLoader.loadTestsFromModule(sys.modules[__name__])).wasSuccessful())
