"""Decoding the CAN frames of a demonstration drive, by kvex from the recording and by cantools from frames in memory:
time and peak memory, each in a process of its own.

canDecoding.py [--seconds S]
"""

from __future__ import annotations

import argparse
import json
import subprocess
import sys
import sysconfig
import tempfile
from pathlib import Path

from figures import note

BEGIN = """
import json, sys, time
path = sys.argv[1]
"""
END = """
peak = next(int(line.split()[1]) for line in open("/proc/self/status") if line.startswith("VmHWM"))
print(json.dumps([seconds, values, total, peak / 1024]))
"""
KVEX = """
import numpy, pyarrow.compute
import kvex
from kvex._convert import Options, _walk
begun = time.perf_counter()
options = Options("hdf5", multiplexed=True)
kept = []
with options.open(path) as run:
    for info, batch in _walk(run, options, options.tables(run)):
        kept.append((info, batch))
seconds = time.perf_counter() - begun
values, total = 0, 0.0
for info, batch in kept:
    for name, signal in info.signals:
        if info.name != "time":
            column = batch.column(name)
            values += len(column) - column.null_count
            total += (pyarrow.compute.sum(column.cast("double")).as_py() or 0.0)
"""
CANTOOLS = """
import struct
import cantools
LENGTHS = [0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 20, 24, 32, 48, 64]

def packets(content):
    place, waiting = 0, b""
    while content[place:place + 4] == b"OggS":
        count = content[place + 26]
        sizes = content[place + 27:place + 27 + count]
        place += 27 + count
        for size in sizes:
            waiting += content[place:place + size]
            place += size
            if size < 255:
                yield waiting
                waiting = b""

frames = []
database = None
for packet in packets(open(path, "rb").read()):
    if packet.startswith(b"(Kvex-Can-Dbc)"):
        database = packet[14:].decode()
    elif database is not None and packet[:1] not in b"[{(/" or len(packet) % 16 == 8:
        place = 8
        while place + 16 <= len(packet):
            length = LENGTHS[packet[place] >> 4]
            number, = struct.unpack_from("<I", packet, place + 4)
            frames.append((number & 0x7FFFFFFF, packet[place + 8:place + 8 + length]))
            place += 8 + max(8, length)
messages = cantools.database.load_string(database, "dbc", strict=False)
begun = time.perf_counter()
known = {message.frame_id: message for message in messages.messages}
kept = []
for number, data in frames:
    if number in known:
        kept.append(known[number].decode(data, decode_choices=False, allow_truncated=True))
seconds = time.perf_counter() - begun
values = sum(map(len, kept))
total = sum(sum(one.values()) for one in kept)
"""


def measured(script: str, path: Path) -> tuple[float, int, float, float]:
    command = [sys.executable, "-c", BEGIN + script + END, str(path)]
    seconds, values, total, memory = json.loads(subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout)
    return seconds, values, total, memory


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("--seconds", type=int, default=60, help="of the drive")
    options = parser.parse_args()
    vrel = Path(sysconfig.get_path("scripts")) / "vrel"
    with tempfile.TemporaryDirectory(prefix="kvex-can-") as folder:
        path = Path(folder) / "drive.vrel"
        command = [vrel, "synth", path, "--streams", "can", "--seconds", str(options.seconds)]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        print(f"CAN frames of {options.seconds} s, {path.stat().st_size / 1e6:.1f} MB")
        results = []
        for what, script in (("kvex from the recording", KVEX), ("cantools from memory", CANTOOLS)):
            seconds, values, total, memory = measured(script, path)
            results.append(seconds)
            print(f"  {what:24} {seconds:8.3f} s, {values:>10,} values, sum {total:.6g}, peak {memory:6.0f} MiB")
        note("CAN", "cantools from memory against kvex from the recording", results[1] / results[0], "times")
        print(f"  kvex is {results[1] / results[0]:.1f} times as fast")


if __name__ == "__main__":
    main()
