# SPDX-License-Identifier: LGPL-2.1-or-later
"""The first synchronisation of a thousand messages, compared one by one with what IMAP has."""

import datetime
import email.utils
import hashlib
import sys

import cases
from cases import equal
from mails import Maker, from_html

COUNT = 1000
SEED = 20


class World:
    def __init__(self, chain):
        self.chain = chain
        maker = Maker(SEED)
        for number in range(COUNT):
            _, content, when = maker.make(number)
            flags = ("F" if number % 11 == 0 else "") + ("S" if number % 7 == 0 else "")
            chain.server.deliver("alice", content, when, flags)
        self.robot = chain.synchronised()
        self.there = {m.subject: m for m in chain.witness.messages(content=True)}
        self.here = {m["subject"]: m for m in self.robot.messages(folder="INBOX", content=True)}


def differences(world, compare):
    """What compare(here, there) says of all messages that are in both; at most five of it."""
    said = []
    for subject, there in world.there.items():
        here = world.here.get(subject)
        difference = here and compare(here, there)
        if difference:
            said.append(f"{subject}: {difference}")
    assert not said, f"{len(said)} differ\n" + "\n".join(said[:5])


def unlike(name, here, there):
    return None if here == there else f"{name} is {here!r}, at the server {there!r}"


def test_everyMessageArrivesOnce(world):
    equal(len(world.there), COUNT, "at the server")
    equal(len(world.robot.messages(folder="INBOX")), COUNT, "in the store")
    equal(sorted(world.here), sorted(world.there))


def test_addressesAreTheSame(world):
    def pairs(mail, name):
        header = mail[name]
        return [[a.display_name, a.addr_spec] for a in header.addresses] if header else []

    ways = world.chain.ways

    def named(pairs):
        """Who has no name has the address as one here."""
        return [["" if name == address else name, address] for name, address in pairs]

    def recipients(pairs):
        return pairs if ways.names_recipients else [["", address] for _, address in pairs]

    def compare(here, there):
        return (unlike("from", named([here["from"]]), pairs(there.mail, "From"))
                or unlike("to", named(here["to"]), recipients(pairs(there.mail, "To")))
                or unlike("cc", named(here["cc"]), pairs(there.mail, "Cc")))
    differences(world, compare)


def test_datesAreTheSame(world):
    def compare(here, there):
        when = email.utils.parsedate_to_datetime(there.mail["Date"])
        text = when.astimezone(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
        return unlike("date", here["date"], text) or unlike("received", here["received"], text)
    differences(world, compare)


def test_flagsAreTheSame(world):
    differences(world, lambda here, there: unlike("read", here["read"], there.is_read)
                or unlike("important", here["important"], there.is_flagged))


def lines(text):
    """Without what a transport may change: line ends, and white space at the ends of lines."""
    return [line.rstrip() for line in text.replace("\r\n", "\n").rstrip().split("\n")]


def words_in_lines(text):
    """What a text says whatever became of its white space."""
    return [line.split() for line in lines(text)]


def body(mail, kind):
    part = mail.get_body((kind,))
    return part.get_content() if part else None


def test_textsAreTheSame(world):
    def compare(here, there):
        text, html = body(there.mail, "plain"), body(there.mail, "html")
        if text is not None and html is None:
            if world.chain.ways.texts_as_html:
                return unlike("text", words_in_lines(from_html(here["html"])), words_in_lines(text))
            return unlike("text", lines(here["text"]), lines(text))
        return unlike("HTML", lines(here["html"]), lines(html))
    differences(world, compare)


def digest(data):
    return hashlib.sha256(data).hexdigest()


def attached(mail):
    return [(part.get_filename(), digest(part.get_payload(decode=True)))
            for part in mail.iter_attachments()]


def test_attachmentsAreNamed(world):
    differences(world, lambda here, there: unlike(
        "names", [a["name"] for a in here["attachments"]], [name for name, _ in attached(there.mail)])
        or unlike("the sign", here["hasAttachments"], bool(attached(there.mail))))


def test_attachmentsDecodeToTheSame(world):
    """Every tenth message with attachments: downloaded part by part, and compared by digest."""
    some = [m for m in world.here.values() if m["attachments"]][::10]
    assert len(some) >= 20, len(some)
    for message in some:
        for attachment in message["attachments"]:
            if not attachment["here"]:
                world.robot.tell("part", location=attachment["location"])
        [now] = world.robot.messages(ids=[message["id"]], content=True)
        equal([(a["name"], a.get("sha256")) for a in now["attachments"]],
              attached(world.there[message["subject"]].mail), message["subject"])


def test_aSecondSynchronisationChangesNothing(world):
    requests = world.chain.server.messages_sent()
    world.robot.synchronize()
    equal(world.chain.server.messages_sent(), requests, "messages sent again")
    now = {m["subject"]: m for m in world.robot.messages(folder="INBOX")}
    equal(sorted(now), sorted(world.there))


if __name__ == "__main__":
    cases.run("FirstSync", sys.modules[__name__], World)
