#!/usr/bin/python3
"""The baseline reader: walks the frontmost window the way a naive client does, one blocking
AT-SPI call at a time (role, states, name, extents, children of every element), entering only
what is showing. Prints one JSON line per walk: {"elements": N, "ms": T}."""

import argparse
import json
import subprocess
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402


def active_title():
    active = subprocess.run(["xprop", "-root", "_NET_ACTIVE_WINDOW"], capture_output=True,
                            text=True).stdout.split()[-1]
    name = subprocess.run(["xprop", "-id", active, "_NET_WM_NAME"], capture_output=True,
                          text=True).stdout
    return name.split("=", 1)[1].strip().strip('"') if "=" in name else ""


def frontmost_window(pid=None):
    """The showing frame titled like the active X window (libatspi's process lookup can
    stall, so applications aren't matched by process unless --pid asks for it)."""
    title = active_title()
    desktop = Atspi.get_desktop(0)
    candidates = []
    for i in range(desktop.get_child_count()):
        app = desktop.get_child_at_index(i)
        if app is None or (pid is not None and app.get_process_id() != pid):
            continue
        for j in range(app.get_child_count()):
            frame = app.get_child_at_index(j)
            states = frame.get_state_set()
            if not states.contains(Atspi.StateType.SHOWING):
                continue
            rank = (frame.get_name() == title, states.contains(Atspi.StateType.ACTIVE))
            candidates.append((rank, app, frame))
    if not candidates:
        raise SystemExit("no showing window")
    _, app, frame = max(candidates, key=lambda c: c[0])
    # No client-side cache: every read is a call, as in a client that keeps nothing.
    app.set_cache_mask(Atspi.Cache.NONE)
    return frame


def walk(window):
    count = 0
    stack = [window]
    while stack:
        element = stack.pop()
        count += 1
        element.get_role()
        states = element.get_state_set()
        element.get_name()
        element.get_extents(Atspi.CoordType.SCREEN)
        if not states.contains(Atspi.StateType.SHOWING):
            continue
        stack.extend(element.get_child_at_index(i) for i in range(element.get_child_count()))
    return count


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--repeat", type=int, default=1)
    parser.add_argument("--pid", type=int, help="read this process's application instead")
    args = parser.parse_args()
    window = frontmost_window(args.pid)
    for _ in range(args.repeat):
        window.clear_cache()
        start = time.perf_counter()
        elements = walk(window)
        print(json.dumps({"elements": elements,
                          "ms": round((time.perf_counter() - start) * 1000, 2)}), flush=True)


if __name__ == "__main__":
    main()
