"""The table of operations: what readkit does, what its peers do, and the ratio to reach.

A file that a side writes is called result in its folder, as far as its program lets it; what it
prints is always kept. The first peer of a row is the one whose time counts.
"""

from dataclasses import dataclass
from typing import Callable

import answers_check as check
import answers_index as index
import answers_quality as quality
import answers_records as records
import answers_values as values
from commands import Command, call, convert, peer, picard, pysam, scan, shell
from memory import CONVERSION, FASTQ_SCAN, SORT

# Every reference has records.
LEAST_RECORDS = 1000
TAB = "$(printf '\\t')"
# FastQC counts into the folder of this name, fastp into a file.
FASTQC = ("fastqc", "--quiet", "--extract", "--threads", "1", "--outdir", "{out}")


@dataclass(frozen=True)
class Operation:
    """One row. `check` raises Mismatch.

    `once` is run before it and prints into the file "all". `prepare` are commands of which the
    first whose function the library has is run before everything else. A row whose `function` the
    library lacks is not built. `memory` says how its peak is judged (memory.py), and `holds` what
    else may be in it: inputs whose size counts.
    """

    name: str
    title: str
    ours: Command
    peers: tuple
    check: Callable
    reach: float
    needs: tuple
    once: Command | None = None
    memory: str | None = CONVERSION
    holds: tuple = ()
    function: str | None = None
    prepare: tuple = ()


def regions(*how):
    """The records of all regions."""
    return Command("readkit", ("many_calls", "{library}", "m.bam", "ours", "regions.bed",
                               "{out}/result.sam", *how))


REGION_PEERS = (
    peer("samtools", "view", "-M", "-L", "regions.bed", "-o", "{out}/result.sam", "m.bam"),
    peer("sambamba", "view", "-t", "1", "-L", "regions.bed", "-o", "{out}/result.sam", "m.bam"),
    pysam("regions", "m.bam", "regions.bed", "{out}/result.sam"))
REGION_FILES = ("m.bam", "m.bam.bai", "regions.bed")
REGION_INDEX = (call("kxBamIndexComplete", "m.bam", "ours.bai"),
                call("bamIndex", "m.bam", "ours.bai"))

