# SPDX-License-Identifier: MIT
"""The server is killed during a short print, and server or program at random moments of a long one."""

import os
import random
import signal
import time

from print_system import Desk
from send_faults import DOCUMENT
from traced_runs import attached, injector, recorded, recorder, spread, was_injected, without_repetitions

LONG_BYTES = 24_000_000


class ServerKills:
    """Each case starts the server, has strace kill it at one call of a print, and starts it once more."""

    def __init__(self, scenario, names):
        self.server = scenario.server
        self.desk = scenario.desk
        self.names = names

    def _record(self):
        self.server.start()
        with attached(recorder(self.names), self.server.process.pid):
            self._send()
        self.server.stop()
        return [call for call in recorded() if _changes_something(call)]

    def _send(self):
        self.desk.renew()
        status, _ = self.desk.send(self.desk.put_document(DOCUMENT))
        return status

    def sweep(self, report, count):
        self.server.stop()
        for call in spread(without_repetitions(self._record(), 2), count):
            before = self.server.documents()
            self.server.start()
            with attached(injector(call, "signal=KILL"), self.server.process.pid):
                status = self._send()
            said_sent = self.desk.says_sent()
            came = self.server.process.poll() is not None or was_injected()
            self.server.kill()
            complaints = after_the_kill(self, before, said_sent, status, [DOCUMENT])
            if came or complaints:
                report.add("server at a call", said_sent, complaints, "killed at %s" % call)
            else:
                report.miss("server at a call", str(call))
        self.server.start()


def _changes_something(call):
    changes = call.name != "openat" or "O_CREAT" in call.text
    return changes and ("/srv/varek" in call.text or call.name in ("accept4", "sendto", "recvfrom", "clone", "clone3",
                                                                   "listen", "bind", "shutdown"))


def after_the_kill(case, before, said_sent, status, known):
    """What is wrong after the server has died and started again; it is left stopped."""
    complaints = [] if status in (0, 1) else ["the program ended with %s" % status]
    # The file of a document that never got its row is deleted at a start, once it is ten minutes old.
    for name in os.listdir(case.server.DATA + "/documents"):
        os.utime(os.path.join(case.server.DATA, "documents", name), (time.time() - 1200,) * 2)
    case.server.start()
    complaints += case.server.faults(known)
    new = [name for name in case.server.documents() if name not in before]
    if said_sent and not new:
        complaints.append("a false success")
    if len(new) > 1:
        complaints.append("the document arrived %d times" % len(new))
    complaints += case.desk.store_faults()
    before = case.server.documents()
    case.desk.renew()
    case.desk.send(case.desk.put_document(DOCUMENT))
    after = case.server.documents()
    if [data for name, data in after.items() if name not in before] != [DOCUMENT]:
        complaints.append("the next print did not work: %s" % case.desk.log()[-300:])
    case.server.stop()
    return complaints


class _Case:
    def __init__(self, scenario):
        self.server = scenario.server
        self.desk = scenario.desk


def kill_at_moments(scenario, report, moments, count):
    """Program and server by turns, at moments spread evenly over a print of a document that does not compress."""
    case = _Case(scenario)
    document = b"%PDF-1.4\n" + random.Random(7).randbytes(LONG_BYTES)
    case.desk.renew()
    started = time.monotonic()
    case.desk.send(case.desk.put_document(document))
    seconds = time.monotonic() - started
    assert case.desk.says_sent(), case.desk.log()
    for number in range(count):
        victim = (Desk, case.server)[number % 2]
        moment = moments.random() * seconds
        case.desk.renew()
        before = case.server.documents()
        process = case.desk.start(case.desk.put_document(document))
        time.sleep(moment)  # the moment is what this case is about
        for victim_process in victim.processes():
            os.kill(victim_process, signal.SIGKILL)
        process.communicate(timeout=60)
        status = process.returncode if victim is case.server else 0
        said_sent = case.desk.says_sent()
        case.server.kill()
        complaints = after_the_kill(case, before, said_sent, status, [document, DOCUMENT])
        report.add(("program" if victim is Desk else "server") + " at a moment", said_sent, complaints,
                   "killed after %.3f of %.3f s" % (moment, seconds))
        case.server.forget_documents()
        case.server.start()
