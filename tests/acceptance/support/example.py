"""The application in examples/, set up to update itself."""

import os

from support.semaphores import Semaphore


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
            command = [self.bundle.executable, *arguments]
            return self.scene.start(command, env={**os.environ, **environment}, stderr=errors)

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
