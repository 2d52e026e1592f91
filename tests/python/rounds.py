"""Many devices of many tests at the same time, again and again.

Run it by hand, with as many tests at once as there are devices:

    ZUL_BIN=build/release/bin PYTHONPATH=python python3 -m pytest -p zul.plugin -n 50 tests/python/rounds.py

ZUL_ROUNDS says how often; once unless it is set.
"""

from __future__ import annotations

import os

import pytest
from zul import Server
from zul.plugin import BenchFactory

DEVICES = 50
ROUNDS = int(os.environ.get("ZUL_ROUNDS", "1"))


@pytest.mark.parametrize("device", range(1, DEVICES + 1))
@pytest.mark.parametrize("turn", range(ROUNDS))
def test_the_lamp_follows_the_door(zul_server: Server, zul_bench: BenchFactory, turn: int, device: int) -> None:
    gate = zul_bench(din=4, dout=4, ain=2, aout=2, scanners=2, serial=device, label="gate", server=zul_server)
    gate.wait_connected()
    gate.din[1].high()
    zul_server.expect_event("OBJ_PORT_DIN", portId=1, inputState="OBJ_IO_STATE_SET", within=2)
    zul_server.set_dout(1, state="high", device=device)
    gate.dout[1].expect_high(within=2)
    gate.scan(2, "4711-ANNA")
    with gate.disconnected():
        gate.ain[1].set(42)
    zul_server.expect_event("OBJ_ANALOG_SAMPLE", portNum=1, sample=42, tolerance=0.5, within=5)
