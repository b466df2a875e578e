#!/usr/bin/env python3
"""Draws the pictures of the documents: pictures.py writes NAME.svg beside every NAME.txt,
pictures.py --check only tells which of them are not what would be written.

The first line of a description is its kind and the picture's title. The lines of `floors` are drawn
one below the other, each resting on the next: NAME: TEXT, several of them divided by bars. The lines
of `record` are the fields of a record, side by side: OFFSET | NAME | LENGTH | TEXT; the last one is
TEXT: NAME to NAME, a bracket below these fields.

A picture has a ground of its own and changes its colours with what its viewer prefers, so it can be
read on any page.
"""

import pathlib
import sys
from xml.sax.saxutils import escape

SVG = """<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" \
viewBox="0 0 {width} {height}" role="img" aria-labelledby="title">
<title id="title">{title}</title>
<style>
text {{ font: 14px sans-serif; text-anchor: middle; fill: #1f2328; }}
.name {{ font-weight: bold; }}
.small {{ font-size: 13px; fill: #59636e; }}
.ground {{ fill: #ffffff; }}
.box {{ fill: #eef4fb; stroke: #4a6f9c; stroke-width: 1.5; }}
.line {{ fill: none; stroke: #4a6f9c; stroke-width: 1.5; }}
.optional {{ stroke-dasharray: 5 4; }}
@media (prefers-color-scheme: dark) {{
text {{ fill: #e6edf3; }}
.small {{ fill: #a5b0bb; }}
.ground {{ fill: #14181d; }}
.box {{ fill: #1f2d3d; stroke: #7fa7d6; }}
.line {{ stroke: #7fa7d6; }}
}}
</style>
<rect class="ground" width="{width}" height="{height}" rx="6"/>
{body}
</svg>
"""
MARGIN = 20
LETTER = 7.5  # the width of a letter, generously


def text(x, y, words, kind):
    return f'<text class="{kind}" x="{x:g}" y="{y:g}">{escape(words)}</text>'


def box(x, y, width, height, kind="box"):
    return f'<rect class="{kind}" x="{x:g}" y="{y:g}" width="{width:g}" height="{height:g}"/>'


def line(points, kind="line"):
    return f'<path class="{kind}" d="M{" L".join(f"{x:g} {y:g}" for x, y in points)}"/>'


def svg(title, width, height, body):
    return SVG.format(title=escape(title), width=round(width), height=round(height),
                      body="\n".join(body))


def floors(title, lines):
    width, tall, gap, between = 680, 58, 34, 16
    body = []
    for level, row in enumerate(lines):
        boxes = [part.strip().split(": ", 1) if ": " in part else [part.strip(), ""]
                 for part in row.split(" | ")]
        room = (width - between * (len(boxes) - 1)) / len(boxes)
        y = MARGIN + level * (tall + gap)
        for number, (name, words) in enumerate(boxes):
            x = MARGIN + number * (room + between)
            middle = x + room / 2
            body.append(box(x, y, room, tall))
            body.append(text(middle, y + (25 if words else 34), name, "name"))
            if words:
                body.append(text(middle, y + 45, words, "small"))
            if level + 1 < len(lines):
                tip = y + tall + gap - 3
                body.append(line([(middle, y + tall), (middle, tip)]))
                body.append(line([(middle - 5, tip - 7), (middle, tip), (middle + 5, tip - 7)]))
    return svg(title, width + 2 * MARGIN, 2 * MARGIN + len(lines) * (tall + gap) - gap, body)


def record(title, lines):
    fields = [[part.strip() for part in row.split("|")] for row in lines[:-1]]
    top, tall = MARGIN + 22, 58
    body, places, x = [], {}, MARGIN + 8.0
    for offset, name, length, words in fields:
        width = max(len(name) * LETTER * 1.15, len(length) * LETTER, len(words) * LETTER) + 18
        places[name] = (x, x + width)
        optional = " optional" if words.endswith("optional") else ""
        body.append(text(x, top - 8, offset.replace("-", "\N{MINUS SIGN}"), "small"))
        body.append(box(x, top, width, tall, "box" + optional))
        body.append(text(x + width / 2, top + 25, name, "name"))
        body.append(text(x + width / 2, top + 45, words, "small"))
        body.append(text(x + width / 2, top + tall + 20,
                         length.replace("-", "\N{MINUS SIGN}"), "small"))
        x += width
    words, span = lines[-1].split(": ")
    first, last = (places[name] for name in span.split(" to "))
    left, right, y = first[0] + 2, last[1] - 2, top + tall + 32
    body.append(line([(left, y), (left, y + 8), (right, y + 8), (right, y)]))
    body.append(text((left + right) / 2, y + 26, words, "small"))
    return svg(title, x + MARGIN + 8, y + 26 + MARGIN, body)


KINDS = {"floors": floors, "record": record}


def main():
    here = pathlib.Path(__file__).parent
    stale = []
    descriptions = sorted(here.glob("*.txt"))
    for description in descriptions:
        head, *lines = description.read_text(encoding="utf-8").splitlines()
        kind, title = head.split(": ", 1)
        picture, file = KINDS[kind](title, lines), description.with_suffix(".svg")
        if sys.argv[1:] != ["--check"]:
            file.write_text(picture, encoding="utf-8")
        elif not file.exists() or file.read_text(encoding="utf-8") != picture:
            stale.append(file.name)
    if stale or not descriptions:
        sys.exit(f"not as described, docs/pictures/pictures.py draws them: {' '.join(stale)}")


if __name__ == "__main__":
    main()
