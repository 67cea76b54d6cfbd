# SPDX-License-Identifier: LGPL-2.1-or-later
"""The table of requests, what is held against it, and what becomes of what does not pass."""

import os
import sys
import tempfile
import unittest
import xml.etree.ElementTree
from pathlib import Path

import requesttable
import testing
from codepages import TOKENS
from requestcheck import Request, check
from testing import ServerTest, text
from wbxml import Node, encode

VERSIONS = ("2.5", "12.0", "12.1", "14.0", "14.1", "16.0", "16.1")
# Nothing here asks for it, and the codec does not have it.
NOT_CODED = "RightsManagement:"
QUERY = {"Cmd": "", "DeviceId": "device1", "DeviceType": "Test"}


def tree(document):
    """A document of "Namespace:Tag" elements; ~ before a text makes it opaque."""
    def node(element):
        kept = (element.text or "").strip()
        content = [kept[1:].encode() if kept.startswith("~") else kept] if kept else []
        return Node(element.tag.replace(".", ":"), *content, *map(node, element))
    return node(xml.etree.ElementTree.fromstring(document))


def found(command, document=None, version="14.1", headers=None, query=None, length=None):
    """What is wrong with a request, as "text (answer)"."""
    root = tree(document) if document else None
    told = {"MS-ASProtocolVersion": version}
    if root:
        told["Content-Type"] = "application/vnd.ms-sync.wbxml"
    length = length if length is not None else 1 if root else 0
    request = Request(command, version, told | (headers or {}), QUERY | (query or {}), root, length)
    return [f"{one.text} ({one.answer})" for one in check(request)]


class Table(unittest.TestCase):
    def rows(self, name):
        return list(requesttable.rows(name))

    def testEveryRowCanBeRead(self):
        for version in VERSIONS:
            for command in requesttable.commands():
                requesttable.form(command, version)
            self.assertTrue(requesttable.headers(version))
        self.assertGreater(len(self.rows("requests.tsv")), 300)

    def testEveryFactSaysHowItIsKnown(self):
        for name in ("requests.tsv", "requestrules.tsv", "requestheaders.tsv"):
            for row in self.rows(name):
                self.assertIn(row["known"], ("read", "remembered"), row)
                self.assertIn(row["answer_known"], ("read", "remembered"), row)
                self.assertRegex(row["answer"], r"^(item )?[SgH]\d+(; order S\d+)?$", row)
                self.assertRegex(row["versions"], r"^(all|\d+\.\d\+?|\.\.\d+\.\d|\d+\.\d\.\.\d+\.\d)$", row)

    def testEveryTagIsOneOfTheCodec(self):
        for row in self.rows("requests.tsv"):
            tag = row["child"]
            if not tag.startswith(("(", NOT_CODED)):
                self.assertTrue(tag in TOKENS, tag)

    def testEveryElementIsReachedAndEveryContainerHasRows(self):
        for version in VERSIONS:
            for command in sorted(requesttable.commands()):
                form = requesttable.form(command, version)
                if form is not None:
                    self.assertEqual(set(form.elements) - self.reached(command, version, form), set(), (command, version))

    def reached(self, command, version, form):
        names = {"-"}
        waiting = [("-", form.elements["-"])]
        while waiting:
            parent, element = waiting.pop()
            for tag in element.children:
                name, below = form.find(parent, tag)
                row = next(r for r in self.rows("requests.tsv") if r["child"] == tag and r["command"] == command
                           and parent.endswith(r["parent"]) and requesttable.covers(r["versions"], version))
                if row["value"] == "children":
                    self.assertIsNotNone(below, (command, version, parent, tag))
                if below is not None and name not in names:
                    names.add(name)
                    waiting.append((name, below))
        return names

    def testVersionsOfRows(self):
        covered = {words: [v for v in VERSIONS if requesttable.covers(words, v)]
                   for words in ("all", "14.0+", "..12.1", "12.1..14.0", "16.1")}
        self.assertEqual(covered, {"all": list(VERSIONS), "14.0+": ["14.0", "14.1", "16.0", "16.1"],
                                   "..12.1": ["2.5", "12.0", "12.1"], "12.1..14.0": ["12.1", "14.0"],
                                   "16.1": ["16.1"]})


