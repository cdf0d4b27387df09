"""./demo works, and leaves nothing behind even if it is interrupted."""

import os
import random
import re
import signal
import subprocess
import time
from pathlib import Path

import pytest

from support.processes import all_processes, eventually

INTERRUPTIONS = int(os.environ.get("ZK_DEMO_INTERRUPTIONS", "12"))


class Demo:
    """A demo in a process group of its own, as a terminal starts it. It writes only to its own temporary folder."""

    def __init__(self, checkout, folder):
        self.folder = folder
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


def environment_of(pid):
    try:
        return Path(f"/proc/{pid}/environ").read_bytes().split(b"\0")
    except (FileNotFoundError, ProcessLookupError, PermissionError):
        return []


def assert_nothing_is_left(demo, output):
    eventually(lambda: demo.processes() == [], "no process is left")
    assert os.listdir(demo.folder) == []
    for name in set(re.findall(r"zkupdater-demo\.\w+", output)):
        assert [file for file in os.listdir("/dev/shm") if name in file] == []


def test_the_demo_replaces_version_1_with_version_2_and_leaves_nothing_behind(checkout, tmp_path):
    demo = Demo(checkout, tmp_path)
    status, output = demo.outcome()
    assert status == 0, output
    assert "versions: 1 in the backup, 2 installed\n" in output
    assert output.endswith("version 2 came up with exactly the two arguments.\n")
    assert_nothing_is_left(demo, output)


@pytest.mark.full
@pytest.mark.parametrize("stop", [lambda pid: os.killpg(pid, signal.SIGINT), lambda pid: os.kill(pid, signal.SIGTERM)],
                         ids=["interrupted at the terminal", "terminated"])
def test_a_demo_that_is_stopped_at_any_moment_leaves_nothing_behind(checkout, tmp_path, stop):
    folder = tmp_path / "whole"
    folder.mkdir()
    begun = time.monotonic()
    Demo(checkout, folder).outcome()
    duration = time.monotonic() - begun

    stopped = 0
    for attempt in range(INTERRUPTIONS):
        folder = tmp_path / str(attempt)
        folder.mkdir()
        demo = Demo(checkout, folder)
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
