// Tarnvik's hands inside GNOME Shell. No client window can show over the Activities overview,
// and the overview holds the keyboard while it is open, so Tarnvik asks this extension to draw
// its labels above the overview and to hand it the keys typed there. On Wayland no client may
// stand over another's windows, take a key from them, post input to them or learn where they
// are, so there it does the same for every session, and posts Tarnvik's clicks and scrolls.
// Every decision (which labels, where, what a key does) is Tarnvik's: this only draws what it
// is told, reports what the shell knows and posts what it is asked. It answers the one Tarnvik
// process that registered, and nobody else.
//
// The body of the extension for every shell, with input.js and keys.js: the build puts them
// between the imports and the entry point of each shell's form (gnome/shell/), which bring
// Clutter, Cogl, Gio, GLib, Meta, Shell, St, Main and WindowPreview into scope and make an
// OverviewService while the extension is enabled.

const INTERFACE = `<node>
  <interface name="com.ostrelline.Tarnvik.Overview">
    <method name="Register"/>
    <method name="ShowLabels">
      <arg name="labels" type="aa{sv}" direction="in"/>
    </method>
    <method name="ShowImages">
      <arg name="images" type="a(sddddiiiay)" direction="in"/>
    </method>
    <method name="SetLabelsVisible">
      <arg name="visible" type="b" direction="in"/>
    </method>
    <method name="ClearLabels"/>
    <method name="ShowPanel">
      <arg name="panel" type="(sddddiiiay)" direction="in"/>
    </method>
    <method name="HidePanel">
      <arg name="name" type="s" direction="in"/>
    </method>
    <method name="Previews">
      <arg name="previews" type="a(sdddd)" direction="out"/>
    </method>
    <method name="Windows">
      <arg name="windows" type="a(tisss)" direction="out"/>
    </method>
    <method name="Frames">
      <arg name="windows" type="a(tisbsss(dddd)(dddd))" direction="out"/>
    </method>
    <method name="Monitors">
      <arg name="monitors" type="a(ddddd)" direction="out"/>
    </method>
    <method name="PickAt">
      <arg name="x" type="d" direction="in"/>
      <arg name="y" type="d" direction="in"/>
      <arg name="picked" type="b" direction="out"/>
    </method>
    <method name="HeldModifiers">
      <arg name="modifiers" type="u" direction="out"/>
    </method>
    <method name="WatchModifiers">
      <arg name="watch" type="b" direction="in"/>
    </method>
    <method name="HoldKeys">
      <arg name="hold" type="b" direction="in"/>
      <arg name="held" type="b" direction="out"/>
    </method>
    <method name="RenewKeys"/>
    <method name="WatchShortcuts">
      <arg name="keycodes" type="au" direction="in"/>
      <arg name="modifiers" type="au" direction="in"/>
      <arg name="refused" type="au" direction="out"/>
    </method>
    <method name="PointerMove">
      <arg name="x" type="d" direction="in"/>
      <arg name="y" type="d" direction="in"/>
    </method>
    <method name="PointerButton">
      <arg name="button" type="u" direction="in"/>
      <arg name="pressed" type="b" direction="in"/>
      <arg name="x" type="d" direction="in"/>
      <arg name="y" type="d" direction="in"/>
      <arg name="modifiers" type="u" direction="in"/>
    </method>
    <method name="Scroll">
      <arg name="dx" type="d" direction="in"/>
      <arg name="dy" type="d" direction="in"/>
    </method>
    <method name="SetCursorVisible">
      <arg name="visible" type="b" direction="in"/>
    </method>
    <method name="Beep"/>
    <method name="ShowStatusItem">
      <arg name="visible" type="b" direction="in"/>
    </method>
    <method name="SetStatusMenu">
      <arg name="entries" type="a(isa(is))" direction="in"/>
    </method>
    <signal name="Shown"/>
    <signal name="FocusChanged"/>
    <signal name="PointerMoved"/>
    <signal name="PointerPressed"/>
    <signal name="LabelsDrawn">
      <arg name="count" type="u"/>
      <arg name="sinceShortcut" type="d"/>
      <arg name="sinceAsked" type="d"/>
      <arg name="building" type="d"/>
    </signal>
    <signal name="ShortcutPressed">
      <arg name="index" type="u"/>
    </signal>
    <signal name="ModifiersChanged">
      <arg name="modifiers" type="u"/>
    </signal>
    <signal name="StatusMenuOpened"/>
    <signal name="StatusMenuActivated">
      <arg name="id" type="i"/>
    </signal>
    <signal name="Key">
      <arg name="keycode" type="u"/>
      <arg name="state" type="u"/>
      <arg name="pressed" type="b"/>
      <arg name="repeat" type="b"/>
      <arg name="text" type="s"/>
    </signal>
  </interface>
</node>`;

