"""Bundles that vanish, and folders that links take the place of, while the installer works on them.

A shell makes the change just before a system call of the installer, so that it comes at each moment there is.
"""

from typing import NamedTuple

import pytest

from injection.calls import ERRORS, Call
from injection.points import PARTS, PARTS_OF_SAMPLE, part_of, sample
from injection.steps import SWAP_FAILED
from injection.verdict import check_locks, is_same
from injection.world import snapshot

CHANGES = {
    "the update vanishes": "mv Updates/Editor.app aside",
    "the target vanishes": "mv Applications/Editor.app aside",
    "a link in the update": "cd Updates/Editor.app/Contents && mv Resources ../../../aside && "
                            "ln -s ../../../outside Resources",
    "a link in the target": "cd Applications/Editor.app/Contents && mv Resources ../../../aside && "
                            "ln -s ../../../outside Resources",
    "a link in the backup": "cd Applications/.Editor*/Contents && mv Resources ../../../aside && "
                            "ln -s ../../../outside Resources",
}
LINK = "Contents/Resources"


class Change(NamedTuple):
    what: str
    call: Call

    def __str__(self):
        return f"{self.what} before {self.call}"


def changes_at(calls):
    """Each change before each call that has to do with files."""
    return [Change(what, call) for what in CHANGES for call in calls if call.process == 0 and call.name in ERRORS]


def is_the_bundle(taken, whole):
    """Whether a tree is the whole bundle, or the bundle with the link in place of the folder."""
    if taken is None:
        return False
    if taken.get(LINK) and taken[LINK].mode.startswith("l"):
        whole = {name: facts for name, facts in whole.items() if not name.startswith(LINK)}
        taken = {name: facts for name, facts in taken.items() if name != LINK}
        moved = "Contents"  # whose own time the change has set
        return {**taken, moved: None} == {**whole, moved: None}
    return taken == whole


def bundles_left(world):
    """What stands in the places where a bundle may stand by now, the target's first. One that was moved aside before it
    was looked up is updated there."""
    places = [world.target.path, world.update.path, world.folder / "aside", *world.folder.glob(".aside-*")]
    return [snapshot(place) for place in [*places, *(backup.path for backup in world.backups())]]


@pytest.fixture
def make_change(kit):
    def check(change):
        with kit.world() as world:
            outside = world.folder / "outside"
            outside.mkdir()
            (outside / "precious").write_text("nobody's but its owner's")
            before = snapshot(outside)
            result = world.run(change.call.before(f"cd '{world.folder}' && {{ {CHANGES[change.what]}; }} 2> /dev/null"))

            assert result.outcome.status in (0, 1)
            is_same(snapshot(outside), before)
            standing = bundles_left(world)
            for taken in standing:
                assert taken is None or not any(name.endswith("precious") for name in taken), "copied from outside"
            if result.outcome.status == 0:
                assert "Error: " + SWAP_FAILED not in result.outcome.messages
                is_moved = change.what in ("the target vanishes", "a link in the target")
                assert is_moved or is_the_bundle(standing[0], kit.new)
            if change.what not in ("a link in the target", "a link in the backup"):
                assert any(is_the_bundle(taken, kit.old) for taken in standing), "the old version is gone"
            check_locks(world)

    return check


@pytest.mark.parametrize("part", range(PARTS_OF_SAMPLE))
def test_a_change_before_some_calls(calls, try_all, make_change, part):
    chosen = sample(changes_at(calls), lambda change: (change.what, change.call.name), 2)
    try_all(part_of(chosen, part, PARTS_OF_SAMPLE), make_change)


@pytest.mark.full
@pytest.mark.parametrize("part", range(PARTS))
def test_a_change_before_every_call(calls, try_all, make_change, part):
    try_all(part_of(changes_at(calls), part, PARTS), make_change)
