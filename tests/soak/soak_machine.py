# SPDX-License-Identifier: MIT
"""The machine of a soak: cupsd, the server, users with an agent each, displays that several of them share."""

import hashlib
import os
import re
import subprocess
import threading

import installed_system
from desktop_session import DesktopSession
from private_machine import USERS, as_user, run, start, start_cupsd, start_display, wait_until
from spool_view import SPOOL, contents, spool_of
from window_hands import WindowHands, title_of

USERS_PER_DISPLAY = 10
CUPSD_SETTINGS = "LogLevel info\nPreserveJobHistory No\nPreserveJobFiles No\nMaxClients 200\n"
# The machine's directory, which the program asks when the user's own does not answer: it answers nobody, so that a print
# that is hurt ends with a box and not in a directory whose windows nobody expects.
NOBODY = "127.0.0.1:9;directory:nobody"
# A session of a document that waits for its user is to end while the soak can see it.
SESSION_SECONDS = 15
# What the agent starts: notes what it is given, and becomes the program with a log.
SEND = """#!/bin/sh
for word; do
  case $previous in -d) title=$word ;; -f) file=$word ;; esac
  previous=$word
done
sha256sum <"$file" >"$HOME/sent/$title.sha256"
exec /usr/lib/varek/bin/vrp "$@" -l "$HOME/sent/$title.log"
"""


class SoakUser:
    def __init__(self, name, display):
        self.name = name
        # A third of the users each: with the portal, without it, to a tunnel service. One mode, so that nobody is asked.
        self.mode = list(installed_system.MODES)[USERS[name] % len(installed_system.MODES)]
        self.password = "Secret-of-" + name
        self.home = "/home/" + name
        self.session = DesktopSession.on_display(name, display, self.password)
        self._stored = {word: installed_system.stored_form(word) for word in (self.password, "wrong")}
        self.write_settings()
        self._write("bin/send", SEND, 0o755)
        run(*as_user(name, "mkdir", self.home + "/sent"))
        self.start_agent()

    def _write(self, path, text, mode):
        path = os.path.join(self.home, path)
        run(*as_user(self.name, "mkdir", "-p", os.path.dirname(path)))
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        os.chown(path, USERS[self.name], USERS[self.name])
        os.chmod(path, mode)

    def write_settings(self, password=None, directory=None):
        """What the user has saved. An empty password is asked for."""
        password = self.password if password is None else password
        stored = '"%s"' % self._stored[password] if password else '""'
        self._write(".config/Varek Systems/VarekPrint.conf",
                    '[Settings]\nIdentifier="%s"\nPassword=%s\nCheckVersion="no"\n\n[ServerDirectories]\n'
                    'Sdir1="127.0.0.1:1082;directory:%s"\n' % (self.name, stored, directory or self.mode), 0o600)

    def start_agent(self):
        self.agent = self.session.start_agent("--watch", "--program", self.home + "/bin/send")

    def sent(self, title, kind):
        """What the started program left: its log, or the hash of what it was given. Nothing before it was started."""
        path = "%s/sent/%s.%s" % (self.home, title, kind)
        return contents(path).decode("utf-8", "replace") if os.path.exists(path) else ""

    def program(self, title):
        """The process that sends a document."""
        return next((int(process) for process in filter(str.isdigit, os.listdir("/proc")) if title_of(process) == title
                     and os.readlink("/proc/%s/exe" % process).endswith("/vrp")), None)

    def waits(self):
        """What is in the spool folder and has not been dealt with."""
        return [name for name in os.listdir(spool_of(self.name)) if name not in ("agent.lock", "failed")] \
            if os.path.isdir(spool_of(self.name)) else []

    def take_failed(self):
        """Looks after the documents that the agent has kept: their titles."""
        folder = os.path.join(spool_of(self.name), "failed")
        found = []
        for name in sorted(os.listdir(folder)) if os.path.isdir(folder) else []:
            path = os.path.join(folder, name)
            if name.endswith(".ticket"):
                found += re.findall("^title=(.*)$", contents(path).decode(), re.M)
            os.remove(path)
        return found


