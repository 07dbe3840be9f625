# SPDX-License-Identifier: MIT
"""A user's desktop session on the private machine: a display of its own, a browser and notifications that are recorded,
and hands that answer the program's dialogs."""

import os
import re
import subprocess

from private_machine import USERS, as_user, start, start_display, wait_until

AGENT = "/usr/bin/varek-agent"


class DesktopSession:
    def __init__(self, user, number, password):
        self._begin(user, password, start_display(number))
        start(*as_user(user, "openbox", DISPLAY=self.display), stderr=subprocess.DEVNULL)
        wait_until(lambda: self._answer("xprop", "-root", "_NET_SUPPORTING_WM_CHECK").find("0x") >= 0,
                   "the window manager runs")

    @classmethod
    def on_display(cls, user, display, password):
        """A session that shares a display with others."""
        session = cls.__new__(cls)
        session._begin(user, password, display)
        return session

    def _begin(self, user, password, display):
        self.user = user
        self.password = password
        self.is_known = False  # the program keeps the identifier and asks for the password alone
        self.home = "/home/" + user
        self.display = display
        self.variables = {"DISPLAY": self.display, "PATH": self.home + "/bin:/usr/bin:/bin",
                          "XDG_RUNTIME_DIR": self._runtime_folder()}
        self._record("xdg-open", "address")
        self._record("notify-send", "notices")

    def _runtime_folder(self):
        folder = "/run/user/%d" % USERS[self.user]
        os.makedirs(folder)
        os.chown(folder, USERS[self.user], USERS[self.user])
        os.chmod(folder, 0o700)
        return folder

    def _record(self, program, name):
        """Puts a program on the session's PATH that appends its arguments, a line each, to a file in the home folder."""
        folder = os.path.join(self.home, "bin")
        os.makedirs(folder, exist_ok=True)
        path = os.path.join(folder, program)
        with open(path, "w", encoding="utf-8") as file:
            file.write("#!/bin/sh\nprintf '%%s\\n' \"$@\" >>%s/%s\n" % (self.home, name))
        os.chmod(path, 0o755)

    def recorded(self, name):
        path = os.path.join(self.home, name)
        if not os.path.exists(path):
            return ""
        with open(path, encoding="utf-8") as file:
            return file.read()

    def _answer(self, *command):
        done = subprocess.run(command, env={**os.environ, "DISPLAY": self.display}, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, check=False)
        return done.stdout.decode()

    def command(self, *words):
        """The command line that runs a command in this session."""
        return as_user(self.user, *words, **self.variables)

    def start_agent(self, *arguments):
        return start(*self.command(AGENT, *arguments))

    def windows(self, title):
        return self._answer("xdotool", "search", "--onlyvisible", "--name", "^%s$" % re.escape(title)).split()

    def activate(self, title):
        wait_until(lambda: self.windows(title), "%s sees the window '%s'" % (self.user, title))
        self._answer("xdotool", "windowactivate", "--sync", self.windows(title)[0])

    def wait_for_focus(self, title):
        """Waits until a window has the focus without anybody's doing; gives its number."""
        return wait_until(lambda: self._focused(title),
                          "%s finds the focus in '%s'" % (self.user, title))

    def _focused(self, title):
        number = self._answer("xdotool", "getactivewindow").strip()
        return number if self._answer("xdotool", "getwindowname", number).strip() == title else None

    def press(self, *keys):
        self._answer("xdotool", "key", *keys)

    def type(self, text):
        self._answer("xdotool", "type", text)

    def log_in(self):
        self.activate("Varek print - identifier")
        if not self.is_known:
            self.type(self.user)
            self.press("Tab")
        self.type(self.password)
        self.press("Return")
        self.is_known = True

    def choose_standard_mode(self):
        self.activate("Varek print - mode")
        self.press("Return")
