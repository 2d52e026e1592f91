"""The device as an object, with the real programs."""

from __future__ import annotations

import os
import shlex
import signal
import socket
import threading
from collections.abc import Callable, Iterator
from pathlib import Path

import pytest
from conftest import runs, wait_until
from zul import Bench, ExpectationFailed, Server, ZulError, ZulTimeout

EXAMPLES = Path(__file__).resolve().parents[2] / "examples"


@pytest.fixture
def server() -> Iterator[Server]:
    with Server() as server:
        yield server


@pytest.fixture
def gate(server: Server) -> Iterator[Bench]:
    """A connected device."""
    with Bench(din=4, dout=4, ain=2, aout=2, scanners=2, serial=1001, label="gate", server=server) as gate:
        gate.wait_connected()
        yield gate


@pytest.fixture(scope="module")
def alone() -> Iterator[Bench]:
    """A device without a server."""
    with Bench(din=4, dout=4, ain=2, aout=2, scanners=2, serial=1001) as alone:
        yield alone


def test_the_lamp_follows_the_door(gate: Bench, server: Server) -> None:
    gate.din[1].high()
    server.expect_event("OBJ_PORT_DIN", portId=1, inputState="OBJ_IO_STATE_SET", within=30)
    server.set_dout(1, state="high", device=1001)
    gate.dout[1].expect_high(within=30)
    gate.scan(2, "4711-ANNA")
    with gate.disconnected():
        gate.ain[1].set(42)
    server.expect_event("OBJ_ANALOG_SAMPLE", portNum=1, sample=42, tolerance=0.5, within=30)


def test_a_digital_input_has_the_state_that_it_was_given(alone: Bench) -> None:
    door = alone.din[1]
    door.high()
    assert door.value == "high" == alone.get_din(1)
    door.expect_high(within=1)
    door.set("low")
    assert door.value == "low"
    door.expect_low(within=1)
    with pytest.raises(ExpectationFailed):
        door.expect_high(within=0.1)


def test_an_analog_input_stands_where_it_was_set(alone: Bench) -> None:
    alone.ain[2].set(57)
    assert alone.ain[2].value == 57
    alone.ain[2].expect(57, within=1)
    with pytest.raises(ExpectationFailed):
        alone.ain[2].expect(58, within=0.1)


def test_outputs_are_set_by_the_server(gate: Bench, server: Server) -> None:
    server.set_dout(3, "high")
    server.set_aout(2, 4.5)
    assert gate.dout[3].value == "high"
    assert gate.aout[2].value == 4.5
    gate.aout[2].expect(4.4, tolerance=0.2, within=1)
    gate.aout[2].expect(4.5, within=1)
    gate.dout[2].expect_low(within=1)
    with pytest.raises(ExpectationFailed):
        gate.aout[2].expect(4.4, within=0.1)


def test_a_wired_output_follows(alone: Bench) -> None:
    alone.din[2].wire(4)
    alone.din[2].high()
    assert alone.dout[4].value == "high"
    alone.din[2].unwire(4)
    alone.din[2].low()
    assert alone.dout[4].value == "high"
    alone.ain[1].wire(1)
    alone.ain[1].set(33)
    assert alone.aout[1].value == 33
    alone.ain[1].unwire(1)


@pytest.mark.parametrize("code", ["4711-ANNA", "4711 ANNA", 'a "quoted" one', "Tür", ""])
def test_a_badge_is_read_as_it_is(gate: Bench, server: Server, code: str) -> None:
    gate.scan(1, code)
    assert server.expect_event("OBJ_ACCESS", portNum=1, scanCode=code, within=30)["scanCode"] == code


def test_an_adhoc_event_is_sent(gate: Bench, server: Server) -> None:
    gate.adhoc(7, "front door", "forced=open")
    server.expect_event("OBJ_ADHOC_EVENT", portId=7, eventLabel="front door", eventValue="forced=open", within=30)


def test_what_the_server_set_is_an_event(gate: Bench, server: Server) -> None:
    server.set_dout(1, "high")
    gate.expect_event("OBJ_PORT_DOUT", portId=1, outputState="OBJ_IO_STATE_SET", within=30)
    gate.expect_no_event(within=0.1)
    server.set_dout(2, "high")
    gate.forget()
    gate.expect_no_event("OBJ_PORT_DOUT", within=0.1)
    with pytest.raises(ExpectationFailed, match="^No event OBJ_PORT_DOUT "):
        gate.expect_event("OBJ_PORT_DOUT", portId=2, within=0.1)


