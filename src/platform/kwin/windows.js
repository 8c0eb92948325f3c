// Loaded into KWin by Tarnvik: tells it where every window stands and which one has the focus,
// each time that changes, since no Wayland client may learn either. Tarnvik writes in where to
// tell it.
const service = "@SERVICE@";
const path = "/com/ostrelline/Tarnvik/KWin";
const iface = "com.ostrelline.Tarnvik.KWin";
// Tarnvik answers every report at once. When one has gone unanswered for ten seconds (Tarnvik
// was killed and could not unload this), reports go out at most every ten seconds, until one is
// answered again.
const patience = 10000;
let unansweredSince = null;
let lastSent = 0;
// While Tarnvik's own keyboard surface holds the keys, KWin has no active window: the window the
// user left stays the one in front.
let front = workspace.activeWindow;

function rect(r) {
    return {x: r.x, y: r.y, width: r.width, height: r.height};
}

// The windows a person switches between: layer-shell surfaces (panels, this program's labels and
// keyboard) count as normal windows too, but the window switcher leaves them out.
function shown(w) {
    return !w.minimized && !w.deleted && !w.skipSwitcher && (w.normalWindow || w.dialog || w.utility)
        && (w.onAllDesktops || w.desktops.indexOf(workspace.currentDesktop) >= 0);
}

function report() {
    const now = Date.now();
    if (unansweredSince !== null && now - unansweredSince > patience && now - lastSent < patience)
        return;
    if (unansweredSince === null)
        unansweredSince = now;
    lastSent = now;
    const windows = workspace.stackingOrder.filter(shown).reverse().map(w => ({
        id: w.internalId.toString(),
        pid: w.pid,
        title: w.caption,
        focused: w === front,
        resourceClass: w.resourceClass,
        resourceName: w.resourceName,
        desktopFile: w.desktopFileName,
        frame: rect(w.frameGeometry),
        buffer: rect(w.bufferGeometry),
    }));
    const active = workspace.activeScreen;
    const screens = workspace.screens.map(s => ({
        frame: rect(s.geometry), scale: s.devicePixelRatio, active: s === active}));
    callDBus(service, path, iface, "Windows", JSON.stringify({windows: windows, screens: screens}),
             () => { unansweredSince = null; });
}

function watch(w) {
    for (const changed of [w.frameGeometryChanged, w.minimizedChanged, w.captionChanged,
                           w.desktopsChanged])
        changed.connect(report);
}

workspace.windowList().forEach(watch);
workspace.windowAdded.connect(w => { watch(w); report(); });
workspace.windowRemoved.connect(w => {
    if (w === front)
        front = null;
    report();
});
workspace.windowActivated.connect(w => {
    if (w && shown(w))
        front = w;
    report();
});
workspace.currentDesktopChanged.connect(report);
workspace.screensChanged.connect(report);
report();
