# SPDX-License-Identifier: MIT
"""Processor time by component, sampled with perf: the stack of each sample tells who works for whom."""

import dataclasses
import pathlib
import re
import subprocess

from . import peers

SAMPLES_PER_SECOND = 999
STACK_BYTES = 16384
BUFFER = "64M"  # a processor: what is sampled while perf itself has to wait
# What a library is there for. The innermost frame that is named here decides: the C and C++ libraries and the kernel work for
# whoever called them.
COMPONENTS = (
    (r"libzstd", "compression"),
    (r"libcrypto|libssl", "TLS"),
    (r"libsodium", "password hash"),
    (r"libsqlite3", "database"),
    (r"libcurl", "HTTP"),
    (r"libvrc|vrserver$", "protocol and files"),
    (r"libQt|libX|libxcb|libxkb|libfontconfig|libfreetype|libharfbuzz|libglib|libpng|libpixman|Xvfb", "windows"),
    (r"vrp$", "workflow"),
    (r"ld-linux", "loading of libraries"),
)
# Functions that say more than the file they are in, wherever they stand in the stack.
PURPOSES = (
    (r"VrpsSetMessageWindow|RefreshMessageWindow|MessageWindow::setTextMessage", "progress text"),
    (r"^_?XXH", "hashing"),
)
OTHER = "the rest"


@dataclasses.dataclass
class Sample:
    """Innermost frame first; a frame is (function, file)."""

    thread: str
    process: int
    seconds: float
    frames: list

    @property
    def in_kernel(self):
        return bool(self.frames) and self.frames[0][1].startswith("[")

    @property
    def component(self):
        for pattern, name in PURPOSES:
            if any(re.search(pattern, function) for function, _ in self.frames):
                return name
        for _, file in self.frames:
            name = next((name for pattern, name in COMPONENTS if re.match(pattern, file)), None)
            if name:
                return name
        return OTHER


@dataclasses.dataclass
class Time:
    """Seconds, and how many of them in the kernel."""

    all: float = 0
    kernel: float = 0

    def add(self, seconds, in_kernel):
        self.all += seconds
        self.kernel += seconds if in_kernel else 0


def sampled(folder, processes, command):
    """The command line that runs a command and samples it, and meanwhile the processes, {name: number}."""
    # A file each: perf unwinds a library's frames with the addresses of the first process in which it saw that library.
    line = [*_record(folder / "command.data"), "--", *command]
    for name, number in processes.items():
        line = [*_record(folder / f"{name}.data"), "--pid", str(number), "--", *line]
    return line


def _record(file):
    peers.program("perf", "linux-perf")
    # By its bare name: perf puts the folder that it is called by at the front of PATH.
    return ["perf", "record", "--quiet", "--event", "cpu-clock", "--freq", str(SAMPLES_PER_SECOND), "--call-graph",
            f"dwarf,{STACK_BYTES}", "--mmap-pages", BUFFER, "--output", str(file)]


def samples(file):
    """What perf has recorded."""
    shown = subprocess.run(["perf", "script", "--no-inline", "--input", file, "--fields", "comm,pid,period,ip,sym,dso"],
                           capture_output=True, text=True, errors="replace", check=True)
    if "lost" in shown.stderr:
        raise RuntimeError(f"perf lost samples, the machine is too busy: {shown.stderr.strip()}")
    return parse_samples(shown.stdout)


def parse_samples(text):
    """Of what `perf script` prints: for each sample a line with thread, process and nanoseconds, a line a frame, an empty line."""
    for block in text.split("\n\n"):
        head, *lines = block.strip("\n").split("\n")
        found = re.match(r"\s*(.*?)\s+(\d+)\s+(\d+)\s*$", head)
        if found:
            yield Sample(found[1], int(found[2]), int(found[3]) / 1e9, [_frame(line) for line in lines])


def _frame(line):
    found = re.match(r"\s*[0-9a-f]+ (.*) \((.*)\)$", line)
    return (found[1], pathlib.PurePath(found[2]).name if found[2][0] == "/" else found[2]) if found else ("", "")


def add_times(total, folder, processes, program, share=1):
    """Adds a share of what was sampled of the processes, {name: number}, and of the program to {(process, component): Time}."""
    for name in processes:
        for sample in samples(folder / f"{name}.data"):
            total[name, sample.component].add(share * sample.seconds, sample.in_kernel)
    started = list(samples(folder / "command.data"))
    # Other threads have names of their own.
    processes_of_program = {sample.process for sample in started if sample.thread == program}
    for sample in started:
        if sample.process in processes_of_program:
            total[program, sample.component].add(share * sample.seconds, sample.in_kernel)


def print_table(columns, out):
    """`columns`: {heading: {(process, component): Time}}; the largest of the first column first."""
    first = next(iter(columns.values()))
    parts = sorted({part for column in columns.values() for part in column},
                   key=lambda part: -first.get(part, Time()).all)
    totals = {heading: sum(time.all for time in column.values()) for heading, column in columns.items()}
    print("| Process | Component |" + "".join(f" {heading} | of it in the kernel |" for heading in columns), file=out)
    print("|---|---|" + "---|---|" * len(columns), file=out)
    for process, component in parts:
        cells = [_cells(column.get((process, component), Time()), totals[heading]) for heading, column in columns.items()]
        print(f"| {process} | {component} |" + "".join(cells), file=out)
    sums = [_cells(Time(totals[heading], sum(time.kernel for time in column.values())), totals[heading])
            for heading, column in columns.items()]
    print("| together | |" + "".join(sums), file=out)


def _cells(time, total):
    return f" {_seconds(time.all)} ({100 * time.all / total:.0f} %) | {_seconds(time.kernel)} |"


def _seconds(seconds):
    return f"{seconds:.2f} s" if seconds >= 1 else f"{seconds * 1000:.1f} ms"
