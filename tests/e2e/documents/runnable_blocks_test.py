# SPDX-License-Identifier: MIT
"""What the documents tell readers to run runs, on a machine of its own."""

import os
import signal
import subprocess
import sys
import threading
import unittest

from documents import ROOT, names, runnable_blocks, text_of

sys.path.insert(0, os.path.join(ROOT, "tests/e2e/printing"))
from packages import PACKAGES, make_packages  # noqa: E402
from private_machine import run_tests, start, start_cupsd, start_display  # noqa: E402

BLOCK_LIMIT_SECONDS = 1500  # building is part of some


def run_block(block, folder, **variables):
    """Runs a block as a reader would, and stops what it has started in the background; gives what it says."""
    shell = subprocess.Popen(["bash", "-euo", "pipefail", "-c", block], cwd=folder, stdin=subprocess.DEVNULL,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True,
                             env={**os.environ, **variables})
    said = []
    reader = threading.Thread(target=lambda: said.append(shell.stdout.read()))
    reader.start()
    try:
        status = shell.wait(BLOCK_LIMIT_SECONDS)
    finally:
        try:
            os.killpg(shell.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass  # nothing was left in the background
        reader.join()
        shell.stdout.close()
    text = said[0].decode("utf-8", "replace")
    if status != 0:
        raise AssertionError("ended with %d:\n%s\n%s" % (status, block, text))
    return text


def blocks_of(place):
    return [(name, block) for name in names() for block in runnable_blocks(name, place)]


def acknowledge_windows(display):
    """Presses Return in every window that opens."""
    start("bash", "-c", "while sleep 0.2; do xdotool search --onlyvisible --name . windowactivate key Return; done",
          env={**os.environ, "DISPLAY": display}, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


class RunnableBlocks(unittest.TestCase):
    def test_blocks_for_a_checkout(self):
        blocks = blocks_of("checkout")
        self.assertIn(("README.md", "tools/demo\n"), blocks)
        for name, block in blocks:
            with self.subTest(document=name, block=block):
                if block == "tools/demo\n":
                    environment = {"DISPLAY": "", "WAYLAND_DISPLAY": ""}
                else:
                    environment = {"DISPLAY": self.display()}
                self.assertNotEqual(run_block(block, ROOT, **environment), "")

    def display(self):
        """A display with somebody who acknowledges what the windows say."""
        if not hasattr(self, "screen"):
            self.screen = start_display(7)
            start("openbox", env={**os.environ, "DISPLAY": self.screen}, stdout=subprocess.DEVNULL,
                  stderr=subprocess.DEVNULL)
            acknowledge_windows(self.screen)
        return self.screen

    def test_blocks_for_a_machine_with_the_packages(self):
        make_packages()
        start_cupsd()
        blocks = blocks_of("packages")
        self.assertGreater(len(blocks), 4)
        for name, block in blocks:
            with self.subTest(document=name, block=block):
                run_block(block, PACKAGES)

    def test_the_readme_names_the_command_that_every_check_in_runs(self):
        self.assertIn("\ntools/test\n", text_of("README.md"))
        self.assertIn("tools/test\n", text_of(".ci/run"))


if __name__ == "__main__":
    run_tests()
