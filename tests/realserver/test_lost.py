# SPDX-License-Identifier: LGPL-2.1-or-later
"""Answers that get lost on their way: what they told of is done once, here as there."""

import sys

import cases
from cases import equal
from mails import plain
from waiting import await_true

TEXT = "The only copy.\n"
TO_BOB = ["bob@example.test"]


class World:
    def __init__(self, chain):
        self.chain, self.witness = chain, chain.witness
        self.tap = chain.tapped()
        for subject in ("To be replied to", "To be forwarded", "To be flagged", "To be moved"):
            chain.server.deliver("alice", plain(subject, sender="Bob Example <bob@example.test>"))
        self.witness.create("Archive")
        self.robot = chain.synchronised()

    def id_of(self, subject):
        return self.robot.message(subject, folder="INBOX")["id"]

    def for_bob(self, subject):
        return [m for m in self.witness.messages(user="bob") if m.subject == subject]

    def check_sent_once(self, subject):
        """However it ended: the other side has it once, and nothing goes out behind the person's back."""
        await_true("loss of an answer", self.tap.lost)
        await_true(f"{subject} for bob", lambda: self.for_bob(subject))
        self.robot.synchronize()
        self.robot.export()
        equal(len(self.for_bob(subject)), 1, f"{subject} for bob")


def test_aMessageIsSentOnce(world):
    world.tap.lose_answer("SendMail")
    world.robot.send(subject="Lost: a message", text=TEXT, to=TO_BOB)
    world.check_sent_once("Lost: a message")


def test_aReplyIsSentOnce(world):
    world.tap.lose_answer("SmartReply")
    world.robot.send(subject="Re: To be replied to", text=TEXT, to=TO_BOB,
                     original=world.id_of("To be replied to"), response="reply")
    world.check_sent_once("Re: To be replied to")


def test_aForwardIsSentOnce(world):
    world.tap.lose_answer("SmartForward")
    world.robot.send(subject="Fwd: To be forwarded", text=TEXT, to=TO_BOB,
                     original=world.id_of("To be forwarded"), response="forward")
    world.check_sent_once("Fwd: To be forwarded")


def test_newMailArrivesOnce(world):
    world.chain.server.deliver("alice", plain("Lost: new mail"))
    world.tap.lose_answer("Sync")
    world.robot.ask("refresh", folder="INBOX")
    await_true("loss of an answer", world.tap.lost)
    world.robot.refresh()
    assert world.robot.message("Lost: new mail"), "it did not come"


def test_aFlagIsSetOnce(world):
    world.robot.tell("flag", ids=[world.id_of("To be flagged")], set=["important"])
    world.tap.lose_answer("Sync")
    world.robot.ask("refresh", folder="INBOX")
    await_true("loss of an answer", world.tap.lost)
    world.robot.refresh()
    assert world.witness.message("To be flagged").is_flagged
    assert world.robot.message("To be flagged")["important"]


def test_aMessageIsMovedOnce(world):
    world.robot.tell("move", ids=[world.id_of("To be moved")], target="Archive")
    world.tap.lose_answer("MoveItems")
    world.robot.ask("refresh")
    await_true("loss of an answer", world.tap.lost)
    world.robot.refresh()
    assert world.witness.message("To be moved", "Archive")
    assert world.witness.message("To be moved") is None
    await_true("it in its new folder",
               lambda: world.robot.message("To be moved")["folder"] == "Archive")


def test_aNewFolderAppears(world):
    """Some servers take what they told once for known, whatever key is sent next."""
    kept = {m["subject"]: m["id"] for m in world.robot.messages()}
    world.witness.create("Told in vain")
    world.witness.append("Told in vain", plain("In the new folder"))
    world.tap.lose_answer("FolderSync", times=2)  # that of the question, and of its repetition at once
    assert not world.robot.ask("folderList")["ok"], "the answer was heard"
    await_true("loss of two answers", world.tap.lost)
    world.robot.refresh()
    equal(world.robot.message("In the new folder")["folder"], "Told in vain")
    equal({m["subject"]: m["id"] for m in world.robot.messages() if m["subject"] in kept}, kept)


def test_aNewFolderAppearsThoughTheRepetitionIsHeard(world):
    world.witness.create("Told again")
    world.tap.lose_answer("FolderSync")
    world.robot.tell("folderList")
    await_true("loss of an answer", world.tap.lost)
    assert "Told again" in world.robot.folders(), sorted(world.robot.folders())



if __name__ == "__main__":
    cases.run("Lost", sys.modules[__name__], World)
