"""The system calls of a run, in their order."""

import os
import re
import shutil
import subprocess
from typing import NamedTuple

from support.processes import eventually

LINE = re.compile(r"(?P<name>\w+)\((?P<arguments>.*)\) += (?P<result>-?\w+|\?)(<.*>)?( (?P<error>E\w+) .*| .*)?")
SOURCE = re.compile(r"\w+<[^>]*>, [^,]*, ")
FOLDER_AND_NAME = re.compile(r'\w+<(?P<folder>/[^>]*)>(, "(?P<name>(?:[^"\\]|\\.)+)")?')

# The file systems that the product trusts, by the names that stat has for them.
TRUSTED = ("ext2/ext3", "xfs", "btrfs", "tmpfs")

# The calls that wait for a disk.
SYNCS = ("syncfs", "fsync", "fdatasync", "sync")


def unescaped(text):
    return text.encode("latin-1").decode("unicode_escape").encode("latin-1").decode(errors="surrogateescape")


class Call(NamedTuple):
    name: str
    arguments: str
    result: str
    error: str  # its name, or nothing after a success

    @property
    def path(self):
        """The item that the call is made on: what its first argument has open, or a name in that folder. For a call
        that copies from one file to another, the other one."""
        source = SOURCE.match(self.arguments) if self.name == "copy_file_range" else None
        found = FOLDER_AND_NAME.match(self.arguments[source.end() if source else 0 :])
        return found and os.path.normpath(os.path.join(unescaped(found["folder"]), unescaped(found["name"] or "")))

    def is_on(self, top):
        """Whether it is made on an item of the tree at `top`."""
        return self.path is not None and (self.path + "/").startswith(f"{top}/")

    def has_succeeded(self):
        return self.error is None


class Trace:
    """What strace tells about one run; its command is the wrapper that the run is begun with."""

    def __init__(self, path, *options):
        self.path = path
        # As a grandchild, it leaves the installer the test's own child.
        self.command = ["strace", "-D", "-qq", "-y", "-s", "256", "-o", path, *options]

    def calls(self):
        """All calls of the run, once it has ended."""
        whole = re.compile(r".*^exit_group\(\d+\) += \?\n", re.DOTALL | re.MULTILINE)
        text = eventually(lambda: whole.fullmatch(self.path.read_text()), "the trace is complete")[0]
        found = [LINE.fullmatch(line) for line in text.splitlines() if not line.startswith(("---", "+++"))]
        assert all(found)
        return [Call(**line.groupdict()) for line in found]


def first(calls, condition):
    return next(index for index, call in enumerate(calls) if condition(call))


def last(calls, condition):
    return len(calls) - 1 - first(calls[::-1], condition)


def refusing(calls, error, when="1+"):
    """The options of a trace that let these calls fail, from a certain one of each on."""
    return ["-e", f"inject={calls}:error={error}:when={when}"]


def killing_at(calls, number):
    """A command that runs a program and kills it at that one of these calls. The program keeps the process's id."""
    return ["strace", "-D", "-o", "/dev/null", "-e", f"trace={calls}",
            "-e", f"inject={calls}:signal=KILL:when={number}"]


def why_not_traced(folder):
    """What keeps runs in this folder from being traced as the tests expect it; nothing as a rule."""
    if shutil.which("strace") is None:
        return "needs strace"
    tried = subprocess.run(["strace", "-o", os.devnull, "true"], capture_output=True, text=True)
    if tried.returncode != 0:
        return f"needs to trace processes: {tried.stderr.strip()}"
    asked = subprocess.run(["stat", "-f", "-c", "%T", folder], check=True, capture_output=True, text=True)
    system = asked.stdout.strip()
    return None if system in TRUSTED else f"needs a temporary folder on a file system that is trusted, not {system}"
