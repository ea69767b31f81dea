"""What the workers of a conversion do. Paths and options come in; what they write stands in a folder of its own until
the one who asked for it has all of a recording."""

from __future__ import annotations

import functools
import hashlib
import json
import os
import time
import uuid
from dataclasses import dataclass, field
from pathlib import Path
from typing import TYPE_CHECKING, Any

import pyarrow
from pyarrow import parquet

from ._catalog import SignalRow, SignalSet
from ._convert import Options, texts_of, write_recording
from ._errors import KvexError, NoSuchSignal
from ._formats import PartFiles, conformed, part_metadata, signal_key, writer_of
from ._names import MAX_FILE_NAME, safe_file_name
from ._schemas import SignalKey, TableLayout, arrow_type

if TYPE_CHECKING:
    from ._formats import TableInfo
    from ._run import Run

GRID = "grid/all"
_TAKEN = ("time", "recording", "stream")  # the dataset has columns of these names


@dataclass
class Look:
    """What a recording says of itself."""

    size: int
    modified: int
    digest: str
    start_gps: int | None
    end_gps: int | None
    streams: list[dict[str, Any]]
    damage: str
    damage_text: str
    sets: list[SignalSet]
    missing: list[str]  #: Patterns that none of its signals matches.
    seconds: float


@dataclass
class Written:
    """What a worker wrote: files that stand in ``folder`` as they will in the dataset."""

    folder: str
    files: list[str]
    rows: int = 0
    warnings: list[str] = field(default_factory=list)
    seconds: float = 0.0


def look(path: str, options: Options) -> Look:
    """Reads a recording from end to end, and none of its values."""
    begun = time.monotonic()
    status = os.stat(path)
    digest = digest_of(path)
    with options.open(path) as run:
        own, missing = _own_options(run, options)
        tables = [] if own is None else own.tables(run, taken=_TAKEN)
        sets: dict[str, SignalSet] = {}
        for info in tables:
            sets.setdefault(info.folder, []).extend(_rows(folder_of(info), info))
        return Look(
            size=status.st_size,
            modified=status.st_mtime_ns,
            digest=digest,
            start_gps=run.start_gps,
            end_gps=run.end_gps,
            streams=[
                {
                    "id": stream.id,
                    "codec": stream.codec,
                    "name": stream.name,
                    "serial": stream.serial,
                    "start_gps": stream.start_gps,
                    "end_gps": stream.end_gps,
                    "packets": stream.packets,
                }
                for stream in run.streams
            ],
            damage=run.damage.judgement,
            damage_text=run.damage.sentence,
            sets=list(sets.values()),
            missing=missing,
            seconds=time.monotonic() - begun,
        )


def write(
    path: str,
    options: Options,
    recording: str,
    staging: str,
    layouts: str,
    known: tuple[int, int],
    streams: list[int] | None = None,
) -> Written:
    """Writes a recording, or some of its streams. ``known``: size and time of the file as they were looked at."""
    begun = time.monotonic()
    folder = Path(staging) / uuid.uuid4().hex
    folder.mkdir()
    status = os.stat(path)
    if (status.st_size, status.st_mtime_ns) != known:
        raise KvexError("it was changed while it was looked at", file=path)
    with options.open(path) as run:
        own, _ = _own_options(run, options)
        if own is None:
            return Written(str(folder), [], seconds=time.monotonic() - begun)
        if options.to == "parquet":
            tables = own.tables(run, streams, _TAKEN)
            places = {(info.folder, info.name): folder_of(info) for info in tables}
            columns = _layouts(layouts)
            parts = PartFiles(folder, recording, {key: (place, columns[place]) for key, place in places.items()})
            result = write_recording(run, parts, own, tables)
            rows = parts.rows
        else:
            stem = Path(path).stem
            result = write_recording(run, writer_of(options.to, folder / recording, stem, run), own, own.tables(run))
            rows = 0
    return Written(
        str(folder),
        [str(file.relative_to(folder)) for file in result.files],
        rows,
        result.warnings,
        time.monotonic() - begun,
    )


