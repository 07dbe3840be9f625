# SPDX-License-Identifier: MIT
"""The product as it is installed on the private machine: program and queue, server and its documents."""

import glob
import os
import re
import signal
import sqlite3
import subprocess

from private_machine import build_dir, run, start, wait_until
from spool_view import contents

DATA = "/srv/varek"
SERVER_CONFIGURATION = DATA + "/vrserver.ini"
CONFIGURATION = "/etc/varek/varek.ini"
PORTS = {"--port": 1082, "--portal-port": 1083, "--plain-portal-port": 1084}
DIRECTORY = "127.0.0.1:1082;directory:demo"
# Directories by the only print mode that they offer, and the profile behind each.
MODES = {"standard": "PrintingModes=STANDARD", "async": "PrintingModes=ASYNC",
         "tunnel": "PrintingModes=TUNNEL\nTunnelMode=SINGLE\nTunnelServiceName=archive\nTunnelServiceProfile=long-term"}
_SAID = "/tmp/server.txt"


def build_tool(name):
    return os.path.join(build_dir(), "tests", name)


def stored_form(password):
    done = subprocess.run([build_tool("stored_form")], input=password.encode() + b"\n", stdout=subprocess.PIPE, check=True)
    return done.stdout.decode().strip()


def install_files():
    for component in ("print", "server"):
        run("cmake", "--install", build_dir(), "--component", component)


def start_server(*before):
    """Starts the server, or starts it again in its folder; `before` goes before its command."""
    os.makedirs(DATA, mode=0o700, exist_ok=True)
    ports = [str(word) for pair in PORTS.items() for word in pair]
    with open(_SAID, "w", encoding="utf-8") as said:
        server = start(*before, "/usr/sbin/vrserver", "--data", DATA, *ports, stdout=said, stderr=said)
    wait_until(lambda: "\nready\n" in contents(_SAID).decode(), "the server is ready")
    return server


def add_user(user, password):
    subprocess.run(["/usr/sbin/vrserver", "--data", DATA, "user", "add", user], input=password.encode() + b"\n",
                   check=True)


def trust_server():
    run("install", "-m", "644", DATA + "/vrc-ca.pem", "/usr/lib/varek/Frameworks/vrc-ca.pem")


def edit(path, pattern, replacement):
    """Replaces what a regular expression matches in a text file."""
    text = contents(path).decode()
    with open(path, "w", encoding="utf-8") as file:
        file.write(re.sub(pattern, replacement, text, flags=re.M))


def configure_server(server, text):
    """Appends to the server's configuration and waits until the server has read it."""
    reads = contents(_SAID).count(b"configuration read again")
    with open(SERVER_CONFIGURATION, "a", encoding="utf-8") as file:
        file.write("\n" + text + "\n")
    server.send_signal(signal.SIGHUP)
    wait_until(lambda: contents(_SAID).count(b"configuration read again") > reads, "the configuration is read")


def open_portal_without_tls(server):
    """Tests read the portal without the authority's certificate."""
    edit(SERVER_CONFIGURATION, "^PORTAL_URL=.*$", "PORTAL_URL=http://127.0.0.1:1084/portal?client=vrp")
    configure_server(server, "")


def offer_one_mode_each(server, adapt=lambda parameters: parameters):
    """Has the server offer MODES; gives the parameters of each directory."""
    demo = re.search(r"^\[Parameters demo\]\n(.*?)^\s*$", contents(SERVER_CONFIGURATION).decode(), re.M | re.S).group(1)
    given = {mode: adapt(re.sub("^(SERVER_UPLOAD_PROFILE_CONTAINER)=.*$", r"\1=" + mode, demo, flags=re.M)) for mode in MODES}
    configure_server(server, "".join("[Directory %s]\n\n[Parameters %s]\n%s\n[Profile %s]\n%s\n\n" %
                                     (mode, mode, given[mode], mode, profile) for mode, profile in MODES.items()))
    return given


def install_queue(directory=DIRECTORY):
    edit(CONFIGURATION, "^Sdir1=.*$", 'Sdir1="%s"' % directory)
    run_program("-m", "install", "-s", "-c", CONFIGURATION, "-d", "/usr/lib/varek/bin")


def run_program(*arguments):
    environment = {name: value for name, value in os.environ.items() if name != "XDG_CONFIG_DIRS"}
    return run("/usr/lib/varek/setup/vrp", *arguments, env={**environment, "XDG_CONFIG_HOME": "/tmp/root-settings"})


def arrived(condition="1", *values):
    """The documents on the server that meet an SQL condition, oldest first."""
    database = sqlite3.connect("file:%s/vrserver.db?mode=ro" % DATA, uri=True)
    database.row_factory = sqlite3.Row
    try:
        return [dict(row) for row in database.execute(
            "SELECT * FROM documents WHERE %s ORDER BY created_at, rowid" % condition, values)]
    finally:
        database.close()


def path_on_server(document):
    return glob.glob(os.path.join(DATA, "documents", document["id"] + ".*"))[0]


def contents_on_server(document):
    return contents(path_on_server(document))
