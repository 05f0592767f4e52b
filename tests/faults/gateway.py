"""A gateway under attack: the busy programs in their sandbox, with a card that outlives them."""

import collections
import glob
import multiprocessing
import os
import random
import select
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time

import witness

CHECKOUT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
BUSY_GATEWAY = f"{CHECKOUT}/build/debug/tests/faults/busy_gateway"
FIRST_DAY = 1709740800  # 2024-03-07 00:00:00, eight hours east
DAY_SECONDS = 86400
BOOT_SECONDS = 20, 200  # a gateway comes back within the same cycle, or in the next
VERIFY_SECONDS = 60  # in real time; a service that takes longer hangs
LONGEST_WATCH_SECONDS = 3.0  # an aim that is not met in that time is given up
LONGEST_START_SECONDS = 60.0
GLANCE_SECONDS = 0.002  # between two reads of the ledger


def arguments(default_number):
    """N and SEED of the command line. SIGINT and SIGTERM clean up from here on."""
    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, lambda *_: sys.exit("ended from outside"))
    count = int(sys.argv[1]) if len(sys.argv) > 1 else default_number
    seed = int(sys.argv[2]) if len(sys.argv) > 2 else 1
    return count, seed


def build():
    subprocess.run([f"{CHECKOUT}/scripts/install", "build", "test", "faults"], check=True)
    quiet = {"cwd": CHECKOUT, "stdout": subprocess.DEVNULL}
    subprocess.run(["cmake", "--preset", "debug", "--log-level=WARNING"], check=True, **quiet)
    command = ["cmake", "--build", "--preset", "debug", "--target", "brennik", "busy_gateway"]
    subprocess.run(command, check=True, **quiet)


class Aim:
    """When to strike: some time after what `kind` names has happened."""

    DELAYS = {"random": 1.2, "idle": 0.03, "mark": 0.0, "row": 0.002}  # the longest, in seconds
    DELAYS |= {"packing": 0.015, "repacking": 0.004, "ageing": 0.02, "never": 0.0}

    def __init__(self, kind, choose, old, victims):
        self.kind = kind
        self.count = choose.randrange(1, 6)
        self.delay = choose.random() * self.DELAYS[kind]
        self.old_rows, self.old_marks = len(old.rows), old.marks()
        self.victims = {path: version_of(path) for path in victims}  # files that will go or change
        self.due = None

    def is_met(self, card, seen):
        if self.kind == "idle":
            return seen.lines.count("rests") >= self.count
        if self.kind == "mark":
            return seen.marks() >= self.old_marks + self.count
        if self.kind == "row":
            return len(seen.rows) >= self.old_rows + self.count
        if self.kind == "packing":
            days = {os.path.dirname(name) for name in list(seen.rows)[-4:]}
            return any(glob.glob(f"{card.files}/{day}/*.dat") for day in days)
        if self.kind in ("ageing", "repacking"):
            return any(version_of(path) != old for path, old in self.victims.items())
        return self.kind == "random"

    def is_due(self, card, seen):
        if not seen.lines:
            return False  # the sandbox is still starting
        if self.due is None and self.is_met(card, seen):
            self.due = time.monotonic() + self.delay
        return self.due is not None and time.monotonic() >= self.due


def version_of(path):
    try:
        status = os.stat(path)
    except OSError:
        return None
    return status.st_ino, status.st_size, status.st_mtime_ns


def watch(card, output, aim, old, strike, report):
    """Reads the ledger until the aim is due, strikes, and sends what it has seen through `report`.

    It runs in a process of its own. `output` is the descriptor of the programs' output, `old` was
    seen before."""
    signal.signal(signal.SIGTERM, signal.SIG_DFL)
    seen = witness.Seen()
    seen.rows.update(old.rows)
    end = time.monotonic() + LONGEST_START_SECONDS
    rest = b""
    while time.monotonic() < end and not aim.is_due(card, seen):
        if select.select([output], [], [], GLANCE_SECONDS)[0]:
            said = os.read(output, 4096)
            *lines, rest = (rest + said).split(b"\n")
            if lines and not seen.lines:
                end = time.monotonic() + LONGEST_WATCH_SECONDS
            seen.lines += [line.decode() for line in lines]
            if not said or seen.lines and seen.lines[-1].startswith("ended"):
                break
        seen.read(card.ledger)
    strike()
    report.send(seen)


