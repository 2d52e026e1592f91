"""What was recorded of links."""

from __future__ import annotations

import json
import subprocess
from collections.abc import Iterator, Sequence
from pathlib import Path
from typing import Any

from .errors import ZulError
from .process import find_program
from .words import Value, condition, options_of

Line = dict[str, Any]

_DIFFERENT = 4


class Capture:
    """A recording, as `capture=` of the other classes makes one, or tcpdump and Wireshark do.

    Iterating over it gives each message as `zulcapture show` prints it.
    """

    def __init__(self, path: str | Path, *, port: int | None = None) -> None:
        """`port` is the server's port in a recording of another program, 50000 unless given."""
        self._path = Path(path).absolute()
        self._options = options_of({"--port": port})
        self._filters: list[str] = []

    @property
    def path(self) -> Path:
        """Where the file is."""
        return self._path

    def filter(self, **fields: Value) -> Capture:
        """Only the messages for which all of `fields` hold.

        These are `dir`, `device`, `msg`, `type`, `object` and `port` as the manual has them, and the fields of records.
        """
        chosen = Capture(self._path)
        chosen._options = self._options
        chosen._filters = self._filters + [condition(name, value) for name, value in fields.items()]
        return chosen

    def __iter__(self) -> Iterator[Line]:
        command = [find_program("zulcapture"), "show", str(self._path), *self._filters, *self._options]
        with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True) as program:
            assert program.stdout is not None and program.stderr is not None
            try:
                for line in program.stdout:
                    yield json.loads(line)
                error = program.stderr.read()
            finally:
                program.kill()  # no effect unless the caller has stopped before the end
        if program.returncode != 0:
            raise ZulError(_sentence(error))

    def diff(self, other: Capture | str | Path, *, ignore: Sequence[str] = ()) -> list[Line]:
        """The differences from this recording to `other`, none if they are the same. `ignore` names fields."""
        theirs = other if isinstance(other, Capture) else Capture(other)
        if self._filters or theirs._filters:
            raise ZulError("Whole recordings are compared, not filtered ones.")
        paths = [str(self._path), str(theirs._path)]
        options = options_of({"--ignore": list(ignore)})
        run = subprocess.run(
            [find_program("zulcapture"), "diff", *paths, *options, *self._options], capture_output=True, text=True
        )
        if run.returncode not in (0, _DIFFERENT):
            raise ZulError(_sentence(run.stderr))
        return [json.loads(line) for line in run.stdout.splitlines()]


def _sentence(error: str) -> str:
    """The last sentence that the program printed, without its name."""
    return error.strip().rpartition("\n")[2].removeprefix("zulcapture: ")
