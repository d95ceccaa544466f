"""What is written says what was read, or there is an error: texts that the functions underneath lose
something of, records that a format cannot hold, and damage that inflates."""

from __future__ import annotations

import os
import pathlib
import struct

import pytest

import readkit
import sam_to_bam
import slow_bam
from readkit import gateway
from readkit.errors import LossyConversion

HEADER = "@HD\tVN:1.6\n@SQ\tSN:chr1\tLN:5000\tDS:of SN:other\n@SQ\tLN:3000\tSN:chr2\n@CO\tSN:none\n"
SOUND = [
    "pair\t99\tchr1\t100\t60\t10M\t=\t150\t60\tACGTACGTAC\tIIIIIIIIII\tNH:i:1\tXF:f:0.1\tXZ:Z:a b",
    "pair\t147\tchr1\t150\t60\t4M1D6M\tchr1\t100\t-60\tACGTNRYKAC\tFFFFFFFFFF\tXA:A:*",
    f"long\t0\tchr2\t7\t0\t255M\t*\t0\t0\t{'ACGTA' * 51}\t{'I' * 255}",
    "half\t73\tchr2\t41\t60\t1S8M\tchr1\t41\t0\t=GGGGCCCC\t*********\tXI:i:-2147483648",
    "none\t4\t*\t0\t0\t*\t*\t0\t0\tACGT\tFFFF",
]


def sam(tmp_path, lines, header=HEADER):
    path = tmp_path / "in.sam"
    path.write_text(header + "".join(line + "\n" for line in lines))
    return readkit.open(path)


def changed(line, field, text):
    fields = line.split("\t")
    fields[field : field + 1] = [text]
    return "\t".join(fields)


ONE = SOUND[0].split("\tNH")[0]
# What a record of SAM text can hold, and is read as something else, or not at all.
LOST = {
    "256 bases": changed(changed(ONE, 9, "A" * 256), 10, "I" * 256),
    "300 bases": changed(changed(ONE, 9, "A" * 300), 10, "I" * 300),
    "no bases": changed(changed(ONE, 9, "*"), 10, "*"),
    "no qualities at the end": changed(ONE, 10, "*"),
    "qualities too short": changed(ONE, 10, "III") + "\tNH:i:1",
    "qualities too long": changed(ONE, 10, "I" * 12),
    "another reference": changed(ONE, 2, "chr9"),
    "another mate": changed(ONE, 6, "chr9"),
    "lower case": changed(ONE, 9, "acgtacgtac"),
    "array": ONE + "\tXB:B:S,1,2",
    "array without a type": ONE + "\tXB:B:1,2",
    "long hexadecimals": ONE + "\tXH:H:0A0B0C\tNH:i:1",
    "large integer": ONE + "\tXI:i:3000000000",
    "integer of a width": ONE + "\tXI:S:3",
    "flag of letters": changed(ONE, 1, "99x"),
    "large flag": changed(ONE, 1, str(99 + 65536)),
    "large position": changed(ONE, 3, str(2**32 + 100)),
    "large quality": changed(ONE, 4, "300"),
    "name too long": changed(ONE, 0, "n" * 255),
    "name before a CIGAR": changed(ONE, 0, "n" * 230),
}
# What FASTQ and FASTA, or SAM text, do not have to say is not lost there.
KEPT = {("fastq", field) for field in ("another reference", "another mate", "large flag",
                                       "large position", "large quality", "flag of letters",
                                       "large integer", "name before a CIGAR",
                                       "long hexadecimals", "integer of a width")}
KEPT |= {("fasta", field) for _, field in KEPT}
KEPT |= {("fasta", field) for field in ("no qualities at the end", "qualities too short",
                                        "qualities too long")}


def files_in(folder):
    return sorted(os.listdir(folder))


@pytest.mark.parametrize("format", ["bam", "sam", "fastq", "fasta"])
def test_what_sam_text_loses_is_an_error_and_writes_nothing(tmp_path, format):
    for what, line in LOST.items():
        file = sam(tmp_path, [SOUND[0], line, SOUND[-1]])
        before = files_in(tmp_path)
        out = tmp_path / f"out.{format}"
        try:
            file.convert(out)
        except readkit.Error as error:
            assert files_in(tmp_path) == before, what
            if isinstance(error, LossyConversion) and what != "another reference":
                # Where it is left out, all is well.
                file.convert(out, records=[0, 2])
                out.unlink()
        else:
            # Then it is as the record has it.
            assert (format, what) in KEPT, what
            fields = line.split("\t")
            mark, rest = ("@", f"+\n{fields[10]}\n") if format == "fastq" else (">", "")
            assert f"{mark}{fields[0]}\n{fields[9]}\n{rest}" in out.read_text(), what
            out.unlink()


