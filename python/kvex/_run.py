"""An opened recording."""

from __future__ import annotations

import os
from collections.abc import Callable, Iterable, Sequence
from typing import TYPE_CHECKING, Any, TypeAlias, overload

from . import _kvex
from ._errors import KvexError, NoSuchSignal
from ._results import Damage, Event, EventList, Overview, Place, Reading, State, Statistics, StatisticsList
from ._samples import Samples
from ._table import Table
from ._times import TimeLike, gps_time, gps_times, nanos_of_seconds, utc_of
from ._writing import Cut, Track, cut

if TYPE_CHECKING:
    import datetime as dt

    import numpy as np
    import pandas


def version() -> str:
    """The version of the library."""
    return str(_kvex.version())


class SignalView:
    """A signal of a recording, or one element of an array: what is known of it, and its samples."""

    __slots__ = ("_run", "_signal")

    def __init__(self, run: Run, signal: Any) -> None:
        self._run = run
        self._signal = signal

    @property
    def stream(self) -> int:
        """The id of its stream."""
        return int(self._signal.stream)

    @property
    def ordinal(self) -> int:
        """Its place in its stream's list."""
        return int(self._signal.ordinal)

    @property
    def name(self) -> str:
        return str(self._signal.name)

    @property
    def qualified_name(self) -> str:
        """The stream's id and the name: "2:Lat"."""
        return str(self._signal.qualified_name)

    @property
    def type(self) -> str:
        """The type of a value, as C++ names it: "double", "uint8_t"."""
        return str(self._signal.type)

    @property
    def count(self) -> int:
        """Elements: 1 for a scalar and for one element, else the length of the array."""
        return int(self._signal.count)

    @property
    def is_array(self) -> bool:
        return bool(self._signal.is_array)

    @property
    def unit(self) -> str:
        return str(self._signal.unit)

    @property
    def description(self) -> str:
        return str(self._signal.description)

    @property
    def table(self) -> str:
        """The table that it belongs to: signals of one table come from the same records."""
        return str(self._signal.table)

    @property
    def multiplexer(self) -> str | None:
        """What selects a multiplexed signal: "Mode = 3"; None for a signal that stands in all records of its table."""
        text = self._signal.multiplexer
        return None if text is None else str(text)

    @property
    def texts(self) -> dict[int, str]:
        """The values of an enumeration with their texts."""
        return dict(self._signal.texts)

    @property
    def resolution(self) -> float:
        return float(self._signal.resolution)

    @property
    def range(self) -> tuple[float, float]:
        """The range for display."""
        return tuple(self._signal.range)

    def __getitem__(self, element: int) -> SignalView:
        """One element of an array."""
        return SignalView(self._run, self._signal.at(element))

    def read(self, start: TimeLike | None = None, end: TimeLike | None = None) -> Samples:
        """Its native samples, all or those with start <= time < end."""
        time, columns = self._run._recording.read([self._signal], **self._run._span(start, end))
        return Samples(self, time, columns[0])

    def __eq__(self, other: object) -> bool:
        return isinstance(other, SignalView) and bool(self._signal == other._signal)

    def __hash__(self) -> int:
        return hash((self._run.path, self.qualified_name, self.ordinal))

    def __repr__(self) -> str:
        unit = f" [{self.unit}]" if self.unit else ""
        return f"<signal {self.qualified_name}{unit}>"


