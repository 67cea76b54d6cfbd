# SPDX-License-Identifier: LGPL-2.1-or-later
"""WBXML as ActiveSync uses it: a small tree, its encoder and its decoder (WBXML 1.3, MS-ASWBXML)."""

from codepages import NAMES, TOKENS

SWITCH_PAGE, END, ENTITY, STR_I, LITERAL, STR_T, OPAQUE = 0x00, 0x01, 0x02, 0x03, 0x04, 0x83, 0xC3
HEADER = b"\x03\x01\x6a\x00"
MAX_DEPTH = 64


class WbxmlError(Exception):
    """The bytes are no WBXML document of ours."""


class Node:
    """One element. Children are Nodes, str (text), bytes (opaque), Raw, or Stream."""

    __slots__ = ("tag", "children")

    def __init__(self, tag, *children):
        self.tag = tag
        self.children = [child for child in children if child is not None]

    def add(self, *children):
        self.children.extend(child for child in children if child is not None)
        return self

    def nodes(self, tag=None):
        """The child elements, or only those of one name."""
        return [c for c in self.children if isinstance(c, Node) and tag in (None, c.tag)]

    def find(self, path):
        """The first element along a path of names separated by "/", or None."""
        node = self
        for tag in path.split("/"):
            node = next((c for c in node.children if isinstance(c, Node) and c.tag == tag), None)
            if node is None:
                return None
        return node

    def data(self):
        """All text and opaque content, as bytes."""
        return b"".join(c.encode() if isinstance(c, str) else c
                        for c in self.children if isinstance(c, (str, bytes)))

    def value(self, path, default=None):
        """The text of the element at the path; the default where there is no such element."""
        node = self.find(path)
        return default if node is None else node.data().decode("utf-8", "replace")

    def __eq__(self, other):
        return isinstance(other, Node) and (self.tag, self.children) == (other.tag, other.children)

    def xml(self, maximum=200):
        """For people: indented XML with long content cut."""
        return "\n".join(_xml_lines(self, 0, maximum))


class Raw:
    """Bytes that are encoded already, with the code pages before and after them."""

    __slots__ = ("data", "first_page", "last_page")

    def __init__(self, data, first_page, last_page):
        self.data, self.first_page, self.last_page = data, first_page, last_page


class Stream:
    """Content too large to hold: its length, and a function that returns an iterator of bytes."""

    __slots__ = ("length", "opener", "opaque")

    def __init__(self, length, opener, opaque=False):
        self.length, self.opener, self.opaque = length, opener, opaque

    def __len__(self):
        return self.length

    def __iter__(self):
        return self.opener()


def _xml_lines(node, depth, maximum):
    pad = " " * depth
    text = node.data()
    if text:
        shown = text[:maximum].decode("utf-8", "replace")
        more = "..." if len(text) > maximum else ""
        yield f"{pad}<{node.tag}>{shown}{more}</{node.tag}>"
        return
    if not node.children:
        yield f"{pad}<{node.tag}/>"
        return
    yield f"{pad}<{node.tag}>"
    for child in node.nodes():
        yield from _xml_lines(child, depth + 1, maximum)
    yield f"{pad}</{node.tag}>"


def number(value):
    """A multi-byte integer."""
    out = bytes([value & 0x7F])
    while value > 0x7F:
        value >>= 7
        out = bytes([0x80 | value & 0x7F]) + out
    return out


class _Encoder:
    def __init__(self, page):
        self.page = page
        self.parts = []
        self.out = bytearray()

    def switch(self, page):
        if page != self.page:
            self.out += bytes((SWITCH_PAGE, page))
            self.page = page

    def stream(self, content):
        self.out += bytes([OPAQUE]) + number(len(content)) if content.opaque else bytes([STR_I])
        self.parts += [bytes(self.out), content]
        self.out = bytearray() if content.opaque else bytearray(1)

    def content(self, child):
        if isinstance(child, Node):
            self.node(child)
        elif isinstance(child, str):
            self.out.append(STR_I)
            self.out += child.replace("\0", "").encode("utf-8", "replace")
            self.out.append(0)
        elif isinstance(child, Raw):
            self.switch(child.first_page)
            self.out += child.data
            self.page = child.last_page
        elif isinstance(child, Stream):
            self.stream(child)
        else:
            self.out.append(OPAQUE)
            self.out += number(len(child)) + child

    def node(self, node):
        page, token = TOKENS[node.tag]
        self.switch(page)
        if not node.children:
            self.out.append(token)
            return
        self.out.append(token | 0x40)
        for child in node.children:
            self.content(child)
        self.out.append(END)


