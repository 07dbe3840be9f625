# SPDX-License-Identifier: MIT
"""A server and a desk with the program, on a private machine: what the sweeps over whole processes print with."""

import glob
import os
import re
import shutil
import signal
import sqlite3
import subprocess

from private_machine import build_dir, run, start_display, wait_until

PASSWORD = "a secret of the sweep"
DIRECTORY = "127.0.0.1:1082;directory:demo"
# The toolkit waits half a minute for the lock of a program that died while it took it.
LIMIT_SECONDS = 60


def contents(path):
    with open(path, "rb") as file:
        return file.read()


class Server:
    """vrserver with its data in /srv/varek, on the same port after every start."""

    DATA = "/srv/varek"
    COMMAND = ("/opt/varek/bin/vrserver", "--data", DATA, "--port", "1082", "--portal-port", "1083")

    def __init__(self):
        self.process = None
        os.makedirs(self.DATA, mode=0o700)
        os.makedirs("/opt/varek/Frameworks")
        shutil.copytree(os.path.join(build_dir(), "bin"), "/opt/varek/bin")
        for library in glob.glob(os.path.join(build_dir(), "Frameworks/*.so")):
            shutil.copy(library, "/opt/varek/Frameworks")
        self.start()
        self.stop()
        with open(self.DATA + "/vrserver.ini", "a", encoding="utf-8") as file:
            file.write("\n[Profile demo]\nPrintingModes=ASYNC\n")
        subprocess.run([self.COMMAND[0], "--data", self.DATA, "user", "add", "alice"], input=PASSWORD.encode() + b"\n",
                       check=True)
        shutil.copy(self.DATA + "/vrc-ca.pem", "/opt/varek/Frameworks")

    def start(self, **settings):
        with open("/tmp/server.txt", "wb") as log:
            self.process = subprocess.Popen(self.COMMAND, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                            **settings)
        wait_until(lambda: b"\nready\n" in contents("/tmp/server.txt") or self.process.poll() is not None,
                   "the server is ready")

    def stop(self, number=signal.SIGTERM):
        """Ends the server; gives its exit status."""
        if self.process.poll() is None:
            self.process.send_signal(number)
        return self.process.wait(LIMIT_SECONDS)

    def kill(self):
        for process in self.processes():
            os.kill(process, signal.SIGKILL)
        self.process.wait(LIMIT_SECONDS)

    @staticmethod
    def processes():
        done = subprocess.run(["pgrep", "-x", "vrserver"], stdout=subprocess.PIPE, check=False)
        return [int(word) for word in done.stdout.split()]

    def documents(self):
        """The stored documents by identifier."""
        database = sqlite3.connect("file:%s/vrserver.db?mode=ro" % self.DATA, uri=True, timeout=30)
        try:
            rows = database.execute("SELECT id, format FROM documents").fetchall()
        finally:
            database.close()
        return {row[0]: contents("%s/documents/%s.%s" % (self.DATA, *row)) for row in rows}

    def faults(self, known):
        """What is wrong with the data folder; `known` is every document that anybody ever sent."""
        complaints = []
        database = sqlite3.connect(self.DATA + "/vrserver.db", timeout=30)
        try:
            answer = database.execute("PRAGMA integrity_check").fetchall()
        finally:
            database.close()
        if answer != [("ok",)]:
            complaints.append("the database is damaged: %s" % answer)
        stored = self.documents()
        complaints += ["a stored document is none that was sent (%d bytes)" % len(data) for data in stored.values()
                       if data not in known]
        files = {name.split(".")[0] for name in os.listdir(self.DATA + "/documents")}
        if files != set(stored):
            complaints.append("files that are no documents: %s" % sorted(files ^ set(stored)))
        return complaints

    def forget_documents(self):
        """Makes room after long documents; the server is stopped."""
        database = sqlite3.connect(self.DATA + "/vrserver.db", timeout=30)
        with database:
            database.execute("DELETE FROM documents")
        database.close()
        for name in os.listdir(self.DATA + "/documents"):
            os.remove(os.path.join(self.DATA, "documents", name))

    def files_of_sessions(self):
        return [os.path.join(folder, name) for folder, _, names in os.walk(self.DATA + "/sessions") for name in names]


