# SPDX-License-Identifier: MIT
"""The Debian packages, made from the build tree."""

import glob
import os
import re
import shutil

from private_machine import build_dir, run

PACKAGES = "/var/tmp/packages"


def make_packages():
    """Makes the packages in PACKAGES; gives their files by name."""
    for tool, package in (("cpack", "cmake"), ("dpkg-shlibdeps", "dpkg-dev"), ("lintian", "lintian")):
        assert shutil.which(tool), "needs the package " + package
    os.makedirs(PACKAGES)
    run("cpack", "--config", os.path.join(build_dir(), "CPackConfig.cmake"), "-G", "DEB", "-B", PACKAGES,
        env={**os.environ, "HOME": "/root"}, cwd=PACKAGES)
    return {re.match(r"[^_]*", os.path.basename(path)).group(0): path for path in glob.glob(PACKAGES + "/*.deb")}
