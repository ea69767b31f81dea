"""Opening, what a recording says of itself, finding signals, times."""

from __future__ import annotations

import datetime as dt
import subprocess
import sys
from pathlib import Path
from typing import Any

import numpy as np
import pandas
import pytest

import kvex
from conftest import DATA


def test_says_what_it_holds(run: kvex.Run, demo_path: Path) -> None:
    assert run.path == str(demo_path)
    assert run.start is not None and run.start.dtype == np.dtype("datetime64[ns]")
    assert str(run.start).startswith("2025-06-02T09:00:00.09")
    assert run.start_gps is not None and run.end_gps is not None
    assert (run.end - run.start) / np.timedelta64(1, "ns") == run.end_gps - run.start_gps
    assert [stream.codec for stream in run.streams[:5]] == ["Zint", "Can", "Quon", "Dask", "Yeld"]
    assert len(run.signals) == sum(len(stream.signals) for stream in run.streams)
    assert run.damage.judgement == "whole" and len(run.damage) == 0
    assert run.streams[2].packets > 900
    assert run.streams[2].headers[0][0] == "[Kvex-Quon]"


def test_signals_say_what_they_are(run: kvex.Run) -> None:
    mode = run["2:GpsPosMode"]
    assert (mode.stream, mode.name, mode.type, mode.count, mode.is_array) == (2, "GpsPosMode", "uint8_t", 1, False)
    assert any("RTK" in text for text in mode.texts.values())
    assert run["2:Lat"].unit == "°"
    assert "Lat" in run["2:Lat"].qualified_name and "2:Lat" in repr(run["2:Lat"])
    assert run["2:Lat"] == run["2:Lat"] and len({run["2:Lat"], run["2:Lat"], run["2:Lon"]}) == 2
    assert run["1:ExhaustTemperature"].multiplexer == "TemperatureGroup = 2"
    assert run["2:Lat"].multiplexer is None


@pytest.mark.parametrize(
    ("name", "error", "candidate"),
    [("Lat", kvex.AmbiguousSignal, "2:Lat"), ("2:Latt", kvex.NoSuchSignal, "Lat"), ("99:Lat", kvex.KvexError, None)],
)
def test_names_that_mean_no_one_signal(run: kvex.Run, name: str, error: type, candidate: str | None) -> None:
    with pytest.raises(error) as raised:
        run[name]
    if candidate is not None:
        assert isinstance(raised.value, KeyError)
        assert any(candidate in near for near in raised.value.candidates)
    assert "'" not in str(raised.value)[:1]


def test_finds_signals(run: kvex.Run) -> None:
    assert {signal.name for signal in run.signals.find("2:Trig*UpdateCount")} >= {"Trig1RiseUpdateCount"}
    assert "GpsPosMode" in {signal.name for signal in run.signals.search("rtk")}
    frame = run.streams[2].signals.to_pandas()
    assert len(frame) == len(run.streams[2].signals)
    assert set(frame["stream"]) == {2}
    assert "2:Lat" in run and "2:Nothing" not in run and "Lat" in run


@pytest.mark.parametrize(
    ("content", "name", "code"),
    [
        (None, "none.vrel", "NotFound"),
        (b"", "empty.vrel", "Empty"),
        (b"", "empty.quon", "Empty"),
        (b"x" * 5000, "foreign.yeld", "Empty"),
        (b"x", "some.dat", "UnknownKind"),
    ],
)
def test_files_that_are_no_recordings(tmp_path: Path, content: bytes | None, name: str, code: str) -> None:
    path = tmp_path / name
    if content is not None:
        path.write_bytes(content)
    with pytest.raises(kvex.KvexError) as raised:
        kvex.open(path)
    assert (raised.value.code, raised.value.file) == (code, str(path))
    assert raised.value.reason


