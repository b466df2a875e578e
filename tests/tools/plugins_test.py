"""Plugins: what is loaded, and what is refused before any of its code runs."""

import json
import os
import shutil
import signal
import struct
import subprocess
import time
from random import Random

from making_support import ETHERNET, INTERFACE, NAME, PING, SIZE, VERSION, PluginCase, plugin
from schema_test import validator
from support import BEGIN, PATIENCE, STARTUP, environment, record

# The plugins are made for the machine of the program, which need not be this one.
with open(plugin("ping"), "rb") as ping:
    ORDER = {1: "<", 2: ">"}[ping.read(6)[5]]

class Listing(PluginCase):
    def test_the_text_tells_name_versions_and_identifiers(self):
        result = self.run_program("plugins", "--plugin", plugin("ping"), expect=0)
        self.assertEqual(
            result.lines, [plugin("ping") + ": ping 0.1-test, interface 1", "  0x8008 PING"]
        )

    def test_json_tells_the_same(self):
        arguments = ("--plugin", plugin("ping"), "--format", "json")
        result = self.run_program("plugins", *arguments, expect=0)
        document = json.loads(result.text)
        validator("vektrace.plugins.1").validate(document)
        self.assertEqual(
            document,
            {
                "schema": "vektrace.plugins/1",
                "plugins": [
                    {
                        "file": plugin("ping"),
                        "name": "ping",
                        "version": "0.1-test",
                        "interface": 1,
                        "identifiers": [{"id": PING, "name": "PING"}],
                    }
                ],
            },
        )

    def test_all_plugins_are_listed_in_their_order(self):
        arguments = ["--plugin", plugin("ping"), "--plugin", plugin("ethernet")]
        for order in (arguments + ["plugins"], ["plugins"] + arguments):
            lines = self.run_program(*order, expect=0).lines
            names = [line.split()[1] for line in lines if ":" in line]
            self.assertEqual(names, ["ping", "ethernet"])

    def test_an_identifier_without_a_name_is_its_number(self):
        result = self.run_program("plugins", "--plugin", plugin("nameless"), expect=0)
        self.assertEqual(result.lines[1], "  0x0ab6")

    def test_without_a_plugin_it_says_how_to_name_one(self):
        self.assertIn("--plugin FILE", self.run_program("plugins", expect=2).complaint)

    def test_what_has_a_class_keeps_it(self):
        complaint = self.run_program("plugins", "--plugin", plugin("ping"), expect=0).complaint
        self.assertIn("STARTUP (0x0085) has a message class already, which stays", complaint)
        self.assertIn("it brings no message class for 0x0ab5", complaint)

    def test_of_two_plugins_for_one_identifier_the_first_one_wins(self):
        self.copy("ping", "second.so")
        arguments = ["--plugin", plugin("ping"), "--plugin", "second.so"]
        result = self.run_program("plugins", *arguments, expect=0)
        self.assertIn("second.so: PING (0x8008) has a message class already", result.complaint)
        self.assertEqual(result.text.count("0x8008"), 1)


class Decoding(PluginCase):
    def test_records_are_decoded_by_the_plugins_class(self):
        self.write("a.vkt", record(PING, BEGIN))
        without = self.run_program("dump", "a.vkt")
        self.assertNotIn("PING OF THE PLUGIN", without.text)
        for order in (["--plugin", plugin("ping"), "dump"], ["dump", "--plugin", plugin("ping")]):
            result = self.run_program(*order, "a.vkt", expect=0)
            self.assertEqual(result.text, "2023-11-14 22:13:20.000000  PING OF THE PLUGIN\n")

    def test_what_is_thrown_in_a_plugin_is_caught_in_the_program(self):
        self.write("a.vkt", record(PING, BEGIN, b"payload"), record(STARTUP, BEGIN))
        result = self.run_program("dump", "--plugin", plugin("ping"), "a.vkt", expect=3)
        self.assertIn("Id=0x8008", result.lines[0])
        self.assertIn("SYSTEM STARTUP", result.lines[1])

    def test_check_names_a_refused_identifier_that_has_no_name_by_its_number(self):
        trace = record(0x0AB6, BEGIN, b"payload")
        result = self.run_program("check", "--plugin", plugin("nameless"), input=trace, expect=3)
        self.assertIn("record of 23 bytes: 0x0ab6 is not decodable: invalid", result.text)

    def test_a_class_of_the_program_is_not_replaced(self):
        self.write("a.vkt", record(STARTUP, BEGIN))
        result = self.run_program("dump", "--plugin", plugin("ping"), "a.vkt", expect=0)
        self.assertIn("SYSTEM STARTUP", result.text)

    def test_the_ethernet_example_reads_what_sample_makes(self):
        trace = self.run_program("sample", "--length", "5s", expect=0).out
        dump = self.run_program("dump", "--plugin", plugin("ethernet"), input=trace)
        frames = [line for line in dump.lines if "  ETHERNET " in line]
        self.assertGreater(len(frames), 100)
        self.assertGreater(len([line for line in frames if " Out " in line]), 10)
        self.assertNotIn("Id=0x04", dump.text)

    def test_the_ethernet_example_refuses_what_it_cannot_read(self):
        trace = record(ETHERNET, BEGIN, struct.pack(">BBI", 1, 0x7F, 0))
        dump = self.run_program("dump", "--plugin", plugin("ethernet"), input=trace, expect=3)
        self.assertIn("port direction", dump.text)