class Desk:
    """A user's stores, documents and display; the program runs in silence unless told otherwise."""

    FOLDER = "/tmp/desk"
    PROGRAM = "/opt/varek/bin/vrp"

    def __init__(self):
        self.environment = {**os.environ, "DISPLAY": start_display(7), "HOME": self.FOLDER, "TMPDIR": self.FOLDER,
                            "XDG_CONFIG_HOME": self.FOLDER + "/user", "XDG_CONFIG_DIRS": self.FOLDER + "/machine",
                            "DBUS_SESSION_BUS_ADDRESS": "disabled:", "QT_QPA_PLATFORM": "xcb"}
        for name in ("user/Company", "machine/Varek Systems"):
            os.makedirs(os.path.join(self.FOLDER, name))
        self._write("machine/Varek Systems/Vrp.conf",
                    "[Printers]\nQueue\\Company=Company\nQueue\\Software=Software\n")
        self._write("user/Company/Software.conf", '[ServerDirectories]\nSdir1="%s"\n' % DIRECTORY)
        run(os.path.join(build_dir(), "tests/store_credentials"), "Company", "Software", "alice", PASSWORD,
            env=self.environment)
        shutil.copytree(self.FOLDER, "/tmp/desk-template")

    def _write(self, name, text):
        with open(os.path.join(self.FOLDER, name), "w", encoding="utf-8") as file:
            file.write(text)

    def renew(self):
        """Stores and folder as before the first print."""
        for name in os.listdir(self.FOLDER):
            path = os.path.join(self.FOLDER, name)
            shutil.rmtree(path) if os.path.isdir(path) else os.remove(path)
        shutil.copytree("/tmp/desk-template", self.FOLDER, dirs_exist_ok=True)

    def put_document(self, data, name="job"):
        path = os.path.join(self.FOLDER, name)
        with open(path, "wb") as file:
            file.write(data)
        return path

    def command(self, document, mode="send"):
        named = ["-f", document] if document else []
        return [self.PROGRAM, "-m", mode, "-s", "-p", "Queue", "-d", "Title", "-l", self.FOLDER + "/log.txt", *named]

    def start(self, document, prefix=(), mode="send", **variables):
        return subprocess.Popen([*prefix, *self.command(document, mode)], env={**self.environment, **variables},
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, cwd="/")

    def send(self, document, prefix=(), mode="send", **variables):
        """Runs the program; its exit status (None when it did not end in time) and what it printed."""
        process = self.start(document, prefix, mode, **variables)
        try:
            output = process.communicate(timeout=LIMIT_SECONDS)[0]
            return process.returncode, output.decode("utf-8", "replace")
        except subprocess.TimeoutExpired:
            for number in self.processes():
                os.kill(number, signal.SIGKILL)
            process.communicate()
            return None, ""

    @staticmethod
    def processes():
        done = subprocess.run(["pgrep", "-x", "vrp"], stdout=subprocess.PIPE, check=False)
        return [int(word) for word in done.stdout.split()]

    def log(self):
        path = self.FOLDER + "/log.txt"
        return contents(path).decode("utf-8", "replace") if os.path.exists(path) else ""

    def says_sent(self):
        return "File has been sent to the upload server" in self.log()

    def files(self):
        """What lies in the folder besides stores and log."""
        return sorted(name for name in os.listdir(self.FOLDER) if name not in ("user", "machine", "log.txt"))

    def store_faults(self):
        """What is wrong with the stores: they hold whole lines, and what an installation put into them."""
        complaints = []
        for name, needed in (("machine/Varek Systems/Vrp.conf", r"^Queue\\Company=Company$"),
                             ("user/Company/Software.conf", r"^Identifier=alice$")):
            text = contents(os.path.join(self.FOLDER, name)).decode("utf-8", "replace")
            if not re.search(needed, text, re.M):
                complaints.append("%s lost its entries" % name)
            bad = [line for line in text.splitlines() if line and not re.match(r"\[.*\]$|[^=]+=", line)]
            if bad or not text.endswith("\n"):
                complaints.append("%s holds half a line" % name)
        return complaints
