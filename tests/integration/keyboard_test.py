#!/usr/bin/env python3
"""The keyboard around the shortcuts, as a person uses it: Caps Lock as the Hyperkey, a shortcut
of modifiers alone, and a second layout that each mode switches away from and back to. Asserts
on the labels, on XKB's state, and on what gtk3-widget-factory and a GTK list report."""

import os
import subprocess
import sys
import unittest

import pyatspi

from desktop_apps import (Application, ResidentTarnvik, Xkb, accessible_window, brings_labels,
                          click, key, label_at, labels_mapped, main, pointer, poll, process_frame,
                          rect, showing_all, showing_descendant, targets, window_mapped, xdotool)

CAPS = "66"  # Caps Lock's X key code
LISTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "apps", "scroll_lists.py")


class Keyboard(unittest.TestCase):

    @classmethod
    def setUpClass(cls):
        cls.xkb = Xkb()
        cls.app = Application(lambda home: ["gtk3-widget-factory"])
        cls.app.bring_to_front()
        cls.window = poll("the window on the bus", lambda: process_frame(cls.app.process.pid))
        cls.tarnvik = ResidentTarnvik()

    @classmethod
    def tearDownClass(cls):
        cls.tarnvik.remove()
        cls.app.stop()

    def tearDown(self):
        self.tarnvik.stop()
        subprocess.run(["setxkbmap", "-layout", "us"], check=True)

    def shows_labels(self, *held):
        """Whether the keys, held down together over gtk3-widget-factory, bring labels."""
        return brings_labels(self.app, lambda: xdotool(*sum((["keydown", k] for k in held), [])),
                             lambda: xdotool(*sum((["keyup", k] for k in reversed(held)), [])))

    def typed_into_entry(self, *press):
        entry = showing_descendant(self.window, pyatspi.ROLE_TEXT)
        entry.queryComponent().grabFocus()
        poll("the entry focused", lambda: entry.getState().contains(pyatspi.STATE_FOCUSED), 10)
        key("End")
        before = entry.queryText().getText(0, -1)
        for step in press:
            step()
        # A plain key after them, which Caps Lock leaves alone: once it arrives, so has all
        # they typed.
        key("1")

        def typed():
            text = entry.queryText().getText(0, -1)
            return text if len(text) > len(before) and text.endswith("1") else None
        after = poll("the keys typed", typed, 10)
        key(*["BackSpace"] * (len(after) - len(before)))
        return after[len(before):-1]

    def test_caps_lock_held_is_the_hyperkey_of_a_shortcut_recorded_with_it(self):
        self.tarnvik.start("enable-hyper-key=true\n")
        # Recorded as a person records it: Caps Lock held and Space, in the settings.
        self.assertEqual(self.tarnvik.start_again().returncode, 0)
        settings = poll("the settings", lambda: accessible_window("Tarnvik Settings"), 20)
        click(showing_descendant(settings, pyatspi.ROLE_LIST_ITEM, "Clicking"))
        click(showing_descendant(settings, pyatspi.ROLE_PUSH_BUTTON, "Shortcut"))
        xdotool("keydown", CAPS, "key", "space", "keyup", CAPS)
        poll("⌃⌥⇧⌘Space stored",
             lambda: "non-search-shortcut=⌃⌥⇧⌘Space" in self.tarnvik.settings_file(), 10)

        self.assertTrue(poll("Caps Lock and Space to show the labels",
                             lambda: self.shows_labels(CAPS, "space"), 10))
        self.assertFalse(self.xkb.caps_locked())
        # The X server has taken xdotool's keys once it ends, and the lock would show at once.
        xdotool("key", CAPS)
        self.assertFalse(self.xkb.caps_locked(), "a lone tap locks nothing")
        self.assertEqual(self.typed_into_entry(
            lambda: xdotool("keydown", CAPS), lambda: xdotool("key", "j"),
            lambda: xdotool("keyup", CAPS)), "j", "other applications get the plain key")

        # A keymap loaded meanwhile gives the key its symbol back: its first press takes it
        # again.
        subprocess.run(["setxkbmap", "-layout", "us"], check=True)
        xdotool("key", CAPS)
        poll("the lock taken off again", lambda: not self.xkb.caps_locked(), 5)
        self.assertEqual(self.typed_into_entry(
            lambda: xdotool("keydown", CAPS), lambda: xdotool("key", "j"),
            lambda: xdotool("keyup", CAPS)), "j")

        self.tarnvik.stop()
        xdotool("key", CAPS)
        poll("Caps Lock itself again", self.xkb.caps_locked, 5)
        xdotool("key", CAPS)

    def test_a_shortcut_of_super_and_alt_fires_when_both_are_down(self):
        self.tarnvik.start("non-search-shortcut=⌥⌘\n")
        self.app.bring_to_front()
        mark = self.tarnvik.output.mark()
        xdotool("keydown", "super")
        try:
            handled = poll("Super handled", lambda: next(
                (line for line in self.tarnvik.output.lines(mark)
                 if line.startswith(("modifiers:", "shortcut:"))), None), 10)
        finally:
            xdotool("keyup", "super")
        self.assertEqual(handled, "modifiers: no shortcut", "Super alone")
        self.assertTrue(self.shows_labels("super", "alt"))

    def test_each_mode_types_on_the_chosen_layout_and_gives_the_other_back(self):
        subprocess.run(["setxkbmap", "-layout", "us,ru"], check=True)
        self.xkb.lock_group(1)
        poll("the Russian layout in use", lambda: self.xkb.group() == 1, 5)
        self.tarnvik.start("auto-switch-input-source-id=us\n")

        box = showing_all(self.window, lambda a: a.getRole() == pyatspi.ROLE_CHECK_BOX
                          and a.getState().contains(pyatspi.STATE_SENSITIVE))[0]
        checked = box.getState().contains(pyatspi.STATE_CHECKED)
        self.app.bring_to_front()
        label = label_at(rect(box), targets()["targets"])
        key("shift+super+space")
        poll("the labels", labels_mapped, 10)
        self.assertEqual(self.xkb.group(), 0, "US while the labels show")
        key(*label.lower())
        poll("the check box clicked",
             lambda: box.getState().contains(pyatspi.STATE_CHECKED) != checked, 10)
        poll("Russian given back", lambda: self.xkb.group() == 1, 10)

        lists = Application(lambda home: [sys.executable, LISTS])
        self.addCleanup(lists.stop)
        lists.bring_to_front()
        window = poll("the lists", lambda: accessible_window("Scroll Lists"))
        self.tarnvik.start("auto-switch-input-source-id=us\nscroll-keys=hjkl\n")
        lists.bring_to_front()
        bars = showing_all(window, lambda a: a.getRole() == pyatspi.ROLE_SCROLL_BAR
                           and a.getState().contains(pyatspi.STATE_VERTICAL))

        def positions():
            return [bar.queryValue().currentValue for bar in bars]
        start = positions()
        key("shift+super+j")
        poll("the scroll overlay", lambda: window_mapped("Tarnvik Scrolling"), 10)
        self.assertEqual(self.xkb.group(), 0)
        # The areas come once the window's tree is read: 2, the second list, until the pointer
        # stands in it.
        panes = showing_all(window, lambda a: a.getRole() == pyatspi.ROLE_SCROLL_PANE)

        def in_a_list():
            key("2")
            x, y = pointer()
            return any(px <= x < px + pw and py <= y < py + ph
                       for px, py, pw, ph in map(rect, panes))
        poll("the pointer in a list", in_a_list, 10)
        xdotool("keydown", "j")
        try:
            poll("a list scrolled by J", lambda: positions() != start, 10)
        finally:
            xdotool("keyup", "j")
        key("Escape")
        poll("Russian given back", lambda: self.xkb.group() == 1, 10)


if __name__ == "__main__":
    main()
