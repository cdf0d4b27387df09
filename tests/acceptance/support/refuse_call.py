"""Runs a program under a filter that makes system calls fail.

Arguments: the calls' names with commas between them, the error's name, the program, its arguments.
"""

import ctypes
import errno
import os
import struct
import sys

# The command that this is. Its arguments follow.
REFUSE_CALL = [sys.executable, __file__]

# Of the calls named "futex" only the waits fail. The C library would take any other failure for an error of its own.
FUTEX_WAIT_BITSET, FUTEX_OPERATION = 9, 0x7F

NAMES = ("futex", "copy_file_range", "pidfd_open", "close_range", "fsync", "fdatasync", "syncfs")
NUMBERS = {
    "x86_64": (202, 326, 434, 436, 74, 75, 306),
    "aarch64": (98, 285, 434, 436, 82, 83, 267),
}

PR_SET_NO_NEW_PRIVS = 38
PR_SET_SECCOMP = 22
SECCOMP_MODE_FILTER = 2
LOAD, AND, UNLESS_EQUAL_SKIP, RETURN = 0x20, 0x54, 0x15, 0x06
NUMBER, SECOND_ARGUMENT = 0, 24  # their offsets in the filter's input
ALLOW, FAIL = 0x7FFF0000, 0x00050000


class Program(ctypes.Structure):
    _fields_ = [("length", ctypes.c_ushort), ("filter", ctypes.c_char_p)]


def instructions_for(name, number, error):
    is_a_wait = [
        (LOAD, 0, 0, SECOND_ARGUMENT),
        (AND, 0, 0, FUTEX_OPERATION),
        (UNLESS_EQUAL_SKIP, 0, 1, FUTEX_WAIT_BITSET),
    ]
    condition = is_a_wait if name == "futex" else []
    return [
        (LOAD, 0, 0, NUMBER),
        (UNLESS_EQUAL_SKIP, 0, len(condition) + 1, number),
        *condition,
        (RETURN, 0, 0, FAIL | error),
        (RETURN, 0, 0, ALLOW),
    ]


def install_filter(instructions):
    instructions = b"".join(struct.pack("HBBI", *instruction) for instruction in instructions)
    program = Program(len(instructions) // 8, instructions)
    library = ctypes.CDLL(None, use_errno=True)
    long = ctypes.c_ulong
    if library.prctl(PR_SET_NO_NEW_PRIVS, long(1), long(0), long(0), long(0)) != 0:
        sys.exit("no new privileges: refused")
    if library.prctl(PR_SET_SECCOMP, long(SECCOMP_MODE_FILTER), ctypes.byref(program), long(0), long(0)) != 0:
        sys.exit("filter: refused")


if __name__ == "__main__":
    numbers = dict(zip(NAMES, NUMBERS[os.uname().machine]))
    for name in sys.argv[1].split(","):
        install_filter(instructions_for(name, numbers[name], getattr(errno, sys.argv[2])))
    os.execv(sys.argv[3], sys.argv[3:])
