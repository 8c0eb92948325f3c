// GNOME Shell 43 and 44 load an extension as a script, with the shell's modules under imports.
'use strict';

const { Clutter, Cogl, Gio, GLib, Meta, Shell, St } = imports.gi;
const Main = imports.ui.main;
const Keyboard = imports.ui.status.keyboard;
const PanelMenu = imports.ui.panelMenu;
const PopupMenu = imports.ui.popupMenu;
const Me = imports.misc.extensionUtils.getCurrentExtension();
const { WindowPreview } = imports.ui.windowPreview;

// @BODY@

class Extension {
    enable() {
        this._service = new @SERVICE@(Me.path);
    }

    disable() {
        this._service.destroy();
        this._service = null;
    }
}

function init() {
    return new Extension();
}
