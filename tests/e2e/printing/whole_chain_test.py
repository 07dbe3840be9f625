# SPDX-License-Identifier: MIT
"""Printing for real: lp, cupsd, the backend, the agent in a desktop session, the program, the server and its portal."""

import html
import http.cookiejar
import os
import signal
import unittest
import urllib.request

from desktop_session import DesktopSession
from installed_system import (add_user, arrived, contents_on_server, install_files, install_queue,
                              open_portal_without_tls, run_program, start_server, trust_server)
from private_machine import USERS, as_user, run, run_tests, start, start_cupsd, wait_until
from spool_view import contents, documents, make_pdf, print_as, spool_of, tickets, wait_for_job

PASSWORD = "print secret"


def setUpModule():
    global SESSIONS
    install_files()
    start_cupsd()
    server = start_server()
    for user in USERS:
        add_user(user, PASSWORD)
    trust_server()
    open_portal_without_tls(server)
    install_queue()
    SESSIONS = {user: DesktopSession(user, number, PASSWORD) for number, user in enumerate(USERS, start=1)}
    make_pdf("/tmp/one.pdf", 1)
    make_pdf("/tmp/five.pdf", 5)


class WholeChain(unittest.TestCase):
    def setUp(self):
        self.before = len(arrived())

    def new_documents(self, count):
        return wait_until(lambda: len(arrived()) >= self.before + count and arrived()[self.before:],
                          "%d documents arrive" % count)

    def wait_for_empty_spool(self, user):
        wait_until(lambda: [name for name in os.listdir(spool_of(user)) if name != "agent.lock"] in ([], ["failed"]),
                   "the spool is empty")

    def finish(self, agent):
        self.assertEqual(agent.wait(60), 0)

    def read_portal(self, address):
        opener = urllib.request.build_opener(urllib.request.HTTPCookieProcessor(http.cookiejar.CookieJar()))
        with opener.open(address, timeout=60) as page:
            return page.read().decode()

    def test_a_document_waits_for_its_agent_and_arrives_byte_by_byte(self):
        session = SESSIONS["alice"]
        job = print_as("alice", "-t", "Annual report", "-n", "2", "/tmp/five.pdf")
        self.assertEqual(wait_for_job(job), "completed")
        given = contents(documents("alice")[0])

        agent = session.start_agent("--once")
        session.log_in()
        session.choose_standard_mode()
        document = self.new_documents(1)[0]
        self.finish(agent)

        self.assertEqual(contents_on_server(document), given)
        self.assertEqual([document[name] for name in ("file_name", "client_machine", "client_user", "owner",
                                                      "printer_name", "print_mode")],
                         ["Annual report", "desk7", "alice", "alice", "Varek", "STANDARD"])
        address = wait_until(lambda: session.recorded("address"), "the browser is opened").splitlines()[-1]
        self.assertRegex(address, r"^http://[^/]+/portal\?client=vrp&VR_SESSION_ID=[^&]+&CTRL=[0-9A-F]{32}$")
        self.assertIn("Annual report", self.read_portal(address))
        self.wait_for_empty_spool("alice")

    def test_two_users_print_at_once_each_in_the_own_session(self):
        agents = [SESSIONS[user].start_agent("--watch") for user in USERS]
        for user in USERS:
            print_as(user, "-t", "of " + user, "/tmp/one.pdf")
        for user in USERS:
            wait_until(lambda: SESSIONS[user].windows("Varek print - identifier"), user + " is asked")
        for user in USERS:
            SESSIONS[user].log_in()
            SESSIONS[user].choose_standard_mode()
        found = {(d["owner"], d["client_user"], d["file_name"]) for d in self.new_documents(2)}
        self.assertEqual(found, {(user, user, "of " + user) for user in USERS})
        for agent in agents:
            agent.terminate()
            self.finish(agent)
        for user in USERS:
            self.wait_for_empty_spool(user)

    def test_a_title_cannot_give_the_program_an_option_or_a_variable(self):
        session = SESSIONS["alice"]
        run(*as_user("alice", "sh", "-c", "echo precious >/home/alice/precious"))
        for title, shown in (('a" -l /home/alice/precious "b', "a' -l /home/alice/precious 'b"), ("-k", "-k"),
                             ("##FILE_ID", "##FILE_ID"),
                             ("<b>%s%n</b><img src=x onerror=alert(1)>", "<b>%s%n</b><img src=x onerror=alert(1)>")):
            with self.subTest(title=title):
                self.before = len(arrived())
                opened = len(session.recorded("address").splitlines())
                print_as("alice", "-t", title, "/tmp/one.pdf")
                wait_until(lambda: tickets("alice"), "the job waits")
                agent = session.start_agent("--once")
                session.log_in()
                session.choose_standard_mode()
                self.assertEqual(self.new_documents(1)[0]["file_name"].strip(), shown)
                self.finish(agent)
                address = wait_until(lambda: session.recorded("address").splitlines()[opened:], "the browser is opened")
                self.assertIn(html.escape(shown).replace("&#x27;", "&#39;"), self.read_portal(address[0]))
                self.assertEqual(contents("/home/alice/precious"), b"precious\n")
                self.wait_for_empty_spool("alice")

    def test_the_document_of_a_program_that_died_is_kept_and_its_user_told(self):
        session = SESSIONS["bob"]
        print_as("bob", "-t", "Unlucky", "/tmp/one.pdf")
        wait_until(lambda: tickets("bob"), "the job waits")
        agent = session.start_agent("--once")
        wait_until(lambda: session.windows("Varek print - identifier"), "bob is asked")
        program = int(run("pgrep", "-u", str(USERS["bob"]), "-x", "vrp"))
        os.kill(program, signal.SIGSEGV)
        self.finish(agent)
        self.assertIn("'Unlucky' was not sent", session.recorded("notices"))
        failed = os.path.join(spool_of("bob"), "failed")
        self.assertEqual(sorted(name.rsplit(".", 1)[1] for name in os.listdir(failed)), ["document", "ticket"])
        self.finish(session.start_agent("--once"))
        self.assertEqual(len(arrived()), self.before)

    def test_the_launcher_shows_the_queues_settings(self):
        session = SESSIONS["alice"]
        settings = start(*as_user("alice", "/usr/lib/varek/bin/vrpconfig", **session.variables))
        session.activate("Varek print - configuration")
        session.press("Escape")
        self.assertEqual(settings.wait(60), 0)

    def test_zz_uninstall_removes_queue_and_settings(self):
        run_program("-m", "uninstall", "-s", "-p", "Varek")
        self.assertNotIn("Varek", run("lpstat", "-v", check=False))
        for name in ("Vrp.conf", "VarekPrint.conf"):
            self.assertEqual(contents("/etc/xdg/Varek Systems/" + name).strip(), b"")


if __name__ == "__main__":
    run_tests()
