# SPDX-License-Identifier: LGPL-2.1-or-later
"""What the chain from mail server to mail program stands on when it is shown, measured or tested: a home, a mail
store and a session bus of its own, and the processes on it. What a program says lies in its log."""

import functools
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

from mailserver import MailServer
from robot import Robot
from waiting import Failure, await_true

TOP = Path(__file__).resolve().parent.parent.parent
ACCOUNT = "Work"
DAEMON, MESSAGE_SERVER = "com.tarvo.asdbus", "org.qt.messageserver"
# What a session of the user's own would bring along.
FOREIGN = ("DISPLAY", "WAYLAND_DISPLAY", "QT_QUICK_BACKEND", "QMF_AT", "QT_FATAL_WARNINGS")
# A bus that starts no installed service: only those that are announced here.
BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <keep_umask/>
  <listen>unix:path=%(place)s/run/bus</listen>
  <auth>EXTERNAL</auth>
  <servicedir>%(place)s/data/dbus-1/services</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""


class Stage:
    """Made with a bus and nothing else on it; gone when it is closed."""

    control_seconds = 600  # in which the test server answers

    def __init__(self, build):
        self.build = Path(build).resolve()
        # Short, because socket addresses are; inside of the test's place where there is one.
        outer = os.environ.get("ORVMAIL_TEST_PLACE")
        self.dir = Path(tempfile.mkdtemp(prefix="orvmail.", dir=f"{outer}/tmp" if outer else "/tmp"))
        for name in ("home", "run", "cache", "config", "data/dbus-1/services", "qmf", "tmp", "violations", "log"):
            (self.dir / name).mkdir(mode=0o700, parents=True)
        self.env = {name: value for name, value in os.environ.items() if name not in FOREIGN}
        self.env.update(
            HOME=f"{self.dir}/home", XDG_RUNTIME_DIR=f"{self.dir}/run", XDG_CACHE_HOME=f"{self.dir}/cache",
            XDG_CONFIG_HOME=f"{self.dir}/config", XDG_DATA_HOME=f"{self.dir}/data", TMPDIR=f"{self.dir}/tmp",
            QMF_DATA=f"{self.dir}/qmf", QT_PLUGIN_PATH=f"{self.build}/lib/qt5/plugins",
            DBUS_SESSION_BUS_ADDRESS=f"unix:path={self.dir}/run/bus", QT_QPA_PLATFORM="offscreen", LC_ALL="C.UTF-8",
            ORVMAIL_TEST_PLACE=str(self.dir), EASSERVER_VIOLATIONS=f"{self.dir}/violations")
        (self.dir / "bus.conf").write_text(BUS % {"place": self.dir})
        self.processes = {}
        self.mail_server = None
        self.furnish()
        self.start_bus()

    def furnish(self):
        """For what must be there before the first program."""

    # --- programs

    def bin(self, name):
        return str(self.build / "bin" / name)

    def placed(self, command):
        """The words by which a command is run on this stage."""
        return [str(word) for word in command]

    def start(self, name, command, env=None, here=False, **options):
        """A program that runs from now on, with what it says in the log of that name; `here`, whatever place the
        others have."""
        words = [str(word) for word in command] if here else self.placed(command)
        with open(self.dir / "log" / name, "ab") as log:
            process = subprocess.Popen(words, env=env or self.env, stderr=log,
                                       **{"stdout": log, "stdin": subprocess.DEVNULL, **options})
        self.processes[name] = process
        return process

    def run(self, command, **options):
        """What a program prints, which must succeed."""
        done = subprocess.run(self.placed(command), env=self.env, capture_output=True, text=True, check=False,
                              **options)
        if done.returncode != 0:
            raise Failure(f"{command[0]} failed:\n{done.stdout}{done.stderr}")
        return done.stdout

    def running(self):
        """The processes of this stage that run, found by their environment, with their commands."""
        found, mine = {}, f"\0ORVMAIL_TEST_PLACE={self.dir}".encode()
        for entry in Path("/proc").glob("[0-9]*"):
            try:
                if mine in b"\0" + (entry / "environ").read_bytes():
                    command = (entry / "cmdline").read_bytes().decode(errors="replace")
                    found[int(entry.name)] = command.rstrip("\0").replace("\0", " ")
            except OSError:
                pass
        return found

    # --- the bus

    def start_bus(self):
        (self.dir / "run/bus").unlink(missing_ok=True)
        self.start("bus", self.bus_command())
        await_true("session bus", (self.dir / "run/bus").exists, pause=0.005)

    def bus_command(self):
        return ["dbus-daemon", f"--config-file={self.dir}/bus.conf", "--nofork"]

    def ask_bus(self, method, *arguments):
        """What the bus answers, or None."""
        done = subprocess.run(
            self.placed(["dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus",
                         "/org/freedesktop/DBus", f"org.freedesktop.DBus.{method}", *arguments]),
            env=self.env, capture_output=True, text=True, check=False, timeout=30)
        return done.stdout if done.returncode == 0 else None

    def owner(self, name):
        """The process that has a name on the bus, or None."""
        answer = self.ask_bus("GetConnectionUnixProcessID", f"string:{name}")
        return answer and int(answer.split()[-1])

    def bus_starts(self, name):
        """Has the bus start the service of that name, as a call of it would."""
        self.ask_bus("StartServiceByName", f"string:{name}", "uint32:0")

    def announce(self, name, text):
        (self.dir / f"data/dbus-1/services/{name}.service").write_text(text)

    def announce_daemon(self, environment="", *arguments):
        """The bus starts the daemon when somebody calls it."""
        self.announce(DAEMON, f"[D-BUS Service]\nName={DAEMON}\nExec=/bin/sh -c '{environment} exec "
                      f"\"{self.bin('asdaemon')}\" {' '.join(arguments)} 2>>\"{self.dir}/log/asdaemon\"'\n")

    def announce_as_installed(self):
        """The bus starts daemon and message server, by the files that a package has."""
        programs = {"@ASDAEMON_PATH@": self.bin("asdaemon"), "@MESSAGE_SERVER_PROGRAM@": shutil.which("messageserver5")}
        for name in (DAEMON, "orvmail-messageserver"):
            text = (TOP / f"packaging/{name}.service.in").read_text()
            self.announce(name, re.sub("@[A-Z_]+@", lambda found: programs[found.group()], text))

    # --- the players

    def start_server(self, maildir, *arguments):
        """The test ActiveSync server, where it was when it was there before."""
        ports = self.mail_server.ports() if self.mail_server else (0, 0)
        self.mail_server = MailServer(maildir, "--port", ports[0], "--control-port", ports[1], *arguments,
                                      start=functools.partial(self.start, "server", here=True),
                                      patience=self.control_seconds)

    def control(self, name, **request):
        return self.mail_server.control(name, **request)

    def start_daemon(self, *prefix, arguments=()):
        process = self.start("asdaemon", [*prefix, self.bin("asdaemon"), *arguments])
        await_true("daemon on the bus", lambda: self.owner(DAEMON))
        return process

    def start_message_server(self, *prefix):
        process = self.start("messageserver", [*prefix, "messageserver5"])
        await_true("message server on the bus", lambda: self.owner(MESSAGE_SERVER))
        return process

    def account_program(self, *arguments, password=None):
        more = ["--password-stdin"] if password is not None else []
        return subprocess.run(self.placed([self.bin("orvmail-account"), *arguments, *more]), env=self.env, text=True,
                              input="" if password is None else f"{password}\n", capture_output=True, check=False,
                              timeout=60)

    def add_account(self, *arguments, name=ACCOUNT, user="alice", password="secret", port=None):
        """What the program says of it."""
        done = self.account_program("add", name, "--email", f"{user}@example.test", "--user", user, "--server",
                                    "127.0.0.1", "--port", port or self.mail_server.ports()[0],
                                    "--encryption", "none", *arguments, password=password)
        if done.returncode != 0:
            raise Failure(f"the account was not added: {done.stdout}{done.stderr}")
        return done.stdout

    def robot(self, account=ACCOUNT, **options):
        return Robot(self, account, **options)

    def mail(self, do, heard=None, **arguments):
        """A mail program that is started for one thing, which must succeed."""
        with self.robot() as robot:
            return robot.tell(do, heard, **arguments)

    # --- the end

    def end(self, name):
        """Ends who has that name on the bus, as the session's end does."""
        pid = self.owner(name)
        if pid:
            os.kill(pid, signal.SIGTERM)
            await_true(f"end of {name}", lambda: pid not in self.running(), 20)

    def signal_all(self, number):
        for pid in self.running():
            try:
                os.kill(pid, number)
            except ProcessLookupError:
                pass

    def stop(self):
        self.signal_all(signal.SIGCONT)
        self.end(MESSAGE_SERVER)
        self.end(DAEMON)
        self.signal_all(signal.SIGTERM)
        try:
            await_true("end of all programs", lambda: not self.running(), 10, pause=0.01)
        finally:
            self.signal_all(signal.SIGKILL)
            for process in self.processes.values():
                process.wait()

    def close(self):
        try:
            self.stop()
            found = self.violations()
        finally:
            shutil.rmtree(self.dir, ignore_errors=True)
        if found:
            raise Failure("requests that the protocol does not allow:\n" + "\n".join(found))

    def violations(self):
        """What the test servers were asked that the protocol does not allow, also those that were killed."""
        return [line for file in sorted((self.dir / "violations").iterdir()) for line in file.read_text().splitlines()]

    def logs(self, lines=40):
        """The end of each, without what every program says that opens the mail store."""
        told = []
        for path in sorted((self.dir / "log").iterdir()):
            said = path.read_text(errors="replace").splitlines()
            told += [f"--- {path.name}", *[line for line in said if "opening database" not in line][-lines:]]
        return "\n".join(told)

    def __enter__(self):
        return self

    def __exit__(self, kind, *_):
        if kind:
            print(self.logs(), file=sys.stderr, flush=True)
        self.close()
