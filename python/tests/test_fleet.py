"""Many recordings as one dataset."""

from __future__ import annotations

import itertools
import json
import os
import random
import signal
import subprocess
import sys
import threading
import time
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import duckdb
import pyarrow
import pyarrow.parquet
import pytest

import kvex
from conftest import DATA
from kvex import _fleet
from kvex._catalog import Catalog
from kvex._command import main
from kvex._engine import Engine
from kvex._fleet import balanced
from kvex._schemas import SignalKey, TableLayout, arrow_type, type_text, unified, wider
from kvex._work import rewrite, save_layouts


@pytest.fixture(scope="module")
def engine() -> Iterator[Engine]:
    with Engine(workers=2) as started:
        yield started


@pytest.fixture
def cluster(engine: Engine) -> str:
    """A cluster that runs: conversions come and go."""
    return str(engine._cluster.scheduler_address)


@pytest.fixture(scope="module")
def drives(tmp_path_factory: pytest.TempPathFactory, vrel: Path) -> list[Path]:
    folder = tmp_path_factory.mktemp("drives")
    paths = []
    for number in range(3):
        paths.append(folder / f"drive {number}.vrel")
        subprocess.run([vrel, "synth", paths[-1], "--seconds", str(2 + number)], check=True)
    return paths


def rows_of(dataset: kvex.Dataset) -> list[dict[str, Any]]:
    rows: list[dict[str, Any]] = dataset.catalog.to_pylist()
    return rows


def files_of(folder: Path) -> dict[Path, tuple[int, int]]:
    """What stands in a dataset, with inode and time: another inode is a file written anew."""
    found = [path for path in folder.rglob("*.parquet") if path.parent != folder]
    return {path: (path.stat().st_ino, path.stat().st_mtime_ns) for path in found}


@pytest.mark.parametrize(
    ("one", "other", "both"),
    [
        ("uint8", "uint32", "uint32"),
        ("uint8", "int8", "int16"),
        ("uint32", "int8", "int64"),
        ("uint64", "int8", None),
        ("bool", "uint8", "uint8"),
        ("bool", "int8", "int8"),
        ("float", "double", "double"),
        ("uint16", "float", "float"),
        ("int32", "float", "double"),
        ("int64", "double", None),
        ("uint64", "float", None),
        ("double[]", "float[]", "double[]"),
        ("double[]", "double", None),
    ],
)
def test_the_wider_type_holds_all_values_of_both(one: str, other: str, both: str | None) -> None:
    assert wider(one, other) == wider(other, one) == both
    for text in (one, other):
        assert type_text(arrow_type(text)) == text


@pytest.mark.parametrize(
    ("keys", "types"),
    [
        ([("a", "m", "int8"), ("a", "m", "int32")], {"a": "int32"}),
        ([("a", "m", "double"), ("a", "m", "int64")], {"a:int64": "int64", "a:double": "double"}),
        ([("a", "m", "int32"), ("a", "m", "int64"), ("a", "m", "double")], {"a:int64": "int64", "a:double": "double"}),
        ([("v", "km/h", "float"), ("v", "m/s", "float")], {"v [km/h]": "float", "v [m/s]": "float"}),
        (
            [("v", "", "float"), ("v", "m", "float"), ("v []", "", "float")],
            {"v []_": "float", "v [m]": "float", "v []": "float"},
        ),
    ],
)
def test_columns_hold_what_goes_together(keys: list[tuple[str, str, str]], types: dict[str, str]) -> None:
    layouts = [unified(SignalKey(*key) for key in order) for order in (keys, keys[::-1])]
    assert layouts[0].types == types and layouts[1].types == types
    assert layouts[0].columns == layouts[1].columns and len(layouts[0].columns) == len(keys)


