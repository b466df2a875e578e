"""The verb dump: its three looks, its times, and following a file that grows."""

import csv
import io
import json
import signal
import subprocess

from support import BEGIN, CAN, NAMELESS, SECOND, STARTUP, Case, drive, record
import support

# 2^32 seconds, a second after which the library's own text begins anew.
BEYOND_2106 = (2**32 + 5) * SECOND


class Text(Case):
    def dump(self, *arguments, expect=0, **options):
        return self.run_program("dump", *arguments, expect=expect, **options)

    def test_a_record_is_the_text_of_its_class(self):
        self.write("a.vkt", record(STARTUP, BEGIN + 123456))
        self.assertEqual(self.dump("a.vkt").text, "2023-11-14 22:13:20.123456  SYSTEM STARTUP\n")

    def test_a_record_without_a_class_is_an_invalid_message(self):
        self.write("a.vkt", record(CAN, BEGIN, b"\x01\xff"))
        self.assertEqual(
            self.dump("a.vkt").text,
            "2023-11-14 22:13:20.000000  Invalid Message: Id=0x01, n=2 01 ff\n",
        )

    def test_a_record_that_its_class_refuses_is_an_invalid_message_with_the_reason(self):
        self.write("a.vkt", record(STARTUP, BEGIN, b"x"))
        result = self.dump("a.vkt", expect=3)
        self.assertEqual(
            result.text,
            "2023-11-14 22:13:20.000000  Invalid Message: Id=0x85Invalid message length, n=1 78\n",
        )
        self.assertEqual(
            result.complaint, "vektrace: a.vkt: 1 record refused by its decoder\n"
        )

    def test_a_gap_is_a_line_of_its_own(self):
        self.write("a.vkt", record(CAN, BEGIN), *drive(3), b"\x00" * 40, record(CAN, BEGIN))
        result = self.dump("a.vkt", expect=3)
        self.assertIn("-- gap at byte 76: 40 bytes, ", result.text)
        self.assertEqual(len(result.lines), 6)
        self.assertIn("vektrace: a.vkt: 1 gap (40 bytes)\n", result.complaint)

    def test_a_gap_that_was_read_in_pieces_is_one_line(self):
        self.write("a.vkt", *drive(1), b"\x00" * 1_000_000, *drive(3))
        gaps = [line for line in self.dump("a.vkt", expect=3).lines if line.startswith("--")]
        self.assertEqual(len(gaps), 1)
        self.assertIn("gap at byte 16: 1000000 bytes", gaps[0])

    def test_a_gap_at_the_end_is_not_forgotten(self):
        self.write("a.vkt", *drive(2), record(CAN, BEGIN)[:-1])
        self.assertEqual(
            self.dump("a.vkt", expect=3).lines[-1], "-- gap at byte 36: 15 bytes, truncated record"
        )

    def test_gaps_name_the_trace_when_there_are_several(self):
        self.write("a.vkt", b"junk")
        self.write("b.vkt", *drive(1))
        self.assertIn("-- a.vkt: gap at byte 0: ", self.dump("a.vkt", "b.vkt", expect=3).text)

    def test_hex_shows_the_payload(self):
        self.write("a.vkt", record(STARTUP, BEGIN), record(CAN, BEGIN, b"\x01\xff"))
        lines = self.dump("--hex", "a.vkt").lines
        self.assertTrue(lines[0].endswith("  SYSTEM STARTUP  payload "))
        self.assertTrue(lines[1].endswith("  payload 01 ff"))

    def test_hex_shows_the_first_bytes_of_a_gap(self):
        self.write("a.vkt", bytes(range(1, 5)))
        self.assertIn(": 01 02 03 04", self.dump("--hex", "a.vkt", expect=3).text)
        self.write("b.vkt", b"\x07" * 1000)
        line = self.dump("--hex", "b.vkt", expect=3).lines[-1]
        self.assertTrue(line.endswith(": " + "07 " * 64 + "..."), line)

    def test_framing_can_be_said(self):
        self.write("a.vkt", *drive(3, marked=False))
        self.assertEqual(len(self.dump("a.vkt").lines), 3)
        self.dump("--framing", "unmarked", "a.vkt")
        self.dump("--framing", "marked", "a.vkt", expect=3)

    def test_whole_records_in_a_record_are_preferred_when_asked_for(self):
        inner = drive(3)
        self.write("a.vkt", record(CAN, BEGIN, b"".join(inner)), *drive(2))
        self.assertEqual(len(self.dump("a.vkt").lines), 3)
        self.assertEqual(len(self.dump("--prefer-chain", "a.vkt", expect=3).lines), 6)


