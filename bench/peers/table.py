"""Prints the results of bench/peers/run as a table, with versions and promises, and writes them as JSON.

usage: table.py DIRECTORY [JSON-FILE]
"""

import json
import os
import pathlib
import sys

# What each promises beyond the figures, in one line.
PROMISES = {
    'brennik': 'packs files, records them in a ledger and syncs both; newest first; confirmed by the cloud; also alarms, '
               'recalls and redirects',
    'brennik-lean': 'the same service, with a libcurl in the program that speaks HTTP only, as on the gateway',
    'collectd': 'keeps nothing: values that the server does not take are dropped; not packed',
    'rsyslog': 'a synced queue, oldest first, confirmed by RELP; not packed; Debian 12 has no general HTTP output for it',
    'mosquitto': 'a queue saved whole at each change but not synced, oldest first, confirmed by a broker; not packed; no HTTP',
    'python': 'packed, synced rows, newest first, confirmed; no limit of age or space',
    'node-red': 'packed files that are not synced, newest first, confirmed; no limit of age or space',
}
TITLES = {'brennik': 'Brennik', 'brennik-lean': 'Brennik, HTTP-only libcurl'}  # of those that are not their own
CYCLE = (  # heading, field, format
    ('written kB', 'written_kb', ',.0f'), ('RSS MB', 'rss_mb', '.1f'), ('CPU ms/min', 'cpu_ms', '.0f'),
    ('wakes/min', 'wakes', ',.0f'), ('wire kB/min', 'wire_kb', ',.1f'), ('card kB/min', 'card_kb', ',.0f'))


def read(directory):
    results = {}
    for path in sorted(pathlib.Path(directory).glob('*.json')):
        result = json.loads(path.read_text())
        if 'rss_kb' in result:
            result['rss_mb'] = result['rss_kb'] / 1000
        results[result['candidate'], result['test'], result['points']] = result
    return results


def cycle_cell(results, name, field, form):
    small, large = (results.get((name, 'cycle', points)) for points in (429, 6500))
    cell = format(small[field], form) if small else '-'
    return f'{cell} ({large[field]:{form}})' if large else cell


def against_collectd(results, name):
    """Private memory that was written to, as a ratio, at the sizes that both were measured at."""
    ratios = []
    for points in (429, 6500):
        own, other = (results.get((candidate, 'cycle', points)) for candidate in (name, 'collectd'))
        if own and other:
            ratios.append(f'{own["written_kb"] / other["written_kb"]:.2f} at {points:,} points')
    return ', '.join(ratios)


def outcome(result):
    if result is None:
        return '-'
    if 'delivered' in result:
        return f'{result["delivered"] / result["of"]:.2f}'
    if result['seconds'] is None:
        return 'never'
    return f'{result["seconds"]:.1f} s, {result["before_it"]:,} before it'


def main():
    results = read(sys.argv[1])
    versions = (pathlib.Path(sys.argv[1]) / 'versions').read_text().splitlines()
    names = [name for name in PROMISES if any(name == key[0] for key in results)]
    minutes = {result['minutes'] for result in results.values() if 'minutes' in result}
    print(f'A file a minute, {max(minutes, default=0)} min, {os.cpu_count()} cores; 429 points (6,500).')
    print('Written: private pages that were written to. CPU: with all children. Wakes: voluntary context switches of its\n'
          'threads. Wire: both directions with headers. Card: sectors written, ext4 with blocks of 4 KiB.\n'
          'Outage: what arrived of a record a second; with Brennik an alarm a second. SIGKILL: what arrived after the next\n'
          'start. Brennik sends these at a clock that is 60 times faster; all else is in real time. The cloud of the last\n'
          'column comes back at second 30 of a minute; there is no limit of the line.\n')
    headings = [heading for heading, _, _ in CYCLE]
    headings += ['outage of 30 s in 70', 'SIGKILL, 1,000 pending', 'newest file, 8,928 pending']
    print('| candidate | ' + ' | '.join(headings) + ' |')
    print('|---' * (len(headings) + 1) + '|')
    for name in names:
        cells = [cycle_cell(results, name, field, form) for _, field, form in CYCLE]
        cells += [outcome(results.get((name, test, 429))) for test in ('outage', 'kill', 'reconnect')]
        print(f'| {TITLES.get(name, name)} | ' + ' | '.join(cells) + ' |')
    print()
    for name in names:
        if name in TITLES and (ratio := against_collectd(results, name)):
            print(f"{TITLES[name]}: written to, against collectd's: {ratio}")
    print()
    for name in names:
        print(f'- {TITLES.get(name, name)}: {PROMISES[name]}')
    print('\nversions: ' + ', '.join(versions))
    if len(sys.argv) > 2:
        document = {'versions': dict(line.split(' ', 1) for line in versions), 'cores': os.cpu_count(),
                    'promises': PROMISES, 'results': list(results.values())}
        pathlib.Path(sys.argv[2]).write_text(json.dumps(document, indent=1) + '\n')


main()
