"""Scenarios in the real programs, as a server sees them."""

from __future__ import annotations

import json
import os
import re
import shlex
import subprocess
import xml.etree.ElementTree as ET
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import Any

import pytest
from conftest import wait_until
from zul import Bench, Capture, ExpectationFailed, Fleet, Server, ZulError

BIN = Path(os.environ.get("ZUL_BIN", "/usr/bin"))
EXAMPLES = Path(__file__).resolve().parents[2] / "examples" / "scenarios"

DAY = """
scenario: A day
seed: 7
start: {din 1: high, ain 1: 20}
steps:
  - every: 10m ± 2m
    until: 24h
    toggle: din 2
  - at: 1h
    ramp: {ain 1: 20..85, over: 2h, step: 10m}
  - at: 4h
    wave: {ain 2: 40 ± 30, period: 2h, shape: walk, step: 15m, for: 12h}
  - at: 5h
    sensor: {ain 1: noise ± 3, for: 10h}
  - every: 3h
    until: 24h
    scan: {scanner: 1, code: "tour {n}"}
  - at: 23h 59m
    adhoc: {id: 7, label: end, value: "{serial}"}
"""


class Monitor:
    """A zulserver whose lines are kept."""

    def __init__(self, folder: Path) -> None:
        self._lines = folder / "server.jsonl"
        port = folder / "port"
        with self._lines.open("w") as output:
            self._process = subprocess.Popen(
                [BIN / "zulserver", "--port", "0", "--port-file", port], stdin=subprocess.PIPE, stdout=output
            )
        wait_until(lambda: port.exists() and port.read_text().strip() != "", "the server listens")
        self.address = f"127.0.0.1:{port.read_text().strip()}"

    def close(self) -> None:
        self._process.terminate()
        self._process.wait()
        assert self._process.stdin is not None
        self._process.stdin.close()

    def lines(self, event: str) -> list[dict[str, Any]]:
        lines = [json.loads(line) for line in self._lines.read_text().splitlines(keepends=True) if line.endswith("\n")]
        return [line for line in lines if line["event"] == event]

    def events(self, connections: int) -> dict[int, list[Any]]:
        """What each device has told, in its order, once so many connections have ended."""
        wait_until(lambda: len(self.lines("disconnected")) == connections, "the devices are gone")
        told: dict[int, list[Any]] = {}
        for line in self.lines("message"):
            told.setdefault(line["objects"][0]["deviceSerial"], []).append(line["objects"])
        return told


@pytest.fixture
def monitor(tmp_path: Path) -> Iterator[Callable[[], Monitor]]:
    """Starts servers."""
    started: list[Monitor] = []

    def start() -> Monitor:
        folder = tmp_path / f"server{len(started)}"
        folder.mkdir()
        started.append(Monitor(folder))
        return started[-1]

    yield start
    for server in started:
        server.close()


def play(*options: str | Path, cwd: Path | None = None) -> subprocess.CompletedProcess[str]:
    """Runs a zulbench without a window to its end."""
    command: list[str | Path] = [BIN / "zulbench", "--headless", *options]
    ended = subprocess.run(command, capture_output=True, text=True, timeout=120, cwd=cwd)
    # What Qt and the window say at each start.
    ended.stderr = re.sub(r"^(QStandardPaths|Config Dir|Starting with|This plugin|\d{4}-).*\n", "", ended.stderr, flags=re.M)
    return ended


def bench(monitor: Monitor, *options: str | Path) -> list[Any]:
    """What a device tells that plays until its scenarios are done."""
    ended = play("--server", monitor.address, "--serial", "9", "--until-done", *options)
    assert ended.returncode == 0, ended.stderr
    return monitor.events(1)[9]


def write(folder: Path, text: str, name: str = "a.yaml") -> Path:
    file = folder / name
    file.write_text(text)
    return file


PORTS = ("--din", "4", "--dout", "2", "--ain", "2", "--scanners", "1")


