"""The cloud of the other candidates: counts distinct records that come over HTTP, RELP or MQTT."""

import gzip
import re
import socket
import threading
import time

PORT = 8080


class Receiver:
    """Answers one protocol on a port, on threads of its own. arrivals maps a record's number to its first arrival,
    in the order of arrival, on the monotonic clock."""

    def __init__(self, protocol):
        self.arrivals = {}
        self._serve = {'http': self._http, 'relp': self._relp, 'mqtt': self._mqtt}[protocol]
        self._listener = None
        self._connections = set()

    def open(self):
        self._listener = socket.create_server(('127.0.0.1', PORT))
        threading.Thread(target=self._accept, args=[self._listener], daemon=True).start()

    def close(self):
        """Ends all connections and refuses new ones."""
        if self._listener:
            self._listener.shutdown(socket.SHUT_RDWR)
            self._listener.close()
            self._listener = None
        for connection in list(self._connections):
            connection.shutdown(socket.SHUT_RDWR)

    def _accept(self, listener):
        while True:
            try:
                connection = listener.accept()[0]
            except OSError:
                return
            self._connections.add(connection)
            threading.Thread(target=self._run, args=[connection], daemon=True).start()

    def _run(self, connection):
        try:
            with connection, connection.makefile('rb') as stream:
                self._serve(connection, stream)
        except (OSError, EOFError):
            pass
        self._connections.discard(connection)

    def _note(self, body):
        # A record of collectd is one value of a snapshot: the number is the value called "number".
        text = body.decode()
        numbers = re.findall(r'"n":(\d+)', text)
        numbers += re.findall(r'"values":\[(\d+)[^]]*\][^{}]*"type_instance":"number"', text)
        for number in numbers:
            self.arrivals.setdefault(int(number), time.monotonic())

    def _http(self, connection, stream):
        while request := stream.readline():
            headers = {}
            while (line := stream.readline().strip()):
                name, _, value = line.decode().partition(':')
                headers[name.lower()] = value.strip()
            body = _exactly(stream, int(headers['content-length']))
            self._note(gzip.decompress(body) if headers.get('content-encoding') == 'gzip' else body)
            connection.sendall(b'HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n')

    def _relp(self, connection, stream):
        """A frame is "number command length[ data]" and a line feed."""
        while number := _word(stream):
            command = _word(stream)
            length = b''
            while (byte := _exactly(stream, 1)).isdigit():
                length += byte
            data = _exactly(stream, int(length)) if byte == b' ' else b''
            if byte == b' ':
                _exactly(stream, 1)
            answer = b'200 OK'
            if command == b'open':
                answer += b'\nrelp_version=0\nrelp_software=receiver\ncommands=syslog'
            elif command == b'syslog':
                self._note(data)
            connection.sendall(b'%s rsp %d %s\n' % (number, len(answer), answer))

    def _mqtt(self, connection, stream):
        """Version 3.1.1, publications of quality 0 and 1."""
        while kind := stream.read(1):
            packet = _exactly(stream, _mqtt_length(stream))
            if kind[0] >> 4 == 1:  # connect
                connection.sendall(b'\x20\x02\x00\x00')
            elif kind[0] >> 4 == 3:  # publish
                topic_end = 2 + int.from_bytes(packet[:2], 'big')
                quality = kind[0] >> 1 & 3
                self._note(packet[topic_end + 2 * (quality > 0):])
                if quality:
                    connection.sendall(b'\x40\x02' + packet[topic_end:topic_end + 2])
            elif kind[0] >> 4 == 10:  # unsubscribe
                connection.sendall(b'\xb0\x02' + packet[:2])
            elif kind[0] >> 4 == 12:  # ping
                connection.sendall(b'\xd0\x00')


def _exactly(stream, size):
    data = stream.read(size)
    if len(data) < size:
        raise EOFError
    return data


def _word(stream):
    word = b''
    while (byte := stream.read(1)).strip():
        word += byte
    return word


def _mqtt_length(stream):
    length = shift = 0
    while True:
        byte = _exactly(stream, 1)[0]
        length |= (byte & 127) << shift
        shift += 7
        if byte < 128:
            return length
