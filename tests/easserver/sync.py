# SPDX-License-Identifier: LGPL-2.1-or-later
"""Sync and GetItemEstimate (MS-ASCMD 2.2.1.21 and 2.2.1.9)."""

import time

import faults
import items
from device import Collection
from mailstore import NOT_MAIL
from wbxml import Node

OK, BAD_KEY, MALFORMED, GONE, HIERARCHY, INCOMPLETE, BAD_WAIT = "1", "3", "4", "8", "12", "13", "14"
DAYS = {1: 1, 2: 3, 3: 7, 4: 14, 5: 31, 6: 92, 7: 183}


class Changes:
    """What a client does not know yet of a folder: item numbers to add, change, delete, and to
    forget because the filter leaves them out now."""

    def __init__(self, folder, known, filter_type):
        oldest = time.time() - DAYS[filter_type] * 86400 if filter_type in DAYS else None
        self.add, self.change, self.delete, self.soft = [], [], [], []
        for item, message in folder.items.items():
            state = known.get(item)
            inside = oldest is None or message.received >= oldest
            if state is None:
                if inside:
                    self.add.append(item)
            elif not inside:
                self.soft.append(item)
            elif state != message.state():
                self.change.append(item)
        self.delete = [item for item in known if item not in folder.items]

    def count(self):
        return len(self.add) + len(self.change) + len(self.delete) + len(self.soft)


def pending(folder, collection):
    """Whether the client has something to fetch."""
    snapshot = collection.ring.current[1]
    if snapshot.unsettled:
        return True
    if snapshot.change == folder.change:
        return False
    return Changes(folder, snapshot.items, collection.filter).count() > 0


