"""The companion server."""

from __future__ import annotations

from collections.abc import Sequence
from pathlib import Path

from .errors import ZulError
from .listening import Listening
from .replies import Object, Reply
from .words import Value, condition, number, options_of, quoted, seconds


class Server(Listening):
    """A `zulserver`, on a free port unless one is given."""

    _name = "zulserver"
    # It was ended by a command, and commands had failed before: those have been reported.
    _good_ends = frozenset({0, 2, 3, 4})

    def __init__(
        self,
        port: int = 0,
        *,
        listen: str = "127.0.0.1",
        quiet: Sequence[str] = (),
        capture: str | Path | bool = False,
    ) -> None:
        """Returns when it listens. `capture` names a file that records all links.

        `events` has no lines of the events in `quiet`, such as `message`; what expects an event still finds it.
        """
        for name in _NEEDED.intersection(quiet):
            raise ZulError(f'The lines "{name}" cannot be left out here.')
        options = ["--listen", listen] if listen != "127.0.0.1" else []
        options += options_of({"--quiet": quiet})
        super().__init__(["--port", str(port), *options], [], capture)
        self._by_hand += ["--port", str(self.port), *options]

    def get(
        self,
        kind: str,
        port: int | str | None = None,
        *,
        device: int | str | None = None,
        peer: str | None = None,
        timeout: float = 5,
    ) -> list[Object]:
        """Asks a device: `get("din", 2)`, `get("dout")`, `get("device")`. Returns the objects of its answer.

        With `device="*"` all devices are asked at the same time. Then no objects are returned, and a device that
        does not answer is a ZulTimeout.
        """
        words = ["get", quoted(kind), *([] if port is None else [quoted(str(port))])]
        limit = f"timeout={seconds(timeout)}"
        return self._ask(*words, *_of(device, peer), limit, limit=timeout).objects

    def set_din(
        self,
        port: int | str,
        default: str,
        *,
        device: int | str | None = None,
        peer: str | None = None,
        timeout: float = 5,
    ) -> None:
        """Sets the default state of a digital input, `high` or `low`."""
        self._set("din", port, _of(device, peer), timeout, default=default)

    def set_dout(
        self,
        port: int | str,
        state: str | None = None,
        default: str | None = None,
        *,
        device: int | str | None = None,
        peer: str | None = None,
        timeout: float = 5,
    ) -> None:
        """Sets the state or the default state of a digital output, or both: `high` or `low`."""
        self._set("dout", port, _of(device, peer), timeout, state=state, default=default)

    def set_ain(
        self,
        port: int | str,
        rate: int | None = None,
        gain: float | None = None,
        offset: float | None = None,
        *,
        device: int | str | None = None,
        peer: str | None = None,
        timeout: float = 5,
    ) -> None:
        """Sets the minutes between samples, the gain or the offset of an analog input."""
        self._set("ain", port, _of(device, peer), timeout, rate=rate, gain=gain, offset=offset)

    def set_aout(
        self,
        port: int | str,
        value: float,
        *,
        device: int | str | None = None,
        peer: str | None = None,
        timeout: float = 5,
    ) -> None:
        """Sets the value of an analog output."""
        self._set("aout", port, _of(device, peer), timeout, value=value)

    def _set(
        self, kind: str, port: int | str, which: list[str], timeout: float, **fields: str | float | None
    ) -> None:
        __tracebackhide__ = True
        words = [
            f"{name}={quoted(value) if isinstance(value, str) else number(value)}"
            for name, value in fields.items()
            if value is not None
        ]
        limit = f"timeout={seconds(timeout)}"
        self._ask("set", kind, quoted(str(port)), *words, *which, limit, limit=timeout)

    def wait_device(self, *, device: int | None = None, peer: str | None = None, timeout: float = 10) -> Object:
        """Waits until a device is connected and has said who it is. Returns its record."""
        limit = f"timeout={seconds(timeout)}"
        return self._ask("wait", "device", *_of(device, peer), limit, limit=timeout).objects[0]

    def wait_disconnected(self, *, device: int | None = None, peer: str | None = None, timeout: float = 10) -> None:
        """Waits until a connection ends; each end is found once."""
        limit = f"timeout={seconds(timeout)}"
        self._ask("wait", "disconnected", *_of(device, peer), limit, limit=timeout)

    def expect_event(
        self,
        type: str | None = None,
        *,
        within: float = 10,
        device: int | None = None,
        peer: str | None = None,
        tolerance: float | None = None,
        **fields: Value,
    ) -> Object:
        """Looks for a message that no command took yet, with such an object; takes it and returns the object.

        The tolerance is for the floats among the fields. Raises ExpectationFailed if none came in time.
        """
        reply = self._expect(["event", *_typed(type)], within, _of(device, peer), tolerance, fields)
        return next((each for each in reply.objects if type in (None, each["type"])), {})

    def expect_no_event(
        self,
        type: str | None = None,
        *,
        within: float = 1,
        device: int | None = None,
        peer: str | None = None,
        tolerance: float | None = None,
        **fields: Value,
    ) -> None:
        """Raises ExpectationFailed if such a message came that no command took, or comes in this time."""
        self._expect(["no", "event", *_typed(type)], within, _of(device, peer), tolerance, fields)

    def expect_get(
        self,
        kind: str,
        port: int | str | None = None,
        *,
        within: float = 10,
        device: int | None = None,
        peer: str | None = None,
        tolerance: float | None = None,
        **fields: Value,
    ) -> list[Object]:
        """Asks a device again and again until an object of its answer is so. Returns the objects of that answer."""
        what = ["get", quoted(kind), *([] if port is None else [quoted(str(port))])]
        return self._expect(what, within, _of(device, peer), tolerance, fields).objects

    def _expect(
        self, what: list[str], within: float, which: list[str], tolerance: float | None, fields: dict[str, Value]
    ) -> Reply:
        __tracebackhide__ = True
        conditions = [condition(name, value, tolerance) for name, value in fields.items()]
        limit = f"within={seconds(within)}"
        return self._ask("expect", *what, *conditions, *which, limit, limit=within)

    def forget(self) -> None:
        """Drops the messages that came so far: no later call looks at them."""
        self._ask("forget")

    def drop(self, device: int | None = None, *, peer: str | None = None) -> None:
        """Closes the connection of this device."""
        self._ask("drop", *_of(device, peer))

    def devices(self) -> dict[str, float]:
        """How many devices there are: `connected`, `identified`, `connectsPerSecond`, `messagesPerSecond`."""
        line = self._ask("devices").line
        return {name: line[name] for name in _COUNTS}


_NEEDED = frozenset({"listening", "reply"})
_COUNTS = ("connected", "identified", "connectsPerSecond", "messagesPerSecond")


def _of(device: int | str | None, peer: str | None) -> list[str]:
    fields = {"device": device, "peer": peer}
    return [f"{name}={quoted(str(value))}" for name, value in fields.items() if value is not None]


def _typed(type: str | None) -> list[str]:
    return [] if type is None else [quoted(type)]
