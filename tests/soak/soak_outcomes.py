# SPDX-License-Identifier: MIT
"""What became of the prints of a soak, what must hold at its end, and its tables."""

import collections

from installed_system import arrived
from soak_measures import HEAD
from spool_view import queue_is_open

Outcome = collections.namedtuple("Outcome", "title fault kind message")


def last_message(log):
    """What a log says at last of a failure."""
    lines = [line.strip() for line in log.splitlines()]
    telling = [line for line in lines if line.startswith(("Varek error", "Bad ", "Error", "User canceled"))]
    return telling[-1] if telling else ""


def check_growth(soak, first, last):
    """After the first round every program has what it needs: from there on nothing may grow with the prints."""
    for name, spare in (("cupsd", 4096), ("vrserver", 12288), ("varek-agent", 2048)):
        if last.rss[name] > first.rss[name] * 1.2 + spare:
            soak.complain("%s grew from %d to %d KiB" % (name, first.rss[name], last.rss[name]))
        if last.descriptors[name] > first.descriptors[name] + 2:
            soak.complain("%s has %d descriptors after %d" % (name, last.descriptors[name], first.descriptors[name]))
    if last.processes > first.processes or last.zombies:
        soak.complain("%d processes after %d, %d zombies" % (last.processes, first.processes, last.zombies))
    left = sorted(last.files - first.files)
    if left:
        soak.complain("files that stay: %s" % " ".join(left[:20]))


def check_outcomes(soak):
    """Every print has its outcome, the server has what arrived, and the next print will pass."""
    if not queue_is_open():
        soak.complain("the queue is stopped")
    if len(soak.outcomes) != soak.options.prints:
        soak.complain("%d outcomes of %d prints" % (len(soak.outcomes), soak.options.prints))
    if len(arrived()) != sum(outcome.kind.startswith("arrives") for outcome in soak.outcomes):
        soak.complain("%d documents on the server" % len(arrived()))


def report(soak, rows, seconds):
    kinds = collections.Counter((outcome.fault, outcome.kind, outcome.message) for outcome in soak.outcomes)
    count = collections.Counter(outcome.kind for outcome in soak.outcomes)
    print("\n| Fault | Outcome | Documents | The log's last word |\n|---|---|---|---|")
    for (fault, kind, message), number in sorted(kinds.items()):
        print("| %s | %s | %d | %s |" % (fault.replace("_", " "), kind, number, message[:110].replace("|", "/")))
    print("\n" + HEAD + "\n" + "\n".join(rows))
    intact = sum(number for kind, number in count.items() if kind.startswith("arrives"))
    print("\nprints %d, users %d: intact %d, failed with a message %d, doubled %d, damaged %d, lost %d, violations %d, %d s" % (
        len(soak.outcomes), len(soak.machine.users), intact, count["box"] + count["kept"] + count["cancelled"],
        count["doubled"], count["damaged"], count["lost"], len(soak.violations), seconds))
