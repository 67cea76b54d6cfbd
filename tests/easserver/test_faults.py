# SPDX-License-Identifier: LGPL-2.1-or-later
"""Every fault that can be asked for, as a client meets it."""

import base64
import http.client
import socket
import ssl
import subprocess
import sys
import tempfile
import threading
import time
import urllib.parse

import testing
from testing import ServerTest, at, commands_of, text

FOLDER_SYNC = '<FolderSync xmlns="FolderHierarchy:"><SyncKey>0</SyncKey></FolderSync>'


def head_of(command, body):
    """What comes before the body of alice's request."""
    token = base64.b64encode(b"alice:secret").decode()
    return (f"POST /Microsoft-Server-ActiveSync?Cmd={command}&DeviceId=device1&DeviceType=Test HTTP/1.1\r\n"
            "Host: x\r\nContent-Type: application/vnd.ms-sync.wbxml\r\n"
            f"Authorization: Basic {token}\r\nMS-ASProtocolVersion: 14.1\r\nContent-Length: {len(body)}\r\n\r\n").encode()


class Faults(ServerTest):
    def fault(self, kind, **description):
        self.server.control("fault", kind=kind, **description)

    def folder_sync(self):
        return self.client.post("FolderSync", testing.foreign_encode(FOLDER_SYNC))

    def assertBroken(self, *kinds):
        """The connection ends instead of an answer; the next one works."""
        with self.assertRaises(kinds or (http.client.HTTPException, OSError)):
            self.folder_sync()
        self.client.connection.close()
        self.folder_sync()
        self.assertEqual(self.client.status, 200)

    def testStatusOfHttpForTheNextRequests(self):
        self.fault("http", status=503, retry_after=7, count=2)
        for expected in (503, 503, 200):
            self.folder_sync()
            self.assertEqual(self.client.status, expected)
        self.assertEqual(self.server.control("faults")["faults"], [])

    def testRetryAfterAndBody(self):
        self.fault("http", status=503, retry_after=7, body="later")
        self.assertEqual(self.folder_sync(), b"later")
        self.assertEqual(self.client.headers["Retry-After"], "7")

    def testRedirect(self):
        self.fault("http", status=451, location="http://127.0.0.1:1/Microsoft-Server-ActiveSync")
        self.folder_sync()
        self.assertEqual((self.client.status, self.client.headers["X-MS-Location"]),
                         (451, "http://127.0.0.1:1/Microsoft-Server-ActiveSync"))

    def testOnlyForOneCommandAndAfterSome(self):
        self.fault("http", status=500, command="FolderSync", after=1)
        self.client.ask("Settings", '<Settings xmlns="Settings:"><UserInformation><Get/></UserInformation></Settings>')
        self.folder_sync()
        self.assertEqual(self.client.status, 200)
        self.folder_sync()
        self.assertEqual(self.client.status, 500)

    def testAlwaysUntilCleared(self):
        self.fault("http", status=500, count=-1)
        for _ in range(3):
            self.folder_sync()
            self.assertEqual(self.client.status, 500)
        self.server.control("fault-clear")
        self.folder_sync()
        self.assertEqual(self.client.status, 200)

    def testStatusOfTheCommand(self):
        self.fault("status", status=110)
        self.assertEqual(text(self.client.folder_sync(), "FolderHierarchy:Status"), "110")
        self.fault("status", status=113, command="SendMail")
        root = self.client.ask("SendMail", '<SendMail xmlns="ComposeMail:"><ClientId>1</ClientId><MIME>eA==</MIME></SendMail>')
        self.assertEqual(text(root, "ComposeMail:Status"), "113")

    def testWrongKeyAndChangedFolders(self):
        self.deliver()
        folder = self.ready()
        for status in (3, 12):
            self.fault("collection_status", status=status)
            self.assertEqual(text(self.client.sync(folder), "AirSync:Status"), str(status))
        self.assertIsNone(self.client.sync(folder))

    def testRefusedChange(self):
        self.deliver()
        folder = self.ready()
        self.fault("item_status", status=7)
        answer = self.client.sync(folder, '<Change><ServerId>1</ServerId><ApplicationData><Read xmlns="Email:">1</Read>'
                                  "</ApplicationData></Change>")
        self.assertEqual(text(answer, "AirSync:Responses/Change/Status"), "7")
        self.assertFalse(self.server.messages("Inbox")[0]["read"])

    def testMoreWithoutItems(self):
        folder = self.ready()
        self.deliver()
        self.fault("more", command="Sync")
        key = self.client.keys[folder]
        answer = self.client.sync(folder)
        self.assertTrue(at(answer, "AirSync:MoreAvailable"))
        self.assertEqual(commands_of(answer), [])
        self.assertNotEqual(self.client.keys[folder], key)
        self.fault("more", command="Sync", item="77")
        self.assertEqual(commands_of(self.client.sync(folder))[0][:2], ("Delete", "77"))
        self.assertEqual(len(commands_of(self.client.sync(folder))), 1)

    def testOddItems(self):
        self.deliver()
        self.client.folder_sync()
        folder = self.server.folder_id("Inbox")
        for how, expected in (("empty", [("1", False)]), ("twice", [("1", True), ("1", True)]),
                              ("no_id", [(None, True)]), ("dates", [("1", True)]), ("values", [("1", True)])):
            with self.subTest(how=how):
                key = text(self.client.sync_at(folder, "0"), "AirSync:SyncKey")
                self.fault("odd_item", command="Sync", how=how)
                found = commands_of(self.client.sync_at(folder, key))
                self.assertEqual([(item, data is not None) for _, item, data in found], expected)
        self.assertEqual([text(found[0][2], "Email:Read"), text(found[0][2], "AirSyncBase:Body/Type")],
                         ["maybe", "text"])

    def testDelayBeforeAndAfterTheWork(self):
        for late in (False, True):
            self.fault("delay", seconds=0.3, late=late)
            started = time.monotonic()
            self.folder_sync()
            self.assertGreaterEqual(time.monotonic() - started, 0.3)

    def testADelayIsEnded(self):
        for late in (False, True):
            self.fault("delay", seconds=60, late=late)
            timer = threading.Timer(0.3, self.server.control, ("delay-end",))
            timer.start()
            started = time.monotonic()
            self.folder_sync()
            timer.join()
            self.assertTrue(0.3 <= time.monotonic() - started < 50)

    def testSlowAnswer(self):
        self.fault("slow", rate=1000)
        started = time.monotonic()
        size = len(self.folder_sync())
        self.assertGreaterEqual(time.monotonic() - started, size / 1000 * 0.5)

    def testCutAnswerWasCarriedOut(self):
        folder = self.ready()
        self.deliver()
        self.fault("cut", bytes=20)
        key = self.client.keys[folder]
        with self.assertRaises(http.client.IncompleteRead) as caught:
            self.client.sync(folder)
        self.assertEqual(len(caught.exception.partial), 20)
        self.client.connection.close()
        self.assertEqual(len(commands_of(self.client.sync_at(folder, key))), 1)

    def testResetBeforeAndAfterTheWork(self):
        for late in (False, True):
            self.fault("reset", late=late)
            self.assertBroken(ConnectionResetError)
            done = [entry.get("done", False) for entry in self.server.control("log")["log"]]
            self.assertEqual(done[-2:], [late, True])

    def testResetInTheRequest(self):
        self.fault("reset_request", bytes=10)
        self.assertBroken(ConnectionResetError, BrokenPipeError)
        entry = self.server.control("log")["log"][-2]
        self.assertEqual((entry["bytes_in"], entry.get("done", False)), (10, False))

    def testAFaultIsDueUntilItsRequestHasCome(self):
        self.fault("http", status=503)
        body = testing.foreign_encode(FOLDER_SYNC)
        url = urllib.parse.urlsplit(self.server.url)
        with socket.create_connection((url.hostname, url.port)) as connection:
            connection.sendall(head_of("FolderSync", body) + body[:-1])
            deadline = time.monotonic() + 30
            while not any(entry.get("faults") for entry in self.server.control("log")["log"]):
                self.assertLess(time.monotonic(), deadline)
            self.assertEqual([fault["kind"] for fault in self.server.control("faults")["faults"]], ["http"])
            connection.sendall(body[-1:])
            self.assertIn(b" 503 ", connection.recv(1000))
        self.assertEqual(self.server.control("faults")["faults"], [])

    def testDamagedAnswersAreNoDocuments(self):
        for how in ("truncated", "deep", "length", "page"):
            with self.subTest(how=how):
                self.fault("damage", how=how)
                data = self.folder_sync()
                self.assertEqual(self.client.status, 200)
                with self.assertRaises(Exception):
                    self.assertEqual(testing.foreign_decode(data).tag, "{FolderHierarchy:}FolderSync")

    def testFlippedBitsAreTheSameEveryTime(self):
        self.folder_sync()
        good = self.client.body
        self.fault("damage", how="flipped")
        bad = self.folder_sync()
        self.assertEqual(len(bad), len(good))
        self.assertNotEqual(bad[4:], good[4:])

    def testRubbish(self):
        self.fault("rubbish")
        self.assertIn(b"<html>", self.folder_sync())
        self.assertEqual(self.client.headers["Content-Type"], "text/html")

    def testUnknownElementsDoNotHideTheKnown(self):
        self.fault("unknown")
        data = self.folder_sync()
        self.assertIn(b"\x00\x1e", data)
        root = testing.foreign_decode(data)
        self.assertEqual(text(root, "FolderHierarchy:Status"), "1")

    def testUnknownFaultIsRefused(self):
        with self.assertRaises(AssertionError):
            self.fault("nonsense")

    def testPasswordChange(self):
        self.server.control("set-password", user="alice", password="new")
        self.folder_sync()
        self.assertEqual(self.client.status, 401)
        self.client.login = ("alice", "new")
        self.folder_sync()
        self.assertEqual(self.client.status, 200)

    def testNetworkGoesAndComesBack(self):
        folder = self.ready()
        self.server.control("network", up=False)
        with self.assertRaises(OSError):
            self.folder_sync()
        self.client.connection.close()
        with self.assertRaises(ConnectionRefusedError):
            self.folder_sync()
        self.client.connection.close()
        self.server.control("network", up=True)
        self.deliver()
        self.assertEqual(len(commands_of(self.client.sync(folder))), 1)

    def testForgottenKeys(self):
        folder = self.ready()
        self.server.control("forget", folder="Inbox")
        self.assertEqual(text(self.client.sync(folder), "AirSync:Status"), "3")
        self.server.control("forget")
        self.assertEqual(text(self.client.folder_sync("1"), "FolderHierarchy:Status"), "9")

    def testClientsThatHangUpLeaveNothingBehind(self):
        folder = self.ready()
        url = urllib.parse.urlsplit(self.server.url)
        body = testing.foreign_encode('<Ping xmlns="Ping:"><HeartbeatInterval>600</HeartbeatInterval><Folders><Folder><Id>'
                                      f"{folder}</Id><Class>Email</Class></Folder></Folders></Ping>")
        with socket.create_connection((url.hostname, url.port)) as connection:
            connection.sendall(head_of("Ping", body) + body)
            while self.server.control("log")["log"][-1]["command"] != "Ping":
                pass
        deadline = time.monotonic() + 10
        while "seconds" not in self.server.control("log")["log"][-1]:
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.05)
        self.assertEqual(self.server.control("log")["log"][-1]["status"], 0)