def test_records_are_as_they_are(alone: Bench) -> None:
    assert alone.get("device")[0]["deviceSerial"] == 1001
    assert len(alone.get("din")) == 4
    assert alone.get("scanner", 2)[0]["portNum"] == 2
    assert alone.expect_get("din", 3, portLabel="INPUT 3", within=1)


def test_events_wait_while_there_is_no_link(gate: Bench, server: Server) -> None:
    assert gate.link["state"] == "up" and gate.link["server"] == server.address
    with gate.disconnected():
        gate.wait_disconnected(timeout=30)
        assert gate.link["state"] == "off"
        gate.din[1].high()
        assert gate.link["waiting"] == 1
    server.expect_event("OBJ_PORT_DIN", portId=1, within=30)


def test_an_error_while_disconnected_is_not_hidden(gate: Bench) -> None:
    with pytest.raises(KeyError):
        with gate.disconnected():
            raise KeyError
    assert gate.link["state"] == "off"


def test_it_moves_to_another_server(gate: Bench) -> None:
    with Server() as other:
        gate.connect(other)
        assert gate.link["server"] == other.address
        assert other.get("device")[0]["deviceSerial"] == 1001


def test_it_connects_to_an_address_too(server: Server) -> None:
    with Bench(serial=5, server=server.address) as device:
        assert server.wait_device(device=5, timeout=30)["deviceSerial"] == 5
        device.wait_connected()


def test_a_connection_that_comes_in_vain_is_a_failure() -> None:
    with socket.socket() as nobody:
        nobody.bind(("127.0.0.1", 0))
        with Bench(server=f"127.0.0.1:{nobody.getsockname()[1]}") as device:
            with pytest.raises(ZulTimeout):
                device.wait_connected(timeout=0.1)
            with pytest.raises(ExpectationFailed):
                device.connect(timeout=0.1)