def test_damage_says_what_is_lost(tmp_path: Path) -> None:
    content = (DATA / "zint_plain_11.vrel").read_bytes()
    path = tmp_path / "hole.vrel"
    path.write_bytes(content[: len(content) // 2] + content[len(content) // 2 + 5000 :])
    damage = kvex.open(path).damage
    assert damage.judgement == "damaged"
    (missing,) = [place for place in damage if place.kind == "pagesMissing"]
    assert missing.stream == 0 and missing.lost and missing.start is not None
    assert missing.end is not None and missing.end - missing.start == np.timedelta64(1_850, "ms")
    assert "1.9 s of data lost" in missing.text


def test_times_are_taken_in_every_form(run: kvex.Run) -> None:
    lat = run["2:Lat"]
    start = run.start
    assert start is not None and run.start_gps is not None
    moment = start + np.timedelta64(2, "s")
    forms = [
        run.start_gps + 2_000_000_000,
        "+2",
        "+2s",
        str(moment) + "Z",
        moment,
        pandas.Timestamp(moment, tz="UTC"),
        pandas.Timestamp(moment, tz="UTC").tz_convert("Europe/Berlin"),
        dt.datetime(2025, 6, 2, 9, 0, 2, 90_000),
        dt.datetime(2025, 6, 2, 11, 0, 2, 90_000, tzinfo=dt.timezone(dt.timedelta(hours=2))),
    ]
    for form in forms:
        assert lat.read(start=form, end="+3").time[0] == run.start_gps + 2_000_000_000, form
    with pytest.raises(ValueError, match=r'"\+180" is 180 seconds'):
        lat.read(start=180)
    with pytest.raises(kvex.KvexError, match="180 is no time"):
        lat.read(start="180")


def test_a_leap_second_reads_as_the_second_after_it() -> None:
    from kvex._times import gps_of_unix, utc_of

    before = 1_167_264_016 * 10**9  # 2016-12-31T23:59:59
    assert [str(utc_of(before + second * 10**9)) for second in range(3)] == [
        "2016-12-31T23:59:59.000000000",
        "2017-01-01T00:00:00.000000000",
        "2017-01-01T00:00:00.000000000",
    ]
    for gps in (before, before + 2 * 10**9, before + 10**15):
        assert gps_of_unix(int(utc_of(gps).astype(np.int64))) == gps


def test_times_of_both_clocks_meet_around_every_leap_second() -> None:
    """From 1980 to today's 18 s; GPS time knows no leap second, so that only one of them has two names."""
    from kvex._times import gps_of_unix, unix_of

    second = 10**9
    leaps = "1981-07 1982-07 1983-07 1985-07 1988-01 1990-01 1991-01 1992-07 1993-07 1994-07 1996-01 1997-07 1999-01"
    for shift, month in enumerate([*leaps.split(), "2006-01", "2009-01", "2012-07", "2015-07", "2017-01"], start=1):
        unix = int(np.datetime64(f"{month}-01", "ns").astype(np.int64))
        after = gps_of_unix(unix)
        assert after == unix - 315_964_800 * second + shift * second, month
        assert [unix_of(after + step * second) - unix for step in (-2, 0, 1)] == [-second, 0, second], month
        for step in (-second, -1, 0, 1, second):
            assert unix_of(gps_of_unix(unix + step)) == unix + step, month


@pytest.mark.parametrize(
    ("seconds", "nanos"),
    [
        (0.1, 100_000_000),
        ("0.000000001", 1),
        (np.float32(0.1), 100_000_000),
        (1e9, 10**18),
        (dt.timedelta(days=200, microseconds=1), 17_280_000_000_001_000),
        (0, None),
        (-0.1, None),
        (1e-10, None),
        (1e300, None),
        (float("nan"), None),
        (float("inf"), None),
        ("a second", None),
    ],
)
def test_periods_are_exact_or_refused(run: kvex.Run, seconds: Any, nanos: int | None) -> None:
    from kvex._times import nanos_of_seconds

    if nanos is not None:
        assert nanos_of_seconds(seconds) == nanos
    else:
        with pytest.raises(ValueError, match="period"):
            run.table("2:Lat", period=seconds)


def test_a_closed_run_begins_no_reading(demo_path: Path) -> None:
    with kvex.open(demo_path) as run:
        lat = run["2:Lat"]
    with pytest.raises(kvex.KvexError, match="closed"):
        lat.read()


def test_progress_is_reported(demo_path: Path) -> None:
    seen: list[tuple[str, float]] = []
    kvex.open(demo_path, progress=lambda what, fraction: seen.append((what, fraction)))
    assert seen and seen[-1][1] == 1.0
    with pytest.raises(RuntimeError, match="enough"):
        kvex.open(demo_path, progress=_fail)


def _fail(what: str, fraction: float) -> None:
    raise RuntimeError("enough")


def test_importing_needs_nothing_heavy() -> None:
    heavy = ("numpy", "pandas", "pyarrow", "polars", "tqdm")
    script = f"import sys, kvex; print([module for module in {heavy} if module in sys.modules])"
    assert subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, check=True).stdout == "[]\n"
