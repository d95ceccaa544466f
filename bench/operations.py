"""The table of operations: what readkit does, what its peers do, and the ratio to reach.

Commands run in the folder of inputs; "{out}" in them is the side's own folder for what it writes.
A file that a side writes is called result there, as far as its program lets it; what it prints is
always kept. The first peer of a row is the one whose time counts.
"""

import json
from dataclasses import dataclass
from typing import Callable

import answers_index as index
import answers_records as records
import answers_values as values

ALL = {"class": "uint32", "dims": [0, 0], "data": []}
# Every reference has records.
LEAST_RECORDS = 1000
TAB = "$(printf '\\t')"


@dataclass(frozen=True)
class Command:
    """A program, and the words that call it; `words` has the program's name, too."""

    program: str
    words: tuple


@dataclass(frozen=True)
class Operation:
    """One row. `check` raises Mismatch; `once` is run before it and prints into the file "all"."""

    name: str
    title: str
    ours: Command
    peers: tuple
    check: Callable
    reach: float
    needs: tuple
    once: Command | None = None


def call(function, *arguments, nlhs=0, flavour="fast"):
    """Our own command."""
    words = ["readkit", "call", function, "--library", flavour]
    if nlhs:
        words += ["--nlhs", str(nlhs)]
    return Command("readkit", (*words, "--args", json.dumps(arguments)))


def peer(*words, program=None):
    """A peer's command; `program` is what counts where a shell runs it."""
    return Command(program or words[0], words)


def shell(program, line):
    """A peer's command that needs a pipe."""
    return peer("sh", "-c", line, program=program)


def scan(kind, file):
    """All six tables of a quality scan, of qualities from 0 to 60, of all reads."""
    return call("scanQualities", kind, file, 0, 60, 33, -1, -1, 0, -1, [], -1, 0, -1, True, nlhs=6)


def convert(source, kind, to):
    """A conversion of all records."""
    return call("convertFormat", source, kind, f"{{out}}/result.{to}", to, ALL)