def test_the_same_scenario_and_seed_tell_the_same_again(monitor: Callable[[], Monitor], tmp_path: Path) -> None:
    file = write(tmp_path, DAY)
    captures = [tmp_path / "a.pcapng", tmp_path / "b.pcapng"]
    first, second = (
        bench(monitor(), *PORTS, "--scenario", file, "--time-scale", "10000", "--seed", "3", "--capture", capture)
        for capture in captures
    )
    assert len(first) > 144 + 14 + 48 + 2 * 140  # the samples that the rate sends too
    assert first == second
    compared = subprocess.run([BIN / "zulcapture", "diff", *captures], capture_output=True, text=True, timeout=60)
    assert (compared.returncode, compared.stdout, compared.stderr) == (0, "", "")


def test_a_day_is_the_same_at_any_speed(monitor: Callable[[], Monitor], tmp_path: Path) -> None:
    short = {"24h": "3h", "23h 59m": "3h", "12h": "1h", "every: 3h": "every: 1h", "10h": "1h", "4h": "2h", "5h": "2h"}
    file = write(tmp_path, re.sub("|".join(short), lambda found: short[found[0]], DAY))
    fast = bench(monitor(), *PORTS, "--scenario", file, "--time-scale", "10000")
    slow = bench(monitor(), *PORTS, "--scenario", file, "--time-scale", "600")
    assert len(fast) > 30
    assert fast == slow


def test_another_seed_tells_something_else(monitor: Callable[[], Monitor], tmp_path: Path) -> None:
    file = write(tmp_path, DAY)
    own, other = (
        bench(monitor(), *PORTS, "--scenario", file, "--time-scale", "10000", *seed) for seed in ((), ("--seed", "8"))
    )
    assert own != other


def test_a_seed_that_is_chosen_by_chance_is_told_and_plays_the_same(
    monitor: Callable[[], Monitor], tmp_path: Path
) -> None:
    file = write(tmp_path, "steps:\n  - {at: 0s, wave: {ain 1: 50 ± 50, period: 1m, shape: walk, for: 1m}}\n")
    first = monitor()
    options = (*PORTS, "--scenario", file, "--time-scale", "60", "--until-done", "--serial", "9")
    ended = play("--server", first.address, *options)
    told = re.fullmatch(r"zulbench: the seed is (\d+); --seed (\d+) plays the same scenario again\n", ended.stderr)
    assert told and told[1] == told[2]
    second = monitor()
    assert play("--server", second.address, *options, "--seed", told[1]).stderr == ""
    assert first.events(1) == second.events(1)


def test_the_start_makes_no_events(monitor: Callable[[], Monitor], tmp_path: Path) -> None:
    file = write(
        tmp_path,
        "start: {din 1: high, ain 1: 20}\nsteps:\n  - {at: 100ms, toggle: din 1}\n  - {at: 200ms, scan: {scanner: 1, code: A}}\n",
    )
    told = bench(monitor(), *PORTS, "--scenario", file)
    assert [objects[0]["type"] for objects in told] == ["OBJ_PORT_DIN", "OBJ_ACCESS"]
    assert told[0][0]["inputState"] == "OBJ_IO_STATE_CLEAR"


def test_a_faulty_sensor_tells_the_server_something_else(monitor: Callable[[], Monitor], tmp_path: Path) -> None:
    file = write(
        tmp_path,
        """
steps:
  - {at: 0s, sensor: {ain 1: nan, for: 10s}}
  - {at: 1s, set: {ain 1: 30}}
  - {at: 11s, set: {ain 1: 40}}
  - {at: 12s, sensor: {ain 1: drift 600/min, for: 10s}}
  - {at: 22s, set: {ain 1: 50}}
  - {at: 21s, set: {ain 1: 60}}
""",
    )
    told = bench(monitor(), *PORTS, "--scenario", file, "--time-scale", "20")
    assert [objects[0]["sample"] for objects in told] == [None, 40, 150, 50]


