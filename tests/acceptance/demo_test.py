"""./demo works, and leaves nothing behind even if it is interrupted."""

import contextlib
import os
import random
import re
import signal
import subprocess
import time
from pathlib import Path

import pytest

from support.example import lock_of
from support.processes import LIMIT, all_processes, end_child, eventually
from support.semaphores import Semaphore

INTERRUPTIONS = int(os.environ.get("ZK_DEMO_INTERRUPTIONS", "12"))


class Demo:
    """A demo in a process group of its own, as a terminal starts it. It writes only to its own temporary folder."""

    def __init__(self, checkout, folder):
        self.folder = folder
        self.semaphores_before = names_of_semaphores()
        self.process = subprocess.Popen(
            [checkout / "demo"],
            env={**os.environ, "TMPDIR": str(folder)},
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
            start_new_session=True,
            preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL),
        )

    def outcome(self):
        output, _ = self.process.communicate()
        return self.process.returncode, output

    def processes(self):
        """All processes that have inherited the name of its temporary folder."""
        return [pid for pid in all_processes() if f"TMPDIR={self.folder}".encode() in environment_of(pid)]

    def end(self):
        """Ends all of it that still runs: by itself, so that it removes what it has made, or by force."""
        with self.process:
            self.process.terminate()
            try:
                self.process.communicate(timeout=LIMIT)
            except subprocess.TimeoutExpired:
                pass
            while pids := self.processes():
                for pid in pids:
                    end_child(pid)


def environment_of(pid):
    try:
        return Path(f"/proc/{pid}/environ").read_bytes().split(b"\0")
    except (FileNotFoundError, ProcessLookupError, PermissionError):
        return []


def names_of_semaphores():
    """The names of all semaphores that applications make for their installers."""
    return {name for name in os.listdir("/dev/shm") if name.startswith("sem.zk-start-")}


@pytest.fixture
def start_demo(checkout):
    """A function that starts a demo in a folder. The demo ends with the test at the latest."""
    with contextlib.ExitStack() as stack:

        def start_demo(folder):
            demo = Demo(checkout, folder)
            stack.callback(demo.end)
            return demo

        yield start_demo


def assert_nothing_is_left(demo, output):
    eventually(lambda: demo.processes() == [], "no process is left")
    made = names_of_semaphores() - demo.semaphores_before
    assert os.listdir(demo.folder) == []
    if bundle := re.search(r"^started: +(/.*) \(version 1\)$", output, re.MULTILINE):
        assert Semaphore(lock_of(bundle[1])).count() is None
    # The names are random. Those that other tests have made meanwhile go with these tests.
    eventually(lambda: not made & names_of_semaphores(), "the semaphore made for the installer is gone")


def test_the_demo_replaces_version_1_with_version_2_and_leaves_nothing_behind(start_demo, tmp_path):
    demo = start_demo(tmp_path)
    status, output = demo.outcome()
    assert status == 0, output
    assert "versions: 1 in the backup, 2 installed\n" in output
    assert output.endswith("version 2 came up with exactly the two arguments.\n")
    assert_nothing_is_left(demo, output)


@pytest.mark.full
@pytest.mark.parametrize("stop", [lambda pid: os.killpg(pid, signal.SIGINT), lambda pid: os.kill(pid, signal.SIGTERM)],
                         ids=["interrupted at the terminal", "terminated"])
def test_a_demo_that_is_stopped_at_any_moment_leaves_nothing_behind(start_demo, tmp_path, stop):
    folder = tmp_path / "whole"
    folder.mkdir()
    begun = time.monotonic()
    start_demo(folder).outcome()
    duration = time.monotonic() - begun

    stopped = 0
    for attempt in range(INTERRUPTIONS):
        folder = tmp_path / str(attempt)
        folder.mkdir()
        demo = start_demo(folder)
        moment = random.uniform(0, duration)
        time.sleep(moment)
        if demo.process.poll() is None:
            stop(demo.process.pid)
        status, output = demo.outcome()
        stopped += status != 0
        told = f"after {moment:.4f} seconds, status {status}:\n{output}"
        assert status in (0, 1, -signal.SIGINT, -signal.SIGTERM), told
        assert not re.search(r"line \d+:|syntax error|No such file", output), told
        assert_nothing_is_left(demo, output)
    print(f"{stopped} of {INTERRUPTIONS} demos were stopped before their end")
    assert stopped > 0
