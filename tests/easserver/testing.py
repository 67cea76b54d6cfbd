# SPDX-License-Identifier: LGPL-2.1-or-later
"""What the tests of this server share: a server in a process of its own, and a client whose WBXML is
written and read by a codec that is not ours (libwbxml's xml2wbxml and wbxml2xml)."""

import base64
import http.client
import shutil
import subprocess
import sys
import tempfile
import unittest
import urllib.parse
import xml.etree.ElementTree
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(1, str(HERE.parent / "stage"))
import results  # noqa: E402
from mailserver import MailServer  # noqa: E402

SAMPLES = HERE.parent / "data" / "mail"
DOCTYPE = ('<?xml version="1.0" encoding="utf-8"?>\n<!DOCTYPE ActiveSync PUBLIC '
           '"-//MICROSOFT//DTD ActiveSync//EN" "http://www.microsoft.com/">\n')
ALICE = ("alice", "secret")
VIOLATED = 3  # the server's exit status, see conduct.py


def python_samples():
    """The messages of Python's own e-mail tests, where they are installed."""
    for top in sorted(Path("/usr/lib").glob("python3*"), reverse=True):
        found = sorted((top / "test" / "test_email" / "data").glob("msg_*.txt"))
        if found:
            return found
    return []


def foreign(*command, data):
    """Runs one of libwbxml's programs over some bytes."""
    done = subprocess.run([*command, "-o", "/dev/stdout", "/dev/stdin"], input=data,
                          capture_output=True, check=False)
    if done.returncode:
        raise AssertionError(f"{command[0]}: {done.stderr.decode()}")
    return done.stdout


def foreign_encode(xml):
    return foreign("xml2wbxml", "-a", "-n", "-k", data=(DOCTYPE + xml).encode())


def foreign_decode(data):
    """The document as an element; a name is "{AirSync:}Sync"."""
    text = foreign("wbxml2xml", "-l", "ACTIVESYNC", "-k", "-m", "0", data=data)
    # A parser would turn the line ends into something else.
    return xml.etree.ElementTree.fromstring(text.replace(b"\r", b"&#13;"))


def at(element, path):
    """All elements at a path of "Namespace:Tag" separated by "/"; a missing namespace is the
    one before."""
    found, namespace = [element], None
    for step in path.split("/"):
        namespace, _, tag = step.rpartition(":") if ":" in step else (namespace, "", step)
        found = [child for one in found for child in one if child.tag == f"{{{namespace}:}}{tag}"]
    return found


def text(element, path):
    """The text at a path: None for no element, "" for an empty one."""
    found = at(element, path)
    return (found[0].text or "") if found else None


class ServerProcess(MailServer):
    """The server on a folder of mail; a temporary one unless it is given."""

    def __init__(self, *arguments, maildir=None):
        self.place = tempfile.TemporaryDirectory()
        super().__init__(maildir or self.place.name, *arguments)

    def folder_id(self, path, user="alice"):
        return next(f["id"] for f in self.control("state", user=user)["folders"] if f["path"] == path)

    def messages(self, path, user="alice"):
        return next(f["messages"] for f in self.control("state", user=user)["folders"]
                    if f["path"] == path)

    def violations(self):
        """What requests had that the table does not allow; whoever takes it has asked for it."""
        return self.control("violations")["violations"]

    def stop(self):
        self.process.stdin.close()
        code = self.process.wait(20)
        self.process.stdout.close()
        self.place.cleanup()
        if code == VIOLATED:
            raise AssertionError("a client broke the table's rules, and the test did not ask for it; see above")
        return code


