// A test's own hands in GNOME Shell on Wayland, where no client may post input to another:
// a click at a point, through a virtual pointer of the shell's seat. Loaded only on the tests'
// desktops beside Tarnvik's extension, and sharing nothing with it, so that a test can check
// independently where Tarnvik says an element stands.

const PROBE = `<node>
  <interface name="com.ostrelline.TarnvikTest.Probe">
    <method name="Click">
      <arg name="x" type="d" direction="in"/>
      <arg name="y" type="d" direction="in"/>
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

    destroy() {
        this._dbus.unexport();
    }
}
