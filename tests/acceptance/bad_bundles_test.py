"""Bundles of the target and of the update that are not what they should be."""

import os
import plistlib

import pytest

from support.bundles import EXECUTABLE, IDENTIFIER, Bundle, add_socket
from support.installer import INSTALLED, failed_creation, failed_with
from support.scene import RELAUNCH_ARGUMENTS

NO_BUNDLE = failed_creation("Unable to get target process bundle path.")
NO_IDENTIFIER = failed_creation("Unable to get target process bundle id.")
SWAP_FAILED = failed_with(
    "Copy update to target failed. Performing rollback.", "Unable to relaunch target application."
)

GOOD_INFO = {"CFBundleIdentifier": IDENTIFIER, "CFBundleExecutable": EXECUTABLE}
TEXT_INFO = f'{{ CFBundleIdentifier = "{IDENTIFIER}"; CFBundleExecutable = {EXECUTABLE}; }}'
TOO_LARGE = (16 << 20) + 1


def written(content):
    return lambda path: path.write_bytes(content if isinstance(content, bytes) else content.encode())


def made_by(make):
    def replace(path):
        path.unlink()
        make(path)

    return replace


def moved_away_and_linked(path):
    path.rename(path.parent / "Real.plist")
    path.symlink_to("Real.plist")


def padded_to_too_large(path):
    with path.open("ab") as file:
        file.write(b"\n" * (TOO_LARGE - file.tell()))


