// A test's own hands and eyes in GNOME Shell on Wayland, where no client may post input to
// another or see the pointer: a click at a point, through a virtual pointer of the shell's
// seat, where the pointer stands, whether the shell has started up, whether keys are bound,
// and its Xwayland's display. Loaded only on the tests' desktops beside Tarnvik's extension,
// and sharing nothing with it, so that a test can check independently what Tarnvik says and
// does.

const PROBE = `<node>
  <interface name="com.ostrelline.TarnvikTest.Probe">
    <method name="Click">
      <arg name="x" type="d" direction="in"/>
      <arg name="y" type="d" direction="in"/>
    </method>
    <method name="Pointer">
      <arg name="x" type="i" direction="out"/>
      <arg name="y" type="i" direction="out"/>
    </method>
    <method name="State">
      <arg name="state" type="s" direction="out"/>
    </method>
    <method name="StartedUp">
      <arg name="done" type="b" direction="out"/>
    </method>
    <method name="XDisplay">
      <arg name="display" type="s" direction="out"/>
      <arg name="authority" type="s" direction="out"/>
    </method>
    <method name="Bound">
      <arg name="accelerator" type="s" direction="in"/>
      <arg name="bound" type="b" direction="out"/>
    </method>
  </interface>
</node>`;

class ProbeService {
    constructor() {
        // Made before the first click: a device made at a click lost that click.
        this._pointer = Clutter.get_default_backend().get_default_seat()
            .create_virtual_device(Clutter.InputDeviceType.POINTER_DEVICE);
        this._dbus = Gio.DBusExportedObject.wrapJSObject(PROBE, this);
        this._dbus.export(Gio.DBus.session, '/com/ostrelline/TarnvikTest/Probe');
    }

    Click(x, y) {
        const now = GLib.get_monotonic_time();
        this._pointer.notify_absolute_motion(now, x, y);
        this._pointer.notify_button(now, Clutter.BUTTON_PRIMARY, Clutter.ButtonState.PRESSED);
        this._pointer.notify_button(now, Clutter.BUTTON_PRIMARY, Clutter.ButtonState.RELEASED);
    }

    Pointer() {
        const [x, y] = global.get_pointer();
        return [x, y];
    }

    // What stands between input and the windows, said when input did not reach one: the
    // modifiers the shell thinks held, its overview and modal grabs, the focused window's class.
    State() {
        const [, , modifiers] = global.get_pointer();
        const focus = global.display.focus_window;
        return `modifiers 0x${modifiers.toString(16)}, overview ${Main.overview.visible}, ` +
            `modal ${Main.modalCount}, action mode ${Main.actionMode}, ` +
            `focus ${focus ? focus.get_wm_class() : 'none'}`;
    }

    // The shell opens its overview as the last step of starting up, over every window, and a
    // window started under it gets no focus: a test waits for that step before it closes it.
    StartedUp() {
        return !Main.layoutManager._startingUp;
    }

    // The display of the shell's Xwayland and its authority file, which the shell sets for the
    // programs it starts when it starts Xwayland (the tests' desktops set no authority file);
    // empty on X11's form and without Xwayland.
    XDisplay() {
        const authority = GLib.getenv('XAUTHORITY');
        if (!Meta.is_wayland_compositor() || !authority)
            return ['', ''];
        return [GLib.getenv('DISPLAY'), authority];
    }

    // Whether a key binding of the shell or of an extension holds the keys.
    Bound(accelerator) {
        const action = global.display.grab_accelerator(accelerator, Meta.KeyBindingFlags.NONE);
        if (action !== Meta.KeyBindingAction.NONE)
            global.display.ungrab_accelerator(action);
        return action === Meta.KeyBindingAction.NONE;
    }

    destroy() {
        this._dbus.unexport();
    }
}
