"""The setting of one test: a running application, its update and the semaphores, all removed at the end."""

import contextlib
import itertools
import os
import shutil
import subprocess
import tempfile
from pathlib import Path

import pytest

from support.bundles import give_to, make_bundle, remove_tree
from support.installer import Run
from support.processes import children, end_child, eventually, program_of, wait_for_end
from support.semaphores import Semaphore

NOBODY = 65534
IS_ROOT = os.geteuid() == 0
needs_two_users = pytest.mark.skipif(not IS_ROOT, reason="needs two users, so it runs as root only")
RELAUNCH_ARGUMENTS = ["-com.quillory.tavoro.update.AutoUpdateEnabled", "NO"]

# What is started with this ends with the tests' own process, even if that is killed. A program that changes the user or
# the namespace must come before it, since it would undo this.
TIED = ["setpriv", "--pdeathsig", "KILL"]

_numbers = itertools.count()


class Report:
    """What a relaunched application reported about itself."""

    def __init__(self, path):
        self.lines = [line.partition(" ")[::2] for line in path.read_text().splitlines()]

    def all(self, word):
        return [rest for first, rest in self.lines if first == word]

    def one(self, word):
        (value,) = self.all(word)
        return value

    def status(self, field):
        (value,) = [text.split(":", 1)[1].strip() for text in self.all("status") if text.startswith(field + ":")]
        return value

    @property
    def arguments(self):
        return self.all("argument")

    @property
    def version(self):
        return self.one("version")


def end_process(process):
    process.kill()
    process.wait()


class Scene:
    def __init__(self, installer, application):
        self.installer = Path(installer)
        self.program = application
        self.known_children = children()
        self.processes = []
        self.running = None  # the process of the target
        self.user = None  # the user that the installer runs as, if not the tests' own
        self.memcheck = None  # checks every installer, if set
        self.prefix = []  # a command that starts the target and the installer in another environment
        with contextlib.ExitStack() as self.stack:
            self._prepare()
            self.stack = self.stack.pop_all()

    def _prepare(self):
        self.folder = Path(tempfile.mkdtemp(prefix="zk-acceptance-"))
        self.stack.callback(remove_tree, self.folder)
        self.folder.chmod(0o755)
        self.applications = self.make_folder("Applications")
        self.updates = self.make_folder("Updates")
        self.reports = self.make_folder("reports")
        self.reports.chmod(0o777)
        self.stack.callback(self._end_orphans)

        self.target = self.make_bundle(self.applications / "Editor.app", "1")
        self.update = self.make_bundle(self.updates / "Editor.app", "2")
        self.installer_semaphore = self.semaphore("installer")
        self.update_semaphore = self.semaphore("update")

    def close(self):
        self.stack.close()

    # Things

    def make_folder(self, name):
        path = self.folder / name
        path.mkdir()
        return path

    def make_bundle(self, path, version, **options):
        return make_bundle(path, self.program, version, **options)

    def semaphore(self, word):
        semaphore = Semaphore(f"zk-{word}-{os.getpid()}-{next(_numbers)}")
        self.stack.callback(semaphore.unlink)
        return semaphore

    def record_path(self):
        return self.updates / f".{self.update_semaphore.name}.semaphore"

    def become_unprivileged(self):
        """Lets the installer run as a user without privileges, who becomes the owner of all files made so far."""
        if not IS_ROOT:
            return
        self.user = NOBODY
        self.installer = Path(shutil.copy2(self.installer, self.folder / "zkupdater"))
        self.installer.chmod(0o755)
        give_to(NOBODY, self.applications, self.updates)

    # Processes

    def _as_user(self, user):
        return {} if user is None else {"user": user, "group": user, "extra_groups": []}

    def start(self, command, user=None, **options):
        """Starts a process that ends with the test at the latest. When this returns, it runs its own program."""
        process = subprocess.Popen(
            [str(part) for part in (*self.prefix, *TIED, *command)],
            **{"stdin": subprocess.DEVNULL, **self._as_user(user), **options},
        )
        self.processes.append(process)
        self.stack.callback(end_process, process)
        eventually(lambda: program_of(process.pid) not in ("nsenter", "setpriv"), "the program itself runs")
        return process

    def start_target(self, how="stay", bundle=None):
        """Starts the old version. When this returns, it runs. Its attribute `thread` is the id of its second thread."""
        command = [(bundle or self.target).executable, how]
        process = self.start(command, user=self.user, stdout=subprocess.PIPE)
        with process.stdout:
            process.thread = int(process.stdout.readline())
        self.running = process
        return process

    def end_target(self):
        end_process(self.running)

    def settings(self, **changes):
        """The five settings of a run, with changes. A setting changed to None is left out."""
        values = {
            "updatePath": self.updates,
            "installerSemaphore": self.installer_semaphore.name,
            "updateSemaphore": self.update_semaphore.name,
            "enableLog": "YES",
            **changes,
        }
        if "pid" not in values:
            values["pid"] = (self.running or self.start_target()).pid
        return [part for key, value in values.items() if value is not None for part in ("-" + key, str(value))]

    def begin_plainly(self, arguments, wrapper=(), installer=None, **options):
        """Starts an installer with exactly these arguments. A wrapper is a command that starts it."""
        checker = self.memcheck.command if self.memcheck else []
        run = Run(
            [*self.prefix, *TIED, *wrapper, *checker, installer or self.installer, *arguments],
            self.make_folder(f"run-{next(_numbers)}"),
            env={**os.environ, "ZK_REPORTS": str(self.reports)},
            **self._as_user(self.user),
            **{"cwd": self.folder, **options},
        )
        self.processes.append(run.process)
        self.stack.callback(run.end)
        return run

    def begin(self, wrapper=(), installer=None, stderr=None, cwd=None, **changes):
        """Starts an installer and returns it once it waits or has ended."""
        run = self.begin_plainly(
            self.settings(**changes), wrapper=wrapper, installer=installer, stderr=stderr, cwd=cwd or self.folder
        )
        return run.wait_until_waiting()

    def install(self, **options):
        """A whole run: the target ends once the installer waits for it."""
        run = self.begin(**options)
        if self.running is not None:
            self.end_target()
        return run.outcome()

    # Results

    def is_held(self, semaphore):
        return semaphore.count() == 0

    def is_nothing_held(self):
        """Whether both semaphores are free, or were never made, and no record is left."""
        counts = {self.installer_semaphore.count(), self.update_semaphore.count()}
        return counts <= {1, None} and not os.path.lexists(self.record_path())

    def backups(self, beside=None):
        """The hidden items beside the target."""
        folder = (beside or self.target.path).parent
        return [path for path in folder.iterdir() if path.name.startswith(".")]

    def backup(self):
        (backup,) = self.backups()
        return backup

    def orphans(self):
        """The processes that installers left running or unreaped when they ended."""
        return children() - self.known_children - {process.pid for process in self.processes}

    def _end_orphans(self):
        for pid in self.orphans():
            end_child(pid)

    def launched(self):
        """The reports of the applications that were started by installers which have ended."""
        for pid in self.orphans():
            wait_for_end(pid)
        return [Report(path) for path in sorted(self.reports.iterdir()) if not path.name.startswith(".")]
