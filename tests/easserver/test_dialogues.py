# SPDX-License-Identifier: LGPL-2.1-or-later
"""Dialogues of a client with the server, command by command; every request and answer goes through
the foreign codec."""

import base64
import email
import gzip
import hashlib
import struct
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

import testing
from testing import ServerTest, at, body_options, commands_of, text


class Http(ServerTest):
    def testOptionsNamesVersionsAndCommands(self):
        self.client.connection.request("OPTIONS", "/Microsoft-Server-ActiveSync", headers={
            "Authorization": "Basic " + base64.b64encode(b"alice:secret").decode()})
        answer = self.client.connection.getresponse()
        answer.read()
        self.assertEqual(answer.status, 200)
        self.assertEqual(answer.headers["MS-ASProtocolVersions"], "12.1,14.0,14.1")
        self.assertIn("ItemOperations", answer.headers["MS-ASProtocolCommands"].split(","))

    def testWrongPasswordIsRefused(self):
        self.client.login = ("alice", "wrong")
        self.client.post("FolderSync", b"x")
        self.assertEqual(self.client.status, 401)
        self.assertIn("Basic", self.client.headers["WWW-Authenticate"])

    def testLoginsInEveryUsualForm(self):
        for name in ("alice", "Alice", "alice@example.test", "EXAMPLE\\alice"):
            client = self.new_client(login=(name, "secret"))
            self.assertEqual(text(client.folder_sync(), "FolderHierarchy:Status"), "1")

    def testUnknownPathVersionAndBodyAreRefused(self):
        self.client.version = "16.1"
        self.client.post("FolderSync")
        self.assertEqual(self.client.status, 400)
        for version, answer in (("12.1", (400, b"")), ("14.1", (200, b"102"))):
            self.client.version = version
            self.client.post("FolderSync", b"\x03\x01\x6a\x00\x45")
            self.assertEqual((self.client.status, self.client.body[9:12]), answer)
            self.assertEqual(self.server.violations(), [f"FolderSync {version}: the body is no WBXML: truncated (g102)"])
        self.client.connection.request("POST", "/elsewhere")
        answer = self.client.connection.getresponse()
        answer.read()
        self.assertEqual(answer.status, 404)

    def testBinaryQueryIsUnderstood(self):
        query = struct.pack("<BBH", 141, 9, 0x0409) + b"\x07device9" + b"\x00" + b"\x04Test"
        token = base64.b64encode(b"alice:secret").decode()
        self.client.connection.request(
            "POST", "/Microsoft-Server-ActiveSync?" + base64.b64encode(query).decode(),
            testing.foreign_encode('<FolderSync xmlns="FolderHierarchy:"><SyncKey>0</SyncKey></FolderSync>'),
            {"Authorization": f"Basic {token}", "Content-Type": "application/vnd.ms-sync.wbxml"})
        answer = self.client.connection.getresponse()
        root = testing.foreign_decode(answer.read())
        self.assertEqual(text(root, "FolderHierarchy:Status"), "1")
        self.assertEqual(self.server.control("devices")["devices"][0]["id"], "device9")

    def testChunkedRequestAndPackedAnswer(self):
        for number in range(20):
            self.server.control("folder-create", folder=f"Folder {number}")
        body = testing.foreign_encode('<FolderSync xmlns="FolderHierarchy:"><SyncKey>0</SyncKey></FolderSync>')
        self.client.post("FolderSync", iter((body[:7], body[7:])), {"Accept-Encoding": "gzip"})
        self.assertEqual(self.client.headers["Content-Encoding"], "gzip")
        root = testing.foreign_decode(gzip.decompress(self.client.body))
        self.assertEqual(text(root, "FolderHierarchy:Status"), "1")

    def testOneConnectionServesManyRequests(self):
        self.client.folder_sync()
        self.client.folder_sync()
        clients = {entry["client"] for entry in self.server.control("log")["log"]}
        self.assertEqual(len(clients), 1)

    def testServesLoopbackAlone(self):
        done = subprocess.run([sys.executable, "-B", str(testing.HERE), "/", "--host", "0.0.0.0"],
                              stdin=subprocess.DEVNULL, capture_output=True, check=False)
        self.assertEqual(done.returncode, 2)
        self.assertIn(b"loopback", done.stderr)

    def testEndsWhenItsInputCloses(self):
        server = testing.ServerProcess()
        self.assertEqual(server.stop(), 0)

    def testEndsOnTheSignal(self):
        server = testing.ServerProcess()
        server.process.terminate()
        self.assertEqual(server.process.wait(20), 0)
        server.stop()

    def testLogTellsTheRequest(self):
        self.client.folder_sync()
        entry = self.server.control("log")["log"][-1]
        self.assertEqual((entry["command"], entry["user"], entry["device"], entry["status"]),
                         ("FolderSync", "alice", "device1", 200))
        self.assertIn("<FolderHierarchy:SyncKey>0</FolderHierarchy:SyncKey>", entry["request"])
        self.assertEqual(self.server.control("log", since=entry["number"])["log"], [])


