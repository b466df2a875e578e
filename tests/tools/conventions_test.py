"""What all verbs that only read have in common, at the border of the process."""

import fcntl
import json
import os
import resource
import signal
import struct
import subprocess
import sys
import termios
import time

from support import BEGIN, CAN, SECOND, STARTUP, Case, drive, full_pipe, record, wait_until_asleep
import support

READERS = ("dump", "info", "check")
FORMATS = (("dump", "text"), ("dump", "jsonl"), ("dump", "csv"), ("info", "text"), ("info", "json"), ("check", "text"),
           ("check", "jsonl"))
JUNK = b"this is not a record"


def unread(pipe):
    """How many bytes it holds."""
    return struct.unpack("i", fcntl.ioctl(pipe, termios.FIONREAD, bytes(4)))[0]


def refused(stamp=BEGIN):
    """A record that its class refuses: it has a payload where there should be none."""
    return record(STARTUP, stamp, b"xx")


class Statuses(Case):
    def test_a_whole_trace_is_0_and_nothing_is_said(self):
        self.write("a.vkt", *drive(3))
        for verb in READERS:
            result = self.run_program(verb, "a.vkt", expect=0)
            self.assertEqual(result.complaint, "", verb)
            self.assertNotEqual(result.text, "", verb)

    def test_an_empty_trace_is_whole(self):
        self.write("a.vkt")
        for verb in READERS:
            self.run_program(verb, "a.vkt", expect=0)

    def test_a_gap_is_3(self):
        self.write("a.vkt", *drive(3), JUNK)
        for verb in READERS:
            self.run_program(verb, "a.vkt", expect=3)

    def test_a_refused_record_is_3(self):
        self.write("a.vkt", refused())
        for verb in READERS:
            self.run_program(verb, "a.vkt", expect=3)

    def test_an_identifier_without_a_class_is_no_loss(self):
        self.write("a.vkt", record(support.NAMELESS, BEGIN, b"x"))
        for verb in READERS:
            self.run_program(verb, "a.vkt", expect=0)

    def test_a_missing_file_is_1_and_named(self):
        for verb in READERS:
            result = self.run_program(verb, "missing.vkt", expect=1)
            self.assertEqual(result.complaint, "vektrace: missing.vkt: No such file or directory\n")

    def test_a_folder_is_1_and_named(self):
        for verb in READERS:
            result = self.run_program(verb, ".", expect=1)
            self.assertEqual(result.complaint, "vektrace: .: Is a directory\n")

    def test_the_others_are_read_after_a_bad_one_and_the_worst_status_wins(self):
        self.write("damaged.vkt", *drive(1), JUNK)
        self.write("whole.vkt", *drive(1))
        for verb in READERS:
            self.run_program(verb, "damaged.vkt", "whole.vkt", expect=3)
            result = self.run_program(verb, "damaged.vkt", "missing.vkt", "whole.vkt", expect=1)
            self.assertIn("vektrace: missing.vkt: No such file", result.complaint)
            apart = [self.run_program(verb, name).text for name in ("damaged.vkt", "whole.vkt")]
            for text in apart:
                self.assertIn(text.splitlines()[-1].replace("-- ", ""), result.text)

    def test_control_bytes_in_a_name_do_not_reach_the_terminal(self):
        result = self.run_program("dump", "bad\x1b[2Jname\n", expect=1)
        self.assertEqual(
            result.complaint, "vektrace: bad\\x1b[2Jname\\x0a: No such file or directory\n"
        )


    def test_bytes_of_a_name_that_are_no_text_are_escaped_everywhere(self):
        names = [b"a\xff.vkt", b"a\x9b2J.vkt", "a\u009b2J.vkt".encode(), b"a\xed\xa0\x80.vkt"]
        escaped = [r"a\xff.vkt", r"a\x9b2J.vkt", r"a\xc2\x9b2J.vkt", r"a\xed\xa0\x80.vkt"]
        for name, shown in zip(names, escaped):
            with open(os.path.join(self.folder.encode(), name), "wb") as file:
                file.write(JUNK)
            for arguments in (["dump"], ["dump", "--format", "csv"], ["info"], ["check"]):
                result = self.run_program(*arguments, name, expect=3)
                self.assertNotIn("\u009b", result.text + result.complaint)
                self.assertIn(shown, result.text + result.complaint)
            self.assertIn(shown, self.run_program("check", name + b"x", expect=1).complaint)
            for arguments in (["dump", "--format", "jsonl"], ["check", "--format", "jsonl"]):
                line = self.run_program(*arguments, name, expect=3).lines[0]
                try:
                    self.assertEqual(json.loads(line)["file"], name.decode())
                except UnicodeDecodeError:
                    self.assertEqual(json.loads(line)["file"], shown)

    def test_names_in_letters_of_any_script_are_shown_as_they_are(self):
        result = self.run_program("dump", "M\u00fcller \u8a66\u9a13", expect=1)
        self.assertIn("M\u00fcller \u8a66\u9a13: No such file", result.complaint)