SYNC = """<AirSync.Sync><AirSync.Collections><AirSync.Collection><AirSync.SyncKey>{key}</AirSync.SyncKey>
<AirSync.CollectionId>1</AirSync.CollectionId>{more}</AirSync.Collection></AirSync.Collections></AirSync.Sync>"""
OPTIONS = "<AirSync.Options>{}</AirSync.Options>"
PREFERENCE = "<AirSyncBase.BodyPreference>{}</AirSyncBase.BodyPreference>"
CHANGE = """<AirSync.Commands><AirSync.Change><AirSync.ServerId>1</AirSync.ServerId><AirSync.ApplicationData>{}
</AirSync.ApplicationData></AirSync.Change></AirSync.Commands>"""
FETCH = """<ItemOperations.ItemOperations><ItemOperations.Fetch><ItemOperations.Store>Mailbox</ItemOperations.Store>
{}</ItemOperations.Fetch></ItemOperations.ItemOperations>"""


class Check(unittest.TestCase):
    def sync(self, more="", key="k", version="14.1"):
        return found("Sync", SYNC.format(key=key, more=more), version)

    def testARightRequestPasses(self):
        self.assertEqual(self.sync("""<AirSync.DeletesAsMoves/><AirSync.GetChanges/><AirSync.WindowSize>10</AirSync.WindowSize>
            <AirSync.Options><AirSync.MIMETruncation>4</AirSync.MIMETruncation><AirSync.FilterType>5</AirSync.FilterType>
            <AirSyncBase.BodyPreference><AirSyncBase.Type>1</AirSyncBase.Type><AirSyncBase.Preview>100</AirSyncBase.Preview>
            </AirSyncBase.BodyPreference></AirSync.Options>""" + CHANGE.format("<Email.Flag/><Email.Read>1</Email.Read>")), [])

    def testAnElementWithoutARowHasNoPlace(self):
        self.assertEqual(found("ItemOperations", FETCH.format(
            "<Search.LongId>1</Search.LongId><ItemOperations.Options><AirSync.MIMETruncation>4</AirSync.MIMETruncation>"
            "</ItemOperations.Options>")),
            ["AirSync:MIMETruncation has no place in ItemOperations:Options (S2)"])

    def testOrderAndItsOwnAnswer(self):
        self.assertEqual(self.sync(OPTIONS.format("") + "<AirSync.WindowSize>1</AirSync.WindowSize>"),
                         ["AirSync:WindowSize comes too late in AirSync:Collection (S4)", "AirSync:Options is empty (S4)"])
        self.assertEqual(self.sync(OPTIONS.format(PREFERENCE.format(
            "<AirSyncBase.TruncationSize>1</AirSyncBase.TruncationSize><AirSyncBase.Type>1</AirSyncBase.Type>"))),
            ["AirSyncBase:Type comes too late in AirSyncBase:BodyPreference (S4)"])

    def testHowOften(self):
        self.assertEqual(self.sync(OPTIONS.format(PREFERENCE.format("<AirSyncBase.Preview>1</AirSyncBase.Preview>"))),
                         ["AirSyncBase:BodyPreference lacks AirSyncBase:Type (S6)"])
        self.assertEqual(self.sync("<AirSync.WindowSize>1</AirSync.WindowSize>" * 2),
                         ["AirSync:Collection has 2 AirSync:WindowSize (S4)"])

    def testValues(self):
        for value, wrong in (("512", False), ("513", True), ("-1", True), ("", True), ("a", True), ("1 ", False)):
            got = self.sync(f"<AirSync.WindowSize>{value}</AirSync.WindowSize>")
            self.assertEqual(bool(got), wrong, (value, got))
        self.assertTrue(self.sync("<AirSync.GetChanges>2</AirSync.GetChanges>"))
        self.assertTrue(self.sync("<AirSync.WindowSize>~5</AirSync.WindowSize>"))
        self.assertTrue(found("Search", """<Search.Search><Search.Store><Search.Name>Mailbox</Search.Name><Search.Query>
            <Search.And><Search.GreaterThan><Email.DateReceived/><Search.Value>today</Search.Value></Search.GreaterThan>
            </Search.And></Search.Query></Search.Store></Search.Search>"""))

    def testVersions(self):
        more = OPTIONS.format(PREFERENCE.format("<AirSyncBase.Type>1</AirSyncBase.Type><AirSyncBase.Preview>9</AirSyncBase.Preview>"))
        self.assertEqual(self.sync(more, version="14.0"), [])
        self.assertEqual(self.sync(more, version="12.1"),
                         ["AirSyncBase:Preview has no place in AirSyncBase:BodyPreference (S4)"])

    def testNewerVersionsAreRows(self):
        draft = CHANGE.format("<Email.Subject>a</Email.Subject>").replace(
            "</AirSync.ApplicationData>", "</AirSync.ApplicationData><Email2.Send/>")
        self.assertEqual(self.sync(draft, version="16.0"), [])
        self.assertEqual(self.sync(draft), ["Email2:Send has no place in AirSync:Change (S4)",
                                            "Email:Subject has no place in AirSync:ApplicationData (S4)"])
        find = """<Find.Find><Find.SearchId>12345678-9abc-def0-1234-56789abcdef0</Find.SearchId><Find.ExecuteSearch>
            <Find.MailBoxSearchCriterion><Find.Query><Find.FreeText>a</Find.FreeText><AirSync.Class>Email</AirSync.Class></Find.Query>
            </Find.MailBoxSearchCriterion></Find.ExecuteSearch></Find.Find>"""
        self.assertEqual(found("Find", find, "16.1"), [])
        self.assertEqual(found("Find", find), ["no Find in 14.1 (g137)"])

    def testRules(self):
        self.assertEqual(self.sync(CHANGE.format("<Email.Read>1</Email.Read>"), key="0"),
                         ["AirSync:Collection has both AirSync:SyncKey=0 and AirSync:Commands (S4)"])
        self.assertEqual(self.sync("<AirSync.GetChanges/>", key="0"),
                         ["AirSync:Collection has both AirSync:SyncKey=0 and AirSync:GetChanges= (S4)"])
        kind = PREFERENCE.format("<AirSyncBase.Type>1</AirSyncBase.Type>")
        self.assertEqual(self.sync(OPTIONS.format(kind * 2)),
                         ["AirSync:Options has two AirSyncBase:BodyPreference with one AirSyncBase:Type (S4)"])
        self.assertEqual(self.sync(CHANGE.format("<Email.Flag><Email.Status>2</Email.Status></Email.Flag>")),
                         ["Email:Flag has Email:Status=2 without Email:FlagType (item S6)"])
        self.assertEqual(self.sync(CHANGE.format("<Email.Flag><Tasks.StartDate>2026-01-31T00:00:00.000Z</Tasks.StartDate></Email.Flag>")),
                         ["Email:Flag has not all of Tasks:StartDate, Tasks:DueDate, Tasks:UtcStartDate, Tasks:UtcDueDate (item S6)"])

    def testExactlyOneIdentity(self):
        pair = "<AirSync.CollectionId>1</AirSync.CollectionId><AirSync.ServerId>1</AirSync.ServerId>"
        long_id = "<Search.LongId>1</Search.LongId>"
        for identity, wrong in ((pair, 0), (long_id, 0), (pair + long_id, 1), ("", 1),
                                ("<AirSync.ServerId>1</AirSync.ServerId>", 1)):
            self.assertEqual(len(found("ItemOperations", FETCH.format(identity))), wrong, identity)

    def testOneTagInTwoPlaces(self):
        self.assertEqual(found("ItemOperations", """<ItemOperations.ItemOperations><ItemOperations.EmptyFolderContents>
            <AirSync.CollectionId>1</AirSync.CollectionId><ItemOperations.Options><ItemOperations.DeleteSubFolders/>
            </ItemOperations.Options></ItemOperations.EmptyFolderContents></ItemOperations.ItemOperations>"""), [])
        self.assertEqual(found("ItemOperations", FETCH.format(
            "<Search.LongId>1</Search.LongId><ItemOperations.Options><ItemOperations.DeleteSubFolders/></ItemOperations.Options>")),
            ["ItemOperations:DeleteSubFolders has no place in ItemOperations:Options (S2)"])

    def testHead(self):
        ping = "<Ping.Ping><Ping.HeartbeatInterval>60</Ping.HeartbeatInterval></Ping.Ping>"
        self.assertEqual(found("Ping", ping), [])
        self.assertEqual(found("Ping", ping, headers={"MS-ASProtocolVersion": ""}), ['MS-ASProtocolVersion is "" (H400)'])
        self.assertEqual(found("Ping", ping, headers={"MS-ASProtocolVersion": ""}, query={"version": "14.1"}), [])
        for name in ("", "with-a-hyphen", "a" * 33):
            self.assertEqual(found("Ping", ping, query={"DeviceId": name}), [f'?DeviceId is "{name}" (g108)'])
        self.assertEqual(found("Ping", ping, headers={"Content-Type": "text/xml"}), ['Content-Type is "text/xml" (g101)'])
        self.assertEqual(found("Ping", ping, headers={"X-MS-PolicyKey": "key"}), ['X-MS-PolicyKey is "key" (H400)'])

    def testBodies(self):
        self.assertEqual(found("Ping"), [])
        self.assertEqual(found("FolderSync"), ["there is no body (g101)"])
        mail = {"Content-Type": "message/rfc822"}
        self.assertEqual(found("SendMail", version="12.1", headers=mail, length=9), [])
        self.assertEqual(found("SendMail", headers=mail, length=9), ['Content-Type is "message/rfc822" (g101)'])
        self.assertEqual(found("Ping", "<Sync.Sync/>"), ["the document is Sync:Sync (S4)"])

    def testPolicyKeyGoesWithThePhase(self):
        policy = """<Provision.Provision>{}<Provision.Policies><Provision.Policy><Provision.PolicyType>MS-EAS-Provisioning-WBXML
            </Provision.PolicyType>{}</Provision.Policy></Provision.Policies></Provision.Provision>"""
        device = "<Settings.DeviceInformation><Settings.Set><Settings.Model>m</Settings.Model></Settings.Set></Settings.DeviceInformation>"
        first = policy.format(device, "")
        second = policy.format("", "<Provision.PolicyKey>7</Provision.PolicyKey><Provision.Status>1</Provision.Status>")
        self.assertEqual(found("Provision", first, headers={"X-MS-PolicyKey": "0"}), [])
        self.assertEqual(found("Provision", first, headers={"X-MS-PolicyKey": "7"}), ['X-MS-PolicyKey is "7" (g144)'])
        self.assertEqual(found("Provision", second, headers={"X-MS-PolicyKey": "7"}), [])
        self.assertEqual(len(found("Provision", second)), 1)
        self.assertEqual(len(found("Provision", policy.format("", ""))), 1)
        self.assertEqual(found("Provision", policy.format("", ""), "14.0"), [])

    def testACommandWithoutRowsIsNoticed(self):
        self.assertEqual(found("ValidateCert", "<A.A/>"), ["the table knows no ValidateCert (H501)"])