class SoakMachine:
    def __init__(self):
        installed_system.install_files()
        os.makedirs(SPOOL, exist_ok=True)
        run("mount", "-t", "tmpfs", "-o", "size=200m,mode=0711", "spool", SPOOL)
        self.cupsd = start_cupsd(CUPSD_SETTINGS)
        self.server = installed_system.start_server()
        installed_system.trust_server()
        installed_system.open_portal_without_tls(self.server)
        self._async_parameters = installed_system.offer_one_mode_each(self.server)["async"]
        installed_system.configure_server(self.server, "[Limits]\nSessionIdleSeconds=%d" % SESSION_SECONDS)
        installed_system.install_queue(NOBODY)
        self.left_alone = set()
        self.lock = threading.RLock()
        displays = [start_display(number + 1) for number in range(-(-len(USERS) // USERS_PER_DISPLAY))]
        for display in displays:
            start("openbox", env={**os.environ, "DISPLAY": display}, stderr=subprocess.DEVNULL)
        self.users = [SoakUser(name, displays[number // USERS_PER_DISPLAY]) for number, name in enumerate(USERS)]
        for user in self.users:
            installed_system.add_user(user.name, user.password)
        self._hands = [WindowHands(display, self._password_of, self.left_alone) for display in displays]
        for hands in self._hands:
            hands.start()

    def _password_of(self, title):
        return next(user.password for user in self.users if title.endswith(user.name))

    def hands_of(self, user):
        return self._hands[self.users.index(user) // USERS_PER_DISPLAY]

    def boxes(self, title):
        return sum(hands.boxes.get(title, 0) for hands in self._hands)

    def position_of(self, user, titles):
        """What changes while documents go on: the queue's jobs, the user's spool, the logs of the programs."""
        return sorted(os.listdir("/var/spool/cups")), user.waits(), [len(user.sent(title, "log")) for title in titles]

    def where_it_stands(self, user, title):
        """What there is to be seen of a print that does not go on."""
        log = user.sent(title, "log").split("\n")
        return "%s: program %s, windows %s, spool %s, queue %r, log ends %s" % (
            title, user.program(title), self.hands_of(user).shown_for(title), user.waits(), run("lpstat", "-o"), log[-4:])

    def relayed_directory(self, name, kind, after_bytes):
        """A directory whose upload server is reached through a relay with a fault; its name and the relay."""
        relay = subprocess.Popen([installed_system.build_tool("fault_relay"), "1082", kind, str(after_bytes)],
                                 stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        port = relay.stdout.readline().decode().strip()
        parameters = re.sub("^SERVER_UPLOAD_PORT=.*$", "SERVER_UPLOAD_PORT=" + port, self._async_parameters, flags=re.M)
        with self.lock:
            installed_system.configure_server(self.server, "[Directory %s]\n\n[Parameters %s]\n%s" % (name, name, parameters))
        return name, relay

    def crash_server(self):
        """Kills the server and starts it again."""
        with self.lock:
            self.server.kill()
            self.server.wait()
            self.server = installed_system.start_server()

    def restart_cupsd(self):
        with self.lock:
            self.cupsd.terminate()
            self.cupsd.wait()
            self.cupsd = start_cupsd(CUPSD_SETTINGS)

    def is_intact(self, user, title, rows):
        """Whether the only document of this title is what the program was given, byte by byte."""
        given = user.sent(title, "sha256").split(" ")[0]
        stored = hashlib.sha256(installed_system.contents_on_server(rows[0])).hexdigest()
        return len(rows) == 1 and rows[0]["owner"] == user.name and stored == given

    def end(self):
        for hands in self._hands:
            hands.end()
        for user in self.users:
            user.agent.terminate()
            wait_until(lambda: user.agent.poll() is not None, "the agent of %s ends" % user.name)
