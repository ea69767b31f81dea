"""What came of each mutant, kept line by line so that a run can be stopped at any time."""

from __future__ import annotations

import fnmatch
import json
from pathlib import Path

KILLED = ("killed", "crashed", "timeout")


class Results:
    def __init__(self, path: Path) -> None:
        self._path = path
        self.entries: dict[str, dict[str, object]] = {}
        if path.exists():
            text = path.read_text()
            if not text.endswith("\n"):  # a run was stopped in the middle of a line
                path.write_text(text + "\n")
            for line in text.splitlines():
                try:
                    entry = json.loads(line)
                except json.JSONDecodeError:
                    continue
                self.entries[entry["name"]] = entry

    def add(self, entry: dict[str, object]) -> None:
        """A later entry of the same mutant takes the place of the earlier one."""
        self.entries[str(entry["name"])] = entry
        with self._path.open("a") as file:
            file.write(json.dumps(entry) + "\n")

    def survivors(self) -> list[dict[str, object]]:
        return [entry for entry in self.entries.values() if entry["result"] not in KILLED]


class Equivalents:
    """Changes that nothing can see: source file, text of the line, change and why, separated by tabs. The change is a
    pattern as in a shell."""

    def __init__(self, path: Path) -> None:
        lines = path.read_text().splitlines() if path.exists() else []
        self._known = [line.split("\t") for line in lines if line and not line.startswith("#")]

    def why(self, entry: dict[str, object], text: str) -> str:
        change = f"{entry['kind']} {entry['what']}"
        for file, known, pattern, why in self._known:
            if file == entry["file"] and known == text and fnmatch.fnmatchcase(change, pattern):
                return why
        return ""


def source_text(source: Path, entry: dict[str, object]) -> str:
    path = source / str(entry["file"])
    lines = path.read_text().splitlines() if path.exists() else []
    line = int(str(entry["line"]))
    return lines[line - 1].strip() if 0 < line <= len(lines) else ""


def report(results: Results, equivalents: Equivalents, source: Path) -> str:
    """Scores per folder, and the survivors that are not known to be equivalent."""
    rows: dict[str, list[int]] = {}
    listed = []
    for entry in results.entries.values():
        row = rows.setdefault(str(entry["folder"]), [0, 0, 0, 0])
        row[0] += 1
        if entry["result"] in KILLED:
            row[1] += 1
            continue
        text = str(entry.get("text") or source_text(source, entry))
        if equivalents.why(entry, text):
            row[2] += 1
            continue
        row[3] += entry["result"] == "unreached"
        listed.append(f"{entry['file']}:{entry['line']}: {entry['kind']} {entry['what']} [{entry['result']}] {text}")
    lines = [f"{'folder':10} {'mutants':>8} {'killed':>7} {'equivalent':>11} {'unreached':>10} {'score':>7}"]
    rows["all"] = [sum(column) for column in zip(*rows.values(), strict=True)] if rows else [0, 0, 0, 0]
    for folder, (count, killed, equivalent, unreached) in sorted(rows.items()):
        score = 100 * killed / max(1, count - equivalent)
        lines.append(f"{folder:10} {count:8} {killed:7} {equivalent:11} {unreached:10} {score:6.1f}%")
    return "\n".join([*lines, "", "Survivors:", *sorted(listed)])
