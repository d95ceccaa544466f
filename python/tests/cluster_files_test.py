"""Many files on a cluster of two processes, against the same work on one machine."""

from __future__ import annotations

import doctest
import os
import pathlib
import pickle
import subprocess
import sys

import numpy as np
import pytest
from cluster_support import assert_equal
from conftest import real_files

import readkit
import readkit.cluster
from readkit import gateway, outputs
from readkit.cluster import machines as machines_module


def test_many_files_give_what_one_machine_gives(machines, some_files, tmp_path):
    bams, sam, fastq = some_files[:3], some_files[3], some_files[4]
    checks = machines.check(some_files)
    assert list(checks) == some_files and not checks[fastq] is None
    assert_equal(checks, {path: readkit.check(path) for path in some_files})
    filters = {"min_quality": 20, "multi_mapped": "drop_by_nh", "properly_mapped": True}
    assert_equal(machines.count(bams, **filters),
                 {path: readkit.open(path).count(**filters) for path in bams})
    for settings in ({}, {"min_average": 20, "first": 1, "unplaced": True}):
        total = machines.quality(some_files, **settings)
        assert_equal(total, readkit.quality(some_files, **settings))
        assert_equal(total.mean, readkit.quality(some_files, **settings).mean)
    assert machines.quality(some_files).reads > 1000
    assert_equal(machines.quality([fastq, fastq]), readkit.quality([fastq, fastq]))

    ordered = machines.sort(bams + [sam])
    assert ordered == {path: path.replace(".bam", ".sorted.bam").replace(".sam", ".sorted.sam")
                       for path in bams + [sam]}
    named = machines.sort({sam: tmp_path / "named"})
    assert named == {sam: str(tmp_path / "named")}
    for path, out in {**ordered, **named}.items():
        alone = readkit.open(path).sort(tmp_path / "alone").path
        assert pathlib.Path(out).read_bytes() == pathlib.Path(alone).read_bytes()

    some = [ordered[path] for path in bams]
    made = machines.index(some) | machines.index({bams[1]: tmp_path / "sparse"}, complete=False)
    assert made == {**{path: path + ".bai" for path in some}, bams[1]: str(tmp_path / "sparse")}
    for path, out in made.items():
        alone = readkit.open(path).index(tmp_path / "alone", complete=path != bams[1])
        assert pathlib.Path(out).read_bytes() == pathlib.Path(alone).read_bytes()
    assert_equal(machines.check({path: path + ".bai" for path in some}),
                 {path: readkit.check(path, path + ".bai") for path in some})

    files = {path: str(tmp_path / f"{i}.fastq") for i, path in enumerate(bams + [sam])}
    assert machines.convert(files) == files
    machines.convert({bams[1]: tmp_path / "part"}, "sam", references=["chr1", "empty", "chr:2"])
    for path, out in files.items():
        readkit.open(path).convert(tmp_path / "alone.fastq")
        assert pathlib.Path(out).read_bytes() == (tmp_path / "alone.fastq").read_bytes()
    assert readkit.open(tmp_path / "part").records == readkit.open(bams[1]).records
    assert not [path for path in tmp_path.rglob(".readkit-*")]


@pytest.mark.parametrize("folder", ["bam", "fastq"])
def test_real_files_give_what_one_machine_gives(machines, folder, tmp_path):
    files = [param.values[0] for param in real_files(f"{folder}/*.{folder}")]
    if files == [None]:
        pytest.skip("READKIT_TEST_DATA has no such files")
    files = [path for path in files if os.stat(path).st_size < 200_000]
    assert_equal(machines.check(files), {path: readkit.check(path) for path in files})
    failed, wrong = {}, {}
    reads = machines.quality(files, failed=failed)
    good = []
    for path in files:
        try:
            readkit.quality(path)
            good.append(path)
        except readkit.Error as error:
            wrong[path] = error
    assert_equal(reads, readkit.quality(good))
    found, expected = ({path: (type(error), error.identifier, error.arguments)
                        for path, error in errors.items()} for errors in (failed, wrong))
    assert found == expected
    assert all(path in str(error) and error.path for path, error in failed.items())


def test_a_wrong_file_is_named_and_loses_no_others(machines, some_files, tmp_path):
    unsorted, good, fastq = some_files[0], some_files[1], some_files[4]
    cut = tmp_path / "cut.bam"
    cut.write_bytes(pathlib.Path(good).read_bytes()[:3000])
    names = [good, unsorted, str(tmp_path / "none.bam"), fastq, str(cut)]
    failed = {}
    assert machines.index(names, failed=failed) == {good: good + ".bai"}
    kinds = {name: type(error).__name__ for name, error in failed.items()}
    with pytest.raises(readkit.Error) as alone:
        readkit.open(cut).index()
    assert kinds == {names[1]: "BAMUnsorted", names[2]: "FileNotFound",
                     names[3]: "InvalidInputFormat", names[4]: type(alone.value).__name__}
    for name, error in failed.items():
        assert error.path == name and name in str(error)
        again = pickle.loads(pickle.dumps(error))
        assert type(again) is type(error) and str(again) == str(error) and again.path == name
        assert (again.identifier, again.arguments) == (error.identifier, error.arguments)
    assert failed[names[2]].filename == names[2]
    with pytest.raises(readkit.errors.BAMUnsorted) as raised:
        machines.index([unsorted])
    assert raised.value.path == unsorted
    with pytest.raises(OSError) as raised:
        machines.sort({good: tmp_path / "no such folder" / "out.bam"})
    assert good in raised.value.__notes__[0]
    assert machines.quality([fastq, cut], failed=(failed := {})).reads == 320
    assert list(failed) == [str(cut)] or list(failed) == [cut]
    with pytest.raises(ValueError):
        machines.quality([cut], failed={})