class Answers(ServerTest):
    SEARCH = ('<Search xmlns="Search:"><Store><Name>Mailbox</Name><Query><And><FreeText>Hello</FreeText></And></Query><Options>'
              '<Range>0-9</Range><MIMETruncation xmlns="AirSync:">1</MIMETruncation></Options></Store></Search>')

    def take(self, *wanted):
        self.assertEqual(self.server.violations(), list(wanted))

    def testTheCommandsOwnStatus(self):
        root = self.client.ask("Search", self.SEARCH)
        self.assertEqual(text(root, "Search:Response/Store/Status"), "2")
        self.take("Search 14.1: AirSync:MIMETruncation has no place in Search:Options (S2)")

    def testACommonStatusAndWhatItWasBefore(self):
        move = '<MoveItems xmlns="Move:"><Move><SrcFldId>1</SrcFldId><SrcMsgId>1</SrcMsgId><DstFldId>2</DstFldId></Move></MoveItems>'
        self.assertEqual(text(self.client.ask("MoveItems", move), "Move:Status"), "103")
        self.client.version = "12.1"
        self.client.post("MoveItems", testing.foreign_encode(move))
        self.assertEqual(self.client.status, 400)
        self.assertEqual(len(self.server.violations()), 2)

    def testOneItemsStatus(self):
        first, second = self.deliver("A"), self.deliver("B")
        folder = self.ready()
        change = ('<Change><ServerId>{}</ServerId><ApplicationData><Read xmlns="Email:">{}</Read></ApplicationData></Change>')
        answer = self.client.sync(folder, change.format(first, "yes") + change.format(second, "1"))
        self.assertEqual(text(answer, "AirSync:Status"), "1")
        self.assertEqual([(text(one, "AirSync:ServerId"), text(one, "AirSync:Status"))
                          for one in testing.at(answer, "AirSync:Responses/Change")], [(first, "6")])
        self.assertEqual([one["read"] for one in self.server.messages("Inbox")], [False, True])
        self.take('Sync 14.1: Email:Read is "yes", wanted is 0 or 1 (item S6)')

    def testWhatNoServerHasIsNoFunction(self):
        self.client.post("Unheard", b"")
        self.assertEqual(self.client.status, 501)
        self.take("Unheard 14.1: the table knows no Unheard (H501)")

    def testALenientServerCarriesItOut(self):
        self.deliver("Hello")
        self.server.control("options", takes_anything=True)
        root = self.client.ask("Search", self.SEARCH)
        self.assertEqual(text(root, "Search:Response/Store/Total"), "1")
        self.take("Search 14.1: AirSync:MIMETruncation has no place in Search:Options (S2)")

    def testADeviceKeepsItsName(self):
        body = testing.foreign_encode('<FolderSync xmlns="FolderHierarchy:"><SyncKey>0</SyncKey></FolderSync>')
        for name in ("one/1", "one/1", "two/1"):
            self.take()
            self.client.post("FolderSync", body, {"User-Agent": name})
            self.assertEqual(self.client.status, 200)
        self.take('FolderSync 14.1: User-Agent is "two/1" and was "one/1" (no answer)')

    def testTheSameOnceIsEnough(self):
        for _ in range(3):
            self.client.ask("Search", self.SEARCH)
        self.assertEqual(len(self.server.violations()), 1)
        self.take()


