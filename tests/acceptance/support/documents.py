"""The documents and their listings."""

import re
import subprocess
from typing import NamedTuple

# A command in the running text begins like this.
COMMAND = re.compile(
    r"\./|\.ci/|tools/|(bench|build|examples)/\w+( |$)|"
    r"(sudo|cmake|ctest|man|mandoc|apt|apt-get|apt-cache|dpkg|git|ls|mv|rm|cat|sed|mkdir|pkg-config|zkupdater|"
    r"(/usr/bin/)?python3) \S"
)


class Listing(NamedTuple):
    language: str  # "indented" for a block without a fence, "example" for one of a man page
    text: str


def documents(checkout):
    """Every document: Markdown and man pages."""
    folders = [checkout, checkout / "docs", checkout / "bench"]
    found = sorted(path for folder in folders for path in folder.iterdir() if re.fullmatch(r"\.(md|\d)", path.suffix))
    assert len(found) > 5
    return found


def pages(checkout):
    """The man pages."""
    return [path for path in documents(checkout) if path.suffix != ".md"]


def plain(roff):
    """What a line of a man page's example shows."""
    return roff.replace("\\&", "").replace("\\-", "-").replace("\\(aq", "'").replace("\\(ti", "~").replace("\\e", "\\")


def _of_man_page(text):
    blocks = re.findall(r"^\.(EX|nf)\n(.*?)^\.(EE|fi)$", text, re.DOTALL | re.MULTILINE)
    assert len(blocks) == len(re.findall(r"^\.(?:EX|nf)\b", text, re.MULTILINE)), "an example that is not seen"
    return [Listing("example", plain(block)) for _, block, _ in blocks]


def _of_markdown(text):
    """All blocks, in their order: a fence may have any language or none, and an indented block needs no empty line."""
    found = []
    fence = None
    for line in text.splitlines(keepends=True):
        mark = re.match(r" *(```+|~~~+)(.*)", line)
        if fence is None and mark:
            fence = mark[1]
            found.append(Listing(mark[2].strip() or "unnamed", ""))
            is_open = True
        elif fence is not None and mark and mark[1] == fence and not mark[2].strip():
            fence = None
            is_open = False
        elif fence is not None or line.startswith("    "):
            if fence is None and not (found and is_open):
                found.append(Listing("indented", ""))
                is_open = True
            found[-1] = found[-1]._replace(text=found[-1].text + (line if fence else line[4:]))
        elif line.strip():
            is_open = False
    assert fence is None, "a fence that is not closed"
    return found


def listings(path):
    return (_of_markdown if path.suffix == ".md" else _of_man_page)(path.read_text())


def listings_by_name(checkout):
    """The listings of all documents, under names like "docs/embedding.md: cpp" and, for the second, "... cpp 2"."""
    result = {}
    for path in documents(checkout):
        counts = {}
        for listing in listings(path):
            count = counts[listing.language] = counts.get(listing.language, 0) + 1
            name = f"{path.relative_to(checkout)}: {listing.language}"
            result[name if count == 1 else f"{name} {count}"] = listing.text
    return result


def only(path, language):
    """The text of a document's only listing in a language."""
    (text,) = [listing.text for listing in listings(path) if listing.language == language]
    return text


def commands(text):
    """The commands of a listing, without their comments. A line that ends with a backslash goes on in the next."""
    lines = [re.sub(r"(^|\s+)#(\s.*)?$", "", line).rstrip() for line in text.replace("\\\n", "").splitlines()]
    return [line for line in lines if line]


def commands_in_text(path):
    """The commands in the running text of a Markdown document, between backquotes."""
    text = re.sub(r"^ *(```+|~~~+).*?^ *\1\s*$", "", path.read_text(), flags=re.DOTALL | re.MULTILINE)
    return [span for span in re.findall(r"`([^`\n]+)`", text) if COMMAND.match(span)]


def run_in(folder, command, **options):
    """Carries out a command line of a document."""
    return subprocess.run(["bash", "-ec", command], cwd=folder, check=True, capture_output=True, text=True, **options)
