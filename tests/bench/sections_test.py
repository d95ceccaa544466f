#!/usr/bin/env python3
"""Tests what is judged and reported besides the rows: memory, opening, sizes, kernels.

    sections_test.py FOLDER-OF-BENCH [unittest arguments]
"""

import argparse
import itertools
import pathlib
import struct
import sys
import tempfile
import unittest
import zlib

sys.path.insert(0, sys.argv.pop(1))

# pylint: disable=wrong-import-position
import answers_check  # noqa: E402
import answers_index  # noqa: E402
import inputs  # noqa: E402
import kernels  # noqa: E402
import memory  # noqa: E402
import opening  # noqa: E402
import opening_inputs  # noqa: E402
import python_package  # noqa: E402
import rows  # noqa: E402
import sizes  # noqa: E402
from answers import Answers, Mismatch  # noqa: E402
from programs import NotBuilt, Programs  # noqa: E402


class Memory(unittest.TestCase):
    """Whether a peak keeps to what there may be; peaks are KiB, the rest is bytes."""

    def test_conversion_counts_above_the_start(self):
        # 5000 KiB of start and 8 MB, which are 7812.5 KiB.
        for peak, held, met in ((12812, 0, True), (12813, 0, False), (12813, 512, True)):
            judged = memory.verdict(memory.CONVERSION, peak, 5000, 0, held)
            self.assertEqual(judged["met"], met, (peak, held))

    def test_scan_of_fastq_and_sort(self):
        self.assertTrue(memory.verdict(memory.FASTQ_SCAN, 19531, 5000, 0, 0)["met"])
        self.assertFalse(memory.verdict(memory.FASTQ_SCAN, 19532, 5000, 0, 0)["met"])
        self.assertTrue(memory.verdict(memory.SORT, 1099, 5, 1000, 0)["met"])
        self.assertFalse(memory.verdict(memory.SORT, 1101, 5, 1000, 0)["met"])

    def test_shown(self):
        judged = memory.verdict(memory.SORT, 2000, 0, 1000, 0)
        self.assertEqual(memory.shown(judged), "**2.0 above 1.1**")
        self.assertEqual(memory.shown(memory.verdict(memory.SORT, 1000, 0, 1000, 0)), "1.0 of 1.1")
        self.assertEqual(memory.shown(memory.verdict(None, 1, 1, 1, 1)), "–")
        results = {"rows": [{"title": "a", "memory": judged}, {"title": "b", "memory": None},
                            {"title": "c"}]}
        self.assertEqual(memory.missed(results), ["a"])


