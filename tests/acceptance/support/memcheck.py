"""Runs installers under valgrind's memcheck."""

import re
import shutil

FOUND_SOMETHING = 99
OPTIONS = [f"--error-exitcode={FOUND_SOMETHING}", "--leak-check=full",
           "--errors-for-leak-kinds=definite,indirect,possible", "--vgdb=no"]


def missing(sanitizers):
    """What keeps memcheck from being used, if anything."""
    if shutil.which("valgrind") is None:
        return "needs valgrind"
    return "memcheck runs with no other sanitizer" if sanitizers else None


class Memcheck:
    """What memcheck reports about the installers of one test: no access to memory that is not theirs, no use of a value
    that was never set, no leak. An installer that is killed is told about only up to then."""

    def __init__(self, folder):
        self.folder = folder
        folder.chmod(0o1777)  # for installers of every user
        self.command = [shutil.which("valgrind"), *OPTIONS, f"--log-file={folder}/%p"]

    def count(self):
        """The number of installers that memcheck has run."""
        return len(list(self.folder.iterdir()))

    def findings(self):
        """The reports in which something was found."""
        reports = [path.read_text(errors="replace") for path in sorted(self.folder.iterdir())]
        return [report for report in reports if re.search(r"ERROR SUMMARY: [1-9]", report)]
