"""A run of the installer, and what it logged."""

import os
import re
import subprocess
import time
from typing import NamedTuple

from support import processes
from support.processes import LIMIT, eventually, is_asleep, program_of

LINE = re.compile(
    r"(?P<time>\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}) (?P<program>\S+)\[(?P<process>\d+):(?P<thread>\d+)\] "
    r"\[ZKUpdater \((?P<object>0x[0-9a-f]+)\)\](?: (?P<category>[^ :]+):)? (?P<message>.*)"
)

# What a process that runs the installer executes.
PROGRAMS = ("zkupdater", f"memcheck-{'amd64' if os.uname().machine == 'x86_64' else 'arm64'}-linux")

BEGIN = "Begin installation"
END = "End installation"


def run_with(*errors):
    """The log of a run with these errors."""
    return [BEGIN, *("Error: " + error for error in errors), END]


def failed_creation(reason):
    return Outcome(1, run_with(reason, "Initialization failed."))


def lines_in(log):
    """The lines of a log, split into their parts. Every line must have the same form."""
    matches = [(line, LINE.fullmatch(line)) for line in log.splitlines()]
    assert all(match for _, match in matches), f"a malformed line in the log:\n{log}"
    assert log == "" or log.endswith("\n")
    return [match.groupdict() for _, match in matches]


def messages_in(log):
    return [(f"{line['category']}: " if line["category"] else "") + line["message"] for line in lines_in(log)]


class Outcome(NamedTuple):
    status: int
    messages: list

    def __str__(self):
        return f"status {self.status}, messages {self.messages}"


INSTALLED = Outcome(0, run_with())


def failed_with(*errors):
    return Outcome(1, run_with(*errors))


class Run:
    """One started installer. Its input is empty. Its output goes to files, unless a test sets its standard error."""

    def __init__(self, command, folder, stderr=None, **options):
        self.output_path = folder / "output"
        self.log_path = folder / "log"
        with open(self.output_path, "wb") as output, open(self.log_path, "wb") as log:
            self.process = subprocess.Popen(
                [str(part) for part in command],
                stdin=subprocess.DEVNULL,
                stdout=output,
                stderr=log if stderr is None else stderr,
                **options,
            )

    @property
    def pid(self):
        return self.process.pid

    def has_ended(self):
        return self.process.poll() is not None

    def wait_until_waiting(self):
        """Waits until it waits for something, which it does only once it knows its target, or until it has ended."""
        asleep = 0

        def is_waiting():
            nonlocal asleep
            # A single look may find it asleep for a moment only, waiting for a page or for its turn.
            asleep = asleep + 1 if program_of(self.pid) in PROGRAMS and is_asleep(self.pid) else 0
            return self.has_ended() or asleep > 10

        eventually(is_waiting, "the installer waits or has ended")
        return self

    def status(self, limit=LIMIT):
        return self.process.wait(limit * processes.slowness)

    def lines(self):
        return lines_in(self.log_path.read_text())

    def messages(self):
        return messages_in(self.log_path.read_text())

    def outcome(self, limit=LIMIT):
        status = self.status(limit)
        assert self.output_path.read_bytes() == b"", "the installer has written to its standard output"
        return Outcome(status, self.messages())

    def end(self):
        if not self.has_ended():
            self.process.kill()
            self.process.wait()


def seconds_since(start):
    return time.monotonic() - start
