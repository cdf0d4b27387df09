"""A process of the application that keeps working in the bundle while it is replaced."""

import subprocess
import sys

from support import late_helper
from support.installer import INSTALLED
from support.processes import LIMIT
from support.traces import first, last


def test_a_helper_that_makes_and_removes_files_in_the_bundle_does_not_keep_it_from_being_replaced(scene, traced):
    cache = scene.target.resources / "cache"
    cache.mkdir()
    for number in range(300):
        (cache / f"{number:03}").write_text("cached\n")
    update = scene.update.tree()
    # Each removal takes a while, so that the two are at work at the same time.
    trace = traced("-e", "inject=unlinkat:delay_exit=2000")
    run = scene.begin(wrapper=trace.command)
    command = [sys.executable, late_helper.__file__, cache, scene.target.resources / "version"]
    helper = scene.start(command, stdout=subprocess.PIPE)
    with helper.stdout:
        helper.stdout.readline()
    scene.end_target()
    assert run.outcome() == INSTALLED
    assert helper.wait(LIMIT) == 0
    assert scene.target.tree() == update

    calls = trace.calls()
    begin = first(calls, lambda call: call.name == "unlinkat" and call.is_on(scene.target.path))
    end = last(calls, lambda call: call.name == "mkdirat" and call.path == str(scene.target.path))
    removals = [call for call in calls[begin:end] if call.name == "unlinkat" and call.is_on(cache)]
    assert "ENOENT" in {call.error for call in removals}, "the helper has removed nothing that was to be removed"
    assert any("/new " in call.path for call in removals), "the helper has added nothing"
