# SPDX-License-Identifier: LGPL-2.1-or-later
"""The stage with what a package has installed, started by the bus files of that. Only the mail program and the mail
server are the tests'."""

import shutil

from stage import Stage
from system import enter, inside

PROGRAMS = {"asdaemon": "libexec/asdaemon", "orvmail-account": "bin/orvmail-account"}


class InstalledStage(Stage):
    """On this machine, or in the folder `root` of another system, in one session of its user. `more` is what else the
    session has in its environment."""

    def __init__(self, build, root=None, prefix="/usr", more=None):
        self.root, self.session, self.prefix, self.more = root, None, prefix, more or {}
        super().__init__(build)

    def furnish(self):
        for name in ("QT_PLUGIN_PATH", "QMF_DATA", "XDG_DATA_HOME"):
            del self.env[name]
        self.env.update(self.more)
        shutil.copy(self.build / "bin/mail-robot", self.dir)

    def bin(self, name):
        return f"{self.prefix}/{PROGRAMS[name]}" if name in PROGRAMS else f"{self.dir}/{name}"

    def bus_command(self):
        return ["dbus-daemon", "--session", "--nofork", f"--address=unix:path={self.dir}/run/bus"]

    def start_bus(self):
        self.session = None
        super().start_bus()
        if self.root:
            [self.session] = [pid for pid, command in self.running().items() if command.startswith("dbus-daemon")]

    def placed(self, command):
        words = super().placed(command)
        if not self.root:
            return words
        return inside(self.session, words) if self.session else enter(self.root, words, self.dir)

    def announce_as_installed(self):
        """The package has done it."""