class Times(Case):
    def times(self, *arguments, stamps=(), env=None):
        """The time column of records with these stamps."""
        self.write("a.vkt", *[record(STARTUP, stamp) for stamp in stamps])
        lines = self.run_program("dump", *arguments, "a.vkt", env=env, expect=0).lines
        for line in lines:
            self.assertTrue(line.endswith("  SYSTEM STARTUP"), line)
        return [line[: -len("  SYSTEM STARTUP")] for line in lines]

    def test_utc_is_the_text_of_the_library(self):
        self.assertEqual(
            self.times("--time", "utc", stamps=[BEGIN, BEYOND_2106]),
            ["2023-11-14 22:13:20.000000", "1970-01-01 00:00:05.000000"],
        )

    def test_local_is_local_from_the_first_second_on(self):
        for zone, shown in (
            ("AAA-9", ["1970-01-01 09:00:00.000000+09:00", "1970-01-02 08:59:59.000000+09:00"]),
            ("BBB5", ["1969-12-31 19:00:00.000000-05:00", "1970-01-01 18:59:59.000000-05:00"]),
            ("CCC24:30", ["1969-12-30 23:30:00.000000-24:30", "1969-12-31 23:29:59.000000-24:30"]),
        ):
            env = support.environment(TZ=zone)
            self.assertEqual(self.times("--time=local", stamps=[0, 86399 * 10**6], env=env), shown)

    def test_only_the_text_of_the_library_begins_anew_in_2106(self):
        for digits in range(6):
            shown = self.times("--precision", str(digits), stamps=[BEYOND_2106])
            self.assertTrue(shown[0].startswith("2106-02-07 06:28:21"), shown)
        for style in ("local", "epoch"):
            shown = self.times("--time", style, stamps=[BEYOND_2106])
            self.assertRegex(shown[0], r"^(2106-02-07 06:28:21|4294967301)\.")
        self.assertEqual(self.times(stamps=[BEYOND_2106]), ["1970-01-01 00:00:05.000000"])
        text = " ".join(self.run_program("help", "dump", expect=0).text.split())
        self.assertIn("from 2106 on it begins at 1970 again", text)

    def test_epoch(self):
        self.assertEqual(
            self.times("--time=epoch", stamps=[0, BEGIN + 1, 2**64 - 1]),
            ["0.000000", "1700000000.000001", "18446744073709.551615"],
        )

    def test_relative_to_the_first_record_also_backwards(self):
        self.assertEqual(
            self.times("--time=relative", stamps=[BEGIN, BEGIN + 1_500_000, BEGIN - 1, BEGIN]),
            ["+0.000000", "+1.500000", "-0.000001", "+0.000000"],
        )

    def test_relative_is_counted_anew_in_every_trace(self):
        self.write("a.vkt", *drive(2))
        self.write("b.vkt", *drive(2, begin=BEGIN + 60 * SECOND))
        lines = self.run_program("dump", "--time=relative", "a.vkt", "b.vkt", expect=0).lines
        self.assertEqual([line.split()[0] for line in lines], ["+0.000000", "+1.000000"] * 2)

    def test_delta_to_the_record_before(self):
        self.assertEqual(
            self.times("--time=delta", stamps=[BEGIN, BEGIN + 1, BEGIN + 3, BEGIN + 2]),
            ["+0.000000", "+0.000001", "+0.000002", "-0.000001"],
        )

    def test_local_has_its_distance_from_utc(self):
        zone = support.environment(TZ="CET-1CEST,M3.5.0,M10.5.0/3")
        summer = 1_690_000_000 * SECOND
        self.assertEqual(
            self.times("--time=local", stamps=[BEGIN, summer], env=zone),
            ["2023-11-14 23:13:20.000000+01:00", "2023-07-22 06:26:40.000000+02:00"],
        )
        west = support.environment(TZ="NST3:30")
        self.assertEqual(
            self.times("--time=local", stamps=[BEGIN], env=west),
            ["2023-11-14 18:43:20.000000-03:30"],
        )
        self.assertEqual(
            self.times("--time=local", stamps=[0, 86400 * SECOND], env=west),
            ["1969-12-31 20:30:00.000000-03:30", "1970-01-01 20:30:00.000000-03:30"],
        )

    def test_local_is_as_far_from_utc_as_it_tells(self):
        for zone, shown in (
            ("DDD0:44:30", ["1969-12-31 23:16:00.000010-00:44", "2023-11-14 21:29:20.000000-00:44"]),
            ("EEE-5:30:15", ["1970-01-01 05:30:00.000010+05:30", "2023-11-15 03:43:20.000000+05:30"]),
            ("FFF0:00:30", ["1970-01-01 00:00:00.000010+00:00", "2023-11-14 22:13:20.000000+00:00"]),
        ):
            env = support.environment(TZ=zone)
            self.assertEqual(self.times("--time=local", stamps=[10, BEGIN], env=env), shown)
            for stamp, text in zip([10, BEGIN], shown):
                self.write("in.vkt", record(CAN, stamp))
                run = self.run_program("filter", "in.vkt", "--from", text, "-o", "-", expect=0)
                self.assertEqual(run.out, record(CAN, stamp))

    def test_precision_cuts_off_and_never_rounds(self):
        expected = {
            "0": "2023-11-14 22:13:20",
            "1": "2023-11-14 22:13:20.9",
            "3": "2023-11-14 22:13:20.999",
            "6": "2023-11-14 22:13:20.999999",
        }
        for digits, text in expected.items():
            self.assertEqual(
                self.times("--precision", digits, stamps=[BEGIN + 999999]), [text], digits
            )

    def test_own_columns_do_not_wrap(self):
        self.assertEqual(
            self.times("--precision=5", stamps=[BEYOND_2106, 2**64 - 1]),
            ["2106-02-07 06:28:21.00000", "586524-01-19 08:01:49.55161"],
        )

    def test_a_column_is_for_text_only(self):
        self.write("a.vkt", *drive(1))
        for words in (["--time=local", "--format=csv"], ["--precision=3", "--format=jsonl"]):
            self.run_program("dump", *words, "a.vkt", expect=2)


