# SPDX-License-Identifier: MIT
"""Many prints by many users through lp, a real cupsd, backend, agents, program and server, with a fault now and then. Every
document must arrive as it is, once, or its user must be told why it did not; and nothing may grow.

    soak.py [--prints N] [--users N] [--fault-every N]        in the environment VAREK_BUILD_DIR"""

import argparse
import os
import random
import sys
import threading
import time
import traceback

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "e2e", "printing"))

from installed_system import DATA, arrived, path_on_server  # noqa: E402
from private_machine import USERS, run_inside, wait_until  # noqa: E402
from soak_faults import FAULTS  # noqa: E402
from soak_machine import SoakMachine  # noqa: E402
from soak_measures import row, take_sample  # noqa: E402
from soak_outcomes import Outcome, check_growth, check_outcomes, last_message, report  # noqa: E402
from spool_view import print_as  # noqa: E402
from unique_document import says_its_title, unique_pdf  # noqa: E402

SERVER_SESSIONS = DATA + "/sessions"
FIRST_USER_NUMBER = 5101
ROUND = 100
STILL_SECONDS = 120  # a print that has not moved for so long does not go on
PATIENCE_SECONDS = 400  # even if something moves


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--prints", type=int, default=1000)
    parser.add_argument("--users", type=int, default=20)
    parser.add_argument("--fault-every", type=int, default=100)
    parser.add_argument("--only", choices=[fault.__name__ for fault in FAULTS], help="the only kind of fault")
    return parser.parse_args()


