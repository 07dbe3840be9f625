# SPDX-License-Identifier: MIT
"""The Debian packages on a machine with CUPS: install, print, upgrade, print, remove, purge."""

import glob
import os
import re
import shutil
import stat
import subprocess
import unittest

from installed_system import DATA, add_user, edit, start_server
from packages import PACKAGES, make_packages
from private_machine import build_dir, run, run_as, run_tests, source_dir, start_cupsd
from spool_view import documents, make_pdf, print_as, queue_attribute, tickets, wait_for_job

STORES = "/etc/xdg/Varek Systems"
# Where a package and its scripts can leave something, and what in there belongs to CUPS, to dpkg or to nobody.
SYSTEM = ("/bin", "/etc", "/lib", "/opt", "/sbin", "/srv", "/usr", "/var", "/root/.config", "/home")
NOT_OURS = ("/var/tmp", "/var/log", "/var/cache", "/var/lib/dpkg", "/var/lib/systemd", "/var/spool/cups", "/etc/cups",
            source_dir(), build_dir())


def newer(package):
    """The same package as version 1.0.1, its configuration file a little different."""
    folder = os.path.join(PACKAGES, "newer")
    run("dpkg-deb", "-R", package, folder)
    control = os.path.join(folder, "DEBIAN/control")
    with open(control, encoding="utf-8") as file:
        text = file.read()
    with open(control, "w", encoding="utf-8") as file:
        file.write(re.sub(r"^Version: .*$", "Version: 1.0.1", text, flags=re.M))
    with open(os.path.join(folder, "etc/varek/varek.ini"), "a", encoding="utf-8") as file:
        file.write("; of the new version\n")
    run("dpkg-deb", "-b", "--root-owner-group", folder, PACKAGES + "/newer.deb")
    return PACKAGES + "/newer.deb"


def all_files():
    found = set()
    for top in SYSTEM:
        for folder, folders, names in os.walk(top):
            folders[:] = [name for name in folders if os.path.join(folder, name) not in NOT_OURS]
            found.update(os.path.join(folder, name) for name in folders + names)
    return found


def install(package, check=True):
    return run("dpkg", "--force-confold", "-i", package, check=check,
               env={**os.environ, "DEBIAN_FRONTEND": "noninteractive"})


