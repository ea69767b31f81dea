"""What can be changed in one x86-64 instruction so that it is as long as before and does something else."""

from __future__ import annotations

import re
import struct
from collections.abc import Iterable, Iterator
from dataclasses import dataclass

PREFIXES = {0x66, 0xF2, 0xF3, 0xF0, 0x2E, 0x36, 0x3E, 0x26, 0x64, 0x65, 0x67}
# Number in an opcode or in the reg field of its second byte -> name of the operation.
ARITHMETIC = ("add", "or", "adc", "sbb", "and", "sub", "xor", "cmp")
OTHER_ARITHMETIC = {"add": "sub", "sub": "add", "or": "and", "and": "or"}
SHIFTS = {4: 5, 5: 4, 7: 5}
SHIFT_NAMES = {4: "shl", 5: "shr", 7: "sar"}
FLOATING = {0x58: ("add", 0x5C), 0x5C: ("sub", 0x58), 0x59: ("mul", 0x5E), 0x5E: ("div", 0x59),
            0x5D: ("min", 0x5F), 0x5F: ("max", 0x5D)}  # fmt: skip
FLOATING_NAMES = {code: name for code, (name, _) in FLOATING.items()}
FLOATING_CONSTANT_KIND = "floating constant"
FLOATING_CONSTANT = {0x10, 0x2E, 0x2F, *FLOATING}
# Low four bits of a condition -> those of the condition that differs where both sides are equal.
BOUNDARY = {0x2: 0x6, 0x6: 0x2, 0x3: 0x7, 0x7: 0x3, 0xC: 0xE, 0xE: 0xC, 0xD: 0xF, 0xF: 0xD}
CONDITIONS = ("o", "no", "b", "ae", "e", "ne", "be", "a", "s", "ns", "p", "np", "l", "ge", "le", "g")


@dataclass(frozen=True)
class Change:
    """Bytes to put at a distance from the instruction's first byte; none for a double, which depends on what it is."""

    offset: int
    bytes: bytes
    kind: str
    what: str


@dataclass(frozen=True)
class Instruction:
    """One line of a disassembly; `text` is the assembler's."""

    address: int
    code: bytes
    text: str


def changes_of(instruction: Instruction) -> list[Change]:
    """All changes of an instruction; none where it works on the stack frame, which no source line speaks of."""
    code, text = instruction.code, instruction.text
    if "%rsp" in text or "%fs:" in text or "nop" in text:
        return []
    at = 0
    while at < len(code) and code[at] in PREFIXES:
        at += 1
    wide = False
    if at < len(code) and 0x40 <= code[at] <= 0x4F:
        wide = bool(code[at] & 8)
        at += 1
    if at >= len(code) or code[at] in (0xC4, 0xC5, 0x62):
        return []
    short = 0x66 in code[:at]
    if code[at] == 0x0F:
        return _two_byte_changes(code, at + 1, text)
    return _one_byte_changes(code, at, text, short, wide)


def _one_byte_changes(code: bytes, at: int, text: str, short: bool, wide: bool) -> list[Change]:
    opcode = code[at]
    found: list[Change] = []
    second = code[at + 1] if at + 1 < len(code) else 0
    field = second >> 3 & 7
    if 0x70 <= opcode <= 0x7F:
        found += _conditions(code, at, "j")
    elif opcode < 0x40 and opcode & 7 <= 5:
        operands = text.split()[-1].split(",")
        if operands[0] != operands[-1]:
            found += _arithmetic(at, opcode, opcode & 7, opcode >> 3)
        if opcode & 7 >= 4:
            found += _immediate(code, 1 if opcode & 7 == 4 else 2 if short else 4)
    elif opcode in (0x80, 0x81, 0x83):
        if field in (0, 1, 4, 5):
            name = ARITHMETIC[field]
            other = ARITHMETIC.index(OTHER_ARITHMETIC[name])
            found.append(_field(at, second, other, "operator", f"{name} -> {ARITHMETIC[other]}"))
        found += _immediate(code, 1 if opcode != 0x81 else 2 if short else 4)
    elif opcode in (0xC0, 0xC1, 0xD0, 0xD1, 0xD2, 0xD3):
        if field in SHIFTS:
            what = f"{SHIFT_NAMES[field]} -> {SHIFT_NAMES[SHIFTS[field]]}"
            found.append(_field(at, second, SHIFTS[field], "operator", what))
        if opcode < 0xD0:
            found += _immediate(code, 1)
    elif opcode in (0xFE, 0xFF) and field in (0, 1):
        found.append(_field(at, second, 1 - field, "operator", "inc -> dec" if field == 0 else "dec -> inc"))
    elif opcode in (0x6B, 0xC6, 0xA8) or 0xB0 <= opcode <= 0xB7 or (opcode == 0xF6 and field == 0):
        found += _immediate(code, 1)
    elif opcode in (0x69, 0xC7, 0xA9) or (opcode == 0xF7 and field == 0):
        found += _immediate(code, 2 if short else 4)
    elif 0xB8 <= opcode <= 0xBF:
        found += _immediate(code, 8 if wide else 2 if short else 4)
    elif opcode == 0x8D or (opcode == 0x8B and not wide):
        found += _displacement(code, at + 1)
    return found


