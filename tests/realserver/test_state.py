# SPDX-License-Identifier: LGPL-2.1-or-later
"""What both sides know of each other gets lost: folders are reconciled, and nothing doubles or goes."""

import sqlite3
import sys
from pathlib import Path

import cases
from cases import equal
from mails import plain
from stage import DAEMON

COUNT = 40


class World:
    def __init__(self, chain):
        self.chain, self.witness = chain, chain.witness
        self.witness.create("Other")
        for number in range(COUNT):
            chain.server.deliver("alice", plain(f"Message {number}"))
        self.witness.append("Other", plain("In another folder"))
        self.robot = chain.synchronised()
        self.before = self.ids()

    def ids(self):
        return {m["subject"]: m["id"] for m in self.robot.messages()}

    def end_daemon(self):
        """The bus starts it again when it is wanted."""
        self.chain.end(DAEMON)

    def damage_keys(self, key):
        with sqlite3.connect(Path(self.chain.env["QMF_DATA"], "asdaemon.db")) as db:
            return db.execute("UPDATE folder SET sync_key = ?", (key,)).rowcount

    def check_same(self, *more):
        now = self.ids()
        equal(sorted(now), sorted([*self.before, *more]))
        equal({subject: now[subject] for subject in self.before}, self.before)


def test_keysOfAnotherKindBeginAnew(world):
    """The server says so, each in its way."""
    world.end_daemon()
    assert world.damage_keys("another") >= 2
    world.robot.tell("flag", ids=[world.before["Message 0"]], set=["important"])
    world.witness.store("Message 1", "+FLAGS", "\\Seen")
    world.chain.server.deliver("alice", plain("New meanwhile"))
    world.robot.refresh()
    assert f" {world.chain.ways.strange_key_answer} " in world.chain.server.http_log()
    world.check_same("New meanwhile")
    assert world.robot.message("Message 1")["read"]
    world.robot.refresh()
    assert world.witness.message("Message 0").is_flagged


def test_aDeviceTheServerForgotBeginsAnew(world):
    """All that the server kept of its clients is gone; the mail is not."""
    world.witness.remove("Message 2")
    world.before = {s: i for s, i in world.ids().items() if s != "Message 2"}
    world.witness.close()
    world.chain.server.stop()
    world.chain.server.forget_devices()
    world.chain.server.start()
    world.robot.ask("refresh")
    world.robot.refresh()
    world.check_same()


def test_mailBoxesThatWereMadeAnewAreTaken(world):
    """Other folder ids and other message ids, for all that the server has."""
    world.witness.delete_folder("Other")
    world.witness.create("Other")
    world.witness.append("Other", plain("In the new one"))
    world.robot.refresh()
    equal({m["subject"] for m in world.robot.messages(folder="Other")}, {"In the new one"})


if __name__ == "__main__":
    cases.run("State", sys.modules[__name__], World)
