#!/usr/bin/env python3
"""Compares the table of messages in docs/operations.md with the messages in src/, both ways.

A row is `| `message` | log | meaning |`. The message is spelled as in the source, without line ends
and blanks around it. The log is `text LEVEL`, `database LEVEL`, `stdout` or `stderr`.
"""
import pathlib
import re
import sys

LITERALS = r'((?:"(?:[^"\\\n]|\\.)*"\s*)+)'
CALL = re.compile(r'\b(?:log_(Text|DB)\(\s*([A-Z]+),|std::(printf|puts|fprintf)\((?:\s*stderr,)?)\s*' + LITERALS)
ANY_CALL = re.compile(r'\blog_(?:Text|DB)\(|std::f?printf\(|std::puts\(|std::c(?:out|err)\b|\bperror\(')
ROW = re.compile(r'\| `([^`]+)` \| ((?:text|database) [A-Z]+|stdout|stderr) \| [^|]+ \|')
# The log's own interface, and prints that nothing in the service asks for.
PASSED_OVER = {'log/log.h', 'log/log.cpp', 'config/syssetshow.cpp', 'config/channelsetshow.cpp'}

root = pathlib.Path(__file__).resolve().parent.parent
faults = []
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
        message = re.sub(r'"\s*"', '', literals.strip())[1:-1]
        message = re.sub(r'(\\[rn]| )+$', '', message).strip()
        place = {'Text': f'text {level}', 'DB': f'database {level}'}.get(log)
        said.add((message, place or ('stderr' if printed == 'fprintf' else 'stdout')))

section = (root / 'docs/operations.md').read_text().split('\n## Every message\n')[1].split('\n## ')[0]
explained = set()
for line in section.splitlines():
    if not line.startswith('| `'):
        continue
    row = ROW.fullmatch(line)
    if not row:
        faults.append(f'not a row of message, log and meaning: {line}')
    elif (row[1].strip(), row[2]) in explained:
        faults.append(f'two rows for: {line}')
    else:
        explained.add((row[1].strip(), row[2]))
faults += [f'nothing in src/ says: {row}' for row in sorted(explained - said)]
faults += [f'docs/operations.md does not explain: {row}' for row in sorted(said - explained)]

print(*faults, f'{len(said)} messages, {len(faults)} faults', sep='\n')
sys.exit(1 if faults or not said else 0)
