// Tarnvik's status item in the top bar. GNOME shows no StatusNotifierItem, so without this a
// GNOME user would never see that Tarnvik runs, nor reach its menu. The menu is Tarnvik's: it
// is asked for each time the menu opens, since one entry names the application in front.
class StatusItem {
    // `iconPath` a symbolic SVG, drawn in the top bar's colour; `onOpened()` when the menu
    // opens; `onActivated(id)` when an entry is chosen.
    constructor(iconPath, onOpened, onActivated) {
        this._onActivated = onActivated;
        this._button = new PanelMenu.Button(0.0, 'Tarnvik', false);
        this._button.add_child(new St.Icon({
            gicon: Gio.icon_new_for_string(iconPath), style_class: 'system-status-icon',
        }));
        this._openId = this._button.menu.connect('open-state-changed', (menu, open) => {
            if (open)
                onOpened();
        });
        Main.panel.addToStatusArea('tarnvik', this._button);
    }

    // Each entry (id, title, submenu of (id, title)); an empty title is a separator. An empty
    // menu would not open, so one is set before the item shows.
    setMenu(entries) {
        const menu = this._button.menu;
        menu.removeAll();
        for (const [id, title, submenu] of entries) {
            if (!title) {
                menu.addMenuItem(new PopupMenu.PopupSeparatorMenuItem());
            } else if (submenu.length > 0) {
                const item = new PopupMenu.PopupSubMenuMenuItem(title);
                for (const [entryId, entryTitle] of submenu)
                    item.menu.addAction(entryTitle, () => this._onActivated(entryId));
                menu.addMenuItem(item);
            } else {
                menu.addAction(title, () => this._onActivated(id));
            }
        }
    }

    destroy() {
        this._button.menu.disconnect(this._openId);
        this._button.destroy();
    }
}
