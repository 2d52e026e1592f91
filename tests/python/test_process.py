"""A program ends with the Python process that started it, and nothing of it is left."""

from __future__ import annotations

import os
import signal
import subprocess
import sys
from collections.abc import Callable
from pathlib import Path

import pytest
from conftest import runs, wait_until
from zul import ZulError
from zul.process import Process, find_program, unused_directory

Python = Callable[[str], "subprocess.Popen[str]"]

# Starts a shell with a child, and says their numbers and the folder.
START = """
import os, sys
from zul.process import Process, unused_directory
output, theirs = os.pipe()
folder = unused_directory()
arguments = ["/bin/sh", "-c", "touch file; mkdir -p a/b; touch a/b/c; sleep 1000 & echo $$ $!; wait"]
process = Process(arguments, dict(os.environ), folder, [0, theirs, theirs])
print(os.read(output, 100).decode().strip(), folder, flush=True)
"""


def shell(text: str, directory: Path | None = None) -> Process:
    nothing = os.open(os.devnull, os.O_RDWR)
    try:
        arguments = ["/bin/sh", "-c", text]
        return Process(arguments, dict(os.environ), directory or unused_directory(), [nothing] * 3)
    finally:
        os.close(nothing)


def expect_nothing_left(started: subprocess.Popen[str], end: Callable[[], None]) -> None:
    """After `end` neither the programs run nor are there files of them."""
    assert started.stdout is not None
    shell, child, folder = started.stdout.readline().split()
    assert runs(int(shell)) and runs(int(child))
    wait_until(lambda: Path(folder, "a/b/c").exists(), "the files")
    end()
    wait_until(lambda: not runs(int(shell)) and not runs(int(child)), "the end of the programs")
    wait_until(lambda: not Path(folder).exists(), "the end of the files")


@pytest.mark.parametrize("how", [signal.SIGKILL, signal.SIGTERM, signal.SIGINT])
def test_a_signal_to_python_leaves_nothing(python: Python, how: signal.Signals) -> None:
    started = python(START + "import time; time.sleep(1000)")
    expect_nothing_left(started, lambda: os.kill(started.pid, how))


@pytest.mark.parametrize("how", [signal.SIGKILL, signal.SIGINT])
def test_a_signal_to_the_whole_group_leaves_nothing(python: Python, how: signal.Signals) -> None:
    started = python(START + "import time; time.sleep(1000)")
    expect_nothing_left(started, lambda: os.killpg(started.pid, how))


def test_an_ended_python_has_left_nothing(python: Python) -> None:
    started = python(START)
    assert started.stdout is not None
    shell, child, folder = started.stdout.readline().split()
    started.wait()
    assert not runs(int(shell)) and not runs(int(child)) and not Path(folder).exists()


def test_the_janitor_ends_with_python(python: Python) -> None:
    started = python(START + "from zul import process; print(process._janitor._pid, flush=True); input()")
    assert started.stdout is not None
    started.stdout.readline()
    janitor = int(started.stdout.readline())
    assert runs(janitor)
    started.kill()
    wait_until(lambda: not runs(janitor), "the end of the janitor")


def test_a_closed_process_has_left_nothing(own_folder_for_files: Path) -> None:
    process = shell("touch file; mkdir a; ln -s /etc a/link; exec sleep 1000")
    wait_until(lambda: any(own_folder_for_files.glob("*/a/link")), "the files")
    process.close()
    assert not runs(process.pid)
    assert not list(own_folder_for_files.iterdir())
    assert Path("/etc/passwd").exists()


def test_the_exit_status_is_known() -> None:
    process = shell("exit 7")
    assert process.wait(60) == 7
    process.close()


def test_a_signal_is_a_negative_status() -> None:
    process = shell("kill -ABRT $$")
    assert process.wait(60) == -signal.SIGABRT
    process.close()


def test_a_running_program_has_no_status() -> None:
    process = shell("sleep 1000")
    assert process.poll() is None
    assert process.wait(0.01) is None
    process.terminate()
    assert process.wait(60) == -signal.SIGTERM
    process.close()


def test_a_program_that_does_not_end_is_killed(tmp_path: Path) -> None:
    process = shell(f"trap '' TERM; touch {tmp_path}/ready; while :; do sleep 1; done")
    wait_until((tmp_path / "ready").exists, "the trap")
    process.terminate()
    assert process.wait(60) == -signal.SIGKILL
    process.close()


def test_signals_have_their_usual_effect_in_a_program(tmp_path: Path) -> None:
    process = shell(f"grep ^SigIgn: /proc/self/status >{tmp_path}/ignored")
    assert process.wait(60) == 0
    process.close()
    ignored = int((tmp_path / "ignored").read_text().split()[1], 16)
    assert ignored & (1 << 31) - 1 == 0, "the C library keeps some of the signals after 31 for itself"


def test_a_program_has_no_descriptor_but_its_streams(tmp_path: Path) -> None:
    with open(os.devnull) as inherited:
        os.set_inheritable(inherited.fileno(), True)
        process = shell(f"ls /proc/self/fd >{tmp_path}/descriptors")
        assert process.wait(60) == 0
        process.close()
    # One more is that of the folder which ls reads.
    assert (tmp_path / "descriptors").read_text().split() == ["0", "1", "2", "3"]


def test_what_cannot_be_run_is_an_error() -> None:
    with pytest.raises(ZulError, match="^missing could not be started: No such file or directory[.]$"):
        Process(["/nowhere/missing"], {}, unused_directory(), [0, 1, 2])


def test_a_folder_that_cannot_be_made_is_an_error(tmp_path: Path) -> None:
    with pytest.raises(ZulError, match="^sh could not be started: No such file or directory[.]$"):
        shell("exit 0", tmp_path / "missing" / "folder")


def test_a_forked_child_does_not_end_the_programs_of_its_parent() -> None:
    process = shell("sleep 1000")
    child = os.fork()
    if child == 0:
        other = shell("exit 3")
        status = other.wait(60)
        other.close()
        os._exit(status or 0)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 3, "the child starts programs of its own"
    assert process.poll() is None
    process.close()


def test_without_its_janitor_nothing_hangs(python: Python) -> None:
    started = python(
        START + "import signal; from zul import process as p; os.kill(p._janitor._pid, signal.SIGKILL)\n"
        "try: process.wait(60)\nexcept Exception as error: print(error)\nprocess.close()"
    )
    assert started.stdout is not None
    shell = int(started.stdout.readline().split()[0])
    assert started.stdout.readline() == "The process that watches over sh has ended.\n"
    assert started.wait() == 0
    os.killpg(shell, signal.SIGKILL)


def test_programs_are_found_in_the_folder_or_on_the_path(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    monkeypatch.delenv("ZUL_BIN", raising=False)
    monkeypatch.setenv("PATH", str(tmp_path))
    with pytest.raises(ZulError, match="^zulbench is not on PATH, and ZUL_BIN names no folder[.]$"):
        find_program("zulbench")
    program = tmp_path / "zulbench"
    program.symlink_to(sys.executable)
    assert find_program("zulbench") == str(program)
    monkeypatch.setenv("ZUL_BIN", "/nowhere")
    with pytest.raises(ZulError, match="^zulbench is not in the folder /nowhere, which ZUL_BIN names[.]$"):
        find_program("zulbench")
    monkeypatch.setenv("ZUL_BIN", str(tmp_path))
    assert find_program("zulbench") == str(program)
