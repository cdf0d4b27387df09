"""The listings and command lines of the documents work as printed, and their tables are complete."""

import json
import os
import re
import shutil
import subprocess
from pathlib import Path

import pytest

from support.bundles import add_socket, tree
from support.compiling import compile_like
from support.documents import commands, documents, listings, only
from support.installer import BEGIN, END, INSTALLED, failed_creation
from support.scene import RELAUNCH_ARGUMENTS

# Each listing has a test below. Whoever adds a listing adds a test.
LISTINGS = {
    "README.md": ["sh", "sh", "cpp", "text", "xml", "text"],
    "embedding.md": ["cpp", "python", "cmake", "cpp", "sh", "text"],
    "file-formats.md": [],
    "first-steps.md": ["sh", "console", "console", "console", "console", "console", "console"],
    "recovery.md": ["sh"],
    "security.md": [],
    "zkupdater.1": [],
}


def test_every_listing_has_a_test_and_no_line_is_too_long(checkout):
    for path in documents(checkout):
        assert [listing.language for listing in listings(path)] == LISTINGS[path.name], path
        assert [line for line in path.read_text().splitlines() if len(line) > 120] == [], path


def test_the_files_that_a_document_names_exist(checkout):
    for path in documents(checkout):
        names = re.findall(r"`((?:docs|examples)/[\w./-]+|[A-Z]+\.md)`", path.read_text())
        assert [name for name in names if not (checkout / name).is_file()] == [], path


def run_in(folder, command, **options):
    return subprocess.run(["bash", "-ec", command], cwd=folder, check=True, capture_output=True, text=True, **options)


# README.md


def test_the_host_in_the_readme_is_the_one_in_the_example(checkout):
    source = (checkout / "examples/SelfUpdatingApp.cpp").read_text()
    before, _, rest = source.partition("// [host]\n")
    host, _, after = rest.partition("// [/host]\n")
    assert only(checkout / "README.md", "cpp") == host
    assert re.search(r"\bstartUpdate\(", after), "and the example uses it"


# Without arguments it runs until it is ended; with arguments it reports them.
SCRIPT = """#!/bin/sh
# version {version}
if [ $# -eq 0 ]; then
  read line
else
  cd "$ZK_REPORTS"
  printf "argument %s\\n" "$@" >.script
  mv .script script
fi
"""


def test_the_smallest_bundle_of_the_readme_can_be_updated(checkout, scene):
    layout = [listing.text for listing in listings(checkout / "README.md") if listing.language == "text"][0]
    info = only(checkout / "README.md", "xml")
    folder, *files = [line.strip() for line in layout.splitlines()]
    assert files == ["Info.plist", "Example"]
    for place, version in ((scene.applications, "1"), (scene.updates, "2")):
        (place / folder).mkdir()
        (place / folder / "Info.plist").write_text(info)
        program = place / folder / "Example"
        program.write_text(SCRIPT.format(version=version))
        program.chmod(0o755)

    program = scene.applications / folder / "Example"
    scene.running = scene.start([program], stdin=subprocess.PIPE)
    assert scene.install() == INSTALLED
    assert tree(scene.applications / folder) == tree(scene.updates / folder)
    (report,) = scene.launched()
    assert report.arguments == RELAUNCH_ARGUMENTS

    # Without the list the same program is in a plain folder.
    (scene.applications / folder / "Info.plist").unlink()
    scene.running = scene.start([program], stdin=subprocess.PIPE)
    assert scene.install() == failed_creation("Unable to get target process bundle path.")


def test_the_folders_that_the_readme_shows_exist(checkout):
    layout = [listing.text for listing in listings(checkout / "README.md") if listing.language == "text"][1]
    folders = re.findall(r"^(\w+/) ", layout, re.MULTILINE)
    there = [f"{path.parent.name}/" for path in checkout.glob("*/*") if path.name == "CMakeLists.txt"]
    assert sorted(folders) == sorted([*there, "docs/"])


@pytest.fixture(scope="module")
def fresh_clone(checkout, tmp_path_factory):
    """A copy of the checkout as it is now, without what was built in it."""
    folder = tmp_path_factory.mktemp("clone") / "zkupdater"
    built = {path.name for path in checkout.glob("build*")}

    def ignored(parent, names):
        return {name for name in names if name in (".git", "__pycache__") or (name in built and Path(parent) == checkout)}

    shutil.copytree(checkout, folder, ignore=ignored)
    return folder


@pytest.mark.full
def test_the_commands_of_the_readme_build_the_installer_and_show_it(checkout, fresh_clone):
    first, second = [listing.text for listing in listings(checkout / "README.md") if listing.language == "sh"]
    # The second command runs this test.
    assert commands(first) == ["./demo", "./check"]
    assert os.access(checkout / "check", os.X_OK)

    for command in commands(second):
        run_in(fresh_clone, command)
    assert (fresh_clone / "build/zkupdater").is_file()
    output = run_in(fresh_clone, "./demo").stdout
    assert "1 in the backup, 2 installed" in output


# docs/embedding.md


