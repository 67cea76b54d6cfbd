# SPDX-License-Identifier: LGPL-2.1-or-later
"""What an element may hold, by the words of the table's column "value". Each check takes the Node and returns
what is wrong, or None."""

import functools
import re

TIME = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d{3})?Z|\d{8}T\d{6}Z")
GUID = re.compile(r"\{?[0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}\}?")


def text_of(node):
    """The text of an element without children; None for anything else."""
    if any(not isinstance(child, str) for child in node.children):
        return None
    return "".join(node.children)


def _of_text(right, what):
    def check(node):
        text = text_of(node)
        if text is None:
            return f"holds other things than text, wanted is {what}"
        return None if right(text) else f'is "{text[:60]}", wanted is {what}'
    return check


def _children(node):
    if not node.nodes():
        return "is empty"
    return "holds text" if len(node.nodes()) != len(node.children) else None


def _empty(node):
    return "is not empty" if node.children else None


def _tags(node):
    bare = all(not isinstance(child, (str, bytes)) and not child.children for child in node.children)
    return None if node.children and bare else "is no list of empty elements"


def _bytes(node):
    return None if len(node.children) == 1 and isinstance(node.children[0], bytes) else "is not opaque"


def _number(bounds):
    first, _, last = bounds.partition("..")

    def right(text):
        return text.isascii() and text.isdigit() and int(first) <= int(text) <= int(last)
    return _of_text(right, f"a number from {first} to {last}")


def _text(bounds):
    first, _, last = (bounds or "0..").partition("..")

    def right(text):
        return int(first) <= len(text) and (not last or len(text) <= int(last))
    return _of_text(right, f"text of {first} to {last or 'any number of'} characters")


def _words(words):
    return _of_text(lambda text: text in words.split(), f"one of {words}")


def _range(digits):
    form = re.compile(rf"(\d{{1,{digits}}})-(\d{{1,{digits}}})")

    def right(text):
        match = form.fullmatch(text)
        return match is not None and int(match.group(1)) <= int(match.group(2))
    return _of_text(right, f"a range of at most {digits} digits")


_FIXED = {
    "": lambda node: None, "children": _children, "empty": _empty, "tags": _tags, "bytes": _bytes,
    "boolean": _of_text(lambda text: text in ("0", "1"), "0 or 1"),
    "time": _of_text(TIME.fullmatch, "a time"), "guid": _of_text(GUID.fullmatch, "a GUID"), "text": _text(""),
}
_WITH_MORE = {"number": _number, "text": _text, "one of": _words, "range": _range}


def _either(one, other):
    def check(node):
        wrong = one(node)
        return wrong and other(node) and wrong
    return check


@functools.cache
def value_of(words):
    """The check that the words stand for."""
    one, either, other = words.partition(" or ")
    if either:
        return _either(value_of(one), value_of(other))
    if words in _FIXED:
        return _FIXED[words]
    for name, make in _WITH_MORE.items():
        if words.startswith(name + " "):
            return make(words.removeprefix(name + " "))
    raise ValueError(f"no such value: {words}")
