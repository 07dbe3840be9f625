# SPDX-License-Identifier: MIT
import io
import pathlib
import sys
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parents[3] / "bench"))

from harness import processor_time  # noqa: E402
from harness.processor_time import Sample, Time  # noqa: E402

RECORDED = """vrp  4711    1001001 
\tffffffff8aa7 copy_page_to_iter ([kernel.kallsyms])
\t    7f10a0c3 pread64 (/usr/lib/x86_64-linux-gnu/libc.so.6)
\t    7f10a0d4 vrc::readFully(int, char (*)(int)) (/opt/varek/Frameworks/libvrc-core.so)
\t    5f10a0d5 main (/opt/varek/bin/vrp)

QXcbEventQueue  4711   2002002 
\t    7f10a0c3 [unknown] (/usr/lib/x86_64-linux-gnu/libxcb.so.1.1.0)

"""


def component_of(*frames):
    return Sample("vrp", 4711, 1, list(frames)).component


class ProcessorTimeTest(unittest.TestCase):
    def test_samples_are_read_with_their_thread_time_and_stack(self):
        first, second = processor_time.parse_samples(RECORDED)
        self.assertEqual((first.thread, first.process, first.seconds, first.in_kernel), ("vrp", 4711, 0.001001001, True))
        self.assertEqual(first.frames[2], ("vrc::readFully(int, char (*)(int))", "libvrc-core.so"))
        self.assertEqual((second.thread, second.in_kernel, second.component), ("QXcbEventQueue", False, "windows"))

    def test_the_innermost_library_with_a_purpose_decides(self):
        libc, core, main = ("memcpy", "libc.so.6"), ("send", "libvrc-core.so"), ("main", "vrp")
        self.assertEqual(component_of(libc, core, main), "protocol and files")
        self.assertEqual(component_of(libc, ("SSL_write", "libssl.so.3"), core, main), "TLS")
        self.assertEqual(component_of(libc, main), "workflow")
        self.assertEqual(component_of(libc), processor_time.OTHER)

    def test_the_progress_text_is_told_apart_from_other_windows(self):
        paint = ("QLabel::paintEvent", "libQt6Widgets.so.6")
        self.assertEqual(component_of(paint, ("RefreshMessageWindow", "vrp")), "progress text")
        self.assertEqual(component_of(paint, ("main", "vrp")), "windows")

    def test_the_table_shows_seconds_shares_and_what_the_kernel_did(self):
        out = io.StringIO()
        processor_time.print_table({"300 MB": {("vrp", "TLS"): Time(1.5, 0.5), ("vrp", "windows"): Time(0.5)},
                                    "100 kB": {("vrp", "windows"): Time(0.02)}}, out)
        self.assertIn("| vrp | TLS | 1.50 s (75 %) | 500.0 ms | 0.0 ms (0 %) | 0.0 ms |\n", out.getvalue())
        self.assertIn("| together | | 2.00 s (100 %) | 500.0 ms | 20.0 ms (100 %) | 0.0 ms |\n", out.getvalue())


if __name__ == "__main__":
    unittest.main()
