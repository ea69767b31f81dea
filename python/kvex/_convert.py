"""Recordings as files for other tools."""

from __future__ import annotations

import json
import os
from collections import Counter
from collections.abc import Callable, Iterable, Iterator
from dataclasses import asdict, dataclass, field
from pathlib import Path
from typing import TYPE_CHECKING, Any

from ._errors import KvexError
from ._run import Run, SignalView
from ._run import open as open_run
from ._times import TimeLike, nanos_of_seconds, utc_of

if TYPE_CHECKING:
    import pyarrow

    from ._formats import TableInfo, Writer


@dataclass
class Conversion:
    """What became of one recording: the files that were written, whether its data is damaged, what a format could not
    hold, and the error that kept it from being converted. ``unchanged``: it stood in the dataset already, and nothing
    was written."""

    path: str
    files: list[Path] = field(default_factory=list)
    damaged: bool = False
    warnings: list[str] = field(default_factory=list)
    error: Exception | None = None
    unchanged: bool = False


@dataclass(frozen=True)
class Options:
    """What of a recording is written, and how."""

    to: str
    signals: tuple[str, ...] = ()
    streams: tuple[int, ...] = ()
    period: float | None = None
    start: TimeLike | None = None
    end: TimeLike | None = None
    multiplexed: bool = False

    def text(self) -> str:
        """The same for the same options."""
        return json.dumps(asdict(self), default=str)

    def open(self, path: str) -> Run:
        return open_run(path, multiplexed=self.multiplexed)

    def span(self, run: Run) -> dict[str, int | None]:
        """The span asked for. Raises an error where the recording has no data in it: empty files would look right."""
        span = run._span(self.start, self.end)
        start, end = span["start"], span["end"]
        if start is not None and end is not None and start >= end:
            raise KvexError("the start is not before the end", "InvalidArgument", run.path)
        streams = [stream for stream in run.streams if not self.streams or stream.id in self.streams]
        # A damaged stream may end before its start.
        times = [time for stream in streams for time in (stream.start_gps, stream.end_gps) if time is not None]
        if times and ((start is not None and start > max(times)) or (end is not None and end <= min(times))):
            have = f"the recording goes from {utc_of(min(times))} to {utc_of(max(times))} UTC"
            raise KvexError(f"there is no data in the span asked for; {have}", "InvalidArgument", run.path)
        return span

    def tables(self, run: Run, streams: Iterable[int] | None = None, taken: tuple[str, ...] = ("time",)) -> list[Any]:
        """The tables to write, of all streams or of these, with columns that are called none of ``taken``: those of
        each stream, or with a period the one of all."""
        chosen = [SignalView(run, one) for one in run._recording.choose_all(list(self.signals), list(self.streams))]
        if self.period is not None:
            return [_info("", Path(run.path).stem, chosen, taken)]
        infos = []
        for stream in run.streams:
            if streams is not None and stream.id not in streams:
                continue
            tables: dict[str, list[SignalView]] = {}
            for signal in chosen:
                if signal.stream == stream.id:
                    tables.setdefault(signal.table, []).append(signal)
            folder = f"{stream.codec}-{stream.id}"
            infos += [_info(folder, name, group, taken) for name, group in tables.items()]
        return infos


def convert(
    files: str | os.PathLike[str] | Iterable[str | os.PathLike[str]],
    output: str | os.PathLike[str],
    *,
    to: str = "parquet",
    signals: Iterable[str] = (),
    streams: Iterable[int] = (),
    period: float | None = None,
    start: TimeLike | None = None,
    end: TimeLike | None = None,
    multiplexed: bool = False,
    workers: int | None = None,
    scheduler: str | None = None,
    refresh: bool = False,
    progress: bool = False,
    done: Callable[[Conversion], None] | None = None,
) -> list[Conversion]:
    """Writes recordings into a folder, as "parquet", "arrow", "csv", "mf4", "mat" or "hdf5".

    All native samples, a table for each kind of record of each stream; with ``period`` (seconds) one table of values at
    regular times.

    Several recordings, or one more for a folder that has a catalog, make a dataset (see ``kvex.dataset``) by
    ``workers`` processes, the machine's cores unless said, or by those of a Dask ``scheduler`` ("tcp://..."). What
    stands there already is not converted again, but with ``refresh``. A recording that fails does not keep the others
    from being written: see ``Conversion.error``. A script that calls this needs ``if __name__ == "__main__":``, as
    whatever starts processes.
    """
    if to not in _PACKAGES:
        raise ValueError(f'"{to}" is none of {", ".join(_PACKAGES)}')
    _check_installed(to)
    if workers is not None and workers < 1:
        raise ValueError("at least one worker is needed")
    if workers is not None and scheduler is not None:
        raise ValueError("a scheduler has its own workers: give one of the two")
    paths = [os.fspath(path) for path in ([files] if isinstance(files, str | os.PathLike) else files)]
    options = Options(to, tuple(signals), tuple(streams), period, start, end, multiplexed)
    folder = Path(output)
    if len(paths) == 1 and not (folder / "catalog.parquet").exists():
        result = _convert_alone(paths[0], folder, options)
        if done is not None:
            done(result)
        return [result]
    from ._fleet import convert_many

    return convert_many(paths, folder, options, workers, scheduler, refresh, progress, done)


