"""What the programs have in common that listen for connections and take commands at their standard input."""

from __future__ import annotations

import socket
from pathlib import Path

from .errors import ZulError
from .process import Process
from .program import START_LIMIT, Program


class Listening(Program):
    """A program that connections are made to."""

    def __init__(self, arguments: list[str], by_hand: list[str], capture: str | Path | bool) -> None:
        """Returns when it listens."""
        super().__init__(arguments, by_hand, capture)
        try:
            event = self._stream.wait_event(lambda line: bool(line["event"] == "listening"), START_LIMIT)
            if event is None:
                raise ZulError(self._describe_end())
        except BaseException:
            self._end()
            raise
        self._listening = event

    def _launch(self, arguments: list[str], output: int) -> Process:
        self._console, theirs = socket.socketpair()
        with theirs:
            streams = [theirs.fileno(), theirs.fileno(), output]
            return Process(arguments, self._environment(), self._directory, streams)

    def _open_lines(self, output: int) -> socket.socket:
        return self._console

    @property
    def host(self) -> str:
        """The address that it listens at."""
        return str(self._listening["address"])

    @property
    def port(self) -> int:
        """The port that it listens at."""
        return int(self._listening["port"])

    @property
    def address(self) -> str:
        """HOST:PORT, as `zulbench --server` takes it."""
        return joined(self.host, self.port)


def joined(host: str, port: int) -> str:
    """HOST:PORT."""
    return f"[{host}]:{port}" if ":" in host else f"{host}:{port}"


def address_of(server: Listening | str) -> str:
    """HOST:PORT of what a device connects to."""
    return server.address if isinstance(server, Listening) else server
