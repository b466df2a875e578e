#!/usr/bin/env python3
"""Instructions per operation against the baseline: compare.py [--accept] PROGRAM COMPILER BASELINE

COMPILER describes what built PROGRAM and the standard library it runs with; a baseline holds for
nothing else. More instructions than the baseline's are an error, fewer a hint to accept them.
"""

import re
import subprocess
import sys

TOLERANCE = 0.05
TIMES = 2000
HEADER = "# instructions per operation; built by: "


def instructions(program, case, times):
    """What callgrind counts in a whole run of the program."""
    command = ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"]
    run = subprocess.run(
        [*command, program, case, str(times)], capture_output=True, text=True, check=False
    )
    found = re.search(r"Collected : (\d+)", run.stderr)
    if run.returncode != 0 or not found:
        sys.exit(f"{case}: cannot count instructions\n{run.stderr}")
    return int(found.group(1))


def measure(program):
    listing = subprocess.run([program], capture_output=True, text=True, check=True).stdout
    # Twice as many runs less the simple number: what start and end take is in both.
    return {
        case: (instructions(program, case, 2 * TIMES) - instructions(program, case, TIMES)) / TIMES
        for case in listing.split()
    }


def read_baseline(path):
    with open(path, encoding="utf-8") as file:
        header, *lines = file.read().splitlines()
    counts = {case: float(count) for case, count in (line.split() for line in lines)}
    return header.removeprefix(HEADER), counts


def write_baseline(path, compiler, counts):
    with open(path, "w", encoding="utf-8") as file:
        file.write(f"{HEADER}{compiler}\n")
        for case, count in counts.items():
            file.write(f"{case:<20} {count:9.1f}\n")


def compare(counts, accepted):
    """Prints one line per case; returns the cases that got worse."""
    worse, better = [], []
    for case in sorted(counts.keys() | accepted.keys()):
        if case not in counts or case not in accepted:
            print(f"{case:<20} only in the {'program' if case in counts else 'baseline'}")
            worse.append(case)
            continue
        change = counts[case] / accepted[case] - 1
        print(f"{case:<20} {accepted[case]:9.1f} -> {counts[case]:9.1f}  {change:+7.1%}")
        if change > TOLERANCE:
            worse.append(case)
        elif change < -TOLERANCE:
            better.append(case)
    if better:
        print(f"better: {', '.join(better)}; keep it with scripts/bench --accept-instructions")
    return worse


def main():
    accept = sys.argv[1] == "--accept"
    program, compiler, baseline = sys.argv[-3:]
    if accept:
        write_baseline(baseline, compiler, measure(program))
        print(f"written: {baseline}")
        return 0
    accepted_compiler, accepted = read_baseline(baseline)
    if accepted_compiler != compiler:
        sys.exit(
            f"{baseline} is for another compiler and must be accepted anew"
            " (scripts/bench --accept-instructions, before the change that is to be judged):\n"
            f"  baseline: {accepted_compiler}\n  here:     {compiler}"
        )
    worse = compare(measure(program), accepted)
    if worse:
        print(f"WORSE by more than {TOLERANCE:.0%}: {', '.join(worse)}", file=sys.stderr)
    return 1 if worse else 0


if __name__ == "__main__":
    sys.exit(main())
