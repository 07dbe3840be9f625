#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What other clients do when a connection is reset, closed or falls silent at a byte: `curl -T` to nginx, and CUPS's ipp backend
to a small IPP printer. Their outcomes are counted, not judged: nothing of this system is tested here.

  peer_sweep.py BUILD_FOLDER [--every]     a few positions of each class; --every: every byte (curl), every eighth (ipp)

Prints "sweep|CLASS|CASES|COMPLETED|REFUSED|VIOLATIONS" as the other sweeps do, where a violation is a failure of the comparison
itself, and a second table with false successes, truncated and doubled documents, and clients that still run after 20 s."""

import collections
import concurrent.futures
import ctypes
import itertools
import os
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from ipp_printer import IppPrinter  # noqa: E402

LIMIT_SECONDS = 20
WORKERS = 120
DOCUMENT = bytes(48 + (i * 7919) % 75 for i in range(1024))
KINDS = ("reset", "close", "stall")
WAYS = ("to the server", "to the client")
IPP_BACKEND = "/usr/lib/cups/backend/ipp"


class Relay:
    """Relays connections to a port; the first one is hurt after so many bytes one way."""

    def __init__(self, port, kind=None, way=None, after=0):
        self._target, self._kind, self._way, self._after = port, kind, way, after
        self.passed = dict.fromkeys(WAYS, 0)
        self._sockets = []
        self._listener = socket.create_server(("127.0.0.1", 0), backlog=16)
        self.port = self._listener.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()

    def close(self):
        for one in [self._listener, *self._sockets]:
            try:
                one.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
            one.close()

    def _accept(self):
        is_hurt = self._kind is not None
        while True:
            try:
                client, _ = self._listener.accept()
                server = socket.create_connection(("127.0.0.1", self._target))
            except OSError:
                return
            for one in (client, server):
                one.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            self._sockets += [client, server]
            stopped = threading.Event()
            for way, source, sink in ((WAYS[0], client, server), (WAYS[1], server, client)):
                after = self._after if is_hurt and way == self._way else None
                threading.Thread(target=self._pass, args=(way, source, sink, after, stopped), daemon=True).start()
            is_hurt = False

    def _pass(self, way, source, sink, after, stopped):
        count = 0
        try:
            while data := source.recv(65536):
                if stopped.is_set():
                    return
                self.passed[way] += len(data)
                if after is not None and count + len(data) > after:
                    sink.sendall(data[:after - count])
                    stopped.set()
                    return self._hurt(source, sink)
                count += len(data)
                sink.sendall(data)
        except OSError:
            pass
        if not stopped.is_set():
            self._end(source, sink)

    def _hurt(self, source, sink):
        if self._kind == "stall":
            return
        if self._kind == "reset":
            for one in (source, sink):
                one.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self._end(source, sink)

    @staticmethod
    def _end(*sockets):
        for one in sockets:
            try:
                one.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
            one.close()


class CurlToNginx:
    name = "curl -T"

    def __init__(self, folder):
        self._folder = folder
        self._numbers = itertools.count()
        with socket.create_server(("127.0.0.1", 0)) as free:
            self.port = free.getsockname()[1]
        os.makedirs(os.path.join(folder, "stored"))
        config = os.path.join(folder, "nginx.conf")
        with open(config, "w", encoding="utf-8") as out:
            out.write("daemon off; worker_processes 1; pid %s/pid; error_log %s/error.log; user root;\n"
                      "events { worker_connections 1024; }\n"
                      "http { access_log off; client_body_temp_path %s/body; proxy_temp_path %s/p; fastcgi_temp_path %s/f;\n"
                      "uwsgi_temp_path %s/u; scgi_temp_path %s/s;\n"
                      "server { listen 127.0.0.1:%d; root %s/stored; location / { dav_methods PUT; } } }\n"
                      % (*[folder] * 7, self.port, folder))
        self._nginx = subprocess.Popen(["/usr/sbin/nginx", "-c", config], stderr=subprocess.DEVNULL)
        limit = time.monotonic() + 20
        while time.monotonic() < limit:
            try:
                socket.create_connection(("127.0.0.1", self.port)).close()
                return
            except OSError:
                time.sleep(0.05)
        raise SystemExit("nginx does not start: install the package nginx-light")

    def close(self):
        self._nginx.terminate()
        self._nginx.wait()

    def target(self):
        """Of one case: port, command for a relay's port, environment, and what is stored then."""
        name = "document-%06d" % next(self._numbers)
        stored = os.path.join(self._folder, "stored", name)

        def command(port):
            return ["curl", "-sSf", "-o", "/dev/null", "-T", os.path.join(self._folder, "document"),
                    "http://127.0.0.1:%d/%s" % (port, name)], {}

        def held():
            if not os.path.exists(stored):
                return []
            with open(stored, "rb") as file:
                return [file.read()]

        return self.port, command, held, lambda: None


