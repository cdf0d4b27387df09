"""The listings of docs/embedding.md work as printed. Those that need the library are built with it as installed."""

import json
import os
import re
import subprocess
from pathlib import Path

import pytest

from support.compiling import compile_host, compile_like
from support.documents import commands, listings_by_name, run_in
from support.example import lock_of
from support.installed import library_folder
from support.processes import eventually
from support.semaphores import Semaphore


@pytest.fixture
def home(scene, prefix):
    """A home with the library where the guide installs it."""
    home = scene.make_folder("home")
    (home / "zk").symlink_to(prefix)
    return {**os.environ, "HOME": str(home)}


@pytest.mark.listings("docs/embedding.md: sh")
def test_the_library_is_installed_as_everywhere(checkout, build, sanitizers, tmp_path, shown):
    if sanitizers:
        pytest.skip("only a plain build is installed")
    building, installing = commands(shown[0])
    assert building in commands(listings_by_name(checkout)["README.md: sh 2"]), "which a test carries out"
    (tmp_path / "build").symlink_to(build)
    run_in(tmp_path, installing, env={**os.environ, "HOME": str(tmp_path)})
    assert (tmp_path / "zk/bin/zkupdater").is_file()
    assert (tmp_path / "zk/include/zkupdater/ZKUpdateStart.h").is_file()


@pytest.mark.listings("docs/embedding.md: cpp", "docs/embedding.md: cmake", "docs/embedding.md: xml",
                      "docs/embedding.md: sh 2", "docs/embedding.md: text")
def test_the_five_minutes_end_with_version_2(scene, home, shown):
    host, project, info, script, diary = shown
    folder = scene.make_folder("five minutes")
    lock = Semaphore(lock_of(folder.resolve() / "Editor.app"))
    scene.stack.callback(lock.unlink)
    for name, text in (("editor.cpp", host), ("CMakeLists.txt", project), ("Info.plist", info)):
        (folder / name).write_text(text)
    run_in(folder, script, env=home)
    eventually(lambda: (folder / "diary").read_text() == diary, "version 2 has run", limit=60)
    eventually(lambda: sorted(path.name for path in folder.iterdir()) ==
               sorted(["CMakeLists.txt", "Editor.app", "Info.plist", "build", "diary", "editor.cpp"]),
               "version 2 has removed the backup and the update folder")
    assert (folder / "Editor.app/Editor").read_bytes() == (folder / "build/editor2").read_bytes()
    assert scene.launched() == []


@pytest.mark.listings("docs/embedding.md: cpp 2")
def test_the_host_with_an_event_loop_compiles(prefix, tmp_path, shown):
    source = tmp_path / "host.cpp"
    source.write_text(shown[0] + 'bool quits(Updating& one) { return one.begin("a", "b"), one.tick(); }\n')
    subprocess.run(["g++", "-std=c++20", "-Wall", "-Wextra", "-Werror", "-fsyntax-only", "-I", prefix / "include",
                    source], check=True)


@pytest.mark.listings("docs/embedding.md: c")
def test_the_host_in_c_works(prefix, tmp_path, shown):
    source = tmp_path / "host.c"
    source.write_text(shown[0])
    compile_host(source, tmp_path / "host", prefix / "include", library_folder(prefix) / "libzkupdater.so")
    # It is in no bundle, and says so.
    result = subprocess.run([tmp_path / "host"], capture_output=True, text=True)
    assert (result.returncode, result.stdout) == (1, "")
    assert result.stderr == "The application runs from no bundle with an identifier.\n\n"


@pytest.mark.listings("docs/embedding.md: python")
def test_the_host_in_python_works(prefix, shown):
    program = shown[0] + 'print(start_update("/bin/false", "/"))\n'
    result = subprocess.run(["/usr/bin/python3", "-"], input=program, text=True, capture_output=True,
                            env={**os.environ, "LD_LIBRARY_PATH": str(library_folder(prefix))})
    assert result.stdout == "The application runs from no bundle with an identifier.\nFalse\n", result.stderr


def test_every_outcome_of_a_start_is_explained(checkout):
    header = (checkout / "host/ZKUpdateStart.h").read_text()
    states = re.findall(r"^    (\w+) = \d+,", header, re.MULTILINE)
    assert len(states) == 12
    guide = (checkout / "docs/embedding.md").read_text()
    assert re.findall(r"^\| `(\w+)` \|", guide, re.MULTILINE) == [state for state in states if state != "waiting"]


def test_the_targets_that_the_guide_names_exist(checkout):
    guide = (checkout / "docs/embedding.md").read_text()
    names = {name for name in re.findall(r"`zk::([a-z]\w*)`", guide)}
    package = (checkout / "cmake/zkupdaterConfig.cmake.in").read_text()
    known = set(re.search(r"foreach\(library ([\w ]+)\)", package)[1].split()) | {"shared", "zkupdater"}
    assert names == known


TREE_IN_PROJECT = """cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES C CXX)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
add_subdirectory(zkupdater EXCLUDE_FROM_ALL)
add_executable(c main.c)
target_link_libraries(c PRIVATE zk::shared)
add_executable(cxx main.cpp)
target_link_libraries(cxx PRIVATE zk::host zk::semaphore zk::errors zk::version zk::c)
file(GENERATE OUTPUT installer CONTENT $<TARGET_FILE:zk::zkupdater>)
"""


def test_they_exist_in_a_project_with_this_tree_as_well(checkout, tmp_path):
    (tmp_path / "zkupdater").symlink_to(checkout)
    (tmp_path / "CMakeLists.txt").write_text(TREE_IN_PROJECT)
    for name in ("main.c", "main.cpp"):
        (tmp_path / name).write_text('#include "zkupdater.h"\n')
    run_in(tmp_path, "cmake -G Ninja -B build")
    entries = json.loads((tmp_path / "build/compile_commands.json").read_text())
    by_file = {Path(entry["file"]): entry for entry in entries}
    for name in ("main.c", "main.cpp"):
        result = compile_like(by_file[tmp_path / name], tmp_path / name)
        assert (result.returncode, result.stderr) == (0, "")
    assert (tmp_path / "build/installer").read_text() == str(tmp_path / "build/zkupdater/zkupdater")


@pytest.mark.full
@pytest.mark.listings("docs/embedding.md: cmake 2", "docs/embedding.md: cpp 3", "docs/embedding.md: sh 3",
                      "docs/embedding.md: text 2")
def test_a_project_with_this_tree_in_it_builds_and_runs(checkout, tmp_path, shown):
    project, main, script, output = shown
    (tmp_path / "zkupdater").symlink_to(checkout)
    (tmp_path / "CMakeLists.txt").write_text(project)
    # The targets set the language standard that their headers need; nothing else here does.
    (tmp_path / "main.cpp").write_text(main + "static_assert(__cplusplus >= 202002L);\n")
    *build, run, run_installer = commands(script)
    for command in build:
        run_in(tmp_path, command)

    assert run_in(tmp_path, run).stdout == output
    result = subprocess.run(run_installer.split(), cwd=tmp_path, capture_output=True, text=True)
    assert result.returncode == 1
    assert "Error: Target PID not specified." in result.stderr