class Usage(Case):
    def assert_usage_error(self, *arguments):
        result = self.run_program(*arguments, expect=2)
        self.assertEqual(result.text, "")
        self.assertTrue(result.complaint.startswith("vektrace"), result.complaint)
        return result.complaint

    def test_an_unknown_verb(self):
        for words in (["dumpp"], ["dumpp", "a.vkt", "b.vkt"], ["--color", "never", "dumpp", "a.vkt"]):
            self.assertIn("vektrace: there is no verb 'dumpp'\n", self.assert_usage_error(*words))

    def test_an_unknown_option(self):
        self.assertIn("--frobnicate", self.assert_usage_error("dump", "--frobnicate"))

    def test_a_word_that_is_no_choice(self):
        self.assertIn("yaml", self.assert_usage_error("dump", "--format", "yaml"))
        self.assertIn("sometimes", self.assert_usage_error("info", "--color", "sometimes"))

    def test_a_number_out_of_range(self):
        self.assertIn("7", self.assert_usage_error("dump", "--precision", "7"))
        self.assert_usage_error("dump", "--precision", "-1")

    def test_a_usage_error_tells_where_help_is(self):
        self.assertIn("try 'vektrace dump --help'", self.assert_usage_error("dump", "--nope"))

    def test_no_verb_prints_the_help_on_standard_error(self):
        result = self.run_program(expect=2)
        self.assertEqual(result.text, "")
        self.assertIn("Usage: vektrace", result.complaint)

    def test_a_file_may_be_named_like_a_verb(self):
        self.write("info", *drive(2))
        self.assertEqual(len(self.run_program("dump", "info", expect=0).lines), 2)

    def test_names_that_begin_with_a_hyphen_stand_behind_two(self):
        self.write("-odd", *drive(2))
        self.assertEqual(len(self.run_program("dump", "--", "-odd", expect=0).lines), 2)

    def test_brackets_and_plus_signs_are_names_like_others(self):
        for name in "[a]", "[2023-11-14,1]", "[]", "++":
            self.write(name, *drive(2))
            self.assertEqual(len(self.run_program("dump", name, expect=0).lines), 2)
            self.assertEqual(len(self.run_program("dump", "--", name, expect=0).lines), 2)
            self.run_program("filter", name, "-o", name + ".vkt", expect=0)
            self.run_program("filter", name + ".vkt", "-fo", name, expect=0)
            self.assertEqual(self.read(name), b"".join(drive(2)))

    def test_an_option_without_its_value_does_not_take_the_next_word_for_it(self):
        self.write("a.vkt", *drive(2))
        for verb, option in ("filter", "--output="), ("recover", "--output="), ("recover", "--ledger="):
            result = self.run_program(verb, "--force", option, "a.vkt", expect=1)
            self.assertIn("vektrace: : No such file or directory", result.complaint)
            self.assertEqual(self.read("a.vkt"), b"".join(drive(2)))
            self.assertEqual(self.files(), ["a.vkt"])
        self.assertIn("''", self.assert_usage_error("filter", "--id=", "a.vkt"))

    def test_names_may_stand_before_two_hyphens_too(self):
        for name in "a.vkt", "-odd", "--", "info":
            self.write(name, *drive(2))
        for words in (
            ["a.vkt", "--", "-odd"],
            ["a.vkt", "--", "--"],
            ["--", "-odd", "info"],
            ["a.vkt", "--precision", "3", "--", "-odd"],
            ["--hex", "--", "-odd", "--"],
        ):
            self.assertEqual(self.run_program("dump", *words, expect=0).text.count("2023-"), 4, words)
        both = self.run_program("filter", "a.vkt", "--", "-", input=b"".join(drive(3)), expect=0)
        self.assertEqual(both.out, b"".join(drive(2) + drive(3)))

    def test_two_hyphens_that_are_an_output_leave_the_input_alone(self):
        self.write("a.vkt", *drive(2))
        self.run_program("filter", "-fo", "--", "a.vkt", expect=0)
        self.assertEqual(self.read("a.vkt"), b"".join(drive(2)))
        self.assertEqual(self.read("--"), b"".join(drive(2)))

    def test_what_stands_behind_two_hyphens_is_a_name_whatever_it_ends_with(self):
        self.write("--odd=", *drive(2))
        self.assertEqual(len(self.run_program("dump", "--", "--odd=", expect=0).lines), 2)

    def test_common_options_may_stand_before_the_verb(self):
        self.write("a.vkt", JUNK)
        result = self.run_program("--color", "always", "dump", "a.vkt", expect=3)
        self.assertIn("\x1b[", result.text)