def test_a_text_that_cannot_be_sorted_whole_is_not_sorted(tmp_path):
    for what, line in LOST.items():
        file = sam(tmp_path, [SOUND[1], line])
        before = files_in(tmp_path)
        with pytest.raises(readkit.Error):
            file.sort(tmp_path / "out.sam")
            pytest.fail(what)
        assert files_in(tmp_path) == before, what
    with pytest.raises(LossyConversion, match=r"in.sam: record 1, 'pair'") as caught:
        sam(tmp_path, [SOUND[1], LOST["300 bases"]]).sort(tmp_path / "out.sam")
    assert caught.value.path == str(tmp_path / "in.sam")
    ordered = sam(tmp_path, [SOUND[-1], *SOUND[:-1]]).sort(tmp_path / "out.sam")
    assert ordered.is_sorted and ordered.records == 5 and ordered.unplaced == 1


def test_a_bam_file_of_sam_text_is_what_other_tools_read(tmp_path):
    file = sam(tmp_path, SOUND)
    file.convert(tmp_path / "out.bam")
    out = str(tmp_path / "out.bam")
    assert file.references == [("chr1", 5000), ("chr2", 3000)]
    references, records = slow_bam.read(out)
    assert references == [("chr1", 5000), ("chr2", 3000)]
    assert readkit.check(out).count == 0
    slow = str(tmp_path / "slow.bam")
    slow_bam.write(slow, references, [line.split("\tNH")[0].split("\tX")[0] for line in SOUND])
    assert records == slow_bam.read(slow)[1]
    assert readkit.open(out).header == HEADER
    pysam = pytest.importorskip("pysam")
    with pysam.AlignmentFile(out) as one:
        lines = [read.to_string() for read in one]
    assert lines == [line.replace("150\t60\t4M1D6M\tchr1", "150\t60\t4M1D6M\t=") for line in SOUND]


def test_references_whose_names_are_not_read_from_the_text_are_an_error(tmp_path):
    # The name of the second one runs on.
    header = "@SQ\tSN:chromosome\tLN:5000\n@SQ\tM5:0\tLN:10\tSN:c\tUR:x\n"
    line = changed(changed(ONE, 2, "chromosome"), 6, "*")
    file = sam(tmp_path, [line], header)
    assert file.references == [("chromosome", 5000), ("c", 10)]
    try:
        file.convert(tmp_path / "out.bam")
    except LossyConversion:
        assert files_in(tmp_path) == ["in.sam"]
    else:
        assert slow_bam.read(str(tmp_path / "out.bam"))[0] == file.references


def test_the_order_of_a_sam_file_is_that_of_its_header(tmp_path):
    def is_sorted(*lines):
        return sam(tmp_path, lines).is_sorted

    one, two, three, four, none = SOUND
    assert is_sorted(*SOUND) and is_sorted() and is_sorted(none, none)
    assert not is_sorted(three, one) and not is_sorted(two, one) and not is_sorted(none, one)
    assert sam(tmp_path, SOUND).counts.tolist() == [2, 2]
    for wrong in ("one\ttwo", "", "a\t0\tchr1\tx\t0"):
        text = sam(tmp_path, [one, wrong])
        if wrong:
            with pytest.raises(readkit.errors.InvalidSAMFormat):
                text.is_sorted
        else:
            assert text.records == 1
    with pytest.raises(readkit.errors.ReferenceIDNotFound, match="chr9"):
        sam(tmp_path, [LOST["another reference"]]).counts


# ---- BAM files


def bam(tmp_path, *records, references=(("chr1", 5000), ("chr2", 3000), ("chr3", 3000))):
    """A file of raw records."""
    text = "".join(f"@SQ\tSN:{name}\tLN:{length}\n" for name, length in references)
    data = b"BAM\1" + struct.pack("<i", len(text)) + text.encode()
    data += struct.pack("<i", len(references))
    for name, length in references:
        data += struct.pack("<i", len(name) + 1) + name.encode() + b"\0" + struct.pack("<i", length)
    path = tmp_path / "raw.bam"
    path.write_bytes(sam_to_bam.block(data) + sam_to_bam.block(b"".join(records))
                     + sam_to_bam.END_OF_FILE)
    return readkit.open(path)


NUMBERS = {"chr1": 0, "chr2": 1, "chr3": 2}


