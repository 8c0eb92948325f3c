"""The rounds of bench/sway/latency, run inside its desktop."""

import os
import re
import select
import statistics
import subprocess
import sys
import tempfile
import time

os.environ.pop("DISPLAY", None)


def summary(name, values):
    values = sorted(values)
    print(f"{name}: runs {len(values)}, median {statistics.median(values):.1f} ms, "
          f"min {values[0]:.1f} ms, max {values[-1]:.1f} ms")


def main():
    tarnvik, tool, rounds = sys.argv[1], sys.argv[2], int(sys.argv[3])
    keys = subprocess.Popen([tool], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    assert keys.stdout.readline() == "ready\n"

    def tell(line):
        keys.stdin.write(line + "\n")
        keys.stdin.flush()
        assert keys.stdout.readline() == "ok\n"

    app = subprocess.Popen(["env", "GDK_BACKEND=wayland", "gtk4-widget-factory"],
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    config = tempfile.mkdtemp(prefix="tarnvik-bench-")
    resident = subprocess.Popen([tarnvik, "--at-login"], stdout=subprocess.DEVNULL,
                                stderr=subprocess.PIPE, text=True,
                                env=dict(os.environ, XDG_CONFIG_HOME=config, TARNVIK_TRACE="1"))
    pressed, timed = [], []
    try:
        time.sleep(3)  # the window up, tarnvik running
        for round in range(rounds + 3):
            start = time.monotonic()
            # What sway's binding runs. (The desktop's sway runs as nobody when the bench runs
            # as root, and could not reach root's session bus through a binding of its own.)
            subprocess.run([tarnvik, "activate", "click"], check=True)
            deadline = start + 10
            while True:
                if not select.select([resident.stderr], [], [], deadline - time.monotonic())[0]:
                    raise SystemExit("gave up waiting for the labels")
                line = resident.stderr.readline()
                match = re.search(r"labels drawn: \d+ labels, ([0-9.]+) ms after", line)
                if match:
                    break
                if not line:
                    raise SystemExit("tarnvik ended")
            seen = (time.monotonic() - start) * 1000
            tell("keys Escape")
            time.sleep(0.3)
            if round >= 3:  # the first rounds warm what is made once
                pressed.append(seen)
                timed.append(float(match.group(1)))
    finally:
        keys.stdin.close()
        keys.wait()
        resident.terminate()
        resident.wait()
        app.terminate()
    summary("`tarnvik activate click` started to labels drawn", pressed)
    summary("as tarnvik times it (activation to first paint)", timed)


main()
