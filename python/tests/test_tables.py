"""Samples and tables: against the answers, and as every consumer sees them."""

from __future__ import annotations

import gc
import itertools
import threading
from pathlib import Path

import duckdb
import numpy as np
import pandas
import polars
import pyarrow
import pytest

import kvex
from conftest import DATA, native_answers

UNUSABLE = 0xEF


@pytest.mark.parametrize("stem", ["quon_mode_mix_11", "zint_plain_11", "can_absolute_11", "dask_mode_mix_11"])
def test_samples_are_those_of_the_answers(stem: str) -> None:
    answers = native_answers(stem)
    (path,) = [path for path in DATA.glob(f"{stem}.*") if path.suffix in (".vrel", ".quon", ".dask")]
    run = kvex.open(path)
    compared = 0
    # These two are read only where storage signals of the unit are read as well.
    apart = ("ImuAccelType", "ImuGyroType")
    for stream, name in [key for key in sorted(answers) if key[1] not in apart][::9]:
        expected = answers[stream, name]
        try:
            signal = run[f"{stream}:{name}"]
        except KeyError:
            continue  # an empty name
        samples = signal.read()
        assert samples.time.tolist() == [time for time, *_ in expected], name
        assert samples.flags.tolist() == [flags for _, flags, *_ in expected], name
        assert samples.valid.tolist() == [flags & UNUSABLE == 0 for _, flags, *_ in expected], name
        for place, (_, flags, stamp, text) in enumerate(expected):
            if flags & 0xC0:
                continue
            assert samples.stamps[place] == stamp
            value = samples.values[place]
            if samples.values.dtype.kind in "iub":
                assert str(value).lower() == text
            else:
                assert value == pytest.approx(float(text), rel=1e-6, abs=1e-12, nan_ok=True)
            compared += 1
    assert compared > 100


def test_arrays_have_a_column_for_each_element() -> None:
    run = kvex.open(DATA / "yeld_chase2_lanes_11.yeld")
    points = run["Hunter_PolygonPointsLat"].read()
    assert points.values.shape == (len(points), 24)
    assert points.valid.shape == points.values.shape
    one = run["Hunter_PolygonPointsLat[3]"].read()
    assert np.array_equal(one.values, points.values[:, 3], equal_nan=True)
    table = run.table("Hunter_PolygonPointsLat").to_arrow()
    assert pyarrow.types.is_list(table.schema.field(1).type)
    assert len(table[1][0].as_py()) == 24


def test_every_consumer_sees_the_same(run: kvex.Run) -> None:
    table = run.table(["2:Lat", "2:Lon", "2:GpsPosMode"])
    arrow = table.to_arrow()
    assert arrow.column_names == ["time", "Lat", "Lon", "GpsPosMode"]
    assert arrow.schema.field("time").type == pyarrow.timestamp("ns", "UTC")
    assert arrow.schema.field("Lat").type == pyarrow.float64()
    assert arrow.schema.field("GpsPosMode").type == pyarrow.uint8()
    assert arrow.schema.field("Lat").metadata[b"unit"] == "°".encode()
    assert arrow.num_rows > 900 and 0 < arrow["Lat"].null_count < arrow.num_rows
    assert table.to_arrow().equals(arrow), "it can be read any number of times"
    frame = table.to_pandas()
    assert frame.attrs["units"]["Lat"] == "°"
    assert frame["Lat"].isna().sum() == arrow["Lat"].null_count
    lazy = table.to_polars()
    assert lazy["Lat"].null_count() == arrow["Lat"].null_count
    assert lazy["Lat"].max() == frame["Lat"].max()
    assert pandas.DataFrame.from_arrow(table).equals(frame)
    assert polars.DataFrame(table).equals(lazy)
    connection = duckdb.connect()
    connection.register("rows", table)
    largest = connection.sql("select max(Lat), count(*) from rows").fetchall()
    assert largest == [(frame["Lat"].max(), len(frame))]
    arrays = table.to_numpy()
    assert int(np.ma.count_masked(arrays["Lat"])) == arrow["Lat"].null_count
    assert arrays["time"].dtype == np.dtype("datetime64[ns]")
    assert (arrays["time"] == frame["time"].dt.tz_localize(None).to_numpy()).all()
    samples = run["2:Lat"].read()
    assert np.array_equal(samples.values[samples.valid], arrow["Lat"].drop_null().to_numpy())
    assert run.table(["2:Lat"], time="gps").to_arrow()["time"].to_pylist() == samples.time.tolist()


def test_a_grid_is_that_of_the_command(run: kvex.Run, vrel: Path, tmp_path: Path) -> None:
    import subprocess

    path = tmp_path / "grid.csv"
    names = ["0:WheelSpeed", "2:Lat", "4:Target1_RangeLon"]
    subprocess.run([vrel, "export", run.path, "--signal", ",".join(names), "--period", "0.25", "-o", path], check=True)
    expected = pandas.read_csv(path)
    table = run.table(names, period=0.25, time="gps").to_pandas()
    assert table["time"].tolist() == expected["time"].tolist()
    for place in range(1, 4):
        left = table.iloc[:, place].astype(float).to_numpy(na_value=np.nan)
        right = expected.iloc[:, place].to_numpy(dtype=table.dtypes.iloc[place].name.lower()).astype(float)
        assert np.array_equal(left, right, equal_nan=True)


