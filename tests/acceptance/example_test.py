"""The application in examples/ as a host that does what the documents recommend."""

import os
import re
import signal
from pathlib import Path

import pytest

from support.bundles import EXECUTABLE
from support.example import Example
from support.processes import eventually, stat_fields, wait_for_end
from support.scene import RELAUNCH_ARGUMENTS
from support.semaphores import Semaphore
from support.traces import killing_at


@pytest.fixture
def example(scene, build):
    return Example(scene, build)


def assert_updates(example):
    assert example.start().wait(30) == 0
    eventually(lambda: example.journal(2)[-1:] == ["ends"], "version 2 has come up and ended")
    assert example.bundle.version() == "2"
    assert "follows an update from version 1" in example.journal(2)


def test_it_updates_itself_and_leaves_only_the_name_of_the_lock(example):
    assert_updates(example)
    assert example.settings()["-updateSemaphore"] == example.lock.name
    assert example.lock.count() == 1
    example.assert_its_semaphore_is_gone()


def test_its_semaphores_have_names_that_every_system_takes(example):
    assert_updates(example)
    for setting in ("-installerSemaphore", "-updateSemaphore"):
        assert re.fullmatch(r"[^/]{1,30}", example.settings()[setting])


def test_it_updates_itself_even_after_an_installer_was_killed_with_its_semaphore_held(example):
    # The taken lock keeps the first installer waiting while it holds the installer semaphore.
    example.lock.create(taken=True)
    assert example.start().wait(30) == 0
    assert example.journal(1)[-1] == "the installer is ready; quits"
    os.kill(example.installer_pid(), signal.SIGKILL)
    example.lock.post()

    assert_updates(example)


@pytest.fixture
def gate(example):
    """A file without which the installer does not begin."""
    example.write_installer("until [ -e gate ]; do sleep 0.01; done", f'exec "{example.scene.installer}" "$@"')
    return example.scene.folder / "gate"


def start_waiting(example):
    """Starts version 1, which waits for an installer. Returns its process and the installer's semaphore."""
    process = example.start()
    eventually(example.has_settings, "the installer was given its settings")
    semaphore = Semaphore(example.settings()["-installerSemaphore"])
    example.scene.stack.callback(semaphore.unlink)
    return process, semaphore


def test_an_installer_finishes_the_update_of_an_application_that_is_killed_while_it_waits(example, gate):
    process, semaphore = start_waiting(example)
    process.send_signal(signal.SIGSTOP)
    eventually(lambda: stat_fields(process.pid)[0] == "T", "the application is stopped")
    gate.touch()
    eventually(lambda: semaphore.count() == 0, "the installer holds its semaphore")
    process.kill()
    eventually(lambda: example.journal(2)[-1:] == ["ends"], "version 2 has come up and ended")
    assert example.bundle.version() == "2"


def test_an_installer_that_does_not_find_the_application_any_more_changes_nothing(example, gate):
    process, _ = start_waiting(example)
    process.kill()
    process.wait()
    gate.touch()
    wait_for_end(example.installer_pid())
    assert example.bundle.version() == "1"
    assert example.scene.backups(beside=example.bundle.path) == []
    assert example.journal(2) == []

    assert_updates(example)


@pytest.mark.usefixtures("expected_calls")
def test_an_incomplete_new_version_is_not_taken_for_an_installed_update(example):
    # The second wait for the disk is the one for the new bundle, which has all its files by then.
    killing = " ".join(killing_at("syncfs", 2))
    example.write_installer(f'exec {killing} "{example.scene.installer}" "$@"')
    assert example.start().wait(30) == 0
    wait_for_end(example.installer_pid())
    assert example.bundle.version() == "2"
    assert len(example.scene.backups(beside=example.bundle.path)) == 1

    assert example.start(*RELAUNCH_ARGUMENTS).wait(30) == 0
    assert "follows an update that was not installed" in example.journal(2)


def assert_goes_on(example):
    assert example.start().wait(30) == 1
    assert example.journal(1)[-1] == "the installer did not come up; goes on as it is"
    assert example.bundle.version() == "1"


def test_it_goes_on_with_the_old_version_and_ends_an_installer_that_does_not_come_up(example):
    example.write_installer("sleep infinity")
    assert_goes_on(example)
    assert example.errors() == "The installer was not ready in time.\n\n"
    example.assert_its_semaphore_is_gone()
    assert not Path(f"/proc/{example.installer_pid()}").exists()


def test_it_goes_on_with_the_old_version_and_the_words_of_an_installer_that_fails(example):
    # The installer finds no process with this id.
    example.write_installer('shift 2', f'exec "{example.scene.installer}" -pid 0 "$@"')
    assert_goes_on(example)
    reason, line = example.errors().splitlines()
    assert reason == "The installer ended before it was ready."
    assert line.endswith("Error: Target PID not specified.")
    example.assert_its_semaphore_is_gone()


def test_it_starts_no_installer_for_an_update_that_could_never_start(example):
    (example.update.path / "Contents/MacOS" / EXECUTABLE).chmod(0o644)
    assert_goes_on(example)
    assert example.errors() == "The new bundle has no executable program.\n\n"
    assert not (example.scene.folder / "settings").exists()
