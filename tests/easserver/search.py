# SPDX-License-Identifier: LGPL-2.1-or-later
"""Search in the mailbox and in the address list (MS-ASCMD 2.2.1.16)."""

from datetime import datetime, timezone

import items
from mailstore import NOT_MAIL
from wbxml import Node

OK, BAD_REQUEST, END_OF_RANGE = "1", "2", "12"


def search(call):
    store = call.root.find("Search:Store")
    name = store.value("Search:Name", "").lower() if store else ""
    query = store.find("Search:Query") if store else None
    if query is None or name not in ("mailbox", "gal"):
        return answer(BAD_REQUEST, [])
    found = _mailbox(call, store, query) if name == "mailbox" else _people(call, query)
    if found is None:
        return answer(BAD_REQUEST, [])
    first, last = _range(store.value("Search:Options/Search:Range", "0-99"))
    if call.options.ignores_search_range:
        first, last = 0, 99
    if first and first >= len(found):
        return answer(END_OF_RANGE, [])
    shown = found[first:last + 1]
    results = [make() for make in shown] or [Node("Search:Result")]
    end = first + len(shown) - 1
    return answer(OK, [*results, Node("Search:Range", f"{first}-{max(end, 0)}") if shown else None,
                        Node("Search:Total", str(len(found)))])


def answer(code, content):
    return Node("Search:Search", Node("Search:Status", OK),
                Node("Search:Response", Node("Search:Store", Node("Search:Status", code), *content)))


def _range(text):
    first, _, last = text.partition("-")
    return int(first), int(last)


class Query:
    """What a mailbox search asks for; words None when there is nothing to look for."""

    def __init__(self, query):
        root = query.find("Search:And") or query
        texts = [n.data().decode() for n in root.nodes("Search:FreeText")]
        self.words = " ".join(texts).split() if texts else None
        self.folders = [n.data().decode() for n in root.nodes("AirSync:CollectionId")]
        self.after = _stamp(root.value("Search:GreaterThan/Search:Value"))
        self.before = _stamp(root.value("Search:LessThan/Search:Value"))

    def matches(self, message):
        if self.after is not None and message.received <= self.after:
            return False
        if self.before is not None and message.received >= self.before:
            return False
        made = items.summary(message)
        return all(made.contains(word) for word in self.words)


def _stamp(text):
    if not text:
        return None
    return datetime.fromisoformat(text.replace("Z", "+00:00")).replace(tzinfo=timezone.utc).timestamp()


def _mailbox(call, store, text):
    """Functions that make the results, the newest first; None for a query that is no query."""
    query = Query(text)
    if call.options.simple_search:
        _simplify(call, text, query)
    if query.words is None and query.after is None and query.before is None:
        return None
    query.words = query.words or []
    folders = _folders(call.user, query.folders,
                       store.find("Search:Options/Search:DeepTraversal") is not None)
    preferences = items.BodyPreferences(store.find("Search:Options"), call.options)
    found = [(message.received, folder, item) for folder in folders
             for item, message in folder.items.items() if query.matches(message)]
    found.sort(key=lambda one: (-one[0], one[1].id, one[2]))
    bare = call.options.bare_search_ids and not query.folders
    return [lambda folder=folder, item=item: _result(call, folder, item, preferences, bare)
            for _, folder, item in found]


def _simplify(call, text, query):
    if text.find("Search:And") is None or query.words is None:
        call.http_error(500)
    if call.options.apostrophe_is_all and any("'" in word for word in query.words):
        query.words = []
    query.words, query.before, query.folders = [" ".join(query.words)], None, query.folders[-1:]


def _folders(user, wanted, deep):
    wanted = [i for i in wanted if i != "0"]
    if not wanted:
        return [f for f in user.folders.values() if f.kind not in NOT_MAIL]
    folders = [user.folders[i] for i in wanted if i in user.folders]
    if deep:
        folders = list({f.id: f for top in folders for f in user.below(top)}.values())
    return folders


def _result(call, folder, item, preferences, bare):
    folder_id = folder.id.replace("%2F", "/") if bare else folder.id
    long_id = f"{folder_id}{':' if call.options.colon_long_ids else '+'}{item}"
    if call.options.opaque_long_ids:
        long_id = long_id.encode().hex()
    return Node("Search:Result", Node("AirSync:Class", "Email"),
                Node("Search:LongId", long_id), Node("AirSync:CollectionId", folder_id),
                Node("Search:Properties",
                     *items.properties(folder.items[item], folder, item, preferences, call.new)))


def split_long_id(call, long_id):
    """(folder's id, item's id) as texts."""
    plain = bytes.fromhex(long_id).decode() if call.options.opaque_long_ids else long_id
    folder_id, _, item = plain.rpartition(":" if call.options.colon_long_ids else "+")
    return folder_id, item


def _people(call, query):
    text = query.data().decode().lower()
    return [lambda user=user: Node("Search:Result", Node(
        "Search:Properties", Node("GAL:DisplayName", user.full_name),
        Node("GAL:EmailAddress", user.address)))
        for user in call.store.users.values() if text in f"{user.full_name} {user.address}".lower()]
