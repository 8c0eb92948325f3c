"""Tarnvik on the layer-shell compositors (TARNVIK_DESKTOP_SHELL=sway or kwin), with native
Wayland windows and no X display: there only the compositor knows where a window stands (sway
through its IPC, KWin through a script Tarnvik loads into it), no client may post input to
another but through a device the compositor lets it make (wlroots' virtual pointer, KWin's fake
input), and this program's windows stand over the others as layer-shell surfaces (where its Qt
has them: TARNVIK_LAYER_SHELL=1)."""

import json
import os
import signal
import subprocess
import sys
import tempfile
import unittest

import pyatspi
from gi.repository import Gio, GLib

from controls import (check_boxes, checked, front_targets, labelled_check_box,
                      scroll_held_a_second, showing_entries, vertical_scroll_bars)
from desktop_apps import (TARNVIK, Application, ResidentTarnvik, accessible_window,
                          label_drawn_below, main, note_exit, poll)
from fake_input import allow_fake_input, start_input
from tray import TrayItem, Watcher

APPS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "apps")
LISTS = os.path.join(APPS, "scroll_lists.py")
PRESS_LOG = os.path.join(APPS, "press_log.py")
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
INPUT = None
SWAY = os.environ["TARNVIK_DESKTOP_SHELL"] == "sway"


def setUpModule():
    # Made before any application starts, which then finds a pointer and a keyboard on the seat.
    global INPUT
    if not SWAY:
        allow_fake_input(TARNVIK, os.environ["WAYLAND_INPUT"])
        free_super_d()
    INPUT = start_input(os.environ["WAYLAND_INPUT"], note_exit)


def free_super_d():
    """KWin's global shortcuts come before every window, the keyboard's layer-shell surface
    included: Super with a label's last letter would reach KWin's own action, if it has one,
    rather than Tarnvik. Headless KWin has one such, Super+D (show the desktop), given up here as
    a user may give it up."""
    Gio.bus_get_sync(Gio.BusType.SESSION).call_sync(
        "org.kde.kglobalaccel", "/kglobalaccel", "org.kde.KGlobalAccel", "setForeignShortcut",
        GLib.Variant("(asai)", (["kwin", "Show Desktop", "KWin", "Show Desktop"], [])), None,
        Gio.DBusCallFlags.NONE, 1000, None)


def tearDownModule():
    INPUT.stdin.close()
    note_exit(INPUT.args, INPUT.wait(10))


def tell(line):
    INPUT.stdin.write(line + "\n")
    INPUT.stdin.flush()
    answer = INPUT.stdout.readline()
    assert answer == "ok\n", answer


def swaymsg(kind):
    return json.loads(subprocess.run(["swaymsg", "-r", "-t", kind], capture_output=True,
                                     text=True, check=True).stdout)


def click(x, y):
    """A left click at a point of the compositor's layout, through the device Tarnvik uses (KWin
    places it by the point alone)."""
    layout = swaymsg("get_outputs")[0]["rect"] if SWAY else {"width": 0, "height": 0}
    tell(f"click {x} {y} {layout['width']} {layout['height']}")


def kwin_script(source):
    """Runs a script in KWin once, as Tarnvik's own runs there."""
    def kwin(*arguments):
        return subprocess.run(["dbus-send", "--session", "--print-reply=literal",
                               "--dest=org.kde.KWin"] + list(arguments), capture_output=True,
                              text=True, check=True).stdout.split()
    with tempfile.NamedTemporaryFile("w", suffix=".js") as f:
        f.write(source)
        f.flush()
        number = kwin("/Scripting", "org.kde.kwin.Scripting.loadScript", f"string:{f.name}",
                      "string:tarnvik-test")[-1]
        try:
            kwin(f"/Scripting/Script{number}", "org.kde.kwin.Script.run")
        finally:
            kwin("/Scripting", "org.kde.kwin.Scripting.unloadScript", "string:tarnvik-test")


def screen_pixels():
    """What sway shows, as `label_drawn_below` reads it: RGB bytes and the width."""
    shot = subprocess.run(["grim", "-t", "ppm", "-"], capture_output=True, check=True).stdout
    magic, size, _, pixels = shot.split(b"\n", 3)
    assert magic == b"P6", magic
    return pixels, int(size.split()[0])


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


@unittest.skipUnless(SWAY, "sway's tiles")
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


