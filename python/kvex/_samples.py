"""The samples of one signal."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

from ._times import unix_times

if TYPE_CHECKING:
    import numpy as np
    from numpy.typing import NDArray


class Samples:
    """The native samples of a signal, as NumPy arrays of one length; of an array signal with a column per element.

    ``time`` are GPS nanoseconds (int64), ``utc`` the same as datetime64[ns], ``values`` the values in their own type
    (unspecified where not valid), ``valid`` whether a value is usable, ``flags`` its state bits, ``stamps`` the GPS
    time of the record that brought it.
    """

    def __init__(self, signal: Any, time: NDArray[np.int64], column: tuple[Any, Any, Any, Any]) -> None:
        self.signal = signal
        self.time = time
        values, valid, self.flags, self.stamps = column
        self.values: NDArray[Any] = values.view(bool) if signal.type == "bool" else values
        self.valid: NDArray[np.bool_] = valid.view(bool)

    @property
    def utc(self) -> NDArray[np.datetime64]:
        return utc_array(self.time)

    def __len__(self) -> int:
        return len(self.time)

    def __repr__(self) -> str:
        return f"<{len(self)} samples of {self.signal.qualified_name}>"


def utc_array(gps: NDArray[np.int64]) -> NDArray[np.datetime64]:
    """GPS times as UTC, in datetime64[ns]."""
    return unix_times(gps).view("datetime64[ns]")
