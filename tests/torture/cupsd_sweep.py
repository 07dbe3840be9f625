#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""cupsd is killed at moments spread over a short print: alone, so that what it had started goes on by itself, or together
with that, as a service manager does before it starts cupsd again. After its restart the queue prints, every job that was
accepted has arrived, whole, and none that was not half-way delivered has arrived twice.

One double print is known: cupsd writes down that a job is done after its backend has ended. Killed in between, or while a
backend goes on by itself, it starts the job again, which has been delivered by then.

One lost print is known: lp names a job as accepted also when cupsd died after it had made the job and before it had taken
the document. The names on the disk tell which these are. Both are classes of their own."""

import os
import signal
import subprocess
import time

# Comes first: it says where the modules of the printing tests are.
from traced_runs import is_chosen, run_sweep

from installed_system import install_files, install_queue
from private_machine import as_user, run, start_cupsd, wait_until
from spool_view import (contents, documents, empty_spool, job_attribute, make_pdf, print_as, queue_is_open, spool_of,
                        tickets, wait_for_job)

# cupsd keeps what has changed to itself for up to half a minute otherwise, and a job that it has accepted dies with it.
# A job whose document never came is given up after a quarter of an hour otherwise.
SETTINGS = "LogLevel debug\nDirtyCleanInterval 0\nMultipleOperationTimeout 2\n"
MOMENTS = 200
SELECTED = 8
DOCUMENT = "/tmp/document.pdf"


def parents():
    """The parent of each process."""
    found = {}
    for name in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open("/proc/%s/stat" % name, encoding="utf-8", errors="replace") as file:
                found[int(name)] = int(file.read().rsplit(")", 1)[1].split()[1])
        except (FileNotFoundError, ProcessLookupError):
            pass
    return found


def descendants(process):
    tree = parents()
    found = [process]
    for one in found:
        found += [child for child, parent in tree.items() if parent == one]
    return found[1:]


def is_running(process):
    try:
        with open("/proc/%d/stat" % process, encoding="utf-8", errors="replace") as file:
            return file.read().rsplit(")", 1)[1].split()[0] != "Z"
    except (FileNotFoundError, ProcessLookupError):
        return False


class CupsdKills:
    def __init__(self, report):
        self.report = report
        self.cupsd = start_cupsd(SETTINGS)
        install_queue()
        make_pdf(DOCUMENT, 1)
        self.seconds = self._measure()

    @staticmethod
    def _measure():
        """The time from the start of lp to the end of the job; the first print warms up."""
        for _ in range(3):
            started = time.monotonic()
            assert wait_for_job(print_as("alice", DOCUMENT)) == "completed"
            seconds = time.monotonic() - started
        return seconds

    def _kill(self, with_children):
        started = descendants(self.cupsd.pid)
        self.cupsd.kill()
        self.cupsd.wait()
        for process in started if with_children else ():
            try:
                os.kill(process, signal.SIGTERM)
            except ProcessLookupError:
                pass
        wait_until(lambda: not any(map(is_running, started)), "what cupsd had started has ended")

    @staticmethod
    def _told(lp):
        """The number of the job that lp said was accepted, or None."""
        words = lp.communicate(timeout=60)[0].decode().split()
        return int(words[3].rsplit("-", 1)[1]) if words[:3] == ["request", "id", "is"] else None

    @staticmethod
    def _is_half_taken(job, spooled):
        """A job without its document, by the names in cupsd's own spool when it died."""
        return job is not None and "c%05d" % job in spooled and "d%05d-001" % job not in spooled

    def case(self, name, with_children, moment):
        empty_spool()
        lp = subprocess.Popen(as_user("alice", "lp", "-d", "Varek", "-t", "Case", DOCUMENT), stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        time.sleep(moment)  # the moment is what this case is about
        self._kill(with_children)
        spooled = os.listdir("/var/spool/cups")
        delivered_before = len(tickets("alice"))
        self.cupsd = start_cupsd(SETTINGS)
        job = self._told(lp)
        if self._is_half_taken(job, spooled):
            name, job = name + ", half taken as known", None
        complaints = self._queue_faults()
        state = job_attribute(job, "job-state") if job else "completed"
        if state != "completed":
            complaints.append("the accepted job is %s" % (state or "forgotten"))
        arrived = len(tickets("alice"))
        complaints += self._document_faults()
        if job and not arrived:
            complaints.append("the accepted document is lost")
        is_known = delivered_before == 1 and arrived == 2
        if arrived > 1 and not is_known:
            complaints.append("the document arrived %d times, %d of them before the restart" % (arrived, delivered_before))
        complaints += self._next_print(arrived)
        self.report.add(name + (", printed twice as known" if is_known else ""), arrived > 0, complaints,
                        "killed after %.3f of %.3f s" % (moment, self.seconds))

    @staticmethod
    def _queue_faults():
        """A job may wait for nothing: what was half handed over is no job, or ends by itself."""
        wait_until(lambda: not run("lpstat", "-W", "not-completed", "-o", "Varek"), "the job list is empty")
        return [] if queue_is_open() else ["the queue is closed"]

    @staticmethod
    def _document_faults():
        broken = [path for path in documents("alice") if not contents(path).startswith(b"%PDF-")
                  or b"%%EOF" not in contents(path)[-1024:]]
        names = os.listdir(spool_of("alice")) if os.path.isdir(spool_of("alice")) else []
        alone = [name for name in names if name.endswith(".ticket") and name[:-7] + ".document" not in names]
        return ["not whole: %s" % (broken + alone)] if broken or alone else []

    @staticmethod
    def _next_print(before):
        job = print_as("alice", "-t", "Next", DOCUMENT)
        state = wait_for_job(job)
        after = [ticket["title"] for ticket in tickets("alice")][before:]
        if state == "completed" and after == ["Next"] and job_attribute(job, "job-name").endswith("Next"):
            return []
        return ["the next print is %s, and %s arrived" % (state, after)]


def sweep(report, every):
    install_files()
    kills = CupsdKills(report)
    count = MOMENTS if every else SELECTED
    for name, with_children in (("cupsd alone", False), ("cupsd and what it had started", True)):
        for number in range(count if is_chosen(name) else 0):
            kills.case(name, with_children, (number + 0.5) / count * 1.1 * kills.seconds)


if __name__ == "__main__":
    run_sweep(sweep)
