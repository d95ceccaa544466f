"""One large file in windows, on a cluster of two processes, against the same work on one machine."""

from __future__ import annotations

import os
import pathlib
import random
import shutil

import numpy as np
import pytest
from cluster_support import REFERENCES, assert_equal, write_reads
from conftest import real_files

import readkit
import slow_bam
from readkit import bai, blocks
from readkit.cluster import windows


@pytest.mark.parametrize("seed, window, count", [(1, 1, 60), (2, 1500, 300), (3, 1 << 30, 60)])
def test_windows_give_what_one_machine_gives(machines, tmp_path, by_windows_only, seed, window,
                                             count):
    path = write_reads(tmp_path / "reads.bam", seed, count, in_block=5)
    bam = readkit.open(path)
    bam.index()
    wide = machines.open(path, window=window)
    assert wide.header == bam.header and wide.references == bam.references
    draw = random.Random(seed)
    for name in ("chr1", "chr:2"):
        count = len(bam.starts(name).starts)
        region = f"{name}:{draw.randint(1, 6000)}-{draw.randint(6000, 200_000)}"
        some = [draw.randrange(count) for _ in range(20)]
        fields = ["Header", "EndPosition", "QueryLength", "MatePosition", "Quality"]
        # Before anything is known of the windows, and after.
        for _ in range(2):
            assert_equal(wide.fields(name), bam.fields(name))
            assert_equal(wide.fields(region=region), bam.fields(region=region))
        assert (len(wide._plans[0 if name == "chr1" else 2].spans) > 2) == (window < 2000)
        assert_equal(wide.fields(name, fields, records=some), bam.fields(name, fields, records=some))
        mask = np.array([draw.random() < 0.1 for _ in range(count)])
        wide._forget()
        assert_equal(wide.fields(name, "Flag", records=mask), bam.fields(name, "Flag", records=mask))
        assert_equal(wide.fields(region=f"{name}:390000-390001"),
                     bam.fields(region=f"{name}:390000-390001"))
        assert_equal(wide.fields(name, [], records=[]), bam.fields(name, [], records=[]))
        wide._forget()
        assert_equal(wide.starts(name), bam.starts(name))
    for filters in ({}, {"min_quality": 30, "multi_mapped": "drop_by_nh"},
                    {"multi_mapped": "drop_secondary", "both_ends_mapped": True},
                    {"properly_mapped": True}):
        assert_equal(wide.count(**filters), bam.count(**filters))


