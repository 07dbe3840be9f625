# SPDX-License-Identifier: MIT
"""drip_clients.py HOST PORT COUNT AUTHORITY: opens COUNT TLS connections, begins a request on each and sends one byte of
its body a second. Says "ready" when all are open, connects again whatever the server ends, stops at the end of its input
and says then how many the server has ended.
"""

import select
import socket
import ssl
import sys
import time

HEADER = (b"POST /vrc HTTP/1.1\r\nHost: bench\r\nContent-Type: application/vnd.varek.frames\r\n"
          b"Content-Length: 1000000\r\n\r\n")
# The beginning of a hello frame of 4 KiB: nothing is wrong with it but that it takes an hour.
BEGINNING = b"H\x00\x00\x10\x00"


class DrippingClient:
    def __init__(self, host, port, context):
        self._host, self._port, self._context = host, port, context
        self.ended = 0
        self._connect()

    def _connect(self):
        plain = socket.create_connection((self._host, self._port), timeout=60)
        self._connection = self._context.wrap_socket(plain, server_hostname=self._host)
        self._connection.sendall(HEADER)
        self._sent = 0

    def drip(self):
        """One more byte; over a new connection when the server has ended this one, or has answered."""
        try:
            if select.select([self._connection], [], [], 0)[0]:
                raise ConnectionResetError
            self._connection.sendall(BEGINNING[self._sent:self._sent + 1] or b"\x00")
            self._sent += 1
        except OSError:
            self.ended += 1
            self._connection.close()
            self._connect()


def main(host, port, count, authority):
    context = ssl.create_default_context(cafile=authority)
    clients = [DrippingClient(host, port, context) for _ in range(count)]
    print("ready", flush=True)
    position, begin = 0, time.monotonic()
    while not select.select([sys.stdin], [], [], 0.02)[0]:
        due = int((time.monotonic() - begin) * count)
        while position < due:
            clients[position % count].drip()
            position += 1
    print(sum(client.ended for client in clients), flush=True)


if __name__ == "__main__":
    main(sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), sys.argv[4])
