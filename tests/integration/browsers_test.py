#!/usr/bin/env python3
"""tarnvik targets against Firefox ESR and Chromium on a page of about 1,000 links and buttons
and on one of 10,000, checked against what the browsers report through AT-SPI, on the fast route
(the search predicate) and the exhaustive one (the walk); Firefox on pages of 10,000 and 50,000
in four layouts; the first shortcut over Firefox right after Tarnvik switched its accessibility
on; and a Firefox window with two tabs."""

import json
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import unittest

import pyatspi

from desktop_apps import (PAGES, PROMPT, TARNVIK, Application, ResidentTarnvik, accessible_window,
                          chromium, firefox, intersect, key, label_drawn_below, main, poll, rect,
                          set_accessibility, targets, window_mapped, xdotool)



def visible_controls(document):
    """The document's frame, and the links and buttons of the page that a person sees in it. The
    page is scrolled to its top, so of a list of thousands only the first 1,200 are looked at: a
    walk of 10,000 through pyatspi takes minutes, and the browsers' own query times out on
    them."""
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
    return view, found


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
        document = poll("the page", lambda: find_document(window, title))
        # The document appears before its content does, and its links arrive in batches: the
        # page is ready when it shows the hundreds it holds at the top.
        def loaded():
            view, controls = visible_controls(document)
            return (view, controls) if len(controls) > self.showing else None

        view, expected = poll("the page's links", loaded)
        config = self.app.home + "/config"
        os.makedirs(config + "/tarnvik", exist_ok=True)
        for fast in (True, False):
            with open(config + "/tarnvik/tarnvik.conf", "w") as settings:
                settings.write(f"[General]\nuse-search-predicate={str(fast).lower()}\n")
            environment = dict(os.environ, XDG_CONFIG_HOME=config)

            # A browser that has just started may still hand the focus to a window of its own
            # for a moment: read again, with its page in front, until the labels are there.
            def labelled():
                nonlocal expected, view
                self.app.bring_to_front()
                frames = {tuple(t["frame"]) for t in targets(environment=environment)["targets"]}
                # Chromium may first lay its page out taller than its window, and shrink it a
                # moment later: what a person sees is what the page shows now.
                if rect(document) != view:
                    view, expected = poll("the page's links", loaded)
                return [f for f in expected if f in frames]

            found = []

            def enough_labelled():
                nonlocal found
                found = labelled()
                return len(found) >= 0.95 * len(expected)
            try:
                poll("the labels", enough_labelled, 30)
            except AssertionError:
                pass  # said with the counts below
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


def active_window_name():
    return subprocess.run(["xdotool", "getactivewindow", "getwindowname"], capture_output=True,
                          text=True).stdout


class FirefoxLayouts(unittest.TestCase):
    """Firefox on pages of 10,000 and 50,000 links and buttons laid out as pages lay them out
    (tests/pages/make_layouts.py): sections of a grid of buttons, a table, nested lists, an
    article with its links inline, each opened from the address bar in one window, as a person
    goes from page to page, and read once.

    No container of these pages holds more than a thousand children at 10,000, the length from
    which a list was read where it shows, so each page was asked for its controls with one
    query, which Firefox answers by visiting every object of the page: on a page just opened
    that outlasted the call's time-out, and the page got no labels. And Firefox's cache of
    objects keeps the page a tab showed before, defunct, as the one child of the frame that
    holds the new one: read from there, the new page was never found."""

    @classmethod
    def setUpClass(cls):
        cls.pages = tempfile.mkdtemp(prefix="tarnvik-pages-")

        # Without the notices of a first start, which would take the focus or move the page.
        def command(home):
            with open(home + "/user.js", "w") as prefs:
                prefs.write('user_pref("datareporting.policy.dataSubmissionEnabled", false);\n'
                            'user_pref("browser.aboutwelcome.enabled", false);\n'
                            'user_pref("browser.shell.checkDefaultBrowser", false);\n')
            return firefox(home) + [(PAGES / "controls.html").as_uri()]
        cls.browser = Application(command)
        cls.addClassCleanup(cls.browser.stop)
        cls.addClassCleanup(subprocess.run, ["rm", "-rf", cls.pages])
        cls.config = cls.browser.home + "/config"
        os.makedirs(cls.config + "/tarnvik")
        with open(cls.config + "/tarnvik/tarnvik.conf", "w") as settings:
            settings.write("[General]\nuse-search-predicate=true\n")
        cls.browser.bring_to_front()
        poll("the first page", lambda: "Tarnvik Controls" in active_window_name())

    def test_every_visible_link_and_button_is_labelled(self):
        for count in (10000, 50000):
            for layout in ("grid", "table", "lists", "article"):
                with self.subTest(layout=layout, count=count):
                    page = pathlib.Path(self.pages) / f"{layout}{count}.html"
                    subprocess.run([sys.executable, str(PAGES / "make_layouts.py"), layout,
                                    str(count), str(page)], check=True)
                    self.check(page, f"Tarnvik {count} {layout}")

    def check(self, page, title):
        # Typed into the address bar, again if the keys went astray.
        def opened():
            self.browser.bring_to_front()
            key("ctrl+l")
            xdotool("type", "--delay", "10", page.as_uri())
            key("Return")
            try:
                return poll("the page in front", lambda: title in active_window_name(), 20)
            except AssertionError:
                return False
        poll("the page opened", opened)
        window = poll("the window on the accessibility bus", lambda: accessible_window(title))
        document = poll("the page", lambda: find_document(window, title))
        # The document appears before its content does, and its controls arrive in batches:
        # the page is loaded once it is no longer busy and shows the same controls twice.
        seen = [None]

        def loaded():
            if document.getState().contains(pyatspi.STATE_BUSY):
                return None
            before, seen[0] = seen[0], visible_controls(document)
            return before if before == seen[0] and len(before[1]) > 100 else None

        view, shown = poll("the page's links and buttons", loaded)
        # A sliver of two pixels at the page's edge is left unlabelled on purpose.
        expected = [f for f in shown
                    if (part := intersect(f, view)) and part[2] > 1 and part[3] > 2]

        # A reading counts when the page stayed in front while it was made.
        def reading():
            self.browser.bring_to_front()
            if title not in active_window_name():
                return None
            run = subprocess.run([TARNVIK, "targets", "--json"], capture_output=True, text=True,
                                 timeout=60, env=dict(os.environ, XDG_CONFIG_HOME=self.config))
            # Firefox, busy with a page of thousands of objects just opened, now and then lets
            # the window's own calls time out on a machine that is slow besides (the sanitized
            # build): no window is a reading of nothing, not of the page.
            said = run.stdout + run.stderr
            if run.returncode != 0 and "unable to find a frontmost window" in said:
                return None
            return run if title in active_window_name() else None

        run = poll("a reading with the page in front", reading)
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        found = json.loads(run.stdout)["targets"]
        frames = {tuple(t["frame"]) for t in found}
        missing = [f for f in expected if f not in frames]
        if missing:
            self.fail(f"{len(missing)} of the {len(expected)} links and buttons shown in {view} "
                      f"unlabelled, among them {missing[:3]}; {len(found)} targets")


