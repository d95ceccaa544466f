"""Qualities by position, against counting read by read."""

from __future__ import annotations

import json

import numpy as np
import pytest
from hypothesis import HealthCheck, given, settings, strategies as st

import readkit

quick = settings(max_examples=30, suppress_health_check=[HealthCheck.function_scoped_fixture])


@st.composite
def some_reads(draw, min_size=1):
    reads = []
    for _ in range(draw(st.integers(min_size, 6))):
        length = draw(st.integers(1, 12))
        reads.append((draw(st.text("ACGTN", min_size=length, max_size=length)),
                      draw(st.lists(st.integers(2, 40), min_size=length, max_size=length))))
    return reads


def check(found, reads):
    longest = max(len(bases) for bases, _ in reads)
    qualities = np.zeros((94, longest))
    bases_at = np.zeros((5, longest))
    averages, gc = np.zeros(93), np.zeros(20)
    for bases, numbers in reads:
        for position, (base, number) in enumerate(zip(bases, numbers)):
            qualities[number, position] += 1
            bases_at["ACGTN".index(base), position] += 1
        averages[int(sum(numbers) / len(numbers))] += 1
        gc[min(20 * sum(base in "CG" for base in bases) // len(bases), 19)] += 1
    assert found.reads == len(reads)
    np.testing.assert_array_equal(found.qualities, qualities)
    np.testing.assert_array_equal(found.bases, bases_at)
    np.testing.assert_array_equal(found.averages, averages)
    np.testing.assert_array_equal(found.gc, gc)
    lengths = sorted({len(bases) for bases, _ in reads})
    assert found.lengths.tolist() == [[length, sum(len(b) == length for b, _ in reads)]
                                      for length in lengths]
    sums = (np.arange(94) @ qualities) / qualities.sum(axis=0)
    np.testing.assert_allclose(found.mean, sums)


def characters(numbers):
    return "".join(chr(number + 33) for number in numbers)


@quick
@given(some_reads(), some_reads())
def test_counts_are_those_of_all_reads(tmp_path, first, second):
    memory = ([bases for bases, _ in first], [characters(numbers) for _, numbers in first])
    check(readkit.quality(memory), first)
    fastq = tmp_path / "second.fastq"
    fastq.write_text("".join(f"@r\n{b}\n+\n{characters(n)}\n" for b, n in second))
    check(readkit.quality(fastq), second)
    sam = tmp_path / "second.sam"
    sam.write_text("@SQ\tSN:chr1\tLN:9\n" + "".join(
        f"r\t4\t*\t0\t0\t*\t*\t0\t0\t{b}\t{characters(n)}\n" for b, n in second))
    check(readkit.quality(sam), second)
    check(readkit.quality(readkit.open(sam)), second)
    check(readkit.quality([memory, fastq, sam]), first + second + second)
    json.dumps(readkit.quality(fastq).to_dict())


def test_settings_leave_reads_out(reads_bam):
    memory = (["ACGT", "GG"], ["IIII", "##"])
    assert readkit.quality(memory, min_average=10).reads == 1
    assert readkit.quality(memory, min_length=3).reads == 1
    part = readkit.quality(memory, first=1, last=2)
    assert part.bases.sum(axis=0).tolist() == [2, 1]
    with pytest.raises(readkit.errors.InvalidData):
        readkit.quality(memory, max_quality=39)
    with pytest.raises(readkit.errors.InvalidData):
        readkit.quality(reads_bam)
    with pytest.raises(FileNotFoundError):
        readkit.quality("none.fastq")
    with pytest.raises(ValueError):
        readkit.quality([])
    with pytest.raises(ValueError):
        readkit.quality(memory) + readkit.quality(memory, max_quality=50)
