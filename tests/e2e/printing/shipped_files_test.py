# SPDX-License-Identifier: MIT
"""The files that are shipped as they stand, under the checkers of their formats."""

import os
import plistlib
import re
import shutil
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree

PACKAGING = os.path.abspath(os.path.join(os.path.dirname(__file__), "../../../packaging"))
CHECKERS = {"cupstestppd": "cups-client", "desktop-file-validate": "desktop-file-utils", "appstreamcli": "appstream",
            "cmake": "cmake", "env": "coreutils", "groff": "groff-base", "sh": "dash", "systemd-analyze": "systemd", "identify": "imagemagick"}

# Everything that the bundle is made of, with programs that do nothing.
BUNDLE_PROJECT = """cmake_minimum_required(VERSION 3.22)
project(Bundle VERSION 1.0.0 LANGUAGES C)
file(WRITE ${CMAKE_BINARY_DIR}/empty.c "int main(void) { return 0; }")
foreach(program vrp varek-backend varek-agent)
  add_executable(${program} ${CMAKE_BINARY_DIR}/empty.c)
endforeach()
foreach(library vrc vrc_library)
  add_library(${library} SHARED ${CMAKE_BINARY_DIR}/empty.c)
endforeach()
set(varek_packaging %s)
set(varek_images ${varek_packaging}/images/logo.png)
include(${varek_packaging}/PackagingMacos.cmake)
"""


def shipped(*path):
    return os.path.join(PACKAGING, *path)


class ShippedFiles(unittest.TestCase):
    def check(self, *command):
        self.assertIsNotNone(shutil.which(command[0]), "needs the package " + CHECKERS[command[0]])
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
                              env={**os.environ, "LC_ALL": "C.UTF-8", "XDG_RUNTIME_DIR": tempfile.gettempdir()})
        self.assertEqual(done.returncode, 0, done.stdout.decode())
        return done.stdout.decode()

    def test_ppd_conforms_in_every_category(self):
        self.assertIn("PASS", self.check("cupstestppd", "-W", "none", shipped("ppd/Varek.ppd")))

    def test_ppd_says_how_documents_are_to_arrive(self):
        with open(shipped("ppd/Varek.ppd"), encoding="utf-8") as file:
            lines = file.read().splitlines()
        for line in ('*cupsFilter: "application/vnd.cups-pdf 0 -"', "*cupsSingleFile: True", "*cupsManualCopies: True",
                     "*ColorDevice: True", '*cupsLanguages: "en fr de es"'):
            self.assertIn(line, lines)

    def test_ppd_says_the_same_in_every_language(self):
        with open(shipped("ppd/Varek.ppd"), encoding="utf-8") as file:
            translated = re.findall(r"^\*(\w\w)\.([^/]*)/", file.read(), re.M)
        said = {language: [what for of, what in translated if of == language] for language, _ in translated}
        self.assertEqual(sorted(said), ["de", "es", "fr"])
        self.assertGreater(len(said["fr"]), 30)
        self.assertEqual(said["de"], said["fr"])
        self.assertEqual(said["es"], said["fr"])

    def test_desktop_files_are_valid(self):
        for name in ("varek-agent.desktop", "varek-print.desktop"):
            self.assertEqual(self.check("desktop-file-validate", shipped("linux", name)), "")

    def test_metainfo_is_valid(self):
        self.check("appstreamcli", "validate", "--no-net", shipped("linux/org.varek.Print.metainfo.xml"))

    def test_manual_pages_have_no_warnings(self):
        for name in ("vrp.1", "varek-agent.1", "varek-backend.8", "vrserver.8"):
            self.assertEqual(self.check("groff", "-man", "-ww", "-Tutf8", "-z", shipped("man", name)), "")

    def test_manual_pages_are_named_what_they_describe(self):
        for name in ("vrp.1", "varek-agent.1", "varek-backend.8", "vrserver.8"):
            with open(shipped("man", name), encoding="utf-8") as file:
                text = file.read()
            self.assertIn("\n.SH NAME\n%s \\- " % name[:-2].replace("-", "\\-"), text)

    def test_maintainer_scripts_are_shell(self):
        for name in ("debian/postinst", "debian/prerm", "debian/postrm", "linux/vrp.sh", "macos/postinstall"):
            self.check("sh", "-n", shipped(name))

    def test_property_lists_can_be_read(self):
        with open(shipped("macos/org.varek.agent.plist"), "rb") as file:
            self.assertEqual(plistlib.load(file)["ProgramArguments"][1:], ["--watch"])
        with open(shipped("macos/Info.plist.in"), "rb") as file:
            self.assertEqual(plistlib.load(file)["CFBundleExecutable"], "vrp")

    def test_images_are_small_pictures(self):
        for name, size in (("logo.png", "64x64"), ("cancel.png", "32x32"), ("cancel-pressed.png", "32x32"),
                           ("varek-print.png", "128x128")):
            self.assertEqual(self.check("identify", "-format", "%wx%h", shipped("images", name)), size)
        for name in ("varek-print.svg", "cancel.svg", "cancel-pressed.svg"):
            self.assertTrue(xml.etree.ElementTree.parse(shipped("images", name)).getroot().tag.endswith("svg"))

    def test_bundle_for_macos_holds_what_its_installer_and_its_agent_name(self):
        with tempfile.TemporaryDirectory() as folder:
            with open(os.path.join(folder, "CMakeLists.txt"), "w", encoding="utf-8") as file:
                file.write(BUNDLE_PROJECT % PACKAGING)
            self.check("cmake", "-S", folder, "-B", folder + "/build", "-G", "Ninja")
            self.check("cmake", "--build", folder + "/build")
            self.check("env", "DESTDIR=%s/root" % folder, "cmake", "--install", folder + "/build", "--prefix", "/")
            bundle = folder + "/root/Library/Printers/Varek/Varek Print.app/Contents/"
            with open(folder + "/root/Library/LaunchAgents/org.varek.agent.plist", "rb") as file:
                agent = plistlib.load(file)["ProgramArguments"][0]
            with open(bundle + "Info.plist", "rb") as file:
                program = "MacOS/" + plistlib.load(file)["CFBundleExecutable"]
            self.assertTrue(os.access(folder + "/root" + agent, os.X_OK))
            for name in (program, "setup/vrp", "setup/varek-backend", "setup/Varek.ppd", "MacOS/logo.png"):
                self.assertTrue(os.path.exists(bundle + name), name)
            for name in ("varek.ini", "varek.de.ini", "varek.es.ini", "varek.fr.ini"):
                with open(bundle + "Resources/" + name, encoding="utf-8") as file:
                    self.assertIn('VarekDll="libvrc.dylib"', file.read())

    def test_user_units_are_valid(self):
        units = ("varek-agent.path", "varek-agent.service")
        with tempfile.TemporaryDirectory() as folder:
            for name in units:
                with open(shipped("linux", name), encoding="utf-8") as file:
                    text = file.read().replace("/usr/bin/varek-agent", "/bin/true")  # which is not installed here
                with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                    file.write(text)
            self.check("systemd-analyze", "--user", "--man=no", "--recursive-errors=no", "verify",
                       *(os.path.join(folder, name) for name in units))


if __name__ == "__main__":
    unittest.main(verbosity=2)
