"""Tarnvik on sway (TARNVIK_DESKTOP_SHELL=sway), with native Wayland windows and no X display:
there only sway, through its IPC, knows where a window stands, and its headless seat has no
pointer until a client makes a virtual one."""

import json
import os
import subprocess
import unittest

from check_boxes import checked, labelled_check_box
from desktop_apps import Application, main, note_exit, poll

# Tarnvik and the applications are given the Wayland display alone.
os.environ.pop("DISPLAY", None)
# Each toolkit as a native Wayland client, and the name of a check box of its window that
# stands far from the window's corner.
TOOLKITS = {
    "gtk3": (lambda home: ["env", "GDK_BACKEND=wayland", "gtk3-widget-factory"], "checkbutton"),
    "gtk4": (lambda home: ["env", "GDK_BACKEND=wayland", "gtk4-widget-factory"], "checkbutton"),
    "qt6": (lambda home: ["env", "QT_QPA_PLATFORM=wayland", os.environ["QT_CONTROLS"]],
            "Check Me"),
}


def swaymsg(kind):
    return json.loads(subprocess.run(["swaymsg", "-r", "-t", kind], capture_output=True,
                                     text=True, check=True).stdout)


POINTER = None


def setUpModule():
    # Made before any application starts, which then finds a pointer on the seat.
    global POINTER
    POINTER = subprocess.Popen([os.environ["WLR_POINTER"]], stdin=subprocess.PIPE,
                               stdout=subprocess.PIPE, text=True)
    assert POINTER.stdout.readline() == "ready\n"


def tearDownModule():
    POINTER.stdin.close()
    note_exit(POINTER.args, POINTER.wait(10))


def click(x, y):
    """A left click at a point of sway's layout, through the virtual pointer Tarnvik uses."""
    layout = swaymsg("get_outputs")[0]["rect"]
    POINTER.stdin.write(f"click {x} {y} {layout['width']} {layout['height']}\n")
    POINTER.stdin.flush()
    assert POINTER.stdout.readline() == "ok\n"


class Targets(unittest.TestCase):
    """`tarnvik targets` places each toolkit's elements where sway shows its window: beside a
    window on the left of the screen, a check box is clicked where Tarnvik says it stands; a
    frame off by the window's place misses it."""

    def test_each_toolkit_on_the_right(self):
        left = Application(lambda home: ["env", "QT_QPA_PLATFORM=wayland",
                                         os.environ["QT_CONTROLS"]])
        try:
            poll("the first window", lambda: len(views()) == 1)
            for toolkit, (command, name) in TOOLKITS.items():
                with self.subTest(toolkit):
                    application = Application(command)
                    try:
                        # A window larger than its tile is cut off (the widget factories are
                        # 1,400 pixels wide): the first one is kept narrow.
                        poll("the second window", lambda: len(views()) == 2)
                        subprocess.run(["swaymsg", f"[pid={left.process.pid}]", "resize", "set",
                                        "width", "800", "px"], check=True,
                                       stdout=subprocess.DEVNULL)
                        box, target = labelled_check_box(application, name)
                        x, y, width, height = target["frame"]
                        self.assertGreaterEqual(x, views()[-1]["rect"]["x"])
                        before = checked(box)
                        click(x + width / 2, y + height / 2)
                        poll("the check box flipped", lambda: checked(box) != before, 10)
                    finally:
                        application.stop()
                        poll("its window gone", lambda: len(views()) == 1)
        finally:
            left.stop()


def views():
    """sway's windows, left to right."""
    found = []

    def walk(node):
        if node.get("pid"):
            found.append(node)
        for child in node.get("nodes", []) + node.get("floating_nodes", []):
            walk(child)
    walk(swaymsg("get_tree"))
    return sorted(found, key=lambda v: v["rect"]["x"])


if __name__ == "__main__":
    main()
