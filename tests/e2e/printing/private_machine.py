# SPDX-License-Identifier: MIT
"""A machine of its own for a test of printing: the root file system under an overlay that is thrown away, own processes,
own network with nothing but the loopback, own users. Whatever a test installs or prints there, the real machine stays as it is.

A test program calls run_tests(), another program run_inside(); it is started once more inside of the machine."""

import os
import pwd
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

LIMIT_SECONDS = 60
USERS = {"alice": 5001, "bob": 5002}
_INSIDE = "VAREK_PRIVATE_MACHINE"

# Programs that the tests start, and the Debian packages that they come from.
_NEEDED = {
    "cupsd": "cups-daemon", "lp": "cups-client", "lpadmin": "cups-client", "pdfinfo": "poppler-utils",
    "unshare": "util-linux", "setpriv": "util-linux", "ip": "iproute2", "Xvfb": "xvfb", "gs": "ghostscript",
    "openbox": "openbox", "xdotool": "xdotool", "xprop": "x11-utils", "ipptool": "cups-ipp-utils",
}


_running = []


def build_dir():
    return os.environ["VAREK_BUILD_DIR"]


def source_dir():
    return os.path.dirname(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))))


def wait_until(condition, what, seconds=LIMIT_SECONDS):
    """Waits for a condition; gives its value."""
    limit = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > limit:
            raise AssertionError("did not happen in %d s: %s" % (seconds, what))
        time.sleep(0.02)


def run(*command, check=True, **settings):
    """Runs a command as root; gives its standard output and error, and fails the test when it fails."""
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL,
                          timeout=LIMIT_SECONDS * 2, **settings)
    text = done.stdout.decode("utf-8", "replace")
    if check and done.returncode != 0:
        raise AssertionError("%r ended with %d: %s" % (command, done.returncode, text))
    return text


def as_user(user, *command, **variables):
    """The command line that runs a command as a user, in a clean environment."""
    environment = {"PATH": "/usr/local/bin:/usr/bin:/bin:/usr/sbin", "HOME": "/home/" + user, "USER": user,
                   "LANG": "C.UTF-8", **variables}
    return ["setpriv", "--reuid=" + user, "--regid=%d" % USERS[user], "--clear-groups", "env", "-i",
            *("%s=%s" % pair for pair in environment.items()), *command]


def run_as(user, *command, check=True, **variables):
    return run(*as_user(user, *command, **variables), check=check)


def _mount(kind, source, target, options=None):
    os.makedirs(target, exist_ok=True)
    run("mount", "-t", kind, *(["-o", options] if options else []), source, target)


def _enter_overlay(scratch):
    _mount("tmpfs", "scratch", scratch, "size=2g,mode=0755")
    upper, work, root = (os.path.join(scratch, name) for name in ("upper", "work", "root"))
    for folder in (upper, work):
        os.mkdir(folder)
    _mount("overlay", "overlay", root, "lowerdir=/,upperdir=%s,workdir=%s" % (upper, work))
    for folder in ("/dev", "/sys"):
        run("mount", "--rbind", folder, root + folder)
    for folder, mode in (("/run", "0755"), ("/tmp", "1777"), ("/var/spool/cups", "0710"), ("/dev/shm", "1777")):
        _mount("tmpfs", "scratch", root + folder, "mode=" + mode)
    for folder in {source_dir(), build_dir()}:  # which may lie in a folder that has just been covered
        os.makedirs(root + folder, exist_ok=True)
        run("mount", "--bind", folder, root + folder)
    os.chroot(root)
    os.chdir("/")
    _mount("proc", "proc", "/proc")
    shutil.chown("/var/spool/cups", "root", "lp")


