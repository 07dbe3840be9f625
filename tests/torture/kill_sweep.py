#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The program, the backend, the agent and the server are killed before every system call of a short print that changes
files, sockets or processes, and the program and the server at random moments of a long one. Stores, spool and the
server's data must stay consistent, and the next print must work."""

import os
import random

# Comes first: it says where the modules of the printing tests are.
from traced_runs import injector, is_chosen, run_sweep, spread, was_injected, without_repetitions

from agent_faults import SENT_JOBS, AgentFaults
from backend_faults import FILES, BackendFaults, waiting_jobs
from print_system import Desk, Server
from send_faults import DOCUMENT, SendFaults
from server_faults import StartFaults, database_faults
from server_kills import ServerKills, kill_at_moments

CHANGING = ("openat", "write", "writev", "pwrite64", "fsync", "fdatasync", "ftruncate", "rename", "renameat",
            "renameat2", "linkat", "unlink", "unlinkat", "mkdir", "mkdirat", "rmdir", "chmod", "fchmod", "fchown",
            "flock", "socket", "connect", "bind", "listen", "accept4", "sendto", "sendmsg", "recvfrom", "shutdown",
            "close", "clone", "clone3", "vfork", "kill")
KEPT_OF_A_KIND = 2
SELECTED = {"program": 16, "backend": 12, "agent": 12, "server": 12, "start": 8, "moments": 10}
MOMENTS = 200
SEED = 20261121


def changes(call):
    return call.name != "openat" or "O_CREAT" in call.text or "O_TMPFILE" in call.text or "O_TRUNC" in call.text


class KilledProgram(SendFaults):
    """The program dies in the middle: no half document arrives, and its stores stay whole."""

    def concerns(self, call):
        touches_network = call.name in ("socket", "connect", "sendto", "recvfrom", "shutdown") and "unix" not in call.text
        return super().concerns(call) or touches_network or call.name in ("clone", "clone3")

    def run(self, prefix, _call):
        status, _ = self.desk.send(self.document, prefix)
        new = self.new_documents()
        complaints = self.desk.store_faults()
        if any(data != DOCUMENT for data in new) or len(new) > 1:
            complaints.append("the server holds %d documents, some of them other bytes" % len(new))
        if status == 0 and not new:
            complaints.append("a false success")
        if not new and not os.path.exists(self.document):
            complaints.append("the document is lost")
        return status == 0, complaints


class KilledBackend(BackendFaults):
    def run(self, prefix, _call):
        status = self._start(prefix).returncode
        jobs, _ = waiting_jobs(self.folder)
        rest = [name for name in jobs if name not in FILES.values()]
        return status == 0, ["half a document waits"] if rest else []

    def run_again(self, completed):
        """Parts of the first delivery are deleted after a day; jobs that were published arrive."""
        before, _ = waiting_jobs(self.folder)
        if completed:
            return []
        status = self._start().returncode
        jobs, _ = waiting_jobs(self.folder)
        whole = jobs[len(before):] == list(FILES.values()) or jobs == list(FILES.values())
        return [] if status == 0 and whole else ["the next job ended with %d and %d jobs" % (status, len(jobs))]


class KilledAgent(AgentFaults):
    def run(self, prefix, _call):
        self._start(prefix)
        return self.sent() == SENT_JOBS, self._faults()


class KilledStart(StartFaults):
    """A start, too, is repeated by the next one, or is whole."""

    def run(self, prefix, _call):
        self._serve(prefix)
        self._note_password()
        return self.is_ready(), database_faults()


def sweep_calls(report, scenario, name, every):
    scenario.prepare()
    calls = scenario.record(CHANGING)
    scenario.check_undisturbed()
    ours = [call for call in calls if changes(call) and scenario.concerns(call)]
    for call in spread(without_repetitions(ours, KEPT_OF_A_KIND), None if every else SELECTED[name]):
        scenario.prepare()
        completed, complaints = scenario.run(injector(call, "signal=KILL", scenario.FOLLOW), call)
        came = was_injected()
        complaints += scenario.run_again(completed)
        if came or complaints:
            report.add(name + " at a call", completed, complaints, "killed at %s" % call)
        else:
            report.miss(name + " at a call", str(call))


def sweep(report, every):
    server = Server()
    server.start()
    program = KilledProgram("send", server, Desk())
    if is_chosen("program"):
        sweep_calls(report, program, "program", every)
    if is_chosen("backend"):
        sweep_calls(report, KilledBackend(), "backend", every)
    if is_chosen("agent"):
        sweep_calls(report, KilledAgent(program.desk), "agent", every)
    if is_chosen("server"):
        ServerKills(program, CHANGING).sweep(report, None if every else SELECTED["server"])
    if is_chosen("start"):
        sweep_calls(report, KilledStart("first start", True), "start", every)
    if is_chosen("moments"):
        moments = random.Random(SEED)
        kill_at_moments(program, report, moments, MOMENTS if every else SELECTED["moments"])
    server.stop()


if __name__ == "__main__":
    run_sweep(sweep)
