#!/usr/bin/env python3
"""Tests how growth is fitted and what its files are made of.

    growth_test.py FOLDER-OF-BENCH [unittest arguments]
"""

import sys
import unittest

sys.path.insert(0, sys.argv.pop(1))

# pylint: disable=wrong-import-position
import growth_fit  # noqa: E402
import growth_inputs  # noqa: E402


class Fit(unittest.TestCase):
    """The exponent, and the cost of a unit."""

    def test_exponent(self):
        sizes = (10, 100, 1000, 5000)
        for power in (0, 0.5, 1, 2):
            seconds = [3 * size ** power for size in sizes]
            self.assertAlmostEqual(growth_fit.exponent(sizes, seconds), power)
        self.assertIsNone(growth_fit.exponent((5, 5), (1, 2)))

    def test_exponent_of_points_off_the_line(self):
        # The least squares of (0, 0), (1, 2), (2, 2) have slope 1.
        self.assertAlmostEqual(growth_fit.exponent((1, 10, 100), (1, 100, 100)), 1)

    def test_start_is_subtracted_and_points_of_nothing_left_out(self):
        fit = growth_fit.fitted([(1, 0.021), (10, 0.12), (100, 1.02), (1000, 10.02)], 0.02, True)
        self.assertAlmostEqual(fit["exponent"], 1)
        self.assertEqual([cost["size"] for cost in fit["costs"]], [10, 100, 1000])
        for cost in fit["costs"]:
            self.assertAlmostEqual(cost["cost"], 0.01)
            self.assertAlmostEqual(cost["relative"], 1)
        self.assertEqual(growth_fit.fitted([(1, 0.02)], 0.02, True),
                         {"exponent": None, "costs": []})

    def test_costs_of_the_whole(self):
        fit = growth_fit.fitted([(1, 1), (2, 3), (4, 2)], 0, False)
        self.assertEqual([cost["relative"] for cost in fit["costs"]], [0.5, 1.5, 1])

    def test_table(self):
        one = {"points": [(10, 0.5), (1000, 50)]}
        one["fit"] = growth_fit.fitted(one["points"], 0, True)
        nothing = {"points": [], "fit": growth_fit.fitted([], 0, True), "why": "no luck"}
        text = growth_fit.markdown({"title": "T", "about": "a", "operations":
                                    {"x": one, "y": nothing}})
        self.assertIn("| x | 0.500 | 50.000 | 1.00 | 1.00, 1.00 |", text)
        self.assertIn("| y | – | – | – | – |", text)
        self.assertIn("y: no luck", text)


class Reads(unittest.TestCase):
    """Files of any number of references and any length of reads."""

    def lines(self, *wanted):
        """A file's header and records, the records as lists."""
        lines = [line.rstrip("\n").split("\t") for line in
                 growth_inputs.sam_lines("ACGTA", "IHGFE", *wanted)]
        return ([line for line in lines if line[0].startswith("@")],
                [line for line in lines if not line[0].startswith("@")])

    def test_sorted_and_within_references(self):
        for length, records, references in ((3, 20, 4), (12, 7, 1), (2, 3, 9)):
            header, found = self.lines(length, records, references)
            lengths = [int(line[2].removeprefix("LN:")) for line in header[1:]]
            self.assertEqual((len(found), len(lengths)), (records, references))
            places = [(int(line[2].removeprefix("chr")), int(line[3])) for line in found]
            self.assertEqual(places, sorted(places))
            for line, (reference, position) in zip(found, places, strict=True):
                self.assertLessEqual(position + length - 1, lengths[reference - 1])
                self.assertEqual((len(line[9]), len(line[10])), (length, length))
                self.assertGreaterEqual(position, 1)
                self.assertIn(line[9], "ACGTA" * 4)
        self.assertEqual({int(line[2].removeprefix("chr")) for line in self.lines(3, 20, 4)[1]},
                         {1, 2, 3, 4})

    def test_pools(self):
        lines = ["@HD\n", "\t".join(["r"] * 9 + ["AC", "IJ"]) + "\n",
                 "\t".join(["r"] * 9 + ["GT", "KL", "NM:i:1"]) + "\n"]
        self.assertEqual(growth_inputs.pools(lines), ("ACGT", "IJKL"))


if __name__ == "__main__":
    unittest.main()
