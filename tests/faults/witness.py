"""An outside witness of a gateway's card. What it has seen recorded must still be there later.

`Books` compares what was seen with what is on the card afterwards, with what the cloud has received
and with what the acquisition side has produced.
"""

import contextlib
import datetime
import gzip
import hashlib
import io
import json
import os
import re
import sqlite3
import tarfile

ZONE = datetime.timezone(datetime.timedelta(hours=8))
CYCLE_SECONDS = 300
FILE_AGE_SECONDS = 31 * 86400
RECALL_AGE_SECONDS = 3 * 86400
MOUNT = "/media/mmcblk0p1"
SERIAL = "TS20240117"
LOSSES = ("rows", "marks", "archives", "foreign")  # foreign: deliveries of what nobody produced


def local(when):
    return datetime.datetime.fromtimestamp(when, ZONE)


def digits(when):
    return local(when).strftime("%Y%m%d%H%M%S")


def unix_time(stamp):
    when = datetime.datetime.strptime(stamp, "%Y%m%d%H%M%S")
    return int(when.replace(tzinfo=ZONE).timestamp())


def stamp_of(name):
    return name[-21:-7]


def nearest_boundary(when):
    return (when + CYCLE_SECONDS // 2) // CYCLE_SECONDS * CYCLE_SECONDS


def read_file(path):
    try:
        with open(path, "rb") as file:
            return file.read()
    except OSError:
        return None


def connect(database, patience=0):
    """A connection for a with statement, which waits so many seconds for another process's lock."""
    uri = f"file:{database}?mode=rw"
    return contextlib.closing(sqlite3.connect(uri, uri=True, timeout=patience))


class Damaged(Exception):
    pass


def unpack(name, archive):
    """The document of a data file; raises Damaged unless the archive is whole."""
    stem = os.path.basename(name).removesuffix(".tar.gz")
    try:
        with tarfile.open(fileobj=io.BytesIO(gzip.decompress(archive))) as tar:
            members = tar.getmembers()
            if [member.name for member in members] != [stem + ".dat"]:
                raise Damaged("has other members")
            return json.loads(tar.extractfile(members[0]).read())
    except (OSError, EOFError, ValueError, tarfile.TarError) as error:
        raise Damaged(f"of {len(archive)} bytes is not whole ({type(error).__name__})") from error


def events_of(document):
    return {alarm["alarmTime"] for alarm in document["data"]}


def real_data_of(name):
    """The time mark and the first value that the acquisition side gives a real-data file."""
    when = unix_time(stamp_of(name))
    return local(when).strftime("%Y-%m-%d %H:%M:%S"), f"{when // CYCLE_SECONDS % 100000:.3f}"


class Card:
    """The places on a card that is mounted at `root`."""

    def __init__(self, root):
        self.root = root
        self.ledger = f"{root}/Cloud/DB/CloudDB.db"
        self.files = f"{root}/Cloud/JsonFiles"

    def path_of(self, name):
        """Where a name of the ledger stands: recalls are recorded under their full paths."""
        if name.startswith(MOUNT):
            return name.replace(MOUNT, self.root, 1)
        return f"{self.files}/{name}"

    def taken_events(self):
        """The times of the events that count as taken by the service."""
        taken = set()
        for name in os.listdir(self.root):
            if name.endswith("_event.db"):
                sql = "select RecordDate || ' ' || RecordTime from event_tbl where upload = 1"
                with connect(f"{self.root}/{name}", patience=5) as events:
                    with contextlib.suppress(sqlite3.Error):  # its table may still be missing
                        taken.update(row[0] for row in events.execute(sql))
        return taken


class Seen:
    """Rows by name with their result, recalls by name with their time, and output of the programs."""

    def __init__(self):
        self.rows = {}
        self.recalls = {}
        self.lines = []

    def read(self, ledger, patience=0):
        """Reads the ledger once. Without patience, a lock of another process hides everything."""
        if not os.path.exists(ledger):
            return
        try:
            with connect(ledger, patience) as database:
                tables = {row[0] for row in database.execute("select name from sqlite_master")}
                if "tJsonFileNames" in tables:
                    self.rows.update(database.execute("select FileName, Result from tJsonFileNames"))
                if "recallJsonFile" in tables:
                    sql = "select FileName, Createtime from recallJsonFile"
                    self.recalls.update(database.execute(sql))
        except sqlite3.Error:
            if patience > 0:
                raise

    def add(self, other):
        """Takes over what another one has seen; counts what is new."""
        new = {"rows": len(other.rows.keys() - self.rows.keys())}
        new["rows"] += len(other.recalls.keys() - self.recalls.keys())
        new["marks"] = other.marks() - sum(self.rows.get(name, 0) for name in other.rows)
        self.rows.update(other.rows)
        self.recalls.update(other.recalls)
        return new

    def forget_aged(self, now):
        """Forgets what the service may have dropped by now: files of 31 days, recalls of 3."""
        cut_off, recall_cut_off = digits(now - FILE_AGE_SECONDS), now - RECALL_AGE_SECONDS
        self.rows = {name: got for name, got in self.rows.items() if stamp_of(name) > cut_off}
        self.recalls = {name: at for name, at in self.recalls.items() if at > recall_cut_off}

    def marks(self):
        return sum(self.rows.values())


class Books:
    """What is known of one card since its first day: seen, produced, delivered, lost."""

    def __init__(self, card, outside, figures):
        self.card = card
        self.outside = outside  # the directory with the notes of the other programs
        self.figures = figures  # a Counter, which several cards may share
        self.seen = Seen()
        self.faults = {}  # what was lost, in words, by figure and name
        self.sound = {}  # documents of whole and genuine archives, by name and digest
        self.faulty = 0  # uploads that the cloud has complained about
        self.repacked = set()  # names that were packed twice, so with other bytes
        self.unsettled = set()  # those of them that the service still has to put in order
        self.recorded_events = set()
        self.counted_events = set()
        self.counted_cycles = set()

    def note_start(self, start):
        """A start within its cycle packs the values of that cycle again."""
        self.repacked.add(f"S{digits(nearest_boundary(start))}.tar.gz")

    def take_over(self, seen):
        self.figures.update(self.seen.add(seen))

    def check(self, now, restarted):
        """Compares everything with the card as it is now, in the gateway's time. Until the service
        has started again, an archive that it was replacing may be cut."""
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
        self.check_copies(found)
        self.take_over(found)

    def check_rows(self, found):
        for name, result in self.seen.rows.items():
            if name not in found.rows:
                self.fault("rows", name, "its row is gone")
            elif found.rows[name] < result:
                self.fault("marks", name, "its mark is gone")
        for name in self.seen.recalls.keys() - found.recalls.keys():
            self.fault("rows", name, "its row is gone")

    def check_archives(self, found):
        for name in [*found.rows, *found.recalls]:
            if os.path.basename(name) in self.unsettled:
                continue
            try:
                document = self.examine(name, read_file(self.card.path_of(name)))
            except Damaged as damage:
                self.fault("archives", name, f"its row is there, its archive {damage}")
                continue
            if os.path.basename(name).startswith("T"):
                self.recorded_events |= events_of(document)

    def check_copies(self, _):
        if not os.path.exists(f"{self.outside}/cloud-lines"):
            return  # no cloud has run yet
        for kind in ("realdata", "alarmdata", "calldata"):
            for name in sorted(os.listdir(f"{self.outside}/cloud/{kind}")):
                if name.endswith(".tar.gz"):  # others are unfinished
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
        if name.startswith("T"):
            self.recorded_events |= events_of(document)
        place = kind if kind == "calldata" else f"{kind}/{int(name[7:9])}"
        original = read_file(f"{self.card.files}/{place}/{name}")
        if original is None or original == copy or name in self.unsettled:
            return  # a missing file is found by its row
        try:
            self.examine(name, original)
        except Damaged as damage:
            self.fault("archives", name, f"it was delivered, its archive {damage}")
            return
        if name not in self.repacked:
            self.fault("foreign", name, "what was delivered is not what the card holds")

    def examine(self, name, archive):
        """The archive's document; raises Damaged unless it is whole and somebody produced it."""
        if archive is None:
            raise Damaged("is missing")
        key = (os.path.basename(name), hashlib.sha1(archive).digest())
        if key not in self.sound:
            document = unpack(name, archive)
            try:
                if document["sn"] != SERIAL:
                    raise Damaged("is another gateway's")
                self.require_produced(key[0], document)
            except (KeyError, IndexError, TypeError) as error:
                raise Damaged(f"is no data file: {error}") from error
            self.sound[key] = document
        return self.sound[key]

    def require_produced(self, name, document):
        if name.startswith("S"):
            mark, value = real_data_of(name)
            marks = {device["timeMark"] for device in document["data"]}
            if marks != {mark} or document["data"][0]["values"][0]["value"] != value:
                raise Damaged(f"holds nobody's values: {document}")
        elif name.startswith("T") and not events_of(document) <= self.produced("events"):
            raise Damaged(f"holds nobody's events: {document}")

    def produced(self, what):
        return set((read_file(f"{self.outside}/{what}") or b"").decode().splitlines())

    def count_windows(self, now):
        """Counts what may be lost by design: events that were taken but are in no recorded file, and
        cycles up to `now` without a row. The service has run for a cycle since its restart."""
        lost = self.card.taken_events() - self.recorded_events - self.counted_events
        self.counted_events |= lost
        recorded = {stamp_of(name) for name in self.seen.rows if name.startswith("realdata/")}
        lived = {re.sub(r"\D", "", mark) for mark in self.produced("boundaries")}
        lived = {stamp for stamp in lived if stamp <= digits(now)}
        self.figures["events"] += len(lost)
        self.figures["cycles"] += len(lived - recorded - self.counted_cycles)
        self.counted_cycles |= lived

    def fault(self, figure, name, text):
        key = (figure, os.path.basename(name))
        if key not in self.faults:
            self.figures["lost " + figure] += 1
            self.faults[key] = f"{name}: {text}"


def losses(figures):
    """The losses as part of the line with the figures; and whether there are none."""
    lost = {kind: figures["lost " + kind] for kind in LOSSES}
    words = (
        f"{lost['rows']} rows lost, {lost['marks']} marks lost, {lost['archives']} archives lost, "
        f"{lost['foreign']} foreign deliveries"
    )
    return words, not any(lost.values())