const OBJECT_PATH = '/com/ostrelline/Tarnvik/Overview';
const INTERFACE_NAME = 'com.ostrelline.Tarnvik.Overview';
const ERROR = 'com.ostrelline.Tarnvik.Overview.Error';
// The program's file name: a process whose executable is named otherwise may not register.
const PROGRAM = 'tarnvik';
// The modifiers a shortcut is told by: Shift, Control, Alt (Mod1) and Super (Mod4), as X has
// them; Caps Lock and Num Lock don't count.
const SHORTCUT_MODIFIERS = Clutter.ModifierType.SHIFT_MASK | Clutter.ModifierType.CONTROL_MASK |
    Clutter.ModifierType.MOD1_MASK | Clutter.ModifierType.MOD4_MASK;

function callerPid(sender) {
    const reply = Gio.DBus.session.call_sync('org.freedesktop.DBus', '/org/freedesktop/DBus',
        'org.freedesktop.DBus', 'GetConnectionUnixProcessID', new GLib.Variant('(s)', [sender]),
        new GLib.VariantType('(u)'), Gio.DBusCallFlags.NONE, 1000, null);
    return reply.deepUnpack()[0];
}

function executableName(pid) {
    try {
        return GLib.path_get_basename(GLib.file_read_link(`/proc/${pid}/exe`));
    } catch (e) {
        return '';
    }
}

// The window previews the overview shows now, found among its visible actors.
function visiblePreviews() {
    const found = [];
    const visit = actor => {
        if (!actor.visible)
            return;
        if (actor instanceof WindowPreview) {
            found.push(actor);
            return;
        }
        for (const child of actor.get_children())
            visit(child);
    };
    visit(Main.layoutManager.overviewGroup);
    return found;
}

// The windows a person sees, the front one first.
function windowsFrontToBack() {
    const windows = global.get_window_actors().map(a => a.meta_window)
        .filter(w => !w.minimized && w.showing_on_its_workspace());
    return global.display.sort_windows_by_stacking(windows).reverse();
}

// What the key types in the layout and with the modifiers in use ("?" for Shift and "/" on a US
// keyboard); nothing for a key that types no character.
function keyText(event) {
    const unicode = event.get_key_unicode();
    const text = typeof unicode === 'string' ? unicode
        : unicode ? String.fromCodePoint(unicode) : '';
    return /^[\p{Cc}]?$/u.test(text) ? '' : text;
}

function rectangle(r) {
    return [r.x, r.y, r.width, r.height];
}

function extentsOf(actor) {
    const rect = actor.get_transformed_extents();
    return [rect.origin.x, rect.origin.y, rect.size.width, rect.size.height];
}

class OverviewService {
    // `path` the extension's folder.
    constructor(path) {
        this._path = path;
        this._client = null;
        this._status = null;
        this._labels = new LabelLayer();
        this._panels = new PanelLayer();
        this._stageEventId = 0;
        this._input = new VirtualInput();
        this._modifiers = new ModifierWatch(
            held => this._emit('ModifiersChanged', new GLib.Variant('(u)', [held])));
        this._keys = new KeyHold(() => this._watchStage());
        // (key code, modifiers) of each of Tarnvik's shortcuts: the shell keeps the keyboard
        // while the overview shows, so they can't reach Tarnvik the usual way then.
        this._shortcuts = [];
        this._bindings = Meta.is_wayland_compositor()
            ? new Shortcuts((index, time) => {
                this._shortcutAt = time * 1000;
                this._emit('ShortcutPressed', new GLib.Variant('(u)', [index]));
            })
            : null;
        // When the last shortcut was pressed (monotonic microseconds), for the time to its labels.
        this._shortcutAt = 0;
        this._paintId = 0;
        this._dbus = Gio.DBusExportedObject.wrapJSObject(INTERFACE, this);
        this._dbus.export(Gio.DBus.session, OBJECT_PATH);
        this._showingId = Main.overview.connect('showing', () => this._watchStage());
        this._shownId = Main.overview.connect('shown', () => this._emit('Shown', null));
        // Whatever Tarnvik does, nothing of a session over the overview outlives it.
        this._hiddenId = Main.overview.connect('hidden', () => {
            if (this._keys.overOverview) {
                this._keys.release();
                this._labels.clear();
            }
            this._watchStage();
        });
        this._watchStage();
        this._focusId = global.display.connect('notify::focus-window',
            () => this._emit('FocusChanged', null));
    }

