"""Whether a run that something went wrong in has told the truth, and has left what docs/recovery.md promises."""

from injection.steps import (NAMES_OF_STEPS, NOT_CREATED, NOT_LAUNCHED, NOTHING_CHANGED, STEPS,
                             STOPPED_BEFORE_THE_SWAP, SWAP_FAILED)
from injection.world import NEW, OLD, differences, snapshot, without
from support.installer import BEGIN, END, INSTALLED


def is_same(left, right, left_out=()):
    different = differences(without(left, *left_out), without(right, *left_out))
    assert not different, f"differs in {different}"


def errors_in(messages):
    assert messages[:1] == [BEGIN] and messages[-1:] == [END], messages
    assert all(message.startswith("Error: ") for message in messages[1:-1]), messages
    return [message.removeprefix("Error: ") for message in messages[1:-1]]


def check_place(world, status, errors, left_out=()):
    """That the status and the errors tell what has become of the bundles."""
    target = snapshot(world.target.path)
    is_same(snapshot(world.update.path), world.new)
    if status == 0:
        assert errors in ([], [NOT_LAUNCHED])
        is_same(target, world.new, left_out)
        (backup,) = world.backups()
        is_same(snapshot(backup.path), world.old, left_out)
        return NEW
    reason = errors[0]
    if reason == SWAP_FAILED:
        (backup,) = world.backups()
        is_same(snapshot(backup.path), world.old, left_out)
        return None
    assert reason in STOPPED_BEFORE_THE_SWAP, reason
    is_same(target, world.old)
    if reason in NOTHING_CHANGED:
        assert world.backups() == [], f"{reason} And yet there is a hidden folder."
    else:
        assert len(world.backups()) <= 1
    return OLD


def check_reason(failed, errors):
    """That the only call that failed has stopped the run, if at all, in its own step."""
    # Who the target's user is, is asked at the beginning; without the answer nothing is started at the end.
    if errors and not (failed.step == NAMES_OF_STEPS[0] and errors == [NOT_LAUNCHED]):
        assert errors[0] in STEPS[failed.step], f"{errors[0]} The step that failed: {failed.step}."


def check_launch(result, errors, standing):
    """That the application was started, or the log tells that it was not."""
    if NOT_CREATED in errors:
        assert errors[1:] == [NOT_CREATED]
        assert result.launched == []
    elif NOT_LAUNCHED in errors:
        assert errors[-1] == NOT_LAUNCHED and len(errors) <= 2
        assert result.launched == []
    else:
        assert len(errors) <= 1
        assert result.launched == [standing]


def check_locks(world):
    """That nothing is held any more, but for the lock of a dead holder that could not be taken over."""
    assert world.installer_semaphore.count() in (1, None)
    assert world.lock.count() in (1, None) or world.state_of_lock() == world.dead_holders_lock


def check_next_run(world, checkout):
    """That the next run installs, after a recovery by hand where no whole application stands."""
    if snapshot(world.target.path) not in (world.old, world.new):
        (backup,) = world.backups()
        world.recover_by_hand(checkout, backup)
    again = world.run()
    assert again.outcome == INSTALLED
    assert again.sleeps == 1, "the next run had to wait for the lock"
    assert again.launched == [NEW]
    is_same(snapshot(world.target.path), world.new)


def check_run(world, result, checkout, left_out=()):
    """All of it. Some facts of items may have been left out."""
    check_outcome(world, result, left_out)
    check_next_run(world, checkout)


def check_outcome(world, result, left_out=()):
    status, messages = result.outcome
    assert status in (0, 1), result.outcome
    errors = errors_in(messages)
    standing = check_place(world, status, errors, left_out)
    check_launch(result, errors, standing)
    check_locks(world)


def check_poor_run(world, result):
    """A run for which memory ran out. Lines of its log may be lost, as many as there was no memory for; what the others
    tell is true."""
    status, messages = result.outcome
    assert status in (0, 1), result.outcome
    is_same(snapshot(world.update.path), world.new)
    target = snapshot(world.target.path)
    errors = [message.removeprefix("Error: ") for message in messages if message not in (BEGIN, END)]
    if status == 0:
        assert errors in ([], [NOT_LAUNCHED])
        is_same(target, world.new)
    if status == 0 or SWAP_FAILED in errors or target != world.old:
        (backup,) = world.backups()
        is_same(snapshot(backup.path), world.old)
    if STOPPED_BEFORE_THE_SWAP.intersection(errors):
        is_same(target, world.old)
    if NOT_LAUNCHED in errors:
        assert result.launched == []
    assert len(result.launched) <= 1
