# SPDX-License-Identifier: LGPL-2.1-or-later
"""Endurance: the same day again and again under push, and whether anything is left over from it. The mailbox stays as
large as it is, as another client clears up: what grows all the same are the programs, or what they keep."""
import base64
import contextlib
import re
import sqlite3
import statistics
import struct
import time
from dataclasses import dataclass, field

from onstage import check_agreement, make_mail
from process import Process
from report import Aim, heading, progress
from stage import ACCOUNT, TOP, Stage
from waiting import Failure

# Seconds that pass for the programs before each cycle and each synchronisation: one that follows another at once is
# taken for the same one, and news that follows news at once is fetched after a pause.
LEAP_SECONDS = 6
# Cycles after which the mailbox is as it was at the beginning.
TIDY = 25
MEMORY_SAMPLES = 40
# At these shares of the cycles the programs are left alone, and looked at.
RESTS = (1 / 8, 1 / 4, 1 / 2, 3 / 4, 1)
# From so many cycles on, else at the first of these and at the last.
MANY = 1000
IDLE_SECONDS = 3
SECONDS = 3600  # in which a large folder is to be reconciled

# What may be more at the last rest than at the first. Memory: what half of the cycles may leave.
GROWTH_MB = 1
GROWTH = {"open_files": 2, "threads": 0, "match_rules": 0}
GROWTH_LEFT = {"temporary_files": 0, "stray_files": 0, "state_kb": 1024}
# In the idle seconds of each rest.
MAXIMUM_WAKEUPS = 3
# A log that is written back into its database is begun anew, and stays as large as it was.
MAXIMUM_WAL_KB = 8192
# Rows of the two databases. Conversations whose threads are gone are forgotten when 4096 have come; messages whose flags
# another client has changed are marked, at the most a hundred.
GROWTH_ROWS = {"conversation": 4096 + 200, "mailmessagecustom": 100}
# A cycle's CPU between the last two rests beside that between the first two.
TIMES_CPU = 1.5

PROCESSES = {"messages": "d", "cycles": "d", "process": "s", "memory_mb": ".1f", "own_mb": ".1f", "open_files": "d",
             "threads": "d", "wakeups": "d", "match_rules": "d", "cpu_ms": ".1f"}
PROCESSES_NOTES = ["own: without what is mapped from files; wakeups: idle, in 3 s; match_rules: of D-Bus, -1 where the bus",
                   "does not tell; cpu: a cycle since the row before"]
LEFT = {"messages": "d", "cycles": "d", "temporary_files": "d", "stray_files": "d", "state_kb": "d", "state_wal_kb": "d",
        "store_kb": "d", "store_wal_kb": "d", "log_kb": "d", "waits": "d"}
LEFT_NOTES = ["temporary: in the folders for that; stray: of messages that the store has not; state: the daemon's database;",
              "store: the mail store's; log: of the daemon; waits: how often it has begun to wait for news"]
ROWS = {"messages": "d", "table": "s", "early": "d", "late": "d"}


def message(number, attachment=False):
    """The text of a mail that is delivered."""
    head = (f"From: Bob <bob@example.test>\r\nTo: alice@example.test\r\nSubject: Soak {number:06}\r\n"
            f"Message-ID: <soak{number}@example.test>\r\nMIME-Version: 1.0\r\n")
    text = "\r\n" + "All day long.\r\n" * 300
    if not attachment:
        return head + text
    data = base64.encodebytes(bytes(40000)).decode().replace("\n", "\r\n")
    return (f"{head}Content-Type: multipart/mixed; boundary=part\r\n\r\n--part\r\n{text}\r\n--part\r\n"
            'Content-Type: application/octet-stream; name="data.bin"\r\nContent-Transfer-Encoding: base64\r\n'
            f'Content-Disposition: attachment; filename="data.bin"\r\n\r\n{data}--part--\r\n')


