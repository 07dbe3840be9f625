# SPDX-License-Identifier: MIT
"""What a document is made of: headings, links and blocks that readers are told to run.

A block of commands with a comment "<!-- runnable: PLACE -->" in the line before it is run by a test; PLACE says where it is
meant to run: "checkout" is the root of the repository, "packages" a machine with CUPS, in the folder with the packages."""

import glob
import os
import re

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))))
_FENCE = re.compile(r"^```.*?^```$", re.M | re.S)


def names():
    """The documents, relative to the root of the repository."""
    found = glob.glob(os.path.join(ROOT, "*.md")) + glob.glob(os.path.join(ROOT, "docs/**/*.md"), recursive=True)
    return sorted(os.path.relpath(path, ROOT) for path in found)


def text_of(name):
    with open(os.path.join(ROOT, name), encoding="utf-8") as file:
        return file.read()


def prose(text):
    """The text without its blocks of code."""
    return _FENCE.sub("", text)


def anchors(text):
    """The names under which the headings can be linked to, in their order."""
    headings = re.findall(r"^#+ (.*)$", prose(text), re.M)
    plain = [re.sub(r"[^\w\- ]", "", heading.lower()) for heading in headings]
    return [heading.replace(" ", "-") for heading in plain]


def links(text):
    return re.findall(r"\]\(([^)\s]+)\)", prose(text))


def runnable_blocks(name, place):
    return re.findall(r"^<!-- runnable: %s -->\n```sh\n(.*?)^```$" % place, text_of(name), re.M | re.S)
