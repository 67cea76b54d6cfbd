# SPDX-License-Identifier: LGPL-2.1-or-later
"""The stage of a measurement: a home, a session bus and the real processes on it."""
import contextlib
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import threading
import time
import urllib.request

TOP = pathlib.Path(__file__).resolve().parent.parent
TICK = os.sysconf("SC_CLK_TCK")


class Process:
    """A process on the stage and what it has cost."""

    def __init__(self, popen=None, pid=None):
        self.popen = popen
        self.pid = pid or popen.pid

    def cpu_ms(self):
        fields = pathlib.Path(f"/proc/{self.pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) * 1000.0 / TICK

    def cpu_fine_ms(self):
        """The same from the scheduler's own account, for what takes less than a tick."""
        tasks = pathlib.Path(f"/proc/{self.pid}/task").iterdir()
        return sum(int((task / "schedstat").read_text().split()[0]) for task in tasks) / 1e6

    def _status(self, name):
        text = pathlib.Path(f"/proc/{self.pid}/status").read_text()
        return int(re.search(rf"^{name}:\s+(\d+)", text, re.M).group(1))

    def peak_mb(self):
        return self._status("VmHWM") / 1024.0

    def memory_mb(self):
        return self._status("VmRSS") / 1024.0

    @contextlib.contextmanager
    def watch_own_mb(self):
        """The most of the memory of its own, without files that are mapped, while the block runs; in a list."""
        peak, ended = [0.0], threading.Event()

        def look():
            while not ended.wait(0.001):
                peak[0] = max(peak[0], self._status("RssAnon") / 1024.0)
        thread = threading.Thread(target=look)
        thread.start()
        try:
            yield peak
        finally:
            ended.set()
            thread.join()

    def own_mb(self):
        return self._status("RssAnon") / 1024.0

    def rollup_mb(self, name):
        """"Rss" or "Pss" (shared memory by its share) of the process."""
        text = pathlib.Path(f"/proc/{self.pid}/smaps_rollup").read_text()
        return int(re.search(rf"^{name}:\s+(\d+)", text, re.M).group(1)) / 1024.0

    def maps(self):
        return pathlib.Path(f"/proc/{self.pid}/maps").read_text()

    def forget_peak(self):
        """peak_mb() tells from now on of what comes."""
        pathlib.Path(f"/proc/{self.pid}/clear_refs").write_text("5")

    def open_files(self):
        return len(list(pathlib.Path(f"/proc/{self.pid}/fd").iterdir()))

    def threads(self):
        return len(list(pathlib.Path(f"/proc/{self.pid}/task").iterdir()))

    def wakeups(self):
        """Voluntary context switches of all threads: each is one wake-up."""
        total = 0
        for task in pathlib.Path(f"/proc/{self.pid}/task").iterdir():
            text = (task / "status").read_text()
            total += int(re.search(r"^voluntary_ctxt_switches:\s+(\d+)", text, re.M).group(1))
        return total


class Stage:
    """Everything that one measurement runs on; gone when it is closed."""

    def __init__(self, build):
        self.build = pathlib.Path(build)
        self.dir = pathlib.Path(tempfile.mkdtemp(prefix="orvmail-bench."))
        self.env = dict(os.environ, HOME=str(self.dir / "home"), QMF_DATA=str(self.dir / "store"),
                        XDG_DATA_HOME=str(self.dir / "data"), XDG_RUNTIME_DIR=str(self.dir / "run"),
                        XDG_CONFIG_HOME=str(self.dir / "home/.config"),
                        QT_PLUGIN_PATH=str(self.build / "lib/qt5/plugins"),
                        EASSERVER_VIOLATIONS=str(self.dir / "violations"))
        for name in ("home", "store", "data", "run", "log", "violations"):
            (self.dir / name).mkdir(mode=0o700)
        self.processes = []
        bus = self.start("dbus-daemon", ["dbus-daemon", "--session", "--nofork", "--print-address=1"],
                         stdout=subprocess.PIPE)
        self.env["DBUS_SESSION_BUS_ADDRESS"] = bus.popen.stdout.readline().decode().strip()

    def start(self, name, command, **options):
        log = open(self.dir / "log" / name, "ab")
        options.setdefault("stdout", log)
        process = Process(subprocess.Popen(command, env=self.env, stderr=log, **options))
        self.processes.append(process)
        return process

    def run(self, command, **options):
        result = subprocess.run([str(c) for c in command], env=self.env, capture_output=True,
                                text=True, **options)
        if result.returncode != 0:
            raise SystemExit(f"bench: {command[0]} failed:\n{result.stdout}{result.stderr}{self.logs()}")
        return result.stdout

    def bin(self, name):
        return str(self.build / "bin" / name)

    def logs(self):
        parts = []
        for path in sorted((self.dir / "log").iterdir()):
            parts.append(f"--- {path.name}\n{path.read_text(errors='replace')[-2000:]}")
        return "\n".join(parts)

    def await_name(self, name):
        """Waits until somebody owns the name on the bus; returns the owner's process id."""
        return self.await_true(f"owner of {name}", lambda: self._owner(name))

    def _owner(self, name):
        result = subprocess.run(
            ["dbus-send", "--session", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/",
             "org.freedesktop.DBus.GetConnectionUnixProcessID", f"string:{name}"],
            env=self.env, capture_output=True, text=True)
        return int(result.stdout.split()[-1]) if result.returncode == 0 else None

    def await_true(self, what, condition, seconds=30):
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            value = condition()
            if value:
                return value
            time.sleep(0.02)
        raise SystemExit(f"bench: no {what} after {seconds} s\n{self.logs()}")

    def match_rules(self):
        """How many rules each process has at the bus, by process id; empty where the bus does not tell."""
        result = subprocess.run(
            ["dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
             "org.freedesktop.DBus.Debug.Stats.GetAllMatchRules"], env=self.env, capture_output=True, text=True)
        rules, owner = {}, None
        for line in result.stdout.splitlines():
            word = line.strip()
            if re.fullmatch(r'string ":1\.\d+"', word):
                owner = self._owner(word.split('"')[1])
            elif word.startswith('string "') and owner:
                rules[owner] = rules.get(owner, 0) + 1
        return rules

    # --- the players

    def mail_server(self, maildir, *arguments):
        process = self.start("easserver", ["python3", str(TOP / "tests/easserver"), str(maildir),
                                           "--users", "alice:secret", *arguments],
                             stdin=subprocess.PIPE)
        log = self.dir / "log/easserver"
        line = self.await_true("test server", lambda: re.search(r"^(http\S+) (\S+)$", log.read_text(), re.M))
        self.url, self.control_url = line.groups()
        return process

    def control(self, name, **wish):
        request = urllib.request.Request(f"{self.control_url}/{name}",
                                         data=json.dumps(wish).encode(), method="POST")
        with urllib.request.urlopen(request) as answer:
            return json.load(answer)

    def daemon(self, *prefix):
        process = self.start("asdaemon", [*prefix, self.bin("asdaemon")])
        self.await_name("com.tarvo.asdbus")
        return process

    def message_server(self, *prefix):
        process = self.start("messageserver", [*prefix, "messageserver5"])
        self.await_name("org.qt.messageserver")
        return process

    def add_account(self, *arguments):
        port = re.search(r":(\d+)", self.url.split("//")[1]).group(1)
        return self.run([self.bin("orvmail-account"), "add", "Bench", "--email", "alice@example.test",
                         "--user", "alice", "--server", "127.0.0.1", "--port", port, "--encryption",
                         "none", "--password-stdin", *arguments], input="secret\n")

    def mail(self, *arguments):
        return self.run([self.bin("demo-client"), "Bench", *arguments])

    def close(self):
        self.stop()
        wrong = [file.read_text() for file in (self.dir / "violations").iterdir()]
        shutil.rmtree(self.dir, ignore_errors=True)
        if wrong:
            raise SystemExit("bench: requests that the protocol does not allow:\n" + "".join(wrong))

    def stop(self):
        for process in reversed(self.processes):
            if process.popen.poll() is None:
                process.popen.send_signal(signal.SIGTERM)
        for process in self.processes:
            try:
                process.popen.wait(10)
            except subprocess.TimeoutExpired:
                process.popen.kill()

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.close()


def json_line(text):
    """The last line of JSON in a program's output."""
    return json.loads([line for line in text.splitlines() if line.startswith("{")][-1])
