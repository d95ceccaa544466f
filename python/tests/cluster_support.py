"""What the tests of clusters share: the workers, which are started once, files, and a comparison."""

from __future__ import annotations

import os
import random
import time

import numpy as np
import pytest

import readkit
import readkit.cluster
import slow_bam
from readkit.cluster import window_jobs, windowed_file

REFERENCES = [("chr1", 400_000), ("empty", 100), ("chr:2", 300_000)]


@pytest.fixture(scope="session")
def two_workers():
    pytest.importorskip("distributed", reason="Dask (python3-distributed) is missing")
    with readkit.cluster.Cluster(workers=2) as cluster:
        yield cluster


@pytest.fixture
def machines(request):
    """A cluster of two processes. Tests kill some, which are replaced."""
    if "READKIT_SANITIZED" in os.environ:
        pytest.skip("the interpreters of workers have no sanitizers")
    cluster = request.getfixturevalue("two_workers")
    wait_for(lambda: len(cluster.client.scheduler_info()["workers"]) == 2)
    return cluster


@pytest.fixture
def by_windows_only(monkeypatch):
    """Makes it an error that one worker reads a whole file."""
    one = windowed_file.WindowedBamFile._one

    def checked(self, function, **arguments):
        assert function is not window_jobs.whole_file
        return one(self, function, **arguments)

    monkeypatch.setattr(windowed_file.WindowedBamFile, "_one", checked)


@pytest.fixture
def some_files(tmp_path):
    """BAM files, one of them without order, and the same as SAM and FASTQ."""
    folder = tmp_path / "in"
    folder.mkdir()
    files = [write_reads(folder / f"{i}.bam", i, sort=i > 0) for i in range(3)]
    readkit.open(files[1]).convert(folder / "3.sam")
    readkit.open(files[1]).convert(folder / "4.fastq")
    return files + [str(folder / "3.sam"), str(folder / "4.fastq")]


def wait_for(condition):
    deadline = time.monotonic() + 30
    while not condition():
        assert time.monotonic() < deadline
        time.sleep(0.005)


def assert_equal(one, other):
    """Equal to the last bit, and of the same classes."""
    assert type(one) is type(other)
    if isinstance(one, np.ndarray):
        assert one.dtype == other.dtype
        np.testing.assert_array_equal(one, other)
    elif isinstance(one, readkit.TextColumn):
        np.testing.assert_array_equal(one.offsets - one.offsets[0], other.offsets - other.offsets[0])
        assert one.to_list() == other.to_list()
    elif isinstance(one, readkit.Table):
        assert list(one) == list(other) and one.rows == other.rows
        for name in one:
            assert_equal(one[name], other[name])
    elif isinstance(one, tuple):
        assert len(one) == len(other)
        for pair in zip(one, other):
            assert_equal(*pair)
    elif isinstance(one, dict):
        assert list(one) == list(other)
        for name in one:
            assert_equal(one[name], other[name])
    elif hasattr(one, "__dataclass_fields__"):
        assert_equal(vars(one), vars(other))
    else:
        assert one == other


def write_reads(path, seed, count=300, in_block=7, sort=True):
    """Reads in clusters, of which some are spliced, unmapped, or as long as a window."""
    draw = random.Random(seed)
    lines = []
    for name, length in REFERENCES[::2]:
        starts = [draw.choice([draw.randint(1, length), draw.randint(5000, 5050)])
                  for _ in range(count // 2)]
        for number, start in enumerate(sorted(starts) if sort else starts):
            flag = draw.choice([0, 4, 16, 73, 83, 99, 133, 256, 2048])
            cigar = "*" if flag & 4 else draw.choice(["4M", "2M100000N2M", "3S1M", "1M5D3M"])
            mate = draw.choice(["*\t0", "=\t77", "chr:2\t1"])
            bases = draw.choice(["ACGT", "GGCC"])
            nh = draw.choice(["", "\tNH:i:1", "\tNH:i:3"])
            lines.append(f"{name}-{number}\t{flag}\t{name}\t{start}\t{draw.randrange(61)}\t{cigar}\t"
                         f"{mate}\t0\t{bases}\t{draw.choice(['IIII', 'I#5?'])}{nh}")
    lines += [f"none-{i}\t{draw.choice([4, 0])}\t*\t0\t0\t*\t*\t0\t0\tAC\tII" for i in range(20)]
    slow_bam.write(str(path), REFERENCES, lines, in_block=in_block)
    return str(path)
