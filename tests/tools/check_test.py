"""The verb check: every oddity with its offset, and a verdict."""

import json
import os
import stat

from support import BEGIN, CAN, SECOND, STARTUP, Case, drive, record

DAY = 86400 * SECOND


class Findings(Case):
    def check(self, *pieces, expect, options=()):
        self.write("a.vkt", *pieces)
        return self.run_program("check", *options, "a.vkt", expect=expect).lines

    def test_a_whole_trace_is_said_to_be_whole_and_nothing_else(self):
        self.assertEqual(self.check(*drive(4), expect=0), ["a.vkt: whole: 4 records, 88 bytes"])

    def test_a_gap(self):
        self.assertEqual(
            self.check(*drive(1), b"\x00" * 40, *drive(1), expect=3),
            [
                "a.vkt: byte 16: gap of 40 bytes: filler",
                "a.vkt: damaged: 2 records, 72 bytes: 1 gap (40 bytes)",
            ],
        )

    def test_a_truncated_end(self):
        lines = self.check(*drive(2), drive(1)[0][:-1], expect=3)
        self.assertEqual(lines[0], "a.vkt: byte 36: gap of 15 bytes: truncated record")

    def test_a_record_that_its_class_refuses(self):
        lines = self.check(*drive(1), record(STARTUP, BEGIN + SECOND, b"x"), expect=3)
        self.assertEqual(
            lines[0],
            "a.vkt: byte 16: record of 17 bytes: 0x0085 (STARTUP) is not decodable: invalid length",
        )
        self.assertEqual(
            lines[1], "a.vkt: damaged: 2 records, 33 bytes: 1 record refused by its decoder"
        )

    def test_time_that_goes_back_is_told_and_damages_nothing(self):
        lines = self.check(*[record(CAN, BEGIN + t) for t in (5, 3)], expect=0)
        self.assertEqual(
            lines[0], "a.vkt: byte 16: record of 16 bytes: time goes back by 0.000002 s"
        )
        self.assertIn("whole", lines[1])

    def test_a_leap_of_more_than_a_day_is_told_and_damages_nothing(self):
        stamps = (BEGIN, BEGIN + DAY, BEGIN + 2 * DAY + 1)
        lines = self.check(*[record(CAN, t) for t in stamps], expect=0)
        self.assertEqual(len(lines), 2)
        self.assertEqual(
            lines[0],
            "a.vkt: byte 32: record of 16 bytes: time leaps ahead by 1 d 0 h 0 min 0.000001 s",
        )

    def test_a_record_that_can_be_read_in_two_ways(self):
        outer = record(CAN, BEGIN, b"".join(drive(3)))
        lines = self.check(outer, *drive(2), expect=0)
        self.assertIn("a.vkt: byte 0: record of ", lines[0])
        self.assertIn("can be read as one record", lines[0])
        lines = self.check(outer, *drive(2), expect=3, options=["--prefer-chain"])
        self.assertIn("a.vkt: byte 0: gap of 16 bytes: ", "\n".join(lines))

    def test_several_traces_have_a_verdict_each(self):
        self.write("a.vkt", *drive(1))
        self.write("b.vkt", b"junk")
        lines = self.run_program("check", "a.vkt", "b.vkt", expect=3).lines
        self.assertTrue(lines[0].startswith("a.vkt: whole: "))
        self.assertTrue(lines[-1].startswith("b.vkt: damaged: "))

    def test_nothing_is_written(self):
        self.write("a.vkt", *drive(3), b"junk")
        os.chmod(self.path("a.vkt"), stat.S_IRUSR)
        os.chmod(self.folder, stat.S_IRUSR | stat.S_IXUSR)
        before = os.stat(self.path("a.vkt"))
        self.run_program("check", "a.vkt", expect=3)
        self.assertEqual(self.files(), ["a.vkt"])
        self.assertEqual(os.stat(self.path("a.vkt")).st_mtime_ns, before.st_mtime_ns)
        os.chmod(self.folder, stat.S_IRWXU)


class JsonLines(Case):
    def test_findings_and_the_verdict(self):
        self.write("a.vkt", record(CAN, BEGIN), b"\x00" * 40, record(CAN, BEGIN - 1))
        result = self.run_program("check", "--format=jsonl", "a.vkt", expect=3)
        objects = [json.loads(line) for line in result.lines]
        common = {"schema": "vektrace.check/1", "file": "a.vkt"}
        self.assertEqual(
            objects,
            [
                {**common, "kind": "gap", "offset": 16, "length": 40, "reason": "filler"},
                {
                    **common,
                    "kind": "backward",
                    "offset": 56,
                    "length": 16,
                    "reason": "time goes back by 0.000001 s",
                },
                {
                    **common,
                    "kind": "verdict",
                    "whole": False,
                    "complete": True,
                    "records": 2,
                    "bytes": 72,
                    "gaps": 1,
                    "gap_bytes": 40,
                    "refused": 0,
                    "ambiguous": 0,
                    "backward": 1,
                    "leaps": 0,
                },
            ],
        )
