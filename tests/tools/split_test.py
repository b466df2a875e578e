"""vektrace split: the pieces of a trace, which behind each other are the trace."""

import gzip
import os
import signal
import subprocess
import time

from copying_support import limit_file_size
from support import BEGIN, CAN, PATIENCE, SECOND, Case, drive, record

FILLER = bytes(40)


def at(seconds, payload=b""):
    return record(CAN, BEGIN + seconds * SECOND, payload)


class SplitVerb:
    """What the tests share; for a Case."""

    def split(self, *arguments, **how):
        return self.run_program("split", *arguments, **how)

    def expect_pieces(self, prefix, *pieces):
        """These pieces, each a list of what is in it, and no more."""
        names = sorted(name for name in self.files() if name.startswith(prefix + "-"))
        self.assertEqual(names, [f"{prefix}-{i + 1:04}.vkt" for i in range(len(pieces))])
        self.assertEqual([self.read(name) for name in names], [b"".join(p) for p in pieces])


class SplitRuleTest(SplitVerb, Case):
    def test_wants_a_name_for_its_pieces(self):
        self.write("in.vkt", *drive(2))
        for output in ("-", "folder/"):
            result = self.split("in.vkt", "--count", "1", "-o", output, expect=2)
            self.assertTrue(result.complaint.startswith("vektrace: split: --output must name"))
        self.assertEqual(self.files(), ["in.vkt"])

    def test_refuses_an_empty_name_as_other_verbs_do(self):
        self.write("in.vkt", *drive(2))
        copied = self.run_program("filter", "in.vkt", "-o", "", expect=1)
        result = self.split("in.vkt", "--count", "1", "-o", "", expect=1)
        self.assertEqual(result.complaint, copied.complaint)
        self.assertEqual(self.files(), ["in.vkt"])

    def test_cuts_by_count(self):
        records = drive(7)
        self.write("in.vkt", *records)
        result = self.split("in.vkt", "--count", "3", expect=0)
        self.assertEqual((result.out, result.err), (b"", b""))
        self.expect_pieces("in", records[:3], records[3:6], records[6:])

    def test_cuts_by_size(self):
        records = [at(i, bytes(100 - 16)) for i in range(7)]
        self.write("in.vkt", *records)
        self.split("in.vkt", "--size", "300", expect=0)
        self.expect_pieces("in", records[:3], records[3:6], records[6:])

    def test_cuts_by_size_with_a_unit(self):
        records = [at(i, bytes(1008)) for i in range(5)]
        self.write("in.vkt", *records)
        self.split("in.vkt", "--size", "2k", expect=0)
        self.expect_pieces("in", records[:2], records[2:4], records[4:])

    def test_cuts_by_time(self):
        records = [at(i) for i in (0, 59, 60, 61, 300, 301)]
        self.write("in.vkt", *records)
        for number, text in enumerate(("60s", "1m", "60", "60000ms")):
            self.split("in.vkt", "--time", text, "-o", f"p{number}", expect=0)
            self.expect_pieces(f"p{number}", records[:2], records[2:4], records[4:])

    def test_keeps_damage_where_it_stands(self):
        records = drive(4)
        self.write("in.vkt", FILLER, *records[:2], FILLER, *records[2:], FILLER)
        result = self.split("in.vkt", "--count", "2", expect=3)
        self.expect_pieces("in", [FILLER, *records[:2], FILLER], [*records[2:], FILLER])
        self.assertEqual(
            result.complaint,
            "vektrace: in.vkt: 3 gaps, 120 bytes (3 filler) kept in the pieces\n",
        )

    def test_loses_no_byte_of_any_input(self):
        trace = bytearray(b"".join(drive(3000)))
        for place in range(100, len(trace), 997):
            trace[place] ^= 0x55
        trace[5000:5000] = b"\xff" * 300000
        self.write("in.vkt", trace)
        for rule in (("--size", "10k"), ("--count", "100"), ("--time", "1m")):
            self.split("in.vkt", *rule, "--force", "-o", rule[0][2:], expect=3)
            pieces = [n for n in self.files() if n.startswith(rule[0][2:] + "-")]
            self.assertGreater(len(pieces), 3)
            self.assertEqual(b"".join(self.read(n) for n in pieces), bytes(trace))

    def test_makes_no_piece_of_an_empty_trace(self):
        self.write("in.vkt")
        self.split("in.vkt", "--count", "1", expect=0)
        self.assertEqual(self.files(), ["in.vkt"])

    def test_wants_one_rule(self):
        self.write("in.vkt", at(0))
        for rules in (
            [],
            ["--count", "1", "--size", "1"],
            ["--count", "1", "--count", "2"],
            ["--count", "0"],
            ["--size", "k"],
            ["--time", "1w"],
        ):
            result = self.split("in.vkt", *rules, expect=2)
            self.assertNotEqual(result.err, b"")
        self.assertEqual(self.files(), ["in.vkt"])


