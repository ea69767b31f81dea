"""What a dataset of many recordings costs: with one and with two workers, and as it grows.

fleet.py [--recordings N] [--seconds S] [--signals PATTERN ...]: a drive of 350 seconds has about 50 MB.
"""

from __future__ import annotations

import argparse
import resource
import shutil
import subprocess
import sysconfig
import tempfile
import time
from pathlib import Path

from figures import note

import kvex

MEGABYTE = 1e6


def size_of(folder: Path) -> tuple[int, float]:
    """Files, and megabytes."""
    files = [path for path in folder.rglob("*") if path.is_file()]
    return len(files), sum(path.stat().st_size for path in files) / MEGABYTE


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("--recordings", type=int, default=8, help="at least 3")
    parser.add_argument("--seconds", type=int, default=20)
    parser.add_argument("--signals", nargs="+", default=[])
    options = parser.parse_args()
    folder = Path(tempfile.mkdtemp(prefix="kvex-fleet-"))
    try:
        paths = [folder / f"drive-{number}.vrel" for number in range(options.recordings)]
        vrel = Path(sysconfig.get_path("scripts")) / "vrel"
        for seed, path in enumerate(paths, 1):
            command = [vrel, "synth", path, "--seconds", str(options.seconds), "--seed", str(seed)]
            subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        megabytes = sum(path.stat().st_size for path in paths) / MEGABYTE
        print(f"Fleet: {len(paths)} recordings, {megabytes:.0f} MB")
        walls = []
        for workers in (1, 2):
            begun = time.monotonic()
            results = kvex.convert(paths, folder / str(workers), signals=options.signals, workers=workers)
            walls.append(time.monotonic() - begun)
            assert all(result.error is None for result in results)
            files, written = size_of(folder / str(workers))
            print(
                f"  {workers} worker(s): {walls[-1]:7.2f} s, {walls[-1] / len(paths):6.2f} s a recording, "
                f"{megabytes / walls[-1]:6.1f} MB/s; {files} files, {written:.0f} MB"
            )
            note("fleet", f"{workers} worker(s)", megabytes / walls[-1], "MB/s")
        print(f"  two workers against one: {walls[0] / walls[1]:.2f} times as fast")
        print(f"  largest process: {resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss / 1024:.0f} MiB")
        begun = time.monotonic()
        kvex.convert(paths, folder / "2", signals=options.signals)
        print(f"  run again, nothing new: {time.monotonic() - begun:.2f} s")
        kvex.convert(paths[:2], folder / "grown", signals=options.signals, workers=1)
        grown = []
        for path in paths[2:]:
            begun = time.monotonic()
            kvex.convert(path, folder / "grown", signals=options.signals, workers=1)
            grown.append(time.monotonic() - begun)
        third = max(1, len(grown) // 3)
        first, last = (sum(part) / len(part) for part in (grown[:third], grown[-third:]))
        print(f"  one more recording, to few: {first:.2f} s, to many: {last:.2f} s")
    finally:
        shutil.rmtree(folder)


if __name__ == "__main__":
    main()