# By format: the package that writes it, beside pyarrow, and the extra that brings it.
_PACKAGES = {
    "parquet": ("pyarrow", "arrow"),
    "arrow": ("pyarrow", "arrow"),
    "csv": ("pyarrow", "arrow"),
    "mf4": ("asammdf", "mdf"),
    "mat": ("scipy", "mat"),
    "hdf5": ("h5py", "hdf5"),
}


def _check_installed(to: str) -> None:
    from importlib.util import find_spec

    package, extra = _PACKAGES[to]
    for needed in ("pyarrow", package):
        if find_spec(needed) is None:
            raise KvexError(f"--to {to} needs {needed}, which is not installed: pip install 'kvex[{extra}]'")


def _convert_alone(path: str, folder: Path, options: Options) -> Conversion:
    from ._formats import writer_of

    with options.open(path) as run:
        return write_recording(run, writer_of(options.to, folder, Path(path).stem, run), options, options.tables(run))


def write_recording(run: Run, writer: Writer, options: Options, tables: list[TableInfo]) -> Conversion:
    """Writes these tables of a recording: all of it becomes visible, or nothing."""
    result = Conversion(run.path, damaged=run.damage.judgement == "damaged")
    try:
        for info, batch in _walk(run, options, tables):
            writer.add(info, batch)
        result.files = writer.finish(listing(tables))
    except BaseException:
        writer.discard()
        raise
    result.warnings = writer.warnings
    return result


def _walk(run: Run, options: Options, tables: list[TableInfo]) -> Iterator[tuple[TableInfo, pyarrow.RecordBatch]]:
    span = options.span(run)
    utc = options.to in ("parquet", "arrow", "csv")
    if options.period is not None:
        yield from _grid(run, tables[0], options.period, span, utc)
        return
    streams: dict[str, list[TableInfo]] = {}
    for info in tables:
        streams.setdefault(info.folder, []).append(info)
    for group in streams.values():
        yield from _native(run, group, span, utc)


def _native(
    run: Run, tables: list[TableInfo], span: dict[str, int | None], utc: bool
) -> Iterator[tuple[TableInfo, pyarrow.RecordBatch]]:
    """The tables of a stream, in one walk."""
    batches = run._recording.batches(
        [[signal._signal for _, signal in info.signals] for info in tables],
        [[name for name, _ in info.signals] for info in tables],
        utc=utc,
        texts=False,
        **span,
    )
    while (found := batches.next()) is not None:
        place, schema, array = found
        yield tables[place], _batch(schema, array)


def _grid(
    run: Run, info: TableInfo, period: float, span: dict[str, int | None], utc: bool
) -> Iterator[tuple[TableInfo, pyarrow.RecordBatch]]:
    """One table of values at regular times."""
    import pyarrow

    reader = pyarrow.RecordBatchReader._import_from_c_capsule(
        run._recording.stream(
            [signal._signal for _, signal in info.signals],
            [name for name, _ in info.signals],
            utc=utc,
            texts=False,
            period=nanos_of_seconds(period),
            **span,
        )
    )
    for batch in reader:
        yield info, batch


def _info(folder: str, name: str, signals: list[SignalView], taken: tuple[str, ...]) -> TableInfo:
    from ._formats import TableInfo

    count = Counter(signal.name for signal in signals)
    count.update(taken)
    named = [(one.name if count[one.name] == 1 else one.qualified_name, one) for one in signals]
    return TableInfo(folder, name, named)


def _batch(schema: Any, array: Any) -> pyarrow.RecordBatch:
    import pyarrow

    return pyarrow.RecordBatch._import_from_c_capsule(schema, array)


def texts_of(signal: SignalView) -> str | None:
    return json.dumps(signal.texts, ensure_ascii=False) if signal.texts else None


def listing(tables: list[TableInfo]) -> pyarrow.Table:
    """What the columns of all tables are."""
    import pyarrow

    rows = [(info, name, signal) for info in tables for name, signal in info.signals]
    return pyarrow.table(
        {
            "stream": pyarrow.array([signal.stream for _, _, signal in rows], pyarrow.uint32()),
            "folder": pyarrow.array([info.folder for info, _, _ in rows], pyarrow.string()),
            "table": pyarrow.array([info.name for info, _, _ in rows], pyarrow.string()),
            "column": pyarrow.array([name for _, name, _ in rows], pyarrow.string()),
            "name": pyarrow.array([signal.name for _, _, signal in rows], pyarrow.string()),
            "unit": pyarrow.array([signal.unit for _, _, signal in rows], pyarrow.string()),
            "type": pyarrow.array([signal.type for _, _, signal in rows], pyarrow.string()),
            "count": pyarrow.array([signal.count for _, _, signal in rows], pyarrow.uint32()),
            "description": pyarrow.array([signal.description for _, _, signal in rows], pyarrow.string()),
            "texts": pyarrow.array([texts_of(signal) for _, _, signal in rows], pyarrow.string()),
        }
    )
