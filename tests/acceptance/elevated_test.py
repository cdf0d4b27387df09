"""Root updates the application of another user: it is started again as that user, or not at all."""

import os
import signal
import subprocess
from pathlib import Path

import pytest

from support.bundles import give_to
from support.installer import INSTALLED, failed_with
from support.processes import eventually, stat_fields, stays
from support.scene import RELAUNCH_ARGUMENTS, needs_two_users
from support.traces import Trace

USER, GROUP, GROUPS = 1234, 4321, [7, 65534, 100000]
NOT_RELAUNCHED = failed_with("Unable to relaunch target application.").messages

pytestmark = needs_two_users


def four_times(number):
    return [str(number)] * 4


@pytest.fixture
def session(scene):
    """The environment of the user's session."""
    return {
        "DISPLAY": ":7",
        "WAYLAND_DISPLAY": "wayland-7",
        "XDG_RUNTIME_DIR": f"/run/user/{USER}",
        "DBUS_SESSION_BUS_ADDRESS": f"unix:path=/run/user/{USER}/bus",
        "LD_LIBRARY_PATH": "",
        "ZK_REPORTS": str(scene.reports),
    }


def start_target_of_the_user(scene, environment, wrapper=(), user=USER, group=GROUP):
    give_to(USER, scene.applications, scene.updates)
    command = [*wrapper, scene.target.executable, "stay"]
    ids = {"user": user, "group": group, "extra_groups": GROUPS}
    scene.running = scene.start(command, env=environment, stdout=subprocess.PIPE, **ids)
    with scene.running.stdout:
        scene.running.stdout.readline()


def expect_to_be_the_users(report, environment):
    assert report.status("Uid").split() == four_times(USER)
    assert report.status("Gid").split() == four_times(GROUP)
    assert report.status("Groups").split() == [str(group) for group in GROUPS]
    assert sorted(report.all("environment")) == sorted(f"{name}={value}" for name, value in environment.items())
    assert report.status("CapEff") == report.status("CapPrm") == "0000000000000000"
    assert report.status("NoNewPrivs") == "0"


def test_it_is_started_as_its_user_with_the_groups_and_the_environment_of_the_old_process(scene, session):
    start_target_of_the_user(scene, session)
    assert scene.install() == INSTALLED
    (report,) = scene.launched()
    expect_to_be_the_users(report, session)
    assert report.version == "2"
    assert report.arguments == RELAUNCH_ARGUMENTS
    assert report.one("session") == report.one("group") == report.one("process")
    assert sorted(report.all("descriptor")) == ["0 /dev/null", "1 /dev/null", "2 /dev/null"]


def test_it_is_started_as_its_user_after_a_failed_update_too(scene, session):
    start_target_of_the_user(scene, session)
    assert scene.install(updatePath="/nowhere") == failed_with("Unable to locate update bundle.")
    (report,) = scene.launched()
    expect_to_be_the_users(report, session)
    assert report.version == "1"


def test_umask_limits_priority_and_control_group_are_the_installers(scene, session):
    start_target_of_the_user(scene, session)
    wrapper = ["sh", "-c", 'umask 027; ulimit -n 123; exec nice -n 5 "$0" "$@"']
    assert scene.install(wrapper=wrapper) == INSTALLED
    (report,) = scene.launched()
    assert report.status("Umask") == "0027"
    assert ["Max", "open", "files", "123", "123", "files"] in [line.split() for line in report.all("limit")]
    assert int(report.one("priority")) == os.nice(0) + 5
    assert report.all("control-group") == Path("/proc/self/cgroup").read_text().splitlines()


@pytest.mark.usefixtures("expected_calls")
@pytest.mark.without_memcheck("strace cannot follow it there")
def test_a_user_who_stops_the_new_process_holds_up_an_installer_that_holds_nothing(scene, session):
    start_target_of_the_user(scene, session)
    # Only the new process makes this call, to become the user's.
    stopping = ["strace", "-D", "-f", "-qq", "-o", "/dev/null", "-e", "trace=setresuid",
                "-e", "inject=setresuid:signal=STOP"]
    run = scene.begin(wrapper=stopping)
    scene.end_target()
    new = int(eventually(Path(f"/proc/{run.pid}/task/{run.pid}/children").read_text, "a process is started"))
    try:
        eventually(lambda: stat_fields(new)[0] in "tT" and scene.is_nothing_held(), "it is stopped")
        stays(lambda: not run.has_ended() and scene.is_nothing_held(), "the installer waits")
    finally:
        os.kill(new, signal.SIGKILL)
    outcome = run.outcome()
    assert (outcome.status, outcome.messages) == (0, NOT_RELAUNCHED)
    assert scene.target.version() == "2"


