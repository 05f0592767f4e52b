"""Prints the results of bench/day/run as a table, and writes them as JSON.

usage: table.py DIRECTORY SUBJECT [JSON-FILE]
"""

import json
import os
import pathlib
import sys

SIZES = (100, 1000, 6500)
MINUTES_A_DAY = 1440
RATES = (  # heading, field, format of a minute, factor and format of a day
    ('CPU of the service', 'own_cpu_ms', '{:.1f} ms', 0.001, '{:,.1f} s'),
    ('CPU of `tar` and its shell', 'children_cpu_ms', '{:.1f} ms', 0.001, '{:,.1f} s'),
    ('files of live values', 'files', '{:.2f}', 1, '{:,.0f}'),
    ('files of alarms', 'alarm_files', '{:.2f}', 1, '{:,.0f}'),
    ('wire, both directions', 'wire_kb', '{:,.1f} kB', 0.001, '{:,.1f} MB'),
    ('card, written', 'card_kb', '{:,.0f} kB', 0.001, '{:,.0f} MB'),
    ('card, without the service', 'idle_card_kb', '{:,.0f} kB', 0.001, '{:,.0f} MB'),
    ('flushes of the card', 'flushes', '{:.1f}', 1, '{:,.0f}'),
    ('flushes without the service', 'idle_flushes', '{:.1f}', 1, '{:,.0f}'))
LEVELS = (('written to', 'written_kb'), ('written to, the most at the end of a minute', 'most_written_kb'),
          ('resident', 'rss_kb'))
CALLS = (('fdatasync', 'fdatasync'), ('fsync', 'fsync'), ('locks', 'waits for locks'),
         ('network', 'waits for the network'))
CYCLE_MINUTES = 5


def read(directory, name, points):
    return json.loads((pathlib.Path(directory) / f'{name}-{points}.json').read_text())


def result_of(directory, subject, points):
    result = read(directory, subject, points)
    idle = read(directory, 'nothing', points)
    timers = {role: count / CYCLE_MINUTES for role, count in result['cycle_calls']['timers'].items()}
    for table in (result['wakes'], timers):
        table['all'] = sum(table.values())
    return {**result, 'timers': timers, 'idle_card_kb': idle['card_kb'], 'idle_flushes': idle['flushes']}


def wakes_cell(result, role):
    wakes = result['wakes'].get(role, 0)
    return f'{wakes:.1f} ({wakes * MINUTES_A_DAY:,.0f}), {result["timers"].get(role, 0):.1f} by timers'


def row(heading, cells):
    print(f'| {heading} | ' + ' | '.join(cells) + ' |')


def main():
    directory, subject = sys.argv[1:3]
    results = [result_of(directory, subject, points) for points in SIZES]
    seconds = results[0]['alarm_seconds']
    alarms = f'an alarm every {seconds} s' if seconds else 'no alarms'
    print(f'{subject} at the default intervals with {alarms}, {results[0]["minutes"]} min, {os.cpu_count()} cores.\n'
          'What it takes in a minute (in a day).\n'
          'Wakes: voluntary context switches. Card: sectors written and flushes of the device, ext4 with blocks of 4 KiB;\n'
          'the acquisition side records alarms there as well, and without the service nothing else. Wire: with headers.\n'
          'The calls, timers included, are of one cycle of 300 s, traced after the measurement.\n')
    row('', [f'{points:,} points' for points in SIZES])
    print('|---' * (len(SIZES) + 1) + '|')
    for heading, field, minute, factor, whole in RATES:
        row(heading, [f'{minute.format(result[field])} ({whole.format(result[field] * MINUTES_A_DAY * factor)})'
                      for result in results])
    for role in results[0]['wakes']:
        row(f'wakes: {role}', [wakes_cell(result, role) for result in results])
    for heading, field in LEVELS:
        row(f'memory, {heading}', [f'{result[field]:,} kB' for result in results])
    for call, heading in CALLS:
        row(f'{heading} in a cycle', [str(sum(result['cycle_calls'][call].values())) for result in results])
    if len(sys.argv) > 3:
        pathlib.Path(sys.argv[3]).write_text(json.dumps({'cores': os.cpu_count(), 'results': results}, indent=1) + '\n')


main()
