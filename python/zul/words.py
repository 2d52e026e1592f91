"""The words of a command line."""

from __future__ import annotations

import json
import math

from collections.abc import Mapping, Sequence
from pathlib import Path

from .errors import ZulError

Value = str | int | float | None
"""The value of a field; None is a text that was never set."""

FLOAT_FIELDS = frozenset({"gain", "offset", "sampledValue", "minimumValue", "maximumValue", "sample"})
"""The fields that a tolerance is for."""


def quoted(text: str) -> str:
    """The text as one word, in quotation marks if it were several words or a field without them."""
    plain = text and text.isprintable() and not any(mark in text for mark in ' "=\\')
    return text if plain else json.dumps(text, ensure_ascii=False)


def number(value: float) -> str:
    """The number as commands have it."""
    if isinstance(value, bool) or not isinstance(value, (int, float)):
        raise ZulError(f"{value!r} is not a number.")
    return repr(value)


def seconds(value: float) -> str:
    """A time limit as commands have it."""
    if isinstance(value, bool) or not isinstance(value, (int, float)) or not 0 < value <= 86400:
        raise ZulError(f"A time limit is a number of seconds above 0 and up to 86400, not {value!r}.")
    return f"{max(value, 1e-6):.6f}".rstrip("0").rstrip(".")


def condition(name: str, value: Value, tolerance: float | None = None) -> str:
    """NAME=VALUE, as `expect` takes it. The tolerance is for floats alone."""
    if not name.isidentifier():
        raise ZulError(f"{name!r} is not the name of a field.")
    if value is None:
        return f"{name}=null"
    if isinstance(value, str):
        # "null" without quotation marks is a text never set.
        return f"{name}={json.dumps(value) if value == 'null' else quoted(value) if value else ''}"
    if isinstance(value, float) and not math.isfinite(value):
        return f"{name}=null"
    near = f"~{number(tolerance)}" if tolerance is not None and name in FLOAT_FIELDS else ""
    return f"{name}={number(value)}{near}"


def options_of(values: Mapping[str, object]) -> list[str]:
    """The words of a command line for these options. None is left out, and a list is an option for each of its items."""
    words: list[str] = []
    for name, value in values.items():
        items = value if isinstance(value, Sequence) and not isinstance(value, str) else [value]
        words += [word for item in items if item is not None for word in (name, str(item))]
    return words


def scenario_files(files: str | Path | Sequence[str | Path]) -> list[Path]:
    """The full paths of one scenario or several."""
    return [Path(file).absolute() for file in ([files] if isinstance(files, (str, Path)) else files)]
