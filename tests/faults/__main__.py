# SPDX-License-Identifier: LGPL-2.1-or-later
"""Everything that goes wrong in a phone's life, at random, on real parts: QMF's message server with the plugin,
the daemon, a session bus, a mail store; the ActiveSync server and the bad network are the tests' own.

In each round a person reads, flags, moves, deletes and sends, other clients do the same at the server, and
meanwhile something goes wrong. After quiet has returned, both sides must agree message by message, every sent mail
must have arrived exactly once or wait in the outbox with a reason, and nothing may be left running."""
import argparse
import os
import random
import signal
import sys
import threading
import time
import traceback

from mailbox import Mailbox
from proxy import KINDS
from world import World
from waiting import Failure, await_true

# Seconds that something may take once nothing is wrong any more: the daemon waits two minutes for an
# answer, which does not come where the length of a request was garbled.
PATIENCE = 150
# Why a mail does not go of which a full disk has left less than its author wrote.
LOST = "404 content of the message is lost on this device"
PROCESSES = ("daemon", "messageserver", "server")


class Round:
    """One round: deeds of both sides while one thing goes wrong, quiet, and the look at what is left."""

    def __init__(self, world, mailbox, seed, kind):
        self.world, self.mailbox, self.kind = world, mailbox, kind
        self.dice = random.Random(seed)
        mailbox.dice = random.Random(seed + 1)
        self.kinds = [k for k in all_kinds(world) if k != "several"]
        self.deeds, self.left, self.met, self.failed = [], [], 0, False
        self.garbled = False
        self.over = threading.Event()

    def run(self):
        here = (self.world.user("messages") or {}).get("messages", [])
        subjects = [m["subject"] for m in here if m["folder"] != "Trash" and not m["outbox"]
                    and not m["sent"] and m["subject"].startswith("Mail")]
        sides = [threading.Thread(target=self.side, args=(deed, count), daemon=True) for deed, count in (
            (lambda: self.mailbox.user_deed(subjects), self.dice.randint(7, 13)),
            (self.mailbox.far_deed, self.dice.randint(5, 12)))]
        trouble = threading.Thread(target=self.trouble, daemon=True)
        for thread in (*sides, trouble):
            thread.start()
        for thread in sides:
            thread.join()
        self.over.set()
        trouble.join()
        self.world.mend()
        self.settle()
        violations = self.world.new_violations()
        # What comes to the server garbled is not what the daemon wrote.
        if violations and not self.garbled:
            raise Failure("requests that the protocol does not allow:\n" + "\n".join(violations))

    def side(self, deed, count):
        for _ in range(count):
            self.note(deed())
            # People and mail come when they come; a step of the plan, not a wait for something.
            time.sleep(self.dice.uniform(0, 0.2))

    def note(self, text):
        self.deeds.append(f"{time.strftime('%H:%M:%S')} {text}")

    # --- what goes wrong

    def trouble(self):
        if self.kind == "several":
            # One of the network's and one of the machine's.
            kinds = [self.dice.choice(KINDS), self.dice.choice([k for k in self.kinds if k not in KINDS])]
        else:
            kinds = [self.kind]
        self.note(" and ".join(kinds))
        parts = [threading.Thread(target=self.one_trouble, args=(kind,), daemon=True) for kind in kinds]
        for part in parts:
            part.start()
        for part in parts:
            part.join()

    def one_trouble(self, kind):
        try:
            if kind in KINDS:
                self.network(kind)
            else:
                getattr(self, kind.replace("-", "_"))()
        except Exception:
            self.note(traceback.format_exc())
            self.failed = True

    def network(self, kind):
        self.world.proxy.maximum_delay = self.dice.choice((0.5, 3.0, 6.0))
        self.world.proxy.share = self.dice.choice((0.3, 0.6, 0.95))
        self.world.proxy.kind = kind
        self.garbled = kind == "garble-request"
        before = self.world.proxy.met
        self.over.wait()
        self.met += self.world.proxy.met - before

    def each_instant(self):
        """Random instants until the deeds are done."""
        while not self.over.wait(self.dice.uniform(0.02, 1.2)):
            self.met += 1
            yield

    def kill(self, who):
        for _ in self.each_instant():
            self.note(f"kill {who} {self.world.pids(who)}")
            self.world.send_signal(who, signal.SIGKILL)
            if who != "daemon":
                self.world.processes[who].wait()
                time.sleep(self.dice.uniform(0, 1))
                getattr(self.world, {"server": "start_server", "messageserver": "start_message_server"}[who])()

    def stop(self, who):
        for _ in self.each_instant():
            self.note(f"stop {who}")
            self.world.send_signal(who, signal.SIGSTOP)
            self.over.wait(self.dice.uniform(0.2, 5))
            self.world.send_signal(who, signal.SIGCONT)

    def bus_restart(self):
        self.over.wait(self.dice.uniform(0.1, 2))
        self.met += 1
        daemons = self.world.pids("daemon")
        self.note(f"the bus ends, the daemon is {daemons}")
        self.world.send_signal("bus", self.dice.choice((signal.SIGTERM, signal.SIGKILL)))
        self.world.processes["bus"].wait()
        # A session ends with its bus: the daemon by itself, the message server by the session's manager.
        await_true("end of the daemon without a bus", lambda: not set(self.world.pids("daemon")) & set(daemons), 15)
        self.world.send_signal("messageserver", signal.SIGKILL)
        self.world.processes["messageserver"].wait()
        self.world.start_bus()
        self.world.start_message_server()

    def disk_full(self):
        for _ in self.each_instant():
            self.note("disk full")
            self.world.fill_disk()
            self.over.wait(self.dice.uniform(0.5, 4))
            self.world.free_disk()

    def store_locked(self):
        for _ in self.each_instant():
            self.note("store locked")
            lock = self.world.lock_store()
            self.over.wait(self.dice.uniform(0.2, 4))
            self.world.unlock_store(lock)

    def clock(self):
        for _ in self.each_instant():
            shift = self.dice.choice((-400 * 86400, -86400, -3600, -5, 5, 3600, 86400, 20 * 86400))
            self.note(f"the clock is set by {shift} s")
            self.world.set_clock(shift)

    # --- quiet

    def settle(self):
        """Synchronises and sends as a person would again, until nothing is left to do; raises Failure."""
        began = time.monotonic()
        for attempt in range(4):
            self.attempts = attempt + 1
            self.synchronise(attempt)
            store = self.look_at_rest()
            waiting = [m for m in store["messages"] if m["outbox"]]
            # What has arrived must leave the outbox without anybody's help.
            arrived = {subject for subject, _ in self.mailbox.arrived()}
            for message in waiting:
                if message["reason"] == LOST:
                    self.note(f"quiet: {message['subject']} is written anew")
                    self.mailbox.write_anew(message)
                elif message["givenUp"] and message["subject"] not in arrived:
                    self.note(f"quiet: {message['subject']} is wanted sent all the same")
                    self.world.user("sendAgain", subject=message["subject"])
            if waiting:
                self.act("transmit")
                self.synchronise(1)
            store = self.look_at_rest()
            server = self.world.far("state", user="alice")
            findings = self.mailbox.findings(server, store)
            self.deeds += [f"   as yet: {finding}" for finding in findings]
            if not findings and not any(m["outbox"] for m in store["messages"]):
                break
        self.seconds = time.monotonic() - began
        self.require_rest(60, "awaitIdle", "awaitNoRequest")
        if self.failed:
            raise Failure("the fault itself did not go as planned")
        if findings:
            raise Failure("\n".join(findings))
        self.discard([m for m in store["messages"] if m["outbox"]])
        self.mailbox.forget()

    def discard(self, messages):
        """Mails that cannot be sent, which the person has read the reason of and throws away."""
        for message in messages:
            self.left.append(f"{message['subject']} waited in vain: {message['reason']}")
            self.mailbox.sent.discard(message["subject"])
            self.world.user("remove", subject=message["subject"], locally=True, unknown=True)

    def synchronise(self, attempt):
        """At first as a person does, who may have done it a moment ago; then past the message server."""
        self.act("synchronize" if attempt == 0 else "daemonSync")

    def act(self, what):
        began = time.monotonic()
        answer = self.world.user(what, seconds=PATIENCE, patience=PATIENCE + 30)
        self.note(f"quiet: {what} {answer} after {time.monotonic() - began:.1f} s")
        if not answer or not answer.get("ended"):
            raise Failure(f"{what} did not end within {PATIENCE} s: {answer}")

    def look_at_rest(self):
        """Each synchronisation has the plugin send what waits. While a mail is on its way it is not in the outbox,
        and the server has not put it into a folder here."""
        self.require_rest(PATIENCE, "awaitIdle")
        store = self.look()
        end = time.monotonic() + PATIENCE
        while [m for m in store["messages"] if not m["outbox"] and not m["serverUid"]] and time.monotonic() < end:
            time.sleep(0.05)
            store = self.look()
        return store

    def look(self):
        store, folders = self.world.user("messages", content=True), self.world.user("folders")
        if not store or not folders or not store.get("readable") or not folders["ok"]:
            raise Failure(f"the mail store cannot be read: {store}")
        return {**store, "folders": [folder["path"] for folder in folders["folders"]]}

    def require_rest(self, seconds, *waits):
        with self.world.robot(patience=PATIENCE + 30) as robot:
            for what in waits:
                answer = robot.ask(what, seconds=seconds)
                if not answer["ok"]:
                    raise Failure(f"not at rest ({what}): {answer}")


