# SPDX-License-Identifier: LGPL-2.1-or-later
"""Which function answers which command."""

import compose
import folders
import itemoperations
import ping
import provision
import search
import sync
from wbxml import Node

ANSWERS = {
    "FolderSync": folders.folder_sync,
    "FolderCreate": folders.folder_create,
    "FolderDelete": folders.folder_delete,
    "FolderUpdate": folders.folder_update,
    "Sync": sync.sync,
    "GetItemEstimate": sync.get_item_estimate,
    "ItemOperations": itemoperations.item_operations,
    "MoveItems": itemoperations.move_items,
    "GetAttachment": itemoperations.get_attachment,
    "Search": search.search,
    "Ping": ping.ping,
    "Provision": provision.provision,
    "Settings": provision.settings,
    "SendMail": compose.send,
    "SmartReply": compose.send,
    "SmartForward": compose.send,
}
# What may come without a document.
BARE = ("Sync", "Ping", "GetAttachment", "SendMail", "SmartReply", "SmartForward")
NAMESPACES = {"FolderSync": "FolderHierarchy", "FolderCreate": "FolderHierarchy",
              "FolderDelete": "FolderHierarchy", "FolderUpdate": "FolderHierarchy",
              "Sync": "AirSync", "SendMail": "ComposeMail", "SmartReply": "ComposeMail",
              "SmartForward": "ComposeMail", "MoveItems": "Move"}


def run(call):
    """The answer: a Node, None for an empty one, or (content type, parts)."""
    due = provision.due(call)
    if due and not call.new:
        call.http_error(449)
    if due:
        return with_status(call.command, due)
    answer = ANSWERS.get(call.command)
    if answer is None or call.root is None and call.command not in BARE:
        call.http_error(400)
    return answer(call)


def with_status(command, code):
    """A command's answer that is nothing but a Status."""
    namespace = NAMESPACES.get(command, command)
    return Node(f"{namespace}:{command}", Node(f"{namespace}:Status", code))


def more_without_items(call):
    """A Sync that promises more and brings nothing, or always the deletion of one item."""
    item = call.fault_value("more", "item")
    gone = [Node("AirSync:Commands", Node("AirSync:Delete", Node("AirSync:ServerId", str(item))))] if item else []
    wanted = call.root.find("AirSync:Collections")
    answers = []
    for request in wanted.nodes("AirSync:Collection") if wanted else []:
        one = sync.CollectionSync(call, request)
        snapshot = one.state.ring.open(one.key) if one.state and one.key else None
        if snapshot is None:
            return None
        one.state.ring.advance(snapshot.copy(), None)
        answers.append(one.success([Node("AirSync:MoreAvailable"), *gone]))
    return Node("AirSync:Sync", Node("AirSync:Collections", *answers)) if answers else None
