"""What `cmake --install` has put below a folder."""

import shlex
import subprocess


def library_folder(prefix):
    (library,) = prefix.rglob("libzkupdater.so")
    return library.parent


def pkg_config(prefix, *options, package="zkupdater"):
    """What pkg-config says that a program needs to use a package."""
    environment = {"PATH": "/usr/bin", "PKG_CONFIG_PATH": str(library_folder(prefix) / "pkgconfig")}
    found = subprocess.run(["pkg-config", *options, package], env=environment, check=True, capture_output=True,
                           text=True)
    return shlex.split(found.stdout)
