#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Every file operation of the send, of installing and removing, of the backend and of the agent fails in turn, once
with each fitting error: no space, no permission, read-only, interrupted, too many files.

A run is recorded first; then it is repeated once for each call and error. Calls that differ in nothing but numbers
(the lines of the log, the values of a store) are represented by some of them."""

import re

# Comes first: it says where the modules of the printing tests are.
from traced_runs import injector, is_chosen, record, run_sweep, spread, was_injected, without_repetitions

from agent_faults import AgentFaults
from backend_faults import BackendFaults
from installation_faults import InstallationFaults
from send_faults import SendFaults

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
SELECTED = {"send": 20, "test": 8, "install": 10, "uninstall": 6, "backend": 18, "agent": 18}


def errors(call):
    return READING if call.name == "openat" and not re.search(r"O_(CREAT|TMPFILE)", call.text) else ERRORS[call.name]


def cases_of(scenario):
    scenario.prepare()
    calls = record(scenario.command, ERRORS, follow=scenario.FOLLOW, env=scenario.environment(), cwd="/")
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
        report.miss(scenario.name)


def sweep(report, every):
    send = SendFaults("send")
    scenarios = [send, SendFaults("test", send), BackendFaults(), AgentFaults(send.desk)]
    install = InstallationFaults("install")
    scenarios += [install, InstallationFaults("uninstall")]
    for scenario in filter(lambda each: is_chosen(each.name), scenarios):
        for call, error in spread(cases_of(scenario), None if every else SELECTED[scenario.name]):
            run_case(report, scenario, call, error)
    send.server.stop()


if __name__ == "__main__":
    run_sweep(sweep)
