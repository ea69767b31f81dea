"""The files that a conversion writes: a class for each format, which takes tables one after the other."""

from __future__ import annotations

import json
import os
from collections.abc import Callable
from dataclasses import dataclass, field
from pathlib import Path
from typing import TYPE_CHECKING, Any, Protocol

import numpy as np
import pyarrow
from pyarrow import compute

from ._errors import KvexError
from ._names import UniqueNames, safe_file_name, variable_name
from ._schemas import SignalKey, TableLayout, column_type
from ._times import unix_times

if TYPE_CHECKING:
    from ._run import Run, SignalView

_EXACT_DOUBLES = 2**53
_GROUP_BYTES = 32 << 20  #: A row group of a table.
_WAITING_BYTES = 256 << 20  #: What may wait for this in all tables together.


@dataclass(eq=False)
class TableInfo:
    """One table to write: its columns are ``time`` (GPS nanoseconds or UTC) and those of its signals."""

    folder: str  #: "Quon-2": the stream that it is of; empty for a grid.
    name: str
    signals: list[tuple[str, SignalView]]  #: With the names of their columns.


class Writer(Protocol):
    """What a conversion writes to. ``finish`` makes all of it visible, ``discard`` leaves nothing behind."""

    warnings: list[str]

    def add(self, table: TableInfo, batch: pyarrow.RecordBatch) -> None: ...
    def finish(self, listing: pyarrow.Table) -> list[Path]: ...
    def discard(self) -> None: ...


@dataclass
class _Part:
    """A file that has another name until it is whole."""

    path: Path
    table: TableInfo
    sink: Any = None
    waiting: list[pyarrow.RecordBatch] = field(default_factory=list)
    size: int = 0  #: Bytes that wait.

    @property
    def temporary(self) -> Path:
        return self.path.with_name(f".{self.path.name}.part")


class ColumnFiles:
    """Parquet, Arrow and CSV: a file for each table, written in groups of batches, and ``signals`` beside them."""

    def __init__(self, folder: Path, ending: str, begin: Callable[[Path, pyarrow.Schema], Any]) -> None:
        self.warnings: list[str] = []
        self.rows = 0
        self._folder = folder
        self._ending = ending
        self._begin = begin
        self._parts: dict[tuple[str, str], _Part] = {}
        self._names: dict[str, UniqueNames] = {}
        self._waiting = 0

    def add(self, table: TableInfo, batch: pyarrow.RecordBatch) -> None:
        key = (table.folder, table.name)
        if key not in self._parts:
            self._parts[key] = _Part(self.place(table), table)
        part = self._parts[key]
        part.waiting.append(batch)
        part.size += batch.nbytes
        self.rows += batch.num_rows
        self._waiting += batch.nbytes
        if part.size >= _GROUP_BYTES:
            self._flush(part)
        elif self._waiting >= _WAITING_BYTES:
            self._flush(max(self._parts.values(), key=lambda one: one.size))

    def finish(self, listing: pyarrow.Table) -> list[Path]:
        info = TableInfo("", "signals", [])
        for batch in listing.to_batches():
            self.add(info, batch)
        return self.close()

    def close(self) -> list[Path]:
        """All files under their names."""
        for part in self._parts.values():
            self._flush(part)
        written = [part for part in self._parts.values() if part.sink is not None]
        for part in written:
            part.sink.close()
        for part in written:
            part.temporary.replace(part.path)
        return [part.path for part in written]

    def discard(self) -> None:
        for part in self._parts.values():
            if part.sink is not None:
                part.sink.close()
            part.temporary.unlink(missing_ok=True)

    def fitted(self, table: TableInfo, batch: pyarrow.RecordBatch) -> pyarrow.RecordBatch:
        """The batch as the file has it."""
        return flattened(batch) if self._ending == ".csv" else batch

    def place(self, table: TableInfo) -> Path:
        """Where the file of a table goes."""
        names = self._names.setdefault(table.folder, UniqueNames())
        return self._folder / table.folder / names.add(safe_file_name(table.name), self._ending)

    def metadata(self, table: TableInfo) -> dict[bytes, bytes]:
        """What stands beside the schema's own metadata."""
        return {b"kvex.units": json.dumps({name: signal.unit for name, signal in table.signals}).encode()}

    def _flush(self, part: _Part) -> None:
        # Batches are small, and what is to be done with them takes as long for a small one as for a large one.
        for batch in pyarrow.Table.from_batches(part.waiting).combine_chunks().to_batches() if part.waiting else []:
            fitted = self.fitted(part.table, batch)
            if part.sink is None:
                part.path.parent.mkdir(parents=True, exist_ok=True)
                schema = fitted.schema.with_metadata({**(fitted.schema.metadata or {}), **self.metadata(part.table)})
                part.sink = self._begin(part.temporary, schema)
            part.sink.write(pyarrow.Table.from_batches([fitted]))
        self._waiting -= part.size
        part.waiting = []
        part.size = 0


