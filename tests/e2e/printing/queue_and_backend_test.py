# SPDX-License-Identifier: MIT
"""Documents printed with lp by ordinary users, through a real cupsd, into the spool by the backend."""

import contextlib
import os
import shutil
import stat
import subprocess
import unittest

from private_machine import USERS, build_dir, run, run_as, run_tests, source_dir, start_cupsd, wait_until
from spool_view import (SPOOL, contents, documents, empty_spool, job_attribute, make_pdf, page_size, pages, print_as,
                        queue_is_open, spool_of, tickets, wait_for_job)

BACKEND = "/usr/lib/cups/backend/varek"
PPD = os.path.join(source_dir(), "packaging/ppd/Varek.ppd")
MAPPING = "/etc/varek/backend.conf"


def create_queue(ppd=PPD):
    run("lpadmin", "-p", "Varek", "-E", "-v", "varek:127.0.0.1", "-P", ppd, "-o", "printer-is-shared=false",
        "-o", "printer-error-policy=abort-job")


@contextlib.contextmanager
def queue_with_half_a_filter(ending):
    """The queue, with a filter that writes half a document and then does something else."""
    with open("/usr/lib/cups/filter/half", "w", encoding="utf-8") as file:
        file.write("#!/bin/sh\nprintf '%%PDF-1.7\\nhalf'\n" + ending + "\n")
    os.chmod("/usr/lib/cups/filter/half", 0o755)
    with open("/tmp/half.ppd", "w", encoding="utf-8") as file:
        file.write(contents(PPD).decode().replace('"application/vnd.cups-pdf 0 -"', '"application/pdf 0 half"'))
    create_queue("/tmp/half.ppd")
    try:
        yield
    finally:
        create_queue()


def setUpModule():
    shutil.copy(os.path.join(build_dir(), "bin/varek-backend"), BACKEND)
    os.chmod(BACKEND, 0o700)
    os.makedirs("/etc/varek", exist_ok=True)
    start_cupsd()
    create_queue()
    make_pdf("/tmp/five.pdf", 5)
    make_pdf("/tmp/one.pdf", 1)


class Printing(unittest.TestCase):
    def setUp(self):
        empty_spool()

    def tearDown(self):
        self.assertTrue(queue_is_open())

    def print_and_wait(self, user, *arguments):
        job = print_as(user, *arguments)
        self.assertEqual(wait_for_job(job), "completed", job_attribute(job, "job-printer-state-message"))
        return job

    def test_any_bytes_arrive_as_they_are(self):
        for count in (1, 65536, 3_000_001):
            data = os.urandom(count)
            with open("/tmp/bytes", "wb") as file:
                file.write(data)
            os.chmod("/tmp/bytes", 0o644)
            self.print_and_wait("alice", "-o", "raw", "/tmp/bytes")
            self.assertEqual(contents(documents("alice")[-1]), data)

    def test_ticket_says_queue_title_host_user_and_copies(self):
        self.print_and_wait("alice", "-t", "Grüße & more", "/tmp/one.pdf")
        ticket = tickets("alice")[0]
        self.assertAlmostEqual(int(ticket.pop("time")), os.stat(documents("alice")[0]).st_mtime, delta=60)
        self.assertEqual(ticket, {"queue": "Varek", "title": "Grüße & more", "host": "desk7", "user": "alice",
                                  "copies": "1"})

    def test_spool_belongs_to_the_user_alone(self):
        self.print_and_wait("alice", "/tmp/one.pdf")
        self.assertEqual(stat.S_IMODE(os.stat(SPOOL).st_mode), 0o711)
        self.assertEqual(stat.S_IMODE(os.stat(spool_of("alice")).st_mode), 0o700)
        for name in os.listdir(spool_of("alice")):
            status = os.lstat(os.path.join(spool_of("alice"), name))
            self.assertEqual((status.st_uid, status.st_gid, stat.S_IMODE(status.st_mode)),
                             (USERS["alice"], USERS["alice"], 0o600))
        self.assertIn("Permission denied", run_as("bob", "ls", spool_of("alice"), check=False))

    def test_each_user_gets_the_own_documents(self):
        self.print_and_wait("alice", "-t", "hers", "/tmp/one.pdf")
        self.print_and_wait("bob", "-t", "his", "/tmp/one.pdf")
        self.assertEqual([t["title"] for t in tickets("alice")], ["hers"])
        self.assertEqual([t["title"] for t in tickets("bob")], ["his"])

    def test_both_files_of_a_job_arrive(self):
        self.print_and_wait("alice", "/tmp/one.pdf", "/tmp/five.pdf")
        self.assertEqual([pages(path) for path in documents("alice")], [1, 5])
        self.assertEqual(len(tickets("alice")), 2)

    def test_page_ranges_sheets_and_copies_are_applied(self):
        for options, count in ((["-P", "2-3"], 2), (["-o", "number-up=2"], 3), (["-n", "3"], 15),
                               (["-P", "1,5", "-n", "2"], 4)):
            with self.subTest(options=options):
                empty_spool()
                self.print_and_wait("alice", *options, "/tmp/five.pdf")
                self.assertEqual(pages(documents("alice")[0]), count)

    def test_paper_size_is_applied(self):
        for media, size in (("A4", (595, 842)), ("A3", (842, 1191)), ("Letter", (612, 792)),
                            ("Custom.1000x2000", (1000, 2000))):
            with self.subTest(media=media):
                empty_spool()
                self.print_and_wait("alice", "-o", "media=" + media, "-o", "fit-to-page", "/tmp/one.pdf")
                for found, wanted in zip(page_size(documents("alice")[0]), size):
                    self.assertAlmostEqual(found, wanted, delta=1)

    def test_text_and_postscript_arrive_as_pdf(self):
        with open("/tmp/text.txt", "w", encoding="utf-8") as file:
            file.write("Hello\n")
        with open("/tmp/page.ps", "w", encoding="utf-8") as file:
            file.write("%!PS\n/Helvetica 40 selectfont 72 700 moveto (Hello) show showpage\n")
        for path in ("/tmp/text.txt", "/tmp/page.ps"):
            with self.subTest(path=path):
                os.chmod(path, 0o644)
                empty_spool()
                self.print_and_wait("alice", path)
                self.assertTrue(contents(documents("alice")[0]).startswith(b"%PDF-"))
                self.assertEqual(pages(documents("alice")[0]), 1)