def test_rows_stand_at_the_times_asked_for(run: kvex.Run) -> None:
    at = run.table("2:Lat", at=["+1", "+2", "+2"], time="gps").to_arrow()
    assert [t - run.start_gps for t in at["time"].to_pylist()] == [10**9, 2 * 10**9, 2 * 10**9]
    like = run.table(["2:Lat", "0:WheelSpeed"], at="0:WheelSpeed", time="gps").to_arrow()
    assert like["time"].to_pylist() == run["0:WheelSpeed"].read().time.tolist()
    part = run.table("2:Lat", start="+1", end="+2", time="gps").to_arrow()
    assert part.num_rows == 100
    with pytest.raises(ValueError, match="not both"):
        run.table("2:Lat", period=1, at=["+1"])
    with pytest.raises(kvex.KvexError, match="no one native table"):
        run.table(["2:Lat", "5:Lat"])
    clash = run.table(["2:Lat", "5:Lat"], period=1).to_arrow()
    assert clash.column_names == ["time", "2:Lat", "5:Lat"]


def test_texts_are_dictionaries(run: kvex.Run) -> None:
    table = run.table("2:GpsPosMode", texts=True).to_arrow()
    assert pyarrow.types.is_dictionary(table.schema.field(1).type)
    numbers = run.table("2:GpsPosMode").to_arrow()["GpsPosMode"].to_pylist()
    texts = run["2:GpsPosMode"].texts
    assert table[1].to_pylist() == [None if n is None else texts.get(n, str(n)) for n in numbers]


def test_large_integers_stay_exact() -> None:
    run = kvex.open(DATA / "can_fd_11.vrel")
    wide = run["ClutchLevel16"]
    assert wide.type == "uint64_t"
    values = run.table(wide).to_arrow()["ClutchLevel16"]
    assert values.type == pyarrow.uint64()
    assert max(value for value in values.to_pylist() if value is not None) > 2**53
    assert wide.read().values.dtype == np.uint64


def test_multiplexed_signals_come_from_frames_that_select_them(demo_path: Path) -> None:
    plain = kvex.open(demo_path)["1:ExhaustTemperature"].read()
    selected = kvex.open(demo_path, multiplexed=True)["1:ExhaustTemperature"].read()
    assert 0 < len(selected) < len(plain)
    assert set(selected.time) <= set(plain.time)


def test_statistics_states_overview_and_events(run: kvex.Run) -> None:
    samples = run["2:Lat"].read()
    usable = samples.values[samples.valid]
    (statistics,) = run.statistics("2:Lat")
    assert (statistics.samples, statistics.usable) == (len(samples), len(usable))
    assert statistics.smallest is not None and statistics.smallest.value == usable.min()
    assert statistics.largest is not None and statistics.largest.value == usable.max()
    assert statistics.first is not None and statistics.first.value == usable[0]
    assert statistics.changes == np.count_nonzero(np.diff(usable))
    assert len(run.statistics("2:*").to_pandas()) >= 694
    states = run.states("2:GpsPosMode")
    assert all(before.end_gps <= after.start_gps for before, after in itertools.pairwise(states))
    assert {state.text for state in states} <= set(run["2:GpsPosMode"].texts.values())
    overview = run.overview("2:Lat", points=100)
    assert overview.samples.shape == (1, 100) and len(overview.edges) == 101
    assert overview.usable.sum() == len(usable)
    assert np.nanmin(overview.smallest) == usable.min()
    events = run.events("trigger", streams=2)
    assert len(events) > 3 and {event.kind for event in events} == {"trigger"}
    assert events == sorted(events, key=lambda event: event.time or 0)
    assert len(run.events(streams=2).to_pandas()) >= len(events)
    with pytest.raises(kvex.KvexError, match="no kind"):
        run.events("nothing")


def test_streams_live_longer_than_their_run(demo_path: Path) -> None:
    run = kvex.open(demo_path)
    table = run.table(["2:Lat", "2:Lon"])
    reader = pyarrow.RecordBatchReader.from_stream(table)
    first = reader.read_next_batch()
    unconsumed = [table.__arrow_c_stream__() for _ in range(3)]
    run.close()
    del run, table, unconsumed
    gc.collect()
    assert first.num_rows + reader.read_all().num_rows > 900


def test_several_readings_go_on_at_once(run: kvex.Run) -> None:
    expected = run.table(["2:Lat", "2:Lon"]).to_arrow()
    readers = [pyarrow.RecordBatchReader.from_stream(run.table(["2:Lat", "2:Lon"])) for _ in range(3)]
    assert all(reader.read_all().equals(expected) for reader in readers)
    results: list[bool] = []

    def read() -> None:
        results.append(run.table(["2:Lat", "2:Lon"]).to_arrow().equals(expected))

    threads = [threading.Thread(target=read) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == [True] * 4


def test_a_table_of_nothing_has_its_columns(run: kvex.Run) -> None:
    table = run.table("2:Lat", start="+1", end="+1.001").to_arrow()
    assert table.column_names == ["time", "Lat"]
    assert table.num_rows <= 1
    with pytest.raises(ValueError, match="no signals"):
        run.table([])


@pytest.mark.parametrize("stem", ["zint_wild_11.vrel", "range_file_11.yeld", "zint_damaged_11.vrel"])
def test_hostile_files_come_through_every_way(stem: str) -> None:
    run = kvex.open(DATA / stem)
    for stream in run.streams:
        readable = [signal for signal in stream.signals if stream.start_gps is not None][:40]
        if readable:
            assert run.table(readable).to_arrow().num_rows >= 0
    assert len(run.statistics()) > 0
    assert run.events() is not None
