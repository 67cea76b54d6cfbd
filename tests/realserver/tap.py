# SPDX-License-Identifier: LGPL-2.1-or-later
"""A hand on the line between the daemon and a real server: all goes through, and what it is told to lose
gets lost on its way."""

import http.client
import http.server
import re
import threading

HOP = {"connection", "keep-alive", "transfer-encoding", "content-length", "server", "date"}


class Tap:
    """Listens on a port of its own from the beginning until close()."""

    def __init__(self, server):
        self.seen = []  # (command, bytes of the request, status, bytes of the answer), as they end
        self._server, self._lock, self._losses = server, threading.Lock(), []
        tap = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_POST(self):
                tap.pass_on(self)

            do_OPTIONS = do_POST

            def log_message(self, *_):
                pass
        self._listener = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.port = self._listener.server_port
        threading.Thread(target=self._listener.serve_forever, daemon=True).start()

    def lose_answer(self, command, times=1):
        """The next requests of this command reach the server and are carried out; what it answers is not
        heard: the connection ends."""
        with self._lock:
            self._losses += [command] * times

    def lost(self):
        """True when all that was to be lost is lost."""
        with self._lock:
            return not self._losses

    def pass_on(self, handler):
        body = handler.rfile.read(int(handler.headers.get("Content-Length", 0)))
        found = re.search(r"[?&]Cmd=(\w+)", handler.path)
        command = found.group(1) if found else handler.command
        try:
            status, headers, answer = self._ask_server(handler, body)
        except (http.client.HTTPException, OSError):
            handler.close_connection = True  # the server broke off, and so do we
            return
        with self._lock:
            self.seen.append((command, body, status, answer))
            lost = command in self._losses
            if lost:
                self._losses.remove(command)
        if lost:
            handler.close_connection = True
            return
        try:
            handler.send_response_only(status)
            for name, value in headers:
                if name.lower() not in HOP:
                    handler.send_header(name, value)
            handler.send_header("Content-Length", str(len(answer)))
            handler.end_headers()
            handler.wfile.write(answer)
        except OSError:
            handler.close_connection = True  # whoever asked no longer waits

    def _ask_server(self, handler, body):
        connection = http.client.HTTPConnection("127.0.0.1", self._server.port, timeout=900)
        try:
            headers = {name: value for name, value in handler.headers.items() if name.lower() not in HOP}
            connection.request(handler.command, handler.path, body, headers)
            answer = connection.getresponse()
            return answer.status, answer.getheaders(), answer.read()
        finally:
            connection.close()

    def close(self):
        self._listener.shutdown()
        self._listener.server_close()