class Ours(unittest.TestCase):
    """What the build has."""

    def test_functions_and_programs(self):
        with tempfile.TemporaryDirectory() as folder:
            readkit = pathlib.Path(folder, "readkit")
            readkit.write_text('#!/bin/sh\n[ "$2" = old ] && exit 1\n[ "$2" = new ] && exit 2\n'
                               "exit 139\n")
            readkit.chmod(0o755)
            programs = Programs(readkit)
            self.assertTrue(programs.has("old"))
            self.assertFalse(programs.has("new"))
            with self.assertRaises(rows.RunFailed):
                programs.has("crashing")
            with self.assertRaises(NotBuilt):
                programs.program("many_calls")

    def test_sound_file(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            given = Answers(folder / "readkit", folder / "samtools", folder, "samtools")
            given.ours.mkdir()
            given.theirs.mkdir()
            (given.theirs / "stdout").write_text("7\n")
            line = ('  {{"class": "struct", "dims": [1, 1], "fields": '
                    '{{"records": {{"data": [{}]}}, "{}": {{"data": [{}]}}}}}}\n')
            (given.ours / "stdout").write_text(line.format(7, "count", 0))
            answers_check.sound(given)
            for wrong in ((8, "count", 0), (7, "count", 1), (7, "number", 0)):
                (given.ours / "stdout").write_text(line.format(*wrong))
                with self.assertRaises(Mismatch):
                    answers_check.sound(given)


class Regions(unittest.TestCase):
    """Regions that are asked for one by one."""

    def test_apart_and_within_references(self):
        references = [("a", 300_000), ("b", 600_000)]
        self.assertGreaterEqual(inputs.most_regions(references), 20)
        lines = list(inputs.random_regions(references, 20))
        found = [(name, int(begin), int(end)) for name, begin, end in map(str.split, lines)]
        self.assertEqual(len(found), 20)
        self.assertEqual(lines, list(inputs.random_regions(references, 20)))
        for name, begin, end in found:
            self.assertEqual(end - begin, 10_000)
            self.assertLessEqual(end, dict(references)[name])
        for (name, _, end), (following, begin, _) in itertools.pairwise(found):
            self.assertTrue((following == name and begin >= end + 1000) or following > name)
        with self.assertRaises(inputs.InputError):
            list(inputs.random_regions(references, inputs.most_regions(references) + 1))

    def test_lengths(self):
        lines = ["@HD\tVN:1\n", "@SQ\tSN:a\tLN:5\n", "@SQ\tSN:b:c\tLN:7\n", "r\t@SQ\n"]
        self.assertEqual(inputs.reference_lengths(lines), [("a", 5), ("b:c", 7)])


def block(content):
    """A BGZF block."""
    packer = zlib.compressobj(wbits=-15)
    deflated = packer.compress(content) + packer.flush()
    return (bytes([31, 139, 8, 4]) + bytes(6) + struct.pack("<H2sHH", 6, b"BC", 2,
                                                            len(deflated) + 25)
            + deflated + struct.pack("<II", zlib.crc32(content), len(content)))


class DenseIndex(unittest.TestCase):
    """An index whose bins all have chunks."""

    # Record 0 starts at offset 0 of block 100, record 1 at 50 of it, record 2 at 0 of block 200.
    RECORDS = [(0, 0, 100 << 16), (0, 1 << 20, 100 << 16 | 50), (0, 3 << 20, 200 << 16),
               (-1, 0, 300 << 16)]

    def test_offsets_of_records(self):
        header = b"BAM\1" + struct.pack("<ii", 0, 1) + struct.pack("<i2si", 2, b"a\0", 9)
        record = [struct.pack("<iii", 40, 0, position) + bytes(32) for position in (5, 6, 7)]
        first, second = block(header + record[0] + record[1]), block(record[2])
        offsets = [len(header), len(header) + 44, len(first) << 16,
                   len(first + second) << 16]
        found = list(opening_inputs.record_offsets(first + second + block(b"")))
        self.assertEqual([(one[0], one[1]) for one in found], [(0, 5), (0, 6), (0, 7), (-1, 0)])
        self.assertEqual([one[2] for one in found[:3]], offsets[:3])
        # The end is past the last record, in any of the empty places there.
        self.assertGreaterEqual(found[3][2], offsets[3])

    def test_every_bin_leads_to_its_records(self):
        data = opening_inputs.dense_index(self.RECORDS)
        (bins,) = answers_index.read_bai(data)
        self.assertEqual(len(bins), 37450)
        chunk = {place: (self.RECORDS[place][2], self.RECORDS[place + 1][2]) for place in range(3)}
        self.assertEqual(bins[0], [chunk[0]])
        # The windows of the records' starts, and one right behind the first record's.
        for window, place in ((0, 0), (1, 1), (64, 1), (65, 2), (192, 2)):
            self.assertEqual(bins[4681 + window], [chunk[place]], window)
        self.assertEqual(bins[37448], [(300 << 16, 300 << 16)])
        linear = struct.unpack_from("<32768Q", data, len(data) - 8 - 8 * 32768)
        self.assertEqual([linear[window] for window in (0, 1, 65, 192, 193)],
                         [chunk[0][0], chunk[1][0], chunk[2][0], chunk[2][0], chunk[2][1]])


    def test_window_leads_to_a_record_that_reaches_into_it(self):
        records = [(0, (1 << 14) - 10, 100 << 16), (0, 1 << 20, 200 << 16), (-1, 0, 300 << 16)]
        data = opening_inputs.dense_index(records)
        linear = struct.unpack_from("<32768Q", data, len(data) - 8 - 8 * 32768)
        self.assertEqual(linear[:3], (100 << 16, 100 << 16, 200 << 16))


class Sections(unittest.TestCase):
    """What the sections say."""

    def test_seconds_in_call(self):
        self.assertEqual(opening.in_call("calls 3 seconds 0.25 slowest 0.125\n"), 0.25)

    def test_cost_of_a_reference(self):
        headers = [{"references": count, "rows": [{"readkit": {"wall": wall}}]}
                   for count, wall in ((10, 1.0), (1010, 1.001), (100010, 1.2))]
        first, *others = opening.per_reference(headers, 0)
        self.assertIsNone(first)
        for other, expected in zip(others, (1.0, 2.0), strict=True):
            self.assertAlmostEqual(other, expected)

    def test_opening_is_reported_and_failures_are_named(self):
        row = {"name": "n", "title": "t", "result": rows.MEASURED, "readkit": {"wall": 1.0}}
        bad = {"name": "bad", "title": "t", "result": rows.FAILED, "why": "w"}
        found = {"region": {**row, "in_call": 0.5, "result": rows.MISSED}, "reach": 0.03,
                 "headers": [{"references": 10, "rows": [row]}, {"references": 20, "rows": [bad]}]}
        self.assertEqual(opening.failed(found), ["bad: w"])
        self.assertIn("0.5000 s, to reach 0.030 s (missed)", opening.markdown(found))
        self.assertIn("| t | 20 | – |", opening.markdown(found))

    def test_sizes(self):
        files = [{"name": "a", "fast": 102, "exact": 100}, {"name": "b", "fast": 99, "exact": 100}]
        self.assertEqual(sizes.ratio(files), 1.005)
        self.assertIsNone(sizes.ratio([]))
        found = {"files": files, "skipped": ["c"], "ratio": 1.005, "reach": 1.01}
        self.assertIn("met", sizes.markdown(found))
        self.assertIn("missed", sizes.markdown({**found, "ratio": 1.02}))
        self.assertEqual(sizes.failed(found), [])
        self.assertTrue(sizes.failed({**found, "files": []}))

    def test_files_of_the_same_content_count_once(self):
        with tempfile.TemporaryDirectory() as folder:
            paths = [pathlib.Path(folder, name) for name in "abc"]
            for path, content in zip(paths, ("same", "other", "same"), strict=True):
                path.write_text(content)
            self.assertEqual(list(sizes.distinct(paths)), paths[:2])

    def test_kernels(self):
        printed = {"benchmarks": [
            {"run_name": "a", "aggregate_name": "median", "cpu_time": 2500.0,
             "bytes_per_second": 3e6},
            {"run_name": "a", "aggregate_name": "mean", "cpu_time": 9.0}]}
        found = {"kernels": kernels.medians(printed)}
        self.assertEqual([one["ns"] for one in found["kernels"]], [2500.0])
        self.assertIn("| a | 2.50 | 3 | – |", kernels.markdown(found))
        self.assertTrue(kernels.failed({"kernels": []}))
        self.assertFalse(kernels.failed({"kernels": [], "why": "not built"}))

    def test_kernels_that_are_not_built(self):
        bench = argparse.Namespace(programs=Programs("/nowhere/readkit"))
        found = kernels.measured(bench, None)
        self.assertIn("not built", kernels.markdown(found))


class InPython(unittest.TestCase):
    """The Python package against pysam."""

    def test_both_sides_values_are_the_same_lines(self):
        sys.path.insert(0, str(pathlib.Path(python_package.__file__).parent / "peers"))
        import in_python
        starts = ((100, 101), (109, 105), (99, 0))
        self.assertEqual(in_python.lines_of("readkit", "starts", starts),
                         in_python.lines_of("pysam", "starts", [(99, 109, 99), (100, 105, 0)]))
        table = {"Region": [0, 1], "Header": ["a", "b"], "Flag": [4, 0], "Position": [7, 9]}
        self.assertEqual(in_python.lines_of("readkit", "regions", table),
                         in_python.lines_of("pysam", "regions", [[("a", 4, 6)], [("b", 0, 8)]]))
        self.assertNotEqual(in_python.lines_of("readkit", "regions", table),
                            in_python.lines_of("pysam", "regions", [[("a", 4, 6), ("b", 0, 8)]]))

    def test_reported(self):
        rows_of = [{"name": "python-starts", "title": "starts", "reach": 0.25, "records": 7,
                    "ratio": 0.5, "seconds": {"readkit": [1, 2, 3], "pysam": [4, 4, 4]},
                    "result": rows.MISSED},
                   {"name": "python-fields", "title": "fields", "reach": 0.25,
                    "result": rows.FAILED, "why": "the values differ"}]
        text = python_package.markdown({"rows": rows_of})
        self.assertIn("| starts | 7 | 2.000 | 4.000 | 0.50 | 0.25 | missed |", text)
        self.assertIn("FAILED: the values differ", text)
        self.assertEqual(python_package.failed({"rows": rows_of}),
                         ["python-fields: the values differ"])
        skipped = {"rows": [], "result": rows.SKIPPED, "why": "pysam is not installed"}
        self.assertIn("skipped: pysam is not installed", python_package.markdown(skipped))
        self.assertEqual(python_package.failed(skipped), [])


if __name__ == "__main__":
    unittest.main()
