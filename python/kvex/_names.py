"""Names for files and variables, made of texts that may hold anything."""

from __future__ import annotations

import re

MAX_FILE_NAME = 100


def safe_file_name(text: str, limit: int = MAX_FILE_NAME) -> str:
    """Letters, digits, ".", "_" and "-" stand; each other byte is percent-encoded, and so is a dot at the start."""

    def encoded(byte: int, first: bool) -> str:
        char = chr(byte)
        stands = char.isascii() and (char.isalnum() or char in "._-") and not (first and char == ".")
        return char if stands else f"%{byte:02X}"

    name = ""
    for place, byte in enumerate(text.encode("utf-8", "surrogateescape")):
        part = encoded(byte, place == 0)
        if len(name) + len(part) > limit:
            break
        name += part
    return name or "%"


class UniqueNames:
    """Names of which none comes twice, be it in other letter case: "run", "run-2"."""

    def __init__(self, limit: int = MAX_FILE_NAME, mark: str = "-") -> None:
        self._limit = limit
        self._mark = mark
        self._taken: set[str] = set()

    def add(self, name: str, ending: str = "") -> str:
        number = 1
        while True:
            tail = ("" if number == 1 else f"{self._mark}{number}") + ending
            candidate = name[: self._limit - len(tail)] + tail
            if candidate.lower() not in self._taken:
                self._taken.add(candidate.lower())
                return candidate
            number += 1


def variable_name(text: str) -> str:
    """A name that begins with a letter and holds letters, digits and "_" only."""
    name = re.sub(r"[^A-Za-z0-9_]", "_", text)
    return name if name[:1].isalpha() else f"x{name}"
