"""An installer that is killed at each of its system calls."""

import pytest

from injection.points import PARTS, PARTS_OF_SAMPLE, part_of, sample
from injection.world import NEW, differences, snapshot
from support.installer import INSTALLED

ALL_ATTEMPTS = 1000


def is_old_version_whole(world):
    """Whether the old version is there where docs/recovery.md says that it is: the date of the backup tells."""
    old = world.old
    finished = [backup for backup in world.backups() if backup.path.stat().st_mtime_ns == old["."].time]
    if not finished:
        return not differences(snapshot(world.target.path), old)
    return not differences(snapshot(finished[0].path), old)


def make_whole(world, checkout):
    """Whatever stands in the target's place, afterwards an application stands there whole."""
    target = snapshot(world.target.path)
    if target in (world.old, world.new):
        return
    (backup,) = world.backups()
    world.recover_by_hand(checkout, backup)
    assert not differences(snapshot(world.target.path), world.old), "recovered by hand"


def is_in_a_window(calls):
    """Whether nothing may tell the next installer that the holder of the lock was killed after these calls: the lock
    was taken but the record not yet written, or the record was deleted but the lock not yet given back."""
    names = [call.name for call in calls if call.process == 0]
    return "rename" not in names or "unlinkat" in names[-3:]


def check_what_a_killed_installer_leaves(kit, checkout, call):
    with kit.world() as world:
        result = world.run(call.kill())
        # How many of these it takes to make a semaphore is left to chance.
        if call.name == "getrandom" and result.outcome == INSTALLED:
            return
        if call.process == 0:
            assert result.outcome.status == 128 + 9
        else:
            assert result.outcome.status == 0
        assert not differences(snapshot(world.update.path), world.new), "the update has changed"
        assert is_old_version_whole(world)
        is_unknown = world.is_lock_taken() and not world.record().exists()

        assert is_in_a_window(result.calls) or not is_unknown, "nothing tells that the holder of the lock is gone"
        make_whole(world, checkout)
        again = world.run()
        assert again.outcome == INSTALLED
        assert not differences(snapshot(world.target.path), world.new)
        assert again.launched == [NEW]
        # The first sleep but those for the lock is the one that the target's end is waited for in.
        assert again.sleeps == (ALL_ATTEMPTS if is_unknown else 1)


@pytest.fixture
def kill_at(kit, checkout):
    return lambda call: check_what_a_killed_installer_leaves(kit, checkout, call)


@pytest.mark.parametrize("part", range(PARTS_OF_SAMPLE))
def test_killed_at_calls_of_every_kind(calls, try_all, kill_at, part):
    try_all(part_of(sample(calls, lambda call: call.name, 8), part, PARTS_OF_SAMPLE), kill_at)


@pytest.mark.full
@pytest.mark.parametrize("part", range(PARTS))
def test_killed_at_every_call(calls, try_all, kill_at, part):
    try_all(part_of(calls, part, PARTS), kill_at)
