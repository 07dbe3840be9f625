# SPDX-License-Identifier: MIT
"""Prints, a line each and until it is stopped, the texts that programs report as typed to whoever reads windows aloud.
Runs as the session's user; `screen_reader.py` starts it."""

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402  pylint: disable=wrong-import-position

listener = Atspi.EventListener.new(lambda event, *_: print(event.any_data, flush=True), None)
listener.register("object:text-changed:insert")
print("listening", flush=True)
Atspi.event_main()
