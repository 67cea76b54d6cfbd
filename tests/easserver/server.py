# SPDX-License-Identifier: LGPL-2.1-or-later
"""The ActiveSync endpoint: HTTP, logins, versions, and who answers which command (MS-ASHTTP)."""

import base64
import gzip
import http.server
import select
import socket
import ssl
import struct
import sys
import threading
import time
import traceback
import urllib.parse

import commands
import wbxml
from conduct import Conduct
from device import Device
from faults import Faults, damage, with_unknown
from log import Log
from requesttable import version_number
from wbxml import Node

PATH = "/Microsoft-Server-ActiveSync"
WBXML_TYPE = "application/vnd.ms-sync.wbxml"
CODES = {0: "Sync", 1: "SendMail", 2: "SmartForward", 3: "SmartReply", 4: "GetAttachment",
         9: "FolderSync", 10: "FolderCreate", 11: "FolderDelete", 12: "FolderUpdate",
         13: "MoveItems", 14: "GetItemEstimate", 15: "MeetingResponse", 16: "Search",
         17: "Settings", 18: "Ping", 19: "ItemOperations", 20: "Provision",
         21: "ResolveRecipients", 22: "ValidateCert"}
PARAMETERS = {0: "AttachmentName", 1: "CollectionId", 3: "ItemId", 4: "LongId", 6: "Occurrence"}


# What some servers do otherwise than the protocol's documents say. Each is an option of that name.
LENIENT = (
    "counting_keys",      # sync keys are two numbers ("-1" at first), any other one is HTTP 501; an answer that
                          # was lost comes again with Change instead of Add
    "settling",           # after an answer with items comes one without, with a new key
    "responses_alone",    # a request with commands is answered with Responses and nothing new
    "own_changes_hide",   # what another did to an item since is never told to who changed it, too
    "confirm_all",        # every command has its Response, not only the refused ones
    "whole_changes",      # a Change brings the whole item
    "missing_is_fine",    # what is not there is changed, deleted, fetched and replied to with success
    "null_is_empty",      # the data of an empty attachment are the word "(null)"
    "always_trash",       # DeletesAsMoves 0 makes no difference
    "no_truncation",      # TruncationSize, AllOrNone and Preview make none; MIMETruncation cuts every type
    "plain_stays_plain",  # a plain message has no HTML form
    "no_ranges",          # a Range of an attachment is not looked at
    "simple_search",      # one phrase in one folder or all, no upper bound of time; all else is HTTP 500
    "bare_search_ids",    # a search in all folders tells folder ids without their percent escapes
    "apostrophe_is_all",  # a search for a text with an apostrophe finds everything
    "forgetful_folders",  # FolderSync compares no keys: what was told once is known, and where nothing else is new
                          # the key comes back that was sent; key 0 forgets all sync keys of the device
    "silent_unknown",     # Sync of an unknown folder is an empty answer, Ping of one waits in vain
    "takes_anything",     # a request that breaks the table's rules is carried out; it is taken down all the same
)


# The same, one by one, of servers that are strict in all else.
QUIRKS = LENIENT + (
    "ignores_search_range",  # every page of a search begins at its first result
    "opaque_long_ids",       # a search's ids tell nothing of folder and item
    "colon_long_ids",        # a search's ids are folder and item with a colon in between
    "no_mime",               # a message has no form but its text
    "own_ids",               # a message with an original put in has a Message-ID of the server's
    "bare_read_unflags",     # a Change without Flag takes the flag away
    "named_references",      # an attachment's reference has its folder's name, which may be another's later
    "moves_are_known",       # what a client moved is not shown to it in the new folder
    "newest_first",          # new items come the last one first, as at most servers
)


class HttpAnswer(Exception):
    """Ends a request with an answer that is not a document."""

    def __init__(self, status, headers=None, body=b"", content_type="text/html"):
        super().__init__(status)
        self.status, self.headers, self.body = status, headers or {}, body
        self.content_type = content_type


class Hangup(Exception):
    """Ends a request, and the connection, without an answer."""


