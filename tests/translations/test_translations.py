# SPDX-License-Identifier: LGPL-2.1-or-later
"""The translations as translators leave them, against the sources.

usage: test_translations.py SOURCE_FOLDER
"""
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ET
from pathlib import Path

import results

TOP = Path(sys.argv[1])
FOLDER = TOP / "translations"
FILES = sorted(FOLDER.glob("orvmail_*.ts"))
COMMANDS = "add|folders|list|outbox|remove|report|set|show|status|sync|test"
HINT = "run ./dev translations, and translate what is unfinished then (docs/translating.md)"


class Message:
    def __init__(self, context, element):
        self.context = context
        self.source = element.findtext("source")
        self.state = element.find("translation").get("type", "finished")
        forms = [form.text or "" for form in element.iter("numerusform")]
        self.forms = forms or [element.findtext("translation") or ""]


def messages(file):
    return [Message(context.findtext("name"), element)
            for context in ET.parse(file).getroot().iter("context") for element in context.iter("message")]


def places(text):
    """What is put into a text; a number in words of its own may do without."""
    return sorted(re.findall(r"%L?(?:\d|n)", text))


def mnemonics(text):
    return len(re.findall("&(?=[^& ])", text))


def edges(text):
    """What other texts are put beside it for."""
    text = text.replace("\N{NBSP}", " ")
    return (text[:len(text) - len(text.lstrip())], text[len(text.rstrip()):],
            [end for end in (".", "...", ":", "?") if text.rstrip().endswith(end)])


class Desktop(unittest.TestCase):
    """What a desktop and its shop show of the window."""

    def test_entry_and_description_are_translated(self):
        languages = {file.stem.removeprefix("orvmail_") for file in FILES}
        entry = (TOP / "packaging/desktop/com.tarvo.orvmail.desktop").read_text()
        for key in ("Name", "GenericName", "Comment", "Keywords"):
            self.assertEqual(set(re.findall(rf"^{key}\[(\w+)\]=.", entry, re.M)), languages, key)
        page = (TOP / "packaging/desktop/com.tarvo.orvmail.metainfo.xml").read_text()
        for tag in ("name", "summary", "p", "li"):
            # The name of who makes it is one of its own.
            count = len(re.findall(rf"<{tag}>", page)) - (tag == "name")
            for language in languages:
                self.assertEqual(len(re.findall(rf'<{tag} xml:lang="{language}">', page)), count, tag)


class Translations(unittest.TestCase):
    maxDiff = None

    def test_there_are_german_and_french(self):
        self.assertLessEqual({"orvmail_de.ts", "orvmail_fr.ts"}, {file.name for file in FILES})

    def test_they_have_the_texts_of_the_sources(self):
        with tempfile.TemporaryDirectory() as folder:
            done = subprocess.run([sys.executable, "-B", FOLDER / "update", folder], capture_output=True, text=True,
                                  check=False)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            for name in [*(file.name for file in FILES), "failures.txt"]:
                self.assertEqual((FOLDER / name).read_text(), (Path(folder) / name).read_text(), HINT)

    def each(self, complaint):
        """Fails with all that the function says of messages."""
        told = [f"{file.name}: {message.context}: {message.source!r}: {text}"
                for file in FILES for message in messages(file) for text in [complaint(message)] if text]
        self.assertEqual(told, [])

    def test_nothing_is_left_to_do(self):
        self.each(lambda message: message.state != "finished" and message.state
                  or not all(message.forms) and "empty")

    def test_what_is_put_into_a_text_is_put_into_its_translation(self):
        self.each(lambda message: any(places(form) != places(message.source) for form in message.forms)
                  and f"other places: {message.forms}")

    def test_keys_are_the_same_many(self):
        self.each(lambda message: message.context.startswith(("Accounts::", "QPlatformTheme"))
                  and any(mnemonics(form) != mnemonics(message.source) for form in message.forms)
                  and f"other mnemonics: {message.forms}")

    def test_texts_begin_and_end_alike(self):
        self.each(lambda message: any(edges(form) != edges(message.source) for form in message.forms)
                  and f"other ends: {message.forms}")

    def test_commands_and_options_are_not_translated(self):
        def typed(text):
            return sorted(re.findall(rf"(?<![\w-])--[\w-]+|orvmail-account(?: (?:{COMMANDS})\b)?|\b[A-Z]{{4,}}\b",
                                     text.replace("JSON", "")))
        self.each(lambda message: any(typed(form) != typed(message.source) for form in message.forms)
                  and f"other words to type: {message.forms}")


class Sources(unittest.TestCase):
    """No words for a person stand in the sources without being looked up or marked."""

    maxDiff = None
    FOLDERS = ["accounts", "daemon/notify", "daemon/tasks", "eas", "manual", "plugin/settings"]
    FILES = ["daemon/commandline.cpp"]
    #: Log lines, and what a person neither reads nor is shown.
    OTHER = re.compile(r"(?:qC?(?:Debug|Info|Warning|Critical|Fatal)\b|qMailLog|static_assert|fprintf|fputs|asm)[^;]*$")
    LOOKED_UP = re.compile(r'(?:\btr|\benglish|\bmark|\btranslate\(\s*"\w+",)\s*\(?\s*$')
    LITERAL = re.compile(r'(?<![\'\\])"(?:[^"\\\n]|\\.)*"(?:\s*"(?:[^"\\\n]|\\.)*")*')
    #: Two words; but neither SQL nor a command line.
    WORDS = re.compile(r'^(?!SELECT|INSERT|UPDATE|DELETE|CREATE|ALTER|PRAGMA|orvmail-account |\*/)'
                       r'.*[A-Za-z]{2,}[,.;:]? +[A-Za-z]{2,}')

    #: The same in each language: what is typed, forms of dates, and words of the protocol.
    FIXED = {"tls none", "on off", "retry MESSAGE", "to-drafts MESSAGE", "yyyy-MM-dd HH:mm:ss",
             "ddd, dd MMM yyyy hh:mm:ss 'GMT'", "Flag for follow up"}

    #: What "orvmail-account report" writes, for who helps.
    REPORT = {"accounts/daemonlog.cpp", "accounts/status/partversions.cpp", "accounts/commands/troublereport.cpp"}

    def literals(self, text):
        text = re.sub(r"/\*.*?\*/|//[^\n]*|^#[^\n]*|R\"sh\(.*?\)sh\"", "", text, flags=re.S | re.M)
        for match in self.LITERAL.finditer(text):
            before = text[max(0, match.start() - 300):match.start()]
            yield before, "".join(re.findall(r'"((?:[^"\\]|\\.)*)"', match.group()))

    def test_every_text_is_looked_up(self):
        paths = [path for folder in self.FOLDERS for path in sorted((TOP / folder).rglob("*.cpp"))]
        told = []
        for path in [*paths, *(TOP / name for name in self.FILES)]:
            name = path.relative_to(TOP)
            if name.parts[:2] == ("manual", "pages") or str(name) in self.REPORT:
                continue
            for before, text in self.literals(path.read_text()):
                if text in self.FIXED or not self.WORDS.search(text):
                    continue
                if not self.LOOKED_UP.search(before) and not self.OTHER.search(before):
                    told.append(f"{name}: {text}")
        self.assertEqual(told, [])


if __name__ == "__main__":
    sys.exit(results.run("translations"))