class Checking(PluginCase):
    def test_a_plugin_that_fits_runs(self):
        # The opposite of what refused() asserts, so that it can fail.
        self.run_program("plugins", "--plugin", plugin("ping"), expect=0)
        self.assertIn("initialised", self.files())

    def test_another_magic_number_is_refused(self):
        path = self.copy("ping", "x.so", 0, b"SOMEPLUG")
        self.assertEqual(self.refused(path), "its vektracePluginInfo is not a plugin's")

    def test_another_version_of_the_interface_is_refused(self):
        path = self.copy("ping", "x.so", INTERFACE, struct.pack(ORDER + "I", 2))
        self.assertEqual(
            self.refused(path), "made for version 2 of the interface, this program has version 1"
        )

    def test_another_size_is_refused(self):
        path = self.copy("ping", "x.so", SIZE, struct.pack(ORDER + "I", 99))
        self.assertEqual(self.refused(path), "its vektracePluginInfo has a wrong length")

    def test_texts_that_are_none_are_refused(self):
        path = self.copy("ping", "x.so", NAME, b"a\x1b[2J")
        self.assertEqual(self.refused(path), "its name is no text")
        path = self.copy("ping", "x.so", VERSION, b"1" * 32)
        self.assertEqual(self.refused(path), "its version is no text")

    def test_a_plugin_for_another_machine_is_refused(self):
        self.copy("ping", "x.so")
        for offset in (4, 5, 18):  # class, byte order, machine
            data = bytearray(self.read("x.so"))
            data[offset] ^= 3
            path = self.write("y.so", bytes(data))
            self.assertEqual(self.refused(path), "made for another kind of machine")

    def test_a_file_that_is_no_plugin_is_refused(self):
        self.assertEqual(self.refused(self.write("x.so", b"")), "not a shared object")
        self.assertEqual(self.refused(self.write("x.so", b"#!/bin/sh\n")), "not a shared object")
        self.write("x.so", self.read(self.copy("ping", "y.so"))[:3000])
        self.assertIn("beyond the end of the file", self.refused("x.so"))

    def test_a_shared_object_without_what_a_plugin_has_is_refused(self):
        path = self.copy("no_function", "x.so")
        self.assertEqual(self.refused(path), "it does not export vektraceRegisterMessages")
        path = self.copy("no_code", "x.so")
        self.assertEqual(self.refused(path), "its vektraceRegisterMessages is not a function")
        path = self.copy("unresolved", "x.so")
        self.assertIn("undefined symbol", self.refused(path))

    def test_what_is_no_file_is_refused(self):
        self.assertEqual(self.refused("missing.so"), "No such file or directory")
        self.assertEqual(self.refused("."), "not a regular file")
        os.mkfifo(self.path("pipe.so"))
        self.assertEqual(self.refused("pipe.so"), "not a regular file")

    def test_one_that_ends_the_process_is_refused(self):
        self.write("a.vkt", record(STARTUP, BEGIN))
        for ending, reason in (
            ("", None),
            ("abort", "loading it ends the process: Aborted"),
            ("exit", "loading it ends the process"),
            ("decode", "loading it ends the process: Aborted"),
        ):
            arguments = ("dump", "--plugin", plugin("ending"), "a.vkt")
            result = self.run_program(*arguments, env=environment(ENDING=ending))
            if reason is None:
                self.assertEqual((result.status, len(result.lines)), (0, 1))
            else:
                self.assertEqual((result.status, result.out), (1, b""), ending)
                complaint = f"vektrace: {plugin('ending')}: {reason}\n"
                self.assertEqual(result.complaint, complaint)

    def test_plugins_are_tried_before_the_first_one_is_loaded(self):
        # At its end the trial of the second one would remove what the first one has made.
        self.write("a.vkt", record(PING, BEGIN))
        arguments = ("--plugin", plugin("ending"), "--plugin", plugin("nameless"), "a.vkt")
        result = self.run_program("dump", *arguments)
        self.assertNotIn("no message", result.text + result.complaint)
        self.assertIn("Id=0x8008", result.text)

    def test_a_signal_ends_trying_at_once(self):
        arguments = ["plugins"] + 9 * ["--plugin", plugin("ending")]
        streams = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
        process = self.start(*arguments, env=environment(ENDING="wait"), **streams)
        end = time.monotonic() + PATIENCE
        while "state" not in self.files():
            self.assertLess(time.monotonic(), end, "it is not loaded")
            time.sleep(0.01)
        self.assertEqual(self.interrupt(process).status, 128 + signal.SIGINT)

    def test_a_segment_for_which_only_its_address_counts_may_lie_anywhere_in_the_file(self):
        # Some linkers write 0 for the place of what is made read-only.
        with open(plugin("ping"), "rb") as file:
            data = bytearray(file.read())
        wide = data[4] == 2
        word, length = (ORDER + "Q", 56) if wide else (ORDER + "I", 32)
        begin = struct.unpack_from(word, data, 0x20 if wide else 0x1C)[0]
        count = struct.unpack_from(ORDER + "H", data, 0x38 if wide else 0x2C)[0]
        segments = range(begin, begin + length * count, length)
        kinds = [struct.unpack_from(ORDER + "I", data, segment)[0] for segment in segments]
        read_only = segments[kinds.index(0x6474E552)]
        struct.pack_into(word, data, read_only + (8 if wide else 4), 0)
        path = self.write("x.so", bytes(data))
        self.run_program("plugins", "--plugin", path, expect=0)

    def test_nothing_is_done_when_one_of_the_plugins_is_refused(self):
        self.write("a.vkt", record(STARTUP, BEGIN))
        result = self.run_program(
            "dump", "--plugin", "missing.so", "--plugin", "neither.so", "a.vkt", expect=1
        )
        self.assertEqual(result.out, b"")
        self.assertIn("missing.so: No such file", result.complaint)
        self.assertIn("neither.so: No such file", result.complaint)


