"""vektrace recover: what is good of a damaged trace, and the account of the rest."""

import gzip
import json
import os
import random
import subprocess
import time

from copying_support import CopyingVerb
from schema_test import validator
from support import BEGIN, CAN, LIN, NAMELESS, PATIENCE, SECOND, Case, drive, record

FILLER = bytes(40)
DAY = 86400 * SECOND


class RecoverTest(CopyingVerb, Case):
    VERB = ("recover",)

    def test_says_what_it_kept(self):
        self.assertEqual(
            self.copy("in.vkt", expect=0).complaint,
            f"vektrace: in.vkt: 200 records, {len(self.TRACE)} bytes recovered; nothing dropped\n",
        )

    def test_copies_the_records_and_nothing_else(self):
        records = drive(30)
        trace = [FILLER, *records[:10], FILLER, *records[10:20], b"\xff" * 300, *records[20:]]
        self.write("bad.vkt", *trace, records[0][:11])
        result = self.copy("bad.vkt", "-o", "out.vkt", expect=3)
        self.assertEqual(self.read("out.vkt"), b"".join(records))
        self.assertEqual(
            result.complaint,
            f"vektrace: bad.vkt: 30 records, {len(b''.join(records))} bytes recovered; "
            "4 gaps, 391 bytes (1 truncated record, 3 filler) dropped\n",
        )

    def test_makes_a_trace_that_is_whole_of_any_bytes(self):
        """Recovering what was recovered changes nothing."""
        dice = random.Random(7)
        for marked in (True, False):
            trace = bytearray(b"".join(drive(500, marked=marked)))
            for _ in range(60):
                trace[dice.randrange(len(trace))] = dice.randrange(256)
            once = self.copy(input=bytes(trace), expect=3)
            self.assertGreater(len(once.out), len(trace) // 4)
            self.assertEqual(self.copy(input=once.out, expect=0).out, once.out)
            self.assertEqual(self.copy("--trust-sizes", input=once.out, expect=0).out, once.out)

    def test_recovers_every_input(self):
        self.write("a.vkt", *drive(3), FILLER)
        self.write("b.vkt", FILLER, *drive(4))
        result = self.copy("a.vkt", "b.vkt", expect=3)
        self.assertEqual(result.out, b"".join(drive(3) + drive(4)))
        self.assertEqual(len(result.complaint.splitlines()), 2)

    def test_makes_an_empty_output_where_nothing_is_good(self):
        self.write("bad.vkt", FILLER)
        self.copy("bad.vkt", "-o", "out.vkt", expect=3)
        self.assertEqual(self.read("out.vkt"), b"")

    def test_keeps_what_can_be_read_of_compressed_input_that_breaks_off(self):
        records = [record(CAN, BEGIN + i, os.urandom(50)) for i in range(2000)]
        self.write("in.gz", gzip.compress(b"".join(records))[:-3000])
        result = self.copy("in.gz", "-o", "out.vkt", "--ledger", "-", expect=1)
        self.assertRegex(result.complaint, r"in.gz: byte \d+: ")
        kept = self.read("out.vkt")
        self.assertGreater(len(kept), 60000)
        self.assertTrue(b"".join(records).startswith(kept))
        self.assertRegex(result.text, r"in.gz: byte \d+: the rest could not be read\n")

    def test_says_that_nothing_could_be_read(self):
        for arguments, name in (((), "standard output"), (("-o", "out.vkt"), "out.vkt")):
            result = self.copy("missing.vkt", *arguments, expect=1)
            self.assertEqual(
                result.complaint,
                "vektrace: missing.vkt: No such file or directory\n"
                f"vektrace: {name}: not written, as nothing could be read\n",
            )
            self.assertEqual(result.out, b"")

    # Records in records

    def test_prefers_the_records_in_a_record_unless_sizes_are_trusted(self):
        inner = drive(3)
        outer = record(LIN, BEGIN, b"head" + b"".join(inner))
        self.write("in.vkt", outer, *drive(2))
        result = self.copy("in.vkt", expect=3)
        self.assertEqual(result.out, b"".join(inner + drive(2)))
        self.assertIn("; 1 ambiguous; 1 gap, 20 bytes (1 size spans whole", result.complaint)
        result = self.copy("in.vkt", "--trust-sizes", expect=0)
        self.assertEqual(result.out, outer + b"".join(drive(2)))
        self.assertIn("; 1 ambiguous; nothing dropped", result.complaint)

    # Reading again

    def test_leaves_no_file_that_does_not_read_as_it_was_written(self):
        """Unknown identifiers without markers, believed by the times beside them."""
        for name, begin in (("a.vkt", BEGIN), ("b.vkt", BEGIN + 100 * DAY)):
            self.write(name, *drive(5, begin=begin, identifier=NAMELESS, marked=False))
            self.copy(name, expect=0)
        result = self.copy("a.vkt", "b.vkt", "-o", "out.vkt", expect=1)
        self.assertIn("out.vkt: does not read as", result.complaint)
        self.assertEqual(self.files(), ["a.vkt", "b.vkt", "in.vkt"])
        result = self.copy("a.vkt", "b.vkt", expect=1)
        self.assertIn("standard output: does not read as", result.complaint)

    def test_leaves_no_file_that_has_changed_on_its_storage(self):
        process = self.start(
            *self.VERB, "-o", "out.vkt", stdin=subprocess.PIPE, stderr=subprocess.PIPE
        )
        process.stdin.write(b"".join(drive(100000)))
        process.stdin.flush()
        self.wait_for_file()
        hidden = self.path(next(name for name in self.files() if name != "in.vkt"))
        end = time.monotonic() + PATIENCE
        while os.path.getsize(hidden) < 100:
            self.assertLess(time.monotonic(), end, "nothing is written")
            time.sleep(0.01)
        with open(hidden, "r+b") as file:
            file.seek(50)
            file.write(b"\x99")
        result = self.finish(process)
        self.assertEqual(result.status, 1)
        self.assertIn("out.vkt: does not read as", result.complaint)
        self.assertEqual(self.files(), ["in.vkt"])

    def test_refuses_to_mix_records_with_and_without_markers(self):
        self.write("b.vkt", *drive(3, marked=False))
        result = self.copy("in.vkt", "b.vkt", "-o", "out.vkt", expect=1)
        self.assertIn("b.vkt: byte 0: has no sync markers", result.complaint)
        self.assertEqual(self.files(), ["b.vkt", "in.vkt"])


class RecoverLedgerAndOutputTest(Case):
    def run_until(self, appears):
        """The run, beside which a file appears that it wanted to make; the files that are there then."""
        process = self.start(
            *("recover", "-o", "out", "--ledger", "ledger"),
            stdin=subprocess.PIPE,
            stderr=subprocess.PIPE,
        )
        process.stdin.write(b"".join(drive(9)))
        process.stdin.flush()
        end = time.monotonic() + PATIENCE
        while len(self.files()) < 2:
            self.assertLess(time.monotonic(), end, "no outputs were begun")
            time.sleep(0.01)
        self.write(appears, b"old")
        out, err = process.communicate(timeout=PATIENCE)
        self.assertEqual(process.returncode, 1, err)
        self.assertEqual(self.read(appears), b"old")
        return err.decode(), self.files()

    def test_an_output_that_fails_is_told_beside_the_ledger_that_is_there(self):
        complaint, files = self.run_until("out")
        self.assertIn("vektrace: ledger: is whole, but out is not written\n", complaint)
        self.assertRegex(complaint, r"vektrace: out: .*exists")
        self.assertEqual(files, ["ledger", "out"])
        self.assertNotEqual(self.read("ledger"), b"")

    def test_an_empty_name_is_none_for_the_ledger_either(self):
        self.write("in.vkt", *drive(3))
        for arguments in (["recover", "in.vkt"], ["damage", "--cut", "3", "in.vkt"]):
            result = self.run_program(*arguments, "-o", "out.vkt", "--ledger", "", expect=1)
            self.assertEqual(result.complaint, "vektrace: : No such file or directory\n")
            self.assertEqual(self.files(), ["in.vkt"])

    def test_no_output_is_there_without_its_ledger(self):
        complaint, files = self.run_until("ledger")
        self.assertRegex(complaint, r"vektrace: ledger: .*exists")
        self.assertNotIn("is whole", complaint)
        self.assertEqual(files, ["ledger"])


class RecoverLedgerTest(Case):
    def setUp(self):
        super().setUp()
        self.records = drive(6, identifier=CAN)
        # A gap that is longer than any span of it.
        self.long = b"\xff" * 300000
        self.write("in.vkt", *self.records[:3], self.long, *self.records[3:], self.records[0][:9])
        self.good = len(b"".join(self.records))
        self.begin = len(b"".join(self.records[:3]))

    def recover(self, *arguments, **how):
        return self.run_program("recover", "in.vkt", *arguments, **how)

    def test_lists_what_was_dropped(self):
        self.recover("-o", "out.vkt", "--ledger", "ledger.txt", expect=3)
        self.assertEqual(
            self.read("ledger.txt").decode(),
            f"in.vkt: byte {self.begin}: 300000 bytes dropped: filler\n"
            f"in.vkt: byte {self.good + 300000}: 9 bytes dropped: truncated record\n"
            f"in all: 6 records, {self.good} bytes kept; 2 gaps, 300009 bytes (1 truncated record, "
            "1 filler) dropped; 0 ambiguous\n",
        )

    def test_lists_it_as_json_lines(self):
        self.recover("-o", "out.vkt", "--ledger", "l", "--ledger-format", "json", expect=3)
        lines = [json.loads(line) for line in self.read("l").splitlines()]
        schema = {"schema": "vektrace.ledger/1"}
        dropped = {**schema, "kind": "dropped", "file": "in.vkt", "ambiguous": False}
        self.assertEqual(
            lines,
            [
                {**dropped, "offset": self.begin, "length": 300000, "reason": "filler"},
                {
                    **dropped,
                    "offset": self.good + 300000,
                    "length": 9,
                    "reason": "truncated record",
                },
                {
                    **schema,
                    "kind": "total",
                    "records": 6,
                    "record_bytes": self.good,
                    "gaps": 2,
                    "gap_bytes": 300009,
                    "ambiguous": 0,
                    "reasons": [
                        {"reason": "truncated record", "gaps": 1, "bytes": 9},
                        {"reason": "filler", "gaps": 1, "bytes": 300000},
                    ],
                },
            ],
        )

    def test_is_what_its_schema_says(self):
        outer = record(LIN, BEGIN, b"head" + b"".join(drive(3)))
        packed = gzip.compress(b"".join(record(CAN, BEGIN, os.urandom(50)) for _ in range(999)))
        self.write("in.vkt", outer, FILLER, *drive(2))
        self.write("in.gz", packed[:-3000])
        judge = validator("vektrace.ledger.1")
        kinds = set()
        for rule in ((), ("--trust-sizes",)):
            result = self.recover(
                *("in.gz", "-fo", "out.vkt", "--ledger=-", "--ledger-format=json"), *rule, expect=1
            )
            for line in result.lines:
                entry = json.loads(line)
                judge.validate(entry)
                self.assertFalse(judge.is_valid({**entry, "unknown": 1}))
                for member in entry:
                    lessened = {k: v for k, v in entry.items() if k != member}
                    self.assertFalse(judge.is_valid(lessened), lessened)
                kinds.add(entry["kind"])
        self.assertEqual(kinds, {"dropped", "ambiguous", "unread", "total"})

    def test_names_standard_input(self):
        trace = b"".join(drive(2)) + FILLER
        to_file = ("-fo", "out.vkt", "--ledger=-", "--ledger-format")
        for word, name in (("text", "standard input: "), ("json", '"file":"-"')):
            result = self.run_program("recover", *to_file, word, input=trace, expect=3)
            self.assertIn(name, result.text)

    def test_accounts_for_every_byte_of_any_input(self):
        dice = random.Random(3)
        trace = bytearray(b"".join(drive(2000)))
        for _ in range(200):
            trace[dice.randrange(len(trace))] = dice.randrange(256)
        self.write("in.vkt", trace)
        kept = self.recover("--ledger", "l", "--ledger-format", "json", expect=3).out
        lines = [json.loads(line) for line in self.read("l").splitlines()]
        rest = bytearray(trace)
        for line in reversed(lines[:-1]):
            self.assertEqual(line["kind"], "dropped")
            del rest[line["offset"] : line["offset"] + line["length"]]
        self.assertEqual(bytes(rest), kept)
        self.assertEqual(lines[-1]["gap_bytes"] + lines[-1]["record_bytes"], len(trace))

    def test_goes_to_standard_output_beside_a_file(self):
        result = self.recover("-o", "out.vkt", "--ledger", "-", expect=3)
        self.assertEqual(len(result.lines), 3)
        shown = self.run_on_terminal(
            "recover", "in.vkt", "-fo", "out.vkt", "--ledger", "-", terminals=(1,), expect=3
        )
        self.assertIn(b"in all: 6 records", shown.out)

    def test_is_refused_where_the_output_or_an_input_is(self):
        for arguments in (
            ("--ledger", "-"),
            ("-o", "out.vkt", "--ledger", "out.vkt"),
            ("-o", "out.vkt", "--ledger", "./out.vkt", "--force"),
        ):
            result = self.recover(*arguments, expect=2)
            self.assertIn("--output and --ledger are the same", result.complaint)
        os.symlink("out.vkt", self.path("link"))
        os.symlink("link", self.path("second"))
        for arguments in (("-o", "out.vkt", "--ledger", "second"), ("-o", "link", "--ledger", "out.vkt")):
            result = self.recover(*arguments, "--force", expect=2)
            self.assertIn("--output and --ledger are the same", result.complaint)
        for link in ("link", "second"):
            os.unlink(self.path(link))
        result = self.recover("-o", "out.vkt", "-f", "--ledger", "in.vkt", expect=1)
        self.assertIn("in.vkt: is also an input", result.complaint)
        self.assertEqual(self.files(), ["in.vkt"])

    def test_is_refused_where_standard_output_was_redirected_to(self):
        for arguments in (("--ledger", "out"), ("-o", "out", "--ledger", "-"), ("--ledger", "/dev/stdout")):
            with open(self.path("out"), "wb") as out:
                process = self.start(
                    "recover", "in.vkt", "--force", *arguments, stdout=out, stderr=subprocess.PIPE
                )
                err = process.communicate(timeout=PATIENCE)[1]
            self.assertEqual(process.returncode, 2, err)
            self.assertIn(b"--output and --ledger are the same", err)
            self.assertEqual(self.read("out"), b"")
        piped = self.recover("--force", "--ledger", "/dev/stdout", expect=2)
        self.assertEqual(piped.out, b"")

    def test_is_not_written_over_a_file_without_force(self):
        self.write("l", b"old")
        self.recover("-o", "out.vkt", "--ledger", "l", expect=1)
        self.assertEqual(self.read("l"), b"old")
        self.assertEqual(self.files(), ["in.vkt", "l"])
        self.recover("-o", "out.vkt", "--ledger", "l", "--force", expect=3)
        self.assertNotEqual(self.read("l"), b"old")

    def test_is_not_left_without_the_output(self):
        os.remove(self.path("in.vkt"))
        self.recover("-o", "out.vkt", "--ledger", "l", expect=1)
        self.assertEqual(self.files(), [])