def test_several_files_are_played_in_their_order(monitor: Callable[[], Monitor], tmp_path: Path) -> None:
    files = [
        write(tmp_path, f"steps:\n  - {{at: 100ms, scan: {{scanner: 1, code: {code}}}}}\n", f"{code}.yaml")
        for code in "BA"
    ]
    told = bench(monitor(), *PORTS, "--scenario", files[0], "--scenario", files[1])
    assert [objects[0]["scanCode"] for objects in told] == ["B", "A"]


def test_what_waited_is_sent_before_the_end(monitor: Callable[[], Monitor], tmp_path: Path) -> None:
    file = write(
        tmp_path,
        """
steps:
  - {at: 500ms, link: down}
  - {at: 600ms, flood: {scan: {scanner: 1, code: "{n}"}, count: 200, rate: 1000/s}}
  - {at: 1s, link: up}
  - {at: 3s, toggle: din 1}
""",
    )
    server = monitor()
    ended = play("--server", server.address, "--serial", "9", *PORTS, "--scenario", file, "--until-done")
    assert ended.returncode == 0
    told = server.events(2)[9]
    assert [objects[0].get("scanCode") for objects in told] == [*(str(n) for n in range(1, 201)), None]


LATE = """
steps:
  - {at: 0s, link: down}
  - {at: 10ms, flood: {scan: {scanner: 1, code: "{n}"}, count: 200, rate: 100000/s}}
  - {at: 500ms, link: up}
"""


def test_the_server_reads_what_waited_for_a_link_that_comes_last(
    monitor: Callable[[], Monitor], tmp_path: Path
) -> None:
    file = write(tmp_path, LATE)
    server = monitor()
    ended = play("--server", server.address, "--serial", "9", *PORTS, "--scenario", file, "--until-done")
    assert ended.returncode == 0
    assert [objects[0]["scanCode"] for objects in server.events(2)[9]] == [str(n) for n in range(1, 201)]


def test_the_server_reads_what_a_fleet_told_before_it_was_connected(
    monitor: Callable[[], Monitor], tmp_path: Path
) -> None:
    file = write(tmp_path, "steps:\n  - {at: 0s, flood: {scan: {scanner: 1, code: A}, count: 50, rate: 100000/s}}\n")
    told = fleet(monitor(), 50, file)
    assert [len(events) for events in told.values()] == [50] * 50


EXPECTING = """
scenario: The lamp
steps:
  - at: 100ms
    expect: {dout 1: low, within: 1s}
  - at: 200ms
    expect: {dout 2: high, within: 300ms}
"""


def test_an_expectation_that_is_missed_is_status_4(tmp_path: Path) -> None:
    file = write(tmp_path, EXPECTING)
    report = tmp_path / "report.xml"
    ended = play(*PORTS, "--scenario", file, "--until-done", "--junit", report)
    assert ended.returncode == 4
    missed = "line 6 expects dout 2 high within 0.3 s: dout 2 is low"
    assert f"zulbench: The lamp: {missed}\n" in ended.stderr
    met, failed = ET.parse(report).getroot().iter("testcase")
    assert [case.get("name") for case in (met, failed)] == ["The lamp, line 4", "The lamp, line 6"]
    assert len(met) == 0
    failure = failed.find("failure")
    assert failure is not None and failure.get("message") == missed


def test_an_expectation_that_was_not_reached_is_skipped_in_the_report(tmp_path: Path) -> None:
    file = write(tmp_path, EXPECTING.replace("100ms", "1h").replace("200ms", "2h"))
    report = tmp_path / "report.xml"
    quick = write(tmp_path, "steps:\n  - {at: 0s, toggle: din 1}\n", "quick.yaml")
    with Bench(din=1, dout=2, scenario=quick) as device:
        device.play(file)
        assert device.scenario["met"] == device.scenario["missed"] == 0
    ended = play(*PORTS, "--scenario", file, "--junit", report, "--run", write(tmp_path, "sender.exit(0);", "end.js"))
    assert ended.returncode == 0
    assert len(ET.parse(report).getroot().findall(".//skipped")) == 2


