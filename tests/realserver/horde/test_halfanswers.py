# SPDX-License-Identifier: LGPL-2.1-or-later
"""What a groupware does to us that ends in the middle of an answer: HTTP 200, half a document, and a page
of HTML behind it. It does so for ever where the same is asked again."""

import hashlib
import random
import sys

import cases
from cases import equal
from mails import plain, with_files
from waiting import await_true

BYTES = random.Random(11).randbytes(20000)


class World:
    def __init__(self, chain):
        self.chain, self.witness, self.server = chain, chain.witness, chain.server
        self.tap = chain.tapped()
        for folder in ("To be deleted", "Stays", "Elsewhere"):
            self.witness.create(folder)
        for number in range(5):
            self.server.deliver("alice", plain(f"Message {number}"))
        self.server.deliver("alice", with_files("Moves", [("data.bin", "application/octet-stream", BYTES)]))
        self.server.deliver("alice", with_files("Goes", [("data.bin", "application/octet-stream", BYTES)]))
        self.robot = chain.synchronised()

    def half_answers(self, command):
        return [s for s in self.tap.seen if s[0] == command and s[2] == 200 and s[3].count(b"<html")]

    def ids(self):
        return {m["subject"]: m["id"] for m in self.robot.messages(folder="INBOX")}


def test_aFolderThatIsGoneHoldsUpNoMail(world):
    """Its FolderSync that only deletes never ends well."""
    world.witness.delete_folder("To be deleted")
    world.server.deliver("alice", plain("After the deletion"))
    world.robot.try_to_synchronize()
    assert world.half_answers("FolderSync"), "the server has got well"
    await_true("new mail", lambda: world.robot.message("After the deletion"))


def test_anotherNewFolderMendsIt(world):
    world.witness.create("New")
    world.robot.refresh()
    folders = world.robot.folders()
    assert "New" in folders and "To be deleted" not in folders, sorted(folders)


def test_aFolderWhoseAnswerWasLostGetsWell(world):
    """It answers the key before with half a document, however often."""
    before = world.ids()
    world.server.deliver("alice", plain("Lost"))
    world.tap.lose_answer("Sync")
    world.robot.ask("refresh", folder="INBOX")
    await_true("loss of an answer", world.tap.lost)

    def arrives():
        world.robot.ask("refresh", folder="INBOX")
        return world.robot.message("Lost")
    await_true("the lost message", arrives, 60, 0.5)
    assert world.half_answers("Sync"), "the server has got well"
    after = world.ids()
    equal({subject: after.get(subject) for subject in before}, before, "what was here before")


def test_anAttachmentOfAMovedMessageIsFound(world):
    """It is called by the folder in which it was, and asked for that, the server breaks off."""
    message = world.robot.message("Moves")
    [attachment] = world.robot.messages(ids=[message["id"]], content=True)[0]["attachments"]
    world.robot.tell("move", ids=[message["id"]], target="Elsewhere")
    world.robot.ask("exportUpdates")
    assert world.witness.message("Moves", "Elsewhere"), "it was not moved"
    answer = world.robot.ask("part", location=attachment["location"])
    assert answer["ok"], answer
    [now] = [m for m in world.robot.messages(content=True) if m["subject"] == "Moves"]
    equal([a.get("sha256") for a in now["attachments"]], [hashlib.sha256(BYTES).hexdigest()])


def test_anAttachmentThatIsGoneIsSaidToBeGone(world):
    message = world.robot.message("Goes")
    [attachment] = world.robot.messages(ids=[message["id"]], content=True)[0]["attachments"]
    world.witness.remove("Goes")
    answer = world.robot.ask("part", location=attachment["location"])
    assert not answer["ok"], answer
    assert world.half_answers("ItemOperations"), "the server has got well"


def test_whatIsHereStays(world):
    assert {f"Message {number}" for number in range(5)} <= set(world.ids())
    world.server.deliver("alice", plain("At the end"))
    world.robot.refresh()
    assert world.robot.message("At the end")


if __name__ == "__main__":
    cases.run("HalfAnswers", sys.modules[__name__], World, repaired=False)
