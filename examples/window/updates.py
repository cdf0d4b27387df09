"""The host's side of an update in Python: the C interface (zkupdater.h) through ctypes."""

import ctypes
import os
import sys
import weakref
from ctypes import POINTER, c_char_p, c_double, c_int, c_void_p
from pathlib import Path

# States of an update; the others are refusals and failures, which reason() explains.
WAITING = 0
READY = 1

TIME_LIMIT = 10.0  # seconds until the installer must be ready

_zk = ctypes.CDLL(str(Path(__file__).resolve().parents[1] / "Frameworks/libzkupdater.so.1"))


def _declare(name, result, *arguments):
    function = getattr(_zk, name)
    function.restype = result
    function.argtypes = arguments
    return function


_error_text = _declare("zk_error_text", c_char_p, c_int)
_update_begin = _declare("zk_update_begin", c_int, c_char_p, c_char_p, c_int, c_double, POINTER(c_void_p))
_update_poll = _declare("zk_update_poll", c_int, c_void_p)
_update_reason = _declare("zk_update_reason", c_char_p, c_int)
_update_free = _declare("zk_update_free", None, c_void_p)
_outcome_read = _declare("zk_outcome_read", c_int, c_int, POINTER(c_char_p), c_char_p, POINTER(c_void_p))
_outcome_follows_update = _declare("zk_outcome_follows_update", c_int, c_void_p)
_outcome_was_installed = _declare("zk_outcome_was_installed", c_int, c_void_p)
_outcome_from_version = _declare("zk_outcome_from_version", c_char_p, c_void_p)
_outcome_accept = _declare("zk_outcome_accept", c_int, c_void_p)
_outcome_free = _declare("zk_outcome_free", None, c_void_p)


def _owned(owner, function, free, *arguments):
    """The object that a function makes, which is given back along with its owner."""
    made = c_void_p()
    number = function(*arguments, ctypes.byref(made))
    if number != 0:
        raise OSError(number, _error_text(number).decode())
    weakref.finalize(owner, free, made)
    return made


def reason(state):
    """A state as an English sentence."""
    return _update_reason(state).decode()


class Update:
    """One attempt to have this application updated. Making it starts the installer and does not wait.

    While the state is WAITING, the object must be kept: without it the installer is ended.
    """

    def __init__(self, installer, folder):
        self._made = _owned(self, _update_begin, _update_free,
                            os.fsencode(installer), os.fsencode(folder), 0, TIME_LIMIT)

    def poll(self):
        """Looks once what has become of the installer, and returns the state. Does not block."""
        return _update_poll(self._made)


class Outcome:
    """What became of the update that this start of the application follows, if it follows one."""

    def __init__(self, folder):
        arguments = (c_char_p * len(sys.argv))(*map(os.fsencode, sys.argv))
        self._made = _owned(self, _outcome_read, _outcome_free, len(sys.argv), arguments, os.fsencode(folder))

    @property
    def follows_update(self):
        return _outcome_follows_update(self._made) != 0

    @property
    def was_installed(self):
        return _outcome_was_installed(self._made) != 0

    @property
    def from_version(self):
        return _outcome_from_version(self._made).decode()

    def accept(self):
        """The new version works: removes the backup and the update folder. False if one of them is still there."""
        return _outcome_accept(self._made) != 0