class JsonLines(Case):
    def objects(self, *arguments, expect=0):
        result = self.run_program("dump", "--format=jsonl", *arguments, expect=expect)
        for line in result.lines:
            self.assertTrue(line.startswith('{"schema":"vektrace.dump/1",'))
        return [json.loads(line) for line in result.lines]

    def test_a_record(self):
        self.write("a.vkt", *drive(1), record(STARTUP, BEGIN + 7, reserved=0xBEEF))
        self.assertEqual(
            self.objects("a.vkt")[1],
            {
                "schema": "vektrace.dump/1",
                "file": "a.vkt",
                "offset": 16,
                "length": 16,
                "kind": "record",
                "marked": True,
                "id": STARTUP,
                "name": "STARTUP",
                "time": "2023-11-14T22:13:20.000007Z",
                "us": str(BEGIN + 7),
                "reserved": 0xBEEF,
                "decoding": "done",
                "text": "2023-11-14 22:13:20.000007  SYSTEM STARTUP",
            },
        )

    def test_times_do_not_wrap(self):
        self.write("a.vkt", record(STARTUP, BEYOND_2106), record(STARTUP, 2**64 - 1))
        objects = self.objects("a.vkt")
        self.assertEqual(objects[0]["time"], "2106-02-07T06:28:21.000000Z")
        self.assertEqual(objects[1]["time"], "586524-01-19T08:01:49.551615Z")
        self.assertEqual(objects[1]["us"], "18446744073709551615")

    def test_decoding_says_what_became_of_a_record(self):
        self.write("a.vkt", record(NAMELESS, BEGIN), record(STARTUP, BEGIN, b"x"))
        nameless, refused = self.objects("a.vkt", expect=3)
        self.assertEqual(nameless["decoding"], "unregistered")
        self.assertNotIn("name", nameless)
        self.assertNotIn("reason", nameless)
        self.assertEqual((refused["decoding"], refused["reason"]), ("refused", "invalid length"))

    def test_a_gap(self):
        self.write("a.vkt", *drive(1), b"\x00" * 40)
        self.assertEqual(
            self.objects("a.vkt", expect=3)[1],
            {
                "schema": "vektrace.dump/1",
                "file": "a.vkt",
                "offset": 16,
                "length": 40,
                "kind": "gap",
                "reason": "filler",
            },
        )

    def test_hex_adds_the_payload(self):
        self.write("a.vkt", record(CAN, BEGIN, b"\x01\xff"), b"\x00" * 40)
        self.assertEqual(
            [o["payload"] for o in self.objects("--hex", "a.vkt", expect=3)], ["01ff", "00" * 40]
        )

    def test_a_name_in_utf_8_stays_and_another_one_is_escaped(self):
        self.write("Müller.vkt", *drive(1))
        self.assertEqual(self.objects("Müller.vkt")[0]["file"], "Müller.vkt")
        self.write(b"M\xfcller.vkt".decode("utf-8", "surrogateescape"), *drive(1))
        name = b"M\xfcller.vkt".decode("utf-8", "surrogateescape")
        self.assertEqual(self.objects(name)[0]["file"], "M\\xfcller.vkt")

    def test_standard_input_is_a_hyphen(self):
        result = self.run_program("dump", "--format=jsonl", input=drive(1)[0], expect=0)
        self.assertEqual(json.loads(result.text)["file"], "-")


