"""The Debian packages of a build, and systems to install them on."""

import os
import shlex
import shutil
import subprocess
from pathlib import Path

import pytest

from support.scene import TIED

TOOLS = ["cpack", "dpkg-deb", "dpkg-shlibdeps", "file"]
TIME_LIMIT = 1800  # seconds, for any one command; some of them fetch packages


def output_of(*command, **options):
    """What a command prints, to either stream. It must succeed."""
    result = subprocess.run([str(word) for word in command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, **{"timeout": TIME_LIMIT, **options})
    assert result.returncode == 0, f"{shlex.join(map(str, command))}:\n{result.stdout}"
    return result.stdout


class Package:
    """One file *.deb."""

    def __init__(self, path):
        self.path = Path(path)

    def field(self, name):
        return output_of("dpkg-deb", "--field", self.path, name).strip()

    def unpack(self, folder):
        output_of("dpkg-deb", "--extract", self.path, folder)


def make_packages(build, folder):
    """The packages of a build by their names. Skips the test if this build makes none."""
    missing = [tool for tool in TOOLS if not shutil.which(tool)]
    if missing:
        pytest.skip(f"needs {', '.join(missing)}")
    if not (build / "CPackConfig.cmake").is_file():
        pytest.skip("only a release build makes packages")
    output_of("cpack", "--config", build / "CPackConfig.cmake", "-B", folder)
    packages = [Package(path) for path in folder.glob("*.deb")]
    return {package.field("Package"): package for package in packages}


def files_below(folder):
    """The paths of all files and links below a folder, relative to it."""
    found = (Path(top) / name for top, folders, files in os.walk(folder)
             for name in [*files, *(link for link in folders if os.path.islink(os.path.join(top, link)))])
    return {str(path.relative_to(folder)) for path in found}


class BareSystem:
    """A Debian 12 with nothing but its essential packages and apt, in a folder."""

    # Processes and mounts of their own, which end with the command, or with the tests.
    APART = [*TIED, "unshare", "--mount", "--pid", "--fork", "--kill-child"]

    def __init__(self, folder):
        if os.geteuid() != 0:
            pytest.skip("only root may make a system in a folder")
        if not shutil.which("debootstrap"):
            pytest.skip("needs debootstrap")
        self.folder = folder
        output_of(*self.APART, "debootstrap", "--variant=minbase", "bookworm", folder)

    def run(self, script):
        """Runs a shell script in there. Returns what it prints."""
        enter = ('mount -t proc proc "$0/proc" && mount -t tmpfs none "$0/dev/shm" && '
                 'exec chroot "$0" /usr/bin/env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin '
                 'DEBIAN_FRONTEND=noninteractive sh -ec "$1"')
        return output_of(*self.APART, "sh", "-ec", enter, self.folder, script)

    def files(self):
        """Every file but those in which packages that come and go leave their trace: caches and logs."""
        passing = ("var/cache/", "var/log/", "var/lib/apt/", "var/lib/dpkg/", "etc/ld.so.cache", "dev/", "tmp/")
        return {name for name in files_below(self.folder) if not name.startswith(passing)}
