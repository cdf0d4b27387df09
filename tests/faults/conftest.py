import functools
import sys
from pathlib import Path

import pytest

sys.path[:0] = [str(Path(__file__).parent), str(Path(__file__).resolve().parents[1] / "acceptance")]

pytest.register_assert_rewrite("injection.verdict")

from injection.points import NotTried  # noqa: E402
from injection.situations import USUAL  # noqa: E402
from injection.world import Kit, undisturbed_calls  # noqa: E402
from support.fixtures import application, build, checkout, installer, sanitizers, scene  # noqa: E402, F401
from support.processes import adopt_orphans  # noqa: E402


@pytest.fixture(scope="session")
def kit(installer):  # noqa: F811
    adopt_orphans()
    kit = Kit(installer)
    try:
        yield kit
    finally:
        kit.close()


@pytest.fixture
def no_sanitizers(sanitizers):  # noqa: F811
    """Skips the test if sanitizers, too, take memory and make system calls in the installer."""
    if sanitizers:
        pytest.skip("sanitizers take memory and make calls of their own")


@pytest.fixture
def situation():
    return USUAL


@pytest.fixture(scope="session")
def calls_of(kit):
    return functools.cache(lambda situation: undisturbed_calls(kit, situation))


@pytest.fixture
def calls(calls_of, situation):
    """The system calls of a run that nothing disturbs."""
    return calls_of(situation)


@pytest.fixture
def try_all(record_property):
    """Tries each of some points of a matrix, notes how many, and fails with the list of those that failed."""

    def run(points, attempt):
        failures = []
        tried = 0
        for point in points:
            tried += 1
            try:
                attempt(point)
            except NotTried:
                tried -= 1
            except Exception as failure:  # whatever is wrong with one point, the others are tried as well
                failures.append(f"{point}: {type(failure).__name__}: {failure}")
        record_property("tried", tried)
        record_property("failed", len(failures))
        assert tried, "there is no point to try"
        if failures:
            pytest.fail("\n".join([f"{len(failures)} of {tried} points failed:", *failures]), pytrace=False)

    return run


def pytest_terminal_summary(terminalreporter):
    """One table: points tried and points failed, a line for each matrix. After it a line for each measurement."""
    totals = {}
    measured = []
    for reports in terminalreporter.stats.values():
        for report in reports:
            properties = dict(getattr(report, "user_properties", ()))
            if getattr(report, "when", None) != "call":
                continue
            if "measured" in properties:
                measured.append(properties["measured"])
            if "tried" in properties:
                name = report.nodeid.rpartition("/")[2].partition("[")[0]
                tried, failed = totals.get(name, (0, 0))
                totals[name] = (tried + properties["tried"], failed + properties["failed"])
    if not totals and not measured:
        return
    terminalreporter.section("points")
    width = max(map(len, ["matrix", *totals]))
    terminalreporter.write_line(f"{'matrix':{width}}  {'tried':>6}  {'failed':>6}")
    for name, (tried, failed) in sorted(totals.items()):
        terminalreporter.write_line(f"{name:{width}}  {tried:6}  {failed:6}")
    for line in measured:
        terminalreporter.write_line(line)
