"""An outside witness of a gateway's card: what it has seen recorded must still be there later.

`watch` is another process's eyes: it reads the ledger again and again, with ordinary locks, until
the moment it aims at, strikes, and tells what it has seen until then. `Books` compares what was
seen with what is on the card afterwards, with what the cloud has received and with what the
gateway's neighbours have produced.
"""

import datetime
import gzip
import hashlib
import io
import json
import os
import select
import signal
import sqlite3
import tarfile
import time

ZONE = datetime.timezone(datetime.timedelta(hours=8))
CYCLE_SECONDS = 300
FILE_AGE_SECONDS = 31 * 86400
RECALL_AGE_SECONDS = 3 * 86400
LONGEST_WATCH_SECONDS = 3.0  # an aim that does not come up in that time is given up
LONGEST_START_SECONDS = 60.0  # of a gateway that does not come up
GLANCE_SECONDS = 0.002  # between two reads of the ledger


def digits(when):
    return datetime.datetime.fromtimestamp(when, ZONE).strftime("%Y%m%d%H%M%S")


def unix_time(stamp):
    when = datetime.datetime.strptime(stamp, "%Y%m%d%H%M%S")
    return int(when.replace(tzinfo=ZONE).timestamp())


def stamp_of(name):
    return name[-21:-7]


