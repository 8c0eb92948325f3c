#!/usr/bin/env python3
"""Settings a person broke by hand: numbers no setting takes. The program says what it set aside,
and still labels and scrolls as with no settings at all. (A file that is no settings file and a
folder that can't hold one are the store's, tested with the real store in PreferencesTest.)"""

import os
import sys
import time
import unittest

import pyatspi

from desktop_apps import (OverlaySession, brings_labels, key, main, poll, rect, showing_all,
                          window_mapped, xdotool)
from scroll_mode_test import choose, start_scrolling

LISTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "apps", "scroll_lists.py")
UNUSABLE = ("scroll-px-per-ms=nan\ndash-speed-multiplier=inf\nlabel-font-size=-5\n"
            "soundEffectVolume=1e308\n")


class SettingsValues(OverlaySession):
    overlay = "Tarnvik Scrolling"

    @classmethod
    def setUpClass(cls):
        cls.open_application(lambda home: [sys.executable, LISTS], "Scroll Lists")
        cls.list = min(showing_all(cls.window, lambda a: a.getRole() == pyatspi.ROLE_SCROLL_PANE),
                       key=lambda pane: rect(pane)[0])

    def position(self):
        bar = next(child for child in self.list if child is not None
                   and child.getRole() == pyatspi.ROLE_SCROLL_BAR
                   and child.getState().contains(pyatspi.STATE_VERTICAL))
        return bar.queryValue().currentValue

    def scrolled_in_a_second(self):
        """How far a second of J moves the list from its top."""
        start_scrolling(self.list)
        choose(3, self.list)
        key("g", "g")
        poll("the list at the top", lambda: self.position() == 0, 10)
        xdotool("keydown", "j")
        poll("the list moving", lambda: self.position() > 0, 10)
        time.sleep(1)  # the key held, as a person holds it
        xdotool("keyup", "j")

        # At rest: the same place in three readings, each a tenth of a second after the last.
        readings = []

        def at_rest():
            readings.append(self.position())
            return readings[-3:] == [readings[-1]] * 3
        poll("the list at rest", at_rest, 10)
        moved = readings[-1]
        key("Escape")
        poll("scrolling ended", lambda: not window_mapped(self.overlay), 10)
        return moved

    def test_numbers_no_setting_takes_give_the_defaults_and_are_named(self):
        self.tarnvik.start()
        usual = self.scrolled_in_a_second()
        self.tarnvik.start(UNUSABLE)
        scrolled = self.scrolled_in_a_second()
        # A second of J moves the list by the same number of wheel steps, give or take the
        # timing of the key's press and release.
        self.assertLess(abs(scrolled - usual), 0.4 * usual, (scrolled, usual))
        self.tarnvik.output.wait_for("scroll-px-per-ms=nan")
        self.assertTrue(brings_labels(self.app, lambda: key("shift+super+space")),
                        "labels at the default size")
        with open(os.path.join(self.tarnvik.config, "tarnvik", "tarnvik.conf")) as f:
            self.assertEqual(f.read(), "[General]\n" + UNUSABLE, "the file is left as it was")


if __name__ == "__main__":
    main()
