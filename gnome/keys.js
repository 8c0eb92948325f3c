// The keyboard held for a session: every key typed goes to Tarnvik until it lets go, leaves the
// bus, or stops renewing the hold. A hung or stopped Tarnvik must never keep the user's
// keyboard, so a hold lasts LEASE_MS from its last renewal.
const LEASE_MS = 1500;

class KeyHold {
    // `onLost` is told when a hold runs out.
    constructor(onLost) {
        this._onLost = onLost;
        // Holds the keyboard while the session runs: while an actor of the stage has the key
        // focus, the shell gets the keys in place of the focused window, which keeps its focus,
        // and the pointer still reaches the windows, for the session's own clicks and scrolls.
        this._target = new St.Widget({ name: 'tarnvikKeys', can_focus: true });
        Main.layoutManager.uiGroup.add_child(this._target);
        this._leaseId = 0;
        this._renewed = 0;
        this.overOverview = false;
    }

    get held() {
        return this._leaseId !== 0;
    }

    // Holds the keyboard. Over the overview the shell holds it already.
    hold(overOverview) {
        this.renew();
        if (this.held)
            return true;
        if (!overOverview) {
            global.stage.set_key_focus(this._target);
            if (global.stage.get_key_focus() !== this._target)
                return false;
        }
        this.overOverview = overOverview;
        this._leaseId = GLib.timeout_add(GLib.PRIORITY_DEFAULT, LEASE_MS / 4, () => {
            if (GLib.get_monotonic_time() - this._renewed <= LEASE_MS * 1000)
                return GLib.SOURCE_CONTINUE;
            this._leaseId = 0;
            this.release();
            this._onLost();
            return GLib.SOURCE_REMOVE;
        });
        return true;
    }

    renew() {
        this._renewed = GLib.get_monotonic_time();
    }

    release() {
        if (this._leaseId)
            GLib.source_remove(this._leaseId);
        this._leaseId = 0;
        if (global.stage.get_key_focus() === this._target)
            global.stage.set_key_focus(null);
    }

    destroy() {
        this.release();
        this._target.destroy();
    }
}

// GNOME binds Shift+Super+Space, Tarnvik's click shortcut out of the box, to the previous input
// source. While Tarnvik holds a shortcut that only this binding stood in the way of, the shell
// goes without it (Super+Space still switches sources: the same with two of them, and nothing
// happens with one), and it gets the binding back the moment Tarnvik lets go or leaves.
const INPUT_SOURCE_BACKWARD = 'switch-input-source-backward';

class InputSourceBinding {
    constructor() {
        this._lent = false;
    }

    // Whether the binding was there and can be given back. The shell takes it out of its table
    // of keys when it is next idle.
    lend() {
        const manager = Keyboard.getInputSourceManager();
        if (this._lent || !(manager._switchInputSource instanceof Function) ||
            !global.display.remove_keybinding(INPUT_SOURCE_BACKWARD))
            return false;
        Main.wm.allowKeybinding(INPUT_SOURCE_BACKWARD, Shell.ActionMode.NONE);
        this._lent = true;
        return true;
    }

    // Bound again as the input source manager binds it when it starts; whether it was lent.
    giveBack() {
        if (!this._lent)
            return false;
        this._lent = false;
        const manager = Keyboard.getInputSourceManager();
        manager._keybindingActionBackward = Main.wm.addKeybinding(INPUT_SOURCE_BACKWARD,
            new Gio.Settings({ schema_id: 'org.gnome.desktop.wm.keybindings' }),
            Meta.KeyBindingFlags.IS_REVERSED, Shell.ActionMode.ALL,
            manager._switchInputSource.bind(manager));
        return true;
    }
}

// After the shell's own idle work, which brings its table of keys up to date.
function afterIdle() {
    return new Promise(resolve => GLib.idle_add(GLib.PRIORITY_LOW, () => {
        resolve();
        return GLib.SOURCE_REMOVE;
    }));
}

// Tarnvik's shortcuts as the shell's own key bindings on Wayland, where no client may take a
// key from the others. On X11 Tarnvik grabs them itself.
class Shortcuts {
    // `onPressed(index, time)` for the shortcut of that index, with the key event's time in
    // milliseconds of the monotonic clock.
    constructor(onPressed) {
        this._actions = [];
        // Counts the bindings and unbindings, so that a binding overtaken while it waits does
        // nothing more.
        this._bound = 0;
        this._inputSource = new InputSourceBinding();
        this._activatedId = global.display.connect('accelerator-activated',
            (display, action, device, time) => {
                const index = this._actions.indexOf(action);
                if (index >= 0)
                    onPressed(index, time);
            });
    }

    // X key codes with X modifier masks; resolves to the index of each one the shell would not
    // take.
    async bind(keycodes, modifiers) {
        // A binding given back is in the shell's table only after its idle work: grabbed before,
        // the keys would be bound twice.
        const gaveBack = this.unbind();
        const bound = this._bound;
        const NONE = Meta.KeyBindingAction.NONE;
        const grab = i => {
            const names = [[1, '<Shift>'], [4, '<Control>'], [8, '<Alt>'], [64, '<Super>']]
                .filter(([mask]) => modifiers[i] & mask).map(([, name]) => name).join('');
            return global.display.grab_accelerator(`${names}0x${keycodes[i].toString(16)}`,
                Meta.KeyBindingFlags.NONE);
        };
        if (gaveBack)
            await afterIdle();
        if (bound !== this._bound)
            return [];
        this._actions = keycodes.map((keycode, i) => grab(i));
        const refused = () => [...this._actions.keys()].filter(i => this._actions[i] === NONE);
        const first = refused();
        if (first.length && this._inputSource.lend()) {
            await afterIdle();
            if (bound !== this._bound)
                return [];
            for (const i of first)
                this._actions[i] = grab(i);
            if (refused().length === first.length)
                this._inputSource.giveBack();
        }
        for (const action of this._actions.filter(a => a !== NONE)) {
            Main.wm.allowKeybinding(Meta.external_binding_name_for_action(action),
                Shell.ActionMode.ALL);
        }
        return refused();
    }

    // Whether the shell got its binding back.
    unbind() {
        this._bound++;
        for (const action of this._actions.splice(0)) {
            if (action !== Meta.KeyBindingAction.NONE)
                global.display.ungrab_accelerator(action);
        }
        return this._inputSource.giveBack();
    }

    destroy() {
        this.unbind();
        global.display.disconnect(this._activatedId);
    }
}
