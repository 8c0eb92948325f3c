#!/usr/bin/env python3
"""tarnvik targets against Firefox ESR and Chromium on a page of about 1,000 links and buttons,
checked against what the browsers report through AT-SPI, on the fast route (the search
predicate) and the exhaustive one (the walk)."""

import os
import pathlib
import time
import unittest

import pyatspi

from desktop_apps import Application, accessible_window, intersect, poll, rect, targets

PAGE = (pathlib.Path(__file__).parent.parent / "pages" / "links1000.html").as_uri()
TITLE = "Tarnvik 1000 Links"


def visible_controls(window):
    """Links and buttons of the page that a person sees in the window."""
    document = poll("the page", lambda: find_document(window))
    view = rect(document)
    found = []

    def visit(accessible):
        states = accessible.getState()
        if not states.contains(pyatspi.STATE_SHOWING):
            return
        if accessible.getRole() in (pyatspi.ROLE_LINK, pyatspi.ROLE_PUSH_BUTTON):
            frame = rect(accessible)
            if states.contains(pyatspi.STATE_VISIBLE) and intersect(frame, view):
                found.append(frame)
            return
        for child in accessible:
            if child is not None:
                visit(child)

    visit(document)
    return found


def find_document(node):
    if node.getRole() == pyatspi.ROLE_DOCUMENT_WEB and TITLE in (node.name or ""):
        return node
    for child in node:
        if child is not None and child.getState().contains(pyatspi.STATE_SHOWING):
            found = find_document(child)
            if found:
                return found
    return None


class Browser:
    def check_labels_on_both_routes(self):
        window = poll("the window on the accessibility bus", lambda: accessible_window(TITLE))
        # The document appears before its content does, and its links arrive in batches: the
        # page is ready when it shows the hundreds it holds at the top.
        def loaded():
            controls = visible_controls(window)
            return controls if len(controls) > 300 else None

        expected = poll("the page's links", loaded)
        config = self.app.home + "/config"
        os.makedirs(config + "/tarnvik")
        for fast in (True, False):
            with open(config + "/tarnvik/tarnvik.conf", "w") as settings:
                settings.write(f"[General]\nuse-search-predicate={str(fast).lower()}\n")
            environment = dict(os.environ, XDG_CONFIG_HOME=config)

            # A browser that has just started may still hand the focus to a window of its own
            # for a moment: read again, with its page in front, until the labels are there.
            def labelled():
                self.app.bring_to_front()
                frames = {tuple(t["frame"]) for t in targets(environment=environment)["targets"]}
                return [f for f in expected if f in frames]

            found = labelled()
            deadline = time.monotonic() + 30
            while len(found) < 0.95 * len(expected) and time.monotonic() < deadline:
                time.sleep(0.5)
                found = labelled()
            self.assertGreaterEqual(len(found) / len(expected), 0.95,
                                    f"{'fast' if fast else 'exhaustive'} route: {len(found)} of "
                                    f"{len(expected)} visible links and buttons labelled")


class Firefox(Browser, unittest.TestCase):
    def setUp(self):
        self.app = Application(lambda home: [
            "firefox-esr", "--no-remote", "--new-instance", "--profile", home, PAGE])
        self.addCleanup(self.app.stop)
        self.app.bring_to_front()

    def test_visible_links_and_buttons_are_labelled(self):
        self.check_labels_on_both_routes()


class Chromium(Browser, unittest.TestCase):
    def setUp(self):
        self.app = Application(lambda home: [
            "chromium", "--no-sandbox", "--disable-gpu", "--no-first-run",
            "--disable-background-networking", "--disable-component-update", "--disable-sync",
            "--force-renderer-accessibility", f"--user-data-dir={home}", PAGE])
        self.addCleanup(self.app.stop)
        self.app.bring_to_front()

    def test_visible_links_and_buttons_are_labelled(self):
        self.check_labels_on_both_routes()


if __name__ == "__main__":
    unittest.main(verbosity=2)
