# SPDX-License-Identifier: MIT
"""The server in its data folder, that something happens to: a first start, a later one, an upload, administration."""

import ctypes
import os
import re
import shutil
import signal
import sqlite3
import subprocess

from print_system import PASSWORD, Server, contents
from private_machine import wait_until
from send_faults import DOCUMENT, TEST_DOCUMENT, SendFaults
from traced_runs import TracedScenario, attached, recorded, recorder

DATA = "/srv/faulty"
SAID = "/tmp/faulty-server.txt"
PORTS = ("--port", "1092", "--portal-port", "1093")
NEW_PASSWORD = "another secret"
_SODIUM = ctypes.CDLL("libsodium.so.23")


def is_password(user, password):
    """Whether a user of the data folder has this password."""
    database = sqlite3.connect("file:%s/vrserver.db?mode=ro" % DATA, uri=True, timeout=30)
    try:
        row = database.execute("SELECT password_hash FROM users WHERE name = ?", (user,)).fetchone()
    finally:
        database.close()
    secret = password.encode()
    return row is not None and _SODIUM.crypto_pwhash_str_verify(
        row[0].encode(), secret, ctypes.c_ulonglong(len(secret))) == 0


def database_faults():
    if not os.path.exists(DATA + "/vrserver.db"):
        return []
    database = sqlite3.connect(DATA + "/vrserver.db", timeout=30)
    try:
        answer = database.execute("PRAGMA integrity_check").fetchall()
    finally:
        database.close()
    return [] if answer == [("ok",)] else ["the database is damaged: %s" % answer]


class _DataFolderFaults(TracedScenario):
    """A program of the server in a data folder of its own; what it says goes to a file, and is said in whole."""

    _template = "/srv/faulty-template"

    @staticmethod
    def environment():
        return None

    def concerns(self, call):
        return DATA in call.text or SAID in call.text

    def _make_template(self):
        """A data folder that a server has made; the password of its demo user is known."""
        if os.path.exists(self._template):
            return
        shutil.rmtree(DATA, ignore_errors=True)
        self._serve()
        shutil.copytree(DATA, self._template)
        shutil.copy(SAID, self._template + ".said")

    def _renew(self):
        self._make_template()
        shutil.rmtree(DATA, ignore_errors=True)
        shutil.copytree(self._template, DATA)

    def _first_password(self):
        return _shown_password(contents(self._template + ".said"))

    @staticmethod
    def _start_command(prefix=()):
        return [*prefix, Server.COMMAND[0], "--data", DATA, *PORTS]

    def _serve(self, prefix=()):
        """Starts the server; once it is ready it is ended as an administrator does. Its exit status, None when it hangs."""
        with open(SAID, "wb") as said:
            process = subprocess.Popen(self._start_command(prefix), stdin=subprocess.DEVNULL, stdout=said, stderr=said)
        try:
            wait_until(lambda: b"\nready\n" in contents(SAID) or process.poll() is not None, "the server is ready or gives up")
            if process.poll() is None:
                _end_all(signal.SIGTERM)
            return process.wait(60)
        except (AssertionError, subprocess.TimeoutExpired):
            _end_all(signal.SIGKILL)
            process.wait(60)
            return None

    def _faults_of_the_end(self, status):
        said = contents(SAID)
        complaints = [] if status in (0, 1) else ["ended with %s: %s" % (status, said)]
        if status == 1 and b"vrserver: " not in said:
            complaints.append("gave up without a word")
        return complaints + database_faults()


def _end_all(number):
    """The servers in the data folder of these sweeps; another one is running beside it."""
    found = subprocess.run(["pgrep", "-f", "^%s --data %s " % (Server.COMMAND[0], DATA)], stdout=subprocess.PIPE, check=False)
    for word in found.stdout.split():
        os.kill(int(word), number)


def _shown_password(said):
    found = re.search(rb"^demo password: (\S+)$", said, re.M)
    return found.group(1).decode() if found else None


class StartFaults(_DataFolderFaults):
    """A start, or the first one of all."""

    def __init__(self, name, is_first):
        self.name = name
        self.is_first = is_first
        self.shown = None

    def prepare(self):
        self._renew()
        self.shown = self._first_password()
        if self.is_first:
            shutil.rmtree(DATA)
            self.shown = None

    def record(self, names):
        self._serve(recorder(names))
        return recorded()

    @staticmethod
    def is_ready():
        return b"\nready\n" in contents(SAID)

    def _note_password(self):
        self.shown = _shown_password(contents(SAID)) or self.shown

    def check_undisturbed(self):
        self._note_password()
        assert self.is_ready() and is_password("demo", self.shown), contents(SAID)

    def run(self, prefix, call):
        status = self._serve(prefix)
        completed = self.is_ready()
        complaints = self._faults_of_the_end(status)
        self._note_password()
        if completed and not (self.shown and is_password("demo", self.shown)):
            complaints.append("ready, and nobody knows the demo user's password")
        return completed, complaints

    def run_again(self, completed):
        status = self._serve()
        self._note_password()
        complaints = self._faults_of_the_end(status)
        if status != 0 or not self.is_ready():
            complaints.append("the next start failed: %s" % contents(SAID))
        elif not (self.shown and is_password("demo", self.shown)):
            complaints.append("nobody knows the demo user's password")
        if completed and self.is_first and b"demo password" in contents(SAID):
            complaints.append("a start that was complete is repeated")
        return complaints + self._strangers()

    def _strangers(self):
        """Files that a start without a fault does not leave."""
        left = sorted(set(os.listdir(DATA)) - set(os.listdir(self._template)) - {"vrserver.db-wal", "vrserver.db-shm"})
        return ["left behind: %s" % left] if [name for name in left if not name.endswith(".new")] else []


