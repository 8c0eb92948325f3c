#!/usr/bin/env python3
"""The settings window as a person uses it: opened by starting tarnvik again, operated with the
mouse and with XTest keys, and with Tarnvik's own labels. Each test asserts on the settings
file and on what the shortcuts then do over gtk3-widget-factory."""

import unittest

import pyatspi

from desktop_apps import (Application, ResidentTarnvik, accessible_window, brings_labels, click,
                          intersect, label_drawn_below, screen_pixels, showing_all,
                          key, label_at, labels_mapped, main, poll, process_frame, rect,
                          showing_descendant, targets, window_mapped)

SETTINGS = "Tarnvik Settings"


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

    def open_settings(self, tab):
        """Opens the running tarnvik's settings as a person does, on `tab`."""
        self.assertEqual(self.tarnvik.start_again().returncode, 0)
        window = poll("the settings on the bus", lambda: accessible_window(SETTINGS), 20)
        click(showing_descendant(window, pyatspi.ROLE_LIST_ITEM, tab))
        return window

    def shortcut_shows_labels(self, keys, app=None):
        """Whether the shortcut brings labels over gtk3-widget-factory, or the application
        given."""
        return brings_labels(app or self.app, lambda: key(keys))

    def test_a_recorded_shortcut_works_at_once_and_the_old_one_no_longer(self):
        window = self.open_settings("Clicking")
        recorder = showing_descendant(window, pyatspi.ROLE_PUSH_BUTTON, "Shortcut")
        # The program's own hot keys are paused while it records: the current shortcut is
        # recorded again rather than starting a session.
        click(recorder)
        key("shift+super+space")
        poll("the same shortcut stored",
             lambda: "non-search-shortcut=⇧⌘Space" in self.tarnvik.settings_file(), 10)
        self.assertFalse(labels_mapped())
        # A key that types no character, stored by its name. (Ctrl+Alt and the arrows are the
        # window manager's here.)
        click(recorder)
        key("ctrl+super+Left")
        poll("the new shortcut stored",
             lambda: "non-search-shortcut=⌃⌘Left" in self.tarnvik.settings_file(), 10)

        self.assertTrue(poll("the new shortcut's labels",
                             lambda: self.shortcut_shows_labels("ctrl+super+Left"), 10))
        # Hot keys come in the order they were pressed: once the scroll shortcut is handled,
        # so would the old one have been.
        self.app.bring_to_front()
        mark = self.tarnvik.output.mark()
        key("shift+super+space", "shift+super+j")
        self.assertTrue(self.tarnvik.shortcut_handled("scroll", mark))
        self.assertEqual(self.tarnvik.shortcut_lines(mark), ["shortcut: scroll mode on"],
                         "the old shortcut does nothing")
        key("Escape")
        poll("scroll mode ended", lambda: not window_mapped("Tarnvik Scrolling"), 10)

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
        click(showing_descendant(window, pyatspi.ROLE_PUSH_BUTTON, "Select Apps"))
        click(showing_descendant(window, pyatspi.ROLE_TEXT, "Search apps"))
        key(*"widget")
        # Ticked with Tarnvik's own label, as a person without a mouse ticks it.
        row = showing_descendant(window, pyatspi.ROLE_LIST_ITEM, "Widget Factory")
        label = poll("a label on the row", lambda: label_at(rect(row), targets()["targets"]), 10)
        key("shift+super+space")
        poll("labels over the settings", labels_mapped, 10)
        key(*label.lower())
        poll("the row ticked", lambda: row.getState().contains(pyatspi.STATE_CHECKED), 10)
        click(showing_descendant(window, pyatspi.ROLE_PUSH_BUTTON, "Done"))
        poll("the application stored",
             lambda: "org.gtk.WidgetFactory4.desktop" in self.tarnvik.settings_file(), 10)

        def handled_with_no_session():
            gtk4.bring_to_front()
            mark = self.tarnvik.output.mark()
            key("shift+super+space")
            if self.tarnvik.shortcut_handled("click", mark):
                # Before the program read the change.
                key("Escape")
                poll("the labels gone", lambda: not labels_mapped(), 10)
                return False
            self.assertNotIn("unable to find", "\n".join(self.tarnvik.output.lines(mark)))
            return True
        poll("the shortcut handled over it with no session", handled_with_no_session, 20)
        self.assertFalse(labels_mapped())

        window = self.open_settings("Ignored Apps")
        click(showing_descendant(window, pyatspi.ROLE_PUSH_BUTTON, "Remove Widget Factory"))
        poll("the application taken off",
             lambda: "org.gtk.WidgetFactory4.desktop" not in self.tarnvik.settings_file(), 10)
        self.assertTrue(poll("labels over it again", lambda: self.shortcut_shows_labels(
            "shift+super+space", gtk4), 20))

    def test_tarnvik_labels_drive_its_own_settings(self):
        window = self.open_settings("Clicking")
        chain = showing_descendant(window, pyatspi.ROLE_CHECK_BOX, "Chain clicks")
        self.assertFalse(chain.getState().contains(pyatspi.STATE_CHECKED))
        listing = targets()["targets"]
        label = label_at(rect(chain), listing)
        self.assertIsNotNone(label, "the toggle is a target")

        key("shift+super+space")
        poll("labels over the settings", labels_mapped, 10)
        key(*label.lower())
        poll("the toggle flipped", lambda: chain.getState().contains(pyatspi.STATE_CHECKED), 10)
        poll("the preference written", lambda: "chain-clicks=true" in self.tarnvik.settings_file(), 10)
        poll("the labels gone", lambda: not labels_mapped(), 10)

    def test_over_an_open_combo_box_list_only_its_items_get_labels(self):
        window = self.open_settings("General")
        combo = showing_descendant(window, pyatspi.ROLE_COMBO_BOX)
        click(combo)

        def item(name):
            return next(iter(showing_all(combo, lambda a: a.getRole() == pyatspi.ROLE_LIST_ITEM
                                         and a.name == name and rect(a)[2] > 0)), None)
        dark = poll("the open list", lambda: item("Dark"), 10)
        # Qt makes the items wider than their list: the label stands where the item shows.
        shown = intersect(rect(dark), rect(dark.parent))
        login = showing_descendant(window, pyatspi.ROLE_CHECK_BOX, "Launch on login")
        key("shift+super+space")
        pixels = poll("the list's labels", lambda: (p := screen_pixels())
                      and label_drawn_below(shown, p) and p, 10)
        self.assertFalse(label_drawn_below(rect(login), pixels), "the window behind: no labels")
        key("Escape")
        poll("the labels gone", lambda: not labels_mapped(), 10)
        key("Escape")

    def test_without_a_tray_the_program_says_how_to_reach_it_and_the_settings_quit_it(self):
        # This desktop has neither a StatusNotifierItem host nor an XEmbed tray.
        self.tarnvik.output.wait_for("this desktop shows no tray")
        window = self.open_settings("General")
        tray = showing_descendant(window, pyatspi.ROLE_CHECK_BOX, "Show tray icon")
        self.assertFalse(tray.getState().contains(pyatspi.STATE_ENABLED),
                         "no tray icon to show or hide")
        click(showing_descendant(window, pyatspi.ROLE_PUSH_BUTTON, "Quit Tarnvik"))
        self.assertEqual(self.tarnvik.process.wait(10), 0)
        self.tarnvik.process = None


if __name__ == "__main__":
    main()
