# SPDX-License-Identifier: LGPL-2.1-or-later
"""What clients did that the table does not allow: answered as a strict server does, and kept until a test says
that it wanted just that. What is left at the end fails the run, in three ways so that no test can forget it:
the server's exit status, its words on standard error, and a file of its own in the folder EASSERVER_VIOLATIONS,
which is there even if the server was killed."""

import os
import sys
import threading
from pathlib import Path

import commands
import requestcheck
import search

EXIT_STATUS = 3
MOST = 200


class Conduct:
    """The violations of all clients that nobody has asked for yet."""

    def __init__(self):
        folder = os.environ.get("EASSERVER_VIOLATIONS")
        self._file = Path(folder) / f"{os.getpid()}" if folder else None
        self._lock = threading.Lock()
        self._kept = []

    def check(self, call):
        """Looks at a request; the answer to one that is wrong, or None. Throws HttpAnswer."""
        length = len(call.body)
        found = requestcheck.check(requestcheck.Request(
            call.command, call.version, call.handler.headers, call.query, call.root, length))
        found += _new_agent(call)
        if not found:
            return None
        self.keep([f"{call.command} {call.version}: {one.text} ({one.answer or 'no answer'})" for one in found], call.root)
        return None if call.options.takes_anything else _answer(call, found)

    def keep(self, texts, document=None):
        """Takes violations down, the same one only once."""
        with self._lock:
            new = [text for text in dict.fromkeys(texts) if text not in self._kept]
            self._kept += new[:MOST - len(self._kept)]
            if new:
                self._write()
                print("\n".join(f"easserver: violation: {text}" for text in new), file=sys.stderr, flush=True)
                if document is not None:
                    print(document.xml(), file=sys.stderr, flush=True)

    def take(self):
        """What was taken down; whoever takes it has asked for it."""
        with self._lock:
            taken, self._kept = self._kept, []
            if taken:
                self._write()
            return taken

    def exit_status(self):
        """What the server ends with; tells what nobody has asked for."""
        with self._lock:
            for text in self._kept:
                print(f"easserver: FAIL: {text}", file=sys.stderr, flush=True)
            return EXIT_STATUS if self._kept else 0

    def _write(self):
        if self._file is None:
            return
        if self._kept:
            self._file.write_text("".join(text + "\n" for text in self._kept))
        else:
            self._file.unlink(missing_ok=True)


def _new_agent(call):
    """A device calls itself by one name for good; none of the answers is about that."""
    name, known = call.handler.headers.get("User-Agent", ""), call.device.user_agent
    call.device.user_agent = name
    if known in (None, name):
        return []
    return [requestcheck.Violation(f'User-Agent is "{name}" and was "{known}"', "", None)]


def _answer(call, found):
    """The answer of the first violation that ends a request; those of single items are left to Sync."""
    for one in found:
        item, _, code = one.answer.rpartition(" ")
        if not code:
            continue
        if item:
            call.refused[id(_command_of(call.root, one.where))] = code[1:]
            continue
        if code[0] == "H":
            call.http_error(int(code[1:]))
        if code[0] == "g" and not call.new:
            call.http_error(400)
        if call.command == "Search" and code[0] == "S":
            return search.answer(code[1:], [])  # it stands with the store
        return commands.with_status(call.command, code[1:])
    return None


def _command_of(root, node):
    """The Change, Add, Delete or Fetch of a Sync that a node belongs to."""
    def holds(one):
        return one is node or any(holds(child) for child in one.nodes())
    wanted = root.find("AirSync:Collections")
    for collection in wanted.nodes() if wanted else []:
        block = collection.find("AirSync:Commands")
        for command in block.nodes() if block else []:
            if holds(command):
                return command
    return None
