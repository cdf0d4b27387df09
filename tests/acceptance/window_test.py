"""The desktop application in examples/, whose window updates itself when its button is pressed.

With ZK_PICTURES=docs/pictures, this also writes the pictures of the README.
"""

import importlib.util
import os
import plistlib
from pathlib import Path

import pytest

from support.display import START_LIMIT, Display
from support.example import lock_of
from support.processes import eventually
from support.semaphores import Semaphore


@pytest.fixture
def display(sanitizers):
    if sanitizers:
        pytest.skip("a program without sanitizers cannot load a library with them")
    if not importlib.util.find_spec("tkinter"):
        pytest.skip("needs python3-tk")
    display = Display()
    try:
        yield display
    finally:
        display.close()


class Window:
    """The application in version 1, with an update to version 2 and the pointer on its button."""

    def __init__(self, scene, display, checkout):
        self.bundle = scene.applications / "Hello.app"
        self.update_folder = scene.folder / "cache/com.example.hello/update"
        scene.stack.callback(Semaphore(lock_of(self.bundle.resolve())).unlink)
        self.errors = scene.folder / "errors"
        with open(self.errors, "w") as errors:
            environment = {**os.environ, "DISPLAY": display.name, "LC_ALL": "C.UTF-8"}
            command = [checkout / "examples/open_window", scene.folder]
            self.process = scene.start(command, env=environment, stderr=errors)
        self.shown = display.titled("Hello 1.0 (1)")
        # The button is the lowest thing in the window. The pointer alone changes its look, so it is put there first.
        display.point_at(*max(display.leaves(self.shown), key=lambda centre: centre[1]))
        self.picture = display.picture_at_rest(self.shown)

    def colour(self):
        return plistlib.loads((self.bundle / "Contents/Info.plist").read_bytes())["HelloColour"]


@pytest.fixture
def window(display, scene, checkout):
    return Window(scene, display, checkout)


def keep(picture, name):
    if folder := os.environ.get("ZK_PICTURES"):
        Path(folder).mkdir(exist_ok=True)
        picture.write(Path(folder) / name)


def test_pressing_the_button_brings_up_the_window_of_version_2_and_leaves_nothing_behind(display, scene, window):
    old_colour = window.colour()
    before = window.picture
    assert before.colour(3, 3) == old_colour
    keep(before, "version-1.png")

    display.click()
    assert window.process.wait(START_LIMIT) == 0, window.errors.read_text()
    after = display.picture(display.titled("Hello 2.0 (1)"))
    keep(after, "version-2.png")
    assert after.colour(3, 3) == window.colour() != old_colour
    assert (after.width, after.height) == (before.width, before.height)

    eventually(lambda: not window.update_folder.exists(), "the update folder is removed", START_LIMIT)
    assert [item.name for item in scene.backups(beside=window.bundle)] == []


def test_after_a_refusal_the_window_says_why_and_its_button_can_be_pressed_again(display, window):
    before = window.picture
    program = window.update_folder / "Hello.app/Contents/MacOS/Hello"
    program.chmod(0o644)
    display.click()
    eventually(lambda: display.picture(window.shown) != before, "the window says why", START_LIMIT)
    assert display.picture_at_rest(window.shown) != before
    assert window.process.poll() is None

    program.chmod(0o755)
    display.click()
    display.titled("Hello 2.0 (1)")
