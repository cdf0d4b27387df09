"""What programs and libraries tell about themselves."""

import re
import subprocess


def readelf(path, *options):
    return subprocess.run(["readelf", "--wide", *options, path], check=True, capture_output=True, text=True,
                          errors="replace").stdout


def sections(path):
    """The names of the sections; of all members in an archive."""
    return set(re.findall(r"\] (\.\S+)", readelf(path, "--sections")))


def build_id(path):
    return re.search(r"Build ID: (\w+)", readelf(path, "--notes"))[1]
