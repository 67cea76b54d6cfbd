# SPDX-License-Identifier: LGPL-2.1-or-later
"""Misbehaviour on demand.

A fault is a JSON object: "kind", and optionally "command" (only for that one), "user", "count"
(how many requests, default 1, -1 for all), "after" (how many matching requests pass first). Kinds:

  http               answer "status", with "headers" and "body", without carrying the request out;
                     "retry_after" in seconds, "location" for a redirect (451)
  status             the command's own Status is "status"
  collection_status  every Collection of a Sync is refused with "status" (3: wrong key, 12: folders)
  item_status        every Change, Delete, Move of the client is refused with "status"
  odd_item           the first Add of a Sync is odd: "how" is empty (no data), dates, values (words for
                     numbers), twice, no_id
  more               Sync says MoreAvailable with a new key and without items, or each time with the
                     deletion of "item"
  delay              "seconds" before the request is carried out, or with "late" before the answer; the
                     control "delay-end" ends those that last
  slow               the answer trickles at "rate" bytes a second
  cut                the connection ends after "bytes" bytes of the answer's body
  reset              the connection is reset: before the request is carried out, or with "late" after
  reset_request      the connection is reset after "bytes" bytes of the request's body
  damage             the answer's WBXML is damaged: "how" is truncated, flipped, deep, length, page
  rubbish            the answer is "body" (default: some HTML) with status 200
  unknown            the answer has elements that no client knows, of a newer server
"""

import itertools
import random
import threading

from wbxml import HEADER, Node, number

KINDS = ("http", "status", "collection_status", "item_status", "odd_item", "more", "delay", "slow", "cut", "reset",
         "reset_request", "damage", "rubbish", "unknown")


class Fault:
    """One fault and how often it is still due."""

    def __init__(self, description):
        if description.get("kind") not in KINDS:
            raise ValueError(f"no such kind of fault: {description.get('kind')}")
        self.description = description
        self.kind = description["kind"]
        self.count = description.get("count", 1)
        self.after = description.get("after", 0)

    def matches(self, command, user):
        if self.description.get("command") not in (None, command) or self.description.get("user") not in (None, user):
            return False
        if self.after > 0:
            self.after -= 1
            return False
        return self.count != 0

    def get(self, name, default=None):
        return self.description.get(name, default)


class Faults:
    """The faults that are due, in the order in which they were asked for."""

    def __init__(self):
        self._faults = []
        self._coming = []  # those of requests that have not come whole
        self._lock = threading.Lock()  # each connection has a thread

    def add(self, description):
        with self._lock:
            self._faults.append(Fault(description))

    def clear(self):
        with self._lock:
            self._faults = []

    def take(self, command, user):
        """The faults for one request; each kind once."""
        with self._lock:
            taken = {}
            for fault in self._faults:
                if fault.kind not in taken and fault.matches(command, user):
                    taken[fault.kind] = fault
                    fault.count -= fault.count > 0
            self._coming.append(taken)
            self._faults = [fault for fault in self._faults if fault.count != 0]
            return taken

    def meet(self, taken):
        """The request that has taken these faults has come, whole or not."""
        with self._lock:
            self._coming = [other for other in self._coming if other is not taken]

    def left(self):
        """Those that have not met their requests."""
        with self._lock:
            coming = [fault for taken in self._coming for fault in taken.values()]
            return [dict(fault.description, count=fault.count, after=fault.after) for fault in coming + self._faults]


def damage(data, how):
    """The bytes of an answer, damaged in a way that shows every time."""
    if how == "truncated":
        return data[:max(5, len(data) * 2 // 3)]
    if how == "deep":
        return HEADER + b"\x45" * 100000
    if how == "length":
        return HEADER + b"\x45\xc3" + number(0x7FFFFFFF) + b"abc"
    if how == "page":
        return HEADER + b"\x00\xfe" + data[4:]
    if how == "flipped":
        noise = random.Random(len(data))
        out = bytearray(data)
        for at in itertools.islice(iter(lambda: noise.randrange(4, len(out)), None), 1 + len(out) // 10):
            out[at] ^= 1 << noise.randrange(8)
        return bytes(out)
    raise ValueError(f"no such damage: {how}")


def spoil(commands, how):
    """A Sync's commands with the first Add made odd."""
    at = next((n for n, node in enumerate(commands) if node.tag == "AirSync:Add"), None)
    if at is None:
        return commands
    head, data = commands[at].nodes()
    odd = {"empty": [Node("AirSync:Add", head)],
           "twice": [commands[at], commands[at]],
           "no_id": [Node("AirSync:Add", data)],
           "dates": [Node("AirSync:Add", head, _without(data, Node("Email:DateReceived", "the day before")))],
           "values": [Node("AirSync:Add", head, _without(
               data, Node("Email:Read", "maybe"), Node("Email:Importance", "very"), Node(
                   "AirSyncBase:Body", Node("AirSyncBase:Type", "text"),
                   Node("AirSyncBase:EstimatedDataSize", "-1"))))]}[how]
    return commands[:at] + odd + commands[at + 1:]


def _without(data, *more):
    """Other elements in the place of those that are not encoded yet; what comes last counts."""
    names = {node.tag for node in more}
    kept = [c for c in data.children if getattr(c, "tag", None) not in names]
    return Node(data.tag, *kept, *more)


def with_unknown(data):
    """Elements of an unknown page and unknown tokens, put in right after the root's start."""
    if len(data) < 6:
        return data
    page_switch = 2 if data[4] == 0 else 0
    page = data[5] if page_switch else 0
    head = 4 + page_switch + 1
    strange = bytes([0, 0x1E, 0x7E, 0x3E, 0x7D, 3]) + b"new\0" + b"\x01\x7c\xc3\x02ab\x01\x01"
    return data[:head] + strange + bytes([0, page]) + data[head:]