class Soak:
    """A mailbox in which each cycle something comes and something goes; the clock runs ahead in leaps, as if the machine
    had slept."""

    def __init__(self, stage, build, messages, daemon_prefix=()):
        self.stage, self.messages = stage, messages
        for folder in ("Inbox", "Work"):
            (stage.dir / "mail/alice" / folder).mkdir(parents=True)
        if messages:
            make_mail(stage, messages, "--attachment-size", "1")
        stage.start_server(stage.dir / "mail", "--warm", "--no-gzip")
        stage.add_account()
        self.clock = stage.dir / "clock"
        self.seconds_ahead = 0
        self.leap(0)
        ahead = ["env", f"LD_PRELOAD={build}/lib/libfaults-clock.so", f"FAULTS_CLOCK={self.clock}", "FAULTS_ASLEEP=1"]
        self.daemon = Process(stage.start_daemon(*(daemon_prefix or ahead), arguments=["--undo-time", "1"]))
        self.server = Process(stage.start_message_server(*ahead))
        self.person = stage.robot()
        self.synchronise()
        stage.account_program("set", ACCOUNT, "--push", "on")
        self.person.tell("watch")

    def leap(self, seconds=LEAP_SECONDS):
        self.seconds_ahead += seconds
        self.clock.touch()
        with open(self.clock, "r+b") as file:
            file.write(struct.pack("l", self.seconds_ahead))

    # --- a cycle

    def cycle(self, number):
        self.leap()
        arrived = self.arrive(number)
        for every, deed in ((2, self.read), (3, self.file), (4, self.far_flag), (5, self.synchronise), (6, self.remove),
                            (7, self.far_move), (9, self.far_draft), (10, self.send), (12, self.draft),
                            (20, self.open_attachment), (20, self.search), (40, self.cut), (50, self.far_folder),
                            (100, self.expire), (TIDY, self.tidy)):
            if number % every == 0:
                deed(number, arrived)

    def arrive(self, number):
        """A mail comes by push alone; its id here."""
        self.stage.control("deliver", user="alice", message=message(number, attachment=number % 20 == 0))
        return self.person.tell("await", subject=f"Soak {number:06}")["id"]

    def read(self, _, arrived):
        self.person.tell("fetch", ids=[arrived])
        self.person.tell("flag", ids=[arrived], set=["read", "important"], locally=True)

    def synchronise(self, *_):
        self.leap()
        self.person.tell("synchronize", seconds=SECONDS)

    def file(self, _, arrived):
        self.person.tell("move", ids=[arrived], target="Work")

    def remove(self, _, arrived):
        self.person.tell("remove", ids=[arrived])

    def send(self, number, _):
        self.person.tell("compose", subject=f"Answer {number}", to=["bob@example.test"], text="Yes.\n")
        self.person.tell("transmit")

    def draft(self, number, _):
        """Written, edited, and sent or thrown away."""
        draft = self.person.tell("compose", subject=f"Draft {number}", to=["bob@example.test"], text="No", draft=True)
        self.person.tell("edit", ids=[draft["id"]], text="No, but")
        if number % 24 == 0:
            self.person.tell("edit", ids=[draft["id"]], text="No, but yes.\n", send=True)
            self.person.tell("transmit")
        else:
            self.person.tell("remove", ids=[draft["id"]], locally=True, unknown=True)

    def search(self, number, _):
        self.person.tell("search", text=f"Soak {number - 1:06}", folder="Work")

    def open_attachment(self, _, arrived):
        [mail] = self.person.tell("messages", ids=[arrived], content=True)["messages"]
        self.person.tell("part", location=mail["attachments"][0]["location"])

    def far_flag(self, number, _):
        """Another client marks one of the first messages."""
        if self.messages:
            self.stage.control("flag", user="alice", id=1 + number % min(100, self.messages),
                               flag=2 if number % 8 else 0, read=number % 3 == 0)

    def far_move(self, number, _):
        told = self.stage.control("deliver", user="alice", folder="Work", message=message(10 ** 5 * 7 + number))
        self.stage.control("move", user="alice", folder="Work", id=told["id"], target="Inbox")

    def far_draft(self, number, _):
        """Another client writes a draft, and saves it once more, by which it becomes another message."""
        for version in (0, 1):
            self.stage.control("clear", user="alice", folder="Drafts")
            self.stage.control("deliver", user="alice", folder="Drafts", message=message(10 ** 5 * (8 + version) + number))

    def far_folder(self, number, _):
        """Another client makes a folder with something in it, calls it otherwise, and removes it."""
        path, other = f"Plan {number}", f"Plan {number} B"
        self.stage.control("folder_create", user="alice", folder=path)
        self.stage.control("deliver", user="alice", folder=path, message=message(number))
        self.synchronise()
        self.stage.control("folder_rename", user="alice", folder=path, target=other)
        self.person.tell("folderList")
        self.stage.control("folder_delete", user="alice", folder=other)
        self.person.tell("folderList")

    def cut(self, number, _):
        """The connection breaks while the answer comes, and the one by which news is awaited, too."""
        self.stage.control("fault", kind="cut", command="Sync", bytes=10)
        self.stage.control("deliver", user="alice", message=message(10 ** 6 + number))
        self.leap()
        self.person.ask("synchronize", seconds=SECONDS)
        self.stage.control("fault_clear")
        self.stage.control("network", up=False)
        self.stage.control("network", up=True)
        self.synchronise()

    def expire(self, *_):
        """The server forgets the key of a folder."""
        self.stage.control("forget", user="alice", folder="Work")

    def expire_inbox(self):
        """The same of the large one, which is reconciled then."""
        self.stage.control("forget", user="alice", folder="Inbox")
        self.synchronise()

    def tidy(self, *_):
        """Another client clears up, so that it is the programs that grow, if anything does."""
        for folder in ("Work", "Trash", "Sent", "Drafts"):
            self.stage.control("clear", user="alice", folder=folder)
        self.stage.control("clear", user="alice", folder="Inbox", **{"from": self.messages + 1})
        self.stage.control("log-clear")
        self.synchronise()


    # --- what is left over

    def processes(self):
        return {"daemon": self.daemon, "message server": self.server}

    def idle(self):
        """Wake-ups when nothing is asked of them, once the timers of what has just ended have run out."""
        woken, quiet = self.wakeups(), 0
        for _ in range(30):
            time.sleep(1)
            before, woken = woken, self.wakeups()
            quiet = quiet + 1 if woken == before else 0
            if quiet == 2:
                break
        time.sleep(IDLE_SECONDS)
        return {name: count - woken[name] for name, count in self.wakeups().items()}

    def wakeups(self):
        return {name: process.wakeups() for name, process in self.processes().items()}

    def process_figures(self):
        wakeups, rules = self.idle(), self.match_rules()
        return {name: {"memory_mb": process.memory_mb(), "own_mb": process.own_mb(), "open_files": process.open_files(),
                       "threads": process.threads(), "wakeups": wakeups[name], "cpu_ms": process.cpu_ms(),
                       "match_rules": rules.get(process.pid, -1)}
                for name, process in self.processes().items()}

    def match_rules(self):
        """How many rules each process has at the bus, by process id; empty where the bus does not tell."""
        rules, owner = {}, None
        for line in (self.stage.ask_bus("Debug.Stats.GetAllMatchRules") or "").splitlines():
            word = line.strip()
            if re.fullmatch(r'string ":1\.\d+"', word):
                owner = self.stage.owner(word.split('"')[1])
            elif word.startswith('string "') and owner:
                rules[owner] = rules.get(owner, 0) + 1
        return rules

    def left(self):
        """What lies about, and the rows of each table."""
        qmf = self.stage.dir / "qmf"
        state, store = rows(qmf / "asdaemon.db"), rows(qmf / "database/qmailstore.db")
        figures = {"temporary_files": sum(files(self.stage.dir / name) for name in ("tmp", "run", "qmf/tmp")),
                   "stray_files": self.stray_files(), "state_kb": kilobytes(qmf / "asdaemon.db"),
                   "state_wal_kb": kilobytes(qmf / "asdaemon.db-wal"),
                   "store_kb": kilobytes(qmf / "database/qmailstore.db"),
                   "store_wal_kb": kilobytes(qmf / "database/qmailstore.db-wal"),
                   "log_kb": kilobytes(self.stage.dir / "log/asdaemon"), "waits": self.waits()}
        return figures, state, store

    def waits(self):
        """How often the daemon has begun to wait for news."""
        return sum(device["pings"] for device in self.stage.control("devices", user="alice")["devices"])

    def stray_files(self):
        """Files of messages, and folders of their parts, that no message of the mail store has."""
        place = self.stage.dir / "qmf/mail"
        with reading(self.stage.dir / "qmf/database/qmailstore.db") as opened:
            known = {uri.partition(":")[2].rpartition("/")[2] for uri, in opened.execute("SELECT mailfile FROM mailmessages")}
        return sum(path.name.removesuffix("-parts") not in known for path in place.glob("*"))


