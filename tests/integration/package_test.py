#!/usr/bin/env python3
"""The Debian package as a user gets it: made by CPack, installed into a fresh root directory,
run from there with the build tree out of its reach, and removed without a trace. Its uinput
rule is read by this machine's udev."""

import glob
import os
import re
import shutil
import signal
import subprocess
import tempfile
import unittest

from desktop_apps import Output, main

RULE = "usr/lib/udev/rules.d/70-tarnvik-uinput.rules"


def fresh_root(parent, name):
    """A directory dpkg can install into: an empty package database and nothing else."""
    root = os.path.join(parent, name)
    for folder in ("info", "updates", "triggers"):
        os.makedirs(os.path.join(root, "var/lib/dpkg", folder))
    open(os.path.join(root, "var/lib/dpkg/status"), "w", encoding="utf-8").close()
    return root


def dpkg(root, *arguments):
    # The root holds none of the libraries the package depends on (this machine has them), and
    # no shell to run the maintainer script in: it runs from here, and knows it by DPKG_ROOT.
    subprocess.run(["dpkg", f"--root={root}", "--force-depends", "--force-script-chrootless",
                    *arguments], check=True, capture_output=True)


def files_under(root):
    return sorted(os.path.relpath(os.path.join(folder, name), root)
                  for folder, _, names in os.walk(root) for name in names
                  if not os.path.relpath(folder, root).startswith("var/lib/dpkg"))


class DebianPackage(unittest.TestCase):

    @classmethod
    def setUpClass(cls):
        cls.work = tempfile.mkdtemp(prefix="tarnvik-package-")
        subprocess.run(["cpack", "--config", os.environ["TARNVIK_CPACK_CONFIG"], "-B",
                        cls.work], check=True, capture_output=True)
        (cls.deb,) = glob.glob(os.path.join(cls.work, "tarnvik_*.deb"))
        cls.root = fresh_root(cls.work, "root")
        dpkg(cls.root, "--install", cls.deb)

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.work)

    def run_installed(self):
        """Starts the installed program as at login, from a folder of its own, and answers what
        it printed until it ran, after ending it."""
        config = tempfile.mkdtemp(dir=self.work)
        process = subprocess.Popen(
            [os.path.join(self.root, "usr/bin/tarnvik"), "--at-login"], cwd=config,
            env=dict(os.environ, XDG_CONFIG_HOME=config), stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, text=True)
        output = Output(process, process.stdout, process.stderr)
        try:
            output.wait_for("Tarnvik: running", seconds=60)
        finally:
            process.send_signal(signal.SIGTERM)
            self.assertEqual(process.wait(30), 0)
            output.close()
        return "\n".join(output.lines())

    def test_the_installed_program_reads_its_sounds_from_where_it_is_installed(self):
        self.assertNotIn("Failed to find sound file", self.run_installed())
        sound = os.path.join(self.root, "usr/share/tarnvik/sounds/click1.wav")
        os.rename(sound, sound + ".away")
        try:
            self.assertIn("Failed to find sound file: click1", self.run_installed())
        finally:
            os.rename(sound + ".away", sound)

    def test_every_picture_the_installed_readme_shows_is_installed_beside_it(self):
        pages = os.path.join(self.root, "usr/share/doc/tarnvik")
        with open(os.path.join(pages, "README.md"), encoding="utf-8") as f:
            pictures = re.findall(r"!\[[^]]*\]\(([^)]+)\)", f.read())
        self.assertTrue(pictures)
        for picture in pictures:
            self.assertTrue(os.path.isfile(os.path.join(pages, picture)), picture)

    def test_its_dependencies_are_packages_of_this_debian(self):
        # Nothing is installed: dpkg only weighs the dependencies against this machine's
        # packages.
        check = subprocess.run(["dpkg", "--dry-run", "--install", self.deb], capture_output=True,
                               text=True)
        self.assertEqual(check.returncode, 0, check.stdout + check.stderr)
        # The libraries the program links come from dpkg-shlibdeps: without it the package
        # would name only the two it is given by hand.
        depends = subprocess.run(["dpkg-deb", "--field", self.deb, "Depends"],
                                 capture_output=True, text=True, check=True).stdout
        self.assertIn("libqt6widgets6", depends)

    def test_the_desktop_entry_and_the_metainfo_are_valid(self):
        share = os.path.join(self.root, "usr/share")
        for command in (["desktop-file-validate",
                         f"{share}/applications/com.ostrelline.Tarnvik.desktop"],
                        ["appstreamcli", "validate", "--no-net",
                         f"{share}/metainfo/com.ostrelline.Tarnvik.metainfo.xml"]):
            check = subprocess.run(command, capture_output=True, text=True)
            self.assertEqual(check.returncode, 0, check.stdout + check.stderr)
        self.assertTrue(os.path.isfile(f"{share}/icons/hicolor/scalable/apps/tarnvik.svg"))
        with open(os.path.join(self.root, "usr/lib/modules-load.d/tarnvik.conf"),
                  encoding="utf-8") as f:
            self.assertIn("uinput", [line.strip() for line in f])

    def test_removing_it_leaves_nothing_behind(self):
        root = fresh_root(self.work, "removed")
        dpkg(root, "--install", self.deb)
        self.assertIn("usr/bin/tarnvik", files_under(root))
        # Where GNOME Shell looks for the extensions of every user.
        self.assertIn("usr/share/gnome-shell/extensions/tarnvik-gnome@ostrelline.com/extension.js",
                      files_under(root))
        dpkg(root, "--purge", "tarnvik")
        self.assertEqual(files_under(root), [])
        self.assertEqual(os.listdir(root), ["var"])

    @unittest.skipUnless(shutil.which("udevadm") and os.geteuid() == 0,
                         "udevadm test needs udev and root")
    def test_the_uinput_rule_gives_the_node_to_the_user_at_the_seat(self):
        # This kernel has no uinput, so the rule is tried on /dev/null's node instead: udev must
        # read it without complaint and tag the node for the seat's access before the
        # systemd rule that grants it runs.
        with open(os.path.join(self.root, RULE), encoding="utf-8") as f:
            rule = f.read()
        self.assertIn('KERNEL=="uinput", SUBSYSTEM=="misc"', rule)
        os.makedirs("/run/udev/rules.d", exist_ok=True)
        trial = "/run/udev/rules.d/70-tarnvik-trial.rules"
        with open(trial, "w", encoding="utf-8") as f:
            f.write(rule.replace('KERNEL=="uinput", SUBSYSTEM=="misc"',
                                 'KERNEL=="null", SUBSYSTEM=="mem"'))
        try:
            test = subprocess.run(["udevadm", "test", "--action=add", "/sys/class/mem/null"],
                                  capture_output=True, text=True)
        finally:
            os.remove(trial)
        log = test.stdout + test.stderr
        self.assertIn(f"Reading rules file: {trial}", log)
        self.assertEqual([line for line in log.splitlines() if line.startswith(trial + ":")], [])
        # udev 252 prints the properties at the line's start, 257 indented below "Properties:".
        current = [line for line in log.splitlines() if line.lstrip().startswith("CURRENT_TAGS=")]
        self.assertIn(":uaccess:", current[0])
        self.assertIn("RUN 'uaccess'", log)


if __name__ == "__main__":
    main()
