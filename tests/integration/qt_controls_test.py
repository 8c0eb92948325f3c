#!/usr/bin/env python3
"""tarnvik targets against a small Qt 6 program with known controls (tests/apps/qt_controls),
checked against what Qt reports through AT-SPI."""

import os
import unittest

import pyatspi

from desktop_apps import Application, accessible_window, main, poll, rect, targets

PROGRAM = os.environ["QT_CONTROLS"]
TITLE = "Tarnvik Qt Controls"


def named(window, name, role):
    """The element of the window with this name and role, as Qt reports it."""
    return pyatspi.findDescendant(
        window, lambda a: a is not None and a.name == name and a.getRole() == role)


class QtControls(unittest.TestCase):
    def setUp(self):
        self.app = Application(lambda home: [PROGRAM])
        self.addCleanup(self.app.stop)
        self.app.bring_to_front()
        self.window = poll("the window on the accessibility bus", lambda: accessible_window(TITLE))

    def test_the_controls_are_targets_with_the_frames_qt_reports(self):
        labelled = targets("--search", "")["targets"]
        found = {t["title"]: t for t in labelled}
        self.assertEqual([t["title"] for t in labelled].count("File"), 1,
                         "the menu bar is read once, as the menu bar")
        expected = {
            "Press Me": ("AXButton", pyatspi.ROLE_PUSH_BUTTON),
            "Check Me": ("AXCheckBox", pyatspi.ROLE_CHECK_BOX),
            "Radio A": ("AXRadioButton", pyatspi.ROLE_RADIO_BUTTON),
            "Radio B": ("AXRadioButton", pyatspi.ROLE_RADIO_BUTTON),
            "First Tab": ("AXRadioButton", pyatspi.ROLE_PAGE_TAB),
            "Second Tab": ("AXRadioButton", pyatspi.ROLE_PAGE_TAB),
            "Item 1": ("AXRow", pyatspi.ROLE_LIST_ITEM),
        }
        for name, (role, qt_role) in expected.items():
            self.assertIn(name, found)
            self.assertEqual(found[name]["role"], role, name)
            self.assertEqual(tuple(found[name]["frame"]), rect(named(self.window, name, qt_role)),
                             name)
        self.assertEqual(found["First Tab"]["subrole"], "AXTabButton")
        self.assertIn("AXTextField", {t["role"] for t in found.values()})
        self.assertNotIn("Hidden Button", found, "it lies on the tab that isn't shown")

        # Label mode reads neither, but prints both, read after the timed build.
        printed = {t["title"]: t for t in targets()["targets"]}
        self.assertEqual(printed["First Tab"]["subrole"], "AXTabButton")
        self.assertEqual(printed["Press Me"]["frame"], found["Press Me"]["frame"])


if __name__ == "__main__":
    main()
