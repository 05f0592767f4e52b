#!/usr/bin/env python3
"""Checks the order of the floors of src/ and of status/.

- A folder links only to folders on lower floors. The floors of status/ stand on those of src/ that their links name.
- A file includes only its own folder's headers and those of the folders that its library links to.
- The parts of simulator/console/ include only the parts below them.
- The gateway's absolute paths stand in util/paths.h only; texts of status/ may name them.
- Headers of SQLite, libcurl and libxml2 are included by .cpp files only.
"""
import pathlib
import re
import sys

FLOORS = ['util records', 'log', 'config', 'datasource packmemory parsememory http', 'historydata', 'packfile',
          'service', 'schedule', 'main']
GATEWAY_PATH = re.compile(r'/tessel|/media/mmcblk0p1|/tmp/CloudLog|/dev/mmcblk0p1')
# In status/ texts for people name paths, too: there only a literal that is nothing but a path counts.
GATEWAY_PATH_ALONE = re.compile(r'"(/tessel|/media/mmcblk0p1|/tmp/CloudLog|/dev/mmcblk0p1)[^" ]*"')
GENERATED = {'build.h'}
FOREIGN = re.compile(r'(curl/)?curl\.h|sqlite3(ext)?\.h|libxml/.*')
STRING_OR_COMMENT = re.compile(r'("(?:[^"\\\n]|\\.)*"|\'(?:[^\'\\\n]|\\.)*\')|//[^\n]*|/\*.*?\*/', re.S)

root = pathlib.Path(__file__).resolve().parent.parent
source = root / 'src'
floor_of = {folder: number for number, row in enumerate(FLOORS) for folder in row.split()}
# Each floor of status/ and its library. They stand on the whole of src/.
status_libraries = {'collect': 'status_collect', 'judge': 'status_judge', 'print': 'status_print',
                    'main': 'status_commands'}
status_floor_of = {folder: number for number, folder in enumerate(status_libraries)}
# What each part of the bench console may include beside itself.
console_parts = {'web': [], 'bench': ['web'], 'uploads': ['web'], 'watch': ['web'], 'faults': ['web', 'bench'],
                 'main': ['web', 'bench', 'uploads', 'watch', 'faults']}
faults = []


def calls_of(file):
    """The arguments of each target_link_libraries in a CMakeLists.txt, the target first."""
    text = re.sub(r'#.*', '', file.read_text())
    return [call.split() for call in re.findall(r'target_link_libraries\(([^)]*)\)', text)]


def links_of(folder):
    """The folders whose libraries the folder's own targets link to."""
    calls = calls_of(source / folder / 'CMakeLists.txt')
    return {name[8:] for call in calls for name in call if name.startswith('brennik_')} & set(floor_of)


def status_links_of(folder, calls):
    """The floors of status/ and the folders of src/ whose libraries this floor links to, directly or not."""
    floors, folders = {folder}, set()
    of_library = {library: floor for floor, library in status_libraries.items()}
    waiting = [status_libraries[folder]]
    while waiting:
        library = waiting.pop()
        for name in (name for call in calls if call[0] == library for name in call[1:]):
            if name in of_library and of_library[name] not in floors:
                floors.add(of_library[name])
                waiting.append(name)
            elif name.startswith('brennik_'):
                folders.add(name[8:])
    return floors, folders & set(floor_of)


def check(file, folders, top=source):
    name = file.relative_to(top)
    code = STRING_OR_COMMENT.sub(lambda found: found[1] or ' ', file.read_text())
    for path in (GATEWAY_PATH if top == source else GATEWAY_PATH_ALONE).findall(code):
        if str(name) != 'util/paths.h':
            faults.append(f'{name} spells {path}; the gateway\'s paths stand in util/paths.h')
    for quote, header in re.findall(r'^\s*#\s*include\s*(["<])([^">]+)', code, re.M):
        folder = header.split('/')[0] if '/' in header else None
        if FOREIGN.fullmatch(header):
            if file.suffix == '.h':
                faults.append(f'{name} includes {header}; foreign headers stay in .cpp files')
        elif folder in floor_of or folder in status_floor_of and top != source:
            if folder not in folders:
                faults.append(f'{name} includes {header}, but its library does not link to that folder\'s')
        elif quote == '"' and header not in GENERATED:
            faults.append(f'{name} includes "{header}", which is not of the form "folder/header.h"')


checked = 0
for folder in sorted(path.parent.name for path in source.glob('*/CMakeLists.txt')):
    if folder not in floor_of:
        faults.append(f'{folder}/ has no floor; give it one in tests/layering.py')
        continue
    links = links_of(folder)
    for link in sorted(links - {folder}):
        if floor_of[link] >= floor_of[folder]:
            faults.append(f'{folder}/ links to brennik_{link}, which is not on a lower floor')
    for file in sorted(source.glob(f'{folder}/**/*')):
        if file.suffix in ('.h', '.cpp'):
            check(file, links | {folder})
            checked += 1

status = root / 'status'
status_calls = calls_of(status / 'CMakeLists.txt')
for folder in sorted(path.name for path in status.iterdir() if path.is_dir()):
    if folder not in status_floor_of:
        faults.append(f'status/{folder}/ has no floor; give it one in tests/layering.py')
        continue
    floors, folders = status_links_of(folder, status_calls)
    for floor in sorted(floors - {folder}):
        if status_floor_of[floor] >= status_floor_of[folder]:
            faults.append(f'status/{folder}/ links to status_{floor}, which is not on a lower floor')
    for file in sorted(status.glob(f'{folder}/**/*')):
        if file.suffix in ('.h', '.cpp'):
            check(file, floors | folders, status)
            checked += 1

console = root / 'simulator/console'
for file in sorted(console.glob('*/*')):
    part = file.parent.name
    if file.suffix in ('.h', '.cpp'):
        for other in re.findall(r'#include "console/(\w+)/', file.read_text()):
            if other != part and other not in console_parts.get(part, []):
                faults.append(f'{file.relative_to(root)} includes console/{other}/, which is not below {part}')
        checked += 1

print(*faults, f'{checked} files checked, {len(faults)} faults', sep='\n')
sys.exit(1 if faults or not checked else 0)
