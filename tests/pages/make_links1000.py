#!/usr/bin/env python3
"""Writes links1000.html: 1,000 links and buttons. The first 600 (ids v1..v600) sit in a dense
grid at the top that fits a 1920x1080 window; 100 (h1..h100) are display:none; 300 (o1..o300)
lie below the fold. Every fifth one is a button."""

from pathlib import Path


def control(prefix, n):
    ident = f"{prefix}{n}"
    if n % 5 == 0:
        return f'<button id="{ident}">{ident}</button>'
    return f'<a id="{ident}" href="#{ident}">{ident}</a>'


def grid(prefix, count, style=""):
    cells = "\n".join(control(prefix, n) for n in range(1, count + 1))
    return f'<div class="grid" id="{prefix}-grid"{style}>\n{cells}\n</div>'


page = f"""<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>Tarnvik 1000 Links</title>
<style>
body {{ margin: 4px; font: 12px sans-serif; }}
.grid {{ display: grid; grid-template-columns: repeat(20, 90px); grid-auto-rows: 22px; gap: 2px; }}
.grid button {{ font: 12px sans-serif; padding: 0; }}
#fold {{ height: 2000px; }}
</style>
</head>
<body>
{grid("v", 600)}
{grid("h", 100, ' style="display:none"')}
<div id="fold"></div>
{grid("o", 300)}
</body>
</html>
"""
Path(__file__).with_name("links1000.html").write_text(page)