class Options:
    """How this server behaves."""

    def __init__(self):
        self.versions = ["12.1", "14.0", "14.1"]
        self.provision = False
        self.policy_version = 1
        self.remote_wipe = False
        self.policy = {"DevicePasswordEnabled": "0"}
        self.accept_partial = True
        self.heartbeat = (1, 3540)
        self.max_folders = 200
        self.gzip = True
        self.client_id_memory = True
        for name in QUIRKS:
            setattr(self, name, False)

    def be_lenient(self):
        """Like a server that keeps no history and says yes to nearly everything; see LENIENT."""
        self.versions = ["2.5", "12.0", "12.1", "14.0", "14.1"]
        self.gzip = self.client_id_memory = False
        for name in LENIENT:
            setattr(self, name, True)


class Call:
    """One command of one client."""

    def __init__(self, server, handler, query, user, body):
        self.server, self.store, self.options = server, server.store, server.options
        self.handler, self.query, self.user, self.body = handler, query, user, body
        self.command = query.get("Cmd", "")
        self.version = handler.headers.get("MS-ASProtocolVersion", query.get("version", "12.1"))
        self.new = version_number(self.version) >= 140
        self.device = user.devices.setdefault(query["DeviceId"], Device(query["DeviceId"]))
        self.root = None
        self.faults = {}
        self.refused = {}  # items of a Sync that are not carried out: their Status by the command's identity
        self.ended = False

    def fault_value(self, kind, name="status"):
        fault = self.faults.get(kind)
        return fault.get(name) if fault else None

    def http_error(self, status):
        raise HttpAnswer(status)

    def wait(self, deadline):
        """Waits for any change; false at the deadline or when the client has gone. The store's lock
        is held by the caller and given away meanwhile."""
        left = deadline - time.monotonic()
        if left <= 0 or self.ended or self.server.stopping:
            return False
        self.store.changed.wait(min(left, 0.5))
        if self._client_gone():
            raise Hangup
        return not self.ended

    def _client_gone(self):
        connection = self.handler.connection
        readable, _, _ = select.select([connection], [], [], 0)
        if not readable:
            return False
        try:
            if hasattr(connection, "pending"):
                return not connection.pending() and socket.socket.recv(connection, 1, socket.MSG_PEEK) == b""
            return connection.recv(1, socket.MSG_PEEK) == b""
        except (OSError, ValueError):
            return True


class Lines:
    """What comes from a client. The library takes a head that ends in the middle for a whole one."""

    def __init__(self, file):
        self._file = file
        self.ended = False

    def readline(self, size=-1):
        line = self._file.readline(size)
        self.ended = not line.endswith(b"\n") and (size < 0 or len(line) < size)
        return line

    def __getattr__(self, name):
        return getattr(self._file, name)


