"""The rounds of bench/gnome/latency, run inside its desktop."""

import os
import re
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "tests", "integration"))
os.environ.setdefault("TARNVIK", sys.argv[1])
os.environ.pop("DISPLAY", None)

from gnome_shell import RemoteKeyboard, set_overview  # noqa: E402

SHIFT, SUPER, ESCAPE = 0xffe1, 0xffeb, 0xff1b


def next_line(process, pattern, seconds=10):
    """The numbers of the next trace line that matches."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        line = process.stderr.readline()
        match = re.search(pattern, line)
        if match:
            return [float(n) for n in match.groups()]
    raise SystemExit(f"gave up waiting for {pattern}")


def summary(name, values):
    values = sorted(values)
    print(f"{name}: runs {len(values)}, median {statistics.median(values):.1f} ms, "
          f"min {values[0]:.1f} ms, max {values[-1]:.1f} ms")


def main():
    tarnvik, rounds = sys.argv[1], int(sys.argv[2])
    set_overview(False)
    app = subprocess.Popen(["env", "GDK_BACKEND=wayland", "gtk3-widget-factory"],
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    config = tempfile.mkdtemp(prefix="tarnvik-bench-")
    os.makedirs(os.path.join(config, "tarnvik"))
    with open(os.path.join(config, "tarnvik", "tarnvik.conf"), "w", encoding="utf-8") as f:
        f.write("[General]\nnon-search-shortcut=⇧⌘K\nauto-activate-mission-control=false\n")
    resident = subprocess.Popen([tarnvik, "--at-login"], stdout=subprocess.DEVNULL,
                                stderr=subprocess.PIPE, text=True,
                                env=dict(os.environ, XDG_CONFIG_HOME=config, TARNVIK_TRACE="1"))
    keyboard = RemoteKeyboard()
    shown, redrawn, made = [], [], []
    try:
        time.sleep(3)  # the window up, tarnvik running
        for round in range(rounds + 3):
            keyboard.chord(SHIFT, SUPER, ord("k"))
            first, _ = next_line(
                resident, r"shell drew \d+ labels ([0-9.]+) ms after the shortcut \(made in ([0-9.]+)")
            keyboard.chord(ord("a"))
            again, making = next_line(
                resident, r"shell drew \d+ labels ([0-9.]+) ms after they were sent \(made in ([0-9.]+)")
            keyboard.chord(ESCAPE)
            time.sleep(0.3)
            if round >= 3:  # the first rounds warm what is made once
                shown.append(first)
                redrawn.append(again)
                made.append(making)
    finally:
        keyboard.stop()
        resident.terminate()
        resident.wait()
        app.terminate()
    summary("shortcut to labels drawn", shown)
    summary("typed letter, labels sent to drawn", redrawn)
    summary("typed letter, the shell making the labels", made)


main()
