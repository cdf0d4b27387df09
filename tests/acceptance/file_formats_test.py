"""The files that docs/file-formats.md describes are where it says and hold what it says."""

import plistlib
import re
import shutil
import subprocess

import pytest

from support.example import Example
from support.installer import INSTALLED
from support.processes import eventually, stays


def digits_replaced(name):
    return re.sub(r"[0-9a-f]{16}", "0123456789abcdef", name)


def names_in(layout):
    """The folder at the top of a layout, and the names in it without what is random."""
    top, *lines = layout.splitlines()
    return top, sorted(digits_replaced(line.split()[0].rstrip("/")) for line in lines)


def names_of_items(folder):
    return sorted(digits_replaced(path.name) for path in folder.iterdir())


@pytest.mark.listings("docs/file-formats.md: text", "docs/file-formats.md: text 2")
def test_the_files_of_an_update_are_where_the_document_says(checkout, scene, build, shown):
    (update, during), (applications, after) = map(names_in, shown)
    assert (update, applications) == ("update/", "Applications/")
    shutil.rmtree(scene.target.path)
    shutil.rmtree(scene.update.path)
    example = Example(scene, build)
    # A taken lock keeps the installer from going on; the record is that of a live process.
    example.lock.create(taken=True)
    holder = scene.start(["/usr/bin/sleep", "infinity"])
    record = scene.updates / f".{example.lock.name}.semaphore"
    record.write_bytes(plistlib.dumps({"pid": holder.pid}))
    old_time = example.bundle.path.stat().st_mtime_ns
    assert example.start().wait(30) == 0
    assert names_of_items(scene.updates) == [name.replace("Editor", "Example") for name in during]

    note = plistlib.loads((scene.updates / ".zk-update-note").read_bytes())
    text = (checkout / "docs/file-formats.md").read_text()
    rows = re.findall(r"^\| `(\w+)` \|", text.partition("## The note")[2].partition("\n## ")[0], re.MULTILINE)
    assert rows == ["version", "modificationTime", "backups"]
    assert set(note) <= set(rows)
    assert note["backups"] == []
    assert note["modificationTime"] == old_time

    record.unlink()
    example.lock.post()
    eventually(lambda: example.journal(2)[-1:] == ["ends"], "version 2 has come up and ended")
    assert names_of_items(scene.applications) == [name.replace("Editor", "Example") for name in after]


def running(program, *arguments):
    return subprocess.Popen(["/usr/bin/python3", "-c", program, *map(str, arguments)], stdin=subprocess.PIPE,
                            stdout=subprocess.PIPE, text=True)


@pytest.mark.listings("docs/file-formats.md: python")
@pytest.mark.without_memcheck("the record names valgrind's program")
def test_a_record_that_another_language_writes_is_one_of_ours(checkout, scene, shown):
    # It makes the same record of a process as the process itself.
    scene.start_target()
    run = scene.begin()
    eventually(scene.record_path().exists, "the record is there")
    record = plistlib.loads(scene.record_path().read_bytes())
    text = (checkout / "docs/file-formats.md").read_text()
    rows = re.findall(r"^\| `(\w+)` \|", text.partition("## The record")[2].partition("\n## ")[0], re.MULTILINE)
    header = (checkout / "semaphore/ZKPOSIXSemaphore.h").read_text()
    assert rows == re.findall(r'Key = "(\w+)"_constant', header)
    assert set(record) <= set(rows)
    names = {}
    exec(shown[0], names)  # noqa: S102: the listing itself
    assert names["record_of"](run.pid) == record
    scene.end_target()
    assert run.outcome() == INSTALLED

    # While the process that wrote it lives, an installer waits for it.
    scene.update_semaphore.take()
    holder = running(shown[0] + "\nimport sys\nwrite_record(*sys.argv[1:])\nprint('written', flush=True)\ninput()\n",
                     scene.updates, scene.update_semaphore.name)
    with holder:
        try:
            assert holder.stdout.readline() == "written\n"
            scene.start_target()
            run = scene.begin(installerSemaphore=None)
            scene.end_target()
            stays(lambda: not run.has_ended(), "the installer waits for the holder")
        finally:
            holder.kill()
    assert run.outcome() == INSTALLED


def bundle_in_plain_folder(scene, info):
    for bundle in (scene.target, scene.update):
        version = bundle.version()
        shutil.rmtree(bundle.path)
        (bundle.path / "bin").mkdir(parents=True)
        (bundle.path / "Info.plist").write_text(info)
        shutil.copy2(scene.program, bundle.path / "bin/editor")
        (bundle.path / "Resources").mkdir()
        (bundle.path / "Resources/version").write_text(version)


@pytest.mark.listings("docs/file-formats.md: text 3")
def test_a_program_may_lie_deeper_in_its_bundle(scene, shown):
    bundle_in_plain_folder(scene, shown[0])
    scene.running = scene.start([scene.target.path / "bin/editor", "stay"])
    assert scene.install() == INSTALLED
    assert [report.version for report in scene.launched()] == ["2"]


def test_the_packages_and_limits_of_the_document_are_those_of_the_code(checkout):
    text = (checkout / "docs/file-formats.md").read_text()
    packages = re.search(r"if its name ends in (.*?), in any case", text, re.DOTALL)[1]
    source = (checkout / "platform/files/Package.cpp").read_text()
    extensions = re.findall(r'"(\w+)"', source.partition("kPackageExtensions = {")[2].partition("}")[0])
    assert sorted(name.lower() for name in re.findall(r"`\.(\w+)`", packages)) == sorted(extensions)

    def limit(file, name):
        exponent = re.search(rf"{name} = std::size_t\{{(\d+)\}} << (\d+);", (checkout / file).read_text())
        return int(exponent[1]) << int(exponent[2])

    megabyte = 1 << 20
    assert limit("platform/files/NSBundle.cpp", "kLargestInfo") == megabyte
    assert limit("semaphore/ProcessInfo.cpp", "kLargestRecord") == megabyte
    assert limit("host/UpdateNote.cpp", "kLargestNote") == megabyte
    assert limit("platform/files/NSBundle.cpp", "kLargestTranslations") == 4 * megabyte
    rows = re.findall(r"^\| .* \| (\d) MiB \|$", text, re.MULTILINE)
    assert rows == ["1", "1", "4"]
    assert "kDeepestNesting = 512;" in (checkout / "platform/plist/Nesting.h").read_text()
    assert "nested 512 deep" in text
