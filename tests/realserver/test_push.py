# SPDX-License-Identifier: LGPL-2.1-or-later
"""News arrive by themselves, within the time that the server takes to notice."""

import sys
import time

import cases
from cases import equal
from mails import plain
from waiting import await_true


class World:
    def __init__(self, chain):
        self.chain, self.witness = chain, chain.witness
        chain.server.deliver("alice", plain("There before"))
        self.witness.create("Watched")
        chain.add_account("Work", "alice", "--push", "on")
        chain.start_message_server()
        self.robot = chain.robot()
        self.robot.synchronize()
        self.delays = []

    def await_here(self, what, condition):
        start = time.monotonic()
        await_true(what, condition, self.chain.ways.notices_within, 0.05)
        self.delays.append(time.monotonic() - start)


def test_newMailArrivesByItself(world):
    for number in range(4):
        subject = f"Pushed {number}"
        world.chain.server.deliver("alice", plain(subject))
        world.await_here(subject, lambda: world.robot.message(subject))


def test_newMailInAnotherFolderArrives(world):
    world.witness.append("Watched", plain("Pushed into a folder"))
    world.await_here("it", lambda: world.robot.message("Pushed into a folder"))


def test_aFlagSetElsewhereArrives(world):
    world.witness.store("There before", "+FLAGS", "\\Flagged")
    world.await_here("it", lambda: world.robot.message("There before")["important"])


def test_aDeletionElsewhereArrives(world):
    world.witness.remove("There before")
    world.await_here("it", lambda: not world.robot.message("There before"))


def test_mailDuringAnUploadArrives(world):
    """Our own change settles nothing that came meanwhile."""
    world.robot.tell("flag", ids=[world.robot.message("Pushed 0")["id"]], set=["important"])
    world.chain.server.deliver("alice", plain("Pushed meanwhile"))
    world.robot.refresh()
    world.await_here("it", lambda: world.robot.message("Pushed meanwhile"))
    assert world.witness.message("Pushed 0").is_flagged


def test_aBurstArrives(world):
    for number in range(10):
        world.chain.server.deliver("alice", plain(f"Burst {number}"))
        time.sleep(0.3)  # the server must see more than one state
    expected = {f"Burst {number}" for number in range(10)}
    world.await_here("them", lambda: expected <= {m["subject"] for m in world.robot.messages()})
    equal(len([m for m in world.robot.messages() if m["subject"] in expected]), 10)


def test_itStaysQuietWithoutNews(world):
    """No request but the waiting one while nothing happens, once all is told."""
    fewest = min(requests_within(world, 4) for _ in range(3))
    assert fewest <= 1, f"{fewest} requests in 4 s without news"


def requests_within(world, seconds):
    before = world.chain.server.requests()
    time.sleep(seconds)
    return world.chain.server.requests() - before


def test_newMailAfterAQuietTimeArrives(world):
    world.chain.server.deliver("alice", plain("After the quiet"))
    world.await_here("it", lambda: world.robot.message("After the quiet"))


def test_theDelaysUntilItCame(world):
    print("   came after " + ", ".join(f"{seconds:.1f}" for seconds in world.delays) + " s", flush=True)
    assert sorted(world.delays)[len(world.delays) // 2] <= 5, "the middle one"


if __name__ == "__main__":
    cases.run("Push", sys.modules[__name__], World)
