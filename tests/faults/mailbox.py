# SPDX-License-Identifier: LGPL-2.1-or-later
"""What both sides do to the mailbox, and whether all of it is there when quiet has returned."""
import base64
import collections
import email
import email.policy
import hashlib

FOLDERS = ("Inbox", "Work", "Archive/2026", "Junk")
NOT_MAIL = ("Calendar", "Contacts")
# What a deed does to a message: the name of what it changes, and to what.
EFFECTS = {"read": ("read", True), "unread": ("read", False), "flag": ("important", True), "unflag": ("important", False)}
# What a mail says at first, and what its author writes where that is lost.
WRITTEN, WRITTEN_ANEW = "Written in troubled times.", "Written anew."


class Mailbox:
    """Everybody's deeds, and what may be expected because of them. A subject is a message's name."""

    def __init__(self, world, dice):
        self.world, self.dice = world, dice
        self.numbers = 0
        # What was delivered: its text without what line ends may do to it, and its attachment's digest.
        self.delivered = {}
        self.deleted, self.sent = set(), set()
        self.forget()

    def forget(self):
        """Both sides agree: who changes what is looked at anew from here on."""
        self.by_user = {}       # subject: what the person wanted of it
        self.contested = set()  # subjects that nothing can be expected of: the far side, too, or no answer

    def new_subject(self, kind):
        self.numbers += 1
        return f"{kind} {self.numbers:05}"

    # --- deeds

    def far_deed(self):
        """One thing that another client of the mailbox, or somebody in the world, does."""
        deed = self.dice.choice(("deliver", "deliver", "read", "flag", "move", "delete"))
        messages = self.far_messages()
        if deed == "deliver" or not messages:
            return self.deliver()
        path, message = self.dice.choice(messages)
        subject, item = message["subject"], {"user": "alice", "folder": path, "id": message["id"]}
        self.contested.add(subject)
        if deed == "read":
            self.world.far("flag", read=not message["read"], **item)
        elif deed == "flag":
            self.world.far("flag", flag=0 if message["flag"] == 2 else 2, **item)
        elif deed == "move":
            self.world.far("move", target=self.dice.choice([f for f in FOLDERS if f != path]), **item)
        else:
            self.deleted.add(subject)
            self.world.far("delete", trash=self.dice.random() < 0.5, **item)
        return f"far {deed} {subject}"

    def deliver(self):
        subject = self.new_subject("Mail")
        text = "".join(self.dice.choices("abcdefgh \n", k=self.dice.choice((50, 3000, 30000))))
        head = (f"From: Bob <bob@example.test>\r\nTo: alice@example.test\r\nSubject: {subject}\r\n"
                f"Message-ID: <{subject.replace(' ', '.')}@example.test>\r\nMIME-Version: 1.0\r\n")
        content = ["".join(text.split()), None]
        if self.dice.random() < 0.3:
            attachment = self.dice.randbytes(40000)
            content[1] = hashlib.sha256(attachment).hexdigest()
            data = base64.encodebytes(attachment).decode()
            text = ("Content-Type: multipart/mixed; boundary=limit\r\n\r\n--limit\r\n\r\n" + text +
                    "\r\n--limit\r\nContent-Type: application/octet-stream; name=data.bin\r\n"
                    "Content-Disposition: attachment; filename=data.bin\r\nContent-Transfer-Encoding: base64\r\n\r\n"
                    + data + "\r\n--limit--\r\n")
        else:
            text = "\r\n" + text
        folder = self.dice.choice(FOLDERS)
        if self.world.far("deliver", user="alice", folder=folder, message=head + text):
            self.delivered[subject] = content
        return f"far deliver {subject} to {folder}"

    def far_messages(self):
        state = self.world.far("state", user="alice") or {"folders": []}
        return [(f["path"], m) for f in state["folders"] if f["path"] in FOLDERS for m in f["messages"]]

    def user_deed(self, subjects):
        """One thing that the person at the mail program does; `subjects` are those that were here."""
        deed = self.dice.choice((*EFFECTS, "move", "delete", "send", "send", "fetch", "fetch", "sync", "sync",
                                 "export"))
        if deed in ("sync", "export"):
            self.world.user({"sync": "synchronize", "export": "exportUpdates"}[deed], seconds=5, patience=8)
            return f"user {deed}"
        if deed == "send" or not subjects:
            return self.send()
        subject = self.dice.choice(subjects)
        target = self.dice.choice(FOLDERS)
        if deed == "fetch":
            self.world.user("fetch", subject=subject, seconds=5, patience=8)
            return f"user fetch {subject}"
        if deed == "delete":
            self.deleted.add(subject)
            self.contested.add(subject)
        if deed == "move":
            self.by_user.setdefault(subject, {})["folder"] = target
        name, value = EFFECTS.get(deed, ("folder", target))
        if deed in EFFECTS:
            answer = self.change("flag", subject, **{"set" if value else "clear": [name]})
        else:
            answer = self.change({"delete": "remove"}.get(deed, deed), subject, target=target)
        if not answer or not answer["ok"]:
            # The store may have taken a part of it, or all.
            self.contested.add(subject)
        else:
            self.by_user.setdefault(subject, {})[name] = value
        return f"user {deed} {subject} {target if deed == 'move' else ''}".rstrip()

    def change(self, do, subject, **arguments):
        return self.world.user(do, subject=subject, locally=True, patience=8, **arguments)

    def compose(self, subject, text):
        return self.world.user("compose", subject=subject, to=["bob@example.test"], text=text, patience=8)

    def write_anew(self, message):
        """What is left of it is not what its author wrote."""
        self.world.user("remove", ids=[message["id"]], locally=True, unknown=True)
        self.compose(message["subject"], WRITTEN_ANEW)

    def send(self):
        subject = self.new_subject("Sent")
        answer = self.compose(subject, WRITTEN)
        if answer and answer["ok"]:
            self.sent.add(subject)
        self.world.user("transmit", seconds=5, patience=8)
        return f"user send {subject}"

    # --- what must be

    def findings(self, server, store):
        """What is not as it must be, as lines; `server` and `store` are both sides' states."""
        return (self.disagreement(server, store) + self.lost(server) + self.undone(server) +
                self.sending(store) + self.damaged(store))

    @staticmethod
    def disagreement(server, store):
        there = collections.Counter((f["path"], m["subject"], m["read"], m["flag"] == 2)
                                    for f in server["folders"] if f["path"] not in NOT_MAIL for m in f["messages"])
        here = collections.Counter((m["folder"], m["subject"], m["read"], m["important"])
                                   for m in store["messages"] if not m["outbox"])
        folders = {f["path"] for f in server["folders"] if f["path"] not in NOT_MAIL} ^ set(store["folders"])
        return ([f"only at the server: {one}" for one in (there - here).elements()] +
                [f"only in the store: {one}" for one in (here - there).elements()] +
                [f"a folder on one side alone: {path}" for path in folders] +
                ([f"{store['removals']} deletions are not carried out"] if store["removals"] else []))

    def lost(self, server):
        """Messages that nobody deleted, and that are not there, or twice."""
        found = collections.Counter(m["subject"] for f in server["folders"] for m in f["messages"])
        return [f"{subject} is at the server {found[subject]} times" for subject in sorted(self.delivered)
                if found[subject] != 1 and not (subject in self.deleted and found[subject] == 0)]

    def damaged(self, store):
        """Messages whose text or attachment here is not what was delivered."""
        found = []
        for message in store["messages"]:
            text, attachment = self.delivered.get(message["subject"], (None, None))
            if text and message["complete"] and "".join(message["text"].split()) != text:
                found.append(f"{message['subject']} has another text than was delivered")
            if attachment and [part for part in message["attachments"] if part["here"] and part["sha256"] != attachment]:
                found.append(f"{message['subject']} has another attachment than was delivered")
        return found

    def undone(self, server):
        """What the person did, and no other client touched, and is not so at the server."""
        found = {m["subject"]: dict(m, folder=f["path"], important=m["flag"] == 2)
                 for f in server["folders"] for m in f["messages"]}
        return [f"{subject} should be {wanted}, is {found.get(subject, {}).get('folder')} "
                f"read {found.get(subject, {}).get('read')} flagged {found.get(subject, {}).get('important')}"
                for subject, wanted in self.by_user.items() if subject not in self.contested
                and any(found.get(subject, {}).get(name) != value for name, value in wanted.items())]

    def sending(self, store):
        """Mails that did not arrive exactly once and are not in the outbox with a reason either."""
        texts = list(self.arrived())
        arrived = collections.Counter(subject for subject, _ in texts)
        waiting = {m["subject"]: m["reason"] for m in store["messages"] if m["outbox"]}
        found = [f"{subject} arrived with \"{text}\"" for subject, text in texts if text not in (WRITTEN, WRITTEN_ANEW)]
        for subject in sorted(self.sent):
            if arrived[subject] > 1:
                found.append(f"{subject} arrived {arrived[subject]} times")
            elif arrived[subject] == 0 and not waiting.get(subject):
                found.append(f"{subject} did not arrive; in the outbox: {subject in waiting}, no reason")
            elif arrived[subject] == 1 and subject in waiting:
                found.append(f"{subject} arrived, and is in the outbox with \"{waiting[subject]}\"")
        return found

    def arrived(self):
        """The subjects of what came to the server to be sent, each with its text."""
        for one in (self.world.far("sent", mime=True) or {"sent": []})["sent"]:
            mime = email.message_from_bytes(base64.b64decode(one["mime"]), policy=email.policy.default)
            body = mime.get_body(("plain",))
            yield str(mime["Subject"]), body.get_content().rstrip("\n") if body else None
