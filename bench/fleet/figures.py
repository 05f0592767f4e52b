"""The settings of a fleet, and what the cloud's index tells about it."""

import collections
import gzip
import sqlite3
import statistics

PHASES = {"work": "outage", "back": "end"}  # each with the moment that ends it
LONGEST_GAP_SECONDS = 6  # between two files of a round

# A round of 20 files takes 60 s and twenty exchanges, so it fits into each of these. Boundaries are multiples of an
# interval since 1970. Those of two primes meet once in their product.
FAIL_INTERVALS = 67, 71, 73, 79, 83, 89, 97, 101, 103, 107, 109, 113, 127, 131, 137, 139, 149, 151
SHORT_DATA_INTERVALS = 61, 67, 71, 73


def settings_of(fleet, number):
    """RealDataInv and FailInterval of a gateway."""
    if fleet == "equal":
        return 60, 60
    return SHORT_DATA_INTERVALS[number % 4], FAIL_INTERVALS[number // 4 % len(FAIL_INTERVALS)]


def exchanges(database):
    """Rows of (second, endpoint, bytes of the request, serial number of an upload, accepted, bytes of its content)."""
    query = "SELECT time, endpoint, head, archive, accepted, bytes FROM exchange ORDER BY id"
    for second, endpoint, head, archive, accepted, content in database.execute(query):
        lengths = [line.split(":")[1] for line in head.splitlines() if line.startswith("Content-Length:")]
        # On the wire a line ends in two bytes, an empty line follows, and Content-Type has no blank before its value.
        head_bytes = len(head.encode()) + head.count("\n") + 2 - 1
        serial = gzip.decompress(archive).split(b'"', 4)[3].decode() if archive else None
        yield second, endpoint, head_bytes + int(lengths[0]), serial, accepted, content


def rounds(seconds):
    """Splits the seconds of a gateway's uploads into rounds."""
    found = []
    for second in seconds:
        if found and second - found[-1][-1] <= LONGEST_GAP_SECONDS:
            found[-1].append(second)
        else:
            found.append([second])
    return found


def drain_of(uploads):
    """Of gateways with a backlog: files in a round, seconds between two of them, seconds from round to round."""
    files, gaps, periods = [], [], []
    for seconds in uploads.values():
        parts = rounds(seconds)
        whole = parts[:-1]  # the last one may be cut off by the end
        files += [len(part) for part in whole]
        gaps += [(part[-1] - part[0]) / (len(part) - 1) for part in whole if len(part) > 1]
        periods += [after[0] - before[0] for before, after in zip(parts, parts[1:])]
    return {name: [min(values), statistics.mean(values), max(values)]
            for name, values in (("files", files), ("gap", gaps), ("period", periods)) if values}


def read(path, moments, gateways):
    """The figures of a run. `moments` are Unix times of the ends of phases."""
    database = sqlite3.connect(path)
    rows = list(exchanges(database))
    database.close()
    found = {"gateways": gateways, "moments": moments, "refused": sum(not row[4] for row in rows), "sizes": {}}
    for endpoint in {row[1] for row in rows}:
        sizes = [(row[2], row[5]) for row in rows if row[1] == endpoint]
        found["sizes"][endpoint] = [len(sizes), *(statistics.mean(column) for column in zip(*sizes))]
    for phase, end in PHASES.items():
        inside = [row for row in rows if moments[phase] <= row[0] < moments[end]]
        # By second: requests, bytes, uploads, address checks.
        seconds = {second: [0, 0, 0, 0] for second in range(int(moments[phase]) + 1, int(moments[end]))}
        uploads = collections.defaultdict(list)
        for second, endpoint, size, serial, _, _ in inside:
            if second not in seconds:
                continue
            upload = endpoint in ("realdata", "alarmdata")
            for place, number in enumerate((1, size, upload, endpoint == "skip-address")):
                seconds[second][place] += number
            if upload:
                uploads[serial].append(second)
        found[phase] = {"requests": len(inside), "seconds": seconds, "drain": drain_of(uploads)}
    return found


def share(values, part):
    """The value that `part` of the seconds does not pass."""
    return sorted(values)[int(part * (len(values) - 1))]


def show(fleet, found):
    packets = found["packet bytes"] / max(1, found["work"]["requests"])
    print(f"{fleet}: {found['gateways']} gateways, {found['refused']} refused,"
          f" {found['queue overflows']} queue overflows, {packets:.0f} bytes of packets an exchange")
    for endpoint, (count, size, content) in sorted(found["sizes"].items()):
        print(f"  {endpoint}: {count} requests of {size:.0f} bytes, {content:.0f} of them content")
    for phase in PHASES:
        rows = list(found[phase]["seconds"].values())
        for name, column in (("requests", 0), ("bytes", 1), ("uploads", 2), ("checks", 3)):
            values = [row[column] for row in rows]
            idle = sum(value == 0 for value in values)
            print(f"  {phase}: {name} a second: mean {statistics.mean(values):.1f}, median {share(values, 0.5)}, 95 %"
                  f" {share(values, 0.95)}, peak {max(values)}, {idle} of {len(values)} s idle")
        print(f"  {phase}: rounds: " + ", ".join(
            f"{name} {low:.2f} {mean:.2f} {high:.2f}" for name, (low, mean, high) in found[phase]["drain"].items()))