class Inputs(Case):
    def test_standard_input_is_read_when_nothing_is_named(self):
        for verb in READERS:
            result = self.run_program(verb, input=b"".join(drive(4)), expect=0)
            self.assertNotEqual(result.text, "")

    def test_a_hyphen_is_standard_input(self):
        self.write("a.vkt", *drive(2))
        result = self.run_program("dump", "a.vkt", "-", input=b"".join(drive(3)), expect=0)
        self.assertEqual(len(result.lines), 5)

    def test_standard_input_is_named_so_in_errors(self):
        result = self.run_program("dump", input=JUNK, expect=3)
        self.assertTrue(result.complaint.startswith("vektrace: standard input: "))

    def test_a_terminal_and_no_input_is_help_and_2(self):
        for verb in READERS:
            result = self.run_on_terminal(verb, terminals=(0,), expect=2)
            self.assertEqual(result.text, "")
            self.assertIn("Usage: vektrace " + verb, result.complaint)

    def test_damaged_compressed_input_is_told_with_its_offset(self):
        import gzip

        packed = gzip.compress(b"".join(drive(5000)), mtime=0)
        self.write("a.vkt.gz", packed[: len(packed) // 2])
        result = self.run_program("dump", "a.vkt.gz", expect=1)
        self.assertRegex(result.complaint, r"^vektrace: a\.vkt\.gz: (byte \d+: )?\S")

    def test_closed_standard_input_is_an_error(self):
        process = self.start(
            "check",
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            preexec_fn=lambda: os.close(0),
        )
        _, err = process.communicate(timeout=support.PATIENCE)
        self.assertEqual(process.returncode, 1, err)


class Outputs(Case):
    def test_a_pipe_that_nobody_reads_ends_quietly_with_0(self):
        self.write("a.vkt", *drive(20000))
        for verb in READERS:
            reader, writer = os.pipe()
            os.close(reader)
            process = self.start(verb, "a.vkt", stdout=writer, stderr=subprocess.PIPE)
            os.close(writer)
            _, err = process.communicate(timeout=support.PATIENCE)
            self.assertEqual((process.returncode, err), (0, b""), verb)

    def test_a_reader_of_one_line_gets_it_and_the_end_is_quiet(self):
        self.write("a.vkt", *drive(200000))
        process = self.start("dump", "a.vkt", stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertTrue(process.stdout.readline().startswith(b"2023-11-14 22:13:20.000000  "))
        process.stdout.close()
        err = process.stderr.read()
        process.stderr.close()
        self.assertEqual((process.wait(support.PATIENCE), err), (0, b""))

    def test_a_full_device_is_an_error(self):
        self.write("a.vkt", *drive(20000))
        for verb in READERS:
            with open("/dev/full", "wb") as full:
                process = self.start(verb, "a.vkt", stdout=full, stderr=subprocess.PIPE)
                _, err = process.communicate(timeout=support.PATIENCE)
            self.assertEqual(process.returncode, 1, verb)
            self.assertEqual(err, b"vektrace: standard output: byte 0: No space left on device\n")

    def test_a_full_device_is_noticed_at_the_last_byte_too(self):
        self.write("a.vkt", *drive(1))
        with open("/dev/full", "wb") as full:
            process = self.start("dump", "a.vkt", stdout=full, stderr=subprocess.PIPE)
            process.communicate(timeout=support.PATIENCE)
        self.assertEqual(process.returncode, 1)

    def test_help_and_version_notice_a_full_device(self):
        for words in (["--help"], ["dump", "--help"], ["--version"], ["help"], ["completion", "bash"]):
            with open("/dev/full", "wb") as full:
                process = self.start(*words, stdout=full, stderr=subprocess.PIPE)
                process.communicate(timeout=support.PATIENCE)
            self.assertEqual(process.returncode, 1, words)

    def test_a_file_size_limit_is_an_error(self):
        self.write("a.vkt", *drive(20000))
        with open(self.path("out"), "wb") as out:
            process = self.start(
                "dump",
                "a.vkt",
                stdout=out,
                stderr=subprocess.PIPE,
                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096)),
            )
            _, err = process.communicate(timeout=support.PATIENCE)
        self.assertEqual(process.returncode, 1)
        self.assertEqual(err, b"vektrace: standard output: byte 4096: File too large\n")

    def test_closed_standard_output_is_an_error(self):
        self.write("a.vkt", *drive(1))
        process = self.start(
            "dump", "a.vkt", stderr=subprocess.PIPE, preexec_fn=lambda: os.close(1)
        )
        _, err = process.communicate(timeout=support.PATIENCE)
        self.assertEqual(process.returncode, 1, err)
        self.assertEqual(self.read("a.vkt"), b"".join(drive(1)))

    def test_an_input_is_refused_as_output(self):
        self.write("a.vkt", *drive(3))
        os.link(self.path("a.vkt"), self.path("b.vkt"))
        for verb in READERS:
            for name in ("a.vkt", "b.vkt"):
                with open(self.path("a.vkt"), "ab") as out:
                    process = self.start(verb, name, stdout=out, stderr=subprocess.PIPE)
                    _, err = process.communicate(timeout=support.PATIENCE)
                self.assertEqual(process.returncode, 1)
                self.assertIn(b"standard output: is also an input", err)
        self.assertEqual(self.read("a.vkt"), b"".join(drive(3)))

    def test_an_error_does_not_wait_for_what_cannot_be_written(self):
        reading, writing = os.pipe()
        process = self.start("dump", "missing.vkt", stderr=reading)
        self.assertEqual(process.wait(support.PATIENCE), 1)
        os.close(reading)
        os.close(writing)

    def test_an_error_waits_for_its_reader_where_the_stream_does_not(self):
        reading, writing = full_pipe()
        with reading:
            with writing:
                process = self.start("dump", "missing.vkt", stderr=writing)
            wait_until_asleep(process)
            told = reading.read()
        self.assertEqual(process.wait(support.PATIENCE), 1)
        self.assertEqual(
            told.lstrip(b"\0"), b"vektrace: missing.vkt: No such file or directory\n"
        )

    def test_the_locale_changes_nothing(self):
        german = support.environment(LC_ALL="de_DE.UTF-8", LOCPATH=self.path("locales"))
        os.mkdir(german["LOCPATH"])
        folder = os.path.join(german["LOCPATH"], german["LC_ALL"])
        if not os.path.exists("/usr/share/i18n/locales/de_DE"):
            self.skipTest("there are no sources of locales: Debian's package locales has them")
        subprocess.run(["localedef", "-i", "de_DE", "-f", "UTF-8", folder], check=True)
        point = "import locale; locale.setlocale(locale.LC_ALL, ''); print(f'{0.5:n}')"
        shown = subprocess.check_output([sys.executable, "-c", point], env=german, text=True)
        self.assertEqual(shown, "0,5\n", "the locale can be used")
        self.write("a.vkt", *drive(100), JUNK)  # numbers above 1000
        for verb in READERS:
            plain = self.run_program(verb, "a.vkt")
            other = self.run_program(verb, "a.vkt", env=german)
            self.assertEqual((plain.out, plain.err), (other.out, other.err))


class Signals(Case):
    def start_following(self, **options):
        """A run that has printed its first line and waits for more."""
        self.write("a.vkt", *drive(1))
        process = self.start(
            "dump", "--follow", "a.vkt", stdout=subprocess.PIPE, stderr=subprocess.PIPE, **options
        )
        process.stdout.readline()
        return process

    def test_signals_that_ask_for_an_end_are_128_and_their_number(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            result = self.interrupt(self.start_following(), number)
            self.assertEqual((result.status, result.complaint), (128 + number, ""))

    def test_a_signal_that_was_ignored_stays_so(self):
        process = self.start_following(
            preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN)
        )
        process.send_signal(signal.SIGHUP)
        with open(self.path("a.vkt"), "ab") as file:
            file.write(record(CAN, BEGIN + SECOND))
        self.assertIn(b"22:13:21", process.stdout.readline())
        self.assertEqual(self.interrupt(process).status, 130)

    def test_a_wait_for_a_pipe_ends_without_a_verdict(self):
        for verb in READERS:
            process = self.start(
                verb,
                "--progress=always",
                stdin=subprocess.PIPE,
                stdout=subprocess.PIPE,
                stderr=subprocess.PIPE,
            )
            process.stdin.write(b"".join(drive(3)) + JUNK)
            process.stdin.flush()
            process.stderr.read(1)  # something has been read
            result = self.interrupt(process)
            self.assertEqual(result.status, 130, verb)
            self.assertNotIn("damaged", result.text + result.complaint)

    def start_until_it_waits(self, *names, **streams):
        """A run that has printed some text, so that it minds signals, and waits behind that."""
        self.write("a.vkt", *drive(5000))
        with open(self.path("out"), "wb") as out:
            process = self.start("dump", "a.vkt", *names, stdout=out, **streams)
        while os.path.getsize(self.path("out")) == 0 and process.poll() is None:
            time.sleep(0.01)
        wait_until_asleep(process)
        return process

    def test_a_wait_for_a_named_pipe_that_nobody_writes_to_ends(self):
        os.mkfifo(self.path("pipe"))
        result = self.interrupt(self.start_until_it_waits("pipe", stderr=subprocess.PIPE))
        self.assertEqual((result.status, result.complaint), (130, ""))
        self.assertEqual(self.read("out").count(b"\n"), 5000, "what was read before is shown")

    def test_a_wait_for_whoever_reads_the_errors_ends(self):
        # The second one has more bytes than there is room for.
        for name, room in (("missing.vkt", 0), ("x" * 5000, 4096)):
            for waits in (True, False):
                reading, writing = full_pipe()
                with reading, writing:
                    os.read(reading.fileno(), room)
                    os.set_blocking(writing.fileno(), waits)
                    result = self.interrupt(self.start_until_it_waits(name, stderr=writing))
                self.assertEqual(result.status, 130, (name, waits))

    def test_a_wait_for_whoever_watches_the_progress_ends(self):
        reading, writing = full_pipe()
        with reading, writing:
            os.set_blocking(writing.fileno(), True)
            process = self.start(
                "info", "--progress=always", stdin=subprocess.PIPE, stderr=writing
            )
            process.stdin.write(b"".join(drive(3)))
            process.stdin.flush()
            while unread(process.stdin) > 0 and process.poll() is None:
                time.sleep(0.01)
            wait_until_asleep(process)
            self.assertEqual(self.interrupt(process).status, 130)


class Progress(Case):
    def test_is_not_shown_unless_standard_error_is_a_terminal(self):
        self.write("a.vkt", *drive(2000))
        self.assertEqual(self.run_program("check", "a.vkt", expect=0).complaint, "")

    def test_is_not_shown_for_a_job_of_less_than_a_second(self):
        self.write("a.vkt", *drive(2))
        result = self.run_on_terminal("check", "a.vkt", terminals=(2,), expect=0)
        self.assertEqual(result.complaint, "")

    def test_is_always_shown_where_it_is_asked_for(self):
        self.write("a.vkt", *drive(2000))
        result = self.run_program("check", "--progress", "always", "a.vkt", expect=0)
        self.assertRegex(result.complaint, r"\d B|KiB")
        self.assertIn("100%", result.complaint)
        self.assertTrue(result.complaint.endswith("\n"))

    def feed_until(self, process, master, wanted):
        """Feeds records until the terminal shows something, or for a while; returns what it showed."""
        os.set_blocking(master, False)
        shown = b""
        begin = time.monotonic()
        while not wanted(shown) and time.monotonic() - begin < 10:
            process.stdin.write(b"".join(drive(1)))
            process.stdin.flush()
            try:
                shown += os.read(master, 65536)
            except BlockingIOError:
                time.sleep(0.01)
        return shown

    def test_is_shown_on_a_terminal_once_a_second_has_gone_by_and_wiped_away(self):
        import pty

        master, slave = pty.openpty()
        begin = time.monotonic()
        process = self.start(
            "check", stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=slave
        )
        os.close(slave)
        shown = self.feed_until(process, master, lambda text: text != b"")
        self.assertGreaterEqual(time.monotonic() - begin, 1)
        self.assertRegex(shown, rb"B/s")
        process.stdin.close()
        process.stdin = None
        process.communicate(timeout=support.PATIENCE)
        os.set_blocking(master, True)
        rest = support.Terminal(master).rest()
        self.assertTrue((shown + rest).endswith(b"\r\x1b[K"), shown + rest)


class Colors(Case):
    def setUp(self):
        super().setUp()
        self.write("a.vkt", *drive(1), JUNK)

    def test_a_pipe_has_none(self):
        self.assertNotIn("\x1b", self.run_program("dump", "a.vkt").text)

    def test_a_terminal_has_them(self):
        self.assertIn("\x1b[31m", self.run_on_terminal("dump", "a.vkt", terminals=(1,)).text)

    def test_a_terminal_has_none_with_never_or_no_color(self):
        result = self.run_on_terminal("dump", "--color", "never", "a.vkt", terminals=(1,))
        self.assertNotIn("\x1b", result.text)
        result = self.run_on_terminal(
            "dump", "a.vkt", terminals=(1,), env=support.environment(NO_COLOR="1")
        )
        self.assertNotIn("\x1b", result.text)

    def test_an_empty_no_color_says_nothing(self):
        result = self.run_on_terminal(
            "dump", "a.vkt", terminals=(1,), env=support.environment(NO_COLOR="")
        )
        self.assertIn("\x1b", result.text)

    def test_always_wins_over_no_color(self):
        result = self.run_program(
            "dump", "--color=always", "a.vkt", env=support.environment(NO_COLOR="1")
        )
        self.assertIn("\x1b", result.text)


class Memory(Case):
    LIMIT = 32 * 1024  # KiB

    def assert_small(self, verb, pieces, *arguments):
        """Feeds all of it, then asks how much memory it took at most: while the input is open."""
        process = self.start(
            verb, *arguments, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE
        )
        for piece in pieces:
            process.stdin.write(piece)
        process.stdin.flush()
        with open("/proc/%d/status" % process.pid, encoding="ascii") as file:
            most = next(int(line.split()[1]) for line in file if line.startswith("VmHWM"))
        _, err = process.communicate(timeout=support.PATIENCE)
        self.assertEqual(process.returncode, 0, err)
        if not support.TAKES_MORE_MEMORY:
            self.assertLess(most, self.LIMIT, (verb, *arguments))

    def test_does_not_grow_with_the_trace(self):
        block = b"".join(drive(50000))
        blocks = 2 if support.TAKES_MORE_MEMORY else 64  # where none is measured few say as much
        for verb in READERS:
            self.assert_small(verb, [block] * blocks)

    def test_holds_every_identifier_there_is(self):
        # Without a payload, so that the classes of the library take theirs.
        every = b"".join(record(i, BEGIN + i) for i in range(0x10000))
        for verb in READERS:
            self.assert_small(verb, [every, every])

    def test_keeps_nothing_of_an_input_that_is_done_in_whatever_format(self):
        every = b"".join(record(i, BEGIN + i) for i in range(0x10000))
        self.write("a.vkt", every)
        for verb, form in FORMATS:
            for inputs in (["a.vkt"], ["a.vkt"] * 8):
                self.assert_small(verb, [every], "--format", form, *inputs, "-")
