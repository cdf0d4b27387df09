"""What compiles against the installed headers, and what must not."""

import re
import subprocess

import pytest

from support.installed import pkg_config

PROGRAM = """#include <fcntl.h>
#include <zkupdater/ZKPOSIXSemaphore.h>

int main() {{
  using namespace zk;
  return ZKPOSIXSemaphore::init()->openWithName("x"_ns, {flags}, 0600, 1) ? 1 : 0;
}}
"""


def compile(prefix, tmp_path, source, *options):
    file = tmp_path / "main.cpp"
    file.write_text(source)
    command = ["g++", "-std=c++20", "-fsyntax-only", *options, file, *pkg_config(prefix, "--cflags")]
    return subprocess.run(command, capture_output=True, text=True)


@pytest.mark.parametrize("flags", ["SemaphoreFlags::none", "ZKO_CREAT", "ZKO_CREAT | ZKO_EXCL"])
def test_a_semaphore_is_opened_with_flags_of_their_own_type(prefix, tmp_path, flags):
    result = compile(prefix, tmp_path, PROGRAM.format(flags=flags))
    assert result.returncode == 0, result.stderr


@pytest.mark.parametrize("flags", ["O_CREAT", "O_CREAT | O_EXCL", "ZKO_CREAT | O_EXCL", "0x200"])
def test_the_flags_of_the_operating_system_do_not_compile(prefix, tmp_path, flags):
    result = compile(prefix, tmp_path, PROGRAM.format(flags=flags))
    assert result.returncode != 0
    assert re.search(r"error: (no match|cannot convert .*SemaphoreFlags)", result.stderr), result.stderr


ALL_UNITS = """#include <cstdio>
#include <iostream>
#include <zkupdater/NSErrorPOSIX.h>
#include <zkupdater/POSIXErrorTable.h>
#include <zkupdater/ZKPOSIXSemaphore.h>
#include <zkupdater/ZKUpdateOutcome.h>
#include <zkupdater/ZKUpdateStart.h>
#include <zkupdater/ZKVersion.h>
#include <zkupdater/zkupdater.h>

int main(int argumentCount, char** arguments) {
  using namespace zk;
  const auto start = ZKUpdateStart::startInstaller("/bin/false", "/");
  std::cout << start->reason() << std::endl;
  std::cout << ZKUpdateOutcome::outcomeOfUpdate(argumentCount, arguments, "/")->wasInstalled() << std::endl;

  Ref<NSError> error;
  if (ZKPOSIXSemaphore::openWithName(NSString::stringWithUTF8String(arguments[1]), &error)) return 1;
  std::cout << error << std::endl;
  const auto semaphore = ZKPOSIXSemaphore::initWithCreate(NSString::stringWithUTF8String(arguments[1]), true, 0600, 1);
  std::cout << semaphore->waitWithProcessInfo(NSURL::fileURLWithPath("/nowhere"_ns), 0, 0) << semaphore->unlink()
            << std::endl;

  std::cout << ZKPOSIXErrorName(2) << " " << POSIX::errorWithPOSIXCode(2, nullptr, nullptr)->code() << std::endl;
  std::cout << ZKVersion::versionWithString("1.2.3.4"_ns) << " " << zk_library_version() << std::endl;
}
"""

TOLD = """The application runs from no bundle with an identifier.
0
NSPOSIXErrorDomain 2: No such file or directory: Named semaphore does not exist.
11
ENOENT 2
1.2.3 (4) 100010013
"""


@pytest.mark.parametrize("options", [[], ["-fno-exceptions"], ["-fno-rtti"], ["-fno-exceptions", "-fno-rtti"]])
def test_a_program_may_do_without_exceptions_and_type_information(prefix, scene, tmp_path, options):
    source = tmp_path / "main.cpp"
    source.write_text(ALL_UNITS)
    program = tmp_path / "main"
    subprocess.run(["g++", "-std=c++20", "-Wall", "-Wextra", "-Werror", *options, source, "-o", program,
                    *pkg_config(prefix, "--cflags", "--libs", package="zkupdater-static")], check=True)
    name = scene.semaphore("user").name
    told = subprocess.run([program, name], check=True, capture_output=True, text=True).stdout
    assert told == TOLD
