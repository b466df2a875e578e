#!/usr/bin/env python3
"""The tables of what the libraries occupy: footprint.py BUILD...

Every BUILD is a folder build/footprint/TARGET-LEVEL with shared/ and static/ (the libraries) and
sizes.o. Exits with 1 when the 32-bit ARM build at -O2 exceeds a limit.
"""

import pathlib
import re
import subprocess
import sys

LIBRARIES = ("vekutil", "vektrace")
LIMITED = "arm-O2"
MAX_READ_ONLY = 64 * 1024
MAX_WRITABLE = 512
WRITABLE = {".data", ".bss", ".tdata", ".tbss"}


def output(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


class Library:
    """What a stripped shared library occupies in memory, in bytes."""

    def __init__(self, path):
        self.code = self.constants = self.protected = self.writable = 0
        for line in output("readelf", "-SW", path).splitlines():
            # [Nr] Name Type Address Offset Size EntrySize Flags ...
            found = re.match(
                r"\s*\[ *\d+\] (\S+)\s+\S+"
                r"\s+[0-9a-f]+ [0-9a-f]+ ([0-9a-f]+) [0-9a-f]+ +([A-Za-z]+) ",
                line,
            )
            if found and "A" in found.group(3):
                self.add(found.group(1), int(found.group(2), 16), found.group(3))
        if self.code == 0:
            sys.exit(f"{path}: no section with code is found in what readelf tells")
        relocations = output("readelf", "-rW", path)
        self.relocations = len(re.findall(r"^[0-9a-f]+ +[0-9a-f]+ +R_", relocations, re.MULTILINE))

    def add(self, name, size, flags):
        if "X" in flags:
            self.code += size
        elif name in WRITABLE:
            self.writable += size
        elif "W" in flags:
            self.protected += size
        else:
            self.constants += size

    def cells(self):
        return [self.code, self.constants, self.protected, self.writable, self.relocations]

    def read_only(self):
        return self.code + self.constants + self.protected


def archive_size(path):
    """Code, constants and data of a static library's objects."""
    rows = (line.split() for line in output("size", path).splitlines()[1:])
    return sum(int(row[3]) for row in rows)


def print_table(head, lines):
    lines = [[str(cell) for cell in line] for line in [head, *lines]]
    widths = [max(len(line[i]) for line in lines) for i in range(len(head))]
    rules = ["-" * widths[0]] + ["-" * (width - 1) + ":" for width in widths[1:]]
    lines.insert(1, rules)
    for first, *rest in lines:
        cells = [cell.rjust(width) for cell, width in zip(rest, widths[1:])]
        print("| " + " | ".join([first.ljust(widths[0]), *cells]) + " |")


def print_libraries(builds):
    """Returns whether the limits are kept."""
    lines, kept = [], None
    for build in builds:
        libraries = {n: Library(build / "shared" / f"lib{n}.so") for n in LIBRARIES}
        for name, library in libraries.items():
            archive = archive_size(build / "static" / f"lib{name}.a")
            lines.append([f"{build.name} {name}", *library.cells(), archive])
        if build.name == LIMITED:
            read_only = sum(library.read_only() for library in libraries.values())
            writable = sum(library.writable for library in libraries.values())
            kept = read_only <= MAX_READ_ONLY and writable <= MAX_WRITABLE
            summary = (
                f"{LIMITED}, both libraries: {read_only} bytes of code and read-only data"
                f" (at most {MAX_READ_ONLY}), {writable} bytes of writable data"
                f" (at most {MAX_WRITABLE}): {'met' if kept else 'EXCEEDED'}"
            )
    columns = ["code", "constants", "protected", "writable", "relocations", "static"]
    print_table(["build, library", *columns], lines)
    if kept is None:
        sys.exit(f"no build {LIMITED} to judge")
    print(f"\n{summary}")
    return kept


def print_objects(builds):
    lines = {}
    for build in builds:
        for line in output("nm", "-S", str(build / "sizes.o")).splitlines():
            found = re.search(r"([0-9a-f]+) \w sizeof_(\w+)$", line)
            if found:
                lines.setdefault(found.group(2), {})[build.name] = int(found.group(1), 16)
    names = [build.name for build in builds if build.name.endswith("-O2")]
    print_table(["object", *names], [[t, *(s[n] for n in names)] for t, s in lines.items()])


def main():
    builds = [pathlib.Path(argument) for argument in sys.argv[1:]]
    kept = print_libraries(builds)
    print()
    print_objects(builds)
    return 0 if kept else 1


if __name__ == "__main__":
    sys.exit(main())
