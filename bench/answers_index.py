"""Compares BAI files: through samtools, and by the bins and chunks that they hold.

The linear index is not compared: docs/behaviour.md tells why ours differs. A query of samtools
joins chunks that lie near each other, so it can find records whose chunk is missing; that is why
chunks are looked at, too.
"""

import struct

from answers import Mismatch, expect_equal, result, samtools_text, text_lines
from answers_values import last_position

# The bin that holds counts instead of records.
_COUNTS = 37450


def read_bai(data):
    """For each reference of a BAI file: its chunks (begin, end) by bin."""
    magic, references = struct.unpack_from("<4si", data)
    expect_equal("magic", magic, b"BAI\1")
    at, found = 8, []
    for _ in range(references):
        (count,) = struct.unpack_from("<i", data, at)
        at += 4
        bins = {}
        for _ in range(count):
            number, chunks = struct.unpack_from("<Ii", data, at)
            at += 8
            bins[number] = [struct.unpack_from("<QQ", data, at + 16 * i) for i in range(chunks)]
            at += 16 * chunks
        (windows,) = struct.unpack_from("<i", data, at)
        at += 4 + 8 * windows
        found.append(bins)
    return found


def bin_of(begin, end):
    """The smallest bin that a 0-based, half-open region fits into."""
    last = end - 1
    for shift, first in ((14, 4681), (17, 585), (20, 73), (23, 9), (26, 1)):
        if begin >> shift == last >> shift:
            return first + (begin >> shift)
    return 0


def bins_of(lines):
    """The bins of record lines, by reference name in the order in which they come."""
    found = {}
    for line in lines:
        fields = line.split(b"\t", 6)
        start = int(fields[3])
        found.setdefault(fields[2], set()).add(
            bin_of(start - 1, last_position(start, fields[5])))
    return found


def joined(bins):
    """The first and last offset of a reference's chunks, between which there must be no gap."""
    chunks = sorted(chunk for number, some in bins.items() if number != _COUNTS for chunk in some)
    first, last = chunks[0]
    for begin, end in chunks:
        # The end of a block and the begin of the next one are the same place.
        if begin > last and begin & 0xFFFF:
            raise Mismatch(f"no chunk between the offsets {last} and {begin}")
        last = max(last, end)
    return first, last


def with_parents(number):
    """A bin and those that hold it, up to the one of the whole reference."""
    while number > 0:
        yield number
        number = (number - 1) >> 3
    yield 0


def expect_bins(found, wanted):
    """A record's bin is there or has become part of one that holds it; no other bins are there."""
    parents = {number for bin_ in wanted for number in with_parents(bin_)}
    expect_equal("bins without records", sorted(found - parents), [])
    lost = [bin_ for bin_ in wanted if found.isdisjoint(with_parents(bin_))]
    expect_equal("bins that are missing", sorted(lost), [])


def expect_complete(ours, theirs, wanted):
    """Every reference has the bins of its records, and chunks from its first to its last one."""
    expect_equal("references", len(ours), len(theirs))
    for name, our, their in zip(wanted, ours, theirs):
        expect_bins(set(our) - {_COUNTS}, wanted[name])
        (first, last), (their_first, their_last) = joined(our), joined(their)
        if first > their_first or last < their_last:
            raise Mismatch(f"{name.decode()}: chunks from {first} to {last} here, "
                           f"from {their_first} to {their_last} there")


def index(answers):
    """Indexes: the same counts, and the records of every reference."""
    bam = answers.inputs / "m.bam"
    ours, theirs = result(answers.ours, "bai"), result(answers.theirs, "bai")
    counts = samtools_text("idxstats", f"{bam}##idx##{theirs}")
    expect_equal("idxstats", samtools_text("idxstats", f"{bam}##idx##{ours}"), counts)
    for line in counts.splitlines():
        name, _, mapped, unmapped = line.split("\t")
        if name != "*":
            found = int(samtools_text("view", "-c", "-X", bam, ours, name))
            expect_equal(f"records of {name}", found, int(mapped) + int(unmapped))
    expect_complete(read_bai(ours.read_bytes()), read_bai(theirs.read_bytes()),
                    bins_of(text_lines(answers.inputs / "m.sam")))
