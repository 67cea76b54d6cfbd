# SPDX-License-Identifier: LGPL-2.1-or-later
"""Sending, reply and forward: what the other person receives, and what the sender keeps."""

import hashlib
import html
import random
import re
import sys

import cases
from cases import equal
from chain import PLACE
from mails import plain, with_files
from waiting import await_true

BYTES = random.Random(3).randbytes(150000)
FILES = [("report.bin", "application/octet-stream", BYTES),
         ("größe.bin", "application/octet-stream", BYTES[:777])]
TEXT = "Grüße aus Köln,\nеще одна строка.\n.\nFrom a line that begins so.\n"
WORDS = re.findall(r"\w+", TEXT)


class World:
    def __init__(self, chain):
        self.chain, self.witness = chain, chain.witness
        self.file = PLACE / "tmp/picture.bin"
        self.file.write_bytes(BYTES)
        sender = {"sender": "Bob Example <bob@example.test>"}
        chain.server.deliver("alice", plain("A question", "What is the answer?\n", **sender))
        chain.server.deliver("alice", with_files("The report", FILES, "See the report.\n", **sender))
        chain.server.deliver("alice", plain("From nowhere", sender="Nobody <nobody@example.test>"))
        self.robot = chain.synchronised()

    def send(self, subject, **more):
        return self.robot.send(subject=subject, text=TEXT, to=["bob@example.test"], **more)

    def received(self, subject, user="bob", folder="INBOX"):
        return await_true(f"{subject} for {user}",
                          lambda: self.witness.message(subject, folder, user, content=True), 10)


def lines(text):
    return text.replace("\r\n", "\n").rstrip().split("\n")


def text_of(seen):
    return lines(seen.mail.get_body(("plain",)).get_content())


def says(seen):
    """Its words, whatever the form: the server makes HTML of what it quotes below."""
    part = seen.mail.get_body(("plain", "html"))
    return re.findall(r"\w+", html.unescape(re.sub(r"<[^>]*>", " ", part.get_content())))


def attached(seen):
    """The files in it, or in a message that is in it."""
    found = {part.get_filename(): part.get_payload(decode=True) for part in seen.mail.walk()}
    return {name: hashlib.sha256(data).hexdigest() for name, data in found.items()
            if name and data is not None}


def digests(files):
    return {name: hashlib.sha256(data).hexdigest() for name, _, data in files}


def test_aMessageArrivesOnceWithItsAttachment(world):
    answer = world.send("Grüße, 世界", files=[str(world.file)], cc=["Alice Example <alice@example.test>"])
    assert answer["ok"], answer
    there = world.received("Grüße, 世界")
    equal(text_of(there), lines(TEXT))
    equal(attached(there), {"picture.bin": hashlib.sha256(BYTES).hexdigest()})
    equal([a.addr_spec for a in there.mail["From"].addresses], ["alice@example.test"])
    equal([a.addr_spec for a in there.mail["To"].addresses], ["bob@example.test"])
    equal([a.addr_spec for a in there.mail["Cc"].addresses], ["alice@example.test"])
    assert there.mail["Date"] and there.mail["Message-ID"]
    world.received("Grüße, 世界", "alice")
    world.received("Grüße, 世界", "alice", "Sent")


def test_theSenderHasItAmongTheSentOnes(world):
    world.robot.refresh()
    sent = [m for m in world.robot.messages(folder="Sent") if m["subject"] == "Grüße, 世界"]
    equal(len(sent), 1, "in the folder of sent messages")
    equal([m["subject"] for m in world.robot.messages() if m["outbox"]], [])
    equal(len([m for m in world.robot.messages(folder="Drafts")]), 0, "drafts")


def test_blindCopiesStayBlind(world):
    answer = world.robot.send(subject="Blind", text=TEXT, to=["alice@example.test"],
                              bcc=["bob@example.test"])
    assert answer["ok"], answer
    for user in ("alice", "bob"):
        assert b"bob@" not in world.received("Blind", user).raw.lower(), user


