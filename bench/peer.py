# SPDX-License-Identifier: LGPL-2.1-or-later
"""QMF's own IMAP plugin with an IMAP server beside us: the same messages, the same message server, the same asks of a
mail program. What the mail servers themselves need is not counted.

The IMAP plugin gains from the indexes that our daemon puts into the mail store. It is measured with them, as it is on the
machine of somebody who has both, and, where that does not take too long, in a store without them."""

import contextlib
import imaplib
import statistics
import struct
import time
from typing import NamedTuple

from bareclient import BareClient
from firstsync import check_arrival
from imapserver import ImapServer, server_root
from onstage import (Changes, check_agreement, check_same_store, database, in_inbox, make_mail, make_news, start_all,
                     store_floor, synchronise)
from process import Process
from realserver import NoServer
from report import Aim, progress
from robot import DOUBLET
from stage import ACCOUNT, Stage
from waiting import Failure

SIZES = (100, 1000, 10000)
COUNTS = (0, 1, 100)
FIRST = {"messages": "d", "imap": "s", "ours_ms": ".2f", "floor_ms": ".2f", "imap_ms": ".2f", "times": ".1f",
         "ours_wall_ms": ".2f", "imap_wall_ms": ".2f", "ours_mb": ".1f", "imap_mb": ".1f", "ours_syncs": "d",
         "imap_syncs": "d", "ours_threads": "d", "imap_threads": "d"}
FIRST_NOTES = ["imap: whether its mail store has our indexes, too;",
               "ms: a message; CPU, and wall by the clock; ours: daemon and message server; imap: message server;",
               "times: imap ms by ours ms; floor: adding our messages to an empty store; MB: peaks, added up;",
               "syncs: how often something was flushed to disk (fsync, fdatasync, sync); threads: of the messages, in the",
               "store"]
LATER = {"messages": "d", "imap": "s", "changes": "d", "ours_ms": ".1f", "imap_ms": ".1f", "times": ".1f", "ours_wall_ms": ".0f",
         "imap_wall_ms": ".0f", "ours_syncs": ".0f", "imap_syncs": ".0f"}
LATER_NOTES = ["messages: in the folder; ms: of a synchronisation; CPU, and wall by the clock; times and syncs as above"]


def measure(build, options, report):
    try:
        server_root()
        compare(build, options, report)
    except NoServer as reason:
        raise Failure(f"there is no IMAP server: {reason}") from None


def compare(build, options, report):
    measured = []
    title = "First synchronisation beside QMF's IMAP plugin with Dovecot"
    with report.table("peer", title, FIRST, FIRST_NOTES) as table:
        for size in options["sizes"] or SIZES:
            ours, *others = sides(build, size, options)
            measured.append((size, ours, others))
            for imap in others:
                first = {"ours_ms": ours.first.cpu / size, "imap_ms": imap.first.cpu / size}
                times = first["imap_ms"] / first["ours_ms"]
                table.row([Aim(f"{size} messages, IMAP {imap.which} by ours", times, 1, at_least=True)], messages=size,
                          imap=imap.which, **first, times=times, floor_ms=ours.floor_ms / size,
                          ours_wall_ms=ours.first.wall / size, imap_wall_ms=imap.first.wall / size,
                          ours_mb=ours.peak_mb, imap_mb=imap.peak_mb, ours_syncs=ours.first.syncs,
                          imap_syncs=imap.first.syncs, ours_threads=ours.threads, imap_threads=imap.threads)
    title = f"Later synchronisations beside it, new messages and flags by turns (median of {options['rounds']})"
    with report.table("peer", title, LATER, LATER_NOTES) as table:
        for size, ours, others in measured:
            for imap in others:
                for count in ours.later:
                    one, other = ours.later[count], imap.later[count]
                    times = other.cpu / one.cpu
                    aim = Aim(f"{count} changes among {size} messages, IMAP {imap.which} by ours", times, 1, at_least=True)
                    table.row([aim], messages=size, imap=imap.which, changes=count, ours_ms=one.cpu, imap_ms=other.cpu,
                              times=times, ours_wall_ms=one.wall, imap_wall_ms=other.wall, ours_syncs=one.syncs,
                              imap_syncs=other.syncs)


class Cost(NamedTuple):
    """Milliseconds of CPU and by the clock, and how often something was flushed to disk."""

    cpu: float
    wall: float
    syncs: float

    @classmethod
    def median(cls, costs):
        return cls(*map(statistics.median, zip(*costs)))


class Side:
    """A mailbox of one of the two, and what its synchronisations have cost."""

    def __init__(self, stage):
        self.stage, self.processes = stage, []
        self.first, self.later, self.floor_ms, self.peak_mb, self.threads = None, {}, 0, 0, 0
        self.syncs = stage.dir / "syncs"
        self.syncs.write_bytes(struct.pack("l", 0))
        self.counted = ["env", f"LD_PRELOAD={stage.build}/lib/libbench-syncs.so", f"BENCH_SYNCS={self.syncs}"]

    def spent(self):
        return (sum(process.cpu_fine_ms() for process in self.processes),
                struct.unpack("l", self.syncs.read_bytes())[0])

    def synchronised(self, **more):
        before = self.spent()
        wall = synchronise(self.stage, **more)
        cpu, syncs = (now - then for now, then in zip(self.spent(), before))
        return Cost(cpu, wall, syncs)

    def measure(self, size, rounds):
        progress(f"peer: {size} messages, {self.name}")
        make_mail(self.stage, size)
        counts = [count for count in COUNTS if count <= size]
        self.start(make_news(self.stage, Changes.news_in(counts, rounds)))
        # All messages: the IMAP plugin brings as many as the mail program asks for, ours does not heed it. Later it
        # brings all that is new.
        self.first = self.synchronised(minimum=0)
        self.peak_mb = sum(process.peak_mb() for process in self.processes)
        check_arrival(self.stage, size, self.inbox)
        check_texts(self.stage, size)
        self.threads = threads(self.stage)
        self.prepare_changes()
        for count in counts:
            self.later[count] = Cost.median([self.changed(count) for _ in range(rounds)])
        self.check_changes()

    def changed(self, count):
        self.change(count)
        time.sleep(DOUBLET)
        return self.synchronised()


    def close(self):
        """What is not the stage's."""


