# SPDX-License-Identifier: MIT
"""Measures an emulated link: ping for its round trip time, curl and nginx for its goodput, slow start and losses."""

import pathlib
import re
import subprocess
import tempfile
import time

from . import link, peers

RTT_TOLERANCE_MS = 1.0
GOODPUT_TOLERANCE = 0.03


def ping_ms(line, count=21):
    """The mean of some pings: only the summary has more than three digits."""
    ping = peers.program("ping", "iputils-ping")
    shown = subprocess.run(line.near(ping, "-q", "-c", str(count), "-i", "0.05", link.FAR_ADDRESS),
                           capture_output=True, text=True, check=True).stdout
    return float(re.search(r"= [0-9.]+/([0-9.]+)/", shown)[1])


def arrival_times(line, authority, size):
    """Downloads the file `large` and gives [(seconds since the first byte, bytes so far)]."""
    command = line.near(peers.program("curl", "curl"), "-sS", "--http1.1", "--cacert", authority,
                        f"https://{link.FAR_ADDRESS}:{peers.HTTPS_PORT}/large")
    arrivals, total, begin = [], 0, None
    with subprocess.Popen(command, stdout=subprocess.PIPE, bufsize=0) as download:
        while block := download.stdout.read(65536):
            begin = begin or time.monotonic()
            total += len(block)
            arrivals.append((time.monotonic() - begin, total))
    if total != size:
        raise link.LinkError(f"{total} bytes arrived, not {size}")
    return arrivals


def bytes_between(arrivals, begin, end):
    """Bytes that arrived from one time to another."""
    def until(moment):
        return max((total for at, total in arrivals if at <= moment), default=0)
    return until(end) - until(begin)


def steady_goodput(arrivals):
    """Bits a second over the last third of the transfer."""
    last = arrivals[-1][0]
    return bytes_between(arrivals, last * 2 / 3, last) * 8 / (last / 3)


def verify(line, rtt_ms, rate_mbit):
    """Prints what was measured; 0 when round trip time and goodput are those that were set."""
    measured_ms = ping_ms(line)
    print(f"round trip time: set {rtt_ms:.1f} ms, ping {measured_ms:.2f} ms")
    size = int(rate_mbit * 1e6 / 8 * 8)
    with tempfile.TemporaryDirectory() as folder:
        authority, certificate, key = peers.make_certificates(folder, peers.host_names(link.FAR_ADDRESS))
        with peers.nginx(line.far, pathlib.Path(folder) / "nginx", certificate, key):
            (pathlib.Path(folder) / "nginx" / "received" / "large").write_bytes(bytes(size))
            line.reset()
            arrivals = arrival_times(line, authority, size)
            counters = line.reset()
    goodput = steady_goodput(arrivals)
    possible = rate_mbit * 1e6 * link.PAYLOAD_BYTES / link.PACKET_BYTES
    print(f"goodput: {goodput / 1e6:.2f} Mbit/s, possible {possible / 1e6:.2f} Mbit/s "
          f"({link.PAYLOAD_BYTES} of {link.PACKET_BYTES} bytes of a packet), ratio {goodput / possible:.3f}")
    rounds = [bytes_between(arrivals, index * rtt_ms / 1000, (index + 1) * rtt_ms / 1000) for index in range(10)]
    print("slow start, KiB by round trip:", " ".join(str(count // 1024) for count in rounds))
    print(f"congestion control {line.congestion_control()}; packets down {counters['down']['packets']}, dropped "
          f"{counters['down']['dropped']}, longest queue {counters['down']['peakQueueBytes']} bytes; the latest packet "
          f"was {counters['latestUs'] / 1000:.2f} ms late, {counters['lateByMillisecond']} more than 1 ms")
    exact = abs(measured_ms - rtt_ms) <= RTT_TOLERANCE_MS and abs(goodput / possible - 1) <= GOODPUT_TOLERANCE
    print("the link is as set" if exact else "THE LINK IS NOT AS SET")
    return 0 if exact else 1