def _create_users():
    for user, number in USERS.items():
        with open("/etc/passwd", "a", encoding="utf-8") as users:
            users.write("%s:x:%d:%d:%s:/home/%s:/bin/sh\n" % (user, number, number, user.title(), user))
        with open("/etc/group", "a", encoding="utf-8") as groups:
            groups.write("%s:x:%d:\n" % (user, number))
        os.makedirs("/home/" + user)
        os.chown("/home/" + user, number, number)
        os.chmod("/home/" + user, 0o700)
        pwd.getpwnam(user)


def start(*command, **settings):
    """Starts a program that runs until the machine is gone."""
    _running.append(subprocess.Popen(command, stdin=subprocess.DEVNULL, **settings))
    return _running[-1]


CUPSD_CONF = """MaxLogSize 0
Port 631
Listen /run/cups/cups.sock
ServerAlias *
Browsing No
WebInterface No
DefaultShared No
<Location />
  Order allow,deny
  Allow all
</Location>
"""


def start_cupsd(settings="LogLevel debug\n", before=()):
    """Starts cupsd with what every test needs in its configuration, and these settings; `before` goes before its command."""
    for folder in ("/run/cups", "/var/log/cups"):
        os.makedirs(folder, exist_ok=True)
    with open("/etc/cups/cupsd.conf", encoding="utf-8") as file:
        policies = file.read()
    with open("/etc/cups/cupsd.conf", "w", encoding="utf-8") as file:
        file.write(settings + CUPSD_CONF + policies[policies.index("<Policy default>"):])
    daemon = start(*before, "cupsd", "-f", stderr=subprocess.DEVNULL)
    wait_until(lambda: subprocess.run(["lpstat", "-r"], stdout=subprocess.PIPE, check=False).stdout.strip()
               == b"scheduler is running", "cupsd answers")
    return daemon


def start_display(number, size="1024x768"):
    """Starts an X server without access control and gives the value for DISPLAY.

    It must not reset itself between two clients, when it would refuse the next one for a moment."""
    start("Xvfb", ":%d" % number, "-screen", "0", size + "x24", "-nolisten", "tcp", "-ac", "-noreset",
          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    name = ":%d" % number
    wait_until(lambda: subprocess.run(["xprop", "-root", "-display", name], stdout=subprocess.DEVNULL,
                                      stderr=subprocess.DEVNULL, check=False).returncode == 0, "the X server answers")
    return name


def _collect_orphans():
    """Leaves the first process of the machine behind, to collect what others leave behind; goes on in a child of it."""
    worker = os.fork()
    if worker == 0:
        return
    while True:
        process, status = os.wait()
        if process == worker:
            os._exit(os.waitstatus_to_exitcode(status) % 256)


def run_inside(body):
    """Has a function run on a machine of its own, which has the users of USERS, and ends with its result as status."""
    if _INSIDE in os.environ:
        _collect_orphans()
        _enter_overlay(os.environ[_INSIDE])
        _create_users()
        run("ip", "link", "set", "lo", "up")
        run("hostname", "desk7")
        sys.exit(body())
    os.environ.setdefault("PATH", "/usr/bin:/bin")
    os.environ["PATH"] += ":/usr/sbin:/sbin"
    missing = sorted({package for program, package in _NEEDED.items() if shutil.which(program) is None})
    if missing or os.geteuid() != 0:
        sys.exit("this needs root and the packages: " + (" ".join(missing) or "all there"))
    scratch = tempfile.mkdtemp(prefix="varek-machine-")
    try:
        # Where this process is killed, as by a time limit, the machine goes with it.
        done = subprocess.run(["setpriv", "--pdeathsig", "KILL", "unshare", "--mount", "--pid", "--net", "--uts", "--ipc", "--fork", "--kill-child",
                               sys.executable, *sys.argv],
                              env={**os.environ, _INSIDE: scratch, "LC_ALL": "C.UTF-8"}, check=False)
    finally:
        os.rmdir(scratch)
    sys.exit(done.returncode)


def run_tests():
    """The main function of a test program."""
    run_inside(lambda: unittest.main(verbosity=2))