@unittest.skipIf(SWAY, "KWin's placing")
class KWinTargets(unittest.TestCase):
    """`tarnvik targets` places each toolkit's elements where KWin shows its window: moved away
    from the screen's corner by a script of KWin's, a check box is clicked where Tarnvik says it
    stands; a frame off by the window's place misses it."""

    def test_each_toolkit_moved_away_from_the_corner(self):
        for toolkit, (command, name) in TOOLKITS.items():
            with self.subTest(toolkit):
                application = Application(command)
                try:
                    labelled_check_box(application, name)
                    kwin_script("for (const w of workspace.windowList())"
                                f" if (w.pid == {application.process.pid})"
                                " w.frameGeometry = {x: 700, y: 150, width: w.width,"
                                " height: w.height};")

                    def moved():
                        found = labelled_check_box(application, name)
                        return found if found[1]["frame"][0] > 700 else None
                    box, target = poll("the window moved", moved)
                    x, y, width, height = target["frame"]
                    before = checked(box)
                    click(x + width / 2, y + height / 2)
                    poll("the check box flipped", lambda: checked(box) != before, 10)
                finally:
                    application.stop()


@unittest.skipUnless(os.environ.get("TARNVIK_LAYER_SHELL") == "1",
                     "this build has no layer shell (Qt's LayerShellQt, from Debian 13 on)")
class Tray(unittest.TestCase):
    """The tray item as Plasma's panel, or sway's bar (waybar), reads it over the
    StatusNotifierItem protocol: its menu names the application in front, and quits."""

    def test_the_menu_names_the_front_application_and_quits(self):
        watcher = Watcher()
        self.addCleanup(watcher.stop)
        window = Application(TOOLKITS["gtk4"][0])
        self.addCleanup(window.stop)
        poll("the window in front", lambda: next(
            (t for t in front_targets() or [] if t["role"] == "AXCheckBox"), None))
        tarnvik = ResidentTarnvik()
        self.addCleanup(tarnvik.remove)
        tarnvik.start()
        item = TrayItem(watcher, tarnvik.process.pid)
        titles = [title for _, title in item.entries()]
        self.assertEqual(titles[2], "Disable Tarnvik in Widget Factory", titles)
        item.choose("Quit")
        self.assertEqual(tarnvik.process.wait(10), 0)
        tarnvik.process = None


@unittest.skipUnless(os.environ.get("TARNVIK_LAYER_SHELL") == "1",
                     "this build has no layer shell (Qt's LayerShellQt, from Debian 13 on)")
