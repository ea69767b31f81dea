"""What the tests share: the recordings with answers, and a demonstration drive."""

from __future__ import annotations

import subprocess
import sysconfig
from collections.abc import Iterator
from pathlib import Path

import pytest

import kvex

DATA = Path(__file__).resolve().parents[2] / "tests" / "data"


@pytest.fixture(scope="session")
def vrel() -> Path:
    """The command that the wheel brings along."""
    return Path(sysconfig.get_path("scripts")) / "vrel"


@pytest.fixture(scope="session")
def demo_path(tmp_path_factory: pytest.TempPathFactory, vrel: Path) -> Path:
    path = tmp_path_factory.mktemp("demo") / "run.vrel"
    subprocess.run([vrel, "synth", path, "--seconds", "10"], check=True)
    return path


@pytest.fixture
def run(demo_path: Path) -> Iterator[kvex.Run]:
    with kvex.open(demo_path) as opened:
        yield opened


def native_answers(stem: str) -> dict[tuple[int, str], list[tuple[int, int, int, str]]]:
    """By stream and element: time, flags, stamp and value of each sample."""
    import csv
    import gzip

    answers: dict[tuple[int, str], list[tuple[int, int, int, str]]] = {}
    with gzip.open(DATA / f"{stem}.native.csv.gz", "rt", encoding="utf-8", newline="") as lines:
        for row in csv.DictReader(lines):
            key = (int(row["stream"]), row["signal"])
            answers.setdefault(key, []).append((int(row["time"]), int(row["flags"]), int(row["stamp"]), row["value"]))
    return answers