def record(line, more=b""):
    data = sam_to_bam.record(line.split("\t"), NUMBERS)[4:] + more
    return struct.pack("<i", len(data)) + data


def test_records_that_text_cannot_hold_are_errors(tmp_path):
    with_qualities = record(ONE)
    at = with_qualities.index(b"\x28" * 10)
    for what, raw, formats in (
            ("array", record(ONE, b"XBBS\2\0\0\0\1\0\2\0"), ["sam"]),
            ("empty array", record(ONE, b"XBBS\0\0\0\0"), ["sam"]),
            ("quality of NUL", with_qualities[:at] + b"\xdf" + with_qualities[at + 1 :],
             ["sam", "fastq"]),
            ("missing quality", with_qualities[: at + 3] + b"\xff" + with_qualities[at + 4 :],
             ["sam", "fastq"]),
            ("no qualities", record(changed(ONE, 10, "*")), ["fastq"]),
            ("no bases", record(changed(changed(ONE, 9, "*"), 10, "*")), ["fastq", "fasta"]),
            ("nothing", record(ONE), [])):
        file = bam(tmp_path, record(ONE), raw)
        for format in ("sam", "fastq", "fasta", "bam"):
            out = tmp_path / f"out.{format}"
            if format in formats:
                with pytest.raises(LossyConversion):
                    file.convert(out)
                    pytest.fail(what)
                file.convert(out, records=[0])
            else:
                file.convert(out)
            out.unlink()
        if "sam" in formats:
            with pytest.raises(LossyConversion):
                file.reads("chr1")
                pytest.fail(what)
        else:
            assert file.reads("chr1").count("\n") == 2


def test_mates_of_mates_bring_in_their_references(tmp_path):
    # The first record is on a reference that only the last one's mate brings in.
    file = bam(tmp_path, record(changed(changed(ONE, 2, "chr2"), 6, "chr3")),
               record(changed(ONE, 6, "chr2")))
    file.convert(tmp_path / "out.bam", references=["chr1"])
    references, records = slow_bam.read(str(tmp_path / "out.bam"))
    assert [name for name, _ in references] == ["chr1", "chr2", "chr3"]
    assert [r.reference for r in records] == [1, 0]
    file.convert(tmp_path / "out.sam")
    before = (tmp_path / "out.sam").read_text()
    readkit.open(tmp_path / "out.bam").convert(tmp_path / "out.sam")
    assert (tmp_path / "out.sam").read_text() == before
    file = bam(tmp_path, record(ONE))
    file.convert(tmp_path / "out.bam", references=["chr1"])
    assert readkit.open(tmp_path / "out.bam").header == "@SQ\tSN:chr1\tLN:5000\n"


def test_a_record_that_is_cut_and_names_that_hide_the_cigar_are_errors(tmp_path):
    for file in (bam(tmp_path, record(ONE), record(ONE)[:-3]),
                 bam(tmp_path, record(changed(ONE, 0, "n" * 223)))):
        for method in (lambda: file.starts("chr1"), lambda: file.counts, lambda: file.index(),
                       lambda: file.sort(tmp_path / "out.bam"), lambda: file.reads("chr1"),
                       lambda: file.convert(tmp_path / "out.sam"), file.count):
            with pytest.raises(readkit.errors.InvalidBAMFormat):
                method()
        assert files_in(tmp_path) == ["raw.bam"]


def test_damage_that_inflates_is_an_error_of_every_method(tmp_path):
    file = bam(tmp_path, *[record(ONE)] * 40)
    file.index()
    data = bytearray(pathlib.Path(file.path).read_bytes())
    # The blocks are not compressed: the quality of one base.
    data[data.rindex(b"\x28" * 10)] ^= 1
    pathlib.Path(file.path).write_bytes(data)
    os.utime(file.path + ".bai")
    assert gateway.bamInfo(file.path, nargout=2)[1].tolist() == [0, 40]
    for method in (lambda: file.starts("chr1"), lambda: file.fields(region="chr1:1-200"),
                   lambda: file.counts, lambda: file.is_sorted, lambda: file.reads("chr1"),
                   file.count, lambda: file.index(tmp_path / "o.bai"),
                   lambda: file.sort(tmp_path / "o.bam"), lambda: file.shuffle(tmp_path / "o.bam"),
                   lambda: file.convert(tmp_path / "o.bam"),
                   lambda: file.convert(tmp_path / "o.fastq"), lambda: readkit.quality(file)):
        with pytest.raises(readkit.errors.ZLIBInflate):
            method()
        assert files_in(tmp_path) == ["raw.bam", "raw.bam.bai"]
    assert file.check().count == 1
