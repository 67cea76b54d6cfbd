# SPDX-License-Identifier: LGPL-2.1-or-later
"""Search at the server: what it brings is what IMAP SEARCH finds."""

import sys
from email.utils import formatdate

import cases
from cases import equal
from mails import made, plain

LONG_AGO = 1500000000


def html(mail):
    mail.set_content("<p>An <b>ocelot</b> in HTML.</p>\n", subtype="html")


class World:
    def __init__(self, chain):
        self.chain, self.witness = chain, chain.witness
        self.witness.create("Zoo")
        self.witness.create("Zoo/Cats")
        for n in range(3):
            chain.server.deliver("alice", plain(f"Plain {n}", f"Nothing of it in number {n}.\n"))
        chain.server.deliver("alice", plain("An aardvark in the subject"))
        chain.server.deliver("alice", plain("In the text", "Here is an aardvark, too.\n"))
        chain.server.deliver("alice", plain("Capital", "AARDVARK\n"))
        chain.server.deliver("alice", plain("A müsli in the subject", "Größenwahn.\n"))
        chain.server.deliver("alice", plain("Apostrophe", "It is the baker's dozen.\n"))
        chain.server.deliver("alice", plain("Sender", sender="Wombat <w@elsewhere.test>"))
        chain.server.deliver("alice", made("In HTML", html))
        self.witness.append("Zoo/Cats", plain("Elsewhere", "An aardvark among cats.\n"))
        self.robot = chain.synchronised()
        # Older mail than is kept here is found, too.
        chain.account_program("set", "Work", "--keep", "1")

    def found(self, text, **where):
        ids = self.robot.tell("search", text=text, **where)["found"]
        return {m["subject"] for m in self.robot.messages(ids=ids)} if ids else set()

    def at_server(self, text, *folders):
        return {subject for folder in folders for subject in self.witness.search(text, folder)}


def test_aWordInAllFolders(world):
    expected = world.at_server("aardvark", "INBOX", "Zoo/Cats")
    equal(len(expected), 4)
    equal(world.found("aardvark"), expected)


def test_aWordInOneFolder(world):
    equal(world.found("aardvark", folder="Zoo/Cats"), {"Elsewhere"})
    equal(world.found("aardvark", folder="INBOX"), world.at_server("aardvark", "INBOX"))


def test_wordsBeyondAscii(world):
    equal(world.found("müsli"), world.at_server("müsli", "INBOX"))
    equal(world.found("Größenwahn"), world.at_server("Größenwahn", "INBOX"))
    equal(world.found("müsli"), {"A müsli in the subject"})


def test_anApostropheFindsNoMoreThanItSays(world):
    equal(world.found("baker's"), {"Apostrophe"})
    equal(world.found("o'clock"), set())


def test_aSenderIsFound(world):
    equal(world.found("Wombat"), {"Sender"})


def test_aPhraseIsFound(world):
    equal(world.found("aardvark among cats"), {"Elsewhere"})


def test_wordsInHtmlAreFound(world):
    equal(world.found("ocelot"), {"In HTML"})


def test_whatIsNotThereIsNotFound(world):
    equal(world.found("quagga"), set())


def test_olderMailIsBroughtHere(world):
    """Mail from before what the account keeps comes with a search, once, and stays whole."""
    world.chain.server.deliver("alice", plain("Long ago", "A thylacine.\n", date=formatdate(LONG_AGO)),
                               received=LONG_AGO)
    world.robot.synchronize()
    assert world.robot.message("Long ago") is None
    equal(world.found("thylacine"), {"Long ago"})
    equal(world.found("thylacine"), {"Long ago"})
    message = world.robot.message("Long ago")
    equal(message["folder"], "INBOX")
    world.robot.tell("fetch", ids=[message["id"]])
    [whole] = world.robot.messages(ids=[message["id"]], content=True)
    equal(whole["text"].strip(), "A thylacine.")


if __name__ == "__main__":
    cases.run("Search", sys.modules[__name__], World)
