# SPDX-License-Identifier: LGPL-2.1-or-later
"""Changes in both directions: what is done on one side is found on the other."""

import sys

import cases
from cases import equal
from mails import plain

SUBJECTS = ["Read here", "Read there", "Flagged here", "Flagged there", "Unread here", "Unread there",
            "Moved here", "Moved there", "Deleted here", "Deleted there", "Gone here",
            "Both: read here, flagged there", "Both: flagged here, read there",
            "Both: read here, unread there", "Both: flagged on both sides",
            "Both: moved here, flagged there", "Both: flagged here, deleted there",
            "Both: deleted here, flagged there", "Both: moved on both sides",
            "Both: moved here, deleted there", "Stays", "Read while flagged", "Unread while flagged",
           "Unflagged while read"]
SEEN_AT_FIRST = {"Unread here", "Unread there", "Unread while flagged", "Unflagged while read"}
FLAGGED_AT_FIRST = {"Read while flagged", "Unread while flagged", "Unflagged while read"}


class World:
    def __init__(self, chain):
        self.chain, self.witness = chain, chain.witness
        self.witness.create("Archive")
        self.witness.create("Other")
        for subject in SUBJECTS:
            chain.server.deliver("alice", plain(subject),
                                 flags="F" * (subject in FLAGGED_AT_FIRST)
                                 + "S" * (subject in SEEN_AT_FIRST))
        self.robot = chain.synchronised()

    # --- what the user does

    def ids(self, subject):
        message = self.robot.message(subject)
        assert message, f"{subject} is not here"
        return [message["id"]]

    def flag(self, subject, *flags):
        self.robot.tell("flag", ids=self.ids(subject), set=list(flags))

    def move(self, subject, folder):
        self.robot.tell("move", ids=self.ids(subject), target=folder)

    def sync(self):
        self.robot.refresh()

    # --- what is found

    def here(self, subject):
        """(folder, read, flagged), or None."""
        message = self.robot.message(subject)
        return message and (message["folder"], message["read"], message["important"])

    def there(self, subject):
        """The same at the server, as IMAP has it; the one place of it."""
        found = []
        for folder in ("INBOX", "Archive", "Other", "Trash"):
            message = self.witness.message(subject, folder)
            if message:
                found.append((folder, message.is_read, message.is_flagged))
        assert len(found) <= 1, f"{subject} is at {found}"
        return found[0] if found else None

    def agree(self, subject, expected):
        """Both sides have it so, after what the server needs to tell all (it tells in turns)."""
        equal(self.there(subject), expected, f"{subject}, at the server")
        for _ in range(3):
            if self.here(subject) == expected:
                break
            self.sync()
        equal(self.here(subject), expected, f"{subject}, in the store")


def test_whatTheUserDoesReachesTheServer(world):
    world.flag("Read here", "read")
    world.flag("Flagged here", "important")
    world.robot.tell("flag", ids=world.ids("Unread here"), clear=["read"])
    world.move("Moved here", "Archive")
    world.robot.tell("remove", ids=world.ids("Deleted here"))
    world.robot.tell("remove", ids=world.ids("Gone here"), forGood=True)
    world.robot.export()
    equal(world.there("Read here"), ("INBOX", True, False))
    equal(world.there("Flagged here"), ("INBOX", False, True))
    equal(world.there("Unread here"), ("INBOX", False, False))
    equal(world.there("Moved here"), ("Archive", False, False))
    equal(world.there("Deleted here"), ("Trash", False, False))
    assert world.witness.message("Gone here") is None


def test_whatIsNotChangedStays(world):
    """Reading takes no flag away, nor the other way round."""
    world.flag("Read while flagged", "read")
    world.robot.tell("flag", ids=world.ids("Unread while flagged"), clear=["read"])
    world.robot.tell("flag", ids=world.ids("Unflagged while read"), clear=["important"])
    world.sync()
    world.agree("Read while flagged", ("INBOX", True, True))
    world.agree("Unread while flagged", ("INBOX", False, True))
    world.agree("Unflagged while read", ("INBOX", True, False))


