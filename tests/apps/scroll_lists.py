#!/usr/bin/env python3
"""Two long lists side by side, each in a scrolled window of its own: what scroll mode is
tested on. Its scroll bars tell, through AT-SPI, how far each list has moved."""

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gtk  # noqa: E402


def scrolled_list(name, rows):
    rows_box = Gtk.ListBox()
    for i in range(1, rows + 1):
        rows_box.add(Gtk.Label(label=f"{name} {i}", xalign=0))
    scrolled = Gtk.ScrolledWindow()
    scrolled.set_policy(Gtk.PolicyType.NEVER, Gtk.PolicyType.ALWAYS)
    # Scroll bars that stay, rather than appear under a moving pointer.
    scrolled.set_overlay_scrolling(False)
    scrolled.add(rows_box)
    return scrolled


window = Gtk.Window(title="Tarnvik Scroll Lists")
window.set_default_size(700, 500)
lists = Gtk.Box(homogeneous=True, spacing=8)
lists.pack_start(scrolled_list("Left", 300), True, True, 0)
lists.pack_start(scrolled_list("Right", 300), True, True, 0)
window.add(lists)
window.connect("destroy", Gtk.main_quit)
window.show_all()
Gtk.main()