class PartFiles(ColumnFiles):
    """The parts that a recording adds to the tables of a dataset: ``places`` has the folder of each table, with the
    columns that all of its parts have."""

    def __init__(self, folder: Path, recording: str, places: dict[tuple[str, str], tuple[str, TableLayout]]) -> None:
        super().__init__(folder, ".parquet", _begin_parquet)
        self._recording = recording
        self._places = places

    def finish(self, listing: pyarrow.Table) -> list[Path]:
        return self.close()  # the dataset lists the signals of all recordings

    def place(self, table: TableInfo) -> Path:
        folder, _ = self._places[table.folder, table.name]
        path = self._folder / folder / f"recording={self._recording}"
        if table.folder:
            path /= f"stream={table.signals[0][1].stream}"
        return path / "part-0.parquet"

    def metadata(self, table: TableInfo) -> dict[bytes, bytes]:
        _, layout = self._places[table.folder, table.name]
        keys = {name: signal_key(name, signal) for name, signal in table.signals}
        return part_metadata(
            {layout.columns[key]: key for key in keys.values()},
            {layout.columns[keys[name]]: signal.unit for name, signal in table.signals},
        )

    def fitted(self, table: TableInfo, batch: pyarrow.RecordBatch) -> pyarrow.RecordBatch:
        _, layout = self._places[table.folder, table.name]
        have = {layout.columns[signal_key(name, signal)]: name for name, signal in table.signals}
        return conformed(batch, layout, have)


def part_metadata(keys: dict[str, SignalKey], units: dict[str, str]) -> dict[bytes, bytes]:
    """Of a part of a dataset: the signals in its columns, and their units."""
    return {
        b"kvex.signals": json.dumps({column: list(key) for column, key in keys.items()}).encode(),
        b"kvex.units": json.dumps(units).encode(),
    }


def conformed(batch: pyarrow.RecordBatch, layout: TableLayout, have: dict[str, str]) -> pyarrow.RecordBatch:
    """The batch with the columns of a layout: where ``have`` names none of its own for one of them, nulls."""
    fields = [batch.schema.field("time")]
    arrays = [batch.column("time")]
    for wanted in list(layout.schema())[1:]:
        if wanted.name in have:
            about = batch.schema.field(have[wanted.name])
            values = batch.column(have[wanted.name])
            kind = wanted.type
            if pyarrow.types.is_list(kind) and pyarrow.types.is_list(about.type):
                kind = pyarrow.list_(about.type.value_field.with_type(kind.value_type))
            fields.append(pyarrow.field(wanted.name, kind, metadata=about.metadata))
            arrays.append(values if values.type == kind else values.cast(kind, safe=True))
        else:
            fields.append(wanted)
            arrays.append(pyarrow.nulls(batch.num_rows, wanted.type))
    return pyarrow.RecordBatch.from_arrays(arrays, schema=pyarrow.schema(fields, metadata=batch.schema.metadata))


def signal_key(column: str, signal: SignalView) -> SignalKey:
    """How a signal stands in the tables of a dataset; ``column`` is its column where it stands alone."""
    return SignalKey(column, signal.unit, column_type(signal.type, signal.is_array))