MISTAKES = [
    ("steps:\n  - at: 1s\n    sett: {din 1: high}\n", 3, 5),
    ("steps:\n  - at: 1s\n    set: {din 5: high}\n", 3, 11),
]


@pytest.mark.parametrize("text, line, column", MISTAKES)
def test_a_mistake_is_told_with_its_place_and_nothing_is_played(
    text: str, line: int, column: int, tmp_path: Path
) -> None:
    good = write(tmp_path, EXPECTING, "good.yaml")
    bad = write(tmp_path, text, "bad.yaml")
    for option in ((), ("--check",), ("--until-done",)):
        ended = play("--din", "4", "--dout", "2", "--scenario", good, "--scenario", bad, *option)
        assert ended.returncode == 1
        assert ended.stderr.startswith(f"{bad}:{line}:{column}: ")
        assert ended.stderr.count("\n") == 1
    fleet: list[str | Path] = ["--server", "127.0.0.1:1", "--count", "3", "--din", "4", "--scenario", bad]
    ended = subprocess.run([BIN / "zulfleet", *fleet], capture_output=True, text=True, timeout=60)
    assert ended.returncode == 1
    assert ended.stderr.startswith(f"{bad}:{line}:{column}: ")


def test_check_only_looks(tmp_path: Path) -> None:
    file = write(tmp_path, EXPECTING)
    ended = play(*PORTS, "--check", "--scenario", file, "--server", "127.0.0.1:1")
    assert (ended.returncode, ended.stdout, ended.stderr) == (0, "", "")
    assert play("--check", "--device", "/nowhere.dev").returncode == 1


def test_a_scenario_is_played_from_python(tmp_path: Path) -> None:
    file = write(
        tmp_path,
        "steps:\n  - {at: 0s, set: {din 1: high}, for: 10s}\n  - {at: 20s, scan: {scanner: 1, code: A}}\n",
    )
    with Server() as server, Bench(din=1, scanners=1, server=server, scenario=file, time_scale=20) as device:
        server.expect_event("OBJ_PORT_DIN", inputState="OBJ_IO_STATE_SET", within=30)
        server.expect_event("OBJ_PORT_DIN", inputState="OBJ_IO_STATE_CLEAR", within=30)
        server.expect_event("OBJ_ACCESS", scanCode="A", within=30)
        done = device.wait_scenario()
        assert (done["scenarios"], done["done"], done["ended"]) == (1, 2, True)
        device.play(file)
        server.expect_event("OBJ_ACCESS", scanCode="A", within=30)
        device.wait_scenario()  # its reply comes behind the lines of the steps
        steps = [line for line in device.events if line["event"] == "step"]
        assert [step["step"] for step in steps[-2:]] == [1, 2]
        assert steps[-1]["scenario"] == "a" and steps[-1]["planned"] == 20 <= steps[-1]["actual"]


def test_a_wrong_scenario_is_told_to_python(tmp_path: Path) -> None:
    with Bench(din=1) as device, pytest.raises(ZulError, match="a.yaml:2:"):
        device.play(write(tmp_path, "steps:\n  - {at: 1s, set: {din 2: high}}\n"))


def test_a_missed_expectation_fails_a_test(tmp_path: Path) -> None:
    file = write(tmp_path, EXPECTING)
    with Bench(dout=2, scenario=file) as device, pytest.raises(ExpectationFailed, match="line 6 expects dout 2 high"):
        device.wait_scenario()
    device = Bench(dout=2, scenario=file)
    wait_until(lambda: bool(device.scenario["ended"]), "the scenario is done")
    with pytest.raises(ExpectationFailed):
        device.close()


def test_a_condition_is_met_by_what_the_server_sets(tmp_path: Path) -> None:
    file = write(tmp_path, "steps:\n  - {when: {dout 1: high}, after: 100ms, set: {din 1: high}}\n")
    with Server() as server, Bench(din=1, dout=1, serial=5, server=server, scenario=file) as device:
        device.wait_connected()
        server.set_dout(1, state="high", device=5)
        server.expect_event("OBJ_PORT_DIN", inputState="OBJ_IO_STATE_SET", within=30)
        assert not device.scenario["ended"]


