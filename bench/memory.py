# SPDX-License-Identifier: LGPL-2.1-or-later
"""What the plugin costs an idle message server. The widget libraries must not be in it; what they would cost is shown
beside."""

import statistics
import time

from process import Process
from report import Aim, progress
from stage import Stage
from waiting import Failure

WITHOUT, WITH = "without the plugin", "with the plugin"
ENVIRONMENTS = {WITHOUT: {"QT_PLUGIN_PATH": "/nonexistent"}, WITH: {},
                "with it and the widget libraries": {"LD_PRELOAD": "libQt5Widgets.so.5"}}


def measure(build, options, report):
    rounds = options["rounds"]
    columns = {"messages": "d", "what": "s", "rss_mb": ".1f", "pss_mb": ".1f"}
    title = f"Idle message server with one account (median of {rounds})"
    with report.table("memory", title, columns) as table:
        rss = {}
        for what, environment in ENVIRONMENTS.items():
            runs = [idle_server_mb(build, environment) for _ in range(rounds)]
            rss[what], pss = (statistics.median(column) for column in zip(*runs))
            aims = [Aim("RSS MB of the plugin", rss[WITH] - rss[WITHOUT], 2)] if what == WITH else []
            table.row(aims, messages=0, what=what, rss_mb=rss[what], pss_mb=pss)


def idle_server_mb(build, environment):
    """RSS and PSS once they stand still."""
    with Stage(build) as stage:
        progress("memory")
        stage.add_account("--no-check", port=80)
        stage.env.update(environment)
        server = Process(stage.start_message_server())
        before = None
        while before != (now := (server.rollup_mb("Rss"), server.rollup_mb("Pss"))):
            before = now
            time.sleep(1)
        wanted = environment.get("QT_PLUGIN_PATH") is None
        if ("liborvmail.so" in server.maps()) != wanted:
            raise Failure("the message server has loaded what it should not, or not what it should")
        return now
