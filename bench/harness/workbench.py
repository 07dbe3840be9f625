# SPDX-License-Identifier: MIT
"""What all measurements share: the link, the server and its peers, documents, and one way to call curl."""

import json
import pathlib
import subprocess
import tempfile

from . import application_server, link, peers, server_bed

MIB = application_server.MIB
QUICK_MIB = 64 * 1024  # in the smoke test a document of n MiB has n times this many bytes


class Workbench(server_bed.ServerBed):
    """A context manager, whose temporary folder goes with it."""

    def __init__(self, build, runs, quick, congestion):
        super().__init__()
        self.build, self.runs, self.quick = pathlib.Path(build), runs, quick
        self._congestion = congestion
        self._documents = {}
        self.notes = []  # texts for the report, below the tables

    def _set_up(self):
        self.folder = pathlib.Path(self.enter_context(tempfile.TemporaryDirectory(prefix="varek-bench-")))
        self.folder.chmod(0o755)
        self.line = self.enter_context(link.Link(link.emulator_in(self.build), self._congestion))
        self.server = self.enter_context(
            application_server.ApplicationServer(self.line.far, self.build, self.folder / "server"))
        # The same certificate and key on both sides: a handshake costs the same.
        self.enter_context(peers.nginx(self.line.far, self.folder / "nginx", *self.server.certificate))
        self.driver = application_server.Driver(self.build, self.folder / "client", self.server)

    @property
    def put_address(self):
        return f"https://{link.FAR_ADDRESS}:{peers.HTTPS_PORT}"

    def size(self, mib):
        return int(mib * (QUICK_MIB if self.quick else MIB))

    def document(self, mib):
        """An incompressible document, written once."""
        if mib not in self._documents:
            self._documents[mib] = application_server.write_document(
                self.folder / f"document-{mib}", self.size(mib), seed=int(mib * 1000))
        return self._documents[mib]

    def upload(self, document, enter=None, **options):
        """What one run of the driver measured."""
        return self.driver.run(enter or self.line.near, file=document, **options)

    def curl(self, *arguments, enter=None):
        """The measurements of curl's last transfer (its --write-out variables)."""
        command = [peers.program("curl", "curl"), *self._curl_common(), *map(str, arguments), "-w", "%{json}\n"]
        done = subprocess.run((enter or self.line.near)(*command), capture_output=True, text=True, timeout=600,
                              check=False)
        if done.returncode != 0:
            raise RuntimeError(f"curl: {done.stderr.strip()}")
        result = json.loads(done.stdout.splitlines()[-1])
        if not 200 <= result["http_code"] < 300:
            raise RuntimeError(f"curl: status {result['http_code']}")
        return result

    def _curl_common(self):
        return ["-sS", "--http1.1", "-H", "Expect:", "--cacert", str(self.server.authority)]

    def curl_put(self, document, *arguments, enter=None):
        """Seconds of a PUT over a new connection."""
        return self.curl(*arguments, "-T", document, f"{self.put_address}/put", enter=enter)["time_total"]

    def curl_put_open(self, document, enter=None):
        """Seconds of a PUT over a connection that a small GET has opened."""
        result = self.curl("-o", "/dev/null", f"{self.put_address}/small", "--next", *self._curl_common(),
                           "-T", document, f"{self.put_address}/put", enter=enter)
        if result["num_connects"] != 0:
            raise RuntimeError("curl opened a second connection")
        return result["time_total"]

    def curl_put_command(self, document, name):
        """The command line of a PUT to an address of its own."""
        return [str(word) for word in (peers.program("curl", "curl"), *self._curl_common(), "-f", "-T", document,
                                       f"{self.put_address}/put-{name}")]

    def curl_get(self, enter=None):
        return self.curl("-o", "/dev/null", f"{self.put_address}/small", enter=enter)["time_total"]

    def tls_versions(self):
        """What curl negotiates with nginx and with the application server."""
        return {"nginx": self._tls_version(f"{self.put_address}/small"),
                "vrserver": self._tls_version(f"https://{link.FAR_ADDRESS}:{application_server.PORT}/vrc")}

    def _tls_version(self, address):
        command = self.line.near(peers.program("curl", "curl"), "-sv", "--http1.1", "-o", "/dev/null",
                                 "--cacert", self.server.authority, address)
        shown = subprocess.run(command, capture_output=True, text=True, timeout=60, check=False).stderr
        return next((text.split("using ")[1] for text in shown.splitlines() if "connection using" in text), "unknown")
