# SPDX-License-Identifier: MIT
import io
import pathlib
import sys
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parents[3] / "bench"))

from harness import measure, verify_link  # noqa: E402
from harness.measure import Row  # noqa: E402


class MeasureTest(unittest.TestCase):
    def test_sides_take_turns_in_alternating_order(self):
        calls = []
        results = measure.interleaved(3, ours=lambda: calls.append("ours") or 1, curl=lambda: calls.append("curl") or 2)
        self.assertEqual(calls, ["ours", "curl", "curl", "ours", "ours", "curl"])
        self.assertEqual(results, {"ours": [1, 1, 1], "curl": [2, 2, 2]})

    def test_a_goal_is_met_up_to_its_limit_and_missed_beyond(self):
        for ours, at_least, verdict in ((1.05, False, "met"), (1.06, False, "missed"), (1.05, True, "met"),
                                        (1.04, True, "missed")):
            row = Row("section", "what", ours, 1.0, limit=1.05, at_least=at_least)
            self.assertEqual(row.verdict, verdict, (ours, at_least))

    def test_without_a_goal_there_is_no_verdict(self):
        self.assertEqual(Row("section", "what", 1.0, 2.0).verdict, "")

    def test_a_comparison_is_one_of_medians_and_its_limit_is_the_peers(self):
        row = measure.compare("section", "what", {"ours": [9, 1, 2], "curl": [4, 100, 1]}, lambda theirs: 2 * theirs)
        self.assertEqual((row.ours, row.theirs, row.ratio, row.limit, row.verdict), (2, 4, 0.5, 8, "met"))

    def test_the_table_shows_both_numbers_and_the_ratio(self):
        out = io.StringIO()
        measure.print_table([Row("section", "what", 3.0, 2.0, goal="at most 1", limit=2.0)], out)
        self.assertIn("| what | 3.000 s |  | 2.000 s | 1.500 | at most 1 (2.000 s) | missed |", out.getvalue())

    def test_bytes_between_two_moments_are_those_that_arrived_in_between(self):
        arrivals = [(0.0, 10), (1.0, 30), (2.0, 60)]
        self.assertEqual(verify_link.bytes_between(arrivals, 0.5, 1.5), 20)
        self.assertEqual(verify_link.bytes_between(arrivals, 5, 6), 0)


if __name__ == "__main__":
    unittest.main()