def nearest_boundary(when):
    return (when + CYCLE_SECONDS // 2) // CYCLE_SECONDS * CYCLE_SECONDS


class Card:
    """The places on a card that stands at `root`."""

    def __init__(self, root):
        self.root = root
        self.ledger = f"{root}/Cloud/DB/CloudDB.db"
        self.files = f"{root}/Cloud/JsonFiles"

    def on_host(self, gateway_path):
        return gateway_path.replace("/media/mmcblk0p1", self.root, 1)


class Seen:
    """Rows by name with their result, recall rows, and what the gateway's programs have said."""

    def __init__(self):
        self.rows = {}
        self.recalls = set()
        self.lines = []

    def read(self, ledger, patience=0):
        """One ordinary read with its lock; nothing is seen while another process holds its own."""
        if not os.path.exists(ledger):
            return
        database = None
        try:
            database = sqlite3.connect(f"file:{ledger}?mode=rw", uri=True, timeout=patience)
            tables = {row[0] for row in database.execute("select name from sqlite_master")}
            if "tJsonFileNames" in tables:
                rows = database.execute("select FileName, Result from tJsonFileNames").fetchall()
                self.rows.update(rows)
            if "recallJsonFile" in tables:
                recalls = database.execute("select Createtime, FileName from recallJsonFile")
                self.recalls.update(recalls.fetchall())
        except sqlite3.Error:
            if patience > 0:
                raise
        finally:
            if database is not None:
                database.close()

    def forget_aged(self, now):
        """What the service may have dropped by now: files of 31 days, recalls of 3."""
        cut_off, recall_cut_off = digits(now - FILE_AGE_SECONDS), now - RECALL_AGE_SECONDS
        self.rows = {name: self.rows[name] for name in self.rows if stamp_of(name) > cut_off}
        self.recalls = {recall for recall in self.recalls if recall[0] > recall_cut_off}

    def marks(self):
        return sum(self.rows.values())


class Aim:
    """When to strike: some time after what `kind` names has come up."""

    DELAYS = {  # the longest, in seconds
        "random": 1.2,
        "idle": 0.03,
        "mark": 0.0,
        "row": 0.002,
        "packing": 0.015,
        "repacking": 0.004,
        "ageing": 0.02,
        "never": 0.0,
    }

    def __init__(self, kind, random, old, victims):
        self.kind = kind
        self.count = random.randrange(1, 6)
        self.delay = random.random() * self.DELAYS[kind]
        self.old_rows, self.old_marks = len(old.rows), old.marks()
        self.victims = {path: version_of(path) for path in victims}  # what will go or change
        self.due = None

    def is_met(self, card, seen):
        if self.kind == "idle":
            return seen.lines.count("rests") >= self.count
        if self.kind == "mark":
            return seen.marks() >= self.old_marks + self.count
        if self.kind == "row":
            return len(seen.rows) >= self.old_rows + self.count
        if self.kind == "packing":
            return any(has_text_file(directory) for directory in busy_directories(card, seen))
        if self.kind in ("ageing", "repacking"):
            return any(version_of(path) != old for path, old in self.victims.items())
        return self.kind == "random"

    def is_due(self, card, seen):
        if not seen.lines:
            return False  # the sandbox is still being made
        if self.due is None and self.is_met(card, seen):
            self.due = time.monotonic() + self.delay
        return self.due is not None and time.monotonic() >= self.due


def version_of(path):
    try:
        status = os.stat(path)
    except OSError:
        return None
    return status.st_ino, status.st_size, status.st_mtime_ns


def has_text_file(directory):
    try:
        return any(name.endswith(".dat") for name in os.listdir(directory))
    except OSError:
        return False


def busy_directories(card, seen):
    days = {name.rsplit("/", 1)[0] for name in list(seen.rows)[-4:]}
    return [f"{card.files}/{day}" for day in days]


def watch(card, output, aim, old, strike, report):
    """Looks on until the aim is due, strikes, and sends what it has seen through `report`.

    `output` is the descriptor of what the gateway's programs say; `old` was seen before."""
    signal.signal(signal.SIGTERM, signal.SIG_DFL)
    seen = Seen()
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


class Damaged(Exception):
    pass


def unpack(name, archive):
    """The document of a data file; raises Damaged where it is not whole."""
    stem = os.path.basename(name).removesuffix(".tar.gz")
    try:
        with tarfile.open(fileobj=io.BytesIO(gzip.decompress(archive))) as tar:
            members = tar.getmembers()
            if [member.name for member in members] != [stem + ".dat"]:
                raise Damaged("has other members")
            return json.loads(tar.extractfile(members[0]).read())
    except (OSError, EOFError, ValueError, tarfile.TarError) as error:
        raise Damaged(f"of {len(archive)} bytes is not whole ({type(error).__name__})") from error


class Books:
    """What is known of one card from its first day on: seen, produced, delivered, lost."""

    def __init__(self, card, outside, figures):
        self.card = card
        self.outside = outside  # the directory that survives: what neighbours and cloud have noted
        self.figures = figures  # a Counter, which several cards may share
        self.seen = Seen()
        self.faults = {}  # what was lost, in words, by figure and name
        self.sound = {}  # documents of whole and genuine archives, by name and digest
        self.faulty = 0  # uploads that the cloud has complained of
        self.repacked = set()  # names that were packed more than once, so with other bytes
        self.unsettled = set()  # those of them that the service has yet to put in order
        self.recorded_events = set()
        self.counted_events = set()
        self.counted_cycles = set()

    def note_start(self, start):
        """A start within its cycle packs that cycle's values again."""
        self.repacked.add(f"S{digits(nearest_boundary(start))}.tar.gz")

    def take_over(self, seen):
        """What the witness has seen counts from now on."""
        self.figures["rows"] += len(seen.rows.keys() - self.seen.rows.keys())
        self.figures["rows"] += len(seen.recalls - self.seen.recalls)
        self.figures["marks"] += seen.marks() - sum(self.seen.rows.get(n, 0) for n in seen.rows)
        self.seen.rows.update(seen.rows)
        self.seen.recalls |= seen.recalls

    def check(self, now, restarted):
        """Compares everything with the card as it is now, in the gateway's time. An archive
        that was being replaced may be found cut until the service has started again."""
        self.unsettled = set() if restarted else self.repacked
        found = Seen()
        try:
            found.read(self.card.ledger, patience=5)
        except sqlite3.Error as error:
            self.fault("rows", "the ledger", str(error))
        found.forget_aged(now)
        self.seen.forget_aged(now)
        self.check_rows(found)
        self.check_archives(found)
        self.check_copies()
        self.take_over(found)

    def check_rows(self, found):
        for name, result in self.seen.rows.items():
            if name not in found.rows:
                self.fault("rows", name, "its row is gone")
            elif found.rows[name] < result:
                self.fault("marks", name, "its mark is gone")
        for _, name in self.seen.recalls - found.recalls:
            self.fault("rows", name, "its row is gone")

    def check_archives(self, found):
        paths = {name: f"{self.card.files}/{name}" for name in found.rows}
        paths.update((path, self.card.on_host(path)) for _, path in found.recalls)
        for name, path in paths.items():
            if os.path.basename(name) in self.unsettled:
                continue
            try:
                document = self.examine(name, read_file(path))
            except Damaged as damage:
                self.fault("archives", name, f"its row is there, its archive {damage}")
                continue
            if os.path.basename(name).startswith("T"):
                self.recorded_events |= events_of(document)

    def check_copies(self):
        if not os.path.exists(f"{self.outside}/cloud-lines"):
            return  # no cloud has come up yet
        for kind in ("realdata", "alarmdata", "calldata"):
            for name in sorted(os.listdir(f"{self.outside}/cloud/{kind}")):
                if name.endswith(".tar.gz"):  # not a copy that the cloud was busy with
                    self.check_copy(kind, name)
        with open(f"{self.outside}/cloud-lines", encoding="utf-8") as lines:
            faulty = [line.strip() for line in lines if ": faulty" in line]
        for line in faulty[self.faulty :]:
            self.fault("foreign", line, "says the cloud")
        self.faulty = len(faulty)

    def check_copy(self, kind, name):
        copy = read_file(f"{self.outside}/cloud/{kind}/{name}")
        try:
            document = self.examine(name, copy)
        except Damaged as damage:
            self.fault("foreign", name, f"what was delivered {damage}")
            return
        day = int(name[7:9])
        place = kind if kind == "calldata" else f"{kind}/{day}"
        if name.startswith("T"):
            self.recorded_events |= events_of(document)
        original = read_file(f"{self.card.files}/{place}/{name}")
        if original is None or original == copy or name in self.unsettled:
            return  # what is missing has a row, or none that lasts
        try:
            self.examine(name, original)
        except Damaged as damage:
            self.fault("archives", name, f"it was delivered, its archive {damage}")
            return
        if name not in self.repacked:
            self.fault("foreign", name, "what was delivered is not what the card holds")

    def examine(self, name, archive):
        """The archive's document; raises Damaged where it is not whole, or nobody produced it."""
        if archive is None:
            raise Damaged("is missing")
        key = (os.path.basename(name), hashlib.sha1(archive).digest())
        if key not in self.sound:
            document = unpack(name, archive)
            self.require_produced(os.path.basename(name), document)
            self.sound[key] = document
        return self.sound[key]

    def require_produced(self, name, document):
        try:
            if document["sn"] != "TS20240117":
                raise Damaged("is another gateway's")
            if name.startswith("S"):
                mark, value = real_data_of(name)
                marks = {device["timeMark"] for device in document["data"]}
                if marks != {mark} or document["data"][0]["values"][0]["value"] != value:
                    raise Damaged(f"holds nobody's values: {document}")
            elif name.startswith("T") and not events_of(document) <= self.produced("events"):
                raise Damaged(f"holds nobody's events: {document}")
        except (KeyError, IndexError, TypeError) as error:
            raise Damaged(f"is no data file: {error}") from error

    def produced(self, what):
        return set((read_file(f"{self.outside}/{what}") or b"").decode().splitlines())

    def count_windows(self, now):
        """What the prescribed windows have cost: events taken but not in any recorded file, values
        of cycles up to `now` without a row. The service has had a cycle's time since its restart
        to go on with what the attack has left."""
        lost = self.taken_events() - self.recorded_events - self.counted_events
        self.counted_events |= lost
        self.figures["events"] += len(lost)
        recorded = {stamp_of(name) for name in self.seen.rows if name.startswith("realdata/")}
        lived = {"".join(filter(str.isdigit, mark)) for mark in self.produced("boundaries")}
        lived = {stamp for stamp in lived if stamp <= digits(now)}
        cycles = lived - recorded - self.counted_cycles
        self.figures["cycles"] += len(cycles)
        self.counted_cycles |= lived

    def taken_events(self):
        taken = set()
        for name in os.listdir(self.card.root):
            if not name.endswith("_event.db"):
                continue
            database = sqlite3.connect(f"{self.card.root}/{name}", timeout=5)
            try:
                query = "select RecordDate || ' ' || RecordTime from event_tbl where upload=1"
                taken.update(row[0] for row in database.execute(query))
            except sqlite3.Error:
                pass  # a table that was not there yet
            finally:
                database.close()
        return taken

    def fault(self, figure, name, text):
        key = (figure, os.path.basename(name))
        if key not in self.faults:
            self.figures["lost " + figure] += 1
            self.faults[key] = f"{name}: {text}"


def read_file(path):
    try:
        with open(path, "rb") as file:
            return file.read()
    except OSError:
        return None


def events_of(document):
    return {alarm["alarmTime"] for alarm in document["data"]}


def real_data_of(name):
    """The time mark and the first value of the real-data file, as the gateway's side makes them."""
    when = unix_time(stamp_of(name))
    mark = datetime.datetime.fromtimestamp(when, ZONE).strftime("%Y-%m-%d %H:%M:%S")
    return mark, f"{when // CYCLE_SECONDS % 100000:.3f}"
