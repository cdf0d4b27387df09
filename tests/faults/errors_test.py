"""An installer of which a system call fails."""

from typing import NamedTuple

import pytest

from injection.calls import ERRORS, NEVER_FAIL, Call
from injection.points import PARTS, PARTS_OF_SAMPLE, part_of, sample
from injection.situations import OTHERS, SITUATIONS, USUAL
from injection.verdict import check_locks, check_next_run, check_place, check_reason, check_run, errors_in
from support.installer import BEGIN, END, INSTALLED

STANDARD_ERROR = 2
NOT_ON_THE_DISK = {"EIO", "ENOSPC", "EDQUOT"}
REFUSALS = {"EPERM", "EACCES", "EOPNOTSUPP", "EINVAL", "E2BIG", "ERANGE", "ENODATA"}

# What the installer can do without, and the calls by which it then does.
ALTERNATIVES = {
    ("syncfs", "EIO"): ("fsync", "openat", "newfstatat", "getdents64"),
    ("copy_file_range", "ENOSYS"): ("read", "write", "lseek", "ftruncate"),
    ("pidfd_open", "ENOSYS"): ("openat", "read", "tgkill"),
    ("close_range", "ENOSYS"): ("openat", "getdents64"),
    ("fstatfs", "ENOSYS"): ("fsync", "fchmod", "openat"),
    ("linkat", "EPERM"): ("openat", "newfstatat", "read", "write"),
}


class Failure(NamedTuple):
    call: Call
    error: str

    def __str__(self):
        return f"{self.error} of {self.call}"

    @property
    def is_of_the_log(self):
        return self.call.name in ("write", "newfstatat", "fstat") and self.call.argument == STANDARD_ERROR

    def left_out(self):
        """What the copy may go on without when it is refused."""
        if "xattr" in self.call.name and self.error in REFUSALS:
            return ["attributes"]
        if "chown" in self.call.name and self.error in REFUSALS:
            return ["owner", "group"]
        # A hard link becomes a file of its own where the folder of the first one cannot be entered.
        is_link = self.call.name == "linkat" or (self.call.name == "openat" and self.error in ("EACCES", "EPERM"))
        return ["first_name"] if is_link else []


def failures_of(calls):
    """All failures that a kernel can bring about. A pipe is memory: reading from it can only be interrupted."""
    pipe = next(call.index for call in calls if call.name == "pipe2")
    return [Failure(call, error) for call in calls for error in call.errors()
            if error == "EINTR" or call.process != 0 or call.name != "read" or call.index < pipe]


def is_of_the_walk(calls, failed):
    """Whether a call belongs to the walk that waits for each item of a copy once waiting for the disk has failed. The
    walk ends where the copy is given its time."""
    before = [call.name for call in calls if call.process == 0 and call.index < failed.index]
    ends = [name for name in before if name in ("syncfs", "utimensat")]
    return failed.process == 0 and ends[-1:] == ["syncfs"]


def leaves_contents_unwaited_for(calls, failure, always):
    """Whether something of a copy may not be on the disk after a failure, so that the copy must fail."""
    if ("syncfs", "EIO") not in always or failure.error == "EINTR":
        return False
    return failure.call.name in ("openat", "getdents64") and is_of_the_walk(calls, failure.call)


def check_lost_line(world, result, checkout, left_out):
    """A line that cannot be written is lost, and nothing else."""
    assert result.outcome.status == 0
    assert result.outcome.messages in ([BEGIN], [END])
    check_place(world, 0, [], left_out)
    check_locks(world)
    check_next_run(world, checkout)


def check_failure(kit, checkout, failure, situation=USUAL, always=()):
    with kit.world(situation) as world:
        result = world.run(failure.call.fail(failure.error), always=always)
        if failure.call.name == "fsync" and failure.error in NOT_ON_THE_DISK and always:
            assert result.outcome.status == 1, "a copy that is not on the disk counts as one"
        if leaves_contents_unwaited_for(result.calls, failure, always):
            assert result.outcome.status == 1, "a copy that was not waited for counts as one"
        left_out = failure.left_out() + (["first_name"] if ("linkat", "EPERM") in always else [])
        if failure.is_of_the_log and result.outcome.messages != [BEGIN, END]:
            check_lost_line(world, result, checkout, left_out)
        else:
            check_reason(failure.call, errors_in(result.outcome.messages))
            check_run(world, result, checkout, left_out)


@pytest.fixture
def fail_at(kit, checkout, situation):
    return lambda failure: check_failure(kit, checkout, failure, situation)


@pytest.mark.parametrize("part", range(PARTS_OF_SAMPLE))
def test_calls_of_every_kind_fail_with_every_error(calls, try_all, fail_at, part):
    chosen = sample(failures_of(calls), lambda failure: (failure.call.process, failure.call.name, failure.error), 1)
    try_all(part_of(chosen, part, PARTS_OF_SAMPLE), fail_at)


@pytest.mark.parametrize("situation", OTHERS, ids=str)
def test_calls_of_every_kind_fail_with_every_error_in_another_situation(calls, situation, try_all, fail_at):
    chosen = [failure for failure in failures_of(calls) if failure.call.step == situation.step]
    try_all(sample(chosen, lambda failure: (failure.call.name, failure.error), 1), fail_at)


@pytest.mark.full
@pytest.mark.parametrize("part", range(PARTS))
@pytest.mark.parametrize("situation", SITUATIONS, ids=str)
def test_every_call_fails_with_every_error(calls, try_all, fail_at, part):
    try_all(part_of(failures_of(calls), part, PARTS), fail_at)


def failures_of_alternative(kit, refused):
    with kit.world() as world:
        result = world.run(always=[refused])
        assert result.outcome == INSTALLED
        chosen = [call for call in result.calls if call.name in ALTERNATIVES[refused]]
        return failures_of([*chosen, *(call for call in result.calls if call.name == "pipe2")])


def try_alternative(kit, checkout, try_all, refused, failures):
    try_all(failures, lambda failure: check_failure(kit, checkout, failure, always=[refused]))


@pytest.mark.parametrize("refused", ALTERNATIVES, ids="-".join)
def test_some_calls_of_another_way_fail(kit, checkout, try_all, refused):
    failures = failures_of_alternative(kit, refused)
    chosen = sample(failures, lambda failure: (failure.call.step, failure.call.process, failure.call.name), 3)
    try_alternative(kit, checkout, try_all, refused, chosen)


def test_a_new_process_that_cannot_find_out_its_descriptors_writes_nothing_into_the_log(kit, checkout, try_all):
    """The C library ends it with a message on standard error."""
    refused = ("close_range", "ENOSYS")
    failures = [failure for failure in failures_of_alternative(kit, refused)
                if failure.call.process == 1 and failure.call.path.startswith("/proc/self/fd")]
    try_alternative(kit, checkout, try_all, refused, failures)


@pytest.mark.full
@pytest.mark.parametrize("refused", ALTERNATIVES, ids="-".join)
def test_every_call_of_another_way_fails(kit, checkout, try_all, refused):
    try_alternative(kit, checkout, try_all, refused, failures_of_alternative(kit, refused))


@pytest.mark.usefixtures("no_sanitizers")
def test_no_kind_of_call_is_forgotten(calls):
    assert {call.name for call in calls} <= {*ERRORS, *NEVER_FAIL}
