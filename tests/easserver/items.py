# SPDX-License-Identifier: LGPL-2.1-or-later
"""A message as the elements of a client's item (MS-ASEMAIL, MS-ASAIRS, MS-ASCON)."""

import codecs
import email.utils
import hashlib
import html
import re
import struct
from html.parser import HTMLParser

import mailstore
import mimeparts
from wbxml import Node, Stream, fragment

PLAIN, HTML, RTF, MIME = 1, 2, 3, 4
EPOCH_1601 = 11644473600


class BodyPreferences:
    """What one request wants of bodies: BodyPreference by type as (bytes or None, all or none,
    preview length), MIMESupport, and MIMETruncation in bytes or None."""

    MIME_TRUNCATION = {"0": 0, "1": 4096, "2": 5120, "3": 7168, "4": 10240, "5": 20480, "6": 51200,
                       "7": 102400}

    def __init__(self, options=None, manners=None):
        self.types = {}
        self.plain_stays_plain = manners and manners.plain_stays_plain
        self.no_truncation = manners and manners.no_truncation
        self.no_mime = manners and manners.no_mime
        self.named_references = manners and manners.named_references
        self.mime_support = 0
        self.mime_truncation = None
        if options is None:
            return
        self.mime_support = int(options.value("AirSync:MIMESupport", "0"))
        self.mime_truncation = self.MIME_TRUNCATION.get(options.value("AirSync:MIMETruncation", "8"))
        for preference in options.nodes("AirSyncBase:BodyPreference"):
            if self.no_truncation:
                self.types[int(preference.value("AirSyncBase:Type", "1"))] = (self.mime_truncation, False, 0)
                continue
            size = preference.value("AirSyncBase:TruncationSize")
            self.types[int(preference.value("AirSyncBase:Type", "1"))] = (
                None if size is None else int(size),
                preference.value("AirSyncBase:AllOrNone") == "1",
                int(preference.value("AirSyncBase:Preview", "0")))

    def choose(self, summary):
        """The body type for a message, or None for no body."""
        if not self.types:
            return None
        if MIME in self.types and not self.no_mime and (self.mime_support == 2 or self.mime_support == 1 and summary.secured):
            return MIME
        native = HTML if summary.html is not None else PLAIN
        if native in self.types:
            return native
        if self.plain_stays_plain and native == PLAIN:
            return PLAIN
        usable = [t for t in (HTML, PLAIN) if t in self.types]
        return usable[0] if usable else native


class _PlainText(HTMLParser):
    BREAKS = ("br", "p", "div", "tr", "li", "h1", "h2", "h3")

    def __init__(self):
        super().__init__()
        self.out, self.hidden = [], 0

    def handle_starttag(self, tag, attrs):
        self.hidden += tag in ("script", "style", "title")
        if tag in self.BREAKS:
            self.out.append("\n")

    def handle_endtag(self, tag):
        self.hidden = max(0, self.hidden - (tag in ("script", "style", "title")))

    def handle_data(self, data):
        if not self.hidden:
            self.out.append(re.sub(r"\s+", " ", data))


def html_to_plain(text):
    parser = _PlainText()
    parser.feed(text)
    parser.close()
    return re.sub(r"\n{3,}", "\n\n", "".join(parser.out)).strip() + "\n"


def plain_to_html(text):
    return f"<html><body><pre>{html.escape(text, False)}</pre></body></html>"


class Attachment:
    """A part that is no body: what clients see of it. It holds no bytes of the message."""

    def __init__(self, part, index):
        self.name = attachment_name(part, index)
        self.size = part.size()
        self.type = part.type
        self.method = "5" if part.type == "message/rfc822" else "1"
        self.content_id = part.headers.get("Content-ID", "").strip(" <>")
        self.location = part.headers.get("Content-Location", "").strip()
        attached = part.disposition() == "attachment"
        self.inline = part.disposition() == "inline" or bool(self.content_id) and not attached
        self.path = part.path or "0"
        self._part = part.on(None)

    def part(self, message):
        return self._part.on(message.buffer())


