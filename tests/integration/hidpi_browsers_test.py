#!/usr/bin/env python3
"""Chromium at twice its size, with Tarnvik asked by QT_SCALE_FACTOR=2 to scale itself as well:
at a device scale factor of 2 it reports its own buttons in its scaled pixels but its pages in
the X server's. The targets must stand where the controls are, the labels must be drawn there,
and a typed label must click a control of the page and one of the browser: what they did is
read back through AT-SPI. (Firefox at layout.css.devPixelsPerPx 2 reports root pixels already,
and a test of it passed without the conversion, so it has none.)"""


import pyatspi

from desktop_apps import (PAGES, OverlaySession, chromium, in_root_pixels, key, label_at,
                          label_drawn_below, main, poll, rect, showing, targets, window_mapped,
                          x_window_frame)

PAGE = (PAGES / "controls.html").as_uri()
TITLE = "Tarnvik Controls"
PAGE_CONTROLS = {pyatspi.ROLE_PUSH_BUTTON, pyatspi.ROLE_CHECK_BOX, pyatspi.ROLE_RADIO_BUTTON,
                 pyatspi.ROLE_ENTRY, pyatspi.ROLE_LINK}


class ScaledBrowser:
    """One browser started once for its tests, with a resident tarnvik. Mixed into
    OverlaySession."""

    overlay = "Tarnvik Labels"
    # Root pixels per pixel the browser reports for its own buttons.
    own_scale = None

    @classmethod
    def setUpClass(cls):
        cls.open_application(cls.command, TITLE)
        cls.document = poll("the page", lambda: pyatspi.findDescendant(
            cls.window, lambda a: a.getRole() == pyatspi.ROLE_DOCUMENT_WEB
            and TITLE in (a.name or "") and showing(a) and rect(a)[2] > 0))
        cls.check_box = poll("the page's check box", lambda: pyatspi.findDescendant(
            cls.document, lambda a: a.getRole() == pyatspi.ROLE_CHECK_BOX
            and a.name == "Check Me" and rect(a)[2] > 0))
        cls.address = pyatspi.findDescendant(
            cls.window, lambda a: a.getRole() == pyatspi.ROLE_ENTRY and showing(a)
            and "address" in (a.name or "").lower())
        # What the tests are about: the page drawn at twice its size (a check box is 13 pixels
        # wide at 1x), the browser's frame in pixels of its own scale.
        assert rect(cls.check_box)[2] >= 24, rect(cls.check_box)
        cls.x_frame = x_window_frame(cls.app.process.pid)
        assert abs(cls.x_frame[2] / rect(cls.window)[2] - cls.own_scale) < 0.02, (
            cls.x_frame, rect(cls.window))
        cls.tarnvik.start(QT_SCALE_FACTOR="2")

    def own(self, accessible):
        """Where one of the browser's own controls stands in root pixels."""
        return in_root_pixels(self.x_frame, self.window, accessible, self.own_scale)

    def click_label_of(self, frame):
        label = label_at(frame, targets()["targets"])
        self.assertIsNotNone(label, frame)
        key("shift+super+space")
        poll("the overlay", lambda: window_mapped(self.overlay), 10)
        poll("the label drawn at the control", lambda: label_drawn_below(frame), 10)
        key(*[c.lower() for c in label])

    def test_targets_stand_where_the_page_and_the_browser_controls_are(self):
        listing = targets()["targets"]
        page = [rect(c) for c in pyatspi.utils.findAllDescendants(
            self.document, lambda a: a.getRole() in PAGE_CONTROLS and showing(a)
            and a.getState().contains(pyatspi.STATE_SENSITIVE) and rect(a)[2] > 0)]
        self.assertGreaterEqual(len(page), 8)
        self.assertEqual([f for f in page if label_at(f, listing) is None], [])
        self.assertIsNotNone(label_at(self.own(self.address), listing))

    def test_typed_labels_click_the_page_and_the_browser(self):
        checked = self.check_box.getState().contains(pyatspi.STATE_CHECKED)
        self.click_label_of(rect(self.check_box))
        poll("the page's check box toggled",
             lambda: self.check_box.getState().contains(pyatspi.STATE_CHECKED) != checked, 10)
        poll("the overlay closed", lambda: not window_mapped(self.overlay), 10)
        self.click_label_of(self.own(self.address))
        poll("the address field focused",
             lambda: self.address.getState().contains(pyatspi.STATE_FOCUSED), 10)


class ChromiumAtTwice(ScaledBrowser, OverlaySession):
    own_scale = 2

    @staticmethod
    def command(home):
        return chromium(home) + ["--password-store=basic", "--force-device-scale-factor=2",
                                 "--window-position=40,20", "--window-size=900,500", PAGE]


if __name__ == "__main__":
    main()
