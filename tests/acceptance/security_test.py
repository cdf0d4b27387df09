"""What docs/security.md says and no other test shows.

The rest of it is shown by
- elevated_test.py: the user as whom root starts another user's application;
- bad_records_test.py: files that are not records, and test_the_file_behind_a_link_is_left_alone;
- guarded_wait_test.py: test_the_lock_is_taken_over_at_once_from, and which holders the installer waits for;
- long_wait_test.py: for how long;
- main_job_test.py: test_a_taken_installer_semaphore_is_waited_for, and who may open semaphores and records;
- messages_test.py: test_an_installer_semaphore_that_only_another_user_may_use;
- finding_the_update_test.py: test_a_bundle_with_the_targets_name_is_taken_whatever_its_identifier, and
  test_a_link_to_a_bundle_is_installed_as_the_folder_it_leads_to;
- bad_bundles_test.py: links, set-id bits, sockets, and test_the_file_behind_a_link_in_the_old_version_is_left_alone;
- bad_settings_test.py: odd settings and names, and whose processes an installer may look at;
- relaunch_test.py: test_an_executable_outside_the_bundle_is_refused;
- signals_test.py: which signals end an installer.
"""

import os
import plistlib
import shutil
import signal
import stat
import subprocess

import pytest

from support.bundles import Bundle
from support.installer import INSTALLED
from support.namespaces import PrivateMounts
from support.processes import eventually, stays
from support.scene import IS_ROOT, NOBODY, needs_two_users


# The update folder


def test_a_hard_link_in_the_update_becomes_a_file_of_its_own(scene):
    outside = scene.folder / "outside"
    outside.write_text("as it was\n")
    os.link(outside, scene.update.resources / "linked")
    assert scene.install() == INSTALLED
    copy = scene.target.resources / "linked"
    assert not copy.samefile(outside)
    copy.write_text("changed\n")
    assert outside.read_text() == "as it was\n"


@needs_two_users
def test_set_id_bits_are_kept_also_where_the_owner_is_not(scene):
    scene.become_unprivileged()
    tool = scene.update.resources / "tool"
    tool.write_text("#!/bin/sh\n")
    os.chown(tool, 1234, 1234)
    tool.chmod(0o4755)
    assert scene.install() == INSTALLED
    copy = (scene.target.resources / "tool").stat()
    assert (copy.st_uid, stat.S_IMODE(copy.st_mode)) == (NOBODY, 0o4755)


@needs_two_users
def test_what_only_root_may_read_stays_so_when_a_link_has_root_copy_it(scene):
    secret = scene.make_folder("secret")
    (secret / "key").write_text("secret\n")
    (secret / "key").chmod(0o600)
    secret.chmod(0o700)
    scene.update.path.rename(scene.folder / "another")
    scene.update.path.symlink_to(secret)
    assert scene.install().status == 0
    for item, mode in ((scene.target.path, 0o700), (scene.target.path / "key", 0o600)):
        assert (item.stat().st_uid, stat.S_IMODE(item.stat().st_mode)) == (0, mode)


def test_set_id_bits_are_kept_also_from_a_disk_that_is_mounted_without_them(scene):
    mounts = PrivateMounts(scene)
    mounts.run("mount", "-t", "tmpfs", "-o", "nosuid", "none", scene.updates)
    update = scene.make_bundle(mounts.seen(scene.updates) / "Editor.app", "2")
    (update.resources / "tool.sh").chmod(0o6755)
    assert scene.install() == INSTALLED
    assert stat.S_IMODE((scene.target.resources / "tool.sh").stat().st_mode) == 0o6755


@needs_two_users
def test_a_device_in_the_update_makes_the_swap_fail(scene):
    try:
        os.mknod(scene.update.resources / "device", stat.S_IFCHR | 0o666, os.makedev(1, 3))
    except PermissionError:
        pytest.skip("no device can be made here")
    old = scene.target.tree()
    outcome = scene.install()
    assert outcome.status == 1
    assert "Error: Copy update to target failed. Performing rollback." in outcome.messages
    assert Bundle(scene.backup()).tree() == old


# The semaphores


def test_who_gives_the_lock_back_in_its_holders_place_lets_a_second_installer_in(scene):
    first = scene.begin()
    scene.update_semaphore.post()
    second = scene.begin(installerSemaphore=None)
    assert plistlib.loads(scene.record_path().read_bytes())["pid"] == second.pid
    assert not first.has_ended() and not second.has_ended()


@pytest.mark.parametrize("which", ["installer_semaphore", "update_semaphore"])
def test_who_cuts_the_file_of_a_semaphore_off_ends_the_installer_but_not_in_the_middle_of_the_swap(scene, which):
    update = scene.update.tree()
    run = scene.begin()
    os.truncate(getattr(scene, which).file, 0)
    scene.end_target()
    assert run.status() == -signal.SIGBUS
    assert scene.target.tree() == update
    assert scene.launched() == []


def test_who_cuts_the_file_of_a_lock_off_that_is_waited_for_ends_the_installer(scene):
    scene.update_semaphore.create(taken=True)
    old = scene.target.tree()
    run = scene.begin()
    os.truncate(scene.update_semaphore.file, 0)
    assert run.status() == -signal.SIGBUS
    assert scene.target.tree() == old


def test_who_puts_a_file_under_the_name_first_decides_whether_the_lock_is_free(scene):
    with open(scene.update_semaphore.file, "wb") as file:
        file.write(bytes(32))
    run = scene.begin()
    scene.end_target()
    stays(lambda: not run.has_ended() and not scene.record_path().exists(), "the installer waits for the lock")
    assert scene.target.version() == "1"


# The record


