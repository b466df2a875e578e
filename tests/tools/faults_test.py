"""What becomes of the data when the system refuses what the program asks of it, or a signal ends it."""

import errno
import os
import signal
import subprocess
from contextlib import suppress

from faults_support import FEED, LENGTH, TRACE, FaultCase, RecoveringCase, SignalCase, offsets
from support import PATIENCE, full_pipe, wait_until_asleep

STREAMS = ("standard input", "standard output")
PIECES = tuple(f"out-{n:04}.vkt" for n in range(1, 5))
BOTH = b"".join(2 * TRACE[i : i + LENGTH] for i in range(0, len(TRACE), LENGTH))

FILTER = ("filter", "in.vkt", "-o", "out")
RECOVER = ("recover", "damaged.vkt", "-o", "out", "--ledger", "ledger")
MERGE = ("merge", "in.vkt", "in.vkt", "-o", "out")
SPLIT = ("split", "--size", "60k", "in.vkt", "-o", "out")
EXPORT = ("export", "in.vkt", "-o", "out")
IMPORT = ("import", "in.pcap", "-o", "out")
SAMPLE = ("sample", "--size", "200k", "-o", "out")
DAMAGE = ("damage", "--cut", "3", "in.vkt", "-o", "out", "--ledger", "ledger")


# ---- Every call ----------------------------------------------------------------------------------


class Looking(FaultCase):
    def test_dump(self):
        self.check_all(("dump", "in.vkt"), ("in.vkt", "standard output"))

    def test_info(self):
        self.check_all(("info", "in.vkt"), ("in.vkt", "standard output"))

    def test_check(self):
        self.check_all(("check", "in.vkt"), ("in.vkt", "standard output"))


class Copying(FaultCase):
    def test_filter(self):
        self.check_all(FILTER, ("in.vkt", "out"))

    def test_filter_of_some(self):
        self.check_all(("filter", "--id", "CAN", "in.vkt", "-o", "out"), ("in.vkt", "out"))

    def test_filter_of_the_last_ones(self):
        self.check_all(("filter", "--last", "400", "in.vkt", "-o", "out"), ("in.vkt", "out"))

    def test_filter_of_what_is_compressed(self):
        self.check_all(("filter", "in.gz", "-o", "out"), ("in.gz", "out"), read=500)

    def test_filter_between_streams(self):
        self.check_all(("filter",), STREAMS, feed=FEED, read=10000)

    def test_split(self):
        self.check_all(SPLIT, ("in.vkt",) + PIECES)

    def test_split_with_pieces_that_are_there(self):
        self.check_all(SPLIT + ("--force",), ("in.vkt",) + PIECES, old=PIECES)


class Merging(FaultCase):
    def is_whole(self, name, files, good):
        """One that cannot be opened is left out."""
        return files[name] in (BOTH, TRACE)

    def test_merge(self):
        self.check_all(MERGE, ("in.vkt", "out"))


class Recovering(RecoveringCase):
    def test_recover(self):
        self.check_all(RECOVER, ("damaged.vkt", "out", "ledger"), status=3)

    def test_recover_between_streams(self):
        self.check_all(("recover",), STREAMS, feed=FEED + b"?", status=3, read=10000)


class Converting(FaultCase):
    def test_export(self):
        self.check_all(EXPORT, ("in.vkt", "out"))

    def test_export_to_a_stream(self):
        self.check_all(EXPORT[:2], ("in.vkt", "standard output"))

    def test_import(self):
        self.check_all(IMPORT, ("in.pcap", "out"))


class Making(FaultCase):
    def test_sample(self):
        self.check_all(SAMPLE, ("out",))

    def test_damage(self):
        self.check_all(DAMAGE, ("in.vkt", "out", "ledger"))

    def test_damage_between_streams(self):
        self.check_all(DAMAGE[:3], STREAMS + ("a temporary file",), feed=FEED, read=10000)


