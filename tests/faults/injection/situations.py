"""What an installer may find besides a target and its update."""

import datetime
import plistlib
from typing import Callable, NamedTuple

from injection.steps import LOCKING, SEARCHING
from support.bundles import Bundle
from support.processes import an_unused_pid


class Situation(NamedTuple):
    name: str
    prepare: Callable  # a world
    step: str  # of the run, that goes another way than usual

    def __str__(self):
        return self.name


def _leave_lock(world):
    """As a holder that was killed leaves it. Even if its id is used again, the date is not that of the new process."""
    world.lock.create(taken=True)
    record = {"pid": an_unused_pid(), "creationDate": datetime.datetime(2001, 1, 1)}
    world.record().write_bytes(plistlib.dumps(record, fmt=plistlib.FMT_BINARY))
    world.dead_holders_lock = world.state_of_lock()


def _rename_update(world):
    """It is then found by its identifier."""
    world.update = Bundle(world.update.path.rename(world.updates / "Next.app"))


USUAL = Situation("the usual", lambda world: None, "")
OTHERS = [Situation("a dead holder", _leave_lock, LOCKING),
          Situation("an update under another name", _rename_update, SEARCHING)]
SITUATIONS = [USUAL, *OTHERS]
