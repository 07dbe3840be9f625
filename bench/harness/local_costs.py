# SPDX-License-Identifier: MIT
"""What the upload costs without a slow link: goodput over loopback, memory, compression."""

import subprocess
import time

from . import application_server, measure, peers
from .measure import Row

MIB = application_server.MIB
COMPRESSION_LEVEL = 3  # the library's, and the zstd program's own


def loopback(bench):
    """Goodput of the block loop over loopback, 1 GiB."""
    size = 1024
    document = bench.document(size)
    amount = bench.size(size) / MIB
    here = bench.line.far
    results = measure.interleaved(
        min(bench.runs, 9),
        ours=lambda: amount / bench.upload(document, enter=here, stop="loop")["loop"],
        curl=lambda: amount / bench.curl_put_open(document, enter=here))
    row = measure.compare("Loopback", f"block loop, {amount:.0f} MiB", results, lambda theirs: theirs / 2,
                          "at least half", "MiB/s", at_least=True)
    return [row]


def memory(bench):
    """Peak memory of the driver for documents of growing size."""
    here = bench.line.far
    peaks = {}
    for size in (1, 16, 64, 1024):
        peaks[size] = bench.upload(bench.document(size), enter=here)["peakKib"] / 1024
        bench.demand_intact(bench.document(size))
    section = "Memory"
    rows = [Row(section, f"driver, {bench.size(size) / MIB:.4g} MiB: peak", peak, unit="MiB", goal="at most 24", limit=24)
            for size, peak in peaks.items()]
    return [*rows, Row(section, f"growth from {bench.size(16) / MIB:.4g} MiB to {bench.size(1024) / MIB:.4g} MiB",
                       peaks[1024] - peaks[16], unit="MiB", goal="at most 2", limit=2)]


def compression(bench):
    """The library's compression beside the zstd program with the same level, threads and job size."""
    size = bench.size(256)
    document = application_server.write_compressible_document(bench.folder / "text", size)
    packed = bench.folder / "text.zst"
    zstd = [peers.program("zstd", "zstd"), "-q", "-f", f"-{COMPRESSION_LEVEL}", "-T2", "-B1MiB", document, "-o", packed]
    compressed = {}

    def ours():
        result = bench.upload(document, enter=bench.line.far, sequence="compress")
        compressed["ours"] = result["compressedBytes"]
        return result["compress"]

    def theirs():
        begin = time.monotonic()
        subprocess.run([str(word) for word in zstd], check=True)
        compressed["theirs"] = packed.stat().st_size
        return time.monotonic() - begin

    results = measure.interleaved(bench.runs, ours=ours, zstd=theirs)
    section = f"Compression beside `zstd -{COMPRESSION_LEVEL} -T2 -B1MiB`, {size / MIB:.0f} MiB of text"
    return [measure.compare(section, "time", results, lambda limit: 1.05 * limit, "at most 1.05"),
            Row(section, "compressed size", compressed["ours"] / MIB, compressed["theirs"] / MIB, "MiB")]
