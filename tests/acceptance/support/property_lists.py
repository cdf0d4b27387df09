"""Property lists of random values, their documents in every form, and the other programs that read and write them.

A value is None, a boolean, an integer, a float, text, bytes, a Date, a UID, a list or a dictionary. To be compared it
is turned into JSON that distinguishes the kinds: reals, dates, data and dictionaries are objects with one entry, "real"
and "date" (the bits of the double in hexadecimal), "data" (in hexadecimal) and "dict"; a UID is a dictionary with its
number under "CF$UID". """

import ctypes
import datetime
import json
import plistlib
import random
import struct
import subprocess
import sys
from pathlib import Path

LIBPLIST = "libplist-2.0.so.3"
REFERENCE_DATE = datetime.datetime(2001, 1, 1)


class Date(float):
    """Seconds since the reference date."""


def bits(number):
    return struct.pack(">d", number).hex()


def tagged(value):
    if isinstance(value, dict):
        return {"dict": {key: tagged(item) for key, item in value.items()}}
    if isinstance(value, (list, tuple)):
        return [tagged(item) for item in value]
    if isinstance(value, plistlib.UID):
        return {"dict": {"CF$UID": value.data}}
    if isinstance(value, Date):
        return {"date": bits(value)}
    if isinstance(value, datetime.datetime):
        return {"date": bits((value - REFERENCE_DATE).total_seconds())}
    if isinstance(value, float):
        return {"real": bits(value)}
    if isinstance(value, bytes):
        return {"data": value.hex()}
    return value


def in_json(value):
    return json.dumps(tagged(value), sort_keys=True)


def of_json(line):
    """The same form from a line that another program printed."""
    return line if line == "absent" else json.dumps(json.loads(line), sort_keys=True)


NOT_IN_XML = {"control characters", "a fraction of a second", "a UID"}


class Values:
    """Random values, always the same for a seed, without those that the program or form in question cannot hold."""

    def __init__(self, seed, without=()):
        self.random = random.Random(seed)
        self.without = set(without)

    def choice_with(self, choices, name, more):
        return self.random.choice(choices if name in self.without else choices + more)

    def integer(self):
        size = self.random.choice([1, 7, 8, 9, 15, 16, 17, 31, 32, 33, 62, 63])
        edge = self.random.choice([0, 1, (1 << size) - 1, 1 << size, self.random.getrandbits(size)])
        number = self.random.choice([1, -1]) * min(edge, (1 << 63) - 1)
        return self.choice_with([number] * 5, "an integer above all signed ones", [(1 << 64) - max(1, abs(number))])

    def real(self):
        simple = [0.0, 1.0, 1.5, 0.1, 1e300, -5e-324, float(self.integer()), self.random.uniform(-1e6, 1e6),
                  struct.unpack(">f", struct.pack(">f", self.random.uniform(-1, 1)))[0]]
        if "negative zero" not in self.without:
            simple.append(-0.0)
        return self.choice_with(simple, "infinity", [float("inf"), float("-inf")])

    def date(self):
        seconds = self.random.randrange(-60_000_000_000, 250_000_000_000)
        return Date(seconds + self.choice_with([0], "a fraction of a second", [0.5]))

    def text(self):
        alphabets = ["abcXYZ019 _-/.", "<>&\"'\\;{}()=", "éßÆ€中文\u2028\uFFFD", "😀𝔸\U0010FFFF"]
        if "control characters" not in self.without:
            alphabets.append("\x01\x1b\r\x7f\x00")
        letters = "".join(self.random.sample(alphabets, self.random.randrange(1, len(alphabets) + 1)))
        length = self.random.choice([0, 1, 3, 14, 15, 16, 40, self.random.randrange(300)])
        return "".join(self.random.choice(letters) for _ in range(length))

    def data(self):
        return self.random.randbytes(self.random.choice([0, 1, 14, 15, 16, self.random.randrange(300)]))

    def uid(self):
        return plistlib.UID(self.random.choice([0, 255, 256, 65536, self.random.getrandbits(32)]))

    def scalar(self):
        kinds = [self.integer, self.real, self.text, self.data, lambda: self.random.choice([True, False])]
        kinds += [] if "a date" in self.without else [self.date]
        return self.choice_with(kinds, "a UID", [self.uid])()

    def value(self, depth=3):
        kind = self.random.randrange(4) if depth > 0 else 0
        count = self.random.choice([0, 1, 2, 5, 16]) if kind else 0
        if kind == 1:
            return [self.value(depth - 1) for _ in range(count)]
        if kind == 2:
            return {self.text(): self.value(depth - 1) for _ in range(count)}
        if kind == 3:
            shared = self.value(depth - 1)
            return [shared] * count
        return self.scalar()


