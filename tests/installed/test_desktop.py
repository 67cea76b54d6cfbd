# SPDX-License-Identifier: LGPL-2.1-or-later
"""What a desktop reads of the window: the standard's own tools take it, and the files fit together.

usage: test_desktop.py FOLDER
"""
import configparser
import subprocess
import sys
import unittest
import xml.etree.ElementTree as xml
from pathlib import Path

import results

FOLDER = Path(sys.argv[1])
NAME = "com.tarvo.orvmail"


def entry():
    file = configparser.RawConfigParser(strict=True, interpolation=None)
    file.optionxform = str
    file.read(FOLDER / f"{NAME}.desktop")
    return file["Desktop Entry"]


def metainfo():
    return xml.parse(FOLDER / f"{NAME}.metainfo.xml").getroot()


class Desktop(unittest.TestCase):
    def accept(self, *command):
        run = subprocess.run(command, capture_output=True, text=True, check=False)
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        return run.stdout + run.stderr

    def test_desktop_file_is_valid(self):
        self.assertEqual(self.accept("desktop-file-validate", FOLDER / f"{NAME}.desktop"), "")

    def test_metainfo_is_valid(self):
        # There is no homepage that it could name.
        self.accept("appstreamcli", "validate", "--no-net", "--explain", "--override=url-homepage-missing=info",
                    FOLDER / f"{NAME}.metainfo.xml")

    def test_icon_is_a_square_picture_without_anything_from_outside(self):
        root = xml.parse(FOLDER / f"{NAME}.svg").getroot()
        self.assertEqual(root.tag, "{http://www.w3.org/2000/svg}svg")
        self.assertEqual(root.get("width"), root.get("height"))
        for element in root.iter():
            self.assertFalse([name for name in element.attrib if name.endswith("href")], element)

    def test_files_name_each_other(self):
        self.assertEqual(entry()["Icon"], NAME)
        self.assertEqual(metainfo().findtext("id"), NAME)
        self.assertEqual(metainfo().findtext("launchable"), f"{NAME}.desktop")
        self.assertEqual(metainfo().findtext("icon"), NAME)
        self.assertEqual(metainfo().findtext("provides/binary"), entry()["Exec"])

    def test_they_say_the_same(self):
        self.assertEqual(metainfo().findtext("name"), entry()["Name"])
        self.assertEqual(metainfo().findtext("summary"), entry()["Comment"])


if __name__ == "__main__":
    sys.exit(results.run("desktop"))
