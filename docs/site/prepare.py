#!/usr/bin/env python3
"""Prepares a file of the repository for Doxygen, which is given it by this filter: prepare.py FILE
writes it to standard output.

A header is given as it is, but for the catalogues, whose numbers become the enumerators' comments:
Doxygen leaves out what has none.

In Markdown files links are paths of files, with the anchors that code hosts give to headings. Here
every page and heading gets a label, and every link to one of them becomes a reference. A link to a
file that is not on the site becomes the file's path.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
MAIN_PAGE = ROOT / "docs/index.md"
FENCE = re.compile(r"\s*(```|~~~)")
HEADING = re.compile(r"(#{1,6}) (.+?)\s*$")
LINK = re.compile(r"(!?)\[((?:[^\[\]]|\[[^\[\]]*\])*)\]\(([^()\s]+)\)")
CATALOGUE = re.compile(r"^( +(?:MSGID|BUSID)_\w+ = (\w+),)$", re.MULTILINE)
CODE = re.compile(r"(`+)(?!`).*?(?<!`)\1(?!`)")


def pages():
    """The files that are pages of the site."""
    return sorted([*ROOT.glob("*.md"), *(ROOT / "docs").glob("*.md")])


def headers():
    return sorted(header for library in ("libvekutil", "libvektrace", "libvekstream")
                  for header in (ROOT / library).glob("*.h"))


def without_blocks(text):
    """The text with an empty line for each of a fenced block."""
    lines, fence = [], None
    for line in text.split("\n"):
        found = FENCE.match(line)
        if found and fence in (None, found[1]):
            fence = None if fence else found[1]
            line = ""
        lines.append("" if fence else line)
    return "\n".join(lines)


def slug(title):
    title = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", title).lower()
    return re.sub(r"[^\w\- ]", "", title).replace(" ", "-")


def headings(text):
    """Line number, level, title and anchor of each; what stands twice is numbered."""
    seen = {}
    for number, line in enumerate(without_blocks(text).split("\n")):
        found = HEADING.match(line)
        if found:
            name = slug(found[2])
            times = seen[name] = seen.get(name, -1) + 1
            yield number, len(found[1]), found[2], f"{name}-{times}" if times else name


def label(page, anchor=""):
    name = "index" if page == MAIN_PAGE else "page-" + page.stem.lower()
    return f"{name}-{anchor}" if anchor else name


def reference(file, found):
    picture, text, target = found.groups()
    path, _, anchor = target.partition("#")
    place = (file.parent / path).resolve() if path else file
    if re.match(r"[a-z]+:", target):
        return found[0]
    if picture:
        return f"![{text}]({place.name})"
    if place in pages():
        if file == MAIN_PAGE and not anchor:
            return f'@subpage {label(place)} "{text}"'
        return f"[{text}](@ref {label(place, anchor)})"
    if place in headers():
        return f"[{text}](@ref {place.relative_to(ROOT)})"
    shown = str(place.relative_to(ROOT))
    return f"`{shown}`" if shown.endswith(text.strip("`")) else f"{text} (`{shown}`)"


def prepared(file, text):
    outside = without_blocks(text)
    linked = LINK.sub(lambda found: reference(file, found), outside)
    lines = [new if old else line
             for line, old, new in zip(*(each.split("\n") for each in (text, outside, linked)))]
    for number, level, title, anchor in headings(text):
        if level > 1:
            lines[number] = f"{'#' * level} {title} {{#{label(file, anchor)}}}"
        elif file != MAIN_PAGE:
            # The tree of the pages shows titles as plain text, and there is one page of this name.
            plain = "README" if file.stem == "README" else title.replace("`", "")
            lines[number] = f"# {plain} {{#{label(file)}}}"
    return "\n".join(lines)


if __name__ == "__main__":
    document = pathlib.Path(sys.argv[1]).resolve()
    sys.stdout.reconfigure(encoding="utf-8")
    content = document.read_text(encoding="utf-8")
    sys.stdout.write(CATALOGUE.sub(r"\1  ///< \2", content) if document.suffix == ".h"
                     else prepared(document, content))
