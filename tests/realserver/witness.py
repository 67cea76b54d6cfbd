# SPDX-License-Identifier: LGPL-2.1-or-later
"""The independent witness: the same mailboxes over IMAP, with Python's own library."""

import base64
import email
import email.policy
import imaplib
import re
import time


class Witness:
    """One connection a user, opened when first asked for."""

    def __init__(self, server):
        self._server, self._connections = server, {}

    def connection(self, user):
        if user not in self._connections:
            connection = imaplib.IMAP4("127.0.0.1", self._server.imap_port)
            connection.login(user, self._server.passwords[user])
            self._connections[user] = connection
        return self._connections[user]

    def close(self):
        for connection in self._connections.values():
            try:
                connection.logout()
            except (imaplib.IMAP4.error, OSError):
                pass
        self._connections = {}

    # --- folders

    def folders(self, user="alice"):
        lines = self._done(self.connection(user).list())
        return {decode_name(re.search(rb'"/" "?([^"]*)"?$', line).group(1)) for line in lines if line}

    def create(self, folder, user="alice"):
        self._done(self.connection(user).create(quoted(folder)))

    def rename(self, old, new, user="alice"):
        self._done(self.connection(user).rename(quoted(old), quoted(new)))

    def delete_folder(self, folder, user="alice"):
        self._done(self.connection(user).delete(quoted(folder)))

    # --- messages

    def append(self, folder, content, user="alice", flags="", received=None):
        """Puts a message (bytes) into a folder as it is."""
        when = imaplib.Time2Internaldate(received or time.time())
        content = re.sub(rb"\r?\n", b"\r\n", content)
        self._done(self.connection(user).append(quoted(folder), f"({flags})", when, content))

    def messages(self, folder="INBOX", user="alice", content=False):
        """Those that are not deleted: UID, flags, and the parsed message (headers alone unless asked)."""
        connection = self.connection(user)
        self._done(connection.select(quoted(folder), readonly=True))
        parts = "BODY.PEEK[]" if content else "BODY.PEEK[HEADER]"
        answer = self._done(connection.uid("FETCH", "1:*", f"(UID FLAGS INTERNALDATE {parts})"))
        found = [Seen(item) for item in answer if isinstance(item, tuple)]
        self._done(connection.close())
        return [message for message in found if "\\Deleted" not in message.flags]

    def message(self, subject, folder="INBOX", user="alice", content=False):
        """The one with this subject, or None."""
        found = [m for m in self.messages(folder, user, content) if m.subject == subject]
        if len(found) > 1:
            raise AssertionError(f"{len(found)} messages called {subject!r} in {folder}")
        return found[0] if found else None

    def store(self, subject, change, flags, folder="INBOX", user="alice"):
        """Changes flags: "+FLAGS" or "-FLAGS"."""
        uid = self.message(subject, folder, user).uid
        connection = self.connection(user)
        self._done(connection.select(quoted(folder)))
        self._done(connection.uid("STORE", str(uid), change, f"({flags})"))
        self._done(connection.unselect())

    def move(self, subject, target, folder="INBOX", user="alice"):
        uid = self.message(subject, folder, user).uid
        connection = self.connection(user)
        self._done(connection.select(quoted(folder)))
        self._done(connection.uid("MOVE", str(uid), quoted(target)))
        self._done(connection.unselect())

    def remove(self, subject, folder="INBOX", user="alice"):
        """For good."""
        uid = self.message(subject, folder, user).uid
        connection = self.connection(user)
        self._done(connection.select(quoted(folder)))
        self._done(connection.uid("STORE", str(uid), "+FLAGS", "(\\Deleted)"))
        self._done(connection.expunge())
        self._done(connection.unselect())

    def search(self, text, folder="INBOX", user="alice"):
        """The subjects of what IMAP SEARCH TEXT finds."""
        connection = self.connection(user)
        self._done(connection.select(quoted(folder), readonly=True))
        connection.literal = text.encode()
        uids = self._done(connection.uid("SEARCH", "CHARSET", "UTF-8", "TEXT"))[0].split()
        self._done(connection.close())
        wanted = {int(uid) for uid in uids}
        return {m.subject for m in self.messages(folder, user) if m.uid in wanted}

    def _done(self, answer):
        status, data = answer
        if status not in ("OK", "BYE"):
            raise AssertionError(f"IMAP says {status}: {data}")
        return data


class Seen:
    """A message as the IMAP server has it."""

    def __init__(self, item):
        described, self.raw = item[0].decode(), item[1]
        self.uid = int(re.search(r"UID (\d+)", described).group(1))
        self.flags = set(re.search(r"FLAGS \(([^)]*)\)", described).group(1).split())
        self.internal_date = imaplib.Internaldate2tuple(item[0])
        self.mail = email.message_from_bytes(self.raw, policy=email.policy.default)

    @property
    def subject(self):
        return str(self.mail["Subject"] or "")

    @property
    def is_read(self):
        return "\\Seen" in self.flags

    @property
    def is_flagged(self):
        return "\\Flagged" in self.flags


def quoted(folder):
    return '"' + encode_name(folder) + '"'


def encode_name(name):
    """Modified UTF-7, RFC 3501, 5.1.3."""
    def shift(match):
        text = base64.b64encode(match.group().encode("utf-16-be")).decode()
        return "&" + text.rstrip("=").replace("/", ",") + "-"
    return re.sub(r"[^\x20-\x7e]+", shift, name.replace("&", "&-"))


def decode_name(name):
    def shift(match):
        text = match.group(1)
        if not text:
            return "&"
        text = text.replace(",", "/")
        return base64.b64decode(text + "=" * (-len(text) % 4)).decode("utf-16-be")
    return re.sub(r"&([^-]*)-", shift, name.decode("ascii"))
