# SPDX-License-Identifier: LGPL-2.1-or-later
"""The network between daemon and server, on a bad day: delays, cuts, repeats, drops and garbles requests
and answers."""
import random
import select
import socket
import socketserver
import struct
import threading
import time

KINDS = ("delay", "cut-request", "cut-answer", "repeat", "drop-request", "drop-answer", "garble-request",
         "garble-answer", "trickle")


class Gone(Exception):
    """One side has hung up."""


class Proxy(socketserver.ThreadingTCPServer):
    """Hands every request on to `target`, a port of this machine.

    While `kind` names a fault, `share` of the requests meet it; maximum_delay is how many seconds a delay or a
    silence lasts at most."""

    daemon_threads = True
    allow_reuse_address = True
    request_queue_size = 64
    block_on_close = False

    def __init__(self, target, seed):
        super().__init__(("127.0.0.1", 0), Connection)
        self.target = target
        self.random = random.Random(seed)
        self.kind, self.share, self.maximum_delay = None, 0.5, 3.0
        self.met = 0
        threading.Thread(target=self.serve_forever, daemon=True).start()

    @property
    def port(self):
        return self.server_address[1]

    def fault(self):
        """What the next request meets; None for nothing."""
        kind = self.kind
        if kind is None or self.random.random() >= self.share:
            return None
        self.met += 1
        return kind

    def handle_error(self, *_):
        pass


class Connection(socketserver.BaseRequestHandler):
    """One connection of the daemon; every request of it gets a connection to the server of its own."""

    def handle(self):
        self.buffer = b""
        try:
            while True:
                request = self.read_request()
                self.serve(request, self.server.fault())
        except (Gone, OSError):
            self.hang_up(self.request)

    # --- what comes in

    def receive(self):
        piece = self.request.recv(65536)
        if not piece:
            raise Gone
        self.buffer += piece

    def read_request(self):
        """The bytes of one whole request."""
        while b"\r\n\r\n" not in self.buffer:
            self.receive()
        head, _, _ = self.buffer.partition(b"\r\n\r\n")
        fields = head.lower().split(b"\r\n")
        start = len(head) + 4
        if any(f.startswith(b"transfer-encoding:") and b"chunked" in f for f in fields):
            while (end := self.buffer.find(b"\r\n0\r\n\r\n", start - 2)) < 0:
                self.receive()
            length = end + 7
        else:
            sizes = [int(f.split(b":")[1]) for f in fields if f.startswith(b"content-length:")]
            length = start + (sizes[0] if sizes else 0)
            while len(self.buffer) < length:
                self.receive()
        request, self.buffer = self.buffer[:length], self.buffer[length:]
        return request

    # --- what goes through

    def serve(self, request, fault):
        dice, is_ping = self.server.random, b"Cmd=Ping" in request[:1024]
        if fault == "delay":
            time.sleep(dice.uniform(0, self.server.maximum_delay))
        elif fault == "drop-request":
            time.sleep(dice.uniform(0, self.server.maximum_delay))
            raise Gone
        elif fault == "cut-request":
            self.cut_request(request[:dice.randrange(len(request))])
            raise Gone
        elif fault == "garble-request":
            # What the server reads as another request than the user's would be no fault that anybody can find.
            head = request.find(b"\r\n\r\n")
            request = self.garbled(request[:head]) + request[head:head + 4] + dice.randbytes(len(request) - head - 4)
        elif fault == "repeat" and not is_ping:
            self.answer_to(request)
        answer = self.answer_to(request)
        if fault == "drop-answer":
            time.sleep(dice.uniform(0, self.server.maximum_delay))
            raise Gone
        if fault == "cut-answer":
            self.request.sendall(answer[:dice.randrange(len(answer))])
            raise Gone
        if fault == "garble-answer":
            answer = self.garbled_answer(answer)
        if fault == "trickle":
            self.trickle(answer)
        else:
            self.request.sendall(answer)
        if fault and fault.startswith("garble"):
            raise Gone

    def answer_to(self, request):
        """The server's whole answer; gives up when the daemon hangs up meanwhile."""
        with socket.create_connection(("127.0.0.1", self.server.target), 5) as upstream:
            upstream.settimeout(None)
            upstream.sendall(request)
            answer = b""
            while not self.is_whole(answer):
                ready, _, _ = select.select([upstream, self.request], [], [])
                if self.request in ready:
                    self.receive()
                if upstream in ready:
                    piece = upstream.recv(65536)
                    if not piece:
                        raise Gone
                    answer += piece
            return answer

    @staticmethod
    def is_whole(answer):
        """The server always tells the length."""
        head, separator, body = answer.partition(b"\r\n\r\n")
        if not separator:
            return False
        sizes = [int(f.split(b":")[1]) for f in head.lower().split(b"\r\n") if f.startswith(b"content-length:")]
        return len(body) >= (sizes[0] if sizes else 0)

    def cut_request(self, part):
        with socket.create_connection(("127.0.0.1", self.server.target), 5) as upstream:
            upstream.sendall(part)
            self.hang_up(upstream)

    # --- what goes wrong

    def garbled(self, data):
        """Some bytes are others."""
        dice, changed = self.server.random, bytearray(data)
        for _ in range(dice.randint(1, 8)):
            if changed:
                changed[dice.randrange(len(changed))] = dice.randrange(256)
        return bytes(changed)

    def garbled_answer(self, answer):
        """Where a checksum would tell (a packed body), anywhere; else where it cannot mean other mail: in the
        head, and in the document's own head."""
        head = answer.find(b"\r\n\r\n") + 4
        if b"content-encoding: gzip" in answer[:head].lower():
            return answer[:head] + self.garbled(answer[head:])
        return self.garbled(answer[:head + 4]) + answer[head + 4:]

    def trickle(self, answer):
        pieces = min(len(answer), 30)
        size = -(-len(answer) // pieces)
        for at in range(0, len(answer), size):
            self.request.sendall(answer[at:at + size])
            time.sleep(self.server.maximum_delay / 30)

    @staticmethod
    def hang_up(connection):
        """With a reset, as a network does that is gone."""
        try:
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            connection.close()
        except OSError:
            pass
