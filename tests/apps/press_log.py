#!/usr/bin/env python3
"""A button that names itself after the last press it received, whether it was the second of a
double click, and the modifiers X gave it; and an entry to type into. What clicks are tested
on."""

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk  # noqa: E402

MODIFIERS = [(Gdk.ModifierType.SHIFT_MASK, "Shift"), (Gdk.ModifierType.CONTROL_MASK, "Control"),
             (Gdk.ModifierType.MOD1_MASK, "Alt"), (Gdk.ModifierType.MOD4_MASK, "Super")]


counts = {Gdk.EventType.BUTTON_PRESS: 0, Gdk.EventType.DOUBLE_BUTTON_PRESS: 0}


def pressed(button, event):
    if event.type not in counts:
        return False
    # Named again at the double click too, which comes after the press it completes.
    counts[event.type] += 1
    held = [name for mask, name in MODIFIERS if event.state & mask]
    button.set_label(f"button {event.button} with {'+'.join(held) or 'nothing'}, "
                     f"{counts[Gdk.EventType.BUTTON_PRESS]} presses, "
                     f"{counts[Gdk.EventType.DOUBLE_BUTTON_PRESS]} double")
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
