"""The exceptions of the package."""

from __future__ import annotations


class KvexError(Exception):
    """What went wrong with a recording.

    ``code`` is the name of the kind of failure ("NotFound", "Empty", "NoTime" ...), ``file`` the path, ``offset`` the
    byte at which the reason lies or None, ``reason`` the reason without the file, ``candidates`` names that may have
    been meant.
    """

    def __init__(
        self,
        message: str,
        code: str = "InvalidArgument",
        file: str = "",
        offset: int | None = None,
        reason: str = "",
        candidates: list[str] | None = None,
    ) -> None:
        super().__init__(message)
        self.code = code
        self.file = file
        self.offset = offset
        self.reason = reason or message
        self.candidates = candidates or []

    def __str__(self) -> str:  # a KeyError would show its message in quotes
        return str(self.args[0])


class NoSuchSignal(KvexError, KeyError):
    """No signal has this name; ``candidates`` holds near ones."""


class AmbiguousSignal(KvexError, KeyError):
    """Several streams have a signal of this name; ``candidates`` holds their qualified names."""


_CLASSES: dict[str, type[KvexError]] = {"NoSuchSignal": NoSuchSignal, "Ambiguous": AmbiguousSignal}


def made(code: str, message: str, file: str, offset: int | None, reason: str, candidates: list[str]) -> KvexError:
    """The exception for an error of the library."""
    return _CLASSES.get(code, KvexError)(message, code, file, offset, reason, candidates)
