#!/usr/bin/env python3
"""A click carries exactly the modifiers it stands for: a GTK 3 button that names itself after
the last press it received (tests/apps/press_log.py) tells, through AT-SPI, what X gave it."""

import os
import subprocess
import time
import unittest

import pyatspi

from desktop_apps import (Application, OverlaySession, ResidentTarnvik, accessible_window, key,
                          poll, rect, targets, window_mapped)

PRESS_LOG = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "apps", "press_log.py")


class ClickModifiers(OverlaySession):
    overlay = "Tarnvik Labels"

    @classmethod
    def setUpClass(cls):
        cls.tarnvik = ResidentTarnvik()
        cls.tarnvik.start()
        cls.app = Application(lambda home: ["/usr/bin/python3", PRESS_LOG])
        cls.app.bring_to_front()
        cls.window = poll("the window on the bus", lambda: accessible_window("Tarnvik Press Log"))

    def find(self, role):
        return pyatspi.findDescendant(self.window, lambda a: a is not None and a.getRole() == role)

    def last_letter_with(self, held, how_long=0.0):
        """Types the button's label, holding the modifier for the last letter as a person does,
        a little longer than the letter itself; answers what the button received."""
        button = self.find(pyatspi.ROLE_PUSH_BUTTON)
        frame = list(rect(button))
        label = next(t["label"] for t in targets()["targets"] if t["frame"] == frame).lower()
        before = button.name
        key("shift+super+space")
        poll("the overlay", lambda: window_mapped(self.overlay), 10)
        if len(label) > 1:
            key(*label[:-1])
        subprocess.run(["xdotool", "keydown", held, "key", label[-1]], check=True)
        time.sleep(how_long)
        subprocess.run(["xdotool", "keyup", held], check=True)
        return poll("a press", lambda: button.name if button.name != before else None, 10)

    def assert_plain_typing(self):
        entry = self.find(pyatspi.ROLE_TEXT)
        entry.queryComponent().grabFocus()
        poll("the entry focused", lambda: entry.getState().contains(pyatspi.STATE_FOCUSED), 10)
        key("End", "q", "v")
        poll("plain letters typed", lambda: entry.queryText().getText(0, -1).endswith("qv"), 10)

    def test_shift_right_clicks_with_no_modifier_even_when_held_after_the_letter(self):
        self.assertEqual(self.last_letter_with("shift", 0.4), "button 3 with nothing")
        self.assert_plain_typing()

    def test_super_clicks_with_control_alone_and_leaves_nothing_held(self):
        self.assertEqual(self.last_letter_with("super"), "button 1 with Control")
        self.assert_plain_typing()


if __name__ == "__main__":
    unittest.main(verbosity=2)
