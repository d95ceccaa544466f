#!/usr/bin/env python3
"""Writes a BAM file as a sequencer and an aligner might: pairs of reads of a small genome.

    python3 examples/simulated_reads.py mixed.bam

Of its two references, chr1 has a stretch that the sample has twice, another that one of two
haplotypes lacks, and a repeat where reads could lie elsewhere. Qualities fall towards the ends of
reads. The file is the same every time.
"""

import random
import sys

import sam_to_bam

READ = 100
CHROMOSOME, PLASMID = ("chr1", 60_000), ("plasmid", 6_000)
DUPLICATED = (20_000, 26_000)
DELETED = (42_000, 44_500)
REPEAT = (10_000, 11_200)
PAIRS = 6_000
COMPLEMENT = str.maketrans("ACGT", "TGCA")


def genome(rng, length):
    """Bases whose GC content wanders."""
    bases = []
    while len(bases) < length:
        gc = rng.uniform(0.35, 0.6)
        weights = [(1 - gc) / 2, gc / 2, gc / 2, (1 - gc) / 2]
        bases += rng.choices("ACGT", weights, k=500)
    return "".join(bases[:length])


def qualities(rng):
    """The qualities of one read, from its first base on."""
    level = rng.gauss(0, 1.5) - (14 if rng.random() < 0.04 else 0)
    numbers = []
    for cycle in range(READ):
        fall = 0.0016 * cycle**2 + (5 if cycle < 4 else 0)
        numbers.append(max(2, min(40, round(39 + level - fall + rng.uniform(-3, 3)))))
    return numbers


def read_bases(rng, bases, numbers):
    """What the sequencer makes of bases: errors, as often as qualities say."""
    return "".join(rng.choice("ACGT") if rng.random() < 10 ** (-number / 10) else base
                   for base, number in zip(bases, numbers))


class Aligned:
    """One end of a fragment on a haplotype: its position (from 0) and CIGAR on the reference."""

    def __init__(self, begin, lacks):
        end = begin + READ
        first, last = DELETED
        size = last - first if lacks else 0
        if not lacks or end <= first:
            self.position, self.cigar = begin, f"{READ}M"
        elif begin >= first:
            self.position, self.cigar = begin + size, f"{READ}M"
        elif first - begin >= READ // 2:
            self.position, self.cigar = begin, f"{first - begin}M{end - first}S"
        else:
            self.position, self.cigar = last, f"{first - begin}S{end - first}M"


def fragments(rng):
    """Reference, its bases, begin and length of each fragment, and whether its haplotype lacks the
    deleted stretch."""
    chromosome, plasmid = genome(rng, CHROMOSOME[1]), genome(rng, PLASMID[1])
    shorter = chromosome[:DELETED[0]] + chromosome[DELETED[1]:]
    made = 0
    while made < PAIRS:
        length = max(2 * READ, round(rng.gauss(330, 45)))
        if rng.random() < 0.1:
            yield PLASMID[0], plasmid, rng.randrange(PLASMID[1] - length), length, False
        else:
            lacks = rng.random() < 0.5
            bases = shorter if lacks else chromosome
            begin = rng.randrange(len(bases) - length)
            if not DUPLICATED[0] <= begin < DUPLICATED[1] and rng.random() < 0.5:
                continue
            yield CHROMOSOME[0], bases, begin, length, lacks
        made += 1


def pair(rng, number, reference, bases, begin, length, lacks):
    """The two lines of a fragment."""
    ends = [Aligned(begin, lacks), Aligned(begin + length - READ, lacks)]
    starts = [end.position for end in ends]
    span = starts[1] + READ - starts[0]
    lost = rng.random() < 0.02
    repeated = reference == CHROMOSOME[0] and REPEAT[0] <= starts[0] < REPEAT[1]
    proper = 0x2 if span < 600 and not lost else 0
    copy = 0x400 if rng.random() < 0.03 else 0
    for i, end in enumerate(ends):
        numbers = qualities(rng)
        begin_here = begin + i * (length - READ)
        called = read_bases(rng, bases[begin_here:begin_here + READ], numbers[::-1 if i else 1])
        text = "".join(chr(number + 33) for number in numbers[::-1 if i else 1])
        flag = 0x1 | proper | copy | (0x40, 0x80)[i] | (0x20, 0x10)[i]
        place, cigar, quality = starts[i], end.cigar, 0 if repeated else rng.choice([60, 60, 60, 52])
        mate = starts[1 - i]
        if lost:
            # The second end has no place of its own, and is put where the first one is.
            flag, mate = (0x1 | 0x8 | 0x40, starts[0]) if i == 0 else (0x1 | 0x4 | 0x80, starts[0])
            if i == 1:
                place, cigar, quality = starts[0], "*", 0
                called, text = called.translate(COMPLEMENT)[::-1], text[::-1]
        size = 0 if lost else (span, -span)[i]
        yield (f"run1:{number}\t{flag}\t{reference}\t{place + 1}\t{quality}\t{cigar}\t=\t{mate + 1}"
               f"\t{size}\t{called}\t{text}")


def blocks():
    """The blocks of the file."""
    rng = random.Random(11)
    data, indexes = sam_to_bam.header(["@HD\tVN:1.6\tSO:unsorted", *(
        f"@SQ\tSN:{name}\tLN:{length}" for name, length in (CHROMOSOME, PLASMID))])
    yield sam_to_bam.block(data)
    waiting = b""
    for number, fragment in enumerate(fragments(rng), start=1):
        for line in pair(rng, number, *fragment):
            waiting += sam_to_bam.record(line.split("\t"), indexes)
        if len(waiting) > 30_000:
            yield sam_to_bam.block(waiting)
            waiting = b""
    yield sam_to_bam.block(waiting) + sam_to_bam.END_OF_FILE


def main():
    """Writes the file."""
    with open(sys.argv[1], "wb") as output:
        output.writelines(blocks())


if __name__ == "__main__":
    main()
