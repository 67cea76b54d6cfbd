# SPDX-License-Identifier: LGPL-2.1-or-later
"""What ./dev bench takes and tells, on the smallest of mailboxes."""

import contextlib
import io
import json
import subprocess
import sys
import unittest
from pathlib import Path

import results

BENCH = Path(__file__).resolve().parent.parent.parent / "bench"
sys.path.append(str(BENCH))
import idle  # noqa: E402
from report import Aim, Report  # noqa: E402
from soak import Course, Rest  # noqa: E402


def bench(*arguments):
    return subprocess.run([BENCH / "bench", *arguments], capture_output=True, text=True, check=False)


def told(report, row_aims):
    """What a table with one row prints."""
    with contextlib.redirect_stdout(io.StringIO()) as output:
        with report.table("example", "An example", {"messages": "d", "daemon_ms": ".1f"}) as table:
            table.row(row_aims, messages=7, daemon_ms=1.25)
    return output.getvalue()


class Bench(unittest.TestCase):
    def test_tells_a_line_of_json_for_each_size(self):
        done = bench("first-sync", "--sizes", "20,10", "--json")
        self.assertEqual(done.returncode, 0, done.stderr)
        rows = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual([(row["bench"], row["messages"]) for row in rows], [("first-sync", 10), ("first-sync", 20)])
        for row in rows:
            for figure in ("messages_per_second", "daemon_ms", "server_ms", "floor_ms", "times", "daemon_mb",
                           "server_mb"):
                self.assertGreater(row[figure], 0, figure)
            self.assertAlmostEqual(row["times"], row["daemon_ms"] / row["floor_ms"], delta=0.02 * row["times"])
            aim = row["aims"][0]
            self.assertAlmostEqual(aim["value"], row["times"], places=2)
            self.assertEqual((aim["limit"], aim["met"]), (1.5, aim["value"] <= 1.5))

    def test_finds_that_nothing_is_left_of_mixed_work(self):
        done = bench("--soak", "--messages", "150", "--cycles", "60", "--json")
        self.assertEqual(done.returncode, 0, done.stderr)
        rows = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual({row["process"] for row in rows if row["bench"] == "soak"}, {"daemon", "message server"})
        last = [row for row in rows if row["bench"] == "soak-files"][-1]
        self.assertEqual((last["cycles"], last["messages"]), (60, 150))
        self.assertGreaterEqual(last["waits"], 60)
        self.assertTrue(all(aim["met"] for aim in last["aims"]))

    def test_tells_its_usage_wherever_it_is_asked(self):
        for arguments in (["--help"], ["-h"], ["first-sync", "--help"]):
            done = bench(*arguments)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertIn("usage: ./dev bench", done.stdout)

    def test_refuses_what_it_does_not_understand_before_it_measures(self):
        for arguments, word in (
                (["no-such"], "no-such"), (["--no-such"], "--no-such"), (["--sizes"], "value"),
                (["--sizes", "10,"], "number"), (["--sizes", "0"], "number"), (["--sizes", "-5"], "number"),
                (["--rounds", "many"], "number"), (["--folder", "99"], "from 100 on"),
                (["first-sync", "--mib", "1"], "attachment"), (["build/release", "idle"], "build/release")):
            with self.subTest(arguments=arguments):
                done = bench(*arguments)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertIn(word, done.stderr)


def course(late=None):
    """What an endurance run has seen in which nothing has grown, but for what `late` changes at the last rest."""
    def rest(cycles):
        return Rest({"daemon": {"open_files": 20, "threads": 5, "wakeups": 0, "match_rules": 9, "cpu_ms": 10.0 * cycles}},
                    {"temporary_files": 3, "stray_files": 0, "state_kb": 900, "state_wal_kb": 4000},
                    {"outgoing": 0, "conversation": 3000}, {"mailmessages": 1000})
    numbers = range(100, 1001, 100)
    seen = Course({number: {"daemon": 20.0} for number in numbers}, {number: rest(number) for number in numbers})
    if late:
        late(seen.memory, seen.rests[1000])
    return seen


