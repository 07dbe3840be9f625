#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The whole program, in silence, against HTTP answers that are none in place of each answer of a send, and against servers
whose certificates must be refused. It ends in time with its documented status; it says that the document was sent only when
the server holds it; document, stores and folders are as after any send; nothing secret is told to anybody; and the next
send works."""

import os
import random
import re
import socket
import subprocess
import threading

# Comes first: it says where the modules of the printing tests are.
from traced_runs import is_chosen, run_sweep, spread

from print_system import DIRECTORY, PASSWORD, Desk, Server, contents
from private_machine import build_dir
from send_faults import DOCUMENT, SendFaults

DOOR = 1099
PLAIN_PORT = 1084
SELECTED_ANSWERS = 40
SEED = 20261121
# A silent server is given up sooner than in real life.
TIME_OUTS = {"VRC_STALL_TIMEOUT_MS": "2000", "VRC_ANSWER_TIMEOUT_MS": "2000"}


class Door:
    """A port that never changes, before a server that is another one in each case."""

    def __init__(self, port):
        self.target = 0
        self._listener = socket.create_server(("127.0.0.1", port))
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            client = self._listener.accept()[0]
            try:
                server = socket.create_connection(("127.0.0.1", self.target))
            except OSError:
                client.close()
                continue
            for ends in ((client, server), (server, client)):
                threading.Thread(target=self._pass, args=ends, daemon=True).start()

    @staticmethod
    def _pass(source, target):
        try:
            while data := source.recv(65536):
                target.sendall(data)
        except OSError:
            pass
        for end in (source, target):
            try:
                end.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass


class BadServer:
    """tests/torture/bad_server.cpp, which says how it is spoken to."""

    def __init__(self, door):
        self.door = door
        self._process = subprocess.Popen([os.path.join(build_dir(), "tests/bad_server"), str(PLAIN_PORT)],
                                         stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        lines = list(iter(lambda: self._process.stdout.readline().rstrip("\n"), ""))
        self.ways = [line.split("|") for line in lines if line.startswith(("answer|", "impostor|"))]
        self.root = "\n".join(lines[:-len(self.ways)]) + "\n"

    def _ask(self, line):
        self._process.stdin.write(line + "\n")
        self._process.stdin.flush()
        return [int(word) for word in self._process.stdout.readline().split()]

    def stand(self, way, request):
        self.door.target = self._ask("%d %d" % (way, request))[0]

    def leave(self):
        """How many requests and how many bytes within TLS came."""
        return self._ask("stop")


class ServerBehindDoor(Server):
    """Its directory leads the program through the door."""

    COMMAND = (*Server.COMMAND, "--plain-port", str(PLAIN_PORT))

    def __init__(self):
        super().__init__()
        path = self.DATA + "/vrserver.ini"
        text = contents(path).decode().replace("SERVER_UPLOAD_PORT={port}", "SERVER_UPLOAD_PORT=%d" % DOOR)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        self.start()


class DeskBeforeDoor(Desk):
    """Its first server directory is behind the door."""

    def __init__(self):
        super().__init__()
        path = "/tmp/desk-template/user/Company/Software.conf"
        text = contents(path).decode()
        assert DIRECTORY in text
        with open(path, "w", encoding="utf-8") as file:
            file.write(text.replace(DIRECTORY, DIRECTORY.replace("1082", str(DOOR))))

    def stored_password(self):
        return re.findall(r"^Password=.*$", contents(self.FOLDER + "/user/Company/Software.conf").decode(), re.M)


class ProgramSweep:
    def __init__(self, report):
        self.report = report
        self.bad = BadServer(Door(DOOR))
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

    def _password_faults(self):
        """An upload server that cannot be reached clears the password on purpose: the next send asks for it again."""
        kept = self.sends.desk.stored_password() == self.password
        may_be_cleared = "Varek connection: finally failed." in self.sends.desk.log()
        return [] if kept or may_be_cleared else ["the stored password is another one"]

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
        if not sent and not re.search(r"LOCAL/REQUEST|CODE=|\b1[0-9][0-9]\b", self.sends.desk.log()):
            complaints.append("refused without an error in the log: %s" % self.sends.desk.log()[-300:])
        self.report.add("answer: " + class_name, sent, complaints + self._next_send(), "%s, request %d" % (name, request))

    def impostor(self, way):
        _, name, error = self.bad.ways[way]
        sent, complaints, received = self._send(way, 0)
        if sent or received or self.sends.new_documents():
            complaints.append("%d bytes have left for a server that is not trusted" % received)
        if not re.search(r"\b%s\b" % error.rsplit("/", 1)[1], self.sends.desk.log()):
            complaints.append("refused with another error than %s: %s" % (error, self.sends.desk.log()[-300:]))
        self.report.add("certificate: " + name, sent, complaints + self._next_send(), "whole send")

    def run(self, every):
        answers = [(number, request) for number, way in enumerate(self.bad.ways) if way[0] == "answer"
                   for request in range(1, self.requests + 1)]
        random.Random(SEED).shuffle(answers)  # a sweep that is stopped has seen some of everything
        for number, way in enumerate(self.bad.ways):
            if way[0] == "impostor" and is_chosen("certificate"):
                self.impostor(number)
        for way, request in spread(answers, None if every else SELECTED_ANSWERS) if is_chosen("answer") else ():
            self.answer(way, request)


def sweep(report, every):
    whole = ProgramSweep(report)
    whole.run(every)
    whole.sends.server.stop()


if __name__ == "__main__":
    run_sweep(sweep)
