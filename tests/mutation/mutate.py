#!/usr/bin/env python3
"""Tells how many faults the tests would notice: mutate.py [--count N | --seconds N | --whole] [OPTION...]

One operator, constant, condition or statement of the libraries is changed at a time, in a copy.
What the change concerns is compiled, and the tests are run until one fails: the mutant is killed.
One that hangs is killed too. One that does not compile does not count, nor does one of which the
compiler, when it optimises, makes the same code as of the original. Those that survive must stand
in survivors.txt with the reason why no test can tell.

Fails when fewer than 95 % are killed (of a sample only if it has a hundred), when a survivor is not
explained, or when survivors.txt explains what is not there.
"""

import argparse
import os
import queue
import random
import resource
import shutil
import signal
import subprocess
import sys
import threading
import time
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from mutants import mutants_of

ROOT = Path(__file__).resolve().parents[2]
WORK = ROOT / "build" / "mutation"
SURVIVORS = Path(__file__).resolve().with_name("survivors.txt")
MUST_KILL = 0.95
FEW = 100  # mutants, of which a share tells nothing
TEST_TIMEOUT = 30  # seconds, of which a test program takes less than five
STREAM_TIMEOUT = 90  # of which one of libvekstream takes less than thirty
COMPILE_TIMEOUT = 120

MESSAGE_LIBRARIES = ["libvekutil", "libvektrace"]
STREAM_LIBRARY = "libvekstream"

# What a test program is made of beside its own source.
MORE_SOURCES = {
    "SimpleMessage_test": ["tests/libvektrace/SimpleMessage_user.cpp"],
    "MessageBase_exhaustion_test": ["examples/ethernet/EthernetMessage.cpp"],
    "TraceAllocation_test": ["tests/libvekstream/FailingAllocation.cpp"],
    "TraceReader_compressed_test": [
        "tests/libvekstream/FailingAllocation.cpp",
        "tests/libvekstream/TraceReader_gzip_test.cpp",
        "tests/libvekstream/TraceReader_zstd_test.cpp",
    ],
}
# They are a part of another program, or build the library in another way.
NO_PROGRAMS = ["TraceReader_gzip_test", "TraceReader_zstd_test", "TraceReader_plain_test"]
NO_UNITS = ["noGzip.cpp", "noZstd.cpp"]
# What takes long and finds nothing that the others leave.
NO_TESTS = "-*ThreeBytes*:*Million*:Comparison.EveryIdentifier*:Comparison.EveryInput*"
NO_TESTS += ":Recovery.*:*.AgreesOnGapsAroundTheLongestOne*:*.AgreesOnRandomlyDamagedLongRecords*"

COMPILER = ["c++", "-std=c++17", "-w", "-fPIC", "-D_FILE_OFFSET_BITS=64", f'-DDOCUMENTS="{ROOT}/docs"']
TESTED = COMPILER + ["-O0", "-D_GLIBCXX_ASSERTIONS"]
# As it is used; with nothing in the object that depends on where and when it was compiled.
OPTIMISED = COMPILER + ["-O2", "-DNDEBUG", "-frandom-seed=1"]
LINKED = ["-lgtest_main", "-lgtest", "-pthread"]
# Compiled once: what the libraries' units, and what the tests include of others.
PREAMBLES = {
    "library.h": """#include <algorithm>
#include <charconv>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>
""",
    "tests.h": """#include <gtest/gtest.h>
#include <algorithm>
#include <atomic>
#include <functional>
#include <iomanip>
#include <iostream>
#include <list>
#include <locale>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <thread>
#include <unordered_map>
""",
}


def run(command, seconds, **options):
    """Whether a command succeeds in time; ends what it has started."""

    def limit():
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        resource.setrlimit(resource.RLIMIT_AS, (8 << 30, 8 << 30))

    process = subprocess.Popen(
        command,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.DEVNULL,
        stderr=options.pop("stderr", subprocess.DEVNULL),
        start_new_session=True,
        preexec_fn=limit,
        cwd=WORK,
        **options,
    )
    try:
        return process.wait(seconds) == 0
    except subprocess.TimeoutExpired:
        return False
    finally:
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()


