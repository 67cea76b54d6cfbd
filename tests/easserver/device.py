# SPDX-License-Identifier: LGPL-2.1-or-later
"""What the server remembers of one device of one user: its sync keys above all."""

import collections
import itertools
import secrets


class Snapshot:
    """What a client holds of one folder: item number to Message.state(). change is the folder's
    counter when this was all there was to tell with that filter; -1 while more is due."""

    def __init__(self, items=None, change=-1, filter_type=0):
        self.items = {} if items is None else items
        self.change, self.filter = change, filter_type
        # True: one more answer is due although there is nothing new to tell.
        self.unsettled = False

    def copy(self):
        return Snapshot(dict(self.items), self.change, self.filter)


class KeyRing:
    """The last two keys of one synchronised thing, each with what the client holds at it.

    A client that did not get an answer repeats its request with the key before the last, and gets
    the answer again. Every older key is refused."""

    _numbers = itertools.count(1)
    # Keys of an earlier run of the server must not be taken for our own.
    _run = secrets.token_hex(3)

    def __init__(self, state, counting=False):
        self.current, self.previous = None, None
        self.request, self.answer = None, None
        self.count = 0 if counting else None
        self.advance(state, None)

    def __getstate__(self):
        # Another run of the server cannot repeat its answer word by word; it makes an equivalent one.
        return dict(self.__dict__, request=None, answer=None)

    @classmethod
    def new_key(cls):
        return f"{{{cls._run}}}{next(cls._numbers)}"

    def counted_key(self, state):
        self.count += 1
        return f"{max(state.items, default=0)}-{self.count}" if self.count > 1 else "-1"

    def advance(self, state, request):
        """A new key for a new state; the one before stays good for one repetition."""
        key = self.new_key() if self.count is None else self.counted_key(state)
        self.previous, self.current = self.current, (key, state)
        self.request, self.answer = request, None
        return self.current[0]

    def keep(self, state):
        """The newest key stays, for a state that tells the client nothing new."""
        self.current = (self.current[0], state)

    def open(self, key):
        """The state at a key, or None for a key that is not (or no longer) good."""
        for known in (self.current, self.previous):
            if known and known[0] == key:
                return known[1]
        return None

    def is_previous(self, key):
        return bool(self.previous) and self.previous[0] == key

    def rewind(self):
        """The client never saw the last answer."""
        self.current, self.previous = self.previous, None


class Collection:
    """One folder as one device synchronises it."""

    def __init__(self, counting=False):
        self.ring = KeyRing(Snapshot(), counting)
        self.options = None
        self.filter = 0


class Device:
    """One device of one user."""

    def __init__(self, device_id):
        self.id = device_id
        self.hierarchy = None
        self.collections = {}
        self.ping = None
        self.ping_number = 0
        self.policy_key, self.policy_pending, self.policy_version = "0", None, 0
        self.client_ids = collections.OrderedDict()
        self.information = {}
        self.wiped = None
        self.user_agent = None
