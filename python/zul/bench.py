"""The device simulator."""

from __future__ import annotations

import time
from collections.abc import Iterator, Sequence
from contextlib import contextmanager
from pathlib import Path
from typing import Any

from .controlled import PAUSE, Controlled
from .errors import ExpectationFailed, ZulError, ZulTimeout
from .listening import address_of
from .ports import AnalogInput, AnalogOutput, DigitalInput, DigitalOutput, Ports
from .program import START_LIMIT
from .proxy import Proxy
from .replies import Object, Reply
from .server import Server
from .words import Value, condition, number, options_of, quoted, scenario_files, seconds

_STATES = {"high": "OBJ_IO_STATE_SET", "low": "OBJ_IO_STATE_CLEAR", "unknown": "OBJ_IO_STATE_UNKNOWN"}
_MISSED = 4
"""The exit status if an expectation of a scenario was missed."""

_FIELDS = {"din": "inputState", "dout": "outputState", "ain": "value", "aout": "sampledValue"}


class Bench(Controlled):
    """A device: a `zulbench` without a window."""

    _name = "zulbench"

    def __init__(
        self,
        din: int | None = None,
        dout: int | None = None,
        ain: int | None = None,
        aout: int | None = None,
        scanners: int | None = None,
        serial: int | None = None,
        label: str | None = None,
        version: int | None = None,
        *,
        device: str | Path | None = None,
        server: Server | Proxy | str | None = None,
        seed: int | None = None,
        scenario: str | Path | Sequence[str | Path] = (),
        time_scale: float | None = None,
        capture: str | Path | bool = False,
    ) -> None:
        """Returns when the device is loaded; it connects to `server` from then on.

        `device` is a device file, in which the other arguments replace values. `server` is a Server, a Proxy or
        "HOST:PORT". `seed` decides the chance in its scripts and scenarios. `scenario` is one file or several, and
        `time_scale` how fast they are played. `capture` names a file that records the link; True
        records it in the program's own directory, see keep_capture().
        """
        numbers = {
            "--device": None if device is None else Path(device).absolute(),
            "--din": din,
            "--dout": dout,
            "--ain": ain,
            "--aout": aout,
            "--scanners": scanners,
            "--serial": serial,
            "--label": label,
            "--device-version": version,
            "--seed": seed,
            "--scenario": scenario_files(scenario),
            "--time-scale": time_scale,
            "--server": None if server is None else address_of(server),
        }
        options = options_of(numbers)
        self._server = server
        self._seed = seed
        self._scripts_told = 0.0
        self._told = False
        super().__init__(["--headless", *options], options, capture)
        self.din = Ports(self, DigitalInput)
        self.dout = Ports(self, DigitalOutput)
        self.ain = Ports(self, AnalogInput)
        self.aout = Ports(self, AnalogOutput)

    def get(self, kind: str, port: int | str | None = None) -> list[Object]:
        """Its records as they are: `get("din", 2)`, `get("scanner")`, `get("device")`."""
        return self._ask("get", quoted(kind), *([] if port is None else [quoted(str(port))])).objects

    def _value(self, kind: str, port: int) -> Any:
        return self.get(kind, port)[0][_FIELDS[kind]]

    def get_din(self, port: int) -> str:
        """The state of a digital input: `high`, `low` or `unknown`."""
        return _state_name(self._value("din", port))

    def get_dout(self, port: int) -> str:
        """The state of a digital output."""
        return _state_name(self._value("dout", port))

    def get_ain(self, port: int) -> int:
        """Where the slider of an analog input stands, 0 to 100."""
        return int(self._value("ain", port))

    def get_aout(self, port: int) -> float | None:
        """The value of an analog output; None if it is no number."""
        value = self._value("aout", port)
        return None if value is None else float(value)

    def set_din(self, port: int, state: str) -> None:
        """Sets a digital input to `high` or `low`, as the operator does."""
        self._ask("set", "din", str(port), quoted(state))

    def set_ain(self, port: int, value: int) -> None:
        """Moves the slider of an analog input, 0 to 100."""
        self._ask("set", "ain", str(port), number(value))

    def expect_din(self, port: int, state: str, *, within: float = 10) -> None:
        """Raises ExpectationFailed unless the digital input is `high` or `low` in time."""
        self.expect_get("din", port, inputState=_state(state), within=within)

    def expect_dout(self, port: int, state: str, *, within: float = 10) -> None:
        """Raises ExpectationFailed unless the digital output is `high` or `low` in time."""
        self.expect_get("dout", port, outputState=_state(state), within=within)

    def expect_ain(self, port: int, value: int, *, within: float = 10) -> None:
        """Raises ExpectationFailed unless the slider of the analog input stands there in time."""
        self.expect_get("ain", port, value=value, within=within)

    def expect_aout(self, port: int, value: float, *, within: float = 10, tolerance: float | None = None) -> None:
        """Raises ExpectationFailed unless the analog output has this value in time."""
        self.expect_get("aout", port, sampledValue=value, within=within, tolerance=tolerance)

    def expect_get(
        self,
        kind: str,
        port: int | str | None = None,
        *,
        within: float = 10,
        tolerance: float | None = None,
        **fields: Value,
    ) -> list[Object]:
        """Looks at the device until one of these records is so. Returns the records."""
        what = ["get", quoted(kind), *([] if port is None else [quoted(str(port))])]
        return self._expect(what, within, tolerance, fields).objects

    def expect_event(
        self, type: str | None = None, *, within: float = 10, tolerance: float | None = None, **fields: Value
    ) -> list[Object]:
        """Looks for an object that the server set and no call took yet; takes it. Returns the objects of the reply."""
        return self._expect(["event", *([] if type is None else [quoted(type)])], within, tolerance, fields).objects

    def expect_no_event(
        self, type: str | None = None, *, within: float = 1, tolerance: float | None = None, **fields: Value
    ) -> None:
        """Raises ExpectationFailed if the server set such an object that no call took, or sets one in this time."""
        self._expect(["no", "event", *([] if type is None else [quoted(type)])], within, tolerance, fields)

    def _expect(self, what: list[str], within: float, tolerance: float | None, fields: dict[str, Value]) -> Reply:
        __tracebackhide__ = True
        conditions = [condition(name, value, tolerance) for name, value in fields.items()]
        return self._ask("expect", *what, *conditions, f"within={seconds(within)}", limit=within)

    def forget(self) -> None:
        """Drops what the server set so far: no later expectation looks at it."""
        self._ask("forget")

    def scan(self, scanner: int, code: str) -> None:
        """Scans a badge: the server gets an access event of this scanner."""
        self._ask("scan", str(scanner), quoted(code))

    def adhoc(self, id: int, label: str, value: str) -> None:
        """Sends an ad-hoc event."""
        self._ask("adhoc", str(id), quoted(label), quoted(value))

    def wire(self, kind: str, input: int, output: int) -> None:
        """From the input's next change on, the output follows it. The kind is `din` or `ain`."""
        self._ask("wire", quoted(kind), str(input), str(output))

    def unwire(self, kind: str, input: int, output: int) -> None:
        """The output follows the input no longer."""
        self._ask("unwire", quoted(kind), str(input), str(output))

    @property
    def link(self) -> dict[str, Any]:
        """The connection: `state`, which is `up`, `down` or `off`, `server`, `since`, `waiting` and `dropped`."""
        link: dict[str, Any] = self._ask("get", "link").line["link"]
        return link

    def wait_connected(self, timeout: float = 10) -> None:
        """Waits until the device is connected, and until a Server has its record too."""
        limit = f"timeout={seconds(timeout)}"
        end = time.monotonic() + timeout
        self._ask("wait", "link", "up", limit, limit=timeout)
        self._wait_for_server(max(PAUSE, end - time.monotonic()))

    def wait_disconnected(self, timeout: float = 10) -> None:
        """Waits until the device is not connected."""
        self._ask("wait", "link", "down", f"timeout={seconds(timeout)}", limit=timeout)

    def connect(self, server: Server | Proxy | str | None = None, timeout: float = 10) -> None:
        """Connects, to another server if one is given, and waits for it as wait_connected() does."""
        limit = f"timeout={seconds(timeout)}"
        end = time.monotonic() + timeout
        self._server = server or self._server
        address = [] if server is None else [quoted(address_of(server))]
        self._ask("connect", *address, limit, limit=timeout)
        self._wait_for_server(max(PAUSE, end - time.monotonic()))

    def _wait_for_server(self, timeout: float) -> None:
        server = self._server.server if isinstance(self._server, Proxy) else self._server
        if isinstance(server, Server):
            serial = self.get("device")[0]["deviceSerial"]
            server.wait_device(device=serial, timeout=timeout)

    def disconnect(self) -> None:
        """Closes the connection; the device does not try again. What happens from now on waits in it."""
        self._ask("disconnect")

    @contextmanager
    def disconnected(self) -> Iterator[None]:
        """The device is disconnected inside of `with`, and connected again after it."""
        self.disconnect()
        yield
        self.connect()

    def load(self, file: str | Path) -> None:
        """Loads another device. Its scripts and scenarios are stopped."""
        self._ask("load", quoted(str(Path(file).absolute())), limit=START_LIMIT)

    def play(self, file: str | Path) -> None:
        """Plays a scenario from now on; see wait_scenario()."""
        self._ask("scenario", quoted(str(Path(file).absolute())))

    @property
    def scenario(self) -> dict[str, Any]:
        """How far the scenarios are: `scenarios`, `done`, `late`, `met`, `missed` and `ended`."""
        scenario: dict[str, Any] = self._ask("get", "scenario").line["scenario"]
        return scenario

    def wait_scenario(self, timeout: float = 60) -> dict[str, Any]:
        """Waits until all scenarios are done. Returns how that went; raises ExpectationFailed if one of their
        expectations was missed."""
        __tracebackhide__ = True
        end = time.monotonic() + timeout
        while not (scenario := self.scenario)["ended"]:
            if time.monotonic() >= end:
                raise ZulTimeout(f"The scenarios are not done within {timeout:g} seconds: {scenario}.")
            time.sleep(PAUSE)
        if scenario["missed"] > 0:
            self._told = True
            raise ExpectationFailed(self._missed(scenario["missed"]))
        return scenario

    def _missed(self, count: int = 1) -> str:
        """The sentences come by another stream than replies, so they may come later."""
        end = time.monotonic() + 5
        told: list[str] = []
        while len(told) < count and time.monotonic() < end:
            told = [line.removeprefix("zulbench: ") for line in self.last_output if " expects " in line]
            time.sleep(0 if len(told) >= count else PAUSE)
        return "\n".join(told) or "An expectation of a scenario was missed."

    def _check_status(self) -> None:
        """What wait_scenario() has raised, close() does not raise again."""
        __tracebackhide__ = True
        if self._process.status != _MISSED:
            super()._check_status()
        elif not self._told:
            raise ExpectationFailed(self._missed())

    def script(self, file: str | Path, *arguments: str) -> None:
        """Starts a script; see wait_scripts()."""
        try:
            self._ask("script", quoted(str(Path(file).absolute())), *(quoted(argument) for argument in arguments))
        except ZulError:
            self._failed_scripts()  # This is told by the reply.
            raise

    def wait_scripts(self, timeout: float = 60) -> None:
        """Waits until all scripts have ended. Raises ZulError if one has failed."""
        self._ask("wait", "scripts", f"timeout={seconds(timeout)}", limit=timeout)
        for failed in self._failed_scripts():
            where = "" if failed["line"] is None else f" in line {failed['line']}"
            raise ZulError(f"{failed['file']} failed{where}: {failed['error']}")

    def _failed_scripts(self) -> list[dict[str, Any]]:
        """The lines about scripts that have failed since the last call."""
        failed = [line for line in self.events if line["event"] == "script" and line["state"] == "failed"]
        new = [line for line in failed if line["time"] > self._scripts_told]
        self._scripts_told = max([self._scripts_told, *(line["time"] for line in new)])
        return new


def _state(name: str) -> str:
    if name not in _STATES:
        raise ZulError(f"A state is high, low or unknown, not {name!r}.")
    return _STATES[name]


def _state_name(state: Any) -> str:
    return next((name for name, value in _STATES.items() if value == state), str(state))
