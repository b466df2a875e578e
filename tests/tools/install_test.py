"""What an installation of the program holds, and that it works from another place."""

import os
import subprocess

from support import Case, drive
import support

SOURCE = os.path.join(os.environ["VEKTRACE_SOURCE"], "tools", "vektrace")


class Installation(Case):
    def setUp(self):
        super().setUp()
        done = subprocess.run(
            ["cmake", "--install", os.environ["VEKTRACE_BUILD"], "--prefix", self.path("first")],
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            timeout=support.PATIENCE,
            check=False,
        )
        self.assertEqual(done.returncode, 0, done.stdout)
        os.rename(self.path("first"), self.path("moved"))

    def installed(self, *parts):
        return os.path.join(self.path("moved"), *parts)

    def test_works_where_it_was_moved_to(self):
        self.write("a.vkt", *drive(3))
        done = subprocess.run(
            support.PROGRAM[:-1] + [self.installed("bin", "vektrace"), "check", self.path("a.vkt")],
            stdout=subprocess.PIPE,
            timeout=support.PATIENCE,
            check=False,
        )
        self.assertEqual(done.returncode, 0)
        self.assertTrue(done.stdout.endswith(b": whole: 3 records, 60 bytes\n"), done.stdout)

    def test_holds_the_manual_pages_and_schemas(self):
        pages = os.listdir(self.installed("share", "man", "man1"))
        self.assertEqual(sorted(pages), sorted(os.listdir(os.path.join(SOURCE, "man"))))
        schemas = os.listdir(self.installed("share", "vektrace", "schema"))
        self.assertEqual(sorted(schemas), sorted(os.listdir(os.path.join(SOURCE, "schema"))))