class Folders(ServerTest):
    def names(self, root):
        found = {}
        for kind in ("Add", "Update"):
            for entry in at(root, f"FolderHierarchy:Changes/{kind}"):
                found[text(entry, "FolderHierarchy:DisplayName")] = (
                    kind, text(entry, "FolderHierarchy:ParentId"), text(entry, "FolderHierarchy:Type"))
        return found

    def testFirstSyncNamesAllFolders(self):
        root = self.client.folder_sync()
        found = self.names(root)
        self.assertEqual(found["Inbox"], ("Add", "0", "2"))
        self.assertEqual({n: found[n][2] for n in ("Drafts", "Trash", "Sent", "Junk", "Calendar")},
                         {"Drafts": "3", "Trash": "4", "Sent": "5", "Junk": "12", "Calendar": "8"})
        self.assertEqual(text(root, "FolderHierarchy:Changes/Count"), str(len(found)))

    def testChangesFromOutsideComeOnce(self):
        key = text(self.client.folder_sync(), "FolderHierarchy:SyncKey")
        self.server.control("folder-create", folder="Prüf & mehr")
        self.server.control("folder-create", folder="Prüf & mehr/Unter Ordner")
        root = self.client.folder_sync(key)
        parent = self.server.folder_id("Prüf & mehr")
        self.assertEqual(self.names(root), {"Prüf & mehr": ("Add", "0", "12"),
                                            "Unter Ordner": ("Add", parent, "12")})
        key = text(root, "FolderHierarchy:SyncKey")
        self.server.control("folder-rename", folder="Prüf & mehr/Unter Ordner", target="Oben")
        root = self.client.folder_sync(key)
        self.assertEqual(self.names(root), {"Oben": ("Update", "0", "12")})
        key = text(root, "FolderHierarchy:SyncKey")
        self.server.control("folder-delete", folder="Oben")
        root = self.client.folder_sync(key)
        self.assertEqual(len(at(root, "FolderHierarchy:Changes/Delete")), 1)
        again = self.client.folder_sync(text(root, "FolderHierarchy:SyncKey"))
        self.assertEqual(text(again, "FolderHierarchy:Changes/Count"), "0")

    def testPreviousKeyIsRepeatedAndOlderOnesAreNot(self):
        first = text(self.client.folder_sync(), "FolderHierarchy:SyncKey")
        self.server.control("folder-create", folder="New")
        second = self.client.folder_sync(first)
        again = self.client.folder_sync(first)
        self.assertEqual(self.names(again), self.names(second))
        key = text(again, "FolderHierarchy:SyncKey")
        self.server.control("folder-create", folder="Newer")
        self.client.folder_sync(key)
        self.assertEqual(text(self.client.folder_sync(first), "FolderHierarchy:Status"), "9")
        self.assertEqual(text(self.client.folder_sync("nonsense"), "FolderHierarchy:Status"), "9")

    def change(self, command, key, **fields):
        inner = "".join(f"<{name}>{value}</{name}>" for name, value in fields.items())
        return self.client.ask(command, f'<{command} xmlns="FolderHierarchy:"><SyncKey>{key}</SyncKey>'
                               f"{inner}</{command}>")

    def testClientCreatesRenamesAndDeletes(self):
        key = text(self.client.folder_sync(), "FolderHierarchy:SyncKey")
        made = self.change("FolderCreate", key, ParentId="0", DisplayName="Mine", Type="12")
        self.assertEqual(text(made, "FolderHierarchy:Status"), "1")
        folder, key = text(made, "FolderHierarchy:ServerId"), text(made, "FolderHierarchy:SyncKey")
        self.assertEqual(folder, self.server.folder_id("Mine"))
        root = self.client.folder_sync(key)
        self.assertEqual(text(root, "FolderHierarchy:Changes/Count"), "0")
        made = self.change("FolderUpdate", key, ServerId=folder, ParentId="0", DisplayName="Yours")
        self.assertEqual(self.server.folder_id("Yours"), folder)
        gone = self.change("FolderDelete", text(made, "FolderHierarchy:SyncKey"), ServerId=folder)
        self.assertEqual(text(gone, "FolderHierarchy:Status"), "1")
        with self.assertRaises(StopIteration):
            self.server.folder_id("Yours")

    def testRefusedFolderChanges(self):
        key = text(self.client.folder_sync(), "FolderHierarchy:SyncKey")
        inbox = self.server.folder_id("Inbox")
        for command, fields, status in (
                ("FolderCreate", {"ParentId": "0", "DisplayName": "Inbox", "Type": "12"}, "2"),
                ("FolderCreate", {"ParentId": "none", "DisplayName": "x", "Type": "12"}, "5"),
                ("FolderDelete", {"ServerId": inbox}, "3"),
                ("FolderDelete", {"ServerId": "none"}, "4"),
                ("FolderUpdate", {"ServerId": "none", "ParentId": "0", "DisplayName": "x"}, "4")):
            with self.subTest(command=command, status=status):
                root = self.change(command, key, **fields)
                self.assertEqual(text(root, "FolderHierarchy:Status"), status)
        root = self.change("FolderCreate", "nonsense", ParentId="0", DisplayName="x", Type="12")
        self.assertEqual(text(root, "FolderHierarchy:Status"), "9")


