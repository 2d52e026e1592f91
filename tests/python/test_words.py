"""Commands are written as the programs read them."""

from __future__ import annotations

import math
import re
from pathlib import Path

import pytest
from zul import ZulError
from zul.words import FLOAT_FIELDS, Value, condition, number, quoted, seconds


@pytest.mark.parametrize(
    ("text", "word"),
    [
        ("4711-ANNA", "4711-ANNA"),
        ("4711 ANNA", '"4711 ANNA"'),
        ("", '""'),
        ('say "x"', '"say \\"x\\""'),
        ("forced=open", '"forced=open"'),
        ("a\\b", '"a\\\\b"'),
        ("two\nlines", '"two\\nlines"'),
        ("Tür", "Tür"),
        ("no-break\u00a0space", '"no-break\u00a0space"'),
        ("\x00", '"\\u0000"'),
    ],
)
def test_a_text_is_one_word(text: str, word: str) -> None:
    assert quoted(text) == word


@pytest.mark.parametrize(
    ("name", "value", "tolerance", "word"),
    [
        ("portId", 1, None, "portId=1"),
        ("portId", 1, 0.5, "portId=1"),
        ("sample", 42, 0.5, "sample=42~0.5"),
        ("sample", 20.5, None, "sample=20.5"),
        ("sample", math.nan, 0.5, "sample=null"),
        ("scanCode", None, None, "scanCode=null"),
        ("scanCode", "null", None, 'scanCode="null"'),
        ("scanCode", "", None, "scanCode="),
        ("scanCode", "4711 ANNA", 0.5, 'scanCode="4711 ANNA"'),
        ("inputState", "OBJ_IO_STATE_SET", None, "inputState=OBJ_IO_STATE_SET"),
    ],
)
def test_a_condition_names_a_field_and_its_value(
    name: str, value: Value, tolerance: float | None, word: str
) -> None:
    assert condition(name, value, tolerance) == word


def test_a_tolerance_is_for_the_floats_of_the_dictionary() -> None:
    dictionary = Path(__file__).resolve().parents[2] / "platform/zuldict/zuldict.cpp"
    floats = re.findall(r'\{TAG_\w+, "(\w+)", eWireType::FLOAT', dictionary.read_text())
    assert set(floats) == FLOAT_FIELDS


@pytest.mark.parametrize("value", [-1, 0, 86401, math.nan, math.inf, "2", None, True])
def test_a_wrong_time_limit_is_refused(value: float) -> None:
    with pytest.raises(ZulError, match="^A time limit is a number of seconds above 0 and up to 86400, not .*[.]$"):
        seconds(value)


@pytest.mark.parametrize(("value", "word"), [(2, "2"), (0.25, "0.25"), (86400, "86400"), (1e-9, "0.000001")])
def test_a_time_limit_is_a_decimal_number(value: float, word: str) -> None:
    assert seconds(value) == word


@pytest.mark.parametrize("value", [True, "1", None])
def test_what_is_no_number_is_refused(value: float) -> None:
    with pytest.raises(ZulError, match="^.* is not a number[.]$"):
        number(value)


def test_a_field_without_a_name_is_refused() -> None:
    with pytest.raises(ZulError, match="^'a b' is not the name of a field[.]$"):
        condition("a b", 1)
