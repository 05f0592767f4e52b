"""The plant that all candidates share: its configuration, and its live values from shared memory."""

import ctypes
import pathlib
import shutil
import struct
import subprocess
import time

CONFIG = pathlib.Path('/tessel/Config')
SEGMENT_KEY = 0x10903
EXAMPLE_POINTS = 429
POINTS_PER_DEVICE = 100
DEVICES_PER_CHANNEL = 10


def write(points):
    """Writes the example plant, or one of so many points, with the intervals of the measurement."""
    shutil.copytree('/brennik/packaging/example/Config', CONFIG, dirs_exist_ok=True)
    if points != EXAMPLE_POINTS:
        _write_large(points)


def _write_large(points):
    nodes = ''.join(f'<Node Id="{i}" Name="Point {i}" EUUnits="kW"/>' for i in range(POINTS_PER_DEVICE))
    definition = CONFIG / 'devices/hundred.xml'
    definition.write_text(f'<DevConfig><NodeProperty><AI Num="{POINTS_PER_DEVICE}">{nodes}</AI></NodeProperty></DevConfig>')
    channels = ''
    for first in range(0, points // POINTS_PER_DEVICE, DEVICES_PER_CHANNEL):
        count = min(DEVICES_PER_CHANNEL, points // POINTS_PER_DEVICE - first)
        devices = ''.join(f'<Dev Name="{definition}" Protocol="ModbusRTU" Desc="Device" SlaveId="{i + 1}" Group="1"/>'
                          for i in range(count))
        channels += f'<Channel No="{first // DEVICES_PER_CHANNEL + 1}">{devices}</Channel>'
    (CONFIG / 'Channel-template.xml').write_text(f'<ChannelConfig>{channels}</ChannelConfig>')


def start_acquisition(*options):
    """Starts what publishes the values, and waits until they are there."""
    program = '/brennik/build/release/simulator/acquisition/acquisition-simulator'
    subprocess.Popen([program, '--no-history', *options], stdout=subprocess.DEVNULL)
    time.sleep(1)


class LiveValues:
    """The segment of the acquisition side, which must be there."""

    def __init__(self):
        libc = ctypes.CDLL(None, use_errno=True)
        libc.shmat.restype = ctypes.c_void_p
        segment = libc.shmget(SEGMENT_KEY, 0, 0)
        if segment < 0:
            raise OSError('there is no segment of live values')
        self._address = libc.shmat(segment, None, 0)

    def read(self):
        """Pairs of DataId and value."""
        count = struct.unpack('<I', ctypes.string_at(self._address, 4))[0]
        records = ctypes.string_at(self._address + 4, 24 * count)
        return [(point, value) for point, _, value, _ in struct.iter_unpack('<IIdQ', records)]