EVERY_KIND = [*KINDS, *(f"kill-{who}" for who in PROCESSES), *(f"stop-{who}" for who in PROCESSES),
              "bus-restart", "store-locked", "clock", "several", "disk-full"]


def all_kinds(world):
    """What one turn through all kinds has; what goes wrong together twice."""
    kinds = [kind for kind in EVERY_KIND if kind != "disk-full" or world.has_small_store]
    kinds.insert(kinds.index("several"), "several")
    return kinds


def add_process_faults():
    """kill_daemon(), stop_server() and so on, as methods of a round."""
    for who in PROCESSES:
        setattr(Round, f"kill_{who}", lambda self, who=who: self.kill(who))
        setattr(Round, f"stop_{who}", lambda self, who=who: self.stop(who))


def arguments():
    parser = argparse.ArgumentParser(prog="./dev faults", description=__doc__)
    parser.add_argument("build")
    parser.add_argument("--rounds", type=int, default=10000, help="how many (default: as many as the time allows)")
    parser.add_argument("--seconds", type=int, default=0, help="no round begins after that many seconds")
    parser.add_argument("--seed", type=int, default=int(os.environ.get("ORVMAIL_TEST_SEED", 0)) or random.randrange(1 << 31))
    parser.add_argument("--kind", choices=EVERY_KIND, metavar="KIND", help="only this one: " + ", ".join(EVERY_KIND))
    parser.add_argument("--keep-going", action="store_true", help="go on after a finding, in a new world")
    return parser.parse_args()


