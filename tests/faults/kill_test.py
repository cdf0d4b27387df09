"""An installer that is killed at each of its system calls."""

import contextlib
import tempfile

import pytest

from injection.points import PARTS, PARTS_OF_SAMPLE, NotTried, part_of, sample
from injection.situations import OTHERS, SITUATIONS, USUAL
from injection.steps import NOT_LAUNCHED
from injection.world import NEW, Kit, differences, snapshot, undisturbed_calls
from power.disk import Disk, keep_mounts_private, missing
from support.installer import BEGIN, END, INSTALLED, Outcome, run_with

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


def windows(calls):
    """The two stretches of a run in which nothing can tell the next installer that the holder of the lock was killed:
    the lock is taken but the record not yet written, and the record is deleted but the lock not yet given back. Taking
    the lock and giving it back are no calls."""
    own = [call for call in calls if call.process == 0]
    recorded = next(index for index, call in enumerate(own) if call.name == "rename")
    opening = max(index for index, call in enumerate(own[:recorded]) if call.path.startswith("/dev/shm/sem."))
    opened = next(index for index, call in enumerate(own) if index > opening and call.name == "close")
    deleted = max(index for index, call in enumerate(own) if call.path.endswith(".semaphore"))
    return own[opened + 1 : recorded + 1], own[deleted + 1 : deleted + 2]


def check_a_killed_installer(result):
    assert result.outcome.status == 128 + 9
    assert result.outcome.messages in ([], [BEGIN], [BEGIN, END])


def check_a_killed_new_process(result, call):
    """Once it has told that it is about to execute the program, its starter takes it for the application."""
    errors = [] if call.name == "execve" else [NOT_LAUNCHED]
    assert result.outcome == Outcome(0, run_with(*errors))
    assert result.launched == []


def check_what_a_killed_installer_leaves(kit, checkout, situation, call, windows):
    with kit.world(situation) as world:
        result = world.run(call.kill())
        # How many of these it takes to make a semaphore is left to chance.
        is_by_chance = call.name == "getrandom"
        if is_by_chance and result.outcome == INSTALLED:
            raise NotTried
        if call.process == 0:
            check_a_killed_installer(result)
        else:
            check_a_killed_new_process(result, call)
        assert not differences(snapshot(world.update.path), world.new), "the update has changed"
        assert is_old_version_whole(world)
        is_unknown = world.is_lock_taken() and not world.record().exists()
        assert is_by_chance or is_unknown == any(call in window for window in windows), "whether the holder is unknown"

        make_whole(world, checkout)
        again = world.run()
        assert again.outcome == INSTALLED
        assert not differences(snapshot(world.target.path), world.new)
        assert again.launched == [NEW]
        # The first sleep but those for the lock is the one that the target's end is waited for in.
        assert again.sleeps == (ALL_ATTEMPTS if is_unknown else 1)


@pytest.fixture
def kill_at(kit, checkout, situation, calls):
    return lambda call: check_what_a_killed_installer_leaves(kit, checkout, situation, call, windows(calls))


@pytest.mark.parametrize("part", range(PARTS_OF_SAMPLE))
def test_killed_at_calls_of_every_kind(calls, try_all, kill_at, part):
    chosen = dict.fromkeys([*sample(calls, lambda call: call.name, 8), *(window[0] for window in windows(calls))])
    try_all(part_of([*chosen], part, PARTS_OF_SAMPLE), kill_at)


@pytest.mark.parametrize("situation", OTHERS, ids=str)
def test_killed_at_calls_of_every_kind_in_another_situation(calls, situation, try_all, kill_at):
    chosen = [call for call in calls if call.step == situation.step]
    try_all(sample(chosen, lambda call: call.name, 2), kill_at)


@pytest.mark.full
@pytest.mark.parametrize("part", range(PARTS))
@pytest.mark.parametrize("situation", SITUATIONS, ids=str)
def test_killed_at_every_call(calls, try_all, kill_at, part):
    try_all(part_of(calls, part, PARTS), kill_at)


@pytest.fixture(scope="module")
def kit_on_xfs(installer):
    if reason := missing():
        pytest.skip(reason)
    keep_mounts_private()
    with tempfile.TemporaryDirectory(prefix="zk-kill-", dir="/dev/shm") as folder:
        with Disk(folder, "xfs", is_forgetful=False).at() as mount, contextlib.closing(Kit(installer, mount)) as kit:
            yield kit


@pytest.mark.full
@pytest.mark.parametrize("part", range(PARTS))
def test_killed_at_every_call_where_copies_share_blocks(kit_on_xfs, checkout, try_all, part):
    calls = undisturbed_calls(kit_on_xfs)
    assert any(call.name == "ioctl" and call.result == 0 for call in calls), "blocks are shared"
    stretches = windows(calls)
    try_all(part_of(calls, part, PARTS),
            lambda call: check_what_a_killed_installer_leaves(kit_on_xfs, checkout, USUAL, call, stretches))
