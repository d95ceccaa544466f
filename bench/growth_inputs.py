"""Sorted SAM files for growth: reads of any length, on any number of references."""

import random

_REFERENCE_BASES = 200_000_000


def pools(lines):
    """The bases and the qualities of SAM record lines, one behind the other."""
    bases, qualities = [], []
    for line in lines:
        if not line.startswith("@"):
            fields = line.rstrip("\n").split("\t")
            bases.append(fields[9])
            qualities.append(fields[10])
    return "".join(bases), "".join(qualities)


def sam_lines(bases, qualities, length, records, references):
    """The lines of a sorted file; reads are stretches of the pools, evenly spread."""
    # Short pools are read again and again.
    times = 1 + length // len(bases) + 1
    bases, qualities = bases * times, qualities * times
    rng = random.Random(length + references)
    reference_length = max(_REFERENCE_BASES // references, 100 + 2 * length)
    yield "@HD\tVN:1.6\tSO:coordinate\n"
    for reference in range(references):
        yield f"@SQ\tSN:chr{reference + 1}\tLN:{reference_length}\n"
    for i in range(records):
        reference, place = divmod(i * references, records)
        position = 1 + place * (reference_length - length - 1) // records
        begin = rng.randrange(len(bases) - length)
        yield (f"r{i}\t0\tchr{reference + 1}\t{position}\t60\t{length}M\t*\t0\t0\t"
               f"{bases[begin:begin + length]}\t{qualities[begin:begin + length]}\n")


def recipe(length, records, references):
    """The recipe of m.sam with such reads."""
    def make(inputs, path):
        with open(inputs.get("seed.sam"), encoding="ascii") as lines:
            bases, qualities = pools(lines)
        with open(path, "w", encoding="ascii") as out:
            out.writelines(sam_lines(bases, qualities, length, records, references))
    return make
