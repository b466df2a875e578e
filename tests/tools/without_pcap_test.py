"""What a build says that was made without libpcap."""

from support import Case, drive


class WithoutPcap(Case):
    def test_export_and_import_say_why_they_fail(self):
        self.write("a", *drive(1))
        for verb in "export", "import":
            result = self.run_program(verb, "a", "-o", "b", expect=1)
            self.assertEqual(
                result.complaint,
                "vektrace: this build cannot handle captures: it was made without libpcap\n",
            )
            self.assertEqual(self.files(), ["a"])

    def test_the_version_says_so_too(self):
        self.assertIn("pcap: no", self.run_program("--version", expect=0).lines)