class OneFile:
    """Formats that hold all tables of a recording in one file, and need each table whole: in memory until the end."""

    ending = ""

    def __init__(self, folder: Path, stem: str, run: Run) -> None:
        self.warnings: list[str] = []
        self.run = run
        self._part = _Part(folder / f"{safe_file_name(stem)}{self.ending}", TableInfo("", stem, []))
        self._tables: dict[tuple[str, str], tuple[TableInfo, list[pyarrow.RecordBatch]]] = {}

    def add(self, table: TableInfo, batch: pyarrow.RecordBatch) -> None:
        self._tables.setdefault((table.folder, table.name), (table, []))[1].append(flattened(batch))

    def finish(self, listing: pyarrow.Table) -> list[Path]:
        self._part.path.parent.mkdir(parents=True, exist_ok=True)
        self.write(self._part.temporary, [(info, pyarrow.Table.from_batches(b)) for info, b in self._tables.values()])
        self._part.temporary.replace(self._part.path)
        return [self._part.path]

    def discard(self) -> None:
        self._part.temporary.unlink(missing_ok=True)

    def write(self, path: Path, tables: list[tuple[TableInfo, pyarrow.Table]]) -> None:
        raise NotImplementedError


class MdfFile(OneFile):
    """MDF 4: a channel group for each table, its master in seconds from the file's start."""

    ending = ".mf4"

    def write(self, path: Path, tables: list[tuple[TableInfo, pyarrow.Table]]) -> None:
        import datetime as dt

        from asammdf import MDF, Signal

        start = self.run.start_gps or 0
        with MDF(version="4.10") as mdf:
            mdf.start_time = dt.datetime.fromtimestamp(int(unix_times([start])[0]) / 1e9, dt.UTC)
            for info, table in tables:
                seconds = (table["time"].to_numpy() - start) / 1e9
                views = dict(info.signals)
                channels = []
                for name in table.column_names[1:]:
                    view = views[name.split("[")[0]] if name not in views else views[name]
                    values, valid = with_mask(table[name])
                    channels.append(
                        Signal(
                            values,
                            seconds,
                            name=name,
                            unit=view.unit,
                            comment=view.description,
                            conversion=_value_texts(view.texts),
                            invalidation_bits=None if valid.all() else ~valid,
                        )
                    )
                mdf.append(channels, comment=f"{info.folder} {info.name}".strip())
            mdf.save(path.with_suffix(".mf4"), overwrite=True)
        path.with_suffix(".mf4").replace(path)


class MatFile(OneFile):
    """MATLAB 5: a struct for each table, with a vector for each column."""

    ending = ".mat"
    _LIMIT = 2**31 - 1

    def write(self, path: Path, tables: list[tuple[TableInfo, pyarrow.Table]]) -> None:
        from scipy.io import savemat

        names = UniqueNames(63, "_")
        variables: dict[str, Any] = {}
        for info, table in tables:
            columns = UniqueNames(63, "_")
            struct: dict[str, Any] = {}
            for name in table.column_names:
                for kind, values in filled(name, table[name], self.warnings).items():
                    if values.nbytes > self._LIMIT:
                        raise KvexError(f'"{name}" is too large for a MAT file; --to hdf5 takes it', file=self.run.path)
                    struct[columns.add(variable_name(kind))] = values
            variables[names.add(variable_name(f"{info.folder}_{info.name}" if info.folder else info.name))] = struct
        with path.open("wb") as file:
            savemat(file, variables, long_field_names=True, oned_as="column", do_compression=True)


class HdfFile(OneFile):
    """HDF5: a group for each stream and table, and a dataset with its unit for each column."""

    ending = ".h5"

    def write(self, path: Path, tables: list[tuple[TableInfo, pyarrow.Table]]) -> None:
        import h5py

        with h5py.File(path, "w") as file:
            file.attrs["file"] = self.run.path
            file.attrs["start_gps"] = self.run.start_gps or 0
            for info, table in tables:
                folder = file.require_group(info.folder.replace("/", "%2F")) if info.folder else file
                group = folder.require_group(info.name.replace("/", "%2F"))
                views = dict(info.signals)
                for name in table.column_names:
                    view = views.get(name, views.get(name.split("[")[0]))
                    for kind, values in filled(name, table[name], self.warnings).items():
                        data = group.create_dataset(kind.replace("/", "%2F"), data=values, compression="gzip")
                        if view is not None:
                            data.attrs["unit"] = view.unit
                            data.attrs["description"] = view.description


