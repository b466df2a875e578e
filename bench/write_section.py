#!/usr/bin/env python3
"""Puts text between the markers of a section: write_section.py DOCUMENT SECTION TEXTFILE

The markers are the lines "<!-- SECTION -->" and "<!-- end of SECTION -->".
"""

import pathlib
import sys


def main():
    document, section, text = pathlib.Path(sys.argv[1]), sys.argv[2], pathlib.Path(sys.argv[3])
    lines = document.read_text(encoding="utf-8").splitlines()
    try:
        begin = lines.index(f"<!-- {section} -->")
        end = lines.index(f"<!-- end of {section} -->")
    except ValueError:
        sys.exit(f"{document}: the markers of {section} are missing")
    new = text.read_text(encoding="utf-8").strip("\n").splitlines()
    lines[begin + 1 : end] = ["", *new, ""]
    document.write_text("\n".join(lines) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()
