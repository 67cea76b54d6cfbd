# SPDX-License-Identifier: LGPL-2.1-or-later
"""Sending, from transmitMessages to messagesTransmitted."""

import base64
import contextlib
import random
import statistics

from bareclient import BareClient
from onstage import start_all, synchronise
from report import Aim, progress
from stage import Stage
from waiting import Failure, await_true

BASE64_LINE = (78, 57)  # bytes of a line, and what it encodes
MANY = 100
# Bytes of a message, and at most so many milliseconds by those of the bare post.
SIZES = (("2 KiB", 2 << 10, lambda bare: 1.5 * bare + 20), ("10 MiB", 10 << 20, lambda bare: 1.3 * bare))


def measure(build, options, report):
    sizes_alone(build, options["sendings"], report)
    many_in_one_go(build, report)


def sizes_alone(build, sendings, report):
    columns = {"messages": "d", "size": "s", "bare_ms": ".1f", "all_ms": ".1f", "times": ".2f", "own_mb": ".1f",
               "mapped_mb": ".1f"}
    notes = ["bare: the HTTP post of the same bytes; times: all by bare; MB more than before while it sends: own of the",
             "daemon's own memory, mapped with the mapped attachment"]
    title = f"Sending one message, until the mail program is told (medians of {sendings})"
    with sending_stage(build) as (stage, daemon, bare), report.table("send", title, columns, notes) as table:
        for name, size, limit in SIZES:
            progress(f"send: {name}")
            floor, whole, own, mapped = sent_in(stage, daemon, bare, size, sendings)
            table.row([Aim(f"{name}, ms", whole, limit(floor))], messages=1, size=name, bare_ms=floor, all_ms=whole,
                      times=whole / floor, own_mb=own, mapped_mb=mapped)


def many_in_one_go(build, report):
    columns = {"messages": "d", "size": "s", "messages_per_second": ".0f", "daemon_mb": ".1f", "extra_mb": ".1f"}
    notes = ["MB: the daemon's peak, and how much more it is than before"]
    with sending_stage(build) as (stage, daemon, _), report.table("send", "Sending in one go", columns, notes) as table:
        progress(f"send: {MANY} messages")
        before = daemon.memory_mb()
        seconds = sending(stage, MANY, SIZES[0][1]) / 1000
        table.row(messages=MANY, size=SIZES[0][0], messages_per_second=MANY / seconds, daemon_mb=daemon.peak_mb(),
                  extra_mb=daemon.peak_mb() - before)


@contextlib.contextmanager
def sending_stage(build):
    """A stage on which the first message, which asks for the protocol's version, is sent already."""
    with Stage(build) as stage:
        (stage.dir / "mail/bob/Inbox").mkdir(parents=True)
        daemon, _ = start_all(stage, "--warm")
        synchronise(stage)
        sending(stage, 1, 2048)
        yield stage, daemon, BareClient(stage.mail_server.url)


def sending(stage, count, size):
    """Milliseconds from the request until the mail program was told of the last of `count` messages, which have an
    attachment and are of about `size` bytes."""
    noise = stage.dir / "noise.bin"
    noise.write_bytes(random.Random(1).randbytes(size // BASE64_LINE[0] * BASE64_LINE[1]))
    with stage.robot() as robot:
        for number in range(count):
            robot.tell("compose", subject=f"Bench {number}", text="See what is attached.\n", to=["bob@example.test"],
                       files=[str(noise)])
        told = robot.tell("transmit", seconds=600)["toldMs"]
    if len(told) != count:
        raise Failure(f"the mail program was told of {len(told)} of {count} messages")
    await_true("synchronisation after the sending", lambda: has_followed(stage))
    return told[-1]


def has_followed(stage):
    """Whether the daemon has synchronised what the last sending has changed. That begins some time later, and sends
    what waits then: a mail program that was about to send it would not be told."""
    commands = [entry.get("command") for entry in stage.control("log")["log"]]
    return "Sync" in commands[len(commands) - commands[::-1].index("SendMail"):]


def sent_in(stage, daemon, bare, size, rounds):
    """Milliseconds of the bare post and of the whole; MB more than before of the daemon's own memory, and of
    all."""
    floor, whole, own, mapped = [], [], [], []
    for _ in range(rounds):
        daemon.forget_peak()
        before = daemon.own_mb(), daemon.memory_mb()
        with daemon.watch_own_mb() as peak:
            whole.append(sending(stage, 1, size))
        own.append(peak[0] - before[0])
        mapped.append(daemon.peak_mb() - before[1])
        mime = base64.b64decode(stage.control("sent", mime=True)["sent"][-1]["mime"])
        floor.append(bare.send_ms(mime))
    return statistics.median(floor), statistics.median(whole), max(own), max(mapped)
