# SPDX-License-Identifier: MIT
"""A delivery of two files by the backend, as cupsd starts it, that something happens to. The administrator's mapping
sends what alice prints to bob: nothing may ever lead the documents elsewhere."""

import os
import shutil
import subprocess

from private_machine import USERS
from print_system import contents
from traced_runs import TracedScenario

SPOOL = "/var/spool/varek"
BACKEND = "/opt/varek/bin/varek-backend"
MAPPING = "/etc/varek/backend.conf"
FILES = {"/tmp/first": b"%PDF-1.4 first %%EOF", "/tmp/second": b"%PDF-1.4 " + b"second" * 30000 + b" %%EOF"}


def spool_files(folder):
    return sorted(os.listdir(folder)) if os.path.isdir(folder) else []


def waiting_jobs(folder):
    """The documents of the jobs that wait, in order; complaints about what is none."""
    names = spool_files(folder)
    stems = [name[:-len(".ticket")] for name in names if name.endswith(".ticket")]
    missing = [stem for stem in stems if stem + ".document" not in names]
    rest = [name for name in names if name.rsplit(".", 1)[0] not in stems]
    complaints = ["jobs without a document: %s" % missing] if missing else []
    complaints += ["left in the spool: %s" % rest] if rest else []
    return [contents(os.path.join(folder, stem + ".document")) for stem in stems if stem not in missing], complaints


class BackendFaults(TracedScenario):
    name = "backend"
    FOLLOW = False

    def __init__(self):
        self.folder = "%s/%d" % (SPOOL, USERS["bob"])
        os.makedirs(os.path.dirname(MAPPING), exist_ok=True)
        with open(MAPPING, "w", encoding="utf-8") as file:
            file.write("map alice@localhost bob\n")
        os.chmod(MAPPING, 0o644)
        for path, data in FILES.items():
            with open(path, "wb") as file:
                file.write(data)

    @staticmethod
    def environment():
        return {"PRINTER": "Varek", "PATH": "/usr/bin:/bin"}

    def prepare(self):
        """The first job of the first user: every folder is still to be made."""
        shutil.rmtree(SPOOL, ignore_errors=True)

    @staticmethod
    def command(prefix=()):
        return [*prefix, BACKEND, "7", "alice", "Title", "1", "job-originating-host-name=localhost", *FILES]

    def concerns(self, call):
        return any(path in call.text for path in (SPOOL, MAPPING, *FILES)) or \
            (call.name == "newfstatat" and "<" + SPOOL in call.text)

    def check_undisturbed(self):
        assert waiting_jobs(self.folder) == (list(FILES.values()), []), spool_files(self.folder)

    def _start(self, prefix=()):
        return subprocess.run(self.command(prefix), env=self.environment(), stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60, check=False)

    def run(self, prefix, call):
        done = self._start(prefix)
        jobs, complaints = waiting_jobs(self.folder)
        completed = done.returncode == 0
        if call.name == "unlinkat" and not completed:
            complaints = []
        if jobs != (list(FILES.values()) if completed else []):
            complaints.append("status %d with %d jobs in the spool: %s" % (done.returncode, len(jobs), done.stdout))
        if os.path.exists("%s/%d" % (SPOOL, USERS["alice"])):
            complaints.append("delivered to somebody else: %s" % done.stdout)
        if not completed and b"ERROR: " not in done.stdout:
            complaints.append("status %d without a message: %s" % (done.returncode, done.stdout))
        return completed, complaints

    def run_again(self, completed):
        """cupsd holds a job that failed; released, it must arrive whole and once."""
        if completed:
            return []
        done = self._start()
        jobs, complaints = waiting_jobs(self.folder)
        if os.stat(SPOOL).st_mode & 0o777 != 0o711 or os.stat(self.folder).st_uid != USERS["bob"]:
            complaints.append("the spool is closed to its users")
        if done.returncode != 0 or jobs != list(FILES.values()):
            complaints.append("the released job ended with %d and %d jobs" % (done.returncode, len(jobs)))
        return complaints
