"""The installer's main job: a running application is replaced by its update and comes up again."""

import datetime
import os
import plistlib
import shutil
import stat
import subprocess

import pytest

from support.bundles import IDENTIFIER, Bundle
from support.installer import INSTALLED, Outcome
from support.processes import eventually, stays
from support.scene import RELAUNCH_ARGUMENTS


def test_the_update_replaces_the_old_version(scene):
    update = scene.update.tree()
    assert scene.install() == INSTALLED
    assert scene.target.tree() == update
    assert scene.target.version() == "2"


def test_the_backup_beside_the_target_is_an_exact_copy_of_the_old_version(scene):
    old = scene.target.tree()
    assert scene.install() == INSTALLED
    assert Bundle(scene.backup()).tree() == old
    assert scene.backup().name.startswith(".Editor.app")


def test_the_update_bundle_stays_where_it_was(scene):
    update = scene.update.tree()
    assert scene.install() == INSTALLED
    assert scene.update.tree() == update
    assert os.listdir(scene.updates) == ["Editor.app"]


def test_the_new_version_is_started_once_with_exactly_two_arguments(scene):
    assert scene.install() == INSTALLED
    (report,) = scene.launched()
    assert report.arguments == RELAUNCH_ARGUMENTS
    assert report.version == "2"
    assert report.one("program") == str(scene.target.executable)


def test_no_semaphore_is_held_afterwards_and_no_record_is_left(scene):
    assert scene.install() == INSTALLED
    assert scene.installer_semaphore.count() == 1
    assert scene.update_semaphore.count() == 1
    assert not os.path.lexists(scene.record_path())


def test_both_semaphores_are_held_and_nothing_is_changed_while_the_target_runs(scene):
    old = scene.target.tree()
    run = scene.begin()
    stays(
        lambda: scene.is_held(scene.installer_semaphore)
        and scene.is_held(scene.update_semaphore)
        and not run.has_ended()
        and scene.backups() == [],
        "the installer waits for the target",
    )
    assert scene.target.tree() == old
    assert run.messages() == ["Begin installation"]
    scene.end_target()
    assert run.outcome() == INSTALLED


def test_a_target_with_only_its_first_thread_ended_is_waited_for(scene):
    scene.start_target("stay-without-the-first-thread")
    run = scene.begin()
    stays(lambda: not run.has_ended(), "the installer waits for the target")
    scene.end_target()
    assert run.outcome() == INSTALLED


def test_a_target_that_has_ended_need_not_be_reaped(scene):
    run = scene.begin()
    scene.running.kill()
    assert run.outcome() == INSTALLED


def test_a_target_that_was_started_through_a_link_is_replaced_where_it_really_lies(scene):
    link = scene.folder / "Link.app"
    link.symlink_to(scene.target.path)
    scene.start_target(bundle=Bundle(link))
    assert scene.install() == INSTALLED
    assert scene.target.version() == "2"
    assert os.readlink(link) == str(scene.target.path)


def test_a_target_that_is_a_script_is_replaced(scene):
    scene.target.executable.write_text("#!/bin/sh\nread line\n")
    scene.running = scene.start([scene.target.executable], stdin=subprocess.PIPE)
    assert scene.install() == INSTALLED
    assert scene.target.version() == "2"
    assert [report.version for report in scene.launched()] == ["2"]


def test_semaphores_made_by_the_target_are_used_unchanged(scene):
    semaphores = [scene.installer_semaphore.create(), scene.update_semaphore.create()]
    identities = [semaphore.identity() for semaphore in semaphores]
    assert scene.install() == INSTALLED
    assert [semaphore.identity() for semaphore in semaphores] == identities


def test_semaphores_made_by_the_installer_are_open_to_all_that_the_umask_admits(scene):
    assert scene.install(wrapper=["sh", "-c", 'umask 020; exec "$0" "$@"']) == INSTALLED
    for semaphore in (scene.installer_semaphore, scene.update_semaphore):
        assert stat.S_IMODE(os.stat(semaphore.file).st_mode) == 0o646


