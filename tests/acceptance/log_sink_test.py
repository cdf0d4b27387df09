"""Where the log goes, and that no trouble with it stops the work."""

import errno
import fcntl
import os
import re
import socket

import pytest

from support.installer import INSTALLED, LINE
from support.namespaces import PrivateMounts
from support.processes import eventually


def assert_installs(scene, **options):
    run = scene.begin(**options)
    scene.end_target()
    assert run.status() == 0
    assert scene.target.version() == "2"
    assert scene.is_nothing_held()
    assert [report.version for report in scene.launched()] == ["2"]


def available(stream):
    """What can be read from a stream now: nothing at its end, None if it has to be waited for."""
    os.set_blocking(stream.fileno(), False)
    try:
        return os.read(stream.fileno(), 1000)
    except BlockingIOError:
        return None
    except OSError as error:
        if error.errno != errno.EIO:  # a terminal's end
            raise
        return b""


def all_from(stream):
    """What comes from a stream until everybody has closed its other end."""
    parts = []

    def has_ended():
        while part := available(stream):
            parts.append(part)
        return part == b""

    eventually(has_ended, "the other end is closed")
    return b"".join(parts)


def messages_in(data):
    return [LINE.fullmatch(line)["message"] for line in data.decode().splitlines()]


@pytest.fixture
def pipe():
    ends = [os.fdopen(end, mode, buffering=0) for end, mode in zip(os.pipe(), ("rb", "wb"))]
    yield ends
    for end in ends:
        end.close()


def test_a_pipe_that_is_read_gets_every_line(scene, pipe):
    reading, writing = pipe
    assert_installs(scene, stderr=writing)
    writing.close()
    assert messages_in(all_from(reading)) == ["Begin installation", "End installation"]


def test_a_socket_gets_every_line(scene):
    here, there = socket.socketpair()
    with here, there:
        assert_installs(scene, stderr=there)
        there.close()
        assert messages_in(all_from(here)) == ["Begin installation", "End installation"]


def test_a_terminal_gets_every_line(scene):
    here, there = os.openpty()
    with os.fdopen(here, "rb", buffering=0) as controller, os.fdopen(there, "wb", buffering=0) as terminal:
        assert_installs(scene, stderr=terminal)
        terminal.close()
        text = all_from(controller)
    assert messages_in(text.replace(b"\r\n", b"\n")) == ["Begin installation", "End installation"]


def test_a_closed_standard_error_costs_only_the_lines(scene):
    assert_installs(scene, wrapper=["sh", "-c", 'exec "$0" "$@" 2>&-'])


@pytest.mark.without_memcheck("its report would take the place of a standard stream")
def test_closed_standard_streams_never_lead_to_a_file_being_copied(scene):
    run = scene.begin(wrapper=["sh", "-c", 'exec "$0" "$@" <&- >&- 2>&-'])
    assert [os.readlink(f"/proc/{run.pid}/fd/{stream}") for stream in range(3)] == ["/dev/null"] * 3
    scene.end_target()
    assert run.status() == 0
    assert scene.target.tree() == scene.update.tree()


def test_a_pipe_without_a_reader_costs_only_the_lines(scene, pipe):
    reading, writing = pipe
    reading.close()
    assert_installs(scene, stderr=writing)


def test_a_reader_that_goes_while_the_installer_waits_costs_only_the_last_line(scene, pipe):
    reading, writing = pipe
    run = scene.begin(stderr=writing)
    assert messages_in(eventually(lambda: available(reading), "a line has come")) == ["Begin installation"]
    reading.close()
    scene.end_target()
    assert run.status() == 0


def fill(descriptor):
    flags = fcntl.fcntl(descriptor, fcntl.F_GETFL)
    fcntl.fcntl(descriptor, fcntl.F_SETFL, flags | os.O_NONBLOCK)
    try:
        while True:
            os.write(descriptor, b"." * 100)
    except BlockingIOError:
        pass
    fcntl.fcntl(descriptor, fcntl.F_SETFL, flags)


def test_a_full_pipe_costs_only_the_lines(scene, pipe):
    _, writing = pipe
    fill(writing.fileno())
    flags = fcntl.fcntl(writing, fcntl.F_GETFL)
    assert_installs(scene, stderr=writing)
    assert fcntl.fcntl(writing, fcntl.F_GETFL) == flags, "the shared description is unchanged"


def test_a_full_socket_costs_only_the_lines(scene):
    here, there = socket.socketpair()
    with here, there:
        there.setblocking(False)
        try:
            while True:
                there.send(b"." * 100)
        except BlockingIOError:
            pass
        there.setblocking(True)
        flags = fcntl.fcntl(there, fcntl.F_GETFL)
        assert_installs(scene, stderr=there)
        assert fcntl.fcntl(there, fcntl.F_GETFL) == flags


def test_a_full_device_costs_only_the_lines(scene):
    with open("/dev/full", "wb", buffering=0) as full:
        assert_installs(scene, stderr=full)


@pytest.mark.without_memcheck("its report could not grow either")
def test_a_log_file_that_may_not_grow_costs_only_the_lines(scene):
    run = scene.begin(wrapper=["sh", "-c", 'ulimit -f 0; exec "$0" "$@"'], updatePath=scene.folder / "nowhere")
    scene.end_target()
    assert run.outcome() == (1, [])


# The system log


@pytest.fixture
def system_log(scene):
    """A socket that replaces the system log's for the processes of the scene alone."""
    mounts = PrivateMounts(scene)
    devices = scene.make_folder("devices")
    address = scene.folder / "log-socket"
    mounts.run("mount", "-t", "tmpfs", "none", devices)
    script = """
        touch "$0/null" && mount --bind /dev/null "$0/null"
        mkdir "$0/shm" && mount --bind /dev/shm "$0/shm"
        ln -s /proc/self/fd "$0/fd" && ln -s "$1" "$0/log"
        mount --bind "$0" /dev
    """
    mounts.run("sh", "-ec", script, devices, address)
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as log:
        log.bind(str(address))
        yield log


def test_the_system_log_gets_every_message(scene, system_log):
    run = scene.begin()
    scene.end_target()
    assert run.outcome() == INSTALLED
    system_log.settimeout(10)
    lines = [system_log.recv(1000).decode() for _ in range(2)]
    # Facility "user", severity "notice".
    form = rf"<13>[A-Z][a-z][a-z] [ \d]\d \d\d:\d\d:\d\d zkupdater\[{run.pid}\]: \[ZKUpdater \(0x[0-9a-f]+\)\] (.*)"
    assert [re.fullmatch(form, line)[1] for line in lines] == ["Begin installation", "End installation"]


def test_a_full_system_log_costs_only_the_lines(scene, system_log):
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as other:
        other.setblocking(False)
        try:
            while True:
                other.sendto(b".", system_log.getsockname())
        except BlockingIOError:
            pass
    assert scene.install() == INSTALLED


def test_a_system_log_without_a_listener_costs_only_the_lines(scene, system_log):
    system_log.close()
    assert scene.install() == INSTALLED
