"""Recordings, with the real programs."""

from __future__ import annotations

import json
import shutil
import signal
import subprocess
from pathlib import Path

import pytest
from conftest import wait_until
from zul import Bench, Capture, Server, ZulError
from zul.process import find_program


def session(path: Path, states: list[str], level: int = 40) -> Capture:
    """A device whose digital input 1 becomes each of the states, then its analog input `level`."""
    with Server() as server, Bench(din=1, ain=1, serial=7, server=server, capture=path) as gate:
        gate.wait_connected()
        for state in states:
            gate.din[1].set(state)
            server.expect_event("OBJ_PORT_DIN")
        gate.ain[1].set(level)
        server.expect_event("OBJ_ANALOG_SAMPLE")
    return Capture(path)


@pytest.fixture(scope="module")
def recorded(tmp_path_factory: pytest.TempPathFactory) -> Capture:
    return session(tmp_path_factory.mktemp("recorded") / "a b.pcapng", ["high", "low"])


def test_iterating_gives_each_message(recorded: Capture) -> None:
    messages = list(recorded)
    assert [message["msgType"] for message in messages] == [1, 1, 3, 3, 3]
    assert {message["deviceSerial"] for message in messages} == {7}
    assert messages[1]["seconds"] >= 0


def test_a_filter_leaves_the_messages_for_which_all_holds(recorded: Capture) -> None:
    assert len(list(recorded.filter(msg="event"))) == 3
    assert len(list(recorded.filter(msg="event", inputState="OBJ_IO_STATE_CLEAR"))) == 1
    assert len(list(recorded.filter(msg="event").filter(device=8))) == 0
    assert len(list(recorded)) == 5, "the recording itself stays as it was"


def test_a_wrong_filter_is_an_error(recorded: Capture) -> None:
    with pytest.raises(ZulError, match='^The filter does not take the field "colour".$'):
        list(recorded.filter(colour="red"))


def test_iterating_may_end_early(recorded: Capture) -> None:
    assert next(iter(recorded))["msgType"] == 1


def test_the_same_session_has_no_differences(recorded: Capture, tmp_path: Path) -> None:
    assert recorded.diff(session(tmp_path / "again.pcapng", ["high", "low"])) == []


def test_a_missing_event_is_one_difference(recorded: Capture, tmp_path: Path) -> None:
    (difference,) = recorded.diff(session(tmp_path / "fewer.pcapng", ["high"]))
    assert (difference["kind"], difference["deviceSerial"], difference["b"]) == ("missing", 7, None)
    assert difference["a"]["objects"][0]["inputState"] == "OBJ_IO_STATE_CLEAR"


def test_ignored_fields_may_differ(recorded: Capture, tmp_path: Path) -> None:
    path = tmp_path / "other.pcapng"
    session(path, ["high", "low"], 41)
    (difference,) = recorded.diff(path)
    assert (difference["kind"], difference["fields"]) == ("changed", ["sample"])
    assert recorded.diff(path, ignore=["sample"]) == []
    with pytest.raises(ZulError, match='^--ignore: there is no field "colour".$'):
        recorded.diff(path, ignore=["colour"])


def test_a_filtered_recording_is_not_compared(recorded: Capture) -> None:
    with pytest.raises(ZulError, match="not filtered"):
        recorded.filter(msg="event").diff(recorded)


def test_a_file_that_is_not_there_is_an_error(tmp_path: Path) -> None:
    with pytest.raises(ZulError, match="^Cannot read .*: No such file or directory.$"):
        list(Capture(tmp_path / "none"))


def test_a_signal_ends_the_playing_and_the_last_line_sums_up(recorded: Capture) -> None:
    command = [find_program("zulcapture"), "play", str(recorded.path), "--side", "server", "--listen", "0"]
    player = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
    assert player.stdout is not None
    assert json.loads(player.stdout.readline())["event"] == "listening"
    player.terminate()
    played = json.loads(player.stdout.readline())
    assert (played["event"], played["messages"]) == ("played", 0)
    assert player.wait(60) == 0


class Dumpcap:
    """A recorder that knows nothing of our programs."""

    def __init__(self, file: Path, port: int, *options: str) -> None:
        program = shutil.which("dumpcap") or pytest.skip("there is no dumpcap")
        command = [program, "-q", *options, "-f", f"tcp port {port}", "-w", str(file)]
        self._process = subprocess.Popen(command, stderr=subprocess.PIPE, text=True)
        assert self._process.stderr is not None
        said = ""
        for line in self._process.stderr:
            if line.startswith("File:"):
                return
            said += line
        self._process.wait()
        pytest.skip(f"this machine lets dumpcap record nothing: {said}")

    def stop(self) -> None:
        self._process.send_signal(signal.SIGINT)
        assert self._process.wait(60) == 0


@pytest.mark.parametrize(
    "address, options",
    [
        ("127.0.0.1", ("-i", "lo")),
        ("127.0.0.1", ("-i", "lo", "-P")),
        ("127.0.0.1", ("-i", "any")),
        ("::1", ("-i", "lo")),
    ],
    ids=["pcapng", "pcap", "cooked", "IPv6"],
)
def test_another_recorder_has_seen_the_same_session(address: str, options: tuple[str, ...], tmp_path: Path) -> None:
    try:
        server = Server(listen=address, capture=tmp_path / "own.pcapng")
    except ZulError as error:
        pytest.skip(f"this machine has no address {address}: {error}")
    theirs = Capture(tmp_path / "theirs", port=server.port)
    with server:
        recorder = Dumpcap(theirs.path, server.port, *options)
        with Bench(din=1, ain=1, serial=7, server=server) as gate:
            gate.wait_connected()
            for state in ("high", "low"):
                gate.din[1].set(state)
                server.expect_event("OBJ_PORT_DIN")
            assert len(server.get("din", 1)) == 1
        wait_until(lambda: len(list(theirs)) == 6, "all is recorded")
        recorder.stop()
    own = Capture(tmp_path / "own.pcapng", port=server.port)
    assert len(list(own)) == 6
    assert own.diff(theirs) == []