def test_aReplyIsOne(world):
    original = world.robot.message("A question")
    answer = world.send("Re: A question", original=original["id"], response="reply")
    assert answer["ok"], answer
    there = world.received("Re: A question")
    asked = world.witness.message("A question")
    assert asked.mail["Message-ID"] in there.mail["References"], there.mail["References"]
    equal(there.mail["In-Reply-To"], asked.mail["Message-ID"])
    equal(says(there)[:len(WORDS)], WORDS)
    assert "\\Answered" in asked.flags, asked.flags


def test_aReplyAddsNothing(world):
    there = world.received("Re: A question")
    equal(says(there), WORDS)
    assert b"What is the answer?" not in there.raw


def test_aForwardAddsNothing(world):
    original = world.robot.message("The report")
    answer = world.send("Fwd: The report", original=original["id"], response="forward")
    assert answer["ok"], answer
    there = world.received("Fwd: The report")
    equal(says(there), WORDS)
    equal(attached(there), {})
    if world.chain.ways.marks_forwarded:
        assert "$Forwarded" in world.witness.message("The report").flags


def test_aForwardOfAnotherSubjectMarksNothing(world):
    original = world.robot.message("A question")
    answer = world.send("Fwd: A quest", original=original["id"], response="forward")
    assert answer["ok"], answer
    equal(says(world.received("Fwd: A quest")), WORDS)
    assert "$Forwarded" not in world.witness.message("A question").flags


def test_aNamedOriginalCarriesItsAttachments(world):
    """They are not here: nobody has downloaded them."""
    original = world.robot.message("The report")
    assert not original["complete"]
    answer = world.send("Fwd: The report, named", original=original["id"], response="forward",
                        passOn="named", files=[str(world.file)])
    assert answer["ok"], answer
    there = world.received("Fwd: The report, named")
    picture = hashlib.sha256(BYTES).hexdigest()
    equal(attached(there), {**digests(FILES), "picture.bin": picture})
    equal(says(there)[:len(WORDS)], WORDS)
    assert not world.robot.message("The report")["complete"]


def test_anEmbeddedOriginalHasItsAttachments(world):
    """Nor were they here when it was put into the message."""
    original = world.robot.message("The report")
    assert not original["complete"]
    answer = world.send("Fwd: The report, embedded", original=original["id"], response="forward",
                        passOn="embedded")
    assert answer["ok"], answer
    there = world.received("Fwd: The report, embedded")
    inner = [part for part in there.mail.iter_attachments()
             if part.get_content_type() == "message/rfc822"]
    equal(len(inner), 1, "embedded messages")
    passed = inner[0].get_content()
    equal({part.get_filename(): hashlib.sha256(part.get_payload(decode=True)).hexdigest()
           for part in passed.iter_attachments()}, digests(FILES))


def test_whatCannotBeDeliveredStaysInTheOutbox(world):
    answer = world.robot.send(subject="To nobody", text=TEXT, to=["nobody@example.test"])
    assert not answer["ok"], answer
    left = [m for m in world.robot.messages() if m["subject"] == "To nobody"]
    equal([m["outbox"] for m in left], [True])
    assert world.witness.message("To nobody", user="bob") is None
    # It holds up nothing else.
    world.robot.send(subject="To somebody", text=TEXT, to=["bob@example.test"])
    world.received("To somebody")
    world.robot.tell("remove", ids=[m["id"] for m in left], forGood=True)


def test_aReplyThatCannotBeDeliveredIsRefusedAsAnythingElse(world):
    plainly = refused(world, "To nobody again")
    original = world.robot.message("From nowhere")
    reply = refused(world, "Re: From nowhere", original=original["id"], response="reply")
    equal(reply["code"], plainly["code"], "the reason")


def refused(world, subject, **more):
    """The end of a sending to nobody, which stays in the outbox, and is then taken out of it."""
    answer = world.robot.send(subject=subject, text=TEXT, to=["nobody@example.test"], **more)
    assert not answer["ok"], answer
    left = [m for m in world.robot.messages() if m["outbox"]]
    equal([m["subject"] for m in left], [subject])
    world.robot.tell("remove", ids=[m["id"] for m in left], forGood=True)
    return answer


def test_everythingArrivedExactlyOnce(world):
    subjects = [m.subject for m in world.witness.messages(user="bob")]
    equal(len(subjects), len(set(subjects)), subjects)


if __name__ == "__main__":
    cases.run("Sending", sys.modules[__name__], World)
