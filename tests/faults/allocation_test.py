"""An installer for which an allocation of memory fails."""

from typing import NamedTuple

import pytest

from injection.points import PARTS, PARTS_OF_SAMPLE, part_of, sample
from injection.situations import SITUATIONS
from injection.verdict import check_locks, check_next_run, check_poor_run
from injection.world import NEW
from support.installer import INSTALLED

pytestmark = pytest.mark.usefixtures("no_sanitizers")


class Refusal(NamedTuple):
    number: int
    is_for_good: bool  # or only for once

    def __str__(self):
        return f"allocation {self.number}{' and all later ones' if self.is_for_good else ''}"

    def environment(self):
        return {"ZK_REFUSE": f"{self.number}{'-' if self.is_for_good else ''}"}


def run_with_allocator(world, environment):
    return world.run(f"preload={world.kit.allocator}", environment=environment)


@pytest.fixture
def refusals(kit, situation):
    """One for each allocation of a run that gets them all."""
    with kit.world(situation) as world:
        count = world.folder / "count"
        result = run_with_allocator(world, {"ZK_COUNT": str(count)})
        assert result.outcome == INSTALLED
        assert result.launched == [NEW]
        return [Refusal(number, is_for_good) for number in range(int(count.read_text()))
                for is_for_good in (False, True)]


@pytest.fixture
def refuse(kit, checkout, situation):
    def check(refusal):
        with kit.world(situation) as world:
            result = run_with_allocator(world, refusal.environment())
            check_poor_run(world, result)
            check_locks(world)
            check_next_run(world, checkout)

    return check


@pytest.mark.parametrize("part", range(PARTS_OF_SAMPLE))
def test_some_allocations_fail(try_all, refusals, refuse, part):
    try_all(part_of(sample(refusals, lambda refusal: refusal.is_for_good, 80), part, PARTS_OF_SAMPLE), refuse)


@pytest.mark.full
@pytest.mark.parametrize("part", range(PARTS))
@pytest.mark.parametrize("situation", SITUATIONS, ids=str)
def test_every_allocation_fails(try_all, refusals, refuse, part):
    try_all(part_of(refusals, part, PARTS), refuse)
