#!/usr/bin/env python3
"""Multiplies the reads of a SAM text into a large coordinate-sorted SAM file for benchmarks.

usage: make_reads.py SEED.sam RECORDS REFERENCES > reads.sam

Every read of the seed appears again and again with a new name, a shifted position and slightly
changed qualities, so that the copies compress about as well as real reads do. Records are spread
evenly over the references. The same seed gives the same file.
"""
import random
import sys

# From one read to the next: reads of 150 bases lie five deep, as in a cheap sequencing of a genome.
STEP = 30


def read_seed(path):
    with open(path, encoding="ascii") as lines:
        return [line.rstrip("\n").split("\t") for line in lines if not line.startswith("@")]


def jitter(rng, qualities):
    """Changes about one quality in ten by one."""
    changed = list(qualities)
    for i in rng.sample(range(len(changed)), max(1, len(changed) // 10)):
        step = rng.choice((-1, 1))
        changed[i] = chr(min(max(ord(changed[i]) + step, 35), 73))
    return "".join(changed)


def main():
    seed = [fields for fields in read_seed(sys.argv[1]) if fields[5] != "*"]
    records, references = int(sys.argv[2]), int(sys.argv[3])
    rng = random.Random(20)
    out = sys.stdout
    out.write("@HD\tVN:1.6\tSO:coordinate\n")
    per_reference = records // references
    for r in range(references):
        out.write(f"@SQ\tSN:chr{r + 1}\tLN:{STEP * per_reference + 1000}\n")
    for r in range(references):
        for i in range(per_reference):
            fields = list(seed[rng.randrange(len(seed))])
            position = 1 + STEP * i
            fields[0] = f"HWI-ST{rng.randrange(10)}:{rng.randrange(400)}:{i // 1000}:{r}:{i}"
            fields[2] = f"chr{r + 1}"
            fields[3] = str(position)
            fields[6] = "="
            fields[7] = str(position + rng.randrange(100, 500))
            fields[10] = jitter(rng, fields[10])
            out.write("\t".join(fields) + "\n")


if __name__ == "__main__":
    main()
