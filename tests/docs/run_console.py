#!/usr/bin/env python3
"""Runs what a document shows of the program, and compares: run_console.py DOCUMENT [NAME=FILE...]

In the document every block fenced as "console" is a session: a line that begins with "$ " is given
to the shell, and the lines up to the next one are what it prints, standard error included. All
sessions of the document run in one empty folder, one after the other; each FILE is there under its
NAME, and a NAME that ends in "/" is a folder of programs, put in front of PATH instead. A line
"[exit status N]" is expected where a command does not end with 0, and "[...]" stands for any number
of lines.

A block fenced as "cpp" whose first line is a comment with a file's name is put into that folder as
this file. `// NAME, in place of "COMMENT"` puts the other lines of the block where the file has
`// COMMENT` on a line of its own.

With VEKTRACE_ACCEPT=1 in the environment the document is written anew instead of compared; what
VEKTRACE_EMULATOR holds starts the programs.
"""

import difflib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

ANY = "[...]"
FILE = re.compile(r'// ([\w-]+\.(?:h|cpp))(?:, in place of "(.+)")?')


def run(command, folder, environment):
    done = subprocess.run(["bash", "-o", "pipefail", "-c", command], cwd=folder, env=environment,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, timeout=120, check=False)
    lines = done.stdout.decode("utf-8").splitlines()
    return lines + ([f"[exit status {done.returncode}]"] if done.returncode else [])


def shortened(lines, expected):
    """The lines, with the ellipsis where the document has one and what is around it agrees."""
    if ANY not in expected:
        return lines
    at = expected.index(ANY)
    behind = len(expected) - at - 1
    if len(lines) < at + behind or ANY in expected[at + 1 :]:
        return lines
    return lines[:at] + [ANY] + (lines[-behind:] if behind else [])


def play(block, folder, environment):
    """The block as it should be: the commands of the old one, with what they print now."""
    new, at = [], 0
    while at < len(block):
        if not block[at].startswith("$ "):
            sys.exit(f"a session begins with a command, not with: {block[at]}")
        command, at = block[at], at + 1
        while command.endswith("\\") and at < len(block):
            command, at = command + "\n" + block[at], at + 1
        end = at
        while end < len(block) and not block[end].startswith("$ "):
            end += 1
        output = run(command[2:], folder, environment)
        new += command.split("\n") + shortened(output, block[at:end])
        at = end
    return new


def put(block, folder):
    """Puts the file into the folder that the block shows, or what it shows of one into that."""
    shown = FILE.fullmatch(block[0]) if block else None
    if not shown:
        return
    file, place = pathlib.Path(folder, shown[1]), shown[2]
    lines = block
    if place:
        lines = file.read_text(encoding="utf-8").splitlines()
        places = [at for at, line in enumerate(lines) if line.strip() == f"// {place}"]
        if len(places) != 1:
            sys.exit(f"{file.name} has {len(places)} lines of nothing but: // {place}")
        lines[places[0] : places[0] + 1] = block[1:]
    file.write_text("\n".join(lines) + "\n", encoding="utf-8")


def replay(lines, folder, environment):
    new, block, kind, sessions = [], None, None, 0
    for line in lines:
        if block is None:
            new.append(line)
            if line in ("```console", "```cpp"):
                block, kind = [], line
                sessions += line == "```console"
        elif line == "```":
            if kind == "```cpp":
                put(block, folder)
                new += block + [line]
            else:
                new += play(block, folder, environment) + [line]
            block = None
        else:
            block.append(line)
    if block is not None or not sessions:
        sys.exit("there is no session, or one without an end")
    return new


def add_starters(folder, programs, emulator):
    """Fills the folder: for every one of the programs one of its name that starts it."""
    for program in pathlib.Path(programs).iterdir():
        if program.is_file() and os.access(program, os.X_OK):
            starter = pathlib.Path(folder, program.name)
            starter.write_text(f'#!/bin/sh\nexec {emulator} "{program}" "$@"\n', encoding="utf-8")
            starter.chmod(0o755)


def prepare(folder, starters, pairs):
    environment = {**os.environ, "LC_ALL": "C.UTF-8", "TZ": "UTC", "COLUMNS": "100"}
    emulator = os.environ.get("VEKTRACE_EMULATOR")
    for name, file in (pair.split("=", 1) for pair in pairs):
        if name.endswith("/"):
            if emulator:
                add_starters(starters, file, emulator)
                file = starters
            environment["PATH"] = f"{file}{os.pathsep}{environment['PATH']}"
        else:
            os.symlink(os.path.abspath(file), os.path.join(folder, name))
    return environment


def main():
    document = pathlib.Path(sys.argv[1])
    old = document.read_text(encoding="utf-8").splitlines()
    with tempfile.TemporaryDirectory() as folder, tempfile.TemporaryDirectory() as starters:
        new = replay(old, folder, prepare(folder, starters, sys.argv[2:]))
    if os.environ.get("VEKTRACE_ACCEPT") == "1":
        document.write_text("\n".join(new) + "\n", encoding="utf-8")
    elif new != old:
        print("\n".join(difflib.unified_diff(old, new, str(document), "now", lineterm="")))
        sys.exit(f"{document} shows something else; VEKTRACE_ACCEPT=1 writes what is printed now")


if __name__ == "__main__":
    main()