class SplitNamesTest(SplitVerb, Case):
    def test_names_pieces_after_the_input(self):
        os.mkdir(self.path("d"))
        for name in ("d/a.vkt", "d/b.bin", "d/c"):
            self.write(name, at(0), at(1))
        self.write("d/e.vkt.gz", gzip.compress(at(0) + at(1)))
        self.split("d/a.vkt", "d/b.bin", "d/c", "d/e.vkt.gz", "--count", "1", expect=0)
        self.assertEqual(
            sorted(name for name in os.listdir(self.path("d")) if "-" in name),
            [f"{p}-000{i}.vkt" for p in ("a", "b.bin", "c", "e") for i in (1, 2)],
        )
        self.assertEqual(self.read("d/e-0002.vkt"), at(1))

    def test_names_pieces_after_the_prefix(self):
        self.write("in.vkt", at(0), at(1))
        self.split("in.vkt", "--count", "1", "-o", "x.y", expect=0)
        self.expect_pieces("x.y", [at(0)], [at(1)])

    def test_numbers_pieces_by_as_many_digits_as_are_asked_for(self):
        self.write("in.vkt", at(0), at(1))
        for digits in (1, 5, 18):
            self.split("in.vkt", "--count", "1", "--digits", f"{digits}", "-o", f"p{digits}", expect=0)
            self.assertEqual(self.read(f"p{digits}-{1:0{digits}}.vkt"), at(0))
            self.assertEqual(self.read(f"p{digits}-{2:0{digits}}.vkt"), at(1))
        for digits in ("0", "19", "-1", "x", ""):
            self.split("in.vkt", "--count", "1", "--digits", digits, "-o", "q", expect=2)
        self.assertEqual(len(self.files()), 1 + 3 * 2)

    def test_refuses_a_piece_that_its_digits_cannot_number(self):
        records = drive(10)
        self.write("nine.vkt", *records[:9])
        self.write("ten.vkt", *records)
        self.split("nine.vkt", "--count", "1", "--digits", "1", expect=0)
        result = self.split("ten.vkt", "--count", "1", "--digits", "1", expect=1)
        self.assertEqual(
            result.complaint,
            "vektrace: ten-9.vkt: is the last piece that 1 digit can number, and ends before byte "
            f"{len(b''.join(records[:9]))}; --digits gives room\n",
        )
        for name in ("nine", "ten"):
            pieces = [f"{name}-{i}.vkt" for i in range(1, 10)]
            self.assertEqual([n for n in self.files() if n.startswith(name + "-")], pieces)
            self.assertEqual([self.read(n) for n in pieces], records[:9])

    def test_wants_a_prefix_for_standard_input(self):
        self.split("--count", "1", input=at(0), expect=2)
        self.split("--count", "1", "-o", "p", input=at(0), expect=0)
        self.expect_pieces("p", [at(0)])

    def test_wants_names_that_are_different(self):
        self.write("a.vkt", at(0))
        self.write("a.vkt.gz", gzip.compress(at(0)))
        self.split("a.vkt", "a.vkt.gz", "--count", "1", expect=2)
        self.split("a.vkt", "a.vkt", "--count", "1", expect=2)
        self.split("a.vkt", "a.vkt.gz", "--count", "1", "-o", "p", expect=2)
        self.assertEqual(self.files(), ["a.vkt", "a.vkt.gz"])

    def test_wants_different_pieces_however_their_folder_is_named(self):
        os.mkdir(self.path("d"))
        os.symlink(".", self.path("link"))
        self.write("a.vkt", at(0))
        self.write("a.vkt.gz", gzip.compress(at(1)))
        before = self.files()
        for name in ("./a.vkt", "d/../a.vkt", "link/a.vkt", self.path("a.vkt")):
            result = self.split("--force", name, "a.vkt.gz", "--count", "1", expect=2)
            self.assertIn(f"the pieces of {name} and a.vkt.gz would be the same files", result.complaint)
            self.assertEqual(self.files(), before)

    def test_names_pieces_alike_in_different_folders(self):
        os.mkdir(self.path("d"))
        self.write("a.vkt", at(0))
        self.write("d/a.vkt", at(1))
        self.split("a.vkt", "d/a.vkt", "--count", "1", expect=0)
        self.assertEqual(self.read("a-0001.vkt"), at(0))
        self.assertEqual(self.read("d/a-0001.vkt"), at(1))

    def test_prints_its_help_when_there_is_a_terminal_instead_of_an_input(self):
        result = self.run_on_terminal("split", "--count", "1", terminals=(0,), expect=2)
        self.assertIn(b"--size", result.err)