    destroy() {
        if (this._paintId)
            global.stage.disconnect(this._paintId);
        this._forget();
        this._bindings?.destroy();
        this._keys.destroy();
        global.display.disconnect(this._focusId);
        Main.overview.disconnect(this._showingId);
        Main.overview.disconnect(this._shownId);
        Main.overview.disconnect(this._hiddenId);
        this._dbus.unexport();
        this._labels.destroy();
        this._panels.destroy();
    }

    // Only to the registered client: keys typed are nobody else's business.
    _emit(name, parameters) {
        if (this._client)
            Gio.DBus.session.emit_signal(this._client.name, OBJECT_PATH, INTERFACE_NAME, name,
                parameters);
    }

    _forget() {
        if (!this._client)
            return;
        Gio.bus_unwatch_name(this._client.watch);
        this._client = null;
        this._labels.forgetImages();
        this._keys.release();
        this._input.reset();
        this._modifiers.watch(false);
        this._shortcuts = [];
        this._bindings?.unbind();
        this._labels.clear();
        this._panels.clear();
        this._status?.destroy();
        this._status = null;
        this._watchStage();
    }

    // Runs `answer` for the registered client, refuses everyone else.
    _serve(invocation, answer) {
        if (!this._client || invocation.get_sender() !== this._client.name) {
            invocation.return_dbus_error(`${ERROR}.NotRegistered`,
                'Only the Tarnvik process that registered may call this');
            return;
        }
        const fail = e => invocation.return_dbus_error(`${ERROR}.Failed`, String(e));
        try {
            const value = answer();
            // An answer may come later, as a promise.
            if (value instanceof Promise)
                value.then(later => invocation.return_value(later), fail);
            else
                invocation.return_value(value);
        } catch (e) {
            fail(e);
        }
    }

    // Runs `answer` for any Tarnvik process: where windows stand is what `tarnvik targets` needs
    // too, while the resident one is registered.
    _serveTarnvik(invocation, answer) {
        const sender = invocation.get_sender();
        if (this._client?.name !== sender && executableName(callerPid(sender)) !== PROGRAM) {
            invocation.return_dbus_error(`${ERROR}.NotTarnvik`, `Only ${PROGRAM} may ask this`);
            return;
        }
        try {
            invocation.return_value(answer());
        } catch (e) {
            invocation.return_dbus_error(`${ERROR}.Failed`, String(e));
        }
    }

    RegisterAsync(parameters, invocation) {
        const sender = invocation.get_sender();
        const pid = callerPid(sender);
        if (executableName(pid) !== PROGRAM) {
            invocation.return_dbus_error(`${ERROR}.NotTarnvik`,
                `Only ${PROGRAM} may register; process ${pid} is not it`);
            return;
        }
        if (this._client && this._client.name !== sender) {
            invocation.return_dbus_error(`${ERROR}.Taken`,
                `Tarnvik process ${this._client.pid} is registered already`);
            return;
        }
        if (!this._client) {
            const watch = Gio.bus_watch_name_on_connection(Gio.DBus.session, sender,
                Gio.BusNameWatcherFlags.NONE, null, () => this._forget());
            this._client = { name: sender, pid, watch };
        }
        invocation.return_value(null);
    }

    ShowImagesAsync(parameters, invocation) {
        this._serve(invocation, () => {
            const asked = GLib.get_monotonic_time();
            const images = invocation.get_parameters().get_child_value(0);
            this._labels.showImages(images);
            this._reportPaint(images.n_children(), asked, GLib.get_monotonic_time() - asked);
            return null;
        });
    }

    ShowLabelsAsync([labels], invocation) {
        this._serve(invocation, () => {
            const asked = GLib.get_monotonic_time();
            this._labels.show(labels.map(l => GLib.Variant.new('a{sv}', l).recursiveUnpack()));
            this._reportPaint(labels.length, asked, GLib.get_monotonic_time() - asked);
            return null;
        });
    }

    // Tells the client, once the stage has drawn the labels, how long that took from the
    // shortcut's key press and from the request, and how long making their actors took (in
    // microseconds): Tarnvik's trace prints them.
    _reportPaint(count, asked, building) {
        if (this._paintId)
            global.stage.disconnect(this._paintId);
        this._paintId = global.stage.connect('after-paint', () => {
            global.stage.disconnect(this._paintId);
            this._paintId = 0;
            const now = GLib.get_monotonic_time();
            const sinceShortcut = this._shortcutAt ? (now - this._shortcutAt) / 1000 : -1;
            this._shortcutAt = 0;
            this._emit('LabelsDrawn', new GLib.Variant('(uddd)',
                [count, sinceShortcut, (now - asked) / 1000, building / 1000]));
        });
        global.stage.queue_redraw();
    }