class Replacing(FaultCase):
    def test_a_file_by_force(self):
        self.check_all(FILTER + ("--force",), ("in.vkt", "out"), old=("out",))

    def test_no_file_without_force(self):
        self.check_all(FILTER, ("in.vkt", "out"), old=("out",), status=1)


# ---- Single ones ---------------------------------------------------------------------------------


class Telling(RecoveringCase):
    def test_which_byte_could_not_be_read(self):
        verbs = [("dump", "in.vkt"), ("info", "in.vkt"), ("check", "in.vkt")]
        for arguments in verbs + [FILTER, RECOVER, SPLIT, EXPORT, DAMAGE]:
            name = next(each for each in arguments if each in self.inputs)
            for number in (1, 2, 5):
                with self.subTest(arguments=arguments, number=number):
                    outcome = self.attempt(
                        arguments, calls="read", number=number, error=errno.EIO, read=10000
                    )
                    told = offsets(outcome.complaint, name)
                    self.assertIn(10000 * (number - 1), told, outcome.complaint)

    def test_which_byte_of_standard_input_could_not_be_read(self):
        for arguments in (("dump",), ("filter",), ("damage", "--cut", "3")):
            with self.subTest(arguments=arguments):
                outcome = self.attempt(
                    arguments, feed=FEED, calls="read", number=5, error=errno.EIO, read=10000
                )
                self.assertEqual(offsets(outcome.complaint, "standard input"), [40000])

    def test_that_the_copy_of_standard_input_could_not_be_read(self):
        good = self.good(DAMAGE[:3], feed=FEED)
        number = good.calls.count("read")
        outcome = self.attempt(
            DAMAGE[:3], feed=FEED, calls="read", number=number, error=errno.EIO
        )
        self.assertEqual(outcome.status, 1)
        self.assertIn("a temporary file: ", outcome.complaint)

    def test_nothing_where_nobody_reads_on(self):
        for arguments in (("dump", "in.vkt"), FILTER[:2], EXPORT[:2], SAMPLE[:3]):
            good = self.good(arguments)
            for number in range(1, good.calls.count("write") + 1):
                with self.subTest(arguments=arguments, number=number):
                    outcome = self.attempt(
                        arguments, calls="write", number=number, error=errno.EPIPE
                    )
                    self.assertEqual((outcome.status, outcome.complaint), (0, ""))
                    self.assertEqual(outcome.out, good.out[: len(outcome.out)])

    def test_of_a_file_that_takes_nothing_whatever_the_reason(self):
        for arguments in (FILTER, MERGE, SPLIT, EXPORT, IMPORT, SAMPLE):
            with self.subTest(arguments=arguments):
                good = self.good(arguments)
                fault = {"calls": "write", "number": 1, "error": errno.EPIPE}
                outcome = self.attempt(arguments, **fault)
                self.check(good, outcome, ("out",) + PIECES, fault)

    def test_of_a_ledger_that_nobody_reads(self):
        for arguments in (RECOVER, DAMAGE):
            with self.subTest(arguments=arguments):
                reading, writing = os.pipe()
                os.close(reading)
                process = self.start(
                    *arguments[:-1], "-", stdout=writing, stderr=subprocess.PIPE
                )
                os.close(writing)
                complaint = process.communicate(timeout=PATIENCE)[1].decode()
                self.assertEqual(process.returncode, 1, complaint)
                self.assertIn("vektrace: standard output: byte 0: Broken pipe\n", complaint)
                self.assertEqual(self.contents(), self.inputs)

    def test_of_standard_output_that_fails_only_when_it_is_closed(self):
        for arguments in (("dump", "in.vkt"), FILTER[:2], SPLIT, ("--version",)):
            with self.subTest(arguments=arguments):
                good = self.good(arguments)
                outcome = self.attempt(
                    arguments, calls="close", number=good.calls.count("close"), error=errno.EDQUOT
                )
                self.assertEqual(
                    outcome.complaint, "vektrace: standard output: Disk quota exceeded\n"
                )
                self.assertEqual(outcome.status, 1)
                self.assertEqual(outcome.out, good.out)


