#!/usr/bin/env python3
"""tarnvik targets against gtk4-widget-factory on the virtual desktop, checked against what
the application itself reports through AT-SPI. GTK 4 places its objects relative to its window,
and its stack pages have no place of their own: the two things the backend must get right."""

import subprocess
import unittest

import pyatspi

from desktop_apps import Application, accessible_window, activate, main, poll, targets

CONTROLS = {pyatspi.ROLE_PUSH_BUTTON, pyatspi.ROLE_TOGGLE_BUTTON, pyatspi.ROLE_CHECK_BOX,
            pyatspi.ROLE_RADIO_BUTTON, pyatspi.ROLE_COMBO_BOX}


def window_frame(title):
    """Where the X server has the window: GTK 4's positions start there."""
    info = subprocess.run(["xwininfo", "-name", title], capture_output=True, text=True,
                          check=True).stdout
    return tuple(int(info.split(f"{field}:")[1].split()[0]) for field in
                 ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height"))


def controls(page, origin):
    """The controls of a stack page with their frames on the screen; a control inside another
    (the parts of a combo box, the button inside a menu button) counts as the outer one. GTK 4.18
    reports its window at minus the margin it keeps inside the X window, and every object one
    more margin short of where it stands (the frames its check buttons answer clicks in)."""
    found = []
    window = page
    while window.getRole() != pyatspi.ROLE_FRAME:
        window = window.parent
    w = window.queryComponent().getExtents(pyatspi.WINDOW_COORDS)
    x0, y0 = origin[0] - 2 * w.x, origin[1] - 2 * w.y

    def visit(accessible):
        if accessible.getRole() in CONTROLS:
            e = accessible.queryComponent().getExtents(pyatspi.WINDOW_COORDS)
            found.append((accessible.getRoleName(), accessible.name,
                          (e.x + x0, e.y + y0, e.width, e.height)))
            return
        for child in accessible:
            if child is not None:
                visit(child)

    visit(page)
    return found


class Gtk4WidgetFactory(unittest.TestCase):
    def setUp(self):
        self.app = Application(lambda home: ["gtk4-widget-factory"])
        self.addCleanup(self.app.stop)
        poll("its window in front", lambda: activate({self.app.process.pid}))
        self.window = poll("its window on the bus", lambda: accessible_window("Widget Factory"))

    def check_shown_page(self, minimum):
        """Every control of the page the stack shows is a target, and none of the others."""
        pages = poll("the stack's pages", lambda: pyatspi.utils.findDescendant(
            self.window, lambda a: a.name == "Page _1")).parent
        x, y, width, height = window_frame("GTK Widget Factory")
        frames = {tuple(t["frame"]) for t in targets()["targets"]}
        shown, hidden = [], []
        for page in pages:
            for control in controls(page, (x, y)):
                cx, cy, cw, ch = control[2]
                if cw == 0 or ch == 0:
                    hidden.append(control)
                # One the window's edge cuts is left to the rules for what shows in part.
                elif x <= cx and cx + cw <= x + width and y <= cy and cy + ch <= y + height:
                    shown.append(control)
        self.assertGreater(len(shown), minimum, "the page shows its controls")
        # GTK 4.18 leaves the hidden pages' controls out of the tree.
        version = tuple(int(n) for n in self.window.getApplication().toolkitVersion.split(".")[:2])
        if version < (4, 18):
            self.assertGreater(len(hidden), 20, "the other pages hold controls too")
        self.assertEqual([c for c in shown if c[2] not in frames], [])
        self.assertEqual([c for c in hidden if c[2] in frames], [])

    def test_the_shown_page_is_labelled_and_the_hidden_pages_are_not(self):
        self.check_shown_page(25)
        # GTK 4 keeps every page's widgets in its tree: after a switch the page that was hidden
        # is read, and the first page is not.
        tab = poll("the second page's tab", lambda: pyatspi.utils.findDescendant(
            self.window, lambda a: a.getRole() == pyatspi.ROLE_PAGE_TAB and a.name == "Page _2"))
        tab.queryAction().doAction(0)
        poll("the second page shown", lambda: tab.getState().contains(pyatspi.STATE_SELECTED))
        self.check_shown_page(5)

    def test_search_finds_entries_by_the_text_they_hold(self):
        # GTK 4.8 answers the text up to an end of -1 with nothing; the entries hold
        # "comboboxentry", which nothing else of the page's names.
        found = targets("--search", "comboboxentry")["targets"]
        self.assertGreaterEqual(len(found), 1, found)
        self.assertEqual({t["role"] for t in found}, {"AXTextField"})


if __name__ == "__main__":
    main()
