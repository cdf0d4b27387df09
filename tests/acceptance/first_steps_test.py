"""docs/first-steps.md, run as printed: its transcript, typed line by line, prints what the document says."""

import re
import shutil
import time

import pytest

from support.debian import output_of
from support.documents import listings, only
from support.example import lock_of
from support.namespaces import PrivateMounts
from support.scene import TIED
from support.semaphores import Semaphore

pytestmark = pytest.mark.xdist_group("debian")

NEEDED = ["zkupdater", "libzkupdater1", "libzkupdater-dev"]
MARK = "=====typed====="


def transcript(checkout):
    """The commands of the document's transcripts, each with what it prints."""
    text = "".join(one.text for one in listings(checkout / "docs/first-steps.md") if one.language == "console")
    return [tuple(part.partition("\n")[::2]) for part in re.split(r"^\$ ", text, flags=re.MULTILINE)[1:]]


def script_of(steps):
    return "\n".join(f"echo {MARK}\n{command}" for command, _ in steps) + "\n"


def assert_prints(output, steps):
    """Compares line by line; a line of three dots stands for any lines."""
    parts = output.split(f"{MARK}\n")[1:]
    assert len(parts) == len(steps), output
    for (command, expected), printed in zip(steps, parts):
        pattern = re.escape(expected).replace(re.escape("...\n"), "(.*\n)*")
        assert re.fullmatch(pattern, printed), f"$ {command}\n{printed}"


def test_the_transcript_works_with_what_is_in_the_packages(checkout, packages, scene):
    install, *steps = transcript(checkout)
    assert set(re.findall(r"\./(\S+)_\*\.deb", install[0])) == set(NEEDED)
    mounts = PrivateMounts(scene)
    tree = scene.make_folder("installed")
    for package in packages.values():
        package.unpack(tree)
    mounts.run("mount", "-t", "overlay", "overlay", "-o", f"lowerdir={tree}/usr:/usr", "/usr")

    home = scene.make_folder("home")
    for folder in ("first_steps/build", "first_steps"):
        scene.stack.callback(Semaphore(lock_of(home.resolve() / folder / "app/Hello")).unlink)
    script = f"cd {home}\n{script_of(steps)}"
    assert_prints(output_of(*mounts.enter, *TIED, "sh", "-ec", script, timeout=300), steps)
    assert (home / "first_steps").is_dir()


@pytest.mark.full
def test_the_transcript_works_on_a_bare_system(checkout, packages, bare_system):
    for name in NEEDED:
        shutil.copy2(packages[name].path, bare_system.folder / "root")
    steps = transcript(checkout)
    bare_system.run("apt-get update")
    begun = time.monotonic()
    output = bare_system.run(f"cd /root\n{script_of(steps)}")
    print(f"from the packages to the second update: {time.monotonic() - begun:.0f} s")
    assert_prints(output, steps)

    (removal,) = re.findall(r"`apt-get purge ([^`]*)`", (checkout / "docs/first-steps.md").read_text())
    bare_system.run(f"apt-get purge --yes {removal}")
    assert [name for name in bare_system.files() if "zkupdater" in name and not name.startswith("root/")] == []


def test_the_commands_that_make_the_packages_are_those_that_the_tests_run(checkout):
    # The first two are the README's; debian_test.py runs all three.
    assert only(checkout / "docs/first-steps.md", "sh") == (
        "cmake --preset release -DZK_TESTS=OFF && cmake --build build && cpack --preset release  # in build/packages\n")
