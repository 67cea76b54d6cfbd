# SPDX-License-Identifier: LGPL-2.1-or-later
"""The rules of requestrules.tsv. Each takes the Node and returns what is wrong, or None."""


def _there(node, what):
    """Whether the element has what is written "TAG", "TAG/TAG", "TAG=text" or "TAG="."""
    path, equals, text = what.partition("=")
    return node.find(path) is not None and (not equals or node.value(path) == text)


def _some(node):
    return None if node.nodes() else "has no child"


def _one_of(node, *choices):
    parts = [choice.split("+") for choice in choices]
    whole = sum(all(_there(node, one) for one in choice) for choice in parts)
    touched = sum(any(_there(node, one) for one in choice) for choice in parts)
    return None if whole == touched == 1 else "does not have exactly one of " + ", ".join(choices)


def _together(node, *tags):
    there = sum(_there(node, tag) for tag in tags)
    return None if there in (0, len(tags)) else "has not all of " + ", ".join(tags)


def _excludes(node, one, other):
    return f"has both {one} and {other}" if _there(node, one) and _there(node, other) else None


def _needs(node, one, other):
    return f"has {one} without {other}" if _there(node, one) and not _there(node, other) else None


def _distinct(node, child, by):
    values = [one.value(by) for one in node.nodes(child)]
    return None if len(set(values)) == len(values) else f"has two {child} with one {by}"


_RULES = {"some": _some, "one of": _one_of, "together": _together, "excludes": _excludes, "needs": _needs,
          "distinct": _distinct}


def rule_of(words):
    """The check that the words stand for."""
    for name, check in _RULES.items():
        if words == name or words.startswith(name + " "):
            arguments = words.removeprefix(name).split()
            return lambda node: check(node, *arguments)
    raise ValueError(f"no such rule: {words}")
