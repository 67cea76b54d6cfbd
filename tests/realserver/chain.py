# SPDX-License-Identifier: LGPL-2.1-or-later
"""The whole chain of one test: the real mail server, an account for it, the message server with the
plugin, the daemon (started by the bus), and a mail program. support/isolated gives it its home and its
bus."""

import json
import os
import re
import select
import signal
import subprocess
import time
from pathlib import Path

from hordeserver import HordeServer
from sogoserver import SogoServer
from tap import Tap
from waiting import await_true
from witness import Witness

SERVERS = {"sogo": SogoServer, "horde": HordeServer}

BUILD = Path(os.environ.get("ORVMAIL_BUILD_DIR", "build/release"))
PLACE = Path(os.environ.get("ORVMAIL_TEST_PLACE", "/nowhere"))
BUS_NAME = "com.tarvo.asdbus"
DOUBLET = 5.2  # seconds after a synchronisation in which another is taken for the same


class Robot:
    """A mail program that does what it is told; see robot/mailrobot.h. Here folders are called as IMAP
    calls them, whatever the server's name for the inbox."""

    def __init__(self, account, log, inbox):
        self.synchronised, self._inbox = 0, inbox
        self.process = subprocess.Popen([BUILD / "bin/mail-robot", account], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=log)

    def ask(self, do, **arguments):
        if arguments.get("folder") == "INBOX":
            arguments["folder"] = self._inbox
        line = json.dumps({"do": do, **arguments}) + "\n"
        self.process.stdin.write(line.encode())
        self.process.stdin.flush()
        answer = self.process.stdout.readline()
        if not answer:
            raise AssertionError(f"the mail program died while it was to {do}")
        return json.loads(answer)

    def tell(self, do, **arguments):
        """As ask(), and it must succeed."""
        answer = self.ask(do, **arguments)
        if not answer["ok"]:
            raise AssertionError(f"{do} {arguments} failed: {answer}")
        return answer

    def synchronize(self):
        """A whole synchronisation. So soon after another that it would pass for the same wish (5 s), it
        waits until it does not."""
        answer = self.try_to_synchronize()
        if not answer["ok"]:
            raise AssertionError(f"synchronize failed: {answer}")

    def try_to_synchronize(self):
        time.sleep(max(0, self.synchronised + DOUBLET - time.monotonic()))
        answer = self.ask("synchronize")
        self.synchronised = time.monotonic()
        return answer

    def export(self):
        """Lets what the user did travel, as synchronize() does."""
        time.sleep(max(0, self.synchronised + DOUBLET - time.monotonic()))
        self.tell("exportUpdates")
        self.synchronised = time.monotonic()

    def refresh(self):
        """Brings the folder tree and all folders up to date, as pulling down in each would."""
        self.tell("folderList")
        self.tell("refresh")
        self.synchronised = time.monotonic()

    def folders(self):
        return {self._imap(folder["path"]): folder for folder in self.tell("folders")["folders"]}

    def messages(self, **arguments):
        found = self.tell("messages", **arguments)["messages"]
        return [{**message, "folder": self._imap(message["folder"])} for message in found]

    def _imap(self, path):
        return "INBOX" if path == self._inbox else path

    def message(self, subject, **arguments):
        """The one message with this subject (in "folder" where that is given), or None."""
        found = [m for m in self.messages(**arguments) if m["subject"] == subject]
        if len(found) > 1:
            raise AssertionError(f"{len(found)} messages called {subject!r}: {found}")
        return found[0] if found else None

    def close(self):
        self.process.stdin.close()
        self.process.wait(10)


class Chain:
    """Made with a server that runs ($ORVMAIL_SERVER, made with the arguments) and no account yet; close()
    takes everything down."""

    def __init__(self, **server):
        self.logs = PLACE / "logs"
        self.logs.mkdir(exist_ok=True)
        (PLACE / "server").mkdir(exist_ok=True)
        self.server = SERVERS[os.environ.get("ORVMAIL_SERVER", "sogo")](PLACE / "server", **server)
        self.ways = self.server.ways
        self.witness = Witness(self.server)
        self.message_server = self.tap = None
        self.robots = []
        self.server.start()
        self._announce_daemon()

    def _announce_daemon(self):
        service = Path(os.environ["XDG_DATA_HOME"], f"dbus-1/services/{BUS_NAME}.service")
        service.write_text(f"[D-BUS Service]\nName={BUS_NAME}\nExec=/bin/sh -c 'exec "
                           f"\"{BUILD}/bin/asdaemon\" 2>>\"{self.logs}/asdaemon\"'\n")

    # --- the account program

    def account_program(self, *arguments, password=None):
        if password is not None:
            arguments += ("--password-stdin",)
        return subprocess.run([BUILD / "bin/orvmail-account", *arguments], text=True,
                              input=None if password is None else password + "\n",
                              stdin=None if password is not None else subprocess.DEVNULL,
                              capture_output=True, timeout=60)

    def add_account(self, name="Work", user="alice", *arguments):
        result = self.account_program(
            "add", name, "--email", f"{user}@example.test", "--user", user, "--server", "127.0.0.1",
            "--port", str((self.tap or self.server).port), "--encryption", "none", "--keep", "all", *arguments,
            password=self.server.passwords[user])
        if result.returncode != 0:
            raise AssertionError(f"the account was not added: {result.stdout}{result.stderr}")
        return result.stdout

    def tapped(self):
        """The tap that accounts added from now on talk through."""
        self.tap = self.tap or Tap(self.server)
        return self.tap

    # --- the message server and mail programs

    def start_message_server(self):
        self.message_server = subprocess.Popen(["messageserver5"], stdout=self._log("messageserver"),
                                               stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL)
        await_true("message server", lambda: bus_pid("org.qt.messageserver"))

    def robot(self, account="Work"):
        robot = Robot(account, self._log("robot"), self.ways.inbox)
        self.robots.append(robot)
        return robot

    def synchronised(self, account="Work"):
        """An account, the message server, a mail program, and the first synchronisation done."""
        self.add_account(account)
        self.start_message_server()
        robot = self.robot(account)
        robot.synchronize()
        return robot

    # --- the end

    def close(self):
        for robot in self.robots:
            robot.close()
        daemon = bus_pid(BUS_NAME)
        for pid in [self.message_server and self.message_server.pid, daemon]:
            if pid:
                os.kill(pid, signal.SIGTERM)
        if self.message_server:
            self.message_server.wait(20)
        if daemon:
            await_true("end of the daemon", lambda: not Path(f"/proc/{daemon}").exists(), 20)
        self.witness.close()
        if self.tap:
            self.tap.close()
        self.server.stop()

    def _log(self, name):
        return open(self.logs / name, "ab")

    def log(self, name):
        path = self.logs / name
        return path.read_text(errors="replace") if path.exists() else ""

    def check_logs_hold_no_password(self):
        for path in self.logs.iterdir():
            text = path.read_text(errors="replace")
            for password in self.server.passwords.values():
                assert password not in text, f"{path.name} holds a password"


def bus_pid(name):
    """The process that owns a name on the bus, or None."""
    result = subprocess.run(
        ["dbus-send", "--session", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/",
         "org.freedesktop.DBus.GetConnectionUnixProcessID", f"string:{name}"],
        capture_output=True, text=True)
    return int(result.stdout.split()[-1]) if result.returncode == 0 else None