def test_what_windows_cannot_give_one_worker_gives(machines, tmp_path):
    path = write_reads(tmp_path / "reads.bam", 5, in_block=3)
    bam = readkit.open(path)
    for make in (lambda: None, lambda: bam.index(complete=False), bam.index):
        make()
        wide = machines.open(path, window=900)
        assert_equal(wide.starts("chr1"), bam.starts("chr1"))
        assert_equal(wide.starts("empty"), bam.starts("empty"))
        assert_equal(wide.fields(2, "Header"), bam.fields(2, "Header"))
        assert_equal(wide.count(), bam.count())
        for wrong in (lambda file: file.starts("none"), lambda file: file.fields("chr1", "None"),
                      lambda file: file.fields("chr1", records=[10**6]), lambda file: file.fields(),
                      lambda file: file.fields(region="chr1:5"),
                      lambda file: file.count(multi_mapped="none")):
            kinds = []
            for file in (wide, bam):
                with pytest.raises((readkit.Error, TypeError, ValueError)) as raised:
                    wrong(file)
                kinds.append(type(raised.value))
            assert kinds[0] is kinds[1]
    # An index that counts right, and says that the first record is one in the middle.
    data = bytearray(pathlib.Path(path + ".bai").read_bytes())
    at = data.index((37450).to_bytes(4, "little") + b"\2\0\0\0") + 8
    places = windows.places_in(bai.read_sections(path + ".bai", 3).references[:1])
    data[at : at + 8] = int(places[len(places) // 2]).to_bytes(8, "little")
    pathlib.Path(path + ".bai").write_bytes(data)
    assert_equal(machines.open(path).starts("chr1"), bam.starts("chr1"))
    assert_equal(machines.open(path, window=900).fields("chr1"), bam.fields("chr1"))


def test_no_nh_field_is_one_error_over_all_windows(machines, tmp_path, by_windows_only,
                                                   monkeypatch):
    lines = [f"r{i}\t0\tchr1\t{i * 20_000 + 1}\t60\t4M\t*\t0\t0\tACGT\tIIII{nh}"
             for i, nh in enumerate(["", "", "\tNH:i:2", "", "\tNH:i:1", "", ""])]
    path = str(tmp_path / "some.bam")
    slow_bam.write(path, REFERENCES, lines, in_block=1)
    bam = readkit.open(path)
    bam.index()
    found = machines.open(path, window=1).count(multi_mapped="drop_by_nh")
    assert_equal(found, bam.count(multi_mapped="drop_by_nh"))
    assert found.some_nh_missing and found.tallies["multi_mapped"] == 1
    monkeypatch.undo()
    slow_bam.write(path, REFERENCES, [line.partition("\tNH")[0] for line in lines], in_block=1)
    bam.index()
    with pytest.raises(readkit.errors.AllNHTagsMissing) as raised:
        machines.open(path, window=1).count(multi_mapped="drop_by_nh")
    assert raised.value.path == path
    none = machines.open(path, window=1).count(multi_mapped="drop_by_nh", min_quality=61)
    assert none.table.rows == 0


def test_a_damaged_file_gives_the_error_of_one_machine(machines, tmp_path):
    path = write_reads(tmp_path / "reads.bam", 6)
    readkit.open(path).index()
    data = bytearray(pathlib.Path(path).read_bytes())
    place = data.index(b"BC\2\0", len(data) // 2) - 12
    data[place : place + 4] = b"none"
    pathlib.Path(path).write_bytes(data)
    os.utime(path + ".bai")
    for ask in (lambda file: file.starts("chr:2"), lambda file: file.count(),
                lambda file: file.fields("chr:2", "Header")):
        errors = []
        for file in (machines.open(path, window=2000), readkit.open(path)):
            with pytest.raises(readkit.Error) as raised:
                ask(file)
            errors.append((type(raised.value), raised.value.identifier, raised.value.arguments))
        assert errors[0] == errors[1]


def test_a_file_that_changes_is_planned_again(machines, tmp_path, by_windows_only):
    path = write_reads(tmp_path / "reads.bam", 7)
    readkit.open(path).index()
    wide = machines.open(path, window=3000)
    before = wide.starts("chr1")
    write_reads(path, 8, count=500)
    bam = readkit.open(path)
    bam.index()
    assert_equal(wide.starts("chr1"), bam.starts("chr1"))
    assert len(wide.starts("chr1").starts) > len(before.starts)
    write_reads(path, 9)
    bam.index()
    assert_equal(wide.count(), bam.count())


def some_real_files():
    """Every third of those that make some windows."""
    found = real_files("bam/*.bam")
    return [file for file in found if not file.values[0]
            or 30_000 <= os.stat(file.values[0]).st_size <= 400_000][::3]


@pytest.mark.parametrize("path", some_real_files())
def test_windows_of_real_files_give_what_one_machine_gives(machines, path, tmp_path):
    bam = readkit.open(shutil.copy(path, tmp_path / "copy.bam"))
    try:
        bam = bam if bam.is_sorted else bam.sort(tmp_path / "sorted.bam")
        bam.index()
    except readkit.Error:
        pytest.skip("no file with an index")
    wide = machines.open(bam.path, window=20_000)
    assert_equal(wide.count(), bam.count())
    for number in np.flatnonzero(bam.counts)[:1].tolist():
        assert_equal(wide.starts(number), bam.starts(number))
        assert_equal(wide.fields(number), bam.fields(number))


def test_spans_are_whole_blocks_and_their_ends(tmp_path):
    path = write_reads(tmp_path / "reads.bam", 10, in_block=4)
    bam = readkit.open(path)
    bam.index()
    index = bai.read_sections(path + ".bai", 3)
    first = blocks.first_record(path)
    size = os.stat(path).st_size
    for window in (1, 1000, 10**9):
        spans = windows.cut(blocks.Span(first, size << 16), windows.places_in(index.references),
                            window)
        assert spans[0].begin == first and spans[-1].end == size << 16
        assert all(one.end == other.begin for one, other in zip(spans, spans[1:]))
        assert all((span.end >> 16) - (span.begin >> 16) >= window for span in spans[:-1])
        records, findings = [], []
        for span in spans:
            windows.copy_span(path, first, span, str(tmp_path / "copy.bam"))
            findings += readkit.check(tmp_path / "copy.bam").findings["text"]
            records += slow_bam.read(str(tmp_path / "copy.bam"))[1]
        assert records == slow_bam.read(path)[1]
        assert findings == readkit.check(path).findings["text"].to_list()
    data = pathlib.Path(path).read_bytes()
    for wrong in (data[:10], data[:40], b"\0" * 100, data[:30] + b"\0" * 10 + data[40:]):
        (tmp_path / "wrong.bam").write_bytes(wrong)
        with pytest.raises(ValueError):
            blocks.first_record(str(tmp_path / "wrong.bam"))
