"""Compiling a source as a build compiles another."""

import shlex
import subprocess


def compile_like(entry, source):
    """The result of compiling `source` as an entry of compile_commands.json says, without an output."""
    arguments = shlex.split(entry["command"])
    output = arguments.index("-o")
    arguments[output : output + 2] = ["-fsyntax-only"]
    arguments[arguments.index(entry["file"])] = str(source)
    return subprocess.run(arguments, cwd=entry["directory"], capture_output=True, text=True)
