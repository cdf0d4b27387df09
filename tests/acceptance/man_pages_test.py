"""The man pages: well formed, complete, and with the options, texts and numbers of the program."""

import collections
import os
import re
import subprocess
import xml.etree.ElementTree as ElementTree
from pathlib import Path

import pytest

from support.bundles import EXECUTABLE
from support.documents import commands, pages, plain, run_in
from support.installer import BEGIN, END, INSTALLED, LINE
from support.processes import eventually
from support.scene import RELAUNCH_ARGUMENTS

PAGES = [path.name for path in pages(Path(__file__).resolve().parents[2])]


@pytest.fixture
def page(checkout):
    return (checkout / "docs/zkupdater.1").read_text()


@pytest.fixture
def protocol(checkout):
    return (checkout / "docs/zkupdater.7").read_text()


@pytest.mark.parametrize("name", PAGES)
def test_a_page_is_well_formed(checkout, name):
    found = subprocess.run(["mandoc", "-T", "lint", checkout / "docs" / name], capture_output=True, text=True)
    assert (found.returncode, found.stdout + found.stderr) == (0, "")
    shown = subprocess.run(["man", "--warnings", "--local-file", checkout / "docs" / name], capture_output=True,
                           text=True, env={**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "80", "PAGER": "cat"})
    assert (shown.returncode, shown.stderr) == (0, "")
    assert "ZKUPDATER" in shown.stdout
    assert [line for line in shown.stdout.splitlines() if len(line) > 80] == []


def test_the_pages_name_each_other_and_the_version(checkout):
    version = re.search(r"project\(zkupdater VERSION ([\d.]+)", (checkout / "CMakeLists.txt").read_text())[1]
    assert PAGES == ["zkupdater.1", "zkupdater.7"]
    for name, other in (PAGES, reversed(PAGES)):
        text = (checkout / "docs" / name).read_text()
        title = re.match(r'\.TH ZKUPDATER (\d) \d{4}-\d\d-\d\d "zkupdater ([\d.]+)"', text)
        assert title.groups() == (name[-1], version)
        assert f".BR zkupdater ({other[-1]})" in text.partition(".SH SEE ALSO")[2]


# zkupdater(1)


def test_every_message_and_every_setting_is_explained(checkout, page):
    source = "".join(path.read_text() for path in sorted((checkout / "updater").glob("*.cpp")))
    errors = set(re.findall(r'logError\("([^"]*)"\)', source))
    assert len(errors) > 15
    assert set(re.findall(r"^\.B Error: (.*)$", page, re.MULTILINE)) == errors
    assert re.findall(r"^\.B (\w+ installation)$", page, re.MULTILINE) == [BEGIN, END]

    settings = set(re.findall(r'ForKey\("(\w+)"_ns\)', source))
    assert len(settings) == 5
    assert set(re.findall(r'^\.TP\n\.B[IR] \\-(\w+) "', page, re.MULTILINE)) == settings
    synopsis = page.partition(".SH SYNOPSIS")[2].partition(".SH")[0]
    assert set(re.findall(r"\\-(\w+)", synopsis)) == settings
    readme = (checkout / "README.md").read_text()
    assert set(re.findall(r"^\| `-(\w+)` \|", readme, re.MULTILINE)) == settings


def test_the_exit_statuses_are_explained(checkout, page):
    section = page.partition(".SH EXIT STATUS")[2].partition(".SH")[0]
    explained = re.findall(r"^\.TP\n\.B (\d+)$", section, re.MULTILINE)
    source = (checkout / "updater/RunSequence.cpp").read_text() + (checkout / "updater/main.cpp").read_text()
    assert "return isInstalled ? 0 : 1;" in source
    assert {status for text in re.findall(r"return ([^;]*);", source) for status in re.findall(r"\b\d\b", text)} == \
        set(explained) == {"0", "1"}


@pytest.mark.listings("docs/zkupdater.1: example")
def test_a_line_of_the_log_looks_as_shown(checkout, shown):
    line = shown[0].replace("\\\n    ", "").rstrip("\n")
    match = LINE.fullmatch(line)
    assert match and f"{match['category']}: {match['message']}" == "Error: Unable to locate update bundle."


@pytest.mark.listings("docs/zkupdater.1: example 2", "docs/zkupdater.1: example 3")
def test_an_application_is_replaced_by_hand_and_put_back(scene, shown):
    (replace,), (put_back,) = map(commands, shown)
    old = scene.target.tree()
    scene.start_target()
    replace = replace.replace("4711", str(scene.running.pid)).replace("/var/tmp/editor-update", str(scene.updates))
    program, *arguments = replace.split()
    assert program == "zkupdater"
    run = scene.begin_plainly(arguments).wait_until_waiting()
    scene.end_target()
    assert run.outcome() == INSTALLED
    assert scene.target.version() == "2"

    scene.target.path.rename(scene.folder / "swap failed")
    run_in(scene.applications, re.sub(r"\.Editor\.app-[0-9a-f]{16}", scene.backup().name, put_back))
    assert scene.target.tree() == old


# zkupdater(7)