class AdministrationFaults(_DataFolderFaults):
    """One command of the administrator, beside no server."""

    FOLLOW = False
    name = "server, administration"

    def __init__(self, words, typed=""):
        self.words = words
        self.typed = typed
        self.reference = None

    def prepare(self):
        self._renew()

    def command(self, prefix=()):
        line = 'exec "$@" >%s 2>&1 </tmp/typed' % SAID
        return ["sh", "-c", line, "sh", *prefix, Server.COMMAND[0], "--data", DATA, *self.words]

    def _run(self, prefix=()):
        with open("/tmp/typed", "w", encoding="utf-8") as typed:
            typed.write(self.typed)
        return subprocess.run(self.command(prefix), check=False, timeout=60).returncode

    def record(self, names):
        with open("/tmp/typed", "w", encoding="utf-8") as typed:
            typed.write(self.typed)
        return super().record(names)

    def check_undisturbed(self):
        self.reference = contents(SAID)
        assert self._effect() == "after", self.reference

    def _effect(self):
        """What the folder holds: the state before the command, after it, or something else."""
        before = is_password("demo", self._first_password()) and not is_password("ada", NEW_PASSWORD)
        if self.words[:2] == ["user", "add"]:
            return "before" if before else "after" if is_password("ada", NEW_PASSWORD) else "something else"
        if self.words[:2] == ["user", "passwd"]:
            return "before" if before else "after" if is_password("demo", NEW_PASSWORD) else "something else"
        return "after" if before else "something else"

    def run(self, prefix, call):
        status = self._run(prefix)
        completed = status == 0
        complaints = self._faults_of_the_end(status)
        effect = self._effect()
        if effect == "something else" or (completed and effect != "after"):
            complaints.append("status %d, and the users are as %s it" % (status, effect))
        if completed and contents(SAID) != self.reference:
            complaints.append("success with another list: %s" % contents(SAID))
        if NEW_PASSWORD.encode() in contents(SAID):
            complaints.append("the password is told")
        return completed, complaints

    def run_again(self, completed):
        if self.words[:2] == ["user", "add"] and self._effect() == "after":
            return []
        status = self._run()
        good = status == 0 and self._effect() == "after" and contents(SAID) == self.reference
        return [] if good else ["the next command ended with %d: %s" % (status, contents(SAID))]


class UploadFaults(SendFaults):
    """A send by the real program, and the server's file operations fail. The tracer comes once the server is ready: its
    threads count their calls from then on."""

    def __init__(self, server, desk):
        super().__init__("send", server, desk)
        self.name = "server, upload"

    def prepare(self):
        # Anew for each: a server that has stored a document reads less for the next one.
        self.server.stop()
        self.server.start()
        super().prepare()

    def concerns(self, call):
        return Server.DATA in call.text

    def record(self, names):
        with attached(recorder(names), self.server.process.pid):
            self.desk.send(self.document)
        return recorded()

    def run(self, prefix, call):
        with attached(prefix, self.server.process.pid):
            status, output = self.desk.send(self.document)
        new = self.new_documents()
        completed = self.desk.says_sent()
        complaints = self.faults_of_the_end(status, output, completed, new)
        if self.server.process.poll() is not None:
            complaints.append("the server ended with %d" % self.server.process.returncode)
            self.server.start()
        complaints += self.server.faults([DOCUMENT, TEST_DOCUMENT])
        if PASSWORD.encode() in contents("/tmp/server.txt"):
            complaints.append("the server tells the password")
        return completed, complaints + self.desk.store_faults()


def server_scenarios(server, desk):
    """All of them; the server of the uploads is running."""
    return [StartFaults("server, first start", True), StartFaults("server, start", False), UploadFaults(server, desk),
            AdministrationFaults(["user", "add", "ada"], NEW_PASSWORD + "\n"),
            AdministrationFaults(["user", "passwd", "demo"], NEW_PASSWORD + "\n"),
            AdministrationFaults(["user", "list"]), AdministrationFaults(["documents"])]
