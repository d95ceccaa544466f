"""Small files whose instructions are counted: the same ones on every machine."""

import pathlib
import random
import struct
import sys
import zlib

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "examples"))

# pylint: disable=wrong-import-position
import sam_to_bam  # noqa: E402

RECORDS = 3000
_REFERENCES, _LENGTH, _BASES = 3, 2_000_000, 151
_BLOCK = 65280
_CIGARS = ("151M", "100M2D51M", "10S141M", "70M1I80M", "50M1000N101M")


class Made:
    """Numbers and texts by a generator whose sequence is the same for ever."""

    def __init__(self):
        self._random = random.Random(1)

    def number(self, most):
        """A number below `most`."""
        return int(self._random.random() * most)

    def bases(self):
        """As many letters as a read has."""
        return "".join("ACGT"[self.number(4)] if self.number(200) else "N" for _ in range(_BASES))

    def qualities(self):
        """Mostly what stands before."""
        text, last = [], "I"
        for _ in range(_BASES):
            if self.number(4) == 0:
                last = chr(35 + self.number(39))
            text.append(last)
        return "".join(text)


def header_lines():
    """The header of all files, as text."""
    return ["@HD\tVN:1.6\tSO:coordinate\n"] + [
        f"@SQ\tSN:chr{i + 1}\tLN:{_LENGTH}\n" for i in range(_REFERENCES)]


def record_lines():
    """Records in coordinate order, with mates, several CIGARs and optional fields."""
    made, each = Made(), RECORDS // _REFERENCES
    for i in range(RECORDS):
        reference, place = divmod(i, each)
        position = 1 + place * ((_LENGTH - 3000) // each) + made.number(500)
        flag = (83, 163, 99, 147)[made.number(4)]
        yield (f"HWI-ST1:{made.number(400)}:{i}\t{flag}\tchr{reference + 1}\t{position}\t"
               f"{made.number(61)}\t{_CIGARS[made.number(len(_CIGARS))]}\t=\t{position + 200}\t"
               f"{351 if flag in (99, 163) else -351}\t{made.bases()}\t{made.qualities()}\t"
               f"NM:i:{made.number(5)}\tRG:Z:sample\tNH:i:1\n")


def mixed(lines):
    """Lines in another order, the same one every time."""
    made = Made()
    keys = {line: made.number(1 << 30) for line in lines}
    return sorted(lines, key=keys.get)


def block(data):
    """A BGZF block."""
    packer = zlib.compressobj(6, wbits=-15)
    deflated = packer.compress(data) + packer.flush()
    head = struct.pack("<4BI2BH2BHH", 31, 139, 8, 4, 0, 0, 255, 6, 66, 67, 2, len(deflated) + 25)
    return head + deflated + struct.pack("<2I", zlib.crc32(data), len(data))


def bam(lines):
    """A BAM file of record lines."""
    text = "".join(header_lines()).encode()
    content = b"BAM\1" + struct.pack("<i", len(text)) + text + struct.pack("<i", _REFERENCES)
    for i in range(_REFERENCES):
        content += struct.pack("<i5si", 5, f"chr{i + 1}".encode() + b"\0", _LENGTH)
    references = {f"chr{i + 1}": i for i in range(_REFERENCES)}
    content += b"".join(sam_to_bam.record(line.rstrip("\n").split("\t"), references)
                        for line in lines)
    blocks = (content[at:at + _BLOCK] for at in range(0, len(content), _BLOCK))
    return b"".join(map(block, blocks)) + sam_to_bam.END_OF_FILE


def fastq(lines):
    """A FASTQ file of record lines."""
    rows = (line.split("\t", 11) for line in lines)
    return "".join(f"@{row[0]}\n{row[9]}\n+\n{row[10]}\n" for row in rows)


def make(folder):
    """Writes m.sam, m.bam, u.sam, u.bam and m.fastq."""
    lines = list(record_lines())
    lines.sort(key=lambda line: (line.split("\t")[2], int(line.split("\t")[3])))
    for name, some in (("m", lines), ("u", mixed(lines))):
        (folder / f"{name}.sam").write_text("".join([*header_lines(), *some]), encoding="ascii")
        (folder / f"{name}.bam").write_bytes(bam(some))
    (folder / "m.fastq").write_text(fastq(lines), encoding="ascii")
