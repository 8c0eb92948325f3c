#!/usr/bin/env python3
"""A desktop's panels (tests/apps/panels.py): the bar along the top holds extras and the other
panel is the Dock, both labelled beside the frontmost window, with the frames the panel's
toolkit reports through AT-SPI."""

import os
import unittest

import pyatspi

from desktop_apps import Application, accessible_window, main, poll, rect, targets

PANELS = os.path.join(os.path.dirname(__file__), "..", "apps", "panels.py")
QT_CONTROLS = os.environ["QT_CONTROLS"]


class Panels(unittest.TestCase):
    def setUp(self):
        self.panels = Application(lambda home: ["/usr/bin/python3", PANELS])
        self.addCleanup(self.panels.stop)
        self.bar = poll("the top panel", lambda: accessible_window("Tarnvik Top Panel"))
        self.dock = poll("the dock", lambda: accessible_window("Tarnvik Dock"))
        self.app = Application(lambda home: [QT_CONTROLS])
        self.addCleanup(self.app.stop)
        self.app.bring_to_front()
        poll("the window on the accessibility bus", lambda: accessible_window("Qt Controls"))

    def test_the_top_panel_holds_extras_and_the_other_is_the_dock(self):
        labelled = targets("--search", "")["targets"]
        found = {t["title"]: t for t in labelled}
        for panel, names in ((self.bar, ("Clock", "Network", "Volume")),
                             (self.dock, ("Files", "Terminal", "Browser"))):
            for name in names:
                button = pyatspi.findDescendant(panel, lambda a, n=name: a.name == n)
                self.assertIn(name, found)
                self.assertEqual(tuple(found[name]["frame"]), rect(button), name)
        self.assertIn("Press Me", found, "the window is labelled as well")
        self.assertEqual([t["title"] for t in labelled].count("File"), 1,
                         "the window's own menu bar stays the menu bar")


if __name__ == "__main__":
    main()
