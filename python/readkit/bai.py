"""What an index file says of where the records of a BAM file lie."""

from __future__ import annotations

import os
import struct
from typing import Any, NamedTuple

import numpy as np

_PSEUDO_BIN = 37450


class Section(NamedTuple):
    """What an index says of a reference.

    Attributes:
        mapped, unmapped: how many records there are.
        begin, end: the virtual offsets where the first one begins and the last one ends; 0 where
            there is none.
        bins: number, and the virtual offset of the first record, of each bin.
        windows: uint64, for each 16,384 bases the virtual offset of the first mapped record that
            reaches into them; those without such a record repeat the one before, or are 0.
    """

    mapped: int
    unmapped: int
    begin: int
    end: int
    bins: list[tuple[int, int]]
    windows: np.ndarray[Any, Any]

    @property
    def records(self) -> int:
        """All records, as the index counts them."""
        return self.mapped + self.unmapped


class Sections(NamedTuple):
    """The references of an index, and its records without one, if it counts them."""

    references: list[Section]
    unplaced: int | None


def read_sections(path: str, references: int) -> Sections | None:
    """The index at `path`; None for one that cannot be read, is damaged, of another number of
    references, without counts, or with windows left out."""
    try:
        with open(path, "rb") as file:
            data = file.read()
        magic, n_ref = struct.unpack_from("<4si", data)
        if magic != b"BAI\x01" or n_ref != references:
            return None
        at = 8
        sections = []
        for _ in range(n_ref):
            section, at = _section(data, at)
            sections.append(section)
    except (OSError, struct.error, ValueError):
        return None
    return Sections(sections,
                    struct.unpack_from("<Q", data, at)[0] if len(data) >= at + 8 else None)


def _section(data: bytes, at: int) -> tuple[Section, int]:
    """The section at a place in the file, and the next one's place."""
    facts = None
    bins = []
    (n_bin,) = struct.unpack_from("<i", data, at)
    at += 4
    for _ in range(n_bin):
        number, n_chunk = struct.unpack_from("<Ii", data, at)
        if n_chunk < 0:
            raise ValueError("a negative count")
        if number == _PSEUDO_BIN and n_chunk == 2:
            facts = struct.unpack_from("<4Q", data, at + 8)
        elif n_chunk:
            bins.append((number, struct.unpack_from("<Q", data, at + 8)[0]))
        at += 8 + 16 * n_chunk
    (n_intv,) = struct.unpack_from("<i", data, at)
    windows = np.frombuffer(data, "<u8", n_intv, at + 4)
    if n_bin != 0 and facts is None:
        raise ValueError("an index without counts")
    begin, end, mapped, unmapped = facts or (0, 0, 0, 0)
    # Each window repeats the one before it, or is greater, from the one of the first mapped record
    # on: a gap would be a bound of nothing.
    if np.any(windows[1:] < windows[:-1]) or (mapped and not windows.any()):
        raise ValueError("an index with windows left out")
    return Section(mapped, unmapped, begin, end, bins, windows), at + 4 + 8 * int(n_intv)


def is_fresh(index: str, bam: str) -> bool:
    """Whether there is an index that is no older than its file."""
    try:
        return os.stat(index).st_mtime_ns >= os.stat(bam).st_mtime_ns
    except OSError:
        return False