OPERATIONS = (
    Operation(
        "bamInfo", "bamInfo, 2 outputs", call("bamInfo", "m.bam", nlhs=2),
        (peer("samtools", "view", "-c", "m.bam"),
         peer("sambamba", "view", "-c", "-t", "1", "m.bam"),
         peer("bamtools", "count", "-in", "m.bam")),
        values.info, 0.90, ("m.bam", "m.bam.bai")),
    Operation(
        "bamIndex", "bamIndex", call("bamIndex", "m.bam", "{out}/result.bai"),
        (peer("samtools", "index", "m.bam", "{out}/result.bai"),
         peer("sambamba", "index", "-q", "-t", "1", "m.bam", "{out}/result.bai")),
        index.index, 0.85, ("m.bam", "m.sam")),
    Operation(
        "bamSort", "bamSort", call("bamSort", "u.bam", "{out}/result"),
        (peer("samtools", "sort", "-o", "{out}/result.bam", "u.bam"),
         peer("bamtools", "sort", "-in", "u.bam", "-out", "{out}/result.bam"),
         peer("bamsort", "I=u.bam", "O={out}/result.bam", "tmpfile={out}/part", "verbose=0"),
         peer("PicardCommandLine", "SortSam", "-I", "u.bam", "-O", "{out}/result.bam", "-SO",
              "coordinate", "--TMP_DIR", "{out}")),
        records.sorted_bam, 0.60, ("u.bam",)),
    Operation(
        "bamSort-exact", "bamSort, exact flavour",
        call("bamSort", "u.bam", "{out}/result", flavour="exact"),
        (peer("sambamba", "sort", "-q", "-t", "1", "--tmpdir", "{out}", "-o", "{out}/result.bam",
              "u.bam"),),
        records.sorted_bam, 0.90, ("u.bam",)),
    Operation(
        "bamSort-large", "bamSort, large", call("bamSort", "u-large.bam", "{out}/result"),
        (peer("samtools", "sort", "-o", "{out}/result.bam", "u-large.bam"),),
        records.sorted_bam, 0.75, ("u-large.bam",)),
    Operation(
        "samSort", "samSort", call("samSort", "u.sam", "{out}/result"),
        (peer("samtools", "sort", "-O", "sam", "-o", "{out}/result.sam", "u.sam"),
         shell("sort", "grep '^@' u.sam >{out}/result.sam; grep -v '^@' u.sam | "
               f'LC_ALL=C sort -s -t "{TAB}" -k 3,3 -k 4,4n >>{{out}}/result.sam')),
        records.sorted_sam, 0.50, ("u.sam",)),
    Operation(
        "samInfo", "samInfo, 3 outputs", call("samInfo", "m.sam", nlhs=3),
        (peer("samtools", "idxstats", "m.sam"),),
        values.sam_info, 0.35, ("m.sam",)),
    Operation(
        "bam-to-sam", "BAM to SAM", convert("m.bam", "bam", "sam"),
        (peer("samtools", "view", "-h", "-o", "{out}/result.sam", "m.bam"),
         peer("sambamba", "view", "-h", "-t", "1", "-o", "{out}/result.sam", "m.bam"),
         peer("bamtools", "convert", "-format", "sam", "-in", "m.bam", "-out", "{out}/result.sam")),
        records.same_sam, 0.60, ("m.bam",)),
    Operation(
        "sam-to-bam", "SAM to BAM", call("samToBam", "m.sam", "{out}/result.bam"),
        (peer("samtools", "view", "-b", "-o", "{out}/result.bam", "m.sam"),
         peer("sambamba", "view", "-S", "-f", "bam", "-t", "1", "-o", "{out}/result.bam", "m.sam")),
        records.bam_of_sam, 0.60, ("m.sam",)),
    Operation(
        "bam-to-bam", "BAM to BAM", convert("m.bam", "bam", "bam"),
        (peer("samtools", "view", "-b", "-o", "{out}/result.bam", "m.bam"),
         peer("sambamba", "view", "-f", "bam", "-t", "1", "-o", "{out}/result.bam", "m.bam")),
        records.same_bam, 0.60, ("m.bam",)),
    Operation(
        "bam-to-fastq", "BAM to FASTQ", convert("m.bam", "bam", "fastq"),
        (peer("samtools", "fastq", "-n", "m.bam"),),
        records.fastq, 0.55, ("m.bam", "m.sam")),
    Operation(
        "bam-to-fasta", "BAM to FASTA", convert("m.bam", "bam", "fasta"),
        (peer("samtools", "fasta", "-n", "m.bam"),),
        records.fasta, 0.60, ("m.bam", "m.sam")),
    Operation(
        "sam-to-fastq", "SAM to FASTQ", convert("m.sam", "sam", "fastq"),
        (peer("mawk", "-F", "\t", '!/^@/ {print "@" $1 "\\n" $10 "\\n+\\n" $11}', "m.sam"),
         peer("samtools", "fastq", "-n", "m.sam")),
        records.fastq, 0.45, ("m.sam",)),
    Operation(
        "features", "getFeatureCountData",
        call("getFeatureCountData", "m.bam", 0, False, False, 0),
        (peer("samtools", "view", "-c", "m.bam"),),
        values.features, 1.3, ("m.bam", "m.sam"),
        once=call("getFeatureCountData", "m.bam", 0, False, False, 0, nlhs=9)),
    Operation(
        "starts", "starts, ends, flags of a reference",
        call("getStartsInReference", "m.bam", "m.bam.bai", 2, nlhs=3),
        (peer("samtools", "view", "-c", "m.bam", "chr3"),),
        values.reference, 1.0, ("m.bam", "m.bam.bai", "m.sam")),
    Operation(
        "scan-fastq", "quality scan, FASTQ", scan(1, "m.fastq"),
        (peer("seqtk", "fqchk", "-q0", "m.fastq"),),
        values.scan, 0.45, ("m.fastq",)),
    Operation(
        "scan-bam", "quality scan, BAM", scan(3, "m.bam"),
        (peer("samtools", "stats", "m.bam"),),
        values.scan, 0.40, ("m.bam", "m.fastq")),
)

# Rows to come: the ratio to reach, and the peer.
NOT_BUILT = (
    ("kxBamIndexComplete", "samtools", 0.90),
    ("names, flags, positions, sequences, qualities of a reference, in Python", "pysam", 0.25),
    ("1,000 random regions of 10 kb", "samtools", 0.60),
    ("kxCheck, BAM", "samtools", 1.4),
)


def chosen(names):
    """The operations of these names, all without any."""
    unknown = set(names) - {operation.name for operation in OPERATIONS}
    if unknown:
        raise ValueError(f"no such operation: {', '.join(sorted(unknown))}; there are "
                         + ", ".join(operation.name for operation in OPERATIONS))
    return [operation for operation in OPERATIONS if not names or operation.name in names]
