# SPDX-License-Identifier: LGPL-2.1-or-later
"""Endurance: the same day again and again, and whether anything is left over from it."""
import json
import re
import struct
import subprocess
import time

from stage import TOP, Stage

EARLY = 100
# Cycles after which the mailbox is as it was at the beginning.
TIDY = 25


class Soak:
    """A mailbox in which each cycle something comes and something goes; the clock runs ahead in leaps, as a
    synchronisation that follows another at once is taken for the same one."""

    def __init__(self, stage, build, daemon_prefix=()):
        self.stage = stage
        (stage.dir / "mail/alice/Inbox").mkdir(parents=True)
        stage.mail_server(stage.dir / "mail")
        stage.add_account()
        self.clock = stage.dir / "clock"
        self.clock.write_bytes(struct.pack("l", 0))
        ahead = ["env", f"LD_PRELOAD={build}/lib/libfaults-clock.so", f"FAULTS_CLOCK={self.clock}"]
        self.daemon = stage.daemon(*(daemon_prefix or ahead))
        self.server = stage.message_server(*ahead)
        self.person = subprocess.Popen([stage.bin("faults-user"), "Bench", "serve"], env=stage.env, text=True,
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                       stderr=open(stage.dir / "log/person", "ab"))
        self.bin = build

    def ask(self, *words):
        print("\t".join(map(str, words)), file=self.person.stdin, flush=True)
        answer = json.loads(self.person.stdout.readline())
        if not answer["ok"]:
            raise SystemExit(f"bench: {' '.join(map(str, words))}: {answer}\n{self.stage.logs()}")
        return answer

    def cycle(self, number):
        with open(self.clock, "r+b") as file:
            file.write(struct.pack("l", 6 * number))
        subject = f"Soak {number:06}"
        head = (f"From: Bob <bob@example.test>\r\nTo: alice@example.test\r\nSubject: {subject}\r\n"
                f"Message-ID: <soak{number}@example.test>\r\nMIME-Version: 1.0\r\n\r\n")
        self.stage.control("deliver", user="alice", message=head + "All day long.\r\n" * 3000)
        self.ask("act", "sync", 60)
        self.ask("fetch", subject, 60)
        self.ask("flag", subject)
        self.ask("compose", f"Answer {number}", "alice@example.test")
        self.ask("act", "transmit", 60)
        self.ask("search", subject, 60)
        if number % TIDY == 0:
            self.tidy()

    def tidy(self):
        """Another client clears up, so that it is the programs that grow, if anything does."""
        for folder in self.stage.control("state", user="alice")["folders"]:
            for message in folder["messages"]:
                self.stage.control("delete", user="alice", folder=folder["id"], id=message["id"])
        self.stage.control("log-clear")

    def processes(self):
        return {"daemon": self.daemon, "message server": self.server}

    def figures(self):
        """When nothing is asked of them."""
        time.sleep(12)  # the timers of what has just ended run out
        before = {name: process.wakeups() for name, process in self.processes().items()}
        time.sleep(10)
        rules = self.stage.match_rules()
        return {name: (process.memory_mb(), process.open_files(), process.threads(),
                       process.wakeups() - before[name], rules.get(process.pid, "-"))
                for name, process in self.processes().items()}

    def close(self):
        self.person.stdin.close()
        self.person.wait(20)


def run(build, cycles, say, progress):
    with Stage(build) as stage:
        soak = Soak(stage, build)
        began, early = time.monotonic(), None
        for number in range(1, cycles + 1):
            soak.cycle(number)
            if number == EARLY:
                early = soak.figures()
            if number % 250 == 0:
                progress(f"{number} cycles after {time.monotonic() - began:.0f} s")
        last = soak.figures()
        soak.close()
    say(f"Endurance: {cycles} cycles of synchronise, download, flag, send, search")
    say("  process          cycle  memory MB  open files  threads  idle wake-ups/10 s  D-Bus match rules")
    for name in last:
        for number, figures in ((EARLY, early), (cycles, last)):
            if figures:
                say("  %-15s %6d  %9.1f  %10d  %7d  %18d  %17s" % (name, number, *figures[name]))


def run_valgrind(build, cycles, say, progress):
    """Definite losses and memory errors of the daemon, by valgrind; fails where there is one that
    valgrind.supp does not excuse. Whose it is, a reader decides: a filter here would hide some of ours."""
    with Stage(build) as stage:
        log = stage.dir / "log/valgrind"
        soak = Soak(stage, build, ("valgrind", "--leak-check=full", "--show-leak-kinds=definite",
                                   "--errors-for-leak-kinds=definite", "--num-callers=60",
                                   f"--suppressions={TOP}/bench/valgrind.supp", f"--log-file={log}"))
        for number in range(1, cycles + 1):
            soak.cycle(number)
            time.sleep(5)  # this daemon's clock is the real one
            progress(f"valgrind: cycle {number} of {cycles}")
        soak.close()
        soak.daemon.popen.terminate()
        soak.daemon.popen.wait(120)
        text = log.read_text()
    summary = re.search(r"ERROR SUMMARY: (\d+) errors from \d+ contexts \(suppressed: (\d+)", text)
    if not summary:
        say("valgrind came to no end:\n" + text[-3000:])
        return False
    say(f"valgrind over {cycles} cycles of the daemon: {summary.group(1)} losses and errors, "
        f"{summary.group(2)} excused")
    if summary.group(1) != "0":
        say(text)
    return summary.group(1) == "0"
