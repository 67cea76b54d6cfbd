# SPDX-License-Identifier: LGPL-2.1-or-later
"""Folders that change at the server, and what becomes of their mail."""

import sys

import cases
from cases import equal
from mails import plain


class World:
    def __init__(self, chain):
        self.chain, self.witness = chain, chain.witness
        for folder in ("One", "One/Below", "Two", "Three"):
            self.witness.create(folder)
        self.witness.append("One", plain("In One"))
        self.witness.append("One/Below", plain("In Below"))
        self.witness.append("Two", plain("In Two"))
        self.robot = chain.synchronised()
        self.before = {m["subject"]: m["id"] for m in self.robot.messages()}

    def sync(self):
        self.robot.refresh()

    def check_same(self, subject):
        """The message is the one of before, if the server knows that its folder is."""
        if self.chain.ways.knows_renamed_folders:
            equal(self.robot.message(subject)["id"], self.before[subject], "the same message")

    def folder_of(self, subject):
        message = self.robot.message(subject)
        return message and message["folder"]


def test_aNewFolderAppears(world):
    world.witness.create("Übersicht")
    world.witness.create("Übersicht/2026")
    world.witness.append("Übersicht/2026", plain("In a new folder"))
    world.sync()
    assert {"Übersicht", "Übersicht/2026"} <= set(world.robot.folders())
    equal(world.folder_of("In a new folder"), "Übersicht/2026")


def test_aRenamedFolderKeepsItsMail(world):
    world.witness.rename("Two", "Zwei")
    world.sync()
    folders = world.robot.folders()
    assert "Zwei" in folders and "Two" not in folders, sorted(folders)
    equal(world.folder_of("In Two"), "Zwei")
    world.check_same("In Two")


def test_aMovedFolderTakesItsMailAlong(world):
    world.witness.rename("One", "Three/One")
    world.sync()
    folders = world.robot.folders()
    assert {"Three/One", "Three/One/Below"} <= set(folders) and "One" not in folders, sorted(folders)
    equal(world.folder_of("In One"), "Three/One")
    equal(world.folder_of("In Below"), "Three/One/Below")
    world.check_same("In Below")


def test_mailInARenamedFolderIsStillChanged(world):
    world.robot.tell("flag", ids=[world.robot.message("In Two")["id"]], set=["important"])
    world.sync()
    assert world.witness.message("In Two", "Zwei").is_flagged
    world.witness.append("Zwei", plain("After the new name"))
    world.sync()
    equal(world.folder_of("After the new name"), "Zwei")


def test_aDeletedFolderGoesWithItsMail(world):
    world.witness.delete_folder("Zwei")
    world.sync()
    assert "Zwei" not in world.robot.folders()
    equal(world.folder_of("In Two"), None)


def test_aFolderMadeAnewIsAnother(world):
    world.witness.create("Zwei")
    world.witness.append("Zwei", plain("In another of the name"))
    world.sync()
    equal(world.folder_of("In another of the name"), "Zwei")
    equal(world.folder_of("After the new name"), None)


if __name__ == "__main__":
    cases.run("Folders", sys.modules[__name__], World)
