# SPDX-License-Identifier: MIT
"""What the machine holds at a quiet moment: memory and descriptors of the long-lived programs, processes, files."""

import collections
import os
import re

from private_machine import build_dir, source_dir

PROGRAMS = ("cupsd", "vrserver", "varek-agent")
# The soak itself and its hands come and go at any moment.
NOT_COUNTED = ("python3", "xdotool")
# Where a print could leave something: temporary files, the two spools, the server's open sessions, homes.
# What the soak itself records, and the sockets of cupsd, are no traces.
NO_TRACES = re.compile("/home/[^/]+/(sent/.*|address|notices)$|/run/cups/")
FOLDERS = ("/tmp", "/var/tmp", "/dev/shm", "/var/spool/cups", "/var/spool/varek", "/srv/varek/sessions", "/home", "/run")

Sample = collections.namedtuple("Sample", "rss descriptors threads processes zombies files")


def _status(process):
    with open("/proc/%s/status" % process, encoding="utf-8", errors="replace") as file:
        return dict(line.rstrip("\n").split(":\t", 1) for line in file if ":\t" in line)


def _processes():
    for process in filter(str.isdigit, os.listdir("/proc")):
        try:
            yield process, _status(process), len(os.listdir("/proc/%s/fd" % process))
        except OSError:
            continue  # it has just ended


def _files():
    found = set()
    for top in FOLDERS:
        for folder, subfolders, names in os.walk(top):
            # Where the checkout lies in one of them, a build may go on there.
            subfolders[:] = [name for name in subfolders if os.path.join(folder, name) not in (source_dir(), build_dir())]
            found.update(os.path.join(folder, name) for name in names)
    return {name for name in found if not NO_TRACES.match(name)}


def take_sample():
    """RSS in KiB, descriptors and threads by program, each the sum over its processes; the number of processes; files."""
    sample = Sample(*(collections.Counter() for _ in range(3)), 0, 0, _files())
    count = zombies = 0
    for _, status, descriptors in _processes():
        name = status["Name"].strip()
        count += name not in NOT_COUNTED
        zombies += status["State"].startswith("Z") and name not in NOT_COUNTED
        if name in PROGRAMS:
            sample.rss[name] += int(status.get("VmRSS", "0 kB").split()[0])
            sample.descriptors[name] += descriptors
            sample.threads[name] += int(status["Threads"])
    return sample._replace(processes=count, zombies=zombies)


def spool_files(sample):
    return sum(name.startswith(("/var/spool/", "/srv/")) for name in sample.files)


def row(label, sample):
    """A line of the table."""
    cells = ["%.1f / %d / %d" % (sample.rss[name] / 1024, sample.descriptors[name], sample.threads[name])
             for name in PROGRAMS]
    return "| %s | %s | %d | %d | %d |" % (label, " | ".join(cells), sample.processes, sample.zombies, spool_files(sample))


HEAD = ("| | cupsd: MiB / descriptors / threads | vrserver | all agents | processes | zombies | spool files |\n"
        "|---|---|---|---|---|---|---|")
