"""A virtual screen: its windows, its pointer and pictures of it. Needs Debian's xvfb and python3-xlib."""

import contextlib
import os
import shutil
import signal
import struct
import subprocess
import time
import zlib
from dataclasses import dataclass

import pytest

from support.processes import eventually

START_LIMIT = 120.0  # seconds; far more than any server or application takes to come up


@dataclass(frozen=True)
class Picture:
    """What a window shows, as rows of pixels of four bytes: blue, green, red and one without meaning."""

    width: int
    height: int
    pixels: bytes

    def colour(self, x, y):
        """The colour of a pixel as "#rrggbb"."""
        blue, green, red = self.pixels[(y * self.width + x) * 4 :][:3]
        return f"#{red:02x}{green:02x}{blue:02x}"

    def write(self, path):
        """Writes it as a PNG file."""
        rows = []
        for y in range(self.height):
            row = self.pixels[y * self.width * 4 : (y + 1) * self.width * 4]
            colours = bytearray(self.width * 3)
            colours[0::3], colours[1::3], colours[2::3] = row[2::4], row[1::4], row[0::4]
            rows.append(b"\0" + colours)
        header = struct.pack(">IIBBBBB", self.width, self.height, 8, 2, 0, 0, 0)
        chunks = {b"IHDR": header, b"IDAT": zlib.compress(b"".join(rows), 9), b"IEND": b""}
        with open(path, "wb") as file:
            file.write(b"\x89PNG\r\n\x1a\n")
            for kind, data in chunks.items():
                checksum = struct.pack(">I", zlib.crc32(kind + data))
                file.write(struct.pack(">I", len(data)) + kind + data + checksum)


class Display:
    """A screen of its own, on a number that nobody else uses."""

    def __init__(self):
        xlib = pytest.importorskip("Xlib.display", reason="needs python3-xlib")
        if not shutil.which("Xvfb"):
            pytest.skip("needs xvfb")
        with contextlib.ExitStack() as self.stack:
            self.name = self._start_server()
            self.connection = xlib.Display(self.name)
            self.stack.callback(self.connection.close)
            self.stack = self.stack.pop_all()

    def close(self):
        self.stack.close()

    def _start_server(self):
        number, write = os.pipe()
        with open(number) as number:
            # A server that is asked to end removes its files; it ends with the tests' own process at the latest.
            command = ["setpriv", "--pdeathsig", "TERM", "Xvfb", "-displayfd", str(write), "-screen", "0", "800x600x24",
                       "-nolisten", "tcp"]
            server = subprocess.Popen(command, pass_fds=[write], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                      stderr=subprocess.PIPE, text=True)
            self.stack.callback(server.stderr.close)
            self.stack.callback(server.wait)
            self.stack.callback(server.send_signal, signal.SIGTERM)
            os.close(write)
            line = number.readline()
        assert line.endswith("\n"), server.stderr.read()
        return f":{line.strip()}"

    def titled(self, title):
        """The window of this title, once it is on the screen and no longer changes."""
        from Xlib import X

        def find():
            for window in self.connection.screen().root.query_tree().children:
                for candidate in (window, *window.query_tree().children):
                    if candidate.get_wm_name() == title and candidate.get_attributes().map_state == X.IsViewable:
                        return candidate
            return None

        # A window may vanish while it is looked at.
        window = eventually(lambda: self._unless_gone(find), f"a window titled {title}", START_LIMIT)
        self.picture_at_rest(window)
        return window

    def picture_at_rest(self, window):
        """The window's picture, once it no longer changes."""

        def twice_the_same():
            picture = self.picture(window)
            time.sleep(0.3)
            return picture if picture == self.picture(window) else None

        return eventually(twice_the_same, "the window is at rest", START_LIMIT)

    def _unless_gone(self, function):
        from Xlib.error import BadDrawable, BadMatch, BadWindow

        try:
            return function()
        except (BadDrawable, BadMatch, BadWindow):
            return None

    def picture(self, window):
        from Xlib import X

        size = window.get_geometry()
        image = window.get_image(0, 0, size.width, size.height, X.ZPixmap, 0xFFFFFFFF)
        return Picture(size.width, size.height, image.data)

    def leaves(self, window):
        """The centres, on the screen, of the visible windows within a window that contain no others."""
        from Xlib import X

        found = []
        for part in window.query_tree().children:
            if part.get_attributes().map_state != X.IsViewable:
                continue
            inside = self.leaves(part)
            size = part.get_geometry()
            corner = part.translate_coords(self.connection.screen().root, 0, 0)
            found += inside or [(size.width // 2 - corner.x, size.height // 2 - corner.y)]
        return found

    def point_at(self, x, y):
        """Moves the pointer to a place on the screen."""
        self._act("MotionNotify", x=x, y=y)

    def click(self):
        """Presses the pointer's first button where it is."""
        self._act("ButtonPress", 1)
        self._act("ButtonRelease", 1)

    def _act(self, event, *detail, **place):
        from Xlib import X
        from Xlib.ext import xtest

        xtest.fake_input(self.connection, getattr(X, event), *detail, **place)
        self.connection.sync()
