"""Compiling sources."""

import shlex
import subprocess


def compile_like(entry, source):
    """The result of compiling `source` as an entry of compile_commands.json says, without an output."""
    arguments = shlex.split(entry["command"])
    output = arguments.index("-o")
    arguments[output : output + 2] = ["-fsyntax-only"]
    arguments[arguments.index(entry["file"])] = str(source)
    return subprocess.run(arguments, cwd=entry["directory"], capture_output=True, text=True)


def compile_host(source, program, headers, library):
    """Makes a program in C that uses the shared library, without a warning.

    @param headers the folder with the library's header
    """
    subprocess.run(["gcc", "-std=c11", "-Wall", "-Wextra", "-pedantic", "-Werror", "-I", headers, source, "-o", program,
                    library, f"-Wl,-rpath,{library.parent}"], check=True)
