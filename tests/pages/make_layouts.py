#!/usr/bin/env python3
"""Long pages of links and buttons laid out as real pages lay them out, so that what reading
them costs can't hang on one shape. None puts more than a thousand children in one container
at 10,000 controls, and every one shows some 300-700 of them at the top of a 1920x1080 window.

    make_layouts.py LAYOUT N PATH   writes a page of N controls titled "Tarnvik N LAYOUT"

    grid     sections of a heading and a CSS grid of 100 buttons
    table    a table of 10 columns, a link in each cell, every fifth a button
    lists    nested lists: groups of ten lines, each a label and a row of ten links
    article  chapters of twenty paragraphs of text with ten links each, inline
"""

import sys
from pathlib import Path


def control(n):
    ident = f"c{n}"
    if n % 5 == 0:
        return f'<button id="{ident}">{ident}</button>'
    return f'<a id="{ident}" href="#{ident}">{ident}</a>'


def chunks(count, size):
    """The numbers 1..count in runs of `size`."""
    for start in range(1, count + 1, size):
        yield range(start, min(start + size, count + 1))


def grid(count):
    sections = []
    for k, run in enumerate(chunks(count, 100), 1):
        buttons = "".join(f'<button id="c{n}">c{n}</button>' for n in run)
        sections.append(f'<section><h2>Section {k}</h2><div class="grid">{buttons}</div>'
                        '</section>')
    return "\n".join(sections)


def table(count):
    rows = []
    for run in chunks(count, 10):
        rows.append("<tr>" + "".join(f"<td>{control(n)}</td>" for n in run) + "</tr>")
    header = "<tr>" + "".join(f"<th>Column {k}</th>" for k in range(1, 11)) + "</tr>"
    return f"<table>\n<thead>{header}</thead>\n<tbody>\n" + "\n".join(rows) + "\n</tbody></table>"


def lists(count):
    groups = []
    for g, group in enumerate(chunks(count, 100), 1):
        lines = []
        for line, run in enumerate(chunks(len(group), 10), 1):
            links = "".join(f"<li>{control(group[i - 1])}</li>" for i in run)
            lines.append(f'<li>Line {g}.{line} <ul class="row">{links}</ul></li>')
        groups.append(f"<li>Group {g}<ul>{''.join(lines)}</ul></li>")
    return "<ul>\n" + "\n".join(groups) + "\n</ul>"


WORDS = ("the quick brown fox jumps over a lazy dog while readers scroll past "
         "long lines of prose").split()


def article(count):
    chapters = []
    paragraphs = list(chunks(count, 10))
    for c in range(0, len(paragraphs), 20):
        text = []
        for p, run in enumerate(paragraphs[c:c + 20]):
            words = []
            for i, n in enumerate(run):
                words.append(" ".join(WORDS[(n + j) % len(WORDS)] for j in range(4 + i % 3)))
                words.append(control(n))
            text.append("<p>" + " ".join(words) + ".</p>")
        chapters.append(f"<section><h2>Chapter {c // 20 + 1}</h2>\n" + "\n".join(text)
                        + "</section>")
    return "<article>\n" + "\n".join(chapters) + "\n</article>"


LAYOUTS = {"grid": grid, "table": table, "lists": lists, "article": article}

STYLE = """
body { margin: 4px; font: 12px sans-serif; }
h2 { font-size: 13px; margin: 2px 0; }
.grid { display: grid; grid-template-columns: repeat(auto-fill, 88px); gap: 2px; }
.grid button, td button, p button, li button { font: 12px sans-serif; padding: 0 2px; }
table { border-collapse: collapse; }
td, th { padding: 0 6px; }
ul { margin: 0; padding-left: 16px; }
ul.row { display: inline-flex; gap: 10px; list-style: none; padding-left: 8px; }
p { margin: 2px 0; line-height: 15px; }
"""


def page(layout, count):
    return f"""<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>Tarnvik {count} {layout}</title>
<style>{STYLE}</style>
</head>
<body>
{LAYOUTS[layout](count)}
</body>
</html>
"""


if __name__ == "__main__":
    if len(sys.argv) != 4 or sys.argv[1] not in LAYOUTS:
        sys.exit(__doc__)
    Path(sys.argv[3]).write_text(page(sys.argv[1], int(sys.argv[2])))
