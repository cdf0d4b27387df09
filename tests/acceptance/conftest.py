import os
import shutil

import pytest

from support import memcheck
from support.debian import BareSystem, make_packages
from support.fixtures import (application, build, checkout, installer, prefix, release_build,  # noqa: F401
                              sanitizers, scene, shown)
from support.processes import be_patient
from support.traces import Trace, why_not_traced


def pytest_addoption(parser):
    parser.addoption("--memcheck", action="store_true",
                     help="run the installer under valgrind's memcheck, in all tests that start one and can")


def pytest_configure(config):
    if config.getoption("--memcheck", default=False):
        be_patient()


def pytest_collection_modifyitems(config, items):
    items.sort(key=lambda item: item.get_closest_marker("full") is None)
    if config.getoption("--memcheck", default=False):
        others = [item for item in items if "scene" not in item.fixturenames]
        config.hook.pytest_deselected(items=others)
        items[:] = [item for item in items if item not in others]


@pytest.fixture(autouse=True)
def leave_out_without_memcheck(request):
    """Skips what cannot run under memcheck when everything shall."""
    if not request.config.getoption("--memcheck", default=False):
        return
    reason = memcheck.missing(request.getfixturevalue("sanitizers"))
    if marker := request.node.get_closest_marker("without_memcheck"):
        reason = f"not under memcheck: {marker.args[0]}"
    if reason:
        pytest.skip(reason)


def pytest_terminal_summary(terminalreporter):
    properties = [dict(report.user_properties) for reports in terminalreporter.stats.values() for report in reports
                  if getattr(report, "when", None) == "teardown"]
    checked = [each for each in properties if each.get("checked")]
    if checked:
        terminalreporter.section("memcheck")
        runs, faulty = (sum(each[name] for each in checked) for name in ("checked", "faulty"))
        terminalreporter.write_line(f"{runs} runs of the installer in {len(checked)} tests, {faulty} with findings")


@pytest.fixture
def expected_calls(scene, sanitizers):
    """Skips the test if a run of the scene cannot be traced, or makes other system calls than the tests expect."""
    reason = "sanitizers make calls of their own" if sanitizers else why_not_traced(scene.folder)
    if reason:
        pytest.skip(reason)


@pytest.fixture
def traced(request, expected_calls, tmp_path):
    """A function that makes a trace of a run of the scene, with more options of strace if need be."""
    if request.config.getoption("--memcheck", default=False):
        pytest.skip("not under memcheck: it makes calls of its own")
    return lambda *options: Trace(tmp_path / f"trace-{len(os.listdir(tmp_path))}", *options)


@pytest.fixture(scope="session")
def packages(build, tmp_path_factory):
    """The Debian packages of the build, by their names."""
    return make_packages(build, tmp_path_factory.mktemp("packages"))


@pytest.fixture(scope="session")
def bare_system(tmp_path_factory):
    """A Debian 12 with hardly anything installed."""
    folder = tmp_path_factory.mktemp("bare")
    try:
        yield BareSystem(folder)
    finally:
        shutil.rmtree(folder)
