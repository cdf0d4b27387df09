"""Rounds of runs, the figures computed from them, and the goals for these figures."""

import random
import statistics
from typing import NamedTuple

from installing.runs import SCRIPTS

OURS = "zkupdater"
MIB = 1 << 20

FLUSH_GOALS = {"ext4": 16, "xfs": 16, "btrfs": 16}
MOST_CALLS = 10  # for each regular file copied
MOST_GROWTH = 1.3  # of the time for each file
CLONE_GOALS = {"xfs": 2.0, "btrfs": 2.0}  # file systems on which files can share blocks
MOST_MEMORY = 16 * MIB

AGAINST_CP = {"small": 0.90, "app": 0.95, "medium": 1.05, "large": 1.05}
WALL_GOALS = {
    ("ext4", "cp -a, sync -f"): AGAINST_CP,
    ("xfs", "cp -a, sync -f"): AGAINST_CP,
    ("btrfs", "cp -a, sync -f"): AGAINST_CP,
    ("ext4", "rsync -a, sync -f"): {"small": 0.60, "app": 0.75},
}
PROCESSOR_GOALS = {("tmpfs", "cp -a, sync -f"): {"small": 0.80, "app": 0.90}}


class Comparison(NamedTuple):
    """What was measured of one recipe in one place."""

    place: str
    recipe: str
    files: int
    bytes: int
    rounds: list  # dictionaries of outcomes by name
    calls: dict  # system calls for each file, by name

    def median(self, name, measure):
        return statistics.median(getattr(outcomes[name], measure) for outcomes in self.rounds)

    def ratios(self, name, measure):
        """Ours divided by the other's, each pair from one round."""
        return [getattr(outcomes[OURS], measure) / getattr(outcomes[name], measure) for outcomes in self.rounds]


def compare(place, recipe, stage, rounds, is_checked=False):
    contenders = {OURS: stage.run_installer}
    for name, text in SCRIPTS.items():
        contenders[name] = lambda wrapper=(), text=text: stage.run_script(text, wrapper)

    measured = []
    for _ in range(rounds):
        outcomes = {}
        for name in random.sample(list(contenders), len(contenders)):
            outcomes[name] = contenders[name]()
            if is_checked:
                stage.check()
        measured.append(outcomes)
    calls = {name: stage.system_calls(contenders[name]) for name in (OURS, "cp -a")}
    return Comparison(place, recipe, stage.files, stage.bytes, measured, calls)


def beside(value, goal):
    """A figure and, if there is one, its goal: the most that it may be."""
    return f"{value:.2f}" if goal is None else f"{value:.2f} ({goal:.2f})"


def table(comparison):
    """Lines for one recipe in one place. Goals are in parentheses."""
    place, recipe = comparison.place, comparison.recipe
    has_device = place != "tmpfs"
    lines = [
        f"{place}, {recipe}: {comparison.files:,} files, {comparison.bytes / 1e6:,.0f} MB, "
        f"rounds: {len(comparison.rounds)}",
        f"  {'':18} {'wall s':>8} {'ours/its':>12} {'range':>12} {'cpu s':>8} {'ours/its':>12} "
        f"{'flushes':>8} {'MB written':>10} {'MiB peak':>8}",
    ]
    for name in (OURS, *SCRIPTS):
        ratios = [""] * 3
        if name != OURS:
            wall, processor = comparison.ratios(name, "wall"), comparison.ratios(name, "processor")
            ratios = [
                beside(statistics.median(wall), WALL_GOALS.get((place, name), {}).get(recipe)),
                f"{min(wall):.2f}-{max(wall):.2f}",
                beside(statistics.median(processor), PROCESSOR_GOALS.get((place, name), {}).get(recipe)),
            ]
        flushes = f"{comparison.median(name, 'flushes'):.0f}" if has_device else "-"
        if name == OURS and place in FLUSH_GOALS:
            flushes += f" ({FLUSH_GOALS[place]})"
        written = f"{comparison.median(name, 'written') / 1e6:,.1f}" if has_device else "-"
        lines.append(
            f"  {name:18} {comparison.median(name, 'wall'):8.3f} {ratios[0]:>12} {ratios[1]:>12} "
            f"{comparison.median(name, 'processor'):8.3f} {ratios[2]:>12} {flushes:>8} {written:>10} "
            f"{comparison.median(name, 'memory') / MIB:8.1f}"
        )
    calls = ", ".join(f"{name} {count:.1f}" for name, count in comparison.calls.items())
    return "\n".join([*lines, f"  system calls for each regular file copied: {calls} (zkupdater: {MOST_CALLS})"])


def paired_walls(first, second, rounds):
    """The installer's times for two stages, each pair from one round."""
    pairs = []
    for _ in range(rounds):
        walls = {stage: stage.run_installer().wall for stage in random.sample([first, second], 2)}
        pairs.append((walls[first], walls[second]))
    return pairs


def median_ratio(pairs):
    return statistics.median(first / second for first, second in pairs)


def growth_line(place, many, few, rounds):
    pairs = [(first / many.files, second / few.files) for first, second in paired_walls(many, few, rounds)]
    return (f"{place}, time for each file, {many.files:,} files against {few.files:,}: "
            f"{beside(median_ratio(pairs), MOST_GROWTH)}")


def clone_line(place, large, small, rounds):
    pairs = paired_walls(large, small, rounds)
    return (f"{place}, one file of {large.bytes / MIB:,.0f} MiB against one of {small.bytes / MIB:,.0f} MiB: "
            f"{beside(median_ratio(pairs), CLONE_GOALS.get(place))}")


def memory_line(place, what, stage):
    memory = stage.run_installer().memory
    return (f"{place}, peak memory, {stage.files:,} files{what}: {memory / MIB:.1f} MiB, "
            f"to the goal of {MOST_MEMORY / MIB:.0f} MiB {memory / MOST_MEMORY:.2f}")
