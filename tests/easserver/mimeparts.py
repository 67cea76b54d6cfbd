# SPDX-License-Identifier: LGPL-2.1-or-later
"""The structure of a message by offsets into its bytes, so that a part of any size costs nothing
until it is asked for. Forgiving: real mail is damaged mail."""

import binascii
import copy
import email.message
import email.parser
import email.policy
import quopri
import re

HEADER_LIMIT = 1 << 20
CHUNK = 57 * 1024
_parser = email.parser.HeaderParser(policy=email.policy.compat32)
_word = re.compile(r"=\?([^?\s]*)\?([bBqQ])\?([^?]*)\?=")
_words = re.compile(r"(?:=\?[^?\s]*\?[bBqQ]\?[^?]*\?=)+")
_controls = re.compile(r"[\0-\x08\x0b\x0c\x0e-\x1f]")
_line_ends = re.compile(r"[\r\n]+")
_folding = re.compile(r"[\r\n]+[ \t]")
_no_header = re.compile(rb"^(?![!-9;-~]+[ \t]*:|[ \t]|\r?\n|\Z)", re.M)
_words_gap = re.compile(r"(\?=)\s+(=\?)")


class Part:
    """One part: its headers, where its content lies, its parts if it has any, and its number as
    in IMAP ("2.1")."""

    def __init__(self, buffer, start, end, path, depth=0, default_type="text/plain"):
        self.buffer, self.path, self.end = buffer, path, end
        self.start, head = _header_end(buffer, start, end)
        self.headers = _parse_headers(head)
        self.headers.set_default_type(default_type)
        self.type = self.headers.get_content_type()
        self.children = self._split(depth) if self.type.startswith("multipart/") else []

    def _split(self, depth):
        try:
            boundary = self.headers.get_boundary()
        except Exception:
            boundary = None
        if not boundary or depth > 20:
            return []
        prefix = self.path + "." if self.path else ""
        ranges = _ranges(self.buffer, self.start, self.end,
                         b"--" + boundary.encode("latin-1", "replace"))
        inner = "message/rfc822" if self.type == "multipart/digest" else "text/plain"
        return [Part(self.buffer, a, b, f"{prefix}{n}", depth + 1, inner)
                for n, (a, b) in enumerate(ranges, 1)]

    def on(self, buffer):
        """The same leaf on other bytes of the same message (None: on none)."""
        leaf = copy.copy(self)
        leaf.buffer = buffer
        return leaf

    def leaves(self):
        """This part, or the leaves below it, in order."""
        if not self.children:
            return [self]
        return [leaf for child in self.children for leaf in child.leaves()]

    def header(self, name, default=""):
        """The last decoded value of a header."""
        return decode_words(raw_header(self.headers, name, default))

    def encoding(self):
        return self.headers.get("Content-Transfer-Encoding", "").strip().lower()

    def disposition(self):
        return self.headers.get("Content-Disposition", "").split(";")[0].strip().lower()

    def name(self):
        """The file name as its sender wrote it, decoded; "" without one."""
        try:
            name = self.headers.get_filename("")
        except Exception:
            name = ""
        return decode_words(name)

    def raw(self):
        return bytes(self.buffer[self.start:self.end])

    def content(self):
        """The decoded content."""
        return b"".join(self.pieces())

    def pieces(self):
        """The decoded content in pieces."""
        encoding = self.encoding()
        if encoding == "base64":
            yield from _unbase64(self.buffer, self.start, self.end)
        elif encoding == "quoted-printable":
            yield quopri.decodestring(self.raw())
        else:
            for at in range(self.start, self.end, CHUNK):
                yield bytes(self.buffer[at:min(at + CHUNK, self.end)])

    def size(self):
        """The length of the decoded content."""
        return sum(map(len, self.pieces()))

    def text(self):
        """Decoded text, line ends as LF, without the control characters that no text has."""
        charset = self.headers.get_content_charset("utf-8") or "utf-8"
        text = decode_bytes(self.content(), charset).replace("\r\n", "\n")
        return _controls.sub("", text)


