"""What rules would have done to a recorded session, with the real programs."""

from __future__ import annotations

import json
import os
import subprocess
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import pytest
from zul import Bench, Fleet, Proxy, Server, ZulError

Line = dict[str, Any]

HARMLESS = [
    "duplicate msg=event p=0.5",
    "wrong-number msg=event object=OBJ_ACCESS",
    "unknown-tag msg=event p=0.5",
    "nan msg=event",
    "double-record msg=event object=OBJ_PORT_DIN every=2",
    "empty-segments n=3 msg=answer p=0.7",
    "field portLabel=door msg=answer object=OBJ_PORT_DIN",
]
"""Rules after which neither end says anything else than without them."""


def dry_run(
    capture: Path, rules: list[str], *options: str, seed: int = 5
) -> subprocess.CompletedProcess[str]:
    words = [word for rule in rules for word in ("--rule", rule)]
    program = os.path.join(os.environ["ZUL_BIN"], "zulproxy")
    return subprocess.run(
        [program, "--dry-run", "--against", str(capture), "--seed", str(seed), *words, *options],
        capture_output=True,
        text=True,
        timeout=60,
    )


def faults_of(capture: Path, rules: list[str], *options: str, seed: int = 5) -> list[Line]:
    run = dry_run(capture, rules, *options, seed=seed)
    assert (run.returncode, run.stderr) == (0, "")
    lines: list[Line] = [json.loads(line) for line in run.stdout.splitlines()]
    assert all(line["event"] == "fault" for line in lines)
    return lines


def without_time(lines: list[Line]) -> list[Line]:
    return [{name: value for name, value in line.items() if name != "time"} for line in lines]


def session(rules: list[str], capture: Path, link: Path | None = None) -> tuple[list[Line], int]:
    """A device and its server do the same each time. Returns the faults and the proxy's port.

    `link` records the device's end, too.
    """
    with Server() as server, Proxy(server, rules, 5, capture=capture) as proxy:
        with Bench(din=2, dout=1, ain=1, scanners=1, serial=7, server=proxy, capture=link or False) as gate:
            gate.wait_connected()
            for state in ("high", "low", "high"):
                gate.din[1].set(state)
                server.expect_event("OBJ_PORT_DIN", inputState=f"OBJ_IO_STATE_{'SET' if state == 'high' else 'CLEAR'}")
                server.forget()
            server.get("din", 1)
            server.set_dout(1, "high")
            gate.dout[1].expect_high()
            gate.ain[1].set(70)
            server.expect_event("OBJ_ANALOG_SAMPLE")
            gate.scan(1, "4711")
            server.expect_event("OBJ_ACCESS")
            server.get("dout")
    return proxy.faults, proxy.port


