"""Many recordings: one dataset, by many processes.

Three rounds: all new recordings are looked at, so that the columns of each table are known; parts that lack columns get
them; the recordings are written. Only the process that was asked makes files visible, and it writes the catalog last.
"""

from __future__ import annotations

import fcntl
import os
import shutil
import sys
import time
import uuid
from collections.abc import Callable, Iterable, Iterator
from contextlib import contextmanager
from pathlib import Path
from typing import Any

from ._catalog import FAILED, GOOD, SAME, STALE, Catalog, CatalogRow, set_name
from ._convert import Conversion, Options
from ._errors import KvexError, NoSuchSignal
from ._names import safe_file_name
from ._run import version
from ._work import Look, Written, look, rewrite, save_layouts, write

_LARGE = 1_000_000_000  #: Bytes from which on a recording's streams are written by several workers.
_SAVE_SECONDS = 60.0
_LAYOUT = 1  #: Of the files; another one is written anew.

Outcome = Any


def convert_many(
    paths: list[str],
    folder: Path,
    options: Options,
    workers: int | None,
    scheduler: str | None,
    refresh: bool,
    progress: bool,
    done: Callable[[Conversion], None] | None,
) -> list[Conversion]:
    """Adds recordings to the dataset in a folder: see ``convert``."""
    folder.mkdir(parents=True, exist_ok=True)
    with _staging(folder) as staging:
        work = _Fleet(folder, staging, options, done, progress)
        return work.run(list(dict.fromkeys(os.path.abspath(path) for path in paths)), refresh, workers, scheduler)


