# SPDX-License-Identifier: LGPL-2.1-or-later
"""What requests may look like, read from requests.tsv, requestrules.tsv and requestheaders.tsv."""

import functools
import re
from pathlib import Path

from requestrules import rule_of
from requestvalues import value_of

HERE = Path(__file__).parent
BODY, NOTHING, MAIL = "-", "(nothing)", "(mail)"


class TableError(Exception):
    """A row that cannot be understood."""


def version_number(text):
    """"14.1" as 141; -1 for what is no version."""
    return int(text.replace(".", "")) if re.fullmatch(r"\d+\.\d", text) else -1


def covers(versions, version):
    """Whether a row with these versions is about this one."""
    number = version_number(version)
    if versions == "all":
        return True
    first, dots, last = versions.partition("..")
    if dots:
        return (not first or number >= version_number(first)) and number <= version_number(last)
    if versions.endswith("+"):
        return number >= version_number(versions[:-1])
    return number == version_number(versions)


def rows(name):
    """The rows of one file, each a dictionary by the names in its first line."""
    lines = [line for line in (HERE / name).read_text().splitlines() if line and not line.startswith("#")]
    names = lines[0].split("\t")
    for line in lines[1:]:
        fields = line.split("\t")
        if len(fields) > len(names):
            raise TableError(f"{name}: {line}")
        yield dict(zip(names, fields + [""] * (len(names) - len(fields)), strict=True))


class Child:
    """What one kind of child may be."""

    def __init__(self, row):
        least, dots, most = row["count"].partition("..")
        self.least = int(least)
        self.most = None if most == "*" else int(most if dots else least)
        self.place = None if row["order"] == "-" else int(row["order"])
        self.value = value_of(row["value"])
        self.answer, _, self.order_answer = row["answer"].partition("; order ")


class Element:
    """What one element may hold: children by their tag, and the rules about them."""

    def __init__(self):
        self.children, self.rules = {}, []


class Form:
    """The requests of one command in one version: elements by "Tag", or by "Parent/Tag" where that differs."""

    def __init__(self):
        self.elements = {}
        self._found = {}

    def element(self, name):
        return self.elements.setdefault(name, Element())

    def roots(self):
        return self.elements[BODY].children if BODY in self.elements else {}

    def find(self, parent, tag):
        """(the name it has here, the Element or None) of a tag below a parent."""
        found = self._found.get((parent, tag))
        if found is None:
            name = f"{parent}/{tag}"
            name = name if name in self.elements else tag
            found = self._found[parent, tag] = name, self.elements.get(name)
        return found


@functools.cache
def _read(name):
    return tuple(rows(name))


@functools.cache
def form(command, version):
    """The Form, or None where the table knows no such command in that version."""
    made = Form()
    for row in _read("requests.tsv"):
        if row["command"] == command and covers(row["versions"], version):
            made.element(row["parent"]).children[row["child"]] = Child(row)
    for row in _read("requestrules.tsv"):
        if row["command"] == command and covers(row["versions"], version):
            made.element(row["element"]).rules.append((rule_of(row["rule"]), row["answer"]))
    return made if made.roots() else None


@functools.cache
def headers(version):
    """The rows of requestheaders.tsv that are about one version."""
    return tuple(row for row in _read("requestheaders.tsv") if covers(row["versions"], version))


@functools.cache
def commands():
    """Every command that has rows in any version."""
    return frozenset(row["command"] for row in _read("requests.tsv"))
