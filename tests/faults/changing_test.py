"""Bundles that vanish or change, and folders that links take the place of, while the installer works on them.

A shell makes the change just before a system call of the installer, so that it comes at each moment there is.
"""

import subprocess
from typing import NamedTuple

import pytest

from injection.calls import ERRORS, Call
from injection.points import PARTS, PARTS_OF_SAMPLE, NotTried, part_of, sample
from injection.steps import NAMES_OF_STEPS, NOT_LAUNCHED, NOTHING_CHANGED, STEPS, STOPPED_BEFORE_THE_SWAP, SWAP_FAILED
from injection.verdict import check_locks, errors_in, is_same
from injection.world import NEW, snapshot
from support.bundles import remove_tree
from support.installer import INSTALLED

UPDATE, TARGET, BACKUP = "Updates/Editor.app", "Applications/Editor.app", "Applications/.Editor*"
FOLDER = "Contents/Resources"
FILE = f"{FOLDER}/holes"
MOST_KEPT = (1 << 16) + 2  # bytes; ends within the file's data

PUT_LINK = "cd {bundle}/Contents && mv Resources ../../../aside && ln -s ../../../outside Resources"

CHANGES = {
    "the update vanishes": f"mv {UPDATE} aside",
    "the target vanishes": f"mv {TARGET} aside",
    "a link in the update": PUT_LINK.format(bundle=UPDATE),
    "a link in the target": PUT_LINK.format(bundle=TARGET),
    "a link in the backup": PUT_LINK.format(bundle=BACKUP),
}

# Of one file, while its bundle is copied. What the file then holds, if it is there, is one of two contents.
EDITS = {
    "cut short": (f"truncate --size={MOST_KEPT} {{file}}", lambda content: content[:MOST_KEPT]),
    "appended to": ("test -f {file} && echo more >> {file}", lambda content: content + b"more\n"),
    "removed": ("rm {file}", lambda content: content),
}
COPYING = {UPDATE: "the swap", TARGET: "the backup"}


class Change(NamedTuple):
    what: str
    command: str
    call: Call
    edit: object = None  # of the file's content, if the change is of one file

    def __str__(self):
        return f"{self.what} before {self.call}"

    def made_in(self, world):
        """The word for the tracer, and what exists once the change was made."""
        made = world.folder / "made"
        return self.call.before(f"cd '{world.folder}' && {{ {self.command}; }} 2> /dev/null && : > '{made}'"), made


def changes_at(calls):
    """Each change before each call that has to do with files."""
    calls = [call for call in calls if call.process == 0 and call.name in ERRORS]
    return [
        *(Change(what, command, call) for what, command in CHANGES.items() for call in calls),
        *(Change(f"a file in {bundle} is {what}", command.format(file=f"{bundle}/{FILE}"), call, edit)
          for what, (command, edit) in EDITS.items() for bundle, step in COPYING.items()
          for call in calls if call.step == step),
    ]


def is_the_bundle(taken, whole, edit):
    """Whether a tree is the whole bundle, but for what the change may have made of it."""
    if taken is None:
        return False
    changed = set()
    if taken.get(FOLDER) and taken[FOLDER].mode.startswith("l"):
        # The change has also set the time of the folder that the link is in.
        changed = {"Contents", *(name for name in {*taken, *whole} if name.startswith(FOLDER))}
    elif edit is not None:
        changed = {FILE, FOLDER}
        if FILE in taken and taken[FILE].content not in (whole[FILE].content, edit(whole[FILE].content)):
            return False
    return all(taken.get(name) == whole.get(name) for name in {*taken, *whole} - changed)


def targets(world):
    """What stands where the target may be by now. One that was moved before it was looked up is updated there."""
    return [snapshot(place) for place in (world.target.path, world.folder / "aside")]


def bundles_left(world):
    """What stands in all the places where a bundle may be by now."""
    backups = [*world.folder.glob(".aside-*"), *(backup.path for backup in world.backups())]
    return [*targets(world), *(snapshot(place) for place in (world.update.path, *backups))]


def check_log(world, result, change):
    """That the status and the log tell what has become of the bundles. Hands back the errors."""
    errors = errors_in(result.outcome.messages)
    if result.outcome.status == 0:
        assert errors in ([], [NOT_LAUNCHED])
        assert any(is_the_bundle(taken, world.new, change.edit) for taken in targets(world)), "the new version"
    else:
        assert result.outcome.status == 1
        later = NAMES_OF_STEPS[NAMES_OF_STEPS.index(change.call.step) :]
        assert any(errors[0] in STEPS[step] for step in later), f"{errors[0]} That comes before the change."
        if errors[0] in STOPPED_BEFORE_THE_SWAP:
            assert any(is_the_bundle(taken, world.old, change.edit) for taken in targets(world)), "it is spoiled"
        if errors[0] in NOTHING_CHANGED:
            assert world.backups() == []
    return errors


def put_back(world, checkout, errors):
    """Does what a user has to do after the change: brings the update again, and an old version where none stands."""
    if snapshot(world.update.path) != world.new:
        if world.update.path.exists():
            remove_tree(world.update.path)
        subprocess.run(["cp", "-a", world.kit.template / UPDATE, world.update.path], check=True)
    if SWAP_FAILED in errors:
        (backup,) = world.backups()
        world.recover_by_hand(checkout, backup)
    elif not world.target.path.exists():
        subprocess.run(["cp", "-a", world.kit.template / TARGET, world.target.path], check=True)


def check_next_run_after(world, checkout, errors):
    put_back(world, checkout, errors)
    again = world.run()
    assert again.outcome == INSTALLED
    assert again.sleeps == 1, "the next run had to wait for the lock"
    assert again.launched == [NEW]
    is_same(snapshot(world.target.path), world.new)


@pytest.fixture
def make_change(kit, checkout):
    def check(change):
        with kit.world() as world:
            outside = world.folder / "outside"
            outside.mkdir()
            (outside / "precious").write_text("nobody's but its owner's")
            before = snapshot(outside)
            word, made = change.made_in(world)
            result = world.run(word)
            if not made.exists():
                raise NotTried

            errors = check_log(world, result, change)
            standing = bundles_left(world)
            for taken in standing:
                assert taken is None or not any(name.endswith("precious") for name in taken), "copied from outside"
            assert any(is_the_bundle(taken, world.old, change.edit) for taken in standing), "the old version is gone"
            check_locks(world)
            if result.outcome.status == 1:
                check_next_run_after(world, checkout, errors)
            is_same(snapshot(outside), before)

    return check


@pytest.mark.parametrize("part", range(PARTS_OF_SAMPLE))
def test_a_change_before_some_calls(calls, try_all, make_change, part):
    chosen = sample(changes_at(calls), lambda change: (change.what, change.call.name), 2)
    try_all(part_of(chosen, part, PARTS_OF_SAMPLE), make_change)


@pytest.mark.full
@pytest.mark.parametrize("part", range(PARTS))
def test_a_change_before_every_call(calls, try_all, make_change, part):
    try_all(part_of(changes_at(calls), part, PARTS), make_change)
