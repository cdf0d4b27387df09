"""Where the symbols of the executable and of the shared library are."""

import re
import subprocess

import pytest


def sections(path):
    listed = subprocess.run(["readelf", "--wide", "--sections", path], check=True, capture_output=True, text=True)
    return set(re.findall(r"\] (\.\S+)", listed.stdout))


@pytest.mark.parametrize("name", ["zkupdater", "c/libzkupdater.so"])
def test_debuggers_find_the_symbols_in_a_file_beside_the_binary(build, sanitizers, name):
    if sanitizers or "CMAKE_BUILD_TYPE:STRING=RelWithDebInfo" not in (build / "CMakeCache.txt").read_text():
        pytest.skip("only a release build takes the symbols out of its binaries")
    binary = (build / name).resolve()
    assert ".debug_info" not in sections(binary)
    assert ".symtab" not in sections(binary)
    assert ".debug_info" in sections(f"{binary}.debug")
    link = subprocess.run(["readelf", "--string-dump=.gnu_debuglink", binary], check=True, capture_output=True,
                          text=True, errors="replace")
    assert f"  {binary.name}.debug\n" in link.stdout
