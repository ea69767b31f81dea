"""Recordings as files for other tools."""

from __future__ import annotations

import os
from collections import Counter
from collections.abc import Callable, Iterable, Iterator
from dataclasses import dataclass, field
from pathlib import Path
from typing import TYPE_CHECKING, Any

from ._errors import KvexError
from ._names import UniqueNames, safe_file_name
from ._run import Run, SignalView
from ._run import open as open_run
from ._times import TimeLike, nanos_of_seconds

if TYPE_CHECKING:
    import pyarrow

    from ._formats import TableInfo


@dataclass
class Conversion:
    """What became of one recording: the files that were written, whether its data is damaged, what a format could not
    hold, and the error that kept it from being converted."""

    path: str
    files: list[Path] = field(default_factory=list)
    damaged: bool = False
    warnings: list[str] = field(default_factory=list)
    error: KvexError | OSError | None = None


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
    done: Callable[[Conversion], None] | None = None,
) -> list[Conversion]:
    """Writes recordings into a folder, as "parquet", "arrow", "csv", "mf4", "mat" or "hdf5".

    All native samples, a table for each kind of record of each stream; with ``period`` (seconds) one table of values at
    regular times. Several recordings get a folder each, and one that fails does not keep the others from being written:
    see ``Conversion.error``.
    """
    from ._formats import FORMATS

    if to not in FORMATS:
        raise ValueError(f'"{to}" is none of {", ".join(FORMATS)}')
    paths = [files] if isinstance(files, str | os.PathLike) else list(files)
    folder = Path(output)
    names = UniqueNames()
    results = []
    for path in paths:
        result = Conversion(os.fspath(path))
        stem = Path(path).stem
        into = folder if len(paths) == 1 else folder / names.add(safe_file_name(stem))
        try:
            _convert_one(result, into, stem, to, list(signals), list(streams), period, start, end, multiplexed)
        except (KvexError, OSError) as error:
            if len(paths) == 1:
                raise
            result.error = error
        results.append(result)
        if done is not None:
            done(result)
    return results


def _convert_one(
    result: Conversion,
    folder: Path,
    stem: str,
    to: str,
    patterns: list[str],
    streams: list[int],
    period: float | None,
    start: TimeLike | None,
    end: TimeLike | None,
    multiplexed: bool,
) -> None:
    from ._formats import writer_of

    with open_run(result.path, multiplexed=multiplexed) as run:
        result.damaged = run.damage.judgement == "damaged"
        chosen = [SignalView(run, one) for one in run._recording.choose_all(patterns, streams)]
        writer = writer_of(to, folder, stem, run)
        utc = to in ("parquet", "arrow", "csv")
        span = run._span(start, end)
        infos: list[TableInfo] = []
        try:
            walk = (
                _grid(run, chosen, stem, period, span, utc) if period is not None else _native(run, chosen, span, utc)
            )
            for info, batch in walk:
                if info not in infos:
                    infos.append(info)
                if batch is not None:
                    writer.add(info, batch)
            result.files = writer.finish(listing(infos))
        except BaseException:
            writer.discard()
            raise
        result.warnings = writer.warnings


def _native(
    run: Run, signals: list[SignalView], span: dict[str, int | None], utc: bool
) -> Iterator[tuple[TableInfo, pyarrow.RecordBatch | None]]:
    """Each table of each stream, its streams one after the other, each in one walk: first all tables without a batch,
    so that those without a sample are known too."""
    for stream in run.streams:
        tables: dict[str, list[SignalView]] = {}
        for signal in signals:
            if signal.stream == stream.id:
                tables.setdefault(signal.table, []).append(signal)
        if not tables:
            continue
        infos = [_info(f"{stream.codec}-{stream.id}", name, group) for name, group in tables.items()]
        yield from ((info, None) for info in infos)
        batches = run._recording.batches(
            [[signal._signal for _, signal in info.signals] for info in infos],
            [[name for name, _ in info.signals] for info in infos],
            utc=utc,
            texts=False,
            **span,
        )
        while (found := batches.next()) is not None:
            place, schema, array = found
            yield infos[place], _batch(infos[place], schema, array)


def _grid(
    run: Run, signals: list[SignalView], stem: str, period: float, span: dict[str, int | None], utc: bool
) -> Iterator[tuple[TableInfo, pyarrow.RecordBatch | None]]:
    """One table of values at regular times."""
    import pyarrow

    info = _info("", stem, signals)
    reader = pyarrow.RecordBatchReader._import_from_c_capsule(
        run._recording.stream(
            [signal._signal for signal in signals],
            [name for name, _ in info.signals],
            utc=utc,
            texts=False,
            period=nanos_of_seconds(period),
            **span,
        )
    )
    info.schema = reader.schema
    for batch in reader:
        yield info, batch


def _info(folder: str, name: str, signals: list[SignalView]) -> TableInfo:
    from ._formats import TableInfo

    count = Counter(signal.name for signal in signals)
    count["time"] += 1
    named = [(one.name if count[one.name] == 1 else one.qualified_name, one) for one in signals]
    return TableInfo(folder, name, named, None)


def _batch(info: TableInfo, schema: Any, array: Any) -> pyarrow.RecordBatch:
    import pyarrow

    batch = pyarrow.RecordBatch._import_from_c_capsule(schema, array)
    info.schema = batch.schema
    return batch


def listing(tables: list[TableInfo]) -> pyarrow.Table:
    """What the columns of all tables are."""
    import json

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
            "texts": pyarrow.array(
                [json.dumps(signal.texts, ensure_ascii=False) if signal.texts else None for _, _, signal in rows],
                pyarrow.string(),
            ),
        }
    )