    SetLabelsVisibleAsync([visible], invocation) {
        this._serve(invocation, () => {
            this._labels.actor.visible = visible;
            return null;
        });
    }

    ClearLabelsAsync(parameters, invocation) {
        this._serve(invocation, () => {
            this._labels.clear();
            return null;
        });
    }

    ShowPanelAsync(parameters, invocation) {
        this._serve(invocation, () => {
            this._panels.show(invocation.get_parameters().get_child_value(0));
            return null;
        });
    }

    HidePanelAsync([name], invocation) {
        this._serve(invocation, () => {
            this._panels.hide(name);
            return null;
        });
    }

    ShowStatusItemAsync([visible], invocation) {
        this._serve(invocation, () => {
            if (visible && !this._status) {
                this._status = new StatusItem(`${this._path}/tarnvik-symbolic.svg`,
                    () => this._emit('StatusMenuOpened', null),
                    id => this._emit('StatusMenuActivated', new GLib.Variant('(i)', [id])));
            } else if (!visible && this._status) {
                this._status.destroy();
                this._status = null;
            }
            return null;
        });
    }

    SetStatusMenuAsync([entries], invocation) {
        this._serve(invocation, () => {
            this._status?.setMenu(entries);
            return null;
        });
    }

    PreviewsAsync(parameters, invocation) {
        this._serve(invocation, () => {
            const previews = Main.overview.visible ? visiblePreviews() : [];
            return new GLib.Variant('(a(sdddd))', [previews.map(p =>
                [String(p.metaWindow.get_id()), ...extentsOf(p)])]);
        });
    }

    // Each window with its application's name and icon, as the shell itself shows them: on
    // Wayland nobody else knows which application owns a window.
    WindowsAsync(parameters, invocation) {
        this._serve(invocation, () => {
            const tracker = Shell.WindowTracker.get_default();
            const windows = global.get_window_actors().map(a => a.meta_window).map(w => {
                const app = tracker.get_window_app(w);
                const icon = app?.get_icon()?.to_string() ?? '';
                return [w.get_id(), w.get_pid(), w.get_title() ?? '', app?.get_name() ?? '', icon];
            });
            return new GLib.Variant('(a(tisss))', [windows]);
        });
    }

    // Each window's id, process, title, whether it has the focus, what names its application
    // (class, instance, GTK application id), its frame (what the user sees as the window, title
    // bar included) and its buffer (the surface the client draws, client-side shadows
    // included): on Wayland only the shell knows where a window stands.
    FramesAsync(parameters, invocation) {
        this._serveTarnvik(invocation, () => {
            const focused = global.display.focus_window;
            return new GLib.Variant('(a(tisbsss(dddd)(dddd)))', [windowsFrontToBack().map(w => [
                w.get_id(), w.get_pid(), w.get_title() ?? '', w === focused,
                w.get_wm_class() ?? '', w.get_wm_class_instance() ?? '',
                w.get_gtk_application_id() ?? '',
                rectangle(w.get_frame_rect()), rectangle(w.get_buffer_rect()),
            ])]);
        });
    }

    // Each monitor's place and size in the shell's coordinates and its scale, the primary first.
    MonitorsAsync(parameters, invocation) {
        this._serveTarnvik(invocation, () => {
            const layout = Main.layoutManager;
            const monitors = [...layout.monitors].sort((a, b) =>
                (b === layout.primaryMonitor) - (a === layout.primaryMonitor));
            return new GLib.Variant('(a(ddddd))', [monitors.map(m =>
                [m.x, m.y, m.width, m.height, m.geometry_scale])]);
        });
    }

    PickAtAsync([x, y], invocation) {
        this._serve(invocation, () => {
            const preview = (Main.overview.visible ? visiblePreviews() : []).find(p => {
                const [left, top, width, height] = extentsOf(p);
                return x >= left && x < left + width && y >= top && y < top + height;
            });
            if (preview)
                Main.activateWindow(preview.metaWindow);
            return new GLib.Variant('(b)', [preview !== undefined]);
        });
    }

    HeldModifiersAsync(parameters, invocation) {
        this._serve(invocation, () => {
            return new GLib.Variant('(u)', [this._input.heldModifiers()]);
        });
    }

    WatchModifiersAsync([watch], invocation) {
        this._serve(invocation, () => {
            this._modifiers.watch(watch);
            return null;
        });
    }

