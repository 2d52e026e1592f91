"""Programs as processes that end, at the latest, with this one."""

from __future__ import annotations

import atexit
import marshal
import os
import shutil
import socket
import sys
import tempfile
import threading
import time
from pathlib import Path

from .errors import ZulError

_END_LIMIT = 30.0


def find_program(name: str) -> str:
    """The path of the program: in the folder ZUL_BIN if that is set, else on PATH."""
    folder = os.environ.get("ZUL_BIN")
    found = shutil.which(name, path=folder or None)
    if found is None:
        place = f"in the folder {folder}, which ZUL_BIN names" if folder else "on PATH, and ZUL_BIN names no folder"
        raise ZulError(f"{name} is not {place}.")
    return os.path.abspath(found)


def unused_directory() -> Path:
    """A path for a program's directory. Nothing is there yet."""
    return Path(tempfile.gettempdir()).absolute() / f"zul-{os.getpid()}-{os.urandom(8).hex()}"


class _Janitor:
    """The janitor of this Python process; see janitor.py."""

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._requests: socket.socket | None = None
        self._pid = 0

    def start(self, channel: socket.socket, streams: list[int]) -> None:
        """Hands a channel and a program's streams over."""
        with self._lock:
            if self._requests is None:
                self._requests = self._launch()
            socket.send_fds(self._requests, [b"s"], [channel.fileno(), *streams])

    def _launch(self) -> socket.socket:
        ours, theirs = socket.socketpair()
        helper = str(Path(__file__).with_name("janitor.py"))
        nothing = [(os.POSIX_SPAWN_OPEN, number, os.devnull, os.O_RDWR, 0) for number in (1, 2)]
        with theirs:
            self._pid = os.posix_spawn(
                sys.executable,
                [sys.executable, "-I", "-S", helper],
                os.environ,
                file_actions=[(os.POSIX_SPAWN_DUP2, theirs.fileno(), 0), *nothing],
                setsid=True,
            )
        return ours

    def forget(self) -> None:
        """In a forked child: the janitor stays the parent's."""
        self._lock = threading.Lock()
        if self._requests is not None:
            self._requests.close()
            self._requests = None

    def end(self) -> None:
        """Ends all programs, and waits until nothing of them is left."""
        with self._lock:
            if self._requests is None:
                return
            self._requests.close()
            self._requests = None
            try:
                os.waitpid(self._pid, 0)
            except ChildProcessError:
                pass  # Somebody else has waited for it.


_janitor = _Janitor()
_channels: set[socket.socket] = set()


def _end_all() -> None:
    for channel in list(_channels):
        channel.close()
    _janitor.end()


def _forget_all() -> None:
    for channel in _channels:
        channel.close()
    _channels.clear()
    _janitor.forget()


atexit.register(_end_all)
os.register_at_fork(after_in_child=_forget_all)


class Process:
    """A running program, in a directory of its own that is removed with it."""

    def __init__(
        self, arguments: list[str], environment: dict[str, str], directory: Path, streams: list[int]
    ) -> None:
        """Starts it; returns when it runs. The directory is made; the streams stay the caller's."""
        self.pid = 0
        self.status: int | None = None
        """The exit status once it is known; negative after a signal, as in `subprocess`."""
        self._lines = b""
        self._name = Path(arguments[0]).name
        self._turn = threading.Lock()
        self._channel, theirs = socket.socketpair()
        _channels.add(self._channel)
        request = marshal.dumps(
            (
                os.fsencode(directory),
                [os.fsencode(argument) for argument in arguments],
                {os.fsencode(key): os.fsencode(value) for key, value in environment.items()},
            )
        )
        try:
            with theirs:
                _janitor.start(theirs, streams)
            self._channel.sendall(len(request).to_bytes(4, "big") + request)
            self.pid = int(self._read_word("started", _END_LIMIT))
        except BaseException:
            self.close()
            raise

    def poll(self) -> int | None:
        """The exit status, None while it runs."""
        return self.wait(0)

    def wait(self, timeout: float) -> int | None:
        """Waits for its end. Returns None if it still runs then."""
        with self._turn:
            if self.status is None:
                try:
                    self.status = int(self._read_word("ended", timeout))
                except TimeoutError:
                    return None
            return self.status

    def terminate(self) -> None:
        """Asks it to end, and kills it if it does not within five seconds."""
        try:
            self._channel.sendall(b"t")
        except OSError:
            pass  # The janitor is gone; wait() says so.

    def close(self) -> None:
        """Ends it if it still runs, and waits until its directory is gone."""
        try:
            self._channel.shutdown(socket.SHUT_WR)
            self._channel.settimeout(_END_LIMIT)
            while self._channel.recv(4096):
                pass
        except OSError:
            pass
        _channels.discard(self._channel)
        self._channel.close()

    def _read_word(self, word: str, timeout: float) -> str:
        """What stands behind this word in the janitor's next line. Raises TimeoutError."""
        end = time.monotonic() + timeout
        while b"\n" not in self._lines:
            try:
                self._channel.settimeout(max(0.0, end - time.monotonic()))
                data = self._channel.recv(4096)
            except BlockingIOError:
                raise TimeoutError from None
            except OSError as error:
                if isinstance(error, TimeoutError):
                    raise
                data = b""
            if not data:
                raise ZulError(f"The process that watches over {self._name} has ended.")
            self._lines += data
        line, _, self._lines = self._lines.partition(b"\n")
        found, _, rest = line.decode().partition(" ")
        if found != word:
            raise ZulError(f"{self._name} could not be started: {rest}.")
        return rest