class Finding(PluginCase):
    def test_nothing_is_loaded_for_a_command_line_that_is_no_use_or_asks_for_help(self):
        cases = (["dump", "--nope"], 2), (["dump", "--help"], 0), (["--version"], 0)
        for arguments, status in cases:
            self.run_program("--plugin", plugin("ping"), *arguments, expect=status)
            self.assertEqual(self.files(), [])

    def test_a_bare_name_is_a_file_of_the_working_folder(self):
        self.copy("ping", "own.so")
        self.run_program("plugins", "--plugin", "own.so", expect=0)

    def test_no_folder_of_libraries_is_searched(self):
        os.mkdir(self.path("libraries"))
        shutil.copy(plugin("ping"), self.path("libraries/far.so"))
        result = self.run_program(
            "plugins",
            "--plugin",
            "far.so",
            env=environment(LD_LIBRARY_PATH=self.path("libraries")),
            expect=1,
        )
        self.assertIn("far.so: No such file", result.complaint)

    def test_nothing_is_loaded_that_is_not_named(self):
        self.copy("ping", "own.so")
        self.run_program("dump", input=record(STARTUP, BEGIN), expect=0)
        self.assertEqual(self.files(), ["own.so"])

    def test_control_bytes_of_a_name_are_not_shown(self):
        result = self.run_program("plugins", "--plugin", "a\x1b[2J", expect=1)
        self.assertIn("a\\x1b[2J: No such file", result.complaint)


