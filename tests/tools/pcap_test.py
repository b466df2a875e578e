"""The verbs export and import: traces as captures, and back without a difference."""

import gzip
import os
import signal
import subprocess

from making_support import ETHERNET_LINK, LAST_SECOND, CaptureCase, capture, head, packet
from support import BEGIN, CAN, PATIENCE, SECOND, STARTUP, drive, record

class RoundTrip(CaptureCase):
    def test_a_drive_comes_back_byte_by_byte(self):
        for framing in ([], ["--unmarked"]):
            with self.subTest(framing=framing):
                trace = self.run_program("sample", "--length", "3s", *framing, expect=0).out
                self.assertEqual(self.imported(self.export(trace)), trace)

    def test_records_of_every_length_come_back(self):
        for marked in (True, False):
            trace = b"".join(
                record(CAN, BEGIN, bytes(length), marked=marked)
                for length in (0, 1, 2, 255, 4096, 65523)
            )
            self.assertEqual(self.imported(self.export(trace)), trace)

    def test_an_empty_trace_comes_back(self):
        self.assertEqual(self.imported(self.export(b"")), b"")

    def test_several_traces_become_one_capture(self):
        records = drive(4)
        self.write("a.vkt", *records[:2])
        self.write("b.vkt", *records[2:])
        data = self.run_program("export", "a.vkt", "b.vkt", expect=0).out
        self.write("a.pcap", data)
        twice = self.run_program("import", "a.pcap", "a.pcap", expect=0).out
        self.assertEqual(twice, 2 * b"".join(records))

    def test_all_times_that_a_capture_holds_come_back(self):
        stamps = [0, 2**31 * SECOND - 1, 2**31 * SECOND, LAST_SECOND * SECOND + 999_999]
        for stamp in stamps:
            trace = record(CAN, stamp)
            self.assertEqual(self.imported(self.export(trace)), trace)


class Exporting(CaptureCase):
    def test_a_packet_is_the_whole_record_at_its_time(self):
        records = drive(3)
        data = self.export(b"".join(records))
        order = "<" if data[0] == 0xD4 else ">"
        self.assertEqual(data[:24], head(order))
        expected = b"".join(
            packet(r, BEGIN + i * SECOND, order) for i, r in enumerate(records)
        )
        self.assertEqual(data[24:], expected)

    def test_a_time_beyond_a_capture_is_an_error_that_names_the_record(self):
        good = record(CAN, BEGIN)
        late = record(CAN, (LAST_SECOND + 1) * SECOND)
        self.write("a.vkt", good, late)
        result = self.run_program("export", "a.vkt", "-o", "a.pcap", expect=1)
        self.assertIn("vektrace: a.vkt: byte 16: record 2: its time, 2106-02-07T06:28:16.000000Z",
                      result.complaint)
        self.assertEqual(self.files(), ["a.vkt"])

    def test_gaps_are_told_as_lost(self):
        records = drive(4)
        # What stands before the garbage is not followed by a record, and so is none either.
        trace = b"".join(records[:2]) + b"garbage" + b"".join(records[2:])
        result = self.run_program("export", input=trace, expect=3)
        begin, length = len(records[0]), len(records[1]) + 7
        self.assertEqual(
            result.complaint,
            f"vektrace: standard input: byte {begin}: {length} bytes left out: "
            "not followed by a record\n",
        )
        kept = records[:1] + records[2:]
        self.assertEqual(self.imported(result.out), b"".join(kept))

    def test_marked_and_unmarked_records_are_not_mixed(self):
        self.write("a.vkt", *drive(3))
        self.write("b.vkt", *[record(CAN, BEGIN + i, marked=False) for i in range(3)])
        result = self.run_program("export", "a.vkt", "b.vkt", "-o", "x.pcap", expect=1)
        self.assertIn("b.vkt: byte 0: has no sync markers", result.complaint)
        self.assertNotIn("x.pcap", self.files())

    def test_standard_output_gets_all_that_could_be_read(self):
        self.write("a.vkt", *drive(9))
        whole = self.run_program("export", "a.vkt", expect=0).out
        result = self.run_program("export", "missing.vkt", "a.vkt", expect=1)
        self.assertEqual(result.out, whole)

    def test_a_missing_input_is_told_and_the_others_are_converted(self):
        self.write("a.vkt", *drive(2))
        whole = self.run_program("export", "a.vkt", expect=0).out
        result = self.run_program("export", "missing.vkt", "a.vkt", "-o", "a.pcap", expect=1)
        self.assertEqual(result.complaint, "vektrace: missing.vkt: No such file or directory\n")
        self.assertEqual(self.read("a.pcap"), whole)

    def test_no_input_at_all_leaves_no_file(self):
        result = self.run_program("export", "missing.vkt", "-o", "a.pcap", expect=1)
        self.assertIn("a.pcap: not written", result.complaint)
        self.assertEqual(self.files(), [])

    def test_an_input_that_breaks_off_leaves_no_file(self):
        self.write("a.gz", gzip.compress(b"".join(drive(2000)))[:-30])
        self.write("b.vkt", *drive(2))
        result = self.run_program("export", "a.gz", "b.vkt", "-o", "a.pcap", expect=1)
        self.assertIn("a.pcap: not written, as an input could not be read", result.complaint)
        self.assertEqual(self.files(), ["a.gz", "b.vkt"])


