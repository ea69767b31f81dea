"""Many recordings as one dataset."""

from __future__ import annotations

import os
from pathlib import Path
from typing import TYPE_CHECKING, Any

from ._errors import KvexError

if TYPE_CHECKING:
    import pyarrow


class Dataset:
    """A folder that ``kvex.convert`` made of several recordings: tables with the columns ``recording`` and ``stream``
    beside their own, which stand in parts of the same columns."""

    def __init__(self, folder: str | os.PathLike[str]) -> None:
        self.folder = Path(folder)
        if not (self.folder / "catalog.parquet").is_file():
            raise KvexError(f'"{folder}" is no dataset: it has no catalog.parquet', "NotFound", os.fspath(folder))

    @property
    def catalog(self) -> pyarrow.Table:
        """A row for each recording: what it is, and what became of it."""
        return self._read("catalog.parquet")

    @property
    def signals(self) -> pyarrow.Table:
        """The signals of all tables. ``set`` says which list of signals a row belongs to: those of a recording are in
        ``signal_sets`` of the catalog."""
        return self._read("signals.parquet")

    @property
    def tables(self) -> list[str]:
        """The tables that have rows: "quon/motion"."""
        parents = {part.parent for part in self.folder.glob("*/*/recording=*")}
        return sorted(f"{parent.parent.name}/{parent.name}" for parent in parents)

    def table(self, name: str) -> Any:
        """A table as a ``pyarrow.dataset.Dataset``, which reads what is asked of it."""
        import pyarrow
        from pyarrow import dataset

        partition = pyarrow.schema([("recording", pyarrow.string()), ("stream", pyarrow.uint32())])
        return dataset.dataset(
            self.folder / self._found(name),
            format="parquet",
            partitioning=dataset.partitioning(partition, flavor="hive"),
        )

    def sql(self, query: str) -> Any:
        """What DuckDB answers. The tables go by their names, ``quon.motion``, beside ``catalog`` and ``signals``."""
        import duckdb

        connection = duckdb.connect()
        for name in ("catalog", "signals"):
            path = _text(str(self.folder / f"{name}.parquet"))
            connection.execute(f"create view {name} as select * from read_parquet({path}, hive_partitioning = false)")
        for name in self.tables:
            schema, table = name.split("/")
            path = _text(str(self.folder / name / "**" / "*.parquet"))
            types = "hive_types = {'recording': varchar" + (", 'stream': uinteger}" if schema != "grid" else "}")
            connection.execute(f"create schema if not exists {_quoted(schema)}")
            connection.execute(
                f"create view {_quoted(schema)}.{_quoted(table)} as select * from "
                f"read_parquet({path}, hive_partitioning = true, {types})"
            )
        return connection.sql(query)

    def __repr__(self) -> str:
        return f"<dataset {str(self.folder)!r}>"

    def _found(self, name: str) -> str:
        for known in self.tables:
            if known == name or known.lower() == name.lower():
                return known
        raise KeyError(f'"{name}" is none of the tables: {", ".join(self.tables)}')

    def _read(self, name: str) -> pyarrow.Table:
        from pyarrow import parquet

        return parquet.read_table(self.folder / name, partitioning=None)


def dataset(folder: str | os.PathLike[str]) -> Dataset:
    """Opens a folder that ``kvex.convert`` made of several recordings."""
    return Dataset(folder)


def _quoted(name: str) -> str:
    return '"' + name.replace('"', '""') + '"'


def _text(text: str) -> str:
    return "'" + text.replace("'", "''") + "'"