class _Fleet:
    def __init__(
        self,
        folder: Path,
        staging: Path,
        options: Options,
        done: Callable[[Conversion], None] | None,
        progress: bool,
    ) -> None:
        self._folder = folder
        self._staging = staging
        self._options = options
        self._stamp = f"{version()}/{_LAYOUT}"
        self._catalog = Catalog(folder)
        self._standing = {table: layout.ordered() for table, layout in self._catalog.layouts().items()}
        self._settled = not (staging.parent / "unsettled").exists()
        self._layouts_path = ""
        self._order: list[str] = []
        self._new: dict[str, CatalogRow] = {}
        self._files: dict[str, list[Path]] = {}
        self._results: dict[str, Conversion] = {}
        self._done = done
        self._progress = progress
        self._saved = time.monotonic()

    def run(self, paths: list[str], refresh: bool, workers: int | None, scheduler: str | None) -> list[Conversion]:
        self._check_kind()
        if not self._settled:
            self._remove_orphans()
        self._order = list(dict.fromkeys([*self._catalog.rows, *map(_shown, paths)]))
        pending = [path for path in paths if refresh or not self._stands(path)]
        if pending:
            from ._engine import Engine

            with Engine(workers, scheduler) as engine:
                try:
                    self._look(engine, pending)
                    self._settle(engine)
                    self._write(engine)
                    self._new.clear()
                    self._settle(engine)  # what was replaced, or failed, may have been the reason for a column
                    self._mark_settled(True)
                except BaseException:
                    self._remove_orphans()
                    raise
                finally:
                    self._save()
        return [self._results[path] for path in paths]

    def _check_kind(self) -> None:
        for row in self._catalog.rows.values():
            kind = _kind(row.options)
            if row.holds_data and kind != self._options.to:
                raise KvexError(f'"{self._folder}" holds recordings as {kind}, give another folder for others')

    def _stands(self, path: str) -> bool:
        """Whether a recording is in the dataset as it is now."""
        row = self._catalog.rows.get(_shown(path))
        if row is None or row.status not in (GOOD, SAME):
            return False
        if (row.options, row.version) != (self._options.text(), self._stamp):
            return False
        try:
            status = os.stat(path)
        except OSError:
            return False
        if (row.size, row.modified) != (status.st_size, status.st_mtime_ns):
            return False
        if row.status == SAME and row.recording not in self._catalog.names():
            return False
        self._tell(path, row, unchanged=True)
        return True

    def _look(self, engine: Any, paths: list[str]) -> None:
        found: dict[str, Look] = {}
        jobs = ((path, (path, self._options)) for path in paths)
        for path, seen, error in self._shown_progress("looking", engine.run(look, jobs), len(paths)):
            if error is None:
                found[path] = seen
            else:
                self._fail(path, error)
        self._check_patterns(found)
        for path in paths:
            if path in found:
                self._new[path] = self._row(path, found[path])

    def _check_patterns(self, found: dict[str, Look]) -> None:
        """A pattern that matches in no recording is an error of who typed it."""
        if not found or any(row.options == self._options.text() for row in self._catalog.rows.values()):
            return
        for pattern in self._options.signals:
            if all(pattern in seen.missing for seen in found.values()):
                raise NoSuchSignal(f'"{pattern}" matches no signal of any of the recordings', "NoSuchSignal")

    def _row(self, path: str, seen: Look) -> CatalogRow:
        sets = []
        for signals in seen.sets:
            name = set_name(signals)
            self._catalog.sets.setdefault(name, signals)
            sets.append(name)
        return CatalogRow(
            _shown(path),
            recording=f"{safe_file_name(Path(path).stem, 80)}-{seen.digest[:8]}",
            size=seen.size,
            modified=seen.modified,
            digest=seen.digest,
            start_gps=seen.start_gps,
            end_gps=seen.end_gps,
            streams=seen.streams,
            damage=seen.damage,
            damage_text=seen.damage_text,
            seconds=seen.seconds,
            options=self._options.text(),
            version=self._stamp,
            signal_sets=list(dict.fromkeys(sets)),
        )

    def _settle(self, engine: Any) -> None:
        """The parts that stand there get the columns that their tables have with the new recordings. A recording that
        these replace counts for as long as its files are there."""
        layouts = self._catalog.layouts([*self._catalog.rows.values(), *self._new.values()])
        self._layouts_path = save_layouts(layouts, str(self._staging))
        if self._options.to != "parquet":
            return
        changed = [
            table
            for table in layouts
            if not self._settled or (table in self._standing and self._standing[table] != layouts[table].ordered())
        ]
        self._mark_settled(False)
        parts = [(path, table) for table in changed for path in sorted((self._folder / table).rglob("part-*.parquet"))]
        jobs = ((str(path), (str(path), table, str(self._staging), self._layouts_path)) for path, table in parts)
        for path, _, error in self._shown_progress("rewriting", engine.run(rewrite, jobs), len(parts)):
            if error is not None:
                raise KvexError(f'"{path}" cannot get the columns of other recordings: {error}', file=path) from error
        self._standing = {table: layout.ordered() for table, layout in layouts.items()}
        self._settled = True

    def _save(self) -> None:
        """The catalog, in the order in which recordings were given."""
        self._catalog.rows = {path: self._catalog.rows[path] for path in self._order if path in self._catalog.rows}
        self._catalog.save()
        self._saved = time.monotonic()

    def _mark_settled(self, settled: bool) -> None:
        """Whether the parts are known to have the columns that the catalog says."""
        mark = self._staging.parent / "unsettled"
        mark.unlink(missing_ok=True) if settled else mark.touch()

    def _write(self, engine: Any) -> None:
        rows = self._taken()
        open_parts: dict[str, int] = {}
        written: dict[str, list[Written]] = {}
        failed: dict[str, Exception] = {}
        jobs = list(self._jobs(rows, engine.cores()))
        for (path, _), _ in jobs:
            open_parts[path] = open_parts.get(path, 0) + 1
        for (path, _), result, error in self._shown_progress("writing", engine.run(write, iter(jobs)), len(jobs)):
            if error is None:
                written.setdefault(path, []).append(result)
            else:
                failed[path] = error
            open_parts[path] -= 1
            if open_parts[path] > 0:
                continue
            if path in failed:
                self._fail(path, failed[path])
                for one in written.get(path, []):
                    shutil.rmtree(one.folder, ignore_errors=True)
            else:
                self._place(path, rows[path], written[path])
            if time.monotonic() - self._saved > _SAVE_SECONDS:
                self._save()

    def _taken(self) -> dict[str, CatalogRow]:
        """The new recordings by path, but those whose name and content another one has."""
        owners = {row.recording: row.path for row in self._catalog.rows.values() if row.holds_data}
        rows = {}
        for path, row in self._new.items():
            owner = owners.setdefault(row.recording, row.path)
            if owner == row.path:
                rows[path] = row
                continue
            row.status, row.message, row.signal_sets = SAME, f'"{owner}" has the same name and content', []
            self._remove_parts_of(self._catalog.rows.get(row.path), row.recording)
            self._catalog.rows[row.path] = row
            self._tell(path, row)
        return rows

    def _jobs(self, rows: dict[str, CatalogRow], cores: int) -> Iterator[tuple[tuple[str, int], tuple[Any, ...]]]:
        """A task for each recording; for a large one several, which share its streams. The largest come first."""
        for path, row in sorted(rows.items(), key=lambda item: -(item[1].size or 0)):
            arguments = (
                path,
                self._options,
                row.recording,
                str(self._staging),
                self._layouts_path,
                (row.size, row.modified),
            )
            split = self._options.to == "parquet" and self._options.period is None and (row.size or 0) >= _LARGE
            groups = balanced({s["id"]: s["packets"] for s in row.streams}, cores) if split else [None]
            for place, group in enumerate(groups):
                yield (path, place), (*arguments, group)

    def _place(self, path: str, row: CatalogRow, written: list[Written]) -> None:
        """The files of a recording get their names, and what it had before goes."""
        files = []
        for one in written:
            for name in one.files:
                target = self._folder / name
                target.parent.mkdir(parents=True, exist_ok=True)
                os.replace(Path(one.folder) / name, target)
                files.append(target)
            shutil.rmtree(one.folder, ignore_errors=True)
        row.rows = sum(one.rows for one in written)
        row.files = len(files)
        row.warnings = [warning for one in written for warning in one.warnings]
        row.seconds += sum(one.seconds for one in written)
        old = self._catalog.rows.get(row.path)
        self._catalog.rows[row.path] = row
        self._files[path] = files
        if old is not None and old.holds_data and old.recording == row.recording:
            for stale in set(_files_of(self._folder, row.recording)) - set(files):
                _remove(stale, self._folder)
        self._remove_parts_of(old, row.recording)
        self._tell(path, row)

    def _remove_parts_of(self, old: CatalogRow | None, name: str) -> None:
        """The files of what a path held before, if nobody else has them."""
        if old is None or not old.holds_data or old.recording == name:
            return
        if any(
            row.recording == old.recording and row.holds_data for row in self._catalog.rows.values() if row is not old
        ):
            return
        for stale in _files_of(self._folder, old.recording):
            _remove(stale, self._folder)

    def _remove_orphans(self) -> None:
        """What stands here without the catalog knowing it: a conversion was killed before it came to its end."""
        known = self._catalog.names()
        for part in self._folder.glob("*/*/recording=*"):
            if part.name.removeprefix("recording=") not in known:
                shutil.rmtree(part)

    def _fail(self, path: str, error: Exception) -> None:
        row = self._catalog.rows.get(_shown(path))
        if row is not None and row.holds_data:  # what was converted before stays
            row.status = STALE
        else:
            row = CatalogRow(_shown(path), status=FAILED, options=self._options.text(), version=self._stamp)
            self._catalog.rows[row.path] = row
        row.message = str(error) or type(error).__name__
        self._tell(path, row, error=error)

    def _tell(self, path: str, row: CatalogRow, unchanged: bool = False, error: Exception | None = None) -> None:
        result = Conversion(
            path,
            self._files.pop(path, []),
            row.damage == "damaged" and error is None,
            list(row.warnings) if error is None else [],
            error,
            unchanged,
        )
        self._results[path] = result
        if self._done is not None:
            self._done(result)

    def _shown_progress(self, what: str, outcomes: Iterable[Outcome], count: int) -> Iterator[Outcome]:
        if not self._progress:
            yield from outcomes
            return
        for number, outcome in enumerate(outcomes, 1):
            print(f"\r{bar(what, number, count)}\x1b[K", end="", file=sys.stderr, flush=True)
            yield outcome
        print("\r\x1b[K", end="", file=sys.stderr, flush=True)


