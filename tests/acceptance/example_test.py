"""The application in examples/ as a host that does what the documents recommend."""

import os
import signal
from pathlib import Path

import pytest

from support.processes import eventually
from support.semaphores import Semaphore


class Example:
    """The example in version 1, with an update to version 2."""

    def __init__(self, scene, build):
        programs = build / "examples"
        scene.program = programs / "example_1"
        self.scene = scene
        self.bundle = scene.make_bundle(scene.applications / "Example.app", "1")
        scene.program = programs / "example_2"
        scene.make_bundle(scene.updates / "Example.app", "2")
        self.journal_path = scene.folder / "journal"
        self.installer = scene.folder / "start-installer"
        self.installer.write_text(f'#!/bin/sh\necho $$ >"{scene.folder}/pid"\nexec "{scene.installer}" "$@"\n')
        self.installer.chmod(0o755)
        self.lock = scene.update_semaphore
        self.semaphores = self.lock.name.removesuffix("-update")

    def start(self):
        environment = {
            "EXAMPLE_JOURNAL": str(self.journal_path),
            "EXAMPLE_INSTALLER": str(self.installer),
            "EXAMPLE_UPDATE": str(self.scene.updates),
            "EXAMPLE_SEMAPHORES": self.semaphores,
        }
        return self.scene.start([self.bundle.executable], env={**os.environ, **environment})

    def installer_pid(self):
        return int((self.scene.folder / "pid").read_text())

    def journal(self, version):
        """What a version has printed so far, without the prefix that names it."""
        if not self.journal_path.exists():
            return []
        lines = self.journal_path.read_text().splitlines()
        return [line.partition("]: ")[2] for line in lines if line.startswith(f"version {version} ")]

    def names(self):
        """The semaphores of this application that exist."""
        return [path.name.removeprefix("sem.") for path in Path("/dev/shm").glob(f"sem.{self.semaphores}-*")]

    def remove_names(self):
        for name in self.names():
            Semaphore(name).unlink()


@pytest.fixture
def example(scene, build):
    scene.update_semaphore = scene.semaphore("example")
    scene.update_semaphore.name += "-update"
    example = Example(scene, build)
    scene.stack.callback(example.remove_names)
    return example


def assert_updates(example):
    assert example.start().wait(30) == 0
    eventually(lambda: example.journal(2)[-1:] == ["ends"], "version 2 has come up and ended")
    assert example.bundle.version() == "2"


def test_it_updates_itself_and_leaves_only_the_name_of_the_lock(example):
    assert_updates(example)
    assert example.names() == [example.lock.name]


def test_it_updates_itself_even_after_an_installer_was_killed_with_its_semaphore_held(example):
    # The taken lock keeps the first installer waiting while it holds the installer semaphore.
    example.lock.create(taken=True)
    assert example.start().wait(30) == 0
    assert example.journal(1)[-1] == "the installer is ready; quits"
    os.kill(example.installer_pid(), signal.SIGKILL)
    example.lock.post()

    assert_updates(example)


def test_it_goes_on_with_the_old_version_and_ends_an_installer_that_does_not_come_up(example):
    example.installer.write_text(f'#!/bin/sh\necho $$ >"{example.scene.folder}/pid"\nexec sleep infinity\n')
    assert example.start().wait(30) == 1
    assert example.journal(1)[-1] == "the installer did not come up; goes on as it is"
    assert example.names() == [], "no semaphore is left"
    assert not Path(f"/proc/{example.installer_pid()}").exists()