def queues():
    done = subprocess.run(["lpstat", "-v"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False)
    return done.stdout.decode()


def setUpModule():
    global PRINT, SERVER, FILES_BEFORE
    # lintian and the scripts want a machine on which nothing of ours was installed before.
    packages = make_packages()
    PRINT, SERVER = packages["varek-print"], packages["varek-server"]
    make_pdf("/tmp/one.pdf", 1)
    FILES_BEFORE = all_files()


class Package(unittest.TestCase):
    def tearDown(self):
        run("dpkg", "-P", "varek-print", "varek-server", check=False)

    def print_a_document(self, count):
        job = print_as("alice", "/tmp/one.pdf")
        self.assertEqual(wait_for_job(job), "completed")
        self.assertEqual((len(tickets("alice")), len(documents("alice"))), (count, count))

    def check_installation(self):
        self.assertIn("device for Varek: varek:127.0.0.1", queues())
        self.assertEqual(queue_attribute("printer-is-shared"), "false")
        self.assertEqual(queue_attribute("printer-error-policy"), "abort-job")
        self.assertIn("no system default destination", run("lpstat", "-d"))
        self.assertEqual(stat.S_IMODE(os.stat("/usr/lib/cups/backend/varek").st_mode), 0o700)
        for name in ("vrp", "vrpconfig"):
            self.assertTrue(os.access("/usr/lib/varek/bin/" + name, os.X_OK))
        self.assertTrue(os.path.exists(STORES + "/Vrp.conf") and os.path.exists(STORES + "/VarekPrint.conf"))

    def test_life_of_an_installation(self):
        cupsd = start_cupsd()
        install(PRINT)
        self.check_installation()
        self.print_a_document(1)

        with open("/etc/varek/varek.ini", "r+", encoding="utf-8") as file:
            text = file.read().replace('Sdir1="localhost:1082;directory:demo"', 'Sdir1="print.test:1082;directory:site"')
            file.seek(0)
            file.write(text)
        waiting = [print_as("alice", "/tmp/one.pdf") for _ in range(5)]
        held = print_as("alice", "-H", "hold", "/tmp/one.pdf")
        install(newer(PRINT))
        self.check_installation()
        self.assertEqual(len(tickets("alice")), 1 + len(waiting))
        self.assertEqual(re.findall(r"^\S+", run("lpstat", "-o"), re.M), ["Varek-%d" % held])
        run("lp", "-i", "Varek-%d" % held, "-H", "resume")
        self.assertEqual(wait_for_job(held), "completed")
        with open("/etc/varek/varek.ini", encoding="utf-8") as file:
            self.assertIn('Sdir1="print.test:1082;directory:site"', file.read())
        with open(STORES + "/VarekPrint.conf", encoding="utf-8") as file:
            self.assertIn("print.test:1082;directory:site", file.read())
        self.print_a_document(8)

        run("dpkg", "-r", "varek-print")
        self.assertNotIn("Varek", queues())
        self.assertTrue(os.path.exists("/etc/varek/varek.ini"))
        self.assertEqual(len(documents("alice")), 8)

        run("dpkg", "-P", "varek-print")
        cupsd.terminate()
        cupsd.wait()
        self.assertEqual(sorted(all_files() - FILES_BEFORE), [])

    def test_a_renamed_printer_keeps_its_jobs_and_leaves_nothing_of_either_name(self):
        cupsd = start_cupsd()
        install(PRINT)
        held = print_as("alice", "-H", "hold", "/tmp/one.pdf")
        for pattern, text in (('^Name="Varek"$', 'Name="Office"'), ('^Monitor="varek"$', 'Monitor="office"'),
                              ('^MonitorDll="varek"$', 'MonitorDll="office"'),
                              ('^Company=.*$', 'Company="Example Ltd"'), ('^Name="VarekPrint"$', 'Name="Example Print"')):
            edit("/etc/varek/varek.ini", pattern, text)
        run("dpkg-reconfigure", "varek-print")
        self.assertEqual(queues(), "device for Office: office:127.0.0.1\n")
        self.assertEqual(re.findall(r"^\S+", run("lpstat", "-o"), re.M), ["Office-%d" % held])
        self.assertTrue(os.path.exists("/etc/xdg/Example Ltd/Example Print.conf"))

        run("dpkg", "-P", "varek-print")
        self.assertEqual(queues(), "")
        cupsd.terminate()
        cupsd.wait()
        self.assertEqual(sorted(all_files() - FILES_BEFORE), [])

    def test_a_stopped_print_service_hinders_neither_installing_nor_removing(self):
        self.assertIn("dpkg-reconfigure varek-print", install(PRINT))
        self.assertIn("install ok installed", run("dpkg", "-s", "varek-print"))
        run("dpkg", "-P", "varek-print")
        self.assertEqual(sorted(all_files() - FILES_BEFORE), [])

    def test_the_users_settings_are_not_those_of_root(self):
        install(PRINT)
        self.assertFalse(os.path.exists("/root/.config/Varek Systems"))
        self.assertIn("Permission denied", run_as("alice", "ls", "/var/spool/varek", check=False))

    def test_a_purged_server_leaves_its_data_and_nothing_else(self):
        self.addCleanup(shutil.rmtree, DATA, ignore_errors=True)
        install(SERVER)
        server = start_server()
        add_user("alice", "secret-7")
        server.terminate()
        self.assertEqual(server.wait(60), 0)
        run("dpkg", "-P", "varek-server")
        self.assertFalse(os.path.exists("/usr/sbin/vrserver"))
        left = all_files() - FILES_BEFORE
        self.assertIn(DATA + "/vrserver.db", left)
        self.assertEqual([path for path in left if path != DATA and not path.startswith(DATA + "/")], [])

        install(SERVER)
        self.assertIn("alice", run("/usr/sbin/vrserver", "user", "list", "--data", DATA).split())

    def test_lintian_finds_no_error_and_nothing_to_warn_of(self):
        packages = glob.glob(PACKAGES + "/varek-*.deb")
        self.assertEqual(len(packages), 2)
        answer = run("lintian", "--allow-root", "--pedantic", *packages, check=False)
        self.assertEqual([line for line in answer.splitlines() if line[:2] in ("E:", "W:", "P:")], [])

    def test_the_packages_name_what_they_need_to_run(self):
        needs = run("dpkg-deb", "-f", PRINT, "Depends", "Recommends")
        for package in ("cups-daemon", "cups-client", "cups-filters", "libqt", "libcurl4", "l10n", "libnotify-bin"):
            self.assertIn(package, needs)


if __name__ == "__main__":
    run_tests()
