"""BAM files, read and written in plain Python, record by record."""

from __future__ import annotations

import struct
import zlib
from typing import NamedTuple

import sam_to_bam

BASES = "=ACMGRSVTWYHKDBN"
OPS = "MIDNSHP=X???????"


class Record(NamedTuple):
    reference: int
    name: str
    flag: int
    first: int  # 1-based, 0 for none
    last: int  # 1-based, inclusive
    quality: int
    cigar: str
    mate_first: int
    bases: str
    qualities: str


def inflate(data: bytes) -> bytes:
    """The content of a file of gzip members."""
    content = []
    while data:
        stream = zlib.decompressobj(31)
        content.append(stream.decompress(data))
        data = stream.unused_data
    return b"".join(content)


def read(path: str) -> tuple[list[tuple[str, int]], list[Record]]:
    with open(path, "rb") as file:
        data = inflate(file.read())
    assert data[:4] == b"BAM\1"
    (at,) = struct.unpack_from("<i", data, 4)
    at += 8
    (count,) = struct.unpack_from("<i", data, at)
    at += 4
    references = []
    for _ in range(count):
        (size,) = struct.unpack_from("<i", data, at)
        name = data[at + 4 : at + 4 + size - 1].decode()
        references.append((name, struct.unpack_from("<i", data, at + 4 + size)[0]))
        at += 8 + size
    records = []
    while at < len(data):
        (size,) = struct.unpack_from("<i", data, at)
        records.append(record(data[at + 4 : at + 4 + size]))
        at += 4 + size
    return references, records


def record(block: bytes) -> Record:
    (reference, first, name_size, quality, _, ops, flag, bases, _, mate_first, _
     ) = struct.unpack_from("<2i2B3H4i", block)
    at = 32 + name_size
    name = block[32 : at - 1].decode()
    cigar = [divmod(op, 16) for op in struct.unpack_from(f"<{ops}I", block, at)]
    at += 4 * ops
    packed = block[at : at + (bases + 1) // 2]
    letters = "".join(BASES[byte >> 4] + BASES[byte & 15] for byte in packed)[:bases]
    at += (bases + 1) // 2
    qualities = block[at : at + bases]
    covered = sum(length for length, op in cigar if OPS[op] in "MDN=X")
    return Record(
        reference, name, flag, first + 1, first + max(covered, 1), quality,
        "".join(f"{length}{OPS[op]}" for length, op in cigar) or "*", mate_first + 1,
        letters or "*",
        "".join(chr(q + 33) for q in qualities) if bases and qualities[0] != 255 else "*")


def write(path: str, references: list[tuple[str, int]], lines: list[str], in_block: int = 50) -> None:
    """Records of SAM lines as a BAM file with so many records in a block."""
    text = "".join(f"@SQ\tSN:{name}\tLN:{length}\n" for name, length in references)
    header = b"BAM\1" + struct.pack("<i", len(text)) + text.encode()
    header += struct.pack("<i", len(references))
    for name, length in references:
        header += struct.pack("<i", len(name) + 1) + name.encode() + b"\0"
        header += struct.pack("<i", length)
    indexes = {name: index for index, (name, _) in enumerate(references)}
    records = [sam_to_bam.record(line.split("\t"), indexes) for line in lines]
    with open(path, "wb") as file:
        file.write(sam_to_bam.block(header))
        for i in range(0, len(records), in_block):
            file.write(sam_to_bam.block(b"".join(records[i : i + in_block])))
        file.write(sam_to_bam.END_OF_FILE)


def write_long(path: str, records: int) -> None:
    """A BAM file of many records, which lie in descending order, from a few compressed blocks."""
    header = sam_to_bam.block(b"BAM\1" + struct.pack("<2i", 0, 1) + struct.pack("<i", 5) + b"chr1\0"
                              + struct.pack("<i", 1 << 28))
    line = "read\t0\tchr1\t{}\t60\t100M\t*\t0\t0\t" + "ACGT" * 25 + "\t" + "I" * 100
    group = b"".join(sam_to_bam.record(line.format(1000 - i).split("\t"), {"chr1": 0})
                     for i in range(250))
    with open(path, "wb") as file:
        file.write(header)
        block = sam_to_bam.block(group)
        for _ in range(records // 250):
            file.write(block)
        file.write(sam_to_bam.END_OF_FILE)
