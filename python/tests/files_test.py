"""File objects against the gateway functions, a slow reading, and another library."""

from __future__ import annotations

import os
import pathlib
import pickle
import shutil

import numpy as np
import pytest
from conftest import real_files
from hypothesis import HealthCheck, given, settings, strategies as st

import readkit
import slow_bam
from readkit import gateway, indexes

try:
    import pysam
except ImportError:
    pysam = None

needs_pysam = pytest.mark.skipif(pysam is None, reason="pysam is missing")
quick = settings(max_examples=40, suppress_health_check=[HealthCheck.function_scoped_fixture])

# ---- Against a slow reading ----------------------------------------------------------------------


@st.composite
def sam_lines(draw):
    """Lines in coordinate order on two references: clustered, spliced, unmapped and odd ones."""
    lines = []
    for reference, length in (("chr1", 400_000), ("chr:2", 50_000)):
        starts = draw(st.lists(st.one_of(st.integers(1, 300), st.integers(1, length)), max_size=30))
        for number, start in enumerate(sorted(starts)):
            flag = draw(st.sampled_from([0, 4, 16, 99, 256, 2048]))
            cigar, bases = draw(st.sampled_from([
                ("4M", "ACGT"), ("2M200000N2M", "ACGT"), ("*", "A"), ("*", "*"), ("3S1M5D1M", "ACGTN"),
                ("4M", "*")]))
            qualities = "*" if bases == "*" or draw(st.booleans()) else "I" * len(bases)
            lines.append(f"{reference}-{number}\t{flag}\t{reference}\t{start}\t{number % 256}\t{cigar}"
                         f"\t*\t0\t0\t{bases}\t{qualities}")
    unplaced = draw(st.integers(0, 3))
    return lines + ["none\t4\t*\t0\t0\t*\t*\t0\t0\tAC\tII"] * unplaced


REFERENCES = [("chr1", 400_000), ("chr:2", 50_000), ("chr3", 10)]


@quick
@given(sam_lines(), st.integers(1, 400_000), st.integers(0, 60_000), st.data())
def test_objects_give_what_a_slow_reading_gives(tmp_path, lines, first, width, data):
    path = str(tmp_path / "lines.bam")
    slow_bam.write(path, REFERENCES, lines, in_block=data.draw(st.integers(1, 40)))
    if data.draw(st.booleans()):
        # An index that can miss records, or one of another file, must not matter.
        gateway.bamIndex(path, path + ".bai")
    elif os.path.exists(path + ".bai"):
        os.utime(path + ".bai")
    references, records = slow_bam.read(path)
    bam = readkit.open(path)
    assert bam.references == references == REFERENCES
    assert bam.counts.tolist() == [sum(r.reference == i for r in records) for i in range(3)]
    assert bam.unplaced == sum(r.reference == -1 for r in records)
    assert bam.records == len(records) and bam.is_sorted
    for index, (name, _) in enumerate(REFERENCES):
        there = [r for r in records if r.reference == index]
        starts = bam.starts(name)
        assert starts.starts.tolist() == [r.first for r in there]
        assert starts.ends.tolist() == [r.last for r in there]
        assert starts.flags.tolist() == [r.flag for r in there]
        check_table(bam.fields(name), there)
        if there:
            some = data.draw(st.lists(st.integers(0, len(there) - 1)))
            check_table(bam.fields(index, records=some), [there[i] for i in some])
        last = first + width
        overlapping = [r for r in there if r.first <= last and r.last >= first]
        region = f"{name}:{first}-{last}"
        check_table(bam.fields(region=region), overlapping)
        assert bam.fields(region=region, names=[]).rows == len(overlapping)
        read = [line.split("\t")[0] for line in bam.reads(region).splitlines()]
        assert read == [r.name for r in overlapping]
    check_regions(bam, records, data)


def check_regions(bam, records, data):
    """Many regions at once, in any order, again and again, and empty ones."""
    wanted = data.draw(st.lists(st.tuples(
        st.integers(0, 2), st.integers(1, 400_000), st.integers(0, 60_000)), max_size=20))
    regions = [(index, first, first + width) for index, first, width in wanted] * 2
    table = bam.fields(regions=[f"{REFERENCES[index][0]}:{first}-{last}"
                                for index, first, last in regions])
    expected = [(number, r) for number, (index, first, last) in enumerate(regions) for r in records
                if r.reference == index and r.first <= last and r.last >= first]
    assert table["Region"].tolist() == [number for number, _ in expected]
    check_table(table, [r for _, r in expected])