def for_plistlib(value):
    if isinstance(value, Date):
        return REFERENCE_DATE + datetime.timedelta(seconds=float(value))
    if isinstance(value, list):
        return [for_plistlib(item) for item in value]
    if isinstance(value, dict):
        return {key: for_plistlib(item) for key, item in value.items()}
    return value


class HandMade:
    """Documents in the binary form that none of the programs writes: every width, every kind, any order of objects.

    `features` names what a document holds that not every program reads. """

    def __init__(self, seed):
        self.values = Values(seed)
        self.random = self.values.random

    def document(self):
        """The bytes of a document, its value, and its features."""
        self.features = set()
        self.is_plain = self.random.random() < 0.5
        self.value = self.values.value(self.random.choice([0, 1, 2]))
        self.objects = []
        self.reference_size = self.random.choice([2, 3, 4] if self.is_plain else [2, 3, 4, 5, 6, 7, 8])
        self.offset_size = self.random.choice([3, 4] if self.is_plain else [3, 4, 5, 6, 7, 8])
        if max(self.reference_size, self.offset_size) > 4:
            self.features.add("references or offsets of more than 4 bytes")
        if self.reference_size == 3:
            self.features.add("references of 3 bytes")
        top, self.value = self.add(self.value)
        return self.bytes(top), self.value, self.features

    def bytes(self, top):
        document, offsets = b"bplist00", []
        order = list(range(len(self.objects)))
        self.random.shuffle(order)
        for place in order:
            offsets.append((place, len(document)))
            document += self.objects[place]
        table = len(document)
        document += b"".join(offset.to_bytes(self.offset_size, "big") for _, offset in sorted(offsets))
        trailer = struct.pack(">6xBBQQQ", self.offset_size, self.reference_size, len(self.objects), top, table)
        return document + trailer

    def add(self, value):
        """Adds the value. Returns its index and the value that it is read as."""
        if isinstance(value, list):
            marker = 0xA
            if not self.is_plain and self.random.random() < 0.2:
                marker = self.random.choice([0xB, 0xC])
                self.features.add("an ordered set" if marker == 0xB else "a set")
            if not self.is_plain and value and self.random.random() < 0.1:
                value = value + [None]
            added = [self.add(item) for item in value]
            body = self.count(marker, len(value)) + self.references(place for place, _ in added)
            value = [item for _, item in added]
        elif isinstance(value, dict):
            keys = [self.add(key)[0] for key in value]
            added = [self.add(item) for item in value.values()]
            body = self.count(0xD, len(value)) + self.references(keys + [place for place, _ in added])
            value = dict(zip(value, (item for _, item in added)))
        else:
            body = self.scalar(value)
        self.objects.append(body)
        return len(self.objects) - 1, value

    def references(self, places):
        return b"".join(place.to_bytes(self.reference_size, "big") for place in places)

    def count(self, marker, count):
        if count < 15 and (self.is_plain or self.random.random() < 0.8):
            return bytes([marker << 4 | count])
        power = self.random.choice([power for power in range(4) if count < 256 ** (1 << power)])
        if power == 3:
            self.features.add("a count of 8 bytes")
        return bytes([marker << 4 | 15, 0x10 | power]) + count.to_bytes(1 << power, "big")

    def scalar(self, value):
        if value is None:
            self.features.add("null")
            return b"\x00"
        if isinstance(value, bool):
            return b"\x09" if value else b"\x08"
        if isinstance(value, int):
            return self.integer(value)
        if isinstance(value, Date):
            return b"\x33" + struct.pack(">d", value)
        if isinstance(value, float):
            return self.real(value)
        if isinstance(value, plistlib.UID):
            return self.uid(value.data)
        if isinstance(value, bytes):
            return self.count(4, len(value)) + value
        return self.text(value)

    def integer(self, value):
        powers = [power for power in range(3) if 0 <= value < 256 ** (1 << power)]
        if value < 1 << 63:
            powers.append(3)
        if not self.is_plain or value >= 1 << 63:
            powers.append(4)
        power = self.random.choice(powers)
        if power == 4:
            self.features.add("a negative integer of 16 bytes" if value < 0 else "an integer of 16 bytes")
        return bytes([0x10 | power]) + value.to_bytes(1 << power, "big", signed=power >= 3)

    def real(self, value):
        try:
            narrow = struct.pack(">f", value)
        except OverflowError:
            narrow = b""
        is_narrow = narrow and bits(struct.unpack(">f", narrow)[0]) == bits(value) and self.random.random() < 0.5
        return b"\x22" + narrow if is_narrow else b"\x23" + struct.pack(">d", value)

    def uid(self, value):
        narrowest = max(1, (value.bit_length() + 7) // 8)
        widths = [1, 2, 4] if self.is_plain else range(1, 17)
        width = self.random.choice([width for width in widths if width >= narrowest])
        if width > 2:
            self.features.add("a UID of more than 2 bytes")
        if width > 8:
            self.features.add("a UID of more than 8 bytes")
        return bytes([0x80 | width - 1]) + value.to_bytes(width, "big")

    def text(self, value):
        if "\0" in value:
            self.features.add("a zero byte in a text")
        if any(character < " " for character in value):
            self.features.add("control characters")
        if not self.is_plain and self.random.random() < 0.2:
            self.features.add("UTF-8")
            return self.count(7, len(value.encode())) + value.encode()
        if value.isascii() and self.random.random() < 0.8:
            return self.count(5, len(value)) + value.encode()
        if not value:
            self.features.add("an empty text in UTF-16")
        units = value.encode("utf-16-be")
        return self.count(6, len(units) // 2) + units


class LibPlist:
    """The library behind plistutil, loaded into this process, since a process for each document takes long."""

    def __init__(self):
        self.functions = ctypes.CDLL(LIBPLIST)

    def _convert(self, document, convert):
        node, text, length = ctypes.c_void_p(), ctypes.c_void_p(), ctypes.c_uint32()
        self.functions.plist_from_memory(document, ctypes.c_uint32(len(document)), ctypes.byref(node))
        if not node:
            return None
        try:
            convert(node, ctypes.byref(text), ctypes.byref(length))
            return ctypes.string_at(text, length.value) if text else None
        finally:
            if text:
                self.functions.plist_to_xml_free(text)
            self.functions.plist_free(node)

    def in_xml(self, document):
        return self._convert(document, self.functions.plist_to_xml)

    def in_binary(self, document):
        return self._convert(document, self.functions.plist_to_bin)

    def read(self, document):
        """What it reads, as JSON. Its XML is read by plistlib for this."""
        xml = self.in_xml(document)
        return "absent" if xml is None else read_with_plistlib(xml)


def read_with_plistlib(document):
    try:
        return in_json(plistlib.loads(document))
    except plistlib.InvalidFileException:
        return "absent"
    except Exception as error:  # malformed XML, or dates that datetime cannot hold
        return f"absent: {error}"


def _read_in_one_process(command, names):
    result = subprocess.run(command, input="".join(f"{name}\n" for name in names), text=True, encoding="utf-8",
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
    assert result.returncode == 0, result.stderr
    lines = result.stdout.split("\n")[:-1]
    assert len(lines) == len(names), result.stderr
    return [of_json(line) for line in lines]


def read_with_gnustep(names, folder=None, forms=()):
    """Also writes each property list to FOLDER/N.FORM for each form: text, xml, binary."""
    arguments = [folder, *forms] if folder else []
    return _read_in_one_process([sys.executable, Path(__file__).with_name("gnustep.py"), *arguments], names)


def read_with_ours(tool, names, folder):
    return _read_in_one_process([tool, folder], names)
