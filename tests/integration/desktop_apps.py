"""What the integration tests share: starting an application on the virtual desktop, bringing
its window to the front, finding it on the accessibility bus, and asking tarnvik."""

import ctypes
import json
import os
import pathlib
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

import pyatspi

TARNVIK = os.environ["TARNVIK"]
# The local pages the browsers open.
PAGES = pathlib.Path(__file__).parent.parent / "pages"

# The status a sanitized process ends with after a report: neither 0 nor 1, which some commands
# end with on their own.
SANITIZER_EXIT = 86


def _sanitizer_reports():
    """The folder every sanitized process the suite starts writes AddressSanitizer's reports
    into, emptied for this run: a report goes there whatever the process did with its standard
    error."""
    folder = os.environ.get("TARNVIK_SANITIZER_REPORTS") or tempfile.mkdtemp(
        prefix="tarnvik-sanitizer-")
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    # Later options win over earlier ones, so what the suite needs goes last. UBSan reports
    # once and ends the process, as AddressSanitizer does. GCC's UBSan runtime beside ASan's
    # keeps writing to standard error whatever its log_path, so the exit status, and the
    # standard error of the processes the tests start (`Output`), tell of its reports.
    common = f"exitcode={SANITIZER_EXIT}:log_path={folder}/report"
    for variable, own in (("ASAN_OPTIONS", ""),
                          ("UBSAN_OPTIONS", "print_stacktrace=1:halt_on_error=1:")):
        given = os.environ.get(variable)
        os.environ[variable] = (given + ":" if given else "") + own + common
    return folder


SANITIZER_REPORTS = _sanitizer_reports()
# A report's first line, as UBSan and AddressSanitizer begin one.
SANITIZER_LINE = re.compile(r": runtime error: |==\d+==(ERROR|WARNING): \w+Sanitizer")
_reported = set()
_outputs = []
_sanitizer_exits = []


def note_exit(command, status):
    """Keeps a sanitizer's exit for the check, rather than fail a clean-up half way."""
    if status == SANITIZER_EXIT:
        _sanitizer_exits.append(f"{' '.join(map(str, command))} ended with the sanitizers' "
                                f"status {status}")


def check_sanitizer_reports():
    """Fails with the text of every sanitizer report written since the last check."""
    new = sorted(set(os.listdir(SANITIZER_REPORTS)) - _reported)
    _reported.update(new)
    texts = []
    for name in new:
        with open(os.path.join(SANITIZER_REPORTS, name), errors="replace") as f:
            texts.append(f"{name}:\n{f.read()[:6000]}")
    texts += _sanitizer_exits
    _sanitizer_exits.clear()
    texts += ["standard error of " + " ".join(output.command) + ":\n" + "\n".join(lines)
              for output in _outputs if (lines := output.sanitizer_lines())]
    if texts:
        raise AssertionError("a sanitizer reported:\n" + "\n".join(texts))


class _SanitizerCheckedResult(unittest.TextTestResult):
    def startTest(self, test):
        super().startTest(test)
        self._marks = [(output, output.mark()) for output in _outputs]
        self._first_new = len(_outputs)
        # The first cleanup added runs last: after the test's own have stopped what it started.
        test.addCleanup(check_sanitizer_reports)

    def addFailure(self, test, err):
        super().addFailure(test, err)
        self._print_traces()

    def addError(self, test, err):
        super().addError(test, err)
        self._print_traces()

    def addSubTest(self, test, subtest, err):
        super().addSubTest(test, subtest, err)
        if err is not None:
            self._print_traces()

    def _print_traces(self):
        """Tarnvik's own lines while the test ran, the last of them: on a machine where the
        failure can't be watched they say what the program saw. Its trace names kinds and
        counts, never what an application's elements hold; the applications' output is left
        out."""
        # A key or button left down by one test would take the next ones' input elsewhere.
        if os.environ.get("DISPLAY") and (held := Xkb().held()):
            codes, modifiers, buttons = held
            print(f"\n--- X has down: key codes {codes}, modifiers 0x{modifiers:x}, "
                  f"buttons 0x{buttons:x}", file=sys.stderr)
        outputs = self._marks + [(output, 0) for output in _outputs[self._first_new:]]
        for output, since in outputs:
            if output.command[:1] == [TARNVIK]:
                lines = output.lines(since)[-80:]
                print(f"\n--- the last {len(lines)} lines of {' '.join(output.command)}:",
                      *lines, sep="\n", file=sys.stderr)


