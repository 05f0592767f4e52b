"""A gateway under attack: the busy programs in their sandbox, with trees that outlive them."""

import collections
import multiprocessing
import os
import shutil
import signal
import struct
import subprocess
import sys
import tempfile

import witness

CHECKOUT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
BUSY_GATEWAY = f"{CHECKOUT}/build/debug/tests/faults/busy_gateway"
FIRST_DAY = 1709740800  # 2024-03-07 00:00:00, eight hours east
DAY_SECONDS = 86400
BOOT_SECONDS = 20, 200  # a gateway is back within its cycle, or in the next
VERIFY_SECONDS = 60  # in real time, for a service that hangs


def arguments(default_number):
    """N and SEED of the command line. An end from outside cleans up from here on."""
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


class Gateway:
    """The trees of one gateway below `place`, its books, and its programs while they run."""

    def __init__(self, place):
        self.place = place
        self.card = witness.Card(f"{place}/media/mmcblk0p1")
        self.outside = f"{place}/tmp"
        self.process = None
        self.now = FIRST_DAY
        self.figures = collections.Counter()
        for tree in ("tessel", "media/mmcblk0p1", "tmp"):
            os.makedirs(f"{place}/{tree}", exist_ok=True)
        self.forget()

    def forget(self):
        """For a card that was never used."""
        shutil.rmtree(self.outside)
        os.mkdir(self.outside)
        self.books = witness.Books(self.card, self.outside, self.figures)

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
        """Has the witness look on and strike; returns its report. `begin` lets the attack begin."""
        here, there = multiprocessing.Pipe()
        output = self.process.stdout.fileno()
        job = (self.card, output, aim, self.books.seen, strike, there)
        watcher = multiprocessing.Process(target=witness.watch, args=job, daemon=True)
        watcher.start()
        there.close()
        begin()
        seen = here.recv()
        watcher.join()
        return seen

    def kill(self):
        """Ends all programs at once and reads the gateway's time at that moment."""
        self.kill_programs()
        self.process.communicate()  # up to the end of the last of them
        self.read_clock()

    def service(self):
        """The process number of the service; 0 once its programs have ended."""
        while self.process.poll() is None:
            found = [pid for pid in descendants(self.process.pid) if is_service(pid)]
            if found:
                return found[0]
        return 0

    def kill_service(self):
        """Kills the service alone, as soon as there is one."""
        pid = self.service()
        if pid != 0:
            os.kill(pid, signal.SIGKILL)

    def kill_programs(self):
        """Kills all programs at once, the service's own children among them."""
        self.process.kill()

    def insert_blank(self):
        """A new card, where it is a plain directory."""
        shutil.rmtree(self.card.root)
        os.mkdir(self.card.root)
        self.forget()

    def read_clock(self):
        clock = witness.read_file(f"{self.outside}/service-clock")
        if clock:
            self.now = max(self.now, struct.unpack_from("q", clock)[0] // 1000000)

    def verify(self, seed):
        """Starts the service on the card as it is; a fresh file must arrive in its cycle."""
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

    def service_output(self):
        return (witness.read_file(f"{self.outside}/service-output") or b"")[-300:].decode()

    def attack(self, aim, seed, strike, recover=lambda: None):
        """Strikes the busy gateway when the aim is due, has it recover, and sees what is left."""
        self.start("attack", seed)
        seen = self.watch(aim, strike)
        self.kill()
        recover()
        self.settle(seen, seed)

    def settle(self, seen, seed):
        """Compares the card with what was seen, starts the service again and compares again."""
        struck_at = self.now
        self.books.take_over(seen)
        self.books.check(self.now, restarted=False)
        self.now += BOOT_SECONDS[seed % len(BOOT_SECONDS)]
        self.verify(seed)
        self.books.check(self.now, restarted=True)
        self.books.count_windows(struck_at)

    def aim(self, kinds, choose):
        """The next aim, of one of the kinds; the service starts some time after its end."""
        kind = choose.choice(kinds)
        known = sorted(self.books.seen.rows, key=witness.stamp_of)  # the latest is this cycle's
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
        paths = [f"{self.card.files}/{name}" for name in victims]
        return witness.Aim(kind, choose, self.books.seen, paths)


def descendants(pid):
    children = (witness.read_file(f"/proc/{pid}/task/{pid}/children") or b"").split()
    for child in map(int, children):
        yield child
        yield from descendants(child)


def is_service(pid):
    return witness.read_file(f"/proc/{pid}/cmdline") == b"brennik\0"


def directory_in_memory():
    """A place for cards whose syncing costs nothing: a kill does not lose what is unsynced."""
    return tempfile.TemporaryDirectory(prefix="brennik-", dir="/dev/shm")


def conclude(name, what, number, gate, seconds):
    """Prints the figures; the exit status is 0 if every promise was kept."""
    figures = gate.figures
    lost = [figures["lost " + kind] for kind in ("rows", "marks", "archives", "foreign")]
    print(f"{seconds * 1000 / max(number, 1):.0f} ms each")
    print(
        f"{name}: {number} {what}, {figures['rows']} rows and {figures['marks']} marks seen, "
        f"{lost[0]} rows lost, {lost[1]} marks lost, {lost[2]} archives lost, "
        f"{lost[3]} foreign deliveries, {figures['fresh']} of {number} fresh files; "
        f"prescribed windows: {figures['events']} events, {figures['cycles']} cycles"
    )
    sys.exit(0 if sum(lost) == 0 and figures["fresh"] == number else 1)