def _header_end(buffer, start, end):
    """Where the content starts, and the bytes of the headers."""
    if buffer[start:start + 5] == b"From ":
        start = buffer.find(b"\n", start, end) + 1 or end
    for blank in (b"\n", b"\r\n"):
        if buffer[start:start + len(blank)] == blank:
            return start + len(blank), b""
    limit = min(end, start + HEADER_LIMIT)
    found = [(at, len(mark)) for mark in (b"\n\r\n", b"\n\n")
             if (at := buffer.find(mark, start, limit)) >= 0]
    at, length = min(found) if found else (limit, 0)
    head = bytes(buffer[start:at + 1])
    # The content of some messages starts without an empty line.
    strange = _no_header.search(head)
    if strange:
        return start + strange.start(), head[:strange.start()]
    return (at + length if found else end), head


def _parse_headers(head):
    try:
        return _parser.parsestr(decode_bytes(head, "utf-8"))
    except Exception:  # The parser trips over some damaged headers.
        return email.message.Message()


def headers_of(data):
    """The headers of a message of which these bytes are the start."""
    return _parse_headers(_header_end(data, 0, len(data))[1])


def _ranges(buffer, start, end, mark):
    """The ranges between the boundary lines."""
    ranges, opened, at = [], None, start
    while (at := buffer.find(mark, at, end)) >= 0:
        after = buffer[at + len(mark):at + len(mark) + 2]
        at_line_start = at == start or buffer[at - 1:at] == b"\n"
        if not at_line_start or after[:1] not in (b"", b"\r", b"\n", b"-", b" ", b"\t"):
            at += 1
            continue
        if opened is not None:
            stop = max(opened, at - 1)
            if stop > opened and buffer[stop - 1:stop] == b"\r":
                stop -= 1
            ranges.append((opened, stop))
        opened = None
        if after == b"--":
            break
        at = opened = buffer.find(b"\n", at, end) + 1 or end
    if opened is not None and opened < end:
        ranges.append((opened, end))
    return ranges


_not_base64 = bytes(b for b in range(256)
                    if not (chr(b).isascii() and (chr(b).isalnum() or chr(b) in "+/")))


def _unbase64(buffer, start, end):
    rest = b""
    for at in range(start, end, CHUNK):
        rest += bytes(buffer[at:min(at + CHUNK, end)]).translate(None, _not_base64)
        usable = len(rest) // 4 * 4
        yield binascii.a2b_base64(rest[:usable])
        rest = rest[usable:]
    if len(rest) > 1:
        yield binascii.a2b_base64(rest + b"=" * (4 - len(rest)))


def raw_header(message, name, default=""):
    """A header's value as it stands in the message; the last one if there are several."""
    name = name.lower()
    value = default
    for key, found in message.raw_items():
        if key.lower() == name:
            value = found
    if "\n" not in value and "\r" not in value:
        return value
    return _line_ends.sub("", _folding.sub(" ", value))


def decode_bytes(data, charset):
    """Text of bytes whose charset may be unknown or a lie."""
    for name in (charset, "utf-8"):
        try:
            return data.decode(name)
        except (LookupError, ValueError):
            pass
    return data.decode("windows-1252", "replace")


def _word_bytes(kind, text):
    if kind in "bB":
        return b"".join(_unbase64(text.encode(), 0, len(text)))
    return quopri.decodestring(text.replace("_", " ").encode())


def _decode_run(match):
    """Words side by side; a character may be cut in two between words of the same charset."""
    pieces = []
    for charset, kind, text in _word.findall(match.group(0)):
        charset = charset.split("*")[0].lower() or "utf-8"
        try:
            data = _word_bytes(kind, text)
        except (binascii.Error, ValueError):
            data = text.encode()
        if pieces and pieces[-1][0] == charset == "utf-8":
            pieces[-1][1] += data
        else:
            pieces.append([charset, data])
    return "".join(decode_bytes(data, charset) for charset, data in pieces)


def decode_words(value):
    """A header with RFC 2047 words in it, as text of one line."""
    text = value
    if "=?" in text:
        text = _words.sub(_decode_run, _words_gap.sub(r"\1\2", text))
    return text if text.isprintable() else _controls.sub("", _line_ends.sub(" ", text))


def parse(buffer):
    """The whole message: bytes or an mmap."""
    return Part(buffer, 0, len(buffer), "")
