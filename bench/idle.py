# SPDX-License-Identifier: LGPL-2.1-or-later
"""A synchronisation that finds nothing to do, and a minute in which nothing is asked, beside a message server that has
not loaded the plugin."""

import time

from memory import ENVIRONMENTS, WITHOUT
from onstage import make_mail, start_all, synchronise
from process import Process
from report import Aim, progress
from robot import DOUBLET
from stage import Stage

MESSAGES = 100


def measure(build, options, report):
    with Stage(build) as stage, Stage(build) as other:
        bare = start_bare_server(other)
        make_mail(stage, MESSAGES)
        daemon, server = start_all(stage)
        synchronise(stage)
        time.sleep(DOUBLET)
        cpu = daemon.cpu_fine_ms(), server.cpu_fine_ms()
        wall = synchronise(stage)
        cpu = daemon.cpu_fine_ms() - cpu[0], server.cpu_fine_ms() - cpu[1]
        progress("an idle minute")
        time.sleep(10)  # keep-alive connections and QMF's own timers settle
        processes = daemon, server, bare
        before = [process.wakeups() for process in processes]
        time.sleep(60)
        woken = [process.wakeups() - count for process, count in zip(processes, before)]
    title = "One synchronisation with no changes, and an idle minute"
    notes = ["ms: CPU, and wall by the clock; wake-ups: in the idle minute; bare: a message server without the plugin"]
    columns = {"messages": "d", "wall_ms": ".0f", "daemon_ms": ".1f", "server_ms": ".1f", "daemon_wakeups": "d",
               "server_wakeups": "d", "bare_wakeups": "d"}
    with report.table("idle", title, columns, notes) as table:
        table.row(aims(*woken), messages=MESSAGES, wall_ms=wall, daemon_ms=cpu[0], server_ms=cpu[1],
                  daemon_wakeups=woken[0], server_wakeups=woken[1], bare_wakeups=woken[2])


def start_bare_server(stage):
    """One with an account, and without the plugin that knows what to do with it."""
    stage.add_account("--no-check", port=80)
    stage.env.update(ENVIRONMENTS[WITHOUT])
    return Process(stage.start_message_server())


def aims(daemon, server, bare):
    """How often each has woken up."""
    return [Aim("daemon's wake-ups in the idle minute", daemon, 0),
            Aim("message server's wake-ups, beside one without the plugin", server, bare)]
