"""Starts programs for a Python process, and leaves nothing of them behind when that process ends, however it ends.

It is a process of its own, `python -I -S janitor.py`, in a session of its own, so that neither Ctrl-C nor a signal to
the test's process group reaches it. Standard input is a socket, over which each program that is to be started arrives
as a message with four descriptors: the program's channel, standard input, standard output and standard error.

On the channel come the length and the marshalled tuple (directory, arguments, environment). The janitor makes the
directory and starts the program in it, in a process group of its own. It answers with lines: `started PID` or `error
SENTENCE`, later `ended STATUS`. The letter `t` on the channel asks the program to end. The end of the channel, which
the kernel also brings about when the Python process dies, ends the program and removes the directory; then the janitor
closes its end too. A program that does not end within five seconds is killed, and with it what it started.
"""

from __future__ import annotations

import array
import marshal
import os
import select
import signal
import socket
import time

PATIENCE = 5.0
"""Seconds between SIGTERM and SIGKILL."""

_DESCRIPTORS = 4


def remove(directory: str) -> None:
    """Removes the directory with all that is in it, as far as that is possible."""
    for folder, folders, files in os.walk(directory, topdown=False):
        for name in files + folders:
            path = os.path.join(folder, name)
            try:
                (os.unlink if name in files or os.path.islink(path) else os.rmdir)(path)
            except OSError:
                pass
    try:
        os.rmdir(directory)
    except OSError:
        pass


class Program:
    """One program and its channel."""

    def __init__(self, channel: socket.socket, streams: list[int]) -> None:
        self.channel = channel
        self.directory = ""
        self.pid = 0
        self.running: int | None = None
        self.kill_at: float | None = None
        self.released = False
        try:
            self._start(streams)
        except (OSError, EOFError, ValueError) as error:
            self._say(f"error {getattr(error, 'strerror', None) or error}")

    def _start(self, streams: list[int]) -> None:
        size = int.from_bytes(self._receive(4), "big")
        directory, arguments, environment = marshal.loads(self._receive(size))
        os.mkdir(directory, 0o700)
        self.directory = directory
        os.chdir(directory)
        try:
            self.pid = os.posix_spawn(
                arguments[0],
                arguments,
                environment,
                file_actions=[(os.POSIX_SPAWN_DUP2, stream, number) for number, stream in enumerate(streams)],
                setsid=True,
                setsigdef=set(signal.Signals) - {signal.SIGKILL, signal.SIGSTOP},
            )
        finally:
            os.chdir("/")
        try:
            self.running = os.pidfd_open(self.pid)
        except OSError:
            os.killpg(self.pid, signal.SIGKILL)
            os.waitpid(self.pid, 0)
            raise
        self._say(f"started {self.pid}")

    def _receive(self, size: int) -> bytes:
        data = self.channel.recv(size, socket.MSG_WAITALL)
        if len(data) < size:
            raise EOFError("the request is not complete")
        return data

    def _say(self, line: str) -> None:
        try:
            self.channel.sendall(line.encode() + b"\n")
        except OSError:
            pass  # The Python process has ended.

    def handle_channel(self) -> None:
        """Takes what came on the channel, or its end."""
        try:
            released = not self.channel.recv(16)
        except OSError:
            released = True
        self.released = self.released or released
        self._terminate()

    def _terminate(self) -> None:
        if self.running is not None and self.kill_at is None:
            os.killpg(self.pid, signal.SIGTERM)
            self.kill_at = time.monotonic() + PATIENCE

    def kill_if_late(self) -> None:
        if self.running is not None and self.kill_at is not None and self.kill_at <= time.monotonic():
            os.killpg(self.pid, signal.SIGKILL)

    def handle_end(self) -> None:
        """Reaps the program."""
        # What it started first: as long as it is not reaped, nobody else gets the number of its group.
        os.killpg(self.pid, signal.SIGKILL)
        status = os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])
        if self.running is not None:
            os.close(self.running)
            self.running = None
        self._say(f"ended {status}")

    def close(self) -> None:
        if self.directory:
            remove(self.directory)
        self.channel.close()

    @property
    def is_over(self) -> bool:
        return self.released and self.running is None


class Janitor:
    """All programs of one Python process."""

    def __init__(self, requests: socket.socket) -> None:
        self._requests: socket.socket | None = requests
        self._programs: list[Program] = []

    def run(self) -> None:
        """Returns when the Python process has ended and nothing of its programs is left."""
        while self._requests is not None or self._programs:
            for number in self._wait():
                self._handle(number)
            for program in self._programs:
                program.kill_if_late()
            for program in [each for each in self._programs if each.is_over]:
                program.close()
                self._programs.remove(program)

    def _wait(self) -> list[int]:
        poll = select.poll()
        if self._requests is not None:
            poll.register(self._requests, select.POLLIN)
        for program in self._programs:
            if not program.released:
                poll.register(program.channel, select.POLLIN)
            if program.running is not None:
                poll.register(program.running, select.POLLIN)
        late = [program.kill_at for program in self._programs if program.running is not None and program.kill_at]
        pause = max(10.0, (min(late) - time.monotonic()) * 1000) if late else None
        return [number for number, _ in poll.poll(pause)]

    def _handle(self, number: int) -> None:
        if self._requests is not None and number == self._requests.fileno():
            self._take_request(self._requests)
        for program in self._programs:
            if number == program.running:
                program.handle_end()
                return
            if number == program.channel.fileno():
                program.handle_channel()
                return

    def _take_request(self, requests: socket.socket) -> None:
        descriptors = array.array("i")
        space = socket.CMSG_SPACE(_DESCRIPTORS * descriptors.itemsize)
        message, ancillary, _, _ = requests.recvmsg(1, space, socket.MSG_CMSG_CLOEXEC)
        if not message:
            requests.close()
            self._requests = None
            return
        for _, _, data in ancillary:
            descriptors.frombytes(data)
        channel, *streams = descriptors
        self._programs.append(Program(socket.socket(fileno=channel), streams))
        for stream in streams:
            os.close(stream)


def main() -> None:
    os.closerange(3, os.sysconf("SC_OPEN_MAX"))
    for ignored in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(ignored, signal.SIG_IGN)
    Janitor(socket.socket(fileno=0)).run()


if __name__ == "__main__":
    main()
