"""What holds of every verb that copies records into one output."""

import gzip
import os
import resource
import signal
import subprocess
import time

from support import PATIENCE, drive


def limit_file_size(length):
    """For preexec_fn: no file of the run grows beyond so many bytes."""
    return lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (length, length))


class CopyingVerb:
    """Tests for a Case whose VERB is given; TRACE is copied as it is."""

    VERB = ()
    TRACE = b"".join(drive(200))

    def setUp(self):
        super().setUp()
        self.write("in.vkt", self.TRACE)

    def copy(self, *arguments, **how):
        return self.run_program(*self.VERB, *arguments, **how)

    def wait_for_file(self):
        """Until there is one more than the input."""
        end = time.monotonic() + PATIENCE
        while self.files() == ["in.vkt"]:
            self.assertLess(time.monotonic(), end, "no output was begun")
            time.sleep(0.01)

    # What goes where

    def test_writes_to_standard_output_and_into_files_alike(self):
        self.assertEqual(self.copy("in.vkt", expect=0).out, self.TRACE)
        self.assertEqual(self.copy("in.vkt", "-o", "-", expect=0).out, self.TRACE)
        self.assertEqual(self.copy("in.vkt", "-o", "out.vkt", expect=0).out, b"")
        self.assertEqual(self.read("out.vkt"), self.TRACE)

    def test_reads_standard_input(self):
        self.assertEqual(self.copy(input=self.TRACE, expect=0).out, self.TRACE)
        self.assertEqual(self.copy("-", input=self.TRACE, expect=0).out, self.TRACE)

    def test_reads_compressed_input(self):
        self.write("in.gz", gzip.compress(self.TRACE))
        self.assertEqual(self.copy("in.gz", expect=0).out, self.TRACE)

    def test_makes_an_empty_output_of_an_empty_input(self):
        self.write("empty.vkt")
        self.copy("empty.vkt", "-o", "out.vkt", expect=0)
        self.assertEqual(self.read("out.vkt"), b"")

    def test_prints_its_help_when_there_is_a_terminal_instead_of_an_input(self):
        result = self.run_on_terminal(*self.VERB, terminals=(0,), expect=2)
        self.assertEqual(result.out, b"")
        self.assertIn(b"--output", result.err)

    # Refusals

    def test_refuses_a_file_that_exists(self):
        self.write("out.vkt", b"old")
        result = self.copy("in.vkt", "-o", "out.vkt", expect=1)
        self.assertEqual(result.complaint, "vektrace: out.vkt: exists; --force replaces it\n")
        self.assertEqual(self.read("out.vkt"), b"old")

    def test_replaces_a_file_by_force(self):
        self.write("out.vkt", b"old")
        self.copy("in.vkt", "-o", "out.vkt", "--force", expect=0)
        self.assertEqual(self.read("out.vkt"), self.TRACE)
        self.assertEqual(self.files(), ["in.vkt", "out.vkt"])

    def test_refuses_an_output_that_is_an_input_under_whatever_name(self):
        os.link(self.path("in.vkt"), self.path("hard.vkt"))
        os.symlink("in.vkt", self.path("soft.vkt"))
        for name in ("in.vkt", "./in.vkt", "hard.vkt", "soft.vkt"):
            result = self.copy("in.vkt", "-o", name, "--force", expect=1)
            self.assertIn(name + ": is also an input", result.complaint)
            self.assertEqual(self.read("in.vkt"), self.TRACE)

    def test_refuses_streams_that_are_an_input(self):
        with open(self.path("in.vkt"), "r+b") as both:
            appended = self.start(*self.VERB, "in.vkt", stdout=both, stderr=subprocess.PIPE)
            self.assertEqual(self.finish(appended).status, 1)
            piped = self.start(
                *self.VERB, "-o", "in.vkt", "-f", stdin=both, stderr=subprocess.PIPE
            )
            self.assertEqual(self.finish(piped).status, 1)
        self.assertEqual(self.read("in.vkt"), self.TRACE)

    def test_refuses_to_write_bytes_to_a_terminal(self):
        result = self.run_on_terminal(*self.VERB, "in.vkt", terminals=(1,), expect=1)
        self.assertEqual(result.out, b"")
        self.assertIn(b"is a terminal", result.err)

    def test_writes_bytes_to_a_terminal_by_force(self):
        self.write("short.vkt", *drive(2))
        result = self.run_on_terminal(*self.VERB, "short.vkt", "-f", terminals=(1,), expect=0)
        self.assertIn(b"\x55\xaa", result.out)

    # Failures

    def test_leaves_no_file_when_there_is_no_input(self):
        result = self.copy("missing.vkt", "-o", "out.vkt", expect=1)
        self.assertIn("missing.vkt: No such file", result.complaint)
        self.assertEqual(self.files(), ["in.vkt"])

    def test_leaves_no_file_of_an_input_that_cannot_be_read(self):
        os.mkdir(self.path("folder"))
        result = self.copy("folder", "-o", "out.vkt", expect=1)
        self.assertIn("folder: Is a directory", result.complaint)
        self.assertEqual(self.files(), ["folder", "in.vkt"])

    def test_goes_on_after_an_input_that_is_not_there(self):
        result = self.copy("missing.vkt", "in.vkt", "-o", "out.vkt", expect=1)
        self.assertIn("missing.vkt: No such file", result.complaint)
        self.assertEqual(self.read("out.vkt"), self.TRACE)

    def test_leaves_no_file_on_a_full_disk(self):
        process = self.start(
            *self.VERB,
            "in.vkt",
            "-o",
            "out.vkt",
            stderr=subprocess.PIPE,
            preexec_fn=limit_file_size(1000),
        )
        result = self.finish(process)
        self.assertEqual(result.status, 1)
        self.assertIn("out.vkt: byte 1000: File too large", result.complaint)
        self.assertEqual(self.files(), ["in.vkt"])

    def test_keeps_the_old_file_on_a_full_disk(self):
        self.write("out.vkt", b"old")
        process = self.start(
            *self.VERB,
            "in.vkt",
            "-fo",
            "out.vkt",
            stderr=subprocess.PIPE,
            preexec_fn=limit_file_size(1000),
        )
        self.assertEqual(self.finish(process).status, 1)
        self.assertEqual(self.read("out.vkt"), b"old")
        self.assertEqual(self.files(), ["in.vkt", "out.vkt"])

    def test_says_that_a_device_is_full(self):
        result = self.copy("in.vkt", "-o", "/dev/full", expect=1)
        self.assertIn("/dev/full: byte 0: No space left on device", result.complaint)
        with open("/dev/full", "wb") as full:
            process = self.start(*self.VERB, "in.vkt", stdout=full, stderr=subprocess.PIPE)
            result = self.finish(process)
        self.assertEqual(result.status, 1)
        self.assertIn("standard output: byte 0: No space left on device", result.complaint)

    def test_ends_quietly_when_nobody_reads_on(self):
        self.write("long.vkt", *drive(50000))
        process = self.start(
            *self.VERB, "long.vkt", stdout=subprocess.PIPE, stderr=subprocess.PIPE
        )
        self.assertEqual(len(process.stdout.read(100)), 100)
        process.stdout.close()
        self.assertEqual(process.stderr.read(), b"")
        process.stderr.close()
        self.assertEqual(process.wait(timeout=PATIENCE), 0)

    def test_leaves_no_file_when_it_is_interrupted(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            process = self.start(
                *self.VERB, "-o", "out.vkt", stdin=subprocess.PIPE, stderr=subprocess.PIPE
            )
            process.stdin.write(self.TRACE)
            process.stdin.flush()
            self.wait_for_file()
            process.send_signal(number)
            # Standard input is still open, so that nothing but the signal ends the run.
            self.assertEqual(process.wait(timeout=PATIENCE), 128 + number)
            process.stdin.close()
            process.stderr.close()
            self.assertEqual(self.files(), ["in.vkt"])