def cut_in_half(path):
    os.truncate(path, path.stat().st_size // 2)


# How Info.plist of the target is spoilt, and how the run ends.
TARGET_INFO = {
    "in the binary form": (written(plistlib.dumps(GOOD_INFO, fmt=plistlib.FMT_BINARY)), INSTALLED),
    "in the old text form": (written(TEXT_INFO), INSTALLED),
    "a link to a file": (moved_away_and_linked, INSTALLED),
    "missing": (os.unlink, NO_BUNDLE),
    "a folder": (made_by(os.mkdir), NO_BUNDLE),
    "a FIFO": (made_by(os.mkfifo), NO_BUNDLE),
    "a dangling link": (made_by(lambda path: path.symlink_to("nowhere")), NO_BUNDLE),
    "empty": (written(""), NO_IDENTIFIER),
    "cut off": (cut_in_half, NO_IDENTIFIER),
    "larger than 16 MiB": (padded_to_too_large, NO_IDENTIFIER),
    "not a property list": (written(b"\x7fELF\x02\x01\x01" + bytes(100)), NO_IDENTIFIER),
    "a binary header alone": (written(b"bplist00"), NO_IDENTIFIER),
    "an array": (written(plistlib.dumps([IDENTIFIER])), NO_IDENTIFIER),
    "without an identifier": (written(plistlib.dumps({"CFBundleExecutable": EXECUTABLE})), NO_IDENTIFIER),
    "with an empty identifier": (written(plistlib.dumps({**GOOD_INFO, "CFBundleIdentifier": ""})), NO_IDENTIFIER),
    "with a number as identifier": (written(plistlib.dumps({**GOOD_INFO, "CFBundleIdentifier": 7})), NO_IDENTIFIER),
    "nested a million deep": (written("(" * 1_000_000), NO_IDENTIFIER),
}


@pytest.mark.parametrize("spoil, expected", TARGET_INFO.values(), ids=TARGET_INFO)
def test_the_info_of_the_target_is(scene, spoil, expected):
    spoil(scene.target.info)
    run = scene.begin()
    scene.end_target()
    assert run.outcome() == expected
    assert len(scene.launched()) == (1 if expected == INSTALLED else 0)
    assert scene.target.version() == ("2" if expected == INSTALLED else "1")


def test_an_info_that_may_not_be_read_gives_no_identifier(scene):
    scene.become_unprivileged()
    scene.target.info.chmod(0)
    assert scene.begin().outcome() == NO_IDENTIFIER


# Info.plist of the update makes no difference to a bundle with the target's name. If it names no executable, the
# bundle's own name is used.
UPDATE_INFO = {name: spoil for name, (spoil, _) in TARGET_INFO.items()}


def is_in_the_layout_of_applications(name):
    return name not in ("missing", "a folder", "a FIFO", "a dangling link")


@pytest.mark.parametrize("name", UPDATE_INFO)
def test_an_update_with_the_targets_name_is_installed_though_its_info_is(scene, name):
    UPDATE_INFO[name](scene.update.info)
    update = scene.update.tree()
    outcome = scene.install()
    assert outcome.status == 0
    assert scene.target.tree() == update
    if is_in_the_layout_of_applications(name):
        assert outcome == INSTALLED
        assert [report.arguments for report in scene.launched()] == [RELAUNCH_ARGUMENTS]
    else:
        assert outcome.messages == failed_with("Unable to relaunch target application.").messages


@pytest.mark.parametrize("name", [name for name, (_, expected) in TARGET_INFO.items() if expected != INSTALLED])
def test_the_search_for_an_identifier_skips_a_bundle_whose_info_is(scene, name):
    spoilt = scene.make_bundle(scene.updates / "A.app", "spoilt")
    UPDATE_INFO[name](spoilt.info)
    scene.update.path.rename(scene.updates / "B.app")
    assert scene.install() == INSTALLED
    assert scene.target.version() == "2"


# What an update may hold: all of this is installed unchanged.


def a_dangling_link(folder):
    (folder / "link").symlink_to("nowhere/at/all")


def a_link_to_a_folder_outside(folder):
    (folder / "link").symlink_to("/usr")


def a_link_to_itself(folder):
    (folder / "link").symlink_to("link")


def folders_that_may_not_be_written(folder):
    (folder / "one/two").mkdir(parents=True)
    (folder / "one/two/file").write_text("read only\n")
    for name in ("one/two/file", "one/two", "one"):
        (folder / name).chmod(0o444 if name.endswith("file") else 0o555)


def a_name_of_255_bytes(folder):
    (folder / ("n" * 255)).write_text("long\n")
    (folder / ("d" * 255)).mkdir()
    (folder / ("d" * 255) / ("ä" * 127 + "x")).write_text("long\n")


def names_that_are_no_text(folder):
    (folder / os.fsdecode(b"\xff\xfe")).write_text("bytes\n")
    (folder / os.fsdecode(b"line\nend\x01")).mkdir()
    (folder / "-rf *").write_text("blanks\n")


def a_fifo(folder):
    os.mkfifo(folder / "fifo", 0o640)


def a_file_of_two_names(folder):
    (folder / "one").write_text("one file\n")
    os.link(folder / "one", folder / "two")


def a_file_that_is_mostly_a_hole(folder):
    with (folder / "hole").open("wb") as file:
        file.seek(1 << 30)
        file.write(b"end")


def set_id_bits(folder):
    (folder / "tool").write_text("#!/bin/sh\n")
    (folder / "tool").chmod(0o6755)
    (folder / "shared").mkdir()
    (folder / "shared").chmod(0o3775)


def a_deep_tree(folder):
    path = folder
    for _ in range(200):
        path = path / "deeper"
    path.mkdir(parents=True)
    (path / "bottom").write_text("here\n")


def many_small_files(folder):
    for number in range(300):
        (folder / f"{number}.txt").write_text(str(number))


HARMLESS = [
    a_dangling_link,
    a_link_to_a_folder_outside,
    a_link_to_itself,
    folders_that_may_not_be_written,
    a_name_of_255_bytes,
    names_that_are_no_text,
    a_fifo,
    a_file_of_two_names,
    set_id_bits,
    a_deep_tree,
    many_small_files,
]


@pytest.mark.parametrize("unprivileged", [False, True], ids=["", "unprivileged"])
@pytest.mark.parametrize("add", HARMLESS, ids=lambda add: add.__name__)
def test_an_update_is_installed_that_holds(scene, add, unprivileged):
    add(scene.update.resources)
    if unprivileged:
        scene.become_unprivileged()
    update = scene.update.tree()
    assert scene.install() == INSTALLED
    assert scene.target.tree() == update
    assert scene.update.tree() == update


def test_a_file_of_two_names_stays_one_file(scene):
    a_file_of_two_names(scene.update.resources)
    assert scene.install() == INSTALLED
    one, two = scene.target.resources / "one", scene.target.resources / "two"
    assert one.samefile(two)
    assert not one.samefile(scene.update.resources / "one")


def test_a_hole_stays_a_hole(scene):
    a_file_that_is_mostly_a_hole(scene.update.resources)
    assert scene.install() == INSTALLED
    status = (scene.target.resources / "hole").stat()
    assert status.st_size == (1 << 30) + 3
    assert status.st_blocks * 512 <= 1 << 20


def test_the_file_behind_a_link_in_the_old_version_is_left_alone(scene):
    outside = scene.make_folder("outside")
    (outside / "precious").write_text("keep\n")
    (scene.target.resources / "link").symlink_to(outside)
    assert scene.install() == INSTALLED
    assert (outside / "precious").read_text() == "keep\n"
    assert not os.path.lexists(scene.target.resources / "link")


def test_an_old_version_whose_folders_may_not_be_written_is_replaced(scene):
    folders_that_may_not_be_written(scene.target.resources)
    scene.become_unprivileged()
    old = scene.target.tree()
    assert scene.install() == INSTALLED
    assert scene.target.tree() == scene.update.tree()
    assert Bundle(scene.backup()).tree() == old


# What an update may not hold: the swap fails after the old version has been backed up and removed.


def an_unreadable_file(folder):
    (folder / "unreadable").write_text("secret\n")
    (folder / "unreadable").chmod(0)


def an_unreadable_folder(folder):
    (folder / "unreadable").mkdir()
    (folder / "unreadable").chmod(0)


HARMFUL = [add_socket, an_unreadable_file, an_unreadable_folder]


@pytest.mark.parametrize("add", HARMFUL, ids=lambda add: add.__name__)
def test_the_swap_fails_if_the_update_holds(scene, add):
    add(scene.update.resources)
    scene.become_unprivileged()
    old = scene.target.tree()
    assert scene.install() == SWAP_FAILED
    assert Bundle(scene.backup()).tree() == old
    assert scene.is_nothing_held()
    assert scene.launched() == []


@pytest.mark.parametrize("add", HARMFUL, ids=lambda add: add.__name__)
def test_the_backup_fails_if_the_target_holds(scene, add):
    add(scene.target.resources)
    scene.become_unprivileged()
    outcome = scene.install()
    assert outcome == failed_with("Unable to backup target.")
    assert scene.target.version() == "1"
    assert scene.is_nothing_held()
    assert [report.version for report in scene.launched()] == ["1"]
