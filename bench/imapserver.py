# SPDX-License-Identifier: LGPL-2.1-or-later
"""The IMAP server that the bench peer measures with: Dovecot, in the root $ORVMAIL_SERVER_ROOT_DOVECOT."""

import imaplib
import os
from pathlib import Path

from realserver import NoServer, RealServer

HERE = Path(__file__).resolve().parent / "dovecot"


def server_root():
    """The server's Debian root; NoServer where there is none."""
    root = os.environ.get("ORVMAIL_SERVER_ROOT_DOVECOT", "")
    if not os.access(f"{root}/usr/sbin/dovecot", os.X_OK):
        raise NoServer(os.environ.get("ORVMAIL_NO_SERVER_DOVECOT") or "./dev bench peer makes its Debian root")
    return root


class ImapServer(RealServer):
    """Serves Maildirs, those of alice and bob."""

    def __init__(self, place):
        super().__init__(place, server_root(), "dovecot", HERE / "server")

    def _configure(self):
        (self.data / "dovecot.conf").write_text((HERE / "dovecot.conf").read_text() % {"port": self.imap_port})

    def _answers(self):
        try:
            connection = imaplib.IMAP4("127.0.0.1", self.imap_port, timeout=5)
            connection.login("alice", self.passwords["alice"])
            connection.logout()
            return True
        except (imaplib.IMAP4.error, OSError):
            return False

    def adopt(self, user, messages):
        """Files messages in a user's inbox as they lie there, without a copy: paths on the same file system."""
        folder = self.data / "mail" / user / "cur"
        for number, message in enumerate(messages):
            os.link(message, folder / f"{1000000000 + number}.M{number}.bench:2,")
