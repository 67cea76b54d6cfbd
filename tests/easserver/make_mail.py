# SPDX-License-Identifier: LGPL-2.1-or-later
"""Writes COUNT messages as DIRECTORY/USER/FOLDER/NUMBER.eml, the same ones for the same arguments.

A message has 4 KiB of headers and text; every tenth one carries 100 KiB more as an attachment. Four
in ten answer others, and have their subject. The last one was sent at --until, the others in the
days before it.
"""

import argparse
import base64
import email.utils
import random
from datetime import datetime, timedelta, timezone
from pathlib import Path

WORDS = ("amber basin cedar delta ember fjord grove harbour island jasper kelp lagoon meadow nectar "
         "orchard prairie quartz ridge summit tundra upland valley willow yarrow zephyr Grüße "
         "déjà naïve Straße").split()
PEOPLE = ("Carol Sender", "Dave Writer", "Erin Müller", "Frank Ólafsson", "Grace O'Hara", "Heidi Ito")
TEXT_SIZE, ATTACHMENT_SIZE, ATTACHMENT_EVERY = 3500, 100 * 1024, 10


def text(noise):
    lines, size = [], 0
    while size < TEXT_SIZE:
        line = " ".join(noise.choices(WORDS, k=noise.randint(6, 11)))
        lines.append(line)
        size += len(line.encode()) + 2
    return "\r\n".join(lines) + "\r\n"


def ancestors(number, seed):
    """The messages that a message answers, the first one first."""
    line = []
    while True:
        noise = random.Random(f"{seed}/{number}/thread")
        number -= noise.randint(1, 20)
        if number <= 0 or noise.random() >= 0.4:
            return line[::-1]
        line.append(number)


def subject(line, number, seed):
    """That of the message, or "Re:" and that of the first one in its line of ancestors."""
    first = line[0] if line else number
    noise = random.Random(f"{seed}/{first}/subject")
    words = " ".join(noise.choices(WORDS[:20], k=noise.randint(2, 7)))
    return f"{'Re: ' if line else ''}{words} {first}"


def header(noise, number, seed, sent, content_type):
    name = noise.choice(PEOPLE)
    address = name.split()[0].lower() + "@elsewhere.test"
    domain = "elsewhere.test"
    line = ancestors(number, seed)
    references = "\r\n ".join(f"<m{ancestor}@{domain}>" for ancestor in line)
    thread = f"References: {references}\r\n" if references else ""
    return (f"Received: from mx.{domain} by mail.example.test; {sent}\r\n"
            f"From: {email.utils.formataddr((name, address))}\r\nTo: Alice Example <alice@example.test>\r\n"
            f"Subject: {subject(line, number, seed)}\r\nDate: {sent}\r\nMessage-ID: <m{number}@{domain}>\r\n{thread}"
            f"MIME-Version: 1.0\r\nContent-Type: {content_type}\r\n")


def base64_lines(noise, size):
    """That many random bytes in base64, in pieces."""
    step = 57 * 1024
    for at in range(0, size, step):
        yield base64.encodebytes(noise.randbytes(min(step, size - at))).replace(b"\n", b"\r\n")


def message(number, seed, sent, attachment_size=ATTACHMENT_SIZE):
    """One message in pieces; number and seed decide all but its date."""
    noise = random.Random(f"{seed}/{number}")
    when = email.utils.format_datetime(sent)
    plain = "Content-Transfer-Encoding: 8bit\r\n\r\n" + text(noise)
    if number % ATTACHMENT_EVERY:
        yield (header(noise, number, seed, when, "text/plain; charset=utf-8") + plain).encode()
        return
    boundary = f"part-{number}"
    head = header(noise, number, seed, when, f'multipart/mixed; boundary="{boundary}"')
    yield (f"{head}\r\n--{boundary}\r\nContent-Type: text/plain; charset=utf-8\r\n{plain}\r\n--{boundary}\r\n"
           f'Content-Type: application/octet-stream; name="data-{number}.bin"\r\n'
           f'Content-Disposition: attachment; filename="data-{number}.bin"\r\n'
           "Content-Transfer-Encoding: base64\r\n\r\n").encode()
    yield from base64_lines(noise, attachment_size)
    yield f"--{boundary}--\r\n".encode()


def write(count, directory, seed=1, until=None, days=20.0, attachment_size=ATTACHMENT_SIZE):
    """Writes the messages into one folder's directory."""
    directory.mkdir(parents=True, exist_ok=True)
    until = until or datetime.now(timezone.utc).replace(hour=0, minute=0, second=0, microsecond=0)
    step = timedelta(days=days) / max(count, 1)
    for number in range(1, count + 1):
        sent = until - step * (count - number)
        with open(directory / f"{number:06}.eml", "wb") as file:
            file.writelines(message(number, seed, sent, attachment_size))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("count", type=int)
    parser.add_argument("directory", type=Path)
    parser.add_argument("--user", default="alice")
    parser.add_argument("--folder", default="Inbox")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--days", type=float, default=20, help="how far the dates reach back")
    parser.add_argument("--until", type=lambda t: datetime.fromisoformat(t).replace(tzinfo=timezone.utc),
                        help="2026-11-20T12:00; the start of today by default")
    parser.add_argument("--attachment-size", type=int, default=ATTACHMENT_SIZE, metavar="BYTES")
    settings = parser.parse_args()
    write(settings.count, settings.directory / settings.user / settings.folder, settings.seed, settings.until,
          settings.days, settings.attachment_size)


if __name__ == "__main__":
    main()