def main():
    """Runs the module's tests as unittest.main does; each test fails on a sanitizer report
    written while it ran, and the run fails on one written while the classes ended."""
    program = unittest.main(testRunner=unittest.TextTestRunner(
        resultclass=_SanitizerCheckedResult, verbosity=2), exit=False)
    try:
        check_sanitizer_reports()
    except AssertionError as late:
        print(late, file=sys.stderr)
        sys.exit(1)
    sys.exit(not program.result.wasSuccessful())


class Output:
    """The lines a process writes to its pipes, read as they come on threads of their own so
    that no wait for a line outlasts its deadline, and kept for later assertions and for the
    sanitizer check."""

    def __init__(self, process, *pipes):
        self.command = list(map(str, process.args))
        self._lines = []
        self._checked = 0
        self._lock = threading.Lock()
        self._readers = [threading.Thread(target=self._read, args=(pipe,), daemon=True)
                         for pipe in pipes]
        for reader in self._readers:
            reader.start()
        _outputs.append(self)

    def _read(self, pipe):
        with pipe:
            for line in pipe:
                with self._lock:
                    self._lines.append(line.rstrip("\n"))

    def sanitizer_lines(self):
        """The first sanitizer report among the lines written since the last call, if any."""
        with self._lock:
            new, self._checked = self._lines[self._checked:], len(self._lines)
        start = next((i for i, line in enumerate(new) if SANITIZER_LINE.search(line)), None)
        return [] if start is None else new[start:start + 40]

    def lines(self, since=0):
        with self._lock:
            return self._lines[since:]

    def mark(self):
        """Where the lines written from now on start, for `lines` and `wait_for`."""
        with self._lock:
            return len(self._lines)

    def wait_for(self, text, since=0, seconds=10):
        """The first line since the mark that holds the text, waited for."""
        return poll(f"{text!r} written", lambda: next(
            (line for line in self.lines(since) if text in line), None), seconds)

    def close(self):
        """Waits for the pipes' ends: the process has ended."""
        for reader in self._readers:
            reader.join(10)


# Generous: a browser takes a minute to start on a machine that is compiling at the same time.
def poll(what, condition, seconds=120):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        result = condition()
        if result:
            return result
        time.sleep(0.1)
    raise AssertionError(f"gave up waiting for {what}")


def targets(*arguments, environment=None):
    run = subprocess.run([TARNVIK, "targets", "--json", *arguments], capture_output=True,
                         text=True, timeout=60, env=environment)
    assert run.returncode == 0, run.stderr
    return json.loads(run.stdout)


def showing(accessible):
    return accessible.getState().contains(pyatspi.STATE_SHOWING)


def near(a, b):
    """Frames that agree to the pixel, as rounding leaves them."""
    return all(abs(p - q) <= 1 for p, q in zip(a, b))


def process_frame(pid, state=pyatspi.STATE_SHOWING):
    """The process's frame with that state: for windows that have no name on AT-SPI."""
    for application in pyatspi.Registry.getDesktop(0):
        if application is not None and application.get_process_id() == pid:
            return next((f for f in application if f is not None
                         and f.getState().contains(state)), None)
    return None


def rect(accessible):
    e = accessible.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    return (e.x, e.y, e.width, e.height)


def intersect(a, b):
    x, y = max(a[0], b[0]), max(a[1], b[1])
    right, bottom = min(a[0] + a[2], b[0] + b[2]), min(a[1] + a[3], b[1] + b[3])
    return (x, y, right - x, bottom - y) if right > x and bottom > y else None


def set_x_resources(text):
    """Sets the X resources X applications read at their start (Xft.dpi); `xrdb -merge` does
    the same."""
    subprocess.run(["xprop", "-root", "-format", "RESOURCE_MANAGER", "8s", "-set",
                    "RESOURCE_MANAGER", text], check=True)


def x_window_frame(pid):
    """Where the X server has the largest visible top-level window of the process or of one it
    started: (x, y, width, height) in root pixels."""
    frames = []
    for p in descendants(pid):
        for window in subprocess.run(["xdotool", "search", "--onlyvisible", "--pid", str(p)],
                                     capture_output=True, text=True).stdout.split():
            info = subprocess.run(["xwininfo", "-id", window], capture_output=True,
                                  text=True).stdout
            values = dict(line.strip().split(":", 1) for line in info.splitlines()
                          if ":" in line)
            frames.append(tuple(int(values[k]) for k in (
                "Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")))
    return max(frames, key=lambda f: f[2] * f[3], default=None)