class Strangers(unittest.TestCase):
    """What people put into titles, names and options."""

    HOSTILE = ['a" -l /home/alice/precious "b', '5" x', "-k", "-l", "-s", "$(touch /tmp/pwned)", "`touch /tmp/pwned`",
               "; touch /tmp/pwned", "%n%s", "a|b", "line\nuser=root\r\nend", "x" * 1000, "*", "../../x", "\x1b[2J"]

    def setUp(self):
        empty_spool()
        run_as("alice", "sh", "-c", "echo precious >/home/alice/precious")

    def tearDown(self):
        self.assertTrue(queue_is_open())
        self.assertFalse(os.path.exists("/tmp/pwned"))
        self.assertEqual(contents("/home/alice/precious"), b"precious\n")
        if os.path.exists(MAPPING):
            os.remove(MAPPING)

    def check_value(self, value):
        self.assertNotRegex(value, "^-")
        self.assertNotRegex(value, "[\"|\x00-\x1f\x7f]")
        self.assertLessEqual(len(value.encode()), 1024)

    def test_titles_stay_titles(self):
        for title in self.HOSTILE:
            with self.subTest(title=title):
                empty_spool()
                job = print_as("alice", "-t", title, "/tmp/one.pdf")
                self.assertEqual(wait_for_job(job), "completed")
                ticket = tickets("alice")[0]
                self.check_value(ticket["title"])
                self.assertEqual((ticket["user"], ticket["queue"], ticket["copies"]), ("alice", "Varek", "1"))
                self.assertEqual(len(documents("alice")), 1)

    def test_titles_that_cups_itself_would_not_take_are_mended(self):
        # The backend is started as cupsd would: CUPS calls a job with such a title "Untitled".
        for title, mended in ((b"y" * 65535, "y" * 1024), (b"a\xff\xfeb", "a\ufffd\ufffdb")):
            empty_spool()
            run("env", "-i", "PRINTER=Varek", BACKEND, "7", "alice", title, "1",
                "job-originating-host-name=localhost", "/tmp/one.pdf")
            self.assertEqual(tickets("alice")[0]["title"], mended)

    def test_queue_names_stay_queue_names(self):
        # The backend is started as cupsd would: most of these CUPS does not take for the name of a queue.
        for name in self.HOSTILE + ["<b>%s%n</b>", "&x'y"]:
            with self.subTest(name=name):
                empty_spool()
                run("env", "-i", "PRINTER=" + name, BACKEND, "7", "alice", "plain", "1",
                    "job-originating-host-name=localhost", "/tmp/one.pdf")
                ticket = tickets("alice")[0]
                self.check_value(ticket["queue"])
                self.assertEqual((ticket["user"], ticket["title"]), ("alice", "plain"))

    def test_user_names_stay_user_names(self):
        os.makedirs(os.path.dirname(MAPPING), exist_ok=True)
        with open(MAPPING, "w", encoding="utf-8") as file:
            file.write("map *@localhost bob\n")
        for user in self.HOSTILE:
            with self.subTest(user=user):
                empty_spool()
                job = print_as("alice", "-U", user, "/tmp/one.pdf")
                self.assertEqual(wait_for_job(job), "completed")
                self.check_value(tickets("bob")[0]["user"])
                self.assertEqual(tickets("alice"), [])

    def test_options_stay_options(self):
        for option in ('a" -l /home/alice/precious "b=1', "x=$(touch /tmp/pwned)", "-k=-l", "title=root",
                       "copies-supported=;touch /tmp/pwned", "job-name=\n-k"):
            with self.subTest(option=option):
                empty_spool()
                job = print_as("alice", "-t", "plain", "-o", option, "/tmp/one.pdf")
                self.assertEqual(wait_for_job(job), "completed")
                self.assertEqual(tickets("alice")[0]["user"], "alice")


