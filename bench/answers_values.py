"""Compares what readkit prints (counts, positions) with peers' and with the inputs."""

import json
import re

from answers import expect_equal, expect_same_lines, outputs, samtools_text, text_lines

_CIGAR = re.compile(rb"(\d+)([MIDNSHP=X])")
_CELL = re.compile(rb'"data": "([^"]*)"')


def printed(folder):
    """The text that a side printed."""
    return (folder / "stdout").read_text(errors="replace")


def info(answers):
    """bamInfo against a peer's count, and by reference against the index."""
    ordered, counts = (output["data"] for output in outputs(answers.ours))
    expect_equal("sorted", ordered, [True])
    expect_equal("records", sum(counts), int(printed(answers.theirs)))
    rows = [line.split("\t") for line in
            samtools_text("idxstats", answers.inputs / "m.bam").splitlines()]
    by_name = [int(row[2]) + int(row[3]) for row in rows]
    expect_equal("records by reference", counts, (by_name[-1:] + by_name[:-1])[:len(counts)])


def sam_info(answers):
    """samInfo against samtools idxstats of the text."""
    ordered, counts, names = (output["data"] for output in outputs(answers.ours))
    expect_equal("sorted", ordered, [True])
    ours = {name["data"]: count for name, count in zip(names, counts, strict=True) if count}
    count_of = _PEERS_COUNTS[answers.peer]
    theirs = dict(count_of(line) for line in printed(answers.theirs).splitlines())
    expect_equal("records by reference", ours, {name: n for name, n in theirs.items() if n})


def _count_of_idxstats(line):
    name, _, mapped, unmapped = line.split("\t")
    return name, int(mapped) + int(unmapped)


def _count_of_uniq(line):
    count, name = line.split()
    return name, int(count)


_PEERS_COUNTS = {"samtools": _count_of_idxstats, "cut": _count_of_uniq}


def last_position(start, cigar):
    """The last position, inclusive, of a record; both ends 1-based."""
    covered = sum(int(n) for n, op in _CIGAR.findall(cigar) if op in b"MDN=X")
    return start + max(covered, 1) - 1


def reference(answers):
    """Starts, ends and flags of a reference against the text's columns, and a peer's count."""
    rows = (line.split(b"\t", 6) for line in text_lines(answers.inputs / "m.sam"))
    expected = ((int(row[3]), last_position(int(row[3]), row[5]), int(row[1]))
                for row in rows if row[2] == b"chr3")
    columns = [output["data"] for output in outputs(answers.ours)]
    count = expect_same_lines("record", zip(*columns, strict=True), expected)
    expect_equal("records", count, int(printed(answers.theirs)))


def cells(line):
    """The texts of a printed cell array, without a dictionary for each of them."""
    return _CELL.findall(line)


def features(answers):
    """getFeatureCountData's columns against the text's, and its total against a peer's count.

    What is timed prints nothing, so all of them are asked for once more.
    """
    with open(answers.ours / "all", "rb") as lines:
        kinds = (cells, cells, numbers, numbers, cells, numbers, numbers)
        next(lines)
        columns = [kind(line) for kind, line in zip(kinds, lines)]
        tallies = [tally["data"] for tally in numbers(next(lines))]
        some_missing = numbers(next(lines))
    rows = (line.split(b"\t", 8) for line in text_lines(answers.inputs / "m.sam"))
    expected = ((row[0], row[5], int(row[3]), last_position(int(row[3]), row[5]), row[2],
                 int(row[1]), int(row[7])) for row in rows)
    count = expect_same_lines("record", zip(*columns, strict=True), expected)
    # Every record of the inputs is kept.
    expect_equal("tallies", tallies, [[0], [0], [0], [0], [0], [count]])
    expect_equal("records without NH", some_missing, [False])
    expect_equal("records", count, int(printed(answers.theirs)))


def numbers(line):
    """The elements of a printed numeric array."""
    return json.loads(line.strip().rstrip(b","))["data"]