def encode_parts(root):
    """A document as a list of bytes and Streams."""
    encoder = _Encoder(0)
    encoder.out += HEADER
    encoder.node(root)
    return encoder.parts + [bytes(encoder.out)]


def encode(root):
    """A document as bytes."""
    return b"".join(part if isinstance(part, bytes) else b"".join(part) for part in encode_parts(root))


def fragment(nodes, first_page):
    """Elements encoded ahead of time, to be put into a document later. No Streams."""
    encoder = _Encoder(first_page)
    for node in nodes:
        encoder.content(node)
    return Raw(bytes(encoder.out), first_page, encoder.page)


class _Decoder:
    def __init__(self, data):
        self.data = data
        self.at = 0
        self.page = 0

    def byte(self):
        if self.at >= len(self.data):
            raise WbxmlError("truncated")
        self.at += 1
        return self.data[self.at - 1]

    def number(self):
        value = 0
        for _ in range(5):
            byte = self.byte()
            value = value << 7 | byte & 0x7F
            if byte < 0x80:
                return value
        raise WbxmlError("number too long")

    def take(self, length):
        if length > len(self.data) - self.at:
            raise WbxmlError("length beyond the document")
        self.at += length
        return self.data[self.at - length:self.at]

    def header(self):
        if self.byte() not in (1, 2, 3):
            raise WbxmlError("unknown version")
        if self.number() == 0:
            self.number()
        self.number()
        self.table = self.take(self.number())

    def string(self):
        end = self.data.find(b"\0", self.at)
        if end < 0:
            raise WbxmlError("string without an end")
        text = self.data[self.at:end]
        self.at = end + 1
        return _text(text)

    def entity(self):
        code = self.number()
        if code > 0x10FFFF or 0xD800 <= code < 0xE000:
            raise WbxmlError("no such character")
        return chr(code)

    def table_string(self):
        offset = self.number()
        end = self.table.find(b"\0", offset)
        if offset >= len(self.table) or end < 0:
            raise WbxmlError("string beyond the table")
        return _text(self.table[offset:end])

    def element(self, token, depth):
        if depth > MAX_DEPTH:
            raise WbxmlError("nested too deep")
        if token & 0x80 or token & 0x3F < 5:
            raise WbxmlError(f"unexpected token {token:#04x}")
        name = NAMES.get((self.page, token & 0x3F), f"page{self.page}:{token & 0x3F:#04x}")
        node = Node(name)
        if token & 0x40:
            self.children(node, depth)
        return node

    def children(self, node, depth):
        while (token := self.byte()) != END:
            if token == SWITCH_PAGE:
                self.page = self.byte()
            elif token == STR_I:
                node.children.append(self.string())
            elif token == STR_T:
                node.children.append(self.table_string())
            elif token == OPAQUE:
                node.children.append(self.take(self.number()))
            elif token == ENTITY:
                node.children.append(self.entity())
            else:
                node.children.append(self.element(token, depth + 1))

    def document(self):
        self.header()
        while (token := self.byte()) == SWITCH_PAGE:
            self.page = self.byte()
        root = self.element(token, 0)
        if self.at != len(self.data):
            raise WbxmlError("bytes after the document")
        return root


def _text(data):
    # What is no UTF-8 stays as it came.
    try:
        return data.decode()
    except UnicodeDecodeError:
        return bytes(data)


def decode(data):
    """The tree of a document. Throws WbxmlError."""
    return _Decoder(bytes(data)).document()
