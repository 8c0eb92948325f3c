#!/usr/bin/env python3
"""Applications that scale themselves on a high-resolution desktop: GTK 3 at GDK_SCALE=2 with
Xft.dpi 192, Qt at QT_SCALE_FACTOR=2 and Qt scaled by Xft.dpi 144. Each reports AT-SPI
coordinates in its own pixels; the targets must stand in the X server's, the labels must be
drawn there whatever scale Tarnvik's own Qt is asked for, and a typed label must click its
control. The truth is the X server's geometry of the application's window with the offsets the
application reports inside it, at the scale it was started with; the clicks are read back
through AT-SPI and the labels from the screen."""

import os
import subprocess

import pyatspi

from desktop_apps import (Application, OverlaySession, ResidentTarnvik, accessible_window,
                          in_root_pixels, key, label_at, label_drawn_below, main, poll,
                          process_frame, rect, set_x_resources, targets, window_mapped,
                          x_window_frame)

QT_CONTROLS = os.environ["QT_CONTROLS"]
SCREEN = (0, 0, 1920, 1080)
CONTROLS = {pyatspi.ROLE_CHECK_BOX, pyatspi.ROLE_RADIO_BUTTON, pyatspi.ROLE_PUSH_BUTTON,
            pyatspi.ROLE_TOGGLE_BUTTON}


def inside(frame, area):
    return (frame[0] >= area[0] and frame[1] >= area[1]
            and frame[0] + frame[2] <= area[0] + area[2]
            and frame[1] + frame[3] <= area[1] + area[3])


def showing_controls(window):
    return pyatspi.utils.findAllDescendants(
        window, lambda a: a.getRole() in CONTROLS
        and a.getState().contains(pyatspi.STATE_SHOWING) and rect(a)[2] > 0)


class ScaledApplication:
    """A resident tarnvik over one application started at a scale of its own (`scale`), on a
    desktop whose X resources are `resources`. Mixed into OverlaySession."""

    overlay = "Tarnvik Labels"
    resources = ""
    title = None
    command = None
    scale = None
    tarnvik_variables = {}

    @classmethod
    def setUpClass(cls):
        set_x_resources(cls.resources)
        cls.tarnvik = ResidentTarnvik()
        cls.app = Application(lambda home: cls.command)
        cls.app.bring_to_front()
        cls.window = poll("the window on the bus", cls.find_window)
        # What the tests are about: the application reports its window in its own pixels.
        cls.x_frame = x_window_frame(cls.app.process.pid)
        _, _, width, height = cls.x_frame
        _, _, reported_width, reported_height = rect(cls.window)
        assert abs(width / reported_width - cls.scale) < 0.02, (width, reported_width)
        assert abs(height / reported_height - cls.scale) < 0.02, (height, reported_height)
        cls.tarnvik.start("search-shortcut=\u21e7\u2318F\n", **cls.tarnvik_variables)

    @classmethod
    def find_window(cls):
        return accessible_window(cls.title)

    def on_screen_controls(self):
        frames = ((c, in_root_pixels(self.x_frame, self.window, c, self.scale))
                  for c in showing_controls(self.window))
        return [(c, frame) for c, frame in frames if inside(frame, SCREEN)]

    def test_targets_stand_where_the_controls_are(self):
        listing = targets()["targets"]
        controls = self.on_screen_controls()
        self.assertGreaterEqual(len(controls), 4)
        missing = [(c.getRoleName(), c.name, frame) for c, frame in controls
                   if label_at(frame, listing) is None]
        self.assertEqual(missing, [], [t["frame"] for t in listing])

    def test_a_typed_label_toggles_a_check_box(self):
        box, frame = next((c, f) for c, f in self.on_screen_controls()
                          if c.getRole() == pyatspi.ROLE_CHECK_BOX
                          and c.getState().contains(pyatspi.STATE_SENSITIVE))
        checked = box.getState().contains(pyatspi.STATE_CHECKED)
        label = label_at(frame, targets()["targets"])
        self.assertIsNotNone(label, frame)
        key("shift+super+space")
        poll("the overlay", lambda: window_mapped(self.overlay), 10)
        poll("the label drawn at the check box", lambda: label_drawn_below(frame), 10)
        key(*[c.lower() for c in label])
        poll("the check box toggled",
             lambda: box.getState().contains(pyatspi.STATE_CHECKED) != checked, 10)

    def test_the_search_bar_grows_with_the_desktop(self):
        key("shift+super+f")
        poll("the search bar", lambda: window_mapped("Search Bar"), 10)
        bar = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "Search Bar"],
                             capture_output=True, text=True).stdout.split()[0]
        width = int(subprocess.run(["xdotool", "getwindowgeometry", bar], capture_output=True,
                                   text=True).stdout.split("Geometry:")[1].split("x")[0])
        key("Escape")
        self.assertEqual(width, round(250 * self.scale))


class Gtk3AtTwice(ScaledApplication, OverlaySession):
    resources = "Xft.dpi:\t192\n"
    command = ["env", "GDK_SCALE=2", "GDK_DPI_SCALE=0.5", "gtk3-widget-factory"]
    scale = 2

    # Its window has no name on AT-SPI: the active frame of the process.
    @classmethod
    def find_window(cls):
        return process_frame(cls.app.process.pid, pyatspi.STATE_ACTIVE)


class QtAtTwiceWithTarnvikAskedTheSame(ScaledApplication, OverlaySession):
    title = "Tarnvik Qt Controls"
    command = ["env", "QT_SCALE_FACTOR=2", QT_CONTROLS]
    scale = 2
    tarnvik_variables = {"QT_SCALE_FACTOR": "2"}


class QtByXftDpi(ScaledApplication, OverlaySession):
    resources = "Xft.dpi:\t144\n"
    title = "Tarnvik Qt Controls"
    command = ["env", "QT_ENABLE_HIGHDPI_SCALING=1", QT_CONTROLS]
    scale = 1.5


if __name__ == "__main__":
    main()
