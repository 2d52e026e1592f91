"""A fleet as an object, with the real programs."""

from __future__ import annotations

import json
import os
import re
import signal
import threading
from collections.abc import Iterator
from pathlib import Path

import pytest
from conftest import runs, wait_until
from zul import ExpectationFailed, Fleet, Server, ZulError, ZulTimeout

FAILING = """
def test_fails(zul_server, zul_fleet):
    fleet = zul_fleet(zul_server, 5, din=1)
    fleet.wait_in()
    fleet.close()
    assert fleet.report["devices"]["in"] == 6
"""


@pytest.fixture
def server() -> Iterator[Server]:
    with Server() as server:
        yield server


def test_all_its_devices_are_in(server: Server) -> None:
    with Fleet(server, 30, din=2, serial_start=1001, label="GATE {n:02}", seed=1) as fleet:
        fleet.wait_in()
        assert fleet.progress["in"] == 30 and fleet.progress["down"] == 0
        assert server.wait_device(device=1030)["deviceLabel"] == "GATE 29"
    assert fleet.report["devices"] == {"asked": 30, "in": 30, "refused": {}, "lost": 0}
    assert fleet.report["seed"] == fleet.seed == 1


def test_its_duration_ends_it(server: Server) -> None:
    with Fleet(server, 5, din=1, events=20, mix={"din": 70, "adhoc": 30}, seed=1, duration="500ms") as fleet:
        report = fleet.wait(timeout=60)
        assert report["events"]["planned"] == report["events"]["sent"] == 10
        assert fleet.wait() == fleet.report == report


def test_keywords_are_the_options(server: Server, tmp_path: Path) -> None:
    (tmp_path / "site.dev").write_text("1\n0\n1\n0\n1\n0\n1\n7\nsite\n")
    with Fleet(
        server,
        4,
        device=tmp_path / "site.dev",
        din=2,
        seed=5,
        connect_rate=100,
        bind=["127.0.0.1", "127.0.0.2-127.0.0.3"],
        events=2,
        mix="din=1",
        sample_every=0.5,
        outage=["storm@1s:200ms", "flap:25%:1s:reset"],
        duration=600,
        progress=0.1,
        shard="1/2",
        run_id="the run",
        require=4,
    ) as fleet:
        fleet.wait_in()
    assert fleet.report["shard"] == "1/2" and fleet.report["run"] == "the run"
    assert fleet.report["devices"]["asked"] == 2
    assert fleet.command_line == (
        f"zulfleet --server {server.address} --count 4 --device {tmp_path}/site.dev --din 2 --seed 5"
        " --connect-rate 100 --bind 127.0.0.1,127.0.0.2-127.0.0.3 --events 2 --mix din=1 --sample-every 0.5"
        " --outage storm@1s:200ms --outage flap:25%:1s:reset --duration 600 --progress 0.1 --shard 1/2"
        " --run-id 'the run' --require 4"
    )


def test_the_report_can_be_kept(server: Server, tmp_path: Path) -> None:
    with Fleet(server, 2, seed=1, report=tmp_path / "fleet.json") as fleet:
        fleet.wait_in()
    assert json.loads((tmp_path / "fleet.json").read_text()) == fleet.report


def test_before_its_end_there_is_no_report(server: Server) -> None:
    with Fleet(server, 2, seed=1) as fleet:
        with pytest.raises(ZulError, match="^zulfleet has no report before its end: .*[.]$"):
            fleet.report  # noqa: B018
        with pytest.raises(ZulTimeout, match="^zulfleet did not end within 0.1 seconds[.]$"):
            fleet.wait(timeout=0.1)


def test_fewer_devices_than_required_are_a_failed_expectation() -> None:
    with Server() as server:
        address = server.address
    with Fleet(address, 3, seed=1, require=2, duration=0.1) as fleet:
        with pytest.raises(ExpectationFailed, match="^0 of 3 devices were in, 0 events were dropped, and 0 still"):
            fleet.wait(timeout=60)
    assert fleet.report["devices"]["in"] == 0


def test_closing_a_fleet_says_what_was_not_as_required() -> None:
    with Server() as server:
        address = server.address
    with pytest.raises(ExpectationFailed, match="^0 of 3 devices were in"):
        with Fleet(address, 3, seed=1, require=2):
            pass