class Importing(CaptureCase):
    def lost(self, data, *reasons):
        """Status 3 with these complaints, one line each; returns what came of it."""
        result = self.run_program("import", input=data, expect=3)
        self.assertEqual(
            result.complaint.splitlines(), ["vektrace: standard input: " + r for r in reasons]
        )
        return result.out

    def test_either_byte_order_and_precision_is_read(self):
        records = drive(3)
        for order in "<", ">":
            for nanoseconds in False, True:
                data = head(order, 0xA1B23C4D if nanoseconds else 0xA1B2C3D4) + b"".join(
                    packet(r, BEGIN + i * SECOND, order, nanoseconds)
                    for i, r in enumerate(records)
                )
                self.assertEqual(self.imported(data), b"".join(records), (order, nanoseconds))

    def test_another_link_type_is_refused(self):
        self.write("a.pcap", head(link=ETHERNET_LINK))
        result = self.run_program("import", "a.pcap", "-o", "a.vkt", expect=1)
        self.assertIn("a.pcap: its packets are Ethernet", result.complaint)
        self.assertEqual(self.files(), ["a.pcap"])

    def test_both_link_types_are_named(self):
        result = self.run_program("import", input=head(link=148), expect=1)
        self.assertIn("its packets are DLT 148, not DLT 147", result.complaint)

    def test_what_is_no_capture_is_refused(self):
        for data in b"", b"x", b"no capture at all, but long enough":
            result = self.run_program("import", "-o", "a.vkt", input=data, expect=1)
            self.assertIn("standard input: byte 0: ", result.complaint)
            self.assertEqual(self.files(), [])

    def test_a_cut_capture_is_refused(self):
        data = capture(drive(2))
        for length in (len(data) - 1, 24 + 16 + 16 + 3):
            result = self.run_program("import", "-o", "a.vkt", input=data[:length], expect=1)
            self.assertIn("standard input: byte 56: packet 2: truncated", result.complaint)
            self.assertEqual(self.files(), [])

    def test_a_packet_that_is_no_record_is_left_out(self):
        good = record(CAN, BEGIN)
        for bad in (b"", b"\x55", good + b"x", good[:-1], record(CAN, BEGIN, size=11), good + good):
            with self.subTest(bad=bad):
                data = capture([good, bad, good], [BEGIN] * 3)
                out = self.lost(
                    data, f"byte 56: packet 2: left out: its {len(bad)} bytes are no record"
                )
                self.assertEqual(out, good + good)

    def test_a_packet_that_was_cut_when_it_was_captured_is_left_out(self):
        good = record(CAN, BEGIN)
        data = head() + packet(good, BEGIN, length=len(good) + 5)
        out = self.lost(data, "byte 24: packet 1: left out: only 16 of its 21 bytes were captured")
        self.assertEqual(out, b"")

    def test_a_packet_above_the_captures_own_limit_is_left_out(self):
        good = record(CAN, BEGIN, bytes(100))
        data = head(snaplen=64) + packet(good, BEGIN)
        out = self.lost(data, "byte 24: packet 1: left out: only 64 of its 116 bytes were captured")
        self.assertEqual(out, b"")

    def test_another_time_than_the_records_is_told_and_the_record_kept(self):
        good = record(CAN, BEGIN)
        reason = "its time is lost: it is not that of its record, 2023-11-14T22:13:20.000000Z"
        out = self.lost(capture([good], [BEGIN + 1]), "byte 24: packet 1: " + reason)
        self.assertEqual(out, good)

    def test_records_with_and_without_markers_are_not_mixed(self):
        marked, plain = record(CAN, BEGIN), record(CAN, BEGIN, marked=False)
        tail = " a sync marker, unlike those before"
        out = self.lost(
            capture([marked, plain, marked], [BEGIN] * 3),
            "byte 56: packet 2: left out: a record without" + tail,
        )
        self.assertEqual(out, marked + marked)
        out = self.lost(
            capture([plain, marked], [BEGIN] * 2),
            "byte 54: packet 2: left out: a record with" + tail,
        )
        self.assertEqual(out, plain)

    def test_a_record_that_looks_marked_is_told_by_its_time(self):
        # Its size field is 55 AA, and what follows it would be the size of a marked record.
        plain = record(0x55A8, BEGIN, bytes(0x55AA - 12), marked=False)
        self.assertEqual(self.imported(capture([plain], [BEGIN])), plain)
        other = record(CAN, BEGIN, bytes(100), marked=False)
        self.assertEqual(self.imported(capture([plain, other], [BEGIN] * 2)), plain + other)

    def test_a_missing_capture_is_told_and_the_others_are_converted(self):
        self.write("a.pcap", capture(drive(2)))
        result = self.run_program("import", "missing", "a.pcap", "-o", "a.vkt", expect=1)
        self.assertEqual(result.complaint, "vektrace: missing: No such file or directory\n")
        self.assertEqual(self.read("a.vkt"), b"".join(drive(2)))

    def test_no_capture_at_all_leaves_no_file(self):
        result = self.run_program("import", "missing", "-o", "a.vkt", expect=1)
        self.assertIn("a.vkt: not written", result.complaint)
        self.assertEqual(self.files(), [])

    def test_a_capture_that_breaks_off_leaves_no_file(self):
        self.write("a.pcap", capture(drive(2))[:-3])
        self.write("b.pcap", capture(drive(2)))
        result = self.run_program("import", "a.pcap", "b.pcap", "-o", "a.vkt", expect=1)
        self.assertIn("a.vkt: not written, as an input could not be read", result.complaint)
        self.assertEqual(self.files(), ["a.pcap", "b.pcap"])