class Soak:
    def __init__(self, options):
        self.options = options
        self.machine = SoakMachine()
        self.outcomes = []
        self.violations = []
        self.pages = {}
        self.has_given_up = threading.Event()  # a print does not go on: nothing further is printed
        self._lock = threading.Lock()
        self._one_fault = threading.Lock()  # what another fault may do to its document is not what a fault expects

    def complain(self, text):
        with self._lock:
            self.violations.append(text)
            print("VIOLATION:", text, file=sys.stderr, flush=True)

    def print_document(self, user, title, kilobytes=None, raw=None):
        """Prints a document of this title; gives the job's number."""
        data, pages = (raw, 0) if raw else unique_pdf(title, kilobytes)
        path = "/var/tmp/%s.pdf" % title.split()[0]
        with open(path, "wb") as file:
            file.write(data)
        os.chmod(path, 0o644)
        self.pages[title] = pages
        try:
            with self.machine.lock:
                return print_as(user.name, "-t", title, *(["-o", "raw"] if raw else []), path)
        finally:
            os.remove(path)

    def wait_until_settled(self, user, titles):
        """Until every title's program was started and nothing waits in the spool, for as long as something moves."""
        def is_settled():
            return all(user.sent(title, "sha256") for title in titles) and not user.waits()

        limit = time.monotonic() + PATIENCE_SECONDS
        while not is_settled():
            before = self.machine.position_of(user, titles)
            try:
                wait_until(lambda: is_settled() or time.monotonic() < limit
                           and self.machine.position_of(user, titles) != before,
                           "the documents of %s go on" % user.name, STILL_SECONDS)
            except AssertionError as late:
                raise AssertionError("\n".join([str(late), *(self.machine.where_it_stands(user, title) for title in titles)])) \
                    from None

    def judge(self, user, title, fault, allowed):
        """Notes what became of a document, and complains when that is none of the allowed outcomes."""
        rows = arrived("file_name = ?", title)
        log = user.sent(title, "log")
        with self._lock:
            kept = title in user.failed
        boxes = self.machine.boxes(title)
        if len(rows) > 1:
            kind = "doubled"
        elif rows and not self.machine.is_intact(user, title, rows):
            kind = "damaged"
        elif rows and self.pages[title] and not says_its_title(path_on_server(rows[0]), title, self.pages[title]):
            kind = "damaged"
        elif rows:
            kind = "arrives and box" if boxes else "arrives and kept" if kept else "arrives"
        else:
            kind = "kept" if kept else "box" if boxes else "cancelled" if "User canceled" in log else "lost"
        if kind == "kept":
            wait_until(lambda: "'%s' was not sent" % title in user.session.recorded("notices"), title + " is noticed")
        if kind not in allowed:
            self.complain("%s, %s: %s instead of %s; %s" % (title, fault, kind, " or ".join(allowed), last_message(log)))
        with self._lock:
            self.outcomes.append(Outcome(title, fault, kind, last_message(log)))

    def carry_out(self, user, numbers):
        """A user's prints of one round: some at once, and each that has a fault alone, with no other fault beside it."""
        chance = random.Random(numbers[0] if numbers else 0)
        user.failed = []
        while numbers and not self.has_given_up.is_set():
            fault = self.fault_of(numbers[0])
            count = 1 if fault else chance.randint(1, 4)
            burst = [numbers.pop(0)]
            while numbers and len(burst) < count and not self.fault_of(numbers[0]):
                burst.append(numbers.pop(0))
            self.print_burst(user, ["print-%04d %s" % (number, user.name) for number in burst], fault)

    def fault_of(self, number):
        """The fault of a print, or None."""
        every = self.options.fault_every
        faults = [fault for fault in FAULTS if self.options.only in (None, fault.__name__)]
        return faults[number // every % len(faults)] if number % every == every // 2 else None

    def print_burst(self, user, titles, fault):
        # A fault may hurt those who print at the same time: they are told, too.
        allowed = ["arrives", "box", "arrives and box"]
        if fault:
            with self._one_fault:
                if self.has_given_up.is_set():
                    return
                print("fault:", fault.__name__, "for", titles[0], flush=True)
                allowed = fault(self, user, titles[0])
        else:
            for title in titles:
                self.print_document(user, title)
            self.wait_until_settled(user, titles)
        user.failed = user.take_failed()
        for title in titles:
            self.judge(user, title, fault.__name__ if fault else "none", allowed)
        if fault or any(self.machine.boxes(title) for title in titles):
            user.write_settings()

    def run_round(self, numbers):
        count = len(self.machine.users)
        shares = [(user, [n for n in numbers if (n + n // count) % count == i]) for i, user in enumerate(self.machine.users)]
        threads = [threading.Thread(target=self._guarded, args=share, daemon=True) for share in shares]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()

    def _guarded(self, user, numbers):
        try:
            self.carry_out(user, numbers)
        except Exception:  # a thread's failure must not go by unnoticed
            self.has_given_up.set()
            self.complain("%s cannot go on: %s" % (user.name, traceback.format_exc()))

    def become_quiet(self):
        """Until the programs of prints have ended, and what the server kept for them."""
        wait_until(lambda: not os.listdir(SERVER_SESSIONS), "the server's sessions end", 300)
        previous = []

        def is_quiet():
            previous.append(take_sample())
            return len(previous) > 10 and len({(s.processes, *s.descriptors.values()) for s in previous[-10:]}) == 1
        wait_until(is_quiet, "the machine is quiet", 120)
        return take_sample()


def print_rounds(soak, rows, started):
    """Prints all documents; the machine is looked at after each round."""
    prints = soak.options.prints
    rows.append(row("start", soak.become_quiet()))
    size = min(ROUND, prints // 2)
    samples = []
    for begin in range(0, prints, size):
        end = min(begin + size, prints)
        soak.run_round(list(range(begin, end)))
        if soak.has_given_up.is_set():
            return
        samples.append(soak.become_quiet())
        rows.append(row("after %d" % end, samples[-1]))
        print("%d prints, %d s" % (len(soak.outcomes), time.monotonic() - started), flush=True)
    check_growth(soak, samples[0], samples[-1])


def main():
    options = arguments()
    started = time.monotonic()
    soak = Soak(options)
    rows = []
    try:
        print_rounds(soak, rows, started)
        if not soak.has_given_up.is_set():
            soak.machine.end()
    except AssertionError as late:
        soak.complain(str(late))
    check_outcomes(soak)
    report(soak, rows, time.monotonic() - started)
    return 1 if soak.violations else 0


if __name__ == "__main__":
    USERS.clear()
    USERS.update(("user%02d" % number, FIRST_USER_NUMBER + number) for number in range(arguments().users))
    run_inside(main)
