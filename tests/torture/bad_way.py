# SPDX-License-Identifier: MIT
"""What stands between a program and its server in the sweep over the whole program: a door, behind it a server that is bad."""

import contextlib
import os
import re
import socket
import subprocess
import sys
import threading

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "soak"))

# pylint: disable=wrong-import-position
from print_system import DIRECTORY, Desk, Server, contents
from private_machine import build_dir
from window_hands import Hands
# pylint: enable=wrong-import-position

PROXY_CREDENTIALS = "Varek print - proxy"

DOOR = 1099
PLAIN_PORT = 1084


class Door:
    """A port that never changes, before a server that is another one in each case."""

    def __init__(self):
        self.target = 0
        self._listener = socket.create_server(("127.0.0.1", DOOR))
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


class CancellingHands(Hands):
    """Those of a user who knows no proxy and no password for it."""

    def answer(self):
        for window, _ in self.windows(PROXY_CREDENTIALS):
            self.press(window, "Escape")


@contextlib.contextmanager
def cancelling(display):
    hands = CancellingHands(display)
    hands.start()
    try:
        yield
    finally:
        hands.end()
