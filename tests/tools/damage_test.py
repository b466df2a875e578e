"""The verb damage: what it does it tells, and it never touches its input."""

import re
import signal
import subprocess

from making_support import INPUT, DamageCase
from schema_test import validator
from support import PATIENCE

class Doing(DamageCase):
    def test_without_a_request_it_copies(self):
        result = self.run_program("damage", "a.vkt", expect=0)
        self.assertEqual(result.out, INPUT)
        self.assertEqual(result.complaint, "vektrace: a.vkt: copied as it is\n")

    def test_the_ledger_is_not_the_output_whatever_both_are_called(self):
        result = self.run_program(
            "damage", "--force", "a.vkt", "-o", "./out.vkt", "--ledger", "out.vkt", expect=2
        )
        self.assertEqual(
            result.complaint.splitlines()[0],
            "vektrace: damage: --output and --ledger are the same",
        )
        self.assertNotIn("out.vkt", self.files())

    def test_the_ledger_may_go_to_a_terminal(self):
        shown = self.run_on_terminal(
            "damage", "a.vkt", "--cut", "1", "-o", "out.vkt", "--ledger", "-", terminals=(1,), expect=0
        )
        self.assertIn(b'"kind":"cut"', shown.out)

    def test_the_ledger_tells_everything(self):
        out, ledger = self.damaged("--bytes", "50", "--cut", "3", "--insert", "4", "--zero", "5")
        kinds = [entry["kind"] for entry in ledger]
        counts = [kinds.count(kind) for kind in ("change", "cut", "insert", "zero")]
        self.assertEqual(counts, [50, 3, 4, 5])
        self.assertEqual(self.redo(ledger, out), out)
        judge = validator("vektrace.damage.1")
        for entry in ledger:
            judge.validate(entry)
            self.assertFalse(judge.is_valid(dict(entry, unknown=1)))

    def test_a_percentage_of_the_bytes_is_changed(self):
        out, ledger = self.damaged("--bytes", "1%")
        self.assertEqual(len(ledger), len(INPUT) // 100)
        changed = [a != b for a, b in zip(INPUT, out)]
        self.assertEqual(sum(changed), len(INPUT) // 100)

    def test_a_run_has_no_more_bytes_than_told(self):
        ledger = self.damaged("--zero", "50", "--run", "3")[1]
        self.assertEqual({entry["length"] for entry in ledger}, {1, 2, 3})

    def test_a_seed_does_the_same_damage_and_another_seed_does_not(self):
        first = self.run_program("damage", "a.vkt", "--cut", "3", expect=0).out
        again = self.run_program("damage", "a.vkt", "--cut", "3", "--seed", "1", expect=0).out
        other = self.run_program("damage", "a.vkt", "--cut", "3", "--seed", "2", expect=0).out
        self.assertEqual(first, again)
        self.assertNotEqual(first, other)

    def test_a_pipe_is_damaged_like_a_file(self):
        arguments = ("--bytes", "0.5%", "--insert", "3")
        from_file = self.run_program("damage", "a.vkt", *arguments, expect=0).out
        for source in ([], ["-"]):
            piped = self.run_program("damage", *source, *arguments, input=INPUT, expect=0).out
            self.assertEqual(piped, from_file)

    def test_standard_input_is_taken_from_where_it_stands(self):
        with open(self.path("a.vkt"), "rb") as file:
            file.seek(1000)
            process = self.start(
                "damage", stdin=file, stdout=subprocess.PIPE, stderr=subprocess.PIPE
            )
            out = process.communicate(timeout=PATIENCE)[0]
        self.assertEqual(out, INPUT[1000:])

    def test_an_empty_input_stays_empty(self):
        self.assertEqual(self.run_program("damage", input=b"", expect=0).out, b"")


class Telling(DamageCase):
    def test_what_was_done_is_told_with_offsets(self):
        result = self.run_program("damage", "a.vkt", "--cut", "2", "--bytes", "1", expect=0)
        lines = result.complaint.splitlines()
        self.assertEqual(len(lines), 4)
        for line in lines[:-1]:
            self.assertRegex(
                line,
                r"^vektrace: a\.vkt: byte \d+: (\d+ bytes? cut out|changed from 0x.. to 0x..)$",
            )
        cut = len(INPUT) - len(result.out)
        told = re.findall(r"byte \d+: (\d+) bytes? cut out$", result.complaint, re.M)
        self.assertEqual(sum(map(int, told)), cut)
        self.assertEqual(lines[-1], f"vektrace: a.vkt: 1 byte changed, {cut} bytes cut out")

    def test_no_more_is_told_than_can_be_read(self):
        lines = self.run_program("damage", "a.vkt", "--bytes", "1000").complaint.splitlines()
        self.assertEqual(len(lines), 52)
        self.assertIn("and 950 more", lines[-2])
        self.assertIn("1000 bytes changed", lines[-1])

    def test_with_a_ledger_only_the_sum_is_told(self):
        result = self.run_program("damage", "a.vkt", "--bytes", "9", "--ledger", "l", expect=0)
        self.assertEqual(len(result.complaint.splitlines()), 1)


class Refusing(DamageCase):
    def refused(self, status, *arguments):
        result = self.run_program("damage", *arguments, expect=status)
        self.assertEqual(self.files(), ["a.vkt"])
        self.assertEqual(self.read("a.vkt"), INPUT)
        return result.complaint

    def test_more_damage_than_bytes_is_refused(self):
        for kind in "--bytes", "--cut":
            complaint = self.refused(1, "a.vkt", kind, "100001", "-o", "b.vkt")
            self.assertIn("a.vkt: it has 100000 bytes, too few", complaint)

    def test_amounts_that_are_none_are_refused(self):
        self.assertIn("'101%' is no percentage", self.refused(2, "a.vkt", "--bytes", "101%"))
        self.assertIn("'few' is no whole number", self.refused(2, "a.vkt", "--bytes", "few"))
        self.assertIn("'-1' is no whole number", self.refused(2, "a.vkt", "--cut=-1"))
        self.assertIn("'0' is no size", self.refused(2, "a.vkt", "--run", "0"))

    def test_amounts_are_looked_at_before_the_input(self):
        self.assertIn("'few' is no whole number", self.refused(2, "missing.vkt", "--bytes", "few"))

    def test_a_missing_input_is_an_error(self):
        complaint = self.refused(1, "missing.vkt", "-o", "b.vkt")
        self.assertIn("missing.vkt: No such file or directory", complaint)

    def test_a_folder_is_an_error(self):
        self.assertIn("Is a directory", self.refused(1, ".", "-o", "b.vkt"))

    def test_one_input_is_all_it_takes(self):
        self.refused(2, "a.vkt", "a.vkt")

    def test_the_input_is_never_the_output(self):
        for output in ("-o", "--ledger"):
            with self.subTest(output=output):
                complaint = self.refused(1, "a.vkt", output, "./a.vkt", "--force")
                self.assertIn("is also an input", complaint)

    def test_the_ledger_is_never_the_output(self):
        self.assertIn("are the same", self.refused(2, "a.vkt", "-o", "b", "--ledger", "b"))
        self.assertIn("are the same", self.refused(2, "a.vkt", "--ledger", "-"))

    def test_the_ledger_is_not_where_standard_output_was_redirected_to(self):
        with open(self.path("out"), "wb") as out:
            process = self.start(
                "damage", "a.vkt", "-f", "--ledger", "out", stdout=out, stderr=subprocess.PIPE
            )
            err = process.communicate(timeout=PATIENCE)[1]
        self.assertEqual(process.returncode, 2)
        self.assertIn(b"are the same", err)
        self.assertEqual(self.read("out"), b"")

    def test_a_terminal_is_no_input(self):
        result = self.run_on_terminal("damage", terminals=(0,), expect=2)
        self.assertIn("Usage: vektrace damage", result.complaint)

    def test_an_interrupted_copy_leaves_no_file(self):
        process = self.start("damage", "-o", "b.vkt", stdin=subprocess.PIPE, stderr=subprocess.PIPE)
        # More than a pipe holds, so that the program has begun to read once all of it is taken.
        process.stdin.write(bytes(1 << 20))
        process.stdin.flush()
        self.assertEqual(self.interrupt(process, signal.SIGINT).status, 128 + signal.SIGINT)
        self.assertEqual(self.files(), ["a.vkt"])
