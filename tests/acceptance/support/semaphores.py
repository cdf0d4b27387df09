"""Named semaphores through the C library, which the installer uses too."""

import ctypes
import errno
import os

_library = ctypes.CDLL(None, use_errno=True)
_library.sem_open.restype = ctypes.c_void_p
_library.sem_open.argtypes = [ctypes.c_char_p, ctypes.c_int]  # mode and count follow as variadic arguments
for _name in ("sem_close", "sem_trywait", "sem_post"):
    getattr(_library, _name).argtypes = [ctypes.c_void_p]
_library.sem_getvalue.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_int)]
_library.sem_unlink.argtypes = [ctypes.c_char_p]


def _checked(result):
    if result != 0:
        raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()))


class Semaphore:
    """One name. Every operation opens it again, since the installer may have put a new semaphore under it."""

    def __init__(self, name):
        self.name = name

    def _open(self, flags=0):
        handle = _library.sem_open(os.fsencode(self.name), flags, ctypes.c_uint(0o666), ctypes.c_uint(1))
        if not handle:
            raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()), self.name)
        return handle

    def _do(self, operation):
        handle = self._open()
        try:
            _checked(operation(handle))
        finally:
            _library.sem_close(handle)

    def create(self, taken=False):
        _library.sem_close(self._open(os.O_CREAT | os.O_EXCL))
        os.chmod(self.file, 0o666)
        if taken:
            self.take()
        return self

    def take(self):
        """Takes it. Fails if it is taken."""
        self._do(_library.sem_trywait)

    def post(self):
        self._do(_library.sem_post)

    def count(self):
        """The count, or None if there is no such semaphore."""
        value = ctypes.c_int(-1)
        try:
            self._do(lambda handle: _library.sem_getvalue(handle, ctypes.byref(value)))
        except FileNotFoundError:
            return None
        return value.value

    @property
    def file(self):
        return "/dev/shm/sem." + self.name.lstrip("/")

    def identity(self):
        """What distinguishes a semaphore from a later one of the same name."""
        return os.stat(self.file).st_ino

    def unlink(self):
        try:
            _checked(_library.sem_unlink(os.fsencode(self.name)))
        except OSError as error:
            if error.errno not in (errno.ENOENT, errno.EINVAL, errno.ENAMETOOLONG):
                raise
