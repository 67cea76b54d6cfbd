# SPDX-License-Identifier: LGPL-2.1-or-later
"""The whole chain of one test: a stage (tests/stage) with a real mail server, an account for it, the message
server with the plugin, the daemon (started by the bus), and a mail program."""

import os
from pathlib import Path

from hordeserver import HordeServer
from sogoserver import SogoServer
from stage import ACCOUNT, Stage
from tap import Tap
from witness import Witness

SERVERS = {"sogo": SogoServer, "horde": HordeServer}

PLACE = Path(os.environ.get("ORVMAIL_TEST_PLACE", "/nowhere"))


class Chain(Stage):
    """Made with a server that runs ($ORVMAIL_SERVER, made with the arguments) and no account yet; close()
    takes everything down."""

    def __init__(self, **server):
        (PLACE / "server").mkdir(exist_ok=True)
        self.server = SERVERS[os.environ.get("ORVMAIL_SERVER", "sogo")](PLACE / "server", **server)
        self.ways = self.server.ways
        self.witness = Witness(self.server)
        self.tap, self.robots = None, []
        self.server.start()
        super().__init__(os.environ.get("ORVMAIL_BUILD_DIR", "build/release"))
        self.announce_daemon()

    def add_account(self, name=ACCOUNT, user="alice", *arguments):
        return super().add_account("--keep", "all", *arguments, name=name, user=user,
                                   password=self.server.passwords[user], port=(self.tap or self.server).port)

    def tapped(self):
        """The tap that accounts added from now on talk through."""
        self.tap = self.tap or Tap(self.server)
        return self.tap

    def robot(self, account=ACCOUNT):
        self.robots.append(super().robot(account, inbox=self.ways.inbox))
        return self.robots[-1]

    def synchronised(self, account=ACCOUNT):
        """An account, the message server, a mail program, and the first synchronisation done."""
        self.add_account(account)
        self.start_message_server()
        robot = self.robot(account)
        robot.synchronize()
        return robot

    def close(self):
        for robot in self.robots:
            robot.close()
        self.witness.close()
        super().close()
        if self.tap:
            self.tap.close()
        self.server.stop()

    def check_logs_hold_no_password(self):
        for path in (self.dir / "log").iterdir():
            text = path.read_text(errors="replace")
            for password in self.server.passwords.values():
                assert password not in text, f"{path.name} holds a password"