class Unit:
    """One source and its object."""

    def __init__(self, source):
        self.source = source
        self.object = WORK / "objects" / (source.replace("/", "_") + ".o")

    def command(self, compiler, target, overlay):
        source, include = ROOT / self.source, []
        if overlay:
            include = ["-I", str(overlay)]
            source = overlay / self.source if (overlay / self.source).exists() else source
        command = compiler + include + ["-I", str(ROOT), "-I", str(ROOT / "tests")]
        command += ["-iquote", str((ROOT / self.source).parent)]
        return command + ["-c", str(source), "-o", str(target)]

    def compile(self, target, overlay=None, **options):
        preamble = "tests.h" if self.source.startswith("tests/") else "library.h"
        command = self.command(TESTED, target, overlay)
        command += ["-include", preamble, "-MD", "-MF", f"{target}.d"]
        return run(command, COMPILE_TIMEOUT, **options)

    def code(self, target, overlay, *options):
        """What the compiler makes of it when it optimises."""
        if not run(self.command([*OPTIMISED, *options], target, overlay), COMPILE_TIMEOUT):
            sys.exit(f"{self.source} compiles, but not optimised")
        return target.read_bytes()

    def depends_on(self):
        listed = Path(f"{self.object}.d").read_text(encoding="utf-8").replace("\\\n", " ")
        return {Path(os.path.normpath(WORK / name)) for name in listed.split(":", 1)[1].split()}

    def is_current(self):
        try:
            made = self.object.stat().st_mtime
            return all(name.stat().st_mtime <= made for name in self.depends_on())
        except OSError:
            return False

    def includes(self, path):
        return ROOT / path in self.depends_on()


class Program:
    """A test program, linked with the library under test."""

    def __init__(self, source):
        self.name = Path(source).stem
        self.units = [Unit(name) for name in [source] + MORE_SOURCES.get(self.name, [])]
        self.file = WORK / "programs" / self.name
        self.limit = STREAM_TIMEOUT if STREAM_LIBRARY in source else TEST_TIMEOUT
        self.seconds = 0.0

    def link(self, target, objects, library, extra):
        command = ["c++", "-o", str(target), *map(str, objects), str(library), *extra, *LINKED]
        return run(command, COMPILE_TIMEOUT, stderr=None)

    def passes(self, file, library):
        environment = dict(os.environ, LD_LIBRARY_PATH=str(library.parent))
        arguments = ["--gtest_fail_fast", f"--gtest_filter={NO_TESTS}"]
        return run([str(file), *arguments], self.limit, env=environment)


