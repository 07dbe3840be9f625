# SPDX-License-Identifier: MIT
"""What a person at a desktop waits for before the upload: the queue, and the first window."""

import json
import pathlib
import subprocess
import sys

from . import measure

BENCH = pathlib.Path(__file__).resolve().parent.parent


def _measured_by(program, bench, count, *options):
    """What a benchmark program of this folder prints with --json."""
    command = [sys.executable, BENCH / program, "--build", bench.build, *options, str(count), "--json"]
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=1800, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"{program}: {done.stderr.strip()}")
    return json.loads(done.stdout.splitlines()[-1])


def startup(bench):
    """The first window beside a minimal program of the same toolkit."""
    times = _measured_by("window_startup", bench, 2 if bench.quick else 40, "--rounds")
    seconds = {program: [each / 1000 for each in times[program]] for program in ("vrp", "minimal")}
    return [measure.compare("The first window beside a minimal program of the toolkit", "start to first picture", seconds,
                            lambda minimal: 1.15 * minimal, "at most 1.15")]


def through_cupsd(bench):
    """How long the queue is busy beside a queue whose backend writes a file."""
    results = _measured_by("cups_print", bench, 1 if bench.quick else bench.runs, "--runs")
    section = "A print through cupsd beside the same document through a backend that writes a file"
    return [measure.compare(section, f"{name}: lp to completed job", {"ours": times["Varek"], "file": times["File"]})
            for name, times in results.items()]
