# SPDX-License-Identifier: LGPL-2.1-or-later
"""What the server's administrator wants of devices: a policy, and in the end their mail wiped."""

import sys

import cases
from cases import equal
from mails import plain
from waiting import await_true

NOT_READY, SYSTEM_ERROR = 1036, 1026  # QMF's codes, as mail programs see them


class World:
    def __init__(self, chain):
        self.chain, self.witness, self.server = chain, chain.witness, chain.server
        self.witness.create("Other")
        self.witness.append("Other", plain("In another folder"))
        self.server.deliver("alice", plain("Before"))
        self.server.policy("force", DevicePasswordEnabled=1)
        chain.add_account("Work", "alice", "--no-check")
        chain.start_message_server()
        self.robot = chain.robot()

    def check_new_mail(self, subject):
        self.server.deliver("alice", plain(subject))
        self.robot.refresh()
        assert self.robot.message(subject)


def test_whatCannotBeMetIsNotPretended(world):
    """Nobody here asks for a password of the device."""
    answer = world.robot.ask("synchronize")
    equal((answer["ok"], answer["code"]), (False, NOT_READY), str(answer))
    equal(world.robot.messages(), [])


def test_aPolicyThatDemandsNothingIsTaken(world):
    world.server.policy("force")
    world.robot.synchronize()
    equal({m["subject"] for m in world.robot.messages()}, {"Before", "In another folder"})


def test_anotherPolicyIsTakenInPassing(world):
    world.server.policy("loose")
    world.check_new_mail("With another policy")
    world.server.policy("none")
    world.check_new_mail("With none")
    world.server.policy("force")
    world.check_new_mail("With the first again")


def test_aWipeTakesTheMailAway(world):
    assert world.server.wipe("alice") >= 1
    answer = world.robot.ask("refresh")
    assert not answer["ok"], answer
    equal(answer["code"], SYSTEM_ERROR, str(answer))
    await_true("end of the wipe", lambda: not world.robot.messages())
    equal(len(world.witness.messages("Other")), 1, "at the server")


if __name__ == "__main__":
    cases.run("Policy", sys.modules[__name__], World)
