"""Where the symbols of the executable and of the shared library are."""

import pytest

from support.elf import readelf, sections


@pytest.mark.parametrize("name", ["zkupdater", "c/libzkupdater.so"])
def test_debuggers_find_the_symbols_in_a_file_beside_the_binary(release_build, name):
    binary = (release_build / name).resolve()
    assert ".debug_info" not in sections(binary)
    assert ".symtab" not in sections(binary)
    assert ".debug_info" in sections(f"{binary}.debug")
    assert f"  {binary.name}.debug\n" in readelf(binary, "--string-dump=.gnu_debuglink")
