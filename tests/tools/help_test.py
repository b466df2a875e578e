"""Help, version, manual pages and completions, all of which are made of the command line itself."""

import os
import re
import subprocess

from support import Case
import support

MAN = os.path.join(os.environ["VEKTRACE_SOURCE"], "tools", "vektrace", "man")


def verbs(case):
    text = case.run_program("help", expect=0).text
    block = re.search(r"\nVerbs:\n((?:  .*\n)+)", text).group(1)
    return [line.split()[0] for line in block.splitlines()]


class Help(Case):
    def test_of_a_verb_is_the_same_however_it_is_asked_for(self):
        for verb in verbs(self):
            asked = self.run_program("help", verb, expect=0).text
            self.assertEqual(asked, self.run_program(verb, "--help", expect=0).text)
            self.assertEqual(asked, self.run_program(verb, "-h", expect=0).text)
            self.assertTrue(asked.startswith("Usage: vektrace %s [OPTION]..." % verb))

    def test_of_the_program_is_the_same_however_it_is_asked_for(self):
        asked = self.run_program("help", expect=0)
        self.assertEqual(asked.text, self.run_program("--help", expect=0).text)
        self.assertEqual(asked.complaint, "")

    def test_of_an_unknown_verb_is_a_usage_error(self):
        self.assertIn("frobnicate", self.run_program("help", "frobnicate", expect=2).complaint)

    def test_is_at_most_80_columns_wide(self):
        for words in [[]] + [[verb] for verb in verbs(self)]:
            for line in self.run_program("help", *words, expect=0).lines:
                # A heading is not broken: it is what has to be typed.
                if not re.match(r"(Usage:|  (-|VERB|SHELL))", line):
                    self.assertLessEqual(len(line), 80, line)

    def test_every_option_and_verb_says_what_it_does(self):
        for verb in verbs(self):
            lines = self.run_program("help", verb, expect=0).lines
            for heading, text in zip(lines, lines[1:]):
                if re.match(r"  --?[a-z]", heading):
                    self.assertRegex(text, r"^ {8}\S.*", heading)


    def test_what_chooses_between_records_in_records_tells_both_rules(self):
        for verb in ("dump", "info", "check", "filter", "merge", "recover"):
            text = " ".join(self.run_program("help", verb, expect=0).text.split())
            self.assertRegex(text, "fill (another one|it) exactly, or eight in a row lie inside of it")

    def test_what_is_required_has_no_default(self):
        self.assertIn("\n  SHELL\n", self.run_program("help", "completion", expect=0).text)


class Version(Case):
    def test_tells_the_version_and_what_the_build_can(self):
        lines = self.run_program("--version", expect=0).lines
        self.assertRegex(lines[0], r"^vektrace \d+\.\d+\.\d+$")
        self.assertEqual(
            [line.split(":")[0] for line in lines[1:4]], ["gzip", "zstd", "pcap"]
        )


class ManualPages(Case):
    """The pages are committed. VEKTRACE_ACCEPT=1 in the environment writes them anew."""

    def pages(self):
        result = {"vektrace.1": self.run_program("help", "--man", expect=0).text}
        for verb in verbs(self):
            text = self.run_program("help", "--man", verb, expect=0).text
            result["vektrace-%s.1" % verb] = text
        return result

    def accept(self, pages):
        for name in os.listdir(MAN):
            os.remove(os.path.join(MAN, name))
        for name, text in pages.items():
            with open(os.path.join(MAN, name), "w", encoding="utf-8") as file:
                file.write(text)

    def test_are_what_the_program_makes(self):
        pages = self.pages()
        if os.environ.get("VEKTRACE_ACCEPT") == "1":
            self.accept(pages)
        self.assertEqual(sorted(os.listdir(MAN)), sorted(pages))
        for name, text in pages.items():
            with open(os.path.join(MAN, name), encoding="utf-8") as file:
                self.assertEqual(file.read(), text, name)

    def test_hold_no_line_that_is_a_request_by_accident(self):
        known = r"^\.(TH|SH|TP|PP|\\\")( |$)"
        for name, text in self.pages().items():
            for line in text.splitlines():
                if line[:1] in ".'":
                    self.assertRegex(line, known, name)


class Completions(Case):
    def complete(self, *words):
        """What bash offers for the last of the words."""
        script = """
            . completion
            COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
            _vektrace
            printf '%s\\n' "${COMPREPLY[@]}"
        """
        with open(self.path("completion"), "wb") as file:
            file.write(self.run_program("completion", "bash", expect=0).out)
        result = subprocess.run(
            ["bash", "--norc", "-euc", script, "bash", "vektrace", *words],
            cwd=self.folder,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            timeout=support.PATIENCE,
            check=False,
        )
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        return result.stdout.decode().split()

    def test_of_a_verb(self):
        self.assertEqual(self.complete("du"), ["dump"])
        self.assertEqual(self.complete(""), verbs(self))

    def test_of_an_option(self):
        self.assertEqual(self.complete("dump", "--fo"), ["--format", "--follow"])
        self.assertIn("--version", self.complete("-"))

    def test_of_a_value(self):
        self.assertEqual(self.complete("dump", "--format", ""), ["text", "jsonl", "csv"])
        self.assertEqual(self.complete("info", "--format", "j"), ["json"])

    def test_of_a_value_behind_an_equals_sign(self):
        self.assertEqual(self.complete("dump", "--format", "=", "js"), ["jsonl"])
        self.assertEqual(self.complete("dump", "--format", "="), ["text", "jsonl", "csv"])

    def test_of_an_argument_that_is_one_of_some_words(self):
        self.assertEqual(self.complete("completion", ""), ["bash", "zsh", "fish"])
        self.assertEqual(self.complete("help", "du"), ["dump"])

    def test_of_a_file_is_left_to_bash(self):
        self.assertEqual(self.complete("dump", "a"), [])
        self.assertEqual(self.complete("dump", "--plugin", "a"), [])

    def test_is_registered(self):
        script = self.run_program("completion", "bash", expect=0).text
        self.assertIn("complete -o bashdefault -o default -F _vektrace vektrace\n", script)

    def test_names_every_verb_in_every_shell(self):
        for shell in ("bash", "zsh", "fish"):
            script = self.run_program("completion", shell, expect=0).text
            for verb in verbs(self):
                self.assertRegex(script, r"\b%s\b" % verb)

    def test_of_no_shell_is_a_usage_error(self):
        self.run_program("completion", expect=2)
        self.run_program("completion", "csh", expect=2)
