"""Which index of a BAM file can be relied on.

Queries through an index of ``bamIndex`` may miss records. A file object uses an index that it finds
beside a file only when that is complete and belongs to the file, as far as a look at both can tell;
otherwise it makes a complete one for itself.
"""

from __future__ import annotations

import os
import struct
import zlib
from dataclasses import dataclass, field
from typing import Any, BinaryIO, Iterator

import numpy as np

from readkit.bai import Section, is_fresh, read_sections

_WINDOW_SHIFT = 14
# The index of ``bamIndex`` has no gaps in so few windows, and offsets that may be too great.
_FEW_WINDOWS = 3
# Places at which an index is compared with the file.
_SAMPLES = 16
#: Files of fewer bytes are read instead: their own index takes no longer than a look.
SMALL = 1 << 20


@dataclass(frozen=True)
class Index:
    """An index to use.

    Attributes:
        path: the BAI file.
        counts: the records of each reference, as it counts them; None where they are not needed.
    """

    path: str
    counts: list[int] | None = None
    # Of references of which an offset may not be the least of its window.
    _windows: dict[int, np.ndarray[Any, Any]] = field(default_factory=dict)

    def first_to_read(self, reference: int, first: int) -> int:
        """The position, 1-based, from which a query finds all that overlaps `first` or lies behind.

        Unmapped records may lie before the offset of their window; but none lies before that of an
        earlier window with a smaller one, which is that of a mapped record.
        """
        windows = self._windows.get(reference)
        window = (first - 1) >> _WINDOW_SHIFT
        if windows is None or window >= len(windows):
            # Behind the last window, no offset is looked up.
            return first
        same = int(np.searchsorted(windows, windows[window], side="left"))
        return max(same - 1, 0) << _WINDOW_SHIFT | 1


def index_beside(bam: str, references: int) -> Index | None:
    """The index beside a BAM file, if it can be relied on: no older than the file, with counts and
    complete windows for as many references, and right about the records at some places of it."""
    path = bam + ".bai"
    try:
        if not is_fresh(path, bam) or os.path.getsize(bam) < SMALL:
            return None
        found = read_sections(path, references)
        if found is None:
            return None
        with open(bam, "rb") as file:
            if not _agree(found.references, file):
                return None
    except (OSError, struct.error, ValueError, zlib.error):
        return None
    return Index(path, [section.records for section in found.references],
                 dict(_doubtful_windows(found.references)))


def _doubtful_windows(sections: list[Section]) -> Iterator[tuple[int, np.ndarray[Any, Any]]]:
    """The references of which an offset may not be the least of its window."""
    for reference, section in enumerate(sections):
        if len(section.windows) <= _FEW_WINDOWS:
            yield reference, np.zeros_like(section.windows)
        elif section.unmapped:
            yield reference, section.windows


def _agree(sections: list[Section], bam: BinaryIO) -> bool:
    """Whether records lie where the index has them."""
    places = [(reference, *place) for reference, section in enumerate(sections)
              for place in section.bins]
    step = max(len(places) // _SAMPLES, 1)
    firsts = [(section.begin, int(section.windows[np.flatnonzero(section.windows)[0]]))
              for section in sections if section.mapped]
    return (all(_is_in_bin(bam, *place) for place in places[::step])
            and all(_are_unmapped(bam, *pair) for pair in firsts if pair[0] != pair[1]))


def _block(bam: BinaryIO, offset: int, most: int = 1 << 16) -> bytes:
    """What is in the block of a virtual offset, the first `most` bytes; nothing where there is
    none."""
    bam.seek(offset >> 16)
    block = bam.read(1 << 16)
    # The only extra field that these blocks have says how long they are.
    if block[:4] != b"\x1f\x8b\x08\x04" or block[10:16] != b"\x06\x00BC\x02\x00":
        return b""
    size = struct.unpack_from("<H", block, 16)[0] + 1
    return zlib.decompressobj(-15).decompress(block[18:size - 8], most)


def _is_in_bin(bam: BinaryIO, reference: int, number: int, offset: int) -> bool:
    inside = offset & 0xFFFF
    data = _block(bam, offset, inside + 12)
    if inside + 12 > len(data):
        # The record's first fields are in the next block.
        return 0 < len(data) and inside <= len(data)
    there, pos = struct.unpack_from("<ii", data, inside + 4)
    bins = [((1 << 3 * level) - 1) // 7 + (pos >> (29 - 3 * level)) for level in range(6)]
    return bool(there == reference and number in bins)


def _are_unmapped(bam: BinaryIO, begin: int, end: int) -> bool:
    """Whether all records between two offsets are unmapped and in one window, so that their chunk
    reaches to the second one; never for offsets of different blocks."""
    if begin >> 16 != end >> 16:
        return False
    data = _block(bam, begin)
    at = begin & 0xFFFF
    windows = set()
    while at < end & 0xFFFF:
        size, pos, flag = struct.unpack_from("<i4xi6xH", data, at)
        windows.add(pos >> _WINDOW_SHIFT)
        if size < 32 or not flag & 4 or len(windows) > 1:
            return False
        at += 4 + size
    return at == end & 0xFFFF