class CollectionSync:
    """One Collection of one request."""

    def __init__(self, call, request):
        self.call, self.request = call, request
        self.id = request.value("AirSync:CollectionId", "")
        self.key = request.value("AirSync:SyncKey")
        self.folder = call.user.folders.get(self.id)
        self.state = call.device.collections.get(self.id)
        self.responses = []
        self.more = False
        self.lost = {}
        self.options = call.options
        commands = request.find("AirSync:Commands")
        self.commands = commands.nodes() if commands else []

    def answer(self, room):
        """The Collection element, or None where there is nothing to say. room: items left in
        this answer."""
        if self.key is None:
            return self.failed(MALFORMED)
        if self.folder is None and self.options.silent_unknown:
            return None
        if self.folder is None or self.call.device.hierarchy is None:
            return self.failed(HIERARCHY if self.call.new else GONE)
        if self.options.counting_keys and self.key != "0" and "-" not in self.key:
            self.call.http_error(501)
        if self.key == "0":
            self.state = self.call.device.collections[self.id] = Collection(self.options.counting_keys)
            self.keep_options()
            return self.success([])
        snapshot = self.state.ring.open(self.key) if self.state else None
        if snapshot is None:
            return self.failed(BAD_KEY)
        ring, done = self.state.ring, None
        if ring.is_previous(self.key):
            done = ring.request
            repeatable = not self.options.counting_keys
            if repeatable and done and done.request == self.request and ring.answer is not None:
                return ring.answer
            self.lost = ring.current[1].items if self.options.counting_keys else {}
            ring.rewind()
        answer = self.fresh(snapshot.copy(), room, done)
        if answer is not None:
            ring.answer = answer
        return answer

    def fresh(self, snapshot, room, done):
        """A new answer. done: the same key's request that was carried out before, if any."""
        self.keep_options()
        if done and self.commands and done.commands == self.commands:
            self.repeat(done, snapshot)
        else:
            for command in self.commands:
                self.run(command, snapshot)
        settled = not self.state.ring.current[1].unsettled
        told = self.changes(snapshot, room) if self.wants_changes() else []
        if not (told or self.more or self.commands) and settled:
            self.state.ring.keep(snapshot)
            return None
        if not self.wants_changes():
            snapshot.change = -1
        snapshot.unsettled = bool(told) and self.options.settling
        self.state.ring.advance(snapshot, self)
        responses = [Node("AirSync:Responses", *self.responses)] if self.responses else []
        more = [Node("AirSync:MoreAvailable")] if self.more else []
        return self.success(more + told + responses)

    def repeat(self, done, snapshot):
        """The same commands once more: what they did stands, the client just hears it again."""
        self.responses = done.responses
        for command in self.commands:
            text = command.value("AirSync:ServerId", "")
            item = int(text) if text.isdigit() else 0
            if item not in self.folder.items:
                snapshot.items.pop(item, None)
            elif item in snapshot.items:
                snapshot.items[item] = self.folder.items[item].state()

    def wants_changes(self):
        if self.commands and self.options.responses_alone:
            return False
        element = self.request.find("AirSync:GetChanges")
        return element is None or element.data() != b"0"

    def keep_options(self):
        """Options stay good until others come."""
        options = self.request.find("AirSync:Options")
        if options is not None:
            self.state.options = options
            self.state.filter = int(options.value("AirSync:FilterType", "0"))

    def preferences(self):
        preferences = items.BodyPreferences(self.state.options, self.options)
        if not preferences.types:
            preferences.types = {items.PLAIN: (None, False, 0)}
        return preferences

    def changes(self, snapshot, room):
        """The Commands element for what the window holds, if any; the snapshot moves on."""
        unchanged = snapshot.change == self.folder.change and self.state.filter == snapshot.filter == 0
        if unchanged or self.folder.kind in NOT_MAIL:
            return []
        todo = Changes(self.folder, snapshot.items, self.state.filter)
        size = min(int(self.request.value("AirSync:WindowSize", "100") or 0) or 512, 512, room)
        self.more = todo.count() > size
        snapshot.change = -1 if self.more else self.folder.change
        snapshot.filter = self.state.filter
        commands = self.window(todo, size, snapshot.items)
        if "odd_item" in self.call.faults:
            commands = faults.spoil(commands, self.call.fault_value("odd_item", "how"))
        return [Node("AirSync:Commands", *commands)] if commands else []

    def window(self, todo, size, known):
        commands = []
        for item in todo.delete[:size]:
            del known[item]
            commands.append(Node("AirSync:Delete", Node("AirSync:ServerId", str(item))))
        for item in todo.soft[:size - len(commands)]:
            del known[item]
            commands.append(Node("AirSync:SoftDelete", Node("AirSync:ServerId", str(item))))
        for item in todo.change[:size - len(commands)]:
            commands.append(self.tell_change(item, known))
        preferences = self.preferences()
        added = todo.add[::-1] if self.options.newest_first else todo.add
        for item in added[:size - len(commands)]:
            known[item] = self.folder.items[item].state()
            commands.append(self.tell("Change" if item in self.lost else "Add", item, preferences))
        return commands

    def tell_change(self, item, known):
        message = self.folder.items[item]
        known[item] = message.state()
        if self.options.whole_changes:
            return self.tell("Change", item, self.preferences())
        return Node("AirSync:Change", Node("AirSync:ServerId", str(item)),
                    Node("AirSync:ApplicationData", *items.state_nodes(message, self.call.new)))

    def tell(self, kind, item, preferences):
        """A whole item."""
        message = self.folder.items[item]
        return Node(f"AirSync:{kind}", Node("AirSync:ServerId", str(item)),
                    Node("AirSync:ApplicationData",
                         *items.properties(message, self.folder, item, preferences, self.call.new)))

    def run(self, command, snapshot):
        """One command of the client. Success needs no word but for Fetch and Add."""
        kind = command.tag.rpartition(":")[2]
        text = command.value("AirSync:ServerId", "")
        item = int(text) if text.isdigit() else 0
        code, more = OK, []
        forced = self.call.fault_value("item_status") or self.call.refused.get(id(command))
        if forced is not None:
            code = str(forced)
        elif item not in self.folder.items:
            code = OK if self.options.missing_is_fine else GONE if kind in ("Change", "Delete", "Fetch") else MALFORMED
        elif kind == "Change":
            self.change_item(item, command, snapshot)
        elif kind == "Delete":
            as_move = self.request.value("AirSync:DeletesAsMoves", "1") != "0"
            as_move = as_move or self.options.always_trash
            self.call.store.delete(self.call.user, self.folder, item, as_move)
            snapshot.items.pop(item, None)
        elif kind == "Fetch":
            more = [Node("AirSync:ApplicationData", *items.properties(
                self.folder.items[item], self.folder, item, self.preferences(), self.call.new))]
        if code != OK or kind in ("Fetch", "Add") or self.options.confirm_all:
            self.responses.append(Node(f"AirSync:{kind}", Node("AirSync:ServerId", text),
                                       Node("AirSync:Status", code), *more))

    def change_item(self, item, command, snapshot):
        message = self.folder.items[item]
        data = command.find("AirSync:ApplicationData") or Node("AirSync:ApplicationData")
        before = message.state()
        read = data.value("Email:Read")
        if read is not None:
            message.read = read == "1"
        flag = data.find("Email:Flag")
        if flag is not None:
            message.flag = int(flag.value("Email:Status", "0") or 0)
        elif self.options.bare_read_unflags:
            message.flag = 0
        # What else is new of this item is still to be told.
        if snapshot.items.get(item) == before or self.options.own_changes_hide:
            snapshot.items[item] = message.state()
        self.folder.change += 1
        self.call.store.notify()

    def success(self, parts):
        return self.collection(self.state.ring.current[0], OK, parts)

    def failed(self, code):
        return self.collection("0" if code == BAD_KEY else self.key or "0", code, [])

    def collection(self, key, code, parts):
        kind = self.folder.kind if self.folder else 0
        name = {7: "Tasks", 8: "Calendar", 9: "Contacts", 10: "Notes"}.get(kind, "Email")
        old = Node("AirSync:Class", name) if not self.call.new else None
        return Node("AirSync:Collection", old, Node("AirSync:SyncKey", key),
                    Node("AirSync:CollectionId", self.id), Node("AirSync:Status", code), *parts)


