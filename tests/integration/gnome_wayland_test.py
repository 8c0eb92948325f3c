"""Tarnvik on GNOME Shell's Wayland form (TARNVIK_DESKTOP_SHELL=gnome-wayland), with native
Wayland windows and no X display given to Tarnvik: only the shell, through the extension, knows
where a window stands. The tests' probe extension clicks where Tarnvik says an element is, and
the application reports what the click did."""

import os
import unittest

import pyatspi
from gi.repository import Gio, GLib

from desktop_apps import Application, main, poll, targets

BUS = Gio.bus_get_sync(Gio.BusType.SESSION)
# Tarnvik is given the Wayland display alone, as on a session without Xwayland.
WAYLAND_ONLY = {k: v for k, v in os.environ.items() if k != "DISPLAY"}


def shell_call(path, interface, method, arguments=None):
    return BUS.call_sync("org.gnome.Shell", path, interface, method, arguments, None,
                         Gio.DBusCallFlags.NONE, 5000, None)


def click(x, y):
    """A click through the probe's own virtual pointer, nothing of Tarnvik's."""
    shell_call("/com/ostrelline/TarnvikTest/Probe", "com.ostrelline.TarnvikTest.Probe", "Click",
               GLib.Variant("(dd)", (x, y)))


def setUpModule():
    # The shell starts with its overview open, over every window.
    shell_call("/org/gnome/Shell", "org.freedesktop.DBus.Properties", "Set",
               GLib.Variant("(ssv)", ("org.gnome.Shell", "OverviewActive",
                                      GLib.Variant("b", False))))


def native(*command, **environment):
    settings = " ".join(f"{k}={v}" for k, v in environment.items())
    return Application(lambda home: ["env", "-u", "DISPLAY", *settings.split(), *command])


def showing_check_boxes(process):
    """The application's showing check boxes in the tree's order, which is the labels' order."""
    application = poll("the application on the bus", lambda: next(
        (a for a in pyatspi.Registry.getDesktop(0)
         if a is not None and a.get_process_id() == process), None))
    found = []

    def walk(accessible):
        if accessible is None or not accessible.getState().contains(pyatspi.STATE_SHOWING):
            return
        if accessible.getRole() == pyatspi.ROLE_CHECK_BOX:
            found.append(accessible)
        for child in accessible:
            walk(child)

    for window in application:
        walk(window)
    return found


def checked(accessible):
    accessible.clearCache()
    return accessible.getState().contains(pyatspi.STATE_CHECKED)


class NativeWindows(unittest.TestCase):
    """A check box far from its window's corner is clicked where `tarnvik targets` says it
    stands: a frame off by the window's place, its title bar or its shadow misses it."""

    def check_box_is_hit(self, application):
        self.addCleanup(application.stop)
        boxes = poll("showing check boxes", lambda: showing_check_boxes(application.process.pid))
        # Toggle buttons and switches are labelled as check boxes too: the titles tell them apart.
        names = {box.name for box in boxes}
        labelled = poll("check boxes labelled", lambda: [
            t for t in targets(environment=WAYLAND_ONLY)["targets"]
            if t["role"] == "AXCheckBox" and t["title"] in names])
        self.assertEqual(len(labelled), len(boxes))
        # The first one that takes a click and stands off the window's corner.
        index = next(i for i, box in enumerate(boxes)
                     if box.getState().contains(pyatspi.STATE_SENSITIVE)
                     and box.queryComponent().getExtents(pyatspi.WINDOW_COORDS).y > 100)
        x, y, width, height = labelled[index]["frame"]
        before = checked(boxes[index])
        click(x + width / 2, y + height / 2)
        poll("the check box flipped", lambda: checked(boxes[index]) != before, 10)

    def test_gtk3(self):
        self.check_box_is_hit(native("gtk3-widget-factory", GDK_BACKEND="wayland"))


if __name__ == "__main__":
    main()
