"""An installer that is killed while it copies."""

import signal
from collections import Counter
from collections.abc import Callable
from typing import NamedTuple

import pytest

from support.bundles import Bundle
from support.installer import INSTALLED
from support.traces import killing_at

pytestmark = pytest.mark.usefixtures("expected_calls")

# What a copy writes a file with: a clone, or where the file system has none, a copy.
CONTENTS = "ioctl,copy_file_range"


class Holding(NamedTuple):
    """How much both versions of the bundle hold, the bundle itself included."""

    items: int
    folders: int
    files: int


class Moment(NamedTuple):
    """The kill comes before the call has done anything."""

    calls: str
    number: Callable  # which of these calls, the first one being 1, by what a bundle holds
    is_backed_up: bool
    in_place: str  # what stands in the target's place: the old version, the update, or a part of one of them


MOMENTS = [
    Moment("mkdirat", lambda has: 1, False, "old"),  # the temporary folder
    Moment("mkdirat", lambda has: 2, False, "old"),
    Moment(CONTENTS, lambda has: 2, False, "old"),
    Moment("utimensat", lambda has: has.items // 2, False, "old"),
    Moment("symlinkat", lambda has: 1, False, "old"),
    Moment("syncfs", lambda has: 1, False, "old"),
    Moment("fsync", lambda has: 1, False, "old"),
    Moment("utimensat", lambda has: has.items, False, "old"),  # the backup's own date, set once all else is on the disk
    Moment("fsync", lambda has: 2, True, "old"),
    # The first of these has cleared the backup's name.
    Moment("unlinkat", lambda has: 2, True, "old"),
    Moment("unlinkat", lambda has: has.items + 1, True, "part"),
    Moment("mkdirat", lambda has: has.folders + 2, True, "part"),
    Moment(CONTENTS, lambda has: has.files + 4, True, "part"),
    Moment("symlinkat", lambda has: 2, True, "part"),
    Moment("utimensat", lambda has: has.items + has.items // 2, True, "part"),
    Moment("syncfs", lambda has: 2, True, "part"),
    Moment("fsync", lambda has: 3, True, "part"),
    Moment("utimensat", lambda has: 2 * has.items, True, "part"),
    Moment("fsync", lambda has: 4, True, "update"),
]


def what_is_in_place(scene, old, update):
    tree = scene.target.tree() if scene.target.path.exists() else {}
    return "old" if tree == old else "update" if tree == update else "part"


@pytest.mark.parametrize("moment", MOMENTS, ids=lambda moment: f"{moment.calls}-{moment.in_place}")
def test_it_leaves_the_old_version_complete_in_its_place_or_in_the_backup_and_the_lock_to_the_next(scene, moment):
    old, update = scene.target.tree(), scene.update.tree()
    old_date = scene.target.path.stat().st_mtime_ns
    kinds = Counter(mode[0] for mode, *_ in old.values())
    number = moment.number(Holding(len(old), kinds["d"], kinds["-"]))
    run = scene.begin(wrapper=killing_at(moment.calls, number))
    scene.end_target()
    assert run.status() == -signal.SIGKILL

    # The backup's date shows whether it is finished.
    finished = [path for path in scene.backups() if path.stat().st_mtime_ns == old_date]
    assert len(finished) == moment.is_backed_up
    assert all(Bundle(path).tree() == old for path in finished)
    assert what_is_in_place(scene, old, update) == moment.in_place
    assert scene.update.tree() == update
    assert scene.is_held(scene.installer_semaphore)
    if moment.in_place == "part":
        return  # an application that is no longer whole cannot be started, and nobody asks for its update
    scene.installer_semaphore.post()
    scene.start_target()
    assert scene.install() == INSTALLED
    assert scene.target.tree() == update
