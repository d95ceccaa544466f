#!/usr/bin/env python3
"""One job in Python, timed from opening the file to the last value in memory.

usage: in_python.py readkit|pysam starts|fields FILE NAME [PACKAGE]
       in_python.py readkit|pysam regions FILE REGIONS.bed [PACKAGE]

PACKAGE is the folder of readkit's Python package. Printed are the seconds, how many records there
were, and a digest of all values, which is the same when they are.
"""

import hashlib
import sys
import time


def regions_of(bed):
    """Name, first and last position, 1-based and inclusive, of each line."""
    with open(bed, encoding="ascii") as lines:
        rows = [line.split("\t")[:3] for line in lines]
    return [(name, int(begin) + 1, int(end)) for name, begin, end in rows]


# ---- As a user of pysam writes it ---------------------------------------------------------------


def pysam_starts(path, name):
    """Start, end and flag of every record of a reference."""
    with pysam.AlignmentFile(path) as file:
        return [(read.reference_start, read.reference_end, read.flag) for read in file.fetch(name)]


def pysam_fields(path, name):
    """Name, flag, position, sequence and qualities of every record of a reference."""
    with pysam.AlignmentFile(path) as file:
        return [(read.query_name, read.flag, read.reference_start, read.query_sequence,
                 read.query_qualities) for read in file.fetch(name)]


def pysam_regions(path, bed):
    """Name, flag and position of every record of each region."""
    with pysam.AlignmentFile(path) as file:
        return [[(read.query_name, read.flag, read.reference_start)
                 for read in file.fetch(name, first - 1, last)]
                for name, first, last in regions_of(bed)]


# ---- And of readkit -----------------------------------------------------------------------------


def readkit_starts(path, name):
    return readkit.open(path).starts(name)


def readkit_fields(path, name):
    return readkit.open(path).fields(name, ["Header", "Flag", "Position", "Sequence", "Quality"])


def readkit_regions(path, bed):
    return readkit.open(path).fields(
        regions=[f"{name}:{first}-{last}" for name, first, last in regions_of(bed)],
        names=["Header", "Flag", "Position"])


# ---- The same values, as lines ------------------------------------------------------------------


def lines_of(side, job, found):
    """Values of both sides as the same rows of text."""
    if side == "readkit":
        columns = list(found if job == "starts" else found.values())
        return ["\t".join(map(str, row)) for row in zip(*columns)]
    if job == "starts":
        return [f"{start + 1}\t{end}\t{flag}" for start, end, flag in found]
    if job == "fields":
        return [f"{name}\t{flag}\t{start + 1}\t{bases}\t{pysam.qualities_to_qualitystring(numbers)}"
                for name, flag, start, bases, numbers in found]
    return [f"{number}\t{name}\t{flag}\t{start + 1}" for number, reads in enumerate(found)
            for name, flag, start in reads]


def main():
    """Does one job."""
    side, job, path, more = sys.argv[1:5]
    work = globals()[f"{side}_{job}"]
    begin = time.perf_counter()
    found = work(path, more)
    seconds = time.perf_counter() - begin
    lines = lines_of(side, job, found)
    digest = hashlib.sha256("\n".join(lines).encode("utf-8", "surrogateescape")).hexdigest()
    print(f"{seconds} {len(lines)} {digest}")


if __name__ == "__main__":
    if sys.argv[1] == "pysam":
        import pysam
    else:
        sys.path.insert(0, sys.argv[5])
        import readkit
    main()
