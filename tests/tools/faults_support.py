"""Runs of the program in which chosen system calls fail: see faults/failingCalls.cpp."""

import collections
import errno
import gzip
import os
import random
import re
import shutil
import struct
import subprocess
import tempfile

from support import BEGIN, CAN, LIN, PATIENCE, SECOND, Case, environment, record

FAULTS = os.path.join(os.environ["VEKTRACE_BUILD"], "tests", "tools", "faults", "failing_calls.so")
# So many bytes at most come from one read, so that there are several.
PIECE = 40000
# Of one record, and of the traces' records that are read.
LENGTH = 416
TRACE = b"".join(
    record((CAN, LIN)[i % 2], BEGIN + i * SECOND, struct.pack(">I", i) * 100) for i in range(500)
)
# Fits into a pipe.
FEED = TRACE[: 150 * LENGTH]
DAMAGED = TRACE[: 100 * LENGTH + 50] + TRACE[101 * LENGTH :]
OLD = b"what was there before"
# How a call fails that is not in here: with EIO.
ERRORS = {"write": (errno.ENOSPC, errno.EIO), "close": (errno.EIO, errno.EDQUOT)}
# Calls without which nothing can be right, and those to which a signal that is none for us does nothing.
NEEDED = ("read", "write", "fsync", "rename", "renameat2")
REPEATED = ("read", "write", "fsync", "close", "poll")

Outcome = collections.namedtuple("Outcome", "status out complaint files")
Good = collections.namedtuple("Good", "status out files calls")


