# SPDX-License-Identifier: LGPL-2.1-or-later
"""The clean system, below the test's place, and the packages that are tried in it; what its owner does there."""

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

from stage import TOP
from system import administer, unpack

BUILD = Path(sys.argv[1]).resolve()
PLACE = Path(os.environ["ORVMAIL_TEST_PLACE"])
ROOT, MEDIA = PLACE / "clean", PLACE / "media"
PACKAGES = ("orvmail", "orvmail-window")
HIGHER = "99-1"
MAIL = TOP / "tests/data/mail"


def as_root(*command):
    """What it prints; it must succeed."""
    done = administer(ROOT, command, MEDIA)
    if done.returncode:
        raise AssertionError(f"{' '.join(command)}:\n{done.stdout}")
    return done.stdout


def apt(verb, *names):
    """As a person would, on whose machine nothing asks; there is no user of apt's own in this system."""
    return as_root("apt-get", "-y", "-o", "APT::Sandbox::User=root", verb, *names)


def built(name):
    """The package's file, as the system sees it."""
    [found] = MEDIA.glob(f"{name}_*_*.deb")
    return f"/media/{found.name}"


def make_higher(name):
    """The same package with a higher version, as the system sees it."""
    folder = PLACE / f"unpacked-{name}"
    subprocess.run(["dpkg-deb", "-R", MEDIA / Path(built(name)).name, folder], check=True)
    control = folder / "DEBIAN/control"
    version = re.search(r"^Version: (.*)$", control.read_text(), re.M).group(1)
    control.write_text(control.read_text().replace(version, HIGHER))
    subprocess.run(["dpkg-deb", "--root-owner-group", "-Znone", "-b", folder, MEDIA / f"{name}-{HIGHER}.deb"],
                   check=True, stdout=subprocess.DEVNULL)
    return f"/media/{name}-{HIGHER}.deb"


def installed():
    """The packages that are there, with their versions."""
    lines = as_root("dpkg-query", "-W", "-f", "${Package} ${db:Status-Status} ${Version}\n").splitlines()
    return {name: version for name, status, version in map(str.split, lines) if status == "installed"}


def files(name):
    """The files of a package that is installed."""
    return [ROOT / path.lstrip("/") for path in as_root("dpkg", "-L", name).splitlines()
            if (ROOT / path.lstrip("/")).is_file()]


def fill_inbox(stage):
    """Mail for alice, before her server starts."""
    inbox = stage.dir / "mail/alice/Inbox"
    inbox.mkdir(parents=True)
    for path in MAIL.glob("plain*.eml"):
        shutil.copy(path, inbox)


def prepare():
    """Unpacks it, once, with the packages at hand."""
    if ROOT.exists():
        return
    unpack(os.environ["ORVMAIL_CLEAN_SYSTEM"], ROOT)
    MEDIA.mkdir()
    for name in PACKAGES:
        [file] = (BUILD.parent / "package").glob(f"{name}_*.deb")
        shutil.copy(file, MEDIA)
