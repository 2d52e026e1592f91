"""The fixtures of the plugin, in runs of pytest of their own."""

from __future__ import annotations

import os
import re
import signal
import subprocess
import sys
from pathlib import Path

import pytest
from conftest import runs, wait_until

FAILING = """
def test_fails(zul_server, zul_bench):
    gate = zul_bench(din=2, serial=7, label="front gate", server=zul_server)
    gate.wait_connected()
    gate.din[1].high()
    zul_server.expect_event("OBJ_PORT_DIN", portId=1, within=30)
    zul_server.expect_event("OBJ_PORT_DIN", portId=2, within=0.1)
"""

PASSING = """
def test_passes(zul_server, zul_bench):
    zul_bench(din=2, server=zul_server).wait_connected()
"""

SEEDS = """
import pytest

@pytest.mark.parametrize("n", [1, 2])
def test_seeds(zul_bench, n):
    print("seeds of", n, zul_bench().seed, zul_bench().seed, zul_bench(seed=5).seed)
"""


@pytest.fixture
def pytest_options(pytester: pytest.Pytester, own_folder_for_files: Path) -> tuple[str, ...]:
    return ("-p", "zul.plugin", "-p", "no:cacheprovider", f"--basetemp={own_folder_for_files / 'base'}")


def captures(folder: Path) -> list[str]:
    return sorted(str(path.relative_to(folder)) for path in folder.rglob("*.pcapng"))


def test_a_failing_test_shows_what_the_programs_said(
    pytester: pytest.Pytester, pytest_options: tuple[str, ...], own_folder_for_files: Path
) -> None:
    pytester.makepyfile(FAILING)
    result = pytester.runpytest_subprocess(*pytest_options)
    result.assert_outcomes(failed=1)
    text = result.stdout.str()
    assert "ExpectationFailed: No event OBJ_PORT_DIN with portId=2 came within 0.1 seconds" in text
    server = text[text.index("- Server 1 -") : text.index("- Bench 1 -")]
    assert re.search("^by hand: zulserver --port [0-9]+$", server, re.MULTILINE)
    assert '"event":"listening"' in server and '"status":"failed"' in server
    bench = text[text.index("- Bench 1 -") :]
    port = re.search("--port ([0-9]+)", server)
    seed = re.search("^seed: ([0-9]+)$", bench, re.MULTILINE)
    capture = re.search("^capture: (.*)$", bench, re.MULTILINE)
    assert port and seed and capture
    options = f"--din 2 --serial 7 --label 'front gate' --seed {seed[1]} --server 127.0.0.1:{port[1]}"
    assert f"by hand: zulbench {options}\n" in bench
    assert '"event":"changed"' in bench
    assert Path(capture[1]).read_bytes()[:4] == bytes.fromhex("0a0d0d0a")
    opened = re.search("^open it: (.*)$", bench, re.MULTILINE)
    assert opened
    shown = subprocess.run(opened[1], shell=True, capture_output=True, env=os.environ | {"PATH": os.environ["ZUL_BIN"]})
    assert b'"OBJ_DEVICE"' in shown.stdout
    assert captures(own_folder_for_files) == [str(Path(capture[1]).relative_to(own_folder_for_files))]


def test_a_bench_that_the_test_has_closed_is_shown_too(
    pytester: pytest.Pytester, pytest_options: tuple[str, ...], own_folder_for_files: Path
) -> None:
    pytester.makepyfile("def test_fails(zul_bench):\n    with zul_bench(din=1) as gate:\n        gate.din[2].high()\n")
    result = pytester.runpytest_subprocess(*pytest_options)
    result.assert_outcomes(failed=1)
    assert "by hand: zulbench --din 1 --seed" in result.stdout.str()
    assert len(captures(own_folder_for_files)) == 1


def test_a_passing_test_leaves_nothing(
    pytester: pytest.Pytester, pytest_options: tuple[str, ...], own_folder_for_files: Path
) -> None:
    pytester.makepyfile(PASSING)
    pytester.runpytest_subprocess(*pytest_options).assert_outcomes(passed=1)
    assert [path for path in own_folder_for_files.rglob("*") if not path.is_dir()] == []
    assert not list(own_folder_for_files.rglob("zul-*"))


def test_an_option_keeps_the_captures_of_passing_tests(
    pytester: pytest.Pytester, pytest_options: tuple[str, ...], own_folder_for_files: Path
) -> None:
    pytester.makepyfile(PASSING)
    pytester.runpytest_subprocess(*pytest_options, "--zul-capture").assert_outcomes(passed=1)
    assert len(captures(own_folder_for_files)) == 1


