# SPDX-License-Identifier: LGPL-2.1-or-later
"""What the real mail servers have in common. Each is Debian's packages in a root of its own, which ./dev
makes, with ActiveSync and IMAP on loopback, for one test. Its users are alice and bob, addresses
@example.test. Everything that it writes lies in one folder and goes with the test."""

import os
import re
import signal
import socket
import subprocess
import time
import urllib.error
import urllib.request
from base64 import b64encode
from pathlib import Path

HERE = Path(__file__).resolve().parent
PATH = "/Microsoft-Server-ActiveSync"


class NoServer(Exception):
    """The server cannot run on this machine."""


class RealServer:
    """Runs from start() to stop(); may be started again with the mail that it had."""

    ways = None  # what it does otherwise than others; see ways.py

    def __init__(self, place, root, user, script):
        """Lives in the folder place; in its root, as user, script starts all."""
        self.root, self._user, self._script = root, user, script
        self.data = Path(place)
        self.passwords = {"alice": "Alice-Passw0rd", "bob": "Bob-Passw0rd"}
        self.process, self.delivered = None, 0
        self.port, self.tls_port, self.imap_port, self.own_port = free_ports(4)

    # --- life

    def start(self, seconds=90):
        for user in self.passwords:
            for name in ("cur", "new", "tmp"):
                (self.data / "mail" / user / name).mkdir(parents=True, exist_ok=True)
        self._write_passwords()
        self._configure()
        self._write_certificate()
        self._open_to_its_user()
        uid, gid = self._ids()
        # Its own process namespace is no use without its own /proc, which cannot be mounted inside of
        # the build's sandbox.
        command = ["bwrap", "--unshare-user", "--uid", uid, "--gid", gid, "--unshare-ipc",
                   "--die-with-parent", "--clearenv", "--setenv", "PATH", "/usr/sbin:/usr/bin",
                   "--setenv", "HOME", "/srv", "--setenv", "LC_ALL", "C.UTF-8",
                   "--setenv", "ORVMAIL_TEST_PLACE", os.environ.get("ORVMAIL_TEST_PLACE", ""),
                   "--ro-bind", self.root, "/", "--ro-bind", "/proc", "/proc", "--dev", "/dev",
                   "--tmpfs", "/tmp", "--tmpfs", "/run", "--bind", str(self.data), "/srv",
                   "--chdir", "/srv", *self._mounts(), "--ro-bind", str(self._script), "/run/server",
                   "--ro-bind", str(HERE / "sendmail"), "/run/sendmail", "/bin/bash", "/run/server"]
        log = open(self.data / "out", "ab")
        self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                        start_new_session=True)
        self._await_answer(seconds)

    def stop(self):
        if self.process is None:
            return
        for pid in children_of(self.process.pid) or [self.process.pid]:
            send(pid, signal.SIGTERM)
        try:
            self.process.wait(10)
        except subprocess.TimeoutExpired:
            send(self.process.pid, signal.SIGKILL)
            self.process.wait()
        self.process = None

    def _await_answer(self, seconds):
        deadline = time.monotonic() + seconds
        while not self._answers():
            if self.process.poll() is not None:
                raise NoServer("a service ended: " + self.logs())
            if time.monotonic() > deadline:
                self.stop()
                raise NoServer(f"not ready after {seconds} s: " + self.logs())
            time.sleep(0.1)

    def _answers(self):
        login = b64encode(f"alice:{self.passwords['alice']}".encode()).decode()
        request = urllib.request.Request(f"http://127.0.0.1:{self.port}{PATH}", method="OPTIONS",
                                         headers={"Authorization": "Basic " + login})
        try:
            with urllib.request.urlopen(request, timeout=5) as answer:
                return answer.status == 200
        except (urllib.error.URLError, OSError):
            return False

    def logs(self, maximum=1500):
        paths = [self.data / "out", *sorted((self.data / "log").glob("*"))]
        return "\n".join(f"--- {path.name}\n{path.read_text(errors='replace')[-maximum:]}"
                         for path in paths if path.is_file())

    # --- what it saw

    def exchanges(self):
        """Every ActiveSync request and response so far, as text."""
        raise NotImplementedError

    def http_log(self):
        """A line a request: scheme, "request", status, bytes."""
        path = self.data / "log/http"
        return path.read_text(errors="replace") if path.exists() else ""

    def requests(self):
        """How many ActiveSync requests it has answered."""
        return self.http_log().count('"POST ')

    def messages_sent(self):
        """How many messages it has told its clients of, counting each time."""
        return len(re.findall(r"<Add>", self.exchanges()))

    def forget_devices(self):
        """All that it kept of its clients is gone when it starts again; the mail is not."""
        raise NotImplementedError

    # --- mail

    def deliver(self, user, content, received=None, flags=""):
        """Files a message (bytes) in a user's inbox, received at a time (s since 1970), as new mail or
        with flags (letters as in file names)."""
        self.delivered += 1
        name = f"{time.time_ns() // 1000}.{os.getpid()}_{self.delivered}.test"
        folder = self.data / "mail" / user
        path = folder / "tmp" / name
        path.write_bytes(content.replace(b"\r\n", b"\n"))
        path.chmod(0o666)
        if received is not None:
            os.utime(path, (received, received))
        path.rename(folder / "cur" / f"{name}:2,{flags}" if flags else folder / "new" / name)

    # --- configuration; paths are those inside

    def _configure(self):
        """Writes its configuration into the folder that it sees as /srv."""
        raise NotImplementedError

    def _mounts(self):
        return []

    def _write_passwords(self):
        # The groupware's passwords and the IMAP server's are the same; it logs in there as the user.
        (self.data / "imap.users").write_text(
            "".join(f"{user}:{{PLAIN}}{password}\n" for user, password in self.passwords.items()))

    def _ids(self):
        passwd = Path(self.root, "etc/passwd").read_text()
        return re.search(rf"^{self._user}:[^:]*:(\d+):(\d+):", passwd, re.M).groups()

    def _write_certificate(self):
        if not (self.data / "tls.crt").exists():
            subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                            "ec_paramgen_curve:P-256", "-nodes", "-days", "30", "-subj",
                            "/CN=localhost", "-addext", "subjectAltName=DNS:localhost,IP:127.0.0.1",
                            "-keyout", self.data / "tls.key", "-out", self.data / "tls.crt"],
                           check=True, capture_output=True)

    def _open_to_its_user(self):
        self.data.chmod(0o777)
        for path in self.data.rglob("*"):
            if path.stat().st_uid == os.getuid():
                path.chmod(0o777 if path.is_dir() else 0o666)


def free_ports(count):
    sockets = [socket.socket() for _ in range(count)]
    try:
        for each in sockets:
            each.bind(("127.0.0.1", 0))
        return [each.getsockname()[1] for each in sockets]
    finally:
        for each in sockets:
            each.close()


def children_of(pid):
    try:
        return [int(child) for child in Path(f"/proc/{pid}/task/{pid}/children").read_text().split()]
    except OSError:
        return []


def send(pid, number):
    try:
        os.kill(pid, number)
    except ProcessLookupError:
        pass
