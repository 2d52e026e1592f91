"""The two-way stream of lines between Python and a program: commands there, JSON lines back."""

from __future__ import annotations

import json
import os
import select
import socket
import threading
import time
from collections import deque
from collections.abc import Callable
from typing import Any

from .errors import ZulError, ZulTimeout
from .replies import Reply

KEPT_LINES = 1000
SHOWN_LINES = 50

_SEND_LIMIT = 30.0


class _Splitter:
    """Splits what a descriptor gives into lines."""

    def __init__(self, descriptor: int, take: Callable[[str], None], at_end: Callable[[], None]) -> None:
        self.descriptor = descriptor
        self._take = take
        self._at_end = at_end
        self._rest = b""

    def read(self) -> bool:
        """Reads once. Returns false at the end."""
        try:
            data = os.read(self.descriptor, 65536)
        except OSError:
            data = b""
        *lines, self._rest = (self._rest + data).split(b"\n")
        if not data and self._rest:
            lines.append(self._rest)
        for line in lines:
            self._take(line.decode(errors="replace"))
        if not data:
            self._at_end()
        return bool(data)


class Stream:
    """Sends commands and keeps what comes back.

    One thread reads all that the program prints, so that the program never waits for its reader. Commands of several
    threads take turns.
    """

    def __init__(self, lines: socket.socket, output: int, describe_end: Callable[[], str]) -> None:
        """Takes over both descriptors; `output` is a pipe with text that is no JSON line.

        `describe_end` says in a sentence why no line comes any more.
        """
        self.last_lines: deque[str] = deque(maxlen=SHOWN_LINES)
        self.last_output: deque[str] = deque(maxlen=SHOWN_LINES)
        self._lines = lines
        self._lines.settimeout(_SEND_LIMIT)
        self._output = output
        self._describe_end = describe_end
        self._turn = threading.Lock()
        self._changed = threading.Condition()
        self._events: deque[dict[str, Any]] = deque(maxlen=KEPT_LINES)
        self._replies: deque[Reply] = deque()
        self._abandoned = 0
        self._ended = False
        self._reader = threading.Thread(target=self._read, name="zul reader", daemon=True)
        self._reader.start()

    def command(self, line: str, limit: float) -> Reply:
        """Sends a command and returns its reply, whatever the status is."""
        if not line.strip() or line.lstrip().startswith("#") or "\n" in line or "\r" in line:
            raise ZulError(f"A command is one line, not {line!r}.")
        if self._ended:
            raise ZulError(self._describe_end())
        try:
            data = line.encode() + b"\n"
        except UnicodeEncodeError:
            raise ZulError(f"A command is a text of Unicode characters, not {line!r}.") from None
        if not self._turn.acquire(timeout=limit):
            raise ZulTimeout(f'Other commands kept "{line}" waiting for {limit:g} seconds.')
        try:
            self._send(line, data)
            return self._await_reply(line, limit)
        finally:
            self._turn.release()

    def _send(self, line: str, data: bytes) -> None:
        try:
            self._lines.sendall(data)
        except TimeoutError:
            self._ended = True  # A part of the line may be sent: what followed would be taken for its end.
            raise ZulTimeout(f'The program does not read the command "{line}".') from None
        except OSError:
            raise ZulError(self._describe_end()) from None

    def _await_reply(self, line: str, limit: float) -> Reply:
        end = time.monotonic() + limit
        arrived = False
        try:
            with self._changed:
                while not self._take_abandoned() and not self._ended:
                    left = end - time.monotonic()
                    if left <= 0:
                        raise ZulTimeout(f'No reply to "{line}" came within {limit:g} seconds.')
                    self._changed.wait(left)
                if self._replies:
                    arrived = True
                    return self._replies.popleft()
        finally:
            if not arrived:
                self._abandoned += 1  # If it comes later, no command waits for it.
        raise ZulError(self._describe_end())

    def _take_abandoned(self) -> bool:
        """Drops replies to commands that have timed out. Returns whether another one is there."""
        while self._abandoned and self._replies:
            self._replies.popleft()
            self._abandoned -= 1
        return bool(self._replies)

    def events(self) -> list[dict[str, Any]]:
        """The latest lines that are no replies, the oldest first."""
        with self._changed:
            return list(self._events)

    def wait_event(self, matches: Callable[[dict[str, Any]], bool], limit: float) -> dict[str, Any] | None:
        """The first line among the latest ones that matches. Returns None if none came in time or will come."""
        end = time.monotonic() + limit
        with self._changed:
            while True:
                for event in self._events:
                    if matches(event):
                        return event
                left = end - time.monotonic()
                if left <= 0 or self._ended:
                    return None
                self._changed.wait(left)

    def close(self) -> None:
        """Ends the reading of lines, and waits until the program has closed its output."""
        try:
            self._lines.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass  # The other end is gone already.
        self.join(_SEND_LIMIT)

    def join(self, limit: float) -> None:
        """Waits until all that an ended program printed is here."""
        self._reader.join(limit)

    def _read(self) -> None:
        lines = _Splitter(self._lines.fileno(), self._take_line, self._end_lines)
        output = _Splitter(self._output, self.last_output.append, lambda: None)
        open_ones = {splitter.descriptor: splitter for splitter in (lines, output)}
        poll = select.poll()
        for descriptor in open_ones:
            poll.register(descriptor, select.POLLIN)
        while open_ones:
            for descriptor, _ in poll.poll():
                if not open_ones[descriptor].read():
                    poll.unregister(descriptor)
                    del open_ones[descriptor]
        self._lines.close()
        os.close(self._output)

    def _end_lines(self) -> None:
        with self._changed:
            self._ended = True
            self._changed.notify_all()

    def _take_line(self, line: str) -> None:
        self.last_lines.append(line)
        try:
            parsed = json.loads(line)
            reply = Reply.parse(parsed) if parsed["event"] == "reply" else None
        except (ValueError, KeyError, TypeError):
            return  # The program was interrupted within its line.
        with self._changed:
            if reply is not None:
                self._replies.append(reply)
            else:
                self._events.append(parsed)
            self._changed.notify_all()
