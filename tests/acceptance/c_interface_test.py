"""The C interface, from three languages: applications that use semaphores and versions and then update themselves."""

import os
import re
import subprocess
from pathlib import Path

import pytest

from support.compiling import compile_host
from support.example import lock_of
from support.processes import eventually
from support.semaphores import Semaphore

HOSTS = Path(__file__).parent / "support/hosts"

# What each of them tells before it is replaced.
TOLD = """open 2 No such file or directory
create 0
create 17
try 0
try 35
post 0
guarded wait 0
guarded wait 35
guarded post 0
guarded post 2
wait 0
unlink 0
unlink 2
parse 22
parse 0
version 102030004 1.2.3 (4)
compare -1
begin 0
state 3 The update folder is, holds or lies in the application's bundle.
begin 0
state 10
status 1, log
begin 0
state 1
"""


@pytest.fixture(scope="session")
def library(build, sanitizers):
    if sanitizers:
        pytest.skip("a program without sanitizers cannot load a library with them")
    return build / "c/libzkupdater.so"


def header(checkout):
    return checkout / "c/zkupdater.h"


def compiled(source, checkout, library, folder):
    program = folder / "c-host"
    compile_host(source, program, header(checkout).parent, library)
    return program


def declarations(checkout):
    """The header without the directives of the preprocessor."""
    text = re.sub(r"/\*.*?\*/", "", header(checkout).read_text(), flags=re.DOTALL)
    text = re.sub(r'#ifdef __cplusplus\n.*?#endif\n', "", text, flags=re.DOTALL)
    return re.sub(r"^#.*\n", "", text, flags=re.MULTILINE)


@pytest.mark.parametrize("language", ["c", "py", "lua"])
def test_an_application_in_another_language_updates_itself(checkout, library, scene, language):
    source = HOSTS / f"host.{language}"
    scene.program = compiled(source, checkout, library, scene.folder) if language == "c" else source
    old = scene.make_bundle(scene.applications / "Host.app", "1")
    scene.make_bundle(scene.updates / "Host.app", "2")
    lock = Semaphore(lock_of(old.path.resolve()))
    scene.stack.callback(lock.unlink)
    report = scene.folder / "report"
    output = scene.folder / "output"
    environment = {
        "HOST_LIBRARY": str(library),
        "HOST_DECLARATIONS": declarations(checkout),
        "HOST_INSTALLER": str(scene.installer),
        "HOST_UPDATES": str(scene.updates),
        "HOST_SEMAPHORE": scene.semaphore("host").name,
        "HOST_REPORT": str(report),
    }
    with open(output, "w") as file:
        process = scene.start([old.executable], env={**os.environ, **environment}, stdout=file)
    assert process.wait(30) == 0
    assert [line.rstrip() for line in output.read_text().splitlines()] == TOLD.splitlines()

    eventually(lambda: report.exists() and report.read_text().endswith("end\n"), "the new version has told all")
    outcome, *rest = report.read_text().splitlines()
    assert re.fullmatch(rf"1 1 {re.escape(str(old.path.parent))}/\.Host\.app-[0-9a-f]{{16}}", outcome)
    assert rest == ["accept 1", "put back 0", "end"]
    assert old.version() == "2"
    assert not scene.updates.exists()
    assert scene.backups() == []


def test_the_shared_library_shows_nothing_but_its_interface(checkout, library):
    declared = set(re.findall(r"\b(zk_\w+)\(", declarations(checkout)))
    listed = subprocess.run(["nm", "-D", "--defined-only", "--format=posix", library], check=True, capture_output=True,
                            text=True).stdout
    assert {line.split()[0] for line in listed.splitlines()} == declared
    assert len(declared) > 25


def test_null_pointers_are_errors_and_no_crash(checkout, library, tmp_path):
    source = tmp_path / "null.c"
    source.write_text(r"""
#include <stdio.h>
#include "zkupdater.h"
int main(void) {
  zk_semaphore* semaphore = 0;
  zk_update* update = 0;
  zk_outcome* outcome = 0;
  uint64_t version = 0;
  const int numbers[] = {
      zk_semaphore_open(0, &semaphore), zk_semaphore_open("x", 0), zk_semaphore_create(0, 0, 0, 0, &semaphore),
      zk_semaphore_unlink(0), zk_semaphore_wait(0), zk_semaphore_try_wait(0), zk_semaphore_post(0),
      zk_semaphore_wait_guarded(0, "/", 0, 0), zk_semaphore_post_guarded(0, "/"), zk_version_parse(0, &version),
      zk_version_parse("1.2.3.4", 0), zk_update_begin(0, "/", 0, 0, &update), zk_update_begin("/", 0, 0, 0, &update),
      zk_update_begin("/", "/", 0, 0, 0), zk_outcome_read(0, 0, 0, &outcome), zk_outcome_read(1, 0, "/", &outcome),
      zk_outcome_read(0, 0, "/", 0)};
  for (size_t index = 0; index < sizeof numbers / sizeof *numbers; ++index) printf("%d ", numbers[index]);
  zk_semaphore_close(0);
  zk_update_free(0);
  zk_outcome_free(0);
  zk_version_text(0, 0, 0);
  printf("%d %d %d %s.", zk_update_poll(0), zk_update_wait(0), zk_update_exit_status(0), zk_update_log_line(0));
  printf("%d %d %d %d", zk_outcome_follows_update(0), zk_outcome_was_installed(0), zk_outcome_accept(0),
         zk_outcome_put_back(0));
  printf("%s%s%s%s", zk_outcome_from_version(0), zk_outcome_backup_path(0), zk_error_text(-1),
         zk_update_reason((zk_update_state)99));
  return 0;
}
""")
    program = compiled(source, checkout, library, tmp_path)
    told = subprocess.run([program], check=True, capture_output=True, text=True).stdout
    assert told == "22 " * 17 + "9 9 -1 .0 0 0 0"
