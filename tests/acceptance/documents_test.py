"""The listings and command lines of the documents work as printed, and what they name exists.

Each listing is carried out by a test that is marked with its name, here or in another file: those of docs/embedding.md
are in embedding_test.py, those of docs/file-formats.md in file_formats_test.py, those of the man pages in
man_pages_test.py. Whoever adds a listing adds a test."""

import ast
import os
import re
import shutil
import struct
import subprocess
import sys
import zlib
from pathlib import Path

import pytest

from support import scripts
from support.bundles import add_socket, tree
from support.documents import commands, commands_in_text, documents, listings_by_name, run_in
from support.installer import INSTALLED, failed_creation
from support.scene import RELAUNCH_ARGUMENTS

# Documents all of whose listings a test of their own carries out.
ELSEWHERE = {
    "CONTRIBUTING.md": "contributing_test.py",
    "docs/first-steps.md": "first_steps_test.py",
}

# Commands that no test can run, or that would take too long. What can be said of them without running them is tested.
NOT_RUN = {
    "apt-get install g++ cmake ninja-build": "only root may, and it changes the machine",
    "examples/open_window FOLDER": "opens windows; window_test.py does it in a screen of its own",
    "apt-get purge zkupdater libzkupdater1 libzkupdater-dev": "only root may; done by first_steps_test.py",
    "sudo bench/install --chart docs/install-benchmark.svg": "takes hours",
    "sudo bench/install --on ext4 --recipes app": "takes minutes and wants root",
    "bench/install --rounds 3 --scale 0.1": "takes minutes",
}


def marked_listings(path):
    """The listings that the tests in a file are marked with. Such a test takes them, or they would not be tested."""
    for function in ast.parse(path.read_text()).body:
        for mark in getattr(function, "decorator_list", []):
            if isinstance(mark, ast.Call) and ast.unparse(mark.func) == "pytest.mark.listings":
                assert "shown" in [argument.arg for argument in function.args.args], function.name
                yield from map(ast.literal_eval, mark.args)


def test_every_listing_is_carried_out_by_one_test(checkout):
    tested = [name for path in Path(__file__).parent.glob("*_test.py") for name in marked_listings(path)]
    for document, test in ELSEWHERE.items():
        assert Path(document).name in (Path(__file__).parent / test).read_text(), test
    all_others = [name for name in listings_by_name(checkout) if name.partition(":")[0] not in ELSEWHERE]
    assert sorted(tested) == sorted(all_others)


def test_no_kind_of_listing_is_overlooked(tmp_path):
    document = tmp_path / "document.md"
    document.write_text("a\n```sh\nb\n```\n```\nc\n```\n- d\n  ~~~python\n  e\n  ~~~\n\n    f\n\n    g\n\nh\n    i\n")
    page = tmp_path / "page.1"
    page.write_text(".nf\na \\-b\n.fi\n.EX\nc\n.EE\n")
    (tmp_path / "docs").mkdir()
    for name in ("bench", "1.md", "2.md", "3.md", "4.md"):
        (tmp_path / name).mkdir() if name == "bench" else (tmp_path / name).touch()
    assert listings_by_name(tmp_path) == {
        "document.md: sh": "b\n", "document.md: unnamed": "c\n", "document.md: python": "  e\n",
        "document.md: indented": "f\ng\n", "document.md: indented 2": "i\n",
        "page.1: example": "a -b\n", "page.1: example 2": "c\n",
    }


def test_a_command_in_the_text_is_in_a_listing_or_a_file_or_cannot_be_run(checkout):
    known = [command for text in listings_by_name(checkout).values() for command in commands(text)]
    for path in documents(checkout):
        for command in commands_in_text(path) if path.suffix == ".md" else []:
            if command.endswith(" --help"):
                assert run_in(checkout, command).stdout
            elif command in NOT_RUN:
                continue
            elif " " in command:
                assert any(f"{line} ".startswith(f"{command} ") for line in known), (path, command)
            else:
                assert command.startswith("build/") or os.access(checkout / command, os.X_OK), (path, command)


def test_what_is_not_run_is_in_a_document(checkout):
    texts = [re.sub(r"\s+", " ", path.read_text()) for path in documents(checkout)]
    assert [command for command in NOT_RUN if not any(command in text for text in texts)] == []


def test_the_debian_packages_of_commands_exist(checkout):
    texts = [*listings_by_name(checkout).values(), *(path.read_text() for path in documents(checkout))]
    installing = re.compile(r"\bapt(?:-get)? (?:install|remove|purge)((?: [\w.+*/-]+)+)")
    words = " ".join(installed for text in texts for installed in installing.findall(text)).split()
    packages = {word for word in words if not re.match(r"-|\./|(lib)?zkupdater", word)}
    assert packages
    for package in packages:
        found = subprocess.run(["dpkg-query", "--show", package], capture_output=True, text=True)
        assert found.returncode == 0, found.stderr


def test_no_line_of_a_document_is_too_long(checkout):
    for path in documents(checkout):
        assert [line for line in path.read_text().splitlines() if len(line) > 120] == [], path


