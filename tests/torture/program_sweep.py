#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The whole program, in silence, against HTTP answers that are none in place of each answer of a send, and against servers
whose certificates must be refused. It ends in time with its documented status; it says that the document was sent only when
the server holds it; document, stores and folders are as after any send; nothing secret is told to anybody; and the next
send works. A user who is asked for a proxy's password cancels."""

import contextlib
import random
import re

# Comes first: it says where the modules of the printing tests are.
from traced_runs import is_chosen, run_sweep, share, spread

from bad_way import BadServer, DeskBeforeDoor, Door, ServerBehindDoor, cancelling
from print_system import PASSWORD, contents
from send_faults import DOCUMENT, SendFaults

SELECTED_OF_A_CLASS = 2
SEED = 20261121
# A silent server is given up sooner than in real life.
TIME_OUTS = {"VRC_STALL_TIMEOUT_MS": "2000", "VRC_ANSWER_TIMEOUT_MS": "2000"}


class ProgramSweep:
    def __init__(self, report):
        self.report = report
        self.bad = BadServer(Door())
        server = ServerBehindDoor()
        with open("/opt/varek/Frameworks/vrc-ca.pem", "a", encoding="utf-8") as file:
            file.write(self.bad.root)
        self.sends = SendFaults("send", server, DeskBeforeDoor())
        self.requests = self._count_requests()
        self.password = self.sends.desk.stored_password()
        assert self.password

    def _count_requests(self):
        self.sends.prepare()
        self.bad.stand(-1, 0)
        self.sends.desk.send(self.sends.document)
        requests, received = self.bad.leave()
        self.sends.check_undisturbed()
        assert received > 1000 and self.sends.new_documents() == [DOCUMENT]
        return requests

    def _send(self, way, request):
        """Whether it was sent, what is wrong, and how many bytes within TLS the bad server got."""
        self.sends.prepare()
        self.bad.stand(way, request)
        with self._user(way):
            status, output = self.sends.desk.send(self.sends.document, **TIME_OUTS)
        received = self.bad.leave()[1]
        sent = self.sends.desk.says_sent()
        complaints = self.sends.faults_of_the_end(status, output, sent, self.sends.new_documents())
        complaints += self.sends.desk.store_faults()
        if status != 0:
            complaints.append("ended with %s: %s" % (status, output))
        left = [name for name in self.sends.desk.files() if not name.startswith((".", "runtime-"))]
        if left:
            complaints.append("left behind: %s" % left)
        complaints += self._password_faults()
        if PASSWORD.encode() in contents("/tmp/server.txt"):
            complaints.append("the server tells the password")
        return sent, complaints, received

    def _user(self, way):
        """Only a 407 asks something of somebody."""
        return cancelling(self.sends.desk.environment["DISPLAY"]) if self.bad.ways[way][1] == "407" else contextlib.nullcontext()

    def _password_faults(self):
        """An upload server that nobody could log in to clears the password on purpose: the next send asks for it again.
        Not so when the user cancels."""
        _, attempt, outcome = self.sends.desk.log().rpartition(";upload\r\n")
        refused = attempt and " SUCCESS\r\n" not in outcome and "User canceled the operation\r\n" not in outcome
        expected = ["Password="] if refused else self.password
        kept = self.sends.desk.stored_password()
        return [] if kept == expected else ["the stored password is %s" % ("cleared" if kept == ["Password="] else kept)]

    def _next_send(self):
        if self.sends.desk.stored_password() != self.password:
            self.sends.desk.renew()  # nobody is there to type it
        self.bad.stand(-1, 0)
        complaints = self.sends.run_again(None)
        self.bad.leave()
        return complaints

    def answer(self, way, request):
        _, class_name, name = self.bad.ways[way]
        sent, complaints, _ = self._send(way, request)
        if not sent and not re.search(r"Varek error: LOCAL:REQUEST:1\d\d:", self.sends.desk.log()):
            complaints.append("refused without an error in the log: %s" % self.sends.desk.log()[-300:])
        self.report.add("answer: " + class_name, sent, complaints + self._next_send(), "%s, request %d" % (name, request))

    def impostor(self, way):
        _, name, error = self.bad.ways[way]
        sent, complaints, received = self._send(way, 0)
        if sent or received or self.sends.new_documents():
            complaints.append("%d bytes have left for a server that is not trusted" % received)
        if "Varek error: %s:" % error.replace("/", ":") not in self.sends.desk.log():
            complaints.append("refused with another error than %s: %s" % (error, self.sends.desk.log()[-300:]))
        self.report.add("certificate: " + name, sent, complaints + self._next_send(), "whole send")

    def _answers(self, every):
        """A way and a request for each case. In any order: a sweep that is stopped has seen some of everything."""
        every_one = [(number, request) for number, way in enumerate(self.bad.ways) if way[0] == "answer"
                     for request in range(1, self.requests + 1)]
        random.Random(SEED).shuffle(every_one)
        if every:
            return every_one
        by_class = {}
        for case in every_one:
            by_class.setdefault(self.bad.ways[case[0]][1], []).append(case)
        return [case for cases in by_class.values() for case in spread(cases, SELECTED_OF_A_CLASS)]

    def run(self, every):
        impostors = [number for number, way in enumerate(self.bad.ways) if way[0] == "impostor"]
        for way in share(impostors) if is_chosen("certificate") else ():
            self.impostor(way)
        for way, request in share(self._answers(every)) if is_chosen("answer") else ():
            self.answer(way, request)


def sweep(report, every):
    whole = ProgramSweep(report)
    whole.run(every)
    whole.sends.server.stop()


if __name__ == "__main__":
    run_sweep(sweep)
