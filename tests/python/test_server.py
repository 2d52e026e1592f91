"""The server as an object, with the real program."""

from __future__ import annotations

import os
import signal
import socket
import subprocess
import threading
from collections.abc import Callable, Iterator
from pathlib import Path

import pytest
from conftest import runs, wait_until
from zul import Bench, ExpectationFailed, Server, ZulError, ZulTimeout


@pytest.fixture
def server() -> Iterator[Server]:
    with Server() as server:
        yield server


def test_it_listens_on_a_free_port(server: Server) -> None:
    with Server() as other:
        assert server.port != other.port
        assert server.address == f"127.0.0.1:{server.port}" == f"{server.host}:{server.port}"
        for each in (server, other):
            socket.create_connection((each.host, each.port)).close()


def test_it_listens_where_it_is_told(server: Server) -> None:
    port = server.port
    server.close()
    with Server(port, listen="::1") as other:
        assert other.address == f"[::1]:{port}"
        assert other.command_line == f"zulserver --port {port} --listen ::1"


def test_it_leaves_nothing(own_folder_for_files: Path) -> None:
    descriptors = len(os.listdir("/proc/self/fd"))
    with Server() as server:
        pid = server.pid
        threads = threading.active_count()
    assert not runs(pid)
    assert not list(own_folder_for_files.iterdir())
    assert threading.active_count() == threads - 1
    assert len(os.listdir("/proc/self/fd")) <= descriptors + 1, "the janitor's socket stays"


def test_a_start_that_fails_leaves_nothing(own_folder_for_files: Path, server: Server) -> None:
    before = sorted(own_folder_for_files.iterdir()), len(os.listdir("/proc/self/fd")), threading.active_count()
    with pytest.raises(ZulError, match="^zulserver ended with status 1: zulserver: .*[.]$"):
        Server(server.port)
    assert before == (sorted(own_folder_for_files.iterdir()), len(os.listdir("/proc/self/fd")), threading.active_count())


def test_a_wrong_port_is_a_sentence() -> None:
    with pytest.raises(ZulError, match='^zulserver ended with status 1: zulserver: .*"70000"[.]$'):
        Server(70000)


