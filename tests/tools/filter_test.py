"""vektrace filter: which records are copied, and what becomes of everything else."""

import gzip
import os
import random
import subprocess

from copying_support import CopyingVerb
from support import BEGIN, CAN, LIN, NAMELESS, PATIENCE, SECOND, STARTUP, Case, drive, record

# As a storage holds that was never written: what stands before and behind is read well.
JUNK = bytes(40)
HOUR = 3600 * SECOND


class FilterWithoutConditionTest(CopyingVerb, Case):
    """Without a condition everything is copied, whatever it is."""

    VERB = ("filter",)

    def test_copies_damage_and_says_so(self):
        trace = self.TRACE[:1000] + JUNK + self.TRACE[1000:]
        result = self.copy(self.write("bad.vkt", trace), expect=3)
        self.assertEqual(result.out, trace)
        self.assertRegex(
            result.complaint, r"^vektrace: bad.vkt: \d+ gaps?, \d+ bytes \(.*\) copied"
        )

    def test_copies_any_bytes(self):
        trace = random.Random(1).randbytes(300000)
        self.assertEqual(self.copy(self.write("any.vkt", trace), expect=3).out, trace)

    def test_copies_several_inputs_behind_each_other(self):
        unmarked = b"".join(drive(3, marked=False))
        self.write("b.vkt", unmarked)
        result = self.copy("in.vkt", "b.vkt", "in.vkt", expect=0)
        self.assertEqual(result.out, self.TRACE + unmarked + self.TRACE)

    def test_leaves_no_file_of_compressed_input_that_breaks_off(self):
        self.write("in.gz", gzip.compress(self.TRACE)[:-40])
        result = self.copy("in.gz", "-o", "out.vkt", expect=1)
        self.assertRegex(result.complaint, r"in.gz: byte \d+: ")
        self.assertEqual(self.files(), ["in.gz", "in.vkt"])


class FilterWithConditionTest(CopyingVerb, Case):
    """The same with a condition that every record of TRACE meets."""

    VERB = ("filter", "--id", "can")


class FilterByIdentifierTest(Case):
    def setUp(self):
        super().setUp()
        self.records = {
            name: record(number, BEGIN)
            for name, number in (("can", CAN), ("lin", LIN), ("up", STARTUP), ("odd", NAMELESS))
        }
        self.write("in.vkt", *self.records.values())

    def expect_records(self, names, *arguments):
        result = self.run_program("filter", "in.vkt", *arguments, expect=0)
        self.assertEqual(result.out, b"".join(self.records[name] for name in names))

    def test_takes_names_and_numbers(self):
        self.expect_records(["can"], "--id", "CAN")
        self.expect_records(["can"], "--id", "can")
        self.expect_records(["can"], "--id", "1")
        self.expect_records(["odd"], "--id", "0x0AB5")

    def test_takes_lists_and_several_options(self):
        self.expect_records(["can", "odd"], "--id", "CAN,0xab5")
        self.expect_records(["can", "lin", "odd"], "--id", "0xab5,LIN", "--id", "CAN")

    def test_leaves_identifiers_out(self):
        self.expect_records(["lin", "up", "odd"], "--not-id", "CAN")
        self.expect_records(["up"], "--not-id", "CAN,0xab5", "--not-id", "LIN")
        self.expect_records(["lin"], "--id", "CAN,LIN", "--not-id", "CAN")

    def test_takes_what_cannot_be_decoded(self):
        self.expect_records(["can", "lin", "odd"], "--undecodable")
        self.expect_records(["lin"], "--undecodable", "--id", "LIN,STARTUP")

    def test_refuses_what_is_no_identifier(self):
        for text in ("", "NOSUCH", "65536", "-1", "CAN,", ",CAN", "0x"):
            result = self.run_program("filter", "in.vkt", "--id=" + text, expect=2)
            self.assertEqual(result.out, b"")
            self.assertNotEqual(result.err, b"")


