"""What all programs have in common: how they start, take commands and end."""

from __future__ import annotations

import os
import shlex
import shutil
import signal
import socket
from pathlib import Path
from types import TracebackType
from typing import Any, TypeVar

from .errors import ZulError
from .process import Process, find_program, unused_directory
from .replies import Reply
from .stream import Stream
from .words import seconds

START_LIMIT = 30.0
"""Seconds that a program may take to start."""

GRACE = 10.0
"""Seconds that a reply may take beyond the command's own time limit."""

_END_LIMIT = 20.0
_END_PAUSE = 5.0
"""Seconds within which a program that closed its lines has ended, if it ends."""

_Self = TypeVar("_Self", bound="Program")


class Program:
    """A program that runs from its construction on until close()."""

    ROBOT_LIBRARY_SCOPE = "SUITE"

    _name = ""
    _good_ends = frozenset({0})
    _seed: int | None = None

    def __init__(self, arguments: list[str], by_hand: list[str], capture: str | Path | bool) -> None:
        """`by_hand` are the arguments with which a person would start the same again."""
        self._directory = unused_directory()
        self._by_hand = [self._name, *by_hand]
        self._recording = self._directory / "link.pcapng" if capture is True else None
        self._kept = None if isinstance(capture, bool) else Path(capture).absolute()
        recorded = self._recording or self._kept
        if recorded is not None:
            arguments = [*arguments, "--capture", str(recorded)]
        output, theirs = os.pipe()
        try:
            self._process = self._launch([find_program(self._name), *arguments], theirs)
        except BaseException:
            os.close(output)
            raise
        finally:
            os.close(theirs)
        try:
            self._stream = Stream(self._open_lines(output), output, self._describe_end)
        except BaseException:
            self._process.close()
            os.close(output)
            raise
        self._closed = False

    def _launch(self, arguments: list[str], output: int) -> Process:
        """Starts the program; what it has to say to people goes to `output`."""
        raise NotImplementedError

    def _open_lines(self, output: int) -> socket.socket:
        """The way for commands and JSON lines. If the program ends instead, `output` says why."""
        raise NotImplementedError

    def _environment(self) -> dict[str, str]:
        """The program's own files are all in its directory."""
        environment = {key: value for key, value in os.environ.items() if not key.startswith("XDG_")}
        # A theme of the desktop costs time and prints messages.
        environment.pop("QT_QPA_PLATFORMTHEME", None)
        own = str(self._directory)
        return environment | {"HOME": own, "TMPDIR": own, "XDG_RUNTIME_DIR": own}

    def __enter__(self: _Self) -> _Self:
        return self

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None:
        if kind is None:
            self.close()
        else:
            self._end()

    def close(self) -> None:
        """Ends the program and removes its files. Raises ZulError if it had failed."""
        if self._closed:
            return
        asked = self._process.poll() is None
        self._end()
        # A program that had not yet prepared for the signal just ends by it.
        if not (asked and self._process.status == -signal.SIGTERM):
            self._check_status()

    def _check_status(self) -> None:
        """Raises ZulError if the exit status of the ended program is not a good one."""
        if self._process.status not in self._good_ends:
            raise ZulError(self._describe_end())

    def _end(self) -> None:
        if self._closed:
            return
        self._closed = True
        try:
            self._process.terminate()
            self._process.wait(_END_LIMIT)
        except ZulError:
            pass  # The janitor is gone. There is nothing left to ask it.
        self._stream.close()
        try:
            self._keep_files()
        finally:
            self._process.close()

    def _keep_files(self) -> None:
        """Saves what is wanted of the program's directory, which is about to be removed."""
        if self._recording is not None and self._kept is not None:
            self._kept.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(self._recording, self._kept)

    def keep_capture(self, path: str | Path) -> None:
        """Puts the recording of `capture=True` there when the program ends."""
        if self._recording is None:
            raise ZulError(f"{self._name} records nothing: start it with capture=True.")
        self._kept = Path(path).absolute()

    @property
    def kept_capture(self) -> Path | None:
        """Where the recording is at the end; None if it is not kept."""
        return self._kept

    def command(self, line: str, timeout: float = START_LIMIT) -> Reply:
        """Sends a command as the manual has it. Raises ZulError unless the reply is ok."""
        __tracebackhide__ = True
        seconds(timeout)
        if self._closed:
            raise ZulError(f"{self._name} was closed.")
        return self._stream.command(line, timeout).check()

    def _ask(self, *words: str, limit: float = 0) -> Reply:
        __tracebackhide__ = True
        return self.command(" ".join(words), limit + GRACE)

    @property
    def events(self) -> list[dict[str, Any]]:
        """The latest 1000 lines that are no replies, the oldest first."""
        return self._stream.events()

    @property
    def last_lines(self) -> list[str]:
        """The latest 50 of its JSON lines."""
        return list(self._stream.last_lines)

    @property
    def last_output(self) -> list[str]:
        """The latest 50 lines of what else it printed."""
        return list(self._stream.last_output)

    @property
    def command_line(self) -> str:
        """What starts the same by hand, in a shell."""
        return shlex.join(self._by_hand)

    @property
    def seed(self) -> int | None:
        """The seed that it was started with; None if there is none."""
        return self._seed

    @property
    def pid(self) -> int:
        """The number of its process."""
        return self._process.pid

    def _describe_end(self) -> str:
        """Why it answers no longer, in a sentence."""
        if self._closed and self._process.status is None:
            return f"{self._name} was closed."
        status = self._process.wait(_END_PAUSE)
        if status is None:
            return f"{self._name} takes no more commands."
        self._stream.join(_END_LIMIT)
        return describe_status(self._name, status, self.last_output)


def describe_status(name: str, status: int, output: list[str]) -> str:
    """How a program ended, with the last line that it printed."""
    how = f"ended with status {status}" if status >= 0 else f"was ended by {signal.Signals(-status).name}"
    last = next((line for line in reversed(output) if line.strip()), "")
    return f"{name} {how}: {last}" if last else f"{name} {how}."
