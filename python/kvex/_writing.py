"""Recordings that are made of others, and the paths of streams."""

from __future__ import annotations

import os
from collections.abc import Iterable
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, NamedTuple

from . import _kvex
from ._samples import utc_array

if TYPE_CHECKING:
    import numpy as np
    import pandas
    from numpy.typing import NDArray

Path = str | os.PathLike[str]


class RescuedStream(NamedTuple):
    """A stream of a damaged recording. ``codec`` is empty for one of another kind; ``saved`` is false where its header
    is lost. ``packets_lost`` counts those of lost pages as the average of a page; times are nanoseconds."""

    serial: int
    codec: str
    saved: bool
    packets: int
    packets_lost: int
    pages_lost: int
    time: int
    time_lost: int


class MergedStream(NamedTuple):
    """A stream of a merge: of which input, and its serial numbers there and in the new recording."""

    input: int
    serial: int
    new_serial: int
    packets: int


class CutStream(NamedTuple):
    """A stream of a cut. ``lead``: nanoseconds by which it begins ahead of the span. ``lost_signals`` were known at the
    start of the span and are not known in the cut."""

    id: int
    packets: int
    lead: int
    lost_signals: list[str]


@dataclass(frozen=True)
class Rescued:
    """What a rescue has saved; ``lost`` is whether any packet was lost."""

    lost: bool
    junk_bytes: int
    streams: list[RescuedStream]


@dataclass(frozen=True)
class Merged:
    damaged: bool
    streams: list[MergedStream]


@dataclass(frozen=True)
class Cut:
    """``damaged``: data of the span was damaged or lost in the file that was cut."""

    damaged: bool
    streams: list[CutStream]
    notes: list[str]


def rescue(path: Path, out: Path, force: bool = False) -> Rescued:
    """Writes a sound file with all that a damaged or unfinished one still holds.

    ``force``: a recording in the place of ``out`` may be replaced.
    """
    report: Any = _kvex.rescue(os.fspath(path), os.fspath(out), force)
    lost, junk_bytes, streams = report
    return Rescued(lost, junk_bytes, [RescuedStream(*stream) for stream in streams])


def merge(paths: Iterable[Path], out: Path, force: bool = False) -> Merged:
    """Makes one recording of several of the same drive, by absolute time."""
    report: Any = _kvex.merge([os.fspath(path) for path in paths], os.fspath(out), force)
    damaged, streams = report
    return Merged(damaged, [MergedStream(*stream) for stream in streams])


def cut(recording: Any, out: Path, streams: list[int], lead: int | None, force: bool, span: dict[str, Any]) -> Cut:
    report: Any = _kvex.cut(recording, os.fspath(out), span["start"], span["end"], lead, streams, force)
    damaged, parts, notes = report
    return Cut(damaged, [CutStream(*part) for part in parts], notes)


class Track:
    """The points of a path, as NumPy arrays of one length: ``time`` (GPS nanoseconds), ``utc``, ``latitude`` and
    ``longitude`` in degrees, ``altitude`` in metres, ``speed`` in m/s, ``course`` in degrees, ``accuracy`` in metres
    (NaN where not known), ``mode`` (-1 for none), and ``begins_part``: whether a gap lies before the point."""

    def __init__(self, arrays: Iterable[Any]) -> None:
        self.time: NDArray[np.int64]
        self.latitude: NDArray[np.float64]
        self.longitude: NDArray[np.float64]
        self.altitude: NDArray[np.float64]
        self.speed: NDArray[np.float64]
        self.course: NDArray[np.float64]
        self.accuracy: NDArray[np.float64]
        self.mode: NDArray[np.int16]
        (
            self.time,
            self.latitude,
            self.longitude,
            self.altitude,
            self.speed,
            self.course,
            self.accuracy,
            self.mode,
            begins,
        ) = arrays
        self.begins_part: NDArray[np.bool_] = begins.view(bool)

    @property
    def utc(self) -> NDArray[np.datetime64]:
        return utc_array(self.time)

    def __len__(self) -> int:
        return len(self.time)

    def __repr__(self) -> str:
        return f"<track of {len(self)} points>"

    def to_pandas(self) -> pandas.DataFrame:
        """One row per point, with UTC as the index."""
        import pandas

        names = ("latitude", "longitude", "altitude", "speed", "course", "accuracy", "mode", "begins_part")
        frame = pandas.DataFrame({name: getattr(self, name) for name in names})
        frame.index = pandas.DatetimeIndex(self.utc, name="time").tz_localize("UTC")
        return frame
