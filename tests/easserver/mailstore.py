# SPDX-License-Identifier: LGPL-2.1-or-later
"""The users' folders and messages, read from a directory tree and changed while the server runs.

MAILDIR/USER/FOLDER/[FOLDER/...]FILE: each file one message. A name may end in ":2," and letters,
as in Maildir: S seen, F flagged, R replied, P passed on (forwarded). Nothing is written there
unless the server is told to keep its state.
"""

import email.utils
import itertools
import mmap
import pickle
import threading
import time
from datetime import datetime, timezone
from pathlib import Path

import mimeparts

STANDARD = {"inbox": 2, "drafts": 3, "trash": 4, "deleted items": 4, "sent": 5, "sent items": 5,
            "outbox": 6, "tasks": 7, "calendar": 8, "contacts": 9, "notes": 10}
INBOX, DRAFTS, TRASH, SENT, USER_MAIL = 2, 3, 4, 5, 12
NOT_MAIL = (7, 8, 9, 10)
ROOT = "0"
DOMAIN = "example.test"


class Message:
    """One message: its bytes (in a file or here), when it arrived, and its flags.

    flag is the protocol's: 0 none, 1 complete, 2 active. verb: 1 answered, 2 answered to all,
    3 forwarded."""

    def __init__(self, path=None, content=None, received=None):
        self.path, self.content = path, content
        self.read, self.flag, self.verb, self.verb_time = False, 0, 0, 0
        self.received = received if received is not None else self._sent()
        self.cache = {}

    def __getstate__(self):
        return dict(self.__dict__, cache={})

    def bytes(self):
        return self.content if self.content is not None else self.path.read_bytes()

    def buffer(self):
        """The bytes without reading them all, where they are in a file."""
        if self.content is not None or self.length() < 1 << 20:
            return self.bytes()
        with open(self.path, "rb") as file:
            return mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)

    def length(self):
        return len(self.content) if self.content is not None else self.path.stat().st_size

    def state(self):
        """What a client has to know again after a change, as one number."""
        return self.verb << 4 | self.flag << 1 | self.read

    def set_letters(self, letters):
        self.read = "S" in letters
        self.flag = 2 if "F" in letters else 0
        self.verb = 1 if "R" in letters else 3 if "P" in letters else 0
        self.verb_time = self.received if self.verb else 0

    def letters(self):
        return ("F" if self.flag == 2 else "") + ("P" if self.verb == 3 else "") + \
            ("R" if self.verb in (1, 2) else "") + ("S" if self.read else "")

    def _sent(self):
        """The Date header where it is believable, else the file's time."""
        head = self._head()
        try:
            sent = email.utils.parsedate_to_datetime(mimeparts.raw_header(head, "Date"))
            stamp = sent.replace(tzinfo=sent.tzinfo or timezone.utc).timestamp()
            if 0 <= stamp < 4102444800:
                return stamp
        except Exception:
            pass
        return self.path.stat().st_mtime if self.path else time.time()

    def _head(self):
        if self.content is not None:
            head = self.content[:65536]
        else:
            with open(self.path, "rb") as file:
                head = file.read(65536)
        return mimeparts.headers_of(head)


class Folder:
    """One folder. Items have numbers that are unique in this folder alone; change counts every
    change of the items."""

    def __init__(self, folder_id, name, parent, kind, path=None):
        self.id, self.name, self.parent, self.kind, self.path = folder_id, name, parent, kind, path
        self.items = {}
        self.next_item = 1
        self.change = 0

    def add(self, message):
        item = self.next_item
        self.next_item += 1
        self.items[item] = message
        self.change += 1
        return item

    def remove(self, item):
        self.change += 1
        return self.items.pop(item)


