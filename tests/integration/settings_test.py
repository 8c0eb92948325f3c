#!/usr/bin/env python3
"""The settings window as a person uses it: opened by starting tarnvik again, operated with the
mouse and with XTest keys, and with Tarnvik's own labels. Each test asserts on the settings
file and on what the shortcuts then do over gtk3-widget-factory."""

import os
import pathlib
import subprocess
import time
import unittest

import pyatspi

from desktop_apps import (TARNVIK, Application, ResidentTarnvik, accessible_window, key,
                          label_at, labels_mapped, poll, process_frame, rect, showing, targets,
                          window_mapped)

SETTINGS = "Tarnvik Settings"


def click(accessible):
    x, y, w, h = rect(accessible)
    subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "1"],
                   check=True)


def control(window, role, name):
    """The showing control of that role and name: of two pages' "Shortcut" rows, the shown
    page's."""
    return poll(f"{name} showing", lambda: next(
        (a for a in pyatspi.findAllDescendants(window, lambda a: a is not None
                                               and a.getRole() == role and a.name == name)
         if showing(a)), None), 10)


class Settings(unittest.TestCase):

    @classmethod
    def setUpClass(cls):
        cls.app = Application(lambda home: ["gtk3-widget-factory"])
        cls.app.bring_to_front()
        poll("the window on the bus", lambda: process_frame(cls.app.process.pid))
        cls.tarnvik = ResidentTarnvik()

    @classmethod
    def tearDownClass(cls):
        cls.tarnvik.remove()
        cls.app.stop()

    def setUp(self):
        self.tarnvik.start()

    def tearDown(self):
        self.tarnvik.stop()

    def settings_file(self):
        return pathlib.Path(self.tarnvik.config, "tarnvik", "tarnvik.conf").read_text("utf-8")

    def open_settings(self, tab):
        """Starts tarnvik a second time, which opens the first one's settings, on `tab`."""
        second = subprocess.run([TARNVIK], env=dict(os.environ,
                                                    XDG_CONFIG_HOME=self.tarnvik.config),
                                capture_output=True, timeout=20)
        self.assertEqual(second.returncode, 0)
        window = poll("the settings on the bus", lambda: accessible_window(SETTINGS), 20)
        click(control(window, pyatspi.ROLE_LIST_ITEM, tab))
        return window

    def shortcut_shows_labels(self, keys, app=None):
        """Whether the shortcut brings labels over the application, brought to the front (and
        takes them away again); gtk3-widget-factory unless another is given."""
        (app or self.app).bring_to_front()
        key(keys)
        try:
            poll("the labels", labels_mapped, 2)
        except AssertionError:
            return False
        key("Escape")
        poll("the labels gone", lambda: not labels_mapped(), 10)
        return True

    def test_a_recorded_shortcut_works_at_once_and_the_old_one_no_longer(self):
        window = self.open_settings("Clicking")
        recorder = control(window, pyatspi.ROLE_PUSH_BUTTON, "Shortcut")
        # The program's own hot keys are paused while it records: the current shortcut is
        # recorded again rather than starting a session.
        click(recorder)
        key("shift+super+space")
        poll("the same shortcut stored",
             lambda: "non-search-shortcut=⇧⌘Space" in self.settings_file(), 10)
        self.assertFalse(labels_mapped())
        click(recorder)
        key("ctrl+alt+k")
        poll("the new shortcut stored",
             lambda: "non-search-shortcut=⌃⌥K" in self.settings_file(), 10)

        self.assertTrue(poll("the new shortcut's labels",
                             lambda: self.shortcut_shows_labels("ctrl+alt+k"), 10))
        self.assertFalse(self.shortcut_shows_labels("shift+super+space"),
                         "the old shortcut does nothing")

    def test_an_application_chosen_in_ignored_apps_gets_no_labels_until_removed(self):
        # gtk3-widget-factory's desktop entry keeps it out of menus (NoDisplay), so the selector
        # doesn't offer it: GTK 4's is the application to ignore.
        gtk4 = Application(lambda home: ["gtk4-widget-factory"])
        self.addCleanup(gtk4.stop)
        gtk4.bring_to_front()
        poll("its window on the bus", lambda: process_frame(gtk4.process.pid))
        self.assertTrue(poll("labels over it", lambda: self.shortcut_shows_labels(
            "shift+super+space", gtk4), 20))

        window = self.open_settings("Ignored Apps")
        click(control(window, pyatspi.ROLE_PUSH_BUTTON, "Select Apps"))
        click(control(window, pyatspi.ROLE_TEXT, "Search apps"))
        key(*"widget")
        click(control(window, pyatspi.ROLE_LIST_ITEM, "Widget Factory"))
        key("space")
        click(control(window, pyatspi.ROLE_PUSH_BUTTON, "Done"))
        poll("the application stored",
             lambda: "org.gtk.WidgetFactory4.desktop" in self.settings_file(), 10)
        time.sleep(1)  # a shortcut that does nothing shows nothing in this time
        self.assertFalse(self.shortcut_shows_labels("shift+super+space", gtk4))

        window = self.open_settings("Ignored Apps")
        click(control(window, pyatspi.ROLE_PUSH_BUTTON, "Remove Widget Factory"))
        poll("the application taken off",
             lambda: "org.gtk.WidgetFactory4.desktop" not in self.settings_file(), 10)
        self.assertTrue(poll("labels over it again", lambda: self.shortcut_shows_labels(
            "shift+super+space", gtk4), 20))

    def test_tarnvik_labels_drive_its_own_settings(self):
        window = self.open_settings("Clicking")
        chain = control(window, pyatspi.ROLE_CHECK_BOX, "Chain clicks")
        self.assertFalse(chain.getState().contains(pyatspi.STATE_CHECKED))
        listing = targets()["targets"]
        label = label_at(rect(chain), listing)
        self.assertIsNotNone(label, "the toggle is a target")

        key("shift+super+space")
        poll("labels over the settings", labels_mapped, 10)
        key(*label.lower())
        poll("the toggle flipped", lambda: chain.getState().contains(pyatspi.STATE_CHECKED), 10)
        poll("the preference written", lambda: "chain-clicks=true" in self.settings_file(), 10)
        poll("the labels gone", lambda: not labels_mapped(), 10)


if __name__ == "__main__":
    unittest.main(verbosity=2)
