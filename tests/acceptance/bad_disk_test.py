"""Disks that are full or may not be written."""

import os

import pytest

from support.bundles import Bundle
from support.installer import INSTALLED, failed_with
from support.namespaces import PrivateMounts
from support.refuse_call import REFUSE_CALL


@pytest.fixture
def mounts(scene):
    return PrivateMounts(scene)


def move_to_disk(scene, mounts, kilobytes, **options):
    """Moves the target to a file system of its own. Returns its path as seen from outside."""
    aside = scene.applications.rename(scene.folder / "aside")
    scene.applications.mkdir()
    disk = mounts.mount_small_disk(scene.applications, kilobytes, **options)
    mounts.run("cp", "-a", aside / "Editor.app", scene.applications)
    return Bundle(disk / "Editor.app")


def fill(bundle, name, kilobytes):
    (bundle.resources / name).write_bytes(os.urandom(kilobytes << 10))


def test_another_file_system_than_the_updates(scene, mounts):
    target = move_to_disk(scene, mounts, 8000)
    old, update = target.tree(), scene.update.tree()
    assert scene.install() == INSTALLED
    assert target.tree() == update
    (backup,) = scene.backups(beside=target.path)
    assert Bundle(backup).tree() == old
    assert [report.version for report in scene.launched()] == ["2"]


def test_no_room_for_the_backup(scene, mounts):
    fill(scene.target, "large", 1000)
    target = move_to_disk(scene, mounts, 1800)
    old = target.tree()
    assert scene.install() == failed_with("Unable to backup target.")
    assert target.tree() == old
    assert len(scene.backups(beside=target.path)) == 1, "the unfinished copy stays"
    assert scene.is_nothing_held()
    assert [report.version for report in scene.launched()] == ["1"]


def test_no_room_for_another_file_in_the_backup(scene, mounts):
    count = len(scene.target.tree())
    target = move_to_disk(scene, mounts, 8000, inodes=2 * count - 2)
    old = target.tree()
    assert scene.install() == failed_with("Unable to backup target.")
    assert target.tree() == old
    assert [report.version for report in scene.launched()] == ["1"]


def test_no_room_for_the_temporary_folder(scene, mounts):
    target = move_to_disk(scene, mounts, 8000, inodes=len(scene.target.tree()) + 1)
    old = target.tree()
    assert scene.install() == failed_with("Unable to create temporary directory.")
    assert target.tree() == old
    assert scene.backups(beside=target.path) == []
    assert [report.version for report in scene.launched()] == ["1"]


def test_no_room_for_the_update(scene, mounts):
    fill(scene.update, "large", 3000)
    target = move_to_disk(scene, mounts, 2500)
    old = target.tree()
    assert scene.install() == failed_with(
        "Copy update to target failed. Performing rollback.", "Unable to relaunch target application."
    )
    assert not target.path.exists()
    (backup,) = scene.backups(beside=target.path)
    assert Bundle(backup).tree() == old
    assert scene.is_nothing_held()


def test_a_disk_that_may_not_be_written(scene, mounts):
    target = move_to_disk(scene, mounts, 8000)
    old = target.tree()
    mounts.run("mount", "-o", "remount,ro", "none", scene.applications)
    assert scene.install() == failed_with("Unable to create temporary directory.")
    assert target.tree() == old
    assert scene.is_nothing_held()
    assert [report.version for report in scene.launched()] == ["1"]


def test_no_room_for_the_record(scene, mounts):
    count = len(scene.update.tree())
    aside = scene.updates.rename(scene.folder / "aside")
    scene.updates.mkdir()
    disk = mounts.mount_small_disk(scene.updates, 8000, inodes=count + 1)
    mounts.run("cp", "-a", aside / "Editor.app", scene.updates)
    run = scene.begin()
    assert scene.is_held(scene.update_semaphore)
    assert os.listdir(disk) == ["Editor.app"], "neither a record nor an unfinished one"
    scene.end_target()
    assert run.outcome() == INSTALLED
    assert scene.is_nothing_held()


def test_no_room_for_the_semaphores(scene, mounts):
    mounts.mount_small_disk("/dev/shm", 100, inodes=1)
    old = scene.target.tree()
    assert scene.install() == failed_with("Failed to create installer semaphore.")
    assert scene.target.tree() == old
    assert [report.version for report in scene.launched()] == ["1"]


SYNCING = "fsync,fdatasync,syncfs"


@pytest.mark.parametrize("error", ["EIO", "ENOSPC"])
def test_a_backup_that_does_not_reach_the_disk_fails(scene, error):
    old = scene.target.tree()
    assert scene.install(wrapper=[*REFUSE_CALL, SYNCING, error]) == failed_with("Unable to backup target.")
    assert scene.target.tree() == old
    assert [report.version for report in scene.launched()] == ["1"]


REFUSED = [
    ("pidfd_open", "ENOSYS"),
    ("pidfd_open", "EPERM"),
    ("copy_file_range", "ENOSYS"),
    ("copy_file_range", "EXDEV"),
    ("copy_file_range", "EPERM"),
    pytest.param("close_range", "ENOSYS", marks=pytest.mark.without_memcheck(
        "the C library would try to close valgrind's descriptors again and again")),
    (SYNCING, "EINVAL"),
]


@pytest.mark.parametrize("call, error", REFUSED)
def test_a_refused_system_call_is_replaced_by_another_way(scene, call, error):
    update = scene.update.tree()
    assert scene.install(wrapper=[*REFUSE_CALL, call, error]) == INSTALLED
    assert scene.target.tree() == update
    assert [report.version for report in scene.launched()] == ["2"]
