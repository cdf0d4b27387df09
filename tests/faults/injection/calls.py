"""The system calls of a run, and what each can be refused with."""

import collections
import errno
import functools
import re
import subprocess
from typing import NamedTuple

FULL = ("ENOSPC", "EDQUOT", "EROFS")
DENIED = ("EPERM", "EACCES")
LACKING = ("ENOMEM",)
NO_DESCRIPTOR = ("EMFILE", "ENFILE", "ENOMEM")
CHANGING = (*FULL, *DENIED, *LACKING, "EIO")  # a folder or an item, also by removing it: a journal takes room
OPENING = (*NO_DESCRIPTOR, *FULL, *DENIED, "EIO", "EINTR", "EAGAIN")
MODE = (*FULL, *LACKING, "EPERM", "EIO", "EOPNOTSUPP")
OWNER = (*FULL, *LACKING, "EPERM", "EIO", "EINVAL")
ATTRIBUTE = (*DENIED, *LACKING, "EIO", "EOPNOTSUPP")

# Not those that tell of an item or a process that is not there: a kernel does not tell that of one that is.
ERRORS = {
    "openat": OPENING,
    "open": OPENING,
    "read": ("EIO", "EINTR", "EAGAIN", "ENOMEM"),
    "write": ("EIO", *FULL, *LACKING, "EPERM", "EINTR", "EAGAIN", "EFBIG"),
    "newfstatat": ("EACCES", "ENOMEM", "EIO"),
    "fstat": ("ENOMEM", "EIO"),
    "getdents64": ("EIO", "ENOMEM"),
    "access": ("EACCES", "EIO"),
    "readlink": ("EACCES", "EIO", "ENOMEM"),
    "readlinkat": ("EACCES", "EIO", "ENOMEM"),
    "mkdir": CHANGING,
    "mkdirat": CHANGING,
    "mknodat": CHANGING,
    "symlinkat": CHANGING,
    "link": (*CHANGING, "EMLINK", "EXDEV"),
    "linkat": (*CHANGING, "EMLINK", "EXDEV", "EOPNOTSUPP"),
    "rename": (*CHANGING, "EXDEV", "EBUSY"),
    "renameat": (*CHANGING, "EXDEV", "EBUSY"),
    "unlink": (*CHANGING, "EBUSY"),
    "unlinkat": (*CHANGING, "EBUSY"),
    "chmod": MODE,
    "fchmod": MODE,
    "fchmodat": MODE,
    "fchown": OWNER,
    "fchownat": OWNER,
    "utimensat": CHANGING,
    "flistxattr": (*ATTRIBUTE, "ERANGE"),
    "llistxattr": (*ATTRIBUTE, "ERANGE"),
    "fgetxattr": (*ATTRIBUTE, "ERANGE", "ENODATA"),
    "lgetxattr": (*ATTRIBUTE, "ERANGE", "ENODATA"),
    "fsetxattr": (*ATTRIBUTE, *FULL, "E2BIG"),
    "lsetxattr": (*ATTRIBUTE, *FULL, "E2BIG"),
    "fremovexattr": (*ATTRIBUTE, "EROFS"),
    "lremovexattr": (*ATTRIBUTE, "EROFS"),
    "ioctl": ("EOPNOTSUPP", "EXDEV", "EINVAL", "ENOTTY", "EIO", *FULL, *LACKING),
    "copy_file_range": ("EXDEV", "EOPNOTSUPP", "ENOSYS", "EINVAL", "EIO", *FULL, "EFBIG", "EPERM", "EINTR", "ENOMEM"),
    "sync_file_range": ("EIO", "ENOSPC", "EINVAL"),
    "fsync": ("EIO", "ENOSPC", "EDQUOT", "EROFS", "EINVAL", "EINTR"),
    "syncfs": ("EIO", "ENOSPC", "EDQUOT", "EINTR", "ENOSYS"),
    "fstatfs": ("EIO", "ENOMEM", "ENOSYS", "EINTR"),
    "lseek": ("EINVAL", "EIO"),
    "ftruncate": ("EIO", "EINTR", "EPERM", *FULL),
    "fcntl": ("EMFILE", "ENOMEM"),
    "pidfd_open": ("ENOSYS", "EPERM", *NO_DESCRIPTOR),
    "poll": ("EINTR", "ENOMEM"),
    "ppoll": ("EINTR", "ENOMEM"),
    "socket": (*NO_DESCRIPTOR, "EACCES", "EAFNOSUPPORT", "ENOBUFS"),
    "sendto": ("ECONNREFUSED", "EAGAIN", "ENOBUFS", "ENOMEM", "EPERM"),
    "clone": ("EAGAIN", "ENOMEM"),
    "pipe2": ("EMFILE", "ENFILE"),
    "execve": ("E2BIG", "EACCES", "EAGAIN", "EIO", "ENOEXEC", "ENOMEM", "EPERM", "ETXTBSY"),
    "wait4": ("EINTR",),
    "clock_nanosleep": ("EINTR",),
    "getrandom": ("EINTR", "ENOSYS"),
    "chdir": ("EACCES", "EIO", "ENOMEM"),
    "setsid": ("EPERM",),
    "dup2": ("EINTR", "EBUSY"),
    "dup3": ("EINTR", "EBUSY"),
    "close_range": ("ENOSYS", "ENOMEM", "EMFILE"),
    "mmap": ("ENOMEM", "EACCES", "EAGAIN", "EPERM"),
    "rt_sigtimedwait": ("EINTR",),
}

