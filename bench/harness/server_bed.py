# SPDX-License-Identifier: MIT
"""A place to measure at: a server, and what is started around it."""

import contextlib


class ServerBed(contextlib.ExitStack):
    """A context manager. Everything that `_set_up` enters ends with it, also when `_set_up` fails half-way; `_set_up` leaves
    the server in `server`."""

    server = None

    def __enter__(self):
        super().__enter__()
        try:
            self._set_up()
        except BaseException:
            self.close()
            raise
        return self

    def _set_up(self):
        raise NotImplementedError

    def demand_intact(self, document):
        """The server must hold this document, byte for byte."""
        if not all(self.server.holds([document])):
            raise RuntimeError(f"{document} is not on the server as it was sent")
