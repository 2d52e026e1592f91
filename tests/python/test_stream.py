"""Commands go out one at a time, and each caller gets its own reply."""

from __future__ import annotations

import json
import os
import socket
import threading
from collections.abc import Iterator
from concurrent.futures import ThreadPoolExecutor

import pytest
from conftest import wait_until
from zul import ExpectationFailed, ZulError, ZulTimeout
from zul.stream import KEPT_LINES, SHOWN_LINES, Stream


class Peer:
    """The program at the other end, played by the test."""

    def __init__(self) -> None:
        ours, self.lines = socket.socketpair()
        output, self.output = os.pipe()
        self.stream = Stream(ours, output, lambda: "It has ended.")
        self._reader = self.lines.makefile("r", encoding="utf-8")
        self._open = True

    def read(self) -> str:
        return self._reader.readline().rstrip("\n")

    def event(self, **members: object) -> None:
        self.lines.sendall(json.dumps(members).encode() + b"\n")

    def reply(self, command: str, status: str = "ok", **members: object) -> None:
        self.event(event="reply", command=command, status=status, msgType=None, objects=[], **members)

    def end(self) -> None:
        if self._open:
            self._open = False
            self._reader.close()
            self.lines.close()
            os.close(self.output)


@pytest.fixture
def peer() -> Iterator[Peer]:
    peer = Peer()
    yield peer
    peer.end()
    peer.stream.close()


def answer(peer: Peer, status: str = "ok", **members: object) -> threading.Thread:
    """Replies to the next command, with other lines before and after."""

    def run() -> None:
        command = peer.read()
        peer.event(event="message", objects=[])
        peer.reply(command, status, **members)
        peer.event(event="disconnected")

    thread = threading.Thread(target=run)
    thread.start()
    return thread


def test_a_command_gets_its_reply(peer: Peer) -> None:
    thread = answer(peer)
    assert peer.stream.command("get din 1", 10).command == "get din 1"
    thread.join()
    wait_until(lambda: len(peer.stream.events()) == 2, "both events")


@pytest.mark.parametrize(
    ("status", "error"), [("error", ZulError), ("timeout", ZulTimeout), ("failed", ExpectationFailed)]
)
def test_a_reply_that_is_not_ok_raises_its_sentence(peer: Peer, status: str, error: type[ZulError]) -> None:
    thread = answer(peer, status, error="It is otherwise.")
    reply = peer.stream.command("get din 1", 10)
    with pytest.raises(error, match="^It is otherwise[.]$") as caught:
        reply.check()
    assert type(caught.value) is error
    assert caught.value.reply is reply
    thread.join()


def test_a_failed_expectation_shows_what_came(peer: Peer) -> None:
    thread = answer(peer, "failed", error="No event came.", came=[{"objects": [{"sample": 75.0}]}])
    with pytest.raises(ExpectationFailed, match='What came:\n  .*"sample": 75.0'):
        peer.stream.command("expect event", 10).check()
    thread.join()


def test_a_reply_that_comes_too_late_belongs_to_no_later_command(peer: Peer) -> None:
    with pytest.raises(ZulTimeout, match='^No reply to "first" came within 0.01 seconds[.]$'):
        peer.stream.command("first", 0.01)
    peer.reply(peer.read())
    thread = answer(peer)
    assert peer.stream.command("second", 10).command == "second"
    thread.join()


def test_threads_take_turns(peer: Peer) -> None:
    commands = [f"get din {number}" for number in range(1, 51)]
    with ThreadPoolExecutor(20) as pool:
        replies = [pool.submit(peer.stream.command, command, 30) for command in commands]
        for _ in commands:
            peer.reply(peer.read())
        assert [reply.result().command for reply in replies] == commands


def test_waiting_for_the_turn_has_a_time_limit_too(peer: Peer) -> None:
    with ThreadPoolExecutor(1) as pool:
        first = pool.submit(peer.stream.command, "first", 60)
        assert peer.read() == "first"
        with pytest.raises(ZulTimeout, match='^Other commands kept "second" waiting for 0.1 seconds[.]$'):
            peer.stream.command("second", 0.1)
        peer.reply("first")
        assert first.result().command == "first"


def test_a_program_that_ends_ends_the_waiting(peer: Peer) -> None:
    with ThreadPoolExecutor(1) as pool:
        waiting = pool.submit(peer.stream.command, "get din 1", 60)
        peer.read()
        peer.end()
        with pytest.raises(ZulError, match="^It has ended[.]$"):
            waiting.result()
    with pytest.raises(ZulError, match="^It has ended[.]$"):
        peer.stream.command("get din 2", 60)


@pytest.mark.parametrize("line", ["", "  ", "# remark", "get din 1\nget din 2", "get\rdin"])
def test_what_is_not_one_command_is_refused(peer: Peer, line: str) -> None:
    with pytest.raises(ZulError, match="^A command is one line, not .*[.]$"):
        peer.stream.command(line, 10)


def test_half_a_character_is_refused(peer: Peer) -> None:
    with pytest.raises(ZulError, match="^A command is a text of Unicode characters, not .*[.]$"):
        peer.stream.command("scan 1 \ud800", 10)


def test_the_latest_lines_are_kept(peer: Peer) -> None:
    count = KEPT_LINES + 10
    for number in range(count):
        peer.event(event="changed", number=number)
        os.write(peer.output, f"output {number}\n".encode())
    wait_until(lambda: f"output {count - 1}" in peer.stream.last_output, "the last output")
    wait_until(lambda: bool(peer.stream.events()[-1]["number"] == count - 1), "the last event")
    assert [event["number"] for event in peer.stream.events()] == list(range(10, count))
    assert list(peer.stream.last_output) == [f"output {number}" for number in range(count - SHOWN_LINES, count)]
    assert len(peer.stream.last_lines) == SHOWN_LINES


def test_a_line_may_come_in_pieces_and_be_no_line(peer: Peer) -> None:
    for piece in (b'{"event":"ch', b'anged"}\nno JSON\n{"event":"half'):
        peer.lines.sendall(piece)
    os.write(peer.output, b"\xff without an end")
    peer.end()
    peer.stream.join(60)
    assert peer.stream.events() == [{"event": "changed"}]
    assert list(peer.stream.last_lines) == ['{"event":"changed"}', "no JSON", '{"event":"half']
    assert list(peer.stream.last_output) == ["\ufffd without an end"]
