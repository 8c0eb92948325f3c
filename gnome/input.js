// Input as if from the user's own devices, which on Wayland only the compositor may make:
// virtual devices of the shell's seat. They are made when the extension is enabled: a device
// made at a click lost that click.

// Each modifier Tarnvik names, as a mask of its own, with the evdev code of its left key.
const MODIFIER_KEYS = [[1, 42], [4, 29], [8, 56], [64, 125]];

// The modifiers of Clutter's state, in the masks above.
function modifierMasks(state) {
    const superKey = Clutter.ModifierType.SUPER_MASK | Clutter.ModifierType.MOD4_MASK;
    return MODIFIER_KEYS.reduce((masks, [mask]) =>
        (mask === 64 ? state & superKey : state & mask) ? masks | mask : masks, 0);
}

function now() {
    return GLib.get_monotonic_time();
}

class VirtualInput {
    constructor() {
        const seat = Clutter.get_default_backend().get_default_seat();
        this._pointer = seat.create_virtual_device(Clutter.InputDeviceType.POINTER_DEVICE);
        this._keyboard = seat.create_virtual_device(Clutter.InputDeviceType.KEYBOARD_DEVICE);
        // The modifier keys held down for a button, let go with it.
        this._held = [];
        this._cursorHidden = false;
    }

    move(x, y) {
        this._pointer.notify_absolute_motion(now(), x, y);
    }

    // `button` as Clutter numbers them (1 primary, 2 middle, 3 secondary); `modifiers` the masks
    // above, held from the press to the release.
    button(button, pressed, x, y, modifiers) {
        if (pressed) {
            this._letGo();
            for (const [mask, key] of MODIFIER_KEYS) {
                if (modifiers & mask) {
                    this._keyboard.notify_key(now(), key, Clutter.KeyState.PRESSED);
                    this._held.push(key);
                }
            }
            this.move(x, y);
        }
        this._pointer.notify_button(now(), button,
            pressed ? Clutter.ButtonState.PRESSED : Clutter.ButtonState.RELEASED);
        if (!pressed)
            this._letGo();
    }

    // What the seat's keyboards hold now, every keyboard's keys counted, in the masks above.
    heldModifiers() {
        return modifierMasks(global.get_pointer()[2]);
    }

    // Pixels, as a touchpad scrolls: smooth, and as far as asked.
    scroll(dx, dy) {
        this._pointer.notify_scroll_continuous(now(), dx, dy, Clutter.ScrollSource.FINGER,
            Clutter.ScrollFinishFlags.NONE);
    }

    setCursorVisible(visible) {
        const tracker = global.backend?.get_cursor_tracker?.() ??
            Meta.CursorTracker.get_for_display(global.display);
        tracker.set_pointer_visible(visible);
        this._cursorHidden = !visible;
    }

    // Nothing of a session stays: no key held down, the pointer shown.
    reset() {
        this._letGo();
        if (this._cursorHidden)
            this.setCursorVisible(true);
    }

    _letGo() {
        for (const key of this._held.splice(0))
            this._keyboard.notify_key(now(), key, Clutter.KeyState.RELEASED);
    }
}

// The modifiers the seat's keyboards hold, and Caps Lock's lock (the mask 2), as they change, for
// Tarnvik's shortcuts of modifiers alone. The shell tells no change of them, and no client sees
// a key another one gets, so they are read every MODIFIERS_READ_MS, only while watched: while
// Tarnvik has such a shortcut.
const MODIFIERS_READ_MS = 20;

class ModifierWatch {
    // `onChanged(mask)` with the modifiers now held.
    constructor(onChanged) {
        this._onChanged = onChanged;
        this._readId = 0;
        this._last = 0;
    }

    watch(on) {
        if (on === (this._readId !== 0))
            return;
        if (!on) {
            GLib.source_remove(this._readId);
            this._readId = 0;
            return;
        }
        this._last = this._read();
        this._readId = GLib.timeout_add(GLib.PRIORITY_DEFAULT, MODIFIERS_READ_MS, () => {
            const held = this._read();
            if (held !== this._last) {
                this._last = held;
                this._onChanged(held);
            }
            return GLib.SOURCE_CONTINUE;
        });
    }

    _read() {
        const [, , state] = global.get_pointer();
        return modifierMasks(state) | (state & Clutter.ModifierType.LOCK_MASK ? 2 : 0);
    }
}
