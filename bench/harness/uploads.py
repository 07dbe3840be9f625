# SPDX-License-Identifier: MIT
"""Uploads over the emulated link: the block loop, the whole sequence, a whole send, and what is counted of it."""

from . import measure
from .measure import Row

RATE_MBIT = 100
RTTS_MS = (0, 50, 100, 200)
SIZES_MIB = (1, 4, 16)
ALLOWED = 1.05
EXTRA_ROUND_TRIPS = 5
WHOLE_UPLOAD = "The whole upload beside a cold `curl -T`"


def lines_and_documents(bench):
    """Sets the line to each round trip time of a run in turn; gives that, the size in MiB and the document of each size."""
    for rtt_ms in (0, 20) if bench.quick else RTTS_MS:
        bench.line.set(rtt_ms, RATE_MBIT)
        for size in (1,) if bench.quick else SIZES_MIB:
            yield rtt_ms, size, bench.document(size)


def block_loops(bench):
    rows = []
    for rtt_ms, size, document in lines_and_documents(bench):
        results = measure.interleaved(
            bench.runs,
            ours=lambda: bench.upload(document, stop="loop")["loop"],
            curl=lambda: bench.curl_put_open(document))
        rows.append(measure.compare(
            "The block loop beside `curl -T` over an open connection", f"{size} MiB, round trip {rtt_ms} ms", results,
            (lambda theirs: ALLOWED * theirs) if rtt_ms >= 50 else None, f"at most {ALLOWED}" if rtt_ms >= 50 else ""))
    return rows


def whole_uploads(bench):
    rows = []
    for rtt_ms, size, document in lines_and_documents(bench):
        results = measure.interleaved(
            bench.runs,
            ours=lambda: bench.upload(document)["whole"],
            curl=lambda: bench.curl_put(document))
        bench.demand_intact(document)
        rows.append(measure.compare(
            WHOLE_UPLOAD, f"{size} MiB, round trip {rtt_ms} ms", results,
            lambda theirs: ALLOWED * theirs + EXTRA_ROUND_TRIPS * rtt_ms / 1000,
            f"at most {ALLOWED} and {EXTRA_ROUND_TRIPS} round trips"))
    return [*rows, first_login(bench)]


def first_login(bench):
    """The price of a password that the server has to hash, as at the first print of a quarter of an hour."""
    bench.line.set(0, RATE_MBIT)
    document = bench.document(1)

    def hashed():
        bench.server.hash_again()
        return bench.upload(document)["whole"]

    results = measure.interleaved(bench.runs, hashed=hashed, known=lambda: bench.upload(document)["whole"])
    return measure.compare(WHOLE_UPLOAD, "1 MiB, round trip 0 ms: password hashed beside password known", results)


def whole_send(bench):
    """A standard send of 100 kB beside three curl processes, and the round trips of each of its commands."""
    rtt_ms = 20 if bench.quick else 100
    bench.line.set(rtt_ms, RATE_MBIT)
    document = bench.document(100_000 / (1024 * 1024))
    send = None

    def ours():
        nonlocal send
        bench.line.reset()
        send = bench.upload(document, sequence="send")
        send["counters"] = bench.line.reset()
        return send["send"]

    results = measure.interleaved(
        bench.runs, ours=ours,
        curl=lambda: bench.curl_get() + bench.curl_put(document) + bench.curl_get())
    bench.demand_intact(document)
    section = f"A whole send of 100 kB (directory, upload, portal), round trip {rtt_ms} ms"
    rows = [measure.compare(section, "beside three `curl` processes: GET, PUT, GET", results,
                            lambda theirs: 2 * theirs, "at most 2")]
    rows.append(Row(section, "round trips (time by round trip time)", send["send"] / (rtt_ms / 1000),
                    measure.median(results["curl"]) / (rtt_ms / 1000), ""))
    for counter, what in (("connections", "TCP connections"), ("clientHellos", "TLS handshakes")):
        rows.append(Row(section, what, send["counters"][counter], unit="", goal="1", limit=1))
    bench.notes.append(waits_of_commands(send, rtt_ms))
    return rows


def waits_of_commands(send, rtt_ms):
    """The commands of one send and the round trips that each took, as a list for the report."""
    lines = [f"Round trips of each command of one send, at {rtt_ms} ms (time by round trip time):", "",
             "| Session | Command | Round trips |", "|---|---|---|"]
    for session in ("directory", "upload", "portal"):
        for command, seconds in send[session]:
            text = command.replace("|", "\\|")
            lines.append(f"| {session} | `{text}` | {seconds * 1000 / rtt_ms:.1f} |")
    return "\n".join(lines)