class FilterByTimeTest(Case):
    """One record in every second: number 3 has the time BEGIN + 3 s."""

    def setUp(self):
        super().setUp()
        self.records = drive(10)
        self.write("in.vkt", *self.records)

    def expect_records(self, first, behind, *arguments):
        result = self.run_program("filter", "in.vkt", *arguments, expect=0)
        self.assertEqual(result.out, b"".join(self.records[first:behind]))

    def test_takes_the_begin_and_not_the_end_of_a_window(self):
        self.expect_records(3, 7, "--from", "2023-11-14T22:13:23Z", "--to", "2023-11-14T22:13:27Z")
        self.expect_records(4, 8, "--from", "@1700000003.000001", "--to", "@1700000007.000001")

    def test_takes_either_side_alone(self):
        self.expect_records(3, 10, "--from", "@1700000003")
        self.expect_records(0, 7, "--to", "@1700000007")

    def test_counts_from_the_first_record(self):
        self.expect_records(2, 5, "--from", "+1.5s", "--to", "+5s")

    def test_has_no_time_that_is_later_than_any_record_can_be(self):
        last = 2**64 - 1
        records = [record(CAN, last - microseconds) for microseconds in (5, 3, 0)]
        self.write("in.vkt", *records)
        for condition, expected in (("--from", b""), ("--to", b"".join(records))):
            result = self.run_program("filter", "in.vkt", condition, "+1", expect=0)
            self.assertEqual(result.out, expected)

    def test_counts_from_the_first_record_of_the_first_input(self):
        later = self.write("later.vkt", *drive(3, begin=BEGIN + HOUR))
        result = self.run_program("filter", later, "in.vkt", "--from", "+1s", expect=0)
        self.assertEqual(result.out, b"".join(drive(3, begin=BEGIN + HOUR)[1:]))

    def test_counts_from_a_record_that_is_left_out(self):
        self.expect_records(2, 10, "--not-id", "LIN", "--from", "+2s")
        self.write("in.vkt", record(LIN, BEGIN), *self.records[5:])
        self.expect_records(6, 10, "--not-id", "LIN", "--from", "+6s")

    def test_refuses_what_is_no_time(self):
        for text in ("", "soon", "@", "2023-13-01T00:00:00Z"):
            self.run_program("filter", "in.vkt", "--from=" + text, expect=2)


class FilterByNumberTest(Case):
    def setUp(self):
        super().setUp()
        self.records = drive(10)
        self.write("in.vkt", *self.records)

    def expect_records(self, first, behind, *arguments, paths=("in.vkt",), **how):
        result = self.run_program("filter", *paths, *arguments, expect=0, **how)
        self.assertEqual(result.out, b"".join(self.records[first:behind]))

    def test_takes_the_first(self):
        self.expect_records(0, 1, "--first", "1")
        self.expect_records(0, 10, "--first", "10")
        self.expect_records(0, 10, "--first", "11")

    def test_takes_the_last(self):
        self.expect_records(9, 10, "--last", "1")
        self.expect_records(0, 10, "--last", "10")
        self.expect_records(0, 10, "--last", "11")

    def test_takes_the_last_of_a_pipe(self):
        self.expect_records(7, 10, "--last", "3", paths=(), input=b"".join(self.records))

    def test_counts_what_meets_the_other_conditions(self):
        self.expect_records(5, 7, "--from", "+5s", "--first", "2")
        self.expect_records(3, 5, "--to", "+5s", "--last", "2")

    def test_counts_over_all_inputs(self):
        self.write("a.vkt", *self.records[:4])
        self.write("b.vkt", *self.records[4:])
        self.expect_records(0, 6, "--first", "6", paths=("a.vkt", "b.vkt"))
        self.expect_records(2, 10, "--last", "8", paths=("a.vkt", "b.vkt"))

    def test_finds_the_last_of_files_that_do_not_fit_into_memory(self):
        records = [record(CAN, BEGIN + i, bytes([i % 256]) * 60000) for i in range(150)]
        self.write("a.vkt", *records[:100], JUNK)
        self.write("b.vkt", *records[100:])
        self.write("c.gz", gzip.compress(b"".join(records)))
        result = self.run_program("filter", "--last", "120", "a.vkt", "b.vkt", expect=3)
        self.assertEqual(result.out, b"".join(records[30:]))
        self.assertEqual(len(result.complaint.splitlines()), 1, "damage is told once")
        result = self.run_program("filter", "--last", "120", "c.gz", expect=0)
        self.assertEqual(result.out, b"".join(records[30:]))

    def test_takes_all_where_there_are_fewer_also_when_they_do_not_fit_into_memory(self):
        records = [record(CAN, BEGIN + i, bytes([i % 256]) * 60000) for i in range(150)]
        self.write("a.vkt", *records)
        result = self.run_program("filter", "--last", "1000", "a.vkt", expect=0)
        self.assertEqual(result.out, b"".join(records))

    def test_reads_standard_input_once_only(self):
        result = self.run_program("filter", "-", "-", input=b"", expect=2)
        self.assertIn("standard input can be read once only", result.complaint)

    def test_reads_standard_input_again_where_it_is_a_file(self):
        records = [record(CAN, BEGIN + i, bytes([i % 256]) * 65000) for i in range(1100)]
        self.write("a.vkt", b"in front", *records)
        for begin in (0, 8 + len(records[0])):
            with open(self.path("a.vkt"), "rb") as file:
                os.lseek(file.fileno(), begin, os.SEEK_SET)
                process = self.start(
                    "filter", "--last", "1090", stdin=file, stdout=subprocess.PIPE, stderr=subprocess.PIPE
                )
                out, err = process.communicate(timeout=PATIENCE)
            self.assertEqual(process.returncode, 3 if begin == 0 else 0, err)
            self.assertTrue(out == b"".join(records[10:]), len(out))

    def test_refuses_to_keep_too_much_of_a_pipe(self):
        trace = b"".join(record(CAN, BEGIN + i, bytes(65000)) for i in range(1100))
        result = self.run_program("filter", "--last", "1100", input=trace, expect=1)
        self.assertRegex(
            result.complaint, r"standard input: byte \d+: the last records have become"
        )
        self.assertEqual(result.out, b"")

    def test_reads_no_further_than_the_first(self):
        self.write("in.vkt", *self.records[:5], JUNK, *self.records[5:])
        self.expect_records(0, 5, "--first", "5")

    def test_opens_no_input_behind_the_first(self):
        os.mkfifo(self.path("fifo"))  # whoever opens it waits for someone who writes
        for others in (["fifo"], ["missing.vkt"], ["missing.vkt", "fifo"]):
            self.expect_records(0, 10, "--first", "10", paths=["in.vkt"] + others)
        self.write("a.vkt", *self.records[:4])
        self.write("b.vkt", *self.records[4:])
        self.expect_records(0, 6, "--first", "6", paths=("a.vkt", "b.vkt", "fifo"))

    def test_opens_every_input_where_there_are_fewer_than_the_first(self):
        result = self.run_program("filter", "--first", "11", "in.vkt", "missing.vkt", expect=1)
        self.assertEqual(result.out, b"".join(self.records))
        self.assertIn("missing.vkt: No such file", result.complaint)

    def test_tells_of_a_missing_input_in_front_of_the_first(self):
        result = self.run_program("filter", "--first", "1", "missing.vkt", "in.vkt", expect=1)
        self.assertEqual(result.out, self.records[0])
        self.assertIn("missing.vkt: No such file", result.complaint)

    def test_writes_to_no_input_behind_the_first_either(self):
        self.write("b.vkt", b"old")
        result = self.run_program("filter", "--first", "1", "in.vkt", "b.vkt", "-fo", "b.vkt", expect=1)
        self.assertIn("b.vkt: is also an input", result.complaint)
        self.assertEqual(self.read("b.vkt"), b"old")

    def test_refuses_numbers_that_are_none_and_both_at_once(self):
        for arguments in (["--first", "0"], ["--last", "0"], ["--first", "x"], ["--last", "-1"]):
            self.run_program("filter", "in.vkt", *arguments, expect=2)
        self.run_program("filter", "in.vkt", "--first", "1", "--last", "1", expect=2)


