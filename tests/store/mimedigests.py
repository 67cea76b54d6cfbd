# SPDX-License-Identifier: LGPL-2.1-or-later
"""Prints the digest of every leaf of a message's tree of parts, in order, as Python reads them."""
import email
import email.policy
import hashlib
import sys

with open(sys.argv[1], "rb") as file:
    message = email.message_from_binary_file(file, policy=email.policy.compat32)


def leaves(part):
    if part.get_content_maintype() == "multipart" and part.is_multipart():
        for child in part.get_payload():
            yield from leaves(child)
    else:
        yield part


for leaf in leaves(message):
    if leaf.get_content_maintype() == "message" and leaf.is_multipart():
        print("message")
        continue
    content = leaf.get_payload(decode=True) or b""
    if str(leaf.get("Content-Transfer-Encoding", "")).strip().lower() != "base64":
        # Ends of lines are the reader's own.
        content = content.replace(b"\r\n", b"\n").rstrip(b"\n")
    print(hashlib.sha1(content).hexdigest())
