#!/usr/bin/env python3
"""A desktop's panels: a bar along the top edge with status buttons, and a dock along the bottom
with launchers, both windows of the dock type, as a desktop panel makes them. What the Linux
stand-ins for menu-bar extras and the Dock are tested on."""

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk  # noqa: E402


def panel(title, names, y_of):
    window = Gtk.Window(title=title)
    window.set_type_hint(Gdk.WindowTypeHint.DOCK)
    window.set_decorated(False)
    box = Gtk.Box(spacing=4)
    for name in names:
        box.pack_start(Gtk.Button(label=name), False, False, 0)
    window.add(box)
    display = Gdk.Display.get_default()
    area = (display.get_primary_monitor() or display.get_monitor(0)).get_geometry()

    def place(*_):
        window.move(area.x, area.y + y_of(area.height, window.get_allocated_height()))

    window.set_size_request(area.width, -1)
    window.connect("realize", place)
    window.connect("size-allocate", place)
    window.show_all()
    return window


panel("Tarnvik Top Panel", ["Clock", "Network", "Volume"], lambda height, own: 0)
dock = panel("Tarnvik Dock", ["Files", "Terminal", "Browser"], lambda height, own: height - own)
dock.connect("destroy", Gtk.main_quit)
Gtk.main()
