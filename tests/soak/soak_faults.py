# SPDX-License-Identifier: MIT
"""What goes wrong during a soak, one kind after the other. A fault prints the document itself and says which outcomes its
user may see: "arrives", or a message that explains why it did not."""

import os
import signal
import subprocess

from private_machine import as_user, run, wait_until
from spool_view import SPOOL
from window_hands import CREDENTIALS

LARGE = 900  # kilobytes: more than a block, so that there is a middle
QUEUE_SECONDS = 240  # for a job to come to its turn behind those of all users
MIDDLE = 300_000  # bytes of the upload's connection


def _wait_for_program(user, title):
    return wait_until(lambda: user.program(title), "the program starts with " + title, QUEUE_SECONDS)


def _through_relay(soak, user, title, kind, act=lambda: None):
    name, relay = soak.machine.relayed_directory("via-" + title.split()[0], kind, MIDDLE)
    try:
        user.write_settings(directory=name)
        soak.print_document(user, title, LARGE)
        act()
        soak.wait_until_settled(user, [title])
    finally:
        relay.stdin.close()
        relay.wait()


def network_reset(soak, user, title):
    """The connection is reset in the middle of the upload: the program goes on where it was."""
    _through_relay(soak, user, title, "reset")
    return "arrives",


def bytes_corrupted(soak, user, title):
    """A byte of the upload is another one: TLS notices, and the program goes on with a new connection."""
    _through_relay(soak, user, title, "corrupt")
    return "arrives", "box"


def server_killed(soak, user, title):
    """The server dies in the middle of the upload and is started again: its sessions are gone."""
    def act():
        wait_until(lambda: "OFFSET=|65536|" in user.sent(title, "log"), "the upload is under way", QUEUE_SECONDS)
        soak.machine.crash_server()
    _through_relay(soak, user, title, "drip", act)
    return "box",


def program_killed_in_upload(soak, user, title):
    def act():
        wait_until(lambda: "OFFSET=|65536|" in user.sent(title, "log"), "the upload is under way", QUEUE_SECONDS)
        os.kill(user.program(title), signal.SIGSEGV)
    _through_relay(soak, user, title, "drip", act)
    return "kept",


def _at_credentials(soak, user, title, act):
    """Does something while the program asks for the password."""
    soak.machine.left_alone.add(title)
    user.write_settings(password="")
    soak.print_document(user, title)
    process = _wait_for_program(user, title)
    hands = soak.machine.hands_of(user)
    window = wait_until(lambda: next((window for window, whose in hands.windows(CREDENTIALS) if whose == title), None),
                        user.name + " is asked for the password")
    act(process, hands, window)
    soak.wait_until_settled(user, [title])


def program_killed_at_window(soak, user, title):
    _at_credentials(soak, user, title, lambda process, hands, window: os.kill(process, signal.SIGKILL))
    return "kept",


def cancelled_at_window(soak, user, title):
    _at_credentials(soak, user, title, lambda process, hands, window: hands.key(window, "Escape"))
    return "cancelled",


def agent_killed(soak, user, title):
    """The agent dies while its program asks something, and is started again."""
    def act(*_):
        user.agent.kill()
        user.agent.wait()
        user.start_agent()
    _at_credentials(soak, user, title, act)
    return "kept",


def wrong_password(soak, user, title):
    user.write_settings(password="wrong")
    soak.print_document(user, title)
    soak.wait_until_settled(user, [title])
    return "box",


def not_a_document(soak, user, title):
    soak.print_document(user, title, raw=b"\x00\x01\x02 no document of any kind: " + title.encode())
    soak.wait_until_settled(user, [title])
    return "box",


def full_spool(soak, user, title):
    """The disk of the spool is full: cupsd holds the jobs until there is space, and somebody releases them."""
    filler = os.path.join(SPOOL, "filler")
    _fill(filler)
    job = soak.print_document(user, title, LARGE)

    def is_held():
        _fill(filler)  # what others' documents leave behind, which may be enough for this one
        return job in _held_jobs() or user.sent(title, "sha256")
    try:
        wait_until(is_held, "cupsd holds the job", QUEUE_SECONDS)
    finally:
        os.remove(filler)
        wait_until(lambda: not _release_held_jobs(), "no job is held", QUEUE_SECONDS)
    soak.wait_until_settled(user, [title])
    return "arrives",


def _fill(path):
    with open(path, "ab", buffering=0) as file:
        for size in (1 << 20, 1 << 12):
            try:
                while True:
                    file.write(bytes(size))
            except OSError:
                pass


def _held_jobs():
    done = subprocess.run(["ipptool", "-t", "-v", "ipp://localhost/printers/Varek", "/dev/stdin"], input=b"""{
        OPERATION Get-Jobs
        GROUP operation-attributes-tag
        ATTR charset attributes-charset utf-8
        ATTR naturalLanguage attributes-natural-language en
        ATTR uri printer-uri $uri
        ATTR keyword requested-attributes job-id,job-state
        }""", stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False).stdout.decode()
    held, number = [], None
    for line in done.splitlines():
        if "job-id (integer) = " in line:
            number = int(line.rsplit(" ", 1)[1])
        elif "job-state (enum) = " in line and line.endswith("held"):
            held.append(number)
    return held


def _release_held_jobs():
    held = _held_jobs()
    for job in held:
        run("lp", "-i", "Varek-%d" % job, "-H", "resume", check=False)
    return held


def cupsd_restarted(soak, user, title):
    """cupsd is stopped and started while a document waits in the queue. None is being printed: that one cupsd would print
    again when it had not yet noted its end."""
    with soak.machine.lock:
        wait_until(lambda: not run("lpstat", "-o"), "nothing is being printed", QUEUE_SECONDS)
        run("cupsdisable", "Varek")
        soak.print_document(user, title)
        soak.machine.restart_cupsd()
        run("cupsenable", "Varek")
    soak.wait_until_settled(user, [title])
    return "arrives",


FAULTS = (server_killed, network_reset, program_killed_in_upload, wrong_password, full_spool, cancelled_at_window,
          not_a_document, bytes_corrupted, program_killed_at_window, agent_killed, cupsd_restarted)
