# SPDX-License-Identifier: LGPL-2.1-or-later
"""The second real server: Horde, in the root $ORVMAIL_SERVER_ROOT_HORDE. As different from the first as can
be had: another language, another reading of the protocol."""

import os
import shutil
import subprocess

import ways
from realserver import HERE, NoServer, RealServer
from waiting import await_true


class HordeServer(RealServer):
    ways = ways.HORDE

    def __init__(self, place, repaired=True):
        """Not repaired it is as packaged: what PHP 8 breaks in it ends in half of an answer."""
        root = os.environ.get("ORVMAIL_SERVER_ROOT_HORDE", "")
        if not os.path.isdir(f"{root}/srv/database"):
            raise NoServer("there is no second server root; ./dev test --server makes it")
        super().__init__(place, root, "www-data", HERE / "horde/server")
        self.repaired = repaired

    def exchanges(self):
        return "".join(path.read_text(errors="replace")
                       for path in sorted((self.data / "log/eas").glob("*")))

    def forget_devices(self):
        shutil.rmtree(self.data / "db")

    # --- what an administrator does while it runs

    def policy(self, level, **settings):
        """Asks devices for a policy: "none", "loose" or "force", with settings by their names."""
        self._control("policy", level, *(f"{name}={value}" for name, value in settings.items()))

    def wipe(self, user):
        """Has all devices of a user wiped; how many there are."""
        return len(self._control("wipe", user).split())

    def _control(self, *arguments):
        done = self.data / "did"
        done.unlink(missing_ok=True)
        (self.data / "do.new").write_text("\n".join(arguments) + "\n")
        (self.data / "do.new").chmod(0o666)
        (self.data / "do.new").rename(self.data / "do")
        await_true("answer of the groupware", done.exists)
        return done.read_text()

    # --- configuration; paths are those inside

    def _configure(self):
        if not (self.data / "db").exists():
            shutil.copytree(f"{self.root}/srv/database", self.data / "db")
        subprocess.run([HERE / "horde/configure", self.root, self.data, str(self.port),
                        str(self.tls_port), str(self.imap_port),
                        *(["repaired"] if self.repaired else [])], check=True)

    def _mounts(self):
        library = "/usr/share/php/Horde/ActiveSync"
        # Net_DNS2 dies of its own empty cache file with this PHP; the groupware does without it.
        mounts = ["--bind", str(self.data / "horde"), "/etc/horde", "--tmpfs", "/var/tmp",
                  "--tmpfs", "/usr/share/php/Net/DNS2"]
        if self.repaired:
            for name, place in (("Collections.php", ""), ("ItemOperations.php", "/Request")):
                mounts += ["--ro-bind", str(self.data / "repaired" / name), f"{library}{place}/{name}"]
        return mounts
