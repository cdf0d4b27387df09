"""Which bundle in the update folder is the update."""

import shutil

import pytest

from support.bundles import IDENTIFIER
from support.installer import INSTALLED, failed_with

NOT_FOUND = failed_with("Unable to locate update bundle.")


@pytest.fixture
def updates(scene):
    """A function that puts a bundle into the update folder, which is empty at first."""
    shutil.rmtree(scene.update.path)
    return lambda name, version="2", identifier=IDENTIFIER: scene.make_bundle(
        scene.updates / name, version, identifier=identifier
    )


FOUND_BY_IDENTIFIER = {
    "at the top": "Another.app",
    "in a subfolder": "one/two/three/Another.app",
    "in a hidden folder": ".hidden/Another.app",
    "hidden itself": ".Another.app",
    "an ordinary folder": "Another",
    "inside a framework, which is an ordinary folder": "Some.framework/Another.app",
    "with blanks and letters beyond ASCII": "Neue Versión/Ännother 2.app",
}


@pytest.mark.parametrize("name", FOUND_BY_IDENTIFIER.values(), ids=FOUND_BY_IDENTIFIER)
def test_a_bundle_of_another_name_is_found_by_its_identifier(scene, updates, name):
    update = updates(name).tree()
    assert scene.install() == INSTALLED
    assert scene.target.tree() == update


NOT_FOUND_BY_IDENTIFIER = {
    "inside a package": ("Package.app/Contents/Another.app", IDENTIFIER),
    "inside a package whose extension is in capitals": ("Package.PKG/Another.app", IDENTIFIER),
    "the identifier in another case": ("Another.app", IDENTIFIER.upper()),
    "an identifier that begins alike": ("Another.app", IDENTIFIER + ".helper"),
    "no identifier": ("Another.app", None),
}


@pytest.mark.parametrize("name, identifier", NOT_FOUND_BY_IDENTIFIER.values(), ids=NOT_FOUND_BY_IDENTIFIER)
def test_a_bundle_is_not_found(scene, updates, name, identifier):
    updates(name, identifier=identifier)
    old = scene.target.tree()
    assert scene.install() == NOT_FOUND
    assert scene.target.tree() == old
    assert scene.backups() == []


def test_a_bundle_with_the_targets_name_is_taken_whatever_its_identifier(scene, updates):
    updates("Editor.app", version="direct", identifier="org.example.other")
    updates("Another.app", version="by identifier")
    assert scene.install() == INSTALLED
    assert scene.target.version() == "direct"


def test_a_folder_with_the_targets_name_is_taken_even_if_it_is_not_a_bundle(scene, updates):
    (scene.updates / "Editor.app").mkdir()
    updates("Another.app")
    assert scene.install() == failed_relaunch()
    assert list(scene.target.path.iterdir()) == []


def failed_relaunch():
    """The folder is installed all the same, but holds nothing that could be started."""
    return failed_with("Unable to relaunch target application.")._replace(status=0)


def test_a_plain_file_with_the_targets_name_is_skipped(scene, updates):
    (scene.updates / "Editor.app").write_text("no bundle\n")
    updates("below/Another.app")
    assert scene.install() == INSTALLED
    assert scene.target.version() == "2"


def test_a_dangling_link_with_the_targets_name_is_skipped(scene, updates):
    (scene.updates / "Editor.app").symlink_to("nowhere")
    updates("below/Another.app")
    assert scene.install() == INSTALLED
    assert scene.target.version() == "2"


def test_a_bundle_with_the_targets_name_deeper_down_is_not_preferred(scene, updates):
    updates("a/Another.app", version="first")
    updates("b/Editor.app", version="second")
    assert scene.install() == INSTALLED
    assert scene.target.version() == "first"


def test_the_first_of_several_is_taken_in_byte_order_and_depth_first(scene, updates):
    updates("b/deep/down/Another.app", version="first")
    updates("c.app", version="second")
    updates("é.app", version="third")
    assert scene.install() == INSTALLED
    assert scene.target.version() == "first"


def test_a_link_to_a_bundle_is_installed_as_the_folder_it_leads_to(scene, updates):
    real = scene.make_bundle(scene.folder / "elsewhere/Real.app", "2")
    (scene.updates / "Editor.app").symlink_to(real.path)
    assert scene.install() == INSTALLED
    assert not scene.target.path.is_symlink()
    assert scene.target.tree() == real.tree()


def test_a_link_to_a_folder_is_not_entered(scene, updates):
    scene.make_bundle(scene.folder / "elsewhere/Another.app", "2")
    (scene.updates / "link").symlink_to(scene.folder / "elsewhere")
    (scene.updates / "circle").symlink_to(scene.updates)
    assert scene.install() == NOT_FOUND


def test_an_update_that_arrives_before_the_target_has_ended_is_found(scene, updates):
    run = scene.begin()
    updates("Editor.app")
    scene.end_target()
    assert run.outcome() == INSTALLED


def test_a_run_without_an_update_starts_the_old_version_again(scene, updates):
    old = scene.target.tree()
    assert scene.install() == NOT_FOUND
    (report,) = scene.launched()
    assert report.version == "1"
    assert scene.target.tree() == old
    assert scene.is_nothing_held()
