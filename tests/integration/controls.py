"""The controls the suites click and type into, found through the application's own tree and
through what `tarnvik targets` says of them."""

import time

import pyatspi
from gi.repository import GLib

from desktop_apps import poll, targets


def check_boxes(process, name):
    """The application's check boxes of that name that stand somewhere, in the tree's order,
    which is the labels' order: the showing ones, or all of them where the toolkit says none
    shows (GTK 4.8 on Wayland)."""
    application = poll("the application on the bus", lambda: next(
        (a for a in pyatspi.Registry.getDesktop(0)
         if a is not None and a.get_process_id() == process and a.childCount > 0), None))
    found = []

    def walk(accessible, depth):
        if accessible is None or depth > 40:
            return
        if accessible.getRole() == pyatspi.ROLE_CHECK_BOX and accessible.name == name:
            extents = accessible.queryComponent().getExtents(pyatspi.WINDOW_COORDS)
            if extents.width > 0 and extents.height > 0:
                found.append(accessible)
        for child in accessible:
            walk(child, depth + 1)

    try:
        walk(application, 0)
    except GLib.GError:
        # An object went while it was read: a page still loading replaces its own.
        return []
    showing = [b for b in found if b.getState().contains(pyatspi.STATE_SHOWING)]
    return showing or found


def checked(accessible):
    accessible.clearCache()
    return accessible.getState().contains(pyatspi.STATE_CHECKED)


def front_targets(last=None):
    """What `tarnvik targets` lists, once a window is in front: none is until the window
    manager gives a new window the focus. `last` keeps what it said, for a test that gives up."""
    last = {} if last is None else last
    try:
        last["answer"] = targets()["targets"]
    except AssertionError as error:
        last["answer"] = str(error)
        return None
    return last["answer"]


def labelled_check_box(application, name):
    """A check box of that name that takes a click, away from its window's corner, and what
    `tarnvik targets` says of it: its label and its frame."""
    process = application.process.pid
    boxes = poll("its check boxes", lambda: check_boxes(process, name), 60)
    last, reads = {}, []

    def settled():
        # A window the desktop still places or sizes after it first shows moves its boxes
        # between two reads: what the test clicks is where two reads in a row agree.
        reads.append([t for t in front_targets(last) or []
                      if t["role"] == "AXCheckBox" and t["title"] == name])
        return reads[-1] and reads[-2:] == [reads[-1]] * 2 and reads[-1]
    try:
        labelled = poll("its check boxes labelled where they stay", settled, 60)
    except AssertionError as error:
        raise AssertionError(f"{error}; `tarnvik targets` last said: {last.get('answer')}")
    assert len(labelled) == len(boxes), (labelled, boxes)
    index = next(i for i, box in enumerate(boxes)
                 if box.getState().contains(pyatspi.STATE_SENSITIVE)
                 and box.queryComponent().getExtents(pyatspi.WINDOW_COORDS).y > 60)
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


def vertical_scroll_bars(process):
    application = next((a for a in pyatspi.Registry.getDesktop(0)
                        if a is not None and a.get_process_id() == process), None)
    if application is None:
        return []
    return pyatspi.findAllDescendants(application, lambda a: a is not None
                                      and a.getRole() == pyatspi.ROLE_SCROLL_BAR
                                      and a.getState().contains(pyatspi.STATE_VERTICAL))


def position(scroll_bar):
    return scroll_bar.queryValue().currentValue



def scroll_held_a_second(bars, press, release):
    """Holds a key a second, as a person holds it, between `press` and `release`, and checks
    that one list stayed and the other moved by the default speed, 1 px/ms, for as long as the
    key was down. How long it was down is known only between bounds: each of `press` and
    `release` takes effect somewhere within its own call, which a loaded machine can stretch by
    a good part of a second."""
    before = [position(bar) for bar in bars]
    pressing = time.monotonic()
    press()
    pressed = time.monotonic()
    time.sleep(1)
    releasing = time.monotonic()
    release()
    released = time.monotonic()
    # The list comes to rest: the same place in three readings a tenth of a second apart.
    readings = []

    def at_rest():
        readings.append([position(bar) for bar in bars])
        return readings[-3:] == [readings[-1]] * 3
    poll("the lists at rest", at_rest, 10)
    stayed, moved = sorted(after - earlier for after, earlier in zip(readings[-1], before))
    assert stayed == 0, f"one list moved {stayed} px, the other {moved} px"
    shortest, longest = (releasing - pressed) * 1000, (released - pressing) * 1000
    # A wheel step's or a frame's worth either way.
    assert 0.7 * shortest <= moved <= 1.3 * longest, \
        f"moved {moved:.0f} px for a key held {shortest:.0f} to {longest:.0f} ms"
