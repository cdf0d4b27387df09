"""The tests use the installer in the build folder that ZK_BUILD names, by default `build` in this checkout."""

import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path

import pytest

from support.processes import adopt_orphans
from support.scene import Scene
from support.traces import Trace, why_not_traced

CHECKOUT = Path(__file__).resolve().parents[2]


def pytest_collection_modifyitems(items):
    items.sort(key=lambda item: item.get_closest_marker("full") is None)


@pytest.fixture(scope="session")
def checkout():
    return CHECKOUT


@pytest.fixture(scope="session")
def build():
    return Path(os.environ.get("ZK_BUILD", CHECKOUT / "build")).resolve()


@pytest.fixture(scope="session")
def sanitizers(build):
    """The sanitizers that everything was built with, usually none."""
    found = re.search(r"^ZK_SANITIZE:\w+=(.*)$", (build / "CMakeCache.txt").read_text(), re.MULTILINE)
    return found[1].split(",") if found and found[1] else []


@pytest.fixture(scope="session")
def installer(build):
    program = build / "zkupdater"
    assert program.is_file(), f"{program} has not been built"
    return program


@pytest.fixture(scope="session")
def application(build):
    """The program in every bundle that the tests install."""
    cache = (build / "CMakeCache.txt").read_text()
    compiler = re.search(r"^CMAKE_CXX_COMPILER:\w+=(.*)$", cache, re.MULTILINE)[1]
    folder = Path(tempfile.mkdtemp(prefix="zk-acceptance-"))
    try:
        folder.chmod(0o755)
        program = folder / "application"
        source = Path(__file__).parent / "support/application.c"
        subprocess.run([compiler, "-x", "c", "-O1", "-pthread", "-o", program, source], check=True)
        yield program
    finally:
        shutil.rmtree(folder)


@pytest.fixture
def scene(installer, application):
    adopt_orphans()
    scene = Scene(installer, application)
    try:
        yield scene
    finally:
        scene.close()


@pytest.fixture
def traced(scene, sanitizers, tmp_path):
    """A function that makes a trace of a run of the scene, with more options of strace if need be."""
    reason = "sanitizers make calls of their own" if sanitizers else why_not_traced(scene.folder)
    if reason:
        pytest.skip(reason)
    return lambda *options: Trace(tmp_path / f"trace-{len(os.listdir(tmp_path))}", *options)