class FilterDamageTest(Case):
    def test_drops_gaps_with_a_condition_and_says_so(self):
        records = drive(20)
        self.write("in.vkt", *records[:10], JUNK, *records[10:], records[0][:9])
        result = self.run_program("filter", "in.vkt", "--id", "CAN", expect=3)
        self.assertEqual(result.out, b"".join(records))
        self.assertEqual(
            result.complaint,
            "vektrace: in.vkt: 2 gaps, 49 bytes (1 truncated record, 1 filler) dropped\n",
        )

    def test_tells_of_each_input_by_its_name(self):
        self.write("a.vkt", *drive(3), JUNK)
        self.write("b.vkt", *drive(3))
        self.write("c.vkt", JUNK, *drive(3))
        result = self.run_program("filter", "a.vkt", "b.vkt", "c.vkt", "--id", "CAN", expect=3)
        self.assertEqual(
            [line.split(":")[1] for line in result.complaint.splitlines()], [" a.vkt", " c.vkt"]
        )

    def test_refuses_to_mix_records_with_and_without_markers(self):
        self.write("a.vkt", *drive(3))
        self.write("b.vkt", *drive(3, marked=False))
        for first, second in (("a.vkt", "b.vkt"), ("b.vkt", "a.vkt")):
            result = self.run_program(
                "filter", first, second, "--id", "CAN", "-o", "out.vkt", expect=1
            )
            self.assertIn(second + ": byte 0: has ", result.complaint)
            self.assertEqual(self.files(), ["a.vkt", "b.vkt"])

    def test_says_when_records_without_markers_are_not_told_apart_any_more(self):
        """Records of unknown identifiers are believed by their neighbours' times."""
        records = [record(NAMELESS + i % 2, BEGIN + i * 12 * HOUR, marked=False) for i in range(40)]
        self.write("in.vkt", *records)
        self.run_program("filter", "in.vkt", "--id", "0x0ab5", expect=0)
        result = self.run_program("filter", "in.vkt", "--from", "+0", "--first", "40", expect=0)
        self.assertEqual(result.out, b"".join(records))
        self.write("a.vkt", *records[:5])
        self.write("b.vkt", *records[35:])
        result = self.run_program("filter", "a.vkt", "b.vkt", "--from", "+0", expect=3)
        self.assertEqual(result.out, b"".join(records[:5] + records[35:]))
        self.assertIn("without sync markers", result.complaint)

    def test_prefers_the_chain_where_that_is_asked_for(self):
        inner = drive(3)
        outer = record(LIN, BEGIN, b"".join(inner))
        self.write("in.vkt", outer, *drive(2))
        result = self.run_program("filter", "in.vkt", "--id", "LIN", expect=0)
        self.assertEqual(result.out, outer)
        result = self.run_program("filter", "in.vkt", "--prefer-chain", "--id", "CAN", expect=3)
        self.assertEqual(result.out, b"".join(inner + drive(2)))
