"""Which index of a BAM file can be relied on.

Queries through an index of ``bamIndex`` may miss records, and ``getFeatures`` then gives fields of
other ones. A file object uses an index that it finds only when it looks complete, and compares what
comes of it with what the index counts; otherwise it makes a complete one for itself.
"""

from __future__ import annotations

import os
import struct

import numpy as np

_PSEUDO_BIN = 37450


def counts_of(path: str, references: int) -> list[int] | None:
    """The records of each reference as the index at `path` counts them; None for an index that is
    damaged, of another number of references, without counts, or with windows left out."""
    try:
        with open(path, "rb") as file:
            data = file.read()
        return _counts(data, references)
    except (OSError, struct.error, ValueError):
        return None


def _counts(data: bytes, references: int) -> list[int] | None:
    magic, n_ref = struct.unpack_from("<4si", data)
    if magic != b"BAI\x01" or n_ref != references:
        return None
    at = 8
    counts = []
    for _ in range(n_ref):
        count = None
        (n_bin,) = struct.unpack_from("<i", data, at)
        at += 4
        for _ in range(n_bin):
            number, n_chunk = struct.unpack_from("<Ii", data, at)
            if number == _PSEUDO_BIN and n_chunk == 2:
                mapped, unmapped = struct.unpack_from("<QQ", data, at + 24)
                count = mapped + unmapped
            at += 8 + 16 * n_chunk
        (n_intv,) = struct.unpack_from("<i", data, at)
        windows = np.frombuffer(data, "<u8", n_intv, at + 4)
        at += 4 + 8 * n_intv
        # Each window repeats the one before it, or is greater: a gap would be a bound of nothing.
        if n_intv > 1 and bool(np.any(windows[1:] < windows[:-1])):
            return None
        if n_bin != 0 and count is None:
            return None
        counts.append(count or 0)
    return counts


def is_fresh(index: str, bam: str) -> bool:
    """Whether there is an index that is no older than its file."""
    try:
        return os.stat(index).st_mtime_ns >= os.stat(bam).st_mtime_ns
    except OSError:
        return False
