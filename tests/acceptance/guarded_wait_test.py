"""The update lock between processes. (How long a live holder is waited for: long_wait_test.py.)"""

import datetime
import os
import plistlib
import signal
import time

import pytest

from support.installer import INSTALLED, seconds_since
from support.processes import an_unused_pid, eventually, stays

AT_ONCE = 60.0  # seconds, also for a slow installer: it would wait a hundred for a holder that it thinks alive


@pytest.fixture
def holder(scene):
    """A live process that is not an installer."""
    process = scene.start(["/usr/bin/sleep", "infinity"])
    process.path = os.path.realpath("/usr/bin/sleep")
    return process


def put_record(scene, record):
    scene.record_path().write_bytes(plistlib.dumps(record, fmt=plistlib.FMT_BINARY))


def assert_taken_over_at_once(scene):
    identity = scene.update_semaphore.create(taken=True).identity()
    start = time.monotonic()
    run = scene.begin()
    eventually(
        lambda: scene.record_path().exists() and plistlib.loads(scene.record_path().read_bytes()).get("pid") == run.pid,
        "the installer has put its own record there",
        AT_ONCE,
    )
    assert scene.is_held(scene.update_semaphore)
    assert scene.update_semaphore.identity() != identity, "a new semaphore has replaced the old one"
    scene.end_target()
    assert run.outcome() == INSTALLED
    assert seconds_since(start) < AT_ONCE
    assert scene.is_nothing_held()


def assert_waited_for(scene, run, pid):
    scene.end_target()
    stays(
        lambda: not run.has_ended()
        and scene.is_held(scene.update_semaphore)
        and plistlib.loads(scene.record_path().read_bytes())["pid"] == pid,
        "the installer waits for the holder",
    )


DEAD = {
    "a process that is gone": lambda holder: {"pid": an_unused_pid()},
    "id 0": lambda holder: {"pid": 0},
    "a negative id": lambda holder: {"pid": -holder.pid},
    "nobody": lambda holder: {},
    "another program that had its id": lambda holder: {"pid": holder.pid, "executablePath": "/usr/bin/true"},
    "an earlier process that had its id": lambda holder: {
        "pid": holder.pid,
        "executablePath": holder.path,
        "creationDate": datetime.datetime(2001, 1, 1),
    },
}


@pytest.mark.parametrize("record", DEAD.values(), ids=DEAD)
def test_the_lock_is_taken_over_at_once_from(scene, holder, record):
    put_record(scene, record(holder))
    assert_taken_over_at_once(scene)


def test_a_holder_that_has_ended_but_has_not_been_reaped_is_dead(scene, holder):
    put_record(scene, {"pid": holder.pid})
    holder.kill()
    os.waitid(os.P_PID, holder.pid, os.WEXITED | os.WNOWAIT)
    assert_taken_over_at_once(scene)


def test_an_installer_that_was_killed_leaves_its_lock_to_the_next(scene):
    killed = scene.begin(installerSemaphore=None)
    identity = scene.update_semaphore.identity()
    killed.end()
    assert scene.is_held(scene.update_semaphore) and scene.record_path().exists()
    assert scene.install() == INSTALLED
    assert scene.update_semaphore.identity() != identity
    assert scene.is_nothing_held()


LIVE = {
    "only its id": lambda holder: {"pid": holder.pid},
    "its id and path": lambda holder: {"pid": holder.pid, "executablePath": holder.path},
    "an empty path, which is not compared": lambda holder: {"pid": holder.pid, "executablePath": ""},
    "an identifier, though it is not in a bundle": lambda holder: {"pid": holder.pid, "bundleId": "org.example.a"},
    "unknown keys": lambda holder: {"pid": holder.pid, "path": "/usr/bin/true", "mood": "good"},
}


@pytest.mark.parametrize("record", LIVE.values(), ids=LIVE)
def test_a_live_holder_is_waited_for_and_succeeded_if_its_record_holds(scene, holder, record):
    put_record(scene, record(holder))
    identity = scene.update_semaphore.create(taken=True).identity()
    run = scene.begin()
    assert_waited_for(scene, run, holder.pid)
    scene.update_semaphore.post()
    assert run.outcome() == INSTALLED
    assert scene.update_semaphore.identity() == identity
    assert scene.is_nothing_held()


def test_the_lock_is_taken_over_at_once_when_its_holder_dies(scene, holder):
    put_record(scene, {"pid": holder.pid, "executablePath": holder.path})
    scene.update_semaphore.create(taken=True)
    run = scene.begin()
    assert_waited_for(scene, run, holder.pid)
    start = time.monotonic()
    holder.kill()
    assert run.outcome() == INSTALLED
    assert seconds_since(start) < AT_ONCE
    assert scene.is_nothing_held()


def let_finish(first, second, target):
    """Ends the target that `first` waits for, then lets `first` and `second` finish one after the other. Otherwise the
    second may take the bundle away just as the first starts it again."""
    second.process.send_signal(signal.SIGSTOP)
    target.kill()
    first.process.send_signal(signal.SIGCONT)
    assert first.outcome() == INSTALLED
    second.process.send_signal(signal.SIGCONT)
    assert second.outcome() == INSTALLED


@pytest.mark.without_memcheck("another installer sees valgrind's program in the place of the holder's")
def test_a_second_installer_waits_for_the_first_to_finish(scene):
    other = scene.start([scene.target.executable, "stay"])
    first = scene.begin(pid=other.pid)
    second_semaphore = scene.semaphore("second")
    scene.start_target()
    second = scene.begin(installerSemaphore=second_semaphore.name)
    assert_waited_for(scene, second, first.pid)
    let_finish(first, second, other)
    assert second_semaphore.count() == 1
    assert scene.is_nothing_held()
    assert sorted(report.version for report in scene.launched()) == ["2", "2"]


@pytest.mark.without_memcheck("another installer sees valgrind's program in the place of the holder's")
def test_a_suspended_installer_is_alive(scene):
    other = scene.start([scene.target.executable, "stay"])
    first = scene.begin(pid=other.pid)
    first.process.send_signal(signal.SIGSTOP)
    scene.start_target()
    second = scene.begin(installerSemaphore=None)
    assert_waited_for(scene, second, first.pid)
    let_finish(first, second, other)


def test_an_installer_with_another_update_folder_finds_no_record_and_waits(scene, holder):
    put_record(scene, {"pid": an_unused_pid()})
    scene.update_semaphore.create(taken=True)
    elsewhere = scene.make_folder("elsewhere")
    run = scene.begin(updatePath=elsewhere)
    stays(lambda: scene.is_held(scene.update_semaphore) and list(elsewhere.iterdir()) == [], "the installer waits")
    assert not run.has_ended()
