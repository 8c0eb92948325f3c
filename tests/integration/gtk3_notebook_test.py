#!/usr/bin/env python3
"""An editor's document in a GTK 3 notebook whose tabs are hidden (tests/apps/tabless_editor.py):
GTK gives the page tab no place on the screen, yet the document it holds is labelled, and its
label puts the caret where a click there would. Every assertion is on what the editor reports
through AT-SPI."""

import os
import sys

import pyatspi

from desktop_apps import OverlaySession, key, main, poll, rect, targets, window_mapped

EDITOR = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "apps",
                      "tabless_editor.py")


def text_views(window):
    return pyatspi.utils.findAllDescendants(
        window, lambda a: a.getRole() == pyatspi.ROLE_TEXT
        and a.getState().contains(pyatspi.STATE_MULTI_LINE))


class TablessNotebook(OverlaySession):
    overlay = "Tarnvik Labels"

    @classmethod
    def setUpClass(cls):
        cls.open_application(lambda home: [sys.executable, EDITOR], "Tabless Editor")
        views = text_views(cls.window)
        shown = [v for v in views if v.getState().contains(pyatspi.STATE_SHOWING)]
        assert len(views) == 2 and len(shown) == 1, views
        cls.document = shown[0]
        cls.hidden = next(v for v in views if v != cls.document)
        tab = cls.document.parent.parent
        assert tab.getRole() == pyatspi.ROLE_PAGE_TAB, tab.getRoleName()
        # What this test is about: the page tab that holds the document has no place.
        assert rect(tab)[2] < 0, rect(tab)
        cls.tarnvik.start()

    def test_the_shown_document_alone_is_labelled_and_its_label_puts_the_caret_there(self):
        save = pyatspi.findDescendant(self.window, lambda a: a.name == "Save")
        save.queryComponent().grabFocus()
        poll("the button focused", lambda: save.getState().contains(pyatspi.STATE_FOCUSED), 10)
        text = self.document.queryText()
        text.setCaretOffset(0)
        frame = rect(self.document)
        roles = {tuple(t["frame"]): (t["role"], t["label"]) for t in targets()["targets"]}
        self.assertEqual(roles[frame][0], "AXTextArea")
        self.assertNotIn(rect(self.hidden), roles)
        self.assertNotIn("AXRadioButton", [r for r, _ in roles.values()], "no tab shows")
        # Where a click at the document's centre puts the caret, as GTK reports it.
        x, y = frame[0] + frame[2] // 2, frame[1] + frame[3] // 2
        expected = text.getOffsetAtPoint(x, y, pyatspi.DESKTOP_COORDS)
        self.assertGreater(expected, 0)

        key("shift+super+space")
        poll("the overlay", lambda: window_mapped(self.overlay), 10)
        key(*[c.lower() for c in roles[frame][1]])
        poll("the document focused",
             lambda: self.document.getState().contains(pyatspi.STATE_FOCUSED), 10)
        poll("the caret where the click was",
             lambda: abs(text.caretOffset - expected) <= 1, 10)


if __name__ == "__main__":
    main()
