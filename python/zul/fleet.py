"""Many devices in one program."""

from __future__ import annotations

import json
import socket
import time
from collections.abc import Mapping, Sequence
from pathlib import Path
from typing import Any

from .controlled import Controlled
from .errors import ExpectationFailed, ZulError, ZulTimeout
from .listening import address_of
from .proxy import Proxy
from .server import Server
from .words import options_of, scenario_files, seconds

_TOO_FEW = 4
"""The exit status of a fleet that was not what its options require."""

_PROGRESS = 0.5
_PAUSE = 0.02


class Fleet(Controlled):
    """A fleet of devices: a `zulfleet`."""

    _name = "zulfleet"

    def __init__(
        self,
        server: Server | Proxy | str,
        count: int,
        *,
        device: str | Path | None = None,
        din: int | None = None,
        dout: int | None = None,
        ain: int | None = None,
        aout: int | None = None,
        scanners: int | None = None,
        device_version: int | None = None,
        serial_start: int | None = None,
        label: str | None = None,
        seed: int | None = None,
        connect_rate: float | None = None,
        bind: str | Sequence[str] | None = None,
        events: float | None = None,
        mix: str | Mapping[str, float] | None = None,
        sample_every: float | str | None = None,
        scenario: str | Path | Sequence[str | Path] = (),
        time_scale: float | None = None,
        until_done: bool = False,
        outage: str | Sequence[str] | None = None,
        duration: float | str | None = None,
        progress: float | str | None = None,
        shard: str | None = None,
        run_id: str | None = None,
        require: int | None = None,
        report: str | Path | None = None,
    ) -> None:
        """Returns when the devices begin to connect. The keywords are the program's options.

        `server` is a Server, a Proxy or "HOST:PORT". `mix` may be a dictionary, `bind` and `outage` may be lists.
        Without `report` the report is in the attribute of this name alone.
        """
        kept = None if report is None else Path(report).absolute()
        options = options_of(
            {
                "--server": address_of(server),
                "--count": count,
                "--device": None if device is None else Path(device).absolute(),
                "--din": din,
                "--dout": dout,
                "--ain": ain,
                "--aout": aout,
                "--scanners": scanners,
                "--device-version": device_version,
                "--serial-start": serial_start,
                "--label": label,
                "--seed": seed,
                "--connect-rate": connect_rate,
                "--bind": bind if bind is None or isinstance(bind, str) else ",".join(bind),
                "--events": events,
                "--mix": ",".join(f"{kind}={share}" for kind, share in mix.items()) if isinstance(mix, Mapping) else mix,
                "--sample-every": sample_every,
                "--scenario": scenario_files(scenario),
                "--time-scale": time_scale,
                "--outage": outage,
                "--duration": duration,
                "--progress": progress,
                "--shard": shard,
                "--run-id": run_id,
                "--require": require,
                "--report": kept,
            }
        )
        own = [] if progress is not None else ["--progress", str(_PROGRESS)]
        options += ["--until-done"] if until_done else []
        own += [] if kept is not None else ["--report", "report.json"]
        self._seed = seed
        self._file = kept or Path("report.json")
        self._report: dict[str, Any] | None = None
        self._told = False
        super().__init__([*options, *own], options, False)

    def _ended_early(self, status: int, output: int) -> socket.socket:
        if status not in (0, _TOO_FEW):
            return super()._ended_early(status, output)
        ours, theirs = socket.socketpair()
        theirs.close()
        return ours

    @property
    def progress(self) -> dict[str, Any]:
        """Its latest line about how it goes: `in`, `connecting`, `down`, `eventsPerSecond`, `late`, `seconds`."""
        for line in reversed(self.last_output):
            if line.startswith("{") and line.endswith("}"):
                progress: dict[str, Any] = json.loads(line)
                return progress
        return {}

    def wait_in(self, timeout: float = 60) -> None:
        """Waits until all its devices are in."""
        seconds(timeout)
        end = time.monotonic() + timeout
        while not self._all_in():
            if self._closed or self._process.poll() is not None:
                raise ZulError(self._describe_end())
            if time.monotonic() >= end:
                raise ZulTimeout(f"Not all devices were in within {timeout:g} seconds: {json.dumps(self.progress)}.")
            time.sleep(_PAUSE)

    def _all_in(self) -> bool:
        progress = self.progress
        return bool(progress) and progress["connecting"] == progress["down"] == 0 < progress["in"]

    def wait(self, timeout: float = 600) -> dict[str, Any]:
        """Waits for the end that `duration` gives it. Returns the report.

        Raises ExpectationFailed if fewer devices than `require` were in, or if it did not send all its events.
        """
        seconds(timeout)
        if not self._closed and self._process.wait(timeout) is None:
            raise ZulTimeout(f"zulfleet did not end within {timeout:g} seconds.")
        self._check_status()
        return self.report

    @property
    def report(self) -> dict[str, Any]:
        """Its report, as the manual describes it, once it has ended."""
        if self._report is None:
            if not self._closed and self._process.poll() is None:
                raise ZulError("zulfleet has no report before its end: wait() waits for that, and close() ends it.")
            self._read_report()
        if self._report is None:
            raise ZulError(self._describe_end())
        return self._report

    def _check_status(self) -> None:
        """Once is enough: what wait() has raised, close() does not raise again."""
        __tracebackhide__ = True
        if self._told:
            return
        self._told = True
        if self._process.status == _TOO_FEW:
            raise ExpectationFailed(_shortfall(self.report))
        super()._check_status()

    def _keep_files(self) -> None:
        self._read_report()

    def _read_report(self) -> None:
        try:
            self._report = json.loads((self._directory / self._file).read_text())
        except (OSError, ValueError):
            pass  # It ended before it wrote one.


def _shortfall(report: dict[str, Any]) -> str:
    """What was not as the options of the fleet require, in a sentence."""
    devices, events = report["devices"], report["events"]
    return (
        f"{devices['in']} of {devices['asked']} devices were in, {events['dropped']} events were dropped,"
        f" and {events['waiting']} still waited at the end."
    )
