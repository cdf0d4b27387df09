"""Signals end an installer that holds nothing. While it holds something, they wait until it is done."""

import os
import signal

import pytest

from support.installer import INSTALLED
from support.processes import eventually, stays

ENDING = [signal.SIGINT, signal.SIGTERM, signal.SIGQUIT]
NO_CORE = ["sh", "-c", 'ulimit -c 0; exec "$0" "$@"']


def by_name(signals):
    return pytest.mark.parametrize("number", signals, ids=lambda number: number.name)


def send(run, *numbers):
    assert not run.has_ended()
    for number in numbers:
        run.process.send_signal(number)


def assert_ended_by(scene, run, number):
    assert run.status() == -number
    assert scene.orphans() == set(), "nothing was started"
    assert scene.target.version() == "1"
    assert scene.backups() == []
    assert not os.path.lexists(scene.record_path())


# While it holds nothing


@by_name(ENDING)
def test_it_ends_a_wait_for_the_installer_semaphore(scene, number):
    scene.installer_semaphore.create(taken=True)
    run = scene.begin(wrapper=NO_CORE)
    send(run, number)
    assert_ended_by(scene, run, number)
    assert scene.installer_semaphore.count() == 0, "the test holds it, and nobody has released it"
    scene.installer_semaphore.post()
    assert scene.installer_semaphore.count() == 1
    assert scene.update_semaphore.count() is None


@by_name(ENDING)
def test_it_ends_a_wait_for_the_update_lock_by_an_installer_that_holds_nothing_else(scene, number):
    scene.update_semaphore.create(taken=True)
    run = scene.begin(wrapper=NO_CORE, installerSemaphore=None)
    send(run, number)
    assert_ended_by(scene, run, number)
    scene.update_semaphore.post()
    assert scene.update_semaphore.count() == 1


@by_name(ENDING)
def test_it_ends_a_wait_for_the_target_by_an_installer_without_semaphores(scene, number):
    run = scene.begin(wrapper=NO_CORE, installerSemaphore=None, updateSemaphore=None)
    send(run, number)
    assert_ended_by(scene, run, number)


@pytest.mark.parametrize("what", ["--ignore-signal", "--block-signal"])
def test_it_ends_an_installer_even_if_its_starter_ignored_or_blocked_it(scene, what):
    scene.installer_semaphore.create(taken=True)
    run = scene.begin(wrapper=["env", what])
    send(run, signal.SIGTERM)
    assert_ended_by(scene, run, signal.SIGTERM)


# While it holds something


HELD = {"both": {}, "the update lock": {"installerSemaphore": None}, "the other": {"updateSemaphore": None}}


@by_name(ENDING)
@pytest.mark.parametrize("names", HELD.values(), ids=HELD)
def test_it_is_held_back_while_the_installer_waits_for_the_target_and_holds(scene, number, names):
    run = scene.begin(wrapper=NO_CORE, **names)
    send(run, number)
    stays(lambda: not run.has_ended(), "the installer waits", 0.3)
    scene.end_target()
    assert run.outcome() == INSTALLED
    assert scene.is_nothing_held()
    assert [report.version for report in scene.launched()] == ["2"]


@by_name(ENDING)
def test_it_is_held_back_while_the_installer_waits_for_the_update_lock_with_the_other_held(scene, number):
    scene.update_semaphore.create(taken=True)
    run = scene.begin(wrapper=NO_CORE)
    scene.end_target()
    send(run, number)
    stays(lambda: not run.has_ended(), "the installer waits")
    scene.update_semaphore.post()
    assert run.outcome() == INSTALLED
    assert scene.is_nothing_held()


@pytest.mark.parametrize("names", [{}, {"installerSemaphore": None, "updateSemaphore": None}], ids=["both", "none"])
def test_it_is_held_back_during_the_swap_whichever_semaphores_are_held(scene, names):
    for number in range(150):
        (scene.target.resources / f"{number:03}").write_text("old\n" * 100)
        (scene.update.resources / f"{number:03}").write_text("new\n" * 100)
    update = scene.update.tree()
    run = scene.begin(wrapper=NO_CORE, **names)
    scene.end_target()
    eventually(lambda: scene.backups(), "the backup has begun")
    send(run, *ENDING)
    # It is gone from the removal of the old bundle until nearly all of the new one has been copied.
    eventually(lambda: not (scene.target.resources / "version").exists(), "the swap has begun")
    send(run, *ENDING)
    assert run.outcome() == INSTALLED
    assert scene.target.tree() == update
    assert scene.is_nothing_held()
    (report,) = scene.launched()
    assert [report.status(field) for field in ("SigBlk", "SigPnd", "ShdPnd")] == ["0" * 16] * 3


# What never ends it


IGNORED = [signal.SIGHUP, signal.SIGPIPE, signal.SIGXFSZ]


@by_name(IGNORED)
@pytest.mark.parametrize("names", [{}, {"installerSemaphore": None, "updateSemaphore": None}], ids=["both", "none"])
def test_an_installer_outlives(scene, number, names):
    run = scene.begin(**names)
    send(run, number)
    stays(lambda: not run.has_ended(), "the installer waits")
    scene.end_target()
    assert run.outcome() == INSTALLED


@by_name(IGNORED)
@pytest.mark.parametrize("waited_for", ["installer_semaphore", "update_semaphore"])
def test_an_installer_outlives_while_it_waits_for_a_semaphore(scene, number, waited_for):
    semaphore = getattr(scene, waited_for).create(taken=True)
    run = scene.begin()
    send(run, number)
    stays(lambda: not run.has_ended(), "the installer waits")
    semaphore.post()
    scene.end_target()
    assert run.outcome() == INSTALLED


def test_a_suspended_installer_continues_when_it_is_resumed(scene):
    scene.installer_semaphore.create(taken=True)
    run = scene.begin()
    send(run, signal.SIGSTOP)
    stays(lambda: not run.has_ended(), "the installer is suspended", 0.2)
    send(run, signal.SIGCONT)
    stays(lambda: not run.has_ended(), "the installer waits", 0.2)
    scene.installer_semaphore.post()
    scene.end_target()
    assert run.outcome() == INSTALLED


def test_an_installer_whose_starter_ignores_the_end_of_children_does_its_work(scene):
    assert scene.install(wrapper=["env", "--ignore-signal=CHLD"]) == INSTALLED
    assert [report.version for report in scene.launched()] == ["2"]


def test_an_installer_whose_starter_ignores_the_end_of_children_logs_a_failed_start(scene):
    scene.update.executable.chmod(0o644)
    outcome = scene.install(wrapper=["env", "--ignore-signal=CHLD"])
    assert outcome.status == 0
    assert outcome.messages[1:-1] == ["Error: Unable to relaunch target application."]