def _prop(window, name):
    return subprocess.run(["xprop"] + (["-id", window] if window else ["-root"]) + [name],
                          capture_output=True, text=True).stdout


def activate(pids):
    """True once a window of one of the processes is the active one; asks for that otherwise."""
    def owned(window):
        value = _prop(window, "_NET_WM_PID").strip().split("= ")
        return len(value) == 2 and int(value[1]) in pids

    active = _prop(None, "_NET_ACTIVE_WINDOW").split()[-1]
    if active.startswith("0x") and owned(active):
        return True
    for window in _prop(None, "_NET_CLIENT_LIST").split("#")[-1].replace(",", " ").split():
        if owned(window):
            subprocess.run(["xdotool", "windowactivate", window], capture_output=True)
    return False


def descendants(pid):
    """The process and everything it started, for programs that split into several."""
    found, frontier = {pid}, [pid]
    while frontier:
        children = subprocess.run(["pgrep", "-P", str(frontier.pop())], capture_output=True,
                                  text=True).stdout.split()
        for child in map(int, children):
            if child not in found:
                found.add(child)
                frontier.append(child)
    return found


def accessible_window(title_part):
    """The showing frame whose name holds the text, from any application on the bus."""
    for application in pyatspi.Registry.getDesktop(0):
        if application is None:
            continue
        for frame in application:
            if (frame is not None and title_part in (frame.name or "")
                    and frame.getState().contains(pyatspi.STATE_SHOWING)):
                return frame
    return None


class Application:
    """A program started for a test, stopped with everything it started when the test ends."""

    def __init__(self, command):
        self.home = tempfile.mkdtemp(prefix="tarnvik-app-")
        self.process = subprocess.Popen(command(self.home), stdout=subprocess.DEVNULL,
                                        stderr=subprocess.PIPE, text=True, errors="replace",
                                        start_new_session=True)
        self.errors = Output(self.process, self.process.stderr)

    def bring_to_front(self):
        poll("its window in front", lambda: activate(descendants(self.process.pid)))

    def stop(self):
        try:
            os.killpg(self.process.pid, 9)
        except ProcessLookupError:
            pass
        note_exit(self.process.args, self.process.wait())
        subprocess.run(["rm", "-rf", self.home])


def firefox(home):
    return ["firefox-esr", "--no-remote", "--new-instance", "--profile", home]


def chromium(home):
    return ["chromium", "--no-sandbox", "--disable-gpu", "--no-first-run",
            "--disable-background-networking", "--disable-component-update", "--disable-sync",
            "--force-renderer-accessibility", f"--user-data-dir={home}"]


class ResidentTarnvik:
    """The resident program with settings of its own, as a user runs it. What it writes to
    either pipe is kept in `output`, its trace lines among it."""

    def __init__(self):
        self.config = tempfile.mkdtemp(prefix="tarnvik-config-")
        os.makedirs(os.path.join(self.config, "tarnvik"))
        self.process = None
        self.output = None

    def start(self, settings="", running=True, **variables):
        """Started as at login, silently. Waits until it runs, unless not `running`: with
        accessibility off it first asks for it."""
        self.stop()
        with open(os.path.join(self.config, "tarnvik", "tarnvik.conf"), "w",
                  encoding="utf-8") as f:
            f.write("[General]\n" + settings)
        environment = dict(os.environ, XDG_CONFIG_HOME=self.config, TARNVIK_TRACE="1",
                           **variables)
        self.process = subprocess.Popen([TARNVIK, "--at-login"], stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, text=True, errors="replace",
                                        env=environment)
        self.output = Output(self.process, self.process.stdout, self.process.stderr)
        if running:
            self.wait_until_running()

    def wait_until_running(self):
        def running():
            if self.process.poll() is not None:
                raise AssertionError(f"tarnvik ended with {self.process.returncode}: "
                                     + "\n".join(self.output.lines()))
            return any("Tarnvik: running" in line for line in self.output.lines())
        poll("tarnvik to run", running)

    def shortcut_lines(self, since):
        """What tarnvik said of the shortcuts it handled after the mark."""
        return [line for line in self.output.lines(since) if line.startswith("shortcut:")]

    def shortcut_handled(self, mode, since, seconds=10):
        """Whether the shortcut of the mode ("click" or "scroll") left a session of it running,
        once tarnvik says it handled one after the mark."""
        return self.output.wait_for(f"shortcut: {mode} mode", since, seconds).endswith(" on")

    def stop(self, sig=signal.SIGTERM):
        """Answers the process's exit status."""
        if not self.process:
            return None
        self.process.send_signal(sig)
        try:
            status = self.process.wait(30)
            note_exit(self.process.args, status)
        finally:
            self.output.close()
            self.process = None
        return status

    def remove(self):
        try:
            self.stop()
        finally:
            subprocess.run(["rm", "-rf", self.config])

    def start_again(self):
        """Starts tarnvik a second time, as a person does to reach the settings; answers how
        that second one ended."""
        return subprocess.run([TARNVIK], env=dict(os.environ, XDG_CONFIG_HOME=self.config),
                              capture_output=True, timeout=20)

    def settings_file(self):
        with open(os.path.join(self.config, "tarnvik", "tarnvik.conf"), encoding="utf-8") as f:
            return f.read()


