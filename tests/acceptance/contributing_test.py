"""Every command line of CONTRIBUTING.md works."""

import os
import re
import subprocess
from pathlib import Path

import pytest

from support.documents import commands, only

LINES = commands(only(Path(__file__).resolve().parents[2] / "CONTRIBUTING.md", "indented"))

# These run this test.
THIS = {"./check", "./check --full", ".ci/run"}
SHORT = {line for line in LINES if line.startswith(("ctest ", "/usr/bin/python3 "))}


def run(checkout, line):
    # One second of fuzzing is enough here.
    command = re.sub(r"^tools/fuzz \d+$", "tools/fuzz 1", line)
    result = subprocess.run(["bash", "-c", command], cwd=checkout, stdin=subprocess.DEVNULL, capture_output=True,
                            text=True)
    assert result.returncode == 0, result.stdout + result.stderr
    assert result.stdout


@pytest.mark.parametrize("line", sorted(SHORT))
def test_a_short_command_works(checkout, line):
    run(checkout, line)


@pytest.mark.full
@pytest.mark.xdist_group("commands")
@pytest.mark.parametrize("line", [line for line in LINES if line not in THIS | SHORT])
def test_a_long_command_works(checkout, line):
    run(checkout, line)


@pytest.mark.parametrize("line", sorted(THIS))
def test_a_command_that_runs_this_test_exists(checkout, line):
    assert line in LINES
    assert os.access(checkout / line.split()[0], os.X_OK)