class Newer(ServerTest):
    arguments = ("--versions", "14.1,16.1")

    def testANewerVersionsRequestPassesInThatVersionAlone(self):
        self.deliver("A")
        folder = self.ready("Inbox")
        self.client.sync_all(folder)
        key = self.client.keys[folder]
        change = Node("AirSync:Change", Node("AirSync:ServerId", "1"), Node("Email2:Send"), Node(
            "AirSync:ApplicationData", Node("Email2:Bcc", "bob@example.test")))
        sync = Node("AirSync:Sync", Node("AirSync:Collections", Node(
            "AirSync:Collection", Node("AirSync:SyncKey", key), Node("AirSync:CollectionId", folder),
            Node("AirSync:Commands", change))))
        for version, wrong in (("16.1", 0), ("14.1", 2)):
            self.client.version = version
            self.client.post("Sync", encode(sync))
            self.assertEqual(self.client.status, 200)
            self.assertEqual(len(self.server.violations()), wrong)


class Failing(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.place = Path(place.name)
        before = os.environ.get("EASSERVER_VIOLATIONS")
        os.environ["EASSERVER_VIOLATIONS"] = place.name
        self.addCleanup(self.restore, before)
        self.server = testing.ServerProcess()

    @staticmethod
    def restore(before):
        if before is None:
            del os.environ["EASSERVER_VIOLATIONS"]
        else:
            os.environ["EASSERVER_VIOLATIONS"] = before

    def break_a_rule(self):
        client = testing.Client(self.server)
        client.post("Unheard", b"")
        client.connection.close()

    def written(self):
        return {path.name: path.read_text() for path in self.place.iterdir()}

    def testItsEndSaysSo(self):
        self.break_a_rule()
        with self.assertRaises(AssertionError):
            self.server.stop()
        self.assertEqual(self.server.process.returncode, testing.VIOLATED)

    def testAKilledOneHasWrittenItDown(self):
        self.break_a_rule()
        self.server.process.kill()
        self.server.stop()
        self.assertEqual(self.written(), {f"{self.server.process.pid}": "Unheard 14.1: the table knows no Unheard (H501)\n"})

    def testWhatWasAskedForIsFine(self):
        self.break_a_rule()
        self.assertEqual(len(self.server.violations()), 1)
        self.assertEqual(self.server.stop(), 0)
        self.assertEqual(self.written(), {})


if __name__ == "__main__":
    sys.exit(testing.main())
