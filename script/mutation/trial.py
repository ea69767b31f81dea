"""Runs the tests, under limits, and says whether they saw that something was changed."""

from __future__ import annotations

import contextlib
import hashlib
import json
import os
import re
import resource
import shutil
import signal
import subprocess
import time
from dataclasses import asdict, dataclass
from pathlib import Path

MEMORY = 4 << 30
LARGEST_FILE = 256 << 20
QUICK = 0.1  # seconds of a test of the first round
SLOW = 0.4  # seconds of a test that is left out


@dataclass
class Round:
    """Tests that run together, and the processor time that they take in an unchanged program."""

    tests: list[str]
    seconds: float

    @property
    def limit(self) -> int:
        return int(4 * self.seconds) + 4


@dataclass
class Outcome:
    result: str  # survived, killed, crashed, timeout
    by: str = ""
    seconds: float = 0


class Runner:
    """Runs a program in a folder of its own. Whatever it starts ends with it."""

    def __init__(self, program: Path, folder: Path) -> None:
        self._program = program
        self._folder = folder

    def measure(self) -> list[Round]:
        """The quick tests and the others, in that order, of those that pass. They are measured once for a program."""
        known = self._folder / "rounds.json"
        digest = hashlib.sha256(self._program.read_bytes()).hexdigest()
        if known.exists() and (kept := json.loads(known.read_text()))["program"] == digest:
            return [Round(**one) for one in kept["rounds"]]
        rounds = self._measure()
        if (seen := self.judge(rounds)).result != "survived":
            raise SystemExit(f"{seen.by} fails in the unchanged program")
        known.write_text(json.dumps({"program": digest, "rounds": [asdict(one) for one in rounds]}))
        return rounds

    def _measure(self) -> list[Round]:
        report = self._folder / "report.json"
        self._run([f"--gtest_output=json:{report}"], limit=600)
        quick, slower = Round([], 0), Round([], 0)
        for suite in json.loads(report.read_text())["testsuites"]:
            for test in suite["testsuite"]:
                seconds = float(test["time"].removesuffix("s"))
                if test["result"] != "COMPLETED" or "failures" in test or seconds > SLOW:
                    continue
                chosen = quick if seconds <= QUICK else slower
                chosen.tests.append(f"{suite['name']}.{test['name']}")
                chosen.seconds += seconds
        return [quick, slower]

    def judge(self, rounds: list[Round]) -> Outcome:
        begun = time.monotonic()
        for one in rounds:
            status, output = self._run(["--gtest_filter=" + ":".join(one.tests), "--gtest_fail_fast"], one.limit)
            seconds = time.monotonic() - begun
            if status == 0:
                continue
            running = re.findall(r"^\[ RUN      \] (\S+)", output, re.MULTILINE)
            by = running[-1] if running else "start"
            if status in (-signal.SIGXCPU, -signal.SIGKILL):
                return Outcome("timeout", by, seconds)
            return Outcome("killed" if status > 0 else "crashed", by, seconds)
        return Outcome("survived", "", time.monotonic() - begun)

    def _run(self, arguments: list[str], limit: int) -> tuple[int, str]:
        """The limit is seconds of processor time, and a third of the time by the clock."""
        scratch = self._folder / "scratch"
        shutil.rmtree(scratch, ignore_errors=True)
        scratch.mkdir(parents=True)

        def restrain() -> None:
            os.nice(10)
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
            resource.setrlimit(resource.RLIMIT_FSIZE, (LARGEST_FILE, LARGEST_FILE))
            resource.setrlimit(resource.RLIMIT_CPU, (limit, limit + 2))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

        output = self._folder / "output"
        with output.open("w") as file:
            process = subprocess.Popen(
                [str(self._program), *arguments],
                cwd=scratch,
                env=os.environ | {"TMPDIR": str(scratch)},
                stdin=subprocess.DEVNULL,
                stdout=file,
                stderr=subprocess.STDOUT,
                start_new_session=True,
                preexec_fn=restrain,
            )
            try:
                status = process.wait(timeout=3 * limit)
            except subprocess.TimeoutExpired:
                status = -signal.SIGKILL
            finally:
                with contextlib.suppress(ProcessLookupError):
                    os.killpg(process.pid, signal.SIGKILL)
                process.wait()
        return status, output.read_text(errors="replace")
