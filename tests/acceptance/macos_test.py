"""What ./check builds for macOS on Linux. It cannot be run here, so this reads what the loader of macOS would read."""

import os
import re
import shutil
import subprocess

import pytest

from support import mach_o

SYSTEM_LIBRARY = re.compile(r"/usr/lib/(libSystem\.B|libc\+\+\.1|libc\+\+abi)\.dylib")


@pytest.fixture(params=["arm64", "x86_64"])
def processor(request):
    return request.param


@pytest.fixture
def built(checkout, processor):
    """A function that reads a file which was built for the processor, by its path in the build folder."""
    folder = checkout / f"build-macos-{processor}"
    if not (folder / "zkupdater").is_file():
        pytest.skip("not built for macOS")
    return lambda name: mach_o.read(folder / name)


def test_the_installer_calls_what_only_macos_has(built):
    assert {"_dlopen", "_posix_spawn"} <= built("zkupdater").imported


@pytest.mark.parametrize("name, kind", [("zkupdater", "executable"), ("c/libzkupdater.dylib", "library")])
def test_macos_13_loads_it_with_nothing_but_the_systems_libraries(built, processor, name, kind):
    file = built(name)
    assert (file.processor, file.kind) == (processor, kind)
    assert (file.system, file.oldest_system) == (mach_o.MACOS, (13, 0))
    assert "/usr/lib/libSystem.B.dylib" in file.libraries
    assert [library for library in file.libraries if not SYSTEM_LIBRARY.fullmatch(library)] == []
    assert file.search_paths == []


def test_the_installer_is_loaded_to_an_address_that_nobody_can_guess(built):
    assert built("zkupdater").is_position_independent


def test_a_smashed_stack_ends_the_installer(built):
    assert "___stack_chk_fail" in built("zkupdater").imported


def test_the_library_shows_the_c_interface_and_no_name_of_ours_or_of_the_standard_library_beside_it(built, checkout):
    exported = built("c/libzkupdater.dylib").exported
    declared = re.findall(r"^[a-z].*?\b(zk_\w+)\(", (checkout / "c/zkupdater.h").read_text(), re.MULTILINE)
    assert sorted(name for name in exported if "zk" in name) == sorted(f"_{name}" for name in declared)
    assert [name for name in exported if "St3__1" in name] == []


def test_programs_find_the_library_by_its_major_version(built):
    assert built("c/libzkupdater.dylib").name == "@rpath/libzkupdater.1.dylib"


def test_a_processor_that_runs_only_signed_programs_runs_the_installer(built, processor):
    assert built("zkupdater").is_signed or processor != "arm64"


@pytest.mark.skipif(shutil.which("npm") is None, reason="needs npm")
def test_without_a_network_it_says_why_zig_cannot_be_fetched(checkout, tmp_path):
    (tmp_path / "tools").mkdir()
    copy = shutil.copy(checkout / "tools/zig", tmp_path / "tools")
    nobody_answers = {"npm_config_registry": "http://127.0.0.1:1/", "npm_config_noproxy": "127.0.0.1",
                      "npm_config_fetch_retries": "0", "npm_config_cache": str(tmp_path / "cache")}
    result = subprocess.run([copy, "version"], env={**os.environ, **nobody_answers}, capture_output=True, text=True)
    assert (result.returncode, result.stdout) == (1, "")
    assert "ECONNREFUSED" in result.stderr
    assert result.stderr.endswith("\nzig could not be fetched\n")


def test_without_npm_one_line_says_that_nothing_is_built(checkout, tmp_path):
    for tool in ["bash", "dirname"]:
        (tmp_path / tool).symlink_to(shutil.which(tool))
    result = subprocess.run([checkout / "tools/build_for_macos"], env={"PATH": str(tmp_path)}, capture_output=True,
                            text=True)
    assert (result.returncode, result.stdout, result.stderr) == (0, "not built for macOS: npm is missing\n", "")