class SignalViews(Sequence[SignalView]):
    """Signals, in the order of the streams and of their lists."""

    def __init__(self, run: Run, signals: Iterable[SignalView]) -> None:
        self._run = run
        self._signals = list(signals)

    @overload
    def __getitem__(self, index: int) -> SignalView: ...
    @overload
    def __getitem__(self, index: slice) -> SignalViews: ...
    def __getitem__(self, index: int | slice) -> SignalView | SignalViews:
        if isinstance(index, slice):
            return SignalViews(self._run, self._signals[index])
        return self._signals[index]

    def __len__(self) -> int:
        return len(self._signals)

    def find(self, pattern: str) -> SignalViews:
        """Those whose name matches a pattern as in a shell: "*Speed*", "2:Gnss*"."""
        return self._kept(self._run._recording.match(pattern))

    def search(self, words: str) -> SignalViews:
        """Those in which all of the words occur: in name, description, unit, table or value texts."""
        return self._kept(self._run._recording.search(words))

    def to_pandas(self) -> pandas.DataFrame:
        import pandas

        fields = ("stream", "name", "type", "count", "unit", "table", "description")
        return pandas.DataFrame({field: [getattr(signal, field) for signal in self] for field in fields})

    def __repr__(self) -> str:
        return f"<{len(self)} signals>"

    def _kept(self, found: Iterable[Any]) -> SignalViews:
        have = {(signal.stream, signal.ordinal) for signal in self}
        return SignalViews(
            self._run, [SignalView(self._run, one) for one in found if (one.stream, one.ordinal) in have]
        )


class StreamView:
    """One source of signals in a recording."""

    def __init__(self, run: Run, stream: Any) -> None:
        self._stream = stream
        self.id: int = stream.id
        self.codec: str = stream.codec
        self.name: str = stream.name
        self.serial: int = stream.serial
        self.start_gps: int | None = stream.start_gps
        self.end_gps: int | None = stream.end_gps
        self.signals = SignalViews(run, [SignalView(run, signal) for signal in stream.signals])

    @property
    def start(self) -> np.datetime64 | None:
        return None if self.start_gps is None else utc_of(self.start_gps)

    @property
    def end(self) -> np.datetime64 | None:
        return None if self.end_gps is None else utc_of(self.end_gps)

    @property
    def counters(self) -> dict[str, int]:
        """What the scan counted for this stream, and for the file as a whole."""
        return dict(self._stream.counters)

    @property
    def packets(self) -> int:
        return self.counters.get("packets", 0)

    @property
    def headers(self) -> list[tuple[str, dict[str, str]]]:
        """The header packets: tag, and keys with values. The last one holds what the scan found out."""
        return [self._stream.header, *self._stream.headers]

    def __repr__(self) -> str:
        return f"<stream {self.id}: {self.codec} {self.name!r}>"


SignalLike: TypeAlias = "str | SignalView"


