# SPDX-License-Identifier: MIT
"""What the sweeps over whole processes share: the table, and system calls that strace records, fails or ends."""

import contextlib
import glob
import os
import re
import signal
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "e2e/printing"))

from private_machine import run_inside, wait_until  # pylint: disable=wrong-import-position

# strace and the sanitizers' leak check both want to be the only tracer: these sweeps run the plain build.
TRACER = ("strace", "-f", "--seccomp-bpf", "-qq")


class Report:
    """Counts cases by class and prints them as every sweep does."""

    def __init__(self):
        self.classes = {}
        self.missed = {}

    def miss(self, name, what):
        """A case whose fault never came; it does not count. Too many of them, and the sweep proves nothing."""
        self.missed.setdefault(name, []).append(what)

    def add(self, name, completed, complaints, what):
        counts = self.classes.setdefault(name, [0, 0, 0])
        counts[0 if completed else 1] += 1
        if complaints:
            counts[2] += 1
            print("%s: %s: %s" % (name, what, "; ".join(complaints)), file=sys.stderr, flush=True)

    def finish(self):
        for name, (completed, refused, violations) in sorted(self.classes.items()):
            print("sweep|%s|%d|%d|%d|%d" % (name, completed + refused, completed, refused, violations), flush=True)
        scarce = [name for name, missed in self.missed.items()
                  if len(missed) > 2 + sum(self.classes.get(name, [0, 0, 0])[:2]) // 5]
        for name in scarce:
            print("%s: in %d cases the fault never came:" % (name, len(self.missed[name])), *self.missed[name], sep="\n  ",
                  file=sys.stderr)
        return 1 if scarce or not self.classes or any(counts[2] for counts in self.classes.values()) else 0


def is_chosen(name):
    """Whether the command line asks for this class, or for none."""
    return "--class" not in sys.argv or sys.argv[sys.argv.index("--class") + 1] == name


def run_sweep(sweep):
    """The main function of a sweep: SCRIPT BUILD_FOLDER [--every] [--class NAME] [--share K/N]. `sweep` gets a Report and
    whether to run every case; `share` says what of them. SIGTERM ends it early, with the table so far."""
    os.environ["VAREK_BUILD_DIR"] = os.path.abspath(sys.argv[1])

    def stop(*_):
        raise KeyboardInterrupt

    def work():
        report = Report()
        signal.signal(signal.SIGTERM, stop)
        try:
            sweep(report, "--every" in sys.argv)
        except KeyboardInterrupt:
            print("stopped before the end", file=sys.stderr)
        sys.exit(report.finish())

    run_inside(work)


def spread(cases, count):
    """So many of the cases, evenly spread over them; all of them when count is None."""
    if count is None or len(cases) <= count:
        return cases
    return [cases[(2 * i + 1) * len(cases) // (2 * count)] for i in range(count)]


def share(cases):
    """Every Nth of the cases from the Kth on with --share K/N (K from 1), so that N processes run them all; else all."""
    if "--share" not in sys.argv:
        return cases
    first, step = map(int, sys.argv[sys.argv.index("--share") + 1].split("/"))
    assert 1 <= first <= step
    return cases[first - 1::step]


class Call:
    """One system call of a recorded run: the nth of its name in its thread."""

    _START = re.compile(r"^(?:(\d+) +)?(\w+)\((.*)$")

    def __init__(self, name, number, text):
        self.name = name
        self.number = number
        self.text = text

    def __str__(self):
        return "%s no. %d, %s" % (self.name, self.number, self.text[:150])

    def kind(self):
        """Equal for calls that differ in nothing but numbers and random names."""
        return self.name + re.sub(r"[0-9]+|\.[A-Za-z]{6}\b", "#", self.text)

    @classmethod
    def read(cls, path):
        counts = {}
        calls = []
        with open(path, encoding="utf-8", errors="replace") as trace:
            for line in trace:
                found = cls._START.match(line)
                if found:
                    thread, name, text = found.groups()
                    counts[thread, name] = counts.get((thread, name), 0) + 1
                    calls.append(cls(name, counts[thread, name], text.strip()))
        return calls


_RECORDED = "/tmp/recorded-calls"


def recorder(names, follow=True):
    """The command line before a command whose system calls of these names recorded() gives afterwards."""
    if os.path.exists(_RECORDED):
        os.remove(_RECORDED)
    tracer = TRACER if follow else ("strace", "-qq")
    return [*tracer, "-y", "-s", "200", "-o", _RECORDED, "-e", "trace=" + ",".join(names)]


def recorded():
    return Call.read(_RECORDED)


class TracedScenario:
    """Something that is done once for each of its system calls. Says how: command(prefix), environment(), prepare(),
    check_undisturbed(), concerns(call), run(prefix, call), run_again(completed)."""

    FOLLOW = True  # its threads and children as well

    def record(self, names):
        """The system calls of these names of a run without a fault, in order."""
        subprocess.run(self.command(recorder(names, self.FOLLOW)), check=False, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=120, env=self.environment(), cwd="/")
        return recorded()


def _is_traced(task):
    with open(task + "/status", encoding="utf-8") as status:
        return re.search(r"^TracerPid:\t[1-9]", status.read(), re.M) is not None


@contextlib.contextmanager
def attached(prefix, process):
    """Has the tracer of a prefix at a process that is running, and at all its threads. Their calls count from here on."""
    tracer = subprocess.Popen([*prefix, "-p", str(process)], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        wait_until(lambda: all(map(_is_traced, glob.glob("/proc/%d/task/*" % process))) or tracer.poll() is not None,
                   "the tracer is there, or its first call has ended the process")
        yield
    finally:
        tracer.terminate()
        tracer.wait()


_INJECTED = "/tmp/injected-calls"


def injector(call, what, follow=True):
    """The command line before a command that fails its call (what: error=ENOSPC) or ends it there (signal=KILL)."""
    # The filter of --seccomp-bpf lets no signal in.
    filtered = ("--seccomp-bpf",) if follow and what.startswith("error") else ()
    if os.path.exists(_INJECTED):
        os.remove(_INJECTED)
    return ["strace", *(("-f",) if follow else ()), *filtered, "-o", _INJECTED, "-e", "trace=" + call.name,
            "-e", "inject=%s:%s:when=%d" % (call.name, what, call.number)]


def was_injected():
    """Whether the last injector's call came: the number of calls may differ a little from run to run."""
    with open(_INJECTED, encoding="utf-8", errors="replace") as trace:
        return re.search(r"\(INJECTED\)|killed by SIGKILL", trace.read()) is not None


def without_repetitions(calls, kept):
    """Of calls that differ in nothing but numbers the first, the last and some between, `kept` at most."""
    by_kind = {}
    for call in calls:
        by_kind.setdefault(call.kind(), []).append(call)
    chosen = {id(call) for group in by_kind.values() for call in [group[0], group[-1], *spread(group, kept)][:kept]}
    return [call for call in calls if id(call) in chosen]
