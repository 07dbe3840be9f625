# SPDX-License-Identifier: MIT
"""A client that was written from docs/protocol.md alone prints a document: the page leaves no question open."""

import hashlib
import http.client
import itertools
import os
import re
import subprocess
import tempfile
import unittest

VRSERVER = os.path.join(os.environ["VAREK_BUILD_DIR"], "bin/vrserver")
STRING, FILE, INDSTRINGLIST = 1, 3, 5


def number(value, size):
    return value.to_bytes(size, "big")


def text(value):
    return number(len(value.encode()), 4) + value.encode()


def frame(letter, payload=b""):
    return letter.encode() + number(len(payload), 4) + payload


def frames_of(answer):
    """The frames of an answer, each as its letter and its payload."""
    frames = []
    while answer:
        size = int.from_bytes(answer[1:5], "big")
        frames.append((answer[:1].decode(), answer[5:5 + size]))
        answer = answer[5 + size:]
    return frames


def texts_of(encoded):
    texts = []
    while encoded:
        size = int.from_bytes(encoded[:4], "big")
        texts.append(encoded[4:4 + size].decode())
        encoded = encoded[4 + size:]
    return texts


class Session:
    """One session over plain TCP. Every command waits for its answer."""

    def __init__(self, port, application):
        self.connection = http.client.HTTPConnection("127.0.0.1", port, timeout=30)
        self.opening = frame("H", number(1, 2) + number(1, 2) + os.urandom(16) + text(application) + 4 * text("") + number(0, 1))
        self.identifier, self.last = None, 0

    def post(self, frames):
        self.connection.request("POST", "/vrc", frames, {"Content-Type": "application/vnd.varek.frames"})
        answer = self.connection.getresponse()
        if answer.status != 200:
            raise AssertionError("HTTP status %d" % answer.status)
        received = frames_of(answer.read())
        if received[-1][0] != "Z" or any(letter == "X" for letter, _ in received):
            raise AssertionError(received)
        return received

    def opened(self):
        return frame("S", number(1, 2) + text(self.identifier) + number(self.last, 8)) if self.identifier else self.opening

    def run(self, line, sent=b""):
        """Carries a command out; gives the bytes of the object that comes with its result."""
        opening, self.last = self.opened(), self.last + 1
        received = self.post(opening + frame("C", number(self.last, 8) + number(0, 1) + bytes(8) + bytes(16) + line.encode()) + sent)
        for letter, payload in received:
            if letter == "W":
                self.identifier = texts_of(payload[2:-5])[0]
        return b"".join(payload for letter, payload in received if letter == "D")

    def send(self, kind, name, contents):
        pieces = [contents[at:at + 65536] for at in range(0, len(contents), 65536)]
        self.run("VR_CMD=|OBJECT:SEND| NAME=|%s|" % name, frame("O", number(kind, 1) + text(name) + number(len(contents), 8)) +
                 b"".join(frame("D", piece) for piece in pieces))

    def leave(self):
        self.connection.close()

    def end(self):
        self.post(self.opened() + frame("E"))
        self.leave()


def parameters_of(port):
    session = Session(port, "directory")
    session.run("VR_CMD=|MISC:NOP|")
    texts = texts_of(session.run("VR_PROC=|GetData| DIRECTORY=|demo| KEY=|Settings| ENTRIES=|Parameters|"))
    session.end()
    return dict(zip(texts[::2], texts[1::2]))


def logged_in(port, parameters, server, login):
    session = Session(port, parameters["SERVER_%s_APPLICATION" % server])
    session.run("VR_CMD=|MISC:NOP| POD_USER=|%s| POD_PASSWORD=|%s|" % login)
    return session


def upload(session, parameters, document):
    """Sends a document; gives its identifier."""
    modes = session.run("VR_CMD=|OBJECT:GET| NAME=|PRINTING_MODES| VR_CONTAINER=|%s|" % parameters["SERVER_UPLOAD_PROFILE_CONTAINER"])
    if "STANDARD" not in texts_of(modes):
        raise AssertionError(modes)
    compressed = subprocess.run(["zstd", "-c"], input=document, stdout=subprocess.PIPE, check=True).stdout
    session.run("VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|RECEIVED_COMPRESSED_FILE| REPLACE=|YES|")
    for at in range(0, len(compressed), 65536):
        session.send(FILE, "BLOCK_FILE", compressed[at:at + 65536])
        session.run("VR_CMD=|OBJECT:FILE_APPEND| NAME=|RECEIVED_COMPRESSED_FILE| SNAME=|BLOCK_FILE|")
    session.run("VR_CMD=|OBJECT:FILE_DECOMPRESS| NAME=|RECEIVED_COMPRESSED_FILE| DNAME=|RECEIVED_FILE|")
    info = {"PRINT_MODE": "STANDARD", "FILE_NAME": "From the page", "FILE_SIZE": str(len(document))}
    session.send(INDSTRINGLIST, "FILE_INFO", b"".join(text(key) + text(value) for key, value in info.items()))
    return session.run("VR_PROC=|%s| %s" % (parameters["SERVER_UPLOAD_PROCEDURE"], parameters["SERVER_UPLOAD_PARAM"])).decode()


def portal_query(identifier, login):
    digest = hashlib.md5(("%s::%s::%s" % ((identifier,) + login)).upper().encode()).hexdigest().upper()
    return "&VR_SESSION_ID=%s&CTRL=%s" % (identifier, digest)


class ClientFromThePage(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        arguments = ["--data", self.folder.name, "--port", "0", "--portal-port", "0", "--plain-port", "0", "--plain-portal-port", "0"]
        server = subprocess.Popen([VRSERVER, *arguments], stdout=subprocess.PIPE, text=True)
        self.addCleanup(server.wait)
        self.addCleanup(server.stdout.close)
        self.addCleanup(server.terminate)
        said = "".join(itertools.takewhile(lambda line: line != "ready\n", server.stdout))
        self.port, self.portal_port = (int(port) for port in re.findall(r"without TLS: http://[^:]*:(\d+)", said))
        self.login = ("demo", re.search("demo password: (.*)", said).group(1))

    def status_of_page(self, address):
        connection = http.client.HTTPConnection("127.0.0.1", self.portal_port, timeout=30)
        self.addCleanup(connection.close)
        connection.request("GET", address)
        return connection.getresponse().status

    def test_prints_a_document_and_opens_its_page_once(self):
        document = b"%PDF-1.4\n" + os.urandom(200_000) + b"\n%%EOF\n"
        parameters = parameters_of(self.port)
        session = logged_in(self.port, parameters, "UPLOAD", self.login)
        identifier = upload(session, parameters, document)
        session.end()
        with open(os.path.join(self.folder.name, "documents", identifier + ".pdf"), "rb") as stored:
            self.assertEqual(stored.read(), document)

        session = logged_in(self.port, parameters, "PORTAL", self.login)
        session.send(STRING, "FILE_ID", identifier.encode())
        session.leave()
        page = "/portal?" + parameters["PORTAL_URL"].partition("?")[2] + portal_query(session.identifier, self.login)
        self.assertEqual(self.status_of_page(page), 303)
        self.assertEqual(self.status_of_page(page), 403)


if __name__ == "__main__":
    unittest.main(verbosity=2)
