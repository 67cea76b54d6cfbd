# SPDX-License-Identifier: LGPL-2.1-or-later
"""Which function answers which command."""

import folders
import sync
from wbxml import Node

ANSWERS = {
    "FolderSync": folders.folder_sync,
    "FolderCreate": folders.folder_create,
    "FolderDelete": folders.folder_delete,
    "FolderUpdate": folders.folder_update,
    "Sync": sync.sync,
    "GetItemEstimate": sync.get_item_estimate,
}
NAMESPACES = {"FolderSync": "FolderHierarchy", "FolderCreate": "FolderHierarchy",
              "FolderDelete": "FolderHierarchy", "FolderUpdate": "FolderHierarchy",
              "Sync": "AirSync", "SendMail": "ComposeMail", "SmartReply": "ComposeMail",
              "SmartForward": "ComposeMail", "MoveItems": "Move"}


class Unknown(Exception):
    """No such command."""


def run(call):
    """The answer: a Node, None for an empty one, or (content type, parts)."""
    answer = ANSWERS.get(call.command)
    if answer is None:
        return with_status(call.command, "137") if call.command in NAMESPACES else None
    return answer(call)


def with_status(command, code):
    """A command's answer that is nothing but a Status."""
    namespace = NAMESPACES.get(command, command)
    return Node(f"{namespace}:{command}", Node(f"{namespace}:Status", code))


def more_without_items(call):
    """A Sync that promises more and brings nothing."""
    wanted = call.root.find("AirSync:Collections")
    answers = []
    for request in wanted.nodes("AirSync:Collection") if wanted else []:
        one = sync.CollectionSync(call, request)
        snapshot = one.state.ring.open(one.key) if one.state and one.key else None
        if snapshot is None:
            return None
        one.state.ring.advance(snapshot.copy(), None)
        answers.append(one.success([Node("AirSync:MoreAvailable")]))
    return Node("AirSync:Sync", Node("AirSync:Collections", *answers)) if answers else None
