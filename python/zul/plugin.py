"""The pytest plugin: fixtures that start the programs, and what they said in the report of a failing test."""
# mypy: allow-untyped-decorators

from __future__ import annotations

import hashlib
import itertools
import os
import re
import shlex
import shutil
from collections import Counter
from collections.abc import Callable, Generator, Iterator, Sequence
from dataclasses import dataclass, field
from typing import Any, Protocol, TypeVar

import pytest

from .bench import Bench
from .fleet import Fleet
from .program import Program
from .proxy import Proxy
from .server import Server


@dataclass
class _Used:
    """The programs of one test."""

    programs: list[Program] = field(default_factory=list)
    failed: bool = False


_USED = pytest.StashKey[_Used]()


class BenchFactory(Protocol):
    """The fixture `zul_bench`: takes the arguments of Bench, and closes the benches after the test."""

    def __call__(self, *arguments: Any, **keywords: Any) -> Bench:
        ...


class FleetFactory(Protocol):
    """The fixture `zul_fleet`: takes the arguments of Fleet, and closes the fleets after the test."""

    def __call__(self, *arguments: Any, **keywords: Any) -> Fleet:
        ...


class ProxyFactory(Protocol):
    """The fixture `zul_proxy`: takes the arguments of Proxy, and closes the proxies after the test."""

    def __call__(self, *arguments: Any, **keywords: Any) -> Proxy:
        ...


def pytest_addoption(parser: pytest.Parser) -> None:
    group = parser.getgroup("zul", "simulated devices")
    group.addoption("--zul-bin", metavar="FOLDER", help="the folder that holds the programs")
    group.addoption(
        "--zul-capture", action="store_true", help="keep the recordings of the links of passing tests too"
    )
    group.addoption(
        "--zul-seed", type=int, default=0, metavar="N", help="another N gives the devices of every test other seeds"
    )


def pytest_configure(config: pytest.Config) -> None:
    folder = config.getoption("--zul-bin")
    if folder is None:
        return
    if not os.path.isdir(folder):
        raise pytest.UsageError(f"--zul-bin names no folder: {folder}")
    before = os.environ.get("ZUL_BIN")
    os.environ["ZUL_BIN"] = os.path.abspath(folder)
    config.add_cleanup(lambda: _restore(before))


def _restore(folder: str | None) -> None:
    if folder is None:
        del os.environ["ZUL_BIN"]
    else:
        os.environ["ZUL_BIN"] = folder


def _used(item: pytest.Item) -> _Used:
    return item.stash.setdefault(_USED, _Used())


def _seed(config: pytest.Config, name: str, number: int) -> int:
    """From the test's name, so that a test draws the same whichever tests run beside it."""
    text = f"{config.getoption('--zul-seed')} {name} {number}"
    return int.from_bytes(hashlib.sha256(text.encode()).digest()[:4], "big")


@pytest.fixture
def zul_server(request: pytest.FixtureRequest) -> Iterator[Server]:
    """A server on a free port, for this test alone."""
    with Server() as server:
        _used(request.node).programs.append(server)
        yield server


@pytest.fixture
def zul_bench(request: pytest.FixtureRequest, tmp_path_factory: pytest.TempPathFactory) -> Iterator[BenchFactory]:
    """Makes devices: `zul_bench(din=4, server=zul_server)`."""
    captures = tmp_path_factory.getbasetemp() / f"zul-{_short_name(request.node.nodeid)}"
    numbers = itertools.count(1)

    def recorded(*arguments: Any, **keywords: Any) -> Bench:
        keywords.setdefault("capture", True)
        bench = Bench(*arguments, **keywords)
        if keywords["capture"] is True:
            bench.keep_capture(captures / f"zulbench-{next(numbers)}.pcapng")
        return bench

    yield from _makes(request, recorded)
    used = _used(request.node)
    if not used.failed and not request.config.getoption("--zul-capture"):
        shutil.rmtree(captures, ignore_errors=True)


@pytest.fixture
def zul_fleet(request: pytest.FixtureRequest) -> Iterator[FleetFactory]:
    """Makes fleets: `zul_fleet(zul_server, 1000, din=4)`."""
    yield from _makes(request, Fleet)


@pytest.fixture
def zul_proxy(request: pytest.FixtureRequest) -> Iterator[ProxyFactory]:
    """Makes proxies: `zul_proxy(zul_server, ["late ms=500 msg=answer"])`."""
    yield from _makes(request, Proxy)


_Made = TypeVar("_Made", bound=Program)


def _makes(request: pytest.FixtureRequest, kind: Callable[..., _Made]) -> Iterator[Callable[..., _Made]]:
    """A function that makes programs of this kind, each with a seed of its own, and closes them after the test."""
    made: list[_Made] = []

    def make(*arguments: Any, **keywords: Any) -> _Made:
        keywords.setdefault("seed", _seed(request.config, request.node.nodeid, len(made)))
        program = kind(*arguments, **keywords)
        made.append(program)
        _used(request.node).programs.append(program)
        return program

    yield make
    _close(made)


def _short_name(test: str) -> str:
    """A name for a file, short and of this test alone."""
    readable = re.sub(r"\W+", "_", test.rpartition("::")[2])[:30]
    return f"{readable}-{hashlib.sha256(test.encode()).hexdigest()[:8]}"


def _close(programs: Sequence[Program]) -> None:
    """Closes all of them, the latest first, whatever closing one of them raises."""
    if programs:
        try:
            programs[-1].close()
        finally:
            _close(programs[:-1])


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item: pytest.Item) -> Generator[None, Any, None]:
    outcome = yield
    report: pytest.TestReport = outcome.get_result()
    used = item.stash.get(_USED, None)
    if used is None:
        return
    if report.failed:
        used.failed = True
        report.sections += _sections(used.programs)
    if report.when == "teardown":
        del item.stash[_USED]


def _sections(programs: list[Program]) -> list[tuple[str, str]]:
    counts: Counter[str] = Counter()
    sections = []
    for program in programs:
        name = type(program).__name__
        counts[name] += 1
        sections.append((f"{name} {counts[name]}", _describe(program)))
    return sections


def _describe(program: Program) -> str:
    lines = [f"by hand: {program.command_line}"]
    if program.seed is not None:
        lines.append(f"seed: {program.seed}")
    if program.kept_capture is not None:
        lines.append(f"capture: {program.kept_capture}")
        lines.append(f"open it: {shlex.join(['zulcapture', 'show', str(program.kept_capture)])}")
        lines.append(f"what it has: {shlex.join(['zulcapture', 'show', str(program.kept_capture)])}")
    for title, last in (("output", program.last_output), ("JSON lines", program.last_lines)):
        lines += [f"its latest {title}:", *(f"  {line}" for line in last)] if last else [f"no {title}"]
    return "\n".join(lines)
