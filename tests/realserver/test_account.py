# SPDX-License-Identifier: LGPL-2.1-or-later
"""An account is added, and its folders and first messages arrive."""

import sys

import cases
from cases import equal
from mails import plain

FOLDERS = ["Projects", "Projects/2026", "Projects/2026/März & April", "Ünïcödé", "日本語"]


class World:
    def __init__(self, chain):
        self.chain = chain
        for folder in FOLDERS:
            chain.witness.create(folder)
        for n in range(5):
            chain.server.deliver("alice", plain(f"Message {n}"))
        chain.witness.append("Projects/2026", plain("In a nested folder"), flags="\\Seen \\Flagged")
        chain.witness.append("日本語", plain("In a folder with another script"))


def test_aWrongPasswordIsRefusedByTheProgram(world):
    result = world.chain.account_program(
        "add", "Wrong", "--email", "alice@example.test", "--user", "alice", "--server", "127.0.0.1",
        "--port", str(world.chain.server.port), "--encryption", "none",
        password="Not-the-Passw0rd")
    assert result.returncode != 0, result.stdout
    assert "Wrong" not in world.chain.account_program("list").stdout


def test_aCertificateThatNobodySignedIsRefused(world):
    result = world.chain.account_program(
        "add", "Untrusted", "--email", "alice@example.test", "--user", "alice", "--server",
        "localhost", "--port", str(world.chain.server.tls_port),
        password=world.chain.server.passwords["alice"])
    assert result.returncode != 0, result.stdout
    assert "certificate" in (result.stdout + result.stderr).lower(), result.stdout + result.stderr
    assert "Untrusted" not in world.chain.account_program("list").stdout


def test_theAccountIsAdded(world):
    said = world.chain.add_account("Work")
    assert "Work" in world.chain.account_program("list").stdout, said
    world.chain.start_message_server()
    world.robot = world.chain.robot()


def test_itsFoldersArrive(world):
    world.robot.synchronize()
    found = world.robot.folders()
    for folder in FOLDERS:
        assert folder in found, f"{folder} is not among {sorted(found)}"
    # What is there beside: those that the server makes for every user.
    server = {("INBOX" if f.upper() == "INBOX" else f) for f in world.chain.witness.folders()}
    equal({f for f in found if found[f]["role"] != "outbox"}, server | world.chain.ways.own_folders)


def test_standardFoldersAreRecognised(world):
    roles = {f["role"]: path for path, f in world.robot.folders().items() if f["role"]}
    for role, path in (("inbox", "INBOX"), ("sent", "Sent"), ("drafts", "Drafts"), ("trash", "Trash")):
        equal(roles.get(role), path, role)


def test_itsMessagesArrive(world):
    inbox = {m["subject"] for m in world.robot.messages(folder="INBOX")}
    equal(inbox, {f"Message {n}" for n in range(5)})
    nested = world.robot.message("In a nested folder")
    equal((nested["folder"], nested["read"], nested["important"]), ("Projects/2026", True, True))
    equal(world.robot.message("In a folder with another script")["folder"], "日本語")


if __name__ == "__main__":
    cases.run("Account", sys.modules[__name__], World)
