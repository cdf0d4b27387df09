"""Settings that are missing, odd or wrong."""

import os

import pytest

from support.bundles import Bundle
from support.installer import INSTALLED, Outcome, failed_creation, failed_with
from support.processes import a_kernel_thread, an_unused_pid
from support.scene import NOBODY, needs_two_users

NOT_SPECIFIED = failed_creation("Target PID not specified.")
NO_PROCESS = failed_creation("Unable to get target process serial number.")
NO_BUNDLE = failed_creation("Unable to get target process bundle path.")
NO_PATH = failed_creation("Invalid update path.")
NOT_FOUND = failed_with("Unable to locate update bundle.")


# All settings


def test_a_run_without_settings_fails_silently(scene):
    run = scene.begin_plainly([])
    assert run.outcome() == Outcome(1, [])
    assert scene.launched() == []


def test_a_run_with_nothing_but_its_log_enabled_says_that_the_pid_is_missing(scene):
    run = scene.begin_plainly(["-enableLog", "YES"])
    assert run.outcome() == NOT_SPECIFIED
    assert scene.launched() == []


def test_stray_words_and_unknown_settings_are_ignored(scene):
    wanted = scene.settings()
    run = scene.begin_plainly(["word", "-", "--", "-unknown", "value", *wanted, "-another", "word", "-last"])
    run.wait_until_waiting()
    scene.end_target()
    assert run.outcome() == INSTALLED


def test_the_last_of_two_equal_settings_counts(scene):
    run = scene.begin_plainly(["-updatePath", "/nowhere", "-pid", "0", *scene.settings()])
    run.wait_until_waiting()
    scene.end_target()
    assert run.outcome() == INSTALLED


# The process id

WRONG_IDS = {
    "empty": ("", NOT_SPECIFIED),
    "zero": ("0", NOT_SPECIFIED),
    "a word": ("Editor", NOT_SPECIFIED),
    "hexadecimal": ("0x10", NOT_SPECIFIED),
    "two to the 32nd, whose low half is zero": ("4294967296", NOT_SPECIFIED),
    "below all integers, which gives the least, whose low half is zero": ("-99999999999999999999", NOT_SPECIFIED),
    "negative": ("-1", NO_PROCESS),
    "the least of all": ("-2147483648", NO_PROCESS),
    "above all integers, which gives the greatest, whose low half is all ones": ("99999999999999999999", NO_PROCESS),
    "the greatest": ("2147483647", NO_PROCESS),
}


@pytest.mark.parametrize("pid, expected", WRONG_IDS.values(), ids=WRONG_IDS)
def test_a_wrong_process_id(scene, pid, expected):
    old = scene.target.tree()
    assert scene.begin(pid=pid).outcome() == expected
    assert scene.launched() == []
    assert scene.target.tree() == old


@pytest.mark.parametrize("last", ["-pid", "-updatePath"])
def test_a_key_without_a_value_has_an_empty_value(scene, last):
    arguments = scene.settings(**{last[1:]: None})
    expected = {"-pid": NOT_SPECIFIED, "-updatePath": NO_PATH}[last]
    assert scene.begin_plainly([*arguments, last]).outcome() == expected
    assert scene.begin_plainly([last, *arguments]).outcome() == expected


ODD_IDS = {
    "with blanks and a sign": lambda pid: f" \t+{pid}",
    "with something after it": lambda pid: f"{pid} (Editor)",
    "with leading zeros": lambda pid: f"000{pid}",
    "with bits above the low 32, which do not count": lambda pid: str(2**32 + pid),
    "negative, with the right low 32 bits": lambda pid: str(pid - 2**32),
}


@pytest.mark.parametrize("spelling", ODD_IDS.values(), ids=ODD_IDS)
def test_the_right_process_id_may_be_written(scene, spelling):
    pid = scene.start_target().pid
    assert scene.install(pid=spelling(pid)) == INSTALLED


def test_an_unknown_process(scene):
    assert scene.begin(pid=an_unused_pid()).outcome() == NO_PROCESS


