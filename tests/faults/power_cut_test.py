"""The power is cut at hundreds of moments of a run. Whatever had reached the drive by then, the old version is whole, in
its place or in the backup, or the new one is in its place; and after status 0 both are."""

import contextlib
import itertools
import os
import signal
import tempfile
import time

import pytest

from power.disk import MAKE, Disk, keep_mounts_private, missing, shelf
from support.bundles import tree
from support.installer import INSTALLED
from support.processes import adopt_orphans
from support.scene import Scene

DRIVES = {"a drive that keeps what it has completed": False, "a drive that loses what was not flushed": True}


@pytest.fixture(scope="module")
def disks():
    if reason := missing():
        pytest.skip(reason)
    keep_mounts_private()
    with shelf() as folder:
        yield folder


@pytest.fixture
def disk(disks, kind, is_forgetful):
    with tempfile.TemporaryDirectory(dir=disks) as folder:
        yield Disk(folder, kind, is_forgetful)


def furnish(scene):
    for bundle in (scene.target, scene.update):
        for number in range(60):
            (bundle.resources / f"{number}").write_bytes(os.urandom(3000))
        for number in range(3):
            (bundle.resources / f"large {number}").write_bytes(os.urandom(300_000))


def keep_moments(run, scene, disk, mount):
    """Keeps moments from the beginning of the backup to the end of the run. The run stands still for each."""
    for number in itertools.count():
        if run.has_ended():
            break
        if not scene.backups():
            continue
        run.process.send_signal(signal.SIGSTOP)
        if number % 2:
            disk.commit(mount)
        disk.keep_moment()
        run.process.send_signal(signal.SIGCONT)
        time.sleep(0.0002)
    assert run.outcome() == INSTALLED
    disk.keep_moment()


def faults(folder, old, new, is_last):
    """What is wrong with the bundles in a folder after the power came back."""
    target = folder / "Editor.app"
    standing = tree(target) if target.exists() else None
    backups = [tree(path) for path in folder.iterdir() if path.name.startswith(".Editor.app-")]
    if is_last:
        if standing != new:
            yield "status 0, and the new version is not whole"
        if backups != [old]:
            yield "status 0, and the backup is not whole"
    elif standing not in (old, new) and old not in backups:
        yield "no version is whole"
    for backup in backups:
        if backup["."][1] == old["."][1] and backup != old:
            yield "the backup has the date of a finished one, and is not whole"


def cut(installer, application, disk, monkeypatch):
    """One run, and the power cut at many moments of it. Hands back how many, and the faults found."""
    with disk.at() as mount:
        monkeypatch.setattr(tempfile, "tempdir", str(mount))
        with contextlib.closing(Scene(installer, application)) as scene:
            furnish(scene)
            os.sync()
            old, new = scene.target.tree(), scene.update.tree()
            run = scene.begin()
            scene.end_target()
            keep_moments(run, scene, disk, mount)
            folder = scene.applications.relative_to(mount)
        monkeypatch.undo()
    found = []
    for moment in disk.moments:
        with disk.at(moment) as mount:
            found += [f"{moment.name}: {fault}"
                      for fault in faults(mount / folder, old, new, moment == disk.moments[-1])]
    count = len(disk.moments)
    disk.forget_moments()
    return count, found


def cut_often(enough, installer, application, disk, monkeypatch, record_property):
    adopt_orphans()
    tried, found = 0, []
    while tried < enough:
        count, faults = cut(installer, application, disk, monkeypatch)
        tried += count
        found += faults
    record_property("tried", tried)
    record_property("failed", len({fault.partition(":")[0] for fault in found}))
    assert not found, f"{len(found)} faults at {tried} moments:\n" + "\n".join(found)


@pytest.mark.parametrize("kind, is_forgetful", [("ext4", True)])
def test_a_version_is_whole_at_some_moments(installer, application, disk, monkeypatch, record_property):
    cut_often(1, installer, application, disk, monkeypatch, record_property)


@pytest.mark.full
@pytest.mark.parametrize("is_forgetful", DRIVES.values(), ids=DRIVES)
@pytest.mark.parametrize("kind", MAKE)
def test_a_version_is_whole_at_every_moment(installer, application, disk, monkeypatch, record_property):
    cut_often(300, installer, application, disk, monkeypatch, record_property)