    // Holds the keyboard for a session, which lets go LEASE_MS after the hold or its last
    // renewal; over the overview, at the latest when it hides.
    HoldKeysAsync([hold], invocation) {
        this._serve(invocation, () => {
            if (!hold)
                this._keys.release();
            const held = hold && this._keys.hold(Main.overview.visible);
            this._watchStage();
            return new GLib.Variant('(b)', [held]);
        });
    }

    // Keeps a hold from running out; a hold that has ended stays ended.
    RenewKeysAsync(parameters, invocation) {
        this._serve(invocation, () => {
            this._keys.renew();
            return null;
        });
    }

    WatchShortcutsAsync([keycodes, modifiers], invocation) {
        this._serve(invocation, () => {
            this._shortcuts = keycodes.map((keycode, i) => [keycode, modifiers[i]]);
            return (this._bindings?.bind(keycodes, modifiers) ?? Promise.resolve([]))
                .then(refused => new GLib.Variant('(au)', [refused]));
        });
    }

    PointerMoveAsync([x, y], invocation) {
        this._serve(invocation, () => {
            this._input.move(x, y);
            return null;
        });
    }

    PointerButtonAsync([button, pressed, x, y, modifiers], invocation) {
        this._serve(invocation, () => {
            this._input.button(button, pressed, x, y, modifiers);
            return null;
        });
    }

    ScrollAsync([dx, dy], invocation) {
        this._serve(invocation, () => {
            this._input.scroll(dx, dy);
            return null;
        });
    }

    SetCursorVisibleAsync([visible], invocation) {
        this._serve(invocation, () => {
            this._input.setCursorVisible(visible);
            return null;
        });
    }

    BeepAsync(parameters, invocation) {
        this._serve(invocation, () => {
            global.display.get_sound_player().play_from_theme('bell', 'Tarnvik', null);
            return null;
        });
    }

    // The stage is watched while the overview shows, for the shortcuts, and while the keys are
    // held.
    _watchStage() {
        const watch = Main.overview.visible || this._keys.held;
        if (watch && !this._stageEventId) {
            this._stageEventId = global.stage.connect('captured-event',
                (actor, event) => this._onEvent(event));
        } else if (!watch && this._stageEventId) {
            global.stage.disconnect(this._stageEventId);
            this._stageEventId = 0;
        }
    }

    _onEvent(event) {
        const type = event.type();
        if (!this._client)
            return Clutter.EVENT_PROPAGATE;
        // The user's own pointer while a session holds the keys outside the overview: the
        // session shows the pointer as it moves, and a search session ends at a click.
        if (this._keys.held && !this._keys.overOverview) {
            if (type === Clutter.EventType.MOTION)
                this._emit('PointerMoved', null);
            else if (type === Clutter.EventType.BUTTON_PRESS)
                this._emit('PointerPressed', null);
        }
        if (type !== Clutter.EventType.KEY_PRESS && type !== Clutter.EventType.KEY_RELEASE)
            return Clutter.EVENT_PROPAGATE;
        // A shortcut is a shortcut in a session too, as its hot key is elsewhere.
        const modifiers = event.get_state() & SHORTCUT_MODIFIERS;
        const index = !Main.overview.visible ? -1 : this._shortcuts.findIndex(([keycode, mods]) =>
            keycode === event.get_key_code() && mods === modifiers);
        if (index >= 0) {
            if (type === Clutter.EventType.KEY_PRESS)
                this._emit('ShortcutPressed', new GLib.Variant('(u)', [index]));
            return Clutter.EVENT_STOP;
        }
        return this._keys.held ? this._handOver(event) : Clutter.EVENT_PROPAGATE;
    }

    // Every key goes to Tarnvik. Over the overview, Escape and keys with Control, Alt or Super
    // go on to the shell as well (they close the overview or change the workspace there), and
    // the rest, which would start the overview's search, stop here; elsewhere all stop here.
    _handOver(event) {
        const type = event.type();
        const state = event.get_state();
        this._emit('Key', new GLib.Variant('(uubbs)', [event.get_key_code(), state,
            type === Clutter.EventType.KEY_PRESS,
            (event.get_flags() & (Clutter.EventFlags.FLAG_REPEATED ?? 0)) !== 0, keyText(event)]));
        const shellKeys = Clutter.ModifierType.CONTROL_MASK | Clutter.ModifierType.MOD1_MASK |
            Clutter.ModifierType.SUPER_MASK | Clutter.ModifierType.MOD4_MASK;
        const passes = (state & shellKeys) !== 0 || event.get_key_symbol() === Clutter.KEY_Escape;
        return passes && this._keys.overOverview ? Clutter.EVENT_PROPAGATE : Clutter.EVENT_STOP;
    }
}
