# SPDX-License-Identifier: MIT
"""What a test sees of the spool and of CUPS, and the documents that it prints."""

import os
import re
import subprocess

from private_machine import USERS, run, run_as, wait_until

SPOOL = "/var/spool/varek"


def spool_of(user):
    return "%s/%d" % (SPOOL, USERS[user])


def _names(folder, suffix):
    return sorted(name for name in os.listdir(folder) if name.endswith(suffix)) if os.path.isdir(folder) else []


def tickets(user):
    """The tickets that wait for a user, oldest first, each as a dictionary."""
    found = []
    for name in _names(spool_of(user), ".ticket"):
        with open(os.path.join(spool_of(user), name), encoding="utf-8") as file:
            lines = file.read().split("\n")
        assert lines[0] == "varek-ticket 1" and lines[-1] == "", lines
        found.append(dict(line.split("=", 1) for line in lines[1:-1]))
    return found


def documents(user):
    """The paths of the documents that wait for a user, oldest first."""
    return [os.path.join(spool_of(user), name) for name in _names(spool_of(user), ".document")]


def contents(path):
    with open(path, "rb") as file:
        return file.read()


def empty_spool():
    for user in USERS:
        for folder, _, names in os.walk(spool_of(user)):
            for name in names:
                os.remove(os.path.join(folder, name))


def pages(path):
    return int(re.search(r"^Pages: +(\d+)", run("pdfinfo", path), re.M).group(1))


def page_size(path):
    """Width and height of the first page, in whole points."""
    size = re.search(r"^Page size: +([\d.]+) x ([\d.]+)", run("pdfinfo", path), re.M)
    return round(float(size.group(1))), round(float(size.group(2)))


def make_pdf(path, count):
    """A PDF of so many A4 pages, each with its number on it."""
    program = ("1 1 %d { /Helvetica 40 selectfont 72 700 moveto (Page ) show 20 string cvs show showpage } for"
               % count)
    run("gs", "-q", "-dBATCH", "-dNOPAUSE", "-sDEVICE=pdfwrite", "-sPAPERSIZE=a4", "-o", path, "-c", program)
    os.chmod(path, 0o644)
    return path


def print_as(user, *arguments, check=True):
    """Prints with lp as a user; gives the job's number, or None when CUPS did not take it."""
    answer = run_as(user, "lp", "-d", "Varek", *arguments, check=check)
    number = re.search(r"request id is Varek-(\d+)", answer)
    return int(number.group(1)) if number else None


def _attribute(operation, target, name):
    request = """{
    OPERATION %s
    GROUP operation-attributes-tag
    ATTR charset attributes-charset utf-8
    ATTR naturalLanguage attributes-natural-language en
    ATTR uri %s
    ATTR name requesting-user-name root
    ATTR keyword requested-attributes %s
    DISPLAY %s\n}""" % (operation, target, name, name)
    done = subprocess.run(["ipptool", "-t", "-v", "ipp://localhost/", "/dev/stdin"], input=request.encode(),
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    found = re.search(r"^ +%s \([^)]*\) = (.*)$" % name, done.stdout.decode("utf-8", "replace"), re.M)
    return found.group(1) if found else ""


def job_attribute(job, name):
    """An attribute of a job as cupsd tells it to root."""
    return _attribute("Get-Job-Attributes", "job-uri ipp://localhost/jobs/%d" % job, name)


def queue_attribute(name):
    """An attribute of the queue."""
    return _attribute("Get-Printer-Attributes", "printer-uri ipp://localhost/printers/Varek", name)


def wait_for_job(job):
    """Waits until cupsd is done with a job, or holds it; gives the state's name."""
    return wait_until(lambda: next((state for state in ("completed", "canceled", "aborted", "held")
                                    if job_attribute(job, "job-state").endswith(state)), None),
                      "job %d is done" % job)


def queue_is_open():
    """Whether the queue takes and prints jobs."""
    answer = run("lpstat", "-p", "Varek", "-a", "Varek")
    return "enabled since" in answer and "accepting requests since" in answer
