"""Recordings of inertial and satellite navigation, for Python.

>>> import kvex
>>> with kvex.open("run.vrel") as run:
...     speed = run["2:Speed2d"].read()
...     frame = run.table(["2:Lat", "2:Lon"]).to_pandas()
"""

from ._convert import Conversion, convert
from ._dataset import Dataset, dataset
from ._errors import AmbiguousSignal, KvexError, NoSuchSignal
from ._results import Damage, Event, EventList, Overview, Place, Reading, State, Statistics, StatisticsList
from ._run import Run, SignalView, SignalViews, StreamView, open, version
from ._samples import Samples
from ._table import Table
from ._writing import Cut, CutStream, Merged, MergedStream, Rescued, RescuedStream, Track, merge, rescue

__all__ = [
    "AmbiguousSignal",
    "Conversion",
    "Cut",
    "CutStream",
    "Damage",
    "Dataset",
    "Event",
    "EventList",
    "KvexError",
    "Merged",
    "MergedStream",
    "NoSuchSignal",
    "Overview",
    "Place",
    "Reading",
    "Rescued",
    "RescuedStream",
    "Run",
    "Samples",
    "SignalView",
    "SignalViews",
    "State",
    "Statistics",
    "StatisticsList",
    "StreamView",
    "Table",
    "Track",
    "convert",
    "dataset",
    "merge",
    "open",
    "rescue",
    "version",
]
