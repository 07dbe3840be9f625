# SPDX-License-Identifier: MIT
"""The programs that the system is measured against: nginx, squid, tinyproxy. Each is a context manager."""

import hashlib
import os
import pathlib
import pwd
import shutil
import socket
import subprocess
import time

PROXY_USER = "bench"
PROXY_PASSWORD = "bench-password"
HTTPS_PORT = 8443


class MissingPeer(Exception):
    pass


def program(name, package):
    path = shutil.which(name, path=os.environ.get("PATH", "") + ":/usr/sbin:/sbin")
    if not path:
        raise MissingPeer(f"{name} is missing: install the Debian package {package}")
    return path


def wait_until(condition, what, seconds=20):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError(f"waited {seconds} s for {what}")
        time.sleep(0.02)


def listens(enter, port):
    """True when something listens on the port in the namespace that `enter` enters."""
    shown = subprocess.run(enter("ss", "-Hltn", f"sport = :{port}"), capture_output=True, text=True, check=False)
    return bool(shown.stdout.strip())


def make_certificates(folder, names):
    """A private authority and a server certificate of it: (authority, certificate, key)."""
    folder = pathlib.Path(folder)
    openssl = program("openssl", "openssl")
    authority, authority_key = folder / "authority.pem", folder / "authority-key.pem"
    certificate, key, request = folder / "server.pem", folder / "server-key.pem", folder / "server.csr"
    extensions = folder / "extensions"
    extensions.write_text("subjectAltName=" + ",".join(names) + "\n", encoding="ascii")
    elliptic = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"]
    for command in (
            ["req", "-x509", *elliptic, "-keyout", authority_key, "-out", authority, "-days", "2",
             "-subj", "/CN=benchmark authority"],
            ["req", *elliptic, "-keyout", key, "-out", request, "-subj", "/CN=benchmark server"],
            ["x509", "-req", "-in", request, "-CA", authority, "-CAkey", authority_key, "-CAcreateserial",
             "-out", certificate, "-days", "2", "-extfile", extensions]):
        subprocess.run([openssl, *map(str, command)], check=True, capture_output=True)
    return authority, certificate, key


class Daemon:
    """A program that runs in the foreground, in a namespace, until the end of the `with`."""

    def __init__(self, enter, command, port, log):
        self._enter, self._command, self._port, self._log = enter, command, port, log
        self.process = None

    def __enter__(self):
        with open(self._log, "ab") as log:
            self.process = subprocess.Popen(self._enter(*self._command), stdout=log, stderr=log,
                                            stdin=subprocess.DEVNULL)
        wait_until(self._is_up, f"{self._command[0]} on port {self._port}, see {self._log}")
        return self

    def _is_up(self):
        if self.process.poll() is not None:
            text = pathlib.Path(self._log).read_text(encoding="utf-8", errors="replace")
            raise RuntimeError(f"{self._command[0]} ended: {text[-2000:]}")
        return listens(self._enter, self._port)

    def __exit__(self, *_):
        self.process.terminate()
        try:
            self.process.wait(10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()


def nginx(enter, folder, certificate, key):
    """TLS 1.3, takes PUT into its folder `received`, logs the protocol of each request."""
    folder = pathlib.Path(folder)
    (folder / "received").mkdir(parents=True)
    (folder / "received" / "small").write_bytes(b"x" * 1000)
    user = pwd.getpwuid(os.getuid()).pw_name
    temporary = "".join(f"{kind}_temp_path {folder}/{kind};"
                        for kind in ("client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
    configuration = folder / "nginx.conf"
    configuration.write_text(f"""
        daemon off; pid {folder}/pid; error_log {folder}/error.log; worker_processes 2;
        {f'user {user};' if os.getuid() == 0 else ''}
        events {{ worker_connections 1024; }}
        http {{
          {temporary} client_max_body_size 0; keepalive_timeout 120s;
          log_format tls '$ssl_protocol $request_method $status $request_length'; access_log {folder}/access.log tls;
          server {{
            listen {HTTPS_PORT} ssl; ssl_protocols TLSv1.2 TLSv1.3;
            ssl_certificate {certificate}; ssl_certificate_key {key};
            location / {{ root {folder}/received; dav_methods PUT; }}
          }}
        }}""", encoding="ascii")
    return Daemon(enter, [program("nginx", "nginx-light"), "-c", configuration], HTTPS_PORT, folder / "output")


SQUID_AUTHENTICATION = {
    "none": "http_access allow all",
    "basic": "auth_param basic program /usr/lib/squid/basic_ncsa_auth {users}\nauth_param basic realm bench\n"
             "acl known proxy_auth REQUIRED\nhttp_access allow known\nhttp_access deny all",
    "digest": "auth_param digest program /usr/lib/squid/digest_file_auth -c {users}\nauth_param digest realm bench\n"
              "acl known proxy_auth REQUIRED\nhttp_access allow known\nhttp_access deny all",
}


def squid(enter, folder, port, authentication):
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True)
    users = folder / "users"
    if authentication == "basic":
        crypt = subprocess.run([program("openssl", "openssl"), "passwd", "-apr1", PROXY_PASSWORD],
                               capture_output=True, text=True, check=True).stdout.strip()
        users.write_text(f"{PROXY_USER}:{crypt}\n", encoding="ascii")
    else:
        digest = hashlib.md5(f"{PROXY_USER}:bench:{PROXY_PASSWORD}".encode()).hexdigest()
        users.write_text(f"{PROXY_USER}:bench:{digest}\n", encoding="ascii")
    configuration = folder / "squid.conf"
    configuration.write_text(
        f"http_port {port}\npid_filename {folder}/pid\ncache_log {folder}/cache.log\naccess_log none\n"
        f"coredump_dir {folder}\ncache deny all\ncache_mem 8 MB\npinger_enable off\nshutdown_lifetime 0 seconds\n"
        f"visible_hostname bench\nvia off\n" + SQUID_AUTHENTICATION[authentication].format(users=users) + "\n",
        encoding="ascii")
    give_to_proxy_user(folder)
    # A name of its own: squids of one name share memory. Its complaints go to its output.
    name = f"bench{os.getpid()}{authentication}"
    return Daemon(enter, [program("squid", "squid"), "-N", "-d", "1", "-n", name, "-f", configuration], port,
                  folder / "output")


def give_to_proxy_user(folder):
    """A proxy that root starts goes on as the user `proxy`."""
    if os.getuid() == 0:
        shutil.chown(folder, "proxy", "proxy")
        for path in pathlib.Path(folder).iterdir():
            shutil.chown(path, "proxy", "proxy")


def tinyproxy(enter, folder, port, authentication):
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True)
    configuration = folder / "tinyproxy.conf"
    login = f"BasicAuth {PROXY_USER} {PROXY_PASSWORD}\n" if authentication == "basic" else ""
    configuration.write_text(f"Port {port}\nTimeout 600\nMaxClients 600\nLogLevel Error\n"
                             f"LogFile \"{folder}/log\"\n{login}", encoding="ascii")
    return Daemon(enter, [program("tinyproxy", "tinyproxy"), "-d", "-c", configuration], port, folder / "output")


def host_names(*addresses):
    return ["DNS:localhost", f"DNS:{socket.gethostname()}", *(f"IP:{address}" for address in addresses)]
