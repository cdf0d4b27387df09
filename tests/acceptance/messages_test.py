"""Each message of the log has a real cause, which decides what else is logged, what is left behind, and whether the old
version is started again.

Three messages are missing. Nothing outside the process can reliably cause "Unable to get target process info." (the
target would have to end between two look-ups) or "Unable to create File Manager." (memory would have to run out at that
very place). "Target process exit wait expired." is in long_wait_test.py. """

import os
import plistlib
import resource
import shutil

import pytest

from support.bundles import Bundle, add_socket
from support.installer import INSTALLED, failed_creation, failed_with
from support.processes import an_unused_pid
from support.refuse_call import REFUSE_CALL
from support.scene import needs_two_users


def assert_old_version_is_started_again(scene):
    (report,) = scene.launched()
    assert report.version == "1"
    assert scene.target.version() == "1"


# Creation fails: nothing is taken, changed or started.


def without_pid(scene):
    return {"pid": None}


def with_a_pid_that_no_process_has(scene):
    return {"pid": an_unused_pid()}


def outside_a_bundle(scene):
    return {"pid": scene.start(["/usr/bin/sleep", "infinity"]).pid}


def without_identifier(scene):
    shutil.rmtree(scene.target.path)
    scene.make_bundle(scene.target.path, "1", identifier=None)
    return {}


def without_update_path(scene):
    return {"updatePath": None}


def with_an_update_path_that_is_too_long(scene):
    return {"updatePath": "/" + "u" * 4095}


CREATION_FAILS = [
    (without_pid, "Target PID not specified."),
    (with_a_pid_that_no_process_has, "Unable to get target process serial number."),
    (outside_a_bundle, "Unable to get target process bundle path."),
    (without_identifier, "Unable to get target process bundle id."),
    (without_update_path, "Invalid update path."),
    (with_an_update_path_that_is_too_long, "Invalid update directory."),
]


@pytest.mark.parametrize("cause, message", CREATION_FAILS, ids=[message for _, message in CREATION_FAILS])
def test_a_failed_creation_touches_nothing(scene, cause, message):
    settings = cause(scene)
    old = scene.target.tree()
    run = scene.begin(**settings)
    assert run.outcome() == failed_creation(message)
    assert [line["category"] for line in run.lines()] == [None, "Error", "Error", None]
    assert scene.launched() == []
    assert scene.target.tree() == old
    assert scene.installer_semaphore.count() is None
    assert scene.update_semaphore.count() is None
    assert scene.backups() == []


@pytest.mark.without_memcheck("valgrind needs a current folder")
def test_a_relative_update_path_is_invalid_if_the_current_folder_is_gone(scene):
    gone = scene.make_folder("gone")
    wrapper = ["sh", "-c", 'rmdir "$PWD"; exec "$0" "$@"']
    outcome = scene.install(updatePath="Updates", wrapper=wrapper, cwd=gone)
    assert outcome == failed_creation("Invalid update directory.")


# The handshake fails: nothing is installed, what was taken is released, and the old version is started again.


def test_an_installer_semaphore_that_cannot_be_made(scene):
    outcome = scene.install(installerSemaphore="inner/slash")
    assert outcome == failed_with("Failed to create installer semaphore.")
    assert scene.update_semaphore.count() is None
    assert_old_version_is_started_again(scene)


@needs_two_users
def test_an_installer_semaphore_that_only_another_user_may_use(scene):
    scene.installer_semaphore.create()
    os.chmod(scene.installer_semaphore.file, 0o600)
    scene.become_unprivileged()
    assert scene.install() == failed_with("Failed to create installer semaphore.")
    assert scene.is_nothing_held()
    assert_old_version_is_started_again(scene)


@pytest.mark.without_memcheck("waits of its own would be interrupted")
def test_a_wait_for_the_installer_semaphore_that_is_interrupted(scene):
    scene.installer_semaphore.create(taken=True)
    outcome = scene.install(wrapper=[*REFUSE_CALL, "futex", "EINTR"])
    assert outcome == failed_with("Failed to acquire installer semaphore.")
    assert scene.is_held(scene.installer_semaphore), "the test holds it, and the installer has not released it"
    assert scene.update_semaphore.count() is None
    assert_old_version_is_started_again(scene)


