"""A proxy as an object, with the real programs."""

from __future__ import annotations

import re
import threading
from collections.abc import Iterator
from pathlib import Path

import pytest
from conftest import runs, wait_until
from zul import Bench, ExpectationFailed, Fleet, Proxy, Server, ZulError, ZulTimeout

FAILING = """
def test_fails(zul_server, zul_proxy):
    proxy = zul_proxy(zul_server, ["duplicate msg=event"])
    assert not proxy.rules
"""


@pytest.fixture
def server() -> Iterator[Server]:
    with Server() as server:
        yield server


@pytest.fixture
def proxy(server: Server) -> Iterator[Proxy]:
    with Proxy(server) as proxy:
        yield proxy


@pytest.fixture
def gate(proxy: Proxy) -> Iterator[Bench]:
    with Bench(din=2, serial=7, server=proxy) as gate:
        gate.wait_connected()
        yield gate


def test_without_rules_neither_end_notices(server: Server, proxy: Proxy, gate: Bench) -> None:
    gate.din[1].high()
    assert server.expect_event("OBJ_PORT_DIN")["inputState"] == "OBJ_IO_STATE_SET"
    assert server.get("din", 1)[0]["inputState"] == "OBJ_IO_STATE_SET"
    assert proxy.faults == [] and proxy.rules == []


def test_devices_connect_to_its_address(server: Server, proxy: Proxy, gate: Bench) -> None:
    assert proxy.address == f"{proxy.host}:{proxy.port}" == gate.link["server"]
    (connection,) = proxy.connections()
    assert connection["device"] == 7 and connection["reconnect"] == 1
    assert connection["server"] == server.address


def test_rules_are_given_at_the_beginning(server: Server) -> None:
    with Proxy(server, rules=["duplicate msg=event", "lose msg=ping"], seed=5) as proxy:
        assert [rule["text"] for rule in proxy.rules] == ["duplicate msg=event", "lose msg=ping"]
        assert proxy.seed == 5


def test_rules_come_and_go_while_it_runs(server: Server, proxy: Proxy, gate: Bench) -> None:
    number = proxy.add_rule("duplicate msg=event object=OBJ_PORT_DIN")
    gate.din[1].high()
    for _ in range(2):
        server.expect_event("OBJ_PORT_DIN", portId=1)
    assert proxy.rules == [
        {"rule": number, "text": "duplicate msg=event object=OBJ_PORT_DIN", "matched": 1, "injected": 1}
    ]
    proxy.clear(number)
    gate.din[2].high()
    server.expect_event("OBJ_PORT_DIN", portId=2)
    server.expect_no_event("OBJ_PORT_DIN", within=0.2)
    proxy.add_rule("lose")
    proxy.add_rule("swap")
    proxy.clear()
    assert proxy.rules == []


def test_a_fault_is_in_force_inside_of_with(server: Server, proxy: Proxy, gate: Bench) -> None:
    with proxy.fault("lose msg=answer object=OBJ_PORT_DIN") as number:
        with pytest.raises(ZulTimeout):
            server.get("din", 1, timeout=0.3)
        assert [rule["rule"] for rule in proxy.rules] == [number]
    assert proxy.rules == []
    assert server.get("din", 1)
    assert [(fault["rule"], fault["kind"]) for fault in proxy.faults] == [(number, "lose")]


def test_a_fault_ends_with_an_error_too(proxy: Proxy) -> None:
    with pytest.raises(KeyError), proxy.fault("lose"):
        raise KeyError
    assert proxy.rules == []


def test_a_fault_is_expected_once(server: Server, proxy: Proxy, gate: Bench) -> None:
    number = proxy.add_rule("wrong-number msg=event count=1")
    gate.din[1].high()
    fault = proxy.expect_fault(
        "wrong-number", device=7, direction="to-server", rule=number, object="OBJ_PORT_DIN", connection=1
    )
    assert fault["event"] == "fault" and fault["was"] != fault["became"]
    with pytest.raises(ExpectationFailed, match='^No such fault "wrong-number" came within 0.1 seconds'):
        proxy.expect_fault("wrong-number", within=0.1)


def test_what_is_forgotten_is_not_expected(server: Server, proxy: Proxy, gate: Bench) -> None:
    proxy.add_rule("duplicate msg=event")
    gate.din[1].high()
    server.expect_event("OBJ_PORT_DIN")
    server.expect_event("OBJ_PORT_DIN")
    proxy.forget()
    with pytest.raises(ExpectationFailed):
        proxy.expect_fault("duplicate", within=0.1)


