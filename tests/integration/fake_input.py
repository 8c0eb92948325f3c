"""KWin's fake input for the programs of a test or bench: KWin offers it only to a program whose
desktop entry, found by the full path in its Exec line, asks for it."""

import os
import shutil
import subprocess
import time


def allow_fake_input(tarnvik, tool):
    """Tarnvik's own entry, as the build tree holds it beside the program, and one made here for
    the tests' input tool."""
    applications = os.path.join(os.environ["XDG_DATA_HOME"], "applications")
    os.makedirs(applications, exist_ok=True)
    shutil.copy(os.path.join(os.path.dirname(tarnvik), "..", "share", "applications",
                             "com.ostrelline.Tarnvik.desktop"), applications)
    with open(os.path.join(applications, "tarnvik-test-input.desktop"), "w",
              encoding="utf-8") as f:
        f.write("[Desktop Entry]\nType=Application\nName=Test input\nNoDisplay=true\n"
                f"Exec={tool}\nX-KDE-Wayland-Interfaces=org_kde_kwin_fake_input\n")


def start_input(tool, ended=lambda command, status: None, seconds=10):
    """The input tool, once the compositor lets it in: KWin reads new desktop entries anew at
    most every second or two. `ended` hears of each start that was turned away."""
    deadline = time.monotonic() + seconds
    while True:
        process = subprocess.Popen([tool], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                   text=True)
        if process.stdout.readline() == "ready\n":
            return process
        ended(process.args, process.wait(10))
        if time.monotonic() > deadline:
            raise AssertionError(f"{tool} found no way to post input")
        time.sleep(0.2)
