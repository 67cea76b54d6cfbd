# SPDX-License-Identifier: LGPL-2.1-or-later
"""What the rounds look for is found: each wrong state of the two sides by its own finding."""
import base64
import copy
import os
import random
import subprocess
import sys
import unittest

import results
from mailbox import WRITTEN, WRITTEN_ANEW, Mailbox

MAIL = {"id": "1", "subject": "Mail 1", "read": False, "flag": 0}
COPY = {"folder": "Inbox", "subject": "Mail 1", "read": False, "important": False, "outbox": False, "sent": False,
        "complete": True, "text": "t", "attachments": [{"here": True, "sha256": "a"}], "reason": ""}


class Witness:
    """The server's account of what was sent."""

    def __init__(self):
        self.subjects, self.text = [], WRITTEN

    def far(self, _, **request):
        return {"sent": [{"mime": base64.b64encode(f"Subject: {s}\r\n\r\n{self.text}".encode())}
                         for s in self.subjects]}


class Findings(unittest.TestCase):
    def setUp(self):
        self.world = Witness()
        self.mailbox = Mailbox(self.world, random.Random(1))
        self.mailbox.delivered["Mail 1"] = ["t", "a"]
        self.server = {"folders": [{"path": "Inbox", "messages": [dict(MAIL)]}, {"path": "Calendar", "messages": []}]}
        self.store = {"folders": ["Inbox"], "messages": [copy.deepcopy(COPY)], "removals": 0}

    def found(self):
        return "\n".join(self.mailbox.findings(self.server, self.store))

    def test_nothing_is_wrong(self):
        self.assertEqual(self.found(), "")

    def test_disagreement(self):
        self.store["messages"][0]["read"] = True
        self.assertIn("only at the server", self.found())
        self.assertIn("only in the store", self.found())

    def test_a_copy_too_much(self):
        self.store["messages"].append(COPY)
        self.assertIn("only in the store", self.found())

    def test_folder_on_one_side(self):
        self.store["folders"].append("Work")
        self.assertIn("a folder on one side alone: Work", self.found())

    def test_deletion_not_carried_out(self):
        self.store["removals"] = 1
        self.assertIn("1 deletions are not carried out", self.found())

    def test_lost_on_both_sides(self):
        self.server["folders"][0]["messages"], self.store["messages"] = [], []
        self.assertIn("Mail 1 is at the server 0 times", self.found())
        self.mailbox.deleted.add("Mail 1")
        self.assertEqual(self.found(), "")

    def test_twice_on_both_sides(self):
        self.server["folders"][0]["messages"] *= 2
        self.store["messages"] *= 2
        self.assertIn("Mail 1 is at the server 2 times", self.found())

    def test_change_not_carried_out(self):
        self.mailbox.by_user["Mail 1"] = {"important": True}
        self.assertIn("Mail 1 should be", self.found())
        self.mailbox.contested.add("Mail 1")
        self.assertEqual(self.found(), "")

    def test_damaged_content(self):
        self.store["messages"][0]["text"] = "other"
        self.assertIn("another text", self.found())
        self.store["messages"][0].update(text="t", attachments=[{"here": True, "sha256": "b"}])
        self.assertIn("another attachment", self.found())

    def test_sending(self):
        self.mailbox.sent.add("Sent 1")
        self.assertIn("Sent 1 did not arrive", self.found())
        waiting = dict(COPY, subject="Sent 1", outbox=True, text="", attachments=[])
        self.store["messages"].append(waiting)
        self.assertIn("no reason", self.found())
        waiting["reason"] = "902 no connection"
        self.assertEqual(self.found(), "")
        self.world.subjects = ["Sent 1"]
        self.assertIn("arrived, and is in the outbox with", self.found())
        self.world.subjects = ["Sent 1", "Sent 1"]
        self.assertIn("arrived 2 times", self.found())

    def test_text_of_what_was_sent(self):
        self.world.subjects = ["Sent 1"]
        for self.world.text in (WRITTEN, WRITTEN_ANEW):
            self.assertEqual(self.found(), "")
        self.world.text = ""
        self.assertIn('Sent 1 arrived with ""', self.found())


class Arguments(unittest.TestCase):
    def test_a_kind_that_there_is_not(self):
        program = [sys.executable, "-B", os.path.dirname(os.path.abspath(__file__)), "nowhere"]
        run = subprocess.run([*program, "--kind", "kill-deamon"], capture_output=True, text=True)
        self.assertEqual((run.returncode, run.stdout), (2, ""))
        self.assertIn("--kind: invalid choice: 'kill-deamon'", run.stderr)
        self.assertIn("kill-daemon", run.stderr)


if __name__ == "__main__":
    sys.exit(results.run("faults"))
