"""The examples of the guide work, one after the other."""

from __future__ import annotations

import re
from pathlib import Path

import pytest

PAGE = Path(__file__).resolve().parents[2] / "docs" / "python.md"


def test_the_guides_examples_work(
    demo_path: Path, monkeypatch: pytest.MonkeyPatch, capsys: pytest.CaptureFixture[str]
) -> None:
    monkeypatch.chdir(demo_path.parent)
    blocks = re.findall(r"```python\n(.*?)```", PAGE.read_text(encoding="utf-8"), re.DOTALL)
    assert len(blocks) >= 9
    names: dict[str, object] = {}
    for block in blocks:
        exec(compile(block, str(PAGE), "exec"), names)
    printed = capsys.readouterr().out
    assert "Nothing was lost." in printed
    assert "TemperatureGroup = 2" in printed
