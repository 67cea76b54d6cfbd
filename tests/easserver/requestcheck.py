# SPDX-License-Identifier: LGPL-2.1-or-later
"""Holds one request against the table."""

import collections
import re

import requesttable
from requesttable import BODY, MAIL, NOTHING

# where: the Node below which it was found, None for the head of the request.
Violation = collections.namedtuple("Violation", "text answer where")


class Request:
    """What is looked at: header and query by name, the body's document (None for no WBXML) and its length."""

    def __init__(self, command, version, headers, query, root, length):
        self.command, self.version = command, version
        self.headers, self.query = headers, query
        self.root, self.length = root, length

    def value(self, field):
        """A header, or with "?" before its name a parameter of the query; "" for none."""
        if field.startswith("?"):
            return self.query.get(field[1:], "")
        return self.headers.get(field, "")


def check(request):
    """Everything that is wrong, the head first."""
    form = requesttable.form(request.command, request.version)
    if form is None:
        other = request.command in requesttable.commands()
        return [Violation(f"no {request.command} in {request.version}" if other
                          else f"the table knows no {request.command}", "g137" if other else "H501", None)]
    found = check_head(request, form)
    if request.root is not None:
        found += check_document(request.root, form)
    elif request.length == 0 and NOTHING not in form.roots():
        found.append(Violation("there is no body", "g101", None))
    return found


def check_head(request, form):
    """What is wrong with headers and query."""
    states = {"always", "binary query" if "version" in request.query else "plain query",
              "nothing" if request.length == 0 else "mail" if MAIL in form.roots() else "document"}
    found = []
    for row in requesttable.headers(request.version):
        value = request.value(row["field"])
        if _is_now(row["when"], states, request.root) and not _meets(value, row["demand"], request.root):
            found.append(Violation(f'{row["field"]} is "{value[:60]}"', row["answer"], None))
    return found


def _at(root, path):
    """The element at a path that begins with the document's own."""
    tag, _, below = path.partition("/")
    if root is None or root.tag != tag:
        return None
    return root.find(below) if below else root


def _is_now(when, states, root):
    return when in states or when.startswith("with ") and _at(root, when[5:]) is not None


def _meets(value, demand, root):
    if demand == "absent":
        return not value
    if demand.startswith("as "):
        one = _at(root, demand[3:])
        return (value or "0") == (one.data().decode() if one else "0")
    return re.fullmatch(demand, value)


def check_document(root, form):
    """What is wrong with the document."""
    found = []
    body = form.elements[BODY]
    if root.tag not in body.children:
        answer = next((one.answer for tag, one in body.children.items() if ":" in tag), "H400")
        return [Violation(f"the document is {root.tag}", answer, root)]
    _check_node(root, BODY, body.children[root.tag], form, found)
    return found


def _check_node(node, parent, row, form, found):
    wrong = row.value(node)
    if wrong:
        found.append(Violation(f"{node.tag} {wrong}", row.answer, node))
        return
    name, element = form.find(parent, node.tag)
    if element is None:
        return
    _check_children(node, element, row, found)
    for rule, answer in element.rules:
        wrong = rule(node)
        if wrong:
            found.append(Violation(f"{node.tag} {wrong}", answer, node))
    for child in node.nodes():
        if child.tag in element.children:
            _check_node(child, name, element.children[child.tag], form, found)


def _check_children(node, element, row, found):
    count, last = {}, -1
    for child in node.nodes():
        tag = child.tag
        count[tag] = count.get(tag, 0) + 1
        one = element.children.get(tag)
        if one is None:
            if count[tag] == 1 and element.children:
                found.append(Violation(f"{tag} has no place in {node.tag}", row.answer, node))
        elif one.place is not None:
            if one.place < last:
                found.append(Violation(f"{tag} comes too late in {node.tag}", one.order_answer or one.answer, node))
            last = max(last, one.place)
    if not count:
        return  # its value has said whether it may be empty
    for tag, one in element.children.items():
        times = count.get(tag, 0)
        if times < one.least:
            found.append(Violation(f"{node.tag} lacks {tag}", one.answer, node))
        elif one.most is not None and times > one.most:
            found.append(Violation(f"{node.tag} has {times} {tag}", one.answer, node))