class FirefoxSwitchedOn(unittest.TestCase):
    """With accessibility off, Tarnvik asks for it first. Firefox joins the accessibility bus
    only when IsEnabled says so, 0.2 s to a second later, and places its page some 100 ms after
    that: until then the page's extents are -1. The first shortcut, right after the prompt's
    button switched accessibility on, must label the page, not the browser's buttons alone or
    nothing."""

    def test_the_first_shortcut_labels_the_page(self):
        set_accessibility(False)
        self.addCleanup(set_accessibility, True)
        browser = Application(lambda home: firefox(home) + [(PAGES / "controls.html").as_uri()])
        self.addCleanup(browser.stop)
        browser.bring_to_front()
        poll("the page loaded", lambda: "Tarnvik Controls" in subprocess.run(
            ["xdotool", "getactivewindow", "getwindowname"], capture_output=True,
            text=True).stdout)
        # Held still, the browser can join the bus only after the shortcut, however fast the
        # machine is.
        window_owner = int(subprocess.run(["xdotool", "getactivewindow", "getwindowpid"],
                                          capture_output=True, text=True, check=True).stdout)
        os.kill(window_owner, signal.SIGSTOP)
        self.addCleanup(os.kill, window_owner, signal.SIGCONT)
        tarnvik = ResidentTarnvik()
        self.addCleanup(tarnvik.remove)
        tarnvik.start(running=False)
        poll("the prompt", lambda: window_mapped(PROMPT))
        key("Return")  # its first button switches accessibility on
        tarnvik.wait_until_running()
        poll("the poll to close the prompt", lambda: not window_mapped(PROMPT))
        # Then the settings open, as they do after the prompt; the user goes back to the page.
        poll("the settings", lambda: window_mapped("Tarnvik Settings"))
        browser.bring_to_front()
        key("shift+super+space")
        os.kill(window_owner, signal.SIGCONT)
        window = poll("the browser on the bus", lambda: accessible_window("Tarnvik Controls"))
        submit = poll("the page's button", lambda: pyatspi.findDescendant(
            window, lambda a: a is not None and a.getRole() == pyatspi.ROLE_PUSH_BUTTON
            and a.name == "Submit" and rect(a)[2] > 0))
        poll("a label at the page's button", lambda: label_drawn_below(rect(submit)), 10)
        key("Escape")


class FirefoxTabs(unittest.TestCase):
    """Firefox keeps every tab's page in its window's tree, in a scroll pane of its own, the
    hidden ones not showing. Read as part of the window, each hidden page was one more area in
    scroll mode, whose number scrolled nothing."""

    def test_only_the_shown_tab_is_part_of_the_window(self):
        browser = Application(lambda home: firefox(home) + [
            (PAGES / "controls.html").as_uri(), (PAGES / "scroll.html").as_uri()])
        self.addCleanup(browser.stop)
        browser.bring_to_front()
        application = poll("the window", lambda: accessible_window("Tarnvik Controls")
                           or accessible_window("Tarnvik Scroll")).getApplication()

        def documents():
            # Walked by hand: pyatspi's own walk fails on a child that goes while Firefox
            # still builds its tabs.
            found, todo = [], [application]
            while todo:
                a = todo.pop()
                if a is None:
                    continue
                if a.getRole() == pyatspi.ROLE_DOCUMENT_WEB:
                    if a.name in ("Tarnvik Controls", "Tarnvik Scroll"):
                        found.append(a)
                    continue
                todo.extend(a)
            return found
        poll("both tabs' pages", lambda: len(documents()) == 2)

        def tree():
            browser.bring_to_front()
            run = subprocess.run([TARNVIK, "tree"], capture_output=True, text=True, timeout=60)
            return run.stdout if "role=AXWebArea" in run.stdout else None
        lines = poll("the window's tree with its page", tree).splitlines()
        self.assertEqual(sum("role=AXWebArea" in line for line in lines), 1)
        self.assertEqual(sum("role=AXScrollArea" in line for line in lines), 1)


if __name__ == "__main__":
    main()
