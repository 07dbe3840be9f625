# SPDX-License-Identifier: MIT
"""A screen reader's view of a desktop session: the accessibility bus, the windows on it, and what is reported there."""

import json
import os
import subprocess
import tempfile

from private_machine import as_user, run_as, start, wait_until


def _script(name):
    """The text of a script: the user who runs it may not be allowed to read this folder."""
    with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), name), encoding="utf-8") as file:
        return file.read()


_DUMP = _script("accessible_windows.py")
_REPORTS = _script("reported_texts.py")
# What a tree is made of besides what is read to people: frames of others.
_SILENT_ROLES = ("panel", "filler")


def nodes(tree):
    """A window and all that it shows."""
    yield tree
    for child in tree["children"]:
        if "showing" in child["states"]:
            yield from nodes(child)


def _fault(node):
    if node["role"] in ("unknown", "invalid", "redundant object"):
        return "nobody knows what this is"
    if not node["name"] and node["role"] not in _SILENT_ROLES:
        return "has no name"
    if node["role"] in ("text", "password text") and node["labels"] != [node["name"]]:
        return "is not called by its label"
    if node["role"] == "combo box" and not node["labels"]:  # which is called by what is chosen
        return "has no label"
    if node["role"] == "password text" and node["text"] is not None:
        return "gives out a password"
    return None


def faults(window):
    """What somebody who hears the window read would miss; empty when all is well."""
    found = ["%s: %r" % (_fault(node), node) for node in nodes(window) if _fault(node)]
    if not any("focused" in node["states"] for node in nodes(window)):
        found.append("nothing has the focus")
    return found


class ScreenReader:
    """Told to the desktop of a session as running, before programs start there."""

    def __init__(self, session):
        self._session = session
        self._record = self._listener = None
        path = session.variables["XDG_RUNTIME_DIR"] + "/bus"
        session.variables["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + path
        start(*as_user(session.user, "dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=unix:path=" + path,
                       **session.variables), stderr=subprocess.DEVNULL)
        wait_until(lambda: os.path.exists(path), "the session's bus runs")
        self._call("org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties.Set", "org.a11y.Status",
                   "ScreenReaderEnabled", "<true>")

    def _call(self, name, path, method, *arguments):
        return run_as(self._session.user, "gdbus", "call", "--session", "-d", name, "-o", path, "-m", method, *arguments,
                      **self._session.variables)

    def programs(self):
        """The programs that show windows, by name, each with its windows."""
        found = run_as(self._session.user, "python3", "-c", _DUMP, **self._session.variables)
        return json.loads(found[found.index("{"):])

    def window(self, program, title):
        """A window, once it is there and something in it has the focus."""
        def look():
            windows = [window for window in self.programs().get(program, []) if window["name"] == title]
            return [window for window in windows if any("focused" in node["states"] for node in nodes(window))]
        return wait_until(look, "'%s' shows '%s' to screen readers" % (program, title))[0]

    def listen(self):
        """Starts to listen to what programs report as typed."""
        self._record = tempfile.TemporaryFile()  # pylint: disable=consider-using-with
        self._listener = start(*as_user(self._session.user, "python3", "-c", _REPORTS, **self._session.variables),
                               stdout=self._record)
        wait_until(self.reported, "somebody listens")

    def reported(self):
        """What was reported since; in the order in which it was typed."""
        return os.pread(self._record.fileno(), 1_000_000, 0).decode().split("\n")[1:]
