# SPDX-License-Identifier: MIT
"""The installed program used with nothing but keys, in every window that it has, by somebody who hears the windows read: each
has the focus when it appears, and gives out the names of all that is in it."""

import os
import random
import re
import shutil
import signal
import unittest

from authenticating_proxy import start_proxy
from desktop_session import DesktopSession
from installed_system import (CONFIGURATION, SERVER_CONFIGURATION, add_user, arrived, configure_server, edit, install_files,
                              install_queue, open_portal_without_tls, start_server, trust_server)
from private_machine import run, run_as, run_tests, start, start_cupsd, wait_until
from screen_reader import ScreenReader, faults, nodes
from spool_view import contents, empty_spool, make_pdf, print_as, wait_for_job

PASSWORD = "UqUserSecret7"
PROXY_PASSWORD = "PbProxySecret5"
PROXY_PORT = 3128
TITLE = "Varek Printer"
# The pictures of boxes, as screen readers get them: each names them in its user's language.
INFORMATION, ERROR, QUESTION = "\u2139", "\u274c", "\u2753"
SETTINGS = "/home/alice/.config/Varek Systems/VarekPrint.conf"
LOG = "/home/alice/vrp.log"


def setUpModule():
    global SESSION, READER, SERVER
    for program, package in (("dbus-daemon", "dbus"), ("gdbus", "libglib2.0-bin"), ("/usr/libexec/at-spi-bus-launcher",
                             "at-spi2-core")):
        assert shutil.which(program), "needs the package " + package
    install_files()
    start_cupsd()
    SERVER = start_server()
    add_user("alice", PASSWORD)
    trust_server()
    open_portal_without_tls(SERVER)
    install_queue()
    start_proxy("/squid", "basic", PROXY_PORT, "alice", PROXY_PASSWORD)
    SESSION = DesktopSession("alice", 1, PASSWORD)
    READER = ScreenReader(SESSION)
    make_pdf("/tmp/one.pdf", 1)


def stored(name):
    found = re.search('^%s="?([^"\n]*)' % name, contents(SETTINGS).decode(), re.M)
    return found.group(1) if found else None


def forget_everything():
    if os.path.exists(SETTINGS):
        os.remove(SETTINGS)


