# SPDX-License-Identifier: LGPL-2.1-or-later
"""What the benches do alike on a stage: make mail, start everything, change something, look at what came."""

import contextlib
import json
import sqlite3
import time

from process import Process
from stage import TOP
from waiting import Failure

# Seconds in which a large mailbox is to be synchronised.
PATIENCE = 7200


def start_all(stage, *arguments, prefix=()):
    """Mail server, account, daemon and message server; the latter two, which `prefix` starts. Mail comes in the order of
    most servers."""
    stage.start_server(stage.dir / "mail", *arguments, "--quirks", "newest_first")
    stage.add_account()
    return Process(stage.start_daemon(*prefix)), Process(stage.start_message_server(*prefix))


def synchronise(stage, **more):
    """Milliseconds of one synchronisation, however long it takes."""
    return stage.mail("synchronize", seconds=PATIENCE, **more)["ms"]


def json_line(text):
    """The last line of JSON in a program's output."""
    return json.loads([line for line in text.splitlines() if line.startswith("{")][-1])


def make_mail(stage, count, *arguments):
    stage.run(["python3", TOP / "tests/easserver/make_mail.py", count, stage.dir / "mail", *arguments])


def make_news(stage, count):
    """Messages that are still to come, of a user of that name; their files in order."""
    make_mail(stage, count, "--user", "news", "--seed", "7", "--attachment-size", "1")
    return sorted((stage.dir / "mail/news/Inbox").iterdir())


def store_floor(stage, *arguments):
    """What the mail store alone needs for what alice has at the server; see storefloor.cpp. Its store is a new one."""
    data = stage.dir / "floor"
    data.mkdir()
    port = stage.mail_server.ports()[0]
    told = stage.run(["env", f"QMF_DATA={data}", stage.bin("storefloor"), port, *arguments], timeout=PATIENCE)
    return json_line(told)


@contextlib.contextmanager
def database(folder):
    """The mail store's database, to be read."""
    path = next(folder.glob("**/qmailstore.db"))
    with contextlib.closing(sqlite3.connect(f"file:{path}?mode=ro", uri=True)) as opened:
        yield opened


# All of a message that does not depend on when it was written, or on its neighbours; the threads; and the indexes.
STORED = ("SELECT serveruid, sender, recipients, subject, stamp, status, frommailbox, size, contenttype, listid, rfcid, "
          "preview FROM mailmessages WHERE serveruid != ''",
          "SELECT min(serveruid), count(*) FROM mailmessages WHERE serveruid != '' GROUP BY parentthreadid",
          "SELECT name, sql FROM sqlite_master WHERE type = 'index'")


def check_same_store(stage):
    """The floor must have stored what the daemon has, and as the daemon has, else it is none."""
    for question in STORED:
        both = []
        for folder in ("qmf", "floor"):
            with database(stage.dir / folder) as opened:
                both.append(set(opened.execute(question)))
        if both[0] != both[1]:
            example = sorted(both[0] ^ both[1], key=str)[:2]
            raise Failure(f"the floor's store is another than the daemon's: {example}")


def in_inbox(stage, path="Inbox"):
    """How many messages the mail store has there, and how many of them are unread."""
    [inbox] = [folder for folder in stage.mail("folders")["folders"] if folder["path"] == path]
    return inbox["count"], inbox["unread"]


def read_in_inbox(stage):
    """Of each message at the test server, whether it is read."""
    return [message["read"] for folder in stage.control("state", user="alice")["folders"]
            if folder["path"] == "Inbox" for message in folder["messages"]]


def check_agreement(stage):
    """A measurement of changes that did not arrive would be worthless."""
    here = in_inbox(stage)
    there = read_in_inbox(stage)
    if here != (len(there), there.count(False)):
        raise Failure(f"the store has {here} messages and unread ones, the server {len(there)}")


class Changes:
    """Changes at the test server: new messages and flags by turns, or messages that go for good."""

    def __init__(self, stage, ids, news):
        """`ids`: of messages whose flags are changed, from the first on, and of which others are removed, from the last
        on; `news`: files that are delivered."""
        self.stage, self.ids, self.news, self.turn = stage, list(ids), iter(news), 0

    @staticmethod
    def news_in(counts, rounds):
        """How many new messages so many changes deliver, so often each."""
        return sum((count + 1) // 2 for count in counts) * rounds

    def remove(self, count):
        for _ in range(count):
            self.stage.control("delete", user="alice", id=self.ids.pop())

    def make(self, count):
        for n in range(count):
            if n % 2 == 0:
                self.stage.control("deliver", user="alice", file=str(next(self.news)))
            else:
                self.stage.control("flag", user="alice", id=self.ids[n], flag=0 if n % 4 == 1 else 2,
                                   read=self.turn % 2 == 0)
        self.turn += 1
        self.stage.control("warm")


def timed_ms(action):
    start = time.perf_counter()
    action()
    return (time.perf_counter() - start) * 1000