def test_a_taken_installer_semaphore_is_waited_for(scene):
    scene.installer_semaphore.create(taken=True)
    run = scene.begin()
    scene.end_target()
    stays(lambda: not run.has_ended() and scene.update_semaphore.count() is None, "the installer waits")
    scene.installer_semaphore.post()
    assert run.outcome() == INSTALLED
    assert scene.is_nothing_held()


def test_without_semaphore_names_neither_semaphores_nor_a_record_are_made(scene):
    run = scene.begin(installerSemaphore=None, updateSemaphore=None)
    assert os.listdir(scene.updates) == ["Editor.app"]
    scene.end_target()
    assert run.outcome() == INSTALLED
    assert scene.installer_semaphore.count() is None
    assert scene.update_semaphore.count() is None


def test_one_update_after_another_leaves_a_backup_of_each(scene):
    assert scene.install() == INSTALLED
    shutil.rmtree(scene.update.path)
    scene.make_bundle(scene.update.path, "3")
    scene.start_target()
    assert scene.install() == INSTALLED
    assert scene.target.version() == "3"
    assert sorted(Bundle(path).version() for path in scene.backups()) == ["1", "2"]


# The log


@pytest.mark.parametrize("value", [None, "NO", "0", ""])
def test_a_run_without_its_log_enabled_writes_nothing(scene, value):
    assert scene.install(enableLog=value) == Outcome(0, [])


@pytest.mark.parametrize("value", ["YES", "true", "1"])
def test_a_run_with_its_log_enabled_writes_its_begin_and_its_end(scene, value):
    assert scene.install(enableLog=value) == Outcome(0, ["Begin installation", "End installation"])


def test_each_line_names_the_time_the_process_and_the_one_object_of_the_run(scene):
    before = datetime.datetime.now() - datetime.timedelta(milliseconds=1)  # a line's time has only milliseconds
    run = scene.begin(updatePath=scene.folder / "nowhere")
    scene.end_target()
    assert run.status() == 1
    lines = run.lines()
    assert len(lines) == 3
    times = [before, *(datetime.datetime.fromisoformat(line["time"]) for line in lines), datetime.datetime.now()]
    assert times == sorted(times)
    assert {(line["program"], line["process"], line["thread"]) for line in lines} == {
        ("zkupdater", str(run.pid), str(run.pid))
    }
    assert len({line["object"] for line in lines}) == 1


# The record of the update lock's holder


def record_while_waiting(scene, **options):
    run = scene.begin(**options)
    eventually(scene.record_path().exists, "the record is there")
    data = scene.record_path().read_bytes()
    converted = subprocess.run(
        ["plistutil", "-f", "xml", "-i", scene.record_path()], check=True, capture_output=True
    ).stdout
    scene.end_target()
    assert run.outcome() == INSTALLED
    return run, data, converted


def test_the_record_of_a_waiting_installer_is_a_binary_property_list_that_describes_it(scene):
    run, data, converted = record_while_waiting(scene)
    assert data.startswith(b"bplist00")
    record = plistlib.loads(data)
    assert record["pid"] == run.pid
    assert record["executablePath"] == str(scene.installer)
    assert type(record["creationDate"]) is datetime.datetime
    assert set(record) == {"pid", "executablePath", "creationDate"}, "it is not in a bundle"
    assert plistlib.loads(converted) == record, "another reader sees the same"


@pytest.mark.without_memcheck("the record names valgrind's program")
def test_the_record_of_an_installer_in_a_bundle_names_that_bundle(scene):
    helper = scene.target.resources / "zkupdater"
    shutil.copy2(scene.installer, helper)
    run, data, _ = record_while_waiting(scene, installer=helper)
    record = plistlib.loads(data)
    assert record["pid"] == run.pid
    assert record["executablePath"] == str(helper)
    assert record["bundleId"] == IDENTIFIER
    assert set(record) == {"pid", "executablePath", "bundleId", "creationDate"}


def test_the_record_can_be_read_by_all_that_the_umask_admits(scene):
    run = scene.begin(wrapper=["sh", "-c", 'umask 020; exec "$0" "$@"'])
    assert stat.S_IMODE(scene.record_path().stat().st_mode) == 0o646
    assert [path.name for path in scene.updates.iterdir() if path != scene.update.path] == [scene.record_path().name]
    scene.end_target()
    assert run.outcome() == INSTALLED
