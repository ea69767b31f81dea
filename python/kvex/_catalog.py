"""What a dataset knows of its recordings: ``catalog.parquet``, a row for each, and ``signals.parquet``."""

from __future__ import annotations

import hashlib
import json
import os
from collections.abc import Iterable
from dataclasses import asdict, dataclass, field, fields
from pathlib import Path
from typing import Any

import pyarrow
from pyarrow import parquet

from ._errors import KvexError
from ._schemas import SignalKey, TableLayout, unified
from ._times import unix_times

GOOD, FAILED, STALE, SAME = "good", "failed", "stale", "same"

_TIME = pyarrow.timestamp("ns", "UTC")
_STREAM = pyarrow.struct(
    [
        ("id", pyarrow.uint32()),
        ("codec", pyarrow.string()),
        ("name", pyarrow.string()),
        ("serial", pyarrow.uint64()),
        ("start_gps", pyarrow.int64()),
        ("end_gps", pyarrow.int64()),
        ("packets", pyarrow.uint64()),
    ]
)
_CATALOG = pyarrow.schema(
    [
        ("recording", pyarrow.string()),
        ("path", pyarrow.string()),
        ("status", pyarrow.string()),
        ("message", pyarrow.string()),
        ("size", pyarrow.int64()),
        ("modified", _TIME),
        ("digest", pyarrow.string()),
        ("start", _TIME),
        ("end", _TIME),
        ("start_gps", pyarrow.int64()),
        ("end_gps", pyarrow.int64()),
        ("streams", pyarrow.list_(_STREAM)),
        ("damage", pyarrow.string()),
        ("damage_text", pyarrow.string()),
        ("rows", pyarrow.int64()),
        ("files", pyarrow.int64()),
        ("warnings", pyarrow.list_(pyarrow.string())),
        ("seconds", pyarrow.float64()),
        ("options", pyarrow.string()),
        ("version", pyarrow.string()),
        ("signal_sets", pyarrow.list_(pyarrow.string())),
    ]
)
_SIGNALS = pyarrow.schema(
    [
        ("set", pyarrow.string()),
        ("folder", pyarrow.string()),
        ("column", pyarrow.string()),
        ("name", pyarrow.string()),
        ("unit", pyarrow.string()),
        ("type", pyarrow.string()),
        ("count", pyarrow.uint32()),
        ("recorded_as", pyarrow.string()),
        ("description", pyarrow.string()),
        ("texts", pyarrow.string()),
    ]
)


@dataclass
class SignalRow:
    """A signal as recordings say it is. ``recorded_as`` is the column that one recording alone would have."""

    folder: str
    recorded_as: str
    name: str
    unit: str
    type: str
    count: int
    description: str
    texts: str | None

    @property
    def key(self) -> SignalKey:
        return SignalKey(self.recorded_as, self.unit, self.type)


SignalSet = list[SignalRow]


def set_name(signals: SignalSet) -> str:
    """What a list of signals goes by. Recordings of one vehicle have mostly the same, and it is stored once."""
    text = json.dumps([list(asdict(one).values()) for one in signals], ensure_ascii=False)
    return hashlib.sha256(text.encode("utf-8", "surrogatepass")).hexdigest()[:16]


@dataclass
class CatalogRow:
    """What became of one input. ``status``: "good"; "failed"; "stale", if it fails now but an earlier conversion of it
    still stands; "same", if another input has the same name and content."""

    path: str
    recording: str = ""
    status: str = GOOD
    message: str = ""
    size: int | None = None
    modified: int | None = None  #: Unix nanoseconds.
    digest: str = ""
    start_gps: int | None = None
    end_gps: int | None = None
    streams: list[dict[str, Any]] = field(default_factory=list)
    damage: str = ""
    damage_text: str = ""
    rows: int = 0
    files: int = 0
    warnings: list[str] = field(default_factory=list)
    seconds: float = 0.0
    options: str = ""
    version: str = ""
    signal_sets: list[str] = field(default_factory=list)

    @property
    def holds_data(self) -> bool:
        """Whether files of it stand in the dataset."""
        return self.status in (GOOD, STALE)


class Catalog:
    """The recordings of a dataset by path, and the signals that they have."""

    def __init__(self, folder: Path) -> None:
        self.folder = folder
        self.rows: dict[str, CatalogRow] = {}
        self.sets: dict[str, SignalSet] = {}
        if self.path.exists():
            self._load()

    @property
    def path(self) -> Path:
        return self.folder / "catalog.parquet"

    @property
    def signals_path(self) -> Path:
        return self.folder / "signals.parquet"

    def names(self) -> set[str]:
        """The recordings that have files."""
        return {row.recording for row in self.rows.values() if row.holds_data}

    def layouts(self, rows: Iterable[CatalogRow] | None = None) -> dict[str, TableLayout]:
        """The schemas of all tables, as the recordings that have files, or these, need them."""
        used = dict.fromkeys(
            name for row in (self.rows.values() if rows is None else rows) if row.holds_data for name in row.signal_sets
        )
        keys: dict[str, dict[SignalKey, None]] = {}
        for name in used:
            for signal in self.sets[name]:
                keys.setdefault(signal.folder, {})[signal.key] = None
        return {folder: unified(signals) for folder, signals in keys.items()}

    def save(self) -> None:
        """The signals first and the recordings last: what the catalog names is there."""
        used = {name for row in self.rows.values() if row.holds_data for name in row.signal_sets}
        self.sets = {name: signals for name, signals in self.sets.items() if name in used}
        layouts = self.layouts()
        listed = [(name, signal) for name, signals in self.sets.items() for signal in signals]
        columns = {one: [getattr(signal, one) for _, signal in listed] for one in SignalRow.__dataclass_fields__}
        columns["set"] = [name for name, _ in listed]
        columns["column"] = [layouts[signal.folder].columns[signal.key] for _, signal in listed]
        _write(pyarrow.table({name: columns[name] for name in _SIGNALS.names}, schema=_SIGNALS), self.signals_path)
        rows = list(self.rows.values())
        shown: dict[str, list[Any]] = {one.name: [getattr(row, one.name) for row in rows] for one in fields(CatalogRow)}
        shown["start"] = [_utc(row.start_gps) for row in rows]
        shown["end"] = [_utc(row.end_gps) for row in rows]
        table = pyarrow.table({name: shown[name] for name in _CATALOG.names}, schema=_CATALOG)
        _write(table, self.path)

    def _load(self) -> None:
        try:
            listed = parquet.read_table(self.signals_path, partitioning=None).to_pylist()
            rows = parquet.read_table(self.path, partitioning=None)
            modified = rows["modified"].cast(pyarrow.int64())
            shown = rows.drop_columns(["start", "end"]).set_column(
                rows.drop_columns(["start", "end"]).column_names.index("modified"), "modified", modified
            )
            for row in shown.to_pylist():
                self.rows[row["path"]] = CatalogRow(**row)
        except (OSError, KeyError, TypeError, pyarrow.ArrowException) as error:
            raise KvexError(f'"{self.folder}" has no readable catalog: {error}', file=os.fspath(self.path)) from error
        for signal in listed:
            known = {name: signal[name] for name in SignalRow.__dataclass_fields__}
            self.sets.setdefault(signal["set"], []).append(SignalRow(**known))


def _utc(gps: int | None) -> int | None:
    return None if gps is None else int(unix_times([gps])[0])


def _write(table: pyarrow.Table, path: Path) -> None:
    temporary = path.with_name(f".{path.name}.part")
    parquet.write_table(table, temporary, compression="zstd")
    temporary.replace(path)