def writer_of(kind: str, folder: Path, stem: str, run: Run) -> Writer:
    """The writer of a format."""
    if kind in _COLUMN_FORMATS:
        return ColumnFiles(folder, *_COLUMN_FORMATS[kind])
    return _WHOLE_FORMATS[kind](folder, stem, run)


def _begin_parquet(path: Path, schema: pyarrow.Schema) -> Any:
    from pyarrow import parquet

    return parquet.ParquetWriter(path, schema, compression="zstd")


def _begin_arrow(path: Path, schema: pyarrow.Schema) -> Any:
    return pyarrow.ipc.new_file(os.fspath(path), schema, options=pyarrow.ipc.IpcWriteOptions(compression="zstd"))


def _begin_csv(path: Path, schema: pyarrow.Schema) -> Any:
    from pyarrow import csv

    return csv.CSVWriter(os.fspath(path), schema)


_COLUMN_FORMATS: dict[str, tuple[str, Callable[[Path, pyarrow.Schema], Any]]] = {
    "parquet": (".parquet", _begin_parquet),
    "arrow": (".arrow", _begin_arrow),
    "csv": (".csv", _begin_csv),
}
_WHOLE_FORMATS: dict[str, type[OneFile]] = {"mf4": MdfFile, "mat": MatFile, "hdf5": HdfFile}


def flattened(batch: pyarrow.RecordBatch) -> pyarrow.RecordBatch:
    """The batch with a column for each element of an array: "Name[0]"."""
    if not any(pyarrow.types.is_list(column.type) for column in batch.schema):
        return batch
    arrays: list[pyarrow.Array] = []
    fields: list[pyarrow.Field] = []
    for column, about in zip(batch.columns, batch.schema, strict=True):
        if not pyarrow.types.is_list(about.type):
            arrays.append(column)
            fields.append(about)
            continue
        count = int(about.metadata[b"count"])
        for element in range(count):
            arrays.append(compute.list_element(_padded(column, count), element))
            fields.append(pyarrow.field(f"{about.name}[{element}]", about.type.value_type, metadata=about.metadata))
    return pyarrow.RecordBatch.from_arrays(arrays, schema=pyarrow.schema(fields, metadata=batch.schema.metadata))


def _padded(lists: pyarrow.Array, count: int) -> pyarrow.Array:
    """The lists at one length: those of records without a sample are null, and have no elements."""
    empty = pyarrow.scalar([None] * count, lists.type)
    return lists.fill_null(empty)


def with_mask(column: pyarrow.ChunkedArray) -> tuple[np.ndarray, np.ndarray]:
    """The values of a column, 0 where null, and whether they are not null."""
    valid = column.is_valid().to_numpy(zero_copy_only=False)
    if pyarrow.types.is_boolean(column.type):
        return column.fill_null(False).to_numpy(zero_copy_only=False).astype(np.uint8), valid
    return column.fill_null(0).to_numpy(), valid


def filled(name: str, column: pyarrow.ChunkedArray, warnings: list[str]) -> dict[str, np.ndarray]:
    """A column for a format without nulls: not a number where it is null. Integers that doubles do not hold exactly
    keep their type, have 0 where they are null, and a column beside them, "Name_valid", says where."""
    values, valid = with_mask(column)
    if valid.all():
        return {name: values}
    if values.dtype.kind == "f" or len(values) == 0 or np.abs(values.astype(np.float64)).max() <= _EXACT_DOUBLES:
        doubles = values.astype(values.dtype if values.dtype.kind == "f" else np.float64)
        doubles[~valid] = np.nan
        return {name: doubles}
    warnings.append(f'"{name}" has integers that doubles do not hold: where it has no value is in "{name}_valid"')
    return {name: values, f"{name}_valid": valid.astype(np.uint8)}


def _value_texts(texts: dict[int, str]) -> dict[str, Any] | None:
    if not texts:
        return None
    conversion: dict[str, Any] = {}
    for place, (value, text) in enumerate(texts.items()):
        conversion[f"val_{place}"] = value
        conversion[f"text_{place}"] = text.encode()
    return conversion
