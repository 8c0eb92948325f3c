"""The shell's use of a core while a resident Tarnvik waits, run inside bench/gnome/idle's
desktop: with the default shortcuts, with a shortcut of modifiers alone (the shell reads the
modifiers 50 times a second then), and with the default ones again."""

import os
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "tests", "integration"))
os.environ.setdefault("TARNVIK", sys.argv[1])
os.environ.pop("DISPLAY", None)

from desktop_apps import ResidentTarnvik  # noqa: E402
from gnome_shell import set_overview, shell_accessible  # noqa: E402


def shell_seconds(pid):
    """The shell's processor time so far, user and system."""
    with open(f"/proc/{pid}/stat", encoding="ascii") as stat:
        fields = stat.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def main():
    seconds = int(sys.argv[2])
    set_overview(False)
    pid = shell_accessible().get_process_id()
    for name, settings in (("default shortcuts", ""),
                           ("a shortcut of modifiers alone", "non-search-shortcut=⌃⌥\n"),
                           ("default shortcuts again", "")):
        tarnvik = ResidentTarnvik()
        tarnvik.start("auto-activate-mission-control=false\n" + settings)
        time.sleep(3)  # past its start-up's work
        used, start = shell_seconds(pid), time.monotonic()
        time.sleep(seconds)
        share = (shell_seconds(pid) - used) / (time.monotonic() - start)
        print(f"{name}: the shell used {100 * share:.2f} % of a core over {seconds} s")
        tarnvik.remove()


if __name__ == "__main__":
    main()
