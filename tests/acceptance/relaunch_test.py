"""The environment that the new version comes up in, whatever the installer's own is."""

import fcntl
import os
import plistlib

import pytest

from support.installer import INSTALLED, failed_with
from support.scene import RELAUNCH_ARGUMENTS

NO_SIGNALS = "0000000000000000"


def launched_once(scene):
    (report,) = scene.launched()
    return report


def test_it_has_its_own_session_and_the_root_as_current_folder(scene):
    assert scene.install() == INSTALLED
    report = launched_once(scene)
    assert report.one("session") == report.one("group") == report.one("process")
    assert report.one("folder") == "/"


def test_its_standard_streams_lead_nowhere_and_no_other_descriptor_is_open(scene):
    # The installer inherits a pipe from the test, under low numbers and under a high one.
    reading, writing = os.pipe()
    high = fcntl.fcntl(writing, fcntl.F_DUPFD, 200)
    try:
        run = scene.begin_plainly(scene.settings(), pass_fds=[reading, writing, high])
        run.wait_until_waiting()
        assert os.path.exists(f"/proc/{run.pid}/fd/{high}"), "the installer has inherited it"
        scene.end_target()
        assert run.outcome() == INSTALLED
    finally:
        for descriptor in (reading, writing, high):
            os.close(descriptor)
    assert sorted(launched_once(scene).all("descriptor")) == ["0 /dev/null", "1 /dev/null", "2 /dev/null"]


@pytest.mark.parametrize("what", ["--ignore-signal", "--block-signal"])
def test_its_signals_have_their_defaults_whatever_the_installers_starter_did_to_them(scene, what):
    assert scene.install(wrapper=["env", what]) == INSTALLED
    report = launched_once(scene)
    for field in ("SigBlk", "SigIgn", "SigCgt", "SigPnd", "ShdPnd"):
        assert report.status(field) == NO_SIGNALS, field


def test_its_signals_have_their_defaults_after_an_ordinary_start(scene):
    assert scene.install() == INSTALLED
    report = launched_once(scene)
    assert [report.status(field) for field in ("SigBlk", "SigIgn", "SigCgt")] == [NO_SIGNALS] * 3


def test_it_keeps_the_environment(scene):
    # The environment says where the report goes, so the report itself is the proof.
    assert scene.install() == INSTALLED
    assert launched_once(scene).arguments == RELAUNCH_ARGUMENTS


def test_it_keeps_its_user(scene):
    scene.become_unprivileged()
    assert scene.install() == INSTALLED
    user = str(scene.user or os.geteuid())
    assert launched_once(scene).status("Uid").split() == [user] * 4


def test_a_script_can_be_the_new_version(scene):
    scene.update.executable.write_text(
        '#!/bin/sh\ncd "$ZK_REPORTS"\nprintf "argument %s\\n" "$@" > .script\nmv .script script\n'
    )
    assert scene.install() == INSTALLED
    assert launched_once(scene).arguments == RELAUNCH_ARGUMENTS


CANNOT_BE_STARTED = {
    "missing": lambda path: path.unlink(),
    "not executable": lambda path: path.chmod(0o644),
    "no program": lambda path: path.write_bytes(b"\x00garbage"),
    "a folder": lambda path: (path.unlink(), path.mkdir()),
    "a dangling link": lambda path: (path.unlink(), path.symlink_to("nowhere")),
}


def expect_no_start(scene):
    outcome = scene.install()
    assert outcome.status == 0
    assert outcome.messages == failed_with("Unable to relaunch target application.").messages
    assert scene.orphans() == set(), "no process is left behind"
    assert scene.launched() == []


@pytest.mark.parametrize("spoil", CANNOT_BE_STARTED.values(), ids=CANNOT_BE_STARTED)
def test_a_failed_start_is_logged_and_does_not_change_the_status(scene, spoil):
    spoil(scene.update.executable)
    expect_no_start(scene)


@pytest.mark.without_memcheck("valgrind itself fails where the interpreter is missing")
def test_a_script_whose_interpreter_is_missing_is_not_started(scene):
    scene.update.executable.write_text("#!/nowhere/sh\n")
    expect_no_start(scene)


def test_an_executable_outside_the_bundle_is_refused(scene):
    elsewhere = "../../../../Updates/Editor.app/Contents/MacOS/Editor"
    scene.update.info.write_bytes(plistlib.dumps({"CFBundleExecutable": elsewhere}))
    outcome = scene.install()
    assert outcome.status == 0
    assert outcome.messages == failed_with("Unable to relaunch target application.").messages
    assert scene.launched() == []
