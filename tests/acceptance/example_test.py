"""The application in examples/ as a host that does what the documents recommend."""

import os
import re
import signal
from pathlib import Path

import pytest

from support.bundles import EXECUTABLE
from support.processes import eventually, stat_fields, wait_for_end
from support.scene import RELAUNCH_ARGUMENTS
from support.semaphores import Semaphore
from support.traces import killing_at


def lock_of(bundle):
    """The name of the lock that all installers of a bundle share, by its path."""
    value = 0xCBF29CE484222325
    for byte in os.fsencode(bundle):
        value = (value ^ byte) * 0x100000001B3 % 2**64
    return f"zk-update-{value:016x}"


class Example:
    """The example in version 1, with an update to version 2."""

    def __init__(self, scene, build):
        programs = build / "examples"
        scene.program = programs / "example_1"
        self.scene = scene
        self.bundle = scene.make_bundle(scene.applications / "Example.app", "1")
        scene.program = programs / "example_2"
        self.update = scene.make_bundle(scene.updates / "Example.app", "2")
        self.journal_path = scene.folder / "journal"
        self.errors_path = scene.folder / "errors"
        self.installer = scene.folder / "start-installer"
        self.write_installer(f'exec "{scene.installer}" "$@"')
        self.lock = Semaphore(lock_of(self.bundle.path.resolve()))
        scene.stack.callback(self.lock.unlink)

    def write_installer(self, *lines):
        """What is started as the installer: notes its process and its settings, then does this."""
        head = ["#!/bin/sh", f'cd "{self.scene.folder}"', "echo $$ >pid", 'printf "%s\\n" "$@" >settings']
        self.installer.write_text("\n".join([*head, *lines, ""]))
        self.installer.chmod(0o755)

    def start(self, *arguments):
        environment = {
            "EXAMPLE_JOURNAL": str(self.journal_path),
            "EXAMPLE_INSTALLER": str(self.installer),
            "EXAMPLE_UPDATE": str(self.scene.updates),
        }
        with open(self.errors_path, "w") as errors:
            return self.scene.start([self.bundle.executable, *arguments], env={**os.environ, **environment}, stderr=errors)

    def installer_pid(self):
        return int((self.scene.folder / "pid").read_text())

    def has_settings(self):
        """Whether the installer has noted them."""
        path = self.scene.folder / "settings"
        return path.exists() and path.read_text().endswith("-enableLog\nYES\n")

    def settings(self):
        """The settings that the installer was given, by their keys."""
        words = (self.scene.folder / "settings").read_text().splitlines()
        return dict(zip(words[::2], words[1::2]))

    def errors(self):
        return self.errors_path.read_text()

    def journal(self, version):
        """What a version has printed so far, without the prefix that names it."""
        if not self.journal_path.exists():
            return []
        lines = self.journal_path.read_text().splitlines()
        return [line.partition("]: ")[2] for line in lines if line.startswith(f"version {version} ")]

    def assert_its_semaphore_is_gone(self):
        assert Semaphore(self.settings()["-installerSemaphore"]).count() is None


@pytest.fixture
def example(scene, build):
    return Example(scene, build)


def assert_updates(example):
    assert example.start().wait(30) == 0
    eventually(lambda: example.journal(2)[-1:] == ["ends"], "version 2 has come up and ended")
    assert example.bundle.version() == "2"
    assert "follows an update from version 1" in example.journal(2)


def test_it_updates_itself_and_leaves_only_the_name_of_the_lock(example):
    assert_updates(example)
    assert example.settings()["-updateSemaphore"] == example.lock.name
    assert example.lock.count() == 1
    example.assert_its_semaphore_is_gone()


def test_its_semaphores_have_names_that_every_system_takes(example):
    assert_updates(example)
    for setting in ("-installerSemaphore", "-updateSemaphore"):
        assert re.fullmatch(r"[^/]{1,30}", example.settings()[setting])


