# SPDX-License-Identifier: MIT
"""The real program as a user has it: settings with a stored password, a display, and a server that asks nothing."""

import os
import pathlib
import shutil
import subprocess

from . import application_server, link, server_bed

COMPANY, SOFTWARE, PRINTER = "Bench", "Print", "Bench"
# The progress is shown as an installation shows it, as a number.
MESSAGES = '[Messages]\nSendingFile="Sending file... %d %"\n'


class PrintDesk(server_bed.ServerBed):
    """A context manager: the server runs inside the `with`."""

    def __init__(self, enter, build, folder):
        super().__init__()
        self._enter, self._build, self.folder = enter, pathlib.Path(build), folder
        self._program = folder / "client" / "bin" / "vrp"
        self.environment = dict(os.environ, XDG_CONFIG_HOME=str(folder / "user"), LC_ALL="C.UTF-8",
                                XDG_CONFIG_DIRS=str(folder / "machine"),
                                PATH=f"{folder / 'browser'}:{os.environ['PATH']}")

    def _set_up(self):
        server = application_server.ApplicationServer(self._enter, self._build, self.folder / "server")
        with server:
            pass  # the first start makes the configuration
        with open(server.data / "vrserver.ini", "a", encoding="utf-8") as file:
            file.write("\n[Profile demo]\nPrintingModes=STANDARD\n")
        self.server = self.enter_context(server)
        self._lay_out_program()
        self._write_settings()

    def _lay_out_program(self):
        for name in ("bin/vrp", "Frameworks/libvrc.so", "Frameworks/libvrc-core.so"):
            target = self.folder / "client" / name
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(self._build / name, target)
        shutil.copy(self.server.authority, self.folder / "client" / "Frameworks" / "vrc-ca.pem")
        browser = self.folder / "browser" / "xdg-open"
        browser.parent.mkdir()
        browser.write_text("#!/bin/sh\n", encoding="ascii")
        browser.chmod(0o755)

    def _write_settings(self):
        directory = f"{link.FAR_ADDRESS}:{application_server.PORT};directory:demo"
        password = subprocess.run([self._build / "tests" / "stored_form"], input=self.server.password + "\n",
                                  capture_output=True, text=True, check=True).stdout.strip()
        for name, text in (
                ("machine/Varek Systems/Vrp.conf",
                 f"[Printers]\n{PRINTER}\\Company={COMPANY}\n{PRINTER}\\Software={SOFTWARE}\n"),
                (f"machine/{COMPANY}/{SOFTWARE}.conf", MESSAGES),
                (f"user/{COMPANY}/{SOFTWARE}.conf",
                 f'[Settings]\nIdentifier=demo\nPassword="{password}"\nCheckVersion="no"\n\n'
                 f'[ServerDirectories]\nSdir1="{directory}"\n')):
            path = self.folder / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")

    @property
    def _stored(self):
        return [path for path in (self.server.data / "documents").iterdir() if path.is_file()]

    def print_document(self, document, sampled=lambda command: command):
        """One print; `sampled` makes the command line that samples a command."""
        before = len(self._stored)
        send = [str(self._program), "-m", "send", "-s", "-k", "-p", PRINTER, "-f", str(document)]
        subprocess.run(sampled(send), env=self.environment, timeout=600, check=True)
        if len(self._stored) != before + 1:
            raise RuntimeError(f"{document} did not arrive")
