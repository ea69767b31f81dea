"""What a recording tells of itself and of its signals."""

from __future__ import annotations

from collections.abc import Iterator, Sequence
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, NamedTuple, overload

from ._samples import utc_array
from ._times import utc_of

if TYPE_CHECKING:
    import numpy as np
    import pandas
    from numpy.typing import NDArray

    from ._run import SignalView


@dataclass(frozen=True)
class Place:
    """A place where data is damaged or lost: what, in which stream (None for the file as a whole), between which GPS
    times (None where not known), how many pages, packets or bytes, and all of it in words."""

    kind: str
    stream: int | None
    start_gps: int | None
    end_gps: int | None
    count: int
    lost: bool
    text: str

    @property
    def start(self) -> np.datetime64 | None:
        return None if self.start_gps is None else utc_of(self.start_gps)

    @property
    def end(self) -> np.datetime64 | None:
        return None if self.end_gps is None else utc_of(self.end_gps)


class Damage(Sequence[Place]):
    """The places of a file at which data is damaged or lost, with one judgement of the whole: "whole", "open-ended"
    (not closed, up to its end nothing is lost) or "damaged", and the same in a sentence."""

    def __init__(self, judgement: str, sentence: str, places: list[Place]) -> None:
        self.judgement = judgement
        self.sentence = sentence
        self._places = places

    @overload
    def __getitem__(self, index: int) -> Place: ...
    @overload
    def __getitem__(self, index: slice) -> list[Place]: ...
    def __getitem__(self, index: int | slice) -> Place | list[Place]:
        return self._places[index]

    def __len__(self) -> int:
        return len(self._places)

    def __repr__(self) -> str:
        return f"<{self.judgement}: {len(self)} places of damage>"


class Reading(NamedTuple):
    """A value with the GPS time of the record that brought it, and its flags."""

    value: Any
    time: int | None
    flags: int


@dataclass(frozen=True)
class Statistics:
    """What all samples of a scalar signal or of one element of an array say. ``rate`` in samples per second, None below
    two; ``first``, ``last``, ``smallest`` and ``largest`` of usable samples, None without; ``changes``: how often a
    usable value differed from the usable one before."""

    signal: SignalView
    samples: int
    usable: int
    rate: float | None
    first: Reading | None
    last: Reading | None
    smallest: Reading | None
    largest: Reading | None
    changes: int


@dataclass(frozen=True)
class Event:
    """Something that happened: when (GPS nanoseconds, None where not known), in which stream (None for the file as a
    whole), its kind and what in words; the record that shows it, and the signal with its values before and after."""

    time: int | None
    stream: int | None
    kind: str
    text: str
    record: int | None
    signal: str
    before: Any
    after: Any

    @property
    def utc(self) -> np.datetime64 | None:
        return None if self.time is None else utc_of(self.time)


class EventList(list[Event]):
    """Events in order of time."""

    def to_pandas(self) -> pandas.DataFrame:
        import pandas

        return pandas.DataFrame(
            {
                "time": pandas.to_datetime([entry.utc for entry in self], utc=True),
                "stream": pandas.array([entry.stream for entry in self], dtype="Int64"),
                "kind": [entry.kind for entry in self],
                "text": [entry.text for entry in self],
            }
        )


class StatisticsList(list[Statistics]):
    """Statistics of many signals."""

    def to_pandas(self) -> pandas.DataFrame:
        import pandas

        def value(reading: Reading | None) -> Any:
            return None if reading is None else reading.value

        return pandas.DataFrame(
            {
                "stream": [entry.signal.stream for entry in self],
                "name": [entry.signal.name for entry in self],
                "unit": [entry.signal.unit for entry in self],
                "samples": [entry.samples for entry in self],
                "usable": [entry.usable for entry in self],
                "rate": [entry.rate for entry in self],
                "first": pandas.Series([value(entry.first) for entry in self], dtype=object),
                "last": pandas.Series([value(entry.last) for entry in self], dtype=object),
                "min": pandas.Series([value(entry.smallest) for entry in self], dtype=object),
                "max": pandas.Series([value(entry.largest) for entry in self], dtype=object),
                "changes": [entry.changes for entry in self],
            }
        )


@dataclass(frozen=True)
class State:
    """An interval during which a signal held a value: GPS times in nanoseconds, and the samples that brought it."""

    value: Any
    text: str
    start_gps: int
    end_gps: int
    samples: int

    @property
    def start(self) -> np.datetime64:
        return utc_of(self.start_gps)

    @property
    def end(self) -> np.datetime64:
        return utc_of(self.end_gps)

    @property
    def seconds(self) -> float:
        return (self.end_gps - self.start_gps) / 1e9


class Overview:
    """What signals did in each of many equal slices of a span. Arrays have a row for each signal and a column for each
    slice; ``edges`` are the GPS times of the slices' ends, one more than there are slices. Without a usable sample
    ``first``, ``last``, ``smallest`` and ``largest`` are not a number."""

    def __init__(self, signals: list[SignalView], arrays: Sequence[Any]) -> None:
        self.signals = signals
        self.edges: NDArray[np.int64] = arrays[0]
        self.samples: NDArray[np.uint64] = arrays[1]
        self.usable: NDArray[np.uint64] = arrays[2]
        self.first: NDArray[np.float64] = arrays[3]
        self.last: NDArray[np.float64] = arrays[4]
        self.smallest: NDArray[np.float64] = arrays[5]
        self.largest: NDArray[np.float64] = arrays[6]

    @property
    def utc(self) -> NDArray[np.datetime64]:
        """The edges as UTC."""
        return utc_array(self.edges)

    def __len__(self) -> int:
        return int(self.samples.shape[1])

    def __iter__(self) -> Iterator[SignalView]:
        return iter(self.signals)
