"""Application bundles by recipe. Their contents follow from a seed and cannot be compressed."""

import os
import plistlib
import random
import shutil
from pathlib import Path
from typing import NamedTuple

KIB, MIB, GIB = 1 << 10, 1 << 20, 1 << 30
NAME = "Bench.app"
EXECUTABLE = Path("Contents/MacOS/Bench")
RESOURCES = "Contents/Resources"
FRAMEWORKS = "Contents/Frameworks"
MADE = 1_700_000_000_123_456_789  # the time of everything in them, in nanoseconds


class File(NamedTuple):
    path: str
    size: int
    mode: int = 0o644


class Link(NamedTuple):
    path: str
    target: str


def small_files(count):
    """Files of 1 to 8 KiB, 100 a folder."""
    for number in range(count):
        yield File(f"{RESOURCES}/{number // 100:04}/{number % 100:02}", random.randint(KIB, 8 * KIB))


def one_folder(count):
    for number in range(count):
        yield File(f"{RESOURCES}/all/{number:06}", random.randint(KIB, 8 * KIB))


def files_of(count, size):
    for number in range(count):
        yield File(f"{RESOURCES}/{number:04}", size)


def spread(median, most):
    """A realistic size: most are near the median, a few are many times as large."""
    return min(int(random.lognormvariate(0, 1.2) * median), most)


def framework(name):
    yield File(f"{FRAMEWORKS}/{name}.framework/Versions/A/{name}", random.randint(MIB, 7 * MIB), 0o755)
    yield File(f"{FRAMEWORKS}/{name}.framework/Versions/A/Resources/Info.plist", KIB)
    for number in range(20):
        path = f"{FRAMEWORKS}/{name}.framework/Versions/A/Resources/{number % 5}.lproj/{number}.strings"
        yield File(path, spread(2 * KIB, 64 * KIB))
    yield Link(f"{FRAMEWORKS}/{name}.framework/Versions/Current", "A")
    for item in (name, "Resources"):
        yield Link(f"{FRAMEWORKS}/{name}.framework/{item}", f"Versions/Current/{item}")


def application(scale):
    """About 5,000 files and 300 MB at scale 1: translations, pictures, frameworks, helpers, a few large data files."""
    for language in range(scaled(40, scale)):
        for number in range(60):
            yield File(f"{RESOURCES}/l{language:02}.lproj/{number:02}.strings", spread(3 * KIB, 200 * KIB))
    for number in range(scaled(1900, scale)):
        path = f"{RESOURCES}/pictures/{number % 7}/{number % 31}/{number:04}.png"
        yield File(path, spread(14 * KIB, 2 * MIB))
    for number in range(scaled(22, scale)):
        yield from framework(f"Part{number:02}")
    for number in range(scaled(8, scale)):
        yield File(f"Contents/MacOS/helper-{number}", random.randint(100 * KIB, 900 * KIB), 0o755)
    for number in range(scaled(6, scale)):
        yield File(f"{RESOURCES}/data/{number}.pak", random.randint(6 * MIB, 14 * MIB))
    yield File(f"{RESOURCES}/data/all.pak", int(70 * MIB * scale))


def scaled(count, scale):
    return max(1, round(count * scale))


RECIPES = {
    "small": lambda scale: small_files(scaled(10_000, scale)),
    "medium": lambda scale: files_of(scaled(500, scale), MIB),
    "large": lambda scale: files_of(1, int(GIB * scale)),
    "app": application,
}


def write_random(path, size):
    with open(path, "wb") as file:
        while size > 0:
            size -= file.write(random.randbytes(min(size, MIB)))


def make_tree(top, program, items, seed):
    """A bundle that holds the items, with `program` as its executable."""
    random.seed(seed)
    (top / EXECUTABLE).parent.mkdir(parents=True)
    shutil.copy(program, top / EXECUTABLE)
    information = {"CFBundleIdentifier": "org.example.bench", "CFBundleExecutable": EXECUTABLE.name}
    (top / "Contents/Info.plist").write_bytes(plistlib.dumps(information))
    for item in items:
        path = top / item.path
        path.parent.mkdir(parents=True, exist_ok=True)
        if isinstance(item, Link):
            path.symlink_to(item.target)
        else:
            write_random(path, item.size)
            path.chmod(item.mode)
    for folder, folders, files in os.walk(top, topdown=False):
        for name in folders + files:
            os.utime(os.path.join(folder, name), ns=(MADE, MADE), follow_symlinks=False)
    os.utime(top, ns=(MADE, MADE))


def regular_files(top):
    paths = (os.path.join(folder, name) for folder, _, names in os.walk(top) for name in names)
    return (path for path in paths if not os.path.islink(path))
