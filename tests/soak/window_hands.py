# SPDX-License-Identifier: MIT
"""Hands that answer the program's windows on one display, as a person would who sits there."""

import os
import subprocess
import threading

BOX = "Varek Printer"
CREDENTIALS = "Varek print - identifier"
XDOTOOL_SECONDS = 60


def arguments_of(process):
    try:
        with open("/proc/%s/cmdline" % process, "rb") as file:
            return file.read().decode("utf-8", "replace").split("\0")
    except OSError:
        return []


def title_of(process):
    """The title of the document that a program sends, or nothing."""
    words = arguments_of(process)
    return words[words.index("-d") + 1] if "-d" in words[:-1] else ""


class Hands(threading.Thread):
    """Looks for windows on one display, and answers them: answer() says how."""

    def __init__(self, display):
        super().__init__(daemon=True)
        self._environment = {**os.environ, "DISPLAY": display}
        self._ended = threading.Event()

    def run(self):
        while not self._ended.wait(0.5):
            self.answer()

    def answer(self):
        raise NotImplementedError

    def end(self):
        self._ended.set()
        self.join()

    def windows(self, name):
        """The visible windows of this name, each with the title of the document that its program sends."""
        found = self._xdotool("search", "--onlyvisible", "--name", "^%s$" % name).split()
        return [(window, title_of(self._xdotool("getwindowpid", window).strip())) for window in found]

    def shown_for(self, title):
        """The names of the visible windows of the program that sends this document."""
        return [self._xdotool("getwindowname", window).strip() for window, whose in self.windows(".*") if whose == title]

    def key(self, window, name):
        # The key is let go whatever happens: a window that closes at once would leave it down, and it would repeat.
        self._xdotool("keydown", "--window", window, name)
        self._xdotool("keyup", name)

    def press(self, window, name):
        """A key that closes the window: comes back when it has gone, or after two seconds."""
        self.key(window, name)
        for _ in range(40):
            if self._ended.wait(0.05) or not self._xdotool("getwindowname", window):
                return

    def _xdotool(self, *words):
        done = subprocess.run(["xdotool", *words], env=self._environment, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, check=False, timeout=XDOTOOL_SECONDS)
        return done.stdout.decode()


class WindowHands(Hands):
    """Presses the button of every box and notes whose it was; types the password where one is asked for, but for
    documents that are to be left alone."""

    def __init__(self, display, password_of, left_alone):
        super().__init__(display)
        self._password_of = password_of
        self._left_alone = left_alone
        self.boxes = {}

    def answer(self):
        for window, title in self.windows(BOX):
            if not title:
                continue  # it has just gone
            self.boxes[title] = self.boxes.get(title, 0) + 1
            self.press(window, "Return")
        for window, title in self.windows(CREDENTIALS):
            if title and title not in self._left_alone:
                self._xdotool("type", "--window", window, self._password_of(title))
                self.press(window, "Return")