def fleet(monitor: Monitor, count: int, file: Path, *options: str) -> dict[int, list[Any]]:
    """What the devices of a fleet tell until their scenarios are done."""
    command = ["--server", monitor.address, "--count", str(count), *PORTS, "--scenario", str(file), "--until-done"]
    ended = subprocess.run([BIN / "zulfleet", *command, *options], capture_output=True, text=True, timeout=120)
    assert ended.returncode == 0, ended.stderr
    return monitor.events(count)


def test_a_fleet_plays_the_same_again(monitor: Callable[[], Monitor], tmp_path: Path) -> None:
    file = write(tmp_path, DAY.replace("seed: 7", "seed: 7\nspread: 10m"))
    first, second = (fleet(monitor(), 20, file, "--time-scale", "10000") for _ in range(2))
    assert len(first) == 20
    assert first == second
    assert len({json.dumps([event[0].get("sample") for event in events]) for events in first.values()}) == 20

BUSY = """
scenario: A busy minute
spread: 20s
steps:
  - every: 5s ± 4s
    until: 1m
    toggle: din 1
  - at: 1s
    wave: {ain 1: 40 ± 30, period: 20s, shape: walk, for: 1m}
  - at: 2s
    sensor: {ain 1: noise ± 3, for: 50s}
  - at: 30s
    flood: {adhoc: {id: 3, label: "Smoke {n}", value: "zone {device}"}, count: 10, rate: 50/s}
"""


def test_500_devices_play_the_same_again(tmp_path: Path) -> None:
    file = write(tmp_path, BUSY)
    captures = [tmp_path / "a.pcapng", tmp_path / "b.pcapng"]
    for capture in captures:
        with Server(capture=capture) as server:
            options = ("--count", "500", *PORTS, "--scenario", str(file), "--seed", "5", "--time-scale", "20")
            command = [str(BIN / "zulfleet"), "--server", f"127.0.0.1:{server.port}", *options, "--until-done"]
            ended = subprocess.run(command, capture_output=True, text=True, timeout=120)
            assert ended.returncode == 0, ended.stderr
    events = list(Capture(captures[0]).filter(msg="event"))
    assert len({event["deviceSerial"] for event in events}) == 500
    assert len(events) > 500 * (60 + 10 + 8)
    compared = subprocess.run([BIN / "zulcapture", "diff", *captures], capture_output=True, text=True, timeout=120)
    assert (compared.returncode, compared.stdout, compared.stderr) == (0, "", "")


MORNING = """
start: {din 1: high}
steps:
  - {at: 200ms, set: {din 2: high}, for: 300ms}
  - {at: 300ms, ramp: {ain 1: 10..60, over: 500ms, step: 100ms}}
  - {at: 400ms, scan: {scanner: 1, code: "4711: {{n}"}}
  - {at: 900ms, flood: {adhoc: {id: 9, label: "a {n}", value: b}, count: 20, rate: 100/s}}
  - {at: 1500ms, toggle: din 1}
"""


def test_what_an_operator_did_is_played_again_from_a_recording(tmp_path: Path) -> None:
    def record(scenario: Path, name: str) -> Path:
        capture = tmp_path / name
        with Server(capture=capture) as server:
            ended = play("--server", f"127.0.0.1:{server.port}", "--serial", "9", *PORTS, "--scenario", scenario, "--until-done")
            assert ended.returncode == 0, ended.stderr
        return capture

    recorded = record(write(tmp_path, MORNING), "recorded.pcapng")
    made = subprocess.run(
        [BIN / "zulcapture", "scenario", recorded, "--device", "9"], capture_output=True, text=True, timeout=60
    )
    assert (made.returncode, made.stderr) == (0, "")
    again = record(write(tmp_path, made.stdout, "day.yaml"), "again.pcapng")
    compared = subprocess.run([BIN / "zulcapture", "diff", recorded, again], capture_output=True, text=True, timeout=60)
    assert (compared.returncode, compared.stdout, compared.stderr) == (0, "", "")
    messages = list(Capture(recorded))
    told = [message["time"] - messages[0]["time"] for message in messages if message["msgType"] == 3]
    planned = [float(seconds) for seconds in re.findall(r"- at: ([0-9.]+)s", made.stdout)]
    assert len(planned) == len(told) == 2 + 6 + 1 + 20 + 1
    assert planned == pytest.approx(told, abs=2e-6)