def test_whatIsDoneElsewhereArrives(world):
    world.witness.store("Read there", "+FLAGS", "\\Seen")
    world.witness.store("Flagged there", "+FLAGS", "\\Flagged")
    world.witness.store("Unread there", "-FLAGS", "\\Seen")
    world.witness.move("Moved there", "Archive")
    world.witness.remove("Deleted there")
    world.chain.server.deliver("alice", plain("New there"))
    world.sync()
    equal(world.here("Read there"), ("INBOX", True, False))
    equal(world.here("Flagged there"), ("INBOX", False, True))
    equal(world.here("Unread there"), ("INBOX", False, False))
    equal(world.here("Moved there"), ("Archive", False, False))
    equal(world.here("Deleted there"), None)
    equal(world.here("New there"), ("INBOX", False, False))


def test_bothSidesAgreeAfterwards(world):
    world.robot.synchronize()
    for subject in SUBJECTS:
        if not subject.startswith("Both") and subject != "Gone here":
            equal(world.here(subject), world.there(subject), subject)


def test_differentFlagsOnBothSides(world):
    world.flag("Both: read here, flagged there", "read")
    world.witness.store("Both: read here, flagged there", "+FLAGS", "\\Flagged")
    world.flag("Both: flagged here, read there", "important")
    world.witness.store("Both: flagged here, read there", "+FLAGS", "\\Seen")
    world.sync()
    world.agree("Both: read here, flagged there", ("INBOX", True, True))
    world.agree("Both: flagged here, read there", ("INBOX", True, True))


def test_theSameFlagOnBothSides(world):
    world.flag("Both: flagged on both sides", "important")
    world.witness.store("Both: flagged on both sides", "+FLAGS", "\\Flagged")
    world.sync()
    world.agree("Both: flagged on both sides", ("INBOX", False, True))


def test_movedHereAndFlaggedThere(world):
    world.move("Both: moved here, flagged there", "Archive")
    world.witness.store("Both: moved here, flagged there", "+FLAGS", "\\Flagged")
    world.sync()
    world.agree("Both: moved here, flagged there", ("Archive", False, True))


def test_flaggedHereAndDeletedThere(world):
    world.flag("Both: flagged here, deleted there", "important")
    world.witness.remove("Both: flagged here, deleted there")
    world.sync()
    world.agree("Both: flagged here, deleted there", None)


def test_deletedHereAndFlaggedThere(world):
    world.robot.tell("remove", ids=world.ids("Both: deleted here, flagged there"))
    world.witness.store("Both: deleted here, flagged there", "+FLAGS", "\\Flagged")
    world.sync()
    world.agree("Both: deleted here, flagged there", ("Trash", False, True))


def test_movedOnBothSides(world):
    world.move("Both: moved on both sides", "Archive")
    world.witness.move("Both: moved on both sides", "Other")
    world.sync()
    world.agree("Both: moved on both sides", ("Other", False, False))


def test_movedHereAndDeletedThere(world):
    world.move("Both: moved here, deleted there", "Archive")
    world.witness.remove("Both: moved here, deleted there")
    world.sync()
    world.agree("Both: moved here, deleted there", None)


def test_deletedInTheTrashIsGone(world):
    world.robot.tell("remove", ids=world.ids("Deleted here"), forGood=True)
    world.sync()
    equal(world.there("Deleted here"), None)
    equal(world.here("Deleted here"), None)


def test_nothingElseChanged(world):
    equal(world.here("Stays"), ("INBOX", False, False))
    equal(world.there("Stays"), ("INBOX", False, False))


def test_aSecondMailProgramSeesTheSame(world):
    """What a request brought is known to other processes before it ends."""
    other = world.chain.robot()
    other.messages()
    for number in range(5):
        world.chain.server.deliver("alice", plain(f"For all {number}"))
        world.robot.tell("refresh", folder="INBOX")
        assert world.robot.message(f"For all {number}"), f"the one that asked, round {number}"
        assert other.message(f"For all {number}"), f"the other, round {number}"
        world.witness.store(f"For all {number}", "+FLAGS", "\\Flagged")
        world.robot.tell("refresh", folder="INBOX")
        assert world.robot.message(f"For all {number}")["important"], f"the one that asked, {number}"
        assert other.message(f"For all {number}")["important"], f"the other, round {number}"


if __name__ == "__main__":
    cases.run("Changes", sys.modules[__name__], World)
