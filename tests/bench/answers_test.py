#!/usr/bin/env python3
"""Tests the comparisons of answers: each of them finds what is planted for it.

    answers_test.py FOLDER-OF-BENCH [unittest arguments]
"""

import pathlib
import struct
import sys
import tempfile
import unittest

sys.path.insert(0, sys.argv.pop(1))

# pylint: disable=wrong-import-position
import answers  # noqa: E402
import answers_index as index  # noqa: E402
import answers_quality as quality  # noqa: E402
import answers_records as records  # noqa: E402
import answers_values as values  # noqa: E402
from answers import Mismatch  # noqa: E402


def record(name, position, reference="chr1", flag=0, bases="ACGT", qualities="ABCD"):
    """A SAM line."""
    fields = (name, flag, reference, position, 60, f"{len(bases)}M", "=", 9, 0, bases, qualities)
    return ("\t".join(map(str, fields)) + "\n").encode()


class Comparing(unittest.TestCase):
    """Every comparison finds a planted difference."""

    def test_order_and_records(self):
        lines = [record("a", 1), record("b", 1), record("c", 2)]
        records.expect_same_order(lines, [lines[1], lines[0], lines[2]])
        for wrong in ([lines[0], lines[2], lines[1]], lines[:2],
                      [lines[0], lines[0], lines[2]], []):
            with self.assertRaises(Mismatch):
                records.expect_same_order(lines, wrong)
        with self.assertRaises(Mismatch):
            records.expect_same_order([], [])

    def test_ascending(self):
        records.expect_ascending([record("a", 1), record("b", 1), record("c", 1, "chr0")])
        for wrong in ([record("a", 2), record("b", 1)],
                      [record("a", 1), record("b", 1, "chr2"), record("c", 2)]):
            with self.assertRaises(Mismatch):
                records.expect_ascending(wrong)

    def test_reads_are_turned_for_a_peer_only(self):
        lines = [record("a", 1, flag=16, bases="AACG")]
        self.assertEqual(b"".join(records.reads(lines, True, False)), b"@a\nAACG\n+\nABCD\n")
        self.assertEqual(b"".join(records.reads(lines, True, True)), b"@a\nCGTT\n+\nDCBA\n")
        self.assertEqual(b"".join(records.reads(lines, False, True)), b">a\nCGTT\n")

    def test_fastq_files(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            given = answers.Answers(folder / "readkit", folder / "samtools", folder, "samtools")
            given.ours.mkdir()
            given.theirs.mkdir()
            (folder / "m.sam").write_bytes(b"@HD\tVN:1.6\n" + record("a", 1, flag=16, bases="AACG"))
            (given.ours / "result.fastq").write_text("@a\nAACG\n+\nABCD\n")
            (given.theirs / "stdout").write_text("@a\nCGTT\n+\nDCBA\n")
            records.fastq(given)
            (given.ours / "result.fastq").write_text("@a\nCGTT\n+\nDCBA\n")
            with self.assertRaisesRegex(Mismatch, "readkit's fastq line 2"):
                records.fastq(given)

    def test_command_that_fails_is_a_mismatch(self):
        with answers.lines_of("printf", "x\\ny\\n") as lines:
            self.assertEqual(list(lines), [b"x\n", b"y\n"])
        with self.assertRaisesRegex(Mismatch, "cannot read"):
            with answers.lines_of("sh", "-c", "echo x; exit 1") as lines:
                list(lines)

    def test_last_position(self):
        for cigar, last in ((b"4M", 13), (b"2S4M", 13), (b"2M3N1I2M1D", 17), (b"*", 10)):
            self.assertEqual(values.last_position(10, cigar), last, cigar)

    def test_printed_columns(self):
        line = b'{"class": "cell", "dims": [2, 1], "data": [{"class": "char", "dims": [1, 1], ' \
               b'"data": "a"}, {"class": "char", "dims": [1, 2], "data": "bc"}]},\n'
        self.assertEqual(values.cells(line), [b"a", b"bc"])
        self.assertEqual(values.numbers(b'  {"class": "double", "data": [1, 2]},\n'), [1, 2])

    def test_quality_tables(self):
        # The two reads of docs/gateway.md, and the tables that it shows for them.
        text = b"@first\nACGT\n+\nIIII\n@second\nGGC\n+\nGHJ\n"
        tables = quality.count_fastq(iter(text.splitlines(keepends=True)))
        self.assertEqual(tables.as_outputs(38, 41), [
            [0, 1, 1], [1, 0, 1, 0, 0, 1, 1, 0, 0, 0, 1, 1, 0, 0, 1, 0],
            [0] * 10 + [1] + [0] * 8 + [1], [1, 0, 1, 0, 0, 0, 1, 1, 0, 0, 0, 1, 1, 0, 0, 0, 0, 0,
                                             1, 0], [2], [3, 4, 1, 1]])
        stats = "SN\tsequences:\t2\nSN\ttotal length:\t7\n"
        quality.samtools_stats(stats, tables)
        with self.assertRaises(Mismatch):
            quality.samtools_stats(stats.replace("7", "8"), tables)
        shares = "1\t2\t50.0\t0.0\t50.0\t0.0\n2\t2\t0.0\t50.0\t50.0\t0.0\n" \
                 "3\t2\t0.0\t50.0\t50.0\t0.0\n4\t1\t0.0\t0.0\t0.0\t100.0\n"
        quality.seqtk_counts("POS\t#bases\n" + shares, tables)
        for wrong in (shares.replace("100.0", "99.0"), shares.replace("4\t1", "4\t2"), shares[:24]):
            with self.assertRaises(Mismatch):
                quality.seqtk_counts(wrong, tables)


def bai(*references):
    """A BAI file of references: {bin: chunks}, and no windows."""
    data = struct.pack("<4si", b"BAI\1", len(references))
    for bins in references:
        data += struct.pack("<i", len(bins))
        for number, chunks in bins.items():
            data += struct.pack("<Ii", number, len(chunks))
            data += b"".join(struct.pack("<QQ", *chunk) for chunk in chunks)
        data += struct.pack("<i", 0)
    return data


class ComparingIndexes(unittest.TestCase):
    """Bins and chunks of BAI files."""

    # Two records in the first window, one in the second; samtools' index has all in their parent.
    WANTED = {b"chr1": {4681, 4682}}
    THEIRS = [{585: [(100, 190)], 37450: [(100, 190), (3, 0)]}]

    def expect(self, bins, wrong=None):
        """Compares an index of one reference."""
        ours = index.read_bai(bai(bins))
        self.assertEqual(ours, [bins])
        if wrong is None:
            index.expect_complete(ours, self.THEIRS, self.WANTED)
        else:
            with self.assertRaisesRegex(Mismatch, wrong):
                index.expect_complete(ours, self.THEIRS, self.WANTED)

    def test_bins_and_chunks(self):
        self.expect({4681: [(100, 150)], 4682: [(150, 190)]})
        self.expect({4681: [(100, 150)], 4682: [(1 << 16, 2 << 16)]})
        self.expect({585: [(100, 190)], 37450: [(0, 1)]})
        self.expect({585: [(100, 190)], 4682: [(120, 130)]})

    def test_faults(self):
        self.expect({4681: [(100, 150)], 4682: [(160, 190)]}, "no chunk between")
        self.expect({4681: [(100, 150)], 4682: [(150, 180)]}, "chunks from 100 to 180 here")
        self.expect({4681: [(110, 150)], 4682: [(150, 190)]}, "chunks from 110")
        self.expect({4681: [(100, 190)]}, "bins that are missing: .4682")
        self.expect({585: [(100, 190)], 4683: [(100, 190)]}, "bins without records: .4683")
        with self.assertRaisesRegex(Mismatch, "references"):
            index.expect_complete([], self.THEIRS, self.WANTED)

    def test_bin_of_a_record(self):
        for begin, end, number in ((0, 1, 4681), (16383, 16385, 585), (16384, 16385, 4682),
                                   (0, 1 << 29, 0), (131071, 131073, 73)):
            self.assertEqual(index.bin_of(begin, end), number, (begin, end))
        self.assertEqual(list(index.with_parents(4682)), [4682, 585, 73, 9, 1, 0])
        lines = [record("a", 1), record("b", 16384)]
        self.assertEqual(index.bins_of(lines), {b"chr1": {4681, 585}})


if __name__ == "__main__":
    unittest.main()
