"""Recordings made of others, and paths."""

from __future__ import annotations

from pathlib import Path
from typing import Any

import numpy as np
import pytest

import kvex


def test_a_cut_has_the_rows_of_its_span(demo_path: Path, tmp_path: Path) -> None:
    out = tmp_path / "cut.vrel"
    with kvex.open(demo_path) as run:
        start, end = run.start_gps + 3 * 10**9, run.start_gps + 5 * 10**9
        cut = run.cut(out, start, end, streams=2)
        assert [(stream.id, stream.lost_signals) for stream in cut.streams] == [(2, [])] and not cut.damaged
        whole = run["2:Lat"].read(start, end)
    with kvex.open(out) as part:
        samples = part["Lat"].read(start, end)
        np.testing.assert_array_equal(samples.time, whole.time)
        np.testing.assert_array_equal(samples.values, whole.values)
        assert part.damage.judgement == "whole"


def test_a_cut_says_what_it_lacks_and_refuses_what_it_must_not_do(demo_path: Path, tmp_path: Path) -> None:
    out = tmp_path / "cut.vrel"
    with kvex.open(demo_path) as run:
        near = run.cut(out, "+5", "+6", streams=[0, 1, 2, 3], lead=0.1)
        assert max(stream.lead for stream in near.streams) <= 200_000_000
        assert any(stream.lost_signals for stream in near.streams), "what was sent once at the start is not in a cut"
        whole = run.cut(out, "+5", "+6", lead=60, force=True)
        assert not any(stream.lost_signals for stream in whole.streams)
        before = out.read_bytes()
        refusals: list[tuple[dict[str, Any], type[Exception], str]] = [
            ({"out": out}, kvex.KvexError, "cut.vrel"),
            ({"out": demo_path, "force": True}, kvex.KvexError, "run.vrel"),
            ({"out": tmp_path / "a.quon"}, kvex.KvexError, "vrel"),
            ({"out": tmp_path / "a.vrel", "start": "+6", "end": "+5"}, kvex.KvexError, "span"),
            ({"out": tmp_path / "a.vrel", "streams": [99]}, kvex.KvexError, "99"),
            ({"out": tmp_path / "a.vrel", "lead": -1}, ValueError, "-1"),
            ({"out": tmp_path / "none" / "a.vrel"}, kvex.KvexError, "none"),
        ]
        for arguments, error, said in refusals:
            with pytest.raises(error, match=said):
                run.cut(**arguments)
    assert out.read_bytes() == before
    assert sorted(path.name for path in tmp_path.iterdir()) == ["cut.vrel"]


def test_a_cut_of_damaged_data_tells_of_it(demo_path: Path, tmp_path: Path) -> None:
    content = bytearray(demo_path.read_bytes())
    content[len(content) // 2 : len(content) // 2 + 40_000] = b"rubbish" * 6_000
    harmed = tmp_path / "harmed.vrel"
    harmed.write_bytes(content)
    with kvex.open(harmed) as run:
        assert run.cut(tmp_path / "hole.vrel", "+4", "+7").damaged
        clear = run.cut(tmp_path / "clear.vrel", "+8", "+9")
        assert not clear.damaged and not clear.notes


def test_a_rescue_says_what_was_lost(demo_path: Path, tmp_path: Path) -> None:
    harmed = tmp_path / "harmed.vrel"
    harmed.write_bytes(demo_path.read_bytes()[:-30_000] + b"rubbish")
    rescued = kvex.rescue(harmed, tmp_path / "sound.vrel")
    assert rescued.lost and all(stream.saved for stream in rescued.streams)
    with kvex.open(tmp_path / "sound.vrel") as run:
        assert run.damage.judgement == "whole"
    with pytest.raises(kvex.KvexError, match="recording"):
        kvex.rescue(harmed, tmp_path / "sound.vrel")
    assert kvex.rescue(demo_path, tmp_path / "sound.vrel", force=True).lost is False


def test_a_merge_keeps_both(demo_path: Path, tmp_path: Path) -> None:
    with kvex.open(demo_path) as run:
        run.cut(tmp_path / "a.vrel", streams=[0, 1])
        run.cut(tmp_path / "b.vrel", streams=[2])
    merged = kvex.merge([tmp_path / "a.vrel", tmp_path / "b.vrel"], tmp_path / "both.vrel")
    assert [stream.input for stream in merged.streams] == [0, 0, 1] and not merged.damaged
    with kvex.open(demo_path) as run, kvex.open(tmp_path / "both.vrel") as both:
        np.testing.assert_array_equal(both["2:Lon"].read().values, run["2:Lon"].read().values)


def test_a_track_has_the_usable_positions(demo_path: Path) -> None:
    with kvex.open(demo_path) as run:
        track = run.track(2)
        latitude = run["2:Lat"].read()
        np.testing.assert_array_equal(track.time, latitude.time[latitude.valid])
        np.testing.assert_array_equal(track.latitude, latitude.values[latitude.valid])
        assert track.begins_part[0] and track.speed[-1] > 0
        thin = run.track(2, tolerance=0.5)
        assert 2 <= len(thin) < len(track) / 4
        frame = run.track(2, period=1).to_pandas()
        assert len(frame) == len(set(frame.index.floor("s"))) and str(frame.index.tz) == "UTC"
        for stream, unknown in [(2, "Target1"), (4, "Target9")]:
            with pytest.raises(kvex.KvexError, match="positions"):
                run.track(stream, object=unknown)
        hunter, target = (run.track(4, object=name) for name in ("Hunter", "Target1"))
        assert len(hunter) and len(target)
        apart = np.hypot(*(getattr(target, axis)[0] - getattr(hunter, axis)[0] for axis in ("latitude", "longitude")))
        assert 0 < apart < 0.01