def new_world(settings, seed):
    world = World(settings.build, seed)
    try:
        world.add_account("--push", "on", port=world.proxy.port)
        mailbox = Mailbox(world, random.Random(seed))
        for _ in range(20):
            mailbox.deliver()
        Round(world, mailbox, seed, "none").settle()
    except BaseException:
        print(world.logs(), flush=True)
        world.close()
        raise
    return world, mailbox


def main():
    settings = arguments()
    add_process_faults()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    print(f"ORVMAIL_TEST_SEED={settings.seed}", flush=True)
    plan, began, done, failed = random.Random(settings.seed), time.monotonic(), {}, 0
    world, mailbox = new_world(settings, settings.seed)
    if not world.has_small_store:
        print("SKIP   : faults::disk_full() no small file system can be mounted here")
    if settings.kind == "disk-full" and not world.has_small_store:
        world.close()
        return 1
    try:
        kinds = []
        for number in range(1, settings.rounds + 1):
            if settings.seconds and time.monotonic() - began > settings.seconds:
                break
            if not kinds:
                kinds = [settings.kind] if settings.kind else plan.sample(all_kinds(world), len(all_kinds(world)))
            one = Round(world, mailbox, plan.randrange(1 << 31), kinds.pop())
            start = time.monotonic()
            try:
                one.run()
                print(f"   round {number} {one.kind}: {time.monotonic() - start:.1f} s, quiet after "
                      f"{one.seconds:.1f} s and {one.attempts} attempts, met {one.met} times", flush=True)
                print("".join(f"      {left}\n" for left in one.left), end="", flush=True)
                if os.environ.get("FAULTS_VERBOSE"):
                    print("\n".join(one.deeds))
                if one.met:
                    done[one.kind] = done.get(one.kind, 0) + 1
            except Failure as failure:
                failed += 1
                print(f"FAIL!  : faults::round_{number}({one.kind}) seed {settings.seed}\n{failure}\n" +
                      "\n".join(one.deeds) + f"\n{world.logs(20)}\nall logs: {world.keep_logs()}", flush=True)
                if not settings.keep_going:
                    break
                world.close()
                world, mailbox = new_world(settings, plan.randrange(1 << 31))
    finally:
        world.close()
    for kind, count in sorted(done.items()):
        name = f"faults::{kind.replace('-', '_')}()"
        print(f"PASS   : {name}\nRACE   : {name} {count} rounds")
    print(f"{sum(done.values())} rounds passed, {failed} failed, seed {settings.seed}")
    return 1 if failed or not done else 0


if __name__ == "__main__":
    sys.exit(main())
