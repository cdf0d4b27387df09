"""A small application, its update and one installer after the other: cheap enough to be made thousands of times."""

import contextlib
import itertools
import os
import subprocess
import tempfile
from pathlib import Path
from typing import NamedTuple

from support.bundles import EXECUTABLE, Bundle, make_bundle, remove_tree, tree
from support.documents import commands, listings_by_name
from support.installer import INSTALLED, Outcome, Run
from support.scene import TIED, Report, end_process
from support.semaphores import Semaphore

from injection.calls import calls_in, number_of, numbers
from injection.situations import USUAL
from injection.steps import Progress

SOURCES = Path(__file__).parent
APPLICATION_SOURCE = SOURCES.parents[1] / "acceptance/support/application.c"
LIMIT = 60.0  # seconds; a run takes a hundredth of one
OLD, NEW = "1", "2"

_numbers = itertools.count()


def attributes(path):
    return {name: os.getxattr(path, name, follow_symlinks=False) for name in os.listxattr(path, follow_symlinks=False)}


class Facts(NamedTuple):
    """What a copy has to keep of an item."""

    mode: str
    time: int
    owner: int
    group: int
    content: object
    attributes: dict
    first_name: str  # of those that the item has in the tree


def snapshot(top):
    """The facts of all items of a tree, or nothing where there is no tree."""
    if not os.path.lexists(top):
        return None
    result = {}
    first_names = {}
    for name, properties in sorted(tree(top).items()):
        path = Path(top) / name
        status = path.lstat()
        same = first_names.setdefault(status.st_ino, name)
        result[name] = Facts(*properties, attributes(path), same)
    return result


def differences(left, right):
    """The names under which two snapshots differ."""
    if left is None or right is None:
        return ["."] if left is not right else []
    return sorted(name for name in {*left, *right} if left.get(name) != right.get(name))


def without(taken, *fields):
    """A snapshot without some of the facts."""
    if taken is None:
        return None
    return {name: facts._replace(**dict.fromkeys(fields)) for name, facts in taken.items()}


def _knows_attributes(folder):
    with tempfile.NamedTemporaryFile(dir=folder) as file:
        try:
            os.setxattr(file.name, "user.zk", b"")
        except OSError:
            return False
    return True


def _place():
    """Memory, where that keeps attributes: a disk is slower, and others use it."""
    return "/dev/shm" if _knows_attributes("/dev/shm") else None


def _complete(bundle):
    """What make_bundle() leaves out: every kind of item and every kind of metadata."""
    os.setxattr(bundle.resources / "version", "user.note", b"kept")
    os.link(bundle.resources / "version", bundle.resources / "version again")
    os.mkfifo(bundle.resources / "pipe")
    (bundle.resources / "1/2/3").mkdir(parents=True)
    (bundle.resources / "1/2/3/deep").write_text("deep\n")
    with open(bundle.resources / "holes", "wb") as file:
        file.seek(1 << 16)
        file.write(b"data")
        file.truncate(1 << 17)
    if os.geteuid() == 0:
        os.chown(bundle.resources / "tool.sh", 1, 1)
        (bundle.resources / "tool.sh").chmod(0o4750)
    (bundle.resources / "empty").chmod(0o500)
    os.utime(bundle.path, ns=(1_200_000_000_000_000_007,) * 2)


class Kit:
    """What all the worlds of one test process share: programs, and the bundles that each gets copies of."""

    def __init__(self, installer, place=None):
        self.installer = installer
        self.folder = Path(tempfile.mkdtemp(prefix="zk-faults-", dir=place or _place()))
        try:
            self._furnish()
        except BaseException:
            self.close()
            raise

    def _furnish(self):
        compile_with = ["gcc", "-O1", "-o"]
        self.tracer = self.folder / "tracer"
        self.allocator = self.folder / "allocator.so"
        program = self.folder / "application"
        subprocess.run([*compile_with, self.tracer, SOURCES / "tracer.c"], check=True)
        subprocess.run([*compile_with, self.allocator, "-shared", "-fPIC", SOURCES / "allocator.c"], check=True)
        subprocess.run([*compile_with, program, "-static", "-pthread", APPLICATION_SOURCE], check=True)
        self.template = self.folder / "template"
        for folder, version in (("Applications", OLD), ("Updates", NEW)):
            (self.template / folder).mkdir(parents=True)
            _complete(make_bundle(self.template / folder / "Editor.app", program, version))
        self.old = snapshot(self.template / "Applications/Editor.app")
        self.new = snapshot(self.template / "Updates/Editor.app")

    def close(self):
        remove_tree(self.folder)

    @contextlib.contextmanager
    def world(self, situation=USUAL):
        world = World(self)
        try:
            situation.prepare(world)
            yield world
        finally:
            world.close()


class Result(NamedTuple):
    outcome: Outcome
    calls: list  # of the run
    launched: list  # the versions of the applications that it started

    @property
    def sleeps(self):
        return sum(call.name == "clock_nanosleep" for call in self.calls)


