# SPDX-License-Identifier: LGPL-2.1-or-later
"""Tests of Python's unittest that tell their results as Qt Test does."""

import traceback
import unittest


class Result(unittest.TestResult):
    def __init__(self, suite):
        super().__init__()
        self.suite = suite

    def tell(self, word, name, more=""):
        name = name.split(".")[-1].removeprefix("test").removeprefix("_")
        print(f"{word}: {self.suite}::{name[:1].lower()}{name[1:]}(){more}", flush=True)

    def addSuccess(self, test):
        self.tell("PASS   ", test.id())

    def addError(self, test, err):
        super().addError(test, err)
        self.tell("FAIL!  ", test.id(), "\n" + "".join(traceback.format_exception(*err)))

    addFailure = addError

    def addSubTest(self, test, subtest, err):
        if err is not None:
            self.addError(subtest, err)

    def addSkip(self, test, reason):
        super().addSkip(test, reason)
        self.tell("SKIP   ", test.id(), f" {reason}")


def run(suite):
    """Runs the tests of the program that was started, which tell of this suite; the exit status."""
    result = Result(suite)
    unittest.defaultTestLoader.loadTestsFromName("__main__").run(result)
    print(f"Totals: {result.testsRun} run, {len(result.errors)} failed, {len(result.skipped)} skipped")
    return 1 if result.errors or not result.testsRun else 0
