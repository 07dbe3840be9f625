#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The clock jumps by an hour in mid-upload, in the program or in the server, and either of them is stopped for a long
time in mid-upload. The clock is that of libfaketime (Debian's package faketime), which reads the jump from a file.

A stop of ten minutes is played twenty times faster: it lasts 30 s, and the library's time-outs (30 s without a byte,
10 minutes for an answer) are shortened to 1.5 s and 30 s by its variables for tests. --real N stops for N seconds with
the time-outs as they are."""

import os
import random
import signal
import subprocess
import sys
import time

# Comes first: it says where the modules of the printing tests are.
from traced_runs import run_sweep

from print_system import Desk, Server
from private_machine import wait_until
from send_faults import DOCUMENT

FAKETIME = "/usr/lib/x86_64-linux-gnu/faketime/libfaketimeMT.so.1"
JUMPS = ("+3600", "-3600")
LONG_BYTES = 40_000_000
SHORTENED = {"VRC_STALL_TIMEOUT_MS": "1500", "VRC_ANSWER_TIMEOUT_MS": "30000"}


class Clock:
    """The clock of one process."""

    def __init__(self, name):
        self.path = "/tmp/clock-of-" + name
        self.jump("+0")

    def jump(self, seconds):
        with open(self.path + ".new", "w", encoding="utf-8") as file:
            file.write(seconds + "\n")
        os.rename(self.path + ".new", self.path)

    def seconds(self):
        """What a process with this clock reads."""
        done = subprocess.run(["date", "+%s"], env={**os.environ, **self.variables()}, stdout=subprocess.PIPE, check=True)
        return int(done.stdout)

    def variables(self):
        return {"LD_PRELOAD": FAKETIME, "FAKETIME_TIMESTAMP_FILE": self.path, "FAKETIME_NO_CACHE": "1",
                "FAKETIME_DONT_FAKE_MONOTONIC": "1"}


class Upload:
    """A long upload that is stopped somewhere in its middle by `at`, the part of the document that has arrived."""

    def __init__(self, server, desk, document, variables):
        self.server = server
        self.desk = desk
        self.document = document
        self.desk.renew()
        self.before = server.documents()
        self.process = desk.start(desk.put_document(document), **variables)

    def arrived(self):
        """The bytes on the server, in the largest file of a session."""
        sizes = [0]
        for path in self.server.files_of_sessions():
            try:
                sizes.append(os.stat(path).st_size)
            except FileNotFoundError:
                pass
        return max(sizes)

    def wait_for(self, part):
        wait_until(lambda: self.arrived() >= part * len(self.document) or self.process.poll() is not None,
                   "the upload is in its middle")
        assert self.process.poll() is None, "the upload ended before its middle"

    def finish(self, seconds=90):
        """Whether the program says that it has sent the document, and what is wrong with that."""
        try:
            self.process.communicate(timeout=seconds)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.communicate()
            return False, ["did not end within %d s" % seconds]
        new = [data for name, data in self.server.documents().items() if name not in self.before]
        sent = self.desk.says_sent()
        complaints = self.server.faults([self.document, DOCUMENT]) + self.desk.store_faults()
        if sent != (new == [self.document]):
            complaints.append("says %s, and %d documents arrived" % ("sent" if sent else "not sent", len(new)))
        if self.desk.files() not in (["runtime-root"], []):
            complaints.append("left behind: %s" % self.desk.files())
        return sent, complaints

    def next_print(self):
        before = self.server.documents()
        self.desk.renew()
        self.desk.send(self.desk.put_document(DOCUMENT))
        new = [data for name, data in self.server.documents().items() if name not in before]
        return [] if new == [DOCUMENT] else ["the next print did not work: %s" % self.desk.log()[-300:]]


def stop(pids):
    for pid in pids:
        os.kill(pid, signal.SIGSTOP)


def go_on(pids):
    for pid in pids:
        os.kill(pid, signal.SIGCONT)


def jump_case(report, server, desk, document, whose, seconds, part):
    clocks = {"program": Clock("program"), "server": Clock("server")}
    server.stop()
    server.forget_documents()
    server.start(env={**os.environ, **clocks["server"].variables()})
    upload = Upload(server, desk, document, clocks["program"].variables())
    upload.wait_for(part)
    stop(desk.processes())  # for as long as the clock is set, so that it is in mid-upload for sure
    clocks[whose].jump(seconds)
    assert abs(clocks[whose].seconds() - time.time() - int(seconds)) < 60, "the clock did not jump"
    go_on(desk.processes())
    sent, complaints = upload.finish()
    if not sent:
        complaints.append("the jump ended the upload: %s" % desk.log()[-300:])
    complaints += upload.next_print()
    report.add("clock of the " + whose, sent, complaints, "%s s at %.2f" % (seconds, part))


def stop_case(report, server, desk, document, whose, seconds, part, variables):
    server.stop()
    server.forget_documents()
    server.start()
    upload = Upload(server, desk, document, variables)
    upload.wait_for(part)
    victims = desk.processes() if whose == "program" else server.processes()
    stop(victims)
    time.sleep(seconds)  # the time that passes is what this case is about
    go_on(victims)
    started = time.monotonic()
    sent, complaints = upload.finish()
    print("%s stopped for %s s: %s, %.1f s after it went on" %
          (whose, seconds, "sent" if sent else "not sent", time.monotonic() - started), file=sys.stderr)
    complaints += upload.next_print()
    report.add(whose + " stopped", sent, complaints, "%s s at %.2f" % (seconds, part))


def sweep(report, every):
    if not os.path.exists(FAKETIME):
        sys.exit("needs the package faketime")
    server = Server()
    server.start()
    desk = Desk()
    document = b"%PDF-1.4\n" + random.Random(7).randbytes(LONG_BYTES)
    if "--real" in sys.argv:
        stop_case(report, server, desk, document, "program", int(sys.argv[sys.argv.index("--real") + 1]), 0.3, {})
        server.stop()
        return
    parts = [0.05 + 0.1 * number for number in range(9)] if every else [0.4]
    for part in parts:
        for whose in ("program", "server"):
            for seconds in JUMPS:
                jump_case(report, server, desk, document, whose, seconds, part)
    for part in parts[::3]:
        for whose in ("program", "server"):
            stop_case(report, server, desk, document, whose, 30 if every else 8, part, SHORTENED)
    server.stop()


if __name__ == "__main__":
    run_sweep(sweep)
