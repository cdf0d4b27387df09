"""Which points of a matrix are tried."""

# A matrix is tried in parts, which can run beside each other.
PARTS = 8
PARTS_OF_SAMPLE = 2


class NotTried(Exception):
    """A run did not come to its point, or nothing could go wrong there."""


def part_of(whole, part, parts):
    return whole[part::parts]


def sample(whole, kind, most):
    """At most so many of each kind, spread over the run."""
    kinds = {}
    for point in whole:
        kinds.setdefault(kind(point), []).append(point)
    chosen = []
    for members in kinds.values():
        step = max(1, -(-len(members) // most))
        chosen += members[::step]
    return chosen
