"""What `cmake --install` puts into place, and programs that are built with nothing else."""

import re
import subprocess

import pytest

from support.installed import library_folder, pkg_config

C = """#include <stdio.h>
#include <zkupdater/zkupdater.h>

int main(void) {
  uint64_t version = 0;
  char text[ZK_VERSION_TEXT_SIZE];
  zk_version_parse("1.2.3.4", &version);
  zk_version_text(version, text, sizeof text);
  puts(text);
  return 0;
}
"""

CXX = """#include <cstdio>
#include <zkupdater/ZKUpdateStart.h>
#include <zkupdater/ZKVersion.h>

int main() {
  const auto start = zk::ZKUpdateStart::startInstaller("/bin/false", "/");
  if (start->state() != zk::ZKUpdateStart::State::noApplication) return 1;
  std::puts(zk::ZKVersion::versionWithString(zk::NSString::stringWithBytes("1.2.3.4"))->description()->UTF8String());
}
"""

PROJECT = """cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES C CXX)
find_package(zkupdater 1.0 REQUIRED)
add_executable(c_shared main.c)
target_link_libraries(c_shared PRIVATE zk::shared)
add_executable(c_static main.c)
target_link_libraries(c_static PRIVATE zk::c)
set_target_properties(c_static PROPERTIES LINKER_LANGUAGE CXX)
add_executable(cxx_static main.cpp)
target_link_libraries(cxx_static PRIVATE zk::host zk::version)
file(GENERATE OUTPUT installer CONTENT $<TARGET_FILE:zk::zkupdater>)
"""


def run(command, **options):
    return subprocess.run([str(word) for word in command], check=True, capture_output=True, text=True, **options).stdout


@pytest.fixture
def project(tmp_path):
    (tmp_path / "main.c").write_text(C)
    (tmp_path / "main.cpp").write_text(CXX)
    (tmp_path / "CMakeLists.txt").write_text(PROJECT)
    return tmp_path


def libraries_of(program):
    return re.findall(r"\(NEEDED\).*\[(.*)\]", run(["readelf", "-d", program]))


@pytest.mark.full
def test_programs_are_built_with_the_cmake_package(prefix, project):
    run(["cmake", "-G", "Ninja", "-B", "build", f"-DCMAKE_PREFIX_PATH={prefix}"], cwd=project)
    run(["cmake", "--build", "build"], cwd=project)
    for name in ("c_shared", "c_static", "cxx_static"):
        program = project / "build" / name
        assert run([program]) == "1.2.3 (4)\n"
        assert ("libzkupdater.so.1" in libraries_of(program)) == (name == "c_shared")
    assert (project / "build/installer").read_text() == str(prefix / "bin/zkupdater")


@pytest.mark.full
def test_programs_are_built_with_pkg_config(prefix, project):
    shared = project / "shared"
    run(["gcc", "-std=c11", project / "main.c", "-o", shared, *pkg_config(prefix, "--cflags", "--libs")])
    assert run([shared], env={"LD_LIBRARY_PATH": str(library_folder(prefix))}) == "1.2.3 (4)\n"
    assert "libzkupdater.so.1" in libraries_of(shared)

    for compiler, source in (("gcc", "main.c"), ("g++ -std=c++20", "main.cpp")):
        program = project / f"with-{source}"
        options = pkg_config(prefix, "--cflags", "--libs", package="zkupdater-static")
        run([*compiler.split(), project / source, "-o", program, *options])
        assert run([program]) == "1.2.3 (4)\n"
        assert "libzkupdater.so.1" not in libraries_of(program)

        static = project / f"static-{source}"
        options = pkg_config(prefix, "--static", "--cflags", "--libs")
        run([*compiler.split(), project / source, "-static", "-o", static, *options])
        assert run([static]) == "1.2.3 (4)\n"
        assert libraries_of(static) == []


def test_every_header_that_is_installed_can_be_included_by_itself_and_needs_no_other(prefix):
    headers = sorted((prefix / "include/zkupdater").iterdir())
    assert "ZKVersion.h" in [header.name for header in headers]
    assert not {"System.h", "Port.h"} & {header.name for header in headers}
    for header in headers:
        run(["g++", "-std=c++20", "-fsyntax-only", "-I", prefix / "include", "-x", "c++", "-include", header,
             "/dev/null"])
        assert re.findall(r'^#include "[^"]*/', header.read_text(), re.MULTILINE) == []


def test_the_executable_the_man_pages_and_the_documents_are_installed(prefix):
    result = subprocess.run([prefix / "bin/zkupdater", "-enableLog", "YES"], capture_output=True, text=True)
    assert result.returncode == 1
    assert "Error: Target PID not specified." in result.stderr
    assert (prefix / "share/man/man1/zkupdater.1").is_file()
    assert (prefix / "share/man/man7/zkupdater.7").is_file()
    documents = {path.name for path in (prefix / "share/doc/zkupdater").iterdir()}
    assert documents == {"embedding.md", "file-formats.md", "protocol.svg", "recovery.md", "security.md"}