def seeds(pytester: pytest.Pytester, *options: str) -> list[str]:
    result = pytester.runpytest_subprocess(*options, "-s")
    result.assert_outcomes(passed=2)
    return [line for line in result.outlines if "seeds of" in line]


def test_seeds_come_from_the_name_of_the_test(
    pytester: pytest.Pytester, pytest_options: tuple[str, ...]
) -> None:
    pytester.makepyfile(SEEDS)
    first = seeds(pytester, *pytest_options)
    assert seeds(pytester, *pytest_options) == first
    numbers = [int(number) for line in first for number in line.split()[-3:]]
    assert numbers[2] == numbers[5] == 5
    assert len({*numbers}) == 5, "each bench of each test has its own"
    other = seeds(pytester, *pytest_options, "--zul-seed=1")
    assert other != first and seeds(pytester, *pytest_options, "--zul-seed=1") == other


def test_an_option_names_the_folder_of_the_programs(
    pytester: pytest.Pytester, pytest_options: tuple[str, ...], monkeypatch: pytest.MonkeyPatch
) -> None:
    pytester.makepyfile(PASSING)
    folder = os.environ["ZUL_BIN"]
    monkeypatch.setenv("ZUL_BIN", "/nowhere")
    pytester.runpytest_subprocess(*pytest_options).assert_outcomes(errors=1)
    pytester.runpytest_subprocess(*pytest_options, f"--zul-bin={folder}").assert_outcomes(passed=1)
    result = pytester.runpytest_subprocess(*pytest_options, "--zul-bin=/nowhere")
    assert result.ret == pytest.ExitCode.USAGE_ERROR
    result.stderr.fnmatch_lines("ERROR: --zul-bin names no folder: /nowhere")


def test_a_program_that_failed_fails_the_test(
    pytester: pytest.Pytester, pytest_options: tuple[str, ...]
) -> None:
    pytester.makepyfile(
        "import os, signal\ndef test_fails(zul_bench):\n    os.kill(zul_bench().pid, signal.SIGSEGV)\n"
    )
    result = pytester.runpytest_subprocess(*pytest_options)
    result.assert_outcomes(passed=1, errors=1)
    result.stdout.fnmatch_lines("E *ZulError: zulbench was ended by SIGSEGV*")


@pytest.mark.parametrize("how", [signal.SIGKILL, signal.SIGINT])
def test_a_killed_run_leaves_nothing(
    pytester: pytest.Pytester, pytest_options: tuple[str, ...], own_folder_for_files: Path, how: signal.Signals
) -> None:
    pytester.makepyfile(
        "import time\ndef test_hangs(zul_server, zul_bench):\n"
        "    gate = zul_bench(server=zul_server)\n"
        "    gate.wait_connected()\n"
        "    with open('pids', 'w') as file: file.write(f'{gate.pid} {zul_server.pid}\\n')\n"
        "    time.sleep(1000)\n"
    )
    command = [sys.executable, "-m", "pytest", *pytest_options]
    with subprocess.Popen(command, stdout=subprocess.DEVNULL, process_group=0) as run:
        file = pytester.path / "pids"
        wait_until(lambda: file.exists() and file.read_text().endswith("\n"), "the programs")
        pids = [int(pid) for pid in file.read_text().split()]
        assert all(runs(pid) for pid in pids)
        os.killpg(run.pid, how)
    wait_until(lambda: not any(runs(pid) for pid in pids), "the end of the programs")
    wait_until(lambda: not list(own_folder_for_files.glob("zul-*")), "the end of the files")
    assert [path for path in own_folder_for_files.rglob("*") if not path.is_dir()] == []


def test_tests_run_at_the_same_time(pytester: pytest.Pytester, pytest_options: tuple[str, ...]) -> None:
    pytester.makepyfile(
        "import pytest\n@pytest.mark.parametrize('n', range(12))\n"
        "def test_reports(zul_server, zul_bench, n):\n"
        "    gate = zul_bench(din=2, serial=7, server=zul_server)\n"
        "    gate.wait_connected(timeout=60)\n"
        "    gate.din[1].high()\n"
        "    zul_server.expect_event('OBJ_PORT_DIN', portId=1, within=60)\n"
        "    zul_server.expect_no_event(within=0.1)\n"
    )
    pytester.runpytest_subprocess(*pytest_options, "-p", "xdist", "-n", "4").assert_outcomes(passed=12)
