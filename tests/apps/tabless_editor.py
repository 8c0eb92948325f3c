#!/usr/bin/env python3
"""A text editor's window as GTK 3 editors make it: the document in a notebook whose tabs are
hidden, with a button above it; a second document waits on the notebook's other page. GTK then gives the notebook's page tab no place on the screen,
though the document it holds is shown."""

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gtk  # noqa: E402

TEXT = "\n".join(f"Line {i} of the document, with a few words to click on." for i in range(1, 41))

window = Gtk.Window(title="Tarnvik Tabless Editor")
window.set_default_size(700, 500)
view = Gtk.TextView()
view.get_buffer().set_text(TEXT)
scrolled = Gtk.ScrolledWindow()
scrolled.add(view)
notebook = Gtk.Notebook()
notebook.set_show_tabs(False)
notebook.append_page(scrolled, Gtk.Label(label="Document"))
# A second document, open but not shown: nothing of it may be labelled.
other = Gtk.ScrolledWindow()
other.add(Gtk.TextView())
notebook.append_page(other, Gtk.Label(label="Other document"))
box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL, spacing=4)
box.pack_start(Gtk.Button(label="Save"), False, False, 0)
box.pack_start(notebook, True, True, 0)
window.add(box)
window.connect("destroy", Gtk.main_quit)
window.show_all()
Gtk.main()
