# SPDX-License-Identifier: MIT
"""vrserver with a data folder of its own, the driver over the client library, and documents to send."""

import hashlib
import json
import pathlib
import random
import re
import shutil
import subprocess

from . import link, peers

PORT = 1082
PORTAL_PORT = 1083
MIB = 1024 * 1024


class DriverError(Exception):
    pass


class ApplicationServer:
    """A context manager; runs in the namespace that `enter` enters, at the far address."""

    def __init__(self, enter, build, folder):
        self._folder = pathlib.Path(folder)
        self.data = self._folder / "data"
        self.log = self._folder / "vrserver.log"
        self._program = pathlib.Path(build) / "bin" / "vrserver"
        self._daemon = peers.Daemon(
            enter, [self._program, "--data", self.data, "--listen", link.FAR_ADDRESS, "--port", PORT,
                    "--portal-port", PORTAL_PORT], PORT, self.log)

    def __enter__(self):
        self._folder.mkdir(parents=True, exist_ok=True)
        self._daemon.__enter__()
        peers.wait_until(lambda: "\nready\n" in self._said(), "vrserver to say that it is ready")
        self.password = self._password_of_demo_user()
        return self

    def __exit__(self, *what):
        self._daemon.__exit__(*what)

    def _said(self):
        return self.log.read_text(encoding="utf-8")

    def _password_of_demo_user(self):
        """The server says it once, when it makes its data folder."""
        return re.search(r"^demo password: (\S+)$", self._said(), re.MULTILINE)[1]

    def hash_again(self):
        """Gives the demo user the same password anew: the next login is hashed, as the first one was."""
        subprocess.run([self._program, "user", "--data", self.data, "passwd", "demo"], input=self.password + "\n",
                       capture_output=True, text=True, check=True)

    @property
    def authority(self):
        return self.data / "vrc-ca.pem"

    @property
    def certificate(self):
        """Certificate and key."""
        return self.data / "server.pem", self.data / "server-key.pem"

    def memory_kib(self, field):
        """VmRSS or VmHWM of the server."""
        status = pathlib.Path(f"/proc/{self.server_process()}/status").read_text(encoding="ascii")
        return next(int(line.split()[1]) for line in status.splitlines() if line.startswith(field + ":"))

    def server_process(self):
        """`ip netns exec` becomes the program that it runs."""
        return self._daemon.process.pid

    def holds(self, documents):
        """Whether the data folder has each of these documents, byte for byte."""
        sizes = {pathlib.Path(document).stat().st_size for document in documents}
        stored = {sha256(path) for path in self.data.rglob("*") if path.is_file() and path.stat().st_size in sizes}
        return [sha256(document) in stored for document in documents]


def sha256(path):
    with open(path, "rb") as file:
        return hashlib.file_digest(file, "sha256").hexdigest()


class Driver:
    """Runs bin/upload_driver over a copy of the library that trusts this server's authority."""

    def __init__(self, build, folder, server):
        self._password = server.password
        self._program = pathlib.Path(folder) / "bin" / "upload_driver"
        for name in ("bin/upload_driver", "Frameworks/libvrc.so", "Frameworks/libvrc-core.so"):
            target = pathlib.Path(folder) / name
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(pathlib.Path(build) / name, target)
        shutil.copy(server.authority, pathlib.Path(folder) / "Frameworks" / "vrc-ca.pem")

    def command(self, **options):
        """The command line; an underscore in an option's name stands for a hyphen."""
        words = {"server": f"{link.FAR_ADDRESS}:{PORT}", "application": "upload",
                 "portal_application": "portal", "directory_application": "directory", "directory": "demo", "container": "demo",
                 "parameter": "QUEUE=|demo|", "login_user": "demo", "login_password": self._password, **options}
        return [str(self._program), *(f"{name.replace('_', '-')}={value}" for name, value in words.items())]

    def run(self, enter, timeout=600, **options):
        """The measurements of one sequence, or a list of them when it is repeated."""
        done = subprocess.run(enter(*self.command(**options)), capture_output=True, text=True, timeout=timeout,
                              check=False)
        if done.returncode != 0:
            raise DriverError(done.stderr.strip() or f"the driver ended with {done.returncode}")
        results = [json.loads(line) for line in done.stdout.splitlines()]
        return results if "repeat" in options else results[0]


def write_document(path, size, seed):
    """A document that does not compress: `%PDF-`, then random bytes, reproducible by their seed."""
    source = random.Random(seed)
    with open(path, "wb") as file:
        file.write(b"%PDF-1.7\n")
        left = size - 9
        while left > 0:
            file.write(source.randbytes(min(left, MIB)))
            left -= MIB
    return path


def write_compressible_document(path, size):
    """Text of a few thousand different words; 16 MiB of it, repeated: farther than a compressor at ordinary levels
    looks back."""
    source = random.Random(1)
    words = ["".join(source.choices("etaoinshrdlucmfwyp", k=source.randint(2, 11))).encode() for _ in range(4000)]
    period = min(size, 16 * MIB)
    text = bytearray(b"%!PS-Adobe-3.0\n")
    while len(text) < period:
        text += b" ".join(source.choices(words, k=2000)) + b"\n"
    with open(path, "wb") as file:
        for begin in range(0, size, period):
            file.write(text[:min(period, size - begin)])
    return path
