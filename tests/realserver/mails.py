# SPDX-License-Identifier: LGPL-2.1-or-later
"""Messages for the tests."""

import email.message
import email.policy
import email.utils
import time

POLICY = email.policy.SMTP


def plain(subject, text="A line.\n", sender="Carol Sender <carol@elsewhere.test>",
          to="Alice Example <alice@example.test>", **headers):
    """A message of one part, as bytes."""
    return made(subject, sender, to, headers, lambda mail: mail.set_content(text))


def made(subject, sender, to, headers, fill):
    mail = email.message.EmailMessage(policy=POLICY)
    mail["From"], mail["To"], mail["Subject"] = sender, to, subject
    mail["Date"] = headers.pop("date", email.utils.formatdate(time.time()))
    mail["Message-ID"] = email.utils.make_msgid(domain="elsewhere.test")
    for name, value in headers.items():
        mail[name.replace("_", "-")] = value
    fill(mail)
    return mail.as_bytes()
