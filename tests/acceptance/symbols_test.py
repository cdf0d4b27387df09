"""Where the executable's symbols are."""

import re
import subprocess

import pytest


def sections(path):
    listed = subprocess.run(["readelf", "--wide", "--sections", path], check=True, capture_output=True, text=True)
    return set(re.findall(r"\] (\.\S+)", listed.stdout))


def test_debuggers_find_the_symbols_in_a_file_beside_the_executable(installer, build, sanitizers):
    if sanitizers or "CMAKE_BUILD_TYPE:STRING=RelWithDebInfo" not in (build / "CMakeCache.txt").read_text():
        pytest.skip("only a release build takes the symbols out of the executable")
    assert ".debug_info" not in sections(installer)
    assert ".symtab" not in sections(installer)
    assert ".debug_info" in sections(f"{installer}.debug")
    link = subprocess.run(["readelf", "--string-dump=.gnu_debuglink", installer], check=True, capture_output=True,
                          text=True, errors="replace")
    assert f"  {installer.name}.debug\n" in link.stdout
