"""What the documents warn of: mistakes that the installer does not prevent."""

import shutil
import time

import pytest

from support.bundles import Bundle
from support.installer import INSTALLED, failed_creation


def test_a_folder_above_the_targets_own_as_update_folder_may_install_a_backup(scene):
    shutil.rmtree(scene.update.path)
    scene.make_bundle(scene.updates / "Newer.app", "3")
    backup = scene.make_bundle(scene.applications / ".Editor.app-0123456789abcdef", "0").tree()
    # "Applications" comes before "Updates", and the hidden backup in it comes before everything else.
    assert scene.install(updatePath=scene.folder) == INSTALLED
    assert scene.target.tree() == backup


def test_two_installers_for_one_update_both_succeed_and_start_the_application_twice(scene):
    lock = scene.update_semaphore.create(taken=True)
    first = scene.begin(installerSemaphore=None)
    second = scene.begin(installerSemaphore=None)
    scene.end_target()
    lock.post()
    assert first.outcome() == INSTALLED
    assert second.outcome() == INSTALLED
    assert [report.version for report in scene.launched()] == ["2", "2"]
    assert sorted(Bundle(path).version() for path in scene.backups()) == ["1", "2"]


def test_a_process_that_cannot_be_dumped_is_hidden_from_its_own_user(scene):
    scene.become_unprivileged()
    scene.start_target("stay-without-being-dumpable")
    assert scene.install() == failed_creation("Unable to get target process bundle path.")


def test_a_holder_whose_bundle_is_renamed_looks_gone(scene):
    other = scene.make_bundle(scene.applications / "Other.app", "1")
    installer = shutil.copy2(scene.installer, other.path / "Contents/MacOS/zkupdater")
    first_target = scene.start([other.executable, "stay"])
    first = scene.begin(installer=installer, pid=first_target.pid, installerSemaphore=None)
    other.path.rename(scene.applications / "Renamed.app")

    assert scene.install(installerSemaphore=None) == INSTALLED
    assert not first.has_ended(), "it still holds the lock that was taken over from it"


@pytest.mark.full
def test_one_name_for_both_semaphores_makes_an_installer_wait_100_seconds_for_itself(scene):
    start = time.monotonic()
    run = scene.begin(updateSemaphore=scene.installer_semaphore.name)
    scene.end_target()
    assert run.outcome(limit=250) == INSTALLED
    assert time.monotonic() - start >= 100