class Subject:
    """The libraries under test, with all that tests them."""

    def __init__(self, libraries, only):
        self.libraries = libraries
        stream = STREAM_LIBRARY in libraries
        linked = MESSAGE_LIBRARIES + ([STREAM_LIBRARY] if stream else [])
        self.extra = ["-lz", "-lzstd"] if stream else []
        self.units = [
            Unit(name) for name in self.sources(linked, "*.cpp") if Path(name).name not in NO_UNITS
        ]
        tests = [f"tests/{library}" for library in libraries]
        self.programs = [
            Program(name)
            for name in self.sources(tests, "*_test.cpp")
            if Path(name).stem not in NO_PROGRAMS
        ]
        self.kills = Counter()
        self.codes = {}  # of the units as they are
        self.mutants = [
            mutant
            for pattern in ("*.h", "*.cpp")
            for path in self.sources(libraries, pattern)
            for mutant in mutants_of(path, (ROOT / path).read_text(encoding="utf-8"))
            if not only or any(part in mutant.name for part in only)
        ]

    @staticmethod
    def sources(folders, pattern):
        found = [path for folder in folders for path in (ROOT / folder).rglob(pattern)]
        return sorted(str(path.relative_to(ROOT)) for path in found)

    # ---- As it is ------------------------------------------------------------------------------

    def build(self, jobs):
        """Compiles what is not current, and makes sure that all tests pass."""
        for folder in ("objects", "programs", "library"):
            (WORK / folder).mkdir(parents=True, exist_ok=True)
        for name, text in PREAMBLES.items():
            preamble = WORK / name
            if preamble.exists() and preamble.read_text(encoding="utf-8") == text:
                continue
            preamble.write_text(text, encoding="utf-8")
            command = TESTED + ["-x", "c++-header", str(preamble), "-o", f"{preamble}.gch"]
            if not run(command, COMPILE_TIMEOUT, stderr=None):
                sys.exit("the preamble does not compile")
        units = self.units + [unit for program in self.programs for unit in program.units]
        with ThreadPoolExecutor(jobs) as pool:
            stale = [unit for unit in units if not unit.is_current()]
            if not all(pool.map(lambda unit: unit.compile(unit.object, stderr=None), stale)):
                sys.exit("the tests do not compile")
            self.library = WORK / "library" / "libsubject.so"
            if not self.link([unit.object for unit in self.units], self.library):
                sys.exit("the library cannot be linked")
            if not all(pool.map(self.build_program, self.programs)):
                sys.exit("the tests must pass without any change")

    def build_program(self, program):
        objects = [unit.object for unit in program.units]
        if not program.link(program.file, objects, self.library, self.extra):
            print(f"{program.name} cannot be linked")
            return False
        began = time.monotonic()
        if not program.passes(program.file, self.library):
            print(f"{program.name} fails without any change")
            return False
        program.seconds = time.monotonic() - began
        return True

    def link(self, objects, target):
        command = ["c++", "-shared", "-Wl,-soname,libsubject.so", "-o", str(target)]
        return run(command + [str(name) for name in objects] + self.extra, COMPILE_TIMEOUT)

    # ---- Changed -------------------------------------------------------------------------------

    def objects(self, units, path, overlay, folder):
        """The objects of units, compiled anew where the change concerns them; None if one cannot."""
        result = []
        for unit in units:
            target = unit.object
            if unit.source == path or unit.includes(path):
                target = folder / unit.object.name
                if not unit.compile(target, overlay):
                    return None
            result.append(target)
        return result

    def order(self, path):
        """The programs, those first that have killed the source's mutants or are named like it."""

        def rank(program):
            alike = program.name.startswith(Path(path).stem)
            return -self.kills[path, program.name], not alike, program.seconds

        return sorted(self.programs, key=rank)

    def judge(self, mutant, folder):
        """'not viable', 'killed', 'same code' or 'survived', and the program that killed it."""
        overlay = folder / "overlay"
        shutil.rmtree(folder, ignore_errors=True)
        changed = overlay / mutant.path
        changed.parent.mkdir(parents=True)
        source = (ROOT / mutant.path).read_text(encoding="utf-8")
        changed.write_text(mutant.apply(source), encoding="utf-8")
        objects = self.objects(self.units, mutant.path, overlay, folder)
        library = folder / "libsubject.so"
        if objects is None or not self.link(objects, library):
            return "not viable", None
        for program in self.order(mutant.path):
            objects = self.objects(program.units, mutant.path, overlay, folder)
            if objects is None:
                return "not viable", None
            file = program.file
            if objects != [unit.object for unit in program.units]:
                file = folder / program.name
                if not program.link(file, objects, library, self.extra):
                    return "not viable", None
            if not program.passes(file, library):
                self.kills[mutant.path, program.name] += 1
                return "killed", program.name
        same = self.same_code(mutant.path, overlay, folder)
        return "same code" if same else "survived", None

    def same_code(self, path, overlay, folder):
        """Whether an optimising compiler does not see the change; for what survived all tests."""
        # What a public header defines is used by others too: all of its functions count, and those
        # of its templates that a test uses, as the test was compiled.
        public = path.endswith(".h") and "/detail/" not in path
        if public:
            users = [unit for program in self.programs for unit in program.units]
            for unit in users:
                changed = folder / unit.object.name
                if changed.exists() and changed.read_bytes() != unit.object.read_bytes():
                    return False
        options = ["-fkeep-inline-functions"] if public else []
        units = [unit for unit in self.units if unit.source == path or unit.includes(path)]
        for unit in units:
            key = unit.source, public
            if key not in self.codes:
                self.codes[key] = unit.code(folder / "original.o", None, *options)
            if unit.code(folder / "changed.o", overlay, *options) != self.codes[key]:
                return False
        return True


def read_survivors():
    """The explained ones: of each block the file, the line, the change; the rest is the reason."""
    explained = {}
    for block in SURVIVORS.read_text(encoding="utf-8").split("\n\n"):
        lines = [line.strip() for line in block.splitlines() if not line.startswith("#")]
        if not lines:
            continue
        if len(lines) < 4:
            sys.exit(f"{SURVIVORS.name}: a block without a reason: {lines}")
        path, line = lines[:2]
        for change in lines[2].split("; "):
            explained[path, line, change] = " ".join(lines[3:])
    return explained


