#!/usr/bin/env python3
"""Labels drawn from the mirror, the copy of the front window's tree that Tarnvik keeps while
the window has the focus, click what they label after a person has typed into a GTK 3 editor,
opened a dialog and closed it. Every assertion is on what the editor reports through AT-SPI."""

import os
import sys

import pyatspi

from desktop_apps import (OverlaySession, accessible_window, key, label_at, main, poll, rect,
                          showing_all, targets, window_mapped, xdotool)

EDITOR = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "apps",
                      "dialog_editor.py")


def check_box(window, name):
    return showing_all(window, lambda a: a.getRole() == pyatspi.ROLE_CHECK_BOX
                       and a.name == name)[0]


def checked(box):
    return box.getState().contains(pyatspi.STATE_CHECKED)


class Mirror(OverlaySession):
    overlay = "Tarnvik Labels"

    @classmethod
    def setUpClass(cls):
        cls.open_application(lambda home: [sys.executable, EDITOR], "Dialog Editor")
        cls.tarnvik.start()

    def mirrored_session(self, since):
        """A session whose labels came from the mirror, once the mirror is current after the
        mark: a change that came after it makes a session read after the key, which is ended
        and tried again."""
        output = self.tarnvik.output
        for _ in range(5):
            output.wait_for("mirror: current", since, 20)
            mark = output.mark()
            key("shift+super+space")
            output.wait_for("labels drawn", mark, 10)
            if any("labels from the mirror" in line for line in output.lines(mark)):
                return
            key("Escape")
            poll("the overlay to close", lambda: not window_mapped(self.overlay), 10)
            since = mark
        self.fail("no session drew its labels from the mirror")

    def click_through_the_mirror(self, box, since):
        label = label_at(rect(box), targets()["targets"])
        self.assertIsNotNone(label)
        before = checked(box)
        self.mirrored_session(since)
        key(*[c.lower() for c in label])
        poll("the check box toggled", lambda: checked(box) != before, 10)
        poll("the overlay gone", lambda: not window_mapped(self.overlay), 10)

    def test_labels_from_the_mirror_click_what_they_label_after_typing_and_a_dialog(self):
        output = self.tarnvik.output
        document = showing_all(self.window, lambda a: a.getRole() == pyatspi.ROLE_TEXT)[0]
        document.queryComponent().grabFocus()
        poll("the document focused",
             lambda: document.getState().contains(pyatspi.STATE_FOCUSED), 10)
        xdotool("type", "--delay", "40", "Some words typed into the document.")
        poll("the text typed", lambda: "typed" in document.queryText().getText(0, -1), 10)
        self.click_through_the_mirror(check_box(self.window, "Wrap lines"), 0)

        mark = output.mark()
        find = showing_all(self.window, lambda a: a.name == "Find…")[0]
        find.queryAction().doAction(0)
        dialog = poll("the dialog on the bus", lambda: accessible_window("Find"), 10)
        self.click_through_the_mirror(check_box(dialog, "Match case"), mark)

        mark = output.mark()
        close = showing_all(dialog, lambda a: a.name == "Close")[0]
        close.queryAction().doAction(0)
        poll("the dialog gone", lambda: not accessible_window("Find"), 10)
        self.click_through_the_mirror(check_box(self.window, "Wrap lines"), mark)


if __name__ == "__main__":
    main()