class Run:
    """An opened recording or bare protocol file. Opening reads it from end to end and keeps no values.

    Several readings may go on at once, also in several threads; a second one beside a first one opens the file again.
    Arrays, tables being read and Arrow streams live on when the run is closed.
    """

    def __init__(
        self,
        path: str | os.PathLike[str],
        multiplexed: bool = False,
        progress: bool | Callable[[str, float], None] = False,
    ) -> None:
        report, done = _progress(progress)
        try:
            self._opened: Any = _kvex.open(os.fspath(path), multiplexed, report)
        finally:
            done()
        self.path: str = os.fspath(path)
        self._signals: SignalViews | None = None

    @property
    def _recording(self) -> Any:
        if self._opened is None:
            raise KvexError("the recording is closed", file=self.path)
        return self._opened

    def close(self) -> None:
        """No reading begins any more."""
        self._opened = None

    def __enter__(self) -> Run:
        return self

    def __exit__(self, *raised: object) -> None:
        self.close()

    @property
    def start_gps(self) -> int | None:
        """The file's start in GPS nanoseconds; None if nothing in it has time."""
        return None if self._recording.span is None else int(self._recording.span[0])

    @property
    def end_gps(self) -> int | None:
        return None if self._recording.span is None else int(self._recording.span[1])

    @property
    def start(self) -> np.datetime64 | None:
        """The file's start as UTC."""
        return None if self.start_gps is None else utc_of(self.start_gps)

    @property
    def end(self) -> np.datetime64 | None:
        return None if self.end_gps is None else utc_of(self.end_gps)

    @property
    def streams(self) -> list[StreamView]:
        return [StreamView(self, stream) for stream in self._recording.streams]

    @property
    def signals(self) -> SignalViews:
        """The signals of all streams."""
        if self._signals is None:
            self._signals = SignalViews(self, [SignalView(self, signal) for signal in self._recording.signals])
        return self._signals

    @property
    def damage(self) -> Damage:
        recording = self._recording
        return Damage(recording.judgement, recording.sentence, [Place(*place) for place in recording.places])

    def __getitem__(self, name: str) -> SignalView:
        """The one signal that a text names: "Lat", "2:Lat", "SatUsed[3]"."""
        return SignalView(self, self._recording.signal(name))

    def __contains__(self, name: str) -> bool:
        try:
            self._recording.signal(name)
        except NoSuchSignal:
            return False
        except KeyError:
            return True  # ambiguous: several streams have it
        return True

    def table(
        self,
        signals: SignalLike | Iterable[SignalLike],
        *,
        period: float | str | dt.timedelta | None = None,
        at: Iterable[TimeLike] | SignalLike | None = None,
        start: TimeLike | None = None,
        end: TimeLike | None = None,
        texts: bool = False,
        time: str = "utc",
    ) -> Table:
        """Signals over time.

        Native by default: a row for each record of one stream that wrote any of the signals, null in the cells that it
        did not write. With ``period`` (seconds) or ``at`` (times, or the times of another signal) sample and hold: at
        each time the values that stood, of any streams. ``texts`` gives dictionaries of value texts in place of the
        numbers of enumerations.
        """
        chosen = self._chosen(signals)
        rows: dict[str, Any] = self._span(start, end)
        if period is not None and at is not None:
            raise ValueError("a table has a period or times, not both")
        if period is not None:
            rows["period"] = nanos_of_seconds(period)
        elif isinstance(at, str | SignalView):
            rows["like"] = (self[at] if isinstance(at, str) else at)._signal
        elif at is not None:
            rows["times"] = gps_times(at, self._recording)
        streams = {signal.stream for signal in chosen}
        if len(rows) == 2 and len(streams) > 1:
            names = ", ".join(str(stream) for stream in sorted(streams))
            raise KvexError(
                f"signals of the streams {names} make no one native table; give a period, or take one stream",
                file=self.path,
            )
        return Table(self, chosen, rows, texts, time)

    def statistics(
        self,
        signals: SignalLike | Iterable[SignalLike] = "*",
        start: TimeLike | None = None,
        end: TimeLike | None = None,
    ) -> StatisticsList:
        """One entry for each signal, and of an array one for each element. One walk of each stream."""
        asked = [signal._signal for signal in self._chosen(signals)]
        entries = self._recording.statistics(asked, **self._span(start, end))
        return StatisticsList(self._statistics(entry) for entry in entries)

    def states(self, signal: SignalLike, start: TimeLike | None = None, end: TimeLike | None = None) -> list[State]:
        """The intervals during which a signal held each value."""
        one = self._chosen(signal)[0]
        return [State(*state) for state in self._recording.states(one._signal, **self._span(start, end))]

    def events(
        self,
        kinds: str | Iterable[str] = (),
        streams: int | Iterable[int] = (),
        start: TimeLike | None = None,
        end: TimeLike | None = None,
    ) -> EventList:
        """What happened: trigger edges, wheel pulses' start and stop, mode changes, gaps and damage, in order of time.

        ``kinds``: only "trigger", "wheel", "mode", "target", "gap" or "damage".
        """
        wanted = [kinds] if isinstance(kinds, str) else list(kinds)
        ids = [streams] if isinstance(streams, int) else list(streams)
        return EventList(Event(*event) for event in self._recording.events(wanted, ids, **self._span(start, end)))

    def cut(
        self,
        out: str | os.PathLike[str],
        start: TimeLike | None = None,
        end: TimeLike | None = None,
        streams: int | Iterable[int] = (),
        lead: float | None = None,
        force: bool = False,
    ) -> Cut:
        """Writes a span into a recording of its own, packets byte for byte. Streams begin ``lead`` seconds ahead, by
        default as far as the slowest of what they send needs, 60 s at the most."""
        ids = [streams] if isinstance(streams, int) else list(streams)
        ahead = None if lead is None else nanos_of_seconds(lead) if lead else 0
        return cut(self._recording, out, ids, ahead, force, self._span(start, end))

    def track(
        self,
        stream: int | None = None,
        start: TimeLike | None = None,
        end: TimeLike | None = None,
        period: float | None = None,
        tolerance: float = 0,
        object: str = "",
    ) -> Track:
        """The path of a stream, by default of the first one that has positions: its usable positions, at most one in
        ``period`` seconds, and only those that lines within ``tolerance`` metres of all need. In a range stream
        ``object`` is "Hunter" or "Target1" to "Target4", by default the hunter."""
        span = self._span(start, end)
        nanos = nanos_of_seconds(period) if period else 0
        arrays: Any = _kvex.track(self._recording, stream, span["start"], span["end"], nanos, float(tolerance), object)
        return Track(arrays)

    def overview(
        self,
        signals: SignalLike | Iterable[SignalLike],
        points: int = 2000,
        start: TimeLike | None = None,
        end: TimeLike | None = None,
    ) -> Overview:
        """What signals did in each of ``points`` slices of a span: enough to draw them at that width."""
        asked = [signal._signal for signal in self._chosen(signals)]
        shown, *arrays = self._recording.overview(asked, points, **self._span(start, end))
        return Overview([SignalView(self, signal) for signal in shown], arrays)

    def __repr__(self) -> str:
        return f"<recording {self.path!r}>"

    def _chosen(self, signals: SignalLike | Iterable[SignalLike]) -> list[SignalView]:
        items = [signals] if isinstance(signals, str | SignalView) else list(signals)
        chosen: dict[SignalView, None] = {}
        for item in items:
            if isinstance(item, SignalView):
                chosen[item] = None
            else:
                chosen.update((SignalView(self, signal), None) for signal in self._recording.choose(item))
        if not chosen:
            raise ValueError("no signals are asked for")
        return list(chosen)

    def _span(self, start: TimeLike | None, end: TimeLike | None) -> dict[str, int | None]:
        return {
            "start": None if start is None else gps_time(start, self._recording),
            "end": None if end is None else gps_time(end, self._recording),
        }

    def _statistics(self, entry: dict[str, Any]) -> Statistics:
        shown = {name: None if entry[name] is None else Reading(*entry[name]) for name in _READINGS}
        return Statistics(
            SignalView(self, entry["signal"]),
            entry["samples"],
            entry["usable"],
            entry["rate"],
            changes=entry["changes"],
            **shown,
        )


_READINGS = ("first", "last", "smallest", "largest")


def open(
    path: str | os.PathLike[str],
    *,
    multiplexed: bool = False,
    progress: bool | Callable[[str, float], None] = False,
) -> Run:
    """Opens a recording (.vrel) or a bare protocol file (.quon, .dask, .yeld).

    With ``multiplexed`` a multiplexed CAN signal is taken only from frames whose multiplexer selects it; without, the
    bits at its place are taken from every frame, whatever they mean.

    ``progress=True`` shows a bar if tqdm is installed; a callable is called with what is done and its fraction.
    """
    return Run(path, multiplexed, progress)


def _progress(
    wanted: bool | Callable[[str, float], None],
) -> tuple[Callable[[str, float], None] | None, Callable[[], None]]:
    """What is called with the progress, and what at the end."""
    if callable(wanted):
        return wanted, lambda: None
    if not wanted:
        return None, lambda: None
    try:
        from tqdm import tqdm
    except ImportError:
        return None, lambda: None
    bar = tqdm(total=100, unit="%", leave=False)

    def report(activity: str, fraction: float) -> None:
        bar.set_description(activity)
        bar.n = round(100 * fraction)
        bar.refresh()

    return report, bar.close
