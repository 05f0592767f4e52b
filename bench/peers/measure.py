"""Measures one candidate, inside the sandbox that bench/alone makes. Prints one line of JSON.

usage: measure.py CANDIDATE cycle|outage|kill|reconnect POINTS MINUTES
"""

import json
import os
import sys
import time

import brennik
import candidates
import measured
import plant
from receiver import Receiver

OUTAGE_RECORDS = 70  # one a second; the cloud is away for 30 of the seconds
KILL_PENDING = 1000
RECONNECT_PENDING = 8928  # 31 days, a file every five minutes
QUIET_SECONDS = 75  # nothing more comes after such a pause
LONGEST_WAY_BACK = 130  # seconds until the first record comes after an outage, a login a minute included


class Run:
    def __init__(self, name, test, points):
        plant.write(points)
        self.is_brennik = name in brennik.PROGRAMS
        self.subject = brennik.Brennik(name, test) if self.is_brennik else candidates.find(name)
        self._environment = {**os.environ, **self.subject.environment}
        plant.start_acquisition('--event-interval=0')
        self.live = plant.LiveValues()
        self.cloud = brennik.SimulatedCloud(self._environment) if self.is_brennik else Receiver(self.subject.protocol)
        self.subject.prepare(test)
        self.process = None

    def start(self):
        """Starts the candidate, and connects to its intake."""
        self.process = measured.Measured(self.subject.command, self._environment)
        self.subject.connect()

    def feed(self, number):
        self.process.check()
        self.subject.feed(number, self.live.read())
        if hasattr(self.subject, 'flush'):
            time.sleep(0.3)  # until its writer has the values
            self.subject.flush()

    def readings(self):
        process = self.process
        return {'cpu_ms': process.cpu_ms(), 'wakes': sum(process.wakes().values()), 'wire_kb': process.wire_kb(),
                'card_kb': measured.card()['card_kb'], 'files': len(self.cloud.arrivals)}

    def settle(self):
        """Waits until the candidate has taken what it was given: it hardly works for three seconds."""
        while True:
            before = self.process.cpu_ms()
            time.sleep(3)
            if self.process.cpu_ms() - before < 30:
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
            time.sleep(1)  # the cloud tells of the login before it answers
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
        run.process.wakes()
        if before is None and run.cloud.arrivals:
            before, start = run.readings(), number + 1
        number += 1
        if number > minutes + 6:
            raise SystemExit(f'{run.subject.name}: no file has arrived')
    after = run.readings()
    result = {name: (after[name] - before[name]) / minutes for name in before}
    return {**result, **run.process.memory(), 'minutes': minutes}


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
    run.process.kill()
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
    name, test, points, minutes = sys.argv[1:]
    run = Run(name, test, int(points))
    tests = {'cycle': cycle, 'outage': outage, 'kill': kill, 'reconnect': reconnect}
    result = tests[test](run, int(minutes))
    print(json.dumps({'candidate': name, 'test': test, 'points': int(points), **result}), flush=True)
    os._exit(0)  # the sandbox ends everything else


main()
