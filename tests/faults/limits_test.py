"""Disks that fill up, and limits, at each moment of a run."""

import contextlib
import os
import shutil
import subprocess
import tempfile

import pytest

from injection.verdict import check_locks, check_next_run, check_outcome, check_place, check_poor_run, errors_in
from injection.world import snapshot
from power.disk import MAKE, Disk, keep_mounts_private, missing
from support.bundles import Bundle
from support.installer import INSTALLED, failed_with, messages_in
from support.namespaces import PrivateMounts

PRLIMIT = shutil.which("prlimit")
BLOCK = 4  # kilobytes: the size of a disk goes by these


class SmallDisks:
    """A world whose applications lie on a disk of their own, made anew for each point."""

    def __init__(self, world):
        self.world = world
        # An owner that has no meaning in the namespace cannot be kept there.
        (world.target.resources / "tool.sh").unlink()
        (world.update.resources / "tool.sh").unlink()
        self.mounts = PrivateMounts(world)
        self.template = world.applications.rename(world.folder / "template")
        world.applications.mkdir()
        world.new = self.new = snapshot(world.update.path)
        self.kilobytes = self._kilobytes(self.template)

    def _kilobytes(self, top):
        return sum(os.lstat(os.path.join(folder, name)).st_blocks for folder, folders, files in os.walk(top)
                   for name in folders + files) // 2

    def check_run(self, checkout, kilobytes, inodes=0, is_read_only=False):
        """A run with a disk of this size that holds the old version, then one with more room. Hands back the first."""
        world = self.world
        disk = self.mounts.mount_small_disk(world.applications, kilobytes, inodes)
        try:
            self.mounts.run("cp", "-a", self.template / "Editor.app", world.applications)
            if is_read_only:
                self.remount("ro")
            world.target = Bundle(disk / "Editor.app")
            world.old = snapshot(world.target.path)
            result = world.run()
            check_outcome(world, result)
            self.remount(f"rw,size={10 * self.kilobytes}k,nr_inodes=0")
            check_next_run(world, checkout)
            return result
        finally:
            self.mounts.run("umount", "--lazy", world.applications)

    def remount(self, options):
        self.mounts.run("mount", "-o", f"remount,{options}", "none", self.world.applications)


@pytest.fixture
def disks(kit):
    with kit.world() as world:
        yield SmallDisks(world)


def outcomes_at(disks, checkout, try_all, rooms):
    """What came of the runs, each with a room of its own."""
    found = []
    try_all(rooms, lambda room: found.append(disks.check_run(checkout, **room).outcome))
    return found


def rooms_by_size(disks, step):
    """From hardly enough for the old version to enough for the backup, with the new one in the old one's place."""
    sizes = [*range(disks.kilobytes + 2 * BLOCK, 2 * disks.kilobytes + 8 * BLOCK, step), 3 * disks.kilobytes]
    return [{"kilobytes": size} for size in sizes]


def rooms_by_items(disks):
    count = len(disks.new)
    return [{"kilobytes": 10 * disks.kilobytes, "inodes": inodes} for inodes in range(count + 2, 2 * count + 4)]


def check_all_phases(found):
    assert {outcome.messages[1] for outcome in found if outcome.status == 1} >= {"Error: Unable to backup target."}
    assert INSTALLED in found


def test_a_disk_without_room_for_all_bytes(disks, checkout, try_all):
    check_all_phases(outcomes_at(disks, checkout, try_all, rooms_by_size(disks, 24 * BLOCK)))


@pytest.mark.full
def test_a_disk_without_room_for_all_bytes_at_every_size(disks, checkout, try_all):
    check_all_phases(outcomes_at(disks, checkout, try_all, rooms_by_size(disks, BLOCK)))


def test_a_disk_without_room_for_all_items(disks, checkout, try_all):
    found = outcomes_at(disks, checkout, try_all, rooms_by_items(disks))
    check_all_phases(found)
    assert failed_with("Unable to create temporary directory.") in found


def test_a_disk_without_room_for_the_new_version(disks, checkout, try_all):
    """It takes more room than the old one."""
    (disks.world.update.resources / "more").write_bytes(bytes(300 * 1024))
    disks.world.new = disks.new = snapshot(disks.world.update.path)
    least = 2 * disks.kilobytes + 4 * BLOCK
    rooms = [{"kilobytes": size} for size in range(least, least + 340, 8 * BLOCK)]
    found = outcomes_at(disks, checkout, try_all, rooms)
    assert INSTALLED in found
    assert any("Error: Copy update to target failed. Performing rollback." in outcome.messages for outcome in found)


