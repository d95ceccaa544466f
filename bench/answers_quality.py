"""Compares the tables of a quality scan with those counted here, and with peers' own counts."""

import json
import re

from answers import expect_equal, outputs
from answers_values import printed

# A whole file is looked at in parts of so many reads, so that memory stays small.
_PART = 100_000


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
    _PEERS_SCANS[answers.peer](answers.theirs, tables)


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


def fastqc_data(folder, tables):
    """FastQC: reads, all in all."""
    (file,) = folder.glob("*_fastqc/fastqc_data.txt")
    text = file.read_text()
    expect_equal("reads", tables.reads, int(re.search(r"Total Sequences\t(\d+)", text).group(1)))


def fastp_counts(folder, tables):
    """fastp: reads and bases before it filters, which it is told not to do."""
    found = json.loads((folder / "result.json").read_text())["summary"]["before_filtering"]
    expect_equal("reads", tables.reads, found["total_reads"])
    bases = sum(length * count for length, count in tables.lengths.items())
    expect_equal("bases", bases, found["total_bases"])


_PEERS_SCANS = {
    "seqtk": lambda folder, tables: seqtk_counts(printed(folder), tables),
    "samtools": lambda folder, tables: samtools_stats(printed(folder), tables),
    "fastqc": fastqc_data, "fastp": fastp_counts}
