# SPDX-License-Identifier: LGPL-2.1-or-later
"""What a person is told of an account, and does about it, with what the packages have installed."""

import json
import shutil
import unittest

from cleansystem import BUILD, PACKAGES, ROOT, apt, built, fill_inbox
from installed import InstalledStage
from stage import DAEMON, MESSAGE_SERVER
from waiting import await_true

NOTIFICATIONS = "org.freedesktop.Notifications"
REFUSED_MAIL = "To nobody"


class Desktop(unittest.TestCase):
    """One user's desktop, on which nothing of ours is but the packages. Its notifications are written down, and its
    window is read as a screen reader would (tests/stage/desktop, tests/stage/windowreader)."""

    def setUp(self):
        apt("install", *map(built, PACKAGES))
        self.stage = InstalledStage(BUILD, ROOT)
        fill_inbox(self.stage)
        self.stage.start_server(self.stage.dir / "mail")
        shutil.copy(BUILD / "bin/notification-server", self.stage.dir)
        shutil.copytree(BUILD / "bin/plugins", self.stage.dir / "plugins")
        self.stage.start("notifications", [self.stage.bin("notification-server")])
        await_true("notification service", lambda: self.stage.owner(NOTIFICATIONS))

    def tearDown(self):
        self.stage.close()

    # --- what a person does

    def program(self, *arguments, password=None):
        """What the account program prints, which must succeed."""
        done = self.stage.account_program(*arguments, password=password)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done.stdout

    def sync_fails(self, words):
        done = self.stage.account_program("sync", "Work")
        self.assertEqual(done.returncode, 1, done.stdout)
        self.assertIn(words, done.stderr)

    def open_window(self):
        env = {**self.stage.env, "QT_PLUGIN_PATH": f"{self.stage.dir}/plugins",
               "QT_QPA_GENERIC_PLUGINS": f"windowreader:{self.stage.dir}/window"}
        self.stage.start("window", ["/usr/bin/orvmail-account-window"], env=env)

    def log_out(self):
        for name in (MESSAGE_SERVER, DAEMON):
            self.stage.end(name)
        window = self.stage.processes["window"]
        window.terminate()
        window.wait(20)
        (self.stage.dir / "window").unlink()

    # --- what a person sees

    def mails(self, folder="Inbox"):
        return sorted(message["subject"] for message in self.stage.mail("messages", folder=folder)["messages"])

    def outbox(self):
        [account] = json.loads(self.program("outbox", "--json"))
        return account["outbox"]

    def notifications(self):
        """What was to be shown, and what to be taken away."""
        return (self.stage.dir / "log/notifications").read_text().splitlines()

    def window(self):
        path = self.stage.dir / "window"
        return path.read_text() if path.exists() else ""

    def status(self):
        """The exit code and the words."""
        done = self.stage.account_program("status")
        return done.returncode, done.stdout

    def is_told(self, code, words, state, notifications):
        """Terminal, window and desktop tell it; what the desktop was asked for is told whole."""
        await_true(f"window that says {state}", lambda: f"Work: {state}" in self.window())
        await_true(f"status {code}", lambda: self.status()[0] == code)
        self.assertIn(words, self.status()[1])
        await_true("as many notifications", lambda: len(self.notifications()) >= len(notifications))
        self.assertEqual(self.notifications(), notifications)

    # --- a day

    def test_a_person_is_told_what_is_wrong_and_mends_it(self):
        self.stage.add_account()
        for name, program in ((MESSAGE_SERVER, "messageserver5"), (DAEMON, "/usr/libexec/asdaemon")):
            self.assertIn(program, self.stage.running()[self.stage.owner(name)])
        here = self.mails()
        self.assertGreater(len(here), 2)
        self.open_window()
        told = []
        self.is_told(0, "successfully", "all is well", told)

        self.password_is_changed(told)
        self.recipient_is_refused(told)

        self.log_out()
        apt("remove", *PACKAGES)
        apt("install", *map(built, PACKAGES))
        self.stage.control("deliver", user="alice", message="From: c@elsewhere.test\r\nSubject: News\r\n\r\nText\r\n")
        self.program("sync", "Work")
        self.open_window()
        self.is_told(0, "successfully", "all is well", told)
        self.assertEqual(self.mails(), sorted([*here, "News"]))
        self.assertEqual(self.mails("Drafts"), [REFUSED_MAIL])

    def password_is_changed(self, told):
        """At the server; until it is entered here, too."""
        self.stage.control("set-password", user="alice", password="changed")
        self.sync_fails("refuses user name or password")
        told.append("Notify 1 Work: the password is refused")
        self.is_told(3, "refuses the user name or the password", "password refused", told)
        self.program("set", "Work", password="changed")
        self.program("sync", "Work")
        told.append("Close 1")
        self.is_told(0, "successfully", "all is well", told)

    def recipient_is_refused(self, told):
        """Its mail waits until it is put back among the drafts."""
        with self.stage.robot() as robot:
            self.assertFalse(robot.send(subject=REFUSED_MAIL, to=["nobody@example.test"], text="Text\n")["ok"])
        told.append("Notify 2 Work: a mail could not be sent")
        self.is_told(3, "check its recipients", "mail not sent", told)
        [mail] = self.outbox()
        self.assertEqual((mail["subject"], mail["to"]), (REFUSED_MAIL, ["nobody@example.test"]))
        self.assertIn("check its recipients", mail["text"])
        self.program("outbox", "to-drafts", str(mail["message"]))
        told.append("Close 2")
        with self.stage.robot() as robot:
            robot.refresh()
        self.is_told(0, "successfully", "all is well", told)
        self.assertEqual(self.mails("Drafts"), [REFUSED_MAIL])