def numbers(count):
    """Which of so many calls of a kind, from 1: every one, or of many some from first to last."""
    few = range(1, count + 1)
    return few if count <= 8 else sorted({1, 2, 3, (count + 1) // 2, count - 1, count})


def pipe_with(content):
    """The end to read from of a pipe that holds all of this, so that reads are always the same."""
    reading, writing = os.pipe()
    os.set_blocking(writing, False)
    written = os.write(writing, content)
    os.close(writing)
    assert written == len(content)
    return reading


class FaultCase(Case):
    """Inputs, and runs of which nothing remains."""

    def setUp(self):
        super().setUp()
        aside = tempfile.mkdtemp(prefix="vektrace-test-")
        self.addCleanup(shutil.rmtree, aside)
        self.list = os.path.join(aside, "calls")
        self.spool = os.path.join(aside, "spool")
        os.mkdir(self.spool)
        self.write("in.vkt", TRACE)
        self.write("in.gz", gzip.compress(TRACE))
        self.write("damaged.vkt", DAMAGED)
        self.run_program("export", "in.vkt", "-o", "in.pcap", expect=0)
        self.inputs = self.contents()

    def contents(self):
        return {name: self.read(name) for name in self.files()}

    def attempt(
        self, arguments, old=(), feed=b"", stdin=None, stdout=subprocess.PIPE, **faults
    ):
        """One run beside these files of an earlier one, all of which are taken away again."""
        for name in old:
            self.write(name, OLD)
        plan = {"FAULT_" + key.upper(): str(value) for key, value in faults.items()}
        plan.setdefault("FAULT_READ", str(PIECE))
        env = environment(LD_PRELOAD=FAULTS, TMPDIR=self.spool, **plan)
        fed = pipe_with(feed)
        process = self.start(
            *arguments, env=env, stdin=fed if stdin is None else stdin, stdout=stdout, stderr=subprocess.PIPE
        )
        os.close(fed)
        try:
            out, complaint = process.communicate(timeout=PATIENCE)
        finally:
            process.kill()  # where it hangs
        files = self.contents()
        for name, content in self.inputs.items():
            self.assertEqual(files.pop(name), content)
        for name in files:
            os.remove(self.path(name))
        self.assertEqual(os.listdir(self.spool), [])
        return Outcome(process.returncode, out, complaint.decode(), files)

    def good(self, arguments, status=0, **how):
        """A run in which nothing fails, and the calls that it makes, in their order."""
        outcome = self.attempt(arguments, list=self.list, **how)
        self.assertEqual(outcome.status, status, outcome.complaint)
        with open(self.list, encoding="ascii") as file:
            calls = file.read().split()
        os.remove(self.list)
        return Good(outcome.status, outcome.out, outcome.files, calls)

    def is_whole(self, name, files, good):
        """Whether this file may be there after a failure."""
        return files[name] == good.files[name]

    def check_files(self, good, files, old=()):
        """Nothing is there but what is whole, or was there before, and no output without its ledger."""
        self.assertLessEqual(set(old), set(files))
        for name, content in files.items():
            self.assertIn(name, good.files, "left behind")
            if content != OLD or name not in old:
                self.assertTrue(self.is_whole(name, files, good), name + " is not whole")
        if "out" in files and "ledger" in good.files:
            self.assertIn("ledger", files)

    def check(self, good, outcome, names, fault, old=()):
        """Done as if nothing had failed; or nothing done, and why and with which file was told."""
        self.check_files(good, outcome.files, old)
        if fault["error"] == errno.EINTR and fault["calls"] in REPEATED:
            self.assertEqual(outcome.status, good.status, outcome.complaint)
        elif fault["calls"] in NEEDED:
            self.assertEqual(outcome.status, 1)
        if outcome.status == good.status:
            self.assertEqual(outcome.out, good.out)
            self.assertEqual(outcome.files, good.files)
            return
        self.assertEqual(outcome.status, 1, outcome.complaint)
        reason = ": " + os.strerror(fault["error"])
        told = [line for line in outcome.complaint.splitlines() if line.endswith(reason)]
        self.assertNotEqual(told, [], outcome.complaint)
        if fault["calls"] == "close":
            names += ("standard output",)
        for line in told:
            self.assertIn(line.split(": ")[1], names)
        if fault["calls"] == "read":
            self.assertRegex(told[0], ": byte [0-9]+: ")

    def faults(self, calls):
        """All that may befall a run: which call, which of its kind, and how it fails."""
        for call in sorted(set(calls)):
            for number in numbers(calls.count(call)):
                for error in ERRORS.get(call, (errno.EIO,)):
                    yield {"calls": call, "number": number, "error": error}
                    yield {"calls": call, "number": number, "error": error, "on": ""}
                yield {"calls": call, "number": number, "error": errno.EINTR}

    def check_all(self, arguments, names, old=(), status=0, **how):
        """Every call that the verb makes fails, by itself and with all that follow. `names` are those
        of the files that may be told of."""
        good = self.good(arguments, status=status, old=old, **how)
        for fault in self.faults(good.calls):
            with self.subTest(arguments=arguments, **fault):
                outcome = self.attempt(arguments, old=old, **how, **fault)
                self.check(good, outcome, names, fault, old)


class RecoveringCase(FaultCase):
    """What could be read is recovered: records from the first on, and a ledger that counts them."""

    def is_whole(self, name, files, good):
        if files[name] == good.files[name]:
            return True
        if name == "ledger":
            kept = len(files.get("out", b""))
            return f"in all: {kept // LENGTH} records, {kept} bytes kept" in files[name].decode()
        return len(files[name]) % LENGTH == 0 and good.files[name].startswith(files[name])


class SignalCase(FaultCase):
    """Runs that a signal ends at one of their calls."""

    def moments(self, good, most):
        """Before and after calls, as many as that, or all there are."""
        seeded = random.Random(7)
        every = [
            {"number": number, **after}
            for number in range(1, len(good.calls) + 1)
            for after in ({}, {"after": ""})
        ]
        return seeded.sample(every, min(most, len(every)))

    def end(self, check, arguments, number, most, old=(), **how):
        """Has the outcome of runs that this signal ends checked, beside that of a good one."""
        status = 3 if arguments[0] == "recover" else 0
        good = self.good(arguments, status=status, old=old, **how)
        calls = ",".join(set(good.calls))
        for moment in self.moments(good, most):
            with self.subTest(arguments=arguments, signal=number, **how, **moment):
                fault = {"calls": calls, "signal": int(number), **moment}
                check(good, self.attempt(arguments, old=old, **how, **fault))


def offsets(complaint, name):
    """The byte offsets at which this file is told of."""
    pattern = "^vektrace: " + re.escape(name) + ": byte ([0-9]+): "
    return [int(offset) for offset in re.findall(pattern, complaint, re.MULTILINE)]