class Gateway:
    """The trees of one gateway below `place`, its books, and its programs while they run."""

    def __init__(self, place):
        self.place = place
        self.card = witness.Card(place + witness.MOUNT)
        self.outside = f"{place}/tmp"
        self.process = None
        self.now = FIRST_DAY
        self.figures = collections.Counter()
        for tree in (f"{place}/tessel", self.card.root, self.outside):
            os.makedirs(tree, exist_ok=True)
        self.forget()

    def forget(self):
        """Begins the books of a new card."""
        shutil.rmtree(self.outside)
        os.mkdir(self.outside)
        self.books = witness.Books(self.card, self.outside, self.figures)

    def insert_blank(self):
        """Inserts a new card, where the card is a plain directory."""
        shutil.rmtree(self.card.root)
        os.mkdir(self.card.root)
        self.forget()

    def start(self, task, seed):
        for name in ("tessel", "tmp/CloudLog"):
            shutil.rmtree(f"{self.place}/{name}", ignore_errors=True)
        if os.path.exists(f"{self.outside}/service-clock"):
            os.unlink(f"{self.outside}/service-clock")
        self.books.note_start(self.now)
        self.process = subprocess.Popen(
            [f"{CHECKOUT}/scripts/sandbox", BUSY_GATEWAY, task, str(self.now), str(seed)],
            env=dict(os.environ, BRENNIK_SANDBOX_KEEP=self.place),
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
        )

    def watch(self, aim, strike, begin=lambda: None):
        """Has the witness watch and strike; returns what it has seen. `begin` starts the cycle."""
        here, there = multiprocessing.Pipe()
        job = (self.card, self.process.stdout.fileno(), aim, self.books.seen, strike, there)
        watcher = multiprocessing.Process(target=watch, args=job, daemon=True)
        watcher.start()
        there.close()
        begin()
        seen = here.recv()
        watcher.join()
        return seen

    def service(self):
        """The process number of the service; 0 once its programs have ended."""
        while self.process.poll() is None:
            for pid in descendants(self.process.pid):
                if witness.read_file(f"/proc/{pid}/cmdline") == b"brennik\0":
                    return pid
        return 0

    def kill_service(self):
        """Kills the service alone, as soon as there is one."""
        pid = self.service()
        if pid != 0:
            os.kill(pid, signal.SIGKILL)

    def kill_programs(self):
        """Kills all programs at once, the children of the service too."""
        self.process.kill()

    def kill(self):
        """Ends all programs and reads the gateway's time at that moment."""
        self.kill_programs()
        self.process.communicate()  # until the last of them has ended
        self.read_clock()

    def read_clock(self):
        clock = witness.read_file(f"{self.outside}/service-clock")
        if clock:
            self.now = max(self.now, struct.unpack_from("q", clock)[0] // 1000000)

    def service_output(self):
        return (witness.read_file(f"{self.outside}/service-output") or b"")[-300:].decode()

    def verify(self, seed):
        """Starts the service on the card as it is; the cloud must get a new file in its cycle."""
        self.start("verify", seed)
        try:
            said, _ = self.process.communicate(timeout=VERIFY_SECONDS)
        except subprocess.TimeoutExpired:
            self.kill()
            said = b"hangs"
        self.read_clock()
        fresh = self.process.returncode == 0 and b"fresh " in said
        if not fresh:
            last = (said.decode().splitlines() or ["nothing said"])[-1]
            self.books.faults["fresh"] = f"no fresh file: {last}; {self.service_output()}"
        self.figures["fresh"] += fresh

    def settle(self, seen, seed):
        """Compares the card with what was seen, starts the service again and compares again."""
        struck_at = self.now
        self.books.take_over(seen)
        self.books.check(self.now, restarted=False)
        self.now += BOOT_SECONDS[seed % len(BOOT_SECONDS)]
        self.verify(seed)
        self.books.check(self.now, restarted=True)
        self.books.count_windows(struck_at)

    def attack(self, aim, seed, strike, recover=lambda: None):
        """Strikes the busy gateway when the aim is due, lets it recover and settles."""
        self.start("attack", seed)
        seen = self.watch(aim, strike)
        self.kill()
        recover()
        self.settle(seen, seed)

    def attack_often(self, aims, number, seed, insert_blank, new_card_one_in, choose_attack):
        """Attacks N times, on a new card now and then. `choose_attack` gives strike and recovery."""
        for count in range(number):
            choose = random.Random(f"{seed} {count}")
            if count == 0 or self.books.faults or choose.randrange(new_card_one_in) == 0:
                insert_blank()
            aim = self.choose_aim(aims, choose)
            self.attack(aim, choose.randrange(1 << 31), *choose_attack(choose))
            self.print_faults(f"{count}, {aim.kind}")

    def print_faults(self, where):
        for fault in self.books.faults.values():
            print(f"{where}: {fault}")

    def choose_aim(self, kinds, choose):
        """The next aim, of one of the kinds. Moves the time of the next start."""
        kind = choose.choice(kinds)
        known = sorted(self.books.seen.rows, key=witness.stamp_of)  # the last is of this cycle
        victims = []
        if not known:
            kind = choose.choice(["random", "row", "mark"])
        off = choose.choice([10, 10, 200, DAY_SECONDS, choose.randrange(12 * DAY_SECONDS)])
        self.now += 10 if kind == "repacking" else off
        if kind == "repacking":
            victims = known[-1:]
        if kind == "ageing":
            last_to_go = choose.choice(known)
            victims = known[: known.index(last_to_go) + 1]
            too_old = witness.unix_time(witness.stamp_of(last_to_go)) + witness.FILE_AGE_SECONDS
            self.now = max(self.now, too_old + 1)
        paths = [self.card.path_of(name) for name in victims]
        return Aim(kind, choose, self.books.seen, paths)

    def conclude(self, name, what, number, begin):
        """Prints the figures; the exit status is 0 if every promise was kept."""
        figures = self.figures
        lost, kept = witness.losses(figures)
        print(f"{(time.monotonic() - begin) * 1000 / max(number, 1):.0f} ms each")
        print(
            f"{name}: {number} {what}, {figures['rows']} rows and {figures['marks']} marks seen, "
            f"{lost}, {figures['fresh']} of {number} fresh files; "
            f"prescribed windows: {figures['events']} events, {figures['cycles']} cycles"
        )
        sys.exit(0 if kept and figures["fresh"] == number else 1)


def descendants(pid):
    children = (witness.read_file(f"/proc/{pid}/task/{pid}/children") or b"").split()
    for child in map(int, children):
        yield child
        yield from descendants(child)


def directory_in_memory():
    """A place for cards where syncing costs nothing. A kill does not lose unsynced data."""
    return tempfile.TemporaryDirectory(prefix="brennik-", dir="/dev/shm")
