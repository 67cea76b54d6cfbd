# SPDX-License-Identifier: LGPL-2.1-or-later
"""The password changes at the server, and then in the account."""

import sys

import cases
from cases import equal
from mails import plain

LOGIN_FAILED = 1029  # QMF's code, as mail programs see it


class World:
    def __init__(self, chain):
        self.chain = chain
        self.tap = chain.tapped()
        chain.server.deliver("alice", plain("Before"))
        self.robot = chain.synchronised()
        chain.witness.close()
        chain.server.stop()
        chain.server.passwords["alice"] = "Alice-New-Passw0rd"
        chain.server.deliver("alice", plain("After"))

    def refusals(self):
        return len([status for _, _, status, _ in self.tap.seen if status == 401])


def test_aServerThatIsDownIsNoConnection(world):
    answer = world.robot.ask("refresh")
    assert not answer["ok"] and answer["code"] != LOGIN_FAILED, answer


def test_theOldPasswordIsRefused(world):
    world.chain.server.start()
    answer = world.robot.ask("refresh")
    equal((answer["ok"], answer["code"]), (False, LOGIN_FAILED))
    assert world.robot.message("Before"), "what was here has gone"
    assert world.robot.message("After") is None


def test_theRefusedPasswordIsTriedOnceARequest(world):
    """Each attempt more counts against the account at the server."""
    before = world.refusals()
    world.robot.ask("refresh")
    equal(world.refusals() - before, 1)


def test_theNewOneOpensTheAccount(world):
    result = world.chain.account_program("set", "Work",
                                         password=world.chain.server.passwords["alice"])
    equal(result.returncode, 0, result.stdout + result.stderr)
    world.robot.refresh()
    assert world.robot.message("After")
    assert world.robot.message("Before")
    equal(len(world.robot.messages(folder="INBOX")), 2)


def test_removingTheAccountTakesItsMailAlong(world):
    equal(world.chain.account_program("remove", "Work", "--yes").returncode, 0)
    assert "Work" not in world.chain.account_program("list").stdout
    equal(len(world.chain.witness.messages()), 2)


if __name__ == "__main__":
    cases.run("Password", sys.modules[__name__], World)
