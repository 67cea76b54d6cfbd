# SPDX-License-Identifier: LGPL-2.1-or-later
"""Every part tells the one version of the build, and so do the pages about it.

usage: test_versions.py BUILD_DIR VERSION
"""
import json
import re
import subprocess
import sys
import unittest
from pathlib import Path

import results
from stage import TOP

BUILD, VERSION = Path(sys.argv[1]).resolve(), sys.argv[2]
PROGRAMS = ("orvmail-account", "orvmail-account-window", "asdaemon")


def said(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


class Versions(unittest.TestCase):
    def test_each_program_tells_its_name_and_the_version(self):
        for name in PROGRAMS:
            self.assertEqual(said(BUILD / "bin" / name, "--version"), f"{name} {VERSION}\n")

    def test_status_tells_that_of_the_plugin(self):
        told = subprocess.run([BUILD / "bin/orvmail-account", "status", "--json"], check=False, capture_output=True,
                              text=True).stdout
        self.assertEqual(json.loads(told)["pluginVersion"], VERSION)

    def test_man_pages_have_it(self):
        pages = [path for path in (BUILD / "manual/pages").glob("*.[18]")]
        self.assertEqual(len(pages), len(PROGRAMS))
        for page in pages:
            self.assertRegex(page.read_text(), rf'(?m)^\.TH .* "orvmail {re.escape(VERSION)}"')

    def test_changelogs_begin_with_it(self):
        self.assertEqual(re.search(r"^## (\S+)", (TOP / "CHANGELOG.md").read_text(), re.M).group(1), VERSION)
        self.assertEqual(re.match(r"orvmail \((\S+?)-", (TOP / "debian/changelog").read_text()).group(1), VERSION)


if __name__ == "__main__":
    sys.exit(results.run("versions"))
