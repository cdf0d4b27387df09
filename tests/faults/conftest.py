import sys
from pathlib import Path

sys.path[:0] = [str(Path(__file__).parent), str(Path(__file__).resolve().parents[1] / "acceptance")]

from support.fixtures import application, build, checkout, installer, sanitizers, scene  # noqa: E402, F401