def test_wrong_calls_are_errors(machines, some_files, tmp_path):
    for wrong in (lambda: machines.check(some_files[0]), lambda: machines.quality({"a": "b"}),
                  lambda: machines.convert(some_files), lambda: machines.count(some_files[:1], x=1)):
        with pytest.raises(TypeError):
            wrong()
    for wrong in (lambda: machines.check([some_files[0]] * 2), lambda: machines.quality([]),
                  lambda: machines.sort({some_files[0]: "x.bam", some_files[1]: "./x.bam"}),
                  lambda: machines.count(some_files[:1], multi_mapped="other"),
                  lambda: machines.open(some_files[0], window=0),
                  lambda: readkit.cluster.Cluster(machines.client, workers=2)):
        with pytest.raises(ValueError):
            wrong()
    with pytest.raises(readkit.errors.InvalidInputFormat):
        machines.open(some_files[3])
    assert machines.check([]) == {}


def test_clients_and_addresses_are_used(machines, reads_bam, monkeypatch):
    monkeypatch.chdir(pathlib.Path(reads_bam).parent)
    address = machines.client.scheduler.address
    with readkit.cluster.Cluster(address) as other:
        assert repr(other) == "<Cluster of 2 workers>"
        # Names begin at the caller's folder, and are what results are found by.
        assert other.check(["reads.bam"])["reads.bam"].records == 9
    with readkit.cluster.Cluster(machines.client) as same:
        assert same.count(["reads.bam"])["reads.bam"].tallies["total"] == 9
    assert machines.client.status == "running"


def test_workers_use_the_same_library(machines, some_files, tmp_path):
    out = {}
    for name in ("exact", "fast"):
        readkit.use_library(name)
        machines.sort({some_files[0]: tmp_path / name})
        readkit.open(some_files[0]).sort(tmp_path / "alone")
        out[name] = (tmp_path / name).read_bytes()
        assert out[name] == (tmp_path / "alone").read_bytes()
    assert out["exact"] != out["fast"]


# ---- Forms


def test_columns_are_pickled_and_joined(reads_bam):
    names = readkit.open(reads_bam).fields("chr1", "Header")["Header"]
    missing = gateway.getFeatures  # Rows that are not found have no text.
    index = readkit.open(reads_bam).index()
    odd = missing(reads_bam, index, ["Header"], 0, np.array([1, 5, 9], np.uint32),
                  np.array([99, 99, 119, 149, 399] + [399] * 4, np.uint32))
    assert odd.to_list() == ["pair1", "split", None]
    for column in (names, names[1:3], names[:0], odd, odd[1:], odd[2:]):
        for protocol in (2, 4, 5):
            assert_equal(pickle.loads(pickle.dumps(column, protocol)), column)
    joined = readkit.TextColumn.concatenate([names[3:], odd[1:], names[:0]])
    assert joined.to_list() == ["pair1", "split", "split", None]
    assert readkit.TextColumn.concatenate([]).to_list() == []
    table = readkit.open(reads_bam).fields("chr2")
    assert_equal(pickle.loads(pickle.dumps(table)), table)
    make = readkit.TextColumn.__setstate__
    texts = np.frombuffer(b"abc", np.uint8)
    for wrong in ((np.array([0, 4]), texts, None), (np.array([1, 3]), texts, None),
                  (np.array([0, 9, 3]), texts, None), (np.array([], np.int64), texts, None),
                  (np.array([0, 3]), texts, np.array([True, True])), (1,)):
        with pytest.raises(ValueError):
            make(readkit.TextColumn.__new__(readkit.TextColumn), wrong)


def test_attempts_begin_without_what_earlier_ones_left(tmp_path):
    target = tmp_path / "out"
    with outputs.attempt("work"):
        with outputs.private_folder(str(target)) as first:
            (pathlib.Path(first) / "left").touch()
            with outputs.whole_output(str(target)) as second:
                # The one that is taken for dead finds its place gone.
                assert not os.path.exists(first)
                pathlib.Path(second).write_text("whole")
    assert target.read_text() == "whole" and os.listdir(tmp_path) == ["out"]


def test_dask_is_loaded_when_it_is_needed(monkeypatch):
    done = subprocess.run(
        [sys.executable, "-B", "-c",
         "import sys, readkit.cluster; print('distributed' in sys.modules)"],
        capture_output=True, text=True, timeout=60)
    assert done.stdout == "False\n", done.stderr
    monkeypatch.setitem(sys.modules, "distributed", None)
    with pytest.raises(ImportError, match="python3-distributed"):
        readkit.cluster.Cluster()


def test_the_examples_are_right(machines, reads_bam, monkeypatch):
    monkeypatch.chdir(pathlib.Path(reads_bam).parent)
    readkit.open(reads_bam).index()
    # The workers are there already.
    monkeypatch.setattr(readkit.cluster, "Cluster",
                        lambda workers: machines_module.Cluster(machines.client))
    failed, tried = doctest.testmod(readkit.cluster)
    assert tried > 3 and failed == 0
