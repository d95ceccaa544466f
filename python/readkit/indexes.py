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
from typing import Any, BinaryIO

import numpy as np

_PSEUDO_BIN = 37450
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
        if os.stat(path).st_mtime_ns < os.stat(bam).st_mtime_ns or os.path.getsize(bam) < SMALL:
            return None
        with open(path, "rb") as file:
            found = _Content(file.read(), references)
        with open(bam, "rb") as file:
            return Index(path, found.counts, found.windows) if found.agrees_with(file) else None
    except (OSError, struct.error, ValueError, zlib.error):
        return None


class _Content:
    """What an index file says. Raises ValueError and struct.error when it cannot be relied on."""

    def __init__(self, data: bytes, references: int) -> None:
        magic, n_ref = struct.unpack_from("<4si", data)
        if magic != b"BAI\x01" or n_ref != references:
            raise ValueError("an index of another kind, or of another file")
        self.counts: list[int] = []
        self.windows: dict[int, np.ndarray[Any, Any]] = {}
        # Reference, bin, and the offset of a record in it.
        self.places: list[tuple[int, int, int]] = []
        # Offsets, between which are unmapped records only.
        self.stretches: list[tuple[int, int]] = []
        at = 8
        for reference in range(n_ref):
            at = self._read(data, at, reference)

    def _read(self, data: bytes, at: int, reference: int) -> int:
        facts = None
        (n_bin,) = struct.unpack_from("<i", data, at)
        at += 4
        for _ in range(n_bin):
            number, n_chunk = struct.unpack_from("<Ii", data, at)
            if n_chunk < 0:
                raise ValueError("a negative count")
            if number == _PSEUDO_BIN and n_chunk == 2:
                facts = struct.unpack_from("<4Q", data, at + 8)
            elif n_chunk:
                self.places.append((reference, number, struct.unpack_from("<Q", data, at + 8)[0]))
            at += 8 + 16 * n_chunk
        (n_intv,) = struct.unpack_from("<i", data, at)
        windows = np.frombuffer(data, "<u8", n_intv, at + 4)
        if n_bin != 0 and facts is None:
            raise ValueError("an index without counts")
        begin, _, mapped, unmapped = facts or (0, 0, 0, 0)
        # Each window repeats the one before it, or is greater, from the one of the first mapped
        # record on: a gap would be a bound of nothing.
        used = windows[windows != 0]
        if np.any(windows[1:] < windows[:-1]) or (mapped and len(used) == 0):
            raise ValueError("an index with windows left out")
        if mapped and used[0] != begin:
            self.stretches.append((begin, int(used[0])))
        self.counts.append(mapped + unmapped)
        if len(windows) <= _FEW_WINDOWS:
            self.windows[reference] = np.zeros_like(windows)
        elif unmapped:
            self.windows[reference] = windows
        return at + 4 + 8 * int(n_intv)

    def agrees_with(self, bam: BinaryIO) -> bool:
        """Whether records lie where the index has them."""
        step = max(len(self.places) // _SAMPLES, 1)
        return (all(_is_in_bin(bam, *place) for place in self.places[::step])
                and all(_are_unmapped(bam, *stretch) for stretch in self.stretches))


def _block(bam: BinaryIO, offset: int) -> bytes:
    """What is in the block of a virtual offset; nothing where there is none."""
    bam.seek(offset >> 16)
    block = bam.read(1 << 16)
    # The only extra field that these blocks have says how long they are.
    if block[:4] != b"\x1f\x8b\x08\x04" or block[10:16] != b"\x06\x00BC\x02\x00":
        return b""
    size = struct.unpack_from("<H", block, 16)[0] + 1
    return zlib.decompress(block[18:size - 8], -15)


def _is_in_bin(bam: BinaryIO, reference: int, number: int, offset: int) -> bool:
    data = _block(bam, offset)
    inside = offset & 0xFFFF
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
