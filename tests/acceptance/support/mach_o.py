"""Programs and libraries of macOS: what their headers and load commands say. All that is built here has 64 bits and the
order of bytes of Intel's processors."""

import struct
from dataclasses import dataclass, field

PROCESSORS = {0x01000007: "x86_64", 0x0100000C: "arm64"}
KINDS = {2: "executable", 6: "library"}
MACOS = 1

_MAGIC = 0xFEEDFACF
_HEADER = struct.Struct("<IIIIIIII")
_POSITION_INDEPENDENT = 0x200000

# Load commands. The highest bit of some says that a loader must know them.
_SYMBOL_TABLE = 0x2
_OWN_NAME = 0xD
_LIBRARIES = {0xC, 0x80000018, 0x8000001F}  # needed, used where it exists, handed on
_SEARCH_PATH = 0x8000001C
_SIGNATURE = 0x1D
_SYSTEM = 0x32

_SYMBOL = struct.Struct("<IBBHQ")
_KIND_OF_SYMBOL = 0xEE  # with the bits that only a debugger's symbols have
_UNDEFINED = 0
_SEEN_FROM_OUTSIDE = 0xF1  # with the bits that private symbols and a debugger's have
_EXTERNAL = 0x01


@dataclass
class MachO:
    processor: str
    kind: str
    is_position_independent: bool
    system: int = None
    oldest_system: tuple = None
    name: str = None  # a library's own
    is_signed: bool = False
    libraries: list = field(default_factory=list)
    search_paths: list = field(default_factory=list)
    imported: set = field(default_factory=set)
    exported: set = field(default_factory=set)


def _text(command):
    """The text of a load command whose first field is its place in the command."""
    (offset,) = struct.unpack_from("<I", command, 8)
    return command[offset:].split(b"\0")[0].decode()


def _version(number):
    return number >> 16, number >> 8 & 0xFF


def _read_symbols(data, command, result):
    symbols, count, texts = struct.unpack_from("<III", command, 8)
    for text, kind, *_ in _SYMBOL.iter_unpack(data[symbols : symbols + count * _SYMBOL.size]):
        start = texts + text
        name = data[start : data.index(b"\0", start)].decode()
        if kind & _KIND_OF_SYMBOL == _UNDEFINED:
            result.imported.add(name)
        elif kind & _SEEN_FROM_OUTSIDE == _EXTERNAL:
            result.exported.add(name)


def read(path):
    data = path.read_bytes()
    magic, processor, _, kind, count, _, flags, _ = _HEADER.unpack_from(data)
    assert magic == _MAGIC, f"{path} begins with {magic:#x}"
    result = MachO(PROCESSORS[processor], KINDS[kind], bool(flags & _POSITION_INDEPENDENT))
    offset = _HEADER.size
    for _ in range(count):
        number, size = struct.unpack_from("<II", data, offset)
        command = data[offset : offset + size]
        offset += size
        if number in _LIBRARIES:
            result.libraries.append(_text(command))
        elif number == _SEARCH_PATH:
            result.search_paths.append(_text(command))
        elif number == _OWN_NAME:
            result.name = _text(command)
        elif number == _SIGNATURE:
            result.is_signed = True
        elif number == _SYSTEM:
            result.system, oldest = struct.unpack_from("<II", command, 8)
            result.oldest_system = _version(oldest)
        elif number == _SYMBOL_TABLE:
            _read_symbols(data, command, result)
    return result
