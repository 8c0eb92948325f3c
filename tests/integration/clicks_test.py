#!/usr/bin/env python3
"""Clicks as an application receives them: a GTK 3 button that names itself after the last press
it received (tests/apps/press_log.py) tells, through AT-SPI, what X gave it: the modifiers, and
how many presses and double clicks came."""

import os
import time

import pyatspi

from desktop_apps import (OverlaySession, Xkb, assert_typing_reaches, key, label_at, main, poll,
                          rect, targets, window_mapped, xdotool)

PRESS_LOG = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "apps", "press_log.py")


class Clicks(OverlaySession):
    overlay = "Tarnvik Labels"

    @classmethod
    def setUpClass(cls):
        cls.open_application(lambda home: ["/usr/bin/python3", PRESS_LOG], "Tarnvik Press Log")
        cls.tarnvik.start()

    def find(self, role):
        return pyatspi.findDescendant(self.window, lambda a: a is not None and a.getRole() == role)

    def show_labels(self):
        """The button, and its label once the labels show."""
        button = self.find(pyatspi.ROLE_PUSH_BUTTON)
        label = label_at(rect(button), targets()["targets"]).lower()
        key("shift+super+space")
        poll("the overlay", lambda: window_mapped(self.overlay), 10)
        return button, label

    def last_letter_with(self, held, how_long=0.0):
        """Types the button's label, holding the modifier for the last letter as a person does,
        a little longer than the letter itself; answers the modifiers the button received."""
        button, label = self.show_labels()
        before = button.name
        if len(label) > 1:
            key(*label[:-1])
        xdotool("keydown", held, "key", label[-1])
        time.sleep(how_long)
        xdotool("keyup", held)
        return poll("a press", lambda: button.name if button.name != before else None,
                    10).split(",")[0]

    def assert_plain_typing(self):
        # The click's release, and a Command-click's Control with it, come 0.1 s after its press,
        # which is what the caller saw: a person turns to the entry after that.
        poll("the click's button and modifiers let go", Xkb().nothing_held, 10)
        assert_typing_reaches(self.find(pyatspi.ROLE_TEXT), "qv")

    def test_shift_right_clicks_with_no_modifier_even_when_held_after_the_letter(self):
        self.assertEqual(self.last_letter_with("shift", 0.4), "button 3 with nothing")
        self.assert_plain_typing()

    def test_the_last_letter_typed_again_quickly_double_clicks(self):
        button, label = self.show_labels()

        def counts():
            name = button.name
            return (0, 0) if "," not in name else tuple(
                int(part.split()[0]) for part in name.split(", ")[1:])
        presses, doubles = counts()
        # The second press comes before the first click's own release was due.
        xdotool("key", "--delay", "60", *label, label[-1], label[-1])
        poll("three presses", lambda: counts()[0] == presses + 3, 10)
        self.assertEqual(counts()[1], doubles + 1, "the second of them a double click")

    def test_super_clicks_with_control_alone_and_leaves_nothing_held(self):
        self.assertEqual(self.last_letter_with("super"), "button 1 with Control")
        self.assert_plain_typing()


if __name__ == "__main__":
    main()
