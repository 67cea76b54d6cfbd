# SPDX-License-Identifier: LGPL-2.1-or-later
"""Everything that the rounds run on: a session bus, QMF's message server with the plugin, the daemon (which the
bus starts), the test server, and the bad network between them."""
import ctypes
import json
import os
import pathlib
import re
import shutil
import signal
import sqlite3
import struct
import subprocess
import sys
import tempfile
import threading
import time
import urllib.request

from proxy import Proxy

TOP = pathlib.Path(__file__).resolve().parent.parent.parent
ACCOUNT = "Faults"
USER = "alice"
STORE_SIZE = 96 << 20


class Failure(Exception):
    """Something is not as it must be."""


def await_true(what, condition, seconds=30):
    deadline = time.monotonic() + seconds
    while not (value := condition()):
        if time.monotonic() > deadline:
            raise Failure(f"no {what} after {seconds} s")
        time.sleep(0.02)
    return value


def own_mounts():
    """A mount namespace of our own, as far as this machine allows it."""
    try:
        os.unshare(os.CLONE_NEWNS)
    except PermissionError:
        uid, gid = os.getuid(), os.getgid()
        os.unshare(os.CLONE_NEWUSER | os.CLONE_NEWNS)
        pathlib.Path("/proc/self/setgroups").write_text("deny")
        pathlib.Path("/proc/self/uid_map").write_text(f"{uid} {uid} 1")
        pathlib.Path("/proc/self/gid_map").write_text(f"{gid} {gid} 1")


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