class CorruptionTests:
    """Whatever the headers of a plugin's file say, the program says why it refuses it, or runs."""

    def share(self, inputs):
        """Every fifth one, or the others: all take long where an emulator runs the program."""
        return [one for place, one in enumerate(inputs) if (place % 5 == 0) is self.EVERY_FIFTH]

    def setUp(self):
        super().setUp()
        with open(plugin("ethernet"), "rb") as file:
            self.good = file.read()
        frame = struct.pack(">BBI", 1, 0, 60) + bytes(60)
        # The second one is refused by an exception, which passes through the plugin.
        self.write(
            "a.vkt",
            record(ETHERNET, BEGIN, frame),
            record(ETHERNET, BEGIN, struct.pack(">BBI", 1, 0x7F, 0)),
        )
        self.text = self.dump(self.good, expect=3).text
        self.assertIn("ETHERNET 1", self.text)

    def run_with(self, data, *arguments, expect=None):
        # A file of its own each time: rewriting one that is loaded would change what is mapped.
        path = self.write("x.so", data)
        result = self.run_program(*arguments, "--plugin", path, expect=expect)
        os.unlink(self.path(path))
        return result

    def dump(self, data, expect=None):
        return self.run_with(data, "dump", "a.vkt", expect=expect)

    def list(self, data):
        return self.run_with(data, "plugins")

    def assert_refused_or_as_good(self, data, what):
        result = self.dump(data)
        if result.status == 3:
            self.assertEqual(result.text, self.text, what)
        else:
            self.assert_refused(result, what)

    def assert_refused(self, result, what):
        self.assertEqual((result.status, result.out), (1, b""), (what, result.err))
        self.assertRegex(result.complaint, r"^vektrace: x\.so: \S.+\n$", what)

    def words(self, offset):
        """The file's own numbers of 16, 32 and 64 bits at the offset."""
        order = "<" if self.good[5] == 1 else ">"
        return [struct.unpack_from(order + code, self.good, offset)[0] for code in "HIQ"]

    def tables(self):
        """Where what the loader follows lies: the dynamic table, hashes and versions."""
        kinds = 5, 6, 0x6FFFFFF6, 0x6FFFFFFD, 0x6FFFFFFE, 0x6FFFFFFF
        wide = self.good[4] == 2
        begin = self.words(0x28)[2] if wide else self.words(0x20)[1]
        entry = self.words(0x3A if wide else 0x2E)[0]
        count = self.words(0x3C if wide else 0x30)[0]
        places = []
        for section in range(begin, begin + entry * count, entry):
            offset, size = (
                self.words(section + (at if wide else narrow))[2 if wide else 1]
                for at, narrow in ((0x18, 0x10), (0x20, 0x14))
            )
            if self.words(section + 4)[1] in kinds:
                places += range(offset, offset + size)
        return places

    def headers(self):
        """Where the file's header and its table of segments lie."""
        wide = self.good[4] == 2
        begin = self.words(0x20)[2] if wide else self.words(0x1C)[1]
        entry = self.words(0x36 if wide else 0x2A)[0]
        count = self.words(0x38 if wide else 0x2C)[0]
        return list(range(64 if wide else 52)) + list(range(begin, begin + entry * count))

    def test_a_file_that_is_cut_anywhere_is_refused(self):
        for length in self.share(range(1, len(self.good), max(1, len(self.good) // 97))):
            result = self.dump(self.good[:length], expect=1)
            self.assertRegex(result.complaint, r"^vektrace: x\.so: \S.+\n$", length)

    def test_bytes_of_the_headers_may_be_anything(self):
        random = Random(1)
        places = self.headers()

        def change():
            values = (0, 1, 0x7F, 0x80, 0xFF, random.randrange(256))
            return random.choice(places), random.choice(values)

        everything = [[change() for _ in range(random.choice((1, 1, 2, 4)))] for _ in range(300)]
        for changes in self.share(everything):
            data = bytearray(self.good)
            for place, value in changes:
                data[place] = value
            self.assert_refused_or_as_good(bytes(data), changes)

    def test_every_byte_of_the_table_of_segments_may_be_another(self):
        random = Random(2)
        changes = [(place, 1 << random.randrange(8)) for place in self.headers()[64:]]
        for place, change in self.share(changes):
            data = bytearray(self.good)
            data[place] ^= change
            self.assert_refused_or_as_good(bytes(data), (place, data[place]))

    def test_bytes_of_the_tables_that_the_loader_follows_may_be_anything(self):
        # As far as loading goes. Fewer relocations than there are, say, the code meets only later.
        listing = self.list(self.good)
        self.assertEqual(listing.status, 0)
        random = Random(3)
        places = self.tables()
        self.assertGreater(len(places), 300)

        def change():
            """All bits, or those that make the byte 0, or one of them."""
            return random.choice(places), random.choice((0xFF, None, 1 << random.randrange(8)))

        for place, bits in self.share([change() for _ in range(300)]):
            data = bytearray(self.good)
            data[place] ^= bits or data[place] or 1
            result = self.list(bytes(data))
            if result.status == 0:
                self.assertEqual(result.text, listing.text, place)
            else:
                self.assert_refused(result, (place, data[place]))


class Corruption(CorruptionTests, PluginCase):
    EVERY_FIFTH = True


class MoreCorruption(CorruptionTests, PluginCase):
    EVERY_FIFTH = False
