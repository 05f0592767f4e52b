"""Measures one gateway at the default intervals, inside the sandbox that bench/alone makes. Prints one line of JSON.

usage: measure.py brennik|brennik-lean|nothing POINTS MINUTES ALARM-SECONDS

nothing: only the acquisition side works, which shows what it writes to the card.
"""

import json
import os
import pathlib
import re
import subprocess
import sys
import time

sys.path.insert(0, '/brennik/bench/peers')

import brennik
import measured
import plant

CYCLE_SECONDS = 300  # RealDataInv
INTERVALS = {'RealDataInv': CYCLE_SECONDS, 'AlarmDataInv': 30, 'HeartInterval': 600, 'FailInterval': 60,
             'RecallInterval': -1}
REST = 45  # second of a minute: the work of a minute has reached the card, and no worker's boundary is near
LONGEST_START = 2 * CYCLE_SECONDS  # seconds until the first file is accepted
# The threads in the order in which the service starts them.
ROLES = ('main', 'log database', 'text log', 'live values', 'alarms', 'heartbeat', 'upload')
# What strace shows of the calls. A lock that is free, and one that is set free, wait for nothing.
CALLS = {'timers': r'clock_nanosleep\(', 'fsync': r'fsync\(', 'fdatasync': r'fdatasync\(',
         'locks': r'futex\(\S+ FUTEX_(LOCK|WAIT)', 'network': r'poll\('}
TRACED = 'clock_nanosleep,fsync,fdatasync,futex,poll'
TRACE = '/tmp/calls'


def sleep_to_rest():
    time.sleep((REST - time.time()) % 60)


def role_of(threads):
    """Maps each thread's number to its role. Threads that are not among the usual ones are 'others'."""
    return {thread: ROLES[place] if place < len(ROLES) else 'others' for place, thread in enumerate(sorted(threads))}


def readings(process, cloud):
    return {'cpu_ms': process.cpu_ms(), 'own_cpu_ms': process.own_cpu_ms(), 'wire_kb': process.wire_kb(),
            'files': cloud.accepted['realdata'], 'alarm_files': cloud.accepted['alarmdata'], **measured.card()}


def wait_for_first_file(process, cloud):
    deadline = time.monotonic() + LONGEST_START
    while not cloud.accepted['realdata']:
        process.check()
        if time.monotonic() > deadline:
            raise SystemExit('no file has arrived')
        time.sleep(1)


def follow(process, minutes):
    """Waits so many minutes. Returns the memory at the end, and the most that a minute ended with."""
    most = 0
    for _ in range(minutes):
        time.sleep(1)
        sleep_to_rest()
        process.check()
        process.wakes()  # of a thread that ends meanwhile, too
        memory = process.memory()
        most = max(most, memory['written_kb'])
    return {**memory, 'most_written_kb': most}


def by_role(before, after, minutes):
    wakes = dict.fromkeys(ROLES, 0.0)
    for thread, role in role_of(after).items():
        wakes[role] = wakes.get(role, 0.0) + (after[thread] - before.get(thread, 0)) / minutes
    return wakes


def trace_cycle(process):
    """Counts the calls of each thread in one cycle of live values. It is a cycle of its own: to trace wakes threads."""
    strace = subprocess.Popen(['strace', '-q', '-f', '-e', 'trace=' + TRACED, '-o', TRACE,
                               '-p', str(process.process.pid)], stderr=subprocess.DEVNULL)
    time.sleep(CYCLE_SECONDS)
    strace.terminate()
    strace.wait()
    roles = role_of(process.wakes())
    calls = {name: dict.fromkeys(ROLES, 0) for name in CALLS}
    for line in pathlib.Path(TRACE).read_text().splitlines():
        thread, rest = line.split(None, 1)
        role = roles.get(int(thread))
        for name, call in CALLS.items():
            if role and re.match(call, rest):
                calls[name][role] = calls[name].get(role, 0) + 1
    return calls


def day(name, minutes):
    cloud = brennik.SimulatedCloud(os.environ)
    cloud.open()
    process = measured.Measured(brennik.program(name), os.environ)
    wait_for_first_file(process, cloud)
    sleep_to_rest()
    before, wakes = readings(process, cloud), process.wakes()
    memory = follow(process, minutes)
    after = readings(process, cloud)
    result = {field: (after[field] - before[field]) / minutes for field in before}
    result['children_cpu_ms'] = result['cpu_ms'] - result['own_cpu_ms']
    result['wakes'] = by_role(wakes, process.wakes(), minutes)
    return {**result, **memory, 'cycle_calls': trace_cycle(process)}


def nothing(minutes):
    """Measures the card for as many minutes, when a first alarm is recorded."""
    time.sleep(CYCLE_SECONDS)
    sleep_to_rest()
    before = measured.card()
    time.sleep(60 * minutes)
    after = measured.card()
    return {field: (after[field] - before[field]) / minutes for field in before}


def main():
    name, points, minutes, alarms = sys.argv[1], *map(int, sys.argv[2:])
    plant.write(points)
    brennik.set_intervals(**INTERVALS)
    plant.start_acquisition(f'--event-interval={alarms}')
    result = {'subject': name, 'points': points, 'minutes': minutes, 'alarm_seconds': alarms}
    result |= nothing(minutes) if name == 'nothing' else day(name, minutes)
    print(json.dumps(result), flush=True)
    os._exit(0)  # the sandbox ends everything else


main()
