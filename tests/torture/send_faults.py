# SPDX-License-Identifier: MIT
"""A send, or a send of the test document, that something happens to."""

import os
import re

from print_system import PASSWORD
from traced_runs import TracedScenario

DOCUMENT = b"%PDF-1.4\n" + bytes(range(256)) * 400 + b"%%EOF\n"
TEST_DOCUMENT = b"Varek virtual printer test file"


class SendFaults(TracedScenario):
    # What fonts, cursors, the accessibility bus and the toolkit's own settings look for is none of the program's.
    FOREIGN = re.compile(r"/tmp/desk/(\.|runtime-|user/(fontconfig|QtProject|dconf)|machine/(fontconfig|QtProject))")

    def __init__(self, mode, server, desk):
        self.name = self.mode = mode
        self.server = server
        self.desk = desk
        self.stored = {}
        self.document = None

    def environment(self):
        return self.desk.environment

    def prepare(self):
        self.desk.renew()
        self.document = self.desk.put_document(DOCUMENT) if self.mode == "send" else None
        self.stored = self.server.documents()

    def command(self, prefix=()):
        return [*prefix, *self.desk.command(self.document, self.mode)]

    def concerns(self, call):
        return "/tmp/desk/" in call.text and not self.FOREIGN.search(call.text)

    def new_documents(self):
        return [data for name, data in self.server.documents().items() if name not in self.stored]

    def check_undisturbed(self):
        assert self.desk.says_sent(), self.desk.log()

    def _file(self):
        return self.document or self.desk.FOLDER + "/vrptmp.txt"

    def run(self, prefix, call):
        status, output = self.desk.send(self.document, prefix, self.mode)
        new = self.new_documents()
        completed = self.desk.says_sent()
        complaints = self.faults_of_the_end(status, output, completed, new)
        hit_by_unlink = call.name in ("unlink", "unlinkat")
        left = [name for name in self.desk.files() if not name.startswith((".", "runtime-"))]
        if status == 1 and self.document and left == ["job"]:
            left = []  # a printer that is not installed keeps the document
        if left and not (hit_by_unlink and os.path.basename(call.text.split('"')[1]) in left):
            complaints.append("left behind: %s" % left)
        if self.server.files_of_sessions():
            complaints.append("left on the server: %s" % self.server.files_of_sessions())
        complaints += self.desk.store_faults()
        return completed, complaints

    def faults_of_the_end(self, status, output, completed, new):
        complaints = []
        if status not in (0, 1):
            complaints.append("ended with %s" % status)
        if self.mode == "send" and (len(new) > 1 or any(data != DOCUMENT for data in new)):
            complaints.append("the server holds %d documents, some of them other bytes" % len(new))
        if self.mode == "send" and completed and not new:
            complaints.append("a false success")
        if PASSWORD in output + self.desk.log():
            complaints.append("the password is told")
        return complaints

    def run_again(self, _completed):
        """The next send without a fault, with the stores that the faulty one left."""
        before = self.server.documents()
        document = self.desk.put_document(DOCUMENT, "next") if self.mode == "send" else None
        status, output = self.desk.send(document, mode=self.mode)
        new = [data for name, data in self.server.documents().items() if name not in before]
        complaints = []
        if status != 0 or not self.desk.says_sent():
            complaints.append("the next send ended with %s: %s %s" % (status, output, self.desk.log()[-300:]))
        if self.mode == "send" and new != [DOCUMENT]:
            complaints.append("the next send stored %d documents" % len(new))
        return complaints + self.server.faults([DOCUMENT, TEST_DOCUMENT]) if complaints else complaints