class SplitRefusalTest(SplitVerb, Case):
    def setUp(self):
        super().setUp()
        self.write("in.vkt", *drive(4))

    def test_refuses_any_piece_that_exists_before_it_writes_one(self):
        self.write("in-0003.vkt", b"old")
        result = self.split("in.vkt", "--count", "1", expect=1)
        self.assertIn("in-0003.vkt: exists; --force replaces it", result.complaint)
        self.assertEqual(self.files(), ["in-0003.vkt", "in.vkt"])
        self.assertEqual(self.read("in-0003.vkt"), b"old")

    def test_refuses_pieces_of_a_later_input_before_it_writes_one(self):
        self.write("b.vkt", *drive(4))
        self.write("b-0001.vkt", b"old")
        self.split("in.vkt", "b.vkt", "--count", "1", expect=1)
        self.assertEqual(self.files(), ["b-0001.vkt", "b.vkt", "in.vkt"])

    def test_replaces_pieces_by_force_and_tells_of_those_that_stay(self):
        self.split("in.vkt", "--count", "1", expect=0)
        result = self.split("in.vkt", "--count", "2", "--force", expect=0)
        self.assertEqual(
            result.complaint,
            "vektrace: in-0003.vkt: is a piece of an earlier run, as is what follows\n",
        )
        self.assertEqual(self.read("in-0001.vkt"), b"".join(drive(2)))
        self.assertEqual(self.read("in-0004.vkt"), drive(4)[3])

    def test_takes_no_piece_that_it_wrote_for_one_of_an_earlier_run(self):
        stray = "-0000.vkt: is no piece, but in front of them"
        left = "-0003.vkt: is a piece of an earlier run, as is what follows"
        self.write("in-0000.vkt", b"old")
        for prefix in ("in", "./in", ".//in"):
            for name in ("in-0003.vkt", "in-0004.vkt"):
                self.write(name, b"old")
            for count, told in (("2", [stray, left]), ("1", [stray])):
                result = self.split("in.vkt", "--count", count, "-fo", prefix, expect=0)
                self.assertEqual(result.complaint.splitlines(), [f"vektrace: {prefix}{text}" for text in told])
        self.assertEqual(self.read("in-0000.vkt"), b"old")

    def test_does_not_offer_to_replace_what_is_no_piece(self):
        self.write("in-0000.vkt", b"old")
        result = self.split("in.vkt", "--count", "1", expect=1)
        self.assertEqual(
            result.complaint,
            "vektrace: in-0000.vkt: exists in front of the pieces; --force lets it stay there\n",
        )
        self.assertEqual(self.files(), ["in-0000.vkt", "in.vkt"])

    def test_refuses_pieces_of_other_digits_even_by_force(self):
        self.write("in-0002.vkt", b"old")
        for force in ([], ["--force"]):
            result = self.split("in.vkt", "--count", "1", "--digits", "5", *force, expect=1)
            self.assertEqual(
                result.complaint,
                "vektrace: in-0002.vkt: exists; pieces with 5 digits would not be in order beside it\n",
            )
        self.assertEqual(self.files(), ["in-0002.vkt", "in.vkt"])
        self.assertEqual(self.read("in-0002.vkt"), b"old")

    def test_writes_no_piece_through_a_link_that_may_lead_to_another_piece(self):
        self.write("a.vkt", at(0), at(1), at(2))
        os.symlink("nothere", self.path("a-0001.vkt"))
        os.symlink("a-0001.vkt", self.path("a-0002.vkt"))
        result = self.split("--force", "a.vkt", "--count", "1", expect=1)
        self.assertIn("a-0001.vkt: is a symbolic link", result.complaint)
        self.assertFalse(os.path.exists(self.path("nothere")))
        result = self.split("a.vkt", "--count", "1", expect=1)
        self.assertIn("a-0001.vkt: is a symbolic link", result.complaint, "not: --force replaces it")
        os.remove(self.path("a-0001.vkt"))
        self.split("--force", "a.vkt", "--count", "1", expect=1)
        self.assertFalse(os.path.exists(self.path("a-0001.vkt")))

    def test_lets_a_link_in_front_of_the_pieces_be(self):
        self.write("a.vkt", at(0))
        os.symlink("a.vkt", self.path("a-0000.vkt"))
        self.split("--force", "a.vkt", "--count", "1", expect=0)
        self.assertEqual(self.read("a-0000.vkt"), self.read("a-0001.vkt"))

    def test_refuses_a_piece_that_is_an_input_under_whatever_name(self):
        os.link(self.path("in.vkt"), self.path("p-0002.vkt"))
        result = self.split("in.vkt", "--count", "1", "-fo", "p", expect=1)
        self.assertIn("p-0002.vkt: is also an input (in.vkt)", result.complaint)
        self.assertEqual(self.files(), ["in.vkt", "p-0002.vkt"])
        self.assertEqual(self.read("in.vkt"), b"".join(drive(4)))


