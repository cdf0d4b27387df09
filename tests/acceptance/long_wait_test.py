"""The waits that give up by themselves after a thousand pauses of a tenth of a second."""

import plistlib
import signal
import time

import pytest

from support.installer import INSTALLED, failed_with, seconds_since
from support.processes import eventually

LEAST = 100.0  # seconds
MOST = 150.0  # the machine may be busy


@pytest.mark.full
def test_a_live_holder_a_live_target_and_a_holder_without_a_record_are_each_given_up_after_100_seconds(scene):
    start = time.monotonic()
    ended = {}

    # The first installer holds the lock. It is suspended, so that its own wait does not end before the second's.
    first_target = scene.start([scene.target.executable, "stay"])
    first = scene.begin(pid=first_target.pid)
    first.process.send_signal(signal.SIGSTOP)
    identity = scene.update_semaphore.identity()

    scene.start_target()
    second_semaphore = scene.semaphore("second")
    second = scene.begin(installerSemaphore=second_semaphore.name)

    # This one waits for the same target, without a lock.
    third = scene.begin(installerSemaphore=None, updateSemaphore=None)

    # And this one waits for a holder that left no record.
    unknown_holders = scene.semaphore("unknown").create(taken=True)
    unknown_identity = unknown_holders.identity()
    fourth = scene.begin(installerSemaphore=None, updateSemaphore=unknown_holders.name)
    begun = seconds_since(start)

    def note_ends():
        for name, run in (("second", second), ("third", third)):
            if name not in ended and run.has_ended():
                ended[name] = seconds_since(start)
        if "fourth" not in ended and unknown_holders.identity() != unknown_identity:
            ended["fourth"] = seconds_since(start)
        return len(ended) == 3

    eventually(note_ends, "the waits have been given up", MOST + 10)
    for name, seconds in ended.items():
        assert LEAST <= seconds < begun + MOST, name

    assert second.outcome() == failed_with("Failed to acquire update semaphore.")
    assert second_semaphore.count() == 1, "it has released what it held"
    assert scene.update_semaphore.identity() == identity
    assert scene.is_held(scene.update_semaphore), "and left the lock to its holder"
    assert plistlib.loads(scene.record_path().read_bytes())["pid"] == first.pid

    assert third.outcome() == failed_with("Target process exit wait expired.")
    assert scene.running.poll() is None
    assert scene.target.version() == "1"
    reports = scene.launched()
    assert [report.version for report in reports] == ["1", "1"], "started once more beside the one that still runs"

    assert not fourth.has_ended(), "it took the lock of the holder without a record, and now waits for the target"
    assert scene.is_held(unknown_holders)
    assert scene.backups() == []

    scene.end_target()
    assert fourth.outcome() == INSTALLED
    first_target.kill()
    first.process.send_signal(signal.SIGCONT)
    assert first.outcome() == INSTALLED
    assert scene.is_nothing_held()
