"""What several tests of the package use."""

from __future__ import annotations

import os
import subprocess
import sys
import time
from collections.abc import Callable, Iterator
from pathlib import Path

import pytest

pytest_plugins = ["pytester"]


@pytest.fixture(autouse=True)
def own_folder_for_files(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> Path:
    """Temporary files of the package go where a test can count them."""
    folder = tmp_path / "tmp"
    folder.mkdir()
    monkeypatch.setenv("TMPDIR", str(folder))
    monkeypatch.setattr("tempfile.tempdir", str(folder))
    return folder


def wait_until(condition: Callable[[], bool], what: str) -> None:
    """Waits for the condition; fails after a time that only a program that hangs needs."""
    end = time.monotonic() + 60
    while not condition():
        assert time.monotonic() < end, f"in vain: {what}"
        time.sleep(0.01)


def runs(pid: int) -> bool:
    """Whether the process is there and no zombie."""
    try:
        return Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()[0] != "Z"
    except OSError:
        return False


@pytest.fixture
def python() -> Iterator[Callable[[str], subprocess.Popen[str]]]:
    """Runs a text as a Python program in a process group of its own; its standard output is a pipe."""
    started: list[subprocess.Popen[str]] = []

    def run(text: str) -> subprocess.Popen[str]:
        process = subprocess.Popen(
            [sys.executable, "-c", text],
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            process_group=0,
            env=os.environ.copy(),
        )
        started.append(process)
        return process

    yield run
    for process in started:
        process.kill()
        process.communicate()
