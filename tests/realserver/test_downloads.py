# SPDX-License-Identifier: LGPL-2.1-or-later
"""Whole messages and single attachments, brought when they are asked for."""

import hashlib
import random
import sys

import cases
from cases import equal
from mails import made, with_files

BYTES = random.Random(7).randbytes(300000)
LATIN = "Crème brûlée – no, that dash is not Latin.\n".replace("–", "-").encode("iso-8859-1")
UTF8 = "Grüße, данные, 会議\n".encode()
FILES = [("data.bin", "application/octet-stream", BYTES),
         ("größe & mehr.dat", "application/octet-stream", b"\x00\x01\x02\xff" * 500),
         ("one byte", "application/octet-stream", b"\x00"),
         ("notes.csv", "application/csv", UTF8)]


def typed_texts(mail):
    mail.set_content("See the texts.\n")
    mail.add_attachment(LATIN, maintype="text", subtype="plain", filename="latin.txt",
                        params={"charset": "iso-8859-1"})
    mail.add_attachment(UTF8, maintype="text", subtype="plain", filename="utf8.txt",
                        params={"charset": "utf-8"})
    mail.add_attachment(b"a;b\r\n1;2\r\n", maintype="text", subtype="csv", filename="table.csv")


def inline(mail):
    mail.set_content("A picture.\n")
    mail.add_alternative('<p>A picture: <img src="cid:pic1@elsewhere.test"></p>\n', subtype="html")
    mail.get_payload()[1].add_related(BYTES[:3000], "image", "png", cid="<pic1@elsewhere.test>",
                                      filename="pic.png")


def long_text(mail):
    mail.set_content("".join(f"Line {n}, with Grüße.\n" for n in range(20000)))


class World:
    def __init__(self, chain):
        self.chain, self.witness = chain, chain.witness
        deliver = lambda content: chain.server.deliver("alice", content)  # noqa: E731
        deliver(with_files("Files", FILES))
        deliver(with_files("For the whole", FILES[:2]))
        deliver(with_files("Nothing in it", [("empty.dat", "application/octet-stream", b""),
                                             ("full.dat", "application/octet-stream", b"full")]))
        deliver(made("Texts", typed_texts))
        deliver(made("Inline", inline))
        deliver(made("Long", long_text))
        deliver(with_files("Moves", FILES[:1]))
        self.witness.create("Elsewhere")
        self.robot = chain.synchronised()

    def message(self, subject):
        [found] = [m for m in self.robot.messages(content=True) if m["subject"] == subject]
        return found

    def download(self, subject):
        """Every attachment, one by one; (name, digest) of each then."""
        for attachment in self.message(subject)["attachments"]:
            if not attachment["here"]:
                self.robot.tell("part", location=attachment["location"])
        return self.digests(subject)

    def digests(self, subject):
        return [(a["name"], a.get("sha256")) for a in self.message(subject)["attachments"]]


def expected(files):
    return [(name, hashlib.sha256(data).hexdigest()) for name, _, data in files]


def test_attachmentsAreTheSameBytes(world):
    equal([a["here"] for a in world.message("Files")["attachments"]], [False] * len(FILES))
    equal(world.download("Files"), expected(FILES))


def test_aWholeMessageBringsThemAll(world):
    message = world.message("For the whole")
    assert not message["complete"]
    world.robot.tell("fetch", ids=[message["id"]])
    assert world.message("For the whole")["complete"]
    equal(world.digests("For the whole"), expected(FILES[:2]))


def test_anEmptyAttachmentIsNoMissingOne(world):
    """QMF takes no content for content that is not here; what counts is that asking is no failure."""
    world.download("Nothing in it")
    equal(world.digests("Nothing in it")[1:], expected([("full.dat", "", b"full")]))
    world.robot.tell("fetch", ids=[world.message("Nothing in it")["id"]])
    assert world.message("Nothing in it")["complete"]


def test_attachedTextsAreTheSameBytes(world):
    """Texts in other charsets than UTF-8 too: nobody converts a file."""
    there = world.witness.message("Texts", content=True)
    same = [(p.get_filename(), hashlib.sha256(p.get_payload(decode=True)).hexdigest())
            for p in there.mail.iter_attachments()]
    equal(world.download("Texts"), same)


def test_anInlinePictureIsTheSame(world):
    message = world.message("Inline")
    assert "cid:pic1@elsewhere.test" in message["html"], message["html"]
    world.robot.tell("fetch", ids=[message["id"]])
    digests = {d for _, d in world.digests("Inline")}
    assert hashlib.sha256(BYTES[:3000]).hexdigest() in digests or world.message("Inline")["complete"]


def test_aLongTextComesWhole(world):
    message = world.message("Long")
    world.robot.tell("fetch", ids=[message["id"]])
    whole = world.message("Long")
    assert whole["complete"]
    equal(whole["text"].replace("\r\n", "\n").strip().split("\n"),
          [f"Line {n}, with Grüße." for n in range(20000)])


def test_anAttachmentOfAMovedMessageIsFound(world):
    world.robot.tell("move", ids=[world.message("Moves")["id"]], target="Elsewhere")
    world.robot.refresh()
    equal(world.download("Moves"), expected(FILES[:1]))


def test_anAttachmentOfARenamedFolderIsFound(world):
    """A server may call attachments by the folder's name."""
    world.witness.append("Elsewhere", with_files("Renamed", FILES[:2]))
    world.robot.refresh()
    world.witness.rename("Elsewhere", "Anderswo")
    if not world.chain.ways.knows_renamed_folders:
        world.robot.refresh()
    equal(world.download("Renamed"), expected(FILES[:2]))


def test_whatIsGoneAtTheServerIsSaidToBeGone(world):
    world.chain.server.deliver("alice", with_files("Gone soon", FILES[:1]))
    world.robot.refresh()
    message = world.message("Gone soon")
    world.witness.remove("Gone soon")
    answer = world.robot.ask("part", location=message["attachments"][0]["location"])
    assert not answer["ok"], answer
    answer = world.robot.ask("fetch", ids=[message["id"]])
    assert not answer["ok"], answer


if __name__ == "__main__":
    cases.run("Downloads", sys.modules[__name__], World)
