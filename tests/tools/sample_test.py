"""The verb sample: what it makes is the same everywhere, and a trace that the program reads."""

import hashlib
import json
import signal
import subprocess

from support import Case, PATIENCE


class Bytes(Case):
    def test_a_seed_makes_the_same_bytes_on_every_machine(self):
        trace = self.run_program("sample", "--seed", "1", "--length", "2s", expect=0).out
        self.assertEqual(
            hashlib.sha256(trace).hexdigest(),
            "65b7afbe85bf8986b57dc9a4dd5f85eda18a88be83a6cca95c62169fb35fd1e6",
        )

    def test_another_seed_makes_another_drive(self):
        one = self.run_program("sample", "--seed", "1", "--length", "1s", expect=0).out
        two = self.run_program("sample", "--seed", "2", "--length", "1s", expect=0).out
        self.assertNotEqual(one, two)

    def test_a_size_is_kept_to_the_byte(self):
        for size, length in (("1024", 1024), ("1k", 1024), ("1.5k", 1536), ("123457", 123457)):
            with self.subTest(size=size):
                trace = self.run_program("sample", "--size", size, expect=0).out
                self.assertEqual(len(trace), length)

    def test_the_size_is_kept_without_markers_too(self):
        trace = self.run_program("sample", "--size", "50001", "--unmarked", expect=0).out
        self.assertEqual(len(trace), 50001)
        self.assertNotEqual(trace[:2], b"\x55\xaa")

    def test_the_drive_begins_when_it_is_told_to(self):
        trace = self.run_program("sample", "--length", "1s", "--start", "@5.5", expect=0).out
        self.assertEqual(int.from_bytes(trace[8:16], "big"), 5_500_000)


class Reading(Case):
    def records(self, *arguments):
        """Its records as `dump` tells them."""
        trace = self.run_program("sample", *arguments, expect=0).out
        dump = self.run_program("dump", "--format", "jsonl", input=trace, expect=3)
        return [json.loads(line) for line in dump.lines]

    def test_every_byte_belongs_to_a_record(self):
        for framing in ([], ["--unmarked"]):
            with self.subTest(framing=framing):
                records = self.records("--length", "3s", *framing)
                self.assertFalse([r for r in records if r.get("kind") == "gap"])

    def test_it_begins_with_startup_and_ends_with_shutdown(self):
        names = [r.get("name") for r in self.records("--length", "2s")]
        self.assertEqual(names[:2], ["STARTUP", "DATALOGGINGSTARTED"])
        self.assertEqual(names[-2:], ["DATALOGGINGSTOPPED", "SHUTDOWN"])

    def test_it_begins_at_the_time_that_the_help_names(self):
        self.assertEqual(self.records("--length", "1s")[0]["time"], "2026-01-01T08:00:00.000000Z")


class Usage(Case):
    def refused(self, *arguments):
        result = self.run_program("sample", *arguments, expect=2)
        self.assertEqual(result.out, b"")
        return result.complaint

    def test_what_is_too_short_is_refused(self):
        self.assertIn("at least 1 s", self.refused("--length", "999ms"))
        self.assertIn("1024 bytes", self.refused("--size", "1023"))
        self.assertIn("'0' is no size", self.refused("--size", "0"))

    def test_amounts_that_are_none_are_refused(self):
        self.assertIn("'long' is no duration", self.refused("--length", "long"))
        self.assertIn("'1kb' is no size", self.refused("--size", "1kb"))
        self.assertIn("'noon' is no time", self.refused("--start", "noon"))
        self.assertIn("no record before", self.refused("--start", "+1s"))
        self.assertIn("'-1' is no whole number", self.refused("--seed=-1"))

    def test_a_drive_has_a_length_or_a_size(self):
        self.assertIn("--size", self.refused("--length", "1s", "--size", "5000"))

    def test_times_that_no_trace_can_tell_are_refused(self):
        self.assertIn("later than", self.refused("--start", "@18446744073709"))
        self.assertIn("later than", self.refused("--length", "5000000000h"))


class Output(Case):
    def test_a_file_is_written_as_a_whole(self):
        self.run_program("sample", "--length", "1s", "-o", "drive.vkt", expect=0)
        self.assertEqual(self.files(), ["drive.vkt"])
        out = self.run_program("sample", "--length", "1s", expect=0).out
        self.assertEqual(self.read("drive.vkt"), out)

    def test_an_existing_file_is_refused_without_force(self):
        self.write("drive.vkt", b"precious")
        result = self.run_program("sample", "-o", "drive.vkt", expect=1)
        self.assertIn("drive.vkt: exists", result.complaint)
        self.assertEqual(self.read("drive.vkt"), b"precious")
        self.run_program("sample", "--length", "1s", "-o", "drive.vkt", "--force", expect=0)
        self.assertNotEqual(self.read("drive.vkt"), b"precious")

    def test_a_terminal_is_refused(self):
        result = self.run_on_terminal("sample", terminals=(1,), expect=1)
        self.assertIn("is a terminal", result.complaint)

    def test_a_closed_pipe_ends_it_quietly(self):
        process = self.start(
            "sample", "--size", "1G", stdout=subprocess.PIPE, stderr=subprocess.PIPE
        )
        process.stdout.read(1000)
        process.stdout.close()
        err = process.stderr.read()
        process.stderr.close()
        self.assertEqual(process.wait(PATIENCE), 0)
        self.assertEqual(err, b"")

    def test_an_interrupted_drive_leaves_no_file(self):
        process = self.start(
            "sample", "--size", "100G", "-o", "drive.vkt", "--progress", "always",
            stderr=subprocess.PIPE,
        )
        process.stderr.read(1)  # it is at work
        self.assertEqual(self.interrupt(process, signal.SIGTERM).status, 128 + signal.SIGTERM)
        self.assertEqual(self.files(), [])

    def test_a_full_device_is_an_error(self):
        with open("/dev/full", "wb") as full:
            process = self.start("sample", stdout=full, stderr=subprocess.PIPE)
            err = process.communicate(timeout=PATIENCE)[1]
        self.assertEqual(process.returncode, 1)
        self.assertIn(b"standard output: byte 0: No space left on device", err)