def test_the_files_that_a_document_names_exist(checkout):
    folders = "|".join(path.name for path in checkout.iterdir() if path.is_dir() and not path.name.startswith("build"))
    for path in documents(checkout):
        text = path.read_text()
        names = re.findall(rf"`((?:{folders})/[\w./-]+|[A-Z]+\.md)`", text)
        assert [name for name in names if not (checkout / name).exists()] == [], path
        for name in re.findall(r"`([\w-]+)\((\d)\)`", text):
            assert (checkout / "docs" / ".".join(name)).is_file(), path
        for name in re.findall(r"\]\(([^):#]+)\)", text):
            assert (path.parent / name).exists(), path


def test_every_document_is_named_in_the_readme(checkout):
    readme = (checkout / "README.md").read_text()
    for path in documents(checkout):
        assert path.name == "README.md" and path.parent == checkout or f"`{path.relative_to(checkout)}`" in readme


def first_pixel(png):
    """Red, green, blue and, if anything is transparent, opacity of the corner, which no filter of PNG changes."""
    data = b""
    place = 8
    while place < len(png):
        size, kind = struct.unpack(">I4s", png[place : place + 8])
        data += png[place + 8 : place + 8 + size] if kind == b"IDAT" else b""
        place += size + 12
    has_opacity = png[25] == 6
    return list(zlib.decompress(data)[1 : 5 if has_opacity else 4])


def test_every_picture_can_be_drawn_and_is_light_even_on_a_dark_page(checkout):
    texts = "".join(path.read_text() for path in documents(checkout))
    pictures = list((checkout / "docs").glob("*.svg"))
    assert pictures
    for picture in pictures:
        assert picture.name in texts
        png = subprocess.run(["rsvg-convert", picture], check=True, capture_output=True).stdout
        assert set(first_pixel(png)) == {255}, picture


def test_the_semaphore_names_in_the_documents_work_on_every_system(checkout):
    text = "".join(path.read_text() for path in documents(checkout))
    names = re.findall(r'openWithName\("([^"]*)"|[Ss]emaphore `([^`]*)`', text)
    assert names
    for one, other in names:
        assert re.fullmatch(r"[^/]{1,30}", one or other)


# README.md


@pytest.mark.listings("README.md: cpp")
def test_the_host_in_the_readme_is_the_one_in_the_example(checkout, shown):
    source = (checkout / "examples/SelfUpdatingApp.cpp").read_text()
    before, _, rest = source.partition("// [host]\n")
    host, _, after = rest.partition("// [/host]\n")
    assert shown == [host]
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


@pytest.mark.listings("README.md: text", "README.md: xml")
def test_the_smallest_bundle_of_the_readme_can_be_updated(scene, shown):
    layout, info = shown
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


@pytest.mark.listings("README.md: text 2")
def test_the_folders_that_the_readme_shows_exist(checkout, shown):
    folders = re.findall(r"^(\w+/) ", shown[0], re.MULTILINE)
    there = [f"{path.parent.name}/" for path in checkout.glob("*/*") if path.name == "CMakeLists.txt"]
    assert sorted(folders) == sorted([*there, "docs/"])


@pytest.fixture
def fresh_clone(checkout, tmp_path):
    """A copy of the checkout as it is now, without what was built in it."""
    folder = tmp_path / "zkupdater"
    built = {path.name for path in checkout.glob("build*")}

    def ignored(parent, names):
        return {name for name in names
                if name in (".git", "__pycache__") or (name in built and Path(parent) == checkout)}

    shutil.copytree(checkout, folder, ignore=ignored)
    return folder


@pytest.mark.full
@pytest.mark.listings("README.md: sh", "README.md: sh 2")
def test_the_commands_of_the_readme_build_the_installer_and_show_it(checkout, fresh_clone, shown):
    first, second = map(commands, shown)
    # The second command runs this test.
    assert first == ["./demo", "./check"]
    assert os.access(checkout / "check", os.X_OK)

    for command in second:
        run_in(fresh_clone, command)
    assert (fresh_clone / "build/zkupdater").is_file()
    output = run_in(fresh_clone, "./demo").stdout
    assert "1 in the backup, 2 installed" in output


# bench/README.md


@pytest.mark.listings("bench/README.md: indented")
def test_the_commands_of_the_benchmark_are_understood(checkout, shown, monkeypatch):
    building, *lines = commands(shown[0])
    assert building in commands(listings_by_name(checkout)["README.md: sh 2"])
    monkeypatch.syspath_prepend(checkout / "bench")
    module = scripts.load(checkout / "bench/install")
    monkeypatch.setattr(os, "geteuid", lambda: 0)  # root may name all places
    for line in lines:
        program, *arguments = line.removeprefix("sudo ").split()
        assert program == "bench/install"
        module.options_of(arguments)
        # .ci/run carries out this one.
        assert line in NOT_RUN or line in (checkout / ".ci/run").read_text().splitlines()


# docs/recovery.md


