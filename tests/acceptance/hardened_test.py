"""What makes errors that nobody has found yet harder to exploit."""

import re

import pytest

from support.elf import readelf


@pytest.fixture(params=["zkupdater", "c/libzkupdater.so"])
def read(request, release_build):
    """What readelf tells about the installer, or about the library."""
    return lambda what: readelf(release_build / request.param, what)


def imported(read):
    return set(re.findall(r" UND (\w+)", read("--dyn-syms")))


@pytest.mark.parametrize("read", ["zkupdater"], indirect=True)
def test_it_is_loaded_to_an_address_that_nobody_can_guess(read):
    assert re.search(r"Type: +DYN ", read("--file-header"))
    assert re.search(r"\(FLAGS_1\) .*\bPIE\b", read("--dynamic"))


def test_its_table_of_functions_cannot_be_written_once_it_runs(read):
    assert "GNU_RELRO" in read("--program-headers")
    assert re.search(r"\(FLAGS_1\) .*\bNOW\b", read("--dynamic"))


def test_its_stack_cannot_be_executed_nor_anything_that_can_be_written(read):
    segments = re.findall(r"^ +(\w+) +(?:0x\w+ +){5}([R ][W ][E ])", read("--program-headers"), re.MULTILINE)
    assert dict(segments)["GNU_STACK"] == "RW "
    assert [kind for kind, access in segments if access == "RWE"] == []


def test_a_smashed_stack_ends_it(read):
    assert "__stack_chk_fail" in imported(read)


def test_the_c_librarys_calls_check_the_size_of_what_they_write_to(read):
    assert {name for name in imported(read) if re.fullmatch(r"__\w+_chk", name)}
