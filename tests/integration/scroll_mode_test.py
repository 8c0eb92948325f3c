#!/usr/bin/env python3
"""Scroll mode on the virtual desktop, driven as a person would: the scroll shortcut, held keys,
jumps, area changes, Escape. Every assertion is on what the lists report through AT-SPI, where
the pointer stands, and what the screen shows."""

import os
import sys
import time

import pyatspi

from desktop_apps import (PAGES, OverlaySession, chromium, key, label_colour_in, main, pointer,
                          pointer_drawn, poll, rect, screen_pixels, showing_all, window_mapped,
                          xdotool)

LISTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "apps", "scroll_lists.py")


def overlay_mapped():
    return window_mapped("Tarnvik Scrolling")


def centre(frame):
    return frame[0] + frame[2] // 2, frame[1] + frame[3] // 2


def choose(number, area):
    target = centre(rect(area))
    for _ in range(3):
        key(str(number))
        try:
            return poll(f"the pointer at area {number}", lambda: pointer() == target, 3)
        except AssertionError:
            pass  # pressed again, as a person would
    raise AssertionError(f"the pointer never reached area {number}")


def start_scrolling(area):
    """The scroll shortcut, until `area`'s number is drawn: the window alone comes at once, its
    areas once its tree is read."""
    key("shift+super+j")
    poll("the scroll overlay", overlay_mapped, 10)
    frame = rect(area)
    poll("the area's number", lambda: label_colour_in(
        screen_pixels(), (frame[0] + 8, frame[1] + 8, 14, 18)), 10)


class ScrollMode(OverlaySession):
    overlay = "Tarnvik Scrolling"

    @classmethod
    def setUpClass(cls):
        cls.open_application(lambda home: [sys.executable, LISTS], "Scroll Lists")
        panes = sorted(showing_all(cls.window, lambda a: a.getRole() == pyatspi.ROLE_SCROLL_PANE),
                       key=lambda pane: rect(pane)[0])
        assert len(panes) == 2, panes
        cls.left, cls.right = panes
        cls.tarnvik.start()

    @staticmethod
    def scroll_bar(pane):
        return next(child for child in pane if child is not None
                    and child.getRole() == pyatspi.ROLE_SCROLL_BAR
                    and child.getState().contains(pyatspi.STATE_VERTICAL))

    def position(self, pane):
        return self.scroll_bar(pane).queryValue().currentValue

    def bottom(self, pane):
        return self.scroll_bar(pane).queryValue().maximumValue

    def start_scrolling(self):
        start_scrolling(self.left)

    def test_tab_shift_tab_and_control_n_change_the_area_and_the_pointer_follows(self):
        self.start_scrolling()
        poll("the pointer at the window's centre",
             lambda: pointer() == centre(rect(self.window)), 10)
        # A frame that changes between the two reads differs too: one read alike suffices.
        poll("the pointer is hidden while scrolling", lambda: not pointer_drawn(), 5)
        # After the window come the areas from the last to the first.
        key("Tab")
        poll("the pointer at the right list", lambda: pointer() == centre(rect(self.right)), 10)
        key("Tab")
        poll("the pointer at the left list", lambda: pointer() == centre(rect(self.left)), 10)
        key("Tab")
        poll("the pointer back at the window", lambda: pointer() == centre(rect(self.window)), 10)
        key("shift+Tab")
        poll("Shift-Tab back to the left list",
             lambda: pointer() == centre(rect(self.left)), 10)
        key("ctrl+n")
        poll("Control-N wraps round to the window",
             lambda: pointer() == centre(rect(self.window)), 10)

        key("Escape")
        poll("the overlay gone", lambda: not overlay_mapped(), 10)
        poll("the pointer shown again", pointer_drawn, 10)

    def test_holding_j_scrolls_the_chosen_list_until_it_is_released(self):
        self.start_scrolling()
        choose(3, self.left)
        key("g", "g")
        poll("the left list at the top", lambda: self.position(self.left) == 0, 10)
        right_before = self.position(self.right)

        xdotool("keydown", "j")
        first = poll("the list moving", lambda: self.position(self.left) or None, 10)
        time.sleep(0.5)  # the key held, as a person holds it
        second = self.position(self.left)
        self.assertGreater(second, first, "the list keeps moving while J is held")
        xdotool("keyup", "j")
        # What is left of the scroll's buffer is delivered, and the list comes to rest: the
        # same place in three readings, each a tenth of a second after the last.
        readings = []

        def at_rest():
            readings.append(self.position(self.left))
            return readings[-3:] == [readings[-1]] * 3
        poll("the list at rest after the release", at_rest, 10)
        self.assertLess(readings[-1], self.bottom(self.left), "the list stops before its end")
        self.assertEqual(self.position(self.right), right_before, "only the chosen list moved")

    def test_g_goes_to_the_bottom_and_gg_to_the_top(self):
        self.start_scrolling()
        choose(2, self.right)
        key("shift+g")
        poll("the right list at the bottom",
             lambda: self.position(self.right) == self.bottom(self.right), 10)
        key("g", "g")
        poll("the right list at the top", lambda: self.position(self.right) == 0, 10)
        key("d")
        poll("half a page down", lambda: self.position(self.right) > 0, 10)


class ChromiumScrollBox(OverlaySession):
    """A box the page scrolls (`overflow: auto`) is a plain section to AT-SPI: Chromium only
    makes it focusable, and its lines stand far below its frame. It is an area of its own, and
    J scrolls it, not the page."""
    overlay = "Tarnvik Scrolling"

    @classmethod
    def setUpClass(cls):
        cls.open_application(lambda home: chromium(home) + [(PAGES / "scroll.html").as_uri()],
                             "Tarnvik Scroll")

        def named(name):
            return next(iter(showing_all(cls.window, lambda a: a.name == name)), None)
        cls.box = poll("the scroll box", lambda: named("Scroll Box"))
        cls.first_line = named("Line 1")
        cls.top_button = named("Top Button")
        cls.tarnvik.start()

    def test_the_box_is_an_area_of_its_own_and_j_scrolls_it_alone(self):
        start_scrolling(self.box)
        choose(2, self.box)
        line, button = rect(self.first_line)[1], rect(self.top_button)[1]
        xdotool("keydown", "j")
        try:
            poll("the box's lines moving up", lambda: rect(self.first_line)[1] < line - 50, 10)
        finally:
            xdotool("keyup", "j")
        self.assertEqual(rect(self.top_button)[1], button, "the page stays where it was")


if __name__ == "__main__":
    main()
