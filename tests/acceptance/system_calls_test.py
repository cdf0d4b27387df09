"""How many system calls a run makes."""

import pytest

from support.installer import INSTALLED
from support.traces import SYNCS, first, last


def make_files(folders, top, files_in_each, contents=b"contents"):
    for number in range(folders):
        folder = top / f"folder-{number}"
        folder.mkdir(exist_ok=True)
        for file in range(files_in_each):
            (folder / f"file-{file}").write_bytes(contents)


def calls_of_copies(scene, trace):
    """The calls from the first copy's beginning to the second one's end, but for those that remove the old bundle."""
    assert scene.install(wrapper=trace.command) == INSTALLED
    calls = trace.calls()
    begin = first(calls, lambda call: call.name == "mkdirat")
    removal = first(calls, lambda call: call.name == "unlinkat" and call.is_on(scene.target.path))
    second = last(calls, lambda call: call.name == "mkdirat" and call.path == str(scene.target.path))
    end = last(calls, lambda call: call.name in SYNCS)
    assert begin < removal < second < end
    return calls[begin:removal] + calls[second : end + 1]


@pytest.mark.parametrize("size", [100, 100_000])
def test_a_copied_file_costs_at_most_ten_calls_and_no_flush_of_the_disk(scene, traced, size):
    folders, few, many, contents = 10, 20, 120, b"x" * size
    for bundle in (scene.target, scene.update):
        make_files(folders, bundle.resources, few, contents)
    calls_for_few = calls_of_copies(scene, traced())
    for bundle in (scene.target, scene.update):
        make_files(folders, bundle.resources, many, contents)
    scene.start_target()
    calls_for_many = calls_of_copies(scene, traced())

    assert (len(calls_for_many) - len(calls_for_few)) / (2 * folders * (many - few)) <= 10
    for calls in (calls_for_few, calls_for_many):
        assert [call.name for call in calls if call.name in SYNCS] == 2 * ["syncfs", "fsync", "fsync"]


def calls_of_search(scene, trace):
    assert scene.install(wrapper=trace.command) == INSTALLED
    calls = trace.calls()
    # A bundle of the target's own name is looked for first.
    begin = first(calls, lambda call: f'"{scene.updates}/{scene.target.path.name}"' in call.arguments)
    return calls[begin : first(calls, lambda call: call.name == "mkdirat")]


def test_a_searched_folder_costs_at_most_six_calls_and_a_file_in_it_none(scene, traced):
    few, many = 5, 35
    scene.update.path.rename(scene.updates / "last.app")
    make_files(few, scene.updates, 100)
    calls_for_few = calls_of_search(scene, traced())
    make_files(many, scene.updates, 100)
    scene.start_target()
    calls_for_many = calls_of_search(scene, traced())

    assert (len(calls_for_many) - len(calls_for_few)) / (many - few) <= 6
    assert [call for call in calls_for_many if "file-" in call.arguments] == []
