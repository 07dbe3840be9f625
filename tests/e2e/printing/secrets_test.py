# SPDX-License-Identifier: MIT
"""Passwords in every mode of the program, through cupsd, agent, program, proxy and server: whatever a program writes and however
it is started, no password shows, but in its stored form where a user keeps it."""

import os
import re
import resource
import shutil
import stat
import subprocess
import time
import unittest

import installed_system
from authenticating_proxy import digest_of, start_proxy
from desktop_session import DesktopSession
from installed_system import DATA, add_user, offer_one_mode_each, start_server, stored_form, trust_server
from private_machine import USERS, as_user, run, run_as, run_tests, start, start_cupsd, wait_until
from spool_view import contents, documents, make_pdf, print_as, spool_of, tickets, wait_for_job
from traced_programs import changed_files, files_with, forms, traces_with, tracer

# Letters and digits alone: no escaping on any way could hide them.
PASSWORD = "UqUserSecret7"  # typed, kept and stored
WRONG = "WrWrongSecret9"
BASIC = "PbBasicSecret5"
DIGEST = "PdDigestSecret6"
APPLICATION = "ApApplicationSecret4"
PROXIES = {"basic": (3128, BASIC), "digest": (3129, DIGEST)}
SECRETS = {"password": PASSWORD, "wrong password": WRONG, "proxy password (Basic)": BASIC,
           "proxy password (Digest)": DIGEST, "application password": APPLICATION,
           "credentials of Basic": "alice:" + BASIC,
           "digest of the proxy password": digest_of("alice", DIGEST)}
FOLDERS = ("/home", "/root/.config", "/tmp", "/var", "/etc", "/run", "/srv", "/usr/lib/varek", "/dev/shm")
TRACES = "/traces"
SQUID = "/squid"  # the proxy's own files, which hold its users
SETTINGS = "/home/alice/.config/Varek Systems/VarekPrint.conf"
PROGRAM = "/usr/lib/varek/bin/vrp"


def trace(name):
    return os.path.join(TRACES, name)


def with_application_password(parameters):
    for name, value in (("USER", "appuser"), ("PASSWORD", APPLICATION)):
        parameters = re.sub("^SERVER_UPLOAD_%s=.*$" % name, "SERVER_UPLOAD_%s=%s" % (name, value), parameters, flags=re.M)
    return parameters


def write_settings(mode, password="", **proxy):
    """What alice has saved: her identifier and perhaps passwords, in their stored form."""
    lines = ['Identifier="alice"', 'CheckVersion="no"']
    lines += ['Password="%s"' % stored_form(password)] if password else []
    lines += ['%s="%s"' % pair for pair in proxy.items()]
    run_as("alice", "mkdir", "-p", os.path.dirname(SETTINGS))
    with open(SETTINGS, "w", encoding="utf-8") as file:
        file.write("[Settings]\n%s\n\n[ServerDirectories]\nSdir1=\"127.0.0.1:1082;directory:%s\"\n" % ("\n".join(lines), mode))
    os.chown(SETTINGS, USERS["alice"], USERS["alice"])
    os.chmod(SETTINGS, 0o600)


def core_limits(process):
    return re.search(r"^Max core file size +(\S+) +(\S+)", contents("/proc/%d/limits" % process).decode(), re.M).groups()


def processes(name):
    found = subprocess.run(["pgrep", "-x", name], stdout=subprocess.PIPE, check=False).stdout.split()
    return [int(process) for process in found]


def setUpModule():
    global SESSION, STARTED
    assert shutil.which("strace"), "needs the package strace"
    # Where core files are allowed, as on a developer's machine, the programs must forbid their own.
    resource.setrlimit(resource.RLIMIT_CORE, (resource.RLIM_INFINITY, resource.RLIM_INFINITY))
    STARTED = time.time() - 1
    os.makedirs(TRACES)
    os.chmod(TRACES, 0o1777)
    installed_system.install_files()
    start_cupsd(before=tracer(trace("cupsd")))
    server = start_server(*tracer(trace("server")))
    vrserver = wait_until(lambda: processes("vrserver"), "the server runs")[0]
    add_user("alice", PASSWORD)
    trust_server()
    server.send_signal = lambda number: os.kill(vrserver, number)
    installed_system.open_portal_without_tls(server)
    installed_system.configure_server(server, "[Application upload]\nUser=appuser\nPassword=" + APPLICATION)
    offer_one_mode_each(server, with_application_password)
    installed_system.install_queue()
    SESSION = DesktopSession("alice", 1, PASSWORD)
    make_pdf("/tmp/one.pdf", 1)
    for kind, (port, password) in PROXIES.items():
        start_proxy(os.path.join(SQUID, kind), kind, port, "alice", password)


