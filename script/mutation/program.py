"""The test program: where its code came from, and copies of it that are changed in one place."""

from __future__ import annotations

import hashlib
import os
import shutil
import struct
import subprocess
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path

from mutation.instructions import FLOATING_CONSTANT_KIND, Change, changes_of, instructions_of


@dataclass(frozen=True)
class Mutant:
    """One change at one place. `name` stays as long as the function and its source line do."""

    name: str
    folder: str
    file: str
    line: int
    function: str
    address: int
    change: Change


def _source_lines(program: Path, addresses: list[int]) -> Iterator[tuple[str, int]]:
    text = "\n".join(f"{address:x}" for address in addresses)
    said = subprocess.run(["addr2line", "-e", program], input=text, check=True, capture_output=True, text=True).stdout
    for place in said.splitlines():
        file, _, line = place.split(" ")[0].rpartition(":")
        yield file, int(line) if line.isdigit() else 0


def functions_of(archives: list[Path]) -> set[str]:
    """The symbols that these libraries define."""
    said = subprocess.run(["nm", "--defined-only", *archives], check=True, capture_output=True, text=True).stdout
    return {line.split()[-1] for line in said.splitlines() if line.count(" ") == 2}


def all_mutants(program: Path, functions: set[str], source: Path, folders: list[str]) -> list[Mutant]:
    """Of those of the functions that come from these folders of the sources. Code that only handles exceptions
    (".cold") is left out, and so are the branches of the stack protector."""
    disassembly = subprocess.Popen(
        ["objdump", "-d", "-w", "--section=.text", str(program)], stdout=subprocess.PIPE, text=True
    )
    assert disassembly.stdout is not None
    found = []
    guarded = False
    for symbol, start, instruction in instructions_of(disassembly.stdout):
        if symbol in functions and not symbol.endswith(".cold") and not guarded:
            found += [(symbol, start, instruction, change) for change in changes_of(instruction)]
        guarded = "%fs:" in instruction.text
    if disassembly.wait() != 0:
        raise SystemExit(f"objdump cannot read {program}")
    mutants = {}
    places = _source_lines(program, [instruction.address for _, _, instruction, _ in found])
    for (symbol, start, instruction, change), (path, line) in zip(found, places, strict=True):
        path = os.path.normpath(path)
        if not path.startswith(f"{source}/"):
            continue
        file = path[len(str(source)) + 1 :]
        folder = file.split("/")[0].removesuffix(".cpp").removesuffix(".h")
        if folder in folders:
            name = f"{file}:{line} {symbol}+{instruction.address - start:#x} {change.kind} {change.what}"
            mutants[name] = Mutant(name, folder, file, line, symbol, instruction.address, change)
    return list(mutants.values())


def in_random_order(mutants: list[Mutant], seed: int) -> list[Mutant]:
    """The folders in turn, each in an order that depends on the seed and on nothing else of the build. A source line
    comes again only after the others, so that long functions do not crowd out the rest."""
    by_folder: dict[str, list[tuple[int, Mutant]]] = {}
    seen: dict[tuple[str, int], int] = {}
    for mutant in sorted(mutants, key=lambda one: hashlib.sha256(f"{seed} {one.name}".encode()).hexdigest()):
        place = (mutant.file, mutant.line)
        turn = seen[place] = seen.get(place, -1) + 1
        by_folder.setdefault(mutant.folder, []).append((turn, mutant))
    for queue in by_folder.values():
        queue.sort(key=lambda entry: entry[0])
    ordered = []
    for place_in_queue in range(max(map(len, by_folder.values()), default=0)):
        ordered += [queue[place_in_queue][1] for queue in by_folder.values() if place_in_queue < len(queue)]
    return ordered


class Copy:
    """A copy of the program without debugging data, which takes one change at a time."""

    def __init__(self, program: Path, path: Path) -> None:
        self.path = path
        path.unlink(missing_ok=True)
        subprocess.run(["objcopy", "--strip-debug", program, path], check=True)
        self._sections = self._loaded_sections()

    def hide(self, text: bytes) -> None:
        """Spoils a text in the program: a path that it must not find."""
        content = self.path.read_bytes()
        self.path.write_bytes(content.replace(text, bytes(len(text) * [ord("-")])))

    def apply(self, mutant: Mutant) -> None:
        place = self._file_offset(mutant.address + mutant.change.offset)
        new = mutant.change.bytes
        if mutant.change.kind == FLOATING_CONSTANT_KIND:
            value = struct.unpack("<d", self._read(place, 8))[0]
            new = struct.pack("<d", value * (1 + 2**-20) if value else 1.0)
        self._undo = (place, self._read(place, len(new)))
        self._write(place, new)

    def trap(self, mutant: Mutant) -> None:
        """Makes the program end where the change would be."""
        place = self._file_offset(mutant.address)
        self._undo = (place, self._read(place, 1))
        self._write(place, b"\xcc")

    def undo(self) -> None:
        self._write(*self._undo)

    def _read(self, place: int, size: int) -> bytes:
        with self.path.open("rb") as file:
            file.seek(place)
            return file.read(size)

    def _write(self, place: int, content: bytes) -> None:
        with self.path.open("r+b") as file:
            file.seek(place)
            file.write(content)

    def _loaded_sections(self) -> list[tuple[int, int, int]]:
        said = subprocess.run(["readelf", "-SW", self.path], check=True, capture_output=True, text=True).stdout
        sections = []
        for line in said.splitlines():
            fields = line.partition("]")[2].split()
            if len(fields) > 5 and fields[1] == "PROGBITS":
                address, offset, size = (int(field, 16) for field in fields[2:5])
                sections.append((address, offset, size))
        return sections

    def _file_offset(self, address: int) -> int:
        for start, offset, size in self._sections:
            if start and start <= address < start + size:
                return address - start + offset
        raise ValueError(f"{address:#x} is in no section")


def keep_program(program: Path, path: Path) -> None:
    """A copy with debugging data, so that a new build does not disturb a run."""
    temporary = path.with_suffix(".new")
    shutil.copyfile(program, temporary)
    temporary.chmod(0o755)
    temporary.rename(path)
