"""Compares what readkit prints (counts, positions, tables) with peers' and with the inputs."""

import json
import re

from answers import expect_equal, expect_same_lines, outputs, samtools_text, text_lines

_CIGAR = re.compile(rb"(\d+)([MIDNSHP=X])")
_CELL = re.compile(rb'"data": "([^"]*)"')
# A whole file is looked at in parts of so many reads, so that memory stays small.
_PART = 100_000


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
    rows = (line.split("\t") for line in printed(answers.theirs).splitlines())
    theirs = {row[0]: int(row[2]) + int(row[3]) for row in rows}
    expect_equal("records by reference", ours, {name: n for name, n in theirs.items() if n})


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

    What is timed prints the first output only, so all of them are asked for once more.
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


class Tables:
    """Bases and qualities by position; reads by length, C and G, and average quality."""

    def __init__(self):
        self.reads = 0
        self.bases, self.qualities = {}, {}
        self.lengths, self.gc, self.averages = {}, [0] * 20, {}

    def add(self, records):
        """Counts (bases, qualities) pairs; columns of equally long reads are counted as texts."""
        by_length = {}
        for bases, qualities in records:
            by_length.setdefault(len(bases), ([], []))[0].append(bases)
            by_length[len(bases)][1].append(qualities)
            self._add_read(bases, qualities)
        for length, (bases, qualities) in by_length.items():
            self.reads += len(bases)
            self.lengths[length] = self.lengths.get(length, 0) + len(bases)
            for texts, table in ((bases, self.bases), (qualities, self.qualities)):
                joined = b"".join(texts)
                for position in range(length):
                    column = joined[position::length]
                    counts = table.setdefault(position, {})
                    for letter in set(column):
                        counts[letter] = counts.get(letter, 0) + column.count(letter)

    def _add_read(self, bases, qualities):
        length = len(bases)
        share = 100 * (bases.count(b"C") + bases.count(b"G")) // (5 * length)
        self.gc[min(share, 19)] += 1
        average = sum(qualities) // length - 33
        self.averages[average] = self.averages.get(average, 0) + 1

    def as_outputs(self, least, most):
        """The lists that scanQualities gives for qualities from least to most."""
        columns = max(self.lengths)
        averages = [0] * (most - least)
        for average, count in self.averages.items():
            averages[min(average - least, most - least - 1)] += count
        qualities, bases = [], []
        for position in range(columns):
            counts = self.qualities[position]
            qualities += [counts.get(33 + value, 0) for value in range(least, most + 1)]
            counts = self.bases[position]
            known = [counts.get(letter, 0) for letter in b"ACGT"]
            bases += known + [sum(counts.values()) - sum(known)]
        lengths = sorted(self.lengths)
        return [averages, qualities, self.gc, bases, [self.reads],
                lengths + [self.lengths[length] for length in lengths]]


def count_fastq(lines):
    """The tables of a FASTQ text."""
    tables, part = Tables(), []
    for _ in lines:
        bases = next(lines).rstrip(b"\n")
        next(lines)
        part.append((bases, next(lines).rstrip(b"\n")))
        if len(part) == _PART:
            tables.add(part)
            part = []
    tables.add(part)
    return tables


def scan(answers, least=0, most=60):
    """scanQualities against tables counted here, and against the peer's own counts."""
    with open(answers.inputs / "m.fastq", "rb") as lines:
        tables = count_fastq(lines)
    names = ("averages", "qualities", "gc", "bases", "reads", "lengths")
    ours = [output["data"] for output in outputs(answers.ours)]
    for name, our, expected in zip(names, ours, tables.as_outputs(least, most), strict=True):
        expect_equal(name, our, expected)
    _PEERS_SCANS[answers.peer](printed(answers.theirs), tables)


def seqtk_counts(text, tables):
    """seqtk fqchk: bases at each position, and their shares to a tenth of a percent."""
    rows = [line.split("\t") for line in text.splitlines() if line[:1].isdigit()]
    expect_equal("positions", len(rows), max(tables.lengths))
    for position, row in enumerate(rows):
        counts = tables.bases[position]
        total = sum(counts.values())
        expect_equal(f"bases at {position + 1}", total, int(row[1]))
        for letter, share in zip(b"ACGT", row[2:6]):
            if abs(100 * counts.get(letter, 0) / total - float(share)) > 0.051:
                expect_equal(f"{chr(letter)} at {position + 1}", counts.get(letter, 0), share)


def samtools_stats(text, tables):
    """samtools stats: reads and bases, all in all."""
    found = dict(line.split("\t")[1:3] for line in text.splitlines() if line.startswith("SN\t"))
    expect_equal("reads", tables.reads, int(found["sequences:"]))
    bases = sum(length * count for length, count in tables.lengths.items())
    expect_equal("bases", bases, int(found["total length:"]))


_PEERS_SCANS = {"seqtk": seqtk_counts, "samtools": samtools_stats}
