"""Brennik as a candidate, with the simulated cloud of this repository."""

import collections
import datetime
import glob
import io
import pathlib
import re
import sqlite3
import subprocess
import tarfile
import threading
import time

BUILD = pathlib.Path('/brennik/build')
CARD = pathlib.Path('/media/mmcblk0p1')
SYSTEM_FILE = pathlib.Path('/tessel/Config/sys.xml')
PROGRAMS = {'brennik': 'release', 'brennik-lean': 'lean'}  # the builds, by the candidate's name
FASTER = 60  # the clock of the run that sends a thousand files


def program(name):
    return [str(BUILD / PROGRAMS[name] / 'src/main/brennik')]


def set_intervals(**seconds):
    """Writes intervals into the system file, by their names there."""
    text = SYSTEM_FILE.read_text()
    for name, value in seconds.items():
        text, count = re.subn(rf'\b{name}="-?\d+"', f'{name}="{value}"', text)
        if not count:
            raise SystemExit(f'{SYSTEM_FILE} has no {name}')
    SYSTEM_FILE.write_text(text)


class SimulatedCloud:
    """The cloud simulator. arrivals maps a file's name, or an alarm's number, to its first arrival. accepted counts the
    files that it has accepted, by their kind."""

    def __init__(self, environment):
        self.arrivals, self.accepted = {}, collections.Counter()
        self.logged_in = threading.Event()
        self._environment, self._process = environment, None

    def open(self, *options):
        command = [BUILD / 'release/simulator/cloud/cloud-simulator', '--port', '8080', '--prefix', '/cloud',
                   '--uploads', '/tmp/cloud', *options]
        self._process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True, env=self._environment)
        threading.Thread(target=self._read, args=[self._process.stdout], daemon=True).start()

    def close(self):
        if self._process:
            self._process.kill()
            self._process.wait()
            self._process = None

    def _read(self, lines):
        for line in lines:
            if re.search(r' authorize .*: accepted$', line):
                self.logged_in.set()
            if found := re.search(r'(realdata|alarmdata) ([ST]\d+\.tar\.gz) .*: accepted$', line):
                self.accepted[found[1]] += 1
                for record in [found[2]] if found[1] == 'realdata' else self._alarms(found[2]):
                    self.arrivals.setdefault(record, time.monotonic())

    @staticmethod
    def _alarms(name):
        with tarfile.open(glob.glob(f'/tmp/cloud/alarmdata/**/{name}', recursive=True)[0]) as archive:
            text = archive.extractfile(archive.getmembers()[0]).read().decode()
        return [int(number) for number in re.findall(r'"value":"(\d+)\.000"', text)]


class Brennik:
    def __init__(self, name, test):
        self.name, self.command = name, program(name)
        self.environment = {}
        if test == 'kill':
            preload = glob.glob('/usr/lib/*/faketime/libfaketime.so.1')[0]
            self.environment = {'LD_PRELOAD': preload, 'FAKETIME': f'+0 x{FASTER}', 'FAKETIME_DONT_FAKE_MONOTONIC': '1'}
        self._events = None

    def prepare(self, test):
        alarms, failures = (10, 30) if test == 'outage' else (30, 60)
        set_intervals(RealDataInv=60, FailInterval=failures, AlarmDataInv=alarms, RecallInterval=-1)

    def connect(self):
        """Nothing: it reads shared memory and the event database."""

    def feed(self, number, values):
        """Raises an alarm with this number as its value, for a snapshot has no number."""
        now = datetime.datetime.now()
        if not self._events:
            self._events = sqlite3.connect(CARD / now.strftime('%Y%m_event.db'), isolation_level=None, timeout=20)
            self._events.execute(
                'CREATE TABLE IF NOT EXISTS event_tbl(Pid INTEGER PRIMARY KEY, RecordDate TEXT NOT NULL, RecordTime TEXT NOT '
                'NULL, DataId INTEGER NOT NULL, threshold REAL, triggervalue REAL, eventtype INTEGER, grade INTEGER, upflag '
                'INTEGER, upload INTEGER DEFAULT 0)')
        self._events.execute(
            'INSERT INTO event_tbl(RecordDate, RecordTime, DataId, threshold, triggervalue, eventtype, grade, upflag) '
            'VALUES (?, ?, ?, 1, ?, 0, 1, 1)', [f'{now:%Y-%m-%d}', f'{now:%H:%M:%S}', values[0][0], float(number)])

    def leave_pending(self, count, seconds, values):
        """Files as the service would have left them, each SECONDS after the one before. Returns names, oldest first."""
        now = datetime.datetime.now().replace(second=0)
        names = []
        for place in range(count, 0, -1):
            names.append(self._pack(now - datetime.timedelta(seconds=seconds * place), values))
        ledger = CARD / 'Cloud/DB/CloudDB.db'
        ledger.parent.mkdir(parents=True, exist_ok=True)
        with sqlite3.connect(ledger) as database:
            database.execute('CREATE TABLE tJsonFileNames(FileName VARCHAR(32) PRIMARY KEY ASC,FileType TINYINT DEFAULT 1,'
                             'Result TINYINT DEFAULT 0)')
            database.executemany('INSERT INTO tJsonFileNames VALUES(?, 2, 0)', [[name] for name in names])
        return [name.rsplit('/', 1)[1] for name in names]

    @staticmethod
    def newest_file():
        with sqlite3.connect('file:/media/mmcblk0p1/Cloud/DB/CloudDB.db?mode=ro', uri=True, timeout=20) as database:
            names = database.execute("SELECT FileName FROM tJsonFileNames WHERE FileName LIKE 'realdata/%'").fetchall()
        return max(name.rsplit('/', 1)[1] for name, in names)

    @staticmethod
    def _pack(stamp, values):
        name = f'realdata/{stamp.day}/S{stamp:%Y%m%d%H%M%S}.tar.gz'
        path = CARD / 'Cloud/JsonFiles' / name
        path.parent.mkdir(parents=True, exist_ok=True)
        devices = {}
        for point, value in values:
            devices.setdefault(point >> 16, []).append(f'{{"pointId":"{point & 0xffff:04X}","value":"{value:.3f}"}}')
        data = ','.join(f'{{"groupId":{device >> 8},"eqpId":{device & 255},"timeMark":"{stamp:%Y-%m-%d %H:%M:%S}",'
                        f'"values":[{",".join(points)}]}}' for device, points in devices.items())
        text = f'{{"sn":"TS20240117","data":[{data}]}}'.encode()
        with tarfile.open(path, 'w:gz') as archive:
            member = tarfile.TarInfo(path.name.replace('.tar.gz', '.dat'))
            member.size = len(text)
            archive.addfile(member, io.BytesIO(text))
        return name
