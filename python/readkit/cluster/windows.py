"""Windows of a BAM file: runs of whole records, between two places that its index knows.

A window is a span of virtual offsets, not of positions: each record is in exactly one, and one
behind the other they have the records in file order, however far those reach.
"""

from __future__ import annotations

import os
import struct
import tempfile
from typing import Any, NamedTuple, Sequence

import numpy as np

from readkit.bai import Section
from readkit.bam_file import BamFile
from readkit.blocks import END_OF_FILE, Span, copy
from readkit.cluster.running import distributed
from readkit.indexes import Index


class State(NamedTuple):
    """What tells that a file is still the same."""

    size: int
    changed: int


def state_of(path: str) -> State:
    status = os.stat(path)
    return State(status.st_size, status.st_mtime_ns)


def cut(whole: Span, places: np.ndarray[Any, Any], window: int) -> list[Span]:
    """Spans that make up a whole one, of at least `window` bytes of the file except for the last.

    Args:
        whole: what to cut.
        places: uint64, ascending virtual offsets of records, where cuts may be.
        window: compressed bytes.
    """
    places = places[(places > whole.begin) & (places < whole.end)]
    spans = []
    begin = whole.begin
    while True:
        least = ((begin >> 16) + window) << 16
        place = int(np.searchsorted(places, np.uint64(least)))
        end = int(places[place]) if place < len(places) else whole.end
        spans.append(Span(begin, end))
        if end == whole.end:
            return spans
        begin = end


def places_in(sections: Sequence[Section]) -> np.ndarray[Any, Any]:
    """The virtual offsets of records that sections of an index have, ascending."""
    lists = [section.windows for section in sections]
    lists.append(np.array([section.begin for section in sections], np.uint64))
    places: np.ndarray[Any, Any] = np.unique(np.concatenate(lists))
    return places


# ---- The records of one reference within a span


class PartOfReference(BamFile):
    """A BAM file as if a reference had the records of a span only; other references have none. The
    index that says so is a single chunk."""

    def __init__(self, path: str, reference: int, span: Span, folder: str) -> None:
        super().__init__(path)
        self._only = os.path.join(folder, "span.bai")
        nothing = struct.pack("<2i", 0, 0)
        # One bin that any region may need, with one chunk; no windows that would bound it.
        section = struct.pack("<iIi2Qi", 1, 0, 1, *span, 0)
        count = len(self.references)
        with open(self._only, "wb") as file:
            file.write(b"BAI\1" + struct.pack("<i", count) + nothing * reference + section
                       + nothing * (count - reference - 1))

    def _index(self) -> Index:
        return Index(self._only)

    def _own_index(self) -> Index:
        return self._index()


# ---- A span as a file of its own


def copy_span(path: str, records: int, span: Span, out: str) -> None:
    """Writes a BAM file with the header of another one and the records of a span. Blocks are copied
    as they are, but for those that hold its ends.

    Args:
        path: the BAM file.
        records: the virtual offset behind its header.
        span: of its records; one that goes to the end of the file takes along how that ends.
        out: the file to write.

    Raises:
        ValueError: damaged blocks. OSError.
    """
    with open(path, "rb") as file, open(out, "wb") as output:
        size = os.fstat(file.fileno()).st_size
        copy(file, Span(0, records), output)
        copy(file, span, output)
        if span.end < size << 16:
            output.write(END_OF_FILE)


def working_folder() -> tempfile.TemporaryDirectory[str]:
    """A folder for files of this process, where Dask removes what dead workers have left."""
    try:
        place: str | None = distributed().get_worker().local_directory
    except (ImportError, ValueError):
        place = None
    return tempfile.TemporaryDirectory(prefix="readkit-", dir=place)
