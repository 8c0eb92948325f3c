"""Tarnvik on GNOME Shell's Wayland form (TARNVIK_DESKTOP_SHELL=gnome-wayland), with native
Wayland windows and no X display: only the shell, through the extension, knows where a window
stands, holds the keyboard and posts input. The tests' probe extension clicks where Tarnvik says
an element is; keys are typed through Mutter's remote desktop session; the application reports
what each did."""

import os
import signal
import unittest

import pyatspi

from desktop_apps import Application, ResidentTarnvik, main, poll, targets
from gnome_shell import RemoteKeyboard, click, drawn_labels, focused_text, set_overview

# Tarnvik and the applications are given the Wayland display alone, as on a session without
# Xwayland.
os.environ.pop("DISPLAY", None)
SHIFT, SUPER, ESCAPE = 0xffe1, 0xffeb, 0xff1b
# Not the default Shift+Super+Space, which GNOME keeps for switching input sources.
SETTINGS = "non-search-shortcut=⇧⌘K\nauto-activate-mission-control=false\n"
KEYBOARD = None


def setUpModule():
    global KEYBOARD
    # The shell starts with its overview open, over every window.
    set_overview(False)
    KEYBOARD = RemoteKeyboard()


def tearDownModule():
    KEYBOARD.stop()


def native(*command, **environment):
    settings = [f"{k}={v}" for k, v in environment.items()]
    return Application(lambda home: ["env", *settings, *command])


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


def labelled_check_box(application):
    """A check box that takes a click, away from its window's corner, and what `tarnvik
    targets` says of it: its label and its frame."""
    boxes = poll("showing check boxes", lambda: showing_check_boxes(application.process.pid))
    # Toggle buttons and switches are labelled as check boxes too: the titles tell them apart.
    names = {box.name for box in boxes}
    labelled = poll("check boxes labelled", lambda: [
        t for t in targets()["targets"] if t["role"] == "AXCheckBox" and t["title"] in names])
    assert len(labelled) == len(boxes), (labelled, boxes)
    index = next(i for i, box in enumerate(boxes)
                 if box.getState().contains(pyatspi.STATE_SENSITIVE)
                 and box.queryComponent().getExtents(pyatspi.WINDOW_COORDS).y > 100)
    return boxes[index], labelled[index]


def showing_entries(process):
    """The application's showing, editable text entries."""
    def entry(a):
        states = a.getState() if a is not None else None
        return (a is not None and a.getRole() == pyatspi.ROLE_TEXT
                and states.contains(pyatspi.STATE_EDITABLE)
                and states.contains(pyatspi.STATE_SHOWING))
    for application in pyatspi.Registry.getDesktop(0):
        if application is not None and application.get_process_id() == process:
            return pyatspi.findAllDescendants(application, entry)
    return []


class NativeWindows(unittest.TestCase):
    """A check box far from its window's corner is clicked where `tarnvik targets` says it
    stands: a frame off by the window's place, its title bar or its shadow misses it."""

    def check_box_is_hit(self, application):
        self.addCleanup(application.stop)
        box, target = labelled_check_box(application)
        x, y, width, height = target["frame"]
        before = checked(box)
        click(x + width / 2, y + height / 2)
        poll("the check box flipped", lambda: checked(box) != before, 10)

    def test_gtk3(self):
        self.check_box_is_hit(native("gtk3-widget-factory", GDK_BACKEND="wayland"))


class ClickMode(unittest.TestCase):
    """The click shortcut, then a typed label, clicks a native window's check box; Escape gives
    the keyboard back, and so does a Tarnvik that is killed or stops answering mid-session."""

    @classmethod
    def setUpClass(cls):
        cls.factory = native("gtk3-widget-factory", GDK_BACKEND="wayland")
        poll("the window on the bus", lambda: showing_check_boxes(cls.factory.process.pid))
        cls.tarnvik = ResidentTarnvik()
        cls.tarnvik.start(SETTINGS)

    @classmethod
    def tearDownClass(cls):
        cls.tarnvik.remove()
        cls.factory.stop()

    def setUp(self):
        if self.tarnvik.process is None:
            self.tarnvik.start(SETTINGS)

    def start_session(self):
        mark = self.tarnvik.output.mark()
        KEYBOARD.chord(SHIFT, SUPER, ord("k"))
        self.assertTrue(self.tarnvik.shortcut_handled("click", mark))
        poll("the labels drawn", drawn_labels, 10)

    def keys_reach_the_window(self):
        """Whether a letter typed now reaches the window's focused entry."""
        entry = poll("an entry", lambda: next(iter(showing_entries(self.factory.process.pid)),
                                              None))
        entry.queryComponent().grabFocus()
        KEYBOARD.chord(ord("q"))
        return "q" in (focused_text("gtk3-widget-factory") or "")

    def test_a_typed_label_clicks_a_check_box(self):
        box, target = labelled_check_box(self.factory)
        before = checked(box)
        self.start_session()
        for letter in target["label"].lower():
            KEYBOARD.chord(ord(letter))
        poll("the check box flipped", lambda: checked(box) != before, 10)
        poll("the labels gone", lambda: not drawn_labels(), 10)

    def test_escape_gives_the_keyboard_back(self):
        self.start_session()
        KEYBOARD.chord(ESCAPE)
        poll("the labels gone", lambda: not drawn_labels(), 10)
        poll("typing to reach the window", self.keys_reach_the_window, 10)

    def test_a_killed_tarnvik_gives_the_keyboard_back(self):
        self.start_session()
        self.tarnvik.stop(signal.SIGKILL)
        poll("typing to reach the window", self.keys_reach_the_window, 10)

    def test_a_stopped_tarnvik_gives_the_keyboard_back(self):
        self.start_session()
        self.tarnvik.process.send_signal(signal.SIGSTOP)
        try:
            poll("typing to reach the window", self.keys_reach_the_window, 10)
        finally:
            self.tarnvik.process.send_signal(signal.SIGCONT)
            self.tarnvik.stop()


if __name__ == "__main__":
    main()