class Summary:
    """All of one message that does not change, made once: the fixed elements encoded, the texts,
    the attachments."""

    def __init__(self, message):
        root = mimeparts.parse(message.buffer())
        self.secured = root.type in ("multipart/signed", "application/pkcs7-mime",
                                     "application/x-pkcs7-mime")
        self.message_id = mimeparts.raw_header(root.headers, "Message-ID").strip()
        self.subject = root.header("Subject")
        self.plain, self.html, self.attachments, self.calendar = None, None, [], None
        for leaf in root.leaves():
            self._place(leaf, leaf is root)
        common, newer = self._common(root, message), self._newer(root, message)
        self.fixed = {False: fragment(common, 0), True: fragment(common + newer, 0)}
        self.names = "\n".join([self.subject, *map(root.header, ("From", "To", "Cc"))])

    def _place(self, leaf, alone):
        attached = leaf.disposition() == "attachment" or (leaf.name() and not alone)
        if leaf.type == "text/calendar" and self.calendar is None and not attached:
            self.calendar = leaf.text()
        elif leaf.type == "text/html" and self.html is None and not attached:
            self.html = leaf.text()
        elif leaf.type.startswith("text/") and leaf.type != "text/html" and self.plain is None \
                and self.html is None and not attached:
            self.plain = leaf.text()
        else:
            self.attachments.append(Attachment(leaf, len(self.attachments) + 1))

    def text(self, kind):
        """The body in a type, as UTF-8."""
        if kind == HTML:
            text = self.html if self.html is not None else plain_to_html(self.plain or "")
        elif self.plain is None and self.html is not None:
            text = html_to_plain(self.html)
        else:
            text = self.plain or ""
        return text.replace("\n", "\r\n").encode("utf-8", "replace")

    def contains(self, text):
        """Whether subject, names or text contain the words, in any case."""
        text = text.lower()
        return text in self.names.lower() or text in self.text(PLAIN).decode().lower()

    def _common(self, root, message):
        def field(tag, name):
            value = root.header(name)
            return Node(tag, value) if value else None
        to, display = addresses(root, "To")
        cc, _ = addresses(root, "Cc")
        sender, _ = addresses(root, "From")
        reply, _ = addresses(root, "Reply-To")
        nodes = [Node("Email:To", to) if to else None,
                 Node("Email:DisplayTo", display) if display else None,
                 Node("Email:Cc", cc) if cc else None,
                 Node("Email:From", sender) if sender else None,
                 Node("Email:Reply-To", reply) if reply else None,
                 field("Email:Subject", "Subject"),
                 Node("Email:ThreadTopic", thread_topic(self.subject)) if self.subject else None,
                 Node("Email:DateReceived", mailstore.iso(message.received)),
                 Node("Email:Importance", importance(root)),
                 Node("Email:MessageClass", self._class(root)),
                 Node("Email:ContentClass", "urn:content-classes:message"),
                 Node("Email:InternetCPID", "65001"),
                 meeting(self.calendar) if self.calendar else None]
        return [node for node in nodes if node is not None]

    def _newer(self, root, message):
        """What 14.0 brought."""
        ticks = int((message.received + EPOCH_1601) * 1e7) >> 24
        nodes = [Node("Email2:ConversationId", thread_id(root, self.message_id)),
                 Node("Email2:ConversationIndex", b"\x01" + struct.pack(">Q", ticks)[-5:])]
        if root.header("Sender"):
            nodes.append(Node("Email2:Sender", addresses(root, "Sender")[0]))
        return nodes

    def _class(self, root):
        if root.type == "multipart/signed":
            return "IPM.Note.SMIME.MultipartSigned"
        if self.secured:
            return "IPM.Note.SMIME"
        return "IPM.Schedule.Meeting.Request" if self.calendar else "IPM.Note"


def summary(message):
    """The message's Summary, made at the first use."""
    made = message.cache.get("summary")
    if made is None:
        made = message.cache["summary"] = Summary(message)
    return made


def addresses(root, name):
    """An address header as the protocol shows it, and the names alone."""
    values = [value for key, value in root.headers.raw_items() if key.lower() == name.lower()]
    if not values:
        return "", ""
    full, names = [], []
    try:
        pairs = email.utils.getaddresses(values)
    except Exception:
        pairs = [("", "")]
    if any(not address for _, address in pairs):
        text = root.header(name)
        return text, text
    for title, address in pairs:
        title = mimeparts.decode_words(title)
        address = mimeparts.decode_words(address)
        quoted = title.replace("\\", "\\\\").replace('"', '\\"')
        full.append(f'"{quoted}" <{address}>' if title else address)
        names.append(title or address)
    return ", ".join(full), ";".join(names)


def importance(root):
    level = (root.header("Importance") or root.header("X-Priority")).strip().lower()
    return "2" if level.startswith(("high", "1", "2")) else "0" if level.startswith(("low", "4", "5")) else "1"


def thread_topic(subject):
    return re.sub(r"^((re|fwd?|aw|wg)\s*:\s*)+", "", subject, flags=re.I)


def thread_id(root, message_id):
    """16 bytes that all messages of a conversation share."""
    line = root.header("References") + " " + root.header("In-Reply-To") + " " + message_id
    first = line.split()
    return hashlib.md5((first[0] if first else root.header("Subject")).encode()).digest()


def meeting(calendar):
    """The least that a MeetingRequest may have."""
    lines = dict(line.split(":", 1) for line in re.sub(r"\n[ \t]", "", calendar).split("\n")
                 if ":" in line)
    fields = {key.split(";")[0].upper(): value.strip() for key, value in lines.items()}

    def when(name):
        digits = re.sub(r"\D", "", fields.get(name, ""))[:14].ljust(14, "0")
        return f"{digits[:4]}-{digits[4:6]}-{digits[6:8]}T{digits[8:10]}:{digits[10:12]}:{digits[12:]}.000Z"
    return Node("Email:MeetingRequest", Node("Email:AllDayEvent", "0"),
                Node("Email:StartTime", when("DTSTART")), Node("Email:DTStamp", when("DTSTAMP")),
                Node("Email:EndTime", when("DTEND")), Node("Email:InstanceType", "0"),
                Node("Email:Location", fields.get("LOCATION", "")),
                Node("Email:Organizer", fields.get("ORGANIZER", "").replace("mailto:", "")),
                Node("Email:Sensitivity", "0"), Node("Email:BusyStatus", "2"),
                Node("Email:TimeZone", "A" * 230 + "=="),
                Node("Email:GlobalObjId", "BAAAAIIA4AB0xbcQGoLgCAAAAAA="))


