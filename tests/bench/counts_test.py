#!/usr/bin/env python3
"""Tests how instructions are counted, on what files, and how counts are compared.

    counts_test.py FOLDER-OF-BENCH [unittest arguments]
"""

import gzip
import struct
import sys
import unittest

sys.path.insert(0, sys.argv.pop(1))

# pylint: disable=wrong-import-position
import callgrind  # noqa: E402
import check_inputs  # noqa: E402
import instruction_counts  # noqa: E402

PROFILE = """\
events: Ir
ob=(1) /lib/ours.so
fl=(1) a.cc
fn=(1) readkit::bamInfo(int)
10 5
+3 7
cob=(2) /lib/libc.so.6
cfn=(2) memcpy
calls=2 20
* 100
-1 1
ob=(2)
fn=(2)
20 60
21 40
ob=(1)
fn=(3) other
5 3
totals: 116
"""


class Callgrind(unittest.TestCase):
    """What a profile says."""

    def test_costs_of_callees_count_where_they_arise(self):
        found = callgrind.by_object(PROFILE.splitlines(keepends=True))
        self.assertEqual(found, {"/lib/ours.so": 16, "/lib/libc.so.6": 100})


class Compared(unittest.TestCase):
    """Counts against those of before."""

    OLD = {"made_with": {"g++": "12", "libc6": "2"}, "counts": {"a": {"own": 1000, "all": 5000}}}

    def result(self, own=1000, everything=5000, made_with=None, name="a"):
        """The comparison of such counts with the old ones."""
        new = {"made_with": made_with or self.OLD["made_with"],
               "counts": {name: {"own": own, "all": everything}}}
        return instruction_counts.compared(self.OLD, new)

    def test_margin(self):
        for own, well in ((1000, True), (1030, True), (1031, False), (970, True), (969, False)):
            lines, found = self.result(own=own)
            self.assertEqual(found, well, own)
            self.assertEqual("OUTSIDE" in lines[0], not well, own)
        self.assertFalse(self.result(everything=5200)[1])

    def test_other_libraries_are_told_and_only_our_own_code_judged(self):
        other = {"g++": "12", "libc6": "3"}
        lines, well = self.result(everything=9000, made_with=other)
        self.assertTrue(well)
        self.assertIn("another libc6: 2, here 3", lines[-1])
        self.assertFalse(self.result(own=2000, made_with=other)[1])

    def test_paths_come_and_go(self):
        lines, well = self.result(name="b")
        self.assertFalse(well)
        self.assertIn("b: 1,000, not counted before", lines[0])
        self.assertIn("a: counted before", lines[1])


class Inputs(unittest.TestCase):
    """The files."""

    LINES = list(check_inputs.record_lines())

    def test_same_records_in_every_form(self):
        self.assertEqual(len(self.LINES), check_inputs.RECORDS)
        self.assertEqual(self.LINES, list(check_inputs.record_lines()))
        places = [(line.split("\t")[2], int(line.split("\t")[3])) for line in self.LINES]
        # The longest CIGAR covers 1151 bases.
        self.assertLess(max(place for _, place in places) + 1150, 2_000_000)
        mixed = check_inputs.mixed(self.LINES)
        self.assertNotEqual(mixed, self.LINES)
        self.assertEqual(sorted(mixed), sorted(self.LINES))
        self.assertEqual(check_inputs.fastq(self.LINES).count("\n"), 4 * check_inputs.RECORDS)

    def test_bam(self):
        lines = self.LINES[:500]
        data = check_inputs.bam(lines)
        # A BAM file is a gzip file, whose checksums are looked at here.
        content = gzip.decompress(data)
        (text,) = struct.unpack_from("<i", content, 4)
        at = 12 + text + 3 * 13
        names = []
        while at < len(content):
            size, _, _, length = struct.unpack_from("<iiiB", content, at)
            names.append(content[at + 36:at + 35 + length].decode())
            at += 4 + size
        self.assertEqual(names, [line.split("\t")[0] for line in lines])


if __name__ == "__main__":
    unittest.main()
