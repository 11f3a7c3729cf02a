#!/usr/bin/env python3
"""Launches a link of GCC's with LLVM's linker: link_with_lld.py COMPILER ARGUMENT...

GNU ld takes 15 seconds for a test program that the other one links in a tenth of a second, and
Debian's cross compiler is built to know no other. So this asks the compiler what it would run, and
runs that with the other linker.
"""

import os
import shlex
import subprocess
import sys

LINKER = "ld.lld-14"


def linker_arguments(command):
    said = subprocess.run([*command, "-###"], capture_output=True, text=True, check=True).stderr
    lines = [shlex.split(line) for line in said.splitlines()
             if "/collect2" in line.split(" -", 1)[0]]
    if len(lines) != 1:
        sys.exit("link_with_lld: the compiler would not run its linker once\n" + said)
    arguments = iter(lines[0][1:])
    for argument in arguments:
        if argument == "-plugin":
            next(arguments)
        elif not argument.startswith("-plugin-opt="):
            yield argument


def main():
    command = sys.argv[1:]
    # The host is linked as it ships: the other linker reads neither its whole archives nor the
    # import library that dlltool made for it.
    if any("--whole-archive" in argument for argument in command):
        os.execvp(command[0], command)
    os.execvp(LINKER, [LINKER, *linker_arguments(command)])


main()
