# SPDX-License-Identifier: LGPL-2.1-or-later
"""Ping: an answer when something changes, or when the interval is over (MS-ASCMD 2.2.1.13)."""

import time

import sync
from wbxml import Node

EXPIRED, CHANGED, MISSING, HEARTBEAT, TOO_MANY, FOLDER_SYNC = "1", "2", "3", "5", "6", "7"


def ping(call):
    request = _request(call)
    if request is None:
        return _answer(MISSING)
    seconds, ids = request
    lowest, highest = call.options.heartbeat
    if not lowest <= seconds <= highest:
        bound = highest if seconds > highest else lowest
        return _answer(HEARTBEAT, Node("Ping:HeartbeatInterval", str(bound)))
    if len(ids) > call.options.max_folders:
        return _answer(TOO_MANY, Node("Ping:MaxFolders", str(call.options.max_folders)))
    unknown = any(i not in call.user.folders for i in ids) and not call.options.silent_unknown
    if call.device.hierarchy is None or unknown:
        return _answer(FOLDER_SYNC)
    call.device.ping = request
    call.device.ping_number += 1
    return _watch(call, seconds, ids)


def _watch(call, seconds, ids):
    number = call.device.ping_number
    deadline = time.monotonic() + seconds
    while True:
        changed = [i for i in ids if _changed(call, i)]
        if changed:
            return _answer(CHANGED, Node("Ping:Folders", *[Node("Ping:Folder", i) for i in changed]))
        # A newer Ping of the device, or the tests, end this one.
        if not call.wait(deadline) or call.device.ping_number != number:
            return _answer(EXPIRED)


def _changed(call, folder_id):
    folder, collection = call.user.folders.get(folder_id), call.device.collections.get(folder_id)
    if folder is None:
        return not call.options.silent_unknown
    return collection is not None and sync.pending(folder, collection)


def _request(call):
    """Seconds and folder ids; what the request leaves out is as in the Ping before."""
    seconds, ids = call.device.ping or (None, None)
    if call.root is not None:
        seconds = int(call.root.value("Ping:HeartbeatInterval", "0")) or seconds
        folders = call.root.find("Ping:Folders")
        if folders is not None:
            ids = [n.value("Ping:Id", "") for n in folders.nodes("Ping:Folder")]
    return (seconds, ids) if seconds and ids else None


def _answer(code, *more):
    return Node("Ping:Ping", Node("Ping:Status", code), *more)
