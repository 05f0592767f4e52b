"""A process that bench/alone watches: what it costs, by the counters of its control group, its card and its network."""

import os
import pathlib
import subprocess
import sys
import time

GROUP = pathlib.Path(os.environ['BRENNIK_GROUP'])
CARD = pathlib.Path(os.environ['BRENNIK_CARD'])
SECTOR_BYTES = 512


def card():
    """Kilobytes written to the card, and flushes of it, since it was made."""
    fields = CARD.read_text().split()
    return {'card_kb': int(fields[6]) * SECTOR_BYTES / 1000, 'flushes': int(fields[15])}


class Measured:
    """Starts the process in the control group, where all that it starts is counted as well."""

    def __init__(self, command, environment):
        def join():
            (GROUP / 'cgroup.procs').write_text('0')
        self.process = subprocess.Popen(command, preexec_fn=join, env=environment, stdout=subprocess.DEVNULL,
                                        stderr=sys.stderr)
        self._switches = {}

    def check(self):
        if self.process.poll() is not None:
            raise SystemExit(f'{self.process.args[0]} ended with {self.process.returncode}')

    def kill(self):
        self.process.kill()
        self.process.wait()

    @staticmethod
    def cpu_ms():
        """Of the process and all that it started."""
        fields = dict(line.split() for line in (GROUP / 'cpu.stat').read_text().splitlines())
        return int(fields['usage_usec']) / 1000

    def own_cpu_ms(self):
        """Of the process alone."""
        clock = ~self.process.pid << 3 | 2  # the clock that clock_getcpuclockid names
        return time.clock_gettime(clock) * 1000

    @staticmethod
    def wire_kb():
        """Both directions, with all headers: the loopback carries nothing but the cloud's traffic."""
        for line in pathlib.Path('/proc/net/dev').read_text().splitlines():
            if line.strip().startswith('lo:'):
                return int(line.split(':')[1].split()[8]) / 1000
        raise SystemExit('there is no loopback')

    def wakes(self):
        """Voluntary context switches of each thread of the process, by its number; of ended ones as last seen."""
        for task in pathlib.Path(f'/proc/{self.process.pid}/task').iterdir():
            try:
                text = (task / 'status').read_text()
            except OSError:
                continue
            self._switches[int(task.name)] = int(text.split('\nvoluntary_ctxt_switches:')[1].split()[0])
        return dict(self._switches)

    def memory(self):
        lines = pathlib.Path(f'/proc/{self.process.pid}/smaps_rollup').read_text().splitlines()[1:]
        kb = {line.split(':')[0]: int(line.split()[1]) for line in lines}
        return {'written_kb': kb['Private_Dirty'], 'private_clean_kb': kb['Private_Clean'], 'rss_kb': kb['Rss']}