def check_table(table, records):
    assert table.rows == len(records)
    column = {name: list(values) for name, values in table.items()}
    assert column["Header"] == [r.name for r in records]
    assert column["Flag"] == [r.flag for r in records]
    assert column["Position"] == [r.first for r in records]
    assert column["EndPosition"] == [r.last for r in records]
    assert column["MappingQuality"] == [r.quality for r in records]
    assert column["Signature"] == [r.cigar for r in records]
    assert column["MatePosition"] == [r.mate_first for r in records]
    assert column["Sequence"] == [r.bases for r in records]
    assert column["Quality"] == [r.qualities for r in records]
    assert column["QueryLength"] == [0 if r.bases == "*" else len(r.bases) for r in records]


def test_long_reads_have_their_whole_length(tmp_path):
    path = str(tmp_path / "long.bam")
    bases = "ACGT" * 4000
    slow_bam.write(path, [("chr1", 10**6)], [f"r\t0\tchr1\t1\t0\t16000M\t*\t0\t0\t{bases}\t*"], 1)
    # Five of them in one record would not fit a block of the simple writer; so many do not either.
    assert readkit.open(path).fields("chr1", "QueryLength")["QueryLength"].tolist() == [16_000]


# ---- Against the gateway functions and pysam -----------------------------------------------------


@pytest.mark.parametrize("path", real_files("bam/*.bam"))
def test_real_files_are_as_the_functions_and_pysam_have_them(path, tmp_path):
    try:
        bam = readkit.open(path)
        is_sorted, records = bam.is_sorted, bam.records
    except readkit.Error as error:
        with pytest.raises(readkit.Error) as raised:
            gateway.bamInfo(path, nargout=2)
        assert raised.value.identifier == error.identifier
        return
    copy = readkit.open(shutil.copy(path, tmp_path / "copy.bam"))
    text, names, lengths = gateway.getHeader(path, nargout=3)
    assert copy.header == text and [r.name for r in copy.references] == names.to_list()
    if not is_sorted:
        with pytest.raises(readkit.errors.BAMUnsorted):
            copy.index()
        copy = copy.sort(tmp_path / "sorted.bam")
        assert copy.is_sorted and copy.records == records
    try:
        index = copy.index()
    except readkit.errors.PositionTooBig:
        return
    for number in np.flatnonzero(copy.counts)[:3].tolist():
        given = gateway.getStartsInReference(copy.path, index, number, nargout=3)
        starts = copy.starts(number)
        for one, other in zip(given, starts):
            np.testing.assert_array_equal(one, other)
        assert len(starts.starts) == copy.counts[number]
        table = copy.fields(number)
        np.testing.assert_array_equal(table["Position"], starts.starts)
        if pysam is not None:
            compare_with_pysam(copy, number, table)