class Csv(Case):
    HEADINGS = "file,offset,length,kind,id,name,time,us,reserved,decoding,reason,text"

    def rows(self, *arguments, expect=0):
        result = self.run_program("dump", "--format=csv", *arguments, expect=expect)
        self.assertTrue(result.out.endswith(b"\r\n"))
        self.assertEqual(result.out.count(b"\n"), result.out.count(b"\r\n"))
        return list(csv.reader(io.StringIO(result.out.decode("ascii"), newline=""), strict=True))

    def test_begins_with_headings_also_without_records(self):
        self.write("a.vkt")
        self.assertEqual(self.rows("a.vkt"), [self.HEADINGS.split(",")])
        self.assertEqual(self.rows("--hex", "a.vkt"), [self.HEADINGS.split(",") + ["payload"]])

    def test_headings_stand_once_for_several_inputs(self):
        self.write("a.vkt", *drive(1))
        self.assertEqual(len(self.rows("a.vkt", "a.vkt")), 3)

    def test_a_record_and_a_gap(self):
        self.write("a.vkt", record(NAMELESS, BEYOND_2106, reserved=5), b"\x00" * 40)
        rows = self.rows("a.vkt", expect=3)
        self.assertEqual(
            rows[1][:-1],
            ["a.vkt", "0", "16", "record", str(NAMELESS), "", "2106-02-07T06:28:21.000000Z"]
            + [str(BEYOND_2106), "5", "unregistered", ""],
        )
        self.assertEqual(rows[2], ["a.vkt", "16", "40", "gap"] + [""] * 6 + ["filler", ""])

    def test_commas_and_quotes_are_quoted(self):
        self.write('a,"b".vkt', *drive(1))
        rows = self.rows('a,"b".vkt')
        self.assertEqual(rows[1][0], 'a,"b".vkt')
        self.assertEqual(len(rows[1]), len(rows[0]))


class Following(Case):
    def test_what_is_appended_is_shown_at_once(self):
        self.write("a.vkt", *drive(1))
        process = self.start(
            "dump", "--follow", "a.vkt", stdout=subprocess.PIPE, stderr=subprocess.PIPE
        )
        self.assertIn(b"22:13:20", process.stdout.readline())
        for second in range(1, 4):
            with open(self.path("a.vkt"), "ab") as file:
                file.write(record(STARTUP, BEGIN + second * SECOND))
            self.assertIn(b"22:13:2%d" % second, process.stdout.readline())
        self.assertEqual(self.interrupt(process).status, 128 + signal.SIGINT)

    def test_half_a_record_is_waited_for_and_no_damage_when_it_stays_half(self):
        self.write("a.vkt", *drive(1), record(STARTUP, BEGIN)[:9])
        process = self.start(
            "dump", "--follow", "a.vkt", stdout=subprocess.PIPE, stderr=subprocess.PIPE
        )
        process.stdout.readline()
        result = self.interrupt(process)
        self.assertEqual((result.status, result.text, result.complaint), (130, "", ""))

    def test_there_is_one_trace_to_follow(self):
        self.write("a.vkt", *drive(1))
        result = self.run_program("dump", "--follow", "a.vkt", "a.vkt", expect=2)
        self.assertIn("--follow takes one input", result.complaint)
