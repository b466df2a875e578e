"""vektrace merge: several traces in one, by time."""

import gzip
import resource
import subprocess

from copying_support import CopyingVerb
from support import BEGIN, CAN, LIN, MARKER, NAMELESS, SECOND, Case, drive, record

FILLER = bytes(40)
DAY = 86400 * SECOND


def at(seconds, payload=b"", **how):
    return record(CAN, BEGIN + seconds * SECOND, payload, **how)


class MergeTest(CopyingVerb, Case):
    VERB = ("merge",)

    def expect_merged(self, expected, *traces, status=0):
        """The status, and what was said."""
        names = [self.write(f"{i}.vkt", *trace) for i, trace in enumerate(traces)]
        result = self.copy(*names, expect=status)
        self.assertEqual(result.out, b"".join(expected))
        return result.complaint

    def test_puts_records_into_the_order_of_their_times(self):
        said = self.expect_merged(
            [at(1), at(2), at(3), at(4), at(5)], [at(1), at(4)], [at(2), at(5)], [], [at(3)]
        )
        self.assertEqual(said, "")

    def test_takes_equal_times_in_the_order_of_the_inputs(self):
        a, b, c = [at(1, b"a"), at(2, b"a"), at(2, b"A")], [at(2, b"b")], [at(2, b"c")]
        self.expect_merged(a + b + c, a, b, c)
        self.expect_merged([a[0]] + c + b + a[1:], c, b, a)

    def test_leaves_an_input_that_steps_back_in_its_order_and_says_so(self):
        a, b = [at(10), at(5), at(20)], [at(7), at(15)]
        said = self.expect_merged([b[0], a[0], a[1], b[1], a[2]], a, b)
        self.assertEqual(
            said, "vektrace: 0.vkt: its times step back 1 time, and it was merged as it comes\n"
        )

    def test_reads_compressed_inputs_and_standard_input_among_others(self):
        self.write("b.gz", gzip.compress(at(2)))
        self.write("c.vkt", at(3))
        result = self.copy("c.vkt", "-", "b.gz", input=at(1), expect=0)
        self.assertEqual(result.out, at(1) + at(2) + at(3))

    def test_merges_an_input_with_itself(self):
        self.write("a.vkt", at(1), at(2))
        result = self.copy("a.vkt", "a.vkt", expect=0)
        self.assertEqual(result.out, at(1) * 2 + at(2) * 2)

    def test_drops_gaps_and_says_so(self):
        said = self.expect_merged(
            [at(1), at(2), at(3), at(4)],
            [FILLER, at(1), FILLER, at(3)],
            [at(2), at(4), FILLER],
            status=3,
        )
        self.assertEqual(
            said,
            "vektrace: 0.vkt: 2 gaps, 80 bytes (2 filler) dropped\n"
            "vektrace: 1.vkt: 1 gap, 40 bytes (1 filler) dropped\n",
        )

    # Markers

    def test_leaves_records_without_markers_where_no_input_has_any(self):
        a, b = [at(1, marked=False)], [at(2, marked=False)]
        self.expect_merged(a + b, b, a)

    def test_puts_markers_in_front_where_another_input_has_them(self):
        plain = [at(i, bytes(i), marked=False) for i in (1, 3, 5)]
        marked = [at(i, bytes(i)) for i in (2, 4, 6)]
        expected = [at(i, bytes(i)) for i in range(1, 7)]
        self.expect_merged(expected, plain, marked)
        self.expect_merged(expected, marked, plain)
        self.assertTrue(expected[0].startswith(MARKER))

    def test_puts_markers_in_front_where_the_marked_input_begins_with_damage(self):
        self.expect_merged([at(1), at(2)], [at(1, marked=False)], [FILLER, at(2)], status=3)

    def test_leaves_records_without_markers_beside_an_input_without_records(self):
        for nothing in (b"junk", FILLER, MARKER * 20):
            self.expect_merged([at(1, marked=False)], [nothing], [at(1, marked=False)], status=3)

    def test_says_when_records_without_markers_are_not_told_apart_any_more(self):
        a = drive(5, identifier=NAMELESS, marked=False)
        b = drive(5, begin=BEGIN + 100 * DAY, identifier=NAMELESS, marked=False)
        said = self.expect_merged(a + b, a, b, status=3)
        self.assertIn("without sync markers", said)

    # Failures

    def test_leaves_no_file_when_an_input_breaks_off(self):
        self.write("a.vkt", at(1))
        self.write("b.gz", gzip.compress(b"".join(drive(1000)))[:-40])
        result = self.copy("a.vkt", "b.gz", "-o", "out.vkt", expect=1)
        self.assertRegex(result.complaint, r"b.gz: byte \d+: ")
        self.assertEqual(self.files(), ["a.vkt", "b.gz", "in.vkt"])

    def test_merges_many_long_traces(self):
        traces = [drive(3000, begin=BEGIN + i, identifier=LIN) for i in range(7)]
        expected = [trace[i] for i in range(3000) for trace in traces]
        self.expect_merged(expected, *traces)


class OpenFiles(Case):
    """A class of its own, as valgrind takes some of the files that may be open for itself."""

    def with_files(self, soft, hard, *arguments):
        process = self.start(
            "merge",
            *arguments,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (soft, hard)),
        )
        return self.finish(process)

    def test_takes_as_many_inputs_as_files_may_be_open(self):
        names = [self.write(f"{i}.vkt", at(i)) for i in range(40)]
        expected = b"".join(at(i) for i in range(40))
        result = self.with_files(30, 100, *names)
        self.assertEqual((result.status, result.out), (0, expected), result.complaint)

    def test_says_when_these_are_too_many(self):
        names = [self.write(f"{i}.vkt", at(i)) for i in range(40)]
        result = self.with_files(30, 30, *names, "-o", "out.vkt")
        self.assertEqual(result.status, 1)
        self.assertIn("40 traces are too many to be open at once, 30 files", result.complaint)
        self.assertNotIn("out.vkt", self.files())
