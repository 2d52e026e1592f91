"""What misbehaves between devices and their server."""

from __future__ import annotations

from collections.abc import Iterator, Sequence
from contextlib import contextmanager
from pathlib import Path
from typing import Any

from .listening import Listening, address_of, joined
from .server import Server
from .words import options_of, quoted, seconds


class Proxy(Listening):
    """A `zulproxy`, on a free port unless one is given."""

    _name = "zulproxy"

    def __init__(
        self,
        server: Server | str,
        rules: Sequence[str] = (),
        seed: int | None = None,
        *,
        port: int = 0,
        listen: str = "127.0.0.1",
        capture: str | Path | bool = False,
    ) -> None:
        """Returns when it listens. `server` is a Server or "HOST:PORT", `rules` are as the manual has them.

        `seed` decides the chance in its rules. `capture` names a file that records both sides; True records them in
        the program's own directory, see keep_capture().
        """
        options = options_of({"--server": address_of(server), "--rule": list(rules), "--seed": seed})
        super().__init__(["--listen", joined(listen, port), *options], [], capture)
        self._server = server
        self._seed = int(self._listening["seed"])
        self._by_hand += ["--listen", self.address, *options]
        self._by_hand += [] if seed is not None else ["--seed", str(self._seed)]

    @property
    def server(self) -> Server | str:
        """Where it passes connections on to, as it was given."""
        return self._server

    def add_rule(self, rule: str) -> int:
        """Adds a rule, which acts on open connections too. Returns its number."""
        number: int = self._ask("rule", "add", rule).line["rule"]
        return number

    def clear(self, rule: int | None = None) -> None:
        """Clears the rule of this number, or all of them. What they held is let go."""
        self._ask("rule", "clear", *([] if rule is None else [str(rule)]))

    @contextmanager
    def fault(self, rule: str) -> Iterator[int]:
        """The rule is in force inside of `with`, which gets its number."""
        number = self.add_rule(rule)
        try:
            yield number
        finally:
            self.clear(number)

    @property
    def rules(self) -> list[dict[str, Any]]:
        """The rules in force: each one's `rule`, which is its number, `text`, `matched` and `injected`."""
        rules: list[dict[str, Any]] = self._ask("rule", "list").line["rules"]
        return rules

    @property
    def faults(self) -> list[dict[str, Any]]:
        """The faults among the latest 1000 lines, the oldest first."""
        return [line for line in self.events if line["event"] == "fault"]

    def expect_fault(
        self,
        kind: str,
        *,
        within: float = 10,
        device: int | None = None,
        direction: str | None = None,
        rule: int | None = None,
        object: str | None = None,
        msg_seq: int | None = None,
        connection: int | None = None,
    ) -> dict[str, Any]:
        """Looks for a fault that no call took yet; takes it and returns its line.

        `direction` is `to-server` or `to-device`. Raises ExpectationFailed if none came in time.
        """
        __tracebackhide__ = True
        wanted = {
            "device": device,
            "dir": direction,
            "rule": rule,
            "object": object,
            "msgSeq": msg_seq,
            "connection": connection,
        }
        words = [f"{name}={quoted(str(value))}" for name, value in wanted.items() if value is not None]
        limit = f"within={seconds(within)}"
        fault: dict[str, Any] = self._ask("expect", "fault", quoted(kind), *words, limit, limit=within).line["fault"]
        return fault

    def forget(self) -> None:
        """Drops the faults that came so far: no later expectation looks at them."""
        self._ask("forget")

    def connections(self) -> list[dict[str, Any]]:
        """The open connections: each one's `connection`, `peer`, `server`, `device` and `reconnect`."""
        connections: list[dict[str, Any]] = self._ask("connections").line["connections"]
        return connections

    def cut(self, device: int | None = None) -> int:
        """Ends the connections of this device, or all of them. Returns how many."""
        return self._act("cut", device)

    def reset(self, device: int | None = None) -> int:
        """Resets the connections of this device, or all of them. Returns how many."""
        return self._act("reset", device)

    def silence(self, device: int | None = None) -> int:
        """Lets nothing more through on the connections of this device, or on all. Returns on how many."""
        return self._act("silence", device)

    def _act(self, command: str, device: int | None) -> int:
        hit: int = self._ask(command, *([] if device is None else [f"device={device}"])).line["connections"]
        return hit
