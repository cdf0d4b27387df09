"""What runs of the acceptance tests under memcheck would find."""

import subprocess

import pytest

from support import memcheck

PROGRAMS = {
    "nothing": ("return 0;", 0),
    "a leak": ("volatile char* lost = malloc(10); lost = 0; return 0;", 1),
    "a value that was never set": ("volatile int* x = malloc(8); int is = *x; free((void*)x); return is == 3;", 1),
    "memory that is not its own": ("volatile char* end = malloc(8); end[8] = 1; free((void*)end); return 0;", 1),
}


@pytest.mark.parametrize("body, count", PROGRAMS.values(), ids=PROGRAMS)
def test_it_finds(body, count, tmp_path, sanitizers):
    if reason := memcheck.missing(sanitizers):
        pytest.skip(reason)
    program = tmp_path / "program"
    subprocess.run(["gcc", "-x", "c", "-O0", "-o", program, "-"], check=True, text=True,
                   input=f"#include <stdlib.h>\nint main(void) {{ {body} }}\n")
    reports = tmp_path / "reports"
    reports.mkdir()
    checked = memcheck.Memcheck(reports)
    status = subprocess.run([*checked.command, program], check=False).returncode
    assert status == (memcheck.FOUND_SOMETHING if count else 0)
    assert (checked.count(), len(checked.findings())) == (1, count)
