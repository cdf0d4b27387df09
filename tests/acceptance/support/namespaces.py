"""Mounts that nobody but the test's own processes see, and that are gone with the last of them."""

import os
import subprocess
from pathlib import Path

import pytest


class PrivateMounts:
    """A user and mount namespace of its own, in which the user is root, kept by one process of the scene.

    What the scene starts from then on, it starts in there.
    """

    def __init__(self, scene):
        made = subprocess.run(["unshare", "-Urm", "true"], capture_output=True, text=True)
        if made.returncode != 0:
            pytest.skip(f"needs private mounts: {made.stderr.strip()}")
        stay = "echo; exec setpriv --pdeathsig KILL sleep infinity"
        keeper = scene.start(["unshare", "-Urm", "sh", "-c", stay], stdout=subprocess.PIPE)
        with keeper.stdout:
            keeper.stdout.readline()
        self.root = Path(f"/proc/{keeper.pid}/root")
        self.enter = ["nsenter", f"--target={keeper.pid}", "--user", "--mount", "--preserve-credentials", "--"]
        scene.prefix = self.enter

    def run(self, *command):
        subprocess.run([*self.enter, *(str(part) for part in command)], check=True)

    def mount_small_disk(self, folder, kilobytes, inodes=0):
        """Puts an empty file system of this size at a folder, and hands back where it is seen from outside."""
        self.run("mount", "-t", "tmpfs", "-o", f"size={kilobytes}k,nr_inodes={inodes}", "none", folder)
        return self.seen(folder)

    def seen(self, path):
        return self.root / os.path.relpath(path, "/")
