"""Tables: rows of time and a column for each signal, read when somebody asks for them."""

from __future__ import annotations

from collections import Counter
from collections.abc import Sequence
from typing import TYPE_CHECKING, Any

from ._samples import utc_array

if TYPE_CHECKING:
    import pandas
    import polars
    import pyarrow
    from numpy.typing import NDArray

    from ._run import Run, SignalView


class Table:
    """Signals over time. Lazy: each use walks the recording anew, in batches of bounded memory.

    Whatever takes the Arrow C stream interface takes a table itself: ``polars.DataFrame(t)``, ``pyarrow.table(t)``,
    ``duckdb.sql("select max(Lat) from t")``, ``pandas.DataFrame.from_arrow(t)``. The first column is ``time``, a UTC
    timestamp in nanoseconds, or with ``time="gps"`` the GPS nanoseconds as int64. What is not usable is null. A column
    has its signal's bare name, and the stream's before it where names clash ("2:Lat").
    """

    def __init__(self, run: Run, signals: Sequence[SignalView], rows: dict[str, Any], texts: bool, time: str) -> None:
        if time not in ("utc", "gps"):
            raise ValueError(f'time={time!r}: "utc" or "gps"')
        self._run = run
        self._rows = rows
        self._form = {"utc": time == "utc", "texts": texts}
        self.signals = list(signals)
        self.columns = ["time", *column_names(self.signals)]

    def __arrow_c_schema__(self) -> object:
        return self._run._recording.schema(*self._columns(), **self._form)

    def __arrow_c_stream__(self, requested_schema: object = None) -> object:
        # A consumer casts by itself where it wants another schema: the interface leaves that open to a producer.
        return self._run._recording.stream(*self._columns(), **self._form, **self._rows)

    def to_arrow(self) -> pyarrow.Table:
        import pyarrow

        return pyarrow.table(self)

    def to_polars(self) -> polars.DataFrame:
        import polars

        return polars.DataFrame(self)

    def to_pandas(self) -> pandas.DataFrame:
        """A frame with ``attrs``: "file", and "units" and "descriptions" by column."""
        import pandas

        frame = pandas.DataFrame.from_arrow(self)
        frame.attrs = {
            "file": self._run.path,
            "units": {name: signal.unit for name, signal in self._named()},
            "descriptions": {name: signal.description for name, signal in self._named()},
        }
        return frame

    def to_numpy(self) -> dict[str, NDArray[Any]]:
        """An array for each column; masked where values are not usable."""
        import numpy as np

        time, columns = self._run._recording.read([signal._signal for signal in self.signals], **self._rows)
        result: dict[str, NDArray[Any]] = {"time": utc_array(time) if self._form["utc"] else time}
        for (name, signal), (values, valid, _, _) in zip(self._named(), columns, strict=True):
            typed = values.view(bool) if signal.type == "bool" else values
            usable = valid.view(bool)
            result[name] = np.ma.masked_array(typed, mask=~usable)
        return result

    def __repr__(self) -> str:
        kind = "native" if not any(key in self._rows for key in ("period", "times", "like")) else "grid"
        return f"<{kind} table of {', '.join(self.columns)}>"

    def _columns(self) -> tuple[list[Any], list[str]]:
        return [signal._signal for signal in self.signals], self.columns[1:]

    def _named(self) -> list[tuple[str, SignalView]]:
        return list(zip(self.columns[1:], self.signals, strict=True))


def column_names(signals: Sequence[SignalView]) -> list[str]:
    """Bare names, and qualified ones where they clash with each other or with the column of times."""
    count = Counter(signal.name for signal in signals)
    count["time"] += 1
    return [signal.name if count[signal.name] == 1 else signal.qualified_name for signal in signals]
