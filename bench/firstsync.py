# SPDX-License-Identifier: LGPL-2.1-or-later
"""The first synchronisation of a mailbox, beside adding the same messages to an empty store."""

from onstage import check_same_store, in_inbox, make_mail, start_all, store_floor, synchronise
from report import Aim, progress
from stage import Stage
from waiting import Failure

COLUMNS = {"messages": "d", "messages_per_second": ".0f", "daemon_ms": ".2f", "server_ms": ".2f", "floor_ms": ".2f",
           "times": ".2f", "daemon_mb": ".1f", "server_mb": ".1f"}
SIZES = (100, 1000, 10000, 50000)
NOTES = ["ms: CPU a message; MB: peaks; server: the message server; times: daemon ms by floor ms",
         "floor: adding the very same messages, built beforehand, to an empty store with the same indexes"]


def measure(build, options, report):
    title = "First synchronisation (4 KiB messages, one in ten with 100 KiB attached)"
    with report.table("first-sync", title, COLUMNS, NOTES) as table:
        rows = {}
        for size in options["sizes"] or SIZES:
            rows[size] = first_sync(build, size)
            table.row(aims(rows, size), **rows[size])


def aims(rows, size):
    row = rows[size]
    reached = [Aim(f"{size} messages, times the floor", row["times"], 1.5),
               Aim(f"{size} messages, daemon MB", row["daemon_mb"], 80)]
    thousand = rows.get(1000)
    if thousand and size > 1000:
        reached += [Aim(f"{size} messages, daemon MB more than of 1000", row["daemon_mb"] - thousand["daemon_mb"], 20),
                    Aim(f"{size} messages, daemon ms a message by that of 1000",
                        row["daemon_ms"] / thousand["daemon_ms"], 1.3)]
    return reached


def first_sync(build, size):
    with Stage(build) as stage:
        progress(f"{size} messages: making them")
        make_mail(stage, size)
        daemon, server = start_all(stage)
        progress(f"{size} messages: the floor")
        floor_ms = store_floor(stage)["cpu_ms"] / size
        progress(f"{size} messages: synchronising")
        cpu = daemon.cpu_fine_ms(), server.cpu_fine_ms()
        seconds = synchronise(stage) / 1000
        daemon_ms, server_ms = (now - before for now, before in
                                zip((daemon.cpu_fine_ms(), server.cpu_fine_ms()), cpu))
        check_arrival(stage, size)
        check_same_store(stage)
        return {"messages": size, "messages_per_second": size / seconds, "daemon_ms": daemon_ms / size,
                "server_ms": server_ms / size, "floor_ms": floor_ms, "times": daemon_ms / size / floor_ms,
                "daemon_mb": daemon.peak_mb(), "server_mb": server.peak_mb()}


def check_arrival(stage, size, path="Inbox"):
    arrived, _ = in_inbox(stage, path)
    if arrived != size:
        raise Failure(f"{arrived} of {size} messages arrived")