class Sync(ServerTest):
    def testMessageAsAnItem(self):
        self.server.control("deliver", file=str(testing.SAMPLES / "alternative-related.eml"))
        folder = self.ready_folder()
        data = self.client.sync_all(folder, options=body_options(2))[0][2]
        self.assertEqual(text(data, "Email:Subject"), "HTML with a picture inside")
        self.assertEqual(text(data, "Email:From"), '"Carol Sender" <carol@elsewhere.test>')
        self.assertEqual(text(data, "Email:Read"), "0")
        self.assertRegex(text(data, "Email:DateReceived"), r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.000Z$")
        self.assertEqual(text(data, "AirSyncBase:Body/Type"), "2")
        self.assertIn("cid:dot@elsewhere.test", text(data, "AirSyncBase:Body/Data"))
        attachment = at(data, "AirSyncBase:Attachments/Attachment")[0]
        self.assertEqual(text(attachment, "AirSyncBase:DisplayName"), "dot.png")
        self.assertEqual(text(attachment, "AirSyncBase:ContentId"), "dot@elsewhere.test")
        self.assertEqual(text(attachment, "AirSyncBase:IsInline"), "1")
        self.assertEqual(len(base64.b64decode(text(data, "Email2:ConversationId"))), 16)

    def testConversationsAreWhatAnswersTheSame(self):
        for name, answered in (("a", ""), ("b", "References: <a@x.test>\r\n"),
                               ("c", "References: <a@x.test> <b@x.test>\r\n"),
                               ("d", "In-Reply-To: <a@x.test>\r\n"), ("e", "")):
            self.server.control("deliver", message=f"Subject: {name}\r\nMessage-ID: <{name}@x.test>\r\n"
                                                   f"{answered}\r\nText.\r\n")
        folder = self.ready_folder()
        ids = {text(item[2], "Email:Subject"): text(item[2], "Email2:ConversationId")
               for item in self.client.sync_all(folder)}
        self.assertEqual({ids[name] for name in "bcd"}, {ids["a"]})
        self.assertNotEqual(ids["e"], ids["a"])

    def testNewItemsComeInOrderOrTheNewestFirst(self):
        for name in "abc":
            self.server.control("deliver", message=f"Subject: {name}\r\n\r\nText.\r\n")
        folder = self.ready_folder()
        told = self.client.sync_all(folder, window=2)
        self.server.control("options", newest_first=True)
        del self.client.keys[folder]
        self.assertEqual([item[1] for item in self.client.sync_all(folder, window=2)],
                         [item[1] for item in reversed(told)])

    def ready_folder(self):
        self.client.folder_sync()
        return self.server.folder_id("Inbox")

    def testItemNumbersAreUniqueInTheFolderAlone(self):
        inbox, junk = self.deliver("one"), self.deliver("two", folder="Junk")
        self.assertEqual((inbox, junk), ("1", "1"))

    def testKeyZeroBringsNoItems(self):
        self.deliver()
        answer = self.client.sync_at(self.ready_folder(), "0")
        self.assertEqual(commands_of(answer), [])
        self.assertEqual(text(answer, "AirSync:Status"), "1")

    def testNoChangeIsAnEmptyAnswer(self):
        folder = self.ready()
        self.assertIsNone(self.client.sync(folder))
        self.assertEqual(self.client.body, b"")

    def testWindowsTellOfMore(self):
        for number in range(5):
            self.deliver(f"m{number}")
        folder = self.ready_folder()
        answer = self.client.sync(folder, window=2)
        self.assertTrue(at(answer, "AirSync:MoreAvailable"))
        found = commands_of(answer)
        while at(answer, "AirSync:MoreAvailable"):
            answer = self.client.sync(folder, window=2)
            found += commands_of(answer)
        self.assertEqual([(name, item) for name, item, _ in found],
                         [("Add", str(n)) for n in range(1, 6)])

    def testRepeatedKeyGetsTheSameAnswer(self):
        for number in range(3):
            self.deliver(f"m{number}")
        folder = self.ready_folder()
        key = text(self.client.sync_at(folder, "0"), "AirSync:SyncKey")
        self.client.sync_at(folder, key, window=2)
        first = self.client.body
        self.deliver("late")
        self.client.sync_at(folder, key, window=2)
        self.assertEqual(self.client.body, first)

    def testRepeatedKeyWithOtherOptionsGetsAnEquivalentAnswer(self):
        for number in range(3):
            self.deliver(f"m{number}")
        folder = self.ready_folder()
        key = text(self.client.sync_at(folder, "0"), "AirSync:SyncKey")
        lost = self.client.sync_at(folder, key, window=2)
        answer = self.client.sync_at(folder, key, window=3)
        self.assertEqual([item for _, item, _ in commands_of(answer)], ["1", "2", "3"])
        refused = self.client.sync_at(folder, text(lost, "AirSync:SyncKey"))
        self.assertEqual(text(refused, "AirSync:Status"), "3")

    def testOlderKeysAreRefused(self):
        folder = self.ready_folder()
        keys = [text(self.client.sync_at(folder, "0"), "AirSync:SyncKey")]
        for number in range(3):
            self.deliver(f"m{number}")
            keys.append(text(self.client.sync_at(folder, keys[-1]), "AirSync:SyncKey"))
        self.assertEqual(text(self.client.sync_at(folder, keys[1]), "AirSync:Status"), "3")
        self.assertEqual(text(self.client.sync_at(folder, "nonsense"), "AirSync:Status"), "3")
        self.assertIsNone(self.client.sync_at(folder, keys[3]))

    def testKeysBelongToOneDevice(self):
        folder = self.ready()
        other = self.new_client("device2")
        other.folder_sync()
        answer = other.sync_at(folder, self.client.keys[folder])
        self.assertEqual(text(answer, "AirSync:Status"), "3")

    def testSyncWithoutFolderSyncOrOfAnUnknownFolder(self):
        folder = self.server.folder_id("Inbox")
        self.assertEqual(text(self.client.sync_at(folder, "0"), "AirSync:Status"), "12")
        self.client.folder_sync()
        self.assertEqual(text(self.client.sync_at("none", "0"), "AirSync:Status"), "12")
        self.client.version = "12.1"
        self.assertEqual(text(self.client.sync_at("none", "0"), "AirSync:Status"), "8")

    def testClientMarksReadAndFlags(self):
        self.deliver()
        folder = self.ready()
        answer = self.client.sync(folder, '<Change><ServerId>1</ServerId><ApplicationData><Read xmlns="Email:">1'
                                  '</Read><Flag xmlns="Email:"><FlagStatus>2</FlagStatus><FlagType>Flag for follow '
                                  "up</FlagType></Flag></ApplicationData></Change>")
        self.assertEqual(at(answer, "AirSync:Responses"), [])
        message = self.server.messages("Inbox")[0]
        self.assertEqual((message["read"], message["flag"]), (True, 2))
        self.assertIsNone(self.client.sync(folder))
        self.client.sync(folder, '<Change><ServerId>1</ServerId><ApplicationData><Flag xmlns="Email:"/>'
                         "</ApplicationData></Change>")
        self.assertEqual(self.server.messages("Inbox")[0]["flag"], 0)

    def testChangeFromOutsideBringsWhatChanged(self):
        self.deliver()
        folder = self.ready()
        self.server.control("flag", id="1", read=True, flag=2)
        name, item, data = commands_of(self.client.sync(folder))[0]
        self.assertEqual((name, item), ("Change", "1"))
        self.assertEqual(text(data, "Email:Read"), "1")
        self.assertEqual(text(data, "Email:Flag/FlagStatus"), "2")
        self.assertIsNone(text(data, "Email:Subject"))

    def testDeleteMovesToTheTrashOrNot(self):
        self.deliver("one")
        self.deliver("two")
        folder = self.ready()
        self.client.sync(folder, "<Delete><ServerId>1</ServerId></Delete>")
        self.assertEqual([m["subject"] for m in self.server.messages("Trash")], ["one"])
        self.client.sync(folder, "<Delete><ServerId>2</ServerId></Delete>",
                         more="<DeletesAsMoves>0</DeletesAsMoves>")
        self.assertEqual(self.server.messages("Inbox"), [])
        self.assertEqual(len(self.server.messages("Trash")), 1)
        trash = self.ready("Trash")
        self.client.sync(trash, "<Delete><ServerId>1</ServerId></Delete>")
        self.assertEqual(self.server.messages("Trash"), [])

    def testMissingItemsAreNamedInResponses(self):
        self.deliver()
        folder = self.ready()
        answer = self.client.sync(folder, '<Change><ServerId>77</ServerId><ApplicationData><Read xmlns="Email:">1'
                                  "</Read></ApplicationData></Change><Delete><ServerId>78</ServerId></Delete>")
        self.assertEqual(text(answer, "AirSync:Responses/Change/Status"), "8")
        self.assertEqual(text(answer, "AirSync:Responses/Delete/Status"), "8")

    def testCommandsAreNotDoneTwice(self):
        self.deliver("one")
        self.deliver("two")
        folder = self.ready()
        key, command = self.client.keys[folder], "<Delete><ServerId>1</ServerId></Delete>"
        self.client.sync_at(folder, key, command)
        again = self.client.sync_at(folder, key, command, window=7)
        self.assertEqual(at(again, "AirSync:Responses"), [])
        self.assertEqual(commands_of(again), [])
        self.assertEqual(len(self.server.messages("Trash")), 1)

    def testDeletedAndMovedElsewhere(self):
        for name in ("one", "two", "three"):
            self.deliver(name)
        folder = self.ready()
        self.server.control("delete", id="1")
        self.server.control("move", id="2", target="Junk")
        self.assertEqual([(n, i) for n, i, _ in commands_of(self.client.sync(folder))],
                         [("Delete", "1"), ("Delete", "2")])
        self.assertEqual([m["subject"] for m in self.server.messages("Junk")], ["two"])

    def testFilterLeavesOldMailOutAndForgetsIt(self):
        now = time.time()
        self.deliver("old", received=now - 40 * 86400)
        self.deliver("new", received=now - 3600)
        self.client.folder_sync()
        folder = self.server.folder_id("Inbox")
        month = body_options(1, filter_type=5)
        self.assertEqual([i for _, i, _ in self.client.sync_all(folder, options=month)], ["2"])
        self.assertIsNone(self.client.sync(folder, options=month))
        self.assertEqual([i for _, i, _ in self.client.sync_all(folder)], ["1"])
        self.assertEqual([(n, i) for n, i, _ in self.client.sync_all(folder, options=month)],
                         [("SoftDelete", "1")])

    def testGetChangesZeroBringsNothingNew(self):
        folder = self.ready()
        self.deliver()
        self.assertIsNone(self.client.sync(folder, more="<GetChanges>0</GetChanges>"))
        self.assertEqual(len(commands_of(self.client.sync(folder))), 1)

    def testSeveralFoldersInOneRequest(self):
        inbox, junk = self.ready(), self.ready("Junk")
        self.deliver("one")
        keys = self.client.keys
        root = self.client.ask("Sync", '<Sync xmlns="AirSync:"><Collections>' + "".join(
            self.client.sync_xml(f, keys[f]) for f in (inbox, junk)) + "</Collections></Sync>")
        answers = at(root, "AirSync:Collections/Collection")
        self.assertEqual([text(a, "AirSync:CollectionId") for a in answers], [inbox])

    def testFetchInSync(self):
        self.deliver(body="the body\r\n")
        folder = self.ready()
        answer = self.client.sync(folder, "<Fetch><ServerId>1</ServerId></Fetch>")
        data = at(answer, "AirSync:Responses/Fetch/ApplicationData")[0]
        self.assertEqual(text(data, "AirSyncBase:Body/Data"), "the body\r\n")

    def testSyncThatWaits(self):
        folder = self.ready()
        timer = threading.Timer(0.3, self.deliver)
        timer.start()
        xml = self.client.sync_xml(folder, self.client.keys[folder])
        started = time.monotonic()
        root = self.client.ask("Sync", f'<Sync xmlns="AirSync:"><Collections>{xml}</Collections>'
                               "<HeartbeatInterval>60</HeartbeatInterval></Sync>")
        timer.join()
        self.assertEqual(len(commands_of(at(root, "AirSync:Collections/Collection")[0])), 1)
        self.assertLess(time.monotonic() - started, 10)

    def testEmptyRequestIsIncomplete(self):
        root = self.client.ask("Sync")
        self.assertEqual(text(root, "AirSync:Status"), "13")

    def testEstimateCounts(self):
        folder = self.ready()
        self.deliver("one")
        self.deliver("two")
        root = self.estimate(folder, self.client.keys[folder])
        self.assertEqual(text(root, "GetItemEstimate:Response/Collection/Estimate"), "2")

    def testEstimateThatCannotBeMade(self):
        folder = self.ready()
        for where, key, status in (("none", "k", "2"), (folder, "0", "3"), (folder, "unknown", "4")):
            self.assertEqual(text(self.estimate(where, key), "GetItemEstimate:Response/Status"), status)

    def estimate(self, folder, key):
        return self.client.ask("GetItemEstimate", '<GetItemEstimate xmlns="GetItemEstimate:"><Collections><Collection>'
                               f'<SyncKey xmlns="AirSync:">{key}</SyncKey><CollectionId>{folder}</CollectionId>'
                               "</Collection></Collections></GetItemEstimate>")

    def testOlderVersionHasNoNewerElements(self):
        self.deliver()
        self.client.version = "12.1"
        self.client.folder_sync()
        data = self.client.sync_all(self.server.folder_id("Inbox"))[0][2]
        self.assertIsNone(text(data, "Email2:ConversationId"))
        self.assertEqual(text(data, "Email:Subject"), "Hello")


class Bodies(ServerTest):
    def item(self, sample, options):
        self.server.control("deliver", file=str(testing.SAMPLES / f"{sample}.eml"))
        self.client.folder_sync()
        self.client.keys.clear()
        folder = self.server.folder_id("Inbox")
        return self.client.sync_all(folder, options=options)[-1][2]

    def testPlainTextOfHtml(self):
        data = self.item("html", body_options(1))
        self.assertEqual(text(data, "AirSyncBase:Body/Type"), "1")
        body = text(data, "AirSyncBase:Body/Data")
        self.assertIn("One & two <three> €", body)
        self.assertNotIn("hidden", body)
        self.assertEqual(text(data, "AirSyncBase:NativeBodyType"), "2")

    def testHtmlOfPlainText(self):
        body = text(self.item("plain", body_options(2)), "AirSyncBase:Body/Data")
        self.assertTrue(body.startswith("<html>"))
        self.assertIn("this is plain text", body)

    def testWholeMessageIsExact(self):
        content = (testing.SAMPLES / "attachment.eml").read_bytes()
        data = self.item("attachment", body_options(4, mime_support=2))
        self.assertEqual(text(data, "AirSyncBase:Body/Type"), "4")
        self.assertEqual(text(data, "AirSyncBase:Body/Data").encode(), content)
        self.assertEqual(text(data, "AirSyncBase:Body/EstimatedDataSize"), str(len(content)))

    def testWholeMessageOnlyWhereSupported(self):
        self.assertEqual(text(self.item("html", body_options(4, mime_support=0)), "AirSyncBase:Body/Type"), "2")
        self.assertEqual(text(self.item("plain", body_options(4, mime_support=1)), "AirSyncBase:Body/Type"), "1")
        self.assertEqual(text(self.item("signed", body_options(4, mime_support=1)), "AirSyncBase:Body/Type"), "4")

    def testTruncationCutsBetweenCharacters(self):
        data = self.item("charset-utf8-8bit", body_options(1, size=3))
        self.assertEqual(text(data, "AirSyncBase:Body/Data"), "Zw")
        self.assertEqual(text(data, "AirSyncBase:Body/Truncated"), "1")
        self.assertGreater(int(text(data, "AirSyncBase:Body/EstimatedDataSize")), 60)

    def testNothingButTheSize(self):
        data = self.item("plain", body_options(1, size=0))
        self.assertIsNone(text(data, "AirSyncBase:Body/Data"))
        data = self.item("plain", body_options(1, size=9, more="<AllOrNone>1</AllOrNone>"))
        self.assertIsNone(text(data, "AirSyncBase:Body/Data"))
        self.assertEqual(text(data, "AirSyncBase:Body/Truncated"), "1")

    def testPreview(self):
        data = self.item("html", body_options(1, size=0, more="<Preview>5</Preview>"))
        self.assertEqual(text(data, "AirSyncBase:Body/Preview"), "Grüße")


class Items(ServerTest):
    def setUp(self):
        super().setUp()
        self.content = (testing.SAMPLES / "attachment.eml").read_bytes()
        self.server.control("deliver", file=str(testing.SAMPLES / "attachment.eml"))
        self.folder = self.ready()
        self.reference = f"att%2F{self.folder}%2F1%2F2"

    def fetch(self, inner, headers=None):
        root = self.client.ask("ItemOperations", '<ItemOperations xmlns="ItemOperations:"><Fetch><Store>Mailbox</Store>'
                               f"{inner}</Fetch></ItemOperations>", headers)
        return at(root, "ItemOperations:Response/Fetch")[0]

    def by_item(self, item, options=""):
        return (f'<CollectionId xmlns="AirSync:">{self.folder}</CollectionId><ServerId xmlns="AirSync:">{item}'
                f"</ServerId><Options>{options}</Options>")

    def attachment(self, more=""):
        return f'<FileReference xmlns="AirSyncBase:">{self.reference}</FileReference>{more}'

    MIME = ('<MIMESupport xmlns="AirSync:">2</MIMESupport><BodyPreference xmlns="AirSyncBase:"><Type>4</Type>'
            "</BodyPreference>")

    def testFetchOfAWholeMessage(self):
        answer = self.fetch(self.by_item(1, self.MIME))
        self.assertEqual(text(answer, "ItemOperations:Status"), "1")
        properties = at(answer, "ItemOperations:Properties")[0]
        self.assertEqual(text(properties, "AirSyncBase:Body/Data").encode(), self.content)

    def testFetchWithoutPreferenceHasNoBody(self):
        properties = at(self.fetch(self.by_item(1)), "ItemOperations:Properties")[0]
        self.assertEqual(text(properties, "Email:Subject"), "One attachment")
        self.assertEqual(at(properties, "AirSyncBase:Body"), [])

    def testFetchOfAMissingItem(self):
        self.assertEqual(text(self.fetch(self.by_item(99)), "ItemOperations:Status"), "6")

    def testAttachmentIsExact(self):
        properties = at(self.fetch(self.attachment()), "ItemOperations:Properties")[0]
        self.assertEqual(base64.b64decode(text(properties, "ItemOperations:Data")), bytes(range(256)) * 4)
        self.assertEqual(text(properties, "AirSyncBase:ContentType"), "application/octet-stream")

    def testAttachmentByItsFoldersName(self):
        self.server.control("options", named_references=True)
        self.reference = "att%2FInbox%2F1%2F2"
        properties = at(self.fetch(self.by_item(1)), "ItemOperations:Properties")[0]
        self.assertEqual(text(properties, "AirSyncBase:Attachments/Attachment/FileReference"), self.reference)
        properties = at(self.fetch(self.attachment()), "ItemOperations:Properties")[0]
        self.assertEqual(base64.b64decode(text(properties, "ItemOperations:Data")), bytes(range(256)) * 4)

    def testRangeOfAnAttachment(self):
        properties = at(self.fetch(self.attachment("<Options><Range>250-260</Range></Options>")),
                        "ItemOperations:Properties")[0]
        self.assertEqual(base64.b64decode(text(properties, "ItemOperations:Data")),
                         (bytes(range(256)) * 2)[250:261])
        self.assertEqual(text(properties, "ItemOperations:Range"), "250-260")
        self.assertEqual(text(properties, "ItemOperations:Total"), "1024")
        beyond = self.fetch(self.attachment("<Options><Range>5000-6000</Range></Options>"))
        self.assertEqual(text(beyond, "ItemOperations:Status"), "8")

    def testMissingAttachment(self):
        self.server.control("move", id="1", target="Junk")
        self.assertEqual(text(self.fetch(self.attachment()), "ItemOperations:Status"), "15")

    def testMultipartAnswer(self):
        self.client.post("ItemOperations", testing.foreign_encode(
            '<ItemOperations xmlns="ItemOperations:"><Fetch><Store>Mailbox</Store>' + self.by_item(1, self.MIME)
            + "</Fetch><Fetch><Store>Mailbox</Store>" + self.attachment()
            + "</Fetch></ItemOperations>"), {"MS-ASAcceptMultiPart": "T"})
        self.assertEqual(self.client.headers["Content-Type"], "application/vnd.ms-sync.multipart")
        body = self.client.body
        count, = struct.unpack_from("<I", body)
        parts = [body[a:a + n] for a, n in struct.iter_unpack("<II", body[4:4 + 8 * count])]
        self.assertEqual(parts[1:], [self.content, bytes(range(256)) * 4])
        root = testing.foreign_decode(parts[0])
        first, second = at(root, "ItemOperations:Response/Fetch/Properties")
        self.assertEqual(text(at(first, "AirSyncBase:Body")[0], "ItemOperations:Part"), "1")
        self.assertEqual(text(second, "ItemOperations:Part"), "2")

    def testLargeAttachmentIsStreamed(self):
        subprocess.run([sys.executable, "-B", str(testing.HERE / "make_mail.py"), "10", self.server.place.name,
                        "--folder", "Large", "--attachment-size", str(5 << 20)], check=True)
        self.server.control("load", folder="Junk", directory=f"{self.server.place.name}/alice/Large",
                            pattern="*10.eml")
        self.folder = self.ready("Junk")
        self.reference = f"att%2F{self.folder}%2F1%2F2"
        data = base64.b64decode(text(at(self.fetch(self.attachment()), "ItemOperations:Properties")[0],
                                     "ItemOperations:Data"))
        self.assertEqual(len(data), 5 << 20)
        message = email.message_from_bytes(base64.b64decode(
            self.server.control("message", folder="Junk", id="1")["message"]))
        part = message.get_payload()[1].get_payload(decode=True)
        self.assertEqual(hashlib.sha256(data).digest(), hashlib.sha256(part).digest())
        self.client.post("GetAttachment", query=f"&AttachmentName={self.reference.replace('%', '%25')}")
        self.assertEqual(self.client.body, part)

    def testEmptyFolder(self):
        root = self.client.ask("ItemOperations", '<ItemOperations xmlns="ItemOperations:"><EmptyFolderContents>'
                               f'<CollectionId xmlns="AirSync:">{self.folder}</CollectionId></EmptyFolderContents></ItemOperations>')
        self.assertEqual(text(root, "ItemOperations:Response/EmptyFolderContents/Status"), "1")
        self.assertEqual(self.server.messages("Inbox"), [])

    def testMoveItems(self):
        junk = self.server.folder_id("Junk")
        def move(item, source, target):
            root = self.client.ask("MoveItems", f'<MoveItems xmlns="Move:"><Move><SrcMsgId>{item}</SrcMsgId><SrcFldId>'
                                   f"{source}</SrcFldId><DstFldId>{target}</DstFldId></Move></MoveItems>")
            return text(root, "Move:Response/Status"), text(root, "Move:Response/DstMsgId")
        self.assertEqual(move(1, self.folder, "none")[0], "2")
        self.assertEqual(move(1, self.folder, self.folder)[0], "4")
        self.assertEqual(move(1, self.folder, junk), ("3", "1"))
        self.assertEqual(move(1, self.folder, junk), ("1", None))
        self.assertEqual([(n, i) for n, i, _ in commands_of(self.client.sync(self.folder))], [("Delete", "1")])

    def testAMoveIsShownToItsMoverOrNot(self):
        junk = self.ready("Junk")
        self.deliver("another")
        for known, shown in ((False, [("Add", "1")]), (True, [])):
            self.server.control("options", moves_are_known=known)
            item = self.server.messages("Inbox")[0]["id"]
            self.client.ask("MoveItems", f'<MoveItems xmlns="Move:"><Move><SrcMsgId>{item}</SrcMsgId><SrcFldId>'
                            f"{self.folder}</SrcFldId><DstFldId>{junk}</DstFldId></Move></MoveItems>")
            self.assertEqual([(n, i) for n, i, _ in commands_of(self.client.sync(junk))], shown)
        self.server.control("delete", user="alice", folder="Junk", id="2")
        self.assertEqual([(n, i) for n, i, _ in commands_of(self.client.sync(junk))], [("Delete", "2")])


class Search(ServerTest):
    def search(self, query, options="<Range>0-9</Range>"):
        root = self.client.ask("Search", f'<Search xmlns="Search:"><Store><Name>Mailbox</Name><Query>{query}</Query>'
                               f"<Options>{options}</Options></Store></Search>")
        store = at(root, "Search:Response/Store")[0]
        subjects = [text(p, "Email:Subject") for p in at(store, "Search:Result/Properties")]
        return text(store, "Search:Status"), subjects, text(store, "Search:Total")

    def setUp(self):
        super().setUp()
        day = 86400
        self.now = time.time()
        self.deliver("first pineapple", received=self.now - 3 * day)
        self.deliver("second", "With a Pineapple in the text", received=self.now - 2 * day)
        self.deliver("third", received=self.now - day)
        self.deliver("fourth pineapple", folder="Junk", received=self.now - day)
        self.ready()

    def words(self, words, more=""):
        return f'<And><Class xmlns="AirSync:">Email</Class>{more}<FreeText>{words}</FreeText></And>'

    def testFindsInSubjectAndTextEverywhere(self):
        self.assertEqual(self.search(self.words("pineapple")),
                         ("1", ["fourth pineapple", "second", "first pineapple"], "3"))

    def testFolderAndDateBounds(self):
        inbox = f'<CollectionId xmlns="AirSync:">{self.server.folder_id("Inbox")}</CollectionId>'
        self.assertEqual(self.search(self.words("pineapple", inbox))[1], ["second", "first pineapple"])
        stamp = time.strftime("%Y-%m-%dT%H:%M:%S.000Z", time.gmtime(self.now - 2.5 * 86400))
        bound = f'<DateReceived xmlns="Email:"/><Value>{stamp}</Value>'
        self.assertEqual(self.search(self.words("pineapple", inbox) .replace(
            "</And>", f"<GreaterThan>{bound}</GreaterThan></And>"))[1], ["second"])
        self.assertEqual(self.search(self.words("pineapple", inbox).replace(
            "</And>", f"<LessThan>{bound}</LessThan></And>"))[1], ["first pineapple"])

    def testPagesAndTheirEnd(self):
        self.assertEqual(self.search(self.words("pineapple"), "<Range>1-1</Range>")[1:], (["second"], "3"))
        self.assertEqual(self.search(self.words("pineapple"), "<Range>9-12</Range>")[0], "12")

    def testNothingFound(self):
        self.assertEqual(self.search(self.words("nowhere")), ("1", [], "0"))

    def testResultIsFetchedByItsLongId(self):
        root = self.client.ask("Search", '<Search xmlns="Search:"><Store><Name>Mailbox</Name><Query>'
                               f"{self.words('third')}</Query></Store></Search>")
        long_id = text(root, "Search:Response/Store/Result/LongId")
        root = self.client.ask("ItemOperations", '<ItemOperations xmlns="ItemOperations:"><Fetch><Store>Mailbox</Store>'
                               f'<LongId xmlns="Search:">{long_id}</LongId></Fetch></ItemOperations>')
        self.assertEqual(text(at(root, "ItemOperations:Response/Fetch/Properties")[0], "Email:Subject"), "third")

    def testPeople(self):
        root = self.client.ask("Search", '<Search xmlns="Search:"><Store><Name>GAL</Name><Query>bo</Query></Store></Search>')
        person = at(root, "Search:Response/Store/Result/Properties")[0]
        self.assertEqual(text(person, "Gal:EmailAddress"), "bob@example.test")


class Ping(ServerTest):
    def ping(self, folders, seconds=60):
        inner = "".join(f"<Folder><Id>{f}</Id><Class>Email</Class></Folder>" for f in folders)
        return self.client.ask("Ping", f'<Ping xmlns="Ping:"><HeartbeatInterval>{seconds}</HeartbeatInterval>'
                               f"<Folders>{inner}</Folders></Ping>")

    def testWaitsForTheInterval(self):
        folder = self.ready()
        started = time.monotonic()
        self.assertEqual(text(self.ping([folder], 1), "Ping:Status"), "1")
        self.assertGreaterEqual(time.monotonic() - started, 1)

    def testAnswersAtOnceWhenMailComes(self):
        folder, junk = self.ready(), self.ready("Junk")
        timer = threading.Timer(0.3, self.deliver)
        timer.start()
        started = time.monotonic()
        root = self.ping([junk, folder])
        timer.join()
        self.assertEqual((text(root, "Ping:Status"), text(root, "Ping:Folders/Folder")), ("2", folder))
        self.assertLess(time.monotonic() - started, 5)
        self.assertEqual(text(self.client.ask("Ping"), "Ping:Status"), "2")

    def testOwnChangesDoNotCount(self):
        self.deliver()
        folder = self.ready()
        self.client.sync(folder, '<Change><ServerId>1</ServerId><ApplicationData><Read xmlns="Email:">1</Read>'
                         "</ApplicationData></Change>")
        self.assertEqual(text(self.ping([folder], 1), "Ping:Status"), "1")

    def testTestsCanEndIt(self):
        folder = self.ready()
        timer = threading.Timer(0.3, self.server.control, ("ping-end",))
        timer.start()
        started = time.monotonic()
        self.assertEqual(text(self.ping([folder], 600), "Ping:Status"), "1")
        timer.join()
        self.assertLess(time.monotonic() - started, 10)

    def testANewerPingEndsTheOlder(self):
        folder = self.ready()
        answers = []
        older = threading.Thread(target=lambda: answers.append(text(self.ping([folder], 600), "Ping:Status")))
        older.start()
        while not self.server.control("log")["log"][-1]["command"] == "Ping":
            pass
        newer = self.new_client()
        newer.ask("Ping", f'<Ping xmlns="Ping:"><HeartbeatInterval>1</HeartbeatInterval><Folders><Folder><Id>{folder}</Id>'
                  "<Class>Email</Class></Folder></Folders></Ping>")
        older.join(20)
        self.assertEqual(answers, ["1"])

    def testRefusedPings(self):
        folder = self.ready()
        root = self.ping([folder], 99999)
        self.assertEqual((text(root, "Ping:Status"), text(root, "Ping:HeartbeatInterval")), ("5", "3540"))
        self.server.control("options", max_folders=1)
        root = self.ping([folder, folder])
        self.assertEqual((text(root, "Ping:Status"), text(root, "Ping:MaxFolders")), ("6", "1"))
        self.assertEqual(text(self.ping(["none"]), "Ping:Status"), "7")
        self.assertEqual(text(self.new_client("device2").ask("Ping"), "Ping:Status"), "3")


class Sending(ServerTest):
    MAIL = ("From: alice@example.test\r\nTo: Bob <bob@example.test>\r\nBcc: alice@example.test\r\nSubject: Sent\r\n"
            "Message-ID: <sent@example.test>\r\n\r\n8 bit: \u00fc\r\n").encode()

    def send(self, mail=MAIL, client_id="c1", command="SendMail", more=""):
        mime = base64.b64encode(mail).decode()
        root = self.client.ask(command, f'<{command} xmlns="ComposeMail:"><ClientId>{client_id}</ClientId>'
                               f"<SaveInSentItems/>{more}<MIME>{mime}</MIME></{command}>")
        return None if root is None else text(root, "ComposeMail:Status")

    def content(self, folder, item="1", user="alice"):
        return base64.b64decode(self.server.control("message", user=user, folder=folder, id=item)["message"])

    def testMailArrivesAndIsSaved(self):
        self.assertIsNone(self.send())
        self.assertEqual(self.content("Sent"), self.MAIL)
        self.assertEqual(self.content("Inbox", user="bob"), self.MAIL.replace(b"Bcc: alice@example.test\r\n", b""))
        self.assertEqual(len(self.server.messages("Inbox")), 1)
        sent = self.server.control("sent")["sent"][0]
        self.assertEqual(sent["recipients"], ["bob@example.test", "alice@example.test"])
        self.assertEqual(sent["sha256"], hashlib.sha256(self.MAIL).hexdigest())

    def testSameClientIdIsSentOnce(self):
        self.send()
        self.assertEqual(self.send(), "118")
        self.assertEqual(len(self.server.messages("Inbox", "bob")), 1)
        self.server.control("options", client_id_memory=False)
        self.assertIsNone(self.send())
        self.assertEqual(len(self.server.messages("Inbox", "bob")), 2)

    def testRefusedMailReachesNobody(self):
        self.assertEqual(self.send(self.MAIL.replace(b"bob@", b"nobody@")), "120")
        self.assertEqual(self.send(b"Subject: no recipient\r\n\r\nx\r\n"), "119")
        self.assertEqual(self.server.messages("Sent"), [])
        self.assertIsNone(self.send())

    def testReplyMarksTheOriginalAndQuotesIt(self):
        self.deliver("Question", "What time is it?\r\n")
        folder = self.ready()
        source = f"<Source><FolderId>{folder}</FolderId><ItemId>1</ItemId></Source>"
        self.assertIsNone(self.send(command="SmartReply", more=source))
        arrived = email.message_from_bytes(self.content("Inbox", user="bob"))
        self.assertIn(b"What time is it?", arrived.get_payload(decode=True))
        self.assertIn("8 bit: \u00fc".encode(), arrived.get_payload(decode=True))
        data = commands_of(self.client.sync(folder))[0][2]
        self.assertEqual(text(data, "Email2:LastVerbExecuted"), "1")

    def testAnIdOfItsOwnWhereItPutsTheOriginalIn(self):
        self.server.control("options", own_ids=True)
        self.deliver("Question")
        source = f"<Source><FolderId>{self.ready()}</FolderId><ItemId>1</ItemId></Source>"
        for more, own in ((source, True), ("<ReplaceMime/>" + source, False)):
            self.send(command="SmartReply", client_id=f"c{own}", more=more)
            sent = email.message_from_bytes(self.content("Sent", item="1" if own else "2"))
            self.assertEqual("@server." in sent["Message-ID"], own)
            self.assertEqual(len(sent.get_all("Message-ID")), 1)

    def testReplyInTheClientsOwnWords(self):
        self.deliver("Question")
        folder = self.ready()
        source = f"<ReplaceMime/><Source><FolderId>{folder}</FolderId><ItemId>1</ItemId></Source>"
        self.send(command="SmartReply", more=source)
        self.assertEqual(self.content("Sent"), self.MAIL)

    def testForwardCarriesTheAttachments(self):
        self.server.control("deliver", file=str(testing.SAMPLES / "attachment.eml"))
        folder = self.ready()
        source = f"<Source><FolderId>{folder}</FolderId><ItemId>1</ItemId></Source>"
        self.assertIsNone(self.send(command="SmartForward", more=source))
        message = email.message_from_bytes(self.content("Inbox", user="bob"))
        part = [p for p in message.walk() if p.get_filename() == "all bytes.bin"][0]
        self.assertEqual(part.get_payload(decode=True), bytes(range(256)) * 4)
        self.assertEqual(message["To"], "Bob <bob@example.test>")
        self.assertEqual(self.server.messages("Inbox")[0]["verb"], 3)

    def testReplyToWhatIsGone(self):
        folder = self.ready()
        source = f"<Source><FolderId>{folder}</FolderId><ItemId>9</ItemId></Source>"
        self.assertEqual(self.send(command="SmartReply", more=source), "150")
        self.assertEqual(self.server.control("sent")["sent"], [])

    def testOlderForm(self):
        self.client.version = "12.1"
        self.client.post("SendMail", self.MAIL, {"Content-Type": "message/rfc822"}, "&SaveInSent=T")
        self.assertEqual((self.client.status, self.client.body), (200, b""))
        self.assertEqual(self.content("Sent"), self.MAIL)
        self.client.post("SendMail", b"Subject: x\r\n\r\n", {"Content-Type": "message/rfc822"})
        self.assertEqual(self.client.status, 500)


def provision_xml(temporary=None, status="1"):
    """The first request, or with the temporary key its acknowledgement."""
    device = '<DeviceInformation xmlns="Settings:"><Set><Model>Test</Model></Set></DeviceInformation>'
    more = f"<PolicyKey>{temporary}</PolicyKey><Status>{status}</Status>"
    return (f'<Provision xmlns="Provision:">{"" if temporary else device}<Policies><Policy><PolicyType>'
            f"MS-EAS-Provisioning-WBXML</PolicyType>{more if temporary else ''}</Policy></Policies></Provision>")


class Provision(ServerTest):
    arguments = ("--provision",)

    def ask(self, temporary=None, status="1"):
        """Asks for a policy, or says what became of it."""
        self.client.policy_key = temporary
        root = self.client.ask("Provision", provision_xml(temporary, status))
        policy = at(root, "Provision:Policies/Policy")[0]
        return text(policy, "Provision:Status"), text(policy, "Provision:PolicyKey"), policy

    def folder_status(self):
        return text(self.client.folder_sync(), "FolderHierarchy:Status")

    def provision(self):
        _, temporary, policy = self.ask()
        self.assertEqual(text(policy, "Provision:Data/EASProvisionDoc/DevicePasswordEnabled"), "0")
        status, self.client.policy_key, _ = self.ask(temporary)
        self.assertEqual(status, "1")

    def testIsDemandedAndThenSatisfied(self):
        self.assertEqual(self.folder_status(), "142")
        self.provision()
        self.assertEqual(self.folder_status(), "1")

    def testOlderVersionHearsItByHttp(self):
        self.client.version = "12.1"
        self.client.post("FolderSync", testing.foreign_encode(
            '<FolderSync xmlns="FolderHierarchy:"><SyncKey>0</SyncKey></FolderSync>'))
        self.assertEqual(self.client.status, 449)

    def testWrongKeyAndNewPolicy(self):
        self.provision()
        key, self.client.policy_key = self.client.policy_key, "12345"
        self.assertEqual(self.folder_status(), "144")
        self.client.policy_key = key
        self.server.control("options", policy_version=2)
        self.assertEqual(self.folder_status(), "143")
        self.provision()
        self.assertEqual(self.folder_status(), "1")

    def testPartlyMetPolicy(self):
        self.server.control("options", accept_partial=False)
        _, temporary, _ = self.ask()
        self.assertEqual(self.ask(temporary, "2")[0], "139")

    def testRemoteWipe(self):
        self.provision()
        self.server.control("options", remote_wipe=True)
        self.assertEqual(self.folder_status(), "140")
        self.client.policy_key = None
        root = self.client.ask("Provision", provision_xml())
        self.assertTrue(at(root, "Provision:RemoteWipe"))
        self.client.ask("Provision", '<Provision xmlns="Provision:"><RemoteWipe><Status>1</Status></RemoteWipe></Provision>')
        self.assertEqual(self.server.control("devices")["devices"][0]["wiped"], "1")


class Others(ServerTest):
    def testNoPolicyWhereNoneIsDemanded(self):
        root = self.client.ask("Provision", provision_xml())
        self.assertEqual(text(root, "Provision:Policies/Policy/Status"), "2")

    def testSettings(self):
        root = self.client.ask("Settings", '<Settings xmlns="Settings:"><DeviceInformation><Set><Model>Test</Model></Set>'
                               "</DeviceInformation><UserInformation><Get/></UserInformation></Settings>")
        self.assertEqual(text(root, "Settings:UserInformation/Get/Accounts/Account/EmailAddresses/SmtpAddress"),
                         "alice@example.test")
        self.assertEqual(self.server.control("devices")["devices"][0]["information"], {"Model": "Test"})

    def testStateIsKeptBetweenRuns(self):
        with tempfile.TemporaryDirectory() as place:
            state = Path(place) / "state"
            first = testing.ServerProcess("--state", str(state))
            client = testing.Client(first)
            client.folder_sync()
            first.control("deliver", message="Subject: kept\r\n\r\n")
            folder = first.folder_id("Inbox")
            client.sync_all(folder)
            client.connection.close()
            first.stop()
            second = testing.ServerProcess("--state", str(state))
            later = testing.Client(second)
            second.control("deliver", message="Subject: new\r\n\r\n")
            found = commands_of(later.sync_at(folder, client.keys[folder]))
            later.connection.close()
            second.stop()
        self.assertEqual([text(data, "Email:Subject") for _, _, data in found], ["new"])

    def testFlagsInFileNames(self):
        with tempfile.TemporaryDirectory() as place:
            inbox = Path(place) / "alice" / "Inbox"
            inbox.mkdir(parents=True)
            (inbox / "1:2,FRS").write_bytes(b"Subject: all\r\n\r\n")
            server = testing.ServerProcess(maildir=place)
            found = server.messages("Inbox")[0]
            server.stop()
        self.assertEqual((found["read"], found["flag"], found["verb"]), (True, 2, 1))


class Lenient(ServerTest):
    """The server that counts its keys and refuses little."""

    arguments = ("--quirks", "lenient")

    def testKeysCountAndSettle(self):
        self.deliver()
        self.client.folder_sync()
        folder = self.server.folder_id("Inbox")
        self.assertEqual(text(self.client.sync_at(folder, "0"), "AirSync:SyncKey"), "-1")
        answer = self.client.sync_at(folder, "-1")
        self.assertEqual((text(answer, "AirSync:SyncKey"), len(commands_of(answer))), ("1-2", 1))
        answer = self.client.sync_at(folder, "1-2")
        self.assertEqual((text(answer, "AirSync:SyncKey"), len(commands_of(answer))), ("1-3", 0))
        self.assertIsNone(self.client.sync_at(folder, "1-3"))
        self.client.post("Sync", testing.foreign_encode(
            f'<Sync xmlns="AirSync:"><Collections>{self.client.sync_xml(folder, "bogus")}</Collections></Sync>'))
        self.assertEqual(self.client.status, 501)

    def testLostAnswerComesAgainAsChange(self):
        folder = self.ready()
        self.client.sync(folder)
        self.deliver("lost")
        key = self.client.keys[folder]
        self.client.sync_at(folder, key)
        found = commands_of(self.client.sync_at(folder, key))
        self.assertEqual([(name, text(data, "Email:Subject")) for name, _, data in found], [("Change", "lost")])

    def testWhatWasToldOfTheTreeIsKnownWhateverTheKey(self):
        key = text(self.client.folder_sync(), "FolderHierarchy:SyncKey")
        self.server.control("folder-create", folder="Lost")
        told = self.client.folder_sync(key)
        self.assertEqual(text(told, "FolderHierarchy:Changes/Count"), "1")
        for _ in range(2):
            again = self.client.folder_sync(key)
            self.assertEqual((text(again, "FolderHierarchy:SyncKey"), text(again, "FolderHierarchy:Changes/Count")),
                             (key, "0"))
        self.assertIn("Lost", [text(a, "FolderHierarchy:DisplayName")
                               for a in at(self.client.folder_sync("0"), "FolderHierarchy:Changes/Add")])

    def testOwnChangeHidesAnothersOfTheSameItem(self):
        self.deliver()
        folder = self.ready()
        self.client.sync(folder)
        self.client.sync(folder)
        self.server.control("flag", id="1", flag=2)
        self.client.sync(folder, "<Change><ServerId>1</ServerId><ApplicationData>"
                         '<Read xmlns="Email:">1</Read></ApplicationData></Change>')
        self.assertEqual(commands_of(self.client.sync(folder)), [])
        found = self.server.messages("Inbox")[0]
        self.assertEqual((found["read"], found["flag"]), (True, 2))

    def testCommandsAreAllConfirmedAndMissingOnesToo(self):
        self.deliver()
        folder = self.ready()
        self.client.sync(folder)
        self.deliver("new")
        answer = self.client.sync(folder, "<Delete><ServerId>1</ServerId></Delete><Delete><ServerId>99</ServerId></Delete>",
                                  more="<DeletesAsMoves>0</DeletesAsMoves>")
        self.assertEqual([text(d, "AirSync:Status") for d in at(answer, "AirSync:Responses/Delete")], ["1", "1"])
        self.assertEqual(commands_of(answer), [])
        self.assertEqual(len(self.server.messages("Trash")), 1)
        self.assertEqual(len(commands_of(self.client.sync(folder))), 1)

    def testChangeIsTheWholeItemAndNothingIsTruncated(self):
        self.deliver("whole", "a long text\r\n")
        folder = self.ready()
        self.server.control("flag", id="1", read=True)
        data = commands_of(self.client.sync(folder, options=body_options(1, size=2)))[0][2]
        self.assertEqual(text(data, "Email:Subject"), "whole")
        self.assertEqual(text(data, "AirSyncBase:Body/Data"), "a long text\r\n")

    def testMissingThingsAreFetchedWithSuccess(self):
        folder = self.ready()
        root = self.client.ask("ItemOperations", '<ItemOperations xmlns="ItemOperations:"><Fetch><Store>Mailbox</Store>'
                               f'<CollectionId xmlns="AirSync:">{folder}</CollectionId><ServerId xmlns="AirSync:">9</ServerId></Fetch>'
                               '<Fetch><Store>Mailbox</Store><FileReference xmlns="AirSyncBase:">none</FileReference></Fetch>'
                               "</ItemOperations>")
        item, attachment = at(root, "ItemOperations:Response/Fetch")
        self.assertEqual((text(item, "ItemOperations:Status"), text(item, "ItemOperations:Properties")), ("1", ""))
        self.assertEqual(text(attachment, "ItemOperations:Properties/Data"), "(null)")

    def testAnEmptyAttachmentIsNull(self):
        self.server.control("deliver", user="alice", message='Content-Type: multipart/mixed; boundary="b"\r\n\r\n'
                            '--b\r\n\r\nText\r\n--b\r\nContent-Type: application/octet-stream\r\n'
                            'Content-Disposition: attachment; filename="empty"\r\n\r\n\r\n--b--\r\n')
        folder = self.ready()
        root = self.client.ask("ItemOperations", '<ItemOperations xmlns="ItemOperations:"><Fetch><Store>Mailbox</Store>'
                               f'<FileReference xmlns="AirSyncBase:">att%2F{folder}%2F1%2F2</FileReference></Fetch>'
                               "</ItemOperations>")
        [found] = at(root, "ItemOperations:Response/Fetch")
        self.assertEqual((text(found, "ItemOperations:Properties/Data"),
                          text(found, "ItemOperations:Properties/AirSyncBase:ContentType")), ("(null)", "application/octet-stream"))

    def testASearchOfAllFoldersTellsBareIds(self):
        self.deliver("needle in hay")
        folder = self.ready()
        bare = folder.replace("%2F", "/")
        root = self.search("needle")
        [result] = at(root, "Search:Response/Store/Result")
        self.assertEqual((text(result, "Search:LongId"), text(result, "AirSync:CollectionId")), (f"{bare}+1", bare))
        root = self.client.ask("ItemOperations", '<ItemOperations xmlns="ItemOperations:"><Fetch><Store>Mailbox</Store>'
                               f'<LongId xmlns="Search:">{bare}+1</LongId></Fetch></ItemOperations>')
        [fetched] = at(root, "ItemOperations:Response/Fetch")
        self.assertEqual(text(fetched, "ItemOperations:Properties/Email:Subject"), "needle in hay")

    def testAnApostropheFindsAll(self):
        self.deliver("one")
        self.deliver("two")
        self.ready()
        self.assertEqual(text(self.search("o'clock"), "Search:Response/Store/Total"), "2")

    def search(self, words):
        return self.client.ask("Search", '<Search xmlns="Search:"><Store><Name>Mailbox</Name><Query><And>'
                               f'<Class xmlns="AirSync:">Email</Class><FreeText>{words}</FreeText></And></Query>'
                               "<Options><Range>0-9</Range></Options></Store></Search>")

    def testFolderKeysAreNotCompared(self):
        folder = self.ready()
        self.client.sync(folder)
        root = self.client.folder_sync("anything")
        self.assertEqual(text(root, "FolderHierarchy:Changes/Count"), "0")
        self.client.folder_sync()
        self.assertEqual(text(self.client.sync(folder), "AirSync:Status"), "3")

    def testPingReturnsUntilSettled(self):
        self.deliver()
        folder = self.ready()
        ping = ('<Ping xmlns="Ping:"><HeartbeatInterval>1</HeartbeatInterval><Folders><Folder><Id>'
                f"{folder}</Id><Class>Email</Class></Folder></Folders></Ping>")
        self.assertEqual(text(self.client.ask("Ping", ping), "Ping:Status"), "2")
        self.client.sync(folder)
        self.assertEqual(text(self.client.ask("Ping", ping), "Ping:Status"), "1")


if __name__ == "__main__":
    sys.exit(testing.main())
