#!/usr/bin/env python3
"""What makes and checks the documentation site: docs/site."""

import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
SITE = pathlib.Path(__file__).resolve().parents[2] / "docs/site"
sys.path.insert(0, str(SITE))
import links  # noqa: E402
import prepare  # noqa: E402


class Folder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()

    def write(self, **files):
        for name, text in files.items():
            stem, _, suffix = name.rpartition("_")
            (self.root / f"{stem}.{suffix}").write_text(text, encoding="utf-8")


class MarkdownLinks(Folder):
    def faults(self, text, other="# Other\n\n## Two words\n"):
        self.write(page_md=text, other_md=other)
        return links.markdown_faults(self.root)

    def test_to_files_and_headings_that_are_there_have_no_fault(self):
        text = "# Page\n[a](other.md) [b](other.md#two-words) [c](#page) ![d](other.md)\n"
        self.assertEqual(self.faults(text), ([], 4))

    def test_to_a_missing_file_are_faults_with_their_line(self):
        self.assertEqual(self.faults("# Page\n\n[a](none.md)\n"),
                         (["page.md:3: none.md: no such file"], 1))

    def test_to_a_missing_heading_are_faults(self):
        self.assertEqual(self.faults("[a](other.md#three-words)\n"),
                         (["page.md:1: other.md#three-words: no such heading"], 1))

    def test_that_lead_out_of_the_repository_are_faults(self):
        self.assertEqual(self.faults("[a](..)\n"), (["page.md:1: ..: no such file"], 1))

    def test_across_two_lines_are_seen(self):
        self.assertEqual(self.faults("[a\nb](none.md)\n"), (["page.md:1: none.md: no such file"], 1))

    def test_whose_text_is_code_are_seen(self):
        self.assertEqual(self.faults("[`a`](none.md)\n"), (["page.md:1: none.md: no such file"], 1))

    def test_in_code_are_none(self):
        self.assertEqual(self.faults("`[a](none.md)`\n```\n[a](none.md)\n```\n"), ([], 0))

    def test_to_other_hosts_are_not_followed(self):
        self.assertEqual(self.faults("[a](https://example.com/x.md)\n"), ([], 0))

    def test_to_a_heading_that_stands_twice_have_a_number(self):
        other = "# A\n\n# A\n"
        self.assertEqual(self.faults("[a](other.md#a) [b](other.md#a-1)\n", other), ([], 2))
        self.assertEqual(len(self.faults("[b](other.md#a-2)\n", other)[0]), 1)

    def test_to_a_heading_in_a_fenced_block_are_faults(self):
        self.assertEqual(len(self.faults("[a](other.md#a)\n", "```sh\n# A\n```\n")[0]), 1)


class HtmlLinks(Folder):
    def faults(self, **files):
        self.write(**files)
        return links.html_faults(self.root)[0]

    def test_to_pages_and_anchors_that_are_there_have_no_fault(self):
        self.assertEqual(self.faults(a_html='<a id="x"></a><a href="b.html#y">', b_html='<p id="y"></p><a href="#y"/>',
                                     menu_js='["a.html#x"]'), [])

    def test_to_missing_pages_pictures_and_anchors_are_faults(self):
        self.assertEqual(self.faults(a_html='<a href="b.html"><img src="c.svg"/><a href="#z">'),
                         ["a.html: #z: no such anchor", "a.html: b.html: no such file",
                          "a.html: c.svg: no such file"])

    def test_of_menus_are_followed(self):
        self.assertEqual(self.faults(a_html="", menu_js='{url:"a.html#x"}'),
                         ["menu.js: a.html#x: no such anchor"])

    def test_may_lead_to_other_hosts_but_nothing_is_loaded_from_there(self):
        self.assertEqual(self.faults(a_html='<a href="https://example.com/">'), [])
        self.assertEqual(self.faults(a_html='<script src="https://example.com/x.js"></script>'),
                         ["a.html: loads https://example.com/x.js"])
        self.assertEqual(self.faults(a_html="", a_css="p { background: url(//example.com/x.png) }"),
                         ["a.css: loads //example.com/x.png"])


class Preparing(unittest.TestCase):
    PAGE = prepare.ROOT / "docs/cli.md"

    def prepared(self, text):
        return prepare.prepared(self.PAGE, text).rstrip("\n")

    def test_gives_every_heading_its_label(self):
        self.assertEqual(self.prepared("# A `b`\n## C `d`"),
                         "# A b {#page-cli}\n## C `d` {#page-cli-c-d}")

    def test_makes_references_of_links_to_pages_headings_and_headers(self):
        self.assertEqual(self.prepared("[a](formats.md#json)"), "[a](@ref page-formats-json)")
        self.assertEqual(self.prepared("[a](../libvekutil/export.h)"), "[a](@ref libvekutil/export.h)")

    def test_puts_the_pages_of_the_main_page_below_it(self):
        self.assertEqual(prepare.prepared(prepare.MAIN_PAGE, "[a](cli.md)"), '@subpage page-cli "a"')

    def test_shows_the_path_of_a_file_that_is_no_page(self):
        self.assertEqual(self.prepared("[fuzz/README.md](../fuzz/README.md)"), "`fuzz/README.md`")
        self.assertEqual(self.prepared("[the tests](../tests)"), "the tests (`tests`)")

    def test_leaves_blocks_of_code_alone(self):
        text = "```sh\n# no heading [a](formats.md)\n```"
        self.assertEqual(self.prepared(text), text)

    def test_gives_the_numbers_of_the_catalogues_as_comments(self):
        self.assertEqual(prepare.CATALOGUE.sub(r"\1  ///< \2", "    MSGID_CAN = 0x0001,\n"),
                         "    MSGID_CAN = 0x0001,  ///< 0x0001\n")


if __name__ == "__main__":
    unittest.main()
