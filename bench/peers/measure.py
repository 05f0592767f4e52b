"""Measures one candidate, inside the sandbox that bench/peers/run makes. Prints one line of JSON.

usage: measure.py CANDIDATE cycle|outage|kill|reconnect POINTS MINUTES CGROUP CARD-STATISTICS
"""

import json
import os
import pathlib
import subprocess
import sys
import time

import candidates
import plant
from brennik import Brennik, SimulatedCloud
from receiver import Receiver

OUTAGE_RECORDS = 70  # one a second; the cloud is away for 30 of the seconds
KILL_PENDING = 1000
RECONNECT_PENDING = 8928  # 31 days, a file every five minutes
QUIET_SECONDS = 75  # nothing more comes after such a pause
LONGEST_WAY_BACK = 130  # seconds until the first record comes after an outage, a login a minute included


class Run:
    def __init__(self, name, test, points, cgroup, statistics):
        self._cgroup, self._statistics = pathlib.Path(cgroup), statistics
        plant.write(points)
        self.subject = Brennik(test) if name == 'brennik' else candidates.find(name)
        self.is_brennik = name == 'brennik'
        self._environment = {**os.environ, **self.subject.environment}
        acquisition = ['/brennik/build/release/simulator/acquisition/acquisition-simulator', '--event-interval=0', '--no-history']
        subprocess.Popen(acquisition, stdout=subprocess.DEVNULL)
        time.sleep(1)  # the segment must be there
        self.live = plant.LiveValues()
        self.cloud = SimulatedCloud(self._environment) if self.is_brennik else Receiver(self.subject.protocol)
        self.subject.prepare(test)
        self._switches = {}
        self.process = None

    def start(self):
        """Starts the candidate in its own control group, and connects to its intake."""
        def join():
            (self._cgroup / 'cgroup.procs').write_text('0')
        self.process = subprocess.Popen(self.subject.command, preexec_fn=join, env=self._environment,
                                        stdout=subprocess.DEVNULL, stderr=sys.stderr)
        self.subject.connect()

    def kill(self):
        self.process.kill()
        self.process.wait()

    def feed(self, number):
        if self.process.poll() is not None:
            raise SystemExit(f'{self.subject.name} ended with {self.process.returncode}')
        self.subject.feed(number, self.live.read())
        if hasattr(self.subject, 'flush'):
            time.sleep(0.3)  # until its writer has the values
            self.subject.flush()

    def cpu_ms(self):
        """Of the process and all that it started."""
        fields = dict(line.split() for line in (self._cgroup / 'cpu.stat').read_text().splitlines())
        return int(fields['usage_usec']) / 1000

    def card_kb(self):
        return int(pathlib.Path(self._statistics).read_text().split()[6]) * 512 / 1000

    @staticmethod
    def wire_kb():
        """Both directions, with all headers: the loopback carries nothing but the cloud's traffic."""
        for line in pathlib.Path('/proc/net/dev').read_text().splitlines():
            if line.strip().startswith('lo:'):
                return int(line.split(':')[1].split()[8]) / 1000
        raise SystemExit('there is no loopback')

    def wakes(self):
        """Voluntary context switches of all threads of the process, of ended ones as last seen."""
        for task in pathlib.Path(f'/proc/{self.process.pid}/task').iterdir():
            try:
                text = (task / 'status').read_text()
            except OSError:
                continue
            self._switches[task.name] = int(text.split('\nvoluntary_ctxt_switches:')[1].split()[0])
        return sum(self._switches.values())

    def memory(self):
        lines = pathlib.Path(f'/proc/{self.process.pid}/smaps_rollup').read_text().splitlines()[1:]
        kb = {line.split(':')[0]: int(line.split()[1]) for line in lines}
        return {'written_kb': kb['Private_Dirty'], 'private_clean_kb': kb['Private_Clean'], 'rss_kb': kb['Rss']}

    def readings(self):
        return {'cpu_ms': self.cpu_ms(), 'wakes': self.wakes(), 'wire_kb': self.wire_kb(), 'card_kb': self.card_kb(),
                'files': len(self.cloud.arrivals)}

    def settle(self):
        """Waits until the candidate has taken what it was given: it hardly works for three seconds."""
        while True:
            before = self.cpu_ms()
            time.sleep(3)
            if self.cpu_ms() - before < 30:
                return

    def wait_for(self, wanted, quiet=QUIET_SECONDS):
        """Waits until all these records are there, or until nothing more comes. Returns how many are there."""
        last, count = time.monotonic(), -1
        while not wanted <= self.cloud.arrivals.keys() and time.monotonic() - last < quiet:
            if len(self.cloud.arrivals) != count:
                last, count = time.monotonic(), len(self.cloud.arrivals)
            time.sleep(0.01)
        return sum(record in self.cloud.arrivals for record in wanted)

    def pend(self, count, seconds):
        """Leaves so many records on the gateway while there is no cloud. Returns them, oldest first."""
        if self.is_brennik:
            records = self.subject.leave_pending(count, seconds, self.live.read())
            self.cloud.open('--realdata', 'close*10000')  # it has logged in before the cloud goes away
            time.sleep(1)  # the cloud listens
            self.start()
            self.cloud.logged_in.wait(120)
            self.cloud.close()
            time.sleep(10)
            return records
        self.start()
        for number in range(1, count + 1):
            self.subject.feed(number, self.live.read())
        self.settle()
        return list(range(1, count + 1))


