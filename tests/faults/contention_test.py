"""Many installers that are started at once for one update."""

import os
import plistlib
import random
import time

import pytest

from injection.verdict import NOT_LAUNCHED, STOPPED_BEFORE_THE_SWAP, SWAP_FAILED, errors_in, is_same
from injection.world import snapshot
from support.installer import INSTALLED, Run
from support.processes import eventually
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
        settings = {"pid": self.target.pid, "updatePath": self.world.updates, "installerSemaphore": semaphore.name,
                    "updateSemaphore": self.world.lock.name, "enableLog": "YES"}
        run = Run([self.world.kit.installer, *(part for key, value in settings.items() for part in (f"-{key}", value))],
                  folder, cwd=folder)
        self.world.processes.append(run.process)
        return run

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
        for status, errors in outcomes:
            assert (status, errors) == (0, []) or (status == 1 and errors[0] in {*STOPPED_BEFORE_THE_SWAP, SWAP_FAILED})
        is_same(snapshot(world.update.path), world.new)
        whole = [backup for backup in world.backups() if snapshot(backup.path) == world.old]
        assert whole or snapshot(world.target.path) == world.old
        if snapshot(world.target.path) not in (world.old, world.new):
            world.recover_by_hand(checkout, whole[0])
        assert world.run().outcome == INSTALLED
        is_same(snapshot(world.target.path), world.new)
