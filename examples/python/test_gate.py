"""A gate with a lamp: what happens at the site reaches the server, and what the server sets reaches the site."""

from collections.abc import Callable

import pytest
from zul import Bench, Server


@pytest.fixture
def gate(zul_server: Server, zul_bench: Callable[..., Bench]) -> Bench:
    """The device under test, connected."""
    gate = zul_bench(din=4, dout=4, ain=2, aout=2, scanners=2, serial=1001, label="gate", server=zul_server)
    gate.wait_connected()
    return gate


def test_the_lamp_follows_the_door(gate: Bench, zul_server: Server) -> None:
    gate.din[1].high()
    zul_server.expect_event("OBJ_PORT_DIN", portId=1, inputState="OBJ_IO_STATE_SET", within=10)
    zul_server.set_dout(1, state="high", device=1001)
    gate.dout[1].expect_high(within=10)


def test_a_badge_is_read(gate: Bench, zul_server: Server) -> None:
    gate.scan(2, "4711-ANNA")
    zul_server.expect_event("OBJ_ACCESS", portNum=2, scanCode="4711-ANNA", within=10)
    zul_server.expect_no_event("OBJ_ACCESS", within=0.2)


def test_what_happens_without_a_link_is_sent_later(gate: Bench, zul_server: Server) -> None:
    with gate.disconnected():
        gate.ain[1].set(42)
        zul_server.expect_no_event("OBJ_ANALOG_SAMPLE", within=0.2)
    zul_server.expect_event("OBJ_ANALOG_SAMPLE", portNum=1, sample=42, tolerance=0.5, within=10)


def test_a_wired_output_needs_no_server(zul_bench: Callable[..., Bench]) -> None:
    alone = zul_bench(din=1, dout=1)
    alone.din[1].wire(1)
    alone.din[1].high()
    assert alone.dout[1].value == "high"
    alone.din[1].unwire(1)
    alone.din[1].low()
    assert alone.dout[1].value == "high"