def bar(what: str, number: int, count: int, width: int = 30) -> str:
    filled = width * number // max(count, 1)
    return f"{what:9} [{'#' * filled}{' ' * (width - filled)}] {number} of {count}"


def balanced(weights: dict[int, int], groups: int) -> list[list[int]]:
    """Streams in at most so many groups of about the same weight."""
    shares: list[tuple[int, list[int]]] = [(0, []) for _ in range(min(groups, len(weights)))]
    for stream, weight in sorted(weights.items(), key=lambda item: (-item[1], item[0])):
        place = min(range(len(shares)), key=lambda one: shares[one][0])
        total, members = shares[place]
        shares[place] = (total + weight, [*members, stream])
    return [sorted(members) for _, members in shares if members]


def _kind(options: str) -> str:
    import json

    return str(json.loads(options)["to"])


def _shown(path: str) -> str:
    """The path as text, whatever bytes it holds."""
    return os.fsencode(path).decode("utf-8", "backslashreplace")


def _files_of(folder: Path, recording: str) -> list[Path]:
    """All files of a recording: its parts of tables, or those in its folder."""
    parts = [file for part in folder.glob(f"*/*/recording={_literal(recording)}") for file in part.rglob("*.parquet")]
    return parts + [file for file in (folder / recording).rglob("*") if file.is_file()]


def _literal(name: str) -> str:
    import glob

    return glob.escape(name)


def _remove(file: Path, folder: Path) -> None:
    """A file, and the folders that it leaves empty."""
    file.unlink(missing_ok=True)
    parent = file.parent
    while parent != folder:
        try:
            parent.rmdir()
        except OSError:
            return
        parent = parent.parent


@contextmanager
def _staging(folder: Path) -> Iterator[Path]:
    """A folder for what is not whole yet, gone at the end. One conversion at a time writes to a dataset."""
    hidden = folder.resolve() / ".kvex"
    hidden.mkdir(exist_ok=True)
    with open(hidden / "lock", "w") as lock:
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            raise KvexError(f'another conversion writes to "{folder}"') from None
        for left in hidden.iterdir():  # of one that was killed
            if left.is_dir():
                shutil.rmtree(left, ignore_errors=True)
        staging = hidden / uuid.uuid4().hex
        staging.mkdir()
        try:
            yield staging
        finally:
            shutil.rmtree(staging, ignore_errors=True)
