"""After a failed swap the backup is what is left of the old version."""

import os
import shutil

from support.bundles import Bundle, add_socket, tree
from support.installer import failed_with

SWAP_FAILED = failed_with(
    "Copy update to target failed. Performing rollback.", "Unable to relaunch target application."
)


def test_the_backup_is_complete_at_the_path_of_the_temporary_folder_itself(scene):
    add_socket(scene.update.resources)
    old = scene.target.tree()
    update = scene.update.tree()
    assert scene.install() == SWAP_FAILED
    assert Bundle(scene.backup()).tree() == old
    assert scene.update.tree() == update
    assert scene.is_nothing_held()


def test_the_rollback_reads_one_level_below_the_backup_and_finds_nothing(scene):
    add_socket(scene.update.resources)
    assert scene.install() == SWAP_FAILED
    assert not os.path.lexists(scene.target.path), "the part of the update that was copied is gone as well"
    assert scene.launched() == []


def test_the_rollback_brings_back_a_folder_with_the_targets_name_inside_the_backup(scene):
    inner = scene.make_bundle(scene.target.path / scene.target.path.name, "inner")
    expected = inner.tree()
    add_socket(scene.update.resources)
    assert scene.install() == failed_with("Copy update to target failed. Performing rollback.")
    assert scene.target.tree() == expected
    (report,) = scene.launched()
    assert report.version == "inner"


def test_the_old_version_can_be_put_back_by_hand_and_updated(scene):
    add_socket(scene.update.resources)
    old = scene.target.tree()
    assert scene.install() == SWAP_FAILED
    scene.backup().rename(scene.target.path)
    assert scene.target.tree() == old
    (scene.update.resources / "zzz-socket").unlink()
    scene.start_target()
    assert scene.install().status == 0
    assert scene.target.version() == "2"


def test_an_update_folder_inside_the_target_is_removed_with_it(scene):
    updates = shutil.move(scene.updates, scene.target.resources)
    old = scene.target.tree()
    assert scene.install(updatePath=updates, updateSemaphore=None) == SWAP_FAILED
    assert Bundle(scene.backup()).tree() == old


def test_only_the_backup_is_left_if_the_update_folder_is_the_targets_own(scene):
    old = scene.target.tree()
    assert scene.install(updatePath=scene.applications) == SWAP_FAILED
    assert tree(scene.backup()) == old
