"""Single runs of the installer or of a script that replace a bundle with its update.

Before each run the old bundle is made again, both bundles are read so that they are in memory, as a freshly unpacked
update is, and the file system is synced. None of that is measured. """

import os
import shlex
import struct
import subprocess
import time
from pathlib import Path
from typing import NamedTuple

from installing.places import Device
from installing.trees import EXECUTABLE, NAME, make_tree, regular_files
from support.bundles import tree
from support.processes import adopt_orphans, children, end_child, eventually
from support.semaphores import Semaphore


class Outcome(NamedTuple):
    wall: float  # seconds
    processor: float  # seconds, user and system time of all its processes, without the kernel's own threads
    flushes: int
    written: int  # bytes that reached the device while it ran
    memory: int  # bytes, the peak memory of its largest process


def script(copy, is_synced):
    sync = ["sync -f ."] if is_synced else []
    steps = [f"{copy} {NAME}/ backup", *sync, f"rm -rf {NAME}", f"{copy} ../updates/{NAME}/ {NAME}", *sync]
    return " && ".join(steps)


SCRIPTS = {
    "cp -a": script("cp -a", False),
    "cp -a, sync -f": script("cp -a", True),
    "rsync -a": script("rsync -a", False),
    "rsync -a, sync -f": script("rsync -a", True),
}


class Programs:
    """The programs that are measured and those that measure. The small C programs are built into a folder."""

    def __init__(self, installer, folder):
        self.installer = Path(installer).resolve()
        if not os.access(self.installer, os.X_OK):
            raise FileNotFoundError(f"{installer} has not been built")
        self.application = self._build("application", folder)
        self.measured = self._build("measured", folder)

    @staticmethod
    def _build(name, folder):
        source = Path(__file__).with_name(f"{name}.c")
        subprocess.run(["gcc", "-O1", "-s", "-o", folder / name, source], check=True)
        return folder / name


def end_children():
    """Ends the processes that an interrupted run has left, and those that they leave."""
    while left := children():
        for pid in left:
            end_child(pid)


def forget_contents(top):
    """Drops the contents of a tree's files from memory. All of them must be on the disk already."""
    for path in regular_files(top):
        with open(path, "rb") as file:
            os.posix_fadvise(file.fileno(), 0, 0, os.POSIX_FADV_DONTNEED)


class Stage:
    """A folder with an old bundle, its update, and the application that is replaced again and again."""

    def __init__(self, folder, programs, recipe, seed, is_cold):
        self.programs = programs
        self.is_cold = is_cold
        self.old = folder / "old" / NAME
        self.update = folder / "updates" / NAME
        self.applications = folder / "applications"
        self.target = self.applications / NAME
        self.log = folder / "log"
        self.semaphore = Semaphore(f"zk-bench-{os.getpid()}")
        self.device = Device(folder.parent)
        folder.mkdir()
        self.applications.mkdir()
        make_tree(self.old, programs.application, recipe(), f"{seed} old")
        make_tree(self.update, programs.application, recipe(), f"{seed} update")
        sizes = [os.stat(path).st_size for path in regular_files(self.update)]
        self.files, self.bytes = len(sizes), sum(sizes)
        adopt_orphans()

    def prepare(self):
        subprocess.run(["rm", "-rf", *self.applications.iterdir()], check=True)
        # Shared blocks would be cheaper to remove than an application's own.
        subprocess.run(["cp", "-a", "--reflink=never", self.old, self.target], check=True)
        # This comes before the sync, since reading sets access times.
        read = ["find", self.target, self.update, "-type", "f", "-exec", "cat", "{}", "+"]
        subprocess.run(read, check=True, stdout=subprocess.DEVNULL)
        subprocess.run(["sync", "-f", self.applications], check=True)
        if self.is_cold:
            forget_contents(self.target)
            forget_contents(self.update)

    def run_script(self, text, wrapper=()):
        self.prepare()
        counts = self.device.counts()
        return self._outcome(self._start([*wrapper, "sh", "-c", text]), counts)

    def run_installer(self, wrapper=()):
        """Measures from the end of the old application to that of the installer.

        The installer looks the application up while it runs, then waits for a semaphore that is held here. The clock
        starts when this is posted, after the application has ended, so none of the installer's checks comes too early.
        """
        self.prepare()
        application = subprocess.Popen([self.target / EXECUTABLE, "stay"])
        self.semaphore.create(taken=True)
        try:
            process = self._start([*wrapper, self.programs.installer, "-pid", str(application.pid), "-updatePath",
                                   self.update.parent, "-installerSemaphore", self.semaphore.name, "-enableLog", "YES"])
            eventually(lambda: self._is_awaited() or process.poll() is not None, "the installer waits or has ended")
            application.kill()
            application.wait()
            counts = self.device.counts()
            begin = time.monotonic_ns()
            self.semaphore.post()
            outcome = self._outcome(process, counts, begin)
        finally:
            self.semaphore.unlink()
        if "Error:" in self.log.read_text():
            raise RuntimeError(f"the installer failed:\n{self.log.read_text()}")
        return outcome

    def _is_awaited(self):
        """Whether somebody waits for the semaphore. The C library counts the waiters from its fifth byte on."""
        return struct.unpack("=II", Path(self.semaphore.file).read_bytes()[:8])[1] > 0

    def _start(self, command):
        with open(self.log, "wb") as log:
            return subprocess.Popen([self.programs.measured, *command], cwd=self.applications,
                                    stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=log, text=True)

    def _outcome(self, process, counts, begin=None):
        report, _ = process.communicate()
        flushes, written = self.device.counts()
        self._reap_relaunched()
        if process.returncode != 0 or not report.startswith("0 "):
            raise RuntimeError(f"failed: {shlex.join(map(str, process.args[1:]))}\n{self.log.read_text()}")
        _, started, end, processor, memory = (int(word) for word in report.split())
        wall = end - (started if begin is None else begin)
        return Outcome(wall / 1e9, processor / 1e6, flushes - counts[0], written - counts[1], memory * 1024)

    @staticmethod
    def _reap_relaunched():
        try:
            while True:
                os.wait()
        except ChildProcessError:
            pass

    def check(self):
        """Checks that a run has left what it should leave."""
        (backup,) = [path for path in self.applications.iterdir() if path != self.target]
        for copy, original in ((backup, self.old), (self.target, self.update)):
            if tree(copy) != tree(original):
                raise RuntimeError(f"{copy} differs from {original}")

    def system_calls(self, run):
        """The number of system calls of a run for each regular file that it copies. Every file is copied twice."""
        summary = self.log.with_name("summary")
        run(["strace", "-f", "-c", "--summary-columns=calls,name", "-o", summary])
        (total,) = [line.split()[0] for line in summary.read_text().splitlines() if line.split()[-1:] == ["total"]]
        return int(total) / (2 * self.files)

    def remove(self):
        subprocess.run(["rm", "-rf", self.old.parents[1]], check=True)
