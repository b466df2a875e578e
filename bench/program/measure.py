#!/usr/bin/env python3
"""Times the program beside what it is compared with: measure.py VEKTRACE BARE_DUMP FOLDER ROUNDS

Prints one table and fails where a limit is missed. FOLDER takes the traces, some hundred megabytes.
The contenders of a case are run one directly after the other, round by round; a ratio is the median
of the rounds' ratios. The large trace is a sparse file: it takes no room.
"""

import os
import resource
import statistics
import subprocess
import sys
import time

MIB = 1 << 20
TRACE_SIZE = 200 * MIB
LARGE_SIZE = 5 << 30
MEMORY_LIMIT = 32 * MIB
SLACK = 1.1


def run(command, stdout=subprocess.DEVNULL, good=(0,)):
    """Seconds of wall time, and the peak of resident memory in bytes."""
    began = time.perf_counter()
    process = subprocess.Popen(command, stdout=stdout, stderr=subprocess.PIPE)
    message = process.stderr.read().decode(errors="replace")
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    process.stderr.close()
    if process.returncode not in good:
        sys.exit(f"{' '.join(command)}: status {process.returncode}\n{message}")
    return time.perf_counter() - began, usage.ru_maxrss * 1024


def run_to_pipe(command):
    """Seconds until a reader at the other end of a pipe has read everything."""
    with subprocess.Popen(["cat"], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL) as reader:
        began = time.perf_counter()
        # The trace has a record that its class refuses, which a dump tells by its status.
        run(command, stdout=reader.stdin, good=(0, 3))
        reader.stdin.close()
        reader.wait()
        return time.perf_counter() - began


def copy(source, target):
    with open(target, "wb") as out:
        seconds, _ = run(["cat", source], stdout=out)
        began = time.perf_counter()
        os.fsync(out.fileno())
    os.unlink(target)
    return seconds + time.perf_counter() - began


def to_file(command, target, good):
    seconds, _ = run(command + ["-o", target], good=good)
    os.unlink(target)
    return seconds


def compare(name, size, rounds, ours, bound, limit):
    times = [(ours(), bound()) for _ in range(rounds)]
    ratio = statistics.median(a / b for a, b in times)
    seconds = statistics.median(a for a, _ in times)
    reached = "" if limit is None else "met" if ratio <= limit * SLACK else "MISSED"
    must = "" if limit is None else f"{limit}"
    print(f"| {name:<42} | {size / seconds / 1e6:7.0f} | {ratio:5.2f} | {must:>4} | {reached:<6} |")
    return reached != "MISSED"


def peak(name, command, good):
    _, memory = run(command, good=good)
    reached = "met" if memory <= MEMORY_LIMIT else "MISSED"
    print(f"| {name:<42} | {memory / MIB:8.1f} | {MEMORY_LIMIT // MIB:>4} | {reached:<6} |")
    return memory <= MEMORY_LIMIT


def main():
    vektrace, bare_dump, folder, rounds = sys.argv[1:]
    rounds = int(rounds)
    trace, damaged = os.path.join(folder, "trace.vkt"), os.path.join(folder, "damaged.vkt")
    out, large = os.path.join(folder, "out.vkt"), os.path.join(folder, "large.vkt")
    run([vektrace, "sample", "--seed", "1", "--size", str(TRACE_SIZE), "-o", trace, "--force"])
    run([vektrace, "damage", "--seed", "1", "--bytes", "0.1%", trace, "-o", damaged, "--force"])
    size = os.path.getsize(trace)

    print("| case                                       |    MB/s | ratio | must | reached |")
    print("| ------------------------------------------ | ------: | ----: | ---: | ------- |")
    good = compare("dump to a pipe, beside the bare loop", size, rounds,
                   lambda: run_to_pipe([vektrace, "dump", trace]),
                   lambda: run_to_pipe([bare_dump, trace]), 2.0)
    for name, command, status in (
        ("filter without condition, beside cat", [vektrace, "filter", trace], (0,)),
        ("filter by identifier, beside cat", [vektrace, "filter", "--id", "CAN", trace], (0,)),
        ("recover, beside cat", [vektrace, "recover", trace], (0,)),
        ("recover of 0.1 % damage, beside cat", [vektrace, "recover", damaged], (3,)),
    ):
        compare(name, size, rounds, lambda: to_file(command, out, status),
                lambda: copy(trace, out), None)

    with open(large, "wb") as file:
        file.truncate(LARGE_SIZE)
        with open(trace, "rb") as head:
            file.write(head.read(MIB))
    print("\n| peak of memory with a trace of 5 GiB       |      MiB | must | reached |")
    print("| ------------------------------------------ | -------: | ---: | ------- |")
    for verb in (["dump"], ["info"], ["check"], ["filter"], ["recover"]):
        good = peak(" ".join(verb), [vektrace, *verb, large], (0, 3)) and good
    os.unlink(large)
    sys.exit(0 if good else 1)


if __name__ == "__main__":
    main()
