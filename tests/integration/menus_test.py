#!/usr/bin/env python3
"""Open menus hold the whole keyboard, or lose themselves to any grab of it. The resident
tarnvik over a GTK 3 context menu, a GTK 3 combo box's pop-up, a Qt menu-bar menu and combo box
list, Chromium's and Firefox's context menus and Firefox's `<select>` list, driven as a person
would, and LibreOffice's menu bar: every assertion is on what the applications report through
AT-SPI or on what the screen shows."""

import os
import unittest

import pyatspi

from desktop_apps import (PAGES, Application, ResidentTarnvik, accessible_window,
                          assert_typing_reaches, chromium, click, firefox, intersect, key, label_at,
                          label_drawn_below, labels_mapped, main, menu_window, poll, process_frame,
                          rect, showing, targets, window_mapped, xdotool)

QT_PROGRAM = os.environ["QT_CONTROLS"]
CONTROLS_PAGE = (PAGES / "controls.html").as_uri()


def find(root, predicate):
    return pyatspi.findDescendant(root, lambda a: a is not None and predicate(a))


def label_of(accessible):
    return label_at(rect(accessible), targets("--search", "")["targets"])


class OpenMenus(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tarnvik = ResidentTarnvik()
        cls.tarnvik.start()
        cls.gtk = Application(lambda home: ["gtk3-widget-factory"])
        cls.gtk.bring_to_front()
        cls.gtk_window = poll("the GTK window", lambda: process_frame(cls.gtk.process.pid))

    @classmethod
    def tearDownClass(cls):
        cls.tarnvik.remove()
        cls.gtk.stop()

    def tearDown(self):
        if labels_mapped():
            key("Escape")
        poll("the overlay to close", lambda: not labels_mapped(), 10)
        # A menu left open keeps the keyboard from the next test; Escape closes one level.
        while (levels := self.open_menus()) > 0:
            key("Escape")
            poll("a menu closed", lambda: self.open_menus() < levels, 10)

    def gtk_menu(self):
        return menu_window(self.gtk_window.getApplication())

    def open_menus(self):
        return sum(1 for w in self.gtk_window.getApplication() if w is not None
                   and w.getRole() == pyatspi.ROLE_WINDOW and showing(w)
                   and any(c is not None and c.getRole() == pyatspi.ROLE_MENU for c in w))

    def entry(self):
        return find(self.gtk_window, lambda a: a.getRole() == pyatspi.ROLE_TEXT and showing(a)
                    and a.getState().contains(pyatspi.STATE_EDITABLE)
                    and a.getState().contains(pyatspi.STATE_SENSITIVE)
                    and a.queryText().getText(0, -1) == "entry")

    def menu_takes_down(self):
        """Whether the open menu takes a Down pressed now: its selection moves. Keys reach it in
        the order they were typed, so it took every key before as well."""
        menu = self.gtk_menu()
        if menu is None:
            return False

        def selected():
            return [a.name for a in pyatspi.findAllDescendants(
                menu, lambda a: a is not None and a.getState().contains(pyatspi.STATE_SELECTED))]
        before = selected()
        key("Down")
        try:
            poll("the menu's selection moved", lambda: selected() != before, 10)
        except AssertionError:
            return False
        return self.gtk_menu() is not None

    def open_context_menu(self, entry):
        self.gtk.bring_to_front()
        entry.queryComponent().grabFocus()
        click(entry, 3)
        return poll("the entry's context menu", self.gtk_menu, 10)

    def labels_over_context_menu_item(self, entry, name):
        """Opens the entry's context menu and the labels over it; answers the named item."""
        menu = self.open_context_menu(entry)
        item = find(menu, lambda a: a.name == name and showing(a))
        key("shift+super+space")
        poll("the labels over the menu's items", lambda: label_drawn_below(rect(item)), 10)
        return item

    def test_a_label_typed_over_a_context_menu_presses_its_item_and_nothing_else(self):
        entry = self.entry()
        select_all = self.labels_over_context_menu_item(entry, "Select All")
        # "t" is no label's letter, and Cut's mnemonic: had the menu seen it, the text were cut.
        key("t")
        label = label_of(select_all)
        key(*[c.lower() for c in label])
        text = entry.queryText()
        poll("the whole text selected",
             lambda: text.getNSelections() == 1 and text.getSelection(0) == (0, 5), 10)
        poll("the menu closed", lambda: self.gtk_menu() is None, 10)
        poll("the overlay gone", lambda: not labels_mapped(), 10)
        self.assertEqual(text.getText(0, -1), "entry")
        assert_typing_reaches(entry, "qv")

    def test_escape_leaves_the_menu_open_for_the_keyboard_and_scroll_mode_does_not_start(self):
        entry = self.entry()
        self.labels_over_context_menu_item(entry, "Copy")
        key("Escape")
        poll("the overlay gone", lambda: not labels_mapped(), 10)
        self.assertTrue(self.menu_takes_down(), "the menu stays open for the keyboard")

        # Scrolling under an open menu would scroll the menu: the mode doesn't start at all.
        mark = self.tarnvik.output.mark()
        key("shift+super+j")
        self.assertFalse(self.tarnvik.shortcut_handled("scroll", mark), "scroll mode started")
        self.assertFalse(window_mapped("Tarnvik Scrolling"))
        self.assertTrue(self.menu_takes_down(), "the menu stays open for the keyboard")

        # The menu has the keyboard again: Escape closes it.
        key("Escape")
        poll("the menu closed by its own key", lambda: self.gtk_menu() is None, 10)
        assert_typing_reaches(entry, "xy")

    def test_a_key_held_on_past_the_shortcut_ends_the_session_and_the_menu_keeps_the_keyboard(
            self):
        # The keyboards are taken from the menu once the keys held are released: labels shown
        # before would take nothing typed while one stays down.
        self.open_context_menu(self.entry())
        mark = self.tarnvik.output.mark()
        xdotool("keydown", "F12")
        try:
            key("shift+super+space")
            self.tarnvik.output.wait_for("Mode: the desktop did not give Tarnvik the keyboard",
                                         mark, 10)
            self.assertFalse(labels_mapped(), "labels over keys that go to the menu")
        finally:
            xdotool("keyup", "F12")
        self.assertTrue(self.menu_takes_down(), "the menu keeps the keyboard")

    def test_a_label_typed_over_a_combo_box_pop_up_chooses_that_item(self):
        self.gtk.bring_to_front()
        combo = find(self.gtk_window, lambda a: a.getRole() == pyatspi.ROLE_COMBO_BOX
                     and a.name == "Left" and showing(a))

        def item(name):
            return find(combo, lambda a: a.getRole() == pyatspi.ROLE_MENU_ITEM and a.name == name
                        and showing(a))
        click(combo, 1)
        middle = poll("the pop-up's items", lambda: item("Middle"), 10)
        key("shift+super+space")
        poll("the labels over the pop-up", lambda: label_drawn_below(rect(middle)), 10)
        key(*[c.lower() for c in label_of(middle)])
        poll("Middle chosen", lambda: combo.name == "Middle", 10)
        # Put back for the other tests.
        click(combo, 1)
        poll("the pop-up's items", lambda: item("Left"), 10).queryAction().doAction(0)
        poll("Left chosen", lambda: combo.name == "Left", 10)


class QtMenus(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tarnvik = ResidentTarnvik()
        cls.qt = Application(lambda home: [QT_PROGRAM])
        cls.qt.bring_to_front()
        cls.window = poll("the Qt window", lambda: accessible_window("Tarnvik Qt Controls"))

    @classmethod
    def tearDownClass(cls):
        cls.tarnvik.remove()
        cls.qt.stop()

    def named(self, name, role):
        return find(self.window.getApplication(),
                    lambda a: a.name == name and a.getRole() == role and showing(a))

    def test_over_an_open_combo_box_list_only_its_items_and_the_menu_bar_are_labelled(self):
        self.tarnvik.start()
        combo = self.named("One", pyatspi.ROLE_COMBO_BOX)
        click(combo, 1)
        # Qt keeps the list below the combo box, in the window that stays the active one; its
        # items say they show even while it is closed. It sends no event for the expanded state,
        # so the state pyatspi keeps is asked afresh.

        def expanded():
            combo.clearCache()
            return combo.getState().contains(pyatspi.STATE_EXPANDED)
        poll("the list open", expanded, 10)
        listing = targets("--search", "")["targets"]
        self.assertIsNone(label_at(rect(self.named("Press Me", pyatspi.ROLE_PUSH_BUTTON)),
                                   listing))
        self.assertIsNotNone(label_at(rect(self.named("View", pyatspi.ROLE_MENU_ITEM)), listing))
        three = self.named("Three", pyatspi.ROLE_LIST_ITEM)
        # Qt reports the items wider than the list that shows them.
        shown = intersect(rect(three), rect(combo[0]))
        key("shift+super+space")
        poll("the labels over the list", lambda: label_drawn_below(shown), 10)
        key(*[c.lower() for c in label_at(rect(three), listing)])
        poll("Three chosen", lambda: combo.name == "Three", 10)
        poll("the overlay gone", lambda: not labels_mapped(), 10)

    def test_chained_labels_over_a_menu_bar_menu_press_its_item(self):
        self.tarnvik.start("chain-clicks=true\n")
        view = self.named("View", pyatspi.ROLE_MENU_ITEM)
        key("shift+super+space")
        poll("labels", labels_mapped, 10)
        key(*[c.lower() for c in label_of(view)])
        wrap = poll("the View menu open",
                    lambda: self.named("Word Wrap", pyatspi.ROLE_MENU_ITEM), 10)
        poll("labels back over its items", lambda: label_drawn_below(rect(wrap)), 10)
        # "s" opens the submenu and "w" ticks the item when they reach the menu; typed as
        # labels they press exactly the labelled item.
        mark = self.tarnvik.output.mark()
        key(*[c.lower() for c in label_of(wrap)])
        poll("word wrap on", lambda: self.named("Word wrap: on", pyatspi.ROLE_LABEL), 10)
        self.assertIsNone(self.named("Split Vertically", pyatspi.ROLE_MENU_ITEM))
        # The chain goes on over the window until Escape.
        self.tarnvik.output.wait_for("labels drawn", mark)
        poll("labels back", labels_mapped, 10)
        key("Escape")
        poll("the overlay gone", lambda: not labels_mapped(), 10)
        self.assertIsNotNone(self.named("Word wrap: on", pyatspi.ROLE_LABEL))
        # The item chosen closed its menu, which would otherwise hold the pointer and take the
        # next click for itself.
        click(self.named("Press Me", pyatspi.ROLE_PUSH_BUTTON))
        poll("the button pressed", lambda: self.named("Presses: 1", pyatspi.ROLE_LABEL), 10)


class BrowserContextMenu:
    """A label typed over a browser's context menu presses its item. Each browser keeps its menu
    open in its own way: Chromium draws it in a window the X server doesn't list as a client, and
    the browser itself says which of its windows is active; Firefox holds no grab at all and
    closes the menu as soon as its window loses the focus to any grab of the core keyboard."""

    browser = None  # the command, a function of the profile's folder
    select_all = None  # the item's name as the browser gives it

    @classmethod
    def setUpClass(cls):
        cls.tarnvik = ResidentTarnvik()
        cls.tarnvik.start()
        cls.app = Application(lambda home: cls.browser(home) + [CONTROLS_PAGE])
        cls.app.bring_to_front()
        cls.window = poll("the browser's window", lambda: accessible_window("Tarnvik Controls"))

    @classmethod
    def tearDownClass(cls):
        cls.tarnvik.remove()
        cls.app.stop()

    def takes_the_pointer(self, name):
        """Whether the open menu follows the pointer moved onto its item of that name: the item
        is focused. The pointer's moves reach the browser after the focus's changes."""
        item = self.item(name)
        if item is None:
            return False
        x, y, w, h = rect(item)
        # Beside the label, which stands in the middle of the item's lower edge.
        xdotool("mousemove", str(x + w - 10), str(y + h // 2))
        try:
            poll(f"{name} focused under the pointer",
                 lambda: item.getState().contains(pyatspi.STATE_FOCUSED), 10)
        except AssertionError:
            return False
        return self.item(name) is not None

    def item(self, name):
        """Chromium names a menu item with its shortcut: "Select all Ctrl+A". Firefox's items
        of a closed menu still say they show; their menu doesn't."""
        return find(self.window.getApplication(), lambda a: a.getRole() == pyatspi.ROLE_MENU_ITEM
                    and (a.name or "").startswith(name) and showing(a) and showing(a.parent))

    def test_a_label_typed_over_a_context_menu_presses_its_item(self):
        field = poll("the page's text field", lambda: find(
            self.window, lambda a: a.getRole() == pyatspi.ROLE_ENTRY and a.name == "Type here"
            and showing(a) and rect(a)[2] > 0))
        click(field, 1)
        key("e", "n", "t", "r", "y")
        text = field.queryText()
        poll("the text typed", lambda: text.getText(0, -1) == "entry", 10)
        key("Home")
        click(field, 3)
        select_all = poll("the context menu", lambda: self.item(self.select_all), 10)
        key("shift+super+space")
        poll("the labels over the menu's items", lambda: label_drawn_below(rect(select_all)), 10)
        self.assertTrue(self.takes_the_pointer("Inspect"), "the menu stays open under the labels")
        key(*[c.lower() for c in label_of(select_all)])
        poll("the whole text selected",
             lambda: text.getNSelections() == 1 and text.getSelection(0) == (0, 5), 10)
        poll("the menu closed", lambda: self.item(self.select_all) is None, 10)
        poll("the overlay gone", lambda: not labels_mapped(), 10)


class ChromiumContextMenu(BrowserContextMenu, unittest.TestCase):
    browser = staticmethod(chromium)
    select_all = "Select all"


class FirefoxPopups(BrowserContextMenu, unittest.TestCase):
    browser = staticmethod(firefox)
    select_all = "Select All"

    def test_a_label_typed_over_an_open_select_list_chooses_that_option(self):
        select = poll("the page's select", lambda: find(
            self.window, lambda a: a.getRole() == pyatspi.ROLE_COMBO_BOX and a.name == "Number"
            and showing(a)))

        def option(name):
            """The open list's item; the select's own options have no place on the screen."""
            return find(self.window.getApplication(), lambda a: a.name == name
                        and a.getRole() == pyatspi.ROLE_MENU_ITEM and showing(a)
                        and rect(a)[2] > 0)
        click(select, 1)
        three = poll("the open list", lambda: option("Three"), 10)
        key("shift+super+space")
        poll("the labels over the list's options", lambda: label_drawn_below(rect(three)), 10)
        # The list doesn't follow the pointer. Escape ends the labels alone, and Down after it
        # moves the open list's focus: the list took the focus's changes that came before.
        key("Escape")
        poll("the overlay gone", lambda: not labels_mapped(), 10)
        key("Down")
        poll("Two focused in the open list", lambda: (two := option("Two")) is not None
             and two.getState().contains(pyatspi.STATE_FOCUSED), 10)
        key("shift+super+space")
        poll("the labels over the list's options again",
             lambda: label_drawn_below(rect(three)), 10)
        key(*[c.lower() for c in label_of(three)])
        poll("Three chosen", lambda: find(select, lambda a: a.name == "Three" and a.getState()
                                          .contains(pyatspi.STATE_SELECTED)) is not None, 10)
        poll("the list closed", lambda: option("Two") is None, 10)
        poll("the overlay gone", lambda: not labels_mapped(), 10)


def writer(home):
    """Writer with a profile of its own in `home`, where the tip of the day is switched off: some
    versions show it in front a moment after the window, and it would take the focus from
    whatever a test opens."""
    os.makedirs(os.path.join(home, "user"))
    with open(os.path.join(home, "user", "registrymodifications.xcu"), "w",
              encoding="utf-8") as f:
        f.write('<?xml version="1.0" encoding="UTF-8"?>\n'
                '<oor:items xmlns:oor="http://openoffice.org/2001/registry">'
                '<item oor:path="/org.openoffice.Office.Common/Misc">'
                '<prop oor:name="ShowTipOfTheDay" oor:op="fuse"><value>false</value></prop>'
                '</item></oor:items>\n')
    return ["env", "SAL_USE_VCLPLUGIN=gtk3", "lowriter", "--norestore",
            f"-env:UserInstallation=file://{home}"]


class LibreOfficeMenuBar(unittest.TestCase):
    """LibreOffice's GTK 3 plugin keeps a second menu bar above the one it draws: showing, with
    the same items, and 0 pixels high."""

    @classmethod
    def setUpClass(cls):
        cls.writer = Application(writer)
        cls.window = poll("Writer's window", lambda: accessible_window("LibreOffice Writer"))
        cls.writer.bring_to_front()

    @classmethod
    def tearDownClass(cls):
        cls.writer.stop()

    def setUp(self):
        self.writer.bring_to_front()

    def drawn_menu_bar(self):
        bar = find(self.window, lambda a: a.getRole() == pyatspi.ROLE_MENU_BAR and showing(a)
                   and rect(a)[3] > 0)
        return bar if bar is not None and bar.childCount > 0 else None

    def test_the_menu_bar_it_draws_is_labelled(self):
        def labelled():
            frames = [t["frame"] for t in targets()["targets"] if t["role"] == "AXMenuBarItem"]
            return all(list(rect(item)) in frames for item in expected)

        bar = poll("the menu bar", self.drawn_menu_bar)
        expected = [item for item in bar if item is not None and item.name in ("File", "Edit")]
        self.assertEqual(len(expected), 2)
        poll("File and Edit labelled where they are drawn", labelled, 60)

    def test_format_character_is_reached_with_labels_alone(self):
        tarnvik = ResidentTarnvik()
        self.addCleanup(tarnvik.remove)
        tarnvik.start()
        bar = poll("the menu bar", self.drawn_menu_bar)
        format_menu = next(item for item in bar if item is not None and item.name == "Format")

        def type_label(accessible):
            label = poll(f"{accessible.name}'s label", lambda: label_of(accessible), 10)
            key("shift+super+space")
            poll("the labels", labels_mapped, 10)
            key(*label.lower())
            poll("the labels gone", lambda: not labels_mapped(), 10)
        type_label(format_menu)
        character = poll("the Format menu open", lambda: find(
            format_menu, lambda a: a.name == "Character..." and showing(a)
            and rect(a)[2] > 1), 10)
        type_label(character)
        poll("the Character dialog", lambda: accessible_window("Character"), 20)
        key("Escape")
        poll("the dialog closed", lambda: accessible_window("Character") is None, 10)

    def test_a_context_menus_item_that_opens_a_submenu_is_labelled_and_opens_it(self):
        tarnvik = ResidentTarnvik()
        self.addCleanup(tarnvik.remove)
        tarnvik.start()
        page = rect(self.window)
        xdotool("mousemove", str(page[0] + page[2] // 2), str(page[1] + page[3] // 2),
                "click", "3")

        def menu_item(name):
            return find(self.window.getApplication(), lambda a: a.name == name
                        and a.getRole() in (pyatspi.ROLE_MENU, pyatspi.ROLE_MENU_ITEM)
                        and showing(a) and rect(a)[2] > 1)
        character = poll("the context menu", lambda: menu_item("Character"), 20)
        label = poll("Character's label", lambda: label_of(character), 10)
        key("shift+super+space")
        poll("the labels", labels_mapped, 10)
        key(*label.lower())
        poll("its submenu open", lambda: any(
            showing(a) and rect(a)[2] > 1 for a in character if a is not None), 10)
        key("Escape", "Escape")


if __name__ == "__main__":
    main()