class WithoutMouse(unittest.TestCase):
    def setUp(self):
        forget_everything()
        self.before = len(arrived())

    def look_at(self, title):
        """Waits for a window that has come to the front by itself; gives it as it is read."""
        SESSION.wait_for_focus(title)
        window = READER.window(TITLE, title)
        self.assertEqual(faults(window), [])
        for secret in (PASSWORD, PROXY_PASSWORD):
            self.assertNotIn(secret, str(window))
        return window

    def heard(self, window, role):
        return [node["name"] for node in nodes(window) if node["role"] == role]

    def answer(self, title, *keys):
        self.look_at(title)
        SESSION.press(*keys)

    def answer_box(self, sign, text, *keys):
        box = self.look_at(TITLE)
        self.assertEqual(self.heard(box, "label"), [text])
        self.assertEqual(self.heard(box, "image"), [sign])
        SESSION.press(*keys)

    def log_in(self, password=PASSWORD):
        self.look_at("Varek print - identifier")
        SESSION.type("alice")
        SESSION.press("Tab")
        SESSION.type(password)
        self.look_at("Varek print - identifier")
        SESSION.press("Return")

    def print_and_start_agent(self, title):
        self.assertEqual(wait_for_job(print_as("alice", "-t", title, "/tmp/one.pdf")), "completed")
        return self.stopped_at_last(SESSION.start_agent("--once"))

    def stopped_at_last(self, program):
        """What a test that fails leaves behind must not stand in the way of the next one."""
        def stop():
            if program.poll() is None:
                for shown in run("pgrep", "-x", "vrp", check=False).split():
                    os.kill(int(shown), signal.SIGKILL)
                program.wait(60)
            empty_spool()
        self.addCleanup(stop)
        return program

    def finish(self, program):
        self.assertEqual(program.wait(60), 0)

    def new_documents(self):
        return [(document["file_name"], document["print_mode"]) for document in arrived()[self.before:]]

    def program(self, name, *arguments):
        return self.stopped_at_last(start(*SESSION.command("/usr/lib/varek/bin/" + name, *arguments)))

    def test_a_print_in_standard_mode_whose_password_is_kept(self):
        agent = self.print_and_start_agent("By key")
        dialog = self.look_at("Varek print - identifier")
        self.assertEqual(self.heard(dialog, "label"), ["Identifier:", "Password:"])
        self.assertEqual(self.heard(dialog, "check box"), ["Keep password for next connection"])
        self.assertEqual(self.heard(dialog, "push button"), ["Cancel", "Help", "Ok"])
        SESSION.type("alice")
        SESSION.press("Tab")
        SESSION.type(PASSWORD)
        SESSION.press("Tab", "space", "Return")
        mode = self.look_at("Varek print - mode")
        self.assertEqual(self.heard(mode, "radio button"), ["Standard", "Asynchronous", "Tunnel"])
        SESSION.press("Return")
        self.finish(agent)
        self.assertEqual(self.new_documents(), [("By key", "STANDARD")])
        self.assertNotEqual(stored("Password"), "")
        wait_until(lambda: "/portal?client=vrp" in SESSION.recorded("address"), "the portal is opened")

    def test_a_print_in_tunnel_mode_through_the_second_service(self):
        agent = self.print_and_start_agent("Tunnel")
        self.log_in()
        self.answer("Varek print - mode", "Down", "Down", "Return")
        service = self.look_at("Varek print - service")
        self.assertEqual(self.heard(service, "combo box"), ["Archive"])
        SESSION.press("Down", "Return")
        self.finish(agent)
        self.assertEqual(self.new_documents(), [("Tunnel", "TUNNEL")])
        self.assertEqual(arrived()[-1]["tunnel_service"], "fax")

    def test_escape_ends_a_print_in_each_dialog(self):
        for title, before in (("Varek print - identifier", lambda: None), ("Varek print - mode", self.log_in)):
            agent = self.print_and_start_agent("Never")
            before()
            self.answer(title, "Escape")
            self.finish(agent)
            forget_everything()
        self.assertEqual(self.new_documents(), [])

    def test_a_refused_password_is_told_in_a_box(self):
        agent = self.print_and_start_agent("Refused")
        self.log_in("WrWrongSecret9")
        self.answer_box(ERROR, "Bad password.", "Return")
        self.finish(agent)
        self.assertEqual(self.new_documents(), [])

    def test_settings_are_changed_and_a_proxy_asks_who_it_is(self):
        settings = self.program("vrpconfig")
        dialog = self.look_at("Varek print - configuration")
        self.assertEqual(self.heard(dialog, "text"), ["Directory service:", "Proxy server:", "Port:"])
        self.assertEqual(self.heard(dialog, "check box"), ["Enable version checking", "Unsave identifier and password",
                                                           "Unsave proxy user and password"])
        SESSION.press("Tab")
        SESSION.type("127.0.0.1")
        SESSION.press("Tab")
        SESSION.type(str(PROXY_PORT))
        SESSION.press("Tab", "space", "Return")
        self.finish(settings)
        self.assertEqual([stored(name) for name in ("ProxyServer", "ProxyPort", "CheckVersion")],
                         ["127.0.0.1", str(PROXY_PORT), "no"])

        agent = self.print_and_start_agent("Through the proxy")
        proxy = self.look_at("Varek print - proxy")
        self.assertEqual(self.heard(proxy, "label"), ["Proxy user:", "Proxy password:"])
        SESSION.type("alice")
        SESSION.press("Tab")
        SESSION.type(PROXY_PASSWORD)
        SESSION.press("Tab", "space", "Return")
        self.log_in()
        self.answer("Varek print - mode", "Down", "Return")
        self.finish(agent)
        self.assertEqual(self.new_documents(), [("Through the proxy", "ASYNC")])

    def test_the_update_prompt(self):
        self.publish_update()
        for keys, opened in ((("Return",), True), (("Tab", "Return"), False), (("Escape",), None)):
            addresses = SESSION.recorded("address")
            agent = self.print_and_start_agent("Updated")
            prompt = self.look_at("Varek print - update")
            self.assertEqual(self.heard(prompt, "push button"), ["Cancel", "No", "Yes"])
            SESSION.press(*keys)
            if opened is None:
                self.answer("Varek print - identifier", "Escape")
            self.finish(agent)
            if opened:
                wait_until(lambda known=addresses: "/127.0.0.1:1084/HELP" in SESSION.recorded("address")[len(known):],
                           "the download is opened")
        self.assertEqual(self.new_documents(), [])

    def publish_update(self):
        """Has the server publish a newer version until the test ends."""
        before = contents(SERVER_CONFIGURATION).decode()

        def take_back():
            with open(SERVER_CONFIGURATION, "w", encoding="utf-8") as file:
                file.write(before)
            configure_server(SERVER, "")

        self.addCleanup(take_back)
        for name, value in (("CHECK", "YES"), ("", "2.00.000"), ("DOWNLOAD", "http://127.0.0.1:1084/help")):
            edit(SERVER_CONFIGURATION, "^(LAST_VERSION%s)=.*$" % ("_" + name if name else ""), r"\1=" + value)
        configure_server(SERVER, "")

    def test_an_upload_is_cancelled(self):
        run_as("alice", "mkdir", "-p", "/home/alice/big")
        document = "/home/alice/big/document"
        with open(document, "wb") as file:
            file.write(random.Random(1).randbytes(200_000_000))
        program = self.program("vrp", "-m", "send", "-p", "Varek", "-f", document, "-k", "-d", "Big", "-l", LOG)
        self.log_in()
        self.answer("Varek print - mode", "Return")
        # The server stands still while the keys are on their way, so that they are there in time.
        wait_until(lambda: b"FILE_APPEND" in contents(LOG), "the upload has begun")
        SERVER.send_signal(signal.SIGSTOP)
        SESSION.wait_for_focus("Varek print on demand")
        SESSION.press("space")
        SERVER.send_signal(signal.SIGCONT)
        self.answer_box(INFORMATION, "Operation canceled by user.", "Return")
        self.finish(program)
        self.assertEqual(self.new_documents(), [])
        os.remove(document)

    def test_the_progress_window_is_read_beside_the_dialogs(self):
        agent = self.print_and_start_agent("Progress")
        self.log_in()
        self.look_at("Varek print - mode")
        windows = READER.programs()[TITLE]
        progress = next(window for window in windows if window["name"] == "Varek print on demand")
        self.assertEqual(progress["role"], "frame")
        self.assertEqual(self.heard(progress, "label"), ["Checking security..."])
        self.assertEqual(self.heard(progress, "push button"), ["Cancel"])
        SESSION.press("Escape")
        self.finish(agent)

    def test_help_opens_the_page_of_its_window(self):
        agent = self.print_and_start_agent("Help")
        self.look_at("Varek print - identifier")
        SESSION.press("Tab", "Tab", "Tab", "Tab", "space")
        wait_until(lambda: SESSION.recorded("address").rstrip().endswith("/help#identifier"), "the help page is opened")
        self.answer("Varek print - identifier", "Escape")
        self.finish(agent)

    def test_the_version(self):
        program = self.program("vrp", "-m", "version")
        self.answer_box(INFORMATION, "Virtual printer internal version = 3.00", "Return")
        self.finish(program)

    def test_removing_and_installing_the_queue(self):
        questions = {("uninstall", "-p", "Varek"): "Do you want to remove the Varek printer ?",
                     ("install", "-c", CONFIGURATION, "-d", "/usr/lib/varek/bin"): "Do you want to install the Varek printer ?"}
        for arguments, question in questions.items():
            before = run("lpstat", "-v", check=False)
            for keys in (("Escape",), ("Tab", "Return")):
                program = self.program("vrp", "-m", *arguments)
                self.assertEqual(self.heard(self.look_at(TITLE), "push button"), ["Yes", "No"])
                self.answer_box(QUESTION, question, *keys)
                self.finish(program)
            self.assertEqual(run("lpstat", "-v", check=False), before)
            self.set_up(*arguments)
            self.assertNotEqual(run("lpstat", "-v", check=False), before)

    def set_up(self, *arguments):
        """Goes on as the administrator, whose programs a user's screen reader cannot see: yes, and the result."""
        environment = {**os.environ, "DISPLAY": SESSION.display, "XDG_CONFIG_HOME": "/tmp/root-settings"}
        environment.pop("XDG_CONFIG_DIRS", None)
        program = self.stopped_at_last(start("/usr/lib/varek/setup/vrp", "-m", *arguments, env=environment))
        question = SESSION.wait_for_focus(TITLE)
        SESSION.press("Return")
        wait_until(lambda: SESSION.wait_for_focus(TITLE) != question, "the result is told")
        SESSION.press("Return")
        self.finish(program)

    def test_a_typed_password_is_not_reported_and_the_identifier_is(self):
        READER.listen()
        agent = self.print_and_start_agent("Reported")
        self.log_in()
        self.answer("Varek print - mode", "Escape")
        self.finish(agent)
        text = "".join(READER.reported())
        self.assertIn("alice", text)
        self.assertEqual(set(PASSWORD) & set(text) - set("alice"), set(), text)


if __name__ == "__main__":
    run_tests()