def test_what_a_device_draws_does_not_depend_on_how_many_there_are(
    monitor: Callable[[], Monitor], tmp_path: Path
) -> None:
    file = write(tmp_path, DAY)
    few = fleet(monitor(), 2, file, "--time-scale", "10000")
    many = fleet(monitor(), 5, file, "--time-scale", "10000")
    assert few == {serial: many[serial] for serial in (1, 2)}


def test_a_device_of_a_fleet_tells_what_the_bench_tells(monitor: Callable[[], Monitor], tmp_path: Path) -> None:
    file = write(tmp_path, DAY)
    alone = bench(monitor(), *PORTS, "--scenario", file, "--time-scale", "10000")
    of_fleet = fleet(monitor(), 1, file, "--time-scale", "10000", "--serial-start", "9")[9]
    strip = [[{key: value for key, value in event[0].items()} for event in events] for events in (alone, of_fleet)]
    assert strip[0] == strip[1]


def test_a_fleet_tells_how_far_its_scenarios_are(tmp_path: Path) -> None:
    file = write(tmp_path, EXPECTING)
    report = tmp_path / "report.xml"
    with Server() as server:
        fleet = Fleet(server, 3, dout=2)
        fleet.command(f"scenario {file}")
        wait_until(lambda: bool(fleet.command("get scenario").line["scenario"]["ended"]), "the scenarios are done")
        line = fleet.command("get scenario").line["scenario"]
        assert (line["scenarios"], line["done"], line["met"], line["missed"]) == (3, 6, 3, 3)
        assert fleet.command("get scenario device=2").line["scenario"]["done"] == 2
        serials = {event["deviceSerial"] for event in fleet.events if event["event"] == "step"}
        assert serials == {1, 2, 3}
        with pytest.raises(ExpectationFailed):
            fleet.close()
        arguments = ["--server", f"127.0.0.1:{server.port}", "--count", "3", "--dout", "2", "--until-done"]
        ended = subprocess.run(
            [BIN / "zulfleet", *arguments, "--scenario", file, "--junit", report], capture_output=True, timeout=60
        )
        assert ended.returncode == 4
        assert len(ET.parse(report).getroot().findall(".//testcase")) == 2


@pytest.mark.parametrize("name", sorted(file.name for file in EXAMPLES.glob("*.yaml")))
def test_an_example_is_played_as_its_first_lines_say(name: str, monitor: Callable[[], Monitor]) -> None:
    example = EXAMPLES / name
    lines = [line.removeprefix("# ") for line in example.read_text().splitlines()]
    command = next(line for line in lines if line.startswith("zulbench "))
    commands = next((shlex.split(line)[-1] for line in lines if line.startswith("zulserver ")), None)
    words = [word for word in shlex.split(command)[1:] if word != "--headless"]
    if commands is None:
        server = monitor()
        words[words.index("--server") + 1] = server.address
        ended = play(*words, cwd=example.parent)
        assert len(server.lines("message")) > 3
    else:
        with Server() as steered:
            words[words.index("--server") + 1] = f"127.0.0.1:{steered.port}"
            process = subprocess.Popen([BIN / "zulbench", "--headless", *words], cwd=example.parent)
            for line in (example.parent / commands).read_text().splitlines():
                if line and not line.startswith("#"):
                    assert steered.command(line).status == "ok", line
            ended = subprocess.CompletedProcess([], process.wait(60), "", "")
    assert ended.returncode == 0, ended.stderr