def test_an_installer_inside_the_bundle_does_not_start_it_as_root(scene, session):
    installer = scene.target.executable.parent / "zkupdater"
    installer.write_bytes(scene.installer.read_bytes())
    installer.chmod(0o755)
    start_target_of_the_user(scene, session)
    assert scene.install(installer=installer) == INSTALLED
    (report,) = scene.launched()
    expect_to_be_the_users(report, session)


def test_a_holder_of_the_lock_inside_the_bundle_does_not_start_it_as_its_own_user(scene, session):
    start_target_of_the_user(scene, session)
    target = scene.running
    other = scene.start_target()
    scene.update_semaphore.create(taken=True)
    scene.record_path().write_text(f"<plist><dict><key>pid</key><integer>{other.pid}</integer></dict></plist>")
    run = scene.begin(pid=target.pid)
    for process in (target, other):
        process.kill()
        process.wait()
    assert run.outcome() == INSTALLED
    (report,) = scene.launched()
    expect_to_be_the_users(report, session)


def test_its_program_is_executed_with_its_users_rights(scene, session):
    start_target_of_the_user(scene, session)
    os.chown(scene.update.executable, 0, 0)
    scene.update.executable.chmod(0o700)
    outcome = scene.install()
    assert (outcome.status, outcome.messages) == (0, NOT_RELAUNCHED)
    assert scene.launched() == []


MIXTURES = {
    "set-uid to root": {"wrapper": ["setpriv", f"--ruid={USER}"], "user": 0},
    "root for the moment another user": {"wrapper": ["setpriv", f"--euid={USER}"], "user": 0},
    "set-gid": {"wrapper": ["setpriv", f"--reuid={USER}", f"--rgid={GROUP}", "--keep-groups"], "user": 0, "group": 0},
}


@pytest.mark.parametrize("mixture", MIXTURES.values(), ids=MIXTURES)
def test_a_process_of_several_users_is_not_started_again(scene, session, mixture):
    start_target_of_the_user(scene, session, **mixture)
    outcome = scene.install()
    assert (outcome.status, outcome.messages) == (0, NOT_RELAUNCHED)
    assert scene.target.version() == "2"
    assert scene.launched() == []


def test_without_its_environment_it_is_not_started_again(scene):
    start_target_of_the_user(scene, {})
    outcome = scene.install()
    assert (outcome.status, outcome.messages) == (0, NOT_RELAUNCHED)
    assert scene.target.version() == "2"
    assert scene.launched() == []


def test_roots_own_application_gets_the_installers_environment(scene):
    scene.running = scene.start([scene.target.executable, "stay"], env={"OF_THE_TARGET": "1"})
    assert scene.install() == INSTALLED
    (report,) = scene.launched()
    assert report.status("Uid").split() == four_times(0)
    assert "OF_THE_TARGET=1" not in report.all("environment")
    assert f"ZK_REPORTS={scene.reports}" in report.all("environment")


@pytest.mark.usefixtures("expected_calls")
@pytest.mark.without_memcheck("it makes calls of its own")
def test_an_ordinary_user_who_updates_their_own_application_looks_up_nobodys_user(scene):
    scene.become_unprivileged()
    folder = scene.make_folder("for the trace")
    folder.chmod(0o777)
    trace = Trace(folder / "trace", "-e", "trace=openat,exit_group")
    assert scene.install(wrapper=trace.command) == INSTALLED
    assert len(scene.launched()) == 1
    opened = [call.arguments for call in trace.calls()]
    assert any(f'"/proc/{scene.running.pid}/' in arguments for arguments in opened)
    assert not any(f'/{file}"' in arguments for arguments in opened for file in ("status", "environ"))