class IppBackend:
    name = "CUPS ipp backend"

    def __init__(self, folder):
        self._folder = folder
        if not os.access(IPP_BACKEND, os.X_OK):
            raise SystemExit("install the package cups-daemon: there is no " + IPP_BACKEND)

    def close(self):
        pass

    def target(self):
        printer = IppPrinter()

        def command(port):
            return ([IPP_BACKEND, "1", "user", "title", "1", "", os.path.join(self._folder, "document")],
                    {"DEVICE_URI": "ipp://127.0.0.1:%d/ipp/print" % port, "CONTENT_TYPE": "text/plain", "PRINTER": "q",
                     "FINAL_CONTENT_TYPE": "text/plain", "TMPDIR": self._folder})

        return printer.port, command, lambda: printer.documents, printer.close


def run_case(peer, kind=None, way=None, after=0):
    """The outcome in a word, and the bytes that passed."""
    target, command, held, close = peer.target()
    relay = Relay(target, kind, way, after)
    words, environment = command(relay.port)
    client = subprocess.Popen(words, env={**os.environ, **environment}, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL)
    try:
        status = client.wait(LIMIT_SECONDS)
    except subprocess.TimeoutExpired:
        status = None
        client.kill()
        client.wait()
    relay.close()
    documents = held()
    close()
    return outcome_of(status, documents), relay.passed


def outcome_of(status, documents):
    if status is None:
        return "still running"
    if status != 0:
        return "refused, stored" if documents else "refused"
    if not documents:
        return "false success"
    if any(document != DOCUMENT for document in documents):
        return "truncated"
    return "completed" if len(documents) == 1 else "doubled"


def spread(count, wanted):
    return range(count) if count <= wanted else sorted({i * (count - 1) // (wanted - 1) for i in range(wanted)})


def sweep(peer, is_every, stride):
    outcome, passed = run_case(peer)
    if outcome != "completed":
        print("%s: without a fault it is %s" % (peer.name, outcome), file=sys.stderr)
        return [], 1
    cases = []
    for kind in KINDS:
        for way in WAYS:
            positions = range(0, passed[way], stride) if is_every else spread(passed[way], 4)
            cases += [(kind, way, after) for after in positions]
    with concurrent.futures.ThreadPoolExecutor(WORKERS) as pool:
        outcomes = list(pool.map(lambda case: (case[0], run_case(peer, *case)[0]), cases))
    for case, (_, outcome) in zip(cases, outcomes):
        if outcome in ("false success", "truncated", "doubled"):
            print("%s: %s %s after %d bytes: %s" % (peer.name, *case, outcome), file=sys.stderr)
    return outcomes, 0


def report(name, outcomes, failures):
    columns = ("completed", "refused", "refused, stored", "false success", "truncated", "doubled", "still running")
    for kind in KINDS:
        count = collections.Counter(outcome for done, outcome in outcomes if done == kind)
        total = sum(count.values())
        refused = count["refused"] + count["refused, stored"]
        print("sweep|%s, %s|%d|%d|%d|%d" % (name, kind, total, count["completed"], refused, failures))
        print("peer|%s, %s|%d|%s" % (name, kind, total, "|".join(str(count[column]) for column in columns)))


def enter_own_network():
    """Thousands of connections take nobody's ports."""
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.unshare(0x40000000) == 0:
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)


def main():
    if len(sys.argv) not in (2, 3) or sys.argv[2:] not in ([], ["--every"]):
        raise SystemExit(__doc__)
    enter_own_network()
    failures = 0
    for make, stride in ((CurlToNginx, 1), (IppBackend, 8)):
        with tempfile.TemporaryDirectory() as folder:
            with open(os.path.join(folder, "document"), "wb") as out:
                out.write(DOCUMENT)
            peer = make(folder)
            try:
                outcomes, failed = sweep(peer, "--every" in sys.argv, stride)
            finally:
                peer.close()
            report(peer.name, outcomes, failed)
            failures += failed
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