def sample(mutants, arguments):
    """All, or so many of them, or some until the time is over."""
    if arguments.whole:
        yield from mutants
        return
    mutants = list(mutants)
    random.Random(arguments.seed).shuffle(mutants)
    end = time.monotonic() + arguments.seconds
    for mutant in mutants[: arguments.count]:
        if arguments.count is None and time.monotonic() > end:
            return
        yield mutant


def judged(subject, mutants, jobs):
    """(mutant, result, program) of each, several at a time, as they come."""
    lock = threading.Lock()
    found = queue.SimpleQueue()

    def work(number):
        try:
            while True:
                with lock:
                    mutant = next(mutants, None)
                if mutant is None:
                    break
                found.put((mutant, *subject.judge(mutant, WORK / f"mutant{number}")))
        finally:
            found.put(None)

    with ThreadPoolExecutor(jobs) as pool:
        workers = [pool.submit(work, number) for number in range(jobs)]
        for _ in workers:
            yield from iter(found.get, None)
        for worker in workers:
            worker.result()


def report(results, total):
    """Prints a line per source and one for all; returns how many count, and how many are killed."""
    print(f"{'':40}{'mutants':>8}{'invalid':>8}{'same':>8}{'viable':>8}{'killed':>8}{'share':>8}")
    rows = {}
    for mutant, result in results:
        rows.setdefault(mutant.path, Counter())[result] += 1
    rows = dict(sorted(rows.items()))
    rows["all"] = sum(rows.values(), Counter())
    for path, counts in rows.items():
        killed = counts["killed"]
        viable = killed + counts["survived"]
        share = killed / viable if viable else 1
        left_out = f"{counts['not viable']:8}{counts['same code']:8}"
        print(f"{path:40}{sum(counts.values()):8}{left_out}{viable:8}{killed:8}{share:8.1%}")
    print(f"{len(results)} of {total} mutants tried")
    return viable, killed


def too_few(viable, killed, everything):
    return killed < MUST_KILL * viable and (everything or viable >= FEW)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--seconds", type=int, default=240, help="time for a sample (240)")
    parser.add_argument("--whole", action="store_true", help="every mutant, however long it takes")
    parser.add_argument("--seed", type=int, default=1, help="which sample (1)")
    parser.add_argument("--count", type=int, help="so many, however long it takes")
    cores = os.cpu_count() or 1
    parser.add_argument("--jobs", type=int, default=cores, help=f"mutants at a time ({cores})")
    parser.add_argument("--library", choices=[STREAM_LIBRARY], help="this one instead")
    parser.add_argument("--only", action="append", metavar="PART", help="those with this in their name")
    parser.add_argument("--list", action="store_true", help="name the mutants and do nothing")
    arguments = parser.parse_args()

    libraries = [arguments.library] if arguments.library else MESSAGE_LIBRARIES
    subject = Subject(libraries, arguments.only)
    if arguments.list:
        for mutant in subject.mutants:
            print(mutant.name)
        return 0
    explained = read_survivors()
    subject.build(arguments.jobs)

    results, wrong = [], []
    mutants = sample(subject.mutants, arguments)
    for mutant, result, program in judged(subject, mutants, arguments.jobs):
        results.append((mutant, result))
        if result == "survived" and mutant.key not in explained:
            wrong.append(f"survived: {mutant.name}")
            print(wrong[-1], flush=True)
        elif result == "killed" and mutant.key in explained:
            wrong.append(f"killed by {program}, but explained: {' | '.join(mutant.key)}")
            print(wrong[-1], flush=True)
    existing = {mutant.key for mutant in subject.mutants}
    for key in explained:
        if key not in existing and key[0].startswith(tuple(libraries)) and not arguments.only:
            wrong.append(f"explained, but no mutant: {' | '.join(key)}")
            print(wrong[-1])
    if not results:
        sys.exit("no mutant was tried")
    viable, killed = report(results, len(subject.mutants))
    failed = too_few(viable, killed, arguments.whole and not arguments.only)
    if failed:
        print(f"fewer than {MUST_KILL:.0%} are killed", file=sys.stderr)
    if wrong:
        print(f"{len(wrong)} survivors are not as survivors.txt says", file=sys.stderr)
    return 1 if wrong or failed else 0


if __name__ == "__main__":
    sys.exit(main())
