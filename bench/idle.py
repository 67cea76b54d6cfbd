# SPDX-License-Identifier: LGPL-2.1-or-later
"""A synchronisation that finds nothing to do, and a minute in which nothing is asked."""

import time

from onstage import make_mail, start_all, synchronise
from report import progress
from robot import DOUBLET
from stage import Stage

MESSAGES = 100


def measure(build, options, report):
    with Stage(build) as stage:
        make_mail(stage, MESSAGES)
        daemon, server = start_all(stage)
        synchronise(stage)
        time.sleep(DOUBLET)
        cpu = daemon.cpu_fine_ms(), server.cpu_fine_ms()
        wall = synchronise(stage)
        cpu = daemon.cpu_fine_ms() - cpu[0], server.cpu_fine_ms() - cpu[1]
        progress("an idle minute")
        time.sleep(10)  # keep-alive connections and QMF's own timers settle
        before = daemon.wakeups(), server.wakeups()
        time.sleep(60)
        woken = daemon.wakeups() - before[0], server.wakeups() - before[1]
    title = "One synchronisation with no changes, and an idle minute"
    notes = ["ms: CPU, and wall by the clock; wake-ups: in the idle minute"]
    columns = {"messages": "d", "wall_ms": ".0f", "daemon_ms": ".1f", "server_ms": ".1f", "daemon_wakeups": "d",
               "server_wakeups": "d"}
    with report.table("idle", title, columns, notes) as table:
        table.row(messages=MESSAGES, wall_ms=wall, daemon_ms=cpu[0], server_ms=cpu[1], daemon_wakeups=woken[0],
                  server_wakeups=woken[1])