class SplitFailureTest(SplitVerb, Case):
    def setUp(self):
        super().setUp()
        self.records = drive(4)
        self.write("in.vkt", *self.records)

    def test_goes_on_after_an_input_that_is_not_there(self):
        result = self.split("missing.vkt", "in.vkt", "--count", "2", expect=1)
        self.assertIn("missing.vkt: No such file", result.complaint)
        self.expect_pieces("in", self.records[:2], self.records[2:])

    def test_keeps_whole_pieces_of_an_input_that_breaks_off(self):
        records = [record(CAN, BEGIN + i, os.urandom(50)) for i in range(2000)]
        self.write("b.gz", gzip.compress(b"".join(records))[:-3000])
        self.split("b.gz", "--count", "300", expect=1)
        pieces = [self.read(name) for name in self.files() if name.startswith("b-")]
        self.assertGreater(len(pieces), 2)
        for number, piece in enumerate(pieces):
            self.assertEqual(piece, b"".join(records[number * 300 : number * 300 + 300]))

    def write_broken(self, name, *pieces):
        """A compressed trace that ends before its end: it gives all of the pieces, but no checksum."""
        self.write(name, gzip.compress(b"".join(pieces))[:-8])

    def test_tells_which_pieces_are_there_of_an_input_that_breaks_off(self):
        for whole, told in (
            (0, "there is no piece"),
            (1, "p1-0001.vkt holds what is before byte 48"),
            (3, "p3-0001.vkt to p3-0003.vkt hold what is before byte 144"),
        ):
            records = [record(CAN, BEGIN + i, b"12345678") for i in range(whole * 2 + 1)]
            self.write_broken("b.gz", *records)
            result = self.split("b.gz", "--count", "2", "-o", f"p{whole}", expect=1)
            self.assertEqual(
                result.complaint.splitlines()[1:],
                [
                    f"vektrace: p{whole}-{whole + 1:04}.vkt: not written, as an input could not be read; "
                    + told
                ],
            )
            self.expect_pieces(f"p{whole}", *[records[i * 2 : i * 2 + 2] for i in range(whole)])

    def test_counts_as_kept_only_what_is_in_a_piece(self):
        a, b, c, d = self.records
        self.write_broken("b.gz", a, FILLER, b, c, FILLER, FILLER, d)
        result = self.split("b.gz", "--count", "1", expect=1)
        self.expect_pieces("b", [a, FILLER], [b], [c, FILLER, FILLER])
        self.assertIn("\nvektrace: b.gz: 2 gaps, 120 bytes (2 filler) kept in the pieces\n", result.complaint)
        result = self.split("b.gz", "--count", "4", "-o", "p", expect=1)
        self.expect_pieces("p")
        self.assertNotIn("kept", result.complaint)

    def test_counts_of_a_gap_in_several_pieces_what_is_in_one(self):
        trace = [self.records[0], b"\xff" * 300000]
        self.write_broken("b.gz", *trace)
        result = self.split("b.gz", "--size", "20k", expect=1)
        kept = sum(len(self.read(name)) for name in self.files() if name.startswith("b-")) - 16
        self.assertGreater(kept, 20000)
        self.assertLess(kept, 300000)
        self.assertIn(f"1 gap, {kept} bytes (1 filler) kept in the pieces\n", result.complaint)

    def test_tells_of_earlier_pieces_behind_those_of_an_input_that_breaks_off(self):
        self.write("p-0002.vkt", b"old")
        self.write("p-0003.vkt", b"old")
        self.write_broken("b.gz", *self.records)
        result = self.split("b.gz", "--count", "2", "-fo", "p", expect=1)
        self.assertIn(
            "vektrace: p-0002.vkt: is a piece of an earlier run, as is what follows\n", result.complaint
        )
        self.assertEqual(self.read("p-0002.vkt"), b"old")

    def test_leaves_no_half_piece_on_a_full_disk(self):
        small, large = [at(0)], [at(1, bytes(5000))]
        self.write("in.vkt", *small, *large)
        process = self.start(
            "split",
            "in.vkt",
            "--count",
            "1",
            stderr=subprocess.PIPE,
            preexec_fn=limit_file_size(1000),
        )
        err = process.communicate(timeout=PATIENCE)[1]
        self.assertEqual(process.returncode, 1)
        self.assertIn(b"in-0002.vkt: byte 1000: File too large", err)
        self.expect_pieces("in", small)
        self.assertEqual(self.files(), ["in-0001.vkt", "in.vkt"])

    def test_keeps_whole_pieces_and_no_other_when_it_is_interrupted(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            records = drive(20000)
            process = self.start(
                "split",
                "--count",
                "5000",
                "-o",
                f"p{number}",
                stdin=subprocess.PIPE,
                stderr=subprocess.PIPE,
            )
            process.stdin.write(b"".join(records))
            process.stdin.flush()
            end = time.monotonic() + PATIENCE
            while f"p{number}-0001.vkt" not in self.files():
                self.assertLess(time.monotonic(), end, "no piece was made")
                time.sleep(0.01)
            process.send_signal(number)
            self.assertEqual(process.wait(timeout=PATIENCE), 128 + number)
            process.stdin.close()
            process.stderr.close()
            names = [name for name in self.files() if name != "in.vkt"]
            self.assertTrue(all(name.startswith("p") for name in names), "no half piece")
            for name in names:
                self.assertEqual(len(self.read(name)), len(b"".join(records[:5000])))
                os.remove(self.path(name))
