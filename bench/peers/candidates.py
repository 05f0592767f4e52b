"""The candidates: how each is started and given a snapshot. All but Brennik take it from a local socket."""

import json
import pathlib
import shutil
import socket
import subprocess
import threading
import time

SOCKET = '/run/values.sock'
HERE = pathlib.Path('/brennik/bench/peers')


class Candidate:
    """One that takes a snapshot as a line of JSON."""

    def __init__(self, name, protocol, command):
        self.name, self.protocol, self.command = name, protocol, command
        self.environment = {}
        self.second = 0  # of the minute, at which a snapshot is given
        self._socket = None

    def prepare(self, test):
        """Makes ready what the first start needs."""

    def connect(self):
        deadline = time.monotonic() + 60
        while True:
            self._socket = socket.socket(socket.AF_UNIX)
            try:
                return self._socket.connect(SOCKET)
            except OSError:
                self._socket.close()
                if time.monotonic() > deadline:
                    raise
                time.sleep(0.1)

    def feed(self, number, values):
        """Gives record NUMBER with these values. A value is a DataId and a number."""
        texts = ','.join(f'"{point:08x}":"{value:.3f}"' for point, value in values)
        self._send(f'{{"n":{number},"values":{{{texts}}}}}\n'.encode())

    def _send(self, line):
        self._socket.sendall(line)


class Collectd(Candidate):
    """Takes each value as a line of its own, and answers each."""

    def connect(self):
        super().connect()
        threading.Thread(target=self._read_answers, args=[self._socket], daemon=True).start()

    @staticmethod
    def _read_answers(answers):
        try:
            while answers.recv(1 << 16):
                pass
        except OSError:
            pass

    def feed(self, number, values):
        now = time.time()
        lines = [f'PUTVAL "gateway/plant/gauge-{point:08x}" interval=60 {now:.3f}:{value:.3f}\n' for point, value in values]
        lines.append(f'PUTVAL "gateway/plant/gauge-number" interval=60 {now:.3f}:{number}\n')
        self._send(''.join(lines).encode())

    def flush(self):
        """Sends the rest of a snapshot that does not fill a request."""
        self._send(b'FLUSH plugin=write_http/cloud\n')


class Mosquitto(Candidate):
    """Takes a snapshot as a message, from a client of its own."""

    def prepare(self, test):
        if test == 'reconnect':  # each saving writes the whole queue: 8,928 times would take hours
            text = (HERE / 'mosquitto/mosquitto.conf').read_text().replace('autosave_on_changes true', '')
            pathlib.Path('/tmp/mosquitto.conf').write_text(text.replace('autosave_interval 1', 'autosave_interval 60'))
            self.command = ['mosquitto', '-c', '/tmp/mosquitto.conf']

    def connect(self):
        super().connect()
        self._socket.close()
        command = ['mosquitto_pub', '--unix', SOCKET, '-q', '1', '-t', 'values', '-l']
        self._client = subprocess.Popen(command, stdin=subprocess.PIPE)

    def _send(self, line):
        self._client.stdin.write(line)
        self._client.stdin.flush()


class NodeRed(Candidate):
    def prepare(self, test):
        shutil.copytree(HERE / 'node-red', '/tmp/node-red')
        flows = json.loads((HERE / 'node-red/flows.json').read_text())
        for node in flows:  # the code of the function nodes stands in files of its own
            for part in ('initialize', 'func'):
                if node.get(part, '').endswith('.js'):
                    node[part] = (HERE / 'node-red' / node[part]).read_text()
        pathlib.Path('/tmp/node-red/flows.json').write_text(json.dumps(flows))


def find(name):
    node_red = '/brennik/build/peers/node-red/node_modules/node-red/red.js'
    known = (
        Collectd('collectd', 'http', ['collectd', '-f', '-C', str(HERE / 'collectd/collectd.conf')]),
        Candidate('rsyslog', 'relp', ['rsyslogd', '-n', '-i', 'NONE', '-f', str(HERE / 'rsyslog/rsyslog.conf')]),
        Mosquitto('mosquitto', 'mqtt', ['mosquitto', '-c', str(HERE / 'mosquitto/mosquitto.conf')]),
        Candidate('python', 'http', ['python3', '-B', str(HERE / 'python/link.py')]),
        NodeRed('node-red', 'http', ['node', '--optimize-for-size', '--max-semi-space-size=1', node_red,
                                     '--userDir', '/tmp/node-red']))
    for place, candidate in enumerate(known):
        if candidate.name == name:
            candidate.second = 20 + 5 * place  # the candidates run side by side: each works at its own time
            return candidate
    raise SystemExit(f'no candidate is called {name}')
