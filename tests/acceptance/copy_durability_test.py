"""When the copies are on the disk, shown by the calls of whole runs."""

import pytest

from support.bundles import Bundle, add_socket
from support.installer import INSTALLED, failed_with
from support.traces import SYNCS, first, last, refusing

CHANGES = (
    "write", "pwrite64", "copy_file_range", "ftruncate", "ioctl", "mkdirat", "symlinkat", "linkat", "mknodat",
    "fchmod", "fchmodat", "fchmodat2", "fchown", "fchownat", "utimensat", "fsetxattr", "fremovexattr", "unlinkat",
)


def is_change(call):
    return call.has_succeeded() and (call.name in CHANGES or (call.name == "openat" and "O_CREAT" in call.arguments))


def first_removal(calls, target):
    return first(calls, lambda call: call.name == "unlinkat" and call.is_on(target))


def is_sync_of(call, item):
    return call.name == "fsync" and call.has_succeeded() and call.path == str(item)


def assert_waited_for_at_once(calls, top):
    """One syncfs() comes behind the last change to what the folder `top` holds. Only then does the folder get its own
    date, which shows that the copy is complete, and is waited for once more. Nothing waits for a single file."""
    waited = last(calls, lambda call: call.name == "syncfs" and call.has_succeeded() and call.is_on(top))
    assert waited > last(calls, lambda call: is_change(call) and call.is_on(top) and call.path != str(top))
    dated = last(calls, lambda call: call.name == "utimensat" and call.path == str(top))
    assert waited < dated < last(calls, lambda call: is_sync_of(call, top))
    assert {call.path for call in calls if call.name in SYNCS and call.is_on(top)} == {str(top)}


def assert_each_item_waited_for(calls, top):
    """Each file and folder of the tree, and the folder around it, is synced behind the last change to it."""
    # A link, and a FIFO, is on the disk with its folder.
    items = [path for path in top.rglob("*") if path.is_dir() or path.is_file() and not path.is_symlink()]
    assert len(items) > 10
    for item in (top, *items):
        assert last(calls, lambda call: is_sync_of(call, item)) > last(
            calls, lambda call: is_change(call) and call.path == str(item)
        )
    assert last(calls, lambda call: is_sync_of(call, top.parent)) > last(
        calls, lambda call: call.name == "mkdirat" and call.path == str(top)
    )


# The backup takes one call of the first kind and two of the second.
REFUSING_AFTER_THE_BACKUP = [*refusing("syncfs", "EIO", when="2+"), *refusing("fsync", "EIO", when="3+")]

DISKS = {
    "that can wait for all of it": ([], assert_waited_for_at_once),
    "of which nothing is known": (refusing("fstatfs", "ENOSYS"), assert_each_item_waited_for),
    "that reports the error of another file": (refusing("syncfs", "EIO"), assert_each_item_waited_for),
}


@pytest.mark.parametrize("options, assert_waited_for", DISKS.values(), ids=DISKS)
def test_each_copy_is_on_a_disk(scene, traced, options, assert_waited_for):
    update = scene.update.tree()
    trace = traced(*options)
    assert scene.install(wrapper=trace.command) == INSTALLED
    assert scene.target.tree() == update
    calls = trace.calls()
    removal = first_removal(calls, scene.target.path)
    given_back = first(calls, lambda call: call.name == "unlinkat" and call.path == str(scene.record_path()))
    started = first(calls, lambda call: call.name.startswith(("clone", "vfork")))

    # The old version is not touched before its backup is on the disk.
    assert_waited_for(calls[:removal], scene.backup())
    assert not any(is_change(call) and call.is_on(scene.target.path) for call in calls[:removal])
    # The lock is not given back, and the application not started, before the new version is.
    assert_waited_for(calls[removal : min(given_back, started)], scene.target.path)


def test_a_backup_that_does_not_reach_the_disk_leaves_the_target_unchanged(scene, traced):
    old = scene.target.tree()
    trace = traced(*refusing("syncfs,fsync", "EIO"))
    assert scene.install(wrapper=trace.command) == failed_with("Unable to backup target.")
    assert scene.target.tree() == old
    assert not any(is_change(call) and call.is_on(scene.target.path) for call in trace.calls())


def test_a_backup_that_cannot_be_waited_for_as_a_whole_leaves_the_target_unchanged(scene, traced):
    # When the wait for the disk fails, each item is waited for. What a folder holds that cannot be read is not.
    refusing_the_disk = refusing("syncfs", "EIO")
    trace = traced(*refusing_the_disk)
    assert scene.install(wrapper=trace.command) == INSTALLED
    names = [call.name for call in trace.calls()]
    read_before = names[: names.index("syncfs")].count("getdents64")

    old = scene.target.tree()
    folders = sum(mode.startswith("d") for mode, *_ in old.values())
    assert folders > 3
    for folder in range(folders):
        scene.start_target()
        # It takes two calls to read a folder.
        refusing_a_folder = refusing("getdents64", "EIO", when=read_before + 1 + 2 * folder)
        trace = traced(*refusing_the_disk, *refusing_a_folder)
        assert scene.install(wrapper=trace.command) == failed_with("Unable to backup target.")
        assert scene.target.tree() == old


def test_a_new_version_that_does_not_reach_the_disk_is_not_installed(scene, traced):
    old = scene.target.tree()
    trace = traced(*REFUSING_AFTER_THE_BACKUP)
    assert scene.install(wrapper=trace.command) == failed_with(
        "Copy update to target failed. Performing rollback.", "Unable to relaunch target application."
    )
    assert not scene.target.path.exists()
    assert Bundle(scene.backup()).tree() == old


ON_THE_WAY_BACK = [([], True), (REFUSING_AFTER_THE_BACKUP, False)]


@pytest.mark.parametrize("options, is_on_disk", ON_THE_WAY_BACK, ids=["well", "in vain"])
def test_the_rollback_is_also_waited_for(scene, traced, options, is_on_disk):
    inner = scene.make_bundle(scene.target.path / scene.target.path.name, "inner").tree()
    add_socket(scene.update.resources)
    trace = traced(*options)
    assert scene.install(wrapper=trace.command) == failed_with("Copy update to target failed. Performing rollback.")
    assert scene.target.tree() == inner
    calls = trace.calls()
    started = first(calls, lambda call: call.name.startswith(("clone", "vfork")))
    waits = [call for call in calls[first_removal(calls, scene.target.path) : started] if call.name in SYNCS]
    # The second waits for the top folder: to flush the drive, or after the error to find out whose it was. The third
    # waits for the date of that folder.
    expected = [
        ("syncfs", str(scene.target.path), is_on_disk),
        ("fsync", str(scene.target.path), is_on_disk),
        ("fsync", str(scene.target.path), is_on_disk),
    ]
    assert [(call.name, call.path, call.has_succeeded()) for call in waits] == expected[: 3 if is_on_disk else 2]
