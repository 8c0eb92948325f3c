#!/usr/bin/env python3
"""tarnvik targets against Firefox ESR and Chromium on a page of about 1,000 links and buttons
and on one of 10,000, checked against what the browsers report through AT-SPI, on the fast route
(the search predicate) and the exhaustive one (the walk)."""

import os
import pathlib
import subprocess
import sys
import tempfile
import time
import unittest

import pyatspi

from desktop_apps import (Application, accessible_window, chromium, firefox, intersect, poll, rect,
                          targets)

PAGES = pathlib.Path(__file__).parent.parent / "pages"


def visible_controls(window, title):
    """Links and buttons of the page that a person sees in the window. The page is scrolled to
    its top, so of a list of thousands only the first 1,200 are looked at: a walk of 10,000
    through pyatspi takes minutes, and the browsers' own query times out on them."""
    document = poll("the page", lambda: find_document(window, title))
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
        for i in range(min(accessible.childCount, 1200)):
            child = accessible.getChildAtIndex(i)
            if child is not None:
                visit(child)

    visit(document)
    return found


def find_document(node, title):
    if node.getRole() == pyatspi.ROLE_DOCUMENT_WEB and title in (node.name or ""):
        return node
    for child in node:
        if child is not None and child.getState().contains(pyatspi.STATE_SHOWING):
            found = find_document(child, title)
            if found:
                return found
    return None


class Browser:
    command = None
    # The page, and how many of its links show at the top once it is loaded.
    links = 1000
    showing = 300

    @classmethod
    def setUpClass(cls):
        cls.pages = tempfile.mkdtemp(prefix="tarnvik-pages-")
        page = PAGES / "links1000.html"
        if cls.links != 1000:
            page = pathlib.Path(cls.pages) / f"links{cls.links}.html"
            subprocess.run([sys.executable, str(PAGES / "make_links.py"), str(cls.links),
                            str(page)], check=True)
        cls.app = Application(lambda home: cls.command(home) + [page.as_uri()])
        cls.app.bring_to_front()

    @classmethod
    def tearDownClass(cls):
        cls.app.stop()
        subprocess.run(["rm", "-rf", cls.pages])

    def test_visible_links_and_buttons_are_labelled(self):
        title = f"Tarnvik {self.links} Links"
        window = poll("the window on the accessibility bus", lambda: accessible_window(title))
        # The document appears before its content does, and its links arrive in batches: the
        # page is ready when it shows the hundreds it holds at the top.
        def loaded():
            controls = visible_controls(window, title)
            return controls if len(controls) > self.showing else None

        expected = poll("the page's links", loaded)
        config = self.app.home + "/config"
        os.makedirs(config + "/tarnvik", exist_ok=True)
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
    command = staticmethod(firefox)


class FirefoxOn10000Links(Browser, unittest.TestCase):
    command = staticmethod(firefox)
    links = 10000


class Chromium(Browser, unittest.TestCase):
    command = staticmethod(chromium)


class ChromiumOn10000Links(Browser, unittest.TestCase):
    command = staticmethod(chromium)
    links = 10000


if __name__ == "__main__":
    unittest.main(verbosity=2)
