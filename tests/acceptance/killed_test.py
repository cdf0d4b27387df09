"""An installer that is killed while it copies."""

import os
import time

import pytest

from support.bundles import Bundle
from support.installer import INSTALLED

MOMENTS = [0.01, 0.04, 0.08, 0.12, 0.16, 0.2, 0.3]  # seconds after the target has ended


@pytest.mark.parametrize("moment", MOMENTS)
def test_it_leaves_the_old_version_complete_in_place_or_in_the_backup_and_its_lock_to_the_next(scene, moment):
    for bundle in (scene.target, scene.update):
        for number in range(60):
            (bundle.resources / f"{number}").write_bytes(os.urandom(3000))
    old, update = scene.target.tree(), scene.update.tree()
    old_date = scene.target.path.stat().st_mtime_ns
    run = scene.begin()
    scene.end_target()
    time.sleep(moment)
    run.end()

    # The backup's date shows whether it is finished.
    finished = [path for path in scene.backups() if path.stat().st_mtime_ns == old_date]
    whole = Bundle(finished[0]) if finished else scene.target
    assert whole.tree() == old
    assert scene.update.tree() == update
    if not scene.target.path.exists() or scene.target.tree() not in (old, update):
        return  # an incomplete application cannot be started, so it cannot ask for an update
    if scene.is_held(scene.installer_semaphore):
        scene.installer_semaphore.post()
    scene.start_target()
    assert scene.install() == INSTALLED
    assert scene.target.tree() == update
