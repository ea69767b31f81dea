"""What goes wrong late, or far from where it was caused."""

from __future__ import annotations

import gc
import os
import random
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

import numpy as np
import pyarrow
import pyarrow.parquet
import pytest

import kvex
from conftest import DATA

READS = {
    "table": "run.table(names).to_arrow()",
    "numpy": "run.table(names).to_numpy()",
    "samples": "run[names[0]].read()",
    "statistics": "run.statistics('*')",
    "states": "run.states('2:GpsPosMode')",
    "overview": "run.overview(names)",
    "events": "run.events()",
    "open": "kvex.open(sys.argv[1])",
}


@pytest.fixture(scope="session")
def long_drive(tmp_path_factory: pytest.TempPathFactory, vrel: Path) -> Path:
    path = tmp_path_factory.mktemp("long") / "long.vrel"
    subprocess.run([vrel, "synth", path, "--seconds", "60"], check=True)
    return path


@pytest.mark.parametrize("how", READS)
def test_ctrl_c_ends_a_reading(long_drive: Path, how: str) -> None:
    """An interrupt comes while C++ works: the process does the same over and over, and ends in the middle of it."""
    script = f"""
import kvex, sys
run = kvex.open(sys.argv[1])
names = ["2:Lat", "2:Lon"]
print("begun", flush=True)
try:
    while True:
        {READS[how]}
except KeyboardInterrupt:
    print("interrupted", len(run.signals), run[names[0]].read().time[0] > 0)
"""
    process = subprocess.Popen([sys.executable, "-c", script, str(long_drive)], stdout=subprocess.PIPE, text=True)
    assert process.stdout is not None and process.stdout.readline() == "begun\n"
    time.sleep(0.3)
    process.send_signal(signal.SIGINT)
    begun = time.monotonic()
    said, _ = process.communicate(timeout=60)
    assert said.startswith("interrupted") and said.endswith("True\n") and process.returncode == 0
    assert time.monotonic() - begun < 20


def test_two_threads_read_two_files(long_drive: Path, demo_path: Path) -> None:
    """Each sees its own file's values, and the interpreter goes on while C++ works."""
    paths = [long_drive, demo_path]
    expected = [kvex.open(path).table(["2:Lat", "2:Lon", "2:Speed2d"]).to_arrow() for path in paths]
    results: dict[int, list[bool]] = {0: [], 1: []}

    def read(place: int) -> None:
        for _ in range(3):
            with kvex.open(paths[place]) as run:
                table = run.table(["2:Lat", "2:Lon", "2:Speed2d"]).to_arrow()
            results[place].append(table.equals(expected[place]))

    threads = [threading.Thread(target=read, args=[place]) for place in (0, 1)]
    for thread in threads:
        thread.start()
    turns = 0
    while any(thread.is_alive() for thread in threads):
        time.sleep(0.001)
        turns += 1
    assert results == {0: [True] * 3, 1: [True] * 3}
    assert turns > 20, "the lock is held while C++ works"


def memory() -> int:
    """Resident bytes of this process."""
    return int(Path("/proc/self/statm").read_text().split()[1]) * os.sysconf("SC_PAGE_SIZE")


@pytest.mark.parametrize("what", ["stream", "schema", "batch"])
def test_what_nobody_consumes_leaks_nothing(run: kvex.Run, what: str) -> None:
    table = run.table("2:*")

    def use() -> None:
        if what == "stream":
            table.__arrow_c_stream__()
        elif what == "schema":
            table.__arrow_c_schema__()
        else:  # begun, and not read to its end
            pyarrow.RecordBatchReader.from_stream(table).read_next_batch()

    counts = {"stream": 200, "schema": 200, "batch": 40}[what]
    for _ in range(counts // 2):
        use()
    gc.collect()
    before = memory()
    for _ in range(counts):
        use()
    gc.collect()
    assert memory() - before < 16 << 20


def test_numbers_at_the_edges_come_through_files(tmp_path: Path) -> None:
    """Integers that doubles do not hold, and what is no number."""
    path = DATA / "can_fd_11.vrel"
    kvex.convert(path, tmp_path, to="parquet")
    wide = kvex.open(path)["ClutchLevel16"]
    samples = wide.read()
    (file,) = [one for one in tmp_path.rglob(f"{wide.table}.parquet")]
    column = pyarrow.parquet.read_table(file)["ClutchLevel16"]
    assert column.type == pyarrow.uint64()
    assert column.drop_null().to_pylist() == samples.values[samples.valid].tolist()
    assert max(column.drop_null().to_pylist()) > 2**53
    run = kvex.open(DATA / "zint_wild_11.vrel")
    kvex.convert(run.path, tmp_path / "wild", to="parquet")
    specials = 0
    for stream in run.streams:
        for one in stream.signals:
            if one.type not in ("float", "double") or one.is_array or stream.start_gps is None:
                continue
            read = one.read()
            arrow = run.table(one).to_arrow()[1].drop_null().to_numpy()
            assert np.array_equal(read.values[read.valid], arrow, equal_nan=True)
            specials += int(np.count_nonzero(~np.isfinite(arrow)))
    assert specials > 0


@pytest.mark.parametrize("seed", range(12))
def test_damaged_bytes_give_errors_or_values_and_no_crash(tmp_path: Path, seed: int) -> None:
    source = random.Random(seed)
    name = source.choice(["zint_plain_11.vrel", "can_fd_11.vrel", "quon_mode_mix_11.quon", "yeld_chase2_lanes_11.yeld"])
    content = bytearray((DATA / name).read_bytes())
    for _ in range(source.choice([1, 30, 1000])):
        content[source.randrange(len(content))] = source.randrange(256)
    del content[source.randrange(len(content) // 2, len(content)) :]
    path = tmp_path / name
    path.write_bytes(content)
    try:
        run = kvex.open(path)
        (result,) = kvex.convert(path, tmp_path / "out", to="arrow")
    except kvex.KvexError as error:
        assert error.reason and str(path) in str(error)
        return
    assert run.damage.judgement in ("whole", "damaged") or run.damage.sentence
    rows = 0
    for file in result.files:
        with pyarrow.ipc.open_file(file) as opened:
            table = opened.read_all()
        table.validate(full=True)
        rows += table.num_rows
    assert rows > 0
    assert not list((tmp_path / "out").rglob("*.part"))
