#!/usr/bin/env python3
"""Writes a SAM text as a BAM file: as much of both formats as the examples need.

    python3 examples/sam_to_bam.py examples/reads.sam reads.bam

The blocks hold their data uncompressed, so that the file is the same everywhere, whatever the
version of a compression library, and can be read by eye in a hex dump.
"""

import struct
import sys
import zlib

END_OF_FILE = bytes.fromhex("1f8b08040000000000ff0600424302001b0003000000000000000000")
BASES = "=ACMGRSVTWYHKDBN"
OPS = "MIDNSHP=X"
REFERENCE_OPS = "MDN=X"


def block(data):
    """One BGZF block with a single stored deflate block."""
    size = len(data)
    stored = struct.pack("<BHH", 1, size, size ^ 0xFFFF) + data
    header = struct.pack("<4BI2BH2BHH", 31, 139, 8, 4, 0, 0, 255, 6, 66, 67, 2, len(stored) + 25)
    return header + stored + struct.pack("<2I", zlib.crc32(data), size)


def cigar_ops(text):
    """A CIGAR as (length, letter) pairs."""
    ops, number = [], ""
    for letter in text if text != "*" else "":
        if letter.isdigit():
            number += letter
        else:
            ops.append((int(number), letter))
            number = ""
    return ops


def region_bin(begin, end):
    """The smallest bin of the index that holds [begin, end)."""
    end -= 1
    for shift, first in ((14, 4681), (17, 585), (20, 73), (23, 9), (26, 1)):
        if begin >> shift == end >> shift:
            return first + (begin >> shift)
    return 0


def packed_bases(text):
    codes = [BASES.index(letter) for letter in text] + [0]
    return bytes(codes[i] << 4 | codes[i + 1] for i in range(0, len(text), 2))


def optional_field(text):
    tag, letter, value = text.split(":", 2)
    value = {"A": lambda: value.encode(), "Z": lambda: value.encode() + b"\0",
             "i": lambda: struct.pack("<i", int(value))}[letter]()
    return (tag + letter).encode() + value


def record(fields, references):
    name, flag, ref, pos, mapq, cigar, mate_ref, mate_pos, tlen, seq, qual = fields[:11]
    ops, begin = cigar_ops(cigar), int(pos) - 1
    end = begin + (sum(n for n, letter in ops if letter in REFERENCE_OPS) or 1)
    seq = "" if seq == "*" else seq
    qualities = bytes(ord(c) - 33 for c in qual) if qual != "*" else b"\xff" * len(seq)
    mate_ref = ref if mate_ref == "=" else mate_ref
    body = struct.pack(
        "<2i2B3H4i", references.get(ref, -1), begin, len(name) + 1, int(mapq),
        region_bin(begin, end) if begin >= 0 else 4680, len(ops), int(flag), len(seq),
        references.get(mate_ref, -1), int(mate_pos) - 1, int(tlen))
    body += name.encode() + b"\0"
    body += b"".join(struct.pack("<I", n << 4 | OPS.index(letter)) for n, letter in ops)
    body += packed_bases(seq) + qualities + b"".join(map(optional_field, fields[11:]))
    return struct.pack("<i", len(body)) + body


def header(lines):
    """What a BAM file has before its records, and the indexes of references by name."""
    text = "".join(line + "\n" for line in lines if line.startswith("@")).encode()
    pairs = [dict(f.split(":", 1) for f in line.split("\t")[1:])
             for line in lines if line.startswith("@SQ")]
    references = {pair["SN"]: i for i, pair in enumerate(pairs)}
    data = b"BAM\1" + struct.pack("<i", len(text)) + text + struct.pack("<i", len(pairs))
    for pair in pairs:
        name = pair["SN"].encode() + b"\0"
        data += struct.pack("<i", len(name)) + name + struct.pack("<i", int(pair["LN"]))
    return data, references


def to_bam(sam):
    lines = sam.splitlines()
    data, references = header(lines)
    records = [record(line.split("\t"), references) for line in lines if not line.startswith("@")]
    return block(data) + block(b"".join(records)) + END_OF_FILE


def main():
    with open(sys.argv[1], encoding="ascii") as sam, open(sys.argv[2], "wb") as bam:
        bam.write(to_bam(sam.read()))


if __name__ == "__main__":
    main()
