"""The reference of the public headers: all that is public is documented."""

import re
import shlex
import shutil
import subprocess
from pathlib import Path

import pytest

pytestmark = pytest.mark.skipif(shutil.which("doxygen") is None, reason="needs doxygen")


@pytest.fixture
def make_reference(build, tmp_path):
    """Makes the reference of some headers. Returns doxygen's result."""

    def make_reference(headers):
        configuration = (build / "Doxyfile").read_text()
        quoted = " ".join(f'"{header}"' for header in headers)
        configuration += f'INPUT = {quoted}\nOUTPUT_DIRECTORY = "{tmp_path / "reference"}"\n'
        return subprocess.run(["doxygen", "-"], input=configuration, cwd=tmp_path, text=True, capture_output=True)

    return make_reference


@pytest.fixture
def headers(build):
    found = re.search(r"^INPUT = (.*)$", (build / "Doxyfile").read_text(), re.MULTILINE)
    return [Path(name) for name in shlex.split(found[1])]


def test_everything_public_is_documented(make_reference, headers):
    assert "ZKVersion.h" in [header.name for header in headers]
    result = make_reference(headers)
    assert (result.returncode, result.stderr) == (0, "")


# A header, a declaration in it, and how doxygen names that.
DECLARATIONS = [
    ("zkupdater.h", "int zk_semaphore_post(", "zk_semaphore_post"),
    ("zkupdater.h", "typedef struct zk_update zk_update;", "zk_update"),
    ("ZKVersion.h", "  bool isValid() const", "isValid"),
    ("ErrorNumbers.h", "int errorNumber();", "errorNumber"),
    ("ZKUpdateStart.h", "struct ZKUpdateOptions", "ZKUpdateOptions"),
]


@pytest.mark.parametrize("name, declaration, shown", DECLARATIONS)
def test_what_is_not_documented_is_found(make_reference, headers, tmp_path, name, declaration, shown):
    copies = [Path(shutil.copy(header, tmp_path)) for header in headers]
    (changed,) = [copy for copy in copies if copy.name == name]
    before, found, after = changed.read_text().partition("\n" + declaration)
    assert found
    # The comment ends in the line before the declaration.
    comment = before.rindex("/**") if before.endswith("*/") else before.rindex("\n\n")
    changed.write_text(before[:comment] + "\n\n" + found + after)
    result = make_reference(copies)
    assert result.returncode != 0
    assert re.search(rf"/{re.escape(name)}:\d+: error: .*\b{shown}\b.* is not documented", result.stderr), result.stderr