class Refusals(unittest.TestCase):
    def setUp(self):
        empty_spool()

    def tearDown(self):
        self.assertTrue(queue_is_open())

    def expect_refusal(self, job, message):
        self.assertEqual(wait_for_job(job), "canceled")
        self.assertEqual(job_attribute(job, "job-printer-state-message"), message)
        shown = run("lpstat", "-l", "-p", "Varek")
        self.assertIn(message, shown)
        self.assertIn("varek-refused-warning", shown)
        self.assertEqual(tickets("alice") + tickets("bob"), [])

    def test_system_users_and_unknown_users_are_refused_until_the_next_good_job(self):
        for user, message in (("root", "Refused: 'root' is a system user"), ("lp", "Refused: 'lp' is a system user"),
                              ("nobody", "Refused: 'nobody' is a system user"),
                              ("mallory", "Refused: there is no user 'mallory' on this computer")):
            with self.subTest(user=user):
                self.expect_refusal(print_as("alice", "-U", user, "/tmp/one.pdf"), message)
        self.assertEqual(wait_for_job(print_as("alice", "/tmp/one.pdf")), "completed")
        self.assertNotIn("varek-refused-warning", run("lpstat", "-l", "-p", "Varek"))

    def test_jobs_of_other_computers_are_refused_unless_mapped(self):
        run("ip", "address", "add", "192.0.2.7/32", "dev", "lo")
        run("lpadmin", "-p", "Varek", "-o", "printer-is-shared=true")
        remote = ["-h", "192.0.2.7:631", "/tmp/one.pdf"]
        self.expect_refusal(print_as("alice", *remote),
                            "Refused: the job comes from another computer (192.0.2.7)")
        with open(MAPPING, "w", encoding="utf-8") as file:
            file.write("map *@192.0.2.7 bob\n")
        self.assertEqual(wait_for_job(print_as("alice", *remote)), "completed")
        self.assertEqual((tickets("bob")[0]["user"], tickets("bob")[0]["host"]), ("alice", "192.0.2.7"))
        os.remove(MAPPING)
        run("lpadmin", "-p", "Varek", "-o", "printer-is-shared=false")


    def test_each_message_is_written_at_once(self):
        # A pipe that keeps writes apart, in the place of the one that cupsd's filters write to as well.
        reading, writing = os.pipe2(os.O_DIRECT)
        with subprocess.Popen([BACKEND, "7", "nobody", "title", "1", "", "/tmp/one.pdf"], stderr=writing,
                              env={"PRINTER": "Varek", "DEVICE_URI": "varek:127.0.0.1"}) as backend:
            os.close(writing)
            messages = list(iter(lambda: os.read(reading, 4096), b""))
            backend.wait(60)
        os.close(reading)
        self.assertIn(b"STATE: +varek-refused-warning\n", messages)
        self.assertIn(b"ERROR: Refused: the job comes from another computer (unknown)\n", messages)
        self.assertTrue(all(message.endswith(b"\n") for message in messages))


class Trouble(unittest.TestCase):
    def setUp(self):
        empty_spool()

    def tearDown(self):
        self.assertTrue(queue_is_open())

    def test_a_full_disk_holds_the_job_until_it_is_released(self):
        run("mount", "-t", "tmpfs", "-o", "size=256k,mode=0711", "small", SPOOL)
        try:
            with open("/tmp/large", "wb") as file:
                file.write(b"x" * 1_000_000)
            os.chmod("/tmp/large", 0o644)
            job = print_as("alice", "-o", "raw", "/tmp/large")
            self.assertEqual(wait_for_job(job), "held")
            self.assertEqual(os.listdir(spool_of("alice")), [])
            run("mount", "-o", "remount,size=4m", SPOOL)
            run("lp", "-i", "Varek-%d" % job, "-H", "resume")
            wait_until(lambda: tickets("alice"), "the released job arrives")
            self.assertEqual(contents(documents("alice")[0]), b"x" * 1_000_000)
        finally:
            run("umount", SPOOL)

    def test_a_job_cancelled_while_it_is_filtered_leaves_nothing_behind(self):
        with queue_with_half_a_filter("exec tail -f /dev/null"):
            job = print_as("alice", "/tmp/one.pdf")
            wait_until(lambda: os.path.exists(spool_of("alice")) and os.listdir(spool_of("alice")),
                       "the backend has begun")
            run_as("alice", "cancel", "Varek-%d" % job)
            self.assertEqual(wait_for_job(job), "canceled")
            wait_until(lambda: os.listdir(spool_of("alice")) == [], "the spool is empty")

    def test_a_filter_that_fails_delivers_no_half_document(self):
        with queue_with_half_a_filter("exit 1"):
            job = print_as("alice", "/tmp/one.pdf")
            self.assertIn(wait_for_job(job), ("canceled", "aborted"))
            self.assertEqual(os.listdir(spool_of("alice")), [])

    def test_cupsd_finds_the_device_and_its_driver(self):
        self.assertIn("direct varek:127.0.0.1", run("lpinfo", "--include-schemes", "varek", "-v"))


if __name__ == "__main__":
    run_tests()