class User:
    """One mailbox: its folders by id, its devices by id, and how its owner logs in."""

    def __init__(self, name, password):
        self.name, self.password = name, password
        self.address = f"{name}@{DOMAIN}"
        self.full_name = name.capitalize() + " Example"
        self.folders = {}
        self.devices = {}
        self.numbers = itertools.count(1)

    def new_folder(self, name, parent=ROOT, kind=None, path=None):
        if kind is None:
            kind = STANDARD.get(name.lower(), USER_MAIL) if parent == ROOT else USER_MAIL
            if kind != USER_MAIL and any(f.kind == kind for f in self.folders.values()):
                kind = USER_MAIL
        folder = Folder(self.new_id(), name, parent, kind, path)
        self.folders[folder.id] = folder
        return folder

    def new_id(self):
        """The percent sign is there on purpose: an id must come back as it went out."""
        return f"mail%2F{self.name}{next(self.numbers):04x}"

    def folder_of_kind(self, kind):
        return next(f for f in self.folders.values() if f.kind == kind)

    def child(self, parent, name):
        return next((f for f in self.folders.values()
                     if f.parent == parent and f.name == name), None)

    def by_id(self, text):
        """A folder by its id, or by the id as a search tells it where "bare_search_ids" is on."""
        return self.folders.get(text) or self.folders.get(text.replace("/", "%2F"))

    def by_path(self, path):
        """A folder by "Name/Name", or by its id; None if there is none."""
        if path in self.folders:
            return self.folders[path]
        folder = None
        for name in path.split("/"):
            folder = self.child(folder.id if folder else ROOT, name)
            if folder is None:
                return None
        return folder

    def path_of(self, folder):
        names = []
        while folder:
            names.insert(0, folder.name)
            folder = self.folders.get(folder.parent)
        return "/".join(names)

    def below(self, folder):
        """The folder and all that are under it."""
        found = [folder]
        for child in [f for f in self.folders.values() if f.parent == folder.id]:
            found += self.below(child)
        return found

    def hierarchy(self):
        """What a client knows of the folders."""
        return {f.id: (f.parent, f.name, f.kind) for f in self.folders.values()}

    def load(self, directory):
        entries = directory.iterdir() if directory.is_dir() else []
        for path in sorted(p for p in entries if p.is_dir() and not p.name.startswith(".")):
            self._load_folder(path, ROOT)
        for name, kind in (("Inbox", INBOX), ("Drafts", DRAFTS), ("Trash", TRASH), ("Sent", SENT),
                           ("Junk", USER_MAIL), ("Calendar", 8), ("Contacts", 9)):
            if kind == USER_MAIL and self.child(ROOT, name):
                continue
            if kind == USER_MAIL or not any(f.kind == kind for f in self.folders.values()):
                self.new_folder(name, ROOT, kind)

    def _load_folder(self, path, parent):
        folder = self.new_folder(path.name, parent, None, path)
        for entry in sorted(path.iterdir()):
            if entry.name.startswith("."):
                continue
            if entry.is_dir():
                self._load_folder(entry, folder.id)
            else:
                message = Message(entry)
                message.set_letters(entry.name.rpartition(":2,")[2] if ":2," in entry.name else "")
                folder.add(message)


class Store:
    """All users. lock guards everything; changed is notified after each change."""

    def __init__(self, directory, users, state_file=None, durable=False):
        self.lock = threading.RLock()
        self.changed = threading.Condition(self.lock)
        self.directory = Path(directory)
        self.state_file, self.durable = state_file, durable
        self.users = {}
        # What clients sent, for the tests.
        self.sent = []
        if state_file and state_file.exists():
            self.users, self.sent = pickle.loads(state_file.read_bytes())
            return
        for entry in sorted(self.directory.iterdir()):
            if entry.is_dir() and not entry.name.startswith("."):
                users.setdefault(entry.name, "secret")
        for name, password in users.items():
            self.users[name] = user = User(name, password)
            user.load(self.directory / name)

    def save(self):
        """Keeps all for the next run, sync keys included, if there is a place for it."""
        if self.state_file:
            with self.lock:
                # A run that is killed over it leaves the old file whole.
                made = self.state_file.with_suffix(".new")
                made.write_bytes(pickle.dumps((self.users, self.sent)))
                made.replace(self.state_file)

    def settle(self):
        """Before a change is answered: a server that is killed afterwards must know of it."""
        if self.durable:
            self.save()

    def notify(self):
        with self.lock:
            self.changed.notify_all()

    def login(self, name, password):
        """The user of a login in any usual form, or None."""
        name = name.rpartition("\\")[2].partition("@")[0].lower()
        user = self.users.get(name)
        return user if user and user.password == password else None

    def deliver(self, user, folder, content, received=None, letters=""):
        with self.lock:
            message = Message(content=content, received=received or time.time())
            message.set_letters(letters)
            item = folder.add(message)
            self.changed.notify_all()
            return item

    def delete(self, user, folder, item, as_move=True):
        """To the trash, or for good from the trash or when asked."""
        with self.lock:
            message = folder.remove(item)
            trash = user.folder_of_kind(TRASH)
            if as_move and folder is not trash:
                trash.add(message)
            self.changed.notify_all()

    def move(self, source, item, target):
        with self.lock:
            new_item = target.add(source.remove(item))
            self.changed.notify_all()
            return new_item


def iso(stamp):
    """A time as the protocol writes it."""
    return datetime.fromtimestamp(stamp, timezone.utc).strftime("%Y-%m-%dT%H:%M:%S.000Z")
