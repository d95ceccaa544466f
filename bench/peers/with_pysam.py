#!/usr/bin/env python3
"""What the benchmarks ask of pysam, as a Python user would write it.

usage: with_pysam.py count reads.bam
       with_pysam.py tuples reads.bam
       with_pysam.py reference reads.bam NAME
       with_pysam.py regions reads.bam regions.bed OUT.sam

Every job but the last prints how many records it met.
"""

import sys

import pysam


def count(bam):
    """Reads every record."""
    return sum(1 for _ in bam.fetch(until_eof=True))


def tuples(bam):
    """Name, CIGAR, start, end, reference, flag and mate's start of every record, in a list."""
    return len([(read.query_name, read.cigarstring, read.reference_start, read.reference_end,
                 read.reference_name, read.flag, read.next_reference_start)
                for read in bam.fetch(until_eof=True)])


def reference(bam, name):
    """Start, end and flag of every record of a reference, in a list."""
    return len([(read.reference_start, read.reference_end, read.flag) for read in bam.fetch(name)])


def regions(bam, bed, out):
    """The lines of the records of every region."""
    with open(bed, encoding="ascii") as lines, open(out, "w", encoding="ascii") as text:
        for line in lines:
            name, begin, end = line.split("\t")
            for read in bam.fetch(name, int(begin), int(end)):
                text.write(read.to_string() + "\n")


def main():
    """Does one job."""
    jobs = {"count": count, "tuples": tuples, "reference": reference, "regions": regions}
    job, path, *more = sys.argv[1:]
    with pysam.AlignmentFile(path) as bam:
        found = jobs[job](bam, *more)
    if found is not None:
        print(found)


if __name__ == "__main__":
    main()
