# SPDX-License-Identifier: LGPL-2.1-or-later
"""Prints recorded requests, and what the table says to each.

usage: check_requests.py FILE: one request a line, {"method", "target", "headers", "body"}, the body in base64.
Ends with 1 when one of them does not pass."""

import base64
import json
import sys
import urllib.parse
from email.message import Message

import requestcheck
import wbxml


def query_of(target):
    return dict(urllib.parse.parse_qsl(urllib.parse.urlsplit(target).query, keep_blank_values=True))


def headers_of(fields):
    """By name, whatever its case."""
    headers = Message()
    for name, value in fields.items():
        headers[name] = value
    return headers


def check(one):
    """(the request's name, its body as text, what is wrong)"""
    body, headers, query = base64.b64decode(one["body"]), headers_of(one["headers"]), query_of(one["target"])
    if one["method"] == "OPTIONS":
        return "OPTIONS", "", ["it has a body"] if body else []
    command, version = query.get("Cmd", ""), headers.get("MS-ASProtocolVersion", "")
    root, shown = None, body.decode("utf-8", "replace")
    if body and not headers.get("Content-Type", "").startswith("message/rfc822"):
        root = wbxml.decode(body)
        shown = root.xml()
    found = requestcheck.check(requestcheck.Request(command, version, headers, query, root, len(body)))
    return f"{command} {version}", shown, [f"{wrong.text} ({wrong.answer})" for wrong in found]


def main():
    failed = 0
    with open(sys.argv[1], encoding="utf-8") as file:
        for line in file:
            one = json.loads(line)
            name, shown, wrong = check(one)
            print(f"{name}   {one['target']}\n{shown}")
            failed += bool(wrong)
            print("".join(f"VIOLATION {text}\n" for text in wrong), end="")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