def labels(diagram):
    """The texts of the diagram, line by line, without its lines."""
    lines = [re.sub(r"[|<>]|-+|(?<!\w)X ", "  ", line) for line in diagram.splitlines()]
    return [label for line in lines for label in re.split(r"\s{2,}", line.strip()) if label]


@pytest.mark.listings("docs/zkupdater.7: example")
def test_the_picture_shows_the_same_as_the_diagram(checkout, shown):
    root = ElementTree.parse(checkout / "docs/protocol.svg").getroot()
    svg = "{http://www.w3.org/2000/svg}"
    texts = [(element.get("class") == "head", element.text) for element in root.iter(f"{svg}text")]
    diagram = labels(shown[0])
    assert len(diagram) > 20
    heads = collections.Counter(text for is_head, text in texts if is_head)
    assert collections.Counter(diagram) - collections.Counter(text for is_head, text in texts if not is_head) == heads
    assert [label for label in diagram if label not in heads] == [text for is_head, text in texts if not is_head]

    paper = root.find(f"{svg}rect")
    assert paper.get("class") == "paper" and "rect.paper { fill: #ffffff" in root.find(f"{svg}style").text
    assert (paper.get("width"), paper.get("height")) == (root.get("width"), root.get("height"))


def test_the_order_in_the_diagram_is_that_of_the_program(checkout):
    """The steps that the diagram gives the installer, as the source takes them."""
    sequence = (checkout / "updater/RunSequence.cpp").read_text()
    steps = ["notifyReady", "waitForUpdateLock", "waitForTargetExit", "install", "releaseSemaphores", "relaunchTarget"]
    assert re.findall(r"updater\.(\w+)\(\)", sequence) == steps
    handshake = (checkout / "updater/Handshake.cpp").read_text()
    release = handshake.partition("ZKUpdater::releaseSemaphores() {")[2].partition("}")[0]
    assert re.findall(r"(\w+)\(\);", release) == ["releaseUpdateLock", "releaseInstallerSemaphore"]


def test_the_numbers_of_the_protocol_are_those_of_the_program(checkout, protocol):
    handshake = (checkout / "updater/Handshake.cpp").read_text()
    for number in ("kSharedMode = 0666", "kFree = 1;", "kMaxLockAttempts = 1000", "kTestInterval = 0.1;"):
        assert number in handshake
    for text in ("the mode 0666 less the umask and the\ncount 1", "Pause for 0.1 seconds", "After 1000 pauses"):
        assert text in protocol
    header = (checkout / "semaphore/ZKPOSIXSemaphore.h").read_text()
    record = protocol.partition(".SH THE RECORD")[2].partition(".SH")[0]
    assert re.findall(r"^\.TP\n\.B (\w+)$", record, re.MULTILINE) == \
        re.findall(r'Key = "(\w+)"_constant', header)
    assert " ".join(RELAUNCH_ARGUMENTS) in plain(protocol)
    assert " ".join(RELAUNCH_ARGUMENTS) in plain((checkout / "docs/zkupdater.1").read_text())


HOST = r"""
int main(int argc, char **argv)
{
    if (argc == 3) { /* the new version */
        FILE *report = fopen(REPORT, "w");
        fprintf(report, "%s %s\n", argv[1], argv[2]);
        return fclose(report);
    }
    return start_update(argv[1], argv[2], argv[3], argv[4]) ? 0 : 1;
}
"""


@pytest.fixture
def host(scene, shown):
    """An application in C with the function of the page, whose update is ready."""
    report = scene.folder / "report"
    source = scene.folder / "host.c"
    source.write_text(shown[0] + HOST)
    scene.program = scene.folder / EXECUTABLE
    subprocess.run(["gcc", "-std=gnu11", "-Wall", "-Wextra", "-Werror", "-pthread", f'-DREPORT="{report}"', source,
                    "-o", scene.program], check=True)
    for bundle in (scene.target, scene.update):
        bundle.executable.write_bytes(scene.program.read_bytes())
    return lambda installer: scene.start([scene.target.executable, installer, scene.updates,
                                          scene.installer_semaphore.name, scene.update_semaphore.name])


@pytest.mark.listings("docs/zkupdater.7: example 2")
def test_the_function_in_c_updates_an_application(scene, shown, host):
    process = host(scene.installer)
    assert process.wait(30) == 0, "it quits"
    report = scene.folder / "report"
    eventually(lambda: report.exists() and report.read_text().endswith("\n"), "the new version has started")
    assert report.read_text().split() == RELAUNCH_ARGUMENTS
    assert scene.target.version() == "2"
    assert scene.installer_semaphore.count() is None
    assert scene.is_nothing_held()

    # With an installer that does not come up it goes on.
    sleeper_pid = scene.folder / "pid"
    sleeper = scene.folder / "sleeper"
    sleeper.write_text(f'#!/bin/sh\necho $$ >"{sleeper_pid}"\nexec sleep infinity\n')
    sleeper.chmod(0o755)
    for installer in ("/bin/false", scene.folder / "missing", sleeper):
        assert host(installer).wait(60) == 1
        assert scene.installer_semaphore.count() is None
    assert not Path(f"/proc/{sleeper_pid.read_text().strip()}").exists(), "it is ended"
