# SPDX-License-Identifier: LGPL-2.1-or-later
"""Every sample message, through the server and out of the foreign decoder."""

import email
import re
import sys

import testing
from testing import ServerTest, at, body_options, text


class Samples(ServerTest):
    def load(self, directory, pattern):
        """Item numbers by file name, and the folder's id."""
        loaded = self.server.control("load", directory=str(directory), pattern=pattern)
        self.client.folder_sync()
        return {item: name for name, item in loaded["ids"].items()}, loaded["folder"]

    def items(self, directory, pattern, kind):
        """ApplicationData by file name. What XML cannot show at all is left out."""
        names, folder = self.load(directory, pattern)
        options = body_options(kind, mime_support=2)
        return {names[item]: data for _, item, data in self.client.sync_all(folder, options=options, window=512)}

    def testEverySampleBecomesAnItem(self):
        found = self.items(testing.SAMPLES, "*.eml", 1)
        self.assertEqual(len(found), len(list(testing.SAMPLES.glob("*.eml"))))
        self.assertGreater(len(found), 90)
        for name, data in found.items():
            with self.subTest(name=name):
                self.assertEqual(text(data, "AirSyncBase:Body/Type"), "1")

    def testHtmlOfEverySample(self):
        for name, data in self.items(testing.SAMPLES, "*.eml", 2).items():
            with self.subTest(name=name):
                self.assertEqual(text(data, "AirSyncBase:Body/Type"), "2")

    def testSubjects(self):
        found = self.items(testing.SAMPLES, "*.eml", 1)
        for name, subject in (("charset-iso2022jp", "日本語の件名"), ("charset-koi8r", "Привет"),
                              ("charset-gb18030", "你好"), ("header-raw-latin1", "Rohe Grüße"),
                              ("header-raw-utf8", "Rohe Grüße im Betreff"), ("subject-missing", None),
                              ("subject-folded", "folded over three lines"), ("charset-windows1252", "“Quoted” €")):
            with self.subTest(name=name):
                self.assertEqual(text(found[f"{name}.eml"], "Email:Subject"), subject)
        self.assertEqual(len(text(found["subject-long.eml"], "Email:Subject").strip()), 4019)
        self.assertIn("\u202e", text(found["subject-rtl.eml"], "Email:Subject"))
        self.assertEqual(text(found["to-many.eml"], "Email:To").count("@"), 500)
        self.assertIsNone(text(found["from-missing.eml"], "Email:From"))

    def testTexts(self):
        found = self.items(testing.SAMPLES, "charset-*.eml", 1)
        for name, words in (("iso2022jp", "こんにちは、アリスさん。"), ("koi8r", "Съешь ещё"), ("windows1252", "10 €"),
                            ("wrong", "Zwölf Boxkämpfer"), ("wrong-ascii", "Zwölf Boxkämpfer"),
                            ("none-raw", "Zwölf Boxkämpfer"), ("unknown", "Grüße"), ("utf16", "Sylter Deich"),
                            ("utf8-base64", "עברית"), ("utf8-8bit", "😀")):
            with self.subTest(name=name):
                self.assertIn(words, text(found[f"charset-{name}.eml"], "AirSyncBase:Body/Data"))

    def testAttachmentNames(self):
        found = self.items(testing.SAMPLES, "attachment-*.eml", 1)
        def names(sample):
            return [text(a, "AirSyncBase:DisplayName") for a in at(found[f"attachment-{sample}.eml"],
                                                                   "AirSyncBase:Attachments/Attachment")]
        self.assertEqual(names("rfc2231"), ["Grüße €.txt"])
        self.assertEqual(names("rfc2231-continued"), ["a very long name with ü and plain end.txt"])
        self.assertEqual(names("rfc2047"), ["Grüße 😀.txt"])
        self.assertEqual(names("raw-name"), ["Übersicht für März.txt"])
        self.assertEqual(names("path-name")[0], "../../etc/passwd")
        self.assertEqual(len(names("long-name")[0]), 1000)
        self.assertEqual(len(names("many")), 20)
        self.assertEqual(names("no-name"), ["ATT00001.bin", "ATT00002.bin"])

    def testWholeMessagesAreExact(self):
        """Byte by byte, by our own decoder: the foreign one turns bytes that are no text into others."""
        import wbxml
        names, folder = self.load(testing.SAMPLES, "*.eml")
        key = text(self.client.sync_at(folder, "0"), "AirSync:SyncKey")
        xml = self.client.sync_xml(folder, key, options=body_options(4, mime_support=2), window=512)
        self.client.post("Sync", testing.foreign_encode(
            f'<Sync xmlns="AirSync:"><Collections>{xml}</Collections></Sync>'))
        root = wbxml.decode(self.client.body).find("AirSync:Collections/AirSync:Collection")
        found = {}
        for item in root.find("AirSync:Commands").nodes():
            data = item.find("AirSync:ApplicationData/AirSyncBase:Body/AirSyncBase:Data")
            found[names[item.value("AirSync:ServerId")]] = data.data() if data else b""
        expected = {path.name: path.read_bytes() for path in testing.SAMPLES.glob("*.eml")}
        self.assertEqual(sorted(found), sorted(expected))
        self.assertEqual([name for name in expected if found[name] != expected[name]], [])

    def testPythonsOwnMessagesBecomeItems(self):
        samples = testing.python_samples()
        if not samples:
            self.skipTest("the messages of Python's own tests are not installed (libpython3-testsuite)")
        found = self.items(samples[0].parent, "msg_*.txt", 1)
        self.assertEqual(len(found), len(samples))

    def testPartsAreFoundAsPythonFindsThem(self):
        """Our own way through a message by offsets, against Python's e-mail package."""
        import mimeparts
        differences = []
        for path in [*sorted(testing.SAMPLES.glob("*.eml")), *testing.python_samples()]:
            if path.stem in DIFFERENT_ON_PURPOSE:
                continue
            content = path.read_bytes()
            ours = [(leaf.type, squeezed(leaf.content())) for leaf in mimeparts.parse(content).leaves()]
            theirs = [(part.get_content_type(), squeezed(content_of(part))) for part in leaves(email.message_from_bytes(content))]
            if ours != theirs:
                differences.append(path.name)
        self.assertEqual(differences, [])


# Python undoes uuencode, leaves an epilogue out where there is no part, and keeps the parts of an empty
# boundary together.
DIFFERENT_ON_PURPOSE = ("attachment-uuencode", "body-empty-multipart", "msg_37", "msg_42")


def leaves(message):
    """Python's parts; a message within a message is one of them as a whole."""
    if message.get_content_maintype() == "multipart" and message.is_multipart():
        return [leaf for part in message.get_payload() for leaf in leaves(part)]
    return [message]


def content_of(part):
    if part.is_multipart():
        return b"\n".join(inner.as_bytes() for inner in part.get_payload())
    return part.get_payload(decode=True) or b""


def squeezed(content):
    return re.sub(rb"\s+", b"", content)


if __name__ == "__main__":
    sys.exit(testing.main())
