#!/usr/bin/env python3
"""Checks the order of the floors of src/.

- A folder links only to folders on lower floors.
- A file includes only its own folder's headers and those of the folders that its library links to.
- The gateway's absolute paths stand in util/paths.h only.
- Headers of SQLite, libcurl and libxml2 are included by .cpp files only.
"""
import pathlib
import re
import sys

FLOORS = ['util records', 'log', 'config', 'datasource packmemory parsememory http', 'historydata', 'packfile',
          'service', 'schedule', 'main']
GATEWAY_PATH = re.compile(r'/tessel|/media/mmcblk0p1|/tmp/CloudLog|/dev/mmcblk0p1')
FOREIGN = re.compile(r'(curl/)?curl\.h|sqlite3(ext)?\.h|libxml/.*')
STRING_OR_COMMENT = re.compile(r'("(?:[^"\\\n]|\\.)*"|\'(?:[^\'\\\n]|\\.)*\')|//[^\n]*|/\*.*?\*/', re.S)

source = pathlib.Path(__file__).resolve().parent.parent / 'src'
floor_of = {folder: number for number, row in enumerate(FLOORS) for folder in row.split()}
faults = []


def links_of(folder):
    """The folders whose libraries the folder's own targets link to."""
    text = re.sub(r'#.*', '', (source / folder / 'CMakeLists.txt').read_text())
    calls = re.findall(r'target_link_libraries\(([^)]*)\)', text)
    return {name for call in calls for name in re.findall(r'\bbrennik_([a-z]+)\b', call)} & set(floor_of)


def check(file, folders):
    name = file.relative_to(source)
    code = STRING_OR_COMMENT.sub(lambda found: found[1] or ' ', file.read_text())
    for path in GATEWAY_PATH.findall(code):
        if str(name) != 'util/paths.h':
            faults.append(f'{name} spells {path}; the gateway\'s paths stand in util/paths.h')
    for quote, header in re.findall(r'^\s*#\s*include\s*(["<])([^">]+)', code, re.M):
        folder = header.split('/')[0] if '/' in header else None
        if FOREIGN.fullmatch(header):
            if file.suffix == '.h':
                faults.append(f'{name} includes {header}; foreign headers stay in .cpp files')
        elif folder in floor_of:
            if folder not in folders:
                faults.append(f'{name} includes {header}, but its library does not link to brennik_{folder}')
        elif quote == '"':
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

print(*faults, f'{checked} files checked, {len(faults)} faults', sep='\n')
sys.exit(1 if faults or not checked else 0)
