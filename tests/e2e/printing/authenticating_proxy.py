# SPDX-License-Identifier: MIT
"""A squid that asks who its users are."""

import hashlib
import os
import shutil
import subprocess

from private_machine import run, start, wait_until

REALM = "proxy"


def digest_of(user, password):
    return hashlib.md5(("%s:%s:%s" % (user, REALM, password)).encode()).hexdigest()


def start_proxy(folder, kind, port, user, password):
    """Starts one on a port of the loopback, with its files in a folder of its own; `kind` is "basic" or "digest"."""
    for program, package in (("squid", "squid"), ("htpasswd", "apache2-utils"), ("curl", "curl")):
        assert shutil.which(program), "needs the package " + package
    os.makedirs(folder)
    users = folder + "/users"
    if kind == "basic":
        run("htpasswd", "-bc", users, user, password)
        program = "basic program /usr/lib/squid/basic_ncsa_auth " + users
    else:
        with open(users, "w", encoding="utf-8") as file:
            file.write("%s:%s:%s\n" % (user, REALM, digest_of(user, password)))
        program = "digest program /usr/lib/squid/digest_file_auth -c " + users
    with open(folder + "/squid.conf", "w", encoding="utf-8") as file:
        file.write("http_port 127.0.0.1:%d\npid_filename none\ncache deny all\naccess_log none\ncache_log %s/cache.log\n"
                   "logfile_rotate 0\ncoredump_dir %s\npinger_enable off\nvisible_hostname localhost\nauth_param %s\n"
                   "auth_param %s realm %s\nacl known proxy_auth REQUIRED\nhttp_access allow known\nhttp_access deny all\n"
                   % (port, folder, folder, program, kind, REALM))
    run("chmod", "-R", "a+rwX", folder)
    start("squid", "-N", "-n", "varek" + kind, "-f", folder + "/squid.conf", stderr=subprocess.DEVNULL)
    wait_until(lambda: subprocess.run(["curl", "-s", "-o", "/dev/null", "http://127.0.0.1:%d/" % port],
                                      check=False).returncode == 0, "squid answers")
