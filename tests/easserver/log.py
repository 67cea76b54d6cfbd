# SPDX-License-Identifier: LGPL-2.1-or-later
"""What clients asked and what they got, for the tests."""

import collections
import threading
import time

MAXIMUM_ANSWER = 20000


class Log:
    """The last requests, oldest first, each as a dictionary with a number that only grows."""

    def __init__(self, most=10000):
        self._entries = collections.deque(maxlen=most)
        self._lock = threading.Lock()
        self._next = 1

    def begin(self, handler):
        with self._lock:
            entry = {"number": self._next, "time": time.time(), "method": handler.command,
                     "url": handler.path, "headers": dict(handler.headers.items()),
                     "client": handler.client_address[1]}
            self._next += 1
            self._entries.append(entry)
            return entry

    def end(self, entry):
        entry.pop("body", None)
        entry["seconds"] = time.time() - entry["time"]
        answer = entry.pop("answer", None)
        if answer is not None:
            entry["collections"] = _collections(answer)
            if entry.get("bytes_out", 0) <= MAXIMUM_ANSWER:
                entry["answer"] = answer

    def clear(self):
        with self._lock:
            self._entries.clear()

    def since(self, number):
        """The entries after a number, with requests and answers as XML."""
        with self._lock:
            found = [dict(entry) for entry in self._entries if entry["number"] > number]
        for entry in found:
            entry.pop("body", None)
            for part in ("request", "answer"):
                if part in entry:
                    entry[part] = entry[part].xml()
        return found


def _collections(answer):
    """In short what a Sync brought."""
    found = []
    root = answer.find("AirSync:Collections")
    for one in root.nodes("AirSync:Collection") if root else []:
        told = one.find("AirSync:Commands")
        count = collections.Counter(n.tag.rpartition(":")[2] for n in told.nodes()) if told else {}
        found.append({"id": one.value("AirSync:CollectionId"), "key": one.value("AirSync:SyncKey"),
                      "status": one.value("AirSync:Status"), "commands": dict(count),
                      "more": one.find("AirSync:MoreAvailable") is not None})
    return found