# They cannot fail as they are used here, or do what they do also when they tell an error.
NEVER_FAIL = {"brk", "close", "exit_group", "getpid", "gettid", "mprotect", "munmap", "prlimit64", "rt_sigaction",
              "rt_sigpending", "rt_sigprocmask", "set_robust_list", "uname", "umask", "getuid", "geteuid"}


@functools.cache
def numbers():
    """The number of each call on this machine."""
    listing = subprocess.run(["gcc", "-E", "-dM", "-x", "c", "-include", "asm/unistd.h", "/dev/null"],
                             check=True, capture_output=True, text=True).stdout
    return {name: int(number) for name, number in re.findall(r"^#define __NR_(\w+) (\d+)$", listing, re.MULTILINE)}


@functools.cache
def _names():
    return {number: name for name, number in numbers().items()}


class Call(NamedTuple):
    """One call of a run, of the installer (process 0) or of the process that starts an application (1)."""

    process: int
    index: int  # among all calls of the process
    name: str
    number: int  # among the calls of this name
    argument: int
    result: int
    path: str
    step: str  # of the run

    def __str__(self):
        return f"{'child: ' if self.process else ''}{self.name} {self.number} {self.path}".rstrip()

    def kill(self):
        return f"kill={self.process}:{numbers()[self.name]}:{self.number}"

    def before(self, command):
        return f"before={self.process}:{numbers()[self.name]}:{self.number}:{command}"

    def fail(self, error):
        return f"fail={self.process}:{numbers()[self.name]}:{self.number}:{number_of(error)}"

    def errors(self):
        if self.name == "mmap" and self.argument != 0:
            return ()
        return ERRORS[self.name] if self.name in ERRORS else ()


def calls_in(record, progress):
    """The calls of the record that the tracer has written about a run."""
    counts = collections.Counter()
    calls = []
    for line in record.read_text(errors="surrogateescape").splitlines():
        process, number, argument, result, *path = line.split(" ", 4)
        process, name, path = int(process), _names()[int(number)], "".join(path)
        calls.append(Call(process, counts[process], name, counts[process, name], int(argument), int(result), path,
                          progress.step_of(name, path)))
        counts[process] += 1
        counts[process, name] += 1
    return calls


def number_of(error):
    return getattr(errno, error)
