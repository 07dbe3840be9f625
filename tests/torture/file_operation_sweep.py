#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Every file operation of the send, of installing and removing, of the backend, of the agent and of the server fails in
turn, once with each fitting error: no space, no permission, read-only, interrupted, too many files.

A run is recorded first; then it is repeated once for each call and error. Calls that differ in nothing but numbers
(the lines of the log, the values of a store) are represented by some of them."""

import re

# Comes first: it says where the modules of the printing tests are.
from traced_runs import injector, is_chosen, run_sweep, share, spread, was_injected, without_repetitions

from agent_faults import AgentFaults
from backend_faults import BackendFaults
from installation_faults import InstallationFaults
from print_system import Desk, Server
from send_faults import SendFaults
from server_faults import server_scenarios

CREATING = ("ENOSPC", "EACCES", "EROFS", "EMFILE", "EINTR")
READING = ("EACCES", "EMFILE", "EINTR")
ERRORS = {
    "write": ("ENOSPC", "EINTR"), "pwrite64": ("ENOSPC", "EINTR"), "fsync": ("ENOSPC", "EINTR"),
    "fdatasync": ("ENOSPC", "EINTR"), "rename": ("ENOSPC", "EACCES", "EROFS"),
    "renameat": ("ENOSPC", "EACCES", "EROFS"), "renameat2": ("ENOSPC", "EACCES", "EROFS"),
    "linkat": ("ENOSPC", "EACCES", "EROFS"), "unlink": ("EACCES", "EROFS"), "unlinkat": ("EACCES", "EROFS"),
    "mkdir": ("ENOSPC", "EACCES", "EROFS"), "mkdirat": ("ENOSPC", "EACCES", "EROFS"), "chmod": ("EACCES", "EROFS"),
    "fchmod": ("EACCES", "EROFS"), "fchown": ("EACCES", "EROFS"), "ftruncate": ("ENOSPC", "EINTR"),
    "read": ("EINTR", "EIO"), "pread64": ("EINTR", "EIO"), "flock": ("EINTR",), "newfstatat": ("EACCES",),
    "openat": CREATING,
}
KEPT_OF_A_KIND = 3
SELECTED = {"send": 20, "test": 8, "install": 10, "uninstall": 6, "backend": 18, "agent": 18,
            "server, first start": 14, "server, start": 8, "server, upload": 10, "server, administration": 5}


def errors(call):
    return READING if call.name == "openat" and not re.search(r"O_(CREAT|TMPFILE)", call.text) else ERRORS[call.name]


def cases_of(scenario):
    scenario.prepare()
    calls = scenario.record(ERRORS)
    scenario.check_undisturbed()
    ours = [call for call in calls if scenario.concerns(call)]
    return [(call, error) for call in without_repetitions(ours, KEPT_OF_A_KIND) for error in errors(call)]


def run_case(report, scenario, call, error):
    scenario.prepare()
    completed, complaints = scenario.run(injector(call, "error=" + error, scenario.FOLLOW), call)
    came = was_injected()
    complaints += scenario.run_again(completed)
    if came or complaints:
        report.add(scenario.name, completed, complaints, "%s at %s" % (error, call))
    else:
        report.miss(scenario.name, "%s at %s" % (error, call))


def sweep(report, every):
    server = Server()
    server.start()
    desk = Desk()
    scenarios = [SendFaults("send", server, desk), SendFaults("test", server, desk), BackendFaults(), AgentFaults(desk)]
    install = InstallationFaults("install")
    scenarios += [install, InstallationFaults("uninstall"), *server_scenarios(server, desk)]
    for scenario in filter(lambda each: is_chosen(each.name), scenarios):
        for call, error in share(spread(cases_of(scenario), None if every else SELECTED[scenario.name])):
            run_case(report, scenario, call, error)
    server.stop()


if __name__ == "__main__":
    run_sweep(sweep)
