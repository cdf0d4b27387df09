"""Records of the update lock's holder that are not what they should be."""

import os
import plistlib
import shutil

import pytest

from support.installer import INSTALLED
from support.processes import an_unused_pid, eventually, program_of, stays


def written(content):
    return lambda path: path.write_bytes(content)


def a_folder_that_is_not_empty(path):
    path.mkdir()
    (path / "file").write_text("here\n")


def a_link_to_a_file_outside(path):
    path.symlink_to("../Applications/Editor.app/Contents/Resources/version")


UNUSED = 2**31 - 2  # above every id that a process gets

NO_RECORDS = {
    "empty": written(b""),
    "garbage": written(os.urandom(512)),
    "a binary header alone": written(b"bplist00"),
    "a record that is cut off": written(plistlib.dumps({"pid": UNUSED}, fmt=plistlib.FMT_BINARY)[:-1]),
    "an array": written(plistlib.dumps([{"pid": UNUSED}])),
    "a process id that is text": written(plistlib.dumps({"pid": str(UNUSED)})),
    "a process id that is a fraction": written(plistlib.dumps({"pid": UNUSED + 0.5})),
    "the old text form, which knows no integers": written(f"{{ pid = {UNUSED}; }}".encode()),
    "larger than 16 MiB": lambda path: os.truncate(os.open(path, os.O_CREAT | os.O_WRONLY), (16 << 20) + 1),
    "a folder": a_folder_that_is_not_empty,
    "a FIFO": os.mkfifo,
    "a dangling link": lambda path: path.symlink_to("nowhere"),
    "a link to a file outside": a_link_to_a_file_outside,
}


@pytest.mark.parametrize("put", NO_RECORDS.values(), ids=NO_RECORDS)
def test_it_makes_no_difference_to_a_free_lock(scene, put):
    put(scene.record_path())
    assert scene.install() == INSTALLED
    assert scene.is_nothing_held(), "the guarded post removes whatever is there"
    assert scene.target.version() == "2"


@pytest.mark.parametrize("put", NO_RECORDS.values(), ids=NO_RECORDS)
def test_it_does_not_make_the_holder_of_a_taken_lock_look_dead(scene, put):
    identity = scene.update_semaphore.create(taken=True).identity()
    put(scene.record_path())
    run = scene.begin()
    scene.end_target()
    stays(
        lambda: not run.has_ended()
        and scene.is_held(scene.update_semaphore)
        and scene.update_semaphore.identity() == identity
        and os.path.lexists(scene.record_path()),
        "the installer waits",
    )
    scene.update_semaphore.post()
    assert run.outcome() == INSTALLED
    assert scene.is_nothing_held()
    assert scene.update_semaphore.identity() == identity


def test_the_file_behind_a_link_is_left_alone(scene):
    (scene.folder / "precious").write_text("keep\n")
    scene.record_path().symlink_to(scene.folder / "precious")
    assert scene.install() == INSTALLED
    assert (scene.folder / "precious").read_text() == "keep\n"


def test_a_record_that_may_not_be_read_is_replaced_once_the_lock_is_free(scene):
    scene.become_unprivileged()
    scene.record_path().write_bytes(plistlib.dumps({"pid": an_unused_pid()}))
    scene.record_path().chmod(0)
    scene.update_semaphore.create(taken=True)
    run = scene.begin()
    stays(lambda: scene.is_held(scene.update_semaphore) and scene.record_path().stat().st_mode & 0o777 == 0, "it waits")
    scene.update_semaphore.post()
    eventually(lambda: scene.record_path().stat().st_mode & 0o400, "the installer's own record is there")
    assert plistlib.loads(scene.record_path().read_bytes())["pid"] == run.pid
    scene.end_target()
    assert run.outcome() == INSTALLED
    assert scene.is_nothing_held()


ALL_FORMS = {
    "binary": lambda record: plistlib.dumps(record, fmt=plistlib.FMT_BINARY),
    "XML": lambda record: plistlib.dumps(record, fmt=plistlib.FMT_XML),
}


@pytest.mark.parametrize("form", ALL_FORMS.values(), ids=ALL_FORMS)
def test_a_record_of_a_free_lock_in_another_form_is_replaced_by_a_binary_one(scene, form):
    scene.record_path().write_bytes(form({"pid": an_unused_pid()}))
    run = scene.begin()
    assert scene.record_path().read_bytes().startswith(b"bplist00")
    scene.end_target()
    assert run.outcome() == INSTALLED
    assert scene.is_nothing_held()


@pytest.mark.parametrize("form", ALL_FORMS.values(), ids=ALL_FORMS)
def test_a_record_in_any_form_shows_whether_the_holder_lives(scene, form):
    holder = scene.start(["/usr/bin/sleep", "infinity"])
    scene.update_semaphore.create(taken=True)
    scene.record_path().write_bytes(form({"pid": holder.pid, "executablePath": os.path.realpath("/usr/bin/sleep")}))
    run = scene.begin()
    stays(lambda: plistlib.loads(scene.record_path().read_bytes())["pid"] == holder.pid, "the installer waits")
    scene.end_target()
    holder.kill()
    assert run.outcome() == INSTALLED


def test_a_process_that_a_record_names_is_left_alone(scene):
    named = scene.start(["/usr/bin/sleep", "infinity"])
    scene.update_semaphore.create(taken=True)
    scene.record_path().write_bytes(plistlib.dumps({"pid": named.pid, "executablePath": "/another/program"}))
    assert scene.install() == INSTALLED
    assert named.poll() is None
    assert program_of(named.pid) == "sleep"


def test_a_path_in_a_record_is_only_compared(scene, traced):
    path = scene.folder / "named by the record"
    path.write_text("#!/bin/sh\n")
    named = scene.start(["/usr/bin/sleep", "infinity"])
    scene.update_semaphore.create(taken=True)
    scene.record_path().write_bytes(plistlib.dumps({"pid": named.pid, "executablePath": str(path)}))
    trace = traced()
    assert scene.install(wrapper=trace.command) == INSTALLED
    calls = trace.calls()
    assert any(call.name == "read" and path.name in call.arguments for call in calls), "the record was read"
    assert [call for call in calls if call.name != "read" and path.name in call.arguments] == []


def test_an_installer_whose_own_path_is_not_valid_text_does_its_work(scene):
    folder = scene.make_folder(os.fsdecode(b"inst\xffaller"))
    installer = shutil.copy2(scene.installer, folder / "zkupdater")
    assert scene.install(installer=installer) == INSTALLED
    assert scene.is_nothing_held()
