"""Disks whose power can be cut at any moment.

A disk is an image in a file, on a loop device. That file lies in an XFS that lets files share blocks, and a moment is
kept by cloning it in one call. The clone holds exactly what had reached the device: the loop device writes through the
page cache of the file (no direct I/O), where all that it has completed is found; the call locks the file against
writes, writes that cache back, then shares the blocks. What the inner file system still holds in its own cache is not
in there.

Such a drive loses nothing that it has completed. A forgetful drive has a write cache: its image lies in a file system
of its own in the file that is cloned. What the loop device has completed is then in the page cache of that one, and
reaches the cloned file when the inner file system has the drive flushed: all that was not flushed is lost.
"""

import contextlib
import ctypes
import fcntl
import os
import shutil
import struct
import subprocess
import tempfile
from pathlib import Path

from support.processes import eventually

CLONE_NEWNS = 0x00020000
FICLONE = 0x40049409
BTRFS_IOC_START_SYNC = 0x80089418
BTRFS_IOC_WAIT_SYNC = 0x40089416

# No command gives unused blocks back to the forgetful drive's file: it would have to write down where it has holes.
MAKE = {
    "ext4": ["mkfs.ext4", "-q", "-E", "nodiscard", "-J", "size=4"],
    "xfs": ["mkfs.xfs", "-q", "-K"],
    "btrfs": ["mkfs.btrfs", "-q", "-K"],
}
OPTIONS = {"ext4": (), "xfs": (), "btrfs": ("nodiscard",)}
MEGABYTES = 320  # enough for the largest file system of the three when it is empty
TOOLS = {"mkfs.ext4": "e2fsprogs", "mkfs.xfs": "xfsprogs", "mkfs.btrfs": "btrfs-progs", "strace": "strace"}


def missing():
    """What keeps disks from being made here, if anything."""
    if os.geteuid() != 0:
        return "needs root, to mount disks"
    packages = [package for tool, package in TOOLS.items() if shutil.which(tool) is None]
    if packages:
        return f"needs {', '.join(packages)}"
    return None if os.path.exists("/dev/loop-control") else "needs loop devices"


def run(*command):
    subprocess.run(command, check=True)


def keep_mounts_private():
    """From now on nobody else sees what this process mounts, and it is gone with this process at the latest, as are the
    loop devices that `mount` has made for it."""
    if ctypes.CDLL(None, use_errno=True).unshare(CLONE_NEWNS) != 0:
        raise OSError(ctypes.get_errno(), "no private mounts")
    run("mount", "--make-rprivate", "/")


@contextlib.contextmanager
def mounted(image, *options):
    """Mounts an image, which replays its journal, and hands back where."""
    folder = tempfile.mkdtemp(prefix="zk-mount-")
    try:
        run("mount", "-o", ",".join(["loop", *options]), image, folder)
        try:
            yield Path(folder)
        finally:
            # The loop device of an image in there may take a moment to let go of it.
            umount = ["umount", "--quiet", folder]
            eventually(lambda: subprocess.run(umount, check=False).returncode == 0, "nobody uses the disk any more")
    finally:
        os.rmdir(folder)


def make_file(path, megabytes):
    with open(path, "wb") as file:
        for _ in range(megabytes):
            file.write(bytes(1 << 20))


class Disk:
    """An image of one kind of file system, and the moments of it that were kept."""

    def __init__(self, folder, kind, is_forgetful):
        self.folder = Path(folder)
        self.kind = kind
        self.is_forgetful = is_forgetful
        self.file = self.folder / "disk"
        self.moments = []
        make_file(self.file, MEGABYTES + 40 * is_forgetful)
        if not is_forgetful:
            run(*MAKE[kind], self.file)
            return
        run("mkfs.ext4", "-q", "-O", "^has_journal", "-m", "0", "-E", "nodiscard", self.file)
        with mounted(self.file) as drive:
            make_file(drive / "image", MEGABYTES)
            run(*MAKE[kind], drive / "image")

    @contextlib.contextmanager
    def at(self, moment=None):
        """Mounts the disk, or a moment of it, and hands back where."""
        with contextlib.ExitStack() as stack:
            image = moment or self.file
            if self.is_forgetful:
                image = stack.enter_context(mounted(image)) / "image"
            if self.kind == "btrfs":
                # All moments of a disk have its identity; the kernel would take this one for an outdated other one.
                run("btrfs", "device", "scan", "--forget")
            yield stack.enter_context(mounted(image, *OPTIONS[self.kind]))

    def commit(self, mount):
        """Has the mounted disk commit all changes of folders and attributes, as it does every few seconds by itself or
        for anybody who syncs a file. New contents need not be written for that."""
        with open(mount / "somebody's file", "ab") as file:
            file.write(b"x")
            file.flush()
            if self.kind != "btrfs":
                os.fsync(file.fileno())
                return
            transaction = fcntl.ioctl(file.fileno(), BTRFS_IOC_START_SYNC, bytes(struct.calcsize("Q")))
            fcntl.ioctl(file.fileno(), BTRFS_IOC_WAIT_SYNC, transaction)

    def keep_moment(self):
        path = self.folder / f"moment-{len(self.moments)}"
        with open(self.file, "rb") as source, open(path, "wb") as clone:
            fcntl.ioctl(clone.fileno(), FICLONE, source.fileno())
        self.moments.append(path)

    def forget_moments(self):
        for path in self.moments:
            path.unlink()
        self.moments = []


@contextlib.contextmanager
def shelf():
    """A file system for disks, in memory."""
    with tempfile.TemporaryDirectory(prefix="zk-power-", dir="/dev/shm") as folder:
        image = Path(folder, "shelf")
        image.touch()
        os.truncate(image, 8 << 30)
        run("mkfs.xfs", "-q", "-m", "reflink=1", image)
        with mounted(image) as mount:
            yield mount