class Streams(CaptureCase):
    def test_files_are_written_as_a_whole(self):
        self.write("a.vkt", *drive(3))
        self.run_program("export", "a.vkt", "-o", "a.pcap", expect=0)
        self.run_program("import", "a.pcap", "-o", "b.vkt", expect=0)
        self.assertEqual(self.read("b.vkt"), self.read("a.vkt"))
        self.assertEqual(self.files(), ["a.pcap", "a.vkt", "b.vkt"])

    def test_existing_files_are_refused_without_force(self):
        self.write("a.vkt", *drive(1))
        self.write("a.pcap", capture(drive(1)))
        for arguments in (["export", "a.vkt", "-o", "a.pcap"], ["import", "a.pcap", "-o", "a.vkt"]):
            self.assertIn("exists", self.run_program(*arguments, expect=1).complaint)
            self.run_program(*arguments, "--force", expect=0)

    def test_an_input_is_never_the_output(self):
        self.write("a", *drive(1))
        os.link(self.path("a"), self.path("b"))
        for verb in "export", "import":
            result = self.run_program(verb, "a", "-o", "b", "--force", expect=1)
            self.assertIn("b: is also an input (a)", result.complaint)

    def test_a_terminal_is_no_input_and_no_output(self):
        for verb in "export", "import":
            result = self.run_on_terminal(verb, terminals=(0,), expect=2)
            self.assertIn("Usage: vektrace " + verb, result.complaint)
            result = self.run_on_terminal(verb, terminals=(1,), expect=1)
            self.assertIn("is a terminal", result.complaint)

    def test_a_closed_pipe_ends_it_quietly(self):
        self.write("a.vkt", *drive(200_000))
        self.run_program("export", "a.vkt", "-o", "a.pcap", expect=0)
        for verb, name in ("export", "a.vkt"), ("import", "a.pcap"):
            process = self.start(verb, name, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            process.stdout.read(10)
            process.stdout.close()
            err = process.stderr.read()
            process.stderr.close()
            self.assertEqual(process.wait(PATIENCE), 0)
            self.assertEqual(err, b"")

    def test_a_full_device_is_an_error(self):
        self.write("a.vkt", *drive(3))
        self.write("a.pcap", capture(drive(3)))
        for verb, name in ("export", "a.vkt"), ("import", "a.pcap"):
            with open("/dev/full", "wb") as full:
                process = self.start(verb, name, stdout=full, stderr=subprocess.PIPE)
                err = process.communicate(timeout=PATIENCE)[1]
            self.assertEqual(process.returncode, 1)
            self.assertIn(b"standard output: byte 0: No space left on device", err)

    def test_an_interrupted_run_leaves_no_file(self):
        begins = ("export", b"".join(drive(100_000))), ("import", capture(drive(100_000)))
        for verb, data in begins:
            process = self.start(verb, "-o", "out", stdin=subprocess.PIPE, stderr=subprocess.PIPE)
            # More than a pipe holds, so that the program has begun to read once all of it is taken.
            process.stdin.write(data)
            process.stdin.flush()
            self.assertEqual(self.interrupt(process, signal.SIGINT).status, 128 + signal.SIGINT)
            self.assertEqual(self.files(), [])

    def test_a_signal_ends_a_run_that_waits_for_input(self):
        for verb in "export", "import":
            process = self.start(verb, "-o", "out", stdin=subprocess.PIPE, stderr=subprocess.PIPE)
            process.stdin.write(head() if verb == "import" else record(STARTUP, BEGIN))
            process.stdin.flush()
            while not self.files():  # until it has opened its output
                pass
            self.assertEqual(self.interrupt(process).status, 128 + signal.SIGINT)
            self.assertEqual(self.files(), [])
