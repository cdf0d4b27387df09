"""An installer of which a system call fails."""

from typing import NamedTuple

import pytest

from injection.calls import ERRORS, NEVER_FAIL, Call
from injection.points import PARTS, PARTS_OF_SAMPLE, part_of, sample
from injection.verdict import check_locks, check_next_run, check_place, check_run
from support.installer import BEGIN, END

STANDARD_ERROR = 2


class Failure(NamedTuple):
    call: Call
    error: str

    def __str__(self):
        return f"{self.error} of {self.call}"

    @property
    def is_of_the_log(self):
        return self.call.name in ("write", "newfstatat", "fstat") and self.call.argument == STANDARD_ERROR

    @property
    def may_leave_out(self):
        """Whether the copy may go on without an attribute, an owner or a hard link."""
        return "xattr" in self.call.name or "chown" in self.call.name or self.call.name == "linkat"


def failures_of(calls):
    return [Failure(call, error) for call in calls for error in call.errors()]


def check_lost_line(world, result, checkout):
    """A line that cannot be written is lost, and nothing else."""
    assert result.outcome.status == 0
    assert result.outcome.messages in ([BEGIN], [END])
    check_place(world, 0, [], True)
    check_locks(world)
    check_next_run(world, checkout)


def check_failure(kit, checkout, failure, always=()):
    with kit.world() as world:
        result = world.run(failure.call.fail(failure.error), always=always)
        if failure.is_of_the_log and result.outcome.messages != [BEGIN, END]:
            check_lost_line(world, result, checkout)
        else:
            check_run(world, result, checkout, is_exact=not failure.may_leave_out)


@pytest.fixture
def fail_at(kit, checkout):
    return lambda failure: check_failure(kit, checkout, failure)


@pytest.mark.parametrize("part", range(PARTS_OF_SAMPLE))
def test_calls_of_every_kind_fail_with_every_error(calls, try_all, fail_at, part):
    chosen = sample(failures_of(calls), lambda failure: (failure.call.name, failure.error), 2)
    try_all(part_of(chosen, part, PARTS_OF_SAMPLE), fail_at)


@pytest.mark.full
@pytest.mark.parametrize("part", range(PARTS))
def test_every_call_fails_with_every_error(calls, try_all, fail_at, part):
    try_all(part_of(failures_of(calls), part, PARTS), fail_at)


def test_no_kind_of_call_is_forgotten(calls):
    assert {call.name for call in calls} <= {*ERRORS, *NEVER_FAIL}
