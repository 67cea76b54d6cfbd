# SPDX-License-Identifier: LGPL-2.1-or-later
"""Many messages marked as read at once."""

from bareclient import BareClient
from onstage import make_mail, read_in_inbox, start_all, synchronise, timed_ms
from report import Aim, progress
from stage import Stage
from waiting import Failure


def measure(build, options, report):
    count = options["messages"]
    with Stage(build) as stage:
        progress(f"flags: {count} messages")
        make_mail(stage, count, "--attachment-size", "1")
        make_mail(stage, count, "--attachment-size", "1", "--folder", "Other")
        daemon, _ = start_all(stage, "--warm", "--no-gzip")
        synchronise(stage)
        bare = timed_ms(BareClient(stage.mail_server.url, "Other").mark_all)
        since = max(entry["number"] for entry in stage.control("log")["log"])
        before = daemon.cpu_fine_ms()
        store = stage.mail("flag", folder="Inbox", set=["read"])["ms"]
        wall = stage.mail("refresh", folder="Inbox")["ms"]
        cpu = daemon.cpu_fine_ms() - before
        requests = len(stage.control("log", since=since)["log"])
        read = sum(read_in_inbox(stage))
    if read != count:
        raise Failure(f"{read} of {count} messages are read at the server")
    notes = ["store: in the mail store alone; bare: one bare request of the same; wall: carried to the server;",
             "all by the clock but daemon, which is CPU"]
    columns = {"messages": "d", "store_ms": ".0f", "bare_ms": ".0f", "wall_ms": ".0f", "daemon_ms": ".0f",
               "requests": "d"}
    with report.table("flags", "Messages marked as read at once", columns, notes) as table:
        table.row([Aim("requests", requests, 3)], messages=count, store_ms=store, bare_ms=bare, wall_ms=wall,
                  daemon_ms=cpu, requests=requests)