def sync(call):
    if call.root is None or call.root.find("AirSync:Partial"):
        return Node("AirSync:Sync", Node("AirSync:Status", INCOMPLETE))
    wanted = call.root.find("AirSync:Collections")
    if wanted is None or not wanted.nodes("AirSync:Collection"):
        return Node("AirSync:Sync", Node("AirSync:Status", MALFORMED))
    forced = call.fault_value("collection_status")
    if forced is not None:
        return _all_failed(call, wanted, str(forced))
    answers = _answers(call, wanted)
    wait = _wait_seconds(call.root)
    if wait and not (call.options.heartbeat[0] <= wait <= call.options.heartbeat[1]):
        bound = call.options.heartbeat[wait > call.options.heartbeat[0]]
        return Node("AirSync:Sync", Node("AirSync:Status", BAD_WAIT), Node("AirSync:Limit", str(bound)))
    deadline = time.monotonic() + wait
    while not answers and call.wait(deadline):
        answers = _answers(call, wanted)
    return Node("AirSync:Sync", Node("AirSync:Collections", *answers)) if answers else None


def _wait_seconds(root):
    minutes = int(root.value("AirSync:Wait", "0") or 0)
    return int(root.value("AirSync:HeartbeatInterval", "0") or 0) or minutes * 60


def _answers(call, wanted):
    room = int(call.root.value("AirSync:WindowSize", "512") or 512)
    answers = []
    for request in wanted.nodes("AirSync:Collection"):
        answer = CollectionSync(call, request).answer(room)
        if answer is not None:
            answers.append(answer)
            told = answer.find("AirSync:Commands")
            room = max(0, room - (len(told.nodes()) if told else 0))
    return answers


def _all_failed(call, wanted, code):
    return Node("AirSync:Sync", Node("AirSync:Collections", *[
        CollectionSync(call, request).failed(code) for request in wanted.nodes("AirSync:Collection")]))


def get_item_estimate(call):
    answer = Node("GetItemEstimate:GetItemEstimate")
    for request in call.root.find("GetItemEstimate:Collections").nodes():
        folder_id = request.value("GetItemEstimate:CollectionId", "")
        folder, state = call.user.folders.get(folder_id), call.device.collections.get(folder_id)
        key = request.value("AirSync:SyncKey")
        if key == "0" and call.options.counting_keys:
            call.http_error(501)
        snapshot = state.ring.open(key) if state and key else None
        if folder is None or snapshot is None:
            code = "2" if folder is None else "3" if key == "0" or state is None else "4"
            answer.add(Node("GetItemEstimate:Response", Node("GetItemEstimate:Status", code)))
            continue
        options = request.find("AirSync:Options")
        filter_type = int(options.value("AirSync:FilterType", "0")) if options else state.filter
        count = 0 if folder.kind in NOT_MAIL else Changes(folder, snapshot.items, filter_type).count()
        answer.add(Node("GetItemEstimate:Response", Node("GetItemEstimate:Status", OK),
                        Node("GetItemEstimate:Collection",
                             Node("GetItemEstimate:CollectionId", folder_id),
                             Node("GetItemEstimate:Estimate", str(count)))))
    return answer
