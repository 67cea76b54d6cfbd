# SPDX-License-Identifier: LGPL-2.1-or-later
"""The tests' own way in: a second loopback endpoint that changes the mail, asks for faults, and tells
what clients did. Every POST takes a JSON object and answers with one; see the functions below."""

import base64
import http.server
import json
import threading
import urllib.parse
from pathlib import Path

import items
from mailstore import ROOT, Message


class Refused(Exception):
    """The caller asked for something that is not there."""


class Control:
    """What can be asked for. POST /control/NAME calls the method of that name (with "_" for "-")."""

    def __init__(self, server):
        self.server, self.store = server, server.store

    # --- mail ------------------------------------------------------------------------

    def deliver(self, request):
        """A message into a folder: "user", "folder" (a path, default the inbox), and "message" (text),
        "base64" or "file"; "received" (seconds since 1970), "flags" (letters as in file names)."""
        user = self.user(request)
        if "file" in request:
            with open(request["file"], "rb") as file:
                content = file.read()
        elif "base64" in request:
            content = base64.b64decode(request["base64"])
        else:
            content = request["message"].encode("utf-8", "surrogateescape")
        folder = self.folder(user, request.get("folder", "Inbox"))
        item = self.store.deliver(user, folder, content, request.get("received"), request.get("flags", ""))
        return {"folder": folder.id, "id": str(item)}

    def load(self, request):
        """All files of "directory" (or those that match "pattern") into "folder" of "user". They arrived
        when their Date says, or at "received"."""
        user = self.user(request)
        folder = self.folder(user, request.get("folder", "Inbox"))
        paths = sorted(Path(request["directory"]).glob(request.get("pattern", "[!.]*")))
        found = {path.name: str(folder.add(Message(path, None, request.get("received"))))
                 for path in paths if path.is_file()}
        return {"folder": folder.id, "ids": found}

    def flag(self, request):
        """"read" (true or false), "flag" (0, 1, 2), "verb" (0 to 3) of one message, and when it was "received"."""
        _, folder, item = self.item(request)
        message = folder.items[item]
        message.read = request.get("read", message.read)
        message.flag = request.get("flag", message.flag)
        message.received = request.get("received", message.received)
        if "verb" in request:
            message.verb, message.verb_time = request["verb"], message.received
        folder.change += 1
        return {}

    def move(self, request):
        """One message into the folder "target"."""
        user, folder, item = self.item(request)
        target = self.folder(user, request["target"])
        return {"folder": target.id, "id": str(self.store.move(folder, item, target))}

    def delete(self, request):
        """One message, for good, or with "trash": true into the trash."""
        user, folder, item = self.item(request)
        self.store.delete(user, folder, item, request.get("trash", False))
        return {}

    def clear(self, request):
        """All messages of "folder" from the number "from" on (default all), for good."""
        user = self.user(request)
        folder = self.folder(user, request["folder"])
        gone = [item for item in folder.items if item >= int(request.get("from", 0))]
        for item in gone:
            folder.remove(item)
        return {"messages": len(gone)}

    def folder_create(self, request):
        """The folder "folder" (a path; its parents must be there)."""
        user = self.user(request)
        above, _, name = request["folder"].rpartition("/")
        parent = self.folder(user, above).id if above else ROOT
        return {"id": user.new_folder(name, parent).id}

    def folder_rename(self, request):
        """The folder "folder" gets the path "target"."""
        user = self.user(request)
        folder = self.folder(user, request["folder"])
        above, _, name = request["target"].rpartition("/")
        folder.parent = self.folder(user, above).id if above else ROOT
        folder.name = name
        return {"id": folder.id}

    def folder_delete(self, request):
        """The folder "folder" and all below it."""
        user = self.user(request)
        for folder in user.below(self.folder(user, request["folder"])):
            del user.folders[folder.id]
        return {}

    def state(self, request):
        """Every folder and message of "user"."""
        user = self.user(request)
        return {"folders": [self._folder_state(user, f) for f in user.folders.values()]}

    def _folder_state(self, user, folder):
        return {"id": folder.id, "path": user.path_of(folder), "parent": folder.parent,
                "type": folder.kind,
                "messages": [self._message_state(item, m) for item, m in folder.items.items()]}

    def _message_state(self, item, message):
        made = items.summary(message)
        return {"id": str(item), "subject": made.subject, "message_id": made.message_id,
                "file": message.path.name if message.path else None, "size": message.length(),
                "received": message.received, "read": message.read, "flag": message.flag,
                "verb": message.verb,
                "attachments": [{"name": a.name, "size": a.size} for a in made.attachments]}

    # --- the server ------------------------------------------------------------------

    def fault(self, request):
        """See faults.py."""
        self.server.faults.add(request)
        return {}

    def fault_clear(self, _):
        self.server.faults.clear()
        return {}

    def faults(self, _):
        """The faults that are still due, or whose requests have not come whole."""
        return {"faults": self.server.faults.left()}

    def delay_end(self, _):
        """Every delay that lasts is over."""
        over, self.server.delays_over = self.server.delays_over, threading.Event()
        over.set()
        return {}

    def ping_end(self, _):
        """Every Ping that waits ends as if its interval were over."""
        for user in self.store.users.values():
            for device in user.devices.values():
                device.ping_number += 1
        return {}

    def sent(self, request):
        """What clients sent, in the order of its arrival; with "mime" the messages, too (base64)."""
        found = [dict(one, mime=base64.b64encode(one["mime"]).decode() if "mime" in request else None)
                 for one in self.store.sent]
        return {"sent": found}

    def message(self, request):
        """The bytes of one message, in base64."""
        _, folder, item = self.item(request)
        return {"message": base64.b64encode(folder.items[item].bytes()).decode()}

    def devices(self, request):
        """The devices of "user"; "pings" counts those that began to wait, and the ends of ping_end."""
        return {"devices": [{"id": d.id, "information": d.information, "policy_key": d.policy_key,
                             "wiped": d.wiped, "pings": d.ping_number} for d in self.user(request).devices.values()]}

    def set_password(self, request):
        """"password" for "user"."""
        self.user(request).password = request["password"]
        return {}

    def options(self, request):
        """Changes the server's options by name."""
        for name, value in request.items():
            if not hasattr(self.server.options, name):
                raise Refused(f"no such option: {name}")
            setattr(self.server.options, name, value)
        return {}

    def forget(self, request):
        """All sync keys of all devices of "user", or only those of "folder"."""
        user = self.user(request)
        for device in user.devices.values():
            if "folder" in request:
                device.collections.pop(self.folder(user, request["folder"]).id, None)
            else:
                device.collections.clear()
                device.hierarchy = None
        return {}

    def renumber(self, request):
        """The server lost all that it knew of "user" but the mail: each folder gets another id (unless "folders"
        is false), each message one that was another's, and no device has a key."""
        user = self.user(request)
        folders = list(user.folders.values())
        ids = {folder.id: user.new_id() if request.get("folders", True) else folder.id for folder in folders}
        for folder in folders:
            folder.id, folder.parent = ids[folder.id], ids.get(folder.parent, folder.parent)
            folder.items = dict(zip(folder.items, reversed(folder.items.values())))
            folder.change += 1
        user.folders = {folder.id: folder for folder in folders}
        for device in user.devices.values():
            device.collections.clear()
            device.hierarchy = None
        return {}

    def network(self, request):
        """"up": false: nobody reaches the server any more, true: they do again."""
        if request["up"]:
            self.server.go_online()
        else:
            self.server.go_offline()
        return {}

    def warm(self, _):
        """Prepares all messages, so that a measurement does not measure this server's parsing."""
        made = [items.summary(m) for u in self.store.users.values()
                for f in u.folders.values() for m in f.items.values()]
        return {"messages": len(made)}

    def log(self, request):
        """The requests after number "since" (default 0)."""
        return {"log": self.server.log.since(int(request.get("since", 0)))}

    def violations(self, _):
        """What requests had that the table does not allow. Whoever takes it has asked for it: what nobody
        has taken fails the run."""
        return {"violations": self.server.conduct.take()}

    def log_clear(self, _):
        self.server.log.clear()
        return {}

    # --- what requests name ------------------------------------------------------------

    def user(self, request):
        name = request.get("user") or next(iter(self.store.users))
        if name not in self.store.users:
            raise Refused(f"no such user: {name}")
        return self.store.users[name]

    def folder(self, user, path):
        folder = user.by_path(path)
        if folder is None:
            raise Refused(f"no such folder: {path}")
        return folder

    def item(self, request):
        """The message with "id" or "message_id" in "folder" of "user"."""
        user = self.user(request)
        folder = self.folder(user, request.get("folder", "Inbox"))
        if "message_id" in request:
            found = [i for i, m in folder.items.items()
                     if items.summary(m).message_id == request["message_id"]]
        else:
            found = [i for i in folder.items if i == int(request["id"])]
        if not found:
            raise Refused("no such message")
        return user, folder, found[0]


