"""The Python texts of the manual run as they stand."""

from __future__ import annotations

import inspect
import re
from pathlib import Path

import pytest
import zul
from zul import ports

TREE = Path(__file__).resolve().parents[2]
MANUAL = (TREE / "docs/python.md").read_text()
TEXTS = re.findall(r"^```python\n(.*?)^```$", MANUAL, re.MULTILINE | re.DOTALL)


def test_the_tests_of_the_manual_pass(pytester: pytest.Pytester, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.syspath_prepend(str(TREE / "python"))
    tests = [text for text in TEXTS if "def test_" in text]
    for number, text in enumerate(tests):
        pytester.makepyfile(**{f"test_{number}": text})
    result = pytester.runpytest_subprocess("-p", "zul.plugin", "-p", "no:cacheprovider")
    result.assert_outcomes(passed=len(tests))
    assert len(tests) == 5


def test_the_program_of_the_manual_runs(capfd: pytest.CaptureFixture[str]) -> None:
    (program,) = [text for text in TEXTS if "def test_" not in text]
    exec(compile(program, "manual", "exec"), {})
    assert capfd.readouterr().out == "OBJ_IO_STATE_SET\n"



@pytest.mark.parametrize(
    "described",
    [zul.Server, zul.Bench, zul.Fleet, zul.Proxy, zul.Capture, ports.DigitalInput, ports.DigitalOutput, ports.AnalogInput, ports.AnalogOutput, zul.Reply],
)
def test_every_member_is_described(described: type) -> None:
    members = [name for name, _ in inspect.getmembers(described) if not name.startswith("_") and not name.isupper()]
    alike = re.compile("(get|set|expect)_(din|dout|ain|aout)|(un)?wire|parse|check")
    missing = [name for name in members if f"`{name}" not in MANUAL and not re.search(rf"[ `.,]{name}[(`]", MANUAL)]
    assert [name for name in missing if not alike.fullmatch(name)] == []
