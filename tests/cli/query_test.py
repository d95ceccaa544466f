#!/usr/bin/env python3
"""Asks for regions through every kind of index, and compares with a filter of the whole file.

    query_test.py PROGRAM

Files are made here, and taken from the folder that READKIT_TEST_DATA names.
"""

import os
import pathlib
import random
import re
import subprocess
import sys
import tempfile
import unittest

import small_bam

PROGRAM = None
MOST_BYTES = int(os.environ.get("READKIT_TEST_DATA_MOST_BYTES", 1 << 18))
REGIONS = 4


def run(*words, status=0):
    done = subprocess.run([PROGRAM, *words], capture_output=True, check=False)
    if done.returncode != status:
        raise AssertionError((words, done.returncode, done.stderr))
    return done.stdout, done.stderr


def spread_bam():
    """Records over many windows, long skips among them, in coordinate order."""
    rng = random.Random(11)
    records = []
    for reference, length in ((0, 2_000_000), (1, 40_000)):
        for position in sorted(rng.randrange(length) for _ in range(300)):
            skip = rng.choice([0, 0, 0, 1000, 100_000])
            cigar = [(5, "M"), (skip, "N"), (5, "M")] if skip else [(10, "M")]
            records.append(small_bam.record(b"r%d" % len(records), reference, position, cigar,
                                            "ACGTACGTAC"))
    return small_bam.bam([(b"chr1", 3_000_000), (b"chr2", 200_000)], records)


def covered(line):
    """Reference, first and last position of a line of SAM."""
    fields = line.split(b"\t")
    begin = int(fields[3])
    length = sum(int(n) for n, op in re.findall(rb"(\d+)(\D)", fields[5]) if op in b"MDN=X")
    return fields[2], begin, begin + max(length, 1) - 1


class QueryTest(unittest.TestCase):
    def compare(self, bam, index, rng, warned):
        """Random regions through an index, which is warned of or not."""
        lines = run("view", bam)[0].splitlines(keepends=True)
        places = [covered(line) for line in lines]
        known = [place for place in places if place[0] != b"*" and place[1] > 0]
        if not known:
            return 0
        regions = []
        for _ in range(REGIONS):
            name, begin, _ = rng.choice(known)
            begin = max(1, begin - rng.choice([0, 1, 20_000, 200_000]))
            regions.append((name, begin, begin + rng.choice([0, 10, 20_000, 150_000])))
        words = [b"{%s}:%d-%d" % region for region in regions]
        found, said = run("view", "--index", index, bam, *words)
        wanted = b"".join(line for name, begin, end in regions
                          for line, (reference, first, last) in zip(lines, places)
                          if reference == name and first <= end and last >= begin and first > 0)
        self.assertEqual(found, wanted, (bam, words))
        if warned is not None:
            self.assertEqual(b"warning: " in said, warned, (bam, said))
        return len(wanted)

    def test_a_file_with_long_skips(self):
        rng = random.Random(5)
        with tempfile.TemporaryDirectory() as folder:
            bam = pathlib.Path(folder) / "spread.bam"
            bam.write_bytes(spread_bam())
            run("index", bam)
            run("index", "-q", "--exact", bam, bam.with_suffix(".exact.bai"))
            for _ in range(10):
                self.assertGreater(self.compare(bam, f"{bam}.bai", rng, False), 0)
                self.compare(bam, bam.with_suffix(".exact.bai"), rng, True)

    def test_damaged_indexes_do_no_harm(self):
        rng = random.Random(9)
        with tempfile.TemporaryDirectory() as folder:
            bam = pathlib.Path(folder) / "spread.bam"
            bam.write_bytes(spread_bam())
            run("index", bam)
            whole = pathlib.Path(f"{bam}.bai").read_bytes()
            damaged = pathlib.Path(folder) / "damaged.bai"
            for i in range(24):
                bytes_ = bytearray(whole[:rng.randrange(len(whole))] if i % 2 else whole)
                for _ in range(rng.choice([1, 20])):
                    if bytes_:
                        bytes_[rng.randrange(len(bytes_))] = rng.choice([0, 1, 127, 128, 255])
                damaged.write_bytes(bytes_)
                done = subprocess.run([PROGRAM, "view", "-c", "--index", damaged, bam, "chr1"],
                                      capture_output=True, check=False)
                self.assertIn(done.returncode, (0, 1), done.stderr)
                self.assertNotIn(b"Sanitizer", done.stderr)
                if i % 2:  # one that is cut short is never used
                    self.assertEqual(done.stdout, b"300\n", done.stderr)

    def test_fields_of_more_records_than_are_asked_for_at_once(self):
        with tempfile.TemporaryDirectory() as folder:
            bam = pathlib.Path(folder) / "many.bam"
            # Many at one position, so that a batch ends among equals.
            bam.write_bytes(small_bam.bam([(b"chr1", 10_000)], [
                small_bam.record(b"%d" % i, 0, i // 3000, [(2, "M")], "AC")
                for i in range(70_000)]))
            found, said = run("fields", "-q", "--field", "Header,Position", bam, "chr1")
            self.assertEqual(said, b"")
            self.assertEqual(found, b"Header\tPosition\n" + b"".join(
                b"%d\t%d\n" % (i, i // 3000 + 1) for i in range(70_000)))

    def test_real_files(self):
        data = os.environ.get("READKIT_TEST_DATA")
        if data is None:
            self.skipTest("READKIT_TEST_DATA names no folder of real files")
        rng = random.Random(3)
        compared = 0
        with tempfile.TemporaryDirectory() as folder:
            index = pathlib.Path(folder) / "complete.bai"
            for bam in sorted(pathlib.Path(data, "bam").glob("*.bam")):
                if bam.stat().st_size > MOST_BYTES:
                    continue
                done = subprocess.run([PROGRAM, "index", bam, index], capture_output=True,
                                      check=False)
                if done.returncode != 0:
                    continue
                # The library's end of very long CIGARs and names is another one than the text's.
                if bam.name in ("cg.bam", "large_coords.bam"):
                    continue
                compared += self.compare(bam, index, rng, None) > 0
                exact = pathlib.Path(folder) / "exact.bai"
                if subprocess.run([PROGRAM, "index", "-q", "--exact", bam, exact],
                                  capture_output=True, check=False).returncode == 0:
                    self.compare(bam, exact, rng, None)
        self.assertGreater(compared, 10)


if __name__ == "__main__":
    PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
    unittest.main(argv=sys.argv[:1])