def test_a_missing_program_is_a_sentence(monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setenv("ZUL_BIN", "/nowhere")
    with pytest.raises(ZulError, match="^zulserver is not in the folder /nowhere, which ZUL_BIN names[.]$"):
        Server()


@pytest.mark.parametrize(
    "call",
    [
        lambda server: server.get("din", 1),
        lambda server: server.set_din(1, "high"),
        lambda server: server.set_dout("*", "high", "low"),
        lambda server: server.set_ain(1, rate=0, gain=1.5, offset=-2),
        lambda server: server.set_aout(1, 4.5),
        lambda server: server.expect_get("aout", 1, sampledValue=4.5, tolerance=0.1, within=0.1),
    ],
)
def test_without_a_device_there_is_nothing_to_ask(server: Server, call: Callable[[Server], object]) -> None:
    with pytest.raises(ZulError, match="^No device is connected[.]$"):
        call(server)


def test_a_device_that_is_not_connected_is_an_error(server: Server) -> None:
    with pytest.raises(ZulError, match="1001"):
        server.set_dout(1, "high", device=1001)
    with pytest.raises(ZulError, match="1001"):
        server.drop(1001)


def test_two_devices_with_one_serial_are_told_apart_by_their_peers(server: Server) -> None:
    with Bench(dout=1, serial=7, server=server) as first, Bench(dout=1, serial=7) as second:
        first.wait_connected()
        second.connect(server)
        wait_until(lambda: server.devices()["identified"] == 2, "both are there")
        one, other = [event["peer"] for event in server.events if event["event"] == "device"]
        with pytest.raises(ZulError, match="^Several devices with the serial 7 are connected[.]$"):
            server.get("device", device=7)
        assert server.get("device", peer=other)[0]["deviceSerial"] == 7
        server.set_dout(1, "high", peer=other)
        second.dout[1].expect_high()
        first.dout[1].expect_low()
        assert server.expect_get("dout", 1, peer=one)
        server.drop(peer=one)
        server.wait_disconnected(peer=one)
        server.wait_device(peer=other)


def test_a_peer_that_is_not_there_is_an_error(server: Server) -> None:
    with pytest.raises(ZulError, match="^No device at 127.0.0.1:1 is connected[.]$"):
        server.get("device", peer="127.0.0.1:1")
    with pytest.raises(ZulTimeout):
        server.wait_device(peer="127.0.0.1:1", timeout=0.01)
    server.expect_no_event(peer="127.0.0.1:1", within=0.01)
    with pytest.raises(ExpectationFailed):
        server.expect_event(peer="127.0.0.1:1", within=0.01)


def test_all_devices_are_asked_at_the_same_time(server: Server) -> None:
    with pytest.raises(ZulError, match="^No device is connected[.]$"):
        server.get("device", device="*")
    with Bench(dout=1, serial=1, server=server) as first, Bench(dout=1, serial=2, server=server) as second:
        first.wait_connected()
        second.wait_connected()
        assert server.get("dout", device="*") == []
        server.set_dout(1, "high", device="*")
        first.dout[1].expect_high()
        second.dout[1].expect_high()
        assert server.command("get device device=*").line["tally"] == {
            "asked": 2,
            "answered": 2,
            "timeout": 0,
            "error": 0,
        }


def test_lines_that_are_left_out_are_still_expected() -> None:
    with Server(quiet=["message", "connected"]) as server, Bench(din=1, serial=1, server=server) as bench:
        bench.wait_connected()
        bench.din[1].high()
        server.expect_event("OBJ_PORT_DIN", inputState="OBJ_IO_STATE_SET")
        assert {event["event"] for event in server.events} == {"listening", "device"}
        assert "--quiet message" in server.command_line


@pytest.mark.parametrize(
    ("quiet", "sentence"),
    [("reply", "cannot be left out here[.]$"), ("listening", "cannot be left out here[.]$"), ("events", "no event")],
)
def test_lines_that_must_be_there_are_not_left_out(quiet: str, sentence: str) -> None:
    with pytest.raises(ZulError, match=sentence):
        Server(quiet=[quiet])


def test_devices_are_counted(server: Server) -> None:
    assert server.devices() == {
        "connected": 0,
        "identified": 0,
        "connectsPerSecond": 0,
        "messagesPerSecond": 0,
    }
    with Bench(serial=1, server=server) as bench:
        bench.wait_connected()
        counts = server.devices()
        assert (counts["connected"], counts["identified"]) == (1, 1)


@pytest.mark.parametrize(
    ("call", "sentence"),
    [
        (lambda server: server.get("nosuch"), 'There is no "nosuch" to get.'),
        (lambda server: server.get("din", 0), 'PORT is neither * nor a whole number from 1 to 4294967295: "0".'),
        (lambda server: server.set_dout(1, "open"), 'state is neither high nor low: "open".'),
        (lambda server: server.set_dout(1, True), "True is not a number."),
        (
            lambda server: server.get("din", 1, timeout=-1),
            "A time limit is a number of seconds above 0 and up to 86400, not -1.",
        ),
        (lambda server: server.expect_event("OBJ_DOOR"), None),
        (lambda server: server.expect_event("OBJ_ACCESS", sample=1), None),
        (lambda server: server.command("jump"), None),
        (lambda server: server.command(""), "A command is one line, not ''."),
        (lambda server: server.command("get din " + "1" * 5000), "The command is longer than 4096 bytes."),
        (lambda server: server.keep_capture("file"), "zulserver records nothing: start it with capture=True."),
    ],
)
def test_bad_input_is_one_sentence(server: Server, call: Callable[[Server], object], sentence: str | None) -> None:
    with pytest.raises(ZulError) as caught:
        call(server)
    text = str(caught.value)
    assert sentence in (None, text)
    assert text.endswith(".") and "\n" not in text
    assert type(caught.value) is ZulError


def test_waiting_in_vain_is_a_timeout(server: Server) -> None:
    for wait in (server.wait_device, server.wait_disconnected):
        with pytest.raises(ZulTimeout, match="within 0.1 seconds[.]$"):
            wait(timeout=0.1)


def test_expecting_in_vain_is_a_failed_expectation(server: Server) -> None:
    with pytest.raises(ExpectationFailed, match='^No event OBJ_ACCESS with scanCode="4711 ANNA" came within 0.1 seco'):
        server.expect_event("OBJ_ACCESS", scanCode="4711 ANNA", within=0.1)
    with pytest.raises(AssertionError):
        server.expect_event(within=0.1)


def test_what_does_not_come_is_expected(server: Server) -> None:
    server.expect_no_event("OBJ_ACCESS", within=0.1)
    server.forget()


def test_a_connection_that_ends_is_waited_for(server: Server) -> None:
    socket.create_connection((server.host, server.port)).close()
    server.wait_disconnected()
    wait_until(lambda: "disconnected" in [event["event"] for event in server.events], "the line")


def test_its_end_ends_a_waiting_call(server: Server) -> None:
    threading.Thread(target=lambda: os.kill(server.pid, signal.SIGKILL)).start()
    with pytest.raises(ZulError, match="^zulserver was ended by SIGKILL[.]$"):
        server.wait_device(timeout=60)
    with pytest.raises(ZulError, match="^zulserver was ended by SIGKILL[.]$"):
        server.close()


def test_a_server_that_hangs_is_a_timeout(server: Server) -> None:
    os.kill(server.pid, signal.SIGSTOP)
    try:
        with pytest.raises(ZulTimeout, match='^No reply to "forget" came within 0.1 seconds[.]$'):
            server.command("forget", timeout=0.1)
    finally:
        os.kill(server.pid, signal.SIGCONT)
    server.forget()


def test_a_closed_server_says_so() -> None:
    server = Server()
    server.close()
    server.close()
    with pytest.raises(ZulError, match="^zulserver was closed[.]$"):
        server.forget()


def test_an_error_in_the_block_is_not_hidden() -> None:
    with pytest.raises(KeyError):
        with Server() as server:
            os.kill(server.pid, signal.SIGKILL)
            raise KeyError


def test_it_records_its_links(tmp_path: Path) -> None:
    with Server(capture=tmp_path / "links.pcapng") as server:
        assert server.kept_capture == tmp_path / "links.pcapng"
    with Server(capture=True) as server:
        server.keep_capture(tmp_path / "kept" / "links.pcapng")
    with Server(capture=True):
        pass
    magic = bytes.fromhex("0a0d0d0a")
    assert (tmp_path / "links.pcapng").read_bytes()[:4] == magic
    assert (tmp_path / "kept" / "links.pcapng").read_bytes()[:4] == magic


def test_ctrl_c_in_a_waiting_call_leaves_nothing(
    python: Callable[[str], subprocess.Popen[str]], own_folder_for_files: Path
) -> None:
    started = python(
        "from zul import Server\n"
        "with Server() as server:\n"
        "    print(server.pid, flush=True)\n"
        "    server.wait_device(timeout=1000)\n"
    )
    assert started.stdout is not None
    pid = int(started.stdout.readline())
    os.killpg(started.pid, signal.SIGINT)
    assert started.wait(60) != 0
    assert not runs(pid)
    assert not list(own_folder_for_files.iterdir())


def test_many_start_at_the_same_time() -> None:
    servers: list[Server] = []
    threads = [threading.Thread(target=lambda: servers.append(Server())) for _ in range(20)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len({server.port for server in servers}) == 20
    for server in servers:
        server.close()