def test_a_thread_id_is_not_a_process_id(scene):
    thread = scene.start_target("stay-with-a-second-thread").thread
    assert thread != scene.running.pid
    assert scene.begin(pid=thread).outcome() == NO_PROCESS


def test_a_process_that_has_ended_but_not_been_reaped_is_not_found(scene):
    target = scene.start_target()
    target.kill()
    os.waitid(os.P_PID, target.pid, os.WEXITED | os.WNOWAIT)
    assert scene.begin(pid=target.pid).outcome() == NO_PROCESS


def test_a_kernel_thread_has_no_bundle(scene):
    pid = a_kernel_thread()
    if pid is None:
        pytest.skip("no kernel thread can be seen here")
    assert scene.begin(pid=pid).outcome() == NO_BUNDLE


def test_a_program_outside_any_bundle_has_no_bundle(scene):
    assert scene.begin(pid=scene.start(["/usr/bin/sleep", "infinity"]).pid).outcome() == NO_BUNDLE


@needs_two_users
def test_another_users_process_does_not_show_its_bundle_to_an_unprivileged_installer(scene):
    scene.start_target()
    scene.become_unprivileged()
    old = scene.target.tree()
    assert scene.begin().outcome() == NO_BUNDLE
    assert scene.launched() == []
    assert scene.target.tree() == old


@needs_two_users
def test_another_users_process_is_updated_by_root(scene):
    scene.become_unprivileged()
    scene.start_target()
    scene.user = None
    old = scene.target.tree()
    assert scene.install() == INSTALLED
    assert scene.target.version() == "2"
    assert scene.target.path.stat().st_uid == NOBODY
    assert Bundle(scene.backup()).tree() == old


# The update path


def in_a_folder(name):
    def change(scene):
        scene.updates = scene.updates.rename(scene.folder / name)
        return scene.updates

    return change


ODD_PATHS = {
    "relative": lambda scene: "Updates",
    "relative, with dots": lambda scene: "./reports/../Updates",
    "with trailing slashes": lambda scene: f"{scene.updates}//",
    "with doubled slashes": lambda scene: f"//{scene.updates}".replace("/Updates", "//Updates"),
    "with blanks": in_a_folder("  new  updates "),
    "with letters beyond ASCII": in_a_folder("Aktualisierungen für Ελλάδα 更新"),
    "with bytes that are not valid text": in_a_folder(os.fsdecode(b"up\xff\xfedates")),
    "with a line end": in_a_folder("up\ndates"),
    "with percent signs": in_a_folder("%s%n%@ 100%"),
    "of the longest name": in_a_folder("u" * 255),
    "beginning with a hyphen": lambda scene: in_a_folder("-updates")(scene) and "./-updates",
}


@pytest.mark.parametrize("path", ODD_PATHS.values(), ids=ODD_PATHS)
def test_an_odd_update_path_works(scene, path):
    assert scene.install(updatePath=path(scene)) == INSTALLED
    assert scene.target.version() == "2"
    assert [item.name for item in scene.updates.iterdir()] == ["Editor.app"], "the record is gone"


def test_a_link_to_the_update_folder_is_followed(scene):
    (scene.folder / "link").symlink_to("Updates")
    assert scene.install(updatePath=scene.folder / "link") == INSTALLED


def a_file(scene):
    path = scene.folder / "file"
    path.write_text("no folder\n")
    return path


def a_dangling_link(scene):
    path = scene.folder / "link"
    path.symlink_to("nowhere")
    return path


PATHS_WITHOUT_AN_UPDATE = {
    "missing": lambda scene: scene.folder / "nowhere",
    "a file": a_file,
    "a file, with a trailing slash": lambda scene: f"{a_file(scene)}/",
    "a dangling link": a_dangling_link,
    "a device": lambda scene: "/dev/null",
    "an empty folder": lambda scene: scene.reports,
    "as long as a path can be": lambda scene: "/u" * 2047 + "u",
    "a name that is too long": lambda scene: "/" + "u" * 256,
}


