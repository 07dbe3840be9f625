# SPDX-License-Identifier: MIT
"""Interleaved runs, medians, and the table of what came out."""

import dataclasses
import statistics
import sys


def progress(text):
    print(text, file=sys.stderr, flush=True)


def interleaved(runs, **sides):
    """Calls every side `runs` times, in turn and in alternating order: {side: [what it returned]}."""
    results = {name: [] for name in sides}
    for index in range(runs):
        order = list(sides) if index % 2 == 0 else list(reversed(sides))
        for name in order:
            results[name].append(sides[name]())
    return results


def median(values):
    return statistics.median(values)


@dataclasses.dataclass
class Row:
    """One line of the table: ours beside theirs, and the most (or least) that ours may be."""

    section: str
    what: str
    ours: float
    theirs: float | None = None
    unit: str = "s"
    goal: str = ""
    limit: float | None = None
    at_least: bool = False
    spread: str = ""

    @property
    def ratio(self):
        return self.ours / self.theirs if self.theirs else None

    @property
    def verdict(self):
        if self.limit is None:
            return ""
        met = self.ours >= self.limit if self.at_least else self.ours <= self.limit
        return "met" if met else "missed"


def spread_of(values):
    return f"{min(values):.3g} to {max(values):.3g}"


def compare(section, what, results, limit_of=None, goal="", unit="s", at_least=False):
    """A row of medians; `limit_of` makes the limit of the peer's median."""
    (_, ours), (_, theirs) = list(results.items())[:2]
    row = Row(section, what, median(ours), median(theirs), unit, goal,
              limit_of(median(theirs)) if limit_of else None, at_least, spread_of(ours))
    progress(f"  {what}: {number(row.ours)} beside {number(row.theirs)} {unit}, ratio {number(row.ratio)} "
             f"{row.verdict}")
    return row


def number(value):
    if value is None:
        return ""
    return f"{value:.3f}" if value < 100 else f"{value:.0f}"


def print_table(rows, out):
    """One table, in which a line names each section: what was measured, and the peer."""
    section = None
    print("\n| Measurement | Ours | Spread | Peer | Ratio | Goal | |\n|---|---|---|---|---|---|---|", file=out)
    for row in rows:
        if row.section != section:
            section = row.section
            print(f"| **{section}** | | | | | | |", file=out)
        theirs = f"{number(row.theirs)} {row.unit}" if row.theirs is not None else ""
        limit = f"{row.goal} ({number(row.limit)} {row.unit})" if row.limit is not None else row.goal
        print(f"| {row.what} | {number(row.ours)} {row.unit} | {row.spread} | {theirs} | {number(row.ratio)} "
              f"| {limit} | {row.verdict} |", file=out)
    out.flush()
