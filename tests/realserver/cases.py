# SPDX-License-Identifier: LGPL-2.1-or-later
"""Runs the functions test_... of a script in their order, on one chain, and prints as Qt Test does."""

import os
import shutil
import sys
import traceback

from chain import Chain
from realserver import NoServer


class Skip(Exception):
    """The case cannot be tried here, and why."""


def run(name, module, prepare=None, **server):
    """`prepare(chain)` makes what all cases share, with a server made with the further arguments; each
    case gets it. Exits with the result."""
    chain = None
    try:
        chain = Chain(**server)
    except NoServer as reason:
        print(f"FAIL!  : {name}::start() {reason}")
        sys.exit(1)
    failures = 0
    try:
        shared = prepare(chain) if prepare else chain
        for case, function in list(vars(module).items()):
            if case.startswith("test_"):
                failures += not run_case(f"{name}::{case[5:]}()", function, shared)
    except Exception:
        failures += 1
        print(f"FAIL!  : {name}::prepare()\n{traceback.format_exc()}", flush=True)
    finally:
        failures += not run_case(f"{name}::noLogHoldsAPassword()",
                                 lambda c: c.check_logs_hold_no_password(), chain)
        if failures:
            tell(chain)
        chain.close()
    sys.exit(1 if failures else 0)


def run_case(title, function, shared):
    try:
        function(shared)
        print(f"PASS   : {title}", flush=True)
    except Skip as reason:
        print(f"SKIP   : {title} {reason}", flush=True)
    except Exception:
        print(f"FAIL!  : {title}\n{traceback.format_exc()}", flush=True)
        return False
    return True


def tell(chain):
    print(chain.logs(80))
    print(chain.server.logs())
    keep = os.environ.get("ORVMAIL_KEEP_LOGS")
    if keep:
        shutil.copytree(chain.dir / "log", keep, dirs_exist_ok=True)
        shutil.copytree(chain.server.data / "log", keep, dirs_exist_ok=True)


def equal(found, expected, what=""):
    if found != expected:
        raise AssertionError(f"{what}\n  found    {found!r}\n  expected {expected!r}")