@pytest.mark.parametrize("seed", range(40))
def test_any_signals_find_columns_that_hold_them(seed: int) -> None:
    """Whatever recordings say of their signals and in whatever order: one column each, that loses nothing."""
    source = random.Random(seed)
    kinds = ["bool", "int8", "uint8", "int16", "uint32", "int64", "uint64", "float", "double", "double[]", "uint8[]"]
    names, units = ["v", "v [m]", "v:double", "v_", "V"], ["", "m", "m/s"]
    keys = [
        SignalKey(source.choice(names), source.choice(units), source.choice(kinds))
        for _ in range(source.randrange(1, 25))
    ]
    layout = unified(keys)
    assert set(layout.columns) == set(keys) and set(layout.columns.values()) == set(layout.types)
    meanings: dict[str, set[tuple[str, str]]] = {}
    for key, column in layout.columns.items():
        assert wider(key.type, layout.types[column]) == layout.types[column]
        meanings.setdefault(column, set()).add((key.name, key.unit))
    assert all(len(of_one) == 1 for of_one in meanings.values()), "two quantities in one column"
    assert TableLayout.from_json(json.loads(json.dumps(layout.to_json()))).ordered() == layout.ordered()


def test_large_recordings_are_shared_by_weight() -> None:
    assert balanced({0: 10, 1: 6, 2: 5, 3: 1}, 2) == [[0, 3], [1, 2]]
    assert balanced({0: 1, 1: 1}, 8) == [[0], [1]]


def test_a_dataset_has_all_rows_of_all_recordings(drives: list[Path], tmp_path: Path, cluster: str) -> None:
    results = kvex.convert(drives, tmp_path / "set", streams=[0, 1, 2], scheduler=cluster)
    assert [result.error for result in results] == [None] * 3
    dataset = kvex.dataset(tmp_path / "set")
    assert {"quon/position", "zint/can"} & set(dataset.tables) and len(dataset.tables) > 3
    catalog = rows_of(dataset)
    assert [row["path"] for row in catalog] == [str(path) for path in drives]
    for path, row, result in zip(drives, catalog, results, strict=True):
        with kvex.open(path) as run:
            expected = run.table(["2:Lat", "2:Lon", "2:Alt"]).to_arrow()
            assert (row["start_gps"], row["end_gps"], row["status"]) == (run.start_gps, run.end_gps, "good")
            assert [stream["codec"] for stream in row["streams"]] == [stream.codec for stream in run.streams]
        assert row["recording"] == f"{path.stem.replace(' ', '%20')}-{row['digest'][:8]}"
        part = tmp_path / "set" / "quon" / "position" / f"recording={row['recording']}" / "stream=2" / "part-0.parquet"
        assert part in result.files
        read = pyarrow.parquet.read_table(part, partitioning=None)
        assert read.select(["time", "Lat", "Lon", "Alt"]).equals(expected.select(["time", "Lat", "Lon", "Alt"]))
        assert b"kvex.units" in read.schema.metadata and read.schema.field("Lat").metadata[b"unit"] == "°".encode()
    total = dataset.table("Quon/Position").count_rows()
    assert total == sum(kvex.open(path).table("2:Lat").to_arrow().num_rows for path in drives)
    pattern = f"{tmp_path}/set/*/position/**/*.parquet"
    ((count, recordings),) = duckdb.sql(f"select count(Lat), count(distinct recording) from '{pattern}'").fetchall()
    asked = dataset.sql("select count(Lat), count(distinct recording), min(stream) from quon.position").fetchall()
    assert asked == [(count, 3, 2)] and recordings == 3
    joined = "select count(*) from quon.position p join catalog c on c.recording = replace(p.recording, ' ', '%20')"
    assert dataset.sql(joined).fetchall() == [(total,)]
    assert not list((tmp_path / "set").rglob("*.part"))
    assert [path.name for path in (tmp_path / "set" / ".kvex").iterdir()] == ["lock"]


