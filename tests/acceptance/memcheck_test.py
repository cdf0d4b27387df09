"""Whole runs under memcheck: no access to memory that is not the installer's, no use of a value that was never set, no
leak."""

import shutil

import pytest

from support.bundles import add_socket
from support.installer import INSTALLED, failed_with
from support.processes import eventually

LIMIT = 300.0  # seconds; everything is slow under it
FOUND_SOMETHING = 99
MEMCHECK = ["valgrind", f"--error-exitcode={FOUND_SOMETHING}", "--leak-check=full",
            "--errors-for-leak-kinds=definite,indirect", "--track-origins=yes"]

pytestmark = pytest.mark.full


@pytest.fixture
def memcheck(scene, sanitizers):
    """Runs the installer under memcheck to its end."""
    if shutil.which("valgrind") is None:
        pytest.skip("needs valgrind")
    if sanitizers:
        pytest.skip("runs with no other sanitizer")

    def run(is_ready, **changes):
        report = scene.folder / "memcheck"
        run = scene.begin_plainly(scene.settings(**changes), wrapper=[*MEMCHECK, f"--log-file={report}"])
        eventually(lambda: is_ready() or run.has_ended(), "the installer waits for the target", LIMIT)
        scene.end_target()
        outcome = run.outcome(LIMIT)
        assert outcome.status != FOUND_SOMETHING, report.read_text()
        return outcome

    return run


def test_an_update(scene, memcheck):
    update = scene.update.tree()
    assert memcheck(scene.record_path().exists) == INSTALLED
    assert scene.target.tree() == update


def test_a_failed_swap(scene, memcheck):
    add_socket(scene.update.resources)
    assert memcheck(scene.record_path().exists) == failed_with(
        "Copy update to target failed. Performing rollback.", "Unable to relaunch target application."
    )


def test_a_lock_that_is_taken_over_from_a_dead_holder(scene, memcheck):
    dead = scene.begin(installerSemaphore=None)
    record = scene.record_path().read_bytes()
    dead.end()
    assert memcheck(lambda: scene.record_path().exists() and scene.record_path().read_bytes() != record) == INSTALLED
    assert scene.is_nothing_held()


def test_settings_that_are_missing(scene, memcheck):
    assert memcheck(lambda: False, updatePath=None).status == 1