def test_an_update_semaphore_that_cannot_be_made(scene):
    outcome = scene.install(updateSemaphore="inner/slash")
    assert outcome == failed_with("Failed to create update semaphore.")
    assert scene.is_nothing_held()
    assert_old_version_is_started_again(scene)


@needs_two_users
def test_the_lock_of_a_dead_holder_whose_name_another_user_may_not_remove(scene):
    scene.update_semaphore.create(taken=True)
    identity = scene.update_semaphore.identity()
    scene.record_path().write_bytes(plistlib.dumps({"pid": an_unused_pid()}))
    scene.become_unprivileged()
    assert scene.install() == failed_with("Failed to acquire update semaphore.")
    assert scene.is_held(scene.update_semaphore)
    assert scene.update_semaphore.identity() == identity
    assert scene.record_path().exists(), "the installer may not remove it"
    assert scene.installer_semaphore.count() == 1
    assert_old_version_is_started_again(scene)


# The wait for the target's end fails.


def test_a_failing_look_up_of_the_target(scene, sanitizers):
    if "undefined" in sanitizers:
        pytest.skip("that sanitizer needs descriptors itself, and reports an error without them")
    run = scene.begin()
    _, hard = resource.prlimit(run.pid, resource.RLIMIT_NOFILE)
    resource.prlimit(run.pid, resource.RLIMIT_NOFILE, (0, hard))
    outcome = run.outcome()
    assert outcome == failed_with("Failed to watch target process exit.", "Unable to relaunch target application.")
    assert scene.installer_semaphore.count() == 1
    assert scene.update_semaphore.count() == 1
    assert scene.target.version() == "1"
    assert scene.backups() == []


# The installation fails.


def test_no_update(scene):
    shutil.rmtree(scene.update.path)
    assert scene.install() == failed_with("Unable to locate update bundle.")
    assert scene.is_nothing_held()
    assert scene.backups() == []
    assert_old_version_is_started_again(scene)


def test_a_folder_that_takes_no_backup(scene):
    scene.become_unprivileged()
    scene.applications.chmod(0o555)
    old = scene.target.tree()
    assert scene.install() == failed_with("Unable to create temporary directory.")
    assert scene.target.tree() == old
    assert scene.is_nothing_held()
    assert_old_version_is_started_again(scene)


def test_an_old_version_that_cannot_be_copied(scene):
    add_socket(scene.target.resources)
    old = scene.target.tree()
    assert scene.install() == failed_with("Unable to backup target.")
    assert scene.target.tree() == old
    assert len(scene.backups()) == 1, "the unfinished copy stays"
    assert scene.is_nothing_held()
    assert_old_version_is_started_again(scene)


def test_a_target_so_deep_that_its_path_in_the_backup_is_too_long(scene):
    name = "E" * 200 + ".app"
    folder = scene.folder
    while len(str(folder)) < 3500:
        folder = folder / ("d" * 200)
    deep = scene.make_bundle(folder / ("d" * (3750 - len(str(folder)))) / name, "1")
    shutil.copytree(scene.update.path, scene.updates / name, symlinks=True)
    scene.start_target(bundle=deep)
    old = deep.tree()
    assert scene.install() == failed_with("Bad target bundle backup url.")
    assert deep.tree() == old
    (backup,) = scene.backups(beside=deep.path)
    assert Bundle(backup).tree() == old
    assert scene.is_nothing_held()
    assert len(scene.launched()) == 1


def test_an_update_that_cannot_be_copied(scene):
    old = scene.target.tree()
    add_socket(scene.update.resources)
    assert scene.install() == failed_with(
        "Copy update to target failed. Performing rollback.", "Unable to relaunch target application."
    )
    assert Bundle(scene.backup()).tree() == old
    assert scene.is_nothing_held()


# The relaunch fails, which changes no status.


def test_an_installed_update_that_cannot_be_started(scene):
    scene.update.executable.unlink()
    update = scene.update.tree()
    outcome = scene.install()
    assert outcome == INSTALLED._replace(messages=failed_with("Unable to relaunch target application.").messages)
    assert scene.target.tree() == update
    assert scene.launched() == []
