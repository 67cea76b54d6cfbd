# SPDX-License-Identifier: LGPL-2.1-or-later
"""A world with names and a certificate authority of the test's own: example.test and its hosts are this
machine, the port of HTTPS is to be had, and every program trusts what lies in TRUSTED, nothing at first."""

import http.server
import os
import shutil
import ssl
import subprocess
import sys
import threading
from pathlib import Path

PLACE = Path(os.environ.get("ORVMAIL_TEST_PLACE", "/nowhere"))
DOMAIN, MAIL_HOST = "example.test", "mail.example.test"
TRUSTED, AUTHORITY = PLACE / "trusted", PLACE / "authority"
HERE = "ORVMAIL_OWN_NAMES"
ANSWER = """<?xml version="1.0" encoding="utf-8"?>
<Autodiscover xmlns="http://schemas.microsoft.com/exchange/autodiscover/responseschema/2006">
 <Response xmlns="http://schemas.microsoft.com/exchange/autodiscover/mobilesync/responseschema/2006">
  <Culture>en:us</Culture><User><EMailAddress>alice@example.test</EMailAddress></User>
  <Action><Settings><Server><Type>MobileSync</Type><Url>%s</Url><Name>%s</Name></Server></Settings></Action>
 </Response></Autodiscover>
"""


def enter(name):
    """Goes on with this script in that world, or skips test NAME."""
    if HERE in os.environ:
        return
    TRUSTED.mkdir()
    (PLACE / "hosts").write_text(f"127.0.0.1 localhost {DOMAIN} {MAIL_HOST}\n")
    # The names are looked for in the file alone: the name server of this machine would be none there.
    (PLACE / "nsswitch.conf").write_text("passwd: files\ngroup: files\nhosts: files\n")
    sandbox = ["bwrap", "--dev-bind", "/", "/", "--ro-bind", PLACE / "hosts", "/etc/hosts",
               "--ro-bind", PLACE / "nsswitch.conf", "/etc/nsswitch.conf",
               "--ro-bind", TRUSTED, "/etc/ssl/certs", "--unshare-user", "--uid", str(os.getuid()),
               "--gid", str(os.getgid()), "--unshare-net", "--cap-add", "CAP_NET_BIND_SERVICE"]
    tried = subprocess.run([*sandbox, "true"], capture_output=True, text=True)
    if tried.returncode != 0:
        print(f"SKIP   : {name}() no namespaces of its own here: {tried.stderr.splitlines()[0]}")
        sys.exit(0)
    make_certificates()
    os.environ[HERE] = "1"
    os.execvp("bwrap", [*sandbox, sys.executable, "-B", *sys.argv])


def make_certificates():
    """An authority, and what it signs for the hosts, where the mail server finds it."""
    AUTHORITY.mkdir()
    server = PLACE / "server"
    server.mkdir()
    key = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes"]
    openssl("req", "-x509", *key, "-days", "30", "-subj", "/CN=Authority of the test",
            "-keyout", AUTHORITY / "key", "-out", AUTHORITY / "authority.pem")
    openssl("req", *key, "-subj", f"/CN={MAIL_HOST}", "-addext",
            f"subjectAltName=DNS:{DOMAIN},DNS:{MAIL_HOST}", "-keyout", server / "tls.key",
            "-out", AUTHORITY / "request")
    openssl("x509", "-req", "-in", AUTHORITY / "request", "-CA", AUTHORITY / "authority.pem", "-CAkey",
            AUTHORITY / "key", "-copy_extensions", "copy", "-days", "30", "-out", server / "tls.crt")


def openssl(*arguments):
    subprocess.run(["openssl", *arguments], check=True, capture_output=True)


def trust():
    """From now on, programs that start trust the authority, as after an administrator's work."""
    shutil.copy(AUTHORITY / "authority.pem", TRUSTED)
    openssl("rehash", TRUSTED)


class WebServer:
    """The domain's web server, which tells to whom logs in where the mail server is (Autodiscover)."""

    def __init__(self, port):
        self.seen = []  # (path, Authorization header) of each request
        url = f"https://{MAIL_HOST}:{port}/Microsoft-Server-ActiveSync"
        body, seen = (ANSWER % (url, url)).encode(), self.seen

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_POST(self):
                login = self.headers.get("Authorization")
                self.rfile.read(int(self.headers.get("Content-Length", 0)))
                seen.append((self.path, login))
                self.send_response(200 if login else 401)
                if not login:
                    self.send_header("WWW-Authenticate", 'Basic realm="Mail"')
                self.send_header("Content-Type", "text/xml")
                self.send_header("Content-Length", str(len(body) if login else 0))
                self.end_headers()
                self.wfile.write(body if login else b"")

            def log_message(self, *_):
                pass
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(PLACE / "server/tls.crt", PLACE / "server/tls.key")
        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", 443), Handler)
        self._server.socket = context.wrap_socket(self._server.socket, server_side=True)
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def close(self):
        self._server.shutdown()
        self._server.server_close()
