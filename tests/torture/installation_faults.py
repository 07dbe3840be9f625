# SPDX-License-Identifier: MIT
"""An installation, or a removal, of the queue that something happens to."""

import os
import re
import subprocess

from print_system import contents
from private_machine import build_dir, run, start_cupsd
from traced_runs import TracedScenario

SETUP = "/usr/lib/varek/setup/vrp"
CONFIGURATION = "/etc/varek/varek.ini"
STORES = "/etc/xdg/Varek Systems"
INSTALLED = "/usr/lib/varek/bin"


class InstallationFaults(TracedScenario):
    FOLLOW = False
    PATHS = (STORES, INSTALLED, CONFIGURATION, "/usr/lib/cups/backend", "/tmp/root-settings/Varek Systems")
    _machine_is_ready = False

    def __init__(self, mode):
        self.name = self.mode = mode

    def _make_ready(self):
        if not InstallationFaults._machine_is_ready:
            run("cmake", "--install", build_dir(), "--component", "print")
            start_cupsd()
            InstallationFaults._machine_is_ready = True

    @staticmethod
    def environment():
        kept = {name: value for name, value in os.environ.items() if name != "XDG_CONFIG_DIRS"}
        return {**kept, "XDG_CONFIG_HOME": "/tmp/root-settings"}

    def command(self, prefix=(), mode=None):
        rest = ["-c", CONFIGURATION, "-d", INSTALLED] if (mode or self.mode) == "install" else ["-p", "Varek"]
        return [*prefix, SETUP, "-m", mode or self.mode, "-s", *rest]

    def prepare(self):
        self._make_ready()
        self._start("install")  # a removal needs one; an installation replaces one

    def _start(self, mode, prefix=()):
        return subprocess.run(self.command(prefix, mode), env=self.environment(), stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=120, check=False)

    def concerns(self, call):
        return any(path in call.text for path in self.PATHS)

    @staticmethod
    def has_queue():
        done = subprocess.run(["lpstat", "-v"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False)
        return b"device for Varek:" in done.stdout

    def _missing(self):
        """What an installation that succeeded must have left, and did not."""
        missing = [] if self.has_queue() else ["the queue"]
        for name, lines in (("Vrp.conf", (r"^Varek\\Company=Varek Systems$", r"^Varek\\Software=VarekPrint$")),
                            ("VarekPrint.conf", (r"^Sdir1=.*localhost:1082;directory:demo", r"^Title="))):
            path = os.path.join(STORES, name)
            text = contents(path).decode() if os.path.exists(path) else ""
            missing += ["%s in %s" % (line, name) for line in lines if not re.search(line, text, re.M)]
        if contents(INSTALLED + "/vrp") != contents(SETUP):
            missing.append("the program")
        if b"vrp\" -m configure -p \"Varek\"" not in contents(INSTALLED + "/vrpconfig"):
            missing.append("the launcher")
        return missing

    def check_undisturbed(self):
        complaints = self._missing() if self.mode == "install" else ["the queue"] * self.has_queue()
        assert not complaints, complaints

    def run(self, prefix, _call):
        done = self._start(self.mode, prefix)
        completed = done.returncode == 0
        complaints = []
        if done.returncode not in (0, 1):
            complaints.append("ended with %d: %s" % (done.returncode, done.stdout))
        if completed and self.mode == "install" and self._missing():
            complaints.append("a false success without %s" % self._missing())
        if completed and self.mode == "uninstall" and self.has_queue():
            complaints.append("a false success: the queue is there")
        return completed, complaints

    def run_again(self, _completed):
        done = self._start("install")
        complaints = self._missing()
        if done.returncode != 0:
            complaints.append("the next installation ended with %d: %s" % (done.returncode, done.stdout))
        done = self._start("uninstall")
        if done.returncode != 0 or self.has_queue():
            complaints.append("the next removal ended with %d: %s" % (done.returncode, done.stdout))
        return complaints
