#!/usr/bin/python3
"""An application in Python that updates itself; see tests/acceptance/c_interface_test.py."""

import ctypes
import os
import sys
import time

zk = ctypes.CDLL(os.environ["HOST_LIBRARY"])
for name in ("zk_error_text", "zk_update_reason", "zk_update_log_line", "zk_outcome_from_version",
             "zk_outcome_backup_path"):
    getattr(zk, name).restype = ctypes.c_char_p


def show(*words):
    print(*[word.decode() if isinstance(word, bytes) else word for word in words])


def use_semaphores(name, folder):
    semaphore, other = ctypes.c_void_p(), ctypes.c_void_p()
    missing = zk.zk_semaphore_open(name, ctypes.byref(semaphore))
    show("open", missing, zk.zk_error_text(missing))
    show("create", zk.zk_semaphore_create(name, 1, 0o600, 1, ctypes.byref(semaphore)))
    show("create", zk.zk_semaphore_create(name, 1, 0o600, 1, ctypes.byref(other)))
    show("try", zk.zk_semaphore_try_wait(semaphore))
    show("try", zk.zk_semaphore_try_wait(semaphore))
    show("post", zk.zk_semaphore_post(semaphore))
    pauses, pause = ctypes.c_size_t, ctypes.c_double(0.01)
    show("guarded wait", zk.zk_semaphore_wait_guarded(semaphore, folder, pauses(0), pause))
    show("guarded wait", zk.zk_semaphore_wait_guarded(semaphore, folder, pauses(1), pause))
    show("guarded post", zk.zk_semaphore_post_guarded(semaphore, folder))
    show("guarded post", zk.zk_semaphore_post_guarded(semaphore, folder))
    show("wait", zk.zk_semaphore_wait(semaphore))
    zk.zk_semaphore_close(semaphore)
    show("unlink", zk.zk_semaphore_unlink(name))
    show("unlink", zk.zk_semaphore_unlink(name))


def use_versions():
    version = ctypes.c_uint64()
    text = ctypes.create_string_buffer(32)
    show("parse", zk.zk_version_parse(b"1.2.3", ctypes.byref(version)))
    show("parse", zk.zk_version_parse(b"1.2.3.4", ctypes.byref(version)))
    zk.zk_version_text(version, text, ctypes.c_size_t(len(text)))
    show("version", version.value, text.value)
    show("compare", zk.zk_version_compare(version, ctypes.c_uint64(version.value + 1)))


def begin(installer, folder):
    start = ctypes.c_void_p()
    show("begin", zk.zk_update_begin(installer, folder, 0, ctypes.c_double(10), ctypes.byref(start)))
    return start


def update(installer, folder):
    start = begin(installer, b"/")
    show("state", zk.zk_update_poll(start), zk.zk_update_reason(zk.zk_update_poll(start)))
    zk.zk_update_free(start)

    start = begin(b"/bin/false", folder)
    show("state", zk.zk_update_wait(start))
    show("status", f"{zk.zk_update_exit_status(start)},", "log", zk.zk_update_log_line(start))
    zk.zk_update_free(start)

    start = begin(installer, folder)
    while (state := zk.zk_update_poll(start)) == 0:
        time.sleep(0.05)
    show("state", state)
    zk.zk_update_free(start)
    return 0 if state == 1 else 1


folder = os.fsencode(os.environ["HOST_UPDATES"])
outcome = ctypes.c_void_p()
arguments = (ctypes.c_char_p * len(sys.argv))(*map(os.fsencode, sys.argv))
if zk.zk_outcome_read(len(sys.argv), arguments, folder, ctypes.byref(outcome)) != 0:
    sys.exit(2)
if zk.zk_outcome_follows_update(outcome):
    sys.stdout = open(os.environ["HOST_REPORT"], "w")
    show(zk.zk_outcome_was_installed(outcome), zk.zk_outcome_from_version(outcome), zk.zk_outcome_backup_path(outcome))
    show("accept", zk.zk_outcome_accept(outcome))
    show("put back", zk.zk_outcome_put_back(outcome))
    show("end")
    zk.zk_outcome_free(outcome)
    sys.exit(0)
zk.zk_outcome_free(outcome)
use_semaphores(os.fsencode(os.environ["HOST_SEMAPHORE"]), folder)
use_versions()
sys.exit(update(os.fsencode(os.environ["HOST_INSTALLER"]), folder))
