# SPDX-License-Identifier: LGPL-2.1-or-later
"""ItemOperations, MoveItems, and GetAttachment (MS-ASCMD 2.2.1.10, 2.2.1.12, 2.2.1.8)."""

import base64
import re
import struct

import items
from search import split_long_id
from wbxml import Node, Stream, encode

OK, NO_ITEM, BAD_RANGE, NO_ATTACHMENT, MALFORMED = "1", "6", "8", "15", "2"
LARGE = 1 << 20
MOVED, NO_SOURCE, NO_TARGET, SAME = "3", "1", "2", "4"


class Parts:
    """The parts of a multipart answer; the first, the document, is added at the end."""

    def __init__(self):
        self.contents = []

    def add(self, content):
        """Takes bytes or a Stream; returns the element that points to it."""
        self.contents.append(content)
        return Node("ItemOperations:Part", str(len(self.contents)))

    def answer(self, root):
        contents = [encode(root), *self.contents]
        at = 4 + 8 * len(contents)
        head = struct.pack("<I", len(contents))
        for content in contents:
            head += struct.pack("<II", at, len(content))
            at += len(content)
        return "application/vnd.ms-sync.multipart", [head, *contents]


def item_operations(call):
    wanted = call.handler.headers.get("MS-ASAcceptMultiPart", call.query.get("AcceptMultiPart", ""))
    parts = Parts() if wanted == "T" else None
    response = Node("ItemOperations:Response")
    for request in call.root.nodes():
        if request.tag == "ItemOperations:Fetch":
            response.add(_fetch(call, request, parts))
        elif request.tag == "ItemOperations:EmptyFolderContents":
            response.add(_empty_folder(call, request))
    root = Node("ItemOperations:ItemOperations", Node("ItemOperations:Status", OK), response)
    return parts.answer(root) if parts and parts.contents else root


def _failed(code, *identity):
    return Node("ItemOperations:Fetch", Node("ItemOperations:Status", code), *identity)


def _fetch(call, request, parts):
    reference = request.value("AirSyncBase:FileReference")
    if reference is not None:
        return _fetch_attachment(call, request, reference, parts)
    long_id = request.value("Search:LongId")
    if long_id is not None:
        folder_id, text = split_long_id(call, long_id)
        identity = [Node("Search:LongId", long_id)]
    else:
        folder_id = request.value("AirSync:CollectionId", "")
        text = request.value("AirSync:ServerId", "")
        identity = [Node("AirSync:CollectionId", folder_id), Node("AirSync:ServerId", text)]
    folder = call.user.by_id(folder_id)
    item = int(text) if text.isdigit() else 0
    if folder is None or item not in folder.items:
        if call.options.missing_is_fine:
            return Node("ItemOperations:Fetch", Node("ItemOperations:Status", OK), *identity,
                        Node("ItemOperations:Properties"))
        return _failed(NO_ITEM, *identity)
    options = request.find("ItemOperations:Options")
    nodes = items.properties(folder.items[item], folder, item, items.BodyPreferences(options, call.options), call.new)
    if parts is not None:
        _to_part(nodes, parts)
    return Node("ItemOperations:Fetch", Node("ItemOperations:Status", OK), *identity,
                Node("AirSync:Class", "Email"), Node("ItemOperations:Properties", *nodes))


def _to_part(nodes, parts):
    """The body's data goes out of the document."""
    for body in nodes:
        data = body.find("AirSyncBase:Data") if isinstance(body, Node) else None
        if data is not None and body.tag == "AirSyncBase:Body":
            content = data.children[0]
            content = content.encode() if isinstance(content, str) else content
            body.children[body.children.index(data)] = parts.add(content)


def find_attachment(call, reference):
    """(message, Attachment) of a reference, or (None, None)."""
    match = re.fullmatch(r"att%2F(.+)%2F(\d+)%2F([\d.]+)", reference)
    folders = call.user.folders
    if call.options.named_references:
        folders = {folder.name: folder for folder in folders.values()}
    folder = folders.get(match.group(1)) if match else None
    message = folder.items.get(int(match.group(2))) if folder else None
    for one in items.summary(message).attachments if message else []:
        if one.path == match.group(3):
            return message, one
    return None, None


