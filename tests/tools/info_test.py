"""The verb info: totals and the table of identifiers."""

import json

from support import BEGIN, CAN, LIN, SECOND, STARTUP, Case, drive, record


class Text(Case):
    def test_totals(self):
        self.write("a.vkt", *drive(4))
        lines = self.run_program("info", "a.vkt", expect=0).lines
        self.assertEqual(lines[0], "a.vkt")
        self.assertEqual(lines[1], "  4 records, 88 bytes, marked")
        self.assertEqual(
            lines[2], "  2023-11-14 22:13:20.000000 to 2023-11-14 22:13:23.000000, 3 s"
        )

    def test_an_empty_trace_has_neither_times_nor_table(self):
        self.write("a.vkt")
        self.assertEqual(
            self.run_program("info", "a.vkt", expect=0).text,
            "a.vkt\n  0 records, 0 bytes, unknown\n",
        )

    def test_damage_by_reason(self):
        self.write("a.vkt", *drive(1), b"\x00" * 40, *drive(2), record(STARTUP, BEGIN, b"x"))
        text = self.run_program("info", "a.vkt", expect=3).text
        self.assertIn("  damage: 1 gap (40 bytes), 1 record refused by its decoder\n", text)
        self.assertIn("    filler: 1 gap (40 bytes)\n", text)

    def test_steps_backwards(self):
        self.write("a.vkt", *[record(CAN, BEGIN + t * SECOND) for t in (5, 3, 9, 8)])
        text = self.run_program("info", "a.vkt", expect=0).text
        self.assertIn("  time goes back: 2 steps, the largest 2 s\n", text)

    def test_what_can_be_read_in_two_ways_may_be_a_record_or_a_gap(self):
        outer = record(CAN, BEGIN, b"".join(drive(3)))
        self.write("a.vkt", outer, *drive(2))
        for rule, status in ((), 0), (("--prefer-chain",), 3):
            text = self.run_program("info", *rule, "a.vkt", expect=status).text
            self.assertIn("  to be read in two ways: 1 place\n", text)

    def test_a_row_per_identifier_by_number(self):
        self.write("a.vkt", *drive(2, identifier=LIN), *drive(3, identifier=CAN), record(0xAB5, BEGIN))
        lines = self.run_program("info", "a.vkt", expect=0).lines
        rows = [line.split()[:2] for line in lines if line.startswith("  0x")]
        self.assertEqual(rows, [["0x0001", "CAN"], ["0x0006", "LIN"], ["0x0ab5", "1"]])

    def test_the_picture_shows_where_the_records_are(self):
        begin = 1 << 50  # where cells begin
        lively = [begin + i for i in range(8)] + [begin + 31 * 1024]
        self.write("a.vkt", *[record(CAN, stamp) for stamp in lively])
        row = self.run_program("info", "a.vkt", expect=0).lines[-1]
        self.assertTrue(row.endswith("█" + " " * 30 + "▁"), row)

    def test_a_steady_rate_is_a_level_line(self):
        begin = 1 << 50
        self.write("a.vkt", *[record(CAN, begin + i) for i in range(32 * 64)])
        row = self.run_program("info", "a.vkt", expect=0).lines[-1]
        self.assertTrue(row.endswith(" " + "█" * 32), row)


class Json(Case):
    def document(self, *arguments, expect=0):
        text = self.run_program("info", "--format=json", *arguments, expect=expect).text
        self.assertTrue(text.startswith('{\n  "schema": "vektrace.info/1",'))
        return json.loads(text)

    def test_several_traces_are_one_document(self):
        self.write("a.vkt", *drive(3))
        self.write("b.vkt", *drive(5))
        traces = self.document("a.vkt", "missing.vkt", "b.vkt", expect=1)["traces"]
        self.assertEqual(
            [(t["file"], t["records"]) for t in traces], [("a.vkt", 3), ("b.vkt", 5)]
        )

    def test_numbers_of_an_identifier(self):
        stamps = [0, 1, 2, 10, 11]
        self.write("a.vkt", *[record(LIN, BEGIN + t * SECOND, b"1234") for t in stamps])
        trace = self.document("a.vkt")["traces"][0]
        row = trace["identifiers"][0]
        self.assertEqual((row["id"], row["name"]), (LIN, "LIN"))
        self.assertEqual((row["records"], row["bytes"], row["share"]), (5, 100, 1.0))
        self.assertEqual(row["first"]["us"], str(BEGIN))
        self.assertEqual(row["last"]["time"], "2023-11-14T22:13:31.000000Z")
        self.assertAlmostEqual(row["mean_rate"], 4 / 11)
        self.assertEqual(row["largest_pause_us"], str(8 * SECOND))

    def test_cells_hold_every_record_once(self):
        # Out of order, so that the scale has to grow in both directions.
        stamps = [BEGIN + t * t * 7919 for t in range(300)]
        shuffled = stamps[150:] + stamps[:150][::-1]
        self.write("a.vkt", *[record((CAN, LIN)[i % 2], t) for i, t in enumerate(shuffled)])
        trace = self.document("a.vkt")["traces"][0]
        begin, width = int(trace["cells_begin"]["us"]), int(trace["cell_us"])
        for which, row in enumerate(trace["identifiers"]):
            expected = [0] * len(row["cells"])
            for stamp in shuffled[which::2]:
                expected[(stamp - begin) // width] += 1
            self.assertEqual(row["cells"], expected)
            self.assertLessEqual(len(expected), 32)
            self.assertGreater(len(expected), 15)

    def test_damage(self):
        self.write("a.vkt", *drive(1), b"\x00" * 40, record(STARTUP, BEGIN + 9 * SECOND, b"x"))
        trace = self.document("a.vkt", expect=3)["traces"][0]
        self.assertEqual((trace["gaps"], trace["gap_bytes"], trace["refused"]), (1, 40, 1))
        self.assertEqual(
            trace["gaps_by_reason"], [{"reason": "filler", "gaps": 1, "bytes": 40}]
        )
        self.assertEqual(trace["bytes"], 16 + 40 + 17)
