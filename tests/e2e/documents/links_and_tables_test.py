# SPDX-License-Identifier: MIT
"""Links of the documents lead somewhere, and tables that explain what the program says are complete."""

import glob
import os
import re
import unittest

from documents import ROOT, anchors, links, names, text_of

MESSAGES = re.compile(r"resource::((?:errors|setupErrors)\w+)")


def default_texts():
    """The default text of each resource constant."""
    table = text_of("vrp/core/resource_table.h")
    return dict(re.findall(r'wchar_t (\w+)\[\] = L"[^;"]*;[^;"]*;([^"]*)"', table))


def shown_messages():
    texts = default_texts()
    used = set()
    for path in glob.glob(os.path.join(ROOT, "vrp/**/*.cpp"), recursive=True):
        used.update(MESSAGES.findall(text_of(path)))
    return {texts[constant] for constant in used}


class Documents(unittest.TestCase):
    def test_links_lead_to_files_and_headings(self):
        checked = 0
        for name in names():
            for link in links(text_of(name)):
                if re.match(r"[a-z]+:", link):
                    continue
                path, _, anchor = link.partition("#")
                target = os.path.normpath(os.path.join(os.path.dirname(name), path)) if path else name
                self.assertTrue(os.path.exists(os.path.join(ROOT, target)), "%s links to %s" % (name, link))
                if anchor:
                    self.assertIn(anchor, anchors(text_of(target)), "%s links to %s" % (name, link))
                checked += 1
        self.assertGreater(checked, 20)

    def test_tests_that_are_named_exist(self):
        there = {os.path.basename(path) for path in glob.glob(os.path.join(ROOT, "tests/**/*_test.*"), recursive=True)}
        named = {(name, test) for name in names() for test in re.findall(r"`(?:[\w/]+/)?(\w+_test\.\w+)`", text_of(name))}
        self.assertGreater(len(named), 15)
        self.assertEqual({(name, test) for name, test in named if test not in there}, set())

    def test_every_message_that_the_program_shows_is_explained(self):
        explained = text_of("docs/administration.md")
        messages = shown_messages()
        self.assertGreater(len(messages), 15)
        for message in messages:
            self.assertIn("\n| %s |" % message.replace("%d", "-1"), explained)

    def test_every_document_is_reachable_from_the_readme(self):
        reached, waiting = set(), ["README.md"]
        while waiting:
            name = waiting.pop()
            reached.add(name)
            for link in links(text_of(name)):
                target = os.path.normpath(os.path.join(os.path.dirname(name), link.partition("#")[0]))
                if target.endswith(".md") and target not in reached and os.path.exists(os.path.join(ROOT, target)):
                    waiting.append(target)
        self.assertEqual(set(names()) - reached, set())


if __name__ == "__main__":
    unittest.main(verbosity=2)
