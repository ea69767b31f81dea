"""The measured figures of all benchmarks: each adds its own, and the whole becomes one JSON document.

figures.py OUT FIGURES [GOOGLE_BENCHMARK_JSON]: joins what the benchmarks wrote.
"""

from __future__ import annotations

import json
import os
import platform
import subprocess
import sys
import time
from pathlib import Path


def note(bench: str, name: str, value: float, unit: str, limit: float | None = None) -> None:
    """Adds a figure to the file that KVEX_FIGURES names, one JSON object per line; does nothing without it."""
    path = os.environ.get("KVEX_FIGURES")
    if path is None:
        return
    line: dict[str, object] = {"bench": bench, "name": name, "value": value, "unit": unit}
    if limit is not None:
        line["limit"] = limit
    with Path(path).open("a") as file:
        file.write(json.dumps(line) + "\n")


def processor() -> str:
    for line in Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.partition(":")[2].strip()
    return platform.machine()


def main() -> None:
    out, figures = Path(sys.argv[1]), Path(sys.argv[2])
    lines = figures.read_text().splitlines() if figures.exists() else []
    measured = [json.loads(line) for line in lines]
    for path in sys.argv[3:]:
        for run in json.loads(Path(path).read_text())["benchmarks"]:
            measured.append(
                {"bench": "kvex_bench", "name": run["name"], "value": run["real_time"], "unit": run["time_unit"]}
            )
    commit = subprocess.run(["git", "rev-parse", "--short", "HEAD"], capture_output=True, text=True).stdout.strip()
    document = {
        "date": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime()),
        "commit": commit,
        "processor": processor(),
        "cores": os.cpu_count(),
        "figures": measured,
    }
    out.write_text(json.dumps(document, indent=1, ensure_ascii=False) + "\n")


if __name__ == "__main__":
    main()
