"""The documents and their listings."""

import re
from typing import NamedTuple

FENCE = re.compile(r"^```(\w+)\n(.*?)^```$", re.DOTALL | re.MULTILINE)


class Listing(NamedTuple):
    language: str
    text: str


def documents(checkout):
    folder = checkout / "docs"
    found = sorted([checkout / "README.md", *(path for path in folder.iterdir() if path.suffix in (".md", ".1"))])
    assert len(found) > 2
    return found


def listings(path):
    return [Listing(*match.groups()) for match in FENCE.finditer(path.read_text())]


def only(path, language):
    """The text of a document's only listing in a language."""
    (text,) = [listing.text for listing in listings(path) if listing.language == language]
    return text


def commands(text):
    """The commands of a listing, without their comments."""
    return [line.partition("  #")[0].rstrip() for line in text.splitlines()]
