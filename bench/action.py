# SPDX-License-Identifier: LGPL-2.1-or-later
"""The plugin's share of an action: everything but the daemon's work."""

from onstage import json_line
from report import Aim, progress
from stage import Stage


def measure(build, options, report):
    with Stage(build) as stage:
        progress("action")
        told = json_line(stage.run([stage.bin("actionbench")], timeout=300))
    times = told["action_us"] / told["floor_us"]
    title = f"One synchronise action, scripted daemon that answers at once (median of {told['rounds']})"
    notes = ["action: the plugin included; floor: the bare D-Bus call and broadcast"]
    columns = {"messages": "d", "action_us": ".0f", "floor_us": ".0f", "times": ".2f"}
    with report.table("action", title, columns, notes) as table:
        table.row([Aim("times the floor", times, 1.5)], messages=0, action_us=told["action_us"],
                  floor_us=told["floor_us"], times=times)
