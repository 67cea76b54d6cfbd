# SPDX-License-Identifier: LGPL-2.1-or-later
"""Messages that we did not write: those of Python's own e-mail tests, from its Debian package. Whatever
the server takes must arrive, and as the server has it."""

import email
import email.errors
import email.header
import hashlib
import re
import sys
import sysconfig
from pathlib import Path

import cases
from cases import Skip, equal
from mails import from_html

SOURCES = Path(sysconfig.get_path("stdlib"), "test/test_email/data")


class World:
    def __init__(self, chain):
        self.chain = chain
        self.files = sorted(SOURCES.glob("msg_*.txt"))
        if not self.files:
            return
        # Each in a folder of its own: many have the same subject, or none.
        chain.witness.create("Set")
        self.there = {}
        for path in self.files:
            folder = f"Set/{path.stem}"
            chain.witness.create(folder)
            chain.witness.append(folder, path.read_bytes())
            found = chain.witness.messages(folder, content=True)
            if found:
                self.there[folder] = found[0]
        self.robot = chain.synchronised()
        self.here = {m["folder"]: m for m in self.robot.messages(content=True)}


def differences(world, compare):
    said = []
    for folder, there in world.there.items():
        here = world.here.get(folder)
        difference = here and compare(here, there)
        if difference:
            said.append(f"{folder}: {difference}")
    assert not said, f"{len(said)} differ\n" + "\n".join(said)


def need(world):
    if not world.files:
        raise Skip(f"there are no messages in {SOURCES}")


def test_everyMessageArrives(world):
    need(world)
    assert len(world.there) >= 30, len(world.there)
    unread = {f"Set/{name}" for name in world.chain.ways.cannot_read}
    equal(sorted(f for f in world.here if f.startswith("Set/")), sorted(set(world.there) - unread))


def test_theirSubjectsAreTheSame(world):
    need(world)

    def compare(here, there):
        told = " ".join(str(email.header.make_header(email.header.decode_header(
            there.mail["Subject"] or ""))).split())
        if " ".join(here["subject"].split()) != told:
            return f"{here['subject']!r}, at the server {told!r}"
    differences(world, compare)


def test_wholeMessagesCome(world):
    """Each is fetched whole; what the server cannot give is a failure that is told, and no hang."""
    need(world)
    failed = []
    for folder, message in world.here.items():
        if folder.startswith("Set/") and not message["complete"]:
            answer = world.robot.ask("fetch", ids=[message["id"]])
            if not answer["ok"]:
                failed.append((folder, answer["code"], answer["text"]))
    equal(failed, [])
    world.here = {m["folder"]: m for m in world.robot.messages(content=True)}
    equal([f for f, m in world.here.items() if f.startswith("Set/") and not m["complete"]], [])


def digest(data):
    return hashlib.sha256(data).hexdigest()


def test_attachmentsAreTheSameBytes(world):
    need(world)

    def compare(here, there):
        # QMF lists no signature among the attachments.
        wanted = {digest(part.get_payload(decode=True)) for part in there.mail.walk()
                  if part.get_content_disposition() == "attachment" and not part.is_multipart()
                  and part.get_content_type() != "application/pgp-signature"}
        found = {attachment.get("sha256") for attachment in here["attachments"]}
        if not wanted <= found:
            return f"attachments {found}, at the server {wanted}"
    differences(world, compare)


def words(text):
    return re.findall(r"\w+", text)


def test_theirTextsAreTheSame(world):
    need(world)

    def compare(here, there):
        body = there.mail.get_body(("plain",))
        if any(isinstance(d, email.errors.MissingHeaderBodySeparatorDefect) for d in there.mail.defects):
            return None  # where the header ends is anybody's guess
        if here["folder"].removeprefix("Set/") in world.chain.ways.cannot_read_texts:
            return None
        if body is None or there.mail.get_body(("html",)) is not None:
            return None
        try:
            text = body.get_content()
        except (LookupError, KeyError):
            return None  # not even the witness can read it
        found = here["text"]
        if not found and world.chain.ways.texts_as_html:
            found = from_html(here["html"])
        if words(found) != words(text):
            return f"{found[:200]!r}, at the server {text[:200]!r}"
    differences(world, compare)


if __name__ == "__main__":
    cases.run("Collection", sys.modules[__name__], World)
