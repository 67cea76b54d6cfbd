# SPDX-License-Identifier: LGPL-2.1-or-later
"""Everything that the rounds run on: a session bus, QMF's message server with the plugin, the daemon (which the
bus starts), the test server, and the bad network between them."""
import ctypes
import http.client
import os
import shutil
import signal
import sqlite3
import struct
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "stage"))
from proxy import Proxy  # noqa: E402
from stage import DAEMON, Stage  # noqa: E402
from waiting import Failure  # noqa: E402

STORE_SIZE = 96 << 20


def own_mounts():
    """A mount namespace of our own, as far as this machine allows it."""
    try:
        os.unshare(os.CLONE_NEWNS)
    except PermissionError:
        uid, gid = os.getuid(), os.getgid()
        os.unshare(os.CLONE_NEWUSER | os.CLONE_NEWNS)
        Path("/proc/self/setgroups").write_text("deny")
        Path("/proc/self/uid_map").write_text(f"{uid} {uid} 1")
        Path("/proc/self/gid_map").write_text(f"{gid} {gid} 1")


def mount_small(directory):
    """A small file system of our own on the directory; whether there is one now."""
    try:
        own_mounts()
    except (OSError, AttributeError):
        return False
    libc = ctypes.CDLL(None, use_errno=True)
    private = 0x44000  # MS_PRIVATE | MS_REC: what is mounted here stays here
    libc.mount(b"none", b"/", None, private, None)
    return libc.mount(b"tmpfs", os.fsencode(directory), b"tmpfs", 0,
                      f"size={STORE_SIZE},mode=700".encode()) == 0


class World(Stage):
    """The processes and what can be done to them."""

    control_seconds = 20

    def __init__(self, build, seed):
        super().__init__(build)
        for folder in ("alice/Inbox", "alice/Work", "alice/Archive/2026", "bob/Inbox"):
            (self.dir / "mail" / folder).mkdir(parents=True)
        self.clock = self.dir / "clock"
        self.set_clock(0)
        self.clocked = (f"LD_PRELOAD={self.build}/lib/libfaults-clock.so", f"FAULTS_CLOCK={self.clock}")
        self.announce_daemon(" ".join(self.clocked), "--log", "all")
        # The message server says nothing otherwise.
        log = self.dir / "config/QtProject"
        log.mkdir()
        (log / "Messageserver.conf").write_text("[StdStreamLog]\nEnabled=1\n[LogCategories]\nMessaging=1\n")
        self.start_server()
        self.proxy = Proxy(self.mail_server.ports()[0], seed)
        self.start_message_server()

    def furnish(self):
        self.has_small_store = mount_small(self.dir / "qmf")

    # --- the processes

    def start_server(self):
        super().start_server(self.dir / "mail", "--state", self.dir / "server-state", "--durable")

    def start_message_server(self):
        super().start_message_server("env", *self.clocked)

    def pids(self, who):
        """The processes of that name: "bus", "server", "messageserver", "daemon"."""
        if who != "daemon":
            return [self.processes[who].pid] if self.processes[who].poll() is None else []
        return [pid for pid, command in self.running().items() if command.startswith(self.bin("asdaemon"))]

    def send_signal(self, who, number):
        for pid in self.pids(who):
            try:
                os.kill(pid, number)
            except ProcessLookupError:
                pass

    # --- the two sides

    def user(self, do, patience=60, **arguments):
        """A person's deed at the mail program; None where the program did not even answer in time."""
        try:
            with self.robot(patience=patience) as robot:
                return robot.ask(do, **arguments)
        except Failure:
            return None

    def far(self, name, **request):
        """The mailbox's other clients, and the witness at the server; None where there is no answer."""
        try:
            return self.control(name, **request)
        except (OSError, ValueError, http.client.HTTPException, Failure):
            return None

    def new_violations(self):
        """What the daemon has asked since the last call that the protocol does not allow."""
        found = self.violations()
        self.far("violations")
        for path in (self.dir / "violations").iterdir():
            path.unlink()
        return found

    # --- what goes wrong, besides the network

    def set_clock(self, seconds):
        self.clock.touch()
        with open(self.clock, "r+b") as file:
            file.write(struct.pack("l", seconds))

    def fill_disk(self):
        with open(self.dir / "qmf/ballast", "wb", buffering=0) as ballast:
            try:
                while True:
                    ballast.write(bytes(1 << 20))
            except OSError:
                pass
            # To the last byte, or nearly so: both are a full disk, and differ in what still succeeds.
            try:
                while True:
                    ballast.write(bytes(512))
            except OSError:
                pass

    def free_disk(self):
        (self.dir / "qmf/ballast").unlink(missing_ok=True)

    def lock_store(self):
        """The lock on the mail store that another process holds; give it to unlock_store()."""
        base = sqlite3.connect(self.dir / "qmf/database/qmailstore.db", timeout=2, isolation_level=None,
                               check_same_thread=False)
        try:
            base.execute("BEGIN EXCLUSIVE")
        except sqlite3.OperationalError:
            pass
        return base

    @staticmethod
    def unlock_store(base):
        try:
            base.execute("ROLLBACK")
        except sqlite3.OperationalError:
            pass
        base.close()

    def mend(self):
        """Everything is as it should be again; what has died is started, as a session does."""
        self.proxy.kind = None
        self.set_clock(0)
        self.free_disk()
        self.signal_all(signal.SIGCONT)
        if self.processes["bus"].poll() is not None:
            self.start_bus()
        if self.processes["server"].poll() is not None:
            self.start_server()
        if self.processes["messageserver"].poll() is not None:
            self.start_message_server()
        # As the session's manager does with a service that has crashed.
        if not self.pids("daemon"):
            self.bus_starts(DAEMON)

    def close(self):
        self.new_violations()  # each round has looked at its own
        super().close()

    def stop(self):
        self.proxy.shutdown()
        super().stop()
        if self.has_small_store:
            ctypes.CDLL(None).umount2(os.fsencode(self.dir / "qmf"), 2)

    def keep_logs(self):
        """All of them, beside what was built, for who looks into a finding; returns where."""
        kept = self.build / f"faults-logs/{time.strftime('%H%M%S')}"
        shutil.copytree(self.dir / "log", kept, dirs_exist_ok=True)
        return kept
