#!/usr/bin/env python3
"""Compares the table of messages in status/judge/ with the messages in src/, both ways, and
docs/messages.md with what the program makes of that table.

A row of the table is {section, "message", "log", "meaning"}. The message is spelled as in the source,
without line ends and blanks around it. The log is `text LEVEL`, `database LEVEL`, `stdout` or `stderr`.

usage: messages.py [--write] [PROGRAM]

PROGRAM is brennik-status. With --write its page is written to docs/messages.md; without PROGRAM the page
is not compared.
"""
import pathlib
import re
import subprocess
import sys

LITERALS = r'((?:"(?:[^"\\\n]|\\.)*"\s*)+)'
CALL = re.compile(r'\b(?:log_(Text|DB)\(\s*([A-Z]+),|std::(printf|puts|fprintf)\((?:\s*stderr,)?)\s*' + LITERALS)
ANY_CALL = re.compile(r'\blog_(?:Text|DB)\(|std::f?printf\(|std::puts\(|std::c(?:out|err)\b|\bperror\(')
ROW = re.compile(r'\{k\w+,\s*' + LITERALS + r',\s*"((?:text|database) [A-Z]+|stdout|stderr)",\s*' + LITERALS + r'\}')
LINK = re.compile(r'\]\(([^)#]*)#([^)]*)\)')
# The log's own interface, and prints that nothing in the service asks for.
PASSED_OVER = {'log/log.h', 'log/log.cpp', 'config/syssetshow.cpp', 'config/channelsetshow.cpp'}

root = pathlib.Path(__file__).resolve().parent.parent
page = root / 'docs/messages.md'
arguments = sys.argv[1:]
write = '--write' in arguments
programs = [argument for argument in arguments if argument != '--write']
if len(programs) > 1 or (write and not programs):
    sys.exit(__doc__)
faults = []


def joined(literals):
    """The text of adjacent literals, spelled as in the source."""
    return re.sub(r'"\s*"', '', literals.strip())[1:-1]


said = set()
for file in sorted((root / 'src').rglob('*.[ch]*')):
    name = str(file.relative_to(root / 'src'))
    if file.suffix not in ('.h', '.cpp') or name in PASSED_OVER:
        continue
    code = re.sub(r'//[^\n"]*\n', '\n', file.read_text())
    calls = CALL.findall(code)
    if len(calls) != len(ANY_CALL.findall(code)):
        faults.append(f'{name}: a message has no level or no text of its own')
    for log, level, printed, literals in calls:
        message = re.sub(r'(\\[rn]| )+$', '', joined(literals)).strip()
        place = {'Text': f'text {level}', 'DB': f'database {level}'}.get(log)
        said.add((message, place or ('stderr' if printed == 'fprintf' else 'stdout')))

explained = set()
for file in sorted((root / 'status/judge').glob('messages_*.cpp')):
    code = file.read_text()
    rows = ROW.findall(code)
    if len(rows) != len(re.findall(r'\{k[A-Z]', code)):
        faults.append(f'{file.name}: a row is not section, message, log and meaning')
    for message, log, meaning in rows:
        # A backslash of the source's text is doubled in the table.
        row = (joined(message).replace('\\\\', '\\').strip(), log)
        if row in explained:
            faults.append(f'two rows for: {row}')
        if not joined(meaning) or '|' in joined(meaning):
            faults.append(f'a meaning is empty or has a "|": {row}')
        explained.add(row)
faults += [f'nothing in src/ says: {row}' for row in sorted(explained - said)]
faults += [f'status/judge/ does not explain: {row}' for row in sorted(said - explained)]

for program in programs:
    made = subprocess.run([program, 'explain', '--markdown'], capture_output=True, text=True, check=True).stdout
    if write:
        page.write_text(made)
    elif page.read_text() != made:
        faults.append(f'docs/messages.md is old; run: tests/messages.py --write {program}')


def anchors(file):
    """The anchors of a page's headings."""
    headings = re.findall(r'^#+ (.*)$', file.read_text(), re.M)
    return {re.sub(r'[^\w -]', '', heading.lower()).replace(' ', '-') for heading in headings}


for target, anchor in sorted(set(LINK.findall(page.read_text()))):
    if anchor not in anchors(page.parent / (target or page.name)):
        faults.append(f'docs/messages.md links to {target}#{anchor}, which is no heading')

print(*faults, f'{len(said)} messages, {len(faults)} faults', sep='\n')
sys.exit(1 if faults or not said else 0)
