# SPDX-License-Identifier: LGPL-2.1-or-later
"""A large attachment over loopback, beside curl."""

import base64
import email.utils
import re

from bareclient import BareClient, attachment_request
from onstage import start_all, synchronise
from report import Aim, progress
from stage import Stage
from waiting import Failure


def measure(build, options, report):
    mib = options["mib"]
    with Stage(build) as stage:
        progress(f"attachment: {mib} MiB")
        inbox = stage.dir / "mail/alice/Inbox"
        inbox.mkdir(parents=True)
        write_large_message(inbox / "large.eml", mib << 20)
        daemon, _ = start_all(stage, "--warm", "--no-gzip")
        synchronise(stage)
        daemon.forget_peak()
        before = daemon.memory_mb(), daemon.cpu_fine_ms()
        seconds = stage.mail("part", location=large_part(stage)["location"])["ms"] / 1000
        extra, cpu = daemon.peak_mb() - before[0], daemon.cpu_fine_ms() - before[1]
        if large_part(stage)["size"] != mib << 20:
            raise Failure("the attachment is not whole")
        floor = curl_seconds(stage, file_reference(stage))
    notes = ["curl: the same bytes; store: fetched into the mail store; extra: the daemon's memory more than before"]
    columns = {"messages": "d", "mib": "d", "curl_mib_per_second": ".1f", "store_mib_per_second": ".1f",
               "daemon_ms": ".0f", "extra_mb": ".1f"}
    with report.table("attachment", "An attachment over loopback", columns, notes) as table:
        table.row([Aim("of curl's speed", floor / seconds, 0.5, at_least=True), Aim("extra MB", extra, 50)],
                  messages=1, mib=mib, curl_mib_per_second=mib / floor, store_mib_per_second=mib / seconds,
                  daemon_ms=cpu, extra_mb=extra)


def large_part(stage):
    """What the mail store has of the attachment."""
    [message] = stage.mail("messages", subject="Large", content=True)["messages"]
    return message["attachments"][0]


def write_large_message(path, size):
    """A message with an attachment that no compression shortens."""
    with open("/dev/urandom", "rb") as noise, open(path, "wb") as file:
        file.write((
            f"From: Carol <carol@elsewhere.test>\nTo: Alice <alice@example.test>\nSubject: Large\n"
            f"Date: {email.utils.formatdate()}\nMessage-ID: <large@elsewhere.test>\n"
            'MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary="large"\n\n'
            "--large\nContent-Type: text/plain\n\nSee there.\n--large\n"
            'Content-Type: application/octet-stream; name="large.bin"\n'
            'Content-Disposition: attachment; filename="large.bin"\n'
            "Content-Transfer-Encoding: base64\n\n").encode())
        left = size
        while left:
            piece = noise.read(min(left, 57 * 10000))
            file.write(base64.encodebytes(piece))
            left -= len(piece)
        file.write(b"--large--\n")


def file_reference(stage):
    """By which the daemon has fetched it."""
    return re.search(r"FileReference>(.*?)<", next(
        entry["request"] for entry in reversed(stage.control("log")["log"])
        if entry.get("command") == "ItemOperations")).group(1)


def curl_seconds(stage, reference):
    """How long curl takes for the answer that the daemon got."""
    (stage.dir / "request").write_bytes(attachment_request(reference))
    headers = [f"-H{name}: {value}" for name, value in BareClient.headers().items()]
    output = stage.run(["curl", "-sSf", *headers, "--data-binary", f"@{stage.dir / 'request'}",
                        "-o", stage.dir / "answer", "-w", "%{time_total}",
                        f"{stage.mail_server.url.rstrip('/')}{BareClient.target('ItemOperations')}"])
    return float(output)