def state_nodes(message, new):
    """What may change: read, flag, answered or forwarded."""
    flag = Node("Email:Flag", Node("Email:Status", str(message.flag))) if message.flag else Node("Email:Flag")
    if message.flag == 2:
        flag.add(Node("Email:FlagType", "Flag for follow up"))
    nodes = [Node("Email:Read", str(int(message.read))), flag]
    if new and message.verb:
        nodes += [Node("Email2:LastVerbExecuted", str(message.verb)),
                  Node("Email2:LastVerbExecutionTime", mailstore.iso(message.verb_time))]
    return nodes


def cut_text(data, size):
    """At most that many bytes, and no half character."""
    return data[:size].decode("utf-8", "ignore").encode()


def _mime_data(message, size):
    """A whole message as content: text where it can be, else opaque; large ones as a stream."""
    total = message.length()
    if size is None and total > 1 << 20:
        buffer = message.buffer()
        opaque = not _is_text(buffer)
        return Stream(total, lambda: (bytes(buffer[at:at + 65536]) for at in range(0, total, 65536)), opaque)
    data = message.bytes()[:size]
    return data.decode() if _is_text(data) else data


def _is_text(data):
    decoder = codecs.getincrementaldecoder("utf-8")()
    try:
        for at in range(0, len(data), 1 << 20):
            if "\0" in decoder.decode(data[at:at + (1 << 20)]):
                return False
        decoder.decode(b"", True)
    except UnicodeDecodeError:
        return False
    return True


def body(message, preferences, kind=None, new=True):
    """The Body element, or None where the request wants none."""
    made = summary(message)
    kind = kind or preferences.choose(made)
    if kind is None:
        return None
    size, all_or_none, preview = preferences.types.get(kind, (None, False, 0))
    if preferences.mime_truncation is not None and kind == MIME:
        size = min(size, preferences.mime_truncation) if size is not None else preferences.mime_truncation
    data = None if kind == MIME else made.text(kind)
    total = message.length() if kind == MIME else len(data)
    truncated = size is not None and size < total
    if truncated and (all_or_none or size == 0):
        content = None
    elif kind == MIME:
        content = _mime_data(message, size if truncated else None)
    else:
        content = (cut_text(data, size) if truncated else data).decode()
    node = Node("AirSyncBase:Body", Node("AirSyncBase:Type", str(kind)),
                Node("AirSyncBase:EstimatedDataSize", str(total)))
    if truncated:
        node.add(Node("AirSyncBase:Truncated", "1"))
    if content:
        node.add(Node("AirSyncBase:Data", content))
    if preview and new:
        node.add(Node("AirSyncBase:Preview", made.text(PLAIN).decode()[:preview]))
    return node


def reference(folder, item, attachment, named=False):
    """The name by which an attachment is asked for; it ends when the item moves."""
    return f"att%2F{folder.name if named else folder.id}%2F{item}%2F{attachment.path}"


def attachment_name(part, index):
    if part.name():
        return part.name()
    if part.type == "message/rfc822":
        inner = mimeparts.Part(part.buffer, part.start, part.end, "")
        return inner.header("Subject") or "message"
    ending = {"text/plain": ".txt", "text/html": ".htm", "text/calendar": ".ics"}.get(part.type, ".bin")
    return f"ATT{index:05d}{ending}"


def attachments(message, folder, item, named=False):
    """The Attachments element, or None."""
    made = summary(message)
    if not made.attachments:
        return None
    node = Node("AirSyncBase:Attachments")
    for one in made.attachments:
        node.add(Node("AirSyncBase:Attachment",
                      Node("AirSyncBase:DisplayName", one.name),
                      Node("AirSyncBase:FileReference", reference(folder, item, one, named)),
                      Node("AirSyncBase:Method", one.method),
                      Node("AirSyncBase:EstimatedDataSize", str(one.size)),
                      Node("AirSyncBase:ContentId", one.content_id) if one.content_id else None,
                      Node("AirSyncBase:ContentLocation", one.location) if one.location else None,
                      Node("AirSyncBase:IsInline", "1") if one.inline else None))
    return node


def properties(message, folder, item, preferences, new):
    """All elements of an item, for ApplicationData or Properties. new: 14.0 and later."""
    made = summary(message)
    nodes = [made.fixed[new], *state_nodes(message, new), body(message, preferences, new=new),
             attachments(message, folder, item, preferences.named_references),
             Node("AirSyncBase:NativeBodyType", "2" if made.html is not None else "1")]
    return [node for node in nodes if node is not None]