def missed(seen):
    return [aim.text for aim in seen.aims() if not aim.met]


class Endurance(unittest.TestCase):
    def test_what_stays_as_it_is_passes(self):
        self.assertEqual(missed(course()), [])

    def test_each_growth_is_found(self):
        def memory(samples, _):
            samples.update({number: {"daemon": 20 + number / 400} for number in samples})
        for late, text in (
                (memory, "daemon, MB of its own"),
                (lambda _, rest: rest.processes["daemon"].update(open_files=23), "daemon, open files"),
                (lambda _, rest: rest.processes["daemon"].update(threads=6), "daemon, threads"),
                (lambda _, rest: rest.processes["daemon"].update(wakeups=9), "daemon, wakeups"),
                (lambda _, rest: rest.processes["daemon"].update(cpu_ms=12000.0), "daemon, CPU"),
                (lambda _, rest: rest.left.update(temporary_files=4), "temporary files"),
                (lambda _, rest: rest.left.update(stray_files=1), "stray files"),
                (lambda _, rest: rest.left.update(state_kb=9000), "state kb"),
                (lambda _, rest: rest.state.update(outgoing=1), "rows of outgoing"),
                (lambda _, rest: rest.state.update(conversation=8000), "rows of conversation"),
                (lambda _, rest: rest.store.update(mailmessages=1001), "rows of mailmessages")):
            with self.subTest(text=text):
                found = missed(course(late))
                self.assertEqual(len(found), 1, found)
                self.assertTrue(found[0].startswith(text), found)


    def test_who_wakes_from_the_beginning_on_is_found(self):
        for often in (4, 30):
            seen = course()
            for rest in seen.rests.values():
                rest.processes["daemon"].update(wakeups=often)
            self.assertEqual(missed(seen), ["daemon, wakeups in 3 idle seconds"])
        once = course()
        once.rests[500].processes["daemon"].update(wakeups=4)
        self.assertEqual(missed(once), ["daemon, wakeups in 3 idle seconds"])


class Idle(unittest.TestCase):
    def test_the_daemon_sleeps_and_the_message_server_as_without_us(self):
        for woken, late in (((0, 0, 0), []), ((0, 7, 7), []), ((0, 7, 8), []), ((1, 7, 7), ["daemon's"]),
                            ((0, 8, 7), ["message"]), ((600, 1, 0), ["daemon's", "message"])):
            with self.subTest(woken=woken):
                self.assertEqual([aim.text.split()[0] for aim in idle.aims(*woken) if not aim.met], late)


class Telling(unittest.TestCase):
    AIMS = [Aim("as little as that", 1.2, 1.5), Aim("as little as this", 1.6, 1.5),
            Aim("as much as that", 0.6, 0.5, at_least=True), Aim("as much as this", 0.4, 0.5, at_least=True)]

    def test_an_aim_is_met_or_missed_in_words_at_the_end(self):
        lines = told(Report(as_json=False), self.AIMS).splitlines()
        self.assertEqual(lines[1].split(), ["messages", "daemon", "ms"])
        self.assertEqual(lines[2].split(), ["7", "1.2"])
        self.assertEqual([line.split()[1] for line in lines[3:7]], ["met:", "MISSED:", "met:", "MISSED:"])
        self.assertIn("as little as this: 1.6, at most 1.5", lines[4])

    def test_an_aim_stands_with_its_row_in_json(self):
        row = json.loads(told(Report(as_json=True), self.AIMS))
        self.assertEqual({name: row[name] for name in ("bench", "messages", "daemon_ms")},
                         {"bench": "example", "messages": 7, "daemon_ms": 1.25})
        self.assertEqual([aim["met"] for aim in row["aims"]], [True, False, True, False])

    def test_a_row_has_all_figures_of_its_table(self):
        with self.assertRaises(ValueError), contextlib.redirect_stdout(io.StringIO()):
            with Report(as_json=True).table("example", "", {"messages": "d", "daemon_ms": ".1f"}) as table:
                table.row(messages=1)


sys.exit(results.run("bench"))
