# SPDX-License-Identifier: MIT
"""Uploads through proxies, which stand at the far end of the link: their round trips cost what they cost."""

from . import link, measure, peers
from .uploads import ALLOWED, EXTRA_ROUND_TRIPS, RATE_MBIT

PROXIES = (
    ("squid", "none", 3128, peers.squid),
    ("squid", "basic", 3129, peers.squid),
    ("squid", "digest", 3130, peers.squid),
    ("tinyproxy", "none", 3131, peers.tinyproxy),
    ("tinyproxy", "basic", 3132, peers.tinyproxy),
)


PEERS = {"curl": "", "asked": "; curl waits for the question too (`--proxy-anyauth`)"}


def through_proxies(bench):
    rows = []
    rtt_ms, size = (20, 1) if bench.quick else (50, 4)
    document = bench.document(size)
    bench.line.set(rtt_ms, RATE_MBIT)
    for name, authentication, port, start in PROXIES:
        folder = bench.folder / f"{name}-{authentication}"
        with start(bench.line.far, folder, port, authentication):
            results = measure.interleaved(bench.runs, **sides(bench, document, port, authentication))
        bench.demand_intact(document)
        for peer in (name for name in PEERS if name in results):
            rows.append(measure.compare(
                f"The whole upload through a proxy beside `curl -x`, {size} MiB, round trip {rtt_ms} ms",
                f"{name}, authentication: {authentication}{PEERS[peer]}",
                {"ours": results["ours"], peer: results[peer]},
                lambda theirs: ALLOWED * theirs + EXTRA_ROUND_TRIPS * rtt_ms / 1000,
                f"at most {ALLOWED} and {EXTRA_ROUND_TRIPS} round trips"))
    return rows


def sides(bench, document, port, authentication):
    """What takes turns: ours, `curl -x`, and where the question for a password makes a difference curl that waits for
    it, as ours does."""
    def curl_with(how):
        return lambda: bench.curl_put(document, *curl_proxy(port, authentication, how))

    result = {"ours": lambda: bench.upload(document, proxy=library_proxy(port, authentication))["whole"],
              "curl": curl_with(authentication)}
    if authentication == "basic":
        result["asked"] = curl_with("anyauth")
    return result


def library_proxy(port, authentication):
    credentials = f"({peers.PROXY_USER};{peers.PROXY_PASSWORD})" if authentication != "none" else ""
    return f"{link.FAR_ADDRESS}:{port}{credentials}"


def curl_proxy(port, authentication, how):
    words = ["-x", f"http://{link.FAR_ADDRESS}:{port}"]
    if authentication != "none":
        words += ["--proxy-user", f"{peers.PROXY_USER}:{peers.PROXY_PASSWORD}", f"--proxy-{how}"]
    return words
