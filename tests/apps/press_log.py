#!/usr/bin/env python3
"""A button that names itself after the last press it received, with the modifiers X gave that
press, and an entry to type into: what the click's modifiers are tested on."""

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk  # noqa: E402

MODIFIERS = [(Gdk.ModifierType.SHIFT_MASK, "Shift"), (Gdk.ModifierType.CONTROL_MASK, "Control"),
             (Gdk.ModifierType.MOD1_MASK, "Alt"), (Gdk.ModifierType.MOD4_MASK, "Super")]


def pressed(button, event):
    held = [name for mask, name in MODIFIERS if event.state & mask]
    button.set_label(f"button {event.button} with {'+'.join(held) or 'nothing'}")
    return False


window = Gtk.Window(title="Tarnvik Press Log")
window.set_default_size(400, 200)
box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL, spacing=8, margin=20)
button = Gtk.Button(label="not pressed")
button.connect("button-press-event", pressed)
box.pack_start(button, True, True, 0)
box.pack_start(Gtk.Entry(), False, False, 0)
window.add(box)
window.connect("destroy", Gtk.main_quit)
window.show_all()
Gtk.main()