def sleep_until_second(second):
    time.sleep((second - time.time()) % 60)


def cycle(run, minutes):
    """A snapshot a minute. The work of a cycle is done by second 58."""
    run.cloud.open()
    run.start()
    number, start, before = 0, 0.0, None
    while before is None or number < start + minutes:
        if not run.is_brennik:
            sleep_until_second(run.subject.second)
            run.feed(number + 1)
        time.sleep(1)
        sleep_until_second(58)
        run.wakes()
        if before is None and run.cloud.arrivals:
            before, start = run.readings(), number + 1
        number += 1
        if number > minutes + 6:
            raise SystemExit(f'{run.subject.name}: no file has arrived')
    after = run.readings()
    result = {name: (after[name] - before[name]) / minutes for name in before}
    return {**result, **run.memory(), 'minutes': minutes}


def outage(run, _minutes):
    """A record a second for 70 seconds. From second 20 to 50 there is no cloud."""
    run.cloud.open()
    run.start()
    time.sleep(15)
    start = time.monotonic()
    for number in range(1, OUTAGE_RECORDS + 1):
        if number == 21:
            run.cloud.close()
        if number == 51:
            run.cloud.open()
        run.feed(number)
        time.sleep(max(0.0, start + number - time.monotonic()))
    return {'delivered': run.wait_for(set(range(1, OUTAGE_RECORDS + 1))), 'of': OUTAGE_RECORDS}


def kill(run, _minutes):
    """SIGKILL with a thousand pending, then a new start with a cloud."""
    records = run.pend(KILL_PENDING, 60)
    run.kill()
    run.cloud.open()
    run.start()
    return {'delivered': run.wait_for(set(records)), 'of': KILL_PENDING}


def reconnect(run, _minutes):
    """From the cloud's return, at second 30, to the newest of 31 days of files."""
    records = run.pend(RECONNECT_PENDING, 300)
    sleep_until_second(30)
    start = time.monotonic()
    run.cloud.open()
    wanted = run.subject.newest_file() if run.is_brennik else records[-1]
    if not run.wait_for({wanted}, LONGEST_WAY_BACK):
        return {'seconds': None, 'pending': RECONNECT_PENDING}
    before = list(run.cloud.arrivals).index(wanted)
    return {'seconds': run.cloud.arrivals[wanted] - start, 'before_it': before, 'pending': RECONNECT_PENDING}


def main():
    name, test, points, minutes, cgroup, statistics = sys.argv[1:]
    run = Run(name, test, int(points), cgroup, statistics)
    tests = {'cycle': cycle, 'outage': outage, 'kill': kill, 'reconnect': reconnect}
    result = tests[test](run, int(minutes))
    print(json.dumps({'candidate': name, 'test': test, 'points': int(points), **result}), flush=True)
    os._exit(0)  # the sandbox ends everything else


main()
