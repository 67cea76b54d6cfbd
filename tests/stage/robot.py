# SPDX-License-Identifier: LGPL-2.1-or-later
"""A mail program that does what it is told; see robot/mailrobot.h."""

import contextlib
import json
import subprocess
import threading
import time

from waiting import Failure

DOUBLET = 5.2  # seconds after a synchronisation in which another is taken for the same


class Robot:
    """One run of the program. Folders are called as IMAP calls them, whatever the server's name for the
    inbox. With `patience` it lives for so many seconds at the most."""

    def __init__(self, stage, account, inbox="INBOX", patience=None):
        self.synchronised, self._inbox = 0, inbox
        self.process = stage.start("robot", [stage.bin("mail-robot"), account], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, text=True)
        self._end = threading.Timer(patience or 1e6, self.process.kill)
        self._end.daemon = True
        if patience:
            self._end.start()

    def ask(self, do, heard=None, **arguments):
        """The answer; `heard` is called with value and total of each progress that is told before."""
        arguments = {name: self._inbox if value == "INBOX" else value for name, value in arguments.items()}
        try:
            print(json.dumps({"do": do, "progress": bool(heard), **arguments}), file=self.process.stdin, flush=True)
            while line := self.process.stdout.readline():
                answer = json.loads(line)
                if "ok" in answer:
                    return answer
                heard(answer["value"], answer["total"])
        except BrokenPipeError:
            pass
        raise Failure(f"the mail program ended while it was to {do}")

    def tell(self, do, heard=None, **arguments):
        """As ask(), and it must succeed."""
        answer = self.ask(do, heard, **arguments)
        if not answer["ok"]:
            raise Failure(f"{do} {arguments} failed: {answer}")
        return answer

    def synchronize(self):
        """A whole synchronisation. So soon after another that it would pass for the same request (5 s), it
        waits until it does not."""
        answer = self.try_to_synchronize()
        if not answer["ok"]:
            raise Failure(f"synchronize failed: {answer}")

    def try_to_synchronize(self):
        time.sleep(max(0, self.synchronised + DOUBLET - time.monotonic()))
        answer = self.ask("synchronize")
        self.synchronised = time.monotonic()
        return answer

    def export(self):
        """Lets what the user did travel, as synchronize() does."""
        time.sleep(max(0, self.synchronised + DOUBLET - time.monotonic()))
        self.tell("exportUpdates")
        self.synchronised = time.monotonic()

    def refresh(self):
        """Brings the folder tree and all folders up to date, as pulling down in each would."""
        self.tell("folderList")
        self.tell("refresh")
        self.synchronised = time.monotonic()

    def send(self, **message):
        """Writes a message and lets all that is written be sent; the end of the latter."""
        self.tell("compose", **message)
        return self.ask("transmit")

    def folders(self):
        return {self._imap(folder["path"]): folder for folder in self.tell("folders")["folders"]}

    def messages(self, **arguments):
        found = self.tell("messages", **arguments)["messages"]
        return [{**message, "folder": self._imap(message["folder"])} for message in found]

    def _imap(self, path):
        return "INBOX" if path == self._inbox else path

    def message(self, subject, **arguments):
        """The one message with this subject (in "folder" where that is given), or None."""
        found = [m for m in self.messages(**arguments) if m["subject"] == subject]
        if len(found) > 1:
            raise Failure(f"{len(found)} messages called {subject!r}: {found}")
        return found[0] if found else None

    def close(self):
        try:
            with contextlib.suppress(BrokenPipeError):
                self.process.stdin.close()
            self.process.wait(10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            raise Failure("the mail program did not end") from None
        finally:
            self._end.cancel()
            self.process.stdout.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
