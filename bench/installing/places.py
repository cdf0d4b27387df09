"""Where the trees are: on the disk itself, on file systems in images on it, or in memory."""

import contextlib
import os
import subprocess
from pathlib import Path

IMAGE_SIZE = 16 << 30
MAKERS = {
    # This does at once what ext4 would otherwise do in the background after the first mount.
    "ext4": ["mkfs.ext4", "-q", "-E", "lazy_itable_init=0,lazy_journal_init=0"],
    "xfs": ["mkfs.xfs", "-q"],
    "btrfs": ["mkfs.btrfs", "-q"],
}
PACKAGES = {"ext4": "e2fsprogs", "xfs": "xfsprogs", "btrfs": "btrfs-progs"}
PLACES = ["disk", *MAKERS, "tmpfs"]


@contextlib.contextmanager
def place(kind, base):
    """A folder on that kind of file system. It is removed at the end, with its mount and image."""
    folder = base / kind
    folder.mkdir()
    if kind == "disk":
        yield folder
        return

    image = base / f"{kind}.image"
    try:
        if kind == "tmpfs":
            subprocess.run(["mount", "-t", "tmpfs", "-o", "size=16g,mode=755", "none", folder], check=True)
        else:
            with open(image, "wb") as file:
                file.truncate(IMAGE_SIZE)
            subprocess.run([*MAKERS[kind], image], check=True, stdout=subprocess.DEVNULL)
            # Unmounting also detaches the loop device that mount attached.
            subprocess.run(["mount", "-o", "loop", image, folder], check=True)
        yield folder
    finally:
        if folder.is_mount():
            subprocess.run(["umount", folder], check=True)
        image.unlink(missing_ok=True)


class Device:
    """The disk below a folder, or none. It counts everybody's use, so only an image is counted exactly."""

    def __init__(self, folder):
        command = ["findmnt", "--noheadings", "--nofsroot", "--output", "SOURCE", "--target", folder]
        source = Path(subprocess.run(command, check=True, capture_output=True, text=True).stdout.strip())
        self.statistics = None
        if source.is_block_device():
            number = source.stat().st_rdev
            device = Path(f"/sys/dev/block/{os.major(number)}:{os.minor(number)}").resolve()
            # Flushes are counted for the whole disk only.
            self.statistics = (device.parent if (device / "partition").exists() else device) / "stat"

    def counts(self):
        """Flushes and bytes written so far."""
        if self.statistics is None:
            return 0, 0
        fields = self.statistics.read_text().split()
        return int(fields[15]), int(fields[6]) * 512
