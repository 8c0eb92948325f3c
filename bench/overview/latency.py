"""One form's rounds of bench/overview/latency, run inside its desktop."""

import os
import re
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "tests", "integration"))
os.environ.setdefault("TARNVIK", sys.argv[1])

from overview_test import overview_active, previews, set_overview  # noqa: E402

# How long each opening stays open, in seconds.
HOLD = float(os.environ.get("HOLD", "4"))

MATCHES = [
    "type='signal',path='/org/gnome/Shell',member='PropertiesChanged'",
    "type='method_call',interface='com.ostrelline.Tarnvik.Overview',member='ShowLabels'",
    "type='signal',interface='com.ostrelline.Tarnvik.Overview',member='Shown'",
]


def wait(what, condition, seconds=30):
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            raise SystemExit(f"gave up waiting for {what}")
        time.sleep(0.05)


def messages(log):
    """(time, kind) of each message dbus-monitor printed: opened, labels, shown."""
    found = []
    for block in re.split(r"\n(?=\S)", log):
        stamp = re.search(r"time=([0-9.]+)", block)
        if not stamp:
            continue
        if "member=PropertiesChanged" in block and "OverviewActive" in block \
                and "boolean true" in block:
            found.append((float(stamp.group(1)), "opened"))
        elif "member=ShowLabels" in block and '"text"' in block:
            found.append((float(stamp.group(1)), "labels"))
        elif "member=Shown" in block:
            found.append((float(stamp.group(1)), "shown"))
    return found


def main():
    tarnvik, rounds = sys.argv[1], int(sys.argv[2])
    apps = [subprocess.Popen([app], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            for app in ("gtk3-widget-factory", "gtk4-widget-factory")]
    config = tempfile.mkdtemp(prefix="tarnvik-bench-")
    os.makedirs(os.path.join(config, "tarnvik"))
    resident = None
    try:
        wait("both previews", lambda: len(previews()) == 2)
        set_overview(False)
        wait("the overview closed", lambda: not overview_active())
        resident = subprocess.Popen([tarnvik, "--at-login"], stdout=subprocess.PIPE, text=True,
                                    stderr=subprocess.DEVNULL,
                                    env=dict(os.environ, XDG_CONFIG_HOME=config))
        wait("tarnvik", lambda: "Tarnvik: running" in resident.stdout.readline())
        monitor = subprocess.Popen(["stdbuf", "-oL", "dbus-monitor", "--session", *MATCHES], text=True,
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        time.sleep(1)
        for _ in range(rounds):
            set_overview(True)
            time.sleep(HOLD)
            set_overview(False)
            wait("the overview closed", lambda: not overview_active())
            time.sleep(1)
        monitor.terminate()
        log = monitor.communicate()[0]
    finally:
        if resident:
            resident.terminate()
            resident.wait()
        for app in apps:
            app.kill()
            app.wait()
        subprocess.run(["rm", "-rf", config])

    to_labels, to_shown = [], []
    opened = None
    seen = set()
    for stamp, kind in messages(log):
        if kind == "opened":
            opened, seen = stamp, set()
        elif opened is not None and kind not in seen:
            seen.add(kind)
            (to_labels if kind == "labels" else to_shown).append((stamp - opened) * 1000)
    reported = sum(1 for _, kind in messages(log) if kind == "opened")
    print(f"  {rounds} openings asked for, {reported} reported by the shell, "
          f"{len(to_labels)} labelled")
    print(f"  labels asked for: median {statistics.median(to_labels):.1f} ms, "
          f"range {min(to_labels):.1f}-{max(to_labels):.1f} ms over {len(to_labels)} openings")
    print(f"  the extension's Shown after the opening: median {statistics.median(to_shown):.1f} ms "
          f"over {len(to_shown)}")


main()
