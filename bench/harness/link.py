# SPDX-License-Identifier: MIT
"""Two network namespaces joined by the link emulator.

The client side is `near` (10.77.0.1), the server side `far` (10.77.0.2).
"""

import json
import os
import pathlib
import re
import subprocess

NEAR_ADDRESS = "10.77.0.1"
FAR_ADDRESS = "10.77.0.2"
# Ethernet's, and what of each packet is left for a TCP connection with time stamps.
PACKET_BYTES = 1500
PAYLOAD_BYTES = 1448


class LinkError(Exception):
    pass


def run(*command):
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise LinkError(f"{' '.join(command)}: {done.stderr.strip() or done.returncode}")
    return done.stdout


def remove_abandoned_namespaces():
    """Those of processes that were killed before they could tidy up."""
    for line in run("ip", "netns", "list").splitlines():
        match = re.match(r"varek-(?:near|far)-(\d+)\b", line)
        if match and not os.path.exists(f"/proc/{match[1]}"):
            subprocess.run(["ip", "netns", "del", line.split()[0]], capture_output=True, check=False)


class Link:
    """A context manager: the namespaces and the emulator exist inside the `with`."""

    def __init__(self, emulator, congestion=None):
        self._emulator_path = str(emulator)
        self._congestion = congestion
        self._process = None
        self.near_name = f"varek-near-{os.getpid()}"
        self.far_name = f"varek-far-{os.getpid()}"

    def __enter__(self):
        try:
            self._set_up()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        if self._process:
            self._process.stdin.close()
            self._process.wait()
            self._process.stdout.close()
            self._process = None
        for name in (self.near_name, self.far_name):
            subprocess.run(["ip", "netns", "del", name], capture_output=True, check=False)

    def near(self, *command):
        """The command line that runs a command at the client's side."""
        return ["ip", "netns", "exec", self.near_name, *map(str, command)]

    def far(self, *command):
        return ["ip", "netns", "exec", self.far_name, *map(str, command)]

    def set(self, rtt_ms, rate_mbit, queue_bytes=None):
        """Both directions alike. Without a queue size: one bandwidth-delay product, at least 256 KiB."""
        if queue_bytes is None:
            queue_bytes = max(256 * 1024, int(rate_mbit * 1e6 / 8 * rtt_ms / 1000))
        self._ask(f"set delay-us={int(rtt_ms * 500)} rate-kbit={int(rate_mbit * 1000)} queue-bytes={queue_bytes}")

    def reset(self):
        """The counters since the last reset."""
        return self._ask("reset")

    def congestion_control(self):
        return run(*self.near("sysctl", "-n", "net.ipv4.tcp_congestion_control")).strip()

    def _ask(self, line):
        self._process.stdin.write(line + "\n")
        self._process.stdin.flush()
        return json.loads(self._process.stdout.readline())

    def _set_up(self):
        remove_abandoned_namespaces()
        for name in (self.near_name, self.far_name):
            run("ip", "netns", "add", name)
        self._process = subprocess.Popen(
            [self._emulator_path, f"near={self.near_name}", f"far={self.far_name}"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        if self._process.stdout.readline() != "ready\n":
            raise LinkError("the link emulator did not start")
        for name, address in ((self.near_name, NEAR_ADDRESS), (self.far_name, FAR_ADDRESS)):
            self._configure(name, address)

    def _configure(self, name, address):
        run("ip", "-n", name, "link", "set", "dev", "lo", "up")
        run("ip", "-n", name, "address", "add", f"{address}/24", "dev", "vlink")
        # The emulator's queue is the one that drops: the device's own never fills.
        run("ip", "-n", name, "link", "set", "dev", "vlink", "mtu", str(PACKET_BYTES), "txqueuelen", "20000", "up")
        # Every connection starts without what the kernel learned from the one before.
        self._sysctl(name, "net.ipv4.tcp_no_metrics_save=1")
        if self._congestion:
            try:
                self._sysctl(name, f"net.ipv4.tcp_congestion_control={self._congestion}")
            except LinkError as problem:
                raise LinkError(
                    f"{problem}\nThe machine does not let a namespace use {self._congestion}: "
                    f'sysctl net.ipv4.tcp_allowed_congestion_control="reno {self._congestion}" does') from None

    @staticmethod
    def _sysctl(name, setting):
        run("ip", "netns", "exec", name, "sysctl", "-q", "-w", setting)


def emulator_in(build_dir):
    path = pathlib.Path(build_dir) / "bin" / "link_emulator"
    if not path.exists():
        raise LinkError(f"{path} is missing: build the target link_emulator")
    return path
