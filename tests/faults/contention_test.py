"""Many installers that are started at once for one update."""

import os
import plistlib
import random
import re
import time
from pathlib import Path

import pytest

from injection.steps import NOT_LAUNCHED, STOPPED_BEFORE_THE_SWAP, SWAP_FAILED
from injection.verdict import errors_in, is_same
from injection.world import snapshot
from support.installer import INSTALLED
from support.processes import eventually, stays
from support.semaphores import Semaphore

INSTALLERS = 50
LIMIT = 300.0  # seconds; a waiter gives up, or takes over, after a hundred


class Crowd:
    """Installers that have all found the target running, and of which one holds the lock until it has ended."""

    def __init__(self, world, count):
        self.world = world
        self.target = world.start_target()
        self.ready = [Semaphore(f"zk-faults-crowd-{os.getpid()}-{number}") for number in range(count)]
        world.semaphores += self.ready
        self.runs = [self._start(semaphore, number) for number, semaphore in enumerate(self.ready)]
        eventually(lambda: all(semaphore.count() == 0 for semaphore in self.ready), "all installers are ready")

    def _start(self, semaphore, number):
        folder = self.world.folder / f"crowd-{number}"
        folder.mkdir()
        return self.world.start_installer(self.world.settings(self.target, semaphore), folder)

    def let_go(self):
        self.target.kill()
        self.target.wait()

    def holder(self):
        """The run that the record of the lock names, or nothing."""
        try:
            pid = plistlib.loads(self.world.record().read_bytes())["pid"]
        except FileNotFoundError:
            return None
        return next((run for run in self.runs if run.pid == pid and not run.has_ended()), None)

    def open_locks(self):
        """The lock that each living installer has open, by its inode: the same name may stand for several in turn, and
        whoever has made one sees it under another name."""
        ready = {str(os.stat(semaphore.file).st_ino) for semaphore in self.ready}
        found = {}
        for run in self.runs:
            if not run.has_ended():
                inodes = re.findall(r" (\d+) +/dev/shm/sem\.", Path(f"/proc/{run.pid}/maps").read_text())
                found.update({run: inode for inode in inodes if inode not in ready})
        return found

    def outcomes(self):
        """What those came to that were not killed. The next installer may already have removed what one wants to start.
        """
        found = [run.outcome() for run in self.runs if run.status(LIMIT) >= 0]
        return [(outcome.status, [error for error in errors_in(outcome.messages) if error != NOT_LAUNCHED])
                for outcome in found]


def test_all_of_them_install_one_after_the_other(kit):
    with kit.world() as world:
        crowd = Crowd(world, INSTALLERS)
        crowd.let_go()
        assert crowd.outcomes() == [(0, [])] * INSTALLERS
        is_same(snapshot(world.target.path), world.new)
        is_same(snapshot(world.update.path), world.new)
        backups = [snapshot(backup.path) for backup in world.backups()]
        assert len(backups) == INSTALLERS
        assert backups.count(world.old) == 1 and backups.count(world.new) == INSTALLERS - 1
        assert world.lock.count() == 1 and not world.record().exists()
        assert all(semaphore.count() == 1 for semaphore in crowd.ready)


def test_a_holder_that_is_killed_is_taken_over_at_once(kit):
    with kit.world() as world:
        crowd = Crowd(world, 2)
        holder = eventually(crowd.holder, "one of them holds the lock")
        holder.process.kill()
        holder.process.wait()
        next_holder = eventually(crowd.holder, "the other one holds the lock")
        assert next_holder is not holder
        crowd.let_go()
        assert crowd.outcomes() == [(0, [])]
        is_same(snapshot(world.target.path), world.new)


def takers_of_a_dead_holders_lock(world):
    """How many of two waiters hold a lock of their own after the holder was killed, and how many have given up."""
    crowd = Crowd(world, 3)
    eventually(lambda: len(crowd.open_locks()) == 3, "all have opened the lock")
    holder = eventually(crowd.holder, "one of them holds the lock")
    old = crowd.open_locks()[holder]
    holder.process.kill()
    holder.process.wait()
    eventually(lambda: {*crowd.open_locks().values()} - {old}, "a waiter takes over")
    # Whoever found the holder dead as well has taken over by the time that all have tried a few times more.
    stays(lambda: {*crowd.open_locks().values()} - {old}, "the lock is held")
    ended = sum(run.has_ended() for run in crowd.runs) - 1
    takers = len({*crowd.open_locks().values()} - {old})
    for run in crowd.runs:
        run.end()
    return takers, ended


@pytest.mark.full
def test_how_often_two_waiters_take_over_from_one_dead_holder(kit, record_property):
    """No lock spans reading the record and removing the name, so this can happen. How often depends on the machine."""
    rounds = 60
    takers = []
    ended = 0
    for _ in range(rounds):
        with kit.world() as world:
            number, given_up = takers_of_a_dead_holders_lock(world)
            takers.append(number)
            ended += given_up
    record_property("measured", f"two waiters took over from one dead holder: {takers.count(2)} of {rounds}; "
                                f"waiters that gave up: {ended}")
    assert {*takers} <= {1, 2}


@pytest.mark.full
@pytest.mark.parametrize("seed", range(2))
def test_many_holders_that_are_killed_are_taken_over(kit, checkout, seed):
    """Those that waited behind a killed one wait for a lock that is no longer there, and take over at the same moment
    when their attempts are used up. They may then spoil each other's copies, but never the last whole version."""
    chance = random.Random(seed)
    with kit.world() as world:
        crowd = Crowd(world, INSTALLERS)
        crowd.let_go()
        killed = set()
        while len(killed) < INSTALLERS // 5 and not all(run.has_ended() for run in crowd.runs):
            time.sleep(chance.uniform(0, 0.05))
            if holder := crowd.holder():
                holder.process.kill()
                killed.add(holder.pid)
        outcomes = crowd.outcomes()
        assert killed and len(outcomes) + len(killed) >= INSTALLERS
        assert len(killed) > 1 or (0, []) in outcomes, "nobody took over or installed"
        for status, errors in outcomes:
            assert (status, errors) == (0, []) or (status == 1 and errors[0] in {*STOPPED_BEFORE_THE_SWAP, SWAP_FAILED})
        is_same(snapshot(world.update.path), world.new)
        whole = [backup for backup in world.backups() if snapshot(backup.path) == world.old]
        assert whole or snapshot(world.target.path) == world.old
        if snapshot(world.target.path) not in (world.old, world.new):
            world.recover_by_hand(checkout, whole[0])
        assert world.run().outcome == INSTALLED
        is_same(snapshot(world.target.path), world.new)