def test_it_updates_itself_even_after_an_installer_was_killed_with_its_semaphore_held(example):
    # The taken lock keeps the first installer waiting while it holds the installer semaphore.
    example.lock.create(taken=True)
    assert example.start().wait(30) == 0
    assert example.journal(1)[-1] == "the installer is ready; quits"
    os.kill(example.installer_pid(), signal.SIGKILL)
    example.lock.post()

    assert_updates(example)


@pytest.fixture
def gate(example):
    """A file without which the installer does not begin."""
    example.write_installer("until [ -e gate ]; do sleep 0.01; done", f'exec "{example.scene.installer}" "$@"')
    return example.scene.folder / "gate"


def start_waiting(example):
    """Starts version 1, which waits for an installer. Returns its process and the installer's semaphore."""
    process = example.start()
    eventually(example.has_settings, "the installer was given its settings")
    semaphore = Semaphore(example.settings()["-installerSemaphore"])
    example.scene.stack.callback(semaphore.unlink)
    return process, semaphore


def test_an_installer_finishes_the_update_of_an_application_that_is_killed_while_it_waits(example, gate):
    process, semaphore = start_waiting(example)
    process.send_signal(signal.SIGSTOP)
    eventually(lambda: stat_fields(process.pid)[0] == "T", "the application is stopped")
    gate.touch()
    eventually(lambda: semaphore.count() == 0, "the installer holds its semaphore")
    process.kill()
    eventually(lambda: example.journal(2)[-1:] == ["ends"], "version 2 has come up and ended")
    assert example.bundle.version() == "2"


def test_an_installer_that_does_not_find_the_application_any_more_changes_nothing(example, gate):
    process, _ = start_waiting(example)
    process.kill()
    process.wait()
    gate.touch()
    wait_for_end(example.installer_pid())
    assert example.bundle.version() == "1"
    assert example.scene.backups(beside=example.bundle.path) == []
    assert example.journal(2) == []

    assert_updates(example)


def test_an_incomplete_new_version_is_not_taken_for_an_installed_update(example):
    # The second wait for the disk is the one for the new bundle, which has all its files by then.
    killing = " ".join(killing_at("syncfs", 2))
    example.write_installer(f'exec {killing} "{example.scene.installer}" "$@"')
    assert example.start().wait(30) == 0
    wait_for_end(example.installer_pid())
    assert example.bundle.version() == "2"
    assert len(example.scene.backups(beside=example.bundle.path)) == 1

    assert example.start(*RELAUNCH_ARGUMENTS).wait(30) == 0
    assert "follows an update that was not installed" in example.journal(2)


def assert_goes_on(example):
    assert example.start().wait(30) == 1
    assert example.journal(1)[-1] == "the installer did not come up; goes on as it is"
    assert example.bundle.version() == "1"


def test_it_goes_on_with_the_old_version_and_ends_an_installer_that_does_not_come_up(example):
    example.write_installer("sleep infinity")
    assert_goes_on(example)
    assert example.errors() == "The installer was not ready in time.\n\n"
    example.assert_its_semaphore_is_gone()
    assert not Path(f"/proc/{example.installer_pid()}").exists()


def test_it_goes_on_with_the_old_version_and_the_words_of_an_installer_that_fails(example):
    # The installer finds no process with this id.
    example.write_installer('shift 2', f'exec "{example.scene.installer}" -pid 0 "$@"')
    assert_goes_on(example)
    reason, line = example.errors().splitlines()
    assert reason == "The installer ended before it was ready."
    assert line.endswith("Error: Target PID not specified.")
    example.assert_its_semaphore_is_gone()


def test_it_starts_no_installer_for_an_update_that_could_never_start(example):
    (example.update.path / "Contents/MacOS" / EXECUTABLE).chmod(0o644)
    assert_goes_on(example)
    assert example.errors() == "The new bundle has no executable program.\n\n"
    assert not (example.scene.folder / "settings").exists()
