"""Which parts may include and link which."""

import json
import os
import re
import subprocess
from pathlib import Path

import pytest

from support.compiling import compile_like

SUBSYSTEMS = ["platform", "errors", "version", "semaphore", "host", "c", "updater"]

# The including subsystem, the header, and whether that compiles: downwards it does, upwards and sideways it does not.
INCLUDES = [
    ("platform", "objects/NSString.h", True),
    ("platform", "NSErrorPOSIX.h", False),
    ("platform", "ZKPOSIXSemaphore.h", False),
    ("platform", "ZKVersion.h", False),
    ("platform", "ZKUpdateStart.h", False),
    ("platform", "ZKUpdater.h", False),
    ("errors", "objects/NSError.h", True),
    ("errors", "ZKPOSIXSemaphore.h", False),
    ("errors", "ZKVersion.h", False),
    ("errors", "ZKUpdater.h", False),
    ("semaphore", "NSErrorPOSIX.h", True),
    ("semaphore", "ZKVersion.h", False),
    ("semaphore", "ZKUpdateStart.h", False),
    ("semaphore", "zkupdater.h", False),
    ("semaphore", "ZKUpdater.h", False),
    ("version", "text/NSScanner.h", True),
    ("version", "NSErrorPOSIX.h", False),
    ("version", "ZKPOSIXSemaphore.h", False),
    ("version", "ZKUpdateStart.h", False),
    ("version", "ZKUpdater.h", False),
    ("host", "ZKPOSIXSemaphore.h", True),
    ("host", "ZKVersion.h", True),
    ("host", "zkupdater.h", False),
    ("host", "ZKUpdater.h", False),
    ("c", "ZKUpdateStart.h", True),
    ("c", "ZKUpdater.h", False),
    ("updater", "ZKPOSIXSemaphore.h", True),
    ("updater", "ZKVersion.h", False),
    ("updater", "ZKUpdateStart.h", False),
]


@pytest.fixture(scope="session")
def commands(build, checkout):
    """For each subsystem, the compile command of its first source and the folder to run it in."""
    result = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = Path(entry["file"])
        if path.is_relative_to(checkout):
            result.setdefault(path.relative_to(checkout).parts[0], entry)
    return result


@pytest.mark.parametrize("subsystem, header, compiles", INCLUDES)
def test_an_include_compiles_if_and_only_if_it_leads_downwards(commands, tmp_path, subsystem, header, compiles):
    source = tmp_path / "include.cpp"
    source.write_text(f'#include "{header}"\n')
    result = compile_like(commands[subsystem], source)
    if compiles:
        assert result.returncode == 0, result.stderr
    else:
        assert result.returncode != 0
        assert re.search(rf"{re.escape(header)}.*(No such file|not found)", result.stderr), result.stderr


# The folders of platform/: each may include from itself and from those before it. An operating system's folder is last.
FOLDERS = ["objects", "text", "plist", "system", "files", "process"]

# Headers that only one operating system has, or that each has in another place.
OF_ONE_SYSTEM = re.compile(
    r"<(linux/.*|mach.*/.*|objc/.*|(copyfile|crt_externs|libproc)\.h|"
    r"sys/(xattr|syscall|eventfd|vfs|random|ioctl|acl|clonefile|sysctl)\.h)>"
)


def upward_includes(platform):
    """Every include under `platform` that goes against the order, as "file:line: include"."""
    wrong = []
    for source in sorted([*platform.glob("*/*.h"), *platform.glob("*/*.cpp")]):
        folder = source.parent.name
        may_use = FOLDERS[: FOLDERS.index(folder) + 1] if folder in FOLDERS else [*FOLDERS, folder]
        for number, line in enumerate(source.read_text().splitlines(), 1):
            included = re.match(r'#include (?:"([^"/]+)/[^"]+"|(<.*>))', line)
            if not included:
                continue
            is_upward = included[1] is not None and included[1] not in may_use
            is_of_one_system = included[2] is not None and folder in FOLDERS and OF_ONE_SYSTEM.match(included[2])
            if is_upward or is_of_one_system:
                wrong.append(f"{source.relative_to(platform)}:{number}: {line}")
    return wrong


def test_inside_the_platform_every_include_leads_downwards(checkout):
    assert upward_includes(checkout / "platform") == []


def test_an_upward_include_is_reported_with_its_line(tmp_path):
    for folder in [*FOLDERS, "linux", "darwin"]:
        (tmp_path / folder).mkdir()
    (tmp_path / "text/Bad.cpp").write_text('#include "objects/NSObject.h"\n\n#include "files/Folder.h"\n')
    (tmp_path / "files/Bad.h").write_text("#include <sys/xattr.h>\n#include <sys/types.h>\n#include <mach-o/dyld.h>\n")
    (tmp_path / "linux/Bad.h").write_text('#include <sys/xattr.h>\n#include "darwin/Other.h"\n')
    assert upward_includes(tmp_path) == [
        "files/Bad.h:1: #include <sys/xattr.h>",
        "files/Bad.h:3: #include <mach-o/dyld.h>",
        'linux/Bad.h:2: #include "darwin/Other.h"',
        'text/Bad.cpp:3: #include "files/Folder.h"',
    ]


