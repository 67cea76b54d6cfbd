# SPDX-License-Identifier: LGPL-2.1-or-later
"""Waiting for what comes true."""

import time


class Failure(AssertionError):
    """Something is not as it must be."""


def await_true(what, condition, seconds=30, pause=0.05):
    """Waits until the condition is true, and returns what made it so."""
    deadline = time.monotonic() + seconds
    while not (value := condition()):
        if time.monotonic() > deadline:
            raise Failure(f"no {what} after {seconds} s")
        time.sleep(pause)
    return value