class Secrets(unittest.TestCase):
    def run_program(self, name, *arguments, answer=lambda: None):
        """Runs the program as alice does, traced and with both logs; gives its log."""
        logs = ["/home/alice/%s.%s" % (name, kind) for kind in ("log", "socket")]
        program = start(*as_user("alice", *tracer(trace(name)), PROGRAM, *arguments, "-l", ";".join(logs), **SESSION.variables))
        answer()
        self.assertEqual(program.wait(60), 0, name)
        log = contents(logs[0]).decode() if os.path.exists(logs[0]) else ""
        self.assertNotEqual(contents(trace(name)), b"")
        return log

    def send(self, name, *arguments, answer=lambda: None):
        run_as("alice", "cp", "/tmp/one.pdf", "/home/alice/" + name + ".pdf")
        return self.run_program(name, "-m", "send", "-p", "Varek", "-f", "/home/alice/" + name + ".pdf", "-d", name, *arguments,
                                answer=answer)

    def test_a_print_with_a_typed_password_through_cups_and_agent(self):
        write_settings("standard")
        SESSION.is_known = True
        self.assertEqual(wait_for_job(print_as("alice", "-t", "by agent", "/tmp/one.pdf")), "completed")
        for path in documents("alice"):
            self.assertEqual(stat.S_IMODE(os.stat(path).st_mode), 0o600)
        agent = start(*as_user("alice", *tracer(trace("agent")), "/usr/bin/varek-agent", "--once", **SESSION.variables))
        SESSION.activate("Varek print - identifier")
        self.assertEqual(core_limits(processes("vrp")[0]), ("0", "0"))
        self.assertEqual(core_limits(processes("varek-agent")[0]), ("unlimited", "unlimited"))  # it holds none
        SESSION.log_in()
        self.assertEqual(agent.wait(120), 0)
        self.assertEqual(len(installed_system.arrived("file_name = 'by agent'")), 1)
        self.assertEqual((tickets("alice"), os.listdir(spool_of("alice"))), ([], ["agent.lock"]))
        self.assertIn("/portal?", SESSION.recorded("address"))

    def test_a_password_that_is_kept_is_stored_in_its_documented_form_alone(self):
        write_settings("async")

        def log_in():
            SESSION.activate("Varek print - identifier")
            SESSION.type(PASSWORD)
            SESSION.press("Tab", "space", "Return")
        self.send("kept", answer=log_in)
        self.assertIn(stored_form(PASSWORD), contents(SETTINGS).decode())
        self.assertEqual(len(installed_system.arrived("file_name = 'kept'")), 1)
        self.assertEqual(stat.S_IMODE(os.stat(SETTINGS).st_mode), 0o600)

    def test_sends_with_a_stored_password_in_every_print_mode(self):
        for mode in installed_system.MODES:
            with self.subTest(mode=mode):
                write_settings(mode, PASSWORD)
                log = self.send("stored-" + mode)
                self.assertIn("File has been sent", log)
                self.assertIn("KEY=|SERVER_UPLOAD_PASSWORD| - Result buffer: ****", log)
                self.assertIn(stored_form(PASSWORD), contents(SETTINGS).decode())

    def answer_proxy(self, password):
        SESSION.activate("Varek print - proxy")
        SESSION.type(password)
        SESSION.press("Return")

    def test_sends_through_proxies_with_passwords(self):
        for kind, password in (("basic", BASIC), ("digest", DIGEST)):
            with self.subTest(kind=kind):
                write_settings("async", PASSWORD, ProxyServer="127.0.0.1", ProxyPort=PROXIES[kind][0], ProxyUser="alice")
                log = self.send("proxy-" + kind, answer=lambda: self.answer_proxy(password))
                self.assertEqual(len(installed_system.arrived("file_name = ?", "proxy-" + kind)), 1, log)
                self.assertIn("(alice;****)::", log)

    def test_a_wrong_password(self):
        write_settings("async", WRONG)
        self.assertIn("Bad password", self.send("wrong", "-s"))
        self.assertNotIn(stored_form(WRONG), contents(SETTINGS).decode())

    def test_the_other_modes(self):
        for mode in ("test", "testb"):
            write_settings("standard", PASSWORD)
            self.assertIn("File has been sent", self.run_program(mode, "-m", mode, "-p", "Varek"))
        write_settings("async", PASSWORD, ProxyServer="127.0.0.1", ProxyPort=3128, ProxyUser="alice",
                       ProxyPassword=stored_form(BASIC))
        self.run_program("help", "-m", "help", "-p", "Varek")
        self.run_program("version", "-m", "version", answer=lambda: (SESSION.activate("Varek Printer"), SESSION.press("Return")))
        self.run_program("configure", "-m", "configure", "-p", "Varek",
                         answer=lambda: (SESSION.activate("Varek print - configuration"), SESSION.press("Return")))
        self.assertEqual(stat.S_IMODE(os.stat(SETTINGS).st_mode), 0o600)

    def test_install_and_uninstall_of_another_queue(self):
        text = contents("/etc/varek/varek.ini").decode().replace('Name="Varek"', 'Name="Second"')
        with open("/tmp/second.ini", "w", encoding="utf-8") as file:
            file.write(text.replace('Name="VarekPrint"', 'Name="SecondPrint"'))
        environment = {**os.environ, "XDG_CONFIG_HOME": "/tmp/root-settings"}
        environment.pop("XDG_CONFIG_DIRS", None)
        run(*tracer(trace("install")), "/usr/lib/varek/setup/vrp", "-m", "install", "-s", "-c", "/tmp/second.ini", "-d",
            "/usr/lib/varek/bin", "-l", "/tmp/install.log", env=environment)
        run(*tracer(trace("uninstall")), "/usr/lib/varek/setup/vrp", "-m", "uninstall", "-s", "-p", "Second", "-l",
            "/tmp/uninstall.log", env=environment)
        self.assertNotIn("Second", run("lpstat", "-v"))

    def test_core_files_of_the_server_are_off(self):
        self.assertEqual(core_limits(processes("vrserver")[0]), ("0", "0"))

    def test_core_files_of_the_servers_user_commands_are_off(self):
        for command in ("add", "passwd"):
            with self.subTest(command=command):
                # It waits for a password that it does not get.
                with subprocess.Popen(["/usr/sbin/vrserver", "--data", DATA, "user", command, "nobody-yet"],
                                      stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as program:
                    wait_until(lambda process=program.pid: core_limits(process) == ("0", "0"), "the command forbids core files")

    def test_the_servers_files_are_its_own(self):
        self.assertEqual(stat.S_IMODE(os.stat(DATA).st_mode), 0o700)
        for path in changed_files([DATA], 0):
            if not path.endswith(("/vrc-ca.pem", "/server.pem")):  # certificates are given to everybody
                self.assertEqual((path, stat.S_IMODE(os.stat(path).st_mode) & 0o077), (path, 0))

    def test_zz_no_password_was_written_or_passed(self):
        """The last test: looks through what all the others left, and through what was deleted meanwhile."""
        names = sorted(os.listdir(TRACES))
        self.assertEqual(names, ["agent", "configure", "cupsd", "help", "install", "kept", "proxy-basic", "proxy-digest",
                                 "server", "stored-async", "stored-standard", "stored-tunnel", "test", "testb", "uninstall",
                                 "version", "wrong"])
        for name in names:
            # A trace that sees nothing would find nothing: every program is seen starting and writing.
            text = contents(trace(name)).decode("ascii", "replace")
            self.assertRegex(text, r"execve\(")
            self.assertRegex(text, r"(write|pwrite64|writev|sendto|sendmsg)\(\d")
        self.assertTrue(traces_with(trace("stored-async"), "stored-async.pdf"))
        self.assertTrue(traces_with(trace("kept"), stored_form(PASSWORD)))
        self.assertTrue(traces_with(trace("proxy-basic"), "alice:" + BASIC, over_tcp=True))
        self.assertIn("/home/alice/stored-async.log", files_with("stored-async.pdf", FOLDERS, STARTED))
        for what, secret in SECRETS.items():
            with self.subTest(what=what):
                self.assertEqual([line for name in names for line in traces_with(trace(name), secret)], [])
                allowed = [installed_system.SERVER_CONFIGURATION] if secret == APPLICATION else []
                self.assertEqual([path for path in files_with(secret, FOLDERS, STARTED)], allowed)

    def test_a_secret_is_recognised_in_every_form(self):
        plain = PASSWORD.encode()
        for text in (plain, PASSWORD.encode("utf-16-le"), PASSWORD.encode("utf-32-le"), plain.hex().encode()):
            self.assertTrue(any(form in b"before" + text + b"behind" for form in forms(PASSWORD)))
        for before in ("", "u:", "us:", "use:"):
            text = subprocess.run(["base64"], input=(before + PASSWORD + "x").encode(), stdout=subprocess.PIPE, check=True).stdout
            self.assertTrue(any(form in text for form in forms(PASSWORD)), before)


if __name__ == "__main__":
    run_tests()
