"""What the tests on GNOME Shell's desktops share: the shell's bus, its overview, keys typed
into it on Wayland, and the tests' probe, which clicks there."""

import time

from gi.repository import Gio, GLib

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


def click(x, y):
    """A click through the probe extension's own virtual pointer, nothing of Tarnvik's."""
    call("org.gnome.Shell", "/com/ostrelline/TarnvikTest/Probe", "com.ostrelline.TarnvikTest.Probe",
         "Click", GLib.Variant("(dd)", (x, y)))


class RemoteKeyboard:
    """Keys typed into GNOME Shell on Wayland, through Mutter's remote desktop session: one for
    the suite, since the seat loses its keyboard, and the focused window its focus, when a
    session ends."""

    SERVICE = "org.gnome.Mutter.RemoteDesktop"
    SESSION = SERVICE + ".Session"

    def __init__(self):
        self.session = call(self.SERVICE, "/org/gnome/Mutter/RemoteDesktop", self.SERVICE,
                            "CreateSession", None, "(o)").unpack()[0]
        call(self.SERVICE, self.session, self.SESSION, "Start")

    def chord(self, *keysyms):
        """Holds each key down in turn, then lets them go in the reverse order."""
        for keysym, down in [(k, True) for k in keysyms] + [(k, False) for k in keysyms[::-1]]:
            self.key(keysym, down)
        # A person's pace from one chord to the next, as `key` types on X11.
        time.sleep(0.05)

    def key(self, keysym, down):
        call(self.SERVICE, self.session, self.SESSION, "NotifyKeyboardKeysym",
             GLib.Variant("(ub)", (keysym, down)))

    def stop(self):
        call(self.SERVICE, self.session, self.SESSION, "Stop")
