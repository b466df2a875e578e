#!/usr/bin/env python3
"""The table of a benchmark run: report.py LIMITS LINKAGE=FILE...

Every FILE holds a JSON document of Google Benchmark per case and round; LINKAGE (static, shared)
names the column. Several files of one linkage are put together. Exits with 1 when one of our rows
misses what it must reach.
"""

import json
import statistics
import sys

OURS, BOUND = "ours", "bound"
SLACK = 1.10  # of noise


class Limit:
    def __init__(self, must, aim, allocations):
        self.must, self.aim, self.allocations = must, aim, allocations

    def holds_ratio(self, ratio):
        if self.must.startswith(">="):
            return ratio * SLACK >= float(self.must[2:])
        return ratio <= float(self.must) * SLACK

    def holds_allocations(self, count):
        return self.allocations == "-" or count is None or count <= float(self.allocations)


def read_limits(path):
    limits = {}
    with open(path, encoding="utf-8") as file:
        for line in file:
            if line.strip() and not line.startswith("#"):
                case, *rest = (field.strip() for field in line.split("|"))
                limits[case] = Limit(*rest)
    return limits


class Row:
    """One contender of one case in one linkage: its times in nanoseconds, round by round."""

    def __init__(self, order):
        self.order = order
        self.times = {}  # by number of threads
        self.allocations = None

    def add(self, entry):
        threads = entry["threads"]
        clock = "real_time" if entry["run_name"].endswith(f"threads:{threads}") else "cpu_time"
        self.times.setdefault(threads, []).append(entry[clock])
        self.allocations = entry.get("allocations", self.allocations)

    def time(self):
        return statistics.median(self.times[max(self.times)])

    def ratio(self, bound):
        """The median of the rounds' ratios to the bound; of threads: of the throughput of two
        against one."""
        if len(self.times) > 1:
            return median_ratio(self.times[1], self.times[2])
        return median_ratio(self.times[1], bound.times[1]) if bound else None


def median_ratio(numerators, denominators):
    return statistics.median(n / d for n, d in zip(numerators, denominators, strict=True))


def read_documents(path):
    """The JSON documents that a file holds one behind the other."""
    decoder = json.JSONDecoder()
    with open(path, encoding="utf-8") as file:
        rest = file.read().strip()
    while rest:
        document, end = decoder.raw_decode(rest)
        yield document
        rest = rest[end:].lstrip()


def read_rows(paths):
    rows, cases = {}, {}
    for document in (document for path in paths for document in read_documents(path)):
        for entry in document["benchmarks"]:
            case, name = entry["run_name"].split("/")[:2]
            order = (cases.setdefault(case, len(cases)), entry["family_index"])
            rows.setdefault((case, name), Row(order)).add(entry)
    return rows


def verdict(limit, row, ratio):
    if limit is None or ratio is None:
        return ""
    if not limit.holds_allocations(row.allocations):
        return "MISSED: allocates"
    return "met" if limit.holds_ratio(ratio) else "MISSED"


def cells_of(row, ratio):
    return [f"{row.time():.1f}", "" if ratio is None else f"{ratio:.2f}"]


def allocations_text(row):
    return "" if row is None or row.allocations is None else f"{row.allocations:g}"


def make_table(limits, linkages):
    """The lines of the table as lists of cells, and the verdicts on our rows."""
    columns = [f"{name} {what}" for name in linkages for what in ("ns", "ratio")]
    lines = [["case", "contender", *columns, "allocations", "must", "aim", "reached"]]
    verdicts = []
    keys = {key: row.order for rows in linkages.values() for key, row in rows.items()}
    shown = None
    for case, name in sorted(keys, key=keys.get):
        limit = limits.get(case) if name == OURS else None
        line, reached, any_row = ["" if case == shown else case, name], [], None
        for linkage, rows in linkages.items():
            row = rows.get((case, name))
            if row is None:
                line += ["", ""]
                continue
            any_row = row
            ratio = row.ratio(rows.get((case, BOUND)))
            line += cells_of(row, ratio)
            judged = verdict(limit, row, ratio)
            if judged:
                verdicts.append(judged)
                reached.append(judged if len(linkages) == 1 else f"{linkage} {judged}")
        must_and_aim = [limit.must, limit.aim] if limit else ["", ""]
        lines.append(line + [allocations_text(any_row), *must_and_aim, ", ".join(reached)])
        shown = case
    return lines, verdicts


def print_table(lines):
    widths = [max(len(line[i]) for line in lines) for i in range(len(lines[0]))]
    left = {0, 1, len(widths) - 1}

    def show(line):
        cells = (
            cell.ljust(width) if i in left else cell.rjust(width)
            for i, (cell, width) in enumerate(zip(line, widths))
        )
        print("| " + " | ".join(cells) + " |")

    show(lines[0])
    rules = ("-" * w if i in left else "-" * (w - 1) + ":" for i, w in enumerate(widths))
    print("| " + " | ".join(rules) + " |")
    for line in lines[1:]:
        show(line)


def main():
    limits = read_limits(sys.argv[1])
    files = {}
    for argument in sys.argv[2:]:
        linkage, path = argument.split("=", 1)
        files.setdefault(linkage, []).append(path)
    linkages = {linkage: read_rows(paths) for linkage, paths in files.items()}
    lines, verdicts = make_table(limits, linkages)
    if len(lines) == 1:
        sys.exit("nothing was timed: no case has this name")
    print_table(lines)
    missed = [v for v in verdicts if v != "met"]
    met = len(verdicts) - len(missed)
    print(f"\n{met} of {len(verdicts)} limits met, with 10 % slack for noise.")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