def test_the_host_with_an_event_loop_of_the_guide_compiles(checkout, build, tmp_path):
    host, _ = [listing.text for listing in listings(checkout / "docs/embedding.md") if listing.language == "cpp"]
    source = tmp_path / "host.cpp"
    source.write_text(host)
    entries = json.loads((build / "compile_commands.json").read_text())
    (example,) = [entry for entry in entries if "example_1.dir" in entry["command"]]
    result = compile_like(example, source)
    assert result.returncode == 0, result.stderr


def test_the_host_in_python_of_the_guide_works(checkout, build, sanitizers):
    if sanitizers:
        pytest.skip("a program without sanitizers cannot load a library with them")
    host = only(checkout / "docs/embedding.md", "python")
    result = subprocess.run(["/usr/bin/python3", "-"], input=host + 'print(start_update("/bin/false", "/"))\n', text=True,
                            env={**os.environ, "LD_LIBRARY_PATH": str(build / "c")}, capture_output=True)
    assert result.stdout == "The application runs from no bundle with an identifier.\nFalse\n", result.stderr


def test_the_guide_explains_every_outcome_of_a_start(checkout):
    header = (checkout / "host/ZKUpdateStart.h").read_text()
    states = re.findall(r"^    (\w+) = \d+,", header, re.MULTILINE)
    assert len(states) == 12
    guide = (checkout / "docs/embedding.md").read_text()
    assert re.findall(r"^\| `(\w+)` \|", guide, re.MULTILINE) == [state for state in states if state != "waiting"]


@pytest.mark.full
def test_the_host_project_of_the_guide_builds_and_runs(checkout, tmp_path):
    guide = checkout / "docs/embedding.md"
    (tmp_path / "zkupdater").symlink_to(checkout)
    (tmp_path / "CMakeLists.txt").write_text(only(guide, "cmake"))
    # The targets set the language standard that their headers need; nothing else here does.
    _, main = [listing.text for listing in listings(guide) if listing.language == "cpp"]
    (tmp_path / "main.cpp").write_text(main + "static_assert(__cplusplus >= 202002L);\n")
    *build, run, run_installer = commands(only(guide, "sh"))
    for command in build:
        run_in(tmp_path, command)

    assert run_in(tmp_path, run).stdout == only(guide, "text")
    result = subprocess.run(run_installer.split(), cwd=tmp_path, capture_output=True, text=True)
    assert result.returncode == 1
    assert "Error: Target PID not specified." in result.stderr


# docs/recovery.md


def test_the_commands_for_recovery_put_the_old_bundle_back(checkout, scene):
    target = scene.make_bundle(scene.applications / "Example.app", "1")
    add_socket(scene.make_bundle(scene.updates / "Example.app", "2").resources)
    old = target.tree()
    scene.start_target(bundle=target)
    assert scene.install().status == 1
    assert not target.path.exists()

    (backup,) = scene.backups(beside=target.path)
    text = only(checkout / "docs/recovery.md", "sh")
    for command in commands(re.sub(r"\.Example\.app-[0-9a-f]{16}", backup.name, text)):
        run_in(scene.applications, command)
    assert target.tree() == old
    assert scene.backups(beside=target.path) == []


# docs/file-formats.md


def test_a_program_may_lie_deeper_in_its_bundle(scene):
    for bundle in (scene.target, scene.update):
        version = bundle.version()
        shutil.rmtree(bundle.path)
        (bundle.path / "bin").mkdir(parents=True)
        (bundle.path / "Info.plist").write_text(
            '<plist version="1.0"><dict><key>CFBundleIdentifier</key><string>org.example.editor</string>'
            "<key>CFBundleExecutable</key><string>bin/editor</string></dict></plist>"
        )
        shutil.copy2(scene.program, bundle.path / "bin/editor")
        (bundle.path / "Resources").mkdir()
        (bundle.path / "Resources/version").write_text(version)
    scene.running = scene.start([scene.target.path / "bin/editor", "stay"])
    assert scene.install() == INSTALLED
    assert [report.version for report in scene.launched()] == ["2"]


# docs/zkupdater.1


def test_the_man_page_explains_every_message_and_every_setting(checkout):
    page = (checkout / "docs/zkupdater.1").read_text()
    source = "".join(path.read_text() for path in sorted((checkout / "updater").glob("*.cpp")))

    errors = set(re.findall(r'logError\("([^"]*)"\)', source))
    assert len(errors) > 15
    assert set(re.findall(r"^\.B Error: (.*)$", page, re.MULTILINE)) == errors
    assert re.findall(r"^\.B (\w+ installation)$", page, re.MULTILINE) == [BEGIN, END]

    settings = set(re.findall(r'ForKey\("(\w+)"_ns\)', source))
    assert len(settings) == 5
    assert set(re.findall(r'^\.TP\n\.B[IR] \\-(\w+) "', page, re.MULTILINE)) == settings
    readme = (checkout / "README.md").read_text()
    assert set(re.findall(r"^\| `-(\w+)` \|", readme, re.MULTILINE)) == settings
