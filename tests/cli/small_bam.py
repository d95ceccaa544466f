"""Writes a small BAM file: the smallest writer that the tests of the program need."""

import struct
import zlib

END_OF_FILE = bytes.fromhex("1f8b08040000000000ff0600424302001b0003000000000000000000")
SEQUENCE_CODES = {letter: code for code, letter in enumerate("=ACMGRSVTWYHKDBN")}
BLOCK = 0xff00  # bytes of data in a block at most
CIGAR_CODES = {letter: code for code, letter in enumerate("MIDNSHP=X")}


def block(data):
    """One BGZF block."""
    packer = zlib.compressobj(6, zlib.DEFLATED, -15)
    packed = packer.compress(data) + packer.flush()
    header = struct.pack("<4BI2BH2BHH", 31, 139, 8, 4, 0, 0, 255, 6, 66, 67, 2, len(packed) + 25)
    return header + packed + struct.pack("<2I", zlib.crc32(data), len(data))


def region_bin(begin, end):
    """The smallest bin of the index that holds [begin, end)."""
    end -= 1
    for shift, first in ((14, 4681), (17, 585), (20, 73), (23, 9), (26, 1)):
        if begin >> shift == end >> shift:
            return first + (begin >> shift)
    return 0


def record(name, reference, position, cigar, sequence, flag=0, quality=60):
    """One record; `position` is 0-based, `cigar` a list of (length, letter)."""
    length = sum(n for n, letter in cigar if letter in "MDN=X")
    body = struct.pack(
        "<2i2B3H4i", reference, position, len(name) + 1, quality,
        region_bin(max(position, 0), max(position, 0) + max(length, 1)), len(cigar), flag,
        len(sequence), -1, -1, 0)
    body += name + b"\0"
    body += b"".join(struct.pack("<I", n << 4 | CIGAR_CODES[letter]) for n, letter in cigar)
    codes = [SEQUENCE_CODES[letter] for letter in sequence] + [0]
    body += bytes(codes[i] << 4 | codes[i + 1] for i in range(0, len(sequence), 2))
    body += bytes([30] * len(sequence))
    return struct.pack("<i", len(body)) + body


def bam(references, records):
    """A whole file; `references` are (name, length) pairs."""
    text = b"@HD\tVN:1.6\tSO:coordinate\n" + b"".join(
        b"@SQ\tSN:%s\tLN:%d\n" % pair for pair in references)
    data = b"BAM\1" + struct.pack("<i", len(text)) + text + struct.pack("<i", len(references))
    for name, length in references:
        data += struct.pack("<i", len(name) + 1) + name + b"\0" + struct.pack("<i", length)
    data = [data, b"".join(records)]
    pieces = [part[i:i + BLOCK] for part in data for i in range(0, len(part), BLOCK)]
    return b"".join(block(piece) for piece in pieces) + END_OF_FILE


def small_bam():
    """Two references, five records; one name and one reference are not UTF-8."""
    return bam(
        [(b"chr1", 1000), (b"chr\xff2", 2000)],
        [
            record(b"first", 0, 9, [(5, "M")], "ACGTN"),
            record(b"second", 0, 9, [(2, "S"), (3, "M"), (1, "I"), (2, "D"), (2, "M")],
                   "ACGTACGT", flag=16, quality=7),
            record(b"byte\xff", 0, 99, [(4, "M")], "TTTT", flag=1024),
            record(b"third", 1, 0, [(6, "M")], "GATTAC"),
            record(b"unplaced", -1, -1, [], "A", flag=4, quality=0),
        ])


# Not sorted; an optional field, a record without a reference, a reference with a colon.
SMALL_SAM = b"""@HD\tVN:1.6\tSO:unsorted
@SQ\tSN:chr1\tLN:1000
@SQ\tSN:HLA:A*01\tLN:500
@RG\tID:lane1\tSM:someone
@PG\tID:aligner\tPN:aligner
second\t16\tchr1\t50\t7\t3M2D2M\t*\t0\t0\tACGTA\tIIIII\tNM:i:2
allele\t0\tHLA:A*01\t5\t60\t4M\t*\t0\t0\tTTTT\tFFFF
lost\t4\t*\t0\t0\t*\t*\t0\t0\tGG\t##\tRG:Z:lane1
first\t0\tchr1\t10\t60\t5M\t*\t0\t0\tACGTN\tIIII5\tNM:i:0\tRG:Z:lane1
"""
