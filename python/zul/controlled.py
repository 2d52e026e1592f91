"""What the programs have in common that take commands at a Unix socket."""

from __future__ import annotations

import os
import socket
import time
from pathlib import Path

from .errors import ZulError, ZulTimeout
from .process import Process
from .program import START_LIMIT, Program, describe_status

PAUSE = 0.002
_LONGEST_PATH = 107
"""Bytes that the path of a socket may have."""


class Controlled(Program):
    """A program with a control socket in its own directory."""

    def __init__(self, arguments: list[str], by_hand: list[str], capture: str | Path | bool) -> None:
        super().__init__(["--control", "control", *arguments], by_hand, capture)

    def _launch(self, arguments: list[str], output: int) -> Process:
        with open(os.devnull) as nothing:
            return Process(arguments, self._environment(), self._directory, [nothing.fileno(), output, output])

    def _open_lines(self, output: int) -> socket.socket:
        end = time.monotonic() + START_LIMIT
        while time.monotonic() < end:
            control = _connect(self._directory / "control")
            if control is not None:
                return control
            status = self._process.wait(PAUSE)
            if status is not None:
                return self._ended_early(status, output)
        raise ZulTimeout(f"{self._name} did not start within {START_LIMIT:g} seconds.")

    def _ended_early(self, status: int, output: int) -> socket.socket:
        """It ended before it took commands: stands in for the way to it, or raises ZulError."""
        raise ZulError(describe_status(self._name, status, _read_all(output)))


def _connect(path: Path) -> socket.socket | None:
    """Connects to the socket. Returns None if no program listens there yet."""
    directory = None
    address = str(path)
    if len(os.fsencode(path)) > _LONGEST_PATH:
        directory = os.open(path.parent, os.O_PATH | os.O_DIRECTORY)
        address = f"/proc/self/fd/{directory}/{path.name}"
    control = socket.socket(socket.AF_UNIX)
    try:
        control.connect(address)
        return control
    except (FileNotFoundError, ConnectionRefusedError):
        control.close()
        return None
    except BaseException:
        control.close()
        raise
    finally:
        if directory is not None:
            os.close(directory)


def _read_all(output: int) -> list[str]:
    data = b""
    while part := os.read(output, 65536):
        data += part
    return data.decode(errors="replace").splitlines()