def _two_byte_changes(code: bytes, at: int, text: str) -> list[Change]:
    opcode = code[at]
    if 0x80 <= opcode <= 0x8F:
        return _conditions(code, at, "j")
    if 0x90 <= opcode <= 0x9F:
        return _conditions(code, at, "set")
    if 0x40 <= opcode <= 0x4F:
        return _conditions(code, at, "cmov")
    if opcode in (0xB6, 0xB7, 0xBE, 0xBF):
        return _displacement(code, at + 1)
    if opcode in (0xA4, 0xAC, 0xBA):
        return _immediate(code, 1)
    found = []
    if opcode in FLOATING:
        name, other = FLOATING[opcode]
        found.append(Change(at, bytes([other]), "operator", f"{name} -> {FLOATING_NAMES[other]} of floats"))
    if opcode in FLOATING_CONSTANT and "sd " in text + " " and code[at + 1] & 0xC7 == 0x05:
        place = len(code) + struct.unpack_from("<i", code, at + 2)[0]
        found.append(Change(place, b"", FLOATING_CONSTANT_KIND, "a 2**-20th more, 1 if it is 0"))
    return found


def _conditions(code: bytes, at: int, stem: str) -> list[Change]:
    condition = code[at] & 15
    others = [("condition", condition ^ 1)]
    if condition in BOUNDARY:
        others.append(("boundary", BOUNDARY[condition]))
    return [
        Change(
            at, bytes([code[at] & 0xF0 | other]), kind, f"{stem}{CONDITIONS[condition]} -> {stem}{CONDITIONS[other]}"
        )
        for kind, other in others
    ]


def _arithmetic(at: int, opcode: int, form: int, number: int) -> list[Change]:
    name = ARITHMETIC[number]
    if name not in OTHER_ARITHMETIC:
        return []
    other = OTHER_ARITHMETIC[name]
    return [Change(at, bytes([ARITHMETIC.index(other) << 3 | form]), "operator", f"{name} -> {other}")]


def _field(at: int, second: int, field: int, kind: str, what: str) -> Change:
    return Change(at + 1, bytes([second & 0xC7 | field << 3]), kind, what)


def _around(kind: str, offset: int, value: int, size: int) -> list[Change]:
    bits = 8 * size
    return [
        Change(
            offset,
            ((value + step) % (1 << bits)).to_bytes(size, "little"),
            kind,
            f"{value} {'+' if step > 0 else '-'} 1",
        )
        for step in (1, -1)
    ]


def _immediate(code: bytes, size: int) -> list[Change]:
    value = int.from_bytes(code[-size:], "little", signed=True)
    return _around("constant", len(code) - size, value, size)


def _displacement(code: bytes, at: int) -> list[Change]:
    """Of a place in memory relative to a register other than the stack's or the instruction's own."""
    mode, base = code[at] >> 6, code[at] & 7
    if mode not in (1, 2):
        return []
    size = 1 if mode == 1 else 4
    start = at + (2 if base == 4 else 1)
    value = int.from_bytes(code[start : start + size], "little", signed=True)
    return _around("offset", start, value, size)


LINE = re.compile(r"^ +([0-9a-f]+):\t([0-9a-f ]+?) *\t(.*)$")
SYMBOL = re.compile(r"^([0-9a-f]+) <(.*)>:$")


def instructions_of(lines: Iterable[str]) -> Iterator[tuple[str, int, Instruction]]:
    """Yields (symbol, its address, instruction) of the lines that `objdump -d -w` prints."""
    symbol, start = "", 0
    for line in lines:
        if found := LINE.match(line):
            yield symbol, start, Instruction(int(found[1], 16), bytes.fromhex(found[2]), found[3].strip())
        elif found := SYMBOL.match(line):
            start, symbol = int(found[1], 16), found[2]
