# SPDX-License-Identifier: LGPL-2.1-or-later
"""What ./dev does on a machine that is not this one: its system is told by a file, and the programs that would change
it only note how they are called."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import results
from stage import TOP

#: A machine may lack them; a test brings those that are there.
NOT_EVERYWHERE = ("apt-get", "bwrap", "gpg", "mmdebstrap", "sudo")
SANDBOX = ["bwrap", "--dev-bind", "/", "/", "--unshare-user", "--die-with-parent"]
ROOT, PERSON = "0", "1000"
UBUNTU = 'ID=ubuntu\nID_LIKE=debian\nVERSION_ID="24.04"\n'
# As apt-get filters its sources, which are lines of an origin and an address.
INDEX_TARGETS = """
[ "$1" = indextargets ] || exit 0
origin='.*'
for word; do case $word in 'Origin: '*) origin=${word#Origin: } ;; esac; done
sed -n "s,^$origin ,,p" "$PLACE/sources"
"""
# The arguments end with the folder, or with a mirror behind it.
MAKE_FOLDER = 'for word; do case $word in *.partial) mkdir "$word" ;; esac; done'


def can_play():
    return subprocess.run([*SANDBOX, "--uid", ROOT, "--gid", ROOT, "true"], capture_output=True,
                          check=False).returncode == 0


@unittest.skipUnless(can_play(), "no namespaces of its own here")
class Machine(unittest.TestCase):
    """One on which the project has just been fetched, with all in a folder of its own."""

    def setUp(self):
        self.place = Path(tempfile.mkdtemp(prefix="dev."))
        self.addCleanup(shutil.rmtree, self.place)
        self.tree, self.cache, self.programs = (self.place / name for name in ("tree", "cache", "bin"))
        (self.tree / "packaging").mkdir(parents=True)
        for name in ("dev", "packaging/build-packages"):
            shutil.copy2(TOP / name, self.tree / name)
        self.programs.mkdir()
        for program in Path("/usr/bin").iterdir():
            if program.name not in NOT_EVERYWHERE:
                (self.programs / program.name).symlink_to(program)

    def bring(self, name, does=""):
        program = self.programs / name
        program.write_text(f'#!/bin/sh\nprintf "%s\\n" "{name} $*" >>"$PLACE/calls"\n{does}\n')
        program.chmod(0o755)

    def calls(self, name):
        """The arguments of each call."""
        try:
            lines = (self.place / "calls").read_text().splitlines()
        except FileNotFoundError:
            return []
        return [line.split()[1:] for line in lines if line.split()[0] == name]

    def dev(self, *arguments, user, system=UBUNTU):
        (self.place / "os-release").write_text(system)
        environment = {"PATH": str(self.programs), "PLACE": str(self.place), "HOME": str(self.place),
                       "TMPDIR": str(self.place), "XDG_CACHE_HOME": str(self.cache), "LC_ALL": "C.UTF-8"}
        # Nobody's keys are trusted.
        return subprocess.run(
            [shutil.which("bwrap"), *SANDBOX[1:], "--uid", user, "--gid", user,
             "--ro-bind", self.place / "os-release", "/usr/lib/os-release", "--tmpfs", "/usr/share/keyrings",
             self.tree / "dev", *arguments], env=environment, capture_output=True, text=True, check=False)


class DebianRoot(Machine):
    """That in which all is built where this is not Debian 13."""

    def build(self, *sources):
        """The mirrors from which a root is made; none: mmdebstrap's own choice."""
        shutil.rmtree(self.cache, ignore_errors=True)
        (self.place / "sources").write_text("".join(f"{line}\n" for line in sources))
        self.bring("apt-get", INDEX_TARGETS)
        self.bring("mmdebstrap", MAKE_FOLDER)
        self.bring("bwrap")
        done = self.dev("build", user=ROOT)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(self.calls("bwrap")[-1][-2:], [str(self.tree / "dev"), "build"])
        made = self.calls("mmdebstrap")[-1]
        [folder] = [word for word in made if word.endswith(".partial")]
        return made[made.index(folder) + 1:]

    def test_is_made_from_the_mirror_that_this_machine_uses(self):
        self.assertEqual(self.build("Debian http://mirror.example/debian/"), ["http://mirror.example/debian/"])

    def test_is_made_from_no_other_systems_mirror(self):
        ubuntu, another = "Ubuntu http://archive.example/ubuntu/", "Another http://download.example/another/debian/"
        for name, sources in (("its own", [ubuntu]), ("another's first", [another, ubuntu]), ("none", [])):
            with self.subTest(name):
                self.assertEqual(self.build(*sources), [])

    def test_brings_the_keys_by_which_it_is_trusted(self):
        self.build("Ubuntu http://archive.example/ubuntu/")
        [installed] = [call for call in self.calls("apt-get") if "install" in call]
        self.assertIn("debian-archive-keyring", installed)
        # Without it mmdebstrap does not take the keys of another system than this one.
        self.assertIn("gpg", installed)


class Clean(Machine):
    """What is removed, and who is needed for it."""

    def setUp(self):
        super().setUp()
        self.built = self.tree / "build/release/program"
        self.cached = self.cache / "orvmail/ccache/object"
        for file in (self.built, self.cached):
            file.parent.mkdir(parents=True)
            file.touch()

    def keep_as_roots(self):
        """A folder in which this user can remove nothing."""
        roots = self.cache / "orvmail/debian13/etc"
        roots.mkdir(parents=True)
        (roots / "passwd").touch()
        roots.chmod(0o555)
        self.addCleanup(roots.chmod, 0o755)
        return roots

    def test_leaves_the_cache_alone(self):
        done = self.dev("clean", user=PERSON)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertFalse((self.tree / "build").exists())
        self.assertTrue(self.cached.exists())

    def test_all_needs_nobody_else_for_what_is_ones_own(self):
        done = self.dev("clean", "--all", user=PERSON)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertFalse((self.tree / "build").exists())
        self.assertFalse((self.cache / "orvmail").exists())

    def test_all_is_content_without_a_cache(self):
        shutil.rmtree(self.cache)
        done = self.dev("clean", "--all", user=PERSON)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertFalse((self.tree / "build").exists())

    def test_all_asks_for_root_where_a_root_is_left(self):
        roots = self.keep_as_roots()
        self.bring("sudo")
        self.assertEqual(self.dev("clean", "--all", user=PERSON).returncode, 0)
        self.assertEqual(self.calls("sudo"), [["rm", "-rf", str(self.cache / "orvmail")]])
        self.assertFalse(self.cached.exists())
        self.assertTrue(roots.exists())

    def test_all_tells_what_it_cannot_remove(self):
        self.keep_as_roots()
        done = self.dev("clean", "--all", user=PERSON)
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"removing {self.cache}/orvmail needs root or sudo", done.stderr)

    def test_takes_no_other_word(self):
        for words in (["--al"], ["all"], ["--all", "release"]):
            done = self.dev("clean", *words, user=PERSON)
            self.assertEqual(done.returncode, 1, words)
            self.assertIn(" ".join(words), done.stderr)
            self.assertTrue(self.built.exists(), words)
            self.assertTrue(self.cached.exists(), words)


if __name__ == "__main__":
    sys.exit(results.run("dev"))