def rewrite(part: str, table: str, staging: str, layouts: str) -> bool:
    """Gives a part of a table the columns that all parts have now, group by group of its rows."""
    layout = _layouts(layouts)[table]
    path = Path(part)
    with parquet.ParquetFile(path) as file:
        metadata = dict(file.schema_arrow.metadata)
        held = {column: SignalKey(*key) for column, key in json.loads(metadata[b"kvex.signals"]).items()}
        units = json.loads(metadata[b"kvex.units"])
        have = {layout.columns[key]: column for column, key in held.items()}
        if all(new == old for new, old in have.items()) and _is_of(file.schema_arrow, layout):
            return False
        temporary = Path(staging) / uuid.uuid4().hex
        added = part_metadata(
            {new: held[old] for new, old in have.items()}, {new: units[old] for new, old in have.items()}
        )
        schema: pyarrow.Schema = None
        with pyarrow.OSFile(str(temporary), "wb") as sink:
            writer = None
            for group in range(max(file.num_row_groups, 1)):
                table_read = file.read_row_group(group) if file.num_row_groups else file.read()
                for batch in table_read.combine_chunks().to_batches() or [_empty(file.schema_arrow)]:
                    fitted = conformed(batch, layout, have)
                    if writer is None:
                        schema = fitted.schema.with_metadata({**metadata, **added})
                        writer = parquet.ParquetWriter(sink, schema, compression="zstd")
                    writer.write_batch(fitted.replace_schema_metadata(schema.metadata))
            if writer is not None:
                writer.close()
    temporary.replace(path)
    return True


def digest_of(path: str) -> str:
    with open(path, "rb") as file:
        return hashlib.file_digest(file, "sha256").hexdigest()


def folder_of(info: TableInfo) -> str:
    """The folder of a table in a dataset: "quon/motion"; that of tables at regular times is "grid/all"."""
    if not info.folder:
        return GRID
    codec = info.folder.rpartition("-")[0]
    return f"{_folder_name(codec.lower())}/{_folder_name(info.name)}"


def save_layouts(layouts: dict[str, TableLayout], staging: str) -> str:
    """Writes down the columns of all tables for the workers, and returns the path."""
    path = Path(staging) / f"{uuid.uuid4().hex}.json"
    text = json.dumps({folder: layout.to_json() for folder, layout in layouts.items()})
    path.write_text(text, encoding="utf-8")
    return str(path)


@functools.lru_cache(maxsize=2)
def _layouts(path: str) -> dict[str, TableLayout]:
    forms = json.loads(Path(path).read_text(encoding="utf-8"))
    return {folder: TableLayout.from_json(form) for folder, form in forms.items()}


def _own_options(run: Run, options: Options) -> tuple[Options | None, list[str]]:
    """What of the asked this recording has, None for nothing, and the patterns that match none of its signals."""
    from dataclasses import replace

    ids = {stream.id for stream in run.streams}
    streams = tuple(one for one in options.streams if one in ids)
    if options.streams and not streams:
        return None, []
    own = replace(options, streams=streams)
    try:
        run._recording.choose_all(list(own.signals), list(own.streams))
        return own, []
    except NoSuchSignal:
        pass
    except KvexError as error:
        if error.code not in ("NoSuchStream", "NoTime") or not own.signals:
            raise
    found = [pattern for pattern in own.signals if _has(run, pattern, own)]
    missing = [pattern for pattern in own.signals if pattern not in found]
    return (replace(own, signals=tuple(found)) if found else None), missing


def _has(run: Run, pattern: str, options: Options) -> bool:
    try:
        return bool(run._recording.choose_all([pattern], list(options.streams)))
    except KvexError as error:
        if error.code in ("NoSuchSignal", "NoSuchStream", "NoTime"):
            return False
        raise


def _rows(folder: str, info: TableInfo) -> SignalSet:
    rows = []
    for column, signal in info.signals:
        key = signal_key(column, signal)
        rows.append(
            SignalRow(
                folder, column, signal.name, signal.unit, key.type, signal.count, signal.description, texts_of(signal)
            )
        )
    return rows


def _folder_name(text: str) -> str:
    """Safe, and another one for another text: what is cut off stays as a digest."""
    name = safe_file_name(text, 10 * MAX_FILE_NAME)
    if len(name) <= MAX_FILE_NAME and name == safe_file_name(text, len(name)):
        return name
    return f"{name[: MAX_FILE_NAME - 9]}-{hashlib.sha256(text.encode('utf-8', 'surrogateescape')).hexdigest()[:8]}"


def _is_of(schema: pyarrow.Schema, layout: TableLayout) -> bool:
    return schema.names[1:] == list(layout.types) and all(
        _same(schema.field(name).type, arrow_type(kind)) for name, kind in layout.types.items()
    )


def _same(one: pyarrow.DataType, other: pyarrow.DataType) -> bool:
    if pyarrow.types.is_list(one) and pyarrow.types.is_list(other):
        return bool(one.value_type == other.value_type)
    return bool(one == other)


def _empty(schema: pyarrow.Schema) -> pyarrow.RecordBatch:
    return pyarrow.RecordBatch.from_arrays([pyarrow.array([], one.type) for one in schema], schema=schema)
