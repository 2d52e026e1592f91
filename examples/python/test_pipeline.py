"""The test of ../pipeline: here the test plays the site, so it takes neither a script nor a file of commands."""

from collections.abc import Callable
from pathlib import Path

from zul import Bench, Server

PANEL = Path(__file__).resolve().parent.parent / "pipeline" / "panel.dev"


def test_the_gate_closes_when_the_lamp_is_lit(zul_server: Server, zul_bench: Callable[..., Bench]) -> None:
    gate = zul_bench(device=PANEL, server=zul_server)
    assert zul_server.wait_device()["deviceLabel"] == "gate"
    gate.din[1].high()
    zul_server.expect_event("OBJ_PORT_DIN", portId=1, portStatus="OBJ_STATUS_ALARM_SET")
    gate.ain[1].set(75)
    zul_server.expect_event("OBJ_ANALOG_SAMPLE", portNum=1, sample=75, tolerance=0.5)
    zul_server.set_dout(1, state="high")
    gate.dout[1].expect_high()
    gate.din[1].low()
    zul_server.expect_event("OBJ_PORT_DIN", portId=1, inputState="OBJ_IO_STATE_CLEAR")
