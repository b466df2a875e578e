#!/usr/bin/env python3
"""Checks that links lead somewhere: links.py [FOLDER OF HTML]

Looks at the relative links of all Markdown files of the repository, and of the HTML files of the
folder at every link, picture and script, also those in the menus that its scripts build: the file
must be there, and the anchor in it. The HTML must take nothing from a network. Nothing to look at is
an error. Links to other hosts are not followed.
"""

import html.parser
import pathlib
import re
import sys
import urllib.parse

sys.dont_write_bytecode = True
import prepare  # noqa: E402  (behind the line above: no compiled files in this folder)

SCHEME = re.compile(r"[a-z]+:|//", re.IGNORECASE)
NETWORK = re.compile(r"https?:|//", re.IGNORECASE)


def markdown_links(text):
    """Line number and target of each link that is no code."""
    # What a link shows may be code; a link within code is none.
    outside = prepare.CODE.sub("code", prepare.without_blocks(text))
    for link in prepare.LINK.finditer(outside):
        yield outside.count("\n", 0, link.start()) + 1, link[3]


def markdown_faults(root):
    """What is wrong with the links of the Markdown files below the folder; how many there are."""
    faults, count = [], 0
    files = [file for file in sorted(root.rglob("*.md"))
             if not re.match(r"build$|\.", file.relative_to(root).parts[0])]
    for file in files:
        for number, target in markdown_links(file.read_text(encoding="utf-8")):
            if SCHEME.match(target):
                continue
            count += 1
            path, _, anchor = target.partition("#")
            place = (file.parent / urllib.parse.unquote(path)).resolve() if path else file
            where = f"{file.relative_to(root)}:{number}: {target}"
            if not place.exists() or root not in [place, *place.parents]:
                faults.append(f"{where}: no such file")
            elif anchor and anchor not in anchors(place):
                faults.append(f"{where}: no such heading")
    return faults, count


def anchors(file):
    if file.suffix != ".md":
        return ()
    return {name for *_, name in prepare.headings(file.read_text(encoding="utf-8"))}


class Page(html.parser.HTMLParser):
    """The anchors of a page, where its links lead, and what a browser loads with it."""

    def __init__(self, text):
        super().__init__()
        self.anchors, self.links, self.loaded = set(), [], []
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        attributes = {name: value or "" for name, value in attrs}
        self.anchors |= {attributes[name] for name in ("id", "name") if name in attributes}
        for name in ("href", "src", "data"):
            if name in attributes:
                leads = tag in ("a", "area")
                (self.links if leads else self.loaded).append(attributes[name])

    handle_startendtag = handle_starttag


def html_faults(folder):
    faults, count = [], 0
    pages = {file: Page(file.read_text(encoding="utf-8")) for file in sorted(folder.rglob("*.html"))}
    targets = [(file, target) for file, page in pages.items() for target in page.links + page.loaded]
    for file, page in pages.items():
        faults += [f"{file.name}: loads {target}" for target in page.loaded if NETWORK.match(target)]
    for file in sorted(folder.rglob("*.js")):
        text = file.read_text(encoding="utf-8")
        targets += [(file, target) for target in re.findall(r'"([\w./-]+\.html(?:#[\w.:-]+)?)"', text)]
    for file in sorted(folder.rglob("*.css")):
        text = file.read_text(encoding="utf-8")
        for target in re.findall(r"""url\(["']?([^"')]+)|@import\s+["']([^"']+)""", text):
            target = "".join(target)
            if NETWORK.match(target):
                faults.append(f"{file.name}: loads {target}")
    for file, target in targets:
        if SCHEME.match(target) or not target:
            continue
        count += 1
        path, _, anchor = urllib.parse.unquote(target).partition("#")
        base = folder if file.suffix == ".js" else file.parent
        place = (base / path).resolve() if path else file
        if not place.exists():
            faults.append(f"{file.name}: {target}: no such file")
        elif anchor and place in pages and anchor not in pages[place].anchors:
            faults.append(f"{file.name}: {target}: no such anchor")
    return sorted(set(faults)), count


def main():
    faults, count = markdown_faults(prepare.ROOT)
    checked = [(faults, count, "Markdown")]
    if sys.argv[1:]:
        checked.append((*html_faults(pathlib.Path(sys.argv[1]).resolve()), "HTML"))
    for faults, count, kind in checked:
        print("\n".join(faults + [f"{kind}: {count} links, {len(faults)} lead nowhere"]))
    if any(faults or not count for faults, count, _ in checked):
        sys.exit(1)


if __name__ == "__main__":
    main()