def _slice(part, first, length):
    """A range of a part's decoded content, in pieces."""
    for piece in part.pieces():
        if first >= len(piece):
            first -= len(piece)
            continue
        piece = piece[first:first + length]
        first, length = 0, length - len(piece)
        yield piece
        if not length:
            return


def _base64(pieces):
    rest = b""
    for piece in pieces:
        rest += piece
        usable = len(rest) // 3 * 3
        yield base64.b64encode(rest[:usable])
        rest = rest[usable:]
    yield base64.b64encode(rest)


def _content(part, first, length, encoded):
    def pieces():
        found = _slice(part, first, length) if length else iter(())
        return _base64(found) if encoded else found
    stream = Stream((length + 2) // 3 * 4 if encoded else length, pieces)
    if length > LARGE:
        return stream
    content = b"".join(stream)
    return content.decode() if encoded else content


def _fetch_attachment(call, request, reference, parts):
    identity = Node("AirSyncBase:FileReference", reference)
    message, found = find_attachment(call, reference)
    if found is None and call.options.missing_is_fine:
        return Node("ItemOperations:Fetch", Node("ItemOperations:Status", OK), identity, Node(
            "ItemOperations:Properties", Node("AirSyncBase:ContentType", "(null)/(null)"),
            Node("ItemOperations:Data", "(null)")))
    if found is None:
        return _failed(NO_ATTACHMENT, identity)
    first, length, ranged = 0, found.size, []
    bounds = re.fullmatch(r"(\d+)-(\d+)", request.value("ItemOperations:Options/ItemOperations:Range", ""))
    if bounds and call.options.no_ranges:
        ranged = [Node("ItemOperations:Range", f"0-{(length + 2) // 3 * 4 - 1}")]
    elif bounds:
        first, last = int(bounds.group(1)), min(int(bounds.group(2)), found.size - 1)
        if first > last:
            return _failed(BAD_RANGE, identity)
        length = last - first + 1
        ranged = [Node("ItemOperations:Range", f"{first}-{last}"),
                  Node("ItemOperations:Total", str(found.size))]
    content = _content(found.part(message), first, length, parts is None)
    if call.options.null_is_empty and not found.size:
        content = "(null)"
    data = Node("ItemOperations:Data", content) if parts is None else parts.add(content)
    return Node("ItemOperations:Fetch", Node("ItemOperations:Status", OK), identity,
                Node("ItemOperations:Properties", *ranged,
                     Node("AirSyncBase:ContentType", found.type), data))


def _empty_folder(call, request):
    folder_id = request.value("AirSync:CollectionId", "")
    folder = call.user.folders.get(folder_id)
    code = OK
    if folder is None:
        code = NO_ITEM
    else:
        if request.find("ItemOperations:Options/ItemOperations:DeleteSubFolders"):
            for below in call.user.below(folder)[1:]:
                del call.user.folders[below.id]
        for item in list(folder.items):
            folder.remove(item)
        call.store.notify()
    return Node("ItemOperations:EmptyFolderContents", Node("ItemOperations:Status", code),
                Node("AirSync:CollectionId", folder_id))


def move_items(call):
    answer = Node("Move:MoveItems")
    for request in call.root.nodes("Move:Move"):
        text = request.value("Move:SrcMsgId", "")
        source = call.user.folders.get(request.value("Move:SrcFldId"))
        target = call.user.folders.get(request.value("Move:DstFldId"))
        item = int(text) if text.isdigit() else 0
        code, new = MOVED, None
        if call.fault_value("item_status") is not None:
            code = str(call.fault_value("item_status"))
        elif source is None or item not in source.items:
            code = NO_SOURCE
        elif target is None:
            code = NO_TARGET
        elif target is source:
            code = SAME
        else:
            moved = call.store.move(source, item, target)
            if call.options.moves_are_known and target.id in call.device.collections:
                snapshot = call.device.collections[target.id].ring.current[1]
                snapshot.items[moved] = target.items[moved].state()
            new = Node("Move:DstMsgId", str(moved))
        answer.add(Node("Move:Response", Node("Move:SrcMsgId", text), Node("Move:Status", code), new))
    return answer


def get_attachment(call):
    """The older way to an attachment: its bytes alone."""
    message, found = find_attachment(call, call.query.get("AttachmentName", ""))
    if found is None:
        return None
    return found.type, [_content(found.part(message), 0, found.size, False)]
