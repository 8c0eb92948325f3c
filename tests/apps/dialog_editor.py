#!/usr/bin/env python3
"""A GTK 3 editor window with a check box and a button that opens a dialog of its own, with a
check box and a Close button: what a session sees change as a person types, opens a dialog and
closes it."""

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gtk  # noqa: E402

window = Gtk.Window(title="Tarnvik Dialog Editor")
window.set_default_size(700, 500)
view = Gtk.TextView()
scrolled = Gtk.ScrolledWindow()
scrolled.add(view)
find = Gtk.Button(label="Find…")
box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL, spacing=4)
box.pack_start(find, False, False, 0)
box.pack_start(Gtk.CheckButton(label="Wrap lines"), False, False, 0)
box.pack_start(scrolled, True, True, 0)
window.add(box)


def open_dialog(_button):
    dialog = Gtk.Dialog(title="Find", transient_for=window)
    dialog.get_content_area().pack_start(Gtk.CheckButton(label="Match case"), False, False, 8)
    dialog.add_button("Close", Gtk.ResponseType.CLOSE)
    dialog.connect("response", lambda d, _response: d.destroy())
    dialog.show_all()


find.connect("clicked", open_dialog)
window.connect("destroy", Gtk.main_quit)
window.show_all()
Gtk.main()
