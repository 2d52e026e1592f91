"""The replies of the programs to commands."""

from __future__ import annotations

import json
from dataclasses import dataclass
from typing import Any

from .errors import ExpectationFailed, ZulError, ZulTimeout

Object = dict[str, Any]
"""An object as the programs print it: its `type` and its fields."""

_SHOWN = 10


@dataclass(frozen=True)
class Reply:
    """The reply to one command."""

    command: str
    status: str
    """`ok`, `failed`, `timeout` or `error`."""
    objects: list[Object]
    error: str | None
    """One sentence, unless the status is `ok`."""
    line: dict[str, Any]
    """Everything that the program printed."""

    @classmethod
    def parse(cls, line: dict[str, Any]) -> Reply:
        return cls(
            command=line["command"],
            status=line["status"],
            objects=line.get("objects") or [],
            error=line.get("error"),
            line=line,
        )

    def check(self) -> Reply:
        """Returns the reply; raises if it is not ok."""
        __tracebackhide__ = True
        if self.status == "ok":
            return self
        sentence = self.error or f'"{self.command}" ended with the status "{self.status}".'
        if self.status == "failed":
            raise ExpectationFailed(sentence + self._what_came(), self)
        raise (ZulTimeout if self.status == "timeout" else ZulError)(sentence, self)

    def _what_came(self) -> str:
        came = self.line.get("came") or self.objects
        if not came:
            return ""
        lines = [json.dumps(item, ensure_ascii=False) for item in came[-_SHOWN:]]
        return "\nWhat came:\n  " + "\n  ".join(lines)
