"""What an index says of where records lie in a file, for cutting it into windows."""

from __future__ import annotations

import os
import struct
from typing import Any, NamedTuple

import numpy as np

_PSEUDO_BIN = 37450


class Section(NamedTuple):
    """What an index says of a reference.

    Attributes:
        records: how many there are.
        begin, end: the virtual offsets where the first one begins and the last one ends; 0 where
            there is none.
        windows: uint64, for each 16,384 bases the virtual offset of the first record that reaches
            into them; those without such a record repeat the one before, or are 0.
    """

    records: int
    begin: int
    end: int
    windows: np.ndarray[Any, Any]


class Sections(NamedTuple):
    """The references of an index, and its records without one, if it counts them."""

    sections: list[Section]
    unplaced: int | None


def read_sections(path: str, references: int) -> Sections | None:
    """The index at `path`; None for one that is damaged, of another number of references, without
    counts, or with windows left out."""
    try:
        with open(path, "rb") as file:
            data = file.read()
        return _sections(data, references)
    except (OSError, struct.error, ValueError):
        return None


def _sections(data: bytes, references: int) -> Sections | None:
    magic, n_ref = struct.unpack_from("<4si", data)
    if magic != b"BAI\x01" or n_ref != references:
        return None
    at = 8
    sections = []
    for _ in range(n_ref):
        records, begin, end = None, 0, 0
        (n_bin,) = struct.unpack_from("<i", data, at)
        at += 4
        for _ in range(n_bin):
            number, n_chunk = struct.unpack_from("<Ii", data, at)
            if number == _PSEUDO_BIN and n_chunk == 2:
                begin, end, mapped, unmapped = struct.unpack_from("<4Q", data, at + 8)
                records = mapped + unmapped
            at += 8 + 16 * n_chunk
        (n_intv,) = struct.unpack_from("<i", data, at)
        windows = np.frombuffer(data, "<u8", n_intv, at + 4)
        at += 4 + 8 * n_intv
        # Each window repeats the one before it, or is greater: a gap would be a bound of nothing.
        if n_intv > 1 and bool(np.any(windows[1:] < windows[:-1])):
            return None
        if n_bin != 0 and records is None:
            return None
        sections.append(Section(records or 0, begin, end, windows))
    unplaced = struct.unpack_from("<Q", data, at)[0] if len(data) >= at + 8 else None
    return Sections(sections, unplaced)


def is_fresh(index: str, bam: str) -> bool:
    """Whether there is an index that is no older than its file."""
    try:
        return os.stat(index).st_mtime_ns >= os.stat(bam).st_mtime_ns
    except OSError:
        return False