def test_only_what_is_new_or_changed_is_converted(drives: list[Path], tmp_path: Path, cluster: str) -> None:
    inputs = [tmp_path / path.name for path in drives]
    for source, path in zip(drives, inputs, strict=True):
        path.write_bytes(source.read_bytes())
    folder = tmp_path / "set"

    def converted(paths: list[Path], **options: Any) -> list[bool]:
        given: dict[str, Any] = {"signals": ["2:Lat", "0:*Speed"], "scheduler": cluster, **options}
        return [not result.unchanged for result in kvex.convert(paths, folder, **given)]

    assert converted(inputs[:2]) == [True, True]
    before = files_of(folder)
    assert converted(inputs) == [False, False, True]
    assert {path: files_of(folder)[path] for path in before} == before
    assert converted(inputs[:1]) == [False], "one more for a dataset belongs to it"
    inputs[0].write_bytes(drives[2].read_bytes())
    assert converted(inputs) == [True, False, False]
    names = {row["recording"] for row in rows_of(kvex.dataset(folder))}
    assert {path.name.removeprefix("recording=") for path in folder.glob("*/*/recording=*")} == names
    assert converted(inputs, refresh=True) == [True] * 3
    assert converted(inputs, signals=["2:Lat"]) == [True] * 3
    assert kvex.dataset(folder).tables == ["quon/position"]
    with pytest.raises(kvex.KvexError, match="as parquet"):
        converted(inputs, to="arrow")


def test_a_bad_recording_is_a_row_and_not_the_end(
    drives: list[Path], tmp_path: Path, capsys: pytest.CaptureFixture[str], cluster: str
) -> None:
    broken = tmp_path / "broken.vrel"
    broken.write_bytes(b"nothing")
    missing = tmp_path / "none.vrel"
    copy = tmp_path / "copy" / drives[0].name
    copy.parent.mkdir()
    copy.write_bytes(drives[0].read_bytes())
    arguments = ["convert", "-o", str(tmp_path / "set"), "--to", "parquet", "--stream", "2", "--scheduler", cluster]
    assert main([*arguments, *map(str, [drives[0], broken, drives[1], missing, copy])]) == 3
    assert "3 of 5 files converted" in capsys.readouterr().err
    catalog = rows_of(kvex.dataset(tmp_path / "set"))
    assert {Path(row["path"]).name: row["status"] for row in catalog if "copy" not in row["path"]} == {
        drives[0].name: "good",
        "broken.vrel": "failed",
        drives[1].name: "good",
        "none.vrel": "failed",
    }
    (same,) = [row for row in catalog if "copy" in row["path"]]
    assert same["status"] == "same" and str(drives[0]) in same["message"]
    assert all(row["message"] for row in catalog if row["status"] == "failed")
    assert main([*arguments, str(broken)]) == 1
    broken.write_bytes(drives[2].read_bytes())
    assert main([*arguments, str(broken)]) == 0
    broken.write_bytes(b"nothing again")
    before = files_of(tmp_path / "set")
    assert main([*arguments, str(broken), str(drives[0])]) == 3
    (row,) = [row for row in rows_of(kvex.dataset(tmp_path / "set")) if row["path"] == str(broken)]
    assert row["status"] == "stale" and files_of(tmp_path / "set") == before, "what was converted stays"


def test_recordings_that_differ_share_their_schema(tmp_path: Path, drives: list[Path], cluster: str) -> None:
    """Later recordings bring a table more columns: earlier parts get them too, and keep their values."""
    folder = tmp_path / "set"
    kvex.convert([drives[0], DATA / "quon_mode_mix_11.quon"], folder, signals=["2:Lat", "0:Lat"], scheduler=cluster)
    part = next(folder.glob("quon/*/recording=drive*/stream=2/part-0.parquet"))
    assert pyarrow.parquet.read_schema(part).names == ["time", "Lat"]
    values = pyarrow.parquet.read_table(part, partitioning=None)
    kvex.convert([DATA / "quon_triggers_11.quon"], folder, signals=["0:Lat", "0:Lon", "0:Alt"], scheduler=cluster)
    schemas = [pyarrow.parquet.read_schema(path) for path in folder.glob("quon/position/**/*.parquet")]
    assert len(schemas) >= 2 and all(schema.equals(schemas[0]) for schema in schemas)
    assert schemas[0].names == ["time", "Lat", "Lon", "Alt"] or set(schemas[0].names) == {"time", "Lat", "Lon", "Alt"}
    widened = pyarrow.parquet.read_table(part, partitioning=None)
    assert widened["Lat"].equals(values["Lat"]) and widened["Lon"].null_count == widened.num_rows
    listed = {row["column"] for row in kvex.dataset(folder).signals.to_pylist() if row["folder"] == "quon/position"}
    assert listed == set(schemas[0].names[1:])