class Sessions(unittest.TestCase):
    """The resident Tarnvik, its modes started as the compositor lets a shortcut start them, by
    the shortcut's keys (on sway through its key bindings to `nop tarnvik click`, which its IPC
    reports; on KWin through KDE's global shortcuts), and on sway search mode by `tarnvik
    activate search`, what a binding of another wlroots compositor runs: over GTK 4's widget
    factory and the tests' Qt 6 window a check box's label typed flips it; Escape, and a Tarnvik killed mid-session, give the keyboard back; J held a
    second scrolls a GTK 3 list by the pixels its speed says (1 px/ms by default); a GTK 3 button
    that names itself after the presses it gets (tests/apps/press_log.py) tells that a label's
    last letter typed with Super held clicks with Control."""

    @classmethod
    def setUpClass(cls):
        cls.factory = Application(TOOLKITS["gtk4"][0])
        cls.box, cls.target = labelled_check_box(cls.factory, "checkbutton")
        cls.tarnvik = ResidentTarnvik()
        if SWAY:
            for keys, mode in (("Shift+Mod4+space", "click"), ("Shift+Mod4+j", "scroll")):
                subprocess.run(["swaymsg", f"bindsym {keys} nop tarnvik {mode}"], check=True,
                               stdout=subprocess.DEVNULL)

    @classmethod
    def tearDownClass(cls):
        cls.tarnvik.remove()
        cls.factory.stop()

    def setUp(self):
        if self.tarnvik.process is None:
            self.tarnvik.start()

    def start(self, mode):
        if SWAY and mode == "search":
            subprocess.run([TARNVIK, "activate", mode], check=True)
        else:
            # The default shortcuts (on sway the bindings made above), and on KWin the search
            # shortcut the search test sets.
            tell("keys " + {"click": "shift+super+space", "scroll": "shift+super+j",
                            "search": "shift+super+f"}[mode])

    def start_session(self):
        mark = self.tarnvik.output.mark()
        self.start("click")
        # Letters typed before the labels stand would be lost.
        self.tarnvik.output.wait_for("labels drawn:", mark)

    def press_log(self):
        """The press log's button, and its label once the window is in front."""
        log = Application(lambda home: ["env", "GDK_BACKEND=wayland", sys.executable, PRESS_LOG])
        self.addCleanup(log.stop)

        def button():
            application = next((a for a in pyatspi.Registry.getDesktop(0)
                                if a is not None and a.get_process_id() == log.process.pid), None)
            return application and pyatspi.findDescendant(
                application, lambda a: a is not None and a.getRole() == pyatspi.ROLE_PUSH_BUTTON
                and a.name == "not pressed")
        found = poll("the press log's button", button)
        target = poll("its label", lambda: next(
            (t for t in front_targets() or []
             if t["role"] == "AXButton" and t["title"] == "not pressed"), None))
        return found, target["label"].lower()

    def test_super_held_for_the_last_letter_clicks_with_control(self):
        button, label = self.press_log()
        self.start_session()
        tell("keys " + " ".join(list(label[:-1]) + ["super+" + label[-1]]))
        pressed = poll("a press", lambda: button.name if button.name != "not pressed" else None,
                       10)
        self.assertEqual(pressed.split(",")[0], "button 1 with Control")

    def test_search_text_narrows_question_mark_explains_and_return_clicks(self):
        self.tarnvik.start("search-shortcut=\u21e7\u2318F\n")
        boxes = check_boxes(self.factory.process.pid, "checkbutton")
        before = [checked(box) for box in boxes]
        mark = self.tarnvik.output.mark()
        self.start("search")
        self.tarnvik.output.wait_for("labels drawn:", mark)
        # Lower-case letters are search text, and the first match is focused.
        tell("keys " + " ".join("checkbutto"))
        self.tarnvik.output.wait_for("for 10 characters", mark)
        # The tutor's popover, a layer-shell surface too, read as a screen reader reads it.
        tell("keys shift+slash")
        popover = poll("the tutor's popover", lambda: accessible_window("Tarnvik Tutor"), 10)
        texts = [a.name for a in pyatspi.findAllDescendants(
            popover, lambda a: a is not None and a.getRole() == pyatspi.ROLE_LABEL)]
        self.assertEqual(texts[texts.index("Role:") + 1], "AXCheckBox", texts)
        # A letter dismisses the tutor and goes on with the search; Return clicks the match.
        tell("keys n")
        self.tarnvik.output.wait_for("for 11 characters", mark)
        tell("keys Return")
        poll("a check box clicked", lambda: [checked(box) for box in boxes] != before, 10)
        after = [checked(box) for box in boxes]
        self.assertEqual(sum(a != b for a, b in zip(after, before)), 1, "exactly one")

    def focus_an_entry(self):
        """Clicks an entry of the window, as a person would before the session (GTK 4 takes no
        focus through its tree)."""
        field = poll("an entry labelled", lambda: next(
            (t for t in front_targets() or [] if t["role"] == "AXTextField"), None))
        x, y, width, height = field["frame"]
        click(x + width / 2, y + height / 2)

    def keys_reach_the_window(self):
        """Whether a letter typed now reaches the window's entries."""
        def typed_qs():
            texts = [e.queryText() for e in showing_entries(self.factory.process.pid)]
            return sum(t.getText(0, t.characterCount).count("q") for t in texts)
        before = typed_qs()
        tell("keys q")
        return typed_qs() > before

    def test_a_typed_label_flips_a_check_box(self):
        before = checked(self.box)
        self.start_session()
        if SWAY:
            # Above the window: a layer-shell surface of the overlay layer. (Headless KWin
            # takes no screenshots.)
            poll("its label drawn",
                 lambda: label_drawn_below(self.target["frame"], screen_pixels()), 10)
        tell("keys " + " ".join(self.target["label"].lower()))
        poll("the check box flipped", lambda: checked(self.box) != before, 10)

    def test_a_typed_label_flips_a_qt_check_box(self):
        qt = Application(TOOLKITS["qt6"][0])
        self.addCleanup(qt.stop)
        box, target = labelled_check_box(qt, TOOLKITS["qt6"][1])
        before = checked(box)
        self.start_session()
        tell("keys " + " ".join(target["label"].lower()))
        poll("the check box flipped", lambda: checked(box) != before, 10)

    def test_escape_gives_the_keyboard_back(self):
        self.focus_an_entry()
        self.start_session()
        tell("keys Escape")
        poll("typing to reach the window", self.keys_reach_the_window, 10)

    def test_a_killed_tarnvik_gives_the_keyboard_back(self):
        self.focus_an_entry()
        self.start_session()
        self.tarnvik.stop(signal.SIGKILL)
        poll("typing to reach the window", self.keys_reach_the_window, 10)

    def test_holding_j_a_second_scrolls_the_chosen_list_by_its_speed(self):
        lists = Application(lambda home: ["env", "GDK_BACKEND=wayland", sys.executable, LISTS])
        self.addCleanup(lists.stop)
        bars = poll("the lists' scroll bars", lambda: vertical_scroll_bars(lists.process.pid))
        mark = self.tarnvik.output.mark()
        self.start("scroll")
        self.tarnvik.output.wait_for("scroll areas found:", mark)
        tell("keys 2")
        self.tarnvik.output.wait_for("scroll area aimed at: 2", mark)
        scroll_held_a_second(bars, lambda: tell("down j"), lambda: tell("up j"))


if __name__ == "__main__":
    main()
