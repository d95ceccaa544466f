"""Qualities by position, against counting read by read."""

from __future__ import annotations

import gzip
import html.parser
import json
import os
import re
import subprocess

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
    averages, gc = np.zeros(94), np.zeros(20)
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
    for percent in (10, 50, 90):
        at = [sorted(numbers[p] for _, numbers in reads if p < len(numbers))
              for p in range(longest)]
        # The nearest rank.
        ranks = [there[max(-(-len(there) * percent // 100) - 1, 0)] for there in at]
        assert found.percentile(percent).tolist() == ranks


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
    (tmp_path / "packed").write_bytes(gzip.compress(fastq.read_bytes()))
    check(readkit.quality(tmp_path / "packed"), second)
    sam = tmp_path / "second.sam"
    sam.write_text("@SQ\tSN:chr1\tLN:9\n" + "".join(
        f"r\t4\t*\t0\t0\t*\t*\t0\t0\t{b}\t{characters(n)}\n" for b, n in second))
    check(readkit.quality(sam), second)
    check(readkit.quality(readkit.open(sam)), second)
    check(readkit.quality([memory, fastq, sam]), first + second + second)
    json.dumps(readkit.quality(fastq).to_dict())


def test_the_best_quality_is_no_other_average():
    counts = readkit.quality((["AC", "G"], ["~~", "~"]))
    assert counts.averages[93] == 2 and counts.averages.sum() == 2
    with pytest.raises(readkit.errors.InvalidData):
        readkit.quality((["A"], ["~"]), max_quality=92)


def test_counts_know_what_they_are_of(tmp_path):
    (tmp_path / "a.fastq").write_text("@r\nAC\n+\nII\n")
    one = readkit.quality(tmp_path / "a.fastq", first=1)
    assert one.sources == (str(tmp_path / "a.fastq"),) and one.kind == "fastq"
    assert one.settings == readkit.qualities.Settings(first=1)
    both = one + readkit.quality((["ACG"], ["III"]), first=1)
    assert both.sources[1:] == ("memory",) and both.kind == "mixed"
    assert repr(both) == "<Quality of 2 reads, 2 positions>"
    with pytest.raises(ValueError):
        one + readkit.quality((["ACG"], ["III"]))
    shown = both._repr_html_()
    html.parser.HTMLParser().feed(shown)
    for text in ("a.fastq", "memory", "40.0", "100.0 %", "1 to 2"):
        assert text in shown
    assert json.loads(json.dumps(both.to_dict()))["settings"]["first"] == 1
    empty = readkit.quality(([], []))
    assert "–" in empty._repr_html_() and np.isnan(empty.mean).all()


@pytest.mark.parametrize("content", [b"\x1f\x8b", b"\x1f\x8b\x08" + b"\0" * 20,
                                     gzip.compress(b"@r\nAC\n+\nII\n" * 1000)[:-12]])
def test_damaged_compressed_files_are_errors(tmp_path, content):
    (tmp_path / "reads.gz").write_bytes(content)
    with pytest.raises(readkit.errors.InvalidInputFormat):
        readkit.quality(tmp_path / "reads.gz")


# ---- Pictures and pages --------------------------------------------------------------------------


def test_plots_go_into_axes():
    matplotlib = pytest.importorskip("matplotlib")
    matplotlib.use("Agg")
    from matplotlib import pyplot

    figure, axes = pyplot.subplots()
    counts = readkit.quality((["ACGT", "GG"], ["IIII", "##"]), first=1)
    assert counts.plot(axes) is axes
    lines = {line.get_label(): line.get_ydata() for line in axes.get_lines()}
    assert lines["mean"].tolist() == counts.mean.tolist() == [21, 40, 40]
    assert lines["median"].tolist() == [2, 40, 40]
    assert axes.get_lines()[-1].get_xdata().tolist() == [2, 3, 4]
    assert axes.get_xlabel() and axes.get_ylabel() and axes.get_legend()
    own = readkit.quality(([], [])).plot()
    assert own is not axes and own.figure is not figure
    pyplot.close("all")


PARTS = ("<html>", "<!--readkit:summary-->", "<!--readkit:settings-->", "<!--readkit:document-->")


@pytest.fixture
def program():
    path = os.environ.get("READKIT_PROGRAM", "")
    if not os.path.exists(path):
        pytest.skip("READKIT_PROGRAM names no program")

    # The program has sanitizers of its own, which those of the interpreter must not precede.
    environment = {name: value for name, value in os.environ.items() if name != "LD_PRELOAD"}

    def run(*words):
        ran = subprocess.run([path, *map(str, words)], capture_output=True, text=True, check=True,
                             env=environment)
        return ran.stdout

    return run


def write_reads(folder):
    paths = [folder / "a.fastq", folder / "other" / "a.fastq", folder / "b.sam"]
    paths[1].parent.mkdir()
    paths[0].write_text("@r\nACGT\n+\nII~!\n@s\nGG\n+\n##\n")
    paths[1].write_text("@r\n\n+\n\n@s\nGGA\n+\n###\n")
    paths[2].write_text("@SQ\tSN:chr1\tLN:9\nr\t0\tchr1\t1\t0\t2M\t*\t0\t0\tAN\t5I\n"
                        "s\t4\t*\t0\t0\t*\t*\t0\t0\tAC\tII\n")
    return paths


@pytest.mark.parametrize("words, settings", [
    ((), {}), (("--span", "2-3"), {"first": 1, "last": 2}),
    (("--min-length", "3", "--mapped-only", "--min-average", "5"),
     {"min_length": 3, "unplaced": False, "min_average": 5}),
])
def test_reports_are_those_of_the_program(tmp_path, monkeypatch, program, words, settings):
    paths = write_reads(tmp_path)
    expected = json.loads(program("quality", "--json", *words, *paths))
    monkeypatch.setattr(readkit.qualities, "_page", lambda: "\n".join(PARTS))
    counts = [readkit.quality(path, **settings) for path in paths]
    counts[0].report(tmp_path / "page.html", *counts[1:])
    document = json.loads((tmp_path / "page.html").read_text().rpartition("\n")[2])
    assert document["samples"] == expected["samples"]
    assert document["settings"] == expected["settings"]
    assert document["readkit"] == readkit.__version__


def test_pages_are_those_of_the_program(tmp_path, program):
    try:
        readkit.qualities._page()
    except FileNotFoundError:
        pytest.skip("this build has no page, which is made where npm is")
    paths = write_reads(tmp_path)
    program("quality", "--report", tmp_path / "program.html", *paths)
    first, *others = map(readkit.quality, paths)
    first.report(tmp_path / "python.html", *others)
    assert (tmp_path / "python.html").read_bytes() == (tmp_path / "program.html").read_bytes()


def test_reports_appear_whole_or_not_at_all(tmp_path, monkeypatch):
    monkeypatch.setattr(readkit.qualities, "_page", lambda: "\n".join(PARTS))
    counts = readkit.quality([(["AC"], ["II"]), (["AC"], ["II"])])
    page = tmp_path / "page.html"
    counts.report(page, counts)
    before = page.read_text()
    assert re.findall(r'"name":"([^"]*)"', before)[:1] == ["2 files"] and "2 files (2)" in before
    low = readkit.quality((["AC"], ["II"]), min_quality=-40)
    low.report(tmp_path / "low.html")
    with pytest.raises(ValueError):
        readkit.quality((["AC"], ["I "]), min_quality=-1).report(page)
    with pytest.raises(ValueError):
        counts.report(page, readkit.quality((["AC"], ["II"]), first=1))
    with pytest.raises(FileNotFoundError):
        counts.report(tmp_path / "none" / "page.html")
    assert page.read_text() == before
    assert sorted(path.name for path in tmp_path.iterdir()) == ["low.html", "page.html"]

    def missing():
        raise FileNotFoundError

    monkeypatch.setattr(readkit.qualities, "_page", missing)
    with pytest.raises(FileNotFoundError):
        counts.report(page)


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
