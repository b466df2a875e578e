"""What the tests of the program share: traces put together byte by byte, and runs of the program.

    python3 support.py MODULE.CLASS    runs one group of tests; a group without a test is a failure
"""

import os
import pty
import select
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAM = os.environ.get("VEKTRACE_EMULATOR", "").split() + [os.environ["VEKTRACE"]]
# No run takes nearly so long; one that hangs fails here rather than at the test's own limit.
PATIENCE = 60

with open(os.environ["VEKTRACE"], "rb") as program_file:
    # Sanitizers and emulators do, so nothing can be said about the program's own.
    TAKES_MORE_MEMORY = b"__asan_" in program_file.read() or len(PROGRAM) > 1

MARKER = b"\x55\xaa"
# 2023-11-14 22:13:20 UTC
BEGIN = 1_700_000_000_000_000
SECOND = 1_000_000

# Identifiers: without a class, and one of the ten that the library decodes.
CAN = 0x0001
LIN = 0x0006
STARTUP = 0x0085
NAMELESS = 0x0AB5


def record(identifier, stamp, payload=b"", reserved=0, marked=True, size=None):
    """The bytes of one record; `size` overrides the size field."""
    body = struct.pack(">HHQ", identifier, reserved, stamp) + payload
    field = struct.pack(">H", len(body) if size is None else size)
    return (MARKER if marked else b"") + field + body


def drive(count, begin=BEGIN, step=SECOND, identifier=CAN, marked=True):
    """`count` records with payloads that differ, one every `step` microseconds."""
    return [
        record(identifier, begin + i * step, struct.pack(">I", i) * (i % 4), marked=marked)
        for i in range(count)
    ]


def full_pipe():
    """Both ends of a pipe that holds as much as it can; the one to write to does not wait."""
    reading, writing = os.pipe()
    os.set_blocking(writing, False)
    try:
        while True:
            os.write(writing, bytes(65536))
    except BlockingIOError:
        return open(reading, "rb", buffering=0), open(writing, "wb", buffering=0)


def wait_until_asleep(process):
    """Until it waits for something, or has ended."""
    deadline = time.monotonic() + PATIENCE
    while time.monotonic() < deadline:
        with open("/proc/%d/stat" % process.pid, encoding="utf-8") as file:
            state = file.read().rpartition(")")[2].split()[0]
        if state in "SZ":
            return
        time.sleep(0.01)
    raise TimeoutError("it does not wait")


class Result:
    """How a run ended, and what it said."""

    def __init__(self, status, out, err):
        self.status = status
        self.out = out
        self.err = err

    @property
    def text(self):
        return self.out.decode("utf-8")

    @property
    def lines(self):
        return self.text.splitlines()

    @property
    def complaint(self):
        return self.err.decode("utf-8")


def environment(**changes):
    """The environment of a run: no colours, no locale, no terminal's width from outside."""
    result = {k: v for k, v in os.environ.items() if k not in ("NO_COLOR", "COLUMNS", "LANG")}
    result.update({"TZ": "UTC", "LC_ALL": "C"})
    result.update(changes)
    return result


class Case(unittest.TestCase):
    """A test with a folder of its own, which is the working folder of the runs."""

    maxDiff = None

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="vektrace-test-")
        self.addCleanup(shutil.rmtree, self.folder)

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, *pieces):
        """A file of these pieces; returns its name."""
        with open(self.path(name), "wb") as file:
            file.write(b"".join(pieces))
        return name

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def files(self):
        return sorted(os.listdir(self.folder))

    def start(self, *arguments, env=None, **streams):
        return subprocess.Popen(
            PROGRAM + list(arguments), cwd=self.folder, env=env or environment(), **streams
        )

    def run_program(self, *arguments, input=b"", env=None, expect=None):
        """Runs the program with pipes; fails when the status is not the one to `expect`."""
        process = subprocess.run(
            PROGRAM + list(arguments),
            cwd=self.folder,
            env=env or environment(),
            input=input,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            timeout=PATIENCE,
            check=False,
        )
        result = Result(process.returncode, process.stdout, process.stderr)
        if expect is not None:
            self.assertEqual(result.status, expect, result.complaint)
        return result

    def run_on_terminal(self, *arguments, terminals=(0, 1, 2), input=b"", env=None, expect=None):
        """The same with some of the descriptors 0 to 2 on a terminal; the others are pipes.

        `out` of the result is what the terminal showed when standard output is one, and likewise
        `err`; with both on it everything is in `out`.
        """
        master, slave = pty.openpty()
        pipes = {fd: subprocess.PIPE for fd in (0, 1, 2)}
        streams = {fd: slave if fd in terminals else pipes[fd] for fd in (0, 1, 2)}
        process = self.start(
            *arguments, env=env, stdin=streams[0], stdout=streams[1], stderr=streams[2]
        )
        os.close(slave)
        shown = Terminal(master)
        piped = process.communicate(input if 0 not in terminals else None, timeout=PATIENCE)
        screen = shown.rest()
        out = screen if 1 in terminals else piped[0]
        err = screen if 2 in terminals and 1 not in terminals else (piped[1] or b"")
        result = Result(process.returncode, out, err)
        if expect is not None:
            self.assertEqual(result.status, expect, screen)
        return result

    def finish(self, process, feed=None):
        try:
            out, err = process.communicate(feed, timeout=PATIENCE)
        finally:
            process.kill()  # where it hangs
        return Result(process.returncode, out, err)

    def interrupt(self, process, number=signal.SIGINT):
        """Sends the signal and returns how the run ended."""
        process.send_signal(number)
        return self.finish(process)


class Terminal:
    """Collects what is shown on a terminal while the process that writes there runs."""

    def __init__(self, master):
        self.master = master

    def rest(self):
        """Everything that was shown; for short texts, which the terminal's buffer holds."""
        shown = b""
        while select.select([self.master], [], [], PATIENCE)[0]:
            try:
                piece = os.read(self.master, 65536)
            except OSError:  # the last one who could write is gone
                break
            if not piece:
                break
            shown += piece
        os.close(self.master)
        return shown


def main(name):
    suite = unittest.defaultTestLoader.loadTestsFromName(name)
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    if result.testsRun == 0 or result.skipped:
        print("no test ran, or one was left out: " + name)
        return 1
    return 0 if result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.dont_write_bytecode = True
    sys.exit(main(sys.argv[1]))
