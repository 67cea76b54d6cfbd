# SPDX-License-Identifier: LGPL-2.1-or-later
"""From delivery at the server to the mail store and to a mail program, under push."""

import statistics
import threading
import time

from bareclient import BareClient
from onstage import database, make_mail, start_all, synchronise
from report import Aim, progress
from stage import ACCOUNT, Stage
from waiting import await_true

MESSAGES = 100
# The daemon fetches a dozen news at once, here two fewer to be on the safe side, and what comes faster than that in
# bundles, so many seconds apart.
NEWS_AT_ONCE, BETWEEN_NEWS = 10, 3.1


def measure(build, options, report):
    deliveries = options["deliveries"]
    with Stage(build) as stage:
        progress(f"push: {deliveries} deliveries")
        make_mail(stage, MESSAGES)
        start_all(stage, "--warm", "--no-gzip")
        synchronise(stage)
        bare = BareClient(stage.mail_server.url)
        floor = [bare_push_ms(stage, bare, n) for n in range(deliveries)]
        stage.mail("refresh", folder="Inbox")
        stage.account_program("set", ACCOUNT, "--push", "on")
        with stage.robot() as robot:
            robot.tell("watch")
            begun = 0
            stored, told = [], []
            for n in range(deliveries):
                begun = await_wait(stage, begun)
                time.sleep(BETWEEN_NEWS if n >= NEWS_AT_ONCE else 0)
                in_store, heard = push_ms(stage, robot, n)
                stored.append(in_store)
                told.append(heard)
    columns = {"messages": "d", "what": "s", "median_ms": ".1f", "worst_ms": ".1f"}
    title = f"From delivery at the server under push ({deliveries} times)"
    with report.table("push", title, columns) as table:
        for what, times, limit in (("bare Ping and Sync", floor, None), ("in the store", stored, None),
                                   ("a mail program was told", told, 50)):
            median = statistics.median(times)
            aims = [Aim(f"{what}, median ms", median, limit)] if limit else []
            table.row(aims, messages=deliveries, what=what, median_ms=median, worst_ms=max(times))


def waits(stage, device=None):
    """How many waits have begun, of one device or of all but the bare client."""
    devices = stage.control("devices", user="alice")["devices"]
    return sum(d["pings"] for d in devices if (d["id"] == device if device else d["id"] != "bare"))


def await_wait(stage, before):
    """Until another wait has begun than the first `before`, and a moment longer; how many have begun."""
    await_true("wait at the server", lambda: waits(stage) > before)
    time.sleep(0.05)
    return waits(stage)


def deliver(stage, subject):
    stage.control("deliver", user="alice", message=(
        f"From: Bob <bob@example.test>\r\nTo: alice@example.test\r\nSubject: {subject}\r\n"
        f"Message-ID: <{subject.replace(' ', '.')}@example.test>\r\n\r\nNews.\r\n"))


def bare_push_ms(stage, bare, n):
    before = waits(stage, "bare")
    ended = []

    def fetch():
        bare.ping()
        bare.sync()
        ended.append(time.perf_counter())
    thread = threading.Thread(target=fetch)
    thread.start()
    await_true("wait at the server", lambda: waits(stage, "bare") > before)
    start = time.perf_counter()
    deliver(stage, f"Floor {n}")
    thread.join()
    return (ended[0] - start) * 1000


def push_ms(stage, robot, n):
    """Milliseconds until the message is in the store, and until a mail program was told of it."""
    start = time.perf_counter()
    deliver(stage, f"News {n}")
    while not in_store(stage, f"News {n}"):
        time.sleep(0.003)
    stored = time.perf_counter()
    robot.tell("await", subject=f"News {n}")
    return (stored - start) * 1000, (time.perf_counter() - start) * 1000


def in_store(stage, subject):
    """Asks the database, not the store's library: other programs are told of news by bundles."""
    with database(stage.dir / "qmf") as opened:
        found = opened.execute("SELECT count(*) FROM mailmessages WHERE subject = ?", (subject,))
        return found.fetchone()[0] > 0