@pytest.mark.listings("docs/recovery.md: sh", "docs/recovery.md: sh 3")
def test_the_commands_for_recovery_put_the_old_bundle_back(scene, shown):
    putting_back, looking = shown
    target = scene.make_bundle(scene.applications / "Example.app", "1")
    add_socket(scene.make_bundle(scene.updates / "Example.app", "2").resources)
    old = target.tree()
    scene.start_target(bundle=target)
    assert scene.install().status == 1
    assert not target.path.exists()

    (backup,) = scene.backups(beside=target.path)
    for command in commands(re.sub(r"\.Example\.app-[0-9a-f]{16}", backup.name, putting_back)):
        run_in(scene.applications, command)
    assert target.tree() == old
    assert scene.backups(beside=target.path) == []

    # The hidden folder of a finished backup has the date of the old bundle.
    shutil.copytree(target.path, backup, symlinks=True)
    (command,) = commands(looking)
    lines = run_in(scene.applications, command, env={**os.environ, "LC_ALL": "C"}).stdout.splitlines()
    (*first, hidden), (*second, own) = [line.split() for line in lines]
    assert (hidden, own) == (backup.name, "Example.app")
    assert first[5:] == second[5:] and len(first[5:]) == 3, "month, day, and time or year"


@pytest.mark.listings("docs/recovery.md: sh 2")
def test_the_command_for_removing_a_backup_removes_nothing_else(scene, shown):
    target = scene.make_bundle(scene.applications / "Example.app", "1")
    scene.make_bundle(scene.updates / "Example.app", "2")
    scene.start_target(bundle=target)
    assert scene.install() == INSTALLED
    (backup,) = scene.backups(beside=target.path)
    (command,) = commands(re.sub(r"\.Example\.app-[0-9a-f]{16}", backup.name, shown[0]))
    run_in(scene.applications, command)
    assert not backup.exists()
    assert target.version() == "2"


# docs/macos.md


def test_the_checks_for_a_mac_are_those_that_the_document_lists(checkout):
    listed = re.findall(r"^(\d+)\. ", (checkout / "docs/macos.md").read_text(), re.MULTILINE)
    assert listed == [str(number) for number in range(1, len(listed) + 1)]
    script = (checkout / "tools/check_on_macos").read_text()
    program = (checkout / "tools/macos/Checks.cpp").read_text()
    checked = re.findall(r"(?:judge \S+|report) (\d+) ", script) + re.findall(r"\breport\((\d+),", program)
    assert set(checked) == set(listed)


@pytest.mark.skipif(sys.platform == "darwin", reason="there it takes ten minutes")
@pytest.mark.listings("docs/macos.md: sh")
def test_the_script_for_a_mac_refuses_to_run_elsewhere(checkout, shown):
    (command,) = commands(shown[0])
    result = subprocess.run(command.split(), cwd=checkout, capture_output=True, text=True)
    assert (result.returncode, result.stdout, result.stderr) == (2, "", "This is not macOS.\n")


# docs/porting.md


def test_the_porting_guide_lists_all_that_a_system_must_define(checkout):
    port = (checkout / "platform/system/Port.h").read_text()
    functions = re.findall(r"^[\w:&*<> ]+?[ &*](\w+)\([^)]*\);", port, re.MULTILINE)
    assert len(functions) > 20
    operations = re.search(r"operations of System that POSIXSystem leaves open: (.*?)\.", port, re.DOTALL)[1]
    names = re.findall(r"\b(?!and\b)[A-Za-z]+", operations.replace("///", ""))
    assert len(names) == 3
    guide = (checkout / "docs/porting.md").read_text()
    rows = re.findall(r"^\| (`.*?`) \|", guide, re.MULTILINE)
    assert sorted(name for row in rows for name in re.findall(r"`(\w+)`", row)) == sorted([*functions, *names])


@pytest.mark.full
@pytest.mark.listings("docs/porting.md: sh")
def test_a_new_systems_folder_of_stand_ins_builds(fresh_clone, shown):
    *building, run = commands(shown[0])
    for command in building:
        # The folder that CMake chooses follows from the name that it is told here.
        run_in(fresh_clone, command.replace("--preset release", "--preset release -DCMAKE_SYSTEM_NAME=FreeBSD"))
    result = subprocess.run(run.split(), cwd=fresh_clone, capture_output=True, text=True)
    assert result.returncode == 1
    assert "Error: Unable to get target process serial number." in result.stderr


@pytest.mark.listings("docs/porting.md: sh 2")
def test_all_but_the_systems_folder_is_built_with_posix_alone(checkout, build, shown):
    compiling, testing = commands(shown[0])
    # As it stands the first would build in the checkout, where another build may be at work.
    assert compiling == "cmake --build build --target zkupdater_stand_in"
    assert (build / "tests/port/zkupdater_stand_in").is_file()
    output = run_in(build.parent, testing.replace("--test-dir build", f"--test-dir '{build}'")).stdout
    assert re.search(r"100% tests passed, 0 tests failed out of 1\b", output)
