"""Mounts that only the test's own processes see, and that vanish with the last of them."""

import os
import subprocess
from pathlib import Path

import pytest


class PrivateMounts:
    """A new user and mount namespace in which the user is root, kept by one process of the scene.

    Whatever the scene starts later runs in it. """

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
        """Mounts an empty file system of this size on a folder. Returns its path as seen from outside."""
        self.run("mount", "-t", "tmpfs", "-o", f"size={kilobytes}k,nr_inodes={inodes}", "none", folder)
        return self.seen(folder)

    def seen(self, path):
        return self.root / os.path.relpath(path, "/")