class Client:
    """One device. The last answer's parts are in status, headers and body."""

    def __init__(self, server, device="device1", login=ALICE, version="14.1"):
        url = urllib.parse.urlsplit(server.url)
        self.connection = http.client.HTTPConnection(url.netloc, timeout=60)
        self.device, self.login, self.version = device, login, version
        self.policy_key = None
        self.keys = {}

    def post(self, command, body=b"", headers=None, query=""):
        token = base64.b64encode(":".join(self.login).encode()).decode()
        sent = {"Authorization": f"Basic {token}", "MS-ASProtocolVersion": self.version}
        if body:
            sent["Content-Type"] = "application/vnd.ms-sync.wbxml"
        if self.policy_key:
            sent["X-MS-PolicyKey"] = self.policy_key
        url = f"/Microsoft-Server-ActiveSync?Cmd={command}&User={self.login[0]}" \
            f"&DeviceId={self.device}&DeviceType=Test{query}"
        self.connection.request("POST", url, body, {**sent, **(headers or {})})
        answer = self.connection.getresponse()
        self.status, self.headers = answer.status, answer.headers
        self.body = answer.read()
        return self.body

    def ask(self, command, xml="", headers=None, query=""):
        """The answer's root element; None for an empty answer."""
        data = self.post(command, foreign_encode(xml) if xml else b"", headers, query)
        if self.status != 200:
            raise AssertionError(f"{command}: HTTP {self.status}")
        return foreign_decode(data) if data else None

    def folder_sync(self, key="0"):
        return self.ask("FolderSync", f'<FolderSync xmlns="FolderHierarchy:"><SyncKey>{key}</SyncKey></FolderSync>')

    def sync_xml(self, folder, key, more="", options=None, window=100):
        if options is None:
            options = body_options(1)
        head = "" if key == "0" else f"{more}<WindowSize>{window}</WindowSize><Options>{options}</Options>"
        return (f"<Collection><SyncKey>{key}</SyncKey><CollectionId>{folder}</CollectionId>"
                f"{head}</Collection>")

    def sync_at(self, folder, key, commands="", **settings):
        """One Sync of one folder with a given key; the Collection element, or None."""
        xml_text = self.sync_xml(folder, key, **settings)
        if commands:
            xml_text = xml_text.replace("</Collection>", f"<Commands>{commands}</Commands></Collection>")
        root = self.ask("Sync", f'<Sync xmlns="AirSync:"><Collections>{xml_text}</Collections></Sync>')
        return None if root is None else at(root, "AirSync:Collections/Collection")[0]

    def sync(self, folder, commands="", **settings):
        """The same with the newest key, which is kept."""
        if folder not in self.keys:
            self.keys[folder] = text(self.sync_at(folder, "0"), "AirSync:SyncKey")
        answer = self.sync_at(folder, self.keys[folder], commands, **settings)
        if answer is not None and text(answer, "AirSync:Status") == "1":
            self.keys[folder] = text(answer, "AirSync:SyncKey")
        return answer

    def sync_all(self, folder, **settings):
        """Windows until there is no more; the commands as (name, server id, ApplicationData)."""
        found = []
        while True:
            answer = self.sync(folder, **settings)
            found += commands_of(answer)
            if answer is None or not at(answer, "AirSync:MoreAvailable"):
                return found


def body_options(kind, size=None, mime_support=None, filter_type=0, more=""):
    mime = f"<MIMESupport>{mime_support}</MIMESupport>" if mime_support is not None else ""
    cut = f"<TruncationSize>{size}</TruncationSize>" if size is not None else ""
    return (f'<FilterType>{filter_type}</FilterType>{mime}<BodyPreference xmlns="AirSyncBase:">'
            f"<Type>{kind}</Type>{cut}{more}</BodyPreference>")


def commands_of(collection):
    if collection is None:
        return []
    return [(c.tag.rpartition("}")[2], text(c, "AirSync:ServerId"),
             (at(c, "AirSync:ApplicationData") or [None])[0])
            for block in at(collection, "AirSync:Commands") for c in block]


class ServerTest(unittest.TestCase):
    """A test with a server that has a few messages, and a client that knows the folders."""

    arguments = ()

    def setUp(self):
        self.server = ServerProcess(*self.arguments)
        self.addCleanup(self.server.stop)
        self.client = self.new_client()

    def new_client(self, device="device1", **settings):
        client = Client(self.server, device, **settings)
        self.addCleanup(client.connection.close)
        return client

    def deliver(self, subject="Hello", body="Text\r\n", folder="Inbox", user="alice", **request):
        return self.server.control(
            "deliver", user=user, folder=folder, message=f"From: Carol <carol@elsewhere.test>\r\nTo: "
            f"{user}@example.test\r\nSubject: {subject}\r\nMessage-ID: <{subject}@elsewhere.test>\r\n"
            f"Content-Type: text/plain; charset=utf-8\r\n\r\n{body}", **request)["id"]

    def ready(self, path="Inbox"):
        """The id of a folder that the client has synchronised."""
        self.client.folder_sync()
        folder = self.server.folder_id(path)
        self.client.sync_all(folder)
        return folder


def main():
    """Runs the tests of the program that was started."""
    if not shutil.which("wbxml2xml"):
        print("SKIP   : easserver::all() wbxml2xml is not installed")
        return 0
    return results.run("easserver")
