# SPDX-License-Identifier: LGPL-2.1-or-later
"""The least that a client can do: the same requests as the daemon's, and nothing made of the answers.
What it takes is the test server's and the network's share of a measurement."""
import base64
import http.client
import pathlib
import sys
import time
import urllib.parse
import uuid

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests/easserver"))
from wbxml import Node, decode, encode  # noqa: E402


class BareClient:
    """One device of alice's that knows one folder."""

    def __init__(self, url, folder="Inbox"):
        self.url = urllib.parse.urlsplit(url)
        self.connection = http.client.HTTPConnection(self.url.netloc, timeout=600)
        answer = self.post("FolderSync", Node("FolderHierarchy:FolderSync",
                                              Node("FolderHierarchy:SyncKey", "0")))
        self.collection = next(
            one.value("FolderHierarchy:ServerId")
            for one in answer.find("FolderHierarchy:Changes").nodes("FolderHierarchy:Add")
            if one.value("FolderHierarchy:DisplayName") == folder)
        self.key = "0"
        self.ids = []
        while self.sync():
            pass

    @staticmethod
    def headers():
        token = base64.b64encode(b"alice:secret").decode()
        return {"Authorization": f"Basic {token}", "MS-ASProtocolVersion": "14.1",
                "Content-Type": "application/vnd.ms-sync.wbxml"}

    @staticmethod
    def target(command):
        return ("/Microsoft-Server-ActiveSync?User=alice&DeviceId=bare&DeviceType=Bench"
                f"&Cmd={command}")

    def post(self, command, root):
        self.connection.request("POST", self.target(command), encode(root), self.headers())
        answer = self.connection.getresponse()
        body = answer.read()
        if answer.status != 200:
            raise SystemExit(f"bench: {command} was answered with {answer.status}")
        return decode(body) if body else None

    def sync(self, *changes):
        """Sends changes or fetches a window; true while there is more to fetch."""
        fetches = not changes and self.key != "0"
        collection = Node("AirSync:Collection", Node("AirSync:SyncKey", self.key),
                          Node("AirSync:CollectionId", self.collection))
        if fetches:
            collection.add(
                Node("AirSync:GetChanges"), Node("AirSync:WindowSize", "512"),
                Node("AirSync:Options", Node("AirSync:FilterType", "5"),
                     Node("AirSyncBase:BodyPreference", Node("AirSyncBase:Type", "2"),
                          Node("AirSyncBase:TruncationSize", "65536"))))
        elif changes:
            collection.add(Node("AirSync:GetChanges", "0"), Node("AirSync:Commands", *changes))
        answer = self.post("Sync", Node("AirSync:Sync", Node("AirSync:Collections", collection)))
        if answer is None:
            return False
        told = answer.find("AirSync:Collections/AirSync:Collection")
        is_first = self.key == "0"
        self.key = told.value("AirSync:SyncKey")
        commands = told.find("AirSync:Commands")
        for one in commands.nodes("AirSync:Add") if commands else []:
            self.ids.append(one.value("AirSync:ServerId"))
        return is_first or told.find("AirSync:MoreAvailable") is not None

    def mark_all(self):
        """Marks every message as read, in one request."""
        self.sync(*[Node("AirSync:Change", Node("AirSync:ServerId", one),
                         Node("AirSync:ApplicationData", Node("Email:Read", "1")))
                    for one in self.ids])

    def send_ms(self, mime):
        """Sends a message; milliseconds of the post alone."""
        body = encode(Node("ComposeMail:SendMail", Node("ComposeMail:ClientId", uuid.uuid4().hex),
                           Node("ComposeMail:SaveInSentItems"), Node("ComposeMail:MIME", mime)))
        start = time.perf_counter()
        self.connection.request("POST", self.target("SendMail"), body, self.headers())
        answer = self.connection.getresponse()
        if answer.status != 200 or answer.read():
            raise SystemExit("bench: the server did not send a message")
        return (time.perf_counter() - start) * 1000

    def ping(self):
        """Returns when there is news."""
        self.post("Ping", Node(
            "Ping:Ping", Node("Ping:HeartbeatInterval", "300"),
            Node("Ping:Folders", Node("Ping:Folder", Node("Ping:Id", self.collection),
                                      Node("Ping:Class", "Email")))))


def attachment_request(reference):
    """The document that asks for one attachment."""
    return encode(Node("ItemOperations:ItemOperations", Node(
        "ItemOperations:Fetch", Node("ItemOperations:Store", "Mailbox"),
        Node("AirSyncBase:FileReference", reference))))