class Ours(Side):
    name, inbox = "ours", "Inbox"

    def start(self, news):
        self.processes = start_all(self.stage, "--warm", prefix=self.counted)
        self.news = news
        progress("the floor")
        self.floor_ms = store_floor(self.stage)["cpu_ms"]

    def prepare_changes(self):
        check_same_store(self.stage)
        self.changes = Changes(self.stage, BareClient(self.stage.mail_server.url).ids[::-1], self.news)

    def change(self, count):
        self.changes.make(count)

    def check_changes(self):
        check_agreement(self.stage)


class Imap(Side):
    name, inbox, server = "IMAP", "INBOX", None
    which, indexes = "with our indexes", ["--indexes"]

    def start(self, news):
        (self.stage.dir / "imap").mkdir()
        self.server = ImapServer(self.stage.dir / "imap")
        self.server.start()
        self.server.adopt("alice", sorted((self.stage.dir / "mail/alice/Inbox").iterdir()))
        self.stage.run([self.stage.bin("imapaccount"), ACCOUNT, self.server.imap_port, "alice",
                        self.server.passwords["alice"], *self.indexes])
        self.processes = [Process(self.stage.start_message_server(*self.counted))]
        self.news, self.turn = iter(news), 0
        # It builds its index when it is first asked for the messages; ours has done so, too.
        self.numbers("ALL")

    def prepare_changes(self):
        """Nothing more is to be known."""

    @contextlib.contextmanager
    def connection(self):
        with imaplib.IMAP4("127.0.0.1", self.server.imap_port) as connection:
            connection.login("alice", self.server.passwords["alice"])
            connection.select("INBOX")
            yield connection

    def numbers(self, key):
        """Which messages the server finds, by their numbers."""
        with self.connection() as connection:
            return done(connection.search(None, key))[0].split()

    def change(self, count):
        """As Changes makes them."""
        with self.connection() as connection:
            for n in range(count):
                if n % 2 == 0:
                    done(connection.append("INBOX", "", imaplib.Time2Internaldate(time.time()),
                                           next(self.news).read_bytes()))
                else:
                    number = str(n + 1)
                    done(connection.store(number, "-FLAGS" if n % 4 == 1 else "+FLAGS", r"(\Flagged)"))
                    done(connection.store(number, "+FLAGS" if self.turn % 2 == 0 else "-FLAGS", r"(\Seen)"))
        self.turn += 1

    def check_changes(self):
        if bool(indexes(self.stage)) != bool(self.indexes):
            raise Failure(f"the mail store's indexes are {indexes(self.stage)}")
        here = in_inbox(self.stage, self.inbox)
        there = len(self.numbers("ALL")), len(self.numbers("UNSEEN"))
        if here != there:
            raise Failure(f"the store has {here} messages and unread ones, the IMAP server {there}")

    def close(self):
        if self.server:
            self.server.stop()


class BareImap(Imap):
    """As it is without us."""

    name, which, indexes = "IMAP without our indexes", "without", []


def done(answer):
    status, data = answer
    if status != "OK":
        raise Failure(f"IMAP says {status}: {data}")
    return data


def check_texts(stage, size):
    """All or a part of each message's content must have come, else one of the two has done less."""
    with database(stage.dir / "qmf") as opened:
        bits = [bit for bit, in opened.execute("SELECT statusbit FROM mailstatusflags WHERE name IN "
                                               "('ContentAvailable', 'PartialContentAvailable')")]
        mask = sum(1 << (bit - 1) for bit in bits)
        [(found,)] = opened.execute("SELECT count(*) FROM mailmessages WHERE serveruid != '' AND status & ?", (mask,))
    if len(bits) != 2 or found != size:
        raise Failure(f"{found} of {size} messages have come with their text")


def indexes(stage):
    """Those of ours."""
    with database(stage.dir / "qmf") as opened:
        return [name for name, in opened.execute("SELECT name FROM sqlite_master WHERE type = 'index' "
                                                 "AND name GLOB 'orvmail_*'")]


def threads(stage):
    """How many the messages are in."""
    with database(stage.dir / "qmf") as opened:
        [(found,)] = opened.execute("SELECT count(DISTINCT parentthreadid) FROM mailmessages WHERE serveruid != ''")
    return found


def sides(build, size, options):
    """What it costs us and the other, with our indexes and, up to the size that is asked for, without them."""
    kinds = [Ours, Imap] + ([BareImap] if size <= options["without-indexes"] else [])
    measured = []
    for kind in kinds:
        with Stage(build) as stage:
            side = kind(stage)
            try:
                side.measure(size, options["rounds"])
            finally:
                side.close()
        measured.append(side)
    return measured
