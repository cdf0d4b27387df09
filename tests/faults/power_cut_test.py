"""The power is cut at hundreds of moments of a run. Whatever had reached the drive by then, the old version is whole,
in its place or in the backup, or the new one is in its place; and after status 0 both are."""

import collections
import contextlib
import itertools
import os
import tempfile

import pytest

from power.disk import MAKE, Disk, keep_mounts_private, missing, shelf
from support.bundles import tree
from support.installer import INSTALLED
from support.processes import adopt_orphans
from support.scene import Scene

DRIVES = {"a drive that keeps what it has completed": False, "a drive that loses what was not flushed": True}

MOST_OF_A_RUN = 400  # moments; looking at one takes much longer than keeping it

# A run takes a hundredth of a second. This way each of its system calls takes so many microseconds more.
SLOWLY = ["strace", "-D", "-f", "-qq", "-o", "/dev/null", "-e", "inject=all:delay_exit=300"]

# Btrfs shares the blocks of the old version, which are on the disk: a copy is then nothing but changes of the tree, and
# a transaction has all that happened before it. Without a single sync such a run only loses its last steps. (On ext4,
# which shares nothing, both versions were lost.) Contents of a copy's own are written late: then waiting matters.
WITHOUT_SHARING = ["-e", "inject=ioctl:error=EOPNOTSUPP", "-e", "inject=copy_file_range:error=EXDEV"]
WITHOUT_SYNCS = ["-e", "inject=syncfs,fsync,fdatasync,sync_file_range:retval=0"]


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
    """Keeps moments from the beginning of the backup to the end of the run, before every second of which the disk
    commits what it has."""
    while not scene.backups() and not run.has_ended():
        pass
    for number in itertools.count():
        if run.has_ended():
            break
        if number % 2:
            disk.commit(mount)
        disk.keep_moment()
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


def cut(installer, application, disk, monkeypatch, options):
    """A run of the installer, of which the disk keeps many moments. Hands back what finds the faults of one.

    @param options for strace, of what the installer's calls come to
    """
    with disk.at() as mount:
        monkeypatch.setattr(tempfile, "tempdir", str(mount))
        with contextlib.closing(Scene(installer, application)) as scene:
            furnish(scene)
            os.sync()
            old, new = scene.target.tree(), scene.update.tree()
            run = scene.begin(wrapper=[*SLOWLY, *options])
            scene.end_target()
            keep_moments(run, scene, disk, mount)
            folder = scene.applications.relative_to(mount)
        monkeypatch.undo()
    last = disk.moments[-1]

    def faults_at(moment):
        with disk.at(moment) as mount:
            return list(faults(mount / folder, old, new, moment == last))

    return faults_at


@pytest.fixture
def faults_of_moments(installer, application, disk, monkeypatch):
    def find(count, step=1, options=()):
        """The faults of so many moments at least, and of each `step`th of a run; of a slow run, of fewer."""
        adopt_orphans()
        found = []
        while len(found) < count:
            faults_at = cut(installer, application, disk, monkeypatch, options)
            found += [faults_at(moment) for moment in disk.moments[:: -max(step, len(disk.moments) // MOST_OF_A_RUN)]]
            disk.forget_moments()
        return found

    return find


@pytest.fixture
def check(faults_of_moments, record_property):
    def check(*arguments, **options):
        found = faults_of_moments(*arguments, **options)
        failed = [fault for fault in found if fault]
        record_property("tried", len(found))
        record_property("failed", len(failed))
        kinds = collections.Counter(itertools.chain(*failed))
        assert not failed, f"{len(failed)} of {len(found)} moments failed: {dict(kinds)}"

    return check


@pytest.mark.parametrize("kind, is_forgetful", [("ext4", True)])
def test_a_version_is_whole_at_a_few_moments(check):
    check(1, step=10)


@pytest.mark.full
@pytest.mark.parametrize("is_forgetful", DRIVES.values(), ids=DRIVES)
@pytest.mark.parametrize("kind", MAKE)
def test_a_version_is_whole_at_hundreds_of_moments(check):
    check(150)


@pytest.mark.full
@pytest.mark.parametrize("is_forgetful", DRIVES.values(), ids=DRIVES)
@pytest.mark.parametrize("kind", MAKE)
def test_a_version_is_whole_at_hundreds_of_moments_when_no_blocks_can_be_shared(check):
    check(150, options=WITHOUT_SHARING)


@pytest.mark.full
@pytest.mark.parametrize("is_forgetful", [False])
@pytest.mark.parametrize("kind", MAKE)
def test_an_installer_that_waits_for_nothing_loses_both_versions(faults_of_moments):
    """Else the tests above could not fail."""
    found = faults_of_moments(100, options=[*WITHOUT_SHARING, *WITHOUT_SYNCS])
    lost = [fault for fault in found if "no version is whole" in fault]
    print(f"{len(lost)} of {len(found)} moments have no whole version")
    assert lost
