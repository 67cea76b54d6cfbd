# SPDX-License-Identifier: LGPL-2.1-or-later
"""Messages for the tests."""

import email.message
import email.policy
import email.utils
import random
import re
import time
from html import unescape

POLICY = email.policy.SMTP
ALICE = "Alice Example <alice@example.test>"
WORDS = ("Grüße", "résumé", "данные", "会議", "naïve", "plain", "words", "and", "more", "of", "them",
         "€ 100", "smile 😀", "tab\tbed", "quote \"x\"", "<angle>", "&amp;", "it's")


def plain(subject, text="A line.\n", sender="Carol Sender <carol@elsewhere.test>", to=ALICE,
          **headers):
    """A message of one part, as bytes."""
    return made(subject, lambda mail: mail.set_content(text), sender, to, **headers)


def with_files(subject, files, text="See the attached files.\n", **headers):
    """A message with attachments: (name, type, bytes) each."""
    def fill(mail):
        mail.set_content(text)
        for name, kind, data in files:
            main, sub = kind.split("/")
            mail.add_attachment(data, maintype=main, subtype=sub, filename=name)
    return made(subject, fill, **headers)


def made(subject, fill, sender="Carol Sender <carol@elsewhere.test>", to=ALICE, **headers):
    mail = email.message.EmailMessage(policy=POLICY)
    mail["From"], mail["To"], mail["Subject"] = sender, to, subject
    mail["Date"] = headers.pop("date", email.utils.formatdate(time.time()))
    mail["Message-ID"] = email.utils.make_msgid(domain="elsewhere.test")
    for name, value in headers.items():
        mail[name.replace("_", "-")] = value
    fill(mail)
    return mail.as_bytes()


def from_html(html):
    """The text that a server made such HTML of."""
    lines = [line.strip("\r\n") for line in re.split(r"<br ?/?>", html)]
    return unescape(re.sub(r"<[^>]*>", "", "\n".join(lines)))


class Maker:
    """Makes mail of all kinds, the same again from the same seed."""

    KINDS = ("short", "long", "html", "both", "latin", "files", "texts", "empty")

    def __init__(self, seed):
        self.random = random.Random(seed)

    def make(self, number):
        """(kind, message): the subject begins with the number."""
        kind = self.KINDS[number % len(self.KINDS)]
        subject = f"{number:04d} {kind} {self.words(3)}".replace("\t", " ").strip()
        when = 1700000000 + number * 3601
        headers = {"sender": self.address(), "date": email.utils.formatdate(when)}
        if number % 5 == 0:
            headers["cc"] = ", ".join(self.address() for _ in range(self.random.randint(1, 4)))
        if number % 13 == 0:
            headers["reply_to"] = "Somebody Else <else@elsewhere.test>"
        return kind, made(subject, getattr(self, "fill_" + kind), **headers), when

    def address(self):
        name = self.random.choice(["Carol Sender", "Erin Müller", "Zoë (Ops)", "O'Hara, Scarlett",
                                   "山田 太郎", ""])
        return email.utils.formataddr((name, f"p{self.random.randint(1, 99)}@elsewhere.test"), "utf-8")

    def words(self, count):
        return " ".join(self.random.choice(WORDS) for _ in range(count))

    def text(self, lines):
        return "".join(self.words(self.random.randint(1, 9)) + "\n" for _ in range(lines))

    def data(self, size):
        return self.random.randbytes(size)

    def fill_short(self, mail):
        mail.set_content(self.text(3))

    def fill_long(self, mail):
        mail.set_content(self.text(300))

    def fill_html(self, mail):
        mail.set_content(f"<html><body><p>{self.random.randint(0, 9999)} &uuml;&euro;</p></body></html>\n",
                         subtype="html")

    def fill_both(self, mail):
        text = self.text(2)
        mail.set_content(text)
        mail.add_alternative("<p>A paragraph, in <b>bold</b> &amp; Grün.</p>\n", subtype="html")

    def fill_latin(self, mail):
        mail.set_content("Grüße aus Köln, naïve façade.\n" * 3, charset="iso-8859-1",
                         cte="quoted-printable")

    def fill_files(self, mail):
        mail.set_content(self.text(2))
        for number in range(self.random.randint(1, 3)):
            mail.add_attachment(self.data(self.random.choice([1, 100, 5000, 60000])),
                                maintype="application", subtype="octet-stream",
                                filename=f"data {number} größe.bin")

    def fill_texts(self, mail):
        mail.set_content(self.text(2))
        mail.add_attachment("Grüße, данные\n" * 4, filename="notes.txt", cte="base64")
        mail.add_attachment(b"Caf\xe9 cr\xe8me\n", maintype="text", subtype="plain",
                            filename="latin.txt", params={"charset": "iso-8859-1"})

    def fill_empty(self, mail):
        mail.set_content("\n")