@pytest.fixture(scope="module")
def plain(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """The folder of a session without rules, recorded by the proxy and by the device."""
    folder = tmp_path_factory.mktemp("plain")
    faults, port = session([], folder / "proxy.pcapng", folder / "device.pcapng")
    assert faults == []
    (folder / "port").write_text(str(port))
    return folder


@pytest.fixture(scope="module")
def live(tmp_path_factory: pytest.TempPathFactory) -> list[Line]:
    """The faults of the same session under the rules."""
    return session(HARMLESS, tmp_path_factory.mktemp("live") / "proxy.pcapng")[0]


def test_it_prints_what_a_live_run_would(plain: Path, live: list[Line]) -> None:
    assert {fault["rule"] for fault in live} == set(range(1, len(HARMLESS) + 1)), "each rule acts"
    assert without_time(faults_of(plain / "proxy.pcapng", HARMLESS)) == without_time(live)


def test_the_recording_of_a_device_gives_the_same(plain: Path, live: list[Line]) -> None:
    assert without_time(faults_of(plain / "device.pcapng", HARMLESS)) == without_time(live)


def test_a_recording_in_another_format_needs_the_port(plain: Path, live: list[Line]) -> None:
    converted = plain / "device.pcap"
    subprocess.run(["editcap", "-F", "pcap", plain / "device.pcapng", converted], check=True)
    run = dry_run(converted, HARMLESS)
    assert (run.returncode, run.stdout) == (0, "")
    assert run.stderr == "zulproxy: The recording holds no connection to port 50000; --port names another.\n"
    port = (plain / "port").read_text()
    assert without_time(faults_of(converted, HARMLESS, "--port", port)) == without_time(live)


def test_times_are_those_of_the_recording(plain: Path) -> None:
    capture = plain / "proxy.pcapng"
    shown = subprocess.run(
        ["tshark", "-n", "-r", capture, "-T", "fields", "-e", "frame.time_epoch"],
        check=True,
        stdout=subprocess.PIPE,
        text=True,
    )
    recorded = [float(line) for line in shown.stdout.splitlines()]
    times = [line["time"] for line in faults_of(capture, HARMLESS)]
    assert times == sorted(times)
    assert all(any(abs(time - packet) < 2e-6 for packet in recorded) for time in times)


def test_another_seed_gives_other_faults(plain: Path) -> None:
    rules = ["lose p=0.5"]
    recorded = plain / "proxy.pcapng"
    assert faults_of(recorded, rules) == faults_of(recorded, rules)
    assert faults_of(recorded, rules) != faults_of(recorded, rules, seed=6)


def test_without_rules_it_prints_nothing(plain: Path) -> None:
    assert faults_of(plain / "proxy.pcapng", []) == []


HARMFUL = {
    "messages": ["lose p=0.2", "late ms=20 p=0.2", "swap p=0.1", "hold until=2 p=0.1", "duplicate p=0.2"],
    "ends": ["cut p=0.02", "corrupt bits=3 p=0.02", "reset p=0.01", "truncate p=0.01", "refuse p=0.2"],
    "headers": [
        "wrong-checksum p=.01",
        "wrong-type p=.02",
        "unknown-flag p=.02",
        "too-long p=.01",
        "empty-segments n=3 p=.3",
        "never-last p=.01",
    ],
    "records": [
        "wrong-serial msg=event p=.2",
        "unknown-object p=.2",
        "drop-tag portId p=.2",
        "wrong-length portId p=.05",
        "drop-record p=.1",
        "double-record p=.1",
        "field inputState=1 p=.3",
    ],
}


@pytest.mark.parametrize("rules", HARMFUL.values(), ids=HARMFUL)
def test_a_recording_under_rules_gives_what_they_did(rules: list[str], tmp_path: Path) -> None:
    recorded = tmp_path / "proxy.pcapng"
    with Server(quiet=["message"]) as server, Proxy(server, rules, 5, capture=recorded) as proxy:
        try:
            with Fleet(proxy, 8, din=2, dout=1, ain=1, seed=1, events=40, mix="din=1", duration=1) as fleet:
                fleet.wait()
        except ZulError:
            pass  # Not all devices came through.
    faults = proxy.faults
    assert faults and len(proxy.events) < 1000
    assert without_time(faults_of(recorded, rules)) == without_time(faults)


@pytest.fixture
def bad_file(tmp_path: Path) -> Iterator[Path]:
    path = tmp_path / "notes.txt"
    path.write_text("no packets")
    yield path


def test_a_file_that_is_no_recording_is_a_sentence(bad_file: Path) -> None:
    run = dry_run(bad_file, ["lose"])
    assert (run.returncode, run.stdout) == (1, "")
    assert run.stderr == f'zulproxy: Cannot read "{bad_file}": capture file: it is neither pcapng nor pcap.\n'


def test_a_file_that_is_not_there_is_a_sentence(tmp_path: Path) -> None:
    run = dry_run(tmp_path / "none", ["lose"])
    assert (run.returncode, run.stdout) == (1, "")
    assert run.stderr == f'zulproxy: Cannot read "{tmp_path}/none": No such file or directory.\n'


def test_a_recording_that_was_cut_is_used_up_to_there(plain: Path, tmp_path: Path) -> None:
    whole = (plain / "proxy.pcapng").read_bytes()
    cut = tmp_path / "cut.pcapng"
    cut.write_bytes(whole[: len(whole) // 2])
    run = dry_run(cut, ["lose"])
    assert run.returncode == 0
    assert run.stderr == f'zulproxy: "{cut}" ends within a packet.\n'
    lines = run.stdout.splitlines()
    assert lines and lines == dry_run(plain / "proxy.pcapng", ["lose"]).stdout.splitlines()[: len(lines)]
