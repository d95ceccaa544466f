"""Compares files of records: sorted or converted. samtools is the judge of BAM files."""

from answers import (Mismatch, expect_equal, expect_same_lines, lines_of, result, samtools_text,
                     text_lines)

_COMPLEMENT = bytes.maketrans(b"ACGTMRWSYKVHDBN", b"TGCAKYWSRMBDHVN")


def keys_and_digest(lines, seen):
    """The sort keys of record lines; the sum of their hashes goes into seen[0], in any order."""
    for line in lines:
        seen[0] = (seen[0] + hash(line)) & 0xFFFFFFFFFFFFFFFF
        fields = line.split(b"\t", 4)
        yield fields[2], fields[3]


def expect_same_order(ours, theirs):
    """The same records, and the same sequence of places; equal places may be in any order."""
    our_digest, their_digest = [0], [0]
    expect_same_lines("place of record", keys_and_digest(ours, our_digest),
                      keys_and_digest(theirs, their_digest))
    if our_digest != their_digest:
        raise Mismatch("the places are the same and the records are not")


def expect_ascending(lines):
    """Places never go back, and a reference comes once."""
    done, current, last = set(), None, -1
    for line in lines:
        fields = line.split(b"\t", 4)
        name, position = fields[2], int(fields[3])
        if name != current:
            if name in done:
                raise Mismatch(f"reference {name.decode()} comes twice")
            done.add(name)
            current, last = name, -1
        if position < last:
            raise Mismatch(f"{name.decode()}:{position} stands behind {last}")
        last = position


def sorted_bam(answers):
    """Sorted BAM files."""
    ours, theirs = result(answers.ours, "bam"), result(answers.theirs, "bam")
    with lines_of("samtools", "view", ours) as lines:
        expect_ascending(lines)
    with lines_of("samtools", "view", ours) as ours, lines_of("samtools", "view", theirs) as theirs:
        expect_same_order(ours, theirs)


def sorted_sam(answers):
    """Sorted SAM files."""
    ours, theirs = result(answers.ours, "sam"), result(answers.theirs, "sam")
    expect_ascending(text_lines(ours))
    expect_same_order(text_lines(ours), text_lines(theirs))


def same_sam(answers):
    """Record lines of SAM text; only the peer's has a header."""
    expect_same_lines("line", text_lines(result(answers.ours, "sam")),
                      text_lines(result(answers.theirs, "sam")))


def same_bam(answers):
    """Records and dictionaries of BAM files."""
    _same_records(result(answers.ours, "bam"), result(answers.theirs, "bam"))


def bam_of_sam(answers, text="m.sam"):
    """BAM made of SAM text: the dictionary's names need their header again to be read elsewhere."""
    header, sound = answers.ours / "header.sam", answers.ours / "sound.bam"
    header.write_bytes(b"".join(text_lines(answers.inputs / text, header=True)))
    with open(sound, "wb") as out:
        with lines_of("samtools", "reheader", "-P", header, result(answers.ours, "bam")) as blocks:
            out.writelines(blocks)
    _same_records(sound, result(answers.theirs, "bam"))


def _same_records(ours, theirs):
    def dictionary(path):
        lines = samtools_text("view", "-H", path).splitlines()
        return [line for line in lines if line.startswith("@SQ")]

    expect_equal("dictionary", dictionary(ours), dictionary(theirs))
    with lines_of("samtools", "view", ours) as ours, lines_of("samtools", "view", theirs) as theirs:
        expect_same_lines("record", ours, theirs)


def reads(lines, qualities, turned, mates=False):
    """The lines of FASTQ (with qualities) or FASTA that SAM record lines come to.

    Reads of the reverse strand may be `turned` back, and names tell `mates` apart.
    """
    for line in lines:
        fields = line.rstrip(b"\n").split(b"\t", 11)
        flag, bases, values = int(fields[1]), fields[9], fields[10]
        if turned and flag & 0x10:
            bases, values = bases.translate(_COMPLEMENT)[::-1], values[::-1]
        mate = {0x40: b"/1", 0x80: b"/2"}.get(flag & 0xC0, b"") if mates else b""
        yield (b"@" if qualities else b">") + fields[0] + mate + b"\n"
        yield bases + b"\n"
        if qualities:
            yield b"+\n"
            yield values + b"\n"


# What peers make of reads: turned back, names with the mate's number.
_HABITS = {"samtools": (True, False), "bamtofastq": (True, True), "bamtools": (True, True),
           "mawk": (False, False)}


def _fastx(answers, suffix, qualities):
    for folder, habits in ((answers.ours, (False, False)), (answers.theirs, _HABITS[answers.peer])):
        with open(result(folder, suffix), "rb") as lines:
            expected = reads(text_lines(answers.inputs / "m.sam"), qualities, *habits)
            expect_same_lines(f"{folder.name}'s {suffix} line", lines, expected)


def fastq(answers):
    """FASTQ: reads stay here as they are stored."""
    _fastx(answers, "fastq", qualities=True)


def fasta(answers):
    """FASTA, likewise."""
    _fastx(answers, "fasta", qualities=False)
