# SPDX-License-Identifier: LGPL-2.1-or-later
"""Waiting for what comes true."""

import time


def await_true(what, condition, seconds=30, pause=0.1):
    """Waits until the condition is true, and returns what made it so."""
    deadline = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"no {what} after {seconds} s")
        time.sleep(pause)
