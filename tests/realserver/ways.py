# SPDX-License-Identifier: LGPL-2.1-or-later
"""What each real server does otherwise than the others: the one place that tests take it from."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Ways:
    inbox: str  # its name
    own_folders: frozenset  # that it lists and that are no mailboxes
    notices_within: int  # seconds until a waiting client hears of news: its interval, and a busy machine
    knows_renamed_folders: bool  # where it was not asked to rename them; else they are others
    strange_key_answer: str  # to a synchronisation key that it never gave: the HTTP status
    names_recipients: bool  # else those in To come with their addresses alone
    marks_forwarded: bool  # what was forwarded has the flag for it
    texts_as_html: bool  # makes HTML of a plain text when a client takes both
    cannot_read: frozenset  # messages of the collection that it never shows,
    cannot_read_texts: frozenset  # and those that it shows without their text


SOGO = Ways(
    inbox="INBOX",
    own_folders=frozenset(),
    notices_within=8,  # looks every 5 s
    knows_renamed_folders=True,
    strange_key_answer="501",
    names_recipients=True,
    marks_forwarded=True,
    texts_as_html=False,
    cannot_read=frozenset(),
    cannot_read_texts=frozenset(),
)

HORDE = Ways(
    inbox="Inbox",
    own_folders=frozenset({"Outbox"}),
    # Looks every 3 s; its own work on a mailbox is news to it, and whoever brings no news too often is asked
    # more slowly.
    notices_within=25,
    knows_renamed_folders=False,
    strange_key_answer="200",
    names_recipients=False,
    marks_forwarded=False,
    texts_as_html=True,
    cannot_read=frozenset({"msg_39"}),
    cannot_read_texts=frozenset({"msg_33"}),
)
