"""One schema for a table of many recordings, whatever each of them says of its signals."""

from __future__ import annotations

from collections.abc import Iterable
from dataclasses import dataclass
from typing import Any, NamedTuple

import pyarrow
from pyarrow import types


class SignalKey(NamedTuple):
    """What has to agree for the values of two recordings to stand in one column."""

    name: str  #: The column that one recording alone would have.
    unit: str
    type: str  #: "double", and of an array "double[]".


@dataclass(frozen=True)
class TableLayout:
    """The columns that each part of a table has, and where the signals of a recording stand in them."""

    types: dict[str, str]  #: By column, in their order.
    columns: dict[SignalKey, str]

    def schema(self) -> pyarrow.Schema:
        fields = [pyarrow.field(name, arrow_type(kind)) for name, kind in self.types.items()]
        return pyarrow.schema([pyarrow.field("time", pyarrow.timestamp("ns", "UTC")), *fields])

    def ordered(self) -> list[tuple[str, str]]:
        """The columns with their types, to compare two layouts: dictionaries do not look at the order."""
        return list(self.types.items())

    def to_json(self) -> list[Any]:
        return [list(self.types.items()), [[*key, column] for key, column in self.columns.items()]]

    @classmethod
    def from_json(cls, form: list[Any]) -> TableLayout:
        return cls(dict(form[0]), {SignalKey(*row[:3]): row[3] for row in form[1]})


def type_text(kind: pyarrow.DataType) -> str:
    return f"{kind.value_type}[]" if types.is_list(kind) else str(kind)


def arrow_type(text: str) -> pyarrow.DataType:
    if text.endswith("[]"):
        return pyarrow.list_(pyarrow.type_for_alias(text[:-2]))
    return pyarrow.type_for_alias(text)


def wider(one: str, other: str) -> str | None:
    """The smallest type that holds all values of both exactly; None if there is none."""
    if one == other:
        return one
    if one.endswith("[]") and other.endswith("[]"):
        element = wider(one[:-2], other[:-2])
        return None if element is None else f"{element}[]"
    if one.endswith("[]") or other.endswith("[]"):
        return None
    (kind, bits), (other_kind, other_bits) = sorted((_number(one), _number(other)))
    if kind == other_kind:
        return _named(kind, max(bits, other_bits))
    if kind == "float":  # and an integer, which sorts after it
        needed = 32 if other_bits <= 16 else 64
        return _named("float", max(bits, needed)) if other_bits <= 32 else None
    signed = max(bits, 2 * other_bits) if other_bits > 1 else bits  # kind is "int", the other one "uint"
    return _named("int", signed) if signed <= 64 else None


def unified(signals: Iterable[SignalKey]) -> TableLayout:
    """A column for each name; where recordings differ in its unit, or in its type without one that holds both, a column
    for each of these: "Speed [km/h]", "Level:double"."""
    named: dict[str, dict[str, set[str]]] = {}
    for name, unit, kind in signals:
        named.setdefault(name, {}).setdefault(unit, set()).add(kind)
    columns: dict[str, str] = {}
    places: dict[SignalKey, str] = {}
    for name, units in named.items():
        for unit in sorted(units):
            label = name if len(units) == 1 else f"{name} [{unit}]"
            groups = _groups(units[unit])
            for kind, members in groups:
                column = label if len(groups) == 1 else f"{label}:{kind}"
                while column in columns or (column != name and column in named):
                    column += "_"
                columns[column] = kind
                places.update((SignalKey(name, unit, member), column) for member in members)
    return TableLayout(columns, places)


def _groups(kinds: set[str]) -> list[tuple[str, list[str]]]:
    """Types that widen to a common one, with those that do."""
    groups: list[tuple[str, list[str]]] = []
    for kind in sorted(kinds, key=_rank):
        for place, (common, members) in enumerate(groups):
            if (both := wider(common, kind)) is not None:
                groups[place] = (both, [*members, kind])
                break
        else:
            groups.append((kind, [kind]))
    return groups


def _rank(kind: str) -> tuple[bool, bool, int, str]:
    number, bits = _number(kind.removesuffix("[]"))
    return kind.endswith("[]"), number == "float", bits, kind


def _number(kind: str) -> tuple[str, int]:
    if kind == "bool":
        return "uint", 1
    if kind in _FLOATS:
        return "float", _FLOATS[kind]
    for number in ("uint", "int"):
        if kind.startswith(number):
            return number, int(kind.removeprefix(number))
    raise ValueError(f"{kind} is no type of a signal")


def _named(number: str, bits: int) -> str:
    if number == "float":
        return {size: name for name, size in _FLOATS.items()}[bits]
    return f"{number}{max(bits, 8)}"


def column_type(value: str, is_array: bool) -> str:
    """The type of the column of a signal whose values have a type of C++."""
    return value.removesuffix("_t") + ("[]" if is_array else "")


_FLOATS = {"float": 32, "double": 64}
