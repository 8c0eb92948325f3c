#!/usr/bin/env python3
"""A panel's part in the StatusNotifierItem protocol, and no more: owns
org.kde.StatusNotifierWatcher on the session bus, says a host is there, and prints
"registered SERVICE PATH" for each item that registers."""

import sys

from gi.repository import Gio, GLib

INTERFACE = """
<node>
  <interface name="org.kde.StatusNotifierWatcher">
    <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
    <method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
    <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
    <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
    <property name="ProtocolVersion" type="i" access="read"/>
    <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
    <signal name="StatusNotifierHostRegistered"/>
  </interface>
</node>
"""

items = []


def call(connection, sender, path, interface, method, parameters, invocation):
    if method == "RegisterStatusNotifierItem":
        service = parameters.unpack()[0]
        # An item may name its object path instead of its bus name.
        name, item_path = (sender, service) if service.startswith("/") else \
            (service, "/StatusNotifierItem")
        items.append(f"{name}{item_path}")
        print("registered", name, item_path, flush=True)
    invocation.return_value(None)


def get(connection, sender, path, interface, name):
    return {"RegisteredStatusNotifierItems": GLib.Variant("as", items),
            "IsStatusNotifierHostRegistered": GLib.Variant("b", True),
            "ProtocolVersion": GLib.Variant("i", 0)}[name]


def acquired(connection, name):
    connection.register_object("/StatusNotifierWatcher",
                               Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0],
                               call, get, None)


def owned(connection, name):
    print("watching", flush=True)


Gio.bus_own_name(Gio.BusType.SESSION, "org.kde.StatusNotifierWatcher",
                 Gio.BusNameOwnerFlags.NONE, acquired, owned,
                 lambda *_: sys.exit("the watcher's name is taken"))
GLib.MainLoop().run()