class World:
    """The processes and what can be done to them."""

    def __init__(self, build, seed):
        self.build = pathlib.Path(build)
        self.dir = pathlib.Path(tempfile.mkdtemp(prefix="flt."))
        for name in ("home", "store", "data/dbus-1/services", "run", "log", "violations", "mail/alice/Inbox", "mail/alice/Work",
                     "mail/alice/Archive/2026", "mail/bob/Inbox"):
            (self.dir / name).mkdir(parents=True, mode=0o700)
        self.has_small_store = mount_small(self.dir / "store")
        self.clock = self.dir / "clock"
        self.clock.write_bytes(struct.pack("l", 0))
        bus = f"unix:path={self.dir}/run/bus"
        self.env = dict(os.environ, HOME=str(self.dir / "home"), QMF_DATA=str(self.dir / "store"),
                        XDG_DATA_HOME=str(self.dir / "data"), XDG_RUNTIME_DIR=str(self.dir / "run"),
                        XDG_CONFIG_HOME=str(self.dir / "home/.config"), DBUS_SESSION_BUS_ADDRESS=bus,
                        TMPDIR=str(self.dir / "run"), FAULTS_PLACE=str(self.dir),
                        EASSERVER_VIOLATIONS=str(self.dir / "violations"),
                        QT_PLUGIN_PATH=str(self.build / "lib/qt5/plugins"))
        self.clocked = dict(self.env, LD_PRELOAD=str(self.build / "lib/libfaults-clock.so"),
                            FAULTS_CLOCK=str(self.clock))
        self._write_bus_configuration()
        # The message server says nothing otherwise.
        log = self.dir / "home/.config/QtProject"
        log.mkdir(parents=True)
        (log / "Messageserver.conf").write_text("[StdStreamLog]\nEnabled=1\n[LogCategories]\nMessaging=1\n")
        self.processes = {}
        self.server_ports = None
        self.lock = threading.Lock()
        self.start_bus()
        self.start_server()
        self.proxy = Proxy(self.server_ports[0], seed)
        self.start_message_server()

    def _write_bus_configuration(self):
        (self.dir / "bus.conf").write_text(
            '<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"\n'
            ' "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">\n'
            f"<busconfig><type>session</type><listen>{self.env['DBUS_SESSION_BUS_ADDRESS']}</listen>\n"
            f"<auth>EXTERNAL</auth><servicedir>{self.dir}/data/dbus-1/services</servicedir>\n"
            '<policy context="default"><allow send_destination="*" eavesdrop="true"/>\n'
            '<allow eavesdrop="true"/><allow own="*"/></policy></busconfig>\n')
        (self.dir / "data/dbus-1/services/com.tarvo.asdbus.service").write_text(
            "[D-BUS Service]\nName=com.tarvo.asdbus\n"
            f"Exec=/bin/sh -c 'LD_PRELOAD={self.build}/lib/libfaults-clock.so FAULTS_CLOCK={self.clock} "
            f"exec {self.build}/bin/asdaemon --log all 2>>{self.dir}/log/asdaemon'\n")

    # --- the processes

    def start(self, name, command, env=None, **options):
        with open(self.dir / "log" / name, "ab") as log:
            options.setdefault("stdout", log)
            self.processes[name] = subprocess.Popen([str(c) for c in command], env=env or self.env, stderr=log,
                                                    stdin=subprocess.DEVNULL, **options)
        return self.processes[name]

    def start_bus(self):
        (self.dir / "run/bus").unlink(missing_ok=True)
        self.start("bus", ["dbus-daemon", f"--config-file={self.dir}/bus.conf", "--nofork"])
        await_true("session bus", (self.dir / "run/bus").exists)

    def start_server(self):
        ports = self.server_ports or (0, 0)
        log = self.dir / "log/server"
        before = log.stat().st_size if log.exists() else 0
        self.start("server", [sys.executable, "-B", TOP / "tests/easserver", self.dir / "mail", "--users",
                              "alice:secret", "bob:secret", "--state", self.dir / "server-state", "--durable",
                              "--ignore-stdin", "--port", ports[0], "--control-port", ports[1]])
        found = await_true("test server", lambda: re.search(
            rb"^http\S+:(\d+)\S* http\S+:(\d+)/\S*$", log.read_bytes()[before:], re.M))
        self.server_ports = tuple(map(int, found.groups()))

    def start_message_server(self):
        self.start("messageserver", ["messageserver5"], self.clocked)
        await_true("message server on the bus", lambda: self.owner("org.qt.messageserver"))

    def owner(self, name):
        done = subprocess.run(["dbus-send", "--session", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/",
                               "org.freedesktop.DBus.GetConnectionUnixProcessID", f"string:{name}"],
                              env=self.env, capture_output=True, text=True, check=False, timeout=30)
        return int(done.stdout.split()[-1]) if done.returncode == 0 else None

    def pids(self, who):
        """The processes of that name: "bus", "server", "messageserver", "daemon"."""
        if who != "daemon":
            return [self.processes[who].pid] if self.processes[who].poll() is None else []
        found = []
        for entry in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                if (entry / "exe").resolve() == self.build / "bin/asdaemon" and \
                        f"FAULTS_PLACE={self.dir}".encode() in (entry / "environ").read_bytes().split(b"\0"):
                    found.append(int(entry.name))
            except OSError:
                pass
        return found

    def send_signal(self, who, number):
        for pid in self.pids(who):
            try:
                os.kill(pid, number)
            except ProcessLookupError:
                pass

    def add_account(self):
        done = subprocess.run([self.build / "bin/orvmail-account", "add", ACCOUNT, "--email", "alice@example.test",
                               "--user", USER, "--server", "127.0.0.1", "--port", str(self.proxy.port),
                               "--encryption", "none", "--push", "on", "--password-stdin"], env=self.env,
                              input="secret\n", text=True, capture_output=True, check=False, timeout=60)
        if done.returncode:
            raise Failure(f"the account was not added: {done.stdout}{done.stderr}")

    # --- the two sides

    def user(self, *words, patience=60):
        """A person's deed at the mail program; None where the program did not even answer in time."""
        command = [self.build / "bin/faults-user", ACCOUNT, *map(str, words)]
        with open(self.dir / "log/user", "ab") as log:
            try:
                done = subprocess.run(command, env=self.env, stdout=subprocess.PIPE, stderr=log, check=False,
                                      timeout=patience, stdin=subprocess.DEVNULL)
            except subprocess.TimeoutExpired:
                return None
        return json.loads(done.stdout) if done.returncode == 0 else None

    def far(self, name, **wish):
        """The mailbox's other clients, and the witness at the server; None where there is no answer."""
        request = urllib.request.Request(f"http://127.0.0.1:{self.server_ports[1]}/control/{name}",
                                         data=json.dumps(wish).encode(), method="POST")
        try:
            with urllib.request.urlopen(request, timeout=20) as answer:
                return json.load(answer)
        except (OSError, ValueError):
            return None

    def violations(self):
        """What the daemon has asked since the last call that the protocol does not allow, also of servers
        that were killed meanwhile."""
        found = []
        for path in (self.dir / "violations").iterdir():
            found += path.read_text().splitlines()
        self.far("violations")
        for path in (self.dir / "violations").iterdir():
            path.unlink()
        return found

    # --- what goes wrong, besides the network

    def set_clock(self, seconds):
        with open(self.clock, "r+b") as file:
            file.write(struct.pack("l", seconds))

    def fill_disk(self):
        with open(self.dir / "store/ballast", "wb", buffering=0) as ballast:
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
        (self.dir / "store/ballast").unlink(missing_ok=True)

    def lock_store(self):
        """The lock on the mail store that another process holds; give it to unlock_store()."""
        base = sqlite3.connect(self.dir / "store/database/qmailstore.db", timeout=2, isolation_level=None,
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
        for who in ("bus", "server", "messageserver", "daemon"):
            self.send_signal(who, signal.SIGCONT)
        if self.processes["bus"].poll() is not None:
            self.start_bus()
        if self.processes["server"].poll() is not None:
            self.start_server()
        if self.processes["messageserver"].poll() is not None:
            self.start_message_server()
        self.start_daemon()

    def start_daemon(self):
        """As the session's manager does with a service that has crashed."""
        if self.pids("daemon"):
            return
        subprocess.run(["dbus-send", "--session", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/",
                        "org.freedesktop.DBus.StartServiceByName", "string:com.tarvo.asdbus", "uint32:0"],
                       env=self.env, capture_output=True, check=False, timeout=30)

    def close(self):
        self.proxy.shutdown()
        self.mend_signals()
        for who in ("daemon", "messageserver", "server", "bus"):
            self.send_signal(who, signal.SIGTERM)
        for process in self.processes.values():
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        end = time.monotonic() + 10
        while self.pids("daemon") and time.monotonic() < end:
            time.sleep(0.05)
        self.send_signal("daemon", signal.SIGKILL)
        if self.has_small_store:
            ctypes.CDLL(None).umount2(os.fsencode(self.dir / "store"), 2)
        shutil.rmtree(self.dir, ignore_errors=True)

    def mend_signals(self):
        for who in ("bus", "server", "messageserver", "daemon"):
            self.send_signal(who, signal.SIGCONT)

    def keep_logs(self):
        """All of them, beside what was built, for who looks into a finding; returns where."""
        kept = self.build / f"faults-logs/{time.strftime('%H%M%S')}"
        shutil.copytree(self.dir / "log", kept, dirs_exist_ok=True)
        return kept

    def logs(self, lines=60):
        parts = []
        for path in sorted((self.dir / "log").iterdir()):
            tail = [line for line in path.read_text(errors="replace").splitlines()
                    if "opening database" not in line][-lines:]
            parts.append(f"--- {path.name}\n" + "\n".join(tail))
        return "\n".join(parts)
