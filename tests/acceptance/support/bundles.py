"""Makes application bundles and other trees, and describes them so that tests can compare them."""

import os
import plistlib
import shutil
import stat
from pathlib import Path

IDENTIFIER = "org.example.editor"
EXECUTABLE = "Editor"


class Bundle:
    def __init__(self, path):
        self.path = Path(path)

    @property
    def info(self):
        return self.path / "Contents/Info.plist"

    @property
    def executable(self):
        return self.path / "Contents/MacOS" / EXECUTABLE

    @property
    def resources(self):
        return self.path / "Contents/Resources"

    def version(self):
        return (self.resources / "version").read_text().strip()

    def tree(self):
        return tree(self.path)


def make_bundle(path, program, version, identifier=IDENTIFIER):
    """An application with a little of everything that a bundle may hold."""
    bundle = Bundle(path)
    for folder in ("MacOS", "Resources/en.lproj", "Resources/empty", "Frameworks"):
        (bundle.path / "Contents" / folder).mkdir(parents=True)
    keys = {"CFBundleExecutable": EXECUTABLE, "CFBundleName": EXECUTABLE, "CFBundleVersion": version}
    if identifier is not None:
        keys["CFBundleIdentifier"] = identifier
    bundle.info.write_bytes(plistlib.dumps(keys))
    shutil.copyfile(program, bundle.executable)
    bundle.executable.chmod(0o755)
    (bundle.resources / "version").write_text(version + "\n")
    (bundle.resources / "en.lproj" / f"Only in version {version}.txt").write_text("a\n" * 5000)
    (bundle.resources / "Größe.txt").write_text("ä\n")
    (bundle.resources / "current").symlink_to("version")
    (bundle.resources / "tool.sh").write_text("#!/bin/sh\nexit 0\n")
    (bundle.resources / "tool.sh").chmod(0o750)
    os.utime(bundle.resources / "tool.sh", ns=(1_500_000_000_123_456_789, 1_400_000_000_987_654_321))
    os.utime(bundle.resources / "empty", ns=(1_300_000_000_000_000_001, 1_300_000_000_000_000_001))
    return bundle


def add_socket(folder):
    """Puts a socket into a folder: something that cannot be copied."""
    os.mknod(folder / "zzz-socket", stat.S_IFSOCK | 0o600)


def _content(path, kind):
    if stat.S_ISREG(kind):
        return path.read_bytes()
    return os.readlink(path) if stat.S_ISLNK(kind) else None


def tree(top):
    """Everything under a folder, with all that a copy has to keep."""
    top = Path(top)
    result = {}
    paths = [top] + [Path(folder) / name for folder, folders, files in os.walk(top) for name in folders + files]
    for path in paths:
        status = path.lstat()
        result[os.path.relpath(path, top)] = (
            stat.filemode(status.st_mode),
            status.st_mtime_ns,
            status.st_uid,
            status.st_gid,
            _content(path, status.st_mode),
        )
    return result


def give_to(user, *tops):
    """Makes a user the owner of whole trees. Mode bits that a change of owner clears are set again."""
    for top in tops:
        for name, properties in tree(top).items():
            path = Path(top) / name
            mode = path.lstat().st_mode
            os.chown(path, user, user, follow_symlinks=False)
            if not stat.S_ISLNK(mode):
                os.chmod(path, stat.S_IMODE(mode))


def remove_tree(top):
    """Removes a tree even if parts of it are unreadable."""
    for folder, folders, _ in os.walk(top):
        for name in folders:
            path = os.path.join(folder, name)
            if not os.path.islink(path):
                os.chmod(path, 0o700)
    shutil.rmtree(top)
