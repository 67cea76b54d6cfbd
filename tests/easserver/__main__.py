# SPDX-License-Identifier: LGPL-2.1-or-later
"""An ActiveSync server for tests, demo and measurements, on this machine's loopback alone."""

import argparse
import ipaddress
import os
import signal
import sys
import threading
from pathlib import Path

from control import ControlServer
from mailstore import Store
from nursery import Nursery
from server import QUIRKS, Options, Server


def settings_of(arguments):
    parser = argparse.ArgumentParser(prog="easserver", description=__doc__,
                                     epilog="With --nursery SOCKET alone it starts servers; see nursery.py.")
    parser.add_argument("maildir", type=Path,
                        help="MAILDIR/USER/FOLDER/[FOLDER/...]FILE, each file one message")
    parser.add_argument("--host", default="127.0.0.1", help="a loopback address (%(default)s)")
    parser.add_argument("--port", type=int, default=0, help="0: a free one, the default")
    parser.add_argument("--control-port", type=int, default=0)
    parser.add_argument("--tls", nargs=2, metavar=("CERT", "KEY"))
    parser.add_argument("--users", nargs="+", default=["alice:secret", "bob:secret"],
                        metavar="NAME:PASSWORD", help="besides those with a directory, whose password "
                        'is "secret" (%(default)s)')
    parser.add_argument("--state", type=Path, metavar="FILE",
                        help="keep everything in FILE at the end, and go on from it at the start")
    parser.add_argument("--durable", action="store_true",
                        help="keep it there before each answer, so that the server may be killed")
    parser.add_argument("--versions", help="12.1,14.0,14.1 or some of them")
    parser.add_argument("--provision", action="store_true", help="demand it before all else")
    parser.add_argument("--quirks", nargs="+", choices=["lenient", *QUIRKS], default=[], metavar="NAME",
                        help="what some servers do otherwise, by its name in server.py; lenient: all of LENIENT")
    parser.add_argument("--no-gzip", action="store_true")
    parser.add_argument("--warm", action="store_true", help="prepare all messages before the start")
    parser.add_argument("--ignore-stdin", action="store_true",
                        help="go on when standard input closes")
    settings = parser.parse_args(arguments)
    if not ipaddress.ip_address(settings.host).is_loopback:
        parser.error(f"{settings.host} is not a loopback address; this server is for tests alone")
    if not settings.maildir.is_dir():
        parser.error(f"{settings.maildir} is not a directory")
    return settings


def options(settings):
    made = Options()
    for name in settings.quirks:
        if name == "lenient":
            made.be_lenient()
        else:
            setattr(made, name, True)
    if settings.versions:
        made.versions = settings.versions.split(",")
    made.provision = settings.provision
    made.gzip = made.gzip and not settings.no_gzip
    return made


def stop_at_end_of_input(stop):
    while os.read(0, 4096):
        pass
    stop()


def serve(arguments):
    settings = settings_of(arguments)
    store = Store(settings.maildir, dict(entry.split(":", 1) for entry in settings.users), settings.state,
                  settings.durable)
    server = Server((settings.host, settings.port), store, options(settings), settings.tls)
    control = ControlServer((settings.host, settings.control_port), server)
    if settings.warm:
        control.control.warm({})
    control.start()

    def stop(*_):
        # Not here: a signal's handler must not take locks.
        threading.Thread(target=server.stop).start()
    signal.signal(signal.SIGTERM, stop)
    signal.signal(signal.SIGINT, stop)
    if not settings.ignore_stdin:
        threading.Thread(target=stop_at_end_of_input, args=(server.stop,), daemon=True).start()
    server.start()
    print(f"{server.url} {control.url}", flush=True)
    server.stop_event.wait()
    server.go_offline()
    store.save()
    return server.conduct.exit_status()


def main():
    if sys.argv[1:2] == ["--nursery"]:
        return Nursery(sys.argv[2], serve).run()
    return serve(sys.argv[1:])


if __name__ == "__main__":
    sys.exit(main())