def compare_with_pysam(bam, number, table):
    with pysam.AlignmentFile(bam.path, index_filename=bam.path + ".bai") as file:
        reads = list(file.fetch(tid=number)) if file.has_index() else []
        name = file.get_reference_name(number)
        reads = [read for read in reads if read.reference_id == number]
        assert len(reads) == table.rows
        # CIGARs in the field CG are taken out of it there, and not here.
        plain = [i for i, read in enumerate(reads) if len(read.cigartuples or ()) < 65536
                 and not read.has_tag("CG") and not ("N" in table["Signature"][i]
                                                     and len(read.cigartuples or ()) > 60000)]
        for i in plain:
            read = reads[i]
            assert table["Header"][i] == read.query_name
            assert table["Flag"][i] == read.flag
            assert table["Position"][i] == read.reference_start + 1
            assert table["MappingQuality"][i] == read.mapping_quality
            assert table["MatePosition"][i] == read.next_reference_start + 1
            if table["Sequence"][i] != "*":
                assert table["Sequence"][i] == read.query_sequence
                assert table["QueryLength"][i] == read.query_length
            if read.query_qualities is not None and table["Quality"][i] != "*":
                assert table["Quality"][i] == pysam.qualities_to_qualitystring(
                    read.query_qualities)
            if read.cigarstring and not read.has_tag("CG"):
                assert table["Signature"][i] == read.cigarstring
                if not read.is_unmapped:
                    assert table["EndPosition"][i] == read.reference_end
        if not plain:
            return
        middle = int(table["Position"][plain[len(plain) // 2]])
        region = f"{name}:{max(middle - 50, 1)}-{middle + 50}"
        if len(plain) == len(reads):
            names = bam.fields(region=region, names="Header")["Header"].to_list()
            there = [read.query_name
                     for read in file.fetch(name, max(middle - 51, 0), middle + 50)]
            assert names == there


# ---- Outputs -------------------------------------------------------------------------------------


def test_outputs_appear_whole_or_not_at_all(reads_bam, tmp_path):
    bam = readkit.open(reads_bam)
    mixed = bam.shuffle(seed=5)
    assert mixed.path == str(tmp_path / "reads.shuffled.bam") and mixed.records == 9
    assert not mixed.is_sorted
    again = pathlib.Path(bam.shuffle(tmp_path / "again", seed=5).path).read_bytes()
    assert again == pathlib.Path(mixed.path).read_bytes()
    with pytest.raises(readkit.errors.BAMUnsorted):
        mixed.index()
    with pytest.raises(readkit.errors.BAMUnsorted):
        mixed.starts("chr1")
    ordered = mixed.sort(mixed.path)
    assert ordered.is_sorted and mixed.is_sorted and mixed.path == ordered.path
    before = sorted(os.listdir(tmp_path))
    for wrong in (lambda: bam.convert("x.bad"), lambda: bam.convert(tmp_path / "o.bam", records=[9]),
                  lambda: bam.convert(tmp_path / "o.bam", records=[1, 1]),
                  lambda: bam.convert(tmp_path / "o.bam", references=["none"]),
                  lambda: bam.convert(reads_bam), lambda: bam.shuffle(seed=-1),
                  lambda: bam.convert(tmp_path / "o.bam", references=["chr1"]),
                  lambda: bam.sort(tmp_path / "none" / "o.bam")):
        with pytest.raises((ValueError, OSError)):
            wrong()
        assert sorted(os.listdir(tmp_path)) == before


def test_conversions_keep_the_records(reads_bam, tmp_path):
    bam = readkit.open(reads_bam)
    bam.convert(tmp_path / "out.sam")
    sam = readkit.open(tmp_path / "out.sam")
    assert isinstance(sam, readkit.SamFile) and sam.header == bam.header
    assert sam.references == bam.references
    assert sam.counts.tolist() == [5, 3] and sam.unplaced == 1 and sam.is_sorted
    assert bam.reads("chr2") == "".join(
        line for line in (tmp_path / "out.sam").read_text().splitlines(True)
        if line.split("\t")[2] == "chr2")
    bam.convert(tmp_path / "some.fastq", records=[0, 3])
    assert (tmp_path / "some.fastq").read_text() == \
        "@pair1\nACGTACGTAC\n+\nIIIIIIIIII\n@pair1\nACGTACGTAC\n+\nFFFFFFFFFF\n"
    bam.convert(tmp_path / "same", format="bam")
    assert readkit.open(tmp_path / "same").fields("chr1")["Header"].to_list() == \
        bam.fields("chr1")["Header"].to_list()


def test_counts_tell_why_records_were_dropped(reads_bam):
    counts = readkit.open(reads_bam).count(min_quality=20, multi_mapped="drop_by_nh")
    assert counts.table["Header"].to_list() == ["pair1", "spliced", "pair1", "half"]
    assert counts.table["EndPosition"].tolist() == [109, 229, 160, 48]
    assert counts.tallies == {"unmapped": 2, "supplementary": 1, "low_quality": 1,
                              "failed_pairing": 0, "multi_mapped": 1, "total": 9}
    with pytest.raises(ValueError):
        readkit.open(reads_bam).count(multi_mapped="other")


def test_checks_tell_what_is_wrong(reads_bam, tmp_path):
    assert readkit.open(reads_bam).check() and readkit.check(reads_bam).records == 9
    cut = tmp_path / "cut.bam"
    cut.write_bytes(pathlib.Path(reads_bam).read_bytes()[:-28])
    result = readkit.check(cut)
    assert not result and result.count == 1 and not result.end_marker
    assert result.findings["identifier"].to_list() == ["EndMarker"]


# ---- Indexes -------------------------------------------------------------------------------------


@pytest.fixture
def all_indexes(monkeypatch):
    """Has small files' indexes looked at, too."""
    monkeypatch.setattr(indexes, "SMALL", 0)


WIDE = [f"record{i + 1}\t0\tchr1\t{16384 * i + 1}\t60\t5M\t*\t0\t0\tACGTA\t*"
        for i in range(18)]


def test_an_index_that_misses_records_is_not_used(tmp_path, all_indexes):
    path = str(tmp_path / "wide.bam")
    slow_bam.write(path, [("chr1", 10**6)], WIDE, 1)
    gateway.bamIndex(path, path + ".bai")
    starts = gateway.getStartsInReference(path, path, 0)
    # What there is to be protected from.
    wrong = gateway.getFeatures(path, path, "Header", 0, np.array([10, 11, 17], np.uint32), starts - 1)
    assert wrong.to_list() == ["record16", "record17", None]
    assert indexes.index_beside(path, 1) is None
    bam = readkit.open(path)
    right = bam.fields("chr1", "Header", records=[9, 10, 16])["Header"].to_list()
    assert right == ["record10", "record11", "record17"]
    # Even if its gaps did not give it away.
    for method in (lambda: bam.fields("chr1", "Header", records=[9, 10, 16])["Header"].to_list(),
                   lambda: bam.fields("chr1", "Header").take(np.array([9, 10, 16]))[
                       "Header"].to_list()):
        bam.close()
        bam._remember("index", lambda: indexes.Index(path + ".bai", [17]))
        assert method() == right
    bam._kept["index"] = indexes.Index(path + ".bai", [18])
    assert bam.reads("chr1:147457-262145").count("\n") == 8


# What must not be taken for the index of a file: each changes the index of `WIDE`, or the file.
def other_file(path, index):
    slow_bam.write(path, [("chr1", 10**6)], [line.replace("5M", "4M1S") for line in WIDE], 2)


def shifted_file(path, index):
    slow_bam.write(path, [("chr1", 10**6)],
                   [line.replace(f"\t{16384 * 17 + 1}\t", f"\t{16384 * 18 + 1}\t")
                    for line in WIDE], 1)


def window_left_out(path, index):
    data = bytearray(index)
    data[-8 * 5:-8 * 4] = bytes(8)
    pathlib.Path(path + ".bai").write_bytes(data)


def first_window_left_out(path, index):
    data = bytearray(index)
    data[-8 * 19:-8 * 18] = bytes(8)
    pathlib.Path(path + ".bai").write_bytes(data)


def older(path, index):
    os.utime(path + ".bai", ns=(0, os.stat(path).st_mtime_ns - 10**9))


@pytest.mark.parametrize("change", [other_file, shifted_file, window_left_out,
                                    first_window_left_out, older])
def test_an_index_that_does_not_belong_to_its_file_is_not_used(tmp_path, all_indexes, change):
    path = str(tmp_path / "wide.bam")
    slow_bam.write(path, [("chr1", 10**6)], WIDE, 1)
    readkit.open(path).index()
    assert indexes.index_beside(path, 1).counts == [18]
    change(path, pathlib.Path(path + ".bai").read_bytes())
    if change is not older:
        os.utime(path + ".bai", ns=(0, os.stat(path).st_mtime_ns + 10**9))
    assert indexes.index_beside(path, 1) is None
    records = slow_bam.read(path)[1]
    assert readkit.open(path).starts("chr1").starts.tolist() == [r.first for r in records]


def test_indexes_of_other_tools_are_read(reads_bam, tmp_path, all_indexes):
    bam = readkit.open(reads_bam)
    assert bam.index() == reads_bam + ".bai"
    assert indexes.index_beside(reads_bam, 2).counts == [5, 3]
    assert indexes.index_beside(reads_bam, 3) is None
    data = pathlib.Path(reads_bam + ".bai").read_bytes()
    for end in range(len(data) - 8):
        pathlib.Path(reads_bam + ".bai").write_bytes(data[:end])
        assert indexes.index_beside(reads_bam, 2) is None


@quick
@given(sam_lines(), st.integers(1, 400_000), st.integers(0, 60_000), st.integers(1, 40))
@needs_pysam
def test_indexes_that_leave_unmapped_records_out_of_windows_miss_none(
        tmp_path, monkeypatch, lines, first, width, in_block):
    monkeypatch.setattr(indexes, "SMALL", 0)
    path = str(tmp_path / "lines.bam")
    slow_bam.write(path, REFERENCES, lines, in_block)
    pysam.index(path)
    bam = readkit.open(path)
    _, records = slow_bam.read(path)
    for index, (name, _) in enumerate(REFERENCES):
        there = [r for r in records if r.reference == index]
        last = first + width
        check_table(bam.fields(region=f"{name}:{first}-{last}"),
                    [r for r in there if r.first <= last and r.last >= first])
        check_table(bam.fields(name), there)


@needs_pysam
def test_indexes_that_pysam_makes_are_used(reads_bam, all_indexes):
    pysam.index(reads_bam)
    bam = readkit.open(reads_bam)
    assert (bam._index().path, bam._index().counts) == (reads_bam + ".bai", [5, 3])
    assert bam.fields("chr2", "Header")["Header"].to_list() == ["clipped", "half", "half"]


def test_an_own_index_goes_with_what_is_kept(reads_bam):
    with readkit.open(reads_bam) as bam:
        bam.starts("chr1")
        own = bam._index().path
        assert os.path.exists(own)
    assert not os.path.exists(own) and not os.path.exists(os.path.dirname(own))
    assert bam.starts("chr1").flags.tolist() == [99, 0, 16, 147, 2048]


def test_a_file_that_changes_is_read_again(tmp_path):
    path = str(tmp_path / "changing.bam")
    line = "r{0}\t0\tchr1\t{0}\t60\t4M\t*\t0\t0\tACGT\tIIII"
    slow_bam.write(path, [("chr1", 1000)], [line.format(5)])
    bam = readkit.open(path)
    assert bam.starts("chr1").starts.tolist() == [5]
    slow_bam.write(path, [("chr1", 2000)], [line.format(7), line.format(8)])
    assert bam.references == [("chr1", 2000)]
    assert bam.starts("chr1").starts.tolist() == [7, 8] and bam.records == 2


# ---- Forms ---------------------------------------------------------------------------------------


@pytest.mark.parametrize("wrong, kind", [
    ("chr9", "ReferenceIDNotFound"), ("chr9:1-2", "ReferenceIDNotFound"), ("chr1:", "InvalidRegion"),
    ("chr1:5", "InvalidRegion"), ("chr1:5-4", "InvalidRegion"), ("chr1:0-4", "InvalidRegion"),
    ("chr1:-4-4", "InvalidRegion"), ("chr1:a-b", "InvalidRegion"), ("", "ReferenceIDNotFound"),
    ("chr1:1-\N{SUPERSCRIPT TWO}", "InvalidRegion"),
])
def test_wrong_regions_are_errors(reads_bam, wrong, kind):
    bam = readkit.open(reads_bam)
    for method in (bam.reads, bam.overlapping, lambda region: bam.fields(region=region)):
        with pytest.raises(getattr(readkit.errors, kind)):
            method(wrong)


def test_regions_are_written_in_several_ways(reads_bam):
    bam = readkit.open(reads_bam)
    assert bam.overlapping("chr1:1-1,00").tolist() == [0, 1]
    assert bam.overlapping("chr1:110-119").tolist() == []
    assert bam.overlapping("chr1").tolist() == [0, 1, 2, 3, 4]
    assert bam.overlapping(f"chr1:1-{10**30}").tolist() == [0, 1, 2, 3, 4]
    assert bam.reads(f"chr1:300-{10**30}").split()[0] == "split"


def test_wrong_records_and_fields_are_errors(reads_bam):
    bam = readkit.open(reads_bam)
    for records in ([5], [-1], [1.5], [[1]], ["a"]):
        with pytest.raises(readkit.errors.BadIndex):
            bam.fields("chr1", records=records)
    with pytest.raises(readkit.errors.UnknownFeatureType):
        bam.fields("chr1", ["MateIndex"])
    for wrong in (lambda: bam.fields(), lambda: bam.fields("chr2", region="chr1:1-2"),
                  lambda: bam.fields(region="chr1:1-2", records=[1]),
                  lambda: bam.fields(region="chr1:1-2", regions=["chr1:1-2"]),
                  lambda: bam.fields("chr1", regions=["chr1:1-2"]),
                  lambda: bam.fields(regions="chr1:1-2")):
        with pytest.raises(TypeError):
            wrong()
    assert bam.fields("chr1", "Flag", records=[True, False, False, False, True])["Flag"].tolist() \
        == [99, 2048]
    assert bam.fields("chr1", [], records=[]).rows == 0


def test_objects_show_what_they_are(reads_bam, tmp_path):
    with readkit.open(pathlib.Path(reads_bam)) as bam:
        assert os.fspath(bam) == reads_bam and gateway.getNumReferences(bam)[0] == 2
        assert repr(bam) == f"<BAM file {reads_bam!r}: 2 references>"
        assert all(text in bam._repr_html_() for text in (">5,000<", "none beside it", "8,000 bases"))
        assert bam.records == 9
        assert all(text in bam._repr_html_() for text in ("9, 1 without a reference", ">3<"))
        shown = bam.fields("chr1")._repr_html_()
        assert "<td>60</td>" in shown and "5 rows × 10 columns, " in shown
        frame = bam.fields("chr1", ["Header", "Flag"]).to_pandas()
        assert frame["Flag"].dtype == np.uint16 and frame["Header"][2] == "spliced"
        assert pickle.loads(pickle.dumps(bam)).references == bam.references
    with pytest.raises(FileNotFoundError):
        readkit.open(tmp_path / "none.bam")
    (tmp_path / "text").write_text("nothing\n")
    with pytest.raises(readkit.errors.InvalidInputFormat):
        readkit.open(tmp_path / "text")
    with pytest.raises(FileNotFoundError):
        readkit.open(tmp_path)
