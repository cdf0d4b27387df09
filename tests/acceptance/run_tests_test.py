"""tools/run_tests: how it reads the results of the two test runners, and how it ends them before their time."""

import os
import shutil
import signal
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

import pytest

from support import scripts
from support.processes import all_processes, eventually, stat_fields

SKIPPED_BY_GOOGLETEST = "[ RUN      ] A.B\n/a/b.cpp:12: Skipped\nonly root may do this\n\n[  SKIPPED ] A.B (0 ms)\n"


@pytest.fixture(scope="module")
def run_tests(checkout):
    return scripts.load(checkout / "tools/run_tests")


@pytest.fixture
def results(run_tests, tmp_path):
    def results(cases, status=0):
        file = tmp_path / "results.xml"
        file.write_text(f"<testsuite>{cases}</testsuite>")
        return [(one.outcome, one.text) for one in run_tests.results("these tests", file, status, "the output")]

    return results


def test_every_test_is_counted_with_its_outcome(results):
    assert results(
        '<testcase classname="file_test" name="a"/>'
        '<testcase classname="file_test" name="b"><failure message="Failed"/>'
        '<system-out>it broke</system-out></testcase>'
        '<testcase classname="file_test" name="c"><failure message="AssertionError">assert 1 == 2</failure></testcase>'
        '<testcase classname="file_test" name="d"><error message="failed on setup">no such fixture</error></testcase>',
        status=1,
    ) == [("passed", ""), ("failed", "it broke"), ("failed", "assert 1 == 2"), ("failed", "no such fixture")]


def test_a_test_is_named_with_its_file_only_once(run_tests):
    def name(text):
        return run_tests.name(ElementTree.fromstring(text))

    assert name('<testcase classname="file_test" name="test_a"/>') == "file_test: test_a"
    assert name('<testcase classname="errors_tests.A.B" name="errors_tests.A.B"/>') == "errors_tests.A.B"


def test_a_skipped_test_has_its_reason(results):
    assert results(
        f'<testcase classname="file_test" name="a"><skipped message="SKIP_REGULAR_EXPRESSION_MATCHED"/>'
        f"<system-out>{SKIPPED_BY_GOOGLETEST}</system-out></testcase>"
        '<testcase classname="file_test" name="b"><skipped message="needs two users"/></testcase>'
    ) == [("skipped", "only root may do this"), ("skipped", "needs two users")]


def test_a_runner_that_fails_or_runs_nothing_counts_as_a_failure(results):
    failure = ("failed", "ended with status 2:\nthe output")
    assert results('<testcase classname="file_test" name="a"/>', status=2) == [("passed", ""), failure]
    assert results("", status=2) == [failure]
    assert results("", status=0) == [("failed", "ended with status 0:\nthe output")]


def test_progress_is_read_from_either_runner(run_tests):
    assert run_tests.ctest_progress(" 12/1108 Test   #12: errors_tests.A.B ....   Passed    0.01 sec\n") == (12, 1108)
    assert run_tests.ctest_progress("        Start   13: errors_tests.A.C\n") is None
    progress = run_tests.pytest_progress()
    assert progress("gw0 [23] / gw1 [23]\n") is None
    assert progress("[gw1] [  4%] PASSED tests/acceptance/a_test.py::test_b \n") == (1, 23)
    assert progress("tests/acceptance/a_test.py::test_b \n") is None
    assert progress("[gw0] [  8%] FAILED tests/acceptance/a_test.py::test_c \n") == (2, 23)


def test_running_a_command_returns_its_status_and_output(run_tests, capfd):
    assert run_tests.run("a command", [sys.executable, "-c", "print('told'); raise SystemExit(3)"]) == (3, "told\n")
    assert "a command: " in capfd.readouterr().out


TEST_THAT_MUST_CLEAN_UP = """
import pathlib, time, pytest

@pytest.fixture
def thing():
    pathlib.Path("thing").touch()
    yield
    pathlib.Path("thing").unlink()

def test_thing(thing):
    time.sleep(600)
"""


def kill_session(leader):
    for pid in all_processes():
        fields = stat_fields(pid)
        if fields and int(fields[3]) == leader:
            os.kill(pid, signal.SIGKILL)


# A script that starts something in the background ignores SIGINT for it.
@pytest.mark.parametrize("started", ["--default-signal=INT", "--ignore-signal=INT"], ids=["alone", "in-background"])
@pytest.mark.parametrize("request_to_end", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_ended_early_it_lets_the_tests_clean_up(checkout, tmp_path, started, request_to_end):
    (tmp_path / "thing_test.py").write_text(TEST_THAT_MUST_CLEAN_UP)
    instead_of_ctest = tmp_path / "ctest"
    instead_of_ctest.write_text("#!/bin/sh\nexec /usr/bin/python3 -m pytest -n 1 thing_test.py\n")
    instead_of_ctest.chmod(0o755)
    (tmp_path / "tools").mkdir()
    copy = shutil.copy(checkout / "tools/run_tests", tmp_path / "tools")
    running = subprocess.Popen(["env", "--default-signal=HUP", started, copy], start_new_session=True,
                               env={**os.environ, "PATH": f"{tmp_path}:{os.environ['PATH']}"},
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    thing = tmp_path / "thing"
    try:
        eventually(thing.exists, "the test runs")
        running.send_signal(request_to_end)
        assert running.wait(60) != 0
        assert not thing.exists()
    finally:
        kill_session(running.pid)
        running.wait()


def test_long_tests_are_counted_beside_a_file_that_cannot_be_read(run_tests, tmp_path, monkeypatch):
    for folder in run_tests.RUNS:
        tests = tmp_path / "tests" / folder
        tests.mkdir(parents=True)
        (tests / "broken_test.py").write_text("def\n")
        (tests / "long_test.py").write_text("import pytest\n\n@pytest.mark.full\ndef test_long():\n    pass\n")
    monkeypatch.setattr(run_tests, "CHECKOUT", tmp_path)
    monkeypatch.setattr(run_tests, "PYTEST", ["/usr/bin/python3", "-m", "pytest", "-p", "no:cacheprovider"])
    monkeypatch.delenv("PYTHONDONTWRITEBYTECODE", raising=False)
    before = sorted(tmp_path.rglob("*"))
    assert run_tests.deselected() == len(run_tests.LONG_COMMANDS) + len(run_tests.RUNS)
    assert sorted(tmp_path.rglob("*")) == before, "nothing is left among the tests"


def test_the_table_of_points_is_found_whole(run_tests):
    table = "matrix  tried  failed\na_test      5       0\n"
    assert run_tests.points_in(f"ok\n==== points ====\n{table}==== 1 passed ====\n") == table
    assert run_tests.points_in("==== 1 passed ====\n") == ""
