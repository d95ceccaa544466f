"""The files with which opening is measured: a large index of a small file, and long headers."""

import bisect
import random
import struct
import zlib

from inputs import to_bam

# An index has this many references to be of 30 MB.
_REFERENCES = 26
_LENGTH = (1 << 29) - 1
_STEP = 1 << 20
_BASES = 20
_BINS = 37449
_COUNTS = _BINS + 1
_WINDOWS = 1 << 15
HEADERS = (10, 28_751, 500_000)
RECORDS = 100_000


def make_sparse_sam(inputs, path):
    """opening.sam: a read in every megabase of every reference."""
    del inputs
    with open(path, "w", encoding="ascii") as out:
        for reference in range(_REFERENCES):
            out.write(f"@SQ\tSN:chr{reference + 1}\tLN:{_LENGTH}\n")
        for reference in range(_REFERENCES):
            for position in range(1, _LENGTH - 100, _STEP):
                out.write(f"r{position}\t0\tchr{reference + 1}\t{position}\t60\t"
                          f"{_BASES}M\t*\t0\t0\t"
                          f"{'ACGT' * (_BASES // 4)}\t{'I' * _BASES}\n")


def blocks_of(data):
    """For each block of a BAM file: where it starts, and what is in it."""
    at = 0
    while at < len(data):
        (size,) = struct.unpack_from("<H", data, at + 16)
        yield at, zlib.decompress(data[at + 18:at + size + 1], wbits=-15)
        at += size + 1


def record_offsets(data):
    """(reference, position, virtual offset) of every record of a BAM file, and then (-1, 0, end).

    Positions are 0-based.
    """
    starts, parts, length = [], [], 0
    for place, part in blocks_of(data):
        starts.append((length, place))
        parts.append(part)
        length += len(part)
    content = b"".join(parts)

    def offset(at):
        begin, place = starts[bisect.bisect_right(starts, (at, len(data))) - 1]
        return place << 16 | at - begin

    (text,) = struct.unpack_from("<i", content, 4)
    (references,) = struct.unpack_from("<i", content, 8 + text)
    at = 12 + text
    for _ in range(references):
        (name,) = struct.unpack_from("<i", content, at)
        at += 8 + name
    while at < length:
        size, reference, position = struct.unpack_from("<iii", content, at)
        yield reference, position, offset(at)
        at += 4 + size
    yield -1, 0, offset(length)


def dense_index(records):
    """The BAI file of `record_offsets`, in which every bin has a chunk and every window an offset.

    A chunk is that of the first record that starts in the bin or behind it, whether the bin has
    records or not: more than queries need, and right, so that answers are those of any index.
    """
    records = list(records)
    references = 1 + max(reference for reference, _, _ in records)
    parts = [b"BAI\1", struct.pack("<i", references)]
    for reference in range(references):
        numbers = [i for i, record in enumerate(records) if record[0] == reference]
        positions = [records[i][1] for i in numbers]
        # Chunk i is record i; behind the last one there is only its end.
        offsets = [records[i][2] for i in (*numbers, numbers[-1] + 1)]
        offsets.append(offsets[-1])
        parts.append(struct.pack("<i", _BINS + 1))
        for level, first in enumerate((0, 1, 9, 73, 585, 4681)):
            for i in range(8 ** level):
                place = bisect.bisect_left(positions, i << (29 - 3 * level))
                parts.append(struct.pack("<IiQQ", first + i, 1, *offsets[place:place + 2]))
        parts.append(struct.pack("<IiQQQQ", _COUNTS, 2, offsets[0], offsets[-1], len(numbers), 0))
        parts.append(struct.pack("<i", _WINDOWS))
        # No record reaches farther than its bases.
        parts += [struct.pack("<Q", offsets[bisect.bisect_left(positions, (i << 14) - _BASES)])
                  for i in range(_WINDOWS)]
    return b"".join([*parts, struct.pack("<Q", 0)])


def make_dense_index(inputs, path):
    """opening.bam.bai"""
    path.write_bytes(dense_index(record_offsets(inputs.get("opening.bam").read_bytes())))


def make_opening_region(inputs, path):
    """opening.bed: 10 kb around a read."""
    del inputs
    begin = 100 * _STEP - 5000
    path.write_text(f"chr13\t{begin}\t{begin + 10_000}\n", encoding="ascii")


def make_header_sam(references):
    """The recipe of a SAM file of so many references, whose records are spread over them."""
    def make(inputs, path):
        del inputs
        rng = random.Random(references)
        places = sorted((rng.randrange(references), rng.randrange(1, 9000))
                        for _ in range(RECORDS))
        with open(path, "w", encoding="ascii") as out:
            for reference in range(references):
                out.write(f"@SQ\tSN:contig_{reference:06}\tLN:10000\n")
            for i, (reference, position) in enumerate(places):
                out.write(f"r{i}\t0\tcontig_{reference:06}\t{position}\t60\t40M\t*\t0\t0\t"
                          f"{'ACGTTGCAGT' * 4}\t{'I' * 40}\n")
    return make


RECIPES = {
    "opening.sam": make_sparse_sam,
    "opening.bam": lambda inputs, path: to_bam(inputs.get("opening.sam"), path),
    "opening.bam.bai": make_dense_index,
    "opening.bed": make_opening_region,
    **{f"header-{count}.sam": make_header_sam(count) for count in HEADERS},
    **{f"header-{count}.bam":
       lambda inputs, path, count=count: to_bam(inputs.get(f"header-{count}.sam"), path)
       for count in HEADERS},
}
