"""The binary interface of the shared library, and what keeps it from changing unnoticed."""

import subprocess
import xml.etree.ElementTree as ElementTree

import pytest

# Each comparison writes the same file.
pytestmark = pytest.mark.xdist_group("abi")


@pytest.fixture
def description(checkout, sanitizers):
    """The binary interface that programs rely on."""
    if sanitizers:
        pytest.skip("the sanitizers' own symbols are in the library, too")
    return ElementTree.parse(checkout / "c/libzkupdater.abi")


@pytest.fixture
def compare(checkout, tmp_path):
    """Compares a description with the library that was built."""

    def compare(description):
        file = tmp_path / "description.abi"
        description.write(file)
        return subprocess.run([checkout / "tools/abi", file], capture_output=True, text=True)

    return compare


def test_the_binary_interface_is_the_one_that_programs_rely_on(description, compare):
    result = compare(description)
    assert result.returncode == 0, result.stdout + result.stderr


def test_a_function_that_goes_away_is_found(description, compare):
    for element in description.iter():
        for name, value in element.items():
            element.set(name, value.replace("zk_error_text", "zk_former"))
    result = compare(description)
    assert result.returncode != 0
    assert "'function const char* zk_former(int)'" in result.stdout


def test_a_constant_that_changes_is_found(description, compare):
    (constant,) = description.findall(".//enumerator[@name='ZK_UPDATE_READY']")
    constant.set("value", "77")
    result = compare(description)
    assert result.returncode != 0
    assert "ZK_UPDATE_READY" in result.stdout


def test_a_parameter_that_changes_is_found(description, compare):
    (parameter,) = description.findall(".//function-decl[@name='zk_error_text']/parameter")
    (wider,) = description.findall(".//type-decl[@name='unsigned long int']")
    parameter.set("type-id", wider.get("id"))
    result = compare(description)
    assert result.returncode != 0
    assert "zk_error_text" in result.stdout
