#!/usr/bin/env python3
"""Pages of links and buttons in a dense grid, every fifth one a button, 20 to a row, so that
about 900 fit a 1920x1080 window.

    make_links.py            writes links1000.html: 600 on screen (ids v1..v600), 100 with
                             display:none (h1..h100), 300 below the fold (o1..o300)
    make_links.py N PATH     writes a page of N in one grid (v1..vN), the first 900 or so on
                             screen: what reading must not slow down for
"""

import sys
from pathlib import Path


def control(prefix, n):
    ident = f"{prefix}{n}"
    if n % 5 == 0:
        return f'<button id="{ident}">{ident}</button>'
    return f'<a id="{ident}" href="#{ident}">{ident}</a>'


def grid(prefix, count, style=""):
    cells = "\n".join(control(prefix, n) for n in range(1, count + 1))
    return f'<div class="grid" id="{prefix}-grid"{style}>\n{cells}\n</div>'


def page(title, body):
    return f"""<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>{title}</title>
<style>
body {{ margin: 4px; font: 12px sans-serif; }}
.grid {{ display: grid; grid-template-columns: repeat(20, 90px); grid-auto-rows: 22px; gap: 2px; }}
.grid button {{ font: 12px sans-serif; padding: 0; }}
#fold {{ height: 2000px; }}
</style>
</head>
<body>
{body}
</body>
</html>
"""


if len(sys.argv) == 3:
    count = int(sys.argv[1])
    Path(sys.argv[2]).write_text(page(f"Tarnvik {count} Links", grid("v", count)))
else:
    body = "\n".join([grid("v", 600), grid("h", 100, ' style="display:none"'),
                      '<div id="fold"></div>', grid("o", 300)])
    Path(__file__).with_name("links1000.html").write_text(page("Tarnvik 1000 Links", body))