def test_devices_that_are_not_in_are_a_timeout() -> None:
    with Server() as server:
        address = server.address
    with Fleet(address, 3, seed=1) as fleet:
        with pytest.raises(ZulTimeout, match="^Not all devices were in within 0.1 seconds: "):
            fleet.wait_in(timeout=0.1)


@pytest.mark.parametrize("count", [0, -1])
def test_a_wrong_option_is_a_sentence(server: Server, count: int, own_folder_for_files: Path) -> None:
    before = sorted(own_folder_for_files.iterdir()), threading.active_count()
    with pytest.raises(ZulError, match="^zulfleet ended with status 1: zulfleet: .*--count.*[.]?$"):
        Fleet(server, count)
    assert before == (sorted(own_folder_for_files.iterdir()), threading.active_count())


def test_it_takes_commands(server: Server) -> None:
    with Fleet(server, 3, din=2, seed=1) as fleet:
        fleet.wait_in()
        fleet.command("set din 2 high device=3")
        server.expect_event("OBJ_PORT_DIN", portId=2, inputState="OBJ_IO_STATE_SET", device=3)


def test_one_that_crashed_says_so(server: Server) -> None:
    with pytest.raises(ZulError, match="^zulfleet was ended by SIGKILL"):
        with Fleet(server, 1, seed=1) as fleet:
            os.kill(fleet.pid, signal.SIGKILL)
            with pytest.raises(ZulError, match="^zulfleet was ended by SIGKILL"):
                fleet.wait_in()


def test_it_leaves_nothing(server: Server, own_folder_for_files: Path) -> None:
    before = sorted(own_folder_for_files.iterdir()), threading.active_count()
    with Fleet(server, 5, seed=1) as fleet:
        fleet.wait_in()
    assert not runs(fleet.pid)
    assert before == (sorted(own_folder_for_files.iterdir()), threading.active_count())


@pytest.fixture
def pytest_options(own_folder_for_files: Path) -> tuple[str, ...]:
    return ("-p", "zul.plugin", "-p", "no:cacheprovider", f"--basetemp={own_folder_for_files / 'base'}")


def test_a_failing_test_shows_the_fleet(pytester: pytest.Pytester, pytest_options: tuple[str, ...]) -> None:
    pytester.makepyfile(FAILING)
    result = pytester.runpytest_subprocess(*pytest_options)
    result.assert_outcomes(failed=1)
    text = result.stdout.str()
    fleet = text[text.index("- Fleet 1 -") :]
    seed = re.search("^seed: ([0-9]+)$", fleet, re.MULTILINE)
    assert seed
    assert re.search(f"^by hand: zulfleet --server [0-9.:]+ --count 5 --din 1 --seed {seed[1]}$", fleet, re.MULTILINE)
    assert "devices           asked" in fleet


def test_a_fleet_is_closed_after_the_test(pytester: pytest.Pytester, pytest_options: tuple[str, ...]) -> None:
    pytester.makepyfile(
        "def test_passes(zul_server, zul_fleet):\n"
        "    fleet = zul_fleet(zul_server, 5)\n"
        "    fleet.wait_in()\n"
        "    with open('pid', 'w') as file: file.write(str(fleet.pid))\n"
    )
    pytester.runpytest_subprocess(*pytest_options).assert_outcomes(passed=1)
    wait_until(lambda: not runs(int((pytester.path / "pid").read_text())), "its end")


def test_seeds_come_from_the_name_of_the_test(pytester: pytest.Pytester, pytest_options: tuple[str, ...]) -> None:
    pytester.makepyfile(
        "import pytest\n@pytest.mark.parametrize('n', [1, 2])\n"
        "def test_seeds(zul_server, zul_fleet, n):\n"
        "    print('seeds:', zul_fleet(zul_server, 1).seed, zul_fleet(zul_server, 1).seed)\n"
    )

    def seeds() -> list[str]:
        result = pytester.runpytest_subprocess(*pytest_options, "-s")
        result.assert_outcomes(passed=2)
        return re.findall(r"seeds: (\d+) (\d+)", result.stdout.str())

    first = seeds()
    assert seeds() == first
    assert len({seed for pair in first for seed in pair}) == 4, "each fleet of each test has its own"
