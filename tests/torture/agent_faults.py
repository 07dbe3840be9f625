# SPDX-License-Identifier: MIT
"""An agent that starts the program for three waiting jobs, and something happens to it. The program is a stand-in that
does what the real one does to its document: it takes it away. The last one it leaves, as a program that cannot start."""

import os
import shutil
import subprocess

from backend_faults import SPOOL, spool_files
from print_system import contents
from private_machine import USERS, as_user
from traced_runs import TracedScenario

SENT = "/tmp/sent"
PROGRAM = "/tmp/stand-in"
SENT_JOBS = {"1-7-0": b"first document", "2-8-0": b"second document"}
JOBS = {**SENT_JOBS, "3-9-0": b"left document"}


class AgentFaults(TracedScenario):
    name = "agent"
    FOLLOW = False

    def __init__(self, desk):
        self.display = desk.environment["DISPLAY"]
        self.folder = "%s/%d" % (SPOOL, USERS["alice"])
        with open(PROGRAM, "w", encoding="utf-8") as file:
            file.write('#!/bin/sh\ngrep -q left "$6" && exit 1\ncat "$6" >>%s/"${6##*/}" && rm "$6"\n' % SENT)
        os.chmod(PROGRAM, 0o755)

    @staticmethod
    def environment():
        return None

    def prepare(self):
        shutil.rmtree(SPOOL, ignore_errors=True)
        shutil.rmtree(SENT, ignore_errors=True)
        os.makedirs(SPOOL, mode=0o711)
        for folder in (self.folder, SENT):
            os.mkdir(folder, 0o700)
            os.chown(folder, USERS["alice"], USERS["alice"])
        for stem, data in JOBS.items():
            self._put(stem + ".document", data)
            self._put(stem + ".ticket", b"varek-ticket 1\nqueue=Varek\ntitle=T\nhost=desk7\nuser=alice\ncopies=1\n"
                                        b"time=1\n")

    def _put(self, name, data):
        path = os.path.join(self.folder, name)
        with open(path, "wb") as file:
            file.write(data)
        os.chmod(path, 0o600)
        os.chown(path, USERS["alice"], USERS["alice"])

    def command(self, prefix=()):
        return as_user("alice", *prefix, "/opt/varek/bin/varek-agent", "--once", "--program", PROGRAM,
                       "--display-wait", "0", DISPLAY=self.display, PATH="/usr/bin:/bin", TMPDIR="/tmp")

    def concerns(self, call):
        # What the agent says to the user holds the path as well.
        return SPOOL in call.text and not call.text.startswith("2<")

    def sent(self):
        return {name.split(".")[0]: contents(os.path.join(SENT, name)) for name in os.listdir(SENT)}

    def check_undisturbed(self):
        assert self.sent() == SENT_JOBS and spool_files(self.folder) == ["agent.lock", "failed"], \
            spool_files(self.folder)

    def _start(self, prefix=()):
        return subprocess.run(self.command(prefix), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, timeout=60, check=False)

    def _lost(self):
        """Jobs that neither were sent nor are kept anywhere."""
        kept = [name for folder in (self.folder, self.folder + "/failed") for name in spool_files(folder)]
        return [stem for stem in JOBS if stem not in self.sent() and stem + ".document" not in kept]

    def _faults(self):
        complaints = ["lost: %s" % self._lost()] if self._lost() else []
        bad = [stem for stem, data in self.sent().items() if data != SENT_JOBS.get(stem)]
        complaints += ["sent twice or in part: %s" % bad] if bad else []
        # A document without a ticket counts as the leftover of a delivery, and is deleted after a day.
        names = spool_files(self.folder)
        orphans = [stem for stem in JOBS if stem + ".document" in names
                   and stem + ".ticket" not in names and stem + ".claimed" not in names]
        complaints += ["forgotten: %s" % orphans] if orphans else []
        return complaints

    def run(self, prefix, _call):
        done = self._start(prefix)
        complaints = self._faults()
        if done.returncode not in (0, 1):
            complaints.append("ended with %d: %s" % (done.returncode, done.stdout))
        failed = [name for name in spool_files(self.folder + "/failed") if name.endswith(".document")]
        if failed and b"was not sent" not in done.stdout:
            complaints.append("put aside without a word: %s" % failed)
        return self.sent() == SENT_JOBS, complaints

    def run_again(self, _completed):
        done = self._start()
        complaints = self._faults()
        waiting = [name for name in spool_files(self.folder) if name != "agent.lock" and name != "failed"]
        if done.returncode != 0 or waiting:
            complaints.append("the next run ended with %d and left %s: %s" % (done.returncode, waiting, done.stdout))
        return complaints
