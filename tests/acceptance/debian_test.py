"""The Debian packages: what is in them, what Debian's own checker says, and that they come and go without a trace."""

import re
import shutil
import subprocess

import pytest

from support.debian import files_below, output_of
from support.elf import build_id, sections
from support.installer import END

pytestmark = pytest.mark.xdist_group("debian")

LIBRARIES = {"libc6", "libgcc-s1", "libstdc++6"}

# An upload to Debian would close a bug. The scripts are CPack's; they do no harm beside the trigger that does the same.
LINTIAN_MAY_SAY = "initial-upload-closes-no-bugs,maintscript-calls-ldconfig"


@pytest.fixture(scope="module")
def trees(packages, tmp_path_factory):
    """The folders into which the packages are unpacked, by their names."""
    folders = {name: tmp_path_factory.mktemp(name) for name in packages}
    for name, package in packages.items():
        package.unpack(folders[name])
    return folders


def uncompressed(name):
    return name.removesuffix(".gz")


def test_every_file_that_is_installed_is_in_one_package(build, packages, trees, tmp_path):
    output_of("cmake", "--install", build, "--prefix", tmp_path / "usr")
    # Each package has documents in a folder of its own.
    elsewhere = (*(f"usr/share/doc/{name}/" for name in packages), "usr/lib/debug/")

    def plain(files):
        return sorted(uncompressed(file) for file in files if not file.startswith(elsewhere))

    assert plain(file for tree in trees.values() for file in files_below(tree)) == plain(files_below(tmp_path))


def test_program_library_and_development_files_are_apart(trees):
    def names(package):
        return {file.rpartition("/")[2] for file in files_below(trees[package])}

    assert {"zkupdater", "zkupdater.1.gz", "recovery.md"} <= names("zkupdater")
    assert {"libzkupdater.so.1"} <= names("libzkupdater1")
    assert {"libzkupdater.so", "libzkupdater.a", "zkupdater.h", "zkupdater.pc", "zkupdater-static.pc",
            "zkupdaterConfig.cmake", "hello.c"} <= names("libzkupdater-dev")
    assert set(trees) == {"zkupdater", "libzkupdater1", "libzkupdater-dev", "zkupdater-dbg"}


def test_every_package_has_the_whole_licence_and_both_changelogs(checkout, trees):
    words = re.findall(r"\w+", (checkout / "LICENSE").read_text().partition("Permission")[2])
    for name, tree in trees.items():
        folder = tree / "usr/share/doc" / name
        assert re.findall(r"\w+", (folder / "copyright").read_text())[-len(words):] == words
        assert output_of("zcat", folder / "changelog.gz") == (checkout / "CHANGELOG.md").read_text()
        assert output_of("dpkg-parsechangelog", "--file", folder / "changelog.Debian.gz", "--show-field", "Source")


def depends_on(package):
    return {re.match(r"[\w.+-]+", word)[0]: word for word in re.split(r",\s*", package.field("Depends"))}


def test_they_need_nothing_but_the_system_and_each_other_in_the_same_version(packages):
    assert set(depends_on(packages["zkupdater"])) <= LIBRARIES
    assert set(depends_on(packages["libzkupdater1"])) <= LIBRARIES
    version = packages["zkupdater"].field("Version")
    exactly = {name: f"{name} (= {version})" for name in ("zkupdater", "libzkupdater1")}
    assert depends_on(packages["libzkupdater-dev"]) == exactly
    assert depends_on(packages["zkupdater-dbg"]) == {"zkupdater": exactly["zkupdater"]}


def test_binaries_are_stripped_and_their_symbols_are_where_debuggers_look(trees):
    debug = trees["zkupdater-dbg"] / "usr/lib/debug/.build-id"
    (library,) = trees["libzkupdater1"].rglob("libzkupdater.so.1.*")
    for binary in (trees["zkupdater"] / "usr/bin/zkupdater", library):
        assert not sections(binary) & {".symtab", ".debug_info"}
        number = build_id(binary)
        symbols = debug / number[:2] / f"{number[2:]}.debug"
        assert build_id(symbols) == number
        assert {".symtab", ".debug_info"} <= sections(symbols)
    (archive,) = trees["libzkupdater-dev"].rglob("libzkupdater.a")
    found = sections(archive)
    assert ".symtab" in found and ".debug_info" not in found


def test_debians_checker_finds_nothing(packages):
    if not shutil.which("lintian"):
        pytest.skip("needs lintian")
    output_of("lintian", "--allow-root", "--fail-on", "error,warning", "--suppress-tags", LINTIAN_MAY_SAY,
              *[package.path for package in packages.values()])


@pytest.mark.full
def test_they_are_installed_and_removed_without_a_trace_on_a_bare_system(packages, bare_system):
    before = bare_system.files()
    for package in packages.values():
        shutil.copy2(package.path, bare_system.folder / "root")
    with_packages = bare_system.run("""
        apt-get install --yes /root/*.deb
        zkupdater -enableLog YES 2>&1 && exit 1
        find /usr -name 'libzkupdater.so.1' | grep .
        ldconfig -p | grep libzkupdater.so.1
        apt-get purge --yes $(dpkg-query -W -f '${Package} ' '*zkupdater*') >/dev/null
        if dpkg-query -W '*zkupdater*' 2>/dev/null; then exit 1; fi
        rm /root/*.deb
        """)
    assert f"{END}\n" in with_packages
    assert bare_system.files() == before


# The sources


@pytest.fixture(scope="module")
def tarball(checkout, tmp_path_factory):
    if not (checkout / ".git").exists():
        pytest.skip("needs the repository")
    return output_of(checkout / "tools/tarball", tmp_path_factory.mktemp("tarball")).strip()


def unpacked(tarball, folder):
    output_of("tar", "-x", "-f", tarball, "-C", folder)
    (top,) = folder.iterdir()
    return top


def without_network(command):
    made = subprocess.run(["unshare", "-rn", "true"], capture_output=True, text=True)
    if made.returncode != 0:
        pytest.skip(f"needs private networks: {made.stderr.strip()}")
    return ["unshare", "-rn", "sh", "-ec", command]


def test_the_tarball_holds_the_committed_files_and_is_configured_without_a_network(checkout, tarball, tmp_path):
    top = unpacked(tarball, tmp_path)
    assert files_below(top) == set(output_of("git", "ls-tree", "-r", "--name-only", "HEAD", cwd=checkout).splitlines())
    told = output_of(*without_network("cmake --preset release -DZK_TESTS=OFF"), cwd=top)
    assert "Build files have been written" in told


@pytest.mark.full
def test_the_tarball_is_built_without_a_network_and_makes_packages(tarball, tmp_path):
    top = unpacked(tarball, tmp_path)
    build = "cmake --preset release -DZK_TESTS=OFF && cmake --build build && cpack --preset release"
    output_of(*without_network(build), cwd=top)
    assert len(list((top / "build/packages").glob("*.deb"))) == 4
