"""What tests of the built installer are given. It is looked for in the folder that ZK_BUILD names, by default `build`
in this checkout."""

import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path

import pytest

from support.documents import listings_by_name
from support.memcheck import Memcheck
from support.processes import adopt_orphans
from support.scene import Scene

CHECKOUT = Path(__file__).resolve().parents[3]


@pytest.fixture(scope="session")
def checkout():
    return CHECKOUT


@pytest.fixture(scope="session")
def build():
    return Path(os.environ.get("ZK_BUILD", CHECKOUT / "build")).resolve()


@pytest.fixture(scope="session")
def sanitizers(build):
    """The sanitizers that everything was built with, none as a rule."""
    found = re.search(r"^ZK_SANITIZE:\w+=(.*)$", (build / "CMakeCache.txt").read_text(), re.MULTILINE)
    return found[1].split(",") if found and found[1] else []


@pytest.fixture(scope="session")
def release_build(build, sanitizers):
    """The folder of the build. Skips the test if others than users get such a build."""
    if sanitizers or "CMAKE_BUILD_TYPE:STRING=RelWithDebInfo" not in (build / "CMakeCache.txt").read_text():
        pytest.skip("needs a release build")
    return build


@pytest.fixture(scope="session")
def prefix(build, sanitizers, tmp_path_factory):
    """The folder below which everything is installed."""
    if sanitizers:
        pytest.skip("a program without sanitizers cannot use a library with them")
    folder = tmp_path_factory.mktemp("installed")
    subprocess.run(["cmake", "--install", build, "--prefix", folder], check=True, stdout=subprocess.DEVNULL)
    return folder


@pytest.fixture(scope="session")
def installer(build):
    program = build / "zkupdater"
    assert program.is_file(), f"{program} has not been built"
    return program


@pytest.fixture(scope="session")
def application(build):
    """The program of all the bundles that are installed here."""
    cache = (build / "CMakeCache.txt").read_text()
    compiler = re.search(r"^CMAKE_CXX_COMPILER:\w+=(.*)$", cache, re.MULTILINE)[1]
    folder = Path(tempfile.mkdtemp(prefix="zk-acceptance-"))
    try:
        folder.chmod(0o755)
        program = folder / "application"
        source = Path(__file__).with_name("application.c")
        subprocess.run([compiler, "-x", "c", "-O1", "-pthread", "-o", program, source], check=True)
        yield program
    finally:
        shutil.rmtree(folder)


@pytest.fixture
def shown(request, checkout):
    """The texts of the listings that a test is marked with."""
    (mark,) = request.node.iter_markers("listings")
    known = listings_by_name(checkout)
    return [known[name] for name in mark.args]


@pytest.fixture
def scene(request, installer, application):
    adopt_orphans()
    scene = Scene(installer, application)
    try:
        if request.config.getoption("--memcheck", default=False):
            scene.memcheck = Memcheck(scene.make_folder("memcheck"))
        yield scene
        if scene.memcheck:
            findings = scene.memcheck.findings()
            request.node.user_properties += [("checked", scene.memcheck.count()), ("faulty", len(findings))]
            assert not findings, "\n".join(findings)
    finally:
        scene.close()