class Transferring(FaultCase):
    JOBS = (
        ("dump", "in.vkt"),
        ("info", "in.vkt"),
        ("check", "in.vkt"),
        FILTER,
        FILTER[:2],
        ("recover", "in.vkt", "-o", "out", "--ledger", "ledger"),
        MERGE,
        SPLIT,
        EXPORT,
        IMPORT,
        SAMPLE,
        DAMAGE,
    )

    def test_few_bytes_at_a_time(self):
        for arguments in self.JOBS:
            good = self.good(arguments)
            for call in sorted({"read", "write"} & set(good.calls)):
                for most, how in ((1, {}), (997, {"on": ""})):
                    with self.subTest(arguments=arguments, call=call, most=most):
                        outcome = self.attempt(arguments, calls=call, number=1, most=most, **how)
                        self.assertEqual(outcome.status, 0, outcome.complaint)
                        self.assertEqual(outcome.out, good.out)
                        self.assertEqual(outcome.files, good.files)

    def test_nothing_at_all(self):
        for arguments in self.JOBS:
            with self.subTest(arguments=arguments):
                outcome = self.attempt(arguments, calls="write", number=1, most=0, on="")
                self.assertEqual(outcome.status, 1)
                self.assertIn("the system takes no more bytes", outcome.complaint)
                self.assertEqual(outcome.files, {})


class Naming(FaultCase):
    JOBS = (FILTER, MERGE, SPLIT, EXPORT, IMPORT, SAMPLE, DAMAGE)

    def test_a_file_where_there_is_no_renaming_without_replacing(self):
        for arguments in self.JOBS:
            good = self.good(arguments)
            for missing in ("renameat2", "renameat2,link"):
                with self.subTest(arguments=arguments, missing=missing):
                    outcome = self.attempt(arguments, missing=missing)
                    self.assertEqual(outcome.status, 0, outcome.complaint)
                    self.assertEqual(outcome.files, good.files)

    def test_no_file_where_there_is_no_renaming_at_all(self):
        for arguments in self.JOBS:
            with self.subTest(arguments=arguments):
                outcome = self.attempt(arguments, missing="renameat2,link,rename")
                self.assertEqual(outcome.status, 1)
                self.assertIn(": Function not implemented\n", outcome.complaint)
                self.assertEqual(outcome.files, {})

    def test_no_file_where_another_process_was_first(self):
        for arguments in self.JOBS:
            with self.subTest(arguments=arguments):
                outcome = self.attempt(
                    arguments, calls="renameat2", number=1, error=errno.EEXIST
                )
                self.assertEqual(outcome.status, 1)
                self.assertIn(": exists; --force replaces it\n", outcome.complaint)
                self.assertEqual(outcome.files, {})


# ---- Signals -------------------------------------------------------------------------------------

SIGNALLED = (FILTER, RECOVER, MERGE, SPLIT, EXPORT, IMPORT, SAMPLE)


class Killing(SignalCase):
    MOST = 50

    def kill(self, arguments, old=(), **how):
        def check(good, outcome):
            self.assertEqual(outcome.status, -signal.SIGKILL)
            named = {k: v for k, v in outcome.files.items() if not k.startswith(".")}
            self.check_files(good, named, old)

        self.end(check, arguments, signal.SIGKILL, self.MOST, old=old, **how)

    def test_leaves_a_whole_file_or_none(self):
        for arguments in SIGNALLED:
            self.kill(arguments)

    def test_leaves_the_old_file_or_the_whole_new_one(self):
        self.kill(FILTER + ("--force",), old=("out",))
        self.kill(SPLIT + ("--force",), old=PIECES)

    def test_leaves_a_whole_file_or_none_where_it_is_named_by_a_link(self):
        self.kill(FILTER, missing="renameat2")