class Handler(http.server.BaseHTTPRequestHandler):
    """One connection of a client."""

    protocol_version = "HTTP/1.1"
    server_version = "easserver"
    sys_version = ""
    disable_nagle_algorithm = True
    wbufsize = 1 << 16

    def log_message(self, *_):
        pass

    def do_OPTIONS(self):
        self.answer_with(self.options)

    def do_POST(self):
        self.answer_with(self.post)

    def do_GET(self):
        self.answer_with(self.not_allowed)

    def answer_with(self, method):
        self.entry = self.server.log.begin(self)
        try:
            if self.rfile.ended:
                raise Hangup
            method()
        except HttpAnswer as answer:
            self.send(answer.status, [answer.body], answer.content_type, answer.headers)
        except (Hangup, ConnectionError):
            self.hang_up()
        except Exception:
            traceback.print_exc()
            self.entry["error"] = traceback.format_exc()
            self.send(500, [], "text/plain")
        finally:
            self.server.log.end(self.entry)

    # --- the parts of a request ---------------------------------------------------

    def not_allowed(self):
        raise HttpAnswer(405)

    def options(self):
        query = self.query()
        user = self.login()
        faults = self.take_faults("OPTIONS", user.name)
        self.server.faults.meet(faults)
        self.before(faults)
        self.send(200, [], "text/plain", self.version_headers())

    def version_headers(self):
        options = self.server.options
        return {"MS-Server-ActiveSync": options.versions[-1],
                "MS-ASProtocolVersions": ",".join(options.versions),
                "MS-ASProtocolCommands": ",".join(CODES.values()),
                "Public": "OPTIONS,POST", "Allow": "OPTIONS,POST"}

    def query(self):
        path, _, query = self.path.partition("?")
        if path.rstrip("/").lower() != PATH.lower():
            raise HttpAnswer(404)
        if "=" in query.rstrip("=") or not query:
            found = dict(urllib.parse.parse_qsl(query, keep_blank_values=True))
        else:
            found = binary_query(query)
        self.entry["command"] = found.get("Cmd", self.command)
        self.entry["device"] = found.get("DeviceId", "")
        return found

    def login(self):
        kind, _, text = self.headers.get("Authorization", "").partition(" ")
        user = None
        if kind.lower() == "basic":
            try:
                name, _, password = base64.b64decode(text).decode().partition(":")
                self.entry["login"] = name
                user = self.server.store.login(name, password)
            except ValueError:
                pass
        if user is None:
            self.read_body({})
            raise HttpAnswer(401, {"WWW-Authenticate": 'Basic realm="easserver"'})
        self.entry["user"] = user.name
        return user

    def read_body(self, faults):
        if "body" in self.entry:
            return self.entry["body"]
        limit = faults["reset_request"].get("bytes", 0) if "reset_request" in faults else None
        if self.headers.get("Transfer-Encoding", "").lower() == "chunked":
            body = self.read_chunks(limit)
        else:
            length = int(self.headers.get("Content-Length", "0"))
            body = self.rfile.read(length if limit is None else min(limit, length))
            if limit is None and len(body) < length:
                raise Hangup  # the client has gone in the middle of its request
        self.entry["bytes_in"] = len(body)
        if limit is not None:
            raise Hangup
        if self.headers.get("Content-Encoding", "") == "gzip":
            body = gzip.decompress(body)
        self.entry["body"] = body
        return body

    def read_chunks(self, limit):
        body = bytearray()
        while size := int(self.rfile.readline().split(b";")[0] or self.gone(), 16):
            body += self.rfile.read(size)
            self.rfile.readline()
            if limit is not None and len(body) >= limit:
                raise Hangup
        while self.rfile.readline().strip():
            pass
        return bytes(body)

    @staticmethod
    def gone():
        raise Hangup

    def before(self, faults):
        """What goes wrong before anything is done."""
        if "delay" in faults and not faults["delay"].get("late"):
            self.pause(faults["delay"].get("seconds", 1))
        if "reset" in faults and not faults["reset"].get("late"):
            raise Hangup
        if "http" in faults:
            fault = faults["http"]
            headers = dict(fault.get("headers", {}))
            if fault.get("retry_after") is not None:
                headers["Retry-After"] = str(fault.get("retry_after"))
            if fault.get("location"):
                headers["X-MS-Location"] = fault.get("location")
            raise HttpAnswer(fault.get("status", 503), headers, fault.get("body", "").encode())
        if "rubbish" in faults:
            body = faults["rubbish"].get("body", "<html><body>Please log in to this network</body></html>")
            raise HttpAnswer(200, {}, body.encode())

    def pause(self, seconds):
        """Waits, at most until the delays are ended; the server's own end ends them, too."""
        self.delays_over.wait(seconds)

    def take_faults(self, command, user):
        # First this: what is taken is a delay that can be ended.
        self.delays_over = self.server.delays_over
        faults = self.server.faults.take(command, user)
        self.entry["faults"] = sorted(faults)
        return faults

    def post(self):
        query = self.query()
        user = self.login()
        faults = self.take_faults(query.get("Cmd", ""), user.name)
        try:
            body = self.read_body(faults)
        finally:
            self.server.faults.meet(faults)
        self.before(faults)
        if not query.get("DeviceId"):
            self.server.conduct.keep([f"{query.get('Cmd')}: there is no DeviceId (H400)"])
            raise HttpAnswer(400)
        call = Call(self.server, self, query, user, body)
        call.faults = faults
        self.entry["version"] = call.version
        if call.version not in self.server.options.versions:
            raise HttpAnswer(400)
        refusal = self.decode(call) or self.server.conduct.check(call)
        with self.server.store.lock:
            answer = self.forced_answer(call) or refusal or commands.run(call)
            self.server.store.settle()
        self.entry["done"] = True
        self.after(call, answer)

    def decode(self, call):
        """The answer to what cannot be read, or None."""
        if self.headers.get("Content-Type", "").startswith("message/rfc822") or not call.body:
            return None
        try:
            call.root = wbxml.decode(call.body)
        except wbxml.WbxmlError as error:
            self.entry["error"] = str(error)
            self.server.conduct.keep([f"{call.command} {call.version}: the body is no WBXML: {error} (g102)"])
            if not call.new or call.command not in commands.ANSWERS:
                raise HttpAnswer(400) from error
            return commands.with_status(call.command, "102")
        self.entry["request"] = call.root
        return None

    def forced_answer(self, call):
        if "status" in call.faults:
            return commands.with_status(call.command, str(call.fault_value("status")))
        if "more" in call.faults and call.root:
            return commands.more_without_items(call)
        return None

    def after(self, call, answer):
        """The answer, with what goes wrong on its way."""
        faults = call.faults
        if "delay" in faults and faults["delay"].get("late"):
            self.pause(faults["delay"].get("seconds", 1))
        if "reset" in faults:
            raise Hangup
        content_type, headers = WBXML_TYPE, {}
        if answer is None:
            parts = []
        elif isinstance(answer, Node):
            self.entry["answer"] = answer
            parts = wbxml.encode_parts(answer)
        else:
            content_type, parts = answer
        if "damage" in faults:
            parts = [damage(whole(parts), faults["damage"].get("how", "truncated"))]
        if "unknown" in faults:
            parts = [with_unknown(whole(parts))]
        self.send(200, parts, content_type, headers, faults)

    # --- answers --------------------------------------------------------------------

    def send(self, status, parts, content_type, headers=None, faults=None):
        faults = faults or {}
        length = sum(map(len, parts))
        packed = "gzip" in self.headers.get("Accept-Encoding", "") and self.server.options.gzip \
            and 512 < length < 1 << 20
        if packed:
            parts = [gzip.compress(whole(parts), 1)]
            length = len(parts[0])
        self.entry["status"] = status
        self.entry["bytes_out"] = length
        self.send_response(status)
        for name, value in (headers or {}).items():
            self.send_header(name, value)
        self.send_header("MS-Server-ActiveSync", self.server.options.versions[-1])
        if packed:
            self.send_header("Content-Encoding", "gzip")
        if length:
            self.send_header("Content-Type", content_type)
        self.send_header("Content-Length", str(length))
        self.end_headers()
        self.send_parts(parts, faults)

    def send_parts(self, parts, faults):
        left = faults["cut"].get("bytes", 0) if "cut" in faults else None
        rate = faults["slow"].get("rate", 1000) if "slow" in faults else None
        for part in parts:
            for piece in [part] if isinstance(part, bytes) else part:
                if left is not None:
                    self.wfile.write(piece[:left])
                    left -= min(left, len(piece))
                elif rate:
                    self.trickle(piece, rate)
                else:
                    self.wfile.write(piece)
        self.wfile.flush()
        if left is not None:
            self.close_connection = True
            self.connection.shutdown(socket.SHUT_RDWR)

    def trickle(self, piece, rate):
        step = max(1, rate // 10)
        for at in range(0, len(piece), step):
            bite = piece[at:at + step]
            self.wfile.write(bite)
            self.wfile.flush()
            self.pause(len(bite) / rate)

    def hang_up(self):
        """Ends the connection with a reset."""
        self.entry["status"] = 0
        self.close_connection = True
        try:
            self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        except OSError:
            pass
        self.server.resets.add(self.connection)

    def setup(self):
        if isinstance(self.request, ssl.SSLSocket):
            self.request.do_handshake()
        super().setup()
        self.rfile = Lines(self.rfile)

    def finish(self):
        try:
            super().finish()
        except (OSError, ValueError):
            pass


class Server(http.server.ThreadingHTTPServer):
    """The ActiveSync server on a loopback port; certificate: (certificate file, key file)."""

    daemon_threads = True
    block_on_close = False
    request_queue_size = 64

    def __init__(self, address, store, options, certificate=None):
        super().__init__(address, Handler)
        self.store, self.options = store, options
        self.faults, self.log, self.conduct = Faults(), Log(), Conduct()
        self.resets, self.connections = set(), set()
        self.thread = None
        self.stop_event = threading.Event()
        self.delays_over = threading.Event()
        self.tls = None
        if certificate:
            self.tls = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            self.tls.load_cert_chain(*certificate)

    @property
    def stopping(self):
        return self.stop_event.is_set()

    @property
    def url(self):
        host, port = self.server_address[:2]
        return f"{'https' if self.tls else 'http'}://{host}:{port}"

    def get_request(self):
        connection, address = super().get_request()
        if self.tls:
            connection = self.tls.wrap_socket(connection, server_side=True, do_handshake_on_connect=False)
        self.connections.add(connection)
        return connection, address

    def shutdown_request(self, request):
        # A connection that shall be reset must not be ended politely first.
        self.connections.discard(request)
        if request in self.resets:
            self.resets.discard(request)
            self.close_request(request)
        else:
            super().shutdown_request(request)

    def handle_error(self, request, client_address):
        error = sys.exc_info()[1]
        if not isinstance(error, (OSError, ssl.SSLError)):
            super().handle_error(request, client_address)

    def start(self):
        self.thread = threading.Thread(target=self.serve_forever, args=(0.05,), daemon=True)
        self.thread.start()

    def go_offline(self):
        """Takes no connections any more and cuts those there are, as if the host had gone."""
        if not self.thread:
            return
        self.shutdown()
        self.thread.join()
        self.thread = None
        self.socket.close()
        for connection in list(self.connections):
            try:
                connection.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass

    def go_online(self):
        """On the same port again."""
        if self.thread:
            return
        self.socket = socket.socket(self.address_family, self.socket_type)
        self.server_bind()
        self.server_activate()
        self.start()

    def stop(self):
        self.stop_event.set()
        self.delays_over.set()
        self.store.notify()


def whole(parts):
    return b"".join(part if isinstance(part, bytes) else b"".join(part) for part in parts)


def binary_query(text):
    """The base64 form of the query (MS-ASHTTP 2.2.1.1.1.1)."""
    try:
        data = base64.b64decode(text + "=" * (-len(text) % 4))
    except ValueError:
        raise HttpAnswer(400) from None
    try:
        found = {"version": f"{data[0] // 10}.{data[0] % 10}", "Cmd": CODES[data[1]]}
        at = 4

        def field():
            nonlocal at
            value = data[at + 1:at + 1 + data[at]]
            at += 1 + data[at]
            return value
        found["DeviceId"] = field().decode("latin-1")
        key = field()
        if len(key) == 4:
            found["PolicyKey"] = str(struct.unpack("<I", key)[0])
        found["DeviceType"] = field().decode("latin-1")
        while at < len(data):
            tag = data[at]
            at += 1
            value = field()
            if tag == 7:
                found["SaveInSent"] = "T" if value and value[0] & 1 else ""
                found["AcceptMultiPart"] = "T" if value and value[0] & 2 else ""
            elif tag in PARAMETERS:
                found[PARAMETERS[tag]] = value.decode()
        return found
    except (IndexError, KeyError, UnicodeDecodeError):
        raise HttpAnswer(400) from None