def test_types_and_units_that_differ_stay_apart(tmp_path: Path) -> None:
    """A part moves between layouts and back, and loses no value."""
    path = tmp_path / "part-0.parquet"
    key = SignalKey("a", "m", "int32")
    metadata = {b"kvex.signals": b'{"a": ["a", "m", "int32"]}', b"kvex.units": b'{"a": "m"}'}
    times = pyarrow.array([1, 2, 3], pyarrow.timestamp("ns", "UTC"))
    table = pyarrow.table({"time": times, "a": pyarrow.array([1, None, -(2**31)], pyarrow.int32())})
    pyarrow.parquet.write_table(table.replace_schema_metadata(metadata), path)
    for number, others, column, kind in [
        (0, [("a", "m", "double")], "a", "double"),
        (1, [("a", "m", "double"), ("a", "m", "int64")], "a:int64", "int64"),
        (2, [("a", "km", "float")], "a [m]", "int32"),
        (3, [], "a", "int32"),
    ]:
        staging = tmp_path / str(number)
        staging.mkdir()
        layouts = save_layouts({"t/t": unified([key, *(SignalKey(*other) for other in others)])}, str(staging))
        assert rewrite(str(path), "t/t", str(staging), layouts)
        assert not rewrite(str(path), "t/t", str(staging), layouts), "it has them already"
        read = pyarrow.parquet.read_table(path)
        assert str(read.schema.field(column).type) == kind
        assert read[column].to_pylist() == [1, None, -(2**31)]
        assert all(read[name].null_count == 3 for name in read.column_names[1:] if name != column)


@pytest.mark.parametrize("kind", ["arrow", "csv", "mf4", "mat", "hdf5"])
def test_other_formats_have_a_folder_for_each(drives: list[Path], tmp_path: Path, kind: str, cluster: str) -> None:
    results = kvex.convert(drives[:2], tmp_path, to=kind, signals=["2:Lat"], scheduler=cluster)
    rows = rows_of(kvex.dataset(tmp_path))
    for result, row in zip(results, rows, strict=True):
        assert result.error is None and result.files and row["status"] == "good"
        assert all(path.is_relative_to(tmp_path / row["recording"]) and path.is_file() for path in result.files)
    again = kvex.convert(drives[:2], tmp_path, to=kind, signals=["2:Lat"], scheduler=cluster)
    assert [(result.unchanged, result.files) for result in again] == [(True, [])] * 2


def test_grids_are_one_table(drives: list[Path], tmp_path: Path, cluster: str) -> None:
    kvex.convert(drives, tmp_path, signals=["2:Lat", "0:WheelSpeed"], period=0.5, scheduler=cluster)
    dataset = kvex.dataset(tmp_path)
    assert dataset.tables == ["grid/all"]
    table = dataset.table("grid/all").to_table()
    assert {"time", "Lat", "WheelSpeed", "recording"} <= set(table.column_names)
    expected = [kvex.open(path).table(["2:Lat", "0:WheelSpeed"], period=0.5).to_arrow() for path in drives]
    assert table.num_rows == sum(one.num_rows for one in expected)
    assert dataset.sql("select count(*) from grid.all").fetchall() == [(table.num_rows,)]


def test_signals_that_nobody_has_are_an_error(drives: list[Path], tmp_path: Path, cluster: str) -> None:
    with pytest.raises(kvex.NoSuchSignal, match="Lattt"):
        kvex.convert(drives, tmp_path, signals=["2:Lat", "2:Lattt"], scheduler=cluster)
    with pytest.raises(ValueError, match="one of the two"):
        kvex.convert(drives, tmp_path, workers=1, scheduler=cluster)
    with pytest.raises(ValueError, match="at least one"):
        kvex.convert(drives, tmp_path, workers=0)