def test_what_is_declared_by_hand_of_macos_is_in_one_header(checkout):
    sources = sorted((checkout / "platform").glob("*/*.*"))
    by_hand = [path.name for path in sources if 'extern "C"' in path.read_text()]
    assert by_hand == ["Declarations.h"]


def test_what_of_macos_is_tested_elsewhere_includes_no_header_of_macos(checkout):
    folder = checkout / "platform/darwin"
    logic = re.findall(r"^  (\w+)\.cpp$", (folder / "Logic.cmake").read_text(), re.MULTILINE)
    assert logic
    for name in logic:
        for source in [folder / f"{name}.cpp", folder / f"{name}.h"]:
            included = re.findall(r"#include (<.*>)", source.read_text())
            assert [header for header in included if OF_ONE_SYSTEM.match(header)] == [], source


def test_another_project_builds_the_libraries_without_the_tests_and_with_its_own_warnings(checkout, tmp_path):
    (tmp_path / "CMakeLists.txt").write_text(
        "cmake_minimum_required(VERSION 3.25)\n"
        "project(host CXX)\n"
        f'add_subdirectory("{checkout}" zkupdater EXCLUDE_FROM_ALL)\n'
        "add_executable(host main.cpp)\n"
        "target_link_libraries(host PRIVATE zk::semaphore zk::version)\n"
    )
    (tmp_path / "main.cpp").write_text("int main() {}\n")
    subprocess.run(["cmake", "-G", "Ninja", "-B", "build"], cwd=tmp_path, check=True, stdout=subprocess.DEVNULL)
    rules = (tmp_path / "build/build.ninja").read_text()
    assert "libzk_semaphore.a" in rules
    assert "-Werror" not in rules
    assert "tests" not in os.listdir(tmp_path / "build/zkupdater")


def test_every_header_named_here_exists(checkout):
    for _, header, _ in INCLUDES:
        assert any((checkout / subsystem / header).is_file() for subsystem in SUBSYSTEMS), header


def sources(checkout, *folders):
    result = [path for folder in folders for path in (checkout / folder).rglob("*") if path.suffix in (".h", ".cpp")]
    assert result
    return result


def includes(path):
    return re.findall(r'^[ \t]*#[ \t]*include[ \t]*[<"]([^>"]*)[>"]', path.read_text(), re.MULTILINE)


def test_no_include_climbs_out_of_its_folder(checkout):
    assert [
        (path, name)
        for path in sources(checkout, *SUBSYSTEMS, "tests", "examples", "bench")
        for name in includes(path)
        if ".." in Path(name).parts
    ] == []


def test_above_the_platform_there_are_no_system_headers_and_no_conditions(checkout):
    for path in sources(checkout, "updater", "host", "semaphore", "errors", "version"):
        text = path.read_text()
        # Headers of the standard library are a single word; system headers have folders or extensions.
        headers = re.findall(r"^[ \t]*#[ \t]*include[ \t]*<([^>]*)>", text, re.MULTILINE)
        assert [header for header in headers if not re.fullmatch(r"[a-z_]+", header)] == [], path
        assert not re.search(r"^[ \t]*#[ \t]*(if|ifdef|ifndef|elif|else)\b", text, re.MULTILINE), path


def test_nothing_that_runs_while_a_semaphore_is_held_includes_filesystem(checkout):
    """Its iterators end the process in some libraries if memory runs out, and the semaphore would stay taken."""
    held = sources(checkout, "updater", "semaphore", "errors", "platform")
    assert [path for path in held if "filesystem" in includes(path)] == []


SYSTEM_LIBRARIES = re.compile(
    r"(libstdc\+\+|libc\+\+|libc\+\+abi|libgcc_s|libunwind|libm|libc|libpthread|librt|libdl|ld-linux[-\w]*)\.so[.\d]*"
)
SANITIZERS = re.compile(r"(lib[altu]b?san|libubsan|libresolv)\.so[.\d]*")


def test_nothing_but_the_language_and_the_system_is_linked(installer, sanitizers):
    text = subprocess.run(["readelf", "-d", installer], check=True, capture_output=True, text=True).stdout
    libraries = re.findall(r"\(NEEDED\).*\[(.*)\]", text)
    assert "libc.so.6" in libraries
    for library in libraries:
        assert SYSTEM_LIBRARIES.fullmatch(library) or (sanitizers and SANITIZERS.fullmatch(library)), library
