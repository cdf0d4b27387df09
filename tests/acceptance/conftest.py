import os
import shutil

import pytest

from support.debian import BareSystem, make_packages
from support.fixtures import (application, build, checkout, installer, prefix, sanitizers, scene,  # noqa: F401
                              shown)
from support.traces import Trace, why_not_traced


def pytest_collection_modifyitems(items):
    items.sort(key=lambda item: item.get_closest_marker("full") is None)


@pytest.fixture
def traced(scene, sanitizers, tmp_path):
    """A function that makes a trace of a run of the scene, with more options of strace if need be."""
    reason = "sanitizers make calls of their own" if sanitizers else why_not_traced(scene.folder)
    if reason:
        pytest.skip(reason)
    return lambda *options: Trace(tmp_path / f"trace-{len(os.listdir(tmp_path))}", *options)


@pytest.fixture(scope="session")
def packages(build, tmp_path_factory):
    """The Debian packages of the build, by their names."""
    return make_packages(build, tmp_path_factory.mktemp("packages"))


@pytest.fixture(scope="session")
def bare_system(tmp_path_factory):
    """A Debian 12 with hardly anything installed."""
    folder = tmp_path_factory.mktemp("bare")
    try:
        yield BareSystem(folder)
    finally:
        shutil.rmtree(folder)