class World:
    def __init__(self, kit):
        self.kit = kit
        self.folder = Path(tempfile.mkdtemp(prefix="world-", dir=kit.folder))
        subprocess.run(["cp", "-a", f"{kit.template}/.", self.folder], check=True)
        self.applications = self.folder / "Applications"
        self.updates = self.folder / "Updates"
        self.old, self.new = kit.old, kit.new
        self.target = Bundle(self.applications / "Editor.app")
        self.update = Bundle(self.updates / "Editor.app")
        self.lock = Semaphore(f"zk-faults-{os.getpid()}-{next(_numbers)}")
        self.prefix = []  # a command that starts the target and the installer, to put them into another surrounding
        self.processes = []
        self.semaphores = [self.lock]
        self.temporary_semaphores = []
        self.dead_holders_lock = None

    def close(self):
        self.end_processes()
        for semaphore in self.semaphores:
            semaphore.unlink()
        for file in self.temporary_semaphores:
            with contextlib.suppress(FileNotFoundError):
                os.unlink(file)
        remove_tree(self.folder)

    def start(self, command, **options):
        process = subprocess.Popen([*self.prefix, *TIED, *command], stdin=subprocess.DEVNULL,
                                   **{"stdout": subprocess.DEVNULL, **options})
        self.processes.append(process)
        return process

    def start_target(self):
        """Starts the old version; it is there when this returns."""
        command = [self.applications / "Editor.app/Contents/MacOS" / EXECUTABLE, "stay"]
        process = self.start(command, stdout=subprocess.PIPE)
        with process.stdout:
            assert process.stdout.readline(), "the old version does not run"
        return process

    def start_installer(self, arguments, folder, wrapper=(), **options):
        """Starts an installer in a folder, which gets its output and log. A wrapper is a command that starts it."""
        run = Run([*self.prefix, *TIED, *wrapper, self.kit.installer, *arguments], folder, cwd=folder, **options)
        self.processes.append(run.process)
        return run

    def end_processes(self):
        while self.processes:
            end_process(self.processes.pop())

    def settings(self, target, installer_semaphore, **changes):
        """The five settings of a run, with changes."""
        values = {"pid": target.pid, "updatePath": self.updates, "installerSemaphore": installer_semaphore.name,
                  "updateSemaphore": self.lock.name, "enableLog": "YES", **changes}
        return [part for key, value in values.items() for part in (f"-{key}", value)]

    def run(self, *words, always=(), environment=None, wrapper=(), stderr=None, **changes):
        """A whole run with a new name for the installer semaphore. No sleep takes any time in it, and the old version
        ends when the installer first sleeps.

        @param wrapper a command that starts the installer in its turn
        """
        target = self.start_target()
        folder = self.folder / f"run-{next(_numbers)}"
        reports = folder / "reports"
        reports.mkdir(parents=True)
        self.installer_semaphore = Semaphore(f"zk-faults-ready-{os.getpid()}-{next(_numbers)}")
        self.semaphores.append(self.installer_semaphore)
        rules = [f"always={numbers()[name]}:{number_of(error)}" for name, error in always]
        tracer = [self.kit.tracer, f"record={folder / 'record'}", f"target={target.pid}", *rules, *words]
        environment = {**os.environ, "ZK_REPORTS": str(reports), **(environment or {})}
        run = self.start_installer(self.settings(target, self.installer_semaphore, **changes), folder,
                                   wrapper=[*tracer, *wrapper], env=environment, stderr=stderr)
        outcome = run.outcome(LIMIT)
        progress = Progress(self.installer_semaphore.file, self.lock.file, self.applications, self.updates)
        calls = calls_in(folder / "record", progress)
        self.temporary_semaphores += [call.path for call in calls if call.path.startswith("/dev/shm/sem.")]
        told = [Report(path) for path in reports.iterdir() if not path.name.startswith(".")]
        return Result(outcome, calls, [" ".join(report.all("version")) for report in told])

    # What came of it

    def record(self):
        return self.updates / f".{self.lock.name}.semaphore"

    def state_of_lock(self):
        """What tells it from another lock of this name, and from one with another record."""
        return self.lock.identity(), self.record().read_bytes() if self.record().exists() else None

    def is_lock_taken(self):
        return self.lock.count() == 0

    def backups(self):
        return [Bundle(path) for path in self.target.path.parent.iterdir() if path.name.startswith(".")]

    def recover_by_hand(self, checkout, backup):
        """Does what the document on recovery says, word for word."""
        lines = commands(listings_by_name(checkout)["docs/recovery.md: sh"])
        assert len(lines) == 2
        for line in lines:
            line = line.replace(".Example.app-3f09c1d27ab4e856", backup.path.name).replace("Example.app", "Editor.app")
            subprocess.run(["sh", "-c", line], check=True, cwd=self.target.path.parent)


def undisturbed_calls(kit, situation=USUAL):
    """The system calls of a run that installs."""
    with kit.world(situation) as world:
        result = world.run()
        assert result.outcome == INSTALLED
        assert result.launched == [NEW]
        return result.calls