OPERATIONS = (
    Operation(
        "bamInfo", "bamInfo, 2 outputs", call("bamInfo", "m.bam", nlhs=2),
        (peer("samtools", "view", "-c", "m.bam"),
         peer("sambamba", "view", "-c", "-t", "1", "m.bam"),
         peer("bamtools", "count", "-in", "m.bam"),
         pysam("count", "m.bam")),
        values.info, 0.90, ("m.bam", "m.bam.bai")),
    Operation(
        "bamIndex", "bamIndex", call("bamIndex", "m.bam", "{out}/result.bai"),
        (peer("samtools", "index", "m.bam", "{out}/result.bai"),
         shell("bamtools", "ln -s ../../m.bam {out}/result && cd {out} && "
               "bamtools index -in result"),
         peer("sambamba", "index", "-q", "-t", "1", "m.bam", "{out}/result.bai"),
         picard("BuildBamIndex", "m.bam", "{out}/result.bai")),
        index.index, 0.85, ("m.bam", "m.sam", "m.bam.bai"), holds=("m.bam.bai",)),
    Operation(
        "kxBamIndexComplete", "kxBamIndexComplete",
        call("kxBamIndexComplete", "m.bam", "{out}/result.bai"),
        (peer("samtools", "index", "m.bam", "{out}/result.bai"),),
        index.index, 0.90, ("m.bam", "m.sam", "m.bam.bai"), holds=("m.bam.bai",),
        function="kxBamIndexComplete"),
    Operation(
        "bamSort", "bamSort", call("bamSort", "u.bam", "{out}/result"),
        (peer("samtools", "sort", "-o", "{out}/result.bam", "u.bam"),
         peer("sambamba", "sort", "-q", "-t", "1", "--tmpdir", "{out}", "-o", "{out}/result.bam",
              "u.bam"),
         peer("bamtools", "sort", "-in", "u.bam", "-out", "{out}/result.bam"),
         peer("bamsort", "I=u.bam", "O={out}/result.bam", "tmpfile={out}/part", "verbose=0"),
         picard("SortSam", "u.bam", "{out}/result.bam", "-SO", "coordinate", "--TMP_DIR", "{out}")),
        records.sorted_bam, 0.60, ("u.bam",), memory=SORT),
    Operation(
        "bamSort-exact", "bamSort, exact flavour",
        call("bamSort", "u.bam", "{out}/result", flavour="exact"),
        (peer("sambamba", "sort", "-q", "-t", "1", "--tmpdir", "{out}", "-o", "{out}/result.bam",
              "u.bam"),
         peer("samtools", "sort", "-o", "{out}/result.bam", "u.bam")),
        records.sorted_bam, 0.90, ("u.bam",), memory=None),
    Operation(
        "bamSort-large", "bamSort, large", call("bamSort", "u-large.bam", "{out}/result"),
        (peer("samtools", "sort", "-o", "{out}/result.bam", "u-large.bam"),
         peer("bamsort", "I=u-large.bam", "O={out}/result.bam", "tmpfile={out}/part", "verbose=0"),
         picard("SortSam", "u-large.bam", "{out}/result.bam", "-SO", "coordinate", "--TMP_DIR",
                "{out}"),
         peer("sambamba", "sort", "-q", "-t", "1", "--tmpdir", "{out}", "-o", "{out}/result.bam",
              "u-large.bam")),
        records.sorted_bam, 0.75, ("u-large.bam",), memory=SORT),
    Operation(
        "samSort", "samSort", call("samSort", "u.sam", "{out}/result"),
        (peer("samtools", "sort", "-O", "sam", "-o", "{out}/result.sam", "u.sam"),
         shell("sort", "grep '^@' u.sam >{out}/result.sam; grep -v '^@' u.sam | "
               f'LC_ALL=C sort -s -t "{TAB}" -k 3,3 -k 4,4n >>{{out}}/result.sam'),
         picard("SortSam", "u.sam", "{out}/result.sam", "-SO", "coordinate", "--TMP_DIR", "{out}")),
        records.sorted_sam, 0.50, ("u.sam",), memory=SORT),
    Operation(
        "samInfo", "samInfo, 3 outputs", call("samInfo", "m.sam", nlhs=3),
        (peer("samtools", "idxstats", "m.sam"),
         shell("cut", "grep -v '^@' m.sam | cut -f 3 | uniq -c")),
        values.sam_info, 0.35, ("m.sam",)),
    Operation(
        "bam-to-sam", "BAM to SAM", convert("m.bam", "bam", "sam"),
        (peer("samtools", "view", "-h", "-o", "{out}/result.sam", "m.bam"),
         peer("sambamba", "view", "-h", "-t", "1", "-o", "{out}/result.sam", "m.bam"),
         peer("bamtools", "convert", "-format", "sam", "-in", "m.bam", "-out", "{out}/result.sam"),
         picard("SamFormatConverter", "m.bam", "{out}/result.sam")),
        records.same_sam, 0.60, ("m.bam",)),
    Operation(
        "sam-to-bam", "SAM to BAM", call("samToBam", "m.sam", "{out}/result.bam"),
        (peer("samtools", "view", "-b", "-o", "{out}/result.bam", "m.sam"),
         peer("sambamba", "view", "-S", "-f", "bam", "-t", "1", "-o", "{out}/result.bam", "m.sam"),
         picard("SamFormatConverter", "m.sam", "{out}/result.bam")),
        records.bam_of_sam, 0.60, ("m.sam",)),
    Operation(
        "bam-to-bam", "BAM to BAM", convert("m.bam", "bam", "bam"),
        (peer("samtools", "view", "-b", "-o", "{out}/result.bam", "m.bam"),
         shell("bamrecompress", "bamrecompress numthreads=1 verbose=0 <m.bam >{out}/result.bam"),
         peer("sambamba", "view", "-f", "bam", "-t", "1", "-o", "{out}/result.bam", "m.bam"),
         peer("bamtools", "filter", "-in", "m.bam", "-out", "{out}/result.bam")),
        records.same_bam, 0.60, ("m.bam",)),
    Operation(
        "bam-to-fastq", "BAM to FASTQ", convert("m.bam", "bam", "fastq"),
        (peer("samtools", "fastq", "-n", "m.bam"),
         peer("bamtofastq", "filename=m.bam", "collate=0"),
         peer("bamtools", "convert", "-format", "fastq", "-in", "m.bam")),
        records.fastq, 0.55, ("m.bam", "m.sam")),
    Operation(
        "bam-to-fasta", "BAM to FASTA", convert("m.bam", "bam", "fasta"),
        (peer("samtools", "fasta", "-n", "m.bam"),
         peer("bamtofastq", "filename=m.bam", "collate=0", "fasta=1")),
        records.fasta, 0.60, ("m.bam", "m.sam")),
    Operation(
        "sam-to-fastq", "SAM to FASTQ", convert("m.sam", "sam", "fastq"),
        (peer("mawk", "-F", "\t", '!/^@/ {print "@" $1 "\\n" $10 "\\n+\\n" $11}', "m.sam"),
         peer("samtools", "fastq", "-n", "m.sam")),
        records.fastq, 0.45, ("m.sam",)),
    Operation(
        "features", "getFeatureCountData, 9 outputs, not printed",
        call("getFeatureCountData", "m.bam", 0, False, False, 0, nlhs=9, quiet=True),
        (peer("samtools", "view", "-c", "m.bam"),
         pysam("tuples", "m.bam")),
        values.features, 1.3, ("m.bam", "m.sam"), memory=None,
        once=call("getFeatureCountData", "m.bam", 0, False, False, 0, nlhs=9)),
    Operation(
        "starts", "starts, ends, flags of a reference, printed",
        call("getStartsInReference", "m.bam", "m.bam.bai", 2, nlhs=3),
        (peer("samtools", "view", "-c", "m.bam", "chr3"),
         pysam("reference", "m.bam", "chr3")),
        values.reference, 1.0, ("m.bam", "m.bam.bai", "m.sam"), memory=None),
    Operation(
        "regions", "1,000 random regions of 10 kb, in one call", regions("together"), REGION_PEERS,
        records.same_sam, 0.50, REGION_FILES, holds=("m.bam.bai",), prepare=REGION_INDEX,
        function="kxSamWriteRegions"),
    Operation(
        "region-calls", "1,000 random regions of 10 kb, one by one", regions(), REGION_PEERS,
        records.same_sam, 0.60, REGION_FILES, holds=("m.bam.bai",), prepare=REGION_INDEX),
    Operation(
        "scan-fastq", "quality scan, FASTQ", scan(1, "m.fastq"),
        (peer("seqtk", "fqchk", "-q0", "m.fastq"),
         peer("fastp", "-i", "m.fastq", "-w", "1", "-A", "-G", "-Q", "-L", "-j",
              "{out}/result.json", "-h", "{out}/result.html"),
         peer(*FASTQC, "m.fastq")),
        quality.scan, 0.45, ("m.fastq",), memory=FASTQ_SCAN),
    Operation(
        "scan-bam", "quality scan, BAM", scan(3, "m.bam"),
        (peer("samtools", "stats", "m.bam"),
         peer(*FASTQC, "m.bam")),
        quality.scan, 0.40, ("m.bam", "m.fastq")),
    Operation(
        "kxCheck", "kxCheck, BAM", call("kxCheck", "m.bam"),
        (peer("samtools", "view", "-c", "m.bam"),),
        check.sound, 1.4, ("m.bam",), function="kxCheck"),
)

def chosen(names, others=()):
    """The operations of these names, all without any. Of a wrong one `others` are told."""
    unknown = set(names) - {operation.name for operation in OPERATIONS}
    if unknown:
        raise ValueError(f"no such operation: {', '.join(sorted(unknown))}; there are "
                         + ", ".join([*(operation.name for operation in OPERATIONS), *others]))
    return [operation for operation in OPERATIONS if not names or operation.name in names]