@contextlib.contextmanager
def reading(database):
    with contextlib.closing(sqlite3.connect(f"file:{database}?mode=ro", uri=True, timeout=30)) as opened:
        yield opened


def rows(database):
    """How many each table has."""
    with reading(database) as opened:
        tables = [name for name, in opened.execute("SELECT name FROM sqlite_master WHERE type = 'table'")]
        return {name: opened.execute(f'SELECT count(*) FROM "{name}"').fetchone()[0] for name in tables}


def files(place):
    return sum(path.is_file() for path in place.rglob("*"))


def kilobytes(path):
    return path.stat().st_size // 1024 if path.exists() else 0


def measure(build, options, report):
    """Fails where something has grown."""
    cycles, messages = options["cycles"] or 2000, options["messages"]
    with Stage(build) as stage:
        course = run(Soak(stage, build, messages), cycles)
    aims = course.aims()
    course.tell(messages, cycles, aims, report)
    missed = [aim.line() for aim in aims if not aim.met]
    if missed:
        raise Failure("something has grown:\n" + "\n".join(missed))


def run(soak, cycles):
    course = Course()
    shares = RESTS if cycles >= MANY else (RESTS[0], RESTS[-1])
    rests = {max(1, round(share * cycles)) for share in shares}
    # Both sides of what is compared come after one.
    reconciled = {max(1, cycles // 10), max(2, cycles * 6 // 10)}
    for number in range(1, cycles + 1):
        soak.cycle(number)
        if number in reconciled:
            soak.expire_inbox()
        if number % max(1, cycles // MEMORY_SAMPLES) == 0:
            course.memory[number] = {name: process.own_mb() for name, process in soak.processes().items()}
        if number in rests:
            soak.tidy()
            course.rests[number] = Rest(soak.process_figures(), *soak.left())
            progress(f"{number} cycles after {time.monotonic() - course.begun:.0f} s")
    check_agreement(soak.stage)
    soak.person.close()
    return course


@dataclass
class Rest:
    """What is seen when nothing is asked of the programs: of each process, of files, and the rows of each table."""

    processes: dict
    left: dict
    state: dict
    store: dict


@dataclass
class Course:
    """What was seen on the way, by cycles."""

    memory: dict = field(default_factory=dict)
    rests: dict = field(default_factory=dict)
    begun: float = field(default_factory=time.monotonic)

    def first_and_last(self):
        return self.rests[min(self.rests)], self.rests[max(self.rests)]

    def tables(self):
        """The rows of each at the first rest and at the last."""
        first, last = self.first_and_last()
        return {table: (rows_of(first).get(table, 0), count)
                for rows_of in (lambda rest: rest.state, lambda rest: rest.store)
                for table, count in rows_of(last).items()}

    def aims(self):
        first, last = self.first_and_last()
        aims = []
        for name in last.processes:
            aims.append(self.memory_aim(name))
            aims += [Aim(f"{name}, {heading(figure)}", last.processes[name][figure],
                         first.processes[name][figure] + more) for figure, more in GROWTH.items()]
            aims.append(Aim(f"{name}, wakeups in {IDLE_SECONDS} idle seconds",
                            max(rest.processes[name]["wakeups"] for rest in self.rests.values()), MAXIMUM_WAKEUPS))
            aims += self.cpu_aims(name)
        aims += [Aim(heading(figure), last.left[figure], first.left[figure] + more)
                 for figure, more in GROWTH_LEFT.items()]
        aims.append(Aim(heading("state_wal_kb"), last.left["state_wal_kb"], MAXIMUM_WAL_KB))
        return aims + [Aim(f"rows of {table}", late, early + GROWTH_ROWS.get(table, 0))
                       for table, (early, late) in self.tables().items()]

    def memory_aim(self, name):
        """The last quarter beside the second: the first one is for what is kept ready."""
        numbers = sorted(self.memory)
        quarter = max(1, len(numbers) // 4)
        early, late = (statistics.median(self.memory[number][name] for number in part)
                       for part in (numbers[quarter:2 * quarter], numbers[-quarter:]))
        return Aim(f"{name}, MB of its own, the last quarter more than the second", late - early, GROWTH_MB)

    def cpu_aims(self, name):
        costs = self.cpu_ms(name)
        if len(costs) < len(RESTS):
            return []
        return [Aim(f"{name}, CPU of a cycle, late by early", costs[-1] / costs[1], TIMES_CPU)]

    def cpu_ms(self, name):
        """Of a cycle between two rests."""
        told = [(number, self.rests[number].processes[name]["cpu_ms"]) for number in sorted(self.rests)]
        return [cpu / number for number, cpu in told[:1]] + [
            (cpu - before) / (number - earlier) for (earlier, before), (number, cpu) in zip(told, told[1:])]

    def tell(self, messages, cycles, aims, report):
        title = f"Endurance: {cycles} cycles of mixed work under push"
        with report.table("soak", title, PROCESSES, PROCESSES_NOTES) as table:
            for name in self.first_and_last()[0].processes:
                for number, cpu in zip(sorted(self.rests), self.cpu_ms(name)):
                    figures = {**self.rests[number].processes[name], "cpu_ms": cpu}
                    table.row(messages=messages, cycles=number, process=name, **figures)
        with report.table("soak-files", "What lies about", LEFT, LEFT_NOTES) as table:
            for number in sorted(self.rests):
                judged = aims if number == max(self.rests) else []
                table.row(judged, messages=messages, cycles=number, **self.rests[number].left)
        with report.table("soak-rows", "Tables of both databases in which there are more rows than at first", ROWS) as table:
            grown = {name: counts for name, counts in self.tables().items() if counts[1] > counts[0]}
            for name, (early, late) in grown.items():
                table.row(messages=messages, table=name, early=early, late=late)


def measure_valgrind(build, options, report):
    """Definite losses and memory errors of the daemon, by valgrind; fails where there is one that
    valgrind.supp does not excuse. Whose it is, a reader decides: a filter here would hide some of ours."""
    cycles = options["cycles"] or 20
    with Stage(build) as stage:
        log = stage.dir / "log/valgrind"
        soak = Soak(stage, build, 0, ("valgrind", "--leak-check=full", "--show-leak-kinds=definite",
                                      "--errors-for-leak-kinds=definite", "--num-callers=60",
                                      f"--suppressions={TOP}/bench/valgrind.supp", f"--log-file={log}"))
        for number in range(1, cycles + 1):
            soak.cycle(number)
            time.sleep(5)  # this daemon's clock is the real one
            progress(f"valgrind: cycle {number} of {cycles}")
        soak.person.close()
        soak.daemon.popen.terminate()
        soak.daemon.popen.wait(120)
        text = log.read_text()
    summary = re.search(r"ERROR SUMMARY: (\d+) errors from \d+ contexts \(suppressed: (\d+)", text)
    if not summary:
        raise Failure("valgrind came to no end:\n" + text[-3000:])
    found, excused = map(int, summary.groups())
    columns = {"messages": "d", "found": "d", "excused": "d"}
    with report.table("valgrind", f"Losses and errors of the daemon in {cycles} cycles", columns) as table:
        table.row([Aim("losses and errors", found, 0)], messages=cycles, found=found, excused=excused)
    if found:
        raise Failure("valgrind found losses or errors:\n" + text)