PROMPT = "Tarnvik requires Accessibility permission"


def set_accessibility(on):
    subprocess.run(["dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus",
                    "/org/a11y/bus", "org.freedesktop.DBus.Properties.Set",
                    "string:org.a11y.Status", "string:IsEnabled",
                    f"variant:boolean:{str(on).lower()}"], check=True, capture_output=True)


def xdotool(*arguments):
    subprocess.run(["xdotool", *arguments], check=True)


def key(*keys):
    xdotool("key", "--delay", "30", *keys)


def click(accessible, button=1):
    """A click of the pointer at the element's middle."""
    x, y, w, h = rect(accessible)
    xdotool("mousemove", str(x + w // 2), str(y + h // 2), "click", str(button))


def showing_all(root, test):
    """The showing elements under root that pass `test`."""
    return [a for a in pyatspi.findAllDescendants(root, lambda a: a is not None and test(a))
            if showing(a)]


def showing_descendant(root, role, name=None):
    """The first showing element of that role (and name) under root, waited for."""
    return poll(f"a showing {name or role}", lambda: next(iter(showing_all(
        root, lambda a: a.getRole() == role and (name is None or a.name == name))), None), 10)


def window_mapped(title):
    """Whether a window of that title is on the screen (Tarnvik keeps its overlay, unmapped,
    for the next session)."""
    return subprocess.run(["xdotool", "search", "--onlyvisible", "--name", title],
                          capture_output=True).returncode == 0


def screen_pixels():
    shot = subprocess.run(["import", "-window", "root", "-depth", "8", "rgb:-"], capture_output=True,
                          check=True).stdout
    width = int(subprocess.run(["xdpyinfo"], capture_output=True, text=True).stdout
                .split("dimensions:")[1].split("x")[0])
    return shot, width


def labels_mapped():
    return window_mapped("Tarnvik Labels")


def brings_labels(application, press, release=lambda: None):
    """Whether `press` brings labels over the application, brought to the front; then
    `release` lets go of what it holds, and the labels are taken away again."""
    application.bring_to_front()
    press()
    try:
        poll("the labels", labels_mapped, 2)
    except AssertionError:
        return False
    finally:
        release()
    key("Escape")
    poll("the labels gone", lambda: not labels_mapped(), 10)
    return True


class _XImage(ctypes.Structure):
    _fields_ = [("width", ctypes.c_int), ("height", ctypes.c_int), ("xoffset", ctypes.c_int),
                ("format", ctypes.c_int), ("data", ctypes.POINTER(ctypes.c_ubyte)),
                ("byte_order", ctypes.c_int), ("bitmap_unit", ctypes.c_int),
                ("bitmap_bit_order", ctypes.c_int), ("bitmap_pad", ctypes.c_int),
                ("depth", ctypes.c_int), ("bytes_per_line", ctypes.c_int),
                ("bits_per_pixel", ctypes.c_int)]


_xlib = None


def box_pixels(box):
    """The screen's pixels in the box (x, y, width, height), row by row as (r, g, b): read
    from the X server in a few milliseconds, for what shows only for a moment."""
    global _xlib
    if _xlib is None:
        x = ctypes.CDLL("libX11.so.6")
        x.XOpenDisplay.restype = ctypes.c_void_p
        x.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
        x.XDefaultRootWindow.restype = ctypes.c_ulong
        x.XGetImage.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_int,
                                ctypes.c_uint, ctypes.c_uint, ctypes.c_ulong, ctypes.c_int]
        x.XGetImage.restype = ctypes.POINTER(_XImage)
        x.XFree.argtypes = [ctypes.c_void_p]
        display = x.XOpenDisplay(None)
        _xlib = (x, display, x.XDefaultRootWindow(display))
    x, display, root = _xlib
    image = x.XGetImage(display, root, box[0], box[1], box[2], box[3], 0xFFFFFFFF, 2)  # ZPixmap
    try:
        i = image.contents
        assert i.bits_per_pixel == 32 and i.byte_order == 0, (i.bits_per_pixel, i.byte_order)
        data = ctypes.string_at(i.data, i.bytes_per_line * i.height)
        # Little-endian 32-bit pixels: blue, green, red, unused.
        return [(data[o + 2], data[o + 1], data[o])
                for row in range(i.height) for o in range(row * i.bytes_per_line,
                                                          row * i.bytes_per_line + i.width * 4, 4)]
    finally:
        x.XFree(image.contents.data)
        x.XFree(image)


def focus_ring_drawn(frame):
    """Whether the focus highlight's blue border stands along the frame's top edge."""
    x, y, w, _ = frame
    for row in range(3):
        pixels = box_pixels((x + 6, y + row, w - 12, 1))
        if sum(1 for r, g, b in pixels if r < 60 and 100 < g < 165 and b > 215) > len(pixels) / 2:
            return True
    return False


def label_drawn_below(frame, pixels=None):
    """Whether label colours show where the element's label stands: centred on its lower
    edge."""
    return label_colour_in(pixels or screen_pixels(),
                           (frame[0] + frame[2] // 2 - 6, frame[1] + frame[3] - 8, 13, 17))


def label_colour_in(pixels, box):
    """Whether the yellow of the default label theme shows in the box (x, y, width, height)."""
    shot, width = pixels
    for y in range(box[1], box[1] + box[3]):
        for x in range(box[0], box[0] + box[2]):
            i = (y * width + x) * 3
            r, g, b = shot[i], shot[i + 1], shot[i + 2]
            if r > 235 and 190 < g < 255 and b < 215 and r - b > 40:
                return True
    return False


def label_at(frame, listing):
    """The label of the target that stands at the frame, to the pixel as rounding leaves it."""
    return next((t["label"] for t in listing if near(t["frame"], frame)), None)


def in_root_pixels(x_frame, window, accessible, scale):
    """Where an element that the application reports in pixels of its own scale stands in root
    pixels: the X server's window with the offset the application reports inside its frame."""
    x, y, _, _ = x_frame
    fx, fy, _, _ = rect(window)
    ex, ey, ew, eh = rect(accessible)
    return tuple(round(v) for v in (x + (ex - fx) * scale, y + (ey - fy) * scale, ew * scale,
                                    eh * scale))


def menu_window(application):
    """The showing popup window of the application that holds a menu: GTK's context menu."""
    return next((w for w in application if w is not None and w.getRole() == pyatspi.ROLE_WINDOW
                 and showing(w) and any(c is not None and c.getRole() == pyatspi.ROLE_MENU
                                        for c in w)), None)


def assert_typing_reaches(entry, letters):
    """Plain letters arrive in the entry as typed, no modifier left held and no grab left behind;
    they are taken out again."""
    entry.queryComponent().grabFocus()
    poll("the entry focused", lambda: entry.getState().contains(pyatspi.STATE_FOCUSED), 10)
    key("End", *letters)
    poll(f"{letters} typed into the entry",
         lambda: entry.queryText().getText(0, -1).endswith(letters), 10)
    key(*["BackSpace"] * len(letters))


def pointer():
    location = subprocess.run(["xdotool", "getmouselocation", "--shell"], capture_output=True,
                              text=True, check=True).stdout
    values = dict(line.split("=") for line in location.split())
    return int(values["X"]), int(values["Y"])


def pointer_drawn():
    """Whether the pointer shows on the screen: the virtual screen's frame buffer has it drawn
    in, a screenshot never does, so the two differ where it stands."""
    x, y = pointer()
    box = (max(x - 2, 0), max(y - 2, 0), 16, 22)
    shot = subprocess.run(["import", "-window", "root", "-crop", "%dx%d+%d+%d" % (box[2], box[3],
                           box[0], box[1]), "-depth", "8", "rgb:-"], capture_output=True,
                          check=True).stdout
    with open(os.environ["TARNVIK_FRAMEBUFFER"], "rb") as f:
        data = f.read()
    # An XWD file: a header of big-endian words, a colour map, then 32-bit BGRX rows.
    words = struct.unpack(">25I", data[:100])
    start, bytes_per_line = words[0] + words[19] * 12, words[12]
    differing = 0
    for row in range(box[3]):
        for column in range(box[2]):
            i = start + (box[1] + row) * bytes_per_line + (box[0] + column) * 4
            j = (row * box[2] + column) * 3
            if (data[i + 2], data[i + 1], data[i]) != tuple(shot[j:j + 3]):
                differing += 1
    return differing > 8


class OverlaySession(unittest.TestCase):
    """Tests of a resident tarnvik (`tarnvik`) over one application (`app`): each test starts
    with the application in front and ends with the overlay titled `overlay` closed."""

    overlay = None

    @classmethod
    def open_application(cls, command, title):
        """Makes `tarnvik` (not started) and starts `app` from `command` (a function of its home
        folder), in front, with `window` its frame on the bus holding `title`."""
        cls.tarnvik = ResidentTarnvik()
        cls.app = Application(command)
        cls.app.bring_to_front()
        cls.window = poll("the window on the bus", lambda: accessible_window(title))

    @classmethod
    def tearDownClass(cls):
        cls.tarnvik.remove()
        cls.app.stop()

    def setUp(self):
        self.app.bring_to_front()

    def tearDown(self):
        if window_mapped(self.overlay):
            key("Escape")
        poll("the overlay to close", lambda: not window_mapped(self.overlay), 10)


class _XkbState(ctypes.Structure):
    _fields_ = [("group", ctypes.c_ubyte), ("locked_group", ctypes.c_ubyte),
                ("base_group", ctypes.c_ushort), ("latched_group", ctypes.c_ushort),
                ("mods", ctypes.c_ubyte), ("base_mods", ctypes.c_ubyte),
                ("latched_mods", ctypes.c_ubyte), ("locked_mods", ctypes.c_ubyte),
                ("compat_state", ctypes.c_ubyte), ("grab_mods", ctypes.c_ubyte),
                ("compat_grab_mods", ctypes.c_ubyte), ("lookup_mods", ctypes.c_ubyte),
                ("compat_lookup_mods", ctypes.c_ubyte), ("ptr_buttons", ctypes.c_ushort)]


class Xkb:
    """The keyboard's XKB state, through Xlib: its locked layout group, and Caps Lock's lock."""

    USE_CORE_KBD = 0x100

    def __init__(self):
        self._x = ctypes.CDLL("libX11.so.6")
        self._x.XOpenDisplay.restype = ctypes.c_void_p
        self._display = ctypes.c_void_p(self._x.XOpenDisplay(None))

    def _state(self):
        state = _XkbState()
        self._x.XkbGetState(self._display, self.USE_CORE_KBD, ctypes.byref(state))
        return state

    def group(self):
        return self._state().locked_group

    def lock_group(self, group):
        self._x.XkbLockGroup(self._display, self.USE_CORE_KBD, group)
        self._x.XFlush(self._display)

    def caps_locked(self):
        return bool(self._state().locked_mods & 2)

    def held(self):
        """The key codes X has down, and the modifiers and pointer buttons it holds; None
        without a display."""
        if not self._display.value:
            return None
        keys = (ctypes.c_char * 32)()
        self._x.XQueryKeymap(self._display, keys)
        codes = [i * 8 + bit for i, byte in enumerate(keys.raw) for bit in range(8)
                 if byte >> bit & 1]
        state = self._state()
        return codes, state.mods, state.ptr_buttons

    def nothing_held(self):
        """Whether no modifier and no pointer button is down, as the X server has it."""
        state = self._state()
        return state.mods == 0 and state.ptr_buttons == 0