def test_a_disk_that_may_not_be_written(disks, checkout):
    result = disks.check_run(checkout, kilobytes=10 * disks.kilobytes, is_read_only=True)
    assert result.outcome == failed_with("Unable to create temporary directory.")


# Full disks of other kinds


def fill(mount, kilobytes):
    """Leaves so much room for contents. Returns the file that takes the rest."""
    ballast = mount / "ballast"
    with open(ballast, "wb", buffering=0) as file, contextlib.suppress(OSError):
        while True:
            file.write(bytes(1 << 20))
    os.sync()
    os.truncate(ballast, max(0, ballast.stat().st_size - (kilobytes << 10)))
    os.sync()
    return ballast


def check_full_disk(world, checkout, disk, template, kilobytes):
    """A run with so much room on a disk, then one with more. Hands back what the first came to."""
    with disk.at() as mount:
        try:
            world.applications = mount / "Applications"
            shutil.rmtree(world.applications, ignore_errors=True)
            subprocess.run(["cp", "-a", template, world.applications], check=True)
            world.target = Bundle(world.applications / "Editor.app")
            world.old = snapshot(world.target.path)
            ballast = fill(mount, kilobytes)
            result = world.run()
            ballast.unlink()
            check_outcome(world, result)
            check_next_run(world, checkout)
            return result.outcome
        finally:
            world.end_processes()  # some run from the disk


@pytest.mark.full
@pytest.mark.parametrize("kind", MAKE)
def test_a_full_disk_of_every_kind(kit, checkout, try_all, kind):
    """Where blocks are shared, a backup takes hardly any room; then it is the new version that finds none."""
    if reason := missing():
        pytest.skip(reason)
    keep_mounts_private()
    with kit.world() as world, tempfile.TemporaryDirectory(prefix="zk-limits-", dir="/dev/shm") as folder:
        disk = Disk(folder, kind, is_forgetful=False)
        template = world.applications.rename(world.folder / "template")
        found = []
        try_all([0, 8, 40, 80, 160, 320, 1000, 20_000],
                lambda room: found.append(check_full_disk(world, checkout, disk, template, room)))
        assert INSTALLED in found
        assert any(outcome.status == 1 for outcome in found)


# The limits of a process


def run_with_its_log_in_a_pipe(world, **options):
    reading, writing = os.pipe()
    with open(reading) as log:
        with open(writing, "wb") as end:
            result = world.run(stderr=end, **options)
        return result._replace(outcome=result.outcome._replace(messages=messages_in(log.read())))


def check_every_line(world, result):
    """Whether the new application was started does not show, since what it writes has the limit as well."""
    check_place(world, result.outcome.status, errors_in(result.outcome.messages))


def run_limited(kit, checkout, *limits, check=check_poor_run):
    """A run under limits. None of them is for its log, but memory or a descriptor for a line may be missing."""
    with kit.world() as world:
        result = run_with_its_log_in_a_pipe(world, wrapper=[PRLIMIT, *limits])
        check(world, result)
        check_locks(world)
        check_next_run(world, checkout)
        return result


@pytest.mark.parametrize("step", [20, pytest.param(1, marks=pytest.mark.full)])
def test_a_limit_on_the_size_of_files(kit, checkout, try_all, step):
    most = kit.old["Contents/MacOS/Editor"].content
    sizes = [*range(0, 600, 20 * step), *range(600, len(most) + 4096, 4096 * step), len(most)]
    try_all(sizes, lambda size: run_limited(kit, checkout, f"--fsize={size}", check=check_every_line))


def test_sixteen_descriptors_are_enough(kit, checkout):
    assert run_limited(kit, checkout, "--nofile=16").outcome == INSTALLED


def test_a_limit_on_descriptors(kit, checkout, try_all):
    try_all(range(4, 16), lambda most: run_limited(kit, checkout, f"--nofile={most}"))


def least_memory(kit):
    """That the program can be loaded in. Without settings it ends with 1, and the loader with another status."""
    def is_loaded(size):
        command = [PRLIMIT, f"--as={size}", kit.installer]
        return subprocess.run(command, check=False, stderr=subprocess.DEVNULL).returncode == 1

    return next(size for size in range(1 << 20, 1 << 30, 1 << 14) if is_loaded(size))


@pytest.mark.usefixtures("no_sanitizers")
@pytest.mark.parametrize("step", [8, pytest.param(1, marks=pytest.mark.full)])
def test_a_limit_on_memory(kit, checkout, try_all, step):
    runs = []
    least = least_memory(kit)
    sizes = [*range(least, least + (1 << 20), step << 12), least << 1]
    try_all(sizes, lambda size: runs.append(run_limited(kit, checkout, f"--as={size}")))
    assert runs[-1].outcome == INSTALLED
