# SPDX-License-Identifier: MIT
"""Takes the pictures that need a whole desktop: a document in a program's print dialog, and its page in the portal.
Usage: desktop_pictures.py FOLDER"""

import os
import shutil
import subprocess
import sys

from desktop_session import DesktopSession
from installed_system import (add_user, install_files, install_queue, open_portal_without_tls, start_server, trust_server)
from private_machine import run, run_as, run_inside, source_dir, start, start_cupsd, start_display, wait_until
from screen_reader import ScreenReader, nodes
from spool_view import tickets

PASSWORD = "print secret"
DOCUMENT = "/home/alice/Quarterly report.pdf"
VIEWER = "set window-title-basename true\nset statusbar-basename true\nset default-bg '#dfe2e8'\nset statusbar-bg '#f3f4f7'\n" \
         "set statusbar-fg '#1a2233'\n"
PORTAL_SIZE = (1280, 837)


def take(display, path, is_ready):
    """Takes pictures of a screen until one shows what it shall, and nothing moves any more."""
    def look():
        for name in (path + ".1.png", path + ".2.png"):
            run("import", "-display", display, "-window", "root", name)
        same = subprocess.run(["compare", "-metric", "AE", path + ".1.png", path + ".2.png", "null:"], check=False,
                              stderr=subprocess.DEVNULL).returncode == 0
        return same and is_ready(path + ".1.png")
    wait_until(look, "the picture " + path)
    os.replace(path + ".1.png", path)
    os.remove(path + ".2.png")


def colours(picture, area):
    return int(run("convert", picture, "-crop", area, "-format", "%k", "info:"))


def prepare():
    install_files()
    start_cupsd()
    server = start_server()
    add_user("alice", PASSWORD)
    trust_server()
    open_portal_without_tls(server)
    install_queue()
    session = DesktopSession("alice", 1, PASSWORD)
    run("cp", os.path.join(source_dir(), "tests/data/documents/report.pdf"), DOCUMENT)
    run_as("alice", "lpoptions", "-d", "Varek")
    run_as("alice", "mkdir", "-p", "/home/alice/.config/zathura")
    with open("/home/alice/.config/zathura/zathurarc", "w", encoding="utf-8") as file:
        file.write(VIEWER)
    return session


def print_from_viewer(session, picture):
    reader = ScreenReader(session)
    start(*session.command("zathura", DOCUMENT), stderr=subprocess.DEVNULL)

    def wait_for(key, value):
        wait_until(lambda: any(node[key] == value for window in reader.programs().get("org.pwmt.zathura", [])
                               for node in nodes(window)), "the viewer shows the %s '%s'" % (key, value))

    wait_for("name", "[1 (1/3)]")
    session.wait_for_focus(os.path.basename(DOCUMENT))
    session.press("colon")
    wait_for("role", "text")  # the line for commands
    session.type("print")
    session.press("Return")
    wait_for("name", "Varek")
    session.wait_for_focus("Print")
    take(session.display, picture, lambda name: colours(name, "1024x768+0+0") > 64)
    session.press("Return")
    wait_until(lambda: tickets("alice"), "the document is in the spool")


def portal_address(session):
    agent = session.start_agent("--once")
    session.log_in()
    session.choose_standard_mode()
    assert agent.wait(60) == 0
    return wait_until(lambda: session.recorded("address"), "the browser is opened").split()[0]


def show_portal(address, picture):
    display = start_display(2, "%dx%d" % PORTAL_SIZE)
    start("chromium", "--no-sandbox", "--user-data-dir=/tmp/chromium", "--app=" + address, "--window-position=0,0",
          "--window-size=%d,%d" % tuple(side + 1 for side in PORTAL_SIZE), "--test-type", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-sync",
          "--disable-background-networking", "--disable-component-update", env={**os.environ, "DISPLAY": display, "HOME": "/tmp"},
          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    take(display, picture, lambda name: colours(name, "500x400+150+300") > 16)  # the document is drawn last


def main():
    folder = sys.argv[1]
    for program, package in (("zathura", "zathura"), ("chromium", "chromium"), ("import", "imagemagick")):
        assert shutil.which(program), "needs the package " + package
    session = prepare()
    print_from_viewer(session, os.path.join(folder, "print-dialog.png"))
    show_portal(portal_address(session), os.path.join(folder, "portal.png"))
    return 0


if __name__ == "__main__":
    run_inside(main)
