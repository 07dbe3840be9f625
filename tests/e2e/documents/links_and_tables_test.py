# SPDX-License-Identifier: MIT
"""Links of the documents lead somewhere, and tables that explain what the program says are complete."""

import glob
import os
import re
import unittest

from documents import ROOT, anchors, links, names, text_of

MESSAGE_SECTIONS = ("Errors", "SetupErrors", "Messages")
QUESTIONS = {("Setup", key) for key in ("IntroInstall", "InstallOk", "IntroUninstall", "UninstallOk")}
QUESTIONS.add(("DlgUpdate", "MessageText"))


def sources(pattern):
    """What the files say that the pattern fits, together."""
    return "".join(text_of(path) for path in glob.glob(os.path.join(ROOT, pattern), recursive=True))


def messages():
    """What the program can be made to say, of the table of texts: section, key, default text and whether any code uses it."""
    table = re.findall(r'wchar_t (\w+)\[\] = L"([^;"]*);([^;"]*);([^"]*)"', text_of("vrp/core/resource_table.h"))
    code = sources("vrp/**/*.cpp")
    return [(section, key, text, re.search(r"resource::%s\b" % constant, code) is not None)
            for constant, section, key, text in table
            if section in MESSAGE_SECTIONS or (section, key) in QUESTIONS]


def never_shown(page):
    """The keys of the table of texts that are never shown, each as (section, key)."""
    table = page[page.index("These texts are never shown."):].split("\n\n")[1]
    return {(section, key) for section, keys in re.findall(r"^\| `(\w+)` \| (.*) \|$", table, re.M)
            for key in re.findall(r"`(\w+)`", keys)}


def in_page(text):
    """A default text as it stands in a table."""
    return text.replace("%d", "N").replace("\\n", " ").rstrip()


def message_rows(page):
    """The first column of the tables that explain texts of the table of texts."""
    part = page[page.index("\nOf a print:\n"):page.index("\nThese texts are never shown.")]
    return [row for row in re.findall(r"^\| (.*?) \|", part, re.M) if row != "Message"]


def version_box():
    """What the run mode "version" shows, the one text of a box that no installation replaces."""
    code = text_of("vrp/core/run_modes.cpp")
    return (re.search(r'L"(Virtual printer [^"]*)"', code).group(1) +
            re.search(r'internalVersion\[\] = L"([^"]*)"', code).group(1))


def warnings_on_standard_error():
    """The lines of the program and of the package's scripts for standard error, each up to where a value is filled in."""
    scripts = sources("packaging/debian/p*inst") + sources("packaging/debian/prerm")
    return (re.findall(r'"(vrp: [^%"\\]*)', sources("vrp/**/*.cpp")) +
            [re.sub(r'\\"\$\w+\\"', '"..."', text)
             for text in re.findall(r'echo "(varek-print: the (?:[^"\\]|\\.)*)"', scripts)])


def spool_messages():
    """What the backend shows in the queue window and the agent tells the user, up to where a value is filled in."""
    failures = sources("backend/*.cpp")
    said = re.findall(r'BackendFailure\(ExitCode::\w+,\s*"([^"]*)"', failures)
    said += re.findall(r'systemFailure\("([^"]*)"', failures)
    for name in ("recipient", "claimed_job", "job_mapping", "agent_run"):
        said += [text for text in re.findall(r'"([^"\n]*)"', text_of("backend/%s.cpp" % name)) if text.count(" ") > 2]
    return {text.strip() for text in said}


def server_messages():
    """What the server says on standard error, in pieces between the values that are filled in. Settings and words of the
    command line that are wrong are named with the reason, and have no row of their own."""
    speakers = ("runtime_error", "invalid_argument", "throwSystemError", "logLine", "logFailure", "writeLine",
                "requireOpenSsl", "report", "m_reason =")
    calls = re.findall(r"\b(?:%s)[ (]([^;]*);" % "|".join(speakers), sources("appserver/*.cpp"))
    said = {text.removeprefix("vrserver: ").removesuffix("\\n").strip()
            for call in calls for text in re.findall(r'"([^"\n]*)"', call)}
    return {text for text in said if " " in text or text.endswith(":") and len(text) > 1}


def page_messages():
    """What the portal says when something is not as it should be, up to where a value is filled in."""
    said = re.findall(r'messagePage\([^"]*"([^"]*)"', sources("appserver/portal_service.cpp"))
    said += re.findall(r'"([A-Z][^"]*\.)"', text_of("appserver/portal_documents.cpp"))
    said += re.findall(r'"([A-Z]\w+: [^"]*|Please [^"]*)"', text_of("appserver/finishing.cpp"))
    said += re.findall(r'class=."none.">([^<]*)<', text_of("appserver/portal_documents_pages.cpp"))
    said += re.findall(r'id=."done.">([^<]*)<', text_of("appserver/portal_pages.cpp"))
    return {text.strip() for text in said}


