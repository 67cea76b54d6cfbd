# SPDX-License-Identifier: LGPL-2.1-or-later
"""A synchronisation with some changes, which must not cost what lies beside them."""

import statistics
import time

from bareclient import BareClient
from onstage import Changes, check_agreement, make_mail, make_news, start_all, store_floor, synchronise, timed_ms
from report import Aim, progress
from robot import DOUBLET
from stage import Stage

COUNTS = (1, 10, 100)
SMALL = 100  # messages in the smaller folder; also the smallest in which so many can be changed
COLUMNS = {"messages": "d", "changes": "d", "removals": "d", "bare_ms": ".1f", "wall_ms": ".0f", "daemon_ms": ".1f",
           "floor_ms": ".1f"}
NOTES = ["messages: in the folder; removals: all of the changes, or none; wall and bare by the clock, the others CPU",
         "bare: the same changes fetched by a client that drops them; floor: the same made straight in a store of that",
         "size, with messages built beforehand"]


def measure(build, options, report):
    title = f"Synchronisation with new messages and flags by turns, or with a removal (median of {options['rounds']})"
    with report.table("changes", title, COLUMNS, NOTES) as table:
        small = changes_in(build, SMALL, options["rounds"])
        for row in small:
            table.row(**row)
        if options["folder"] == SMALL:
            return
        for row, other in zip(changes_in(build, options["folder"], options["rounds"]), small):
            what = f"{row['removals']} removals" if row["removals"] else f"{row['changes']} changes"
            table.row([Aim(f"{what} among {row['messages']} messages, daemon ms by that among {SMALL}",
                           row["daemon_ms"] / other["daemon_ms"], 2)], **row)


def changes_in(build, size, rounds):
    progress(f"changes: a folder of {size} messages")
    with Stage(build) as stage:
        make_mail(stage, size, "--attachment-size", "1")
        news = make_news(stage, Changes.news_in(COUNTS, rounds))
        daemon, _ = start_all(stage, "--warm", "--no-gzip")
        floors = store_floor(stage, "news", rounds, *COUNTS)
        synchronise(stage)
        bare = BareClient(stage.mail_server.url)
        changes = Changes(stage, bare.ids[::-1], news)
        rows = []
        for change, count, removals, floor in [
                *((changes.make, count, 0, floor) for count, floor in zip(COUNTS, floors["changes_ms"])),
                (changes.remove, 1, 1, floors["removal_ms"])]:
            measured = [changed(stage, daemon, bare, change, count) for _ in range(rounds)]
            sync, wall, cpu = map(statistics.median, zip(*measured))
            rows.append({"messages": size, "changes": count, "removals": removals, "bare_ms": sync, "wall_ms": wall,
                         "daemon_ms": cpu, "floor_ms": floor})
        check_agreement(stage)
        return rows


def changed(stage, daemon, bare, change, count):
    """Milliseconds of the bare client, and of the daemon by the clock and of its CPU time."""
    change(count)
    floor = timed_ms(bare.sync)
    time.sleep(DOUBLET)
    before = daemon.cpu_fine_ms()
    wall = synchronise(stage)
    return floor, wall, daemon.cpu_fine_ms() - before