def test_a_record_is_read_through_a_link_and_the_link_is_replaced(scene):
    outside = scene.folder / "outside"
    outside.write_bytes(plistlib.dumps({"pid": 0}))
    before = outside.read_bytes()
    scene.record_path().symlink_to(outside)
    scene.update_semaphore.create(taken=True)
    run = scene.begin()
    eventually(lambda: not scene.record_path().is_symlink(), "the installer has taken the lock over")
    assert plistlib.loads(scene.record_path().read_bytes())["pid"] == run.pid
    assert outside.read_bytes() == before
    scene.end_target()
    assert run.outcome() == INSTALLED


def test_who_replaces_the_record_of_a_live_holder_lets_a_second_installer_in(scene):
    first = scene.begin()
    scene.record_path().write_bytes(plistlib.dumps({"pid": 0}))
    second = scene.begin(installerSemaphore=None)
    assert plistlib.loads(scene.record_path().read_bytes())["pid"] == second.pid
    assert not first.has_ended() and not second.has_ended()


# The target's folder


def test_a_link_that_takes_the_bundles_place_is_removed_and_not_what_it_leads_to(scene):
    other = scene.make_bundle(scene.folder / "Other.app", "other")
    tree = other.tree()
    run = scene.begin()
    scene.target.path.rename(scene.folder / "away")
    scene.target.path.symlink_to(other.path)
    scene.end_target()
    assert run.outcome() == INSTALLED
    assert not scene.target.path.is_symlink()
    assert scene.target.version() == "2"
    assert other.tree() == tree


def test_a_link_above_the_bundle_leads_the_installer_elsewhere(scene):
    elsewhere = scene.make_folder("elsewhere")
    other = scene.make_bundle(elsewhere / "Editor.app", "other")
    run = scene.begin()
    scene.applications.rename(scene.folder / "away")
    scene.applications.symlink_to(elsewhere)
    scene.end_target()
    assert run.outcome() == INSTALLED
    assert other.version() == "2"
    assert Bundle(scene.folder / "away/Editor.app").version() == "1"


def test_a_program_that_is_a_link_is_started_wherever_it_leads(scene):
    outside = scene.folder / "outside.sh"
    outside.write_text('#!/bin/sh\ncd "$ZK_REPORTS" && echo "version outside" >.script && mv .script script\n')
    outside.chmod(0o755)
    scene.update.executable.unlink()
    scene.update.executable.symlink_to(outside)
    assert scene.install() == INSTALLED
    assert [report.version for report in scene.launched()] == ["outside"]


@needs_two_users
def test_the_installers_group_may_do_what_a_group_could_that_it_may_not_give_files_to(scene):
    scene.become_unprivileged()
    for bundle in (scene.target, scene.update):
        secret = bundle.resources / "secret"
        secret.write_text("secret\n")
        os.chown(secret, NOBODY, 1234)
        secret.chmod(0o640)
    assert scene.install() == INSTALLED
    for bundle in (Bundle(scene.backup()), scene.target):
        copy = (bundle.resources / "secret").stat()
        assert (copy.st_uid, copy.st_gid, stat.S_IMODE(copy.st_mode)) == (NOBODY, NOBODY, 0o640)


# The process table


def test_a_process_that_merely_reads_a_bundles_program_is_taken_for_the_application(scene):
    scene.running = scene.start(["/usr/bin/tail", "-f", scene.target.executable], stdout=subprocess.DEVNULL)
    assert scene.install() == INSTALLED
    assert scene.target.version() == "2"


def test_everybody_can_see_the_settings(scene):
    run = scene.begin()
    shown = subprocess.check_output(["cat", f"/proc/{run.pid}/cmdline"], user=NOBODY if IS_ROOT else None)
    assert scene.update_semaphore.name.encode() in shown.split(b"\0")


# The environment


def test_no_variable_moves_the_backup_or_names_a_file(scene, traced):
    contents = scene.make_bundle(scene.folder / "Installer.app", "1").path / "Contents"
    installer = shutil.copy(scene.installer, contents / "MacOS")
    translations = contents / "Resources/de.lproj/Localizable.strings"
    translations.parent.mkdir()
    translations.write_text("{}")
    names = ("TMPDIR", "HOME", "PATH", "LC_ALL", "LC_MESSAGES", "LANG")
    variables = [*(f"{name}=/etc/passwd" for name in names), "LANGUAGE=/etc/passwd:de"]
    trace = traced("-e", "trace=openat,exit_group", *(word for text in variables for word in ("-E", text)))
    # The reason why a taken lock cannot be had is translated.
    scene.update_semaphore.create(taken=True)
    run = scene.begin(wrapper=trace.command, installer=installer)
    scene.update_semaphore.post()
    eventually(scene.record_path().exists, "the lock was taken")
    scene.end_target()
    assert run.outcome().status == 0
    assert Bundle(scene.backup()).version() == "1"
    opened = [call.arguments for call in trace.calls()]
    assert any(str(translations) in arguments for arguments in opened)
    assert not any("passwd" in arguments for arguments in opened)


# Set-id


@needs_two_users
@pytest.mark.without_memcheck("valgrind starts no set-id program")
def test_a_set_uid_installer_replaces_for_anybody_what_only_its_owner_may_write(scene):
    scene.start_target()
    scene.user = NOBODY
    installer = scene.folder / "zkupdater"
    installer.write_bytes(scene.installer.read_bytes())
    installer.chmod(0o4755)
    if os.statvfs(installer).f_flag & os.ST_NOSUID:
        pytest.skip("set-id bits have no effect here")
    run = scene.begin(installer=installer)
    scene.end_target()
    assert run.outcome() == INSTALLED
    assert scene.target.version() == "2"