def commands():
    """The command language: for each command of the server and of the library the keys of its fields."""
    of_server = re.findall(r'CommandRow\{"([A-Z_:]+)", \w+, \{([^}]*)\}', text_of("appserver/session_commands.cpp"))
    of_library = re.findall(r'LocalCommand\{"([A-Z_:]+)", ("[^"]*")', text_of("vrc/local_command_table.cpp"))
    return {name: set(re.findall(r"[A-Z_]+", keys)) for name, keys in of_server + of_library}


def names_of_a_print():
    """The parameters, profile objects and descriptions that the program reads and writes."""
    code = sources("vrp/server/*.cpp")
    both = ["SERVER_%s_%s" % (server, name) for server in ("UPLOAD", "PORTAL") for name in re.findall(r'value\(L"(\w+)"\)', code)]
    return set(both + re.findall(r'parameters\[L"(\w+)"\]', code) + re.findall(r'fetchFromProfile\(job, L"(\w+)"', code) +
               re.findall(r'describe\(session, L"(\w+)"', code))


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

    def test_a_page_has_no_two_headings_of_one_name(self):
        for name in names():
            self.assertEqual(len(set(anchors(text_of(name)))), len(anchors(text_of(name))), name)

    def test_tests_that_are_named_exist(self):
        there = {os.path.basename(path) for path in glob.glob(os.path.join(ROOT, "tests/**/*_test.*"), recursive=True)}
        named = {(name, test) for name in names() for test in re.findall(r"`(?:[\w/]+/)?(\w+_test\.\w+)`", text_of(name))}
        self.assertGreater(len(named), 15)
        self.assertEqual({(name, test) for name, test in named if test not in there}, set())

    def test_commands_of_the_checkout_that_are_named_exist(self):
        named = {command for name in names() for command in re.findall(r"\b((?:tools|bench)/[a-z][\w-]*)(?![\w/.])",
                                                                      text_of(name))}
        self.assertGreater(len(named), 10)
        self.assertEqual({command for command in named if not os.path.exists(os.path.join(ROOT, command))}, set())

    def test_every_message_is_explained_or_said_to_be_never_shown(self):
        page = text_of("docs/administration.md")
        shown = [in_page(text) for _, _, text, used in messages() if used]
        self.assertGreater(len(shown), 25)
        self.assertEqual([text for text in shown if "\n| %s |" % text not in page], [])
        self.assertEqual(never_shown(page), {(section, key) for section, key, _, used in messages() if not used})

    def test_every_message_that_is_explained_is_one_of_the_program(self):
        texts = {in_page(text) for _, _, text, used in messages() if used}
        rows = set(message_rows(text_of("docs/administration.md")))
        self.assertGreater(len(rows), 25)
        self.assertEqual(rows - texts, {version_box()})

    def test_every_line_on_standard_error_is_explained(self):
        self.assertGreater(len(warnings_on_standard_error()), 3)
        page = text_of("docs/administration.md")
        self.assertEqual([warning for warning in warnings_on_standard_error() if "\n| " + warning not in page], [])

    def test_what_backend_and_agent_say_is_explained(self):
        page = text_of("docs/printing.md")
        self.assertGreater(len(spool_messages()), 25)
        self.assertEqual({message for message in spool_messages() if message not in page}, set())

    def test_what_the_server_says_is_explained(self):
        page = text_of("docs/server.md").replace("\\|", "|")
        page = page[page.index("\n## Messages\n"):]
        self.assertGreater(len(server_messages()), 35)
        self.assertGreater(len(page_messages()), 9)
        self.assertEqual({message for message in server_messages() | page_messages() if message not in page}, set())

    def test_the_protocol_has_every_command_with_its_fields(self):
        rows = re.findall(r"^\| `([A-Z_]+:[A-Z_:]+)` \|((?:[^|]|\\\|)*)\| .* \|$", text_of("docs/protocol.md"), re.M)
        self.assertGreater(len(rows), 25)
        explained = {name: set(re.findall(r"`([A-Z_]+)", fields)) - {"VR_CONTAINER", "VR_NO_ERROR"} for name, fields in rows}
        self.assertEqual(explained, commands())

    def test_the_protocol_names_what_a_print_reads_and_writes(self):
        page = text_of("docs/protocol.md")
        section = page[page.index("\n## One print\n"):page.index("\n## The portal")]
        explained = {name for row in re.findall(r"^\| (`[^|]*) \|", section, re.M) for name in re.findall(r"`([A-Z_]+)`", row)}
        self.assertGreater(len(explained), 35)
        self.assertEqual(explained, names_of_a_print())
        handed_out = set(re.findall(r"^([A-Z_]+)=", text_of("appserver/default_configuration.cpp"), re.M))
        self.assertEqual(handed_out - explained, set())

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
