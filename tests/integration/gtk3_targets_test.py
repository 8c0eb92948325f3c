#!/usr/bin/env python3
"""tarnvik targets against gtk3-widget-factory on the virtual desktop, checked against what
the application itself reports through AT-SPI."""

import os
import signal
import subprocess
import tempfile
import time
import unittest

import pyatspi

from desktop_apps import (TARNVIK, Application, Output, activate, intersect, main, poll,
                          process_frame, rect as frame_of, targets)

CONTROLS = {
    pyatspi.ROLE_PUSH_BUTTON, pyatspi.ROLE_TOGGLE_BUTTON, pyatspi.ROLE_CHECK_BOX,
    pyatspi.ROLE_RADIO_BUTTON, pyatspi.ROLE_PAGE_TAB, pyatspi.ROLE_COMBO_BOX,
    pyatspi.ROLE_ENTRY,
}
# Containers whose frame cuts what lies inside it.
CLIPPING = {pyatspi.ROLE_SCROLL_PANE, pyatspi.ROLE_VIEWPORT, pyatspi.ROLE_FRAME}


def is_control(accessible, states):
    role = accessible.getRole()
    if role == pyatspi.ROLE_TEXT:
        return states.contains(pyatspi.STATE_EDITABLE) and states.contains(
            pyatspi.STATE_SINGLE_LINE)
    return role in CONTROLS


def controls(window):
    """The controls of the window, each with its frame and whether a person can see it. The
    parts of a combo box count as the combo box."""
    found = []

    def visit(accessible, clip, showing):
        states = accessible.getState()
        showing = showing and states.contains(pyatspi.STATE_SHOWING)
        frame = frame_of(accessible)
        if accessible.getRole() in CLIPPING:
            clip = intersect(clip, frame) if clip else None
        if is_control(accessible, states):
            visible = showing and clip is not None and intersect(clip, frame) is not None
            found.append((accessible, frame, visible))
            if accessible.getRole() == pyatspi.ROLE_COMBO_BOX:
                return
        for child in accessible:
            if child is not None:
                visit(child, clip, showing)

    visit(window, frame_of(window), True)
    return found


def path_at(window, x, y):
    """The objects a hit test passes through, from the window down to the deepest."""
    path = [window]
    for _ in range(64):
        below = path[-1].queryComponent().getAccessibleAtPoint(x, y, pyatspi.DESKTOP_COORDS)
        if below is None or below == path[-1]:
            break
        path.append(below)
    return path


class Gtk3WidgetFactory(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.app = Application(lambda home: ["gtk3-widget-factory"])
        self.addCleanup(self.app.stop)
        self.pid = self.app.process.pid
        poll("its window in front", lambda: activate({self.pid}))
        self.window = poll("its window on the accessibility bus",
                           lambda: process_frame(self.pid, pyatspi.STATE_ACTIVE))
        self.addCleanup(os.kill, self.pid, signal.SIGCONT)

    def test_every_visible_control_is_a_target_and_no_hidden_one_is(self):
        found = targets()
        frames = {tuple(t["frame"]) for t in found["targets"]}
        all_controls = controls(self.window)
        visible = [(a, f) for a, f, shown in all_controls if shown]
        self.assertGreater(len(visible), 40, "the first page shows many controls")
        missing = [(a.getRoleName(), a.name, f) for a, f in visible if f not in frames]
        self.assertEqual(missing, [])

        visible_frames = {f for _, f in visible}
        hidden = [(a.getRoleName(), a.name, f) for a, f, shown in all_controls
                  if not shown and f not in visible_frames and f[2] > 0 and f[3] > 0]
        self.assertGreater(len(hidden), 10, "the other pages hold controls too")
        labelled = [h for h in hidden if h[2] in frames]
        self.assertEqual(labelled, [])

    def test_a_click_at_each_target_lands_on_it(self):
        wrong = []
        for target in targets()["targets"]:
            x, y, w, h = target["frame"]
            path = path_at(self.window, x + w // 2, y + h // 2)
            frames = [frame_of(a) for a in path]
            if tuple(target["frame"]) in frames:
                continue
            # GTK's tree view answers hit tests with its cells only, never its column headers:
            # the test lands on the table that holds the header.
            if target["role"] == "AXTableColumnHeader" and path[-1].getRole() in (
                    pyatspi.ROLE_TABLE, pyatspi.ROLE_TREE_TABLE):
                continue
            wrong.append((target["label"], target["role"], target["frame"],
                          path[-1].getRoleName()))
        self.assertEqual(wrong, [])

    def test_a_stopped_application_does_not_hold_tarnvik(self):
        os.kill(self.pid, signal.SIGSTOP)
        start = time.monotonic()
        run = subprocess.run([TARNVIK, "targets", "--json"], capture_output=True, text=True,
                             timeout=30)
        elapsed = time.monotonic() - start
        # The bound is generous against a loaded machine; docs/performance.md has the figure.
        self.assertLess(elapsed, 2.5)
        self.assertIn(run.returncode, (0, 1), run.stderr)

    def test_an_application_that_quits_while_read_costs_no_crash(self):
        reader = subprocess.Popen([TARNVIK, "targets", "--repeat", "100"],
                                  stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        errors = Output(reader, reader.stderr)
        # Killed once a read is done, while the next ones run.
        errors.wait_for("build 1:", seconds=30)
        self.assertIsNone(reader.poll(), "the reads ended before the application did")
        os.kill(self.pid, signal.SIGKILL)
        reader.wait(60)
        errors.close()
        self.assertIn(reader.returncode, (0, 1), "\n".join(errors.lines()))


class Gtk3InGerman(unittest.TestCase):
    """GTK 3 translates the names of its actions where a program asks for all of them at once;
    Tarnvik must still know a button's click for what it is."""

    def setUp(self):
        locales = tempfile.mkdtemp(prefix="tarnvik-locale-")
        self.addCleanup(subprocess.run, ["rm", "-rf", locales])
        subprocess.run(["localedef", "-i", "de_DE", "-f", "UTF-8",
                        os.path.join(locales, "de_DE.UTF-8")], check=True)
        german = dict(os.environ, LOCPATH=locales, LANG="de_DE.UTF-8", LANGUAGE="de")
        self.app = Application(lambda home: ["env", *(f"{k}={v}" for k, v in german.items()),
                                             "gtk3-widget-factory"])
        self.addCleanup(self.app.stop)
        poll("its window in front", lambda: activate({self.app.process.pid}))

    def test_translated_action_names_are_read_untranslated(self):
        window = poll("the window on the accessibility bus",
                      lambda: process_frame(self.app.process.pid))
        action = poll("a button on the accessibility bus", lambda: pyatspi.findDescendant(
            window, lambda a: a.getRole() == pyatspi.ROLE_PUSH_BUTTON)).queryAction()
        self.assertEqual(action.getName(0), "click")
        self.assertEqual(action.getLocalizedName(0), "Klicken", "the application speaks German")

        tree = subprocess.run([TARNVIK, "tree"], capture_output=True, text=True,
                              check=True).stdout
        buttons = [line for line in tree.splitlines() if "role=AXButton," in line]
        self.assertGreater(len(buttons), 5)
        self.assertEqual([b for b in buttons if 'actions=["AXPress"]' not in b], [])
        # Clicks, activations and toggles of every kind of control.
        self.assertGreater(tree.count('actions=["AXPress"]'), 40)
        for translated in ("Klicken", "Aktivieren", "Umschalten", "Drücken"):
            self.assertNotIn(translated, tree)


if __name__ == "__main__":
    main()
