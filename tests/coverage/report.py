#!/usr/bin/env python3
"""Sums up what gcov counted: report.py LIMITS BUILD-FOLDER [--list]

A line counts as reached when any unit reached it, a branch likewise, and in a template when any
instance did. Not counted are

- the edges that the compiler marks as taken only when an exception passes: they stand behind every
  call, and the tests that let memory and system calls fail are what looks at them;
- the branches that it makes of its own where the source has no condition: to free what a `new`
  took when the constructor throws, to find the handler at a `catch`, to guard a local static;
- the functions that the limits name, with the reason.
"""

import collections
import gzip
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

OF_THE_COMPILER = re.compile(r"\bnew\b|\bcatch \(|^\s*static const\b")
CONDITION = re.compile(r"\b(if|while|for|switch)\b|\?|&&|\|\|")

ROOT = pathlib.Path(__file__).resolve().parents[2]


def counts(build):
    """Per source file: line -> executions, (line, how many and which branch) -> times taken, and
    function -> its lines."""
    data = [str(path) for path in build.rglob("*.gcda")]
    if not data:
        sys.exit(f"{build}: nothing was counted")
    lines = collections.defaultdict(collections.Counter)
    branches = collections.defaultdict(collections.Counter)
    never_run = collections.defaultdict(collections.Counter)
    functions = collections.defaultdict(lambda: collections.defaultdict(set))
    with tempfile.TemporaryDirectory() as folder:
        for first in range(0, len(data), 50):
            subprocess.run(
                ["gcov", "--json-format", "--branch-probabilities", "--preserve-paths", "--hash-filenames",
                 *data[first : first + 50]],
                cwd=folder, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        for report in pathlib.Path(folder).glob("*.gcov.json.gz"):
            with gzip.open(report) as stream:
                document = json.load(stream)
            base = pathlib.Path(document["current_working_directory"])
            for source in document["files"]:
                path = pathlib.Path(os.path.normpath(base / source["file"]))
                if not path.is_relative_to(ROOT) or path.is_relative_to(build):
                    continue
                name = str(path.relative_to(ROOT))
                for function in source["functions"]:
                    plain = function["demangled_name"].split("(")[0]
                    functions[name][plain] |= set(
                        range(function["start_line"], function["end_line"] + 1))
                for line in source["lines"]:
                    number = line["line_number"]
                    lines[name][number] += line["count"]
                    # The instances of a template have the same branches, in the same order.
                    counted = [branch for branch in line["branches"] if not branch["throw"]]
                    for index, branch in enumerate(counted):
                        key = (number, len(counted), index)
                        (branches if line["count"] else never_run)[name][key] += branch["count"]
    # A function that no test of one program calls is not even taken apart in the same way there.
    for name, counted in never_run.items():
        for key in counted:
            if not lines[name][key[0]]:
                branches[name][key] = 0
    return lines, branches, functions


def lines_of_the_compiler(name):
    """The lines whose branches are none of the source's."""
    text = (ROOT / name).read_text().splitlines()
    return {number for number, line in enumerate(text, 1)
            if OF_THE_COMPILER.search(line) and not CONDITION.search(line)}


def read_limits(path):
    """The rows of limits, and the functions that are not counted by file."""
    rows, left_out = [], collections.defaultdict(list)
    for row in path.read_text().splitlines():
        if row.startswith("except "):
            _, name, function, _ = row.split(None, 3)
            left_out[name].append(function)
        elif row and not row.startswith("#"):
            rows.append(row.split())
    return rows, left_out


def share(counter):
    reached = sum(1 for count in counter if count)
    return reached, len(counter), 100.0 if not counter else 100.0 * reached / len(counter)


def main():
    limits, build = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]).resolve()
    listed = "--list" in sys.argv[3:]
    rows, exceptions = read_limits(limits)
    lines, branches, functions = counts(build)
    failed = False
    print(f"{'folder':<16} {'lines':>22} {'branches':>22}")
    for folder, *least in rows:
        names = sorted(name for name in lines if name.startswith(folder + "/"))
        if not names:
            sys.exit(f"{folder}: nothing was counted")
        line_counts, branch_counts, missed = [], [], []
        for name in names:
            left_out = set()
            for function in exceptions[name]:
                if function not in functions[name]:
                    sys.exit(f"{name} has no function {function}")
                left_out |= functions[name][function]
            without_branches = left_out | lines_of_the_compiler(name)
            kept_lines = {k: n for k, n in lines[name].items() if k not in left_out}
            kept_branches = {k: n for k, n in branches[name].items() if k[0] not in without_branches}
            line_counts += kept_lines.values()
            branch_counts += kept_branches.values()
            missed += [f"{name}:{line}: not reached" for line, n in sorted(kept_lines.items()) if not n]
            missed += [f"{name}:{line}: branch {index} not taken"
                       for (line, _, index), n in sorted(kept_branches.items())
                       if not n and lines[name][line]]
        results = [share(line_counts), share(branch_counts)]
        print(f"{folder:<16}" + "".join(f" {a:>6} of {b:>6} {p:5.1f}%" for a, b, p in results))
        below = [f"{folder}: less than {limit} % of the {what} are reached"
                 for (_, _, percent), limit, what in zip(results, least, ("lines", "branches"))
                 if percent < float(limit)]
        if listed or below:
            print(*missed, sep="\n")
        for line in below:
            print(line, file=sys.stderr)
        failed = failed or bool(below)
    sys.exit(1 if failed else 0)


main()
