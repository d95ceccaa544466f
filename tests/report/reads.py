"""Reads that the tests make up, the same ones in every run, and the files that hold them."""

import gzip
import pathlib
import random
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / 'cli'))
import small_bam  # noqa: E402


def made_up(seed, count, lengths, best, offset=33, letters='ACGT' * 24 + 'N' * 2 + 'acgt'):
    """`count` reads as (bases, quality characters); qualities fall towards the end of a read."""
    chance = random.Random(seed).random
    reads = []
    for _ in range(count):
        length = lengths[int(chance() * len(lengths))]
        gc = 0.3 + 0.4 * chance()
        bases = ''.join('GC'[chance() < 0.5] if chance() < gc else
                        letters[int(chance() * len(letters))] for _ in range(length))
        level = best * (0.6 + 0.4 * chance())
        qualities = [max(int(level * (1 - 0.5 * chance() * i / length)), 2) for i in range(length)]
        reads.append((bases, ''.join(chr(offset + q) for q in qualities)))
    return reads


def fastq(reads):
    return ''.join(f'@read{i}\n{bases}\n+\n{qualities}\n'
                   for i, (bases, qualities) in enumerate(reads)).encode()


def sam(reads):
    lines = ['@SQ\tSN:chr1\tLN:1000']
    lines += [f'read{i}\t{4 if i % 3 else 0}\t{"*" if i % 3 else "chr1"}\t{0 if i % 3 else 1}\t9\t'
              f'{"*" if i % 3 else f"{len(bases)}M"}\t*\t0\t0\t{bases}\t{qualities}\tNM:i:0'
              for i, (bases, qualities) in enumerate(reads)]
    return '\n'.join(lines).encode() + b'\n'


def bam(reads):
    """Every third record has a reference."""
    records = []
    for i, (bases, qualities) in enumerate(reads):
        record = small_bam.record(b'read%d' % i, -1 if i % 3 else 0, -1 if i % 3 else 5,
                                  [] if i % 3 else [(len(bases), 'M')], bases,
                                  flag=4 if i % 3 else 0)
        # Without optional fields the qualities are the last that a record has.
        records.append(record[:len(record) - len(bases)] + bytes(ord(c) - 33 for c in qualities))
    return small_bam.bam([(b'chr1', 100000)], records)


def write(folder, name, content):
    path = pathlib.Path(folder) / name
    path.write_bytes(gzip.compress(content, mtime=0) if name.endswith('.gz') else content)
    return path
