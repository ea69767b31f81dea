"""What reading in Python costs, held against others: three signals as an Arrow table against the same walk in C++, and
all signals of a drive, and one, as arrays against asammdf reading its MDF 4 file. Time and the peak memory of a process
that does nothing else.

pythonReading.py WALK_BENCHMARK [--mebibytes N] [--seconds S]
"""

from __future__ import annotations

import argparse
import json
import shutil
import subprocess
import sys
import sysconfig
import tempfile
from pathlib import Path

from figures import note

import kvex

SIGNALS = ["Lat", "Lon", "Alt"]
LIMIT = 1.5

# Each runs in a process of its own, and prints seconds, what it read, and its peak memory in MiB.
BEGIN = """
import json, sys, time
path, names = sys.argv[1], sys.argv[2:]
"""
END = """
peak = next(int(line.split()[1]) for line in open("/proc/self/status") if line.startswith("VmHWM"))
print(json.dumps([seconds, count, peak / 1024]))
"""
ARROW = """
import kvex, pyarrow
run = kvex.open(path)
times = []
for _ in range(5):
    begun = time.perf_counter()
    count = pyarrow.table(run.table(names)).num_rows
    times.append(time.perf_counter() - begun)
seconds = min(times)
"""
KVEX_ONE = """
import kvex
begun = time.perf_counter()
with kvex.open(path) as run:
    count = len(run[names[0]].read().values)
seconds = time.perf_counter() - begun
"""
# The road of kvex.convert: all tables of a stream in one walk.
KVEX_ALL = """
import kvex
from kvex._convert import Options, _walk
begun = time.perf_counter()
options = Options("hdf5")
count = 0
kept = []
with kvex.open(path) as run:
    for info, batch in _walk(run, options, options.tables(run)):
        count += batch.num_rows * sum(signal.count for _, signal in info.signals)
        kept.append(batch)
seconds = time.perf_counter() - begun
"""
MDF_ONE = """
from asammdf import MDF
begun = time.perf_counter()
with MDF(path) as mdf:
    group, index = mdf.whereis(names[0])[0]
    count = len(mdf.get(group=group, index=index, raw=True).samples)
seconds = time.perf_counter() - begun
"""
MDF_ALL = """
from asammdf import MDF
begun = time.perf_counter()
count = 0
kept = []
with MDF(path) as mdf:
    for group in range(len(mdf.groups)):
        channels = mdf.groups[group].channels
        masters = mdf.masters_db.get(group)
        wanted = [(None, group, index) for index in range(len(channels)) if index != masters]
        for signal in mdf.select(wanted, raw=True, copy_master=False):
            count += len(signal.samples)
            kept.append(signal)
seconds = time.perf_counter() - begun
"""


def measured(script: str, path: Path, *names: str) -> tuple[float, int, float]:
    command = [sys.executable, "-c", BEGIN + script + END, str(path), *names]
    seconds, count, memory = json.loads(subprocess.run(command, check=True, capture_output=True, text=True).stdout)
    return seconds, count, memory


def shown(what: str, result: tuple[float, int, float]) -> None:
    seconds, count, memory = result
    note("python", what, seconds, "s")
    print(f"  {what:38} {seconds:8.3f} s, {count:>11,} values, peak {memory:6.0f} MiB")


def compare_with_walk(walk: str, vrel: Path, folder: Path, mebibytes: int) -> bool:
    path = folder / "drive.quon"
    subprocess.run([vrel, "synth", path, "--seconds", "20"], check=True, stdout=subprocess.DEVNULL)
    seconds = mebibytes * (1 << 20) * 20 // path.stat().st_size
    command = [vrel, "synth", path, "--seconds", str(seconds), "--force"]
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    print(f"Three signals of a .quon file of {path.stat().st_size / (1 << 20):.0f} MiB")
    said = subprocess.run([walk, path, *SIGNALS], check=True, capture_output=True, text=True).stdout
    runs = [(int(rows), float(took)) for rows, took in (line.split() for line in said.splitlines())]
    rows, best = min(runs, key=lambda run: run[1])
    arrow = measured(ARROW, path, *SIGNALS)
    assert arrow[1] == rows
    ratio = arrow[0] / best
    print(
        f"  C++ walk {best:.3f} s, Arrow table {arrow[0]:.3f} s: {ratio:.2f} times (limit {LIMIT}), "
        f"peak {arrow[2]:.0f} MiB"
    )
    note("python", "Arrow table of three signals against the C++ walk", ratio, "times", LIMIT)
    note("python", "peak memory of that", arrow[2], "MiB")
    return ratio <= LIMIT


def compare_with_mdf(vrel: Path, folder: Path, seconds: int) -> None:
    path = folder / "drive.vrel"
    subprocess.run([vrel, "synth", path, "--seconds", str(seconds)], check=True, stdout=subprocess.DEVNULL)
    kvex.convert(path, folder, to="mf4")
    mdf = folder / "drive.mf4"
    sizes = [one.stat().st_size / 1e6 for one in (path, mdf)]
    print(f"A drive of {seconds} s: recording {sizes[0]:.1f} MB, MDF 4 {sizes[1]:.1f} MB")
    shown("all signals, kvex from the recording", measured(KVEX_ALL, path))
    shown("all signals, asammdf from MDF 4", measured(MDF_ALL, mdf))
    shown("one signal, kvex from the recording", measured(KVEX_ONE, path, "2:Lat"))
    shown("one signal, asammdf from MDF 4", measured(MDF_ONE, mdf, "Lat"))


def main() -> int:
    parser = argparse.ArgumentParser()
    parser.add_argument("walk")
    parser.add_argument("--mebibytes", type=int, default=64, help="of the .quon file")
    parser.add_argument("--seconds", type=int, default=20, help="of the drive")
    options = parser.parse_args()
    vrel = Path(sysconfig.get_path("scripts")) / "vrel"
    folder = Path(tempfile.mkdtemp(prefix="kvex-python-"))
    try:
        good = compare_with_walk(options.walk, vrel, folder, options.mebibytes)
        compare_with_mdf(vrel, folder, options.seconds)
    finally:
        shutil.rmtree(folder)
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
