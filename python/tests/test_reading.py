"""What readings sum up or hold, against the native samples worked through with NumPy."""

from __future__ import annotations

import threading
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import kvex
from conftest import DATA
from kvex._command import main

FILES = [
    "quon_mode_mix_11.quon",
    "dask_mode_mix_11.dask",
    "can_absolute_11.vrel",
    "zint_wild_11.vrel",
    "range_file_11.yeld",
]


def scalars(run: kvex.Run) -> list[kvex.SignalView]:
    """Some scalars of every stream, in a number that keeps the tests quick."""
    found = [signal for stream in run.streams for signal in stream.signals.find("*") if not signal.is_array]
    return found[:: max(1, len(found) // 60)]


def changes_of(values: np.ndarray[Any, Any]) -> np.ndarray[Any, Any]:
    """Whether each value differs from the one before; not-a-numbers are all the same."""
    differs = values[1:] != values[:-1]
    if values.dtype.kind == "f":
        differs &= ~(np.isnan(values[1:]) & np.isnan(values[:-1]))
    return differs


@pytest.mark.parametrize("name", FILES)
def test_statistics_are_those_of_the_samples(name: str) -> None:
    run = kvex.open(DATA / name)
    for signal in scalars(run):
        # One by one, since what a status packet says may be read only where a signal of its group is asked for.
        (found,) = run.statistics(signal)
        samples = signal.read()
        usable = samples.values[samples.valid]
        assert (found.samples, found.usable) == (len(samples), len(usable)), found.signal
        assert found.changes == np.count_nonzero(changes_of(usable)), found.signal
        if len(usable) == 0:
            assert found.first is found.last is found.smallest is found.largest is None
            continue
        assert found.first is not None and found.last is not None
        assert (found.first.time, found.last.time) == tuple(samples.stamps[samples.valid][[0, -1]])
        numbers = usable[~np.isnan(usable)] if usable.dtype.kind == "f" else usable
        if len(numbers):
            assert found.smallest is not None and found.smallest.value == numbers.min(), found.signal
            assert found.largest is not None and found.largest.value == numbers.max(), found.signal


@pytest.mark.parametrize("name", FILES)
@pytest.mark.parametrize("points", [1, 7, 500])
def test_slices_hold_the_samples_between_their_edges(name: str, points: int) -> None:
    run = kvex.open(DATA / name)
    signals = scalars(run)[:25]
    overview = run.overview(signals, points=points)
    assert list(overview) == signals and len(overview) == points
    assert np.all(np.diff(overview.edges) >= 0)
    for row, signal in enumerate(signals):
        samples = signal.read()
        place = np.clip(np.searchsorted(overview.edges, samples.time, side="right") - 1, 0, points - 1)
        assert np.array_equal(overview.samples[row], np.bincount(place, minlength=points)), signal
        assert np.array_equal(overview.usable[row], np.bincount(place[samples.valid], minlength=points)), signal
        for part in np.unique(place[samples.valid])[:50]:
            values = samples.values[samples.valid & (place == part)].astype(float)
            assert np.array_equal(overview.first[row, part], values[0], equal_nan=True)
            assert np.array_equal(overview.last[row, part], values[-1], equal_nan=True)
            if not np.isnan(values).all():
                assert (overview.smallest[row, part], overview.largest[row, part]) == (
                    np.nanmin(values),
                    np.nanmax(values),
                )


@pytest.mark.parametrize("name", FILES)
def test_states_begin_where_the_samples_change(name: str) -> None:
    run = kvex.open(DATA / name)
    for signal in scalars(run)[:25]:
        samples = signal.read()
        held = changes_of(samples.values) | (samples.valid[1:] != samples.valid[:-1])
        begins = samples.valid & np.concatenate(([True], held))
        states = run.states(signal)
        assert [state.start_gps for state in states] == samples.time[begins].tolist(), signal
        assert sum(state.samples for state in states) == np.count_nonzero(samples.valid), signal


def test_times_of_another_signal_are_its_records(run: kvex.Run) -> None:
    """The value that stands at each time is the last one that the stream has sent by then."""
    slow, quick = run["2:GpsPosMode"].read(), run["2:Lat"].read()
    table = run.table(["2:Lat", "2:GpsPosMode"], at="2:Lat", time="gps").to_arrow()
    inside = np.isin(quick.time, table["time"].to_numpy())
    assert table["time"].to_pylist() == quick.time[inside].tolist() and len(table) > 900
    expected = [
        value if valid else None for value, valid in zip(quick.values[inside], quick.valid[inside], strict=True)
    ]
    assert table["Lat"].to_pylist() == expected
    last = np.searchsorted(slow.time, quick.time[inside], side="right") - 1
    known = last >= 0
    assert known.any()
    modes = np.array(table["GpsPosMode"].to_pylist(), dtype=object)[known]
    assert modes.tolist() == [int(slow.values[place]) if slow.valid[place] else None for place in last[known]]


@pytest.mark.parametrize(
    ("start", "end"), [("+2", "+4"), ("-3", None), (None, "+0.5"), ("+2.005", "+2.006"), ("+9.99", "+20")]
)
def test_a_span_holds_its_start_and_not_its_end(run: kvex.Run, start: str | None, end: str | None) -> None:
    whole = run["2:Lat"].read()
    part = run["2:Lat"].read(start, end)
    begin = run.start_gps if start is None else run._recording.time(start)
    stop = None if end is None else run._recording.time(end)
    assert begin is not None
    inside = whole.time >= (begin if start is not None else whole.time[0])
    if stop is not None:
        inside &= whole.time < stop
    assert np.array_equal(part.time, whole.time[inside])
    assert np.array_equal(part.values[part.valid], whole.values[inside & whole.valid])
    table = run.table("2:Lat", start=start, end=end, time="gps").to_arrow()
    assert table["time"].to_pylist() == part.time.tolist()


READINGS: list[Callable[[kvex.Run], Any]] = [
    lambda run: run["2:Lat"],
    lambda run: run.table("2:Lat").to_numpy(),
    lambda run: run.statistics("2:Lat"),
    lambda run: run.states("2:GpsPosMode"),
    lambda run: run.overview("2:Lat"),
    lambda run: run.events(),
    lambda run: run.track(),
    lambda run: run.streams,
    lambda run: run.damage,
]


@pytest.mark.parametrize("number", range(len(READINGS)))
def test_a_closed_run_says_so(demo_path: Path, number: int) -> None:
    run = kvex.open(demo_path)
    run.close()
    with pytest.raises(kvex.KvexError, match="closed"):
        READINGS[number](run)


def test_every_reading_is_the_same_beside_others(demo_path: Path) -> None:
    """Six threads read from one run at a time."""
    run = kvex.open(demo_path)
    names = ["2:Lat", "2:Lon", "0:ImuAx", "1:Nano", "3:Lat", "4:Hunter_Heading"]
    alone = {name: run[name].read() for name in names}
    differing: list[str] = []

    def read(name: str) -> None:
        for _ in range(4):
            again = run[name].read()
            same = np.array_equal(again.time, alone[name].time) and np.array_equal(again.valid, alone[name].valid)
            if not same or again.values.tobytes() != alone[name].values.tobytes():
                differing.append(name)

    threads = [threading.Thread(target=read, args=(name,)) for name in names]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not differing


@pytest.mark.parametrize(
    ("arguments", "code", "told"),
    [
        (["--signals", "2:Lat"], 0, ""),
        (["--signals", "2:Latt"], 1, "Lat"),
        (["--stream", "99"], 1, "99"),
        (["--period", "0"], 1, "period"),
        (["--signals", "2:Lat", "--start", "+5", "--end", "+4"], 1, "start"),
        (["--signals", "2:Lat", "--start", "+100"], 1, "no data in the span"),
        (["--signals", "2:Lat", "--end", "2020-01-01T00:00:00Z"], 1, "no data in the span"),
        (["--workers", "0"], 2, "at least one"),
        (["--to", "xlsx"], 2, "xlsx"),
    ],
)
def test_the_command_answers_with_a_code_and_a_reason(
    demo_path: Path, tmp_path: Path, capsys: pytest.CaptureFixture[str], arguments: list[str], code: int, told: str
) -> None:
    try:
        answer: Any = main(["convert", str(demo_path), "-o", str(tmp_path / "out"), "--to", "csv", *arguments])
    except SystemExit as ended:
        answer = ended.code
    shown = capsys.readouterr()
    assert answer == code, shown.err
    assert told in shown.err and "Traceback" not in shown.err
    assert shown.err or code == 0
    if code != 0:
        assert not list(tmp_path.rglob("*.csv")), "nothing half done is left"
