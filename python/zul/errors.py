"""What goes wrong: each error is one sentence, and the reply that it comes from."""

from __future__ import annotations

from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from .replies import Reply


class ZulError(Exception):
    """A program, a command or an argument was refused."""

    ROBOT_SUPPRESS_NAME = True

    def __init__(self, message: str, reply: Reply | None = None) -> None:
        super().__init__(message)
        self.reply = reply


class ZulTimeout(ZulError):
    """Something did not happen in time."""


class ExpectationFailed(ZulError, AssertionError):
    """Something else happened than was expected."""