def test_a_device_file_is_loaded(alone: Bench, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.chdir(EXAMPLES)
    with Bench(device="demo.dev", serial=7) as device:
        record = device.get("device")[0]
        assert (record["deviceSerial"], record["deviceLabel"]) == (7, "demo")
        device.load("pipeline/panel.dev")
        assert device.get("device")[0]["deviceLabel"] == "gate"


def test_a_script_runs(alone: Bench, tmp_path: Path) -> None:
    script = tmp_path / "a script.js"
    script.write_text("receiver.setAnalogInput_Slot(1, 64);")
    alone.script(script)
    alone.wait_scripts(timeout=30)
    assert alone.ain[1].value == 64


def drawn(script: Path, seed: int) -> int:
    """What a script on a device with this seed draws."""
    with Bench(ain=1, seed=seed) as device:
        device.script(script)
        device.wait_scripts(timeout=30)
        return device.ain[1].value


def test_a_script_draws_from_the_seed(tmp_path: Path) -> None:
    script = tmp_path / "draws.js"
    script.write_text("receiver.setAnalogInput_Slot(1, Math.floor(sender.random() * 101));")
    values = [drawn(script, seed) for seed in range(1, 6)]
    assert values == [drawn(script, seed) for seed in range(1, 6)]
    assert len(set(values)) > 1


def test_a_script_that_fails_is_an_error_once(alone: Bench, tmp_path: Path) -> None:
    script = tmp_path / "fails.js"
    script.write_text("sender.sleep(20);\noops();")
    alone.script(script)
    with pytest.raises(ZulError, match="/fails.js failed in line 2: ReferenceError: .*oops"):
        alone.wait_scripts(timeout=30)
    script.write_text("var a = ;")
    with pytest.raises(ZulError, match="^Line 1: SyntaxError"):
        alone.script(script)
    alone.wait_scripts(timeout=30)


def test_what_changes_is_a_line(alone: Bench) -> None:
    alone.din[4].high()
    changed = [event["object"] for event in alone.events if event["event"] == "changed"]
    assert changed[-1]["portId"] == 4 and changed[-1]["inputState"] == "OBJ_IO_STATE_SET"


@pytest.mark.parametrize(
    "call",
    [
        lambda device: device.din[5].high(),
        lambda device: device.din[0].high(),
        lambda device: device.din[-1].value,
        lambda device: device.din["1"].high(),
        lambda device: device.din[True].high(),
        lambda device: device.din[1].set("open"),
        lambda device: device.din[1].expect("open"),
        lambda device: device.ain[1].set(101),
        lambda device: device.ain[1].set(-1),
        lambda device: device.ain[1].set("much"),
        lambda device: device.dout[5].value,
        lambda device: device.aout[3].value,
        lambda device: device.scan(3, "4711"),
        lambda device: device.adhoc(1000000, "label", "value"),
        lambda device: device.wire("din", 1, 5),
        lambda device: device.wire("dout", 1, 1),
        lambda device: device.connect("nowhere"),
        lambda device: device.connect(),
        lambda device: device.load("/nowhere/file.dev"),
        lambda device: device.script("/nowhere/file.js"),
        lambda device: device.wait_connected(timeout=-1),
        lambda device: device.expect_event("OBJ_DOOR"),
        lambda device: device.scan(1, "x" * 5000),
        lambda device: device.command("jump"),
    ],
)
def test_bad_input_is_one_sentence(alone: Bench, call: Callable[[Bench], object]) -> None:
    with pytest.raises(ZulError) as caught:
        call(alone)
    assert type(caught.value) is ZulError
    text = str(caught.value)
    assert text.endswith(".") and "\n" not in text
    assert runs(alone.pid), "a wrong port is not the end of the program"


@pytest.mark.parametrize(
    "arguments",
    [
        {"din": -1},
        {"din": "x"},
        {"serial": -5},
        {"server": "nowhere"},
        {"device": "/nowhere/file.dev"},
        {"din": 1000000},
        {"capture": "/nowhere/link.pcapng"},
        {"seed": -1},
    ],
)
def test_a_wrong_argument_is_one_sentence(arguments: dict[str, object], own_folder_for_files: Path) -> None:
    before = len(os.listdir("/proc/self/fd")), threading.active_count(), list(own_folder_for_files.iterdir())
    with pytest.raises(ZulError, match="^zulbench ended with status 1: zulbench: [^\n]*$"):
        Bench(**arguments)  # type: ignore[arg-type]
    assert before == (
        len(os.listdir("/proc/self/fd")),
        threading.active_count(),
        list(own_folder_for_files.iterdir()),
    )


def test_it_leaves_nothing(server: Server, own_folder_for_files: Path) -> None:
    before = len(os.listdir("/proc/self/fd")), threading.active_count(), list(own_folder_for_files.iterdir())
    with Bench(din=1, server=server) as device:
        pid = device.pid
        device.wait_connected()
    assert not runs(pid)
    assert before == (
        len(os.listdir("/proc/self/fd")),
        threading.active_count(),
        list(own_folder_for_files.iterdir()),
    )


def test_the_folder_for_files_may_have_a_long_name(
    own_folder_for_files: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    folder = own_folder_for_files / ("long" * 50)
    folder.mkdir()
    monkeypatch.setattr("tempfile.tempdir", str(folder))
    with Bench(din=1) as device:
        device.din[1].high()
    assert not list(folder.iterdir())


def test_its_end_ends_a_waiting_call(gate: Bench) -> None:
    threading.Timer(0.1, lambda: os.kill(gate.pid, signal.SIGKILL)).start()
    with pytest.raises(ZulError, match="^zulbench was ended by SIGKILL"):
        gate.expect_event(within=60)
    with pytest.raises(ZulError, match="^zulbench was ended by SIGKILL"):
        gate.close()


def test_the_line_by_hand_describes_the_same_device(server: Server) -> None:
    with Bench(din=2, label="front gate", version=3, seed=17, server=server) as device:
        assert shlex.split(device.command_line) == [
            "zulbench", "--din", "2", "--label", "front gate", "--device-version", "3",
            "--seed", "17", "--server", server.address,
        ]  # fmt: skip
        assert device.seed == 17


def test_it_records_its_link(tmp_path: Path, server: Server) -> None:
    with Bench(serial=9, server=server, capture=True) as device:
        device.keep_capture(tmp_path / "kept" / "link.pcapng")
        device.wait_connected()
    data = (tmp_path / "kept" / "link.pcapng").read_bytes()
    assert data[:4] == bytes.fromhex("0a0d0d0a") and len(data) > 500


def test_many_devices_share_a_server(server: Server) -> None:
    devices = [Bench(din=1, serial=serial, server=server) for serial in range(1, 11)]
    for device in devices:
        device.wait_connected(timeout=60)
    for device in devices:
        device.din[1].high()
    for serial in range(1, 11):
        server.expect_event("OBJ_PORT_DIN", device=serial, deviceSerial=serial, within=60)
    for device in devices:
        device.close()


def test_a_closed_device_says_so() -> None:
    device = Bench()
    device.close()
    device.close()
    with pytest.raises(ZulError, match="^zulbench was closed[.]$"):
        device.din[1].high()


def test_a_server_that_drops_the_device_is_connected_again(gate: Bench, server: Server) -> None:
    server.drop(1001)
    server.wait_disconnected(device=1001, timeout=30)
    gate.wait_connected(timeout=60)
    wait_until(lambda: bool(gate.link["state"] == "up"), "the link")