class Interrupting(SignalCase):
    MOST = 20

    def interrupt_all(self, jobs, old=()):
        for number in (signal.SIGINT, signal.SIGTERM):

            def check(good, outcome):
                self.assertEqual(outcome.status, 128 + number, outcome.complaint)
                self.assertTrue(good.out.startswith(outcome.out))
                self.check_files(good, outcome.files, old)

            for arguments in jobs:
                self.end(check, arguments, number, self.MOST, old=old)

    def test_ends_what_is_printed(self):
        self.interrupt_all((("dump", "in.vkt"), FILTER[:2], EXPORT[:2], SAMPLE[:3]))

    def test_leaves_no_temporary_file(self):
        self.interrupt_all(SIGNALLED)

    def test_leaves_the_old_file_or_the_whole_new_one(self):
        self.interrupt_all((FILTER + ("--force",),), old=("out",))


class Waiting(FaultCase):
    def feeds(self):
        """Verbs that read standard input, and what it holds; it fits into a pipe."""
        capture = self.attempt(("export",), feed=FEED).out
        return ((("dump",), FEED), (DAMAGE[:3], FEED), (("import",), capture))

    def test_for_standard_input_that_has_nothing_yet(self):
        for arguments, feed in self.feeds():
            good = self.attempt(arguments, feed=feed)
            self.assertEqual(good.status, 0)
            for number in (1, 2, 3):
                with self.subTest(arguments=arguments, number=number):
                    fault = {"calls": "read", "number": number, "error": errno.EAGAIN}
                    self.assertEqual(self.attempt(arguments, feed=feed, **fault), good)

    def test_for_standard_input_that_does_not_wait_by_itself(self):
        for arguments, feed in self.feeds():
            with self.subTest(arguments=arguments):
                reading, writing = os.pipe()
                os.set_blocking(reading, False)
                process = self.start(
                    *arguments, stdin=reading, stdout=subprocess.PIPE, stderr=subprocess.PIPE
                )
                os.close(reading)
                wait_until_asleep(process)
                with open(writing, "wb", buffering=0) as file, suppress(BrokenPipeError):
                    file.write(feed)
                result = self.finish(process)
                self.assertEqual(result.status, 0, result.complaint)
                self.assertEqual(result.out, self.attempt(arguments, feed=feed).out)

    def test_for_standard_input_ends_by_a_signal_just_before_it(self):
        for arguments, _ in self.feeds():
            with self.subTest(arguments=arguments):
                reading, writing = os.pipe()
                with open(reading, "rb") as stdin, open(writing, "wb"):
                    outcome = self.attempt(
                        arguments,
                        stdin=stdin,
                        calls="poll,read",
                        number=1,
                        signal=int(signal.SIGTERM),
                    )
                self.assertEqual((outcome.status, outcome.complaint), (128 + signal.SIGTERM, ""))

    def test_for_a_file_to_be_opened_ends_by_a_signal(self):
        fault = {"calls": "open", "error": errno.EINTR, "signal": int(signal.SIGTERM)}
        jobs = (("dump", "in.vkt"), ("info", "in.vkt"), ("check", "in.vkt"), FILTER, MERGE, SPLIT)
        # What a program with counters of coverage opens when it ends is opened by all.
        others = self.good(("--version",)).calls.count("open")
        for arguments in jobs + (("recover", "in.vkt", "-o", "out"), EXPORT, IMPORT, DAMAGE):
            opened = self.good(arguments).calls.count("open") - others
            self.assertGreater(opened, 0)
            for number in range(1, opened + 1):
                with self.subTest(arguments=arguments, number=number):
                    outcome = self.attempt(arguments, number=number, **fault)
                    self.assertEqual(outcome.status, 128 + signal.SIGTERM, outcome.complaint)
                    self.assertNotIn(os.strerror(errno.EINTR), outcome.complaint)

    def test_for_whoever_reads_on_ends_by_a_signal_just_before_it(self):
        reading, writing = full_pipe()
        with reading, writing:
            outcome = self.attempt(
                ("--help",), stdout=writing, calls="poll", number=1, signal=int(signal.SIGTERM)
            )
        self.assertEqual((outcome.status, outcome.complaint), (128 + signal.SIGTERM, ""))
