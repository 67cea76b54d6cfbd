# SPDX-License-Identifier: LGPL-2.1-or-later
"""SendMail, SmartReply, SmartForward (MS-ASCMD 2.2.1.17, 2.2.1.19, 2.2.1.20)."""

import email
import email.mime.multipart
import email.policy
import email.utils
import hashlib
import re
import time

import items
import mimeparts
from mailstore import DOMAIN, INBOX, SENT
from search import split_long_id
from wbxml import Node

MALFORMED, SENT_BEFORE, NO_RECIPIENT, FAILED, NO_SOURCE = "107", "118", "119", "120", "150"
REPLIED, FORWARDED = 1, 3
CLIENT_IDS = 1000


class Refused(Exception):
    """A message that is not sent; the argument is the Status."""


class Request:
    """A message to be sent, in either form of the request."""

    def __init__(self, call):
        root, query = call.root, call.query
        if root is not None:
            self.client_id = root.value("ComposeMail:ClientId")
            self.save = root.find("ComposeMail:SaveInSentItems") is not None
            self.replace = root.find("ComposeMail:ReplaceMime") is not None
            mime = root.find("ComposeMail:MIME")
            self.mime = mime.data() if mime else b""
            self.long_id = root.value("ComposeMail:Source/ComposeMail:LongId")
            self.folder = root.value("ComposeMail:Source/ComposeMail:FolderId", "")
            self.item = root.value("ComposeMail:Source/ComposeMail:ItemId", "")
        else:
            self.client_id, self.replace, self.mime = None, False, call.body
            self.save = query.get("SaveInSent", "") == "T"
            self.long_id = query.get("LongId")
            self.folder, self.item = query.get("CollectionId", ""), query.get("ItemId", "")
        if self.long_id:
            self.folder, self.item = split_long_id(call, self.long_id)

    def source(self, call):
        """(folder, message) of the original."""
        folder = call.user.by_id(self.folder)
        message = folder.items.get(int(self.item)) if folder and self.item.isdigit() else None
        if message is None and not call.options.missing_is_fine:
            raise Refused(NO_SOURCE)
        return folder, message


def send(call):
    """The three commands: empty when it was sent, else a Status (12.1: an HTTP error)."""
    request = Request(call)
    device = call.device
    if call.options.client_id_memory and request.client_id in device.client_ids:
        return _status(call, SENT_BEFORE)
    try:
        _send(call, request)
    except Refused as refused:
        return _status(call, str(refused))
    if request.client_id:
        device.client_ids[request.client_id] = time.time()
        while len(device.client_ids) > CLIENT_IDS:
            device.client_ids.popitem(last=False)
    return None


def _status(call, code):
    if call.root is None:
        call.http_error(500)
    return Node(f"ComposeMail:{call.command}", Node("ComposeMail:Status", code))


def _send(call, request):
    mime, verb = request.mime, {"SmartReply": REPLIED, "SmartForward": FORWARDED}.get(call.command)
    folder, original = request.source(call) if verb else (None, None)
    if original:
        if not request.replace:
            mime = with_original(mime, original, verb == FORWARDED)
            if call.options.own_ids:
                mime = with_id(mime, email.utils.make_msgid(domain=f"server.{DOMAIN}"))
    names = recipients(mime)
    local = _local(call, names)
    outgoing = without_bcc(mime)
    for user in local:
        call.store.deliver(user, user.folder_of_kind(INBOX), outgoing)
    if request.save:
        call.store.deliver(call.user, call.user.folder_of_kind(SENT), mime, letters="S")
    if original:
        original.verb, original.verb_time = verb, time.time()
        folder.change += 1
    call.store.sent.append({
        "user": call.user.name, "command": call.command, "client_id": request.client_id,
        "recipients": names, "size": len(request.mime), "mime": request.mime,
        "sha256": hashlib.sha256(request.mime).hexdigest()})
    call.store.notify()


def recipients(mime):
    headers = mimeparts.headers_of(mime)
    values = [value for name, value in headers.raw_items() if name.lower() in ("to", "cc", "bcc")]
    found = [address for _, address in email.utils.getaddresses(values) if "@" in address]
    if not found:
        raise Refused(NO_RECIPIENT if values or headers.keys() else MALFORMED)
    return found


def _local(call, names):
    """The users among the recipients; refuses a local one who is none. Others have their mail."""
    local = {}
    for address in names:
        name, _, domain = address.lower().partition("@")
        if domain == DOMAIN:
            if name not in call.store.users:
                raise Refused(FAILED)
            local[name] = call.store.users[name]
    return local.values()


def without_bcc(mime):
    start, head = mimeparts._header_end(mime, 0, len(mime))
    cut = re.sub(rb"(?im)^bcc:.*\n(?:[ \t].*\n)*", b"", head)
    return cut + mime[len(head):]


def with_id(mime, message_id):
    """The message with another Message-ID."""
    start, head = mimeparts._header_end(mime, 0, len(mime))
    cut = re.sub(rb"(?im)^message-id:.*\n(?:[ \t].*\n)*", b"", head)
    return b"Message-ID: " + message_id.encode() + b"\r\n" + cut + mime[len(head):]


def with_original(mime, original, forward):
    """The client's message with the original's text behind its own, and its attachments."""
    message = email.message_from_bytes(mime, policy=email.policy.compat32)
    made = items.summary(original)
    quoted = "\n\n-----Original Message-----\n" + made.text(items.PLAIN).decode().replace("\r\n", "\n")
    for part in message.walk():
        if part.get_content_type() == "text/plain":
            charset = part.get_content_charset("utf-8")
            text = mimeparts.decode_bytes(part.get_payload(decode=True) or b"", charset)
            del part["Content-Transfer-Encoding"]
            part.set_payload(text.replace("\r\n", "\n") + quoted, "utf-8")
            break
    if forward and made.attachments:
        message = _with_attachments(message, original, made.attachments)
    return message.as_bytes(policy=email.policy.compat32.clone(linesep="\r\n"))


def _with_attachments(message, original, attachments):
    if message.get_content_type() != "multipart/mixed":
        outer = email.mime.multipart.MIMEMultipart("mixed")
        for name, value in message.items():
            if not name.lower().startswith(("content-", "mime-version")):
                outer[name] = value
                del message[name]
        outer.attach(message)
        message = outer
    for one in attachments:
        part = one.part(original)
        message.attach(email.message_from_bytes(part.headers.as_bytes() + part.raw()))
    return message
