"""What ./check builds for macOS on Linux. It cannot be run here, so this reads what the loader of macOS would read."""

import re

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


def test_programs_find_the_library_by_its_major_version(built):
    assert built("c/libzkupdater.dylib").name == "@rpath/libzkupdater.1.dylib"


def test_a_processor_that_runs_only_signed_programs_runs_the_installer(built, processor):
    assert built("zkupdater").is_signed or processor != "arm64"
