# SPDX-License-Identifier: LGPL-2.1-or-later
"""The server's codec against the foreign one."""

import base64
import random
import sys
import unittest

import testing
import wbxml
from codepages import NAMES, NEWER, TOKENS
from wbxml import Node

# Where libwbxml's names are not those of the protocol's documents, or opaque means base64.
FOREIGN_NAMES = {"Email:Status": "FlagStatus", "Email:Att0Id": "AttOId",
                 "Tasks:UtcDueDate": "UTCDueDate", "Tasks:UtcStartDate": "UTCStartDate",
                 "Settings:RightsManagementInformation": "ihsManagementInformation"}
FOREIGN_RECURRENCE = range(0x29, 0x31)


def foreign_name(tag):
    namespace, _, name = tag.partition(":")
    namespace = "Gal" if namespace == "GAL" else namespace
    if namespace == "Email" and TOKENS[tag][1] in FOREIGN_RECURRENCE:
        name = "Recurrence_" + name
    return f"{{{namespace}:}}{FOREIGN_NAMES.get(tag, name)}"


def is_known_there(tag):
    """All but the policy settings, which have other names, and one tag."""
    page, token = TOKENS[tag]
    return not (page == 14 and token >= 0x0E) and tag != "Search:Stores"


class Codec(unittest.TestCase):
    def testEveryTagIsWhatTheForeignDecoderSays(self):
        tags = sorted(set(TOKENS) - NEWER)
        self.assertEqual(len(tags), 395)
        data = wbxml.encode(Node("AirSync:Sync", *[Node(tag) for tag in tags]))
        found = [element.tag for element in testing.foreign_decode(data)]
        differences = [(tag, name) for tag, name in zip(tags, found, strict=True)
                       if is_known_there(tag) and name != foreign_name(tag)]
        self.assertEqual(differences, [])

    def testNoTwoTagsShareAToken(self):
        self.assertEqual(len(NAMES), len(TOKENS))
        self.assertEqual((len(NEWER), TOKENS["Find:Picture"], TOKENS["AirSyncBase:InstanceId"]), (51, (25, 0x22), (17, 0x2D)))

    def testForeignEncoderIsUnderstood(self):
        data = testing.foreign_encode(
            '<Sync xmlns="AirSync:"><Collections><Collection><SyncKey>a &amp; \u00fc &#13;\n</SyncKey>'
            '<Options><BodyPreference xmlns="AirSyncBase:"><Type>1</Type></BodyPreference></Options>'
            "<GetChanges/></Collection></Collections></Sync>")
        expected = Node("AirSync:Sync", Node("AirSync:Collections", Node(
            "AirSync:Collection", Node("AirSync:SyncKey", "a & \u00fc \r\n"),
            Node("AirSync:Options", Node("AirSyncBase:BodyPreference", Node("AirSyncBase:Type", "1"))),
            Node("AirSync:GetChanges"))))
        self.assertEqual(wbxml.decode(data).xml(), expected.xml())

    def testOpaqueIsExact(self):
        mime = bytes(range(256)) * 3
        data = testing.foreign_encode('<SendMail xmlns="ComposeMail:"><MIME>'
                                      + base64.b64encode(mime).decode() + "</MIME></SendMail>")
        self.assertEqual(wbxml.decode(data).find("ComposeMail:MIME").data(), mime)
        back = testing.foreign_decode(wbxml.encode(Node("ComposeMail:SendMail", Node("ComposeMail:MIME", mime))))
        self.assertEqual(base64.b64decode(testing.text(back, "ComposeMail:MIME")), mime)

    def testStreamIsWrittenAsTheSameTextAtOnce(self):
        stream = wbxml.Stream(6, lambda: iter((b"abc", b"def")))
        parts = wbxml.encode_parts(Node("ItemOperations:Data", stream))
        self.assertEqual(wbxml.encode(Node("ItemOperations:Data", "abcdef")),
                         b"".join(p if isinstance(p, bytes) else b"".join(p) for p in parts))

    def testFragmentsKeepTheCodePage(self):
        inner = wbxml.fragment([Node("Email:Subject", "s"), Node("AirSyncBase:Body")], 0)
        nested = Node("AirSync:Add", inner, inner, Node("AirSync:ServerId", "1"))
        plain = [Node("Email:Subject", "s"), Node("AirSyncBase:Body")] * 2
        self.assertEqual(wbxml.decode(wbxml.encode(nested)),
                         Node("AirSync:Add", *plain, Node("AirSync:ServerId", "1")))

    def testEveryCutIsRefused(self):
        whole = wbxml.encode(Node("AirSync:Sync", Node("AirSync:SyncKey", "1"),
                                  Node("ComposeMail:MIME", b"opaque"), Node("Email:Subject")))
        wbxml.decode(whole)
        for length in range(len(whole)):
            with self.assertRaises(wbxml.WbxmlError):
                wbxml.decode(whole[:length])

    def testNoiseIsRefusedOrReadButNeverHurts(self):
        noise = random.Random(5)
        for _ in range(3000):
            data = wbxml.HEADER + noise.randbytes(noise.randrange(60))
            try:
                wbxml.decode(data)
            except wbxml.WbxmlError:
                pass

    def testDepthAndLengthAreBounded(self):
        for data in (wbxml.HEADER + b"\x45" * 10000, wbxml.HEADER + b"\x45\xc3\x8f\xff\xff\xff\x7fabc"):
            with self.assertRaises(wbxml.WbxmlError):
                wbxml.decode(data)


if __name__ == "__main__":
    sys.exit(testing.main())
