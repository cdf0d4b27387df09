"""How much memory a run takes for large bundles."""

import re

import pytest

from support.bundles import remove_tree
from support.installer import INSTALLED
from support.processes import LIMIT, eventually

MOST = 16 << 10  # kilobytes


def peak_of(scene):
    """The most memory that a run had, in kilobytes."""
    run = scene.begin()
    scene.end_target()
    peak = 0

    def has_ended():
        nonlocal peak
        try:
            with open(f"/proc/{run.pid}/status") as status:
                found = re.search(r"^VmHWM:\s*(\d+) kB", status.read(), re.MULTILINE)
        except ProcessLookupError:
            found = None
        peak = int(found[1]) if found else peak
        return run.has_ended()

    eventually(has_ended, "the run has ended", 10 * LIMIT)
    assert run.outcome() == INSTALLED
    assert peak > 0
    return peak


@pytest.mark.full
def test_a_hundred_thousand_files_take_less_than_sixteen_mebibytes(scene, sanitizers):
    if sanitizers:
        pytest.skip("sanitizers take memory of their own")
    for folder, count in [("large", 20_000), *((f"{number}", 800) for number in range(100))]:
        (scene.update.resources / folder).mkdir()
        for number in range(count):
            (scene.update.resources / folder / f"file-{number}").write_text("x")
    assert peak_of(scene) < MOST, "for copying them"

    # Now they are the old bundle.
    remove_tree(scene.update.path)
    scene.make_bundle(scene.update.path, "3")
    scene.start_target()
    assert peak_of(scene) < MOST, "for copying and removing them"
    assert scene.target.version() == "3"