@pytest.mark.parametrize("command", ["cut", "reset"])
def test_a_connection_is_ended_and_the_device_comes_back(
    server: Server, proxy: Proxy, gate: Bench, command: str
) -> None:
    assert getattr(proxy, command)(device=7) == 1
    server.wait_disconnected(device=7)
    wait_until(lambda: [each["reconnect"] for each in proxy.connections()] == [2], "the second connection")
    gate.wait_connected()
    assert proxy.expect_fault(command)["rule"] == 0


def test_silence_lets_nothing_through(server: Server, proxy: Proxy, gate: Bench) -> None:
    assert proxy.silence() == 1
    gate.din[1].high()
    server.expect_no_event("OBJ_PORT_DIN", within=0.2)


def test_a_device_that_is_not_there_is_an_error(proxy: Proxy) -> None:
    assert proxy.cut() == 0
    with pytest.raises(ZulError, match="^There is no connection of device 9[.]$"):
        proxy.reset(device=9)


@pytest.mark.parametrize("rule", ["loose", "lose dir=up", "late", "corrupt bits=0"])
def test_a_wrong_rule_is_the_sentence_of_the_program(server: Server, proxy: Proxy, rule: str) -> None:
    with pytest.raises(ZulError) as added:
        proxy.add_rule(rule)
    sentence = str(added.value)
    assert sentence.endswith(".") and "\n" not in sentence
    assert proxy.rules == []
    with pytest.raises(ZulError, match=f"^zulproxy ended with status 1: zulproxy: --rule: {re.escape(sentence)}$"):
        Proxy(server, rules=[rule])


def test_a_rule_that_is_not_there_cannot_be_cleared(proxy: Proxy) -> None:
    with pytest.raises(ZulError, match="^There is no rule 3[.]$"):
        proxy.clear(3)


def test_a_fleet_connects_through_it(server: Server, proxy: Proxy) -> None:
    with Fleet(proxy, 20, din=1, seed=1) as fleet:
        fleet.wait_in()
        assert len(proxy.connections()) == 20


def test_both_sides_are_recorded(server: Server, tmp_path: Path) -> None:
    with Proxy(server, capture=True) as proxy, Bench(din=1, serial=7, server=proxy) as gate:
        gate.wait_connected()
        proxy.keep_capture(tmp_path / "both.pcapng")
    assert (tmp_path / "both.pcapng").stat().st_size > 0


def test_it_is_started_again_by_hand(server: Server) -> None:
    with Proxy(server, ["late ms=5 msg=answer"], seed=3) as proxy:
        assert proxy.command_line == (
            f"zulproxy --listen {proxy.address} --server {server.address} --rule 'late ms=5 msg=answer' --seed 3"
        )


def test_it_leaves_nothing(server: Server, own_folder_for_files: Path) -> None:
    before = sorted(own_folder_for_files.iterdir()), threading.active_count()
    with Proxy(server) as proxy:
        pass
    assert not runs(proxy.pid)
    assert before == (sorted(own_folder_for_files.iterdir()), threading.active_count())


@pytest.fixture
def pytest_options(own_folder_for_files: Path) -> tuple[str, ...]:
    return ("-p", "zul.plugin", "-p", "no:cacheprovider", f"--basetemp={own_folder_for_files / 'base'}")


def test_a_failing_test_shows_the_proxy(pytester: pytest.Pytester, pytest_options: tuple[str, ...]) -> None:
    pytester.makepyfile(FAILING)
    result = pytester.runpytest_subprocess(*pytest_options)
    result.assert_outcomes(failed=1)
    text = result.stdout.str()
    proxy = text[text.index("- Proxy 1 -") :]
    seed = re.search("^seed: ([0-9]+)$", proxy, re.MULTILINE)
    assert seed
    assert re.search(
        f"^by hand: zulproxy --listen [0-9.:]+ --server [0-9.:]+ --rule 'duplicate msg=event' --seed {seed[1]}$",
        proxy,
        re.MULTILINE,
    )


def test_a_proxy_is_closed_after_the_test(pytester: pytest.Pytester, pytest_options: tuple[str, ...]) -> None:
    pytester.makepyfile(
        "def test_passes(zul_server, zul_proxy):\n"
        "    with open('pid', 'w') as file: file.write(str(zul_proxy(zul_server).pid))\n"
    )
    pytester.runpytest_subprocess(*pytest_options).assert_outcomes(passed=1)
    wait_until(lambda: not runs(int((pytester.path / "pid").read_text())), "its end")
