# SPDX-License-Identifier: LGPL-2.1-or-later
"""What a bench tells: a table and, at its end, which aims were met; or a line of JSON for each row."""

import json
import sys
from dataclasses import dataclass

UNITS = {"ms": "ms", "us": "us", "mb": "MB", "mib": "MiB", "cpu": "CPU"}
# Columns of words, as wide as their widest.
WORDS_WIDTH = 34


def progress(text):
    print(f"== {text}", file=sys.stderr, flush=True)


def heading(name):
    """A figure's name as the table has it: "daemon_ms" is "daemon ms"."""
    return " ".join(UNITS.get(word, word) for word in name.split("_"))


@dataclass
class Aim:
    """Something that was to be reached, and what was."""

    text: str
    value: float
    limit: float
    at_least: bool = False

    @property
    def met(self):
        return self.value >= self.limit if self.at_least else self.value <= self.limit

    def line(self):
        word = "at least" if self.at_least else "at most"
        return f"{'met' if self.met else 'MISSED'}: {self.text}: {self.value:.4g}, {word} {self.limit:.4g}"

    def figures(self):
        return {"aim": self.text, "value": round(self.value, 3), "limit": round(self.limit, 3),
                "at_least": self.at_least, "met": self.met}


class Table:
    """One table of a bench. `columns` are names of figures with their formats (as of format()), in order; each row
    has "messages", and says in `aims` what was to be reached by it."""

    def __init__(self, bench, as_json, title, columns, notes=()):
        self.bench, self.as_json, self.columns = bench, as_json, columns
        self.notes, self.aims = notes, []
        self.say(title)
        self.say("  " + "  ".join(self._padded(name, heading(name)) for name in columns))

    def say(self, text=""):
        if not self.as_json:
            print(text, flush=True)

    def row(self, aims=(), **figures):
        missing = set(self.columns) ^ set(figures)
        if missing:
            raise ValueError(f"{self.bench}: these figures and columns do not match: {missing}")
        self.aims += aims
        if self.as_json:
            rounded = {name: round(value, 3) if isinstance(value, float) else value for name, value in figures.items()}
            told = {"bench": self.bench, **rounded, "aims": [aim.figures() for aim in aims]}
            print(json.dumps(told), flush=True)
        self.say("  " + "  ".join(self._padded(name, format(figures[name], kind))
                                  for name, kind in self.columns.items()))

    def _padded(self, name, text):
        if self.columns[name] == "s":
            return text.ljust(WORDS_WIDTH)
        return text.rjust(max(8, len(heading(name))))

    def __enter__(self):
        return self

    def __exit__(self, kind, *_):
        if kind:
            return
        for note in self.notes:
            self.say(f"  {note}")
        for aim in self.aims:
            self.say(f"  aim {aim.line()}")
        self.say()


class Report:
    """Makes the tables of one run."""

    def __init__(self, as_json):
        self.as_json = as_json

    def table(self, bench, title, columns, notes=()):
        return Table(bench, self.as_json, title, columns, notes)
