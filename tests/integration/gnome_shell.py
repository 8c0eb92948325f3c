"""What the tests on GNOME Shell's desktops share: the shell's bus, its overview, keys typed
into it, and the tests' probe, which clicks there."""

import os
import time

import pyatspi
from gi.repository import Gio, GLib

from desktop_apps import poll, rect, xdotool

BUS = Gio.bus_get_sync(Gio.BusType.SESSION)


def call(service, path, interface, method, arguments=None, reply=None):
    return BUS.call_sync(service, path, interface, method, arguments,
                         GLib.VariantType(reply) if reply else None, Gio.DBusCallFlags.NONE,
                         5000, None)


def overview_property(method, *value):
    return call("org.gnome.Shell", "/org/gnome/Shell", "org.freedesktop.DBus.Properties", method,
                GLib.Variant(f"(ss{'v' * len(value)})",
                             ("org.gnome.Shell", "OverviewActive", *value)),
                None if value else "(v)")


def overview_active():
    return overview_property("Get").unpack()[0]


def set_overview(active):
    overview_property("Set", GLib.Variant("b", active))


def started_up():
    """Whether the shell has ended its start-up, which opens the overview, as the probe reads it."""
    return call("org.gnome.Shell", "/com/ostrelline/TarnvikTest/Probe",
                "com.ostrelline.TarnvikTest.Probe", "StartedUp", None, "(b)").unpack()[0]


def x_display():
    """The display of the shell's Xwayland and its authority file, or empty strings without one,
    as the probe reads them from the shell."""
    return call("org.gnome.Shell", "/com/ostrelline/TarnvikTest/Probe",
                "com.ostrelline.TarnvikTest.Probe", "XDisplay", None, "(ss)").unpack()


def bound(accelerator):
    """Whether a key binding of the shell or of an extension holds the keys, as the probe finds."""
    return call("org.gnome.Shell", "/com/ostrelline/TarnvikTest/Probe",
                "com.ostrelline.TarnvikTest.Probe", "Bound", GLib.Variant("(s)", (accelerator,)),
                "(b)").unpack()[0]


def close_overview_after_start_up():
    """Windows started under the overview get no focus: the overview that start-up opens is
    closed once start-up has ended, and asked again until it is."""
    poll("the shell started up", started_up, 60)
    poll("the overview closed", lambda: not overview_active() or set_overview(False), 30)


def shell_state():
    """What stands between input and the windows, as the probe reads it from the shell."""
    return call("org.gnome.Shell", "/com/ostrelline/TarnvikTest/Probe",
                "com.ostrelline.TarnvikTest.Probe", "State", None, "(s)").unpack()[0]


def poll_input(what, predicate, timeout):
    """`poll` for what input typed or clicked into the shell should bring; a failure says what
    the shell held then (a modifier stuck down, its overview or a modal grab)."""
    try:
        return poll(what, predicate, timeout)
    except AssertionError as failure:
        raise AssertionError(f"{failure}; the shell: {shell_state()}") from None


def click(x, y):
    """A click through the probe extension's own virtual pointer, nothing of Tarnvik's."""
    call("org.gnome.Shell", "/com/ostrelline/TarnvikTest/Probe", "com.ostrelline.TarnvikTest.Probe",
         "Click", GLib.Variant("(dd)", (x, y)))


def pointer():
    """Where the pointer stands, as the probe extension reads it from the shell."""
    return tuple(call("org.gnome.Shell", "/com/ostrelline/TarnvikTest/Probe",
                      "com.ostrelline.TarnvikTest.Probe", "Pointer", None, "(ii)").unpack())


