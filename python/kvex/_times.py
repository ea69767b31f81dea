"""Times as users give them, and as the library has them: nanoseconds of GPS time since 1980-01-06."""

from __future__ import annotations

import datetime as dt
from collections.abc import Iterable
from typing import TYPE_CHECKING, Any, TypeAlias, cast

from . import _kvex

if TYPE_CHECKING:
    import numpy as np
    from numpy.typing import NDArray

#: GPS nanoseconds as an int, a text as the commands take it, or a date and time; without a zone it is UTC.
TimeLike: TypeAlias = "int | str | dt.datetime | np.datetime64"

_GPS_ZERO_UNIX = 315_964_800 * 1_000_000_000
_SMALLEST_GPS_TIME = 10**17


def utc_of(gps: int) -> np.datetime64:
    """The UTC time of a GPS time; a leap second reads as the second after it."""
    import numpy as np

    return cast("np.datetime64", np.datetime64(unix_of(gps), "ns"))


def unix_of(gps: int) -> int:
    """The Unix time of a GPS time, in nanoseconds."""
    return int(unix_times([gps])[0])


def unix_times(gps: Any) -> NDArray[np.int64]:
    """The Unix times of GPS times."""
    return cast("NDArray[np.int64]", _kvex.unix_times(gps))


def gps_of_unix(unix: int) -> int:
    """The GPS time of a Unix time in nanoseconds."""
    shift = _GPS_ZERO_UNIX
    for _ in range(2):  # the second look is for a time close to a leap second
        gps = unix - shift
        shift = unix_of(gps) - gps
    # A leap second and the second after it are the same Unix time, which means the latter.
    later = unix - shift + 1_000_000_000
    return later if unix_of(later) == unix else unix - shift


def gps_time(time: TimeLike, recording: Any) -> int:
    """One time as a user gives it, in GPS nanoseconds."""
    import numpy as np

    if isinstance(time, str):
        return int(recording.time(time))
    if isinstance(time, np.datetime64):
        return gps_of_unix(int(time.astype("datetime64[ns]").astype(np.int64)))
    if hasattr(time, "to_datetime64"):  # a pandas timestamp, which has nanoseconds that a datetime lacks
        stamp: Any = time
        naive = stamp if stamp.tzinfo is None else stamp.tz_convert("UTC").tz_localize(None)
        return gps_time(naive.to_datetime64(), recording)
    if isinstance(time, dt.datetime):
        aware = time if time.tzinfo is not None else time.replace(tzinfo=dt.UTC)
        since = aware - dt.datetime(1970, 1, 1, tzinfo=dt.UTC)
        return gps_of_unix(((since.days * 86_400 + since.seconds) * 1_000_000 + since.microseconds) * 1_000)
    gps = _whole(time)
    if gps < _SMALLEST_GPS_TIME:
        raise ValueError(f'{gps} is no time; "+{gps}" is {gps} seconds after the file\'s start')
    return gps


def gps_times(times: Iterable[TimeLike], recording: Any) -> list[int]:
    """Many times, likewise."""
    return [gps_time(time, recording) for time in times]


def nanos_of_seconds(seconds: float | str | dt.timedelta) -> int:
    """A period in nanoseconds."""
    from decimal import Decimal, InvalidOperation

    try:
        if isinstance(seconds, dt.timedelta):
            nanos = Decimal(seconds // dt.timedelta(microseconds=1)) * 1_000
        else:
            nanos = (Decimal(str(seconds)) * 1_000_000_000).to_integral_value()
        if 0 < nanos < 2**63:
            return int(nanos)
    except InvalidOperation:  # no number, or "nan", which has no place among numbers
        pass
    raise ValueError(f"{seconds} is no period in seconds from 1e-9 on")


def _whole(time: Any) -> int:
    import operator

    try:
        return operator.index(time)
    except TypeError:
        raise TypeError(f"{time!r} is no time: GPS nanoseconds, a text, a datetime or a numpy.datetime64 are") from None
