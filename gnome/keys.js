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

// Tarnvik's shortcuts as the shell's own key bindings on Wayland, where no client may take a
// key from the others. On X11 Tarnvik grabs them itself.
class Shortcuts {
    // `onPressed(index, time)` for the shortcut of that index, with the key event's time in
    // milliseconds of the monotonic clock.
    constructor(onPressed) {
        this._actions = [];
        this._activatedId = global.display.connect('accelerator-activated',
            (display, action, device, time) => {
                const index = this._actions.indexOf(action);
                if (index >= 0)
                    onPressed(index, time);
            });
    }

    // X key codes with X modifier masks; the index of each one the shell would not take.
    bind(keycodes, modifiers) {
        this.unbind();
        const refused = [];
        keycodes.forEach((keycode, i) => {
            const names = [[1, '<Shift>'], [4, '<Control>'], [8, '<Alt>'], [64, '<Super>']]
                .filter(([mask]) => modifiers[i] & mask).map(([, name]) => name).join('');
            const action = global.display.grab_accelerator(
                `${names}0x${keycode.toString(16)}`, Meta.KeyBindingFlags.NONE);
            if (action === Meta.KeyBindingAction.NONE) {
                refused.push(i);
            } else {
                Main.wm.allowKeybinding(Meta.external_binding_name_for_action(action),
                    Shell.ActionMode.ALL);
            }
            this._actions.push(action);
        });
        return refused;
    }

    unbind() {
        for (const action of this._actions.splice(0)) {
            if (action !== Meta.KeyBindingAction.NONE)
                global.display.ungrab_accelerator(action);
        }
    }

    destroy() {
        this.unbind();
        global.display.disconnect(this._activatedId);
    }
}
