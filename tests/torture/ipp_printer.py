# SPDX-License-Identifier: MIT
"""A small IPP printer (RFC 8010, 8011) on the loopback interface that keeps whole documents, for comparisons with CUPS's backend."""

import socketserver
import struct
import threading
import time

PRINT_JOB, VALIDATE_JOB, CREATE_JOB, SEND_DOCUMENT, GET_JOB_ATTRIBUTES, GET_JOBS, GET_PRINTER_ATTRIBUTES = 2, 4, 5, 6, 9, 10, 11
_INTEGER, _BOOLEAN, _ENUM, _KEYWORD, _URI, _CHARSET, _LANGUAGE, _MIME, _NAME = (
    0x21, 0x22, 0x23, 0x44, 0x45, 0x47, 0x48, 0x49, 0x42)

_PENDING, _ABORTED, _COMPLETED = 3, 8, 9


def _attribute(tag, name, *values):
    encoded = b""
    for index, value in enumerate(values):
        data = value.encode() if isinstance(value, str) else bytes([value]) if tag == _BOOLEAN else struct.pack(">i", value)
        label = name.encode() if index == 0 else b""
        encoded += struct.pack(">BH", tag, len(label)) + label + struct.pack(">H", len(data)) + data
    return encoded


class _Connection(socketserver.StreamRequestHandler):
    def handle(self):
        try:
            while self._request():
                pass
        except (OSError, ValueError, struct.error):
            pass  # the line was cut: nothing is kept

    def _request(self):
        if not self.rfile.readline().endswith(b"\n"):
            return False
        header = {}
        while (line := self.rfile.readline()) not in (b"\r\n", b"\n", b""):
            name, _, value = line.decode("latin-1").partition(":")
            header[name.lower()] = value.strip().lower()
        if line == b"":
            return False
        if header.get("expect") == "100-continue":
            self.wfile.write(b"HTTP/1.1 100 Continue\r\n\r\n")
        answer = self.server.owner.answer(self._body(header))
        self.wfile.write(b"HTTP/1.1 200 OK\r\nContent-Type: application/ipp\r\nContent-Length: %d\r\n\r\n" % len(answer) + answer)
        return True

    def _exactly(self, count):
        data = self.rfile.read(count)
        if len(data) != count:
            raise ValueError("cut")
        return data

    def _body(self, header):
        if header.get("transfer-encoding") != "chunked":
            return self._exactly(int(header.get("content-length", "0")))
        body = b""
        while (count := int(self.rfile.readline(), 16)) > 0:
            body += self._exactly(count)
            self._exactly(2)
        self._exactly(2)
        return body


class _Server(socketserver.ThreadingTCPServer):
    daemon_threads = True
    allow_reuse_address = True
    request_queue_size = 128


class IppPrinter:
    """documents: the whole documents that have arrived, in order. A job that gets none is aborted after two seconds."""

    def __init__(self):
        self.documents = []
        self._server = _Server(("127.0.0.1", 0), _Connection)
        self._server.owner = self
        self.port = self._server.server_address[1]
        self._created = []  # of each job, when
        self._done = set()
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def close(self):
        self._server.shutdown()
        self._server.server_close()

    def answer(self, body):
        operation, number = struct.unpack(">HI", body[2:8])
        groups = b"\x01" + _attribute(_CHARSET, "attributes-charset", "utf-8")
        groups += _attribute(_LANGUAGE, "attributes-natural-language", "en")
        if operation == GET_PRINTER_ATTRIBUTES:
            groups += b"\x04" + self._printer()
        elif operation in (PRINT_JOB, CREATE_JOB, SEND_DOCUMENT, GET_JOB_ATTRIBUTES):
            if operation in (PRINT_JOB, CREATE_JOB):
                self._created.append(time.monotonic())
            job = len(self._created) if operation in (PRINT_JOB, CREATE_JOB) else _job_of(body)
            if operation in (PRINT_JOB, SEND_DOCUMENT):
                self.documents.append(_document_of(body))
                self._done.add(job)
            groups += b"\x02" + self._job(job)
        return body[:2] + struct.pack(">HI", 0, number) + groups + b"\x03"

    def _printer(self):
        uri = "ipp://127.0.0.1:%d/ipp/print" % self.port
        return b"".join((
            _attribute(_URI, "printer-uri-supported", uri), _attribute(_KEYWORD, "uri-security-supported", "none"),
            _attribute(_KEYWORD, "uri-authentication-supported", "none"), _attribute(_NAME, "printer-name", "printer"),
            _attribute(_ENUM, "printer-state", 3), _attribute(_KEYWORD, "printer-state-reasons", "none"),
            _attribute(_BOOLEAN, "printer-is-accepting-jobs", 1), _attribute(_KEYWORD, "ipp-versions-supported", "1.1", "2.0"),
            _attribute(_ENUM, "operations-supported", PRINT_JOB, VALIDATE_JOB, CREATE_JOB, SEND_DOCUMENT, 8,
                       GET_JOB_ATTRIBUTES, GET_JOBS, GET_PRINTER_ATTRIBUTES),
            _attribute(_MIME, "document-format-supported", "application/octet-stream", "application/pdf", "text/plain"),
            _attribute(_CHARSET, "charset-supported", "utf-8"), _attribute(_KEYWORD, "compression-supported", "none"),
            _attribute(_INTEGER, "queued-job-count", 0)))

    def _job(self, job):
        is_late = 0 < job <= len(self._created) and time.monotonic() - self._created[job - 1] > 2
        state = _COMPLETED if job in self._done else _ABORTED if is_late else _PENDING
        return (_attribute(_INTEGER, "job-id", job) +
                _attribute(_URI, "job-uri", "ipp://127.0.0.1:%d/jobs/%d" % (self.port, job)) +
                _attribute(_ENUM, "job-state", state) + _attribute(_KEYWORD, "job-state-reasons", "none"))


def _attributes_of(body):
    """Name and value of each attribute, and where they end."""
    at, attributes = 8, []
    while body[at] != 3:
        if body[at] < 0x10:
            at += 1
            continue
        at += 1
        pair = []
        for _ in ("name", "value"):
            length = struct.unpack(">H", body[at:at + 2])[0]
            pair.append(body[at + 2:at + 2 + length])
            at += 2 + length
        attributes.append(pair)
    return attributes, at + 1


def _job_of(body):
    for name, value in _attributes_of(body)[0]:
        if name == b"job-id":
            return struct.unpack(">i", value)[0]
        if name == b"job-uri":
            return int(value.rsplit(b"/", 1)[1])
    return 0


def _document_of(body):
    """What follows the attributes of a request."""
    return body[_attributes_of(body)[1]:]
