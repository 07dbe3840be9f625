# SPDX-License-Identifier: MIT
"""The server under load: many uploads at once, and clients that send next to nothing."""

import json
import pathlib
import subprocess
import sys
import time

from . import application_server, link, measure
from .measure import Row

MIB = application_server.MIB
# Clients that log in at the same time: what is measured is uploads, not password hashes.
STARTED_TOGETHER = 4


def concurrent_uploads(bench):
    clients = 8 if bench.quick else 200
    size = 4
    total = clients * bench.size(size) / MIB
    documents = [application_server.write_document(bench.folder / f"client-{index}", bench.size(size), seed=index)
                 for index in range(clients)]
    resting = bench.server.memory_kib("VmRSS")
    singles, crowds = [], []
    rounds = 1 if bench.quick else 3
    for _ in range(rounds):
        singles.append(goodput_of_one(bench, documents[: max(4, clients // 10)], size))
        crowds.append(total / crowd_seconds(bench, documents))
    peak = bench.server.memory_kib("VmHWM")
    intact = sum(bench.server.holds(documents))
    section = f"{clients} uploads of {bench.size(size) / MIB:.2g} MiB at once, loopback"
    goodput = measure.compare(section, "goodput beside one client's", {"crowd": crowds, "one": singles},
                              lambda one: 0.8 * one, "at least 0.8", "MiB/s", at_least=True)
    if intact != clients:
        raise RuntimeError(f"{clients - intact} of {clients} documents are not intact")
    return [goodput,
            Row(section, "documents intact", intact, unit="", goal=f"{clients}", limit=clients, at_least=True),
            Row(section, "server memory a session: peak less before", (peak - resting) / 1024 / clients, unit="MiB",
                goal="at most 8", limit=8)]


def growing_crowds(bench):
    """The server with 1, 50 and 200 clients beside nginx with as many curl processes."""
    size = 4
    section = f"The server with more and more clients, {bench.size(size) / MIB:.2g} MiB each, loopback"
    rows = []
    for clients in (1, 2, 4) if bench.quick else (1, 50, 200):
        documents = [application_server.write_document(bench.folder / f"crowd-{index}", bench.size(size), seed=index)
                     for index in range(clients)]
        total = clients * bench.size(size) / MIB
        goodputs = measure.interleaved(1 if bench.quick else 3,
                                       ours=lambda: total / crowd_seconds(bench, documents),
                                       curl=lambda: total / curl_crowd_seconds(bench, documents))
        rows.append(measure.compare(section, f"{clients} at once: goodput", goodputs, unit="MiB/s"))
        rows.append(Row(section, f"{clients} at once: peak memory of the server so far",
                        bench.server.memory_kib("VmHWM") / 1024, unit="MiB"))
        bench.demand_intact(documents[-1])
    return rows


def curl_crowd_seconds(bench, documents):
    """As many curl processes at once, from the first start to the last end."""
    begin = time.monotonic()
    crowd = [subprocess.Popen(bench.line.far(*bench.curl_put_command(document, index)), stdout=subprocess.DEVNULL)
             for index, document in enumerate(documents)]
    if any(process.wait() != 0 for process in crowd):
        raise RuntimeError("a PUT of curl failed")
    return time.monotonic() - begin


def goodput_of_one(bench, documents, size):
    """One upload after the other, from the server objects to the document's identifier."""
    seconds = 0
    for document in documents:
        result = bench.upload(document, enter=bench.line.far)
        seconds += result["loop"] + result["rest"]
    return len(documents) * bench.size(size) / MIB / seconds


def crowd_seconds(bench, documents):
    """All clients log in and compress, then go on at the same moment: seconds from there to the last answer."""
    drivers = []
    for begin in range(0, len(documents), STARTED_TOGETHER):
        started = [start_client(bench, document) for document in documents[begin:begin + STARTED_TOGETHER]]
        drivers += started
        for driver in started:
            if driver.stdout.readline() != "ready\n":
                raise RuntimeError("a client did not get as far as its upload")
    begin = time.monotonic()
    for driver in drivers:
        driver.stdin.write("\n")
        driver.stdin.flush()
    lines = [driver.stdout.readline() for driver in drivers]
    seconds = time.monotonic() - begin
    for driver, line in zip(drivers, lines):
        driver.communicate()
        if driver.returncode != 0 or not json.loads(line)["fileId"]:
            raise RuntimeError("an upload failed")
    return seconds


def start_client(bench, document):
    return subprocess.Popen(bench.line.far(*bench.driver.command(file=document, wait="YES")),
                            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)


def dripping_clients(bench):
    clients = 20 if bench.quick else 500
    document = bench.document(16)

    def upload():
        result = bench.upload(document, enter=bench.line.far)
        return result["loop"] + result["rest"]

    alone, among, ended = [], [], 0
    for _ in range(1 if bench.quick else 3):
        alone += [upload() for _ in range(bench.runs)]
        with Drips(bench, clients) as drips:
            among += [upload() for _ in range(bench.runs)]
            drips.demand_alive()
        ended += drips.ended
    bench.demand_intact(document)
    if ended:
        bench.notes.append(f"The server ended {ended} dripping clients, which connected again: the table tells of that, too.")
    section = f"{clients} clients that send one byte a second, loopback"
    return [measure.compare(section, f"an upload of {bench.size(16) / MIB:.0f} MiB among them beside one alone",
                            {"among": among, "alone": alone}, lambda quiet: 1.1 * quiet, "at most 1.1")]


class Drips:
    """A context manager: a process with connections on each of which one byte of a request arrives a second."""

    def __init__(self, bench, clients):
        self._command = bench.line.far(
            sys.executable, pathlib.Path(__file__).with_name("drip_clients.py"), link.FAR_ADDRESS,
            application_server.PORT, clients, bench.server.authority)
        self._process = None
        self.ended = 0  # connections that the server gave up

    def __enter__(self):
        self._process = subprocess.Popen([str(word) for word in self._command], stdin=subprocess.PIPE,
                                         stdout=subprocess.PIPE, text=True)
        if self._process.stdout.readline() != "ready\n":
            raise RuntimeError("the dripping clients could not connect")
        return self

    def demand_alive(self):
        if self._process.poll() is not None:
            raise RuntimeError("the dripping clients ended")

    def __exit__(self, *_):
        self.ended = int(self._process.communicate()[0] or 0)
