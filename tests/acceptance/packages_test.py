"""tools/packages run by a user who may not install packages."""

import subprocess

from support.scene import IS_ROOT, NOBODY


def packages(checkout, *names):
    user = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if IS_ROOT else {}
    return subprocess.run(["sh", "-s", *names], input=(checkout / "tools/packages").read_text(), cwd="/", text=True,
                          capture_output=True, **user)


def test_missing_packages_are_named_in_a_command_to_copy(checkout):
    result = packages(checkout, "dpkg", "zk-missing-1", "zk-missing-2")
    assert result.returncode == 1
    assert result.stdout == ""
    assert result.stderr.splitlines()[-1] == "apt-get install zk-missing-1 zk-missing-2"


def test_nothing_is_printed_if_nothing_is_missing(checkout):
    result = packages(checkout, "dpkg", "coreutils")
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")