class Tls(testing.unittest.TestCase):
    def certificate(self, names, days):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        files = [f"{place.name}/tls.crt", f"{place.name}/tls.key"]
        subprocess.run([sys.executable, "-B", str(testing.HERE / "make_certificate.py"), *files, names, str(days)],
                       check=True)
        return files

    def outcome(self, names, days):
        """What a client that trusts the certificate's maker says to it."""
        files = self.certificate(names, days)
        server = testing.ServerProcess("--tls", *files)
        self.addCleanup(server.stop)
        context = ssl.create_default_context(cafile=files[0])
        url = urllib.parse.urlsplit(server.url)
        self.assertEqual(url.scheme, "https")
        connection = http.client.HTTPSConnection(url.netloc, context=context, timeout=20)
        self.addCleanup(connection.close)
        connection.request("OPTIONS", "/Microsoft-Server-ActiveSync", headers={
            "Authorization": "Basic " + base64.b64encode(b"alice:secret").decode()})
        return connection.getresponse().status

    def testGoodCertificate(self):
        self.assertEqual(self.outcome("IP:127.0.0.1", 2), 200)

    def testCertificateOfAnotherHost(self):
        with self.assertRaisesRegex(ssl.SSLCertVerificationError, "mismatch|not valid for"):
            self.outcome("DNS:elsewhere.test", 2)

    def testCertificateThatIsOver(self):
        with self.assertRaisesRegex(ssl.SSLCertVerificationError, "expired"):
            self.outcome("IP:127.0.0.1", -3)

    def testConnectionThatSaysNothingHoldsNobodyUp(self):
        files = self.certificate("IP:127.0.0.1", 2)
        server = testing.ServerProcess("--tls", *files)
        self.addCleanup(server.stop)
        url = urllib.parse.urlsplit(server.url)
        with socket.create_connection((url.hostname, url.port)):
            connection = http.client.HTTPSConnection(
                url.netloc, context=ssl.create_default_context(cafile=files[0]), timeout=20)
            connection.request("OPTIONS", "/Microsoft-Server-ActiveSync")
            self.assertEqual(connection.getresponse().status, 401)
            connection.close()


if __name__ == "__main__":
    sys.exit(testing.main())
