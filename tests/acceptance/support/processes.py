"""Waiting with a limit, and finding every process that a test has caused."""

import ctypes
import os
import signal
import time
from pathlib import Path

LIMIT = 30.0  # seconds; far more than anything takes
slowness = 1  # how many times longer than usual everything may take
PR_SET_CHILD_SUBREAPER = 36
KERNEL_THREAD = 0x00200000  # a flag of the ninth field of /proc/<pid>/stat


def be_patient():
    """From now on everything may take ten times as long."""
    global slowness
    slowness = 10


def eventually(condition, what, limit=LIMIT):
    """Waits until the condition returns something true. Returns that."""
    limit *= slowness
    end = time.monotonic() + limit
    while not (result := condition()):
        assert time.monotonic() < end, f"not within {limit:g} seconds: {what}"
        time.sleep(0.005)
    return result


def stays(condition, what, seconds=0.5):
    """Makes sure that the condition stays true for a while."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        assert condition(), f"no longer true: {what}"
        time.sleep(0.02)


def adopt_orphans():
    """Makes this process the parent of all that its children leave running, so that nothing outlives its test."""
    if ctypes.CDLL(None, use_errno=True).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) != 0:
        raise OSError(ctypes.get_errno(), "orphans cannot be adopted")


def stat_fields(pid):
    """The fields of /proc/<pid>/stat from the third on, or nothing if there is no such process."""
    try:
        return Path(f"/proc/{pid}/stat").read_text(errors="replace").rpartition(")")[2].split()
    except (FileNotFoundError, ProcessLookupError):
        return None


def all_processes():
    return [int(name) for name in os.listdir("/proc") if name.isdigit()]


def children():
    """The children of a process, including zombies."""
    result = set()
    for pid in all_processes():
        fields = stat_fields(pid)
        if fields and int(fields[1]) == os.getpid():
            result.add(pid)
    return result


def program_of(pid):
    """The name of the file that a process runs, or nothing if it has ended or is hidden from this user."""
    try:
        return os.path.basename(os.readlink(f"/proc/{pid}/exe"))
    except (FileNotFoundError, ProcessLookupError, PermissionError):
        return None


def is_asleep(pid):
    fields = stat_fields(pid)
    return bool(fields) and fields[0] == "S"


def a_kernel_thread():
    for pid in sorted(all_processes()):
        fields = stat_fields(pid)
        if fields and int(fields[6]) & KERNEL_THREAD:
            return pid
    return None


def an_unused_pid():
    """An id that no process has or will have soon: the kernel hands ids out in ascending order, and has just handed out
    a larger one."""
    pid = int(Path("/proc/loadavg").read_text().split()[-1]) - 1
    while os.path.exists(f"/proc/{pid}"):
        pid -= 1
    return pid


def wait_for_end(pid):
    """Waits for the end of a child that has no Popen object."""
    try:
        eventually(lambda: os.waitpid(pid, os.WNOHANG)[0] == pid, f"process {pid} has ended")
    except ChildProcessError:
        pass


def end_child(pid):
    try:
        os.kill(pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    wait_for_end(pid)
