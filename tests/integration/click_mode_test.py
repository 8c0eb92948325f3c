#!/usr/bin/env python3
"""The resident tarnvik on the virtual desktop, driven as a person would: the shortcut, typed
labels, search text, Escape. Every assertion is on what gtk3-widget-factory reports through
AT-SPI or on what the screen shows."""

import os
import signal
import subprocess
import tempfile
import time

import pyatspi

from desktop_apps import (TARNVIK, Application, OverlaySession, ResidentTarnvik,
                          accessible_window, assert_typing_reaches, box_pixels, focus_ring_drawn,
                          key, label_at, label_drawn_below, labels_mapped, main, pointer_drawn,
                          poll, process_frame, rect, screen_pixels, showing_all,
                          showing_descendant, targets, window_mapped, xdotool)


def pixels_in(box, pixels):
    shot, width = pixels
    return [tuple(shot[((y * width) + x) * 3:][:3])
            for y in range(box[1], box[1] + box[3]) for x in range(box[0], box[0] + box[2])]


def similar(a, b):
    """The share of pixels within a few steps of each other in every channel."""
    return sum(1 for p, q in zip(a, b) if all(abs(i - j) < 12 for i, j in zip(p, q))) / len(a)


class ClickMode(OverlaySession):
    overlay = "Tarnvik Labels"

    @classmethod
    def setUpClass(cls):
        cls.tarnvik = ResidentTarnvik()
        cls.app = Application(lambda home: ["gtk3-widget-factory"])
        cls.app.bring_to_front()
        cls.window = poll("the window on the bus", lambda: process_frame(cls.app.process.pid))

    def controls(self, role, name):
        return showing_all(self.window, lambda a: a.getRole() == role and a.name == name
                           and a.getState().contains(pyatspi.STATE_SENSITIVE))

    def assert_typing_reaches_an_entry(self, letters):
        assert_typing_reaches(next(e for e in self.controls(pyatspi.ROLE_TEXT, "")
                                   if e.getState().contains(pyatspi.STATE_EDITABLE)), letters)

    def label_of(self, accessible):
        listing = targets()["targets"]
        label = label_at(rect(accessible), listing)
        self.assertIsNotNone(label, f"{accessible.name} has no label among {len(listing)}")
        return label

    def show_labels(self, frame, keys=("shift+super+space",)):
        key(*keys)
        poll("the overlay", labels_mapped, 10)
        poll("labels drawn on the screen", lambda: label_drawn_below(frame), 10)

    def test_typed_label_clicks_and_escape_or_the_shortcut_give_the_keyboard_back(self):
        self.tarnvik.start()
        box = next(c for c in self.controls(pyatspi.ROLE_CHECK_BOX, "checkbutton")
                   if not c.getState().contains(pyatspi.STATE_CHECKED))
        label = self.label_of(box)
        self.show_labels(rect(box))
        key(*[c.lower() for c in label])
        poll("the check box checked", lambda: box.getState().contains(pyatspi.STATE_CHECKED), 10)
        poll("the overlay gone after the double-click interval", lambda: not labels_mapped(), 10)

        # Escape ends a session, and the keyboard and the pointer are back.
        self.show_labels(rect(box))
        # A frame that changes between the two reads differs too: one read alike suffices.
        poll("the pointer is hidden over the labels", lambda: not pointer_drawn(), 5)
        key("Escape")
        poll("the overlay gone", lambda: not labels_mapped(), 10)
        poll("the pointer shown again", pointer_drawn, 10)
        self.assert_typing_reaches_an_entry("xyz")

        # The shortcut pressed again ends the session the same way.
        self.app.bring_to_front()
        self.show_labels(rect(box))
        key("shift+super+space")
        poll("the overlay gone", lambda: not labels_mapped(), 10)
        self.assert_typing_reaches_an_entry("uv")

        # `tarnvik activate click`, as a window manager's own key binding runs it, starts and
        # ends a session as the shortcut does.
        self.app.bring_to_front()
        subprocess.run([TARNVIK, "activate", "click"], check=True)
        poll("labels drawn on the screen", lambda: label_drawn_below(rect(box)), 10)
        subprocess.run([TARNVIK, "activate", "click"], check=True)
        poll("the overlay gone", lambda: not labels_mapped(), 10)
        self.assert_typing_reaches_an_entry("w")

    def test_a_high_contrast_desktop_gets_high_contrast_labels(self):
        folder = tempfile.mkdtemp(prefix="tarnvik-xsettings-")
        config = os.path.join(folder, "xsettingsd.conf")
        with open(config, "w", encoding="utf-8") as f:
            f.write('Net/ThemeName "HighContrast"\n')
        manager = subprocess.Popen(["xsettingsd", "-c", config], stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        self.addCleanup(subprocess.run, ["rm", "-rf", folder])
        self.addCleanup(manager.wait)
        self.addCleanup(manager.kill)
        self.tarnvik.start()
        box = self.controls(pyatspi.ROLE_CHECK_BOX, "checkbutton")[0]

        def high_contrast_labels():
            # The desktop's settings are read at each session: try until the manager is up.
            self.show_labels(rect(box))
            x, y, w, h = rect(box)
            colours = pixels_in((x + w // 2 - 6, y + h - 8, 13, 17), screen_pixels())
            key("Escape")
            poll("the overlay gone", lambda: not labels_mapped(), 10)
            paper = sum(1 for r, g, b in colours if r > 250 and 244 < g < 252 and 182 < b < 192)
            stock_yellow = sum(1 for r, g, b in colours if r > 235 and g > 200 and b < 150)
            return paper > 20 and stock_yellow == 0
        poll("labels in the high-contrast colours", high_contrast_labels, 20)

    def searched(self, query):
        """The targets of the search, once the session's own search has focused the first of
        them: its highlight stands on the screen."""
        listing = targets("--search", query)["targets"]
        self.assertTrue(listing, query)
        poll("the first match highlighted", lambda: focus_ring_drawn(listing[0]["frame"]), 10)
        return listing

    def test_search_mode_narrows_and_return_clicks(self):
        self.tarnvik.start("search-shortcut=\u21e7\u2318F\n")
        buttons = self.controls(pyatspi.ROLE_TOGGLE_BUTTON, "togglebutton")
        key("shift+super+f")
        poll("the overlay", labels_mapped, 10)
        # Lower-case letters are search text; the first match is focused, Return clicks it.
        key("t", "o", "g", "g", "l", "e")
        listing = self.searched("toggle")
        self.assertTrue(all(t["role"] == "AXCheckBox" for t in listing), listing)
        first = next(b for b in buttons if list(rect(b)) == listing[0]["frame"])
        was = first.getState().contains(pyatspi.STATE_CHECKED)
        key("Return")
        poll("the first toggle button clicked",
             lambda: first.getState().contains(pyatspi.STATE_CHECKED) != was, 10)

    def test_question_mark_explains_the_focused_entry_and_a_letter_dismisses_it(self):
        self.tarnvik.start("search-shortcut=\u21e7\u2318F\n")
        key("shift+super+f")
        poll("the overlay", labels_mapped, 10)
        # The entry is found by its placeholder text, and focused as the first match.
        key(*"click", "space", *"ico")
        poll("the search narrowed to the entry", lambda: len(
            targets("--search", "click ico")["targets"]) == 1, 10)
        self.searched("click ico")
        # "?" typed fast: Shift let go before the slash, which comes up as a "/".
        xdotool("key", "question")
        popover = poll("the tutor's popover", lambda: accessible_window("Tarnvik Tutor"), 10)

        # Each row is its key's label and then its value's, as a screen reader reads them.
        texts = [a.name for a in pyatspi.findAllDescendants(
            popover, lambda a: a is not None and a.getRole() == pyatspi.ROLE_LABEL)]

        def row(name):
            return texts[texts.index(name + ":") + 1]
        self.assertEqual(row("Role"), "AXTextField")
        self.assertEqual(row("Placeholder"), "Click icon to change mode")
        self.assertTrue(self.window.getState().contains(pyatspi.STATE_ACTIVE),
                        "gtk3-widget-factory keeps the focus")

        key("n")
        poll("the tutor dismissed", lambda: not window_mapped("Tarnvik Tutor"), 10)
        bar = poll("the search bar", lambda: accessible_window("Search Bar"), 10)
        field = showing_descendant(bar, pyatspi.ROLE_TEXT)
        poll("the letter in the search", lambda: field.queryText().getText(0, -1) == "click icon",
             10)

    def test_a_click_elsewhere_ends_search_mode_and_gives_the_keyboard_back(self):
        self.tarnvik.start("search-shortcut=\u21e7\u2318F\n")
        key("shift+super+f")
        poll("the overlay", labels_mapped, 10)
        key("t", "o", "g")
        x, y, w, h = rect(self.window)
        xdotool("mousemove", str(x + w // 2), str(y + h - 5), "click", "1")
        poll("the overlay gone", lambda: not labels_mapped(), 10)
        self.assert_typing_reaches_an_entry("kj")

    def test_without_a_compositor_the_focused_element_shows_through_its_highlight(self):
        self.tarnvik.start("search-shortcut=\u21e7\u2318F\n")
        buttons = self.controls(pyatspi.ROLE_TOGGLE_BUTTON, "togglebutton")

        def search_toggle():
            key("shift+super+f")
            poll("the overlay", labels_mapped, 10)
            key("t", "o", "g", "g", "l", "e")
            return self.searched("toggle")[0]["frame"]
        frame = targets("--search", "toggle")["targets"][0]["frame"]
        toggle = next(b for b in buttons if list(rect(b)) == frame)
        was = toggle.getState().contains(pyatspi.STATE_CHECKED)

        def put_back():
            if toggle.getState().contains(pyatspi.STATE_CHECKED) != was:
                toggle.queryAction().doAction(0)
                poll("the toggle button put back",
                     lambda: toggle.getState().contains(pyatspi.STATE_CHECKED) == was, 10)
        self.addCleanup(put_back)
        # The upper part of the element, inside the border: no label stands there.
        inside = (frame[0] + 4, frame[1] + 4, frame[2] - 8, frame[3] * 2 // 5)
        # After the click's flash (0.2 s), before the double-click interval ends (0.4 s, from
        # before the key went): nothing of the highlight may be left standing there. A machine
        # too slow to look in that time tries again.
        for _ in range(3):
            put_back()
            self.assertEqual(search_toggle(), frame)
            highlighted = box_pixels(inside)
            sent = time.monotonic()
            key("Return")
            pressed = time.monotonic()
            flashed = None
            while time.monotonic() < sent + 0.4:
                looked = time.monotonic()
                pixels = box_pixels(inside)
                if looked >= pressed + 0.28 and time.monotonic() < sent + 0.4:
                    flashed = pixels
            poll("the overlay gone", lambda: not labels_mapped(), 10)
            if flashed:
                break
        else:
            self.fail("no look at the screen came between the flash and the interval's end")
        poll("the toggle button clicked",
             lambda: toggle.getState().contains(pyatspi.STATE_CHECKED) != was, 10)
        key("shift+super+f")
        poll("the overlay", labels_mapped, 10)
        key("Escape")
        poll("the overlay gone", lambda: not labels_mapped(), 10)
        poll("the element's own look where the flash had been",
             lambda: similar(flashed, box_pixels(inside)) > 0.95, 10)
        # Clicked, the toggle button looks pressed now: it is put back, and compared again.
        self.assertEqual(search_toggle(), frame)
        key("Return")
        poll("the toggle button put back",
             lambda: toggle.getState().contains(pyatspi.STATE_CHECKED) == was, 10)
        poll("the overlay gone", lambda: not labels_mapped(), 10)
        poll("the element's own look where its highlight had been",
             lambda: similar(highlighted, box_pixels(inside)) > 0.95, 10)

    def test_a_shortcut_changed_in_the_file_by_hand_works_at_once(self):
        self.tarnvik.start()
        settings = os.path.join(self.tarnvik.config, "tarnvik", "tarnvik.conf")
        # As an editor saves: a new file renamed over the old one.
        with open(settings + ".new", "w", encoding="utf-8") as f:
            f.write("[General]\nnon-search-shortcut=⇧⌘K\n")
        os.replace(settings + ".new", settings)

        def new_shortcut_works():
            key("shift+super+k")
            try:
                poll("the overlay", labels_mapped, 1)
                return True
            except AssertionError:
                return False
        poll("the new shortcut", new_shortcut_works, 10)

    def test_killed_or_signalled_mid_session_the_keyboard_comes_back(self):
        # Killed, the program can do nothing: the X server lets go of its grabs. The other
        # signals end the modes and exit with 0.
        box = self.controls(pyatspi.ROLE_CHECK_BOX, "checkbutton")[0]
        for sig in (signal.SIGKILL, signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            self.tarnvik.start()
            self.show_labels(rect(box))
            status = self.tarnvik.stop(sig)
            if sig != signal.SIGKILL:
                self.assertEqual(status, 0, sig)
            self.assert_typing_reaches_an_entry("qv")


if __name__ == "__main__":
    main()