class ControlHandler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    disable_nagle_algorithm = True

    def log_message(self, *_):
        pass

    def do_GET(self):
        query = urllib.parse.urlsplit(self.path).query
        self.serve(dict(urllib.parse.parse_qsl(query)))

    def do_POST(self):
        body = self.rfile.read(int(self.headers.get("Content-Length", "0")))
        try:
            self.serve(json.loads(body or b"{}"))
        except ValueError as error:
            self.send(400, {"error": str(error)})

    def serve(self, request):
        path = urllib.parse.urlsplit(self.path).path
        name = path.removeprefix("/control/").replace("-", "_")
        method = getattr(self.server.control, name, None)
        if not path.startswith("/control/") or name.startswith("_") or not callable(method) \
                or name in ("user", "folder", "item"):
            self.send(404, {"error": f"no such request: {path}"})
            return
        try:
            with self.server.control.store.lock:
                answer = method(request)
                self.server.control.store.settle()
                self.server.control.store.notify()
            self.send(200, answer)
        except (Refused, KeyError, ValueError, OSError) as error:
            self.send(400, {"error": f"{type(error).__name__}: {error}"})

    def send(self, status, answer):
        body = json.dumps(answer, ensure_ascii=False, default=str).encode("utf-8", "replace")
        self.send_response(status)
        self.send_header("Content-Type", "application/json")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)


class ControlServer(http.server.ThreadingHTTPServer):
    """The control endpoint of a server, on a free loopback port."""

    daemon_threads = True

    def __init__(self, address, server):
        super().__init__(address, ControlHandler)
        self.control = Control(server)

    @property
    def url(self):
        return "http://{}:{}/control".format(*self.server_address[:2])

    def start(self):
        threading.Thread(target=self.serve_forever, daemon=True).start()
