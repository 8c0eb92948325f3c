"""The rounds of bench/wayland/latency, run inside its desktop."""

import os
import queue
import re
import statistics
import subprocess
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tests",
                                "integration"))
from fake_input import allow_fake_input, start_input  # noqa: E402

os.environ.pop("DISPLAY", None)


def summary(name, values):
    values = sorted(values)
    print(f"{name}: runs {len(values)}, median {statistics.median(values):.1f} ms, "
          f"min {values[0]:.1f} ms, max {values[-1]:.1f} ms")


def lines_of(pipe):
    """The pipe's lines as they come, read on a thread of their own: a select on the pipe
    misses the lines that a read ahead has already taken into the file's buffer."""
    lines = queue.Queue()

    def read():
        for line in pipe:
            lines.put(line)
        lines.put("")

    threading.Thread(target=read, daemon=True).start()
    return lines


def rounds_of(start_session, tell, lines, rounds):
    """Sessions started by `start_session`: when the labels were seen, and as tarnvik times it."""
    seen_all, timed = [], []
    for round in range(rounds + 3):
        start = time.monotonic()
        start_session()
        deadline = start + 10
        said = []
        while True:
            try:
                line = lines.get(timeout=max(0, deadline - time.monotonic()))
            except queue.Empty:
                raise SystemExit(f"gave up waiting for the labels in round {round}; tarnvik "
                                 "said:\n" + "".join(said)) from None
            said.append(line)
            match = re.search(r"labels drawn: \d+ labels, ([0-9.]+) ms after", line)
            if match:
                break
            if not line:
                raise SystemExit("tarnvik ended")
        seen = (time.monotonic() - start) * 1000
        tell("keys Escape")
        time.sleep(0.3)
        if round >= 3:  # the first rounds warm what is made once
            seen_all.append(seen)
            timed.append(float(match.group(1)))
    return seen_all, timed


def main():
    tarnvik, tool, rounds = sys.argv[1], sys.argv[2], int(sys.argv[3])
    kwin = os.environ["XDG_CURRENT_DESKTOP"] == "KDE"
    if kwin:
        allow_fake_input(tarnvik, tool)
    keys = start_input(tool)

    def tell(line):
        keys.stdin.write(line + "\n")
        keys.stdin.flush()
        assert keys.stdout.readline() == "ok\n"

    application = sys.argv[4:] or ["gtk4-widget-factory"]
    app = subprocess.Popen(["env", "GDK_BACKEND=wayland", "QT_QPA_PLATFORM=wayland"] + application,
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    config = tempfile.mkdtemp(prefix="tarnvik-bench-")
    resident = subprocess.Popen([tarnvik, "--at-login"], stdout=subprocess.DEVNULL,
                                stderr=subprocess.PIPE, text=True,
                                env=dict(os.environ, XDG_CONFIG_HOME=config, TARNVIK_TRACE="1"))
    lines = lines_of(resident.stderr)
    try:
        time.sleep(3)  # the window up, tarnvik running
        # What sway's binding runs. (The desktop's sway runs as nobody when the bench runs as
        # root, and could not reach root's session bus through a binding of its own.)
        seen, timed = rounds_of(
            lambda: subprocess.run([tarnvik, "activate", "click"], check=True), tell, lines,
            rounds)
        if not kwin:
            subprocess.run(["swaymsg", "bindsym Shift+Mod4+space nop tarnvik click"], check=True,
                           stdout=subprocess.DEVNULL)
        typed_seen, typed = rounds_of(lambda: tell("keys shift+super+space"), tell, lines,
                                      rounds)
    finally:
        keys.stdin.close()
        keys.wait()
        resident.terminate()
        resident.wait()
        app.terminate()
    summary("`tarnvik activate click` started to labels drawn", seen)
    summary("as tarnvik times it (activation to first paint)", timed)
    # The keys typed go through the tests' input tool, which answers once the compositor has
    # read them; KDE's global shortcuts or sway's binding (to `nop tarnvik click`, reported
    # over sway's IPC) hand the shortcut over.
    summary("the shortcut typed to labels drawn", typed_seen)
    summary("the shortcut typed, as tarnvik times it (its arrival to first paint)", typed)


main()