def test_large_recordings_are_written_by_several(
    drives: list[Path], tmp_path: Path, monkeypatch: pytest.MonkeyPatch, cluster: str
) -> None:
    whole = tmp_path / "whole"
    kvex.convert(drives[:2], whole, streams=[0, 2], scheduler=cluster)
    monkeypatch.setattr(_fleet, "_LARGE", 1)
    kvex.convert(drives[:2], tmp_path / "shared", streams=[0, 2], scheduler=cluster)
    names = {path.relative_to(whole) for path in files_of(whole)}
    assert names == {path.relative_to(tmp_path / "shared") for path in files_of(tmp_path / "shared")}
    for name in names:
        parts = [pyarrow.parquet.read_table(root / name, partitioning=None) for root in (whole, tmp_path / "shared")]
        assert parts[0].equals(parts[1])


def test_a_killed_worker_costs_a_retry_and_no_data(
    drives: list[Path], tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    killed: list[int] = []
    begin = Engine.__init__

    def starting(self: Engine, *arguments: Any) -> None:
        begin(self, *arguments)
        pids = [worker.pid for worker in self._cluster.workers.values()]
        assert len(pids) == 2

        def kill() -> None:
            while not list((tmp_path / "set").glob(".kvex/*/*/*")):  # until somebody writes
                time.sleep(0.001)
            killed.append(pids[0])
            os.kill(pids[0], signal.SIGKILL)

        threading.Thread(target=kill, daemon=True).start()

    monkeypatch.setattr(Engine, "__init__", starting)
    inputs = []
    for number, path in itertools.product(range(2), drives):
        inputs.append(tmp_path / f"{number} {path.name}")
        inputs[-1].write_bytes(path.read_bytes())
    results = kvex.convert(inputs, tmp_path / "set", streams=[0, 2], workers=2)
    assert killed and [result.error for result in results] == [None] * 6
    expected = 2 * sum(kvex.open(path).table("2:Lat").to_arrow().num_rows for path in drives)
    assert kvex.dataset(tmp_path / "set").table("quon/position").count_rows() == expected
    assert not list((tmp_path / "set").rglob("*.part"))


def test_ctrl_c_leaves_only_whole_files(drives: list[Path], tmp_path: Path) -> None:
    inputs = []
    for number in range(40):
        inputs.append(tmp_path / f"{number}.vrel")
        inputs[-1].write_bytes(drives[2].read_bytes())
    folder = tmp_path / "set"
    command = [sys.executable, "-m", "kvex._command", "convert", *inputs, "-o", folder, "--to", "parquet"]
    command += ["--signals", "2:L*", "--workers", "2"]
    process = subprocess.Popen(command, stderr=subprocess.PIPE, text=True, start_new_session=True)
    deadline = time.monotonic() + 120
    while len(list(folder.glob("quon/position/recording=*"))) < 3 and time.monotonic() < deadline:
        time.sleep(0.01)
    os.killpg(process.pid, signal.SIGINT)  # as a terminal does: to all of them
    _, said = process.communicate(timeout=60)
    assert process.returncode == 1 and said.splitlines()[-1] == "kvex: interrupted", said
    assert "Traceback" not in said
    assert not list(folder.rglob("*.part"))
    for path in files_of(folder):
        assert pyarrow.parquet.read_table(path, partitioning=None).num_rows > 0
    done = len(Catalog(folder).rows)
    assert 0 < done < 40
    assert {path.name for path in folder.glob("*/*/recording=*")} == {f"recording={n}" for n in Catalog(folder).names()}
    (folder / "quon" / "position" / "recording=left-00000000").mkdir()
    results = kvex.convert(inputs, folder, signals=["2:L*"], workers=2)
    assert sum(result.unchanged for result in results) == done
    assert not (folder / "quon" / "position" / "recording=left-00000000").exists(), "nobody knows it"
    assert kvex.dataset(folder).catalog.num_rows == 40


def test_one_conversion_at_a_time_writes_to_a_dataset(drives: list[Path], tmp_path: Path) -> None:
    from kvex._fleet import _staging

    with _staging(tmp_path), pytest.raises(kvex.KvexError, match="another conversion"):
        kvex.convert(drives, tmp_path)
    with pytest.raises(kvex.KvexError, match="no dataset"):
        kvex.dataset(tmp_path)
