# SPDX-License-Identifier: LGPL-2.1-or-later
"""FolderSync, FolderCreate, FolderDelete, FolderUpdate (MS-ASCMD 2.2.1.3 to 2.2.1.8)."""

from device import KeyRing
from mailstore import ROOT, USER_MAIL
from wbxml import Node

OK, EXISTS, SPECIAL, MISSING, NO_PARENT, BAD_KEY = "1", "2", "3", "4", "5", "9"


def _entry(tag, folder_id, facts):
    parent, name, kind = facts
    return Node(tag, Node("FolderHierarchy:ServerId", folder_id),
                Node("FolderHierarchy:ParentId", parent),
                Node("FolderHierarchy:DisplayName", name), Node("FolderHierarchy:Type", str(kind)))


def _top_down(facts):
    """Parents before their children."""
    done, waiting = [], dict(facts)
    while waiting:
        ready = [i for i, (parent, _, _) in waiting.items() if parent not in waiting]
        done += ready
        for folder_id in ready:
            del waiting[folder_id]
    return done


def _known(call, key):
    """What the device has at a key, or None."""
    ring = call.device.hierarchy
    if ring and call.options.forgetful_folders:
        return ring.current[1]
    return ring.open(key) if ring else None


def folder_sync(call):
    key = call.root.value("FolderHierarchy:SyncKey", "")
    device, now = call.device, call.user.hierarchy()
    if key == "0":
        device.hierarchy = KeyRing({})
        known = {}
        if call.options.forgetful_folders:
            device.collections.clear()
    else:
        known = _known(call, key)
        if known is None:
            return status("FolderSync", BAD_KEY)
        if device.hierarchy.is_previous(key) and not call.options.forgetful_folders:
            device.hierarchy.rewind()
    changes = Node("FolderHierarchy:Changes")
    entries = [_entry("FolderHierarchy:Add", i, now[i]) for i in _top_down(now) if i not in known]
    entries += [_entry("FolderHierarchy:Update", i, now[i])
                for i in _top_down(now) if i in known and known[i] != now[i]]
    entries += [Node("FolderHierarchy:Delete", Node("FolderHierarchy:ServerId", i))
                for i in reversed(_top_down(known)) if i not in now]
    changes.add(Node("FolderHierarchy:Count", str(len(entries))), *entries)
    newest = device.hierarchy.current[0]
    if entries or key == "0":
        newest = device.hierarchy.advance(now, None)
    elif call.options.forgetful_folders:
        newest = key
    for folder_id in [i for i in device.collections if i not in now]:
        del device.collections[folder_id]
    return Node("FolderHierarchy:FolderSync", Node("FolderHierarchy:Status", OK),
                Node("FolderHierarchy:SyncKey", newest), changes)


def status(command, code, *more):
    return Node(f"FolderHierarchy:{command}", Node("FolderHierarchy:Status", code), *more)


def _change(call, command, change):
    """One change made by the client: change returns (status, more elements)."""
    device = call.device
    known = _known(call, call.root.value("FolderHierarchy:SyncKey", ""))
    if known is None:
        return status(command, BAD_KEY)
    before = call.user.hierarchy()
    code, more = change()
    if code != OK:
        return status(command, code)
    # The client knows its own change; what else is new comes with the next FolderSync.
    now, state = call.user.hierarchy(), dict(known)
    for folder_id in set(before) | set(now):
        if before.get(folder_id) != now.get(folder_id):
            state.pop(folder_id, None)
            if folder_id in now:
                state[folder_id] = now[folder_id]
    key = device.hierarchy.advance(state, None)
    call.store.notify()
    return status(command, OK, Node("FolderHierarchy:SyncKey", key), *more)


def folder_create(call):
    def create():
        parent = call.root.value("FolderHierarchy:ParentId", ROOT)
        name = call.root.value("FolderHierarchy:DisplayName", "")
        if parent != ROOT and parent not in call.user.folders:
            return NO_PARENT, []
        if call.user.child(parent, name):
            return EXISTS, []
        folder = call.user.new_folder(name, parent, USER_MAIL)
        return OK, [Node("FolderHierarchy:ServerId", folder.id)]
    return _change(call, "FolderCreate", create)


def folder_delete(call):
    def delete():
        folder = call.user.folders.get(call.root.value("FolderHierarchy:ServerId"))
        if folder is None:
            return MISSING, []
        if folder.kind != USER_MAIL:
            return SPECIAL, []
        for gone in call.user.below(folder):
            del call.user.folders[gone.id]
        return OK, []
    return _change(call, "FolderDelete", delete)


def folder_update(call):
    def update():
        folder = call.user.folders.get(call.root.value("FolderHierarchy:ServerId"))
        parent = call.root.value("FolderHierarchy:ParentId", ROOT)
        name = call.root.value("FolderHierarchy:DisplayName", "")
        if folder is None:
            return MISSING, []
        if folder.kind != USER_MAIL:
            return SPECIAL, []
        if parent != ROOT and parent not in call.user.folders:
            return NO_PARENT, []
        if call.user.child(parent, name) not in (None, folder):
            return EXISTS, []
        folder.parent, folder.name = parent, name
        return OK, []
    return _change(call, "FolderUpdate", update)