class RemoteKeyboard:
    """Keys typed into GNOME Shell. On Wayland through Mutter's remote desktop session: one for
    the suite, since the seat loses its keyboard, and the focused window its focus, when a
    session ends. On the X11 form through XTest, as in the suites on openbox: typed through the
    remote desktop there, the shortcut's Shift and Super now and then stayed down in X's state
    and the shortcut fired no more."""

    SERVICE = "org.gnome.Mutter.RemoteDesktop"
    SESSION = SERVICE + ".Session"
    X_NAMES = {ord(" "): "space", ord("/"): "slash", 0xffe1: "Shift_L", 0xffe3: "Control_L",
               0xffe9: "Alt_L", 0xffeb: "Super_L", 0xff1b: "Escape", 0xff0d: "Return"}

    def __init__(self):
        self.session = None
        if os.environ.get("TARNVIK_DESKTOP_SHELL") == "gnome-x11":
            return
        self.session = call(self.SERVICE, "/org/gnome/Mutter/RemoteDesktop", self.SERVICE,
                            "CreateSession", None, "(o)").unpack()[0]
        call(self.SERVICE, self.session, self.SESSION, "Start")

    def chord(self, *keysyms, held=0):
        """Holds each key down in turn, all of them `held` seconds, then lets them go in the
        reverse order."""
        for keysym in keysyms:
            self.key(keysym, True)
        time.sleep(held)
        for keysym in reversed(keysyms):
            self.key(keysym, False)
        # A person's pace from one chord to the next, as `key` types on X11.
        time.sleep(0.05)

    def key(self, keysym, down):
        if not self.session:
            xdotool("keydown" if down else "keyup", self.X_NAMES.get(keysym, chr(keysym)))
            return
        call(self.SERVICE, self.session, self.SESSION, "NotifyKeyboardKeysym",
             GLib.Variant("(ub)", (keysym, down)))

    def stop(self):
        if self.session:
            call(self.SERVICE, self.session, self.SESSION, "Stop")


def shell_accessible():
    return next(a for a in pyatspi.Registry.getDesktop(0) if a and a.name == "gnome-shell")


def showing_in_shell(test):
    """The showing objects of the shell's tree that pass `test`, in the tree's order, read again
    when an object goes while it is read: the shell rebuilds parts of its tree as the overview
    opens and as labels are drawn anew."""
    for _ in range(10):
        try:
            return walk_shell(test)
        except GLib.GError:
            continue
    return walk_shell(test)


def walk_shell(test):
    found = []

    def walk(accessible, depth):
        for child in accessible:
            if child is None:
                continue
            if depth > 0 and not child.getState().contains(pyatspi.STATE_SHOWING):
                continue
            if test(child):
                found.append(child)
            walk(child, depth + 1)
    walk(shell_accessible(), 0)
    return found


def drawn(layer="Tarnvik labels"):
    """What the extension drew: (role, name, frame) of each object in its layer of the shell's
    tree, read again when an object goes while it is read, as labels do when a session ends."""
    def read():
        layers = showing_in_shell(lambda a: a.name == layer)
        if not layers:
            return []
        # The shell keeps the actors of labels hidden for the next session.
        return [(c.getRole(), c.name, rect(c)) for c in layers[0]
                if c is not None and c.getState().contains(pyatspi.STATE_SHOWING)]
    for _ in range(10):
        try:
            return read()
        except GLib.GError:
            continue
    return read()


def drawn_labels(drawing=None):
    """The labels drawn, with their frames: the shell's labels over the overview, Tarnvik's
    images of them elsewhere, each named by its text."""
    drawing = drawn() if drawing is None else drawing
    return {name: frame for role, name, frame in drawing if name}


def drawn_panels():
    """The names of the panels drawn (the search field, the focus highlight), with their frames."""
    return {name: frame for role, name, frame in drawn("Tarnvik panels") if name}


def focused_text(application_name):
    """The text of the application's focused text field, if one has the focus."""
    def walk(accessible):
        for child in accessible:
            if child is None or not child.getState().contains(pyatspi.STATE_SHOWING):
                continue
            if child.getState().contains(pyatspi.STATE_FOCUSED):
                try:
                    return child.queryText().getText(0, -1)
                except NotImplementedError:
                    pass
            found = walk(child)
            if found is not None:
                return found
        return None
    for application in pyatspi.Registry.getDesktop(0):
        if application is not None and application.name == application_name:
            return walk(application)
    return None
