"""The ports of a bench, as `bench.din[1]`."""

from __future__ import annotations

from collections.abc import Callable
from typing import TYPE_CHECKING, Generic, TypeVar

from .errors import ZulError

if TYPE_CHECKING:
    from .bench import Bench

_PortType = TypeVar("_PortType", bound="Port")


class Ports(Generic[_PortType]):
    """All ports of one kind, numbered from 1."""

    def __init__(self, bench: Bench, port: Callable[[Bench, int], _PortType]) -> None:
        self._bench = bench
        self._port = port

    def __getitem__(self, number: int) -> _PortType:
        """The port of this number. Whether the device has it shows when it is used."""
        if isinstance(number, bool) or not isinstance(number, int):
            raise ZulError(f"A port is a whole number from 1, not {number!r}.")
        return self._port(self._bench, number)


class Port:
    """One port of a device."""

    def __init__(self, bench: Bench, number: int) -> None:
        self._bench = bench
        self.number = number


class DigitalInput(Port):
    """What a contact at the site does."""

    @property
    def value(self) -> str:
        """`high`, `low` or `unknown`."""
        return self._bench.get_din(self.number)

    def high(self) -> None:
        self.set("high")

    def low(self) -> None:
        self.set("low")

    def set(self, state: str) -> None:
        """`high` or `low`. The state that it has already sends nothing."""
        self._bench.set_din(self.number, state)

    def expect(self, state: str, *, within: float = 10) -> None:
        """Raises ExpectationFailed unless the state is so in time."""
        self._bench.expect_din(self.number, state, within=within)

    def expect_high(self, *, within: float = 10) -> None:
        self.expect("high", within=within)

    def expect_low(self, *, within: float = 10) -> None:
        self.expect("low", within=within)

    def wire(self, output: int) -> None:
        """From the next change on, this digital output follows the input."""
        self._bench.wire("din", self.number, output)

    def unwire(self, output: int) -> None:
        self._bench.unwire("din", self.number, output)


class DigitalOutput(Port):
    """What the server or a wired input drives."""

    @property
    def value(self) -> str:
        """`high`, `low` or `unknown`."""
        return self._bench.get_dout(self.number)

    def expect(self, state: str, *, within: float = 10) -> None:
        """Raises ExpectationFailed unless the state is so in time."""
        self._bench.expect_dout(self.number, state, within=within)

    def expect_high(self, *, within: float = 10) -> None:
        self.expect("high", within=within)

    def expect_low(self, *, within: float = 10) -> None:
        self.expect("low", within=within)


class AnalogInput(Port):
    """What is measured at the site."""

    @property
    def value(self) -> int:
        """Where its slider stands, 0 to 100."""
        return self._bench.get_ain(self.number)

    def set(self, value: int) -> None:
        """0 to 100. Every value sends a sample, also the one that it has already."""
        self._bench.set_ain(self.number, value)

    def expect(self, value: int, *, within: float = 10) -> None:
        """Raises ExpectationFailed unless the slider stands there in time."""
        self._bench.expect_ain(self.number, value, within=within)

    def wire(self, output: int) -> None:
        """From the next change on, this analog output takes the input's value, if both have the same number."""
        self._bench.wire("ain", self.number, output)

    def unwire(self, output: int) -> None:
        self._bench.unwire("ain", self.number, output)


class AnalogOutput(Port):
    """What the server or a wired input drives."""

    @property
    def value(self) -> float | None:
        """None if it is no number."""
        return self._bench.get_aout(self.number)

    def expect(self, value: float, *, within: float = 10, tolerance: float | None = None) -> None:
        """Raises ExpectationFailed unless the value is so in time."""
        self._bench.expect_aout(self.number, value, within=within, tolerance=tolerance)
