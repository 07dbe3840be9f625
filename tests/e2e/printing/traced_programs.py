# SPDX-License-Identifier: MIT
"""What programs wrote and how they and all their children were started, as strace saw it, and the search for secrets in it."""

import base64
import os
import re

_READ_LIMIT = 64 * 1024 * 1024


def tracer(path):
    """The words before a command that have everything noted which it and its children write or start: all bytes in hex."""
    return ["strace", "-f", "-qq", "-v", "-yy", "-xx", "-s", "1000000", "-o", path,
            "-e", "trace=execve,write,pwrite64,writev,pwritev,sendto,sendmsg"]


def forms(secret):
    """The bytes as which a secret could turn up."""
    plain = secret.encode()
    found = {plain, secret.encode("utf-16-le"), secret.encode("utf-32-le"), plain.hex().encode(), plain.hex().upper().encode()}
    for shift in range(3):
        # What stands before and behind shares a base64 digit with the ends.
        text = base64.b64encode(b"\0" * shift + plain)
        found.add(text[4 if shift else 0:-4])
    return found


def traces_with(path, secret, over_tcp=False):
    """The lines of a trace in which a secret turns up. What went over TCP, to the server and the proxy, counts if told so."""
    wanted = [b"".join(b"\\x%02x" % byte for byte in form) for form in forms(secret)]
    with open(path, "rb") as trace:
        data = trace.read()
    hits = [form for form in wanted if form in data]
    return [line[:300] for line in data.split(b"\n") if any(form in line for form in hits)
            and (over_tcp or not re.search(rb"^\d+ +\w+\(\d+<TCP", line))] if hits else []


def files_with(secret, folders, since):
    """The files changed since then in which a secret turns up."""
    wanted = forms(secret)
    found = []
    for path in changed_files(folders, since):
        with open(path, "rb") as file:
            data = file.read(_READ_LIMIT)
        if any(form in data for form in wanted):
            found.append(path)
    return found


def changed_files(folders, since):
    for top in folders:
        for folder, _, names in os.walk(top):
            for name in names:
                path = os.path.join(folder, name)
                if os.path.isfile(path) and not os.path.islink(path) and os.stat(path).st_mtime >= since:
                    yield path
