#!/usr/bin/python3
"""What one application exposes over AT-SPI: the number of elements under its windows, how
many of some roles, and whether elements of the given names are there. One JSON line.

    tree_summary.py --pid PID [--find NAME]...

Walks everything, showing or not, with libatspi's cache on (it is a check, not a benchmark)."""

import argparse
import collections
import json

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

COUNTED = {"link", "push button", "check box", "radio button", "page tab", "combo box",
           "entry", "list item", "menu item", "document web", "frame"}


def application(pid):
    desktop = Atspi.get_desktop(0)
    for i in range(desktop.get_child_count()):
        app = desktop.get_child_at_index(i)
        if app is not None and app.get_process_id() == pid:
            return app
    raise SystemExit(f"no accessible application with process {pid}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--pid", type=int, required=True)
    parser.add_argument("--find", action="append", default=[])
    args = parser.parse_args()
    app = application(args.pid)
    roles = collections.Counter()
    showing = collections.Counter()
    found = {name: None for name in args.find}
    elements = 0
    stack = [app.get_child_at_index(i) for i in range(app.get_child_count())]
    while stack:
        element = stack.pop()
        if element is None:
            continue
        elements += 1
        role = element.get_role_name()
        if role in COUNTED:
            roles[role] += 1
            if element.get_state_set().contains(Atspi.StateType.SHOWING):
                showing[role] += 1
        name = element.get_name()
        if name in found and found[name] is None:
            found[name] = role
        stack.extend(element.get_child_at_index(i) for i in range(element.get_child_count()))
    print(json.dumps({"application": app.get_name(), "elements": elements,
                      "roles": dict(roles), "showing": dict(showing), "found": found}))


if __name__ == "__main__":
    main()
