"""What the integration tests share: starting an application on the virtual desktop, bringing
its window to the front, finding it on the accessibility bus, and asking tarnvik."""

import json
import os
import subprocess
import tempfile
import time

import pyatspi

TARNVIK = os.environ["TARNVIK"]


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


def rect(accessible):
    e = accessible.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    return (e.x, e.y, e.width, e.height)


def intersect(a, b):
    x, y = max(a[0], b[0]), max(a[1], b[1])
    right, bottom = min(a[0] + a[2], b[0] + b[2]), min(a[1] + a[3], b[1] + b[3])
    return (x, y, right - x, bottom - y) if right > x and bottom > y else None


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
                                        stderr=subprocess.DEVNULL, start_new_session=True)

    def bring_to_front(self):
        poll("its window in front", lambda: activate(descendants(self.process.pid)))

    def stop(self):
        try:
            os.killpg(self.process.pid, 9)
        except ProcessLookupError:
            pass
        self.process.wait()
        subprocess.run(["rm", "-rf", self.home])