@pytest.mark.parametrize("path", PATHS_WITHOUT_AN_UPDATE.values(), ids=PATHS_WITHOUT_AN_UPDATE)
def test_an_update_path_that_leads_to_no_update(scene, path):
    old = scene.target.tree()
    assert scene.install(updatePath=path(scene)) == NOT_FOUND
    assert scene.target.tree() == old
    (report,) = scene.launched()
    assert report.version == "1"
    assert scene.installer_semaphore.count() == 1
    assert scene.update_semaphore.count() == 1


def test_an_empty_update_path(scene):
    assert scene.begin(updatePath="").outcome() == NO_PATH


def test_an_update_path_that_looks_like_a_key_is_read_as_a_key(scene):
    (scene.folder / "-updates").mkdir()
    assert scene.begin(updatePath="-updates").outcome() == NO_PATH


def test_an_update_folder_that_may_not_be_read(scene):
    scene.become_unprivileged()
    scene.updates.chmod(0)
    assert scene.install() == NOT_FOUND
    assert len(scene.launched()) == 1


def test_an_update_folder_that_may_not_be_listed_still_gives_the_bundle_with_the_targets_name(scene):
    scene.become_unprivileged()
    scene.updates.chmod(0o311)
    assert scene.install() == INSTALLED


def test_an_update_folder_that_may_not_be_written_costs_only_the_record(scene):
    scene.become_unprivileged()
    scene.updates.chmod(0o555)
    run = scene.begin()
    assert scene.is_held(scene.update_semaphore)
    assert not scene.record_path().exists()
    scene.end_target()
    assert run.outcome() == INSTALLED
    assert scene.is_nothing_held()


# The names of the semaphores

LONGEST_NAME = 251  # the system puts four more bytes in front

GOOD_NAMES = {
    "with a leading slash": lambda name: "/" + name,
    "with blanks": lambda name: name + " with blanks",
    "with letters beyond ASCII": lambda name: name + "-Größe-更新",
    "with bytes that are not valid text": lambda name: name + os.fsdecode(b"\xff"),
    "with a percent sign": lambda name: name + "%@%s%n",
    "as long as a name can be": lambda name: name.ljust(LONGEST_NAME, "x"),
}


@pytest.mark.parametrize("setting", ["installerSemaphore", "updateSemaphore"])
@pytest.mark.parametrize("spelling", GOOD_NAMES.values(), ids=GOOD_NAMES)
def test_an_odd_semaphore_name_works(scene, setting, spelling):
    semaphore = {"installerSemaphore": scene.installer_semaphore, "updateSemaphore": scene.update_semaphore}[setting]
    semaphore.name = spelling(semaphore.name)
    run = scene.begin()
    assert scene.is_held(semaphore)
    scene.end_target()
    assert run.outcome() == INSTALLED
    assert semaphore.count() == 1
    assert os.listdir(scene.updates) == ["Editor.app"]


BAD_NAMES = {
    "an inner slash": "inner/slash",
    "only a slash": "/",
    "one byte too long": "x" * (LONGEST_NAME + 1),
    "much too long": "x" * 5000,
}
CREATION_MESSAGES = {
    "installerSemaphore": "Failed to create installer semaphore.",
    "updateSemaphore": "Failed to create update semaphore.",
}


@pytest.mark.parametrize("setting", CREATION_MESSAGES)
@pytest.mark.parametrize("name", BAD_NAMES.values(), ids=BAD_NAMES)
def test_a_semaphore_name_that_the_system_refuses(scene, setting, name):
    old = scene.target.tree()
    assert scene.install(**{setting: name}) == failed_with(CREATION_MESSAGES[setting])
    assert scene.target.tree() == old
    assert len(scene.launched()) == 1
    assert scene.is_nothing_held()


@pytest.mark.parametrize("names", [("", ""), ("", None), (None, "")])
def test_an_empty_semaphore_name_means_no_semaphore(scene, names):
    assert scene.install(installerSemaphore=names[0], updateSemaphore=names[1]) == INSTALLED
    assert scene.installer_semaphore.count() is None
    assert scene.update_semaphore.count() is None


def test_one_semaphore_may_be_named_alone(scene):
    run = scene.begin(installerSemaphore=None)
    assert scene.is_held(scene.update_semaphore)
    scene.end_target()
    assert run.outcome() == INSTALLED
    assert scene.update_semaphore.count() == 1
