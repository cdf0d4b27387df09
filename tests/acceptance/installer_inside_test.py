"""The installer may be inside the bundle that it replaces."""

import plistlib
import shutil

import pytest

from support.bundles import tree
from support.installer import INSTALLED
from support.processes import stays


def put_installer_into(scene, bundle, folder="MacOS"):
    path = bundle.path / "Contents" / folder / "zkupdater"
    path.parent.mkdir(exist_ok=True)
    return shutil.copy2(scene.installer, path)


def test_the_bundle_around_the_installer_is_replaced(scene):
    helper = put_installer_into(scene, scene.target, "Helpers")
    put_installer_into(scene, scene.update, "Helpers")
    old, update = scene.target.tree(), scene.update.tree()
    assert scene.install(installer=helper) == INSTALLED
    assert scene.target.tree() == update
    assert tree(scene.backup()) == old
    assert [report.version for report in scene.launched()] == ["2"]
    assert scene.is_nothing_held()


def test_an_installer_that_is_missing_in_the_update_finishes_its_work(scene):
    helper = put_installer_into(scene, scene.target)
    assert scene.install(installer=helper) == INSTALLED
    assert not helper.exists()
    assert [report.version for report in scene.launched()] == ["2"]


@pytest.mark.without_memcheck("another installer sees valgrind's program in the place of the holder's")
def test_an_installer_whose_bundle_was_replaced_still_counts_as_alive(scene):
    """Another installer of the same update waits for it, even though the bundle around it is a new one."""
    helper = put_installer_into(scene, scene.target)
    first = scene.begin(installer=helper)
    record = plistlib.loads(scene.record_path().read_bytes())
    assert record["pid"] == first.pid and record["executablePath"] == str(helper)

    shutil.rmtree(scene.target.path)
    scene.make_bundle(scene.target.path, "2", identifier="org.example.renamed")
    put_installer_into(scene, scene.target)

    other = scene.start([scene.target.executable, "stay"])
    second = scene.begin(pid=other.pid, installerSemaphore=None)
    stays(lambda: plistlib.loads(scene.record_path().read_bytes())["pid"] == first.pid, "the second waits")
    assert not second.has_ended()
