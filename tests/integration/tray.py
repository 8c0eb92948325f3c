"""The tray as a panel reads it over the StatusNotifierItem protocol: the tests' watcher
(status_notifier_watcher.py) standing in for the panel, and the item a program registered with
it, whose menu is read and chosen from through com.canonical.dbusmenu."""

import os
import subprocess
import sys

from gi.repository import Gio, GLib

from desktop_apps import Output, poll


class Watcher:
    """The panel's watcher, started before the program, as at login."""

    def __init__(self):
        self.process = subprocess.Popen(
            [sys.executable, os.path.join(os.path.dirname(os.path.abspath(__file__)),
                                          "status_notifier_watcher.py")],
            stdout=subprocess.PIPE, text=True)
        self.registrations = Output(self.process, self.process.stdout)
        self.registrations.wait_for("watching")

    def stop(self):
        self.process.kill()
        self.process.wait()


class TrayItem:
    """The item the process `pid` registered with `watcher`, once it has."""

    def __init__(self, watcher, pid):
        self._bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        self._service, path = poll("the item registered", lambda: self._registered(watcher, pid))
        self._menu = self._call(path, "org.freedesktop.DBus.Properties", "Get",
                                GLib.Variant("(ss)", ("org.kde.StatusNotifierItem", "Menu")),
                                "(v)")[0]

    def _registered(self, watcher, pid):
        for line in watcher.registrations.lines():
            if not line.startswith("registered "):
                continue
            service, path = line.split()[1:]
            try:
                owner = self._bus.call_sync(
                    "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                    "GetConnectionUnixProcessID", GLib.Variant("(s)", (service,)),
                    GLib.VariantType("(u)"), Gio.DBusCallFlags.NONE, 5000, None).unpack()[0]
            except GLib.Error:  # an earlier test's program, gone
                continue
            if owner == pid:
                return service, path
        return None

    def _call(self, path, interface, method, args, reply):
        return self._bus.call_sync(self._service, path, interface, method, args,
                                   GLib.VariantType(reply), Gio.DBusCallFlags.NONE, 5000,
                                   None).unpack()

    def entries(self, parent=0):
        """The menu's entries under `parent`, as (number, title); separators titled ""."""
        self._call(self._menu, "com.canonical.dbusmenu", "AboutToShow",
                   GLib.Variant("(i)", (parent,)), "(b)")
        layout = self._call(self._menu, "com.canonical.dbusmenu", "GetLayout",
                            GLib.Variant("(iias)", (parent, 1, [])), "(u(ia{sv}av))")[1]
        return [(child[0], child[1].get("label", "")
                 if child[1].get("type") != "separator" else "")
                for child in layout[2]]

    def choose(self, title, parent=0):
        number = next(n for n, t in self.entries(parent) if t == title)
        self._call(self._menu, "com.canonical.dbusmenu", "Event",
                   GLib.Variant("(isvu)", (number, "clicked", GLib.Variant("s", ""), 0)), "()")
