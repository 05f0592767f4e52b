"""Takes snapshots from a socket, one line of JSON each, keeps them in SQLite on the card, and posts them, newest first.

This is what one would write in an afternoon with requests and sqlite3. A row is removed when the cloud has taken it.
"""

import gzip
import os
import selectors
import socket
import sqlite3
import time

import requests

URL = 'http://127.0.0.1:8080/values'
PAUSE_SECONDS = 10  # after a failure

database = sqlite3.connect('/media/mmcblk0p1/queue.db', isolation_level=None)
database.execute('pragma journal_mode=persist')
database.execute('create table if not exists queue(id integer primary key, body blob)')
session = requests.Session()
retry_at = 0.0


def send():
    """Posts what waits. Returns false if the cloud did not take it."""
    while row := database.execute('select id, body from queue order by id desc limit 1').fetchone():
        try:
            answer = session.post(URL, data=row[1], headers={'Content-Encoding': 'gzip'}, timeout=10)
            answer.raise_for_status()
        except requests.RequestException:
            return False
        database.execute('delete from queue where id = ?', row[:1])
    return True


if os.path.exists('/run/values.sock'):
    os.unlink('/run/values.sock')
listener = socket.create_server('/run/values.sock', family=socket.AF_UNIX)
stream = None
rest = b''
selector = selectors.DefaultSelector()
selector.register(listener, selectors.EVENT_READ)
waiting = True  # rows of an earlier life
while True:
    ready = selector.select(max(0.0, retry_at - time.monotonic()) if waiting else None)
    if ready and stream is None:
        selector.unregister(listener)
        stream = listener.accept()[0]
        selector.register(stream, selectors.EVENT_READ)
    elif ready:
        *lines, rest = (rest + stream.recv(1 << 20)).split(b'\n')
        for line in lines:
            database.execute('insert into queue(body) values (?)', [gzip.compress(line)])
            waiting = True
    if waiting and time.monotonic() >= retry_at:
        waiting = not send()
        retry_at = time.monotonic() + PAUSE_SECONDS if waiting else 0.0
