"""Windows of a BAM file: runs of whole records, between two places that its index knows.

A window is a span of virtual offsets, not of positions: each record is in exactly one, and one
behind the other they have the records in file order, however far those reach.
"""

from __future__ import annotations

import os
import struct
import tempfile
import zlib
from typing import Any, BinaryIO, NamedTuple, Sequence

import numpy as np

from readkit.bam_file import BamFile
from readkit.cluster.running import distributed
from readkit.cluster.sections import Section
from readkit.indexes import Index

_END_OF_FILE = bytes.fromhex("1f8b08040000000000ff0600424302001b0003000000000000000000")
#: Data of a block that fits one without compression.
_STORED = 0xFF00
_PIECE = 1 << 20


class Span(NamedTuple):
    """Virtual offsets: of a record, and behind the last one."""

    begin: int
    end: int


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
        _copy(file, Span(0, records), output)
        _copy(file, span, output)
        if span.end < size << 16:
            output.write(_END_OF_FILE)


def _copy(file: BinaryIO, span: Span, output: BinaryIO) -> None:
    address, inside = divmod(span.begin, 1 << 16)
    last, rest = divmod(span.end, 1 << 16)
    if inside:
        data, size = read_block(file, address)
        stop = rest if last == address else len(data)
        _write_stored(data[inside:stop], output)
        if last == address:
            return
        address += size
    file.seek(address)
    while address < last:
        piece = file.read(min(_PIECE, last - address))
        if not piece:
            raise ValueError("the file is shorter than it was")
        output.write(piece)
        address += len(piece)
    if rest:
        _write_stored(read_block(file, last)[0][:rest], output)


def _write_stored(data: bytes, output: BinaryIO) -> None:
    for i in range(0, len(data), _STORED):
        part = data[i : i + _STORED]
        size = len(part)
        output.write(struct.pack("<4BI2BH2BHH", 31, 139, 8, 4, 0, 0, 255, 6, 66, 67, 2, size + 30)
                     + struct.pack("<BHH", 1, size, size ^ 0xFFFF) + part
                     + struct.pack("<2I", zlib.crc32(part), size))


def read_block(file: BinaryIO, address: int) -> tuple[bytes, int]:
    """The data of the block at an address, and the block's size. Raises ValueError."""
    file.seek(address)
    header = file.read(18)
    if len(header) < 18 or header[:4] != b"\x1f\x8b\x08\x04" or header[10:16] != b"\6\0BC\2\0":
        raise ValueError("no block begins here")
    size = int.from_bytes(header[16:], "little") + 1
    body = file.read(size - 18)
    inflater = zlib.decompressobj(-15)
    try:
        data = inflater.decompress(body[:-8], 1 << 16)
    except zlib.error as error:
        raise ValueError(str(error)) from error
    if len(body) != size - 18 or body[-8:] != struct.pack("<2I", zlib.crc32(data), len(data)):
        raise ValueError("a damaged block")
    return data, size


def first_record(path: str) -> int:
    """The virtual offset behind the header. Raises ValueError for a damaged one; OSError."""
    with open(path, "rb") as file:
        reader = _Reader(file)
        reader.skip(4)
        reader.skip(reader.number())
        for _ in range(reader.number()):
            reader.skip(reader.number() + 4)
        return reader.tell()


class _Reader:
    """Goes through the data of blocks."""

    def __init__(self, file: BinaryIO) -> None:
        self._file = file
        self._address = self._next = 0
        self._data = b""
        self._at = 0

    def tell(self) -> int:
        if self._at < len(self._data):
            return self._address << 16 | self._at
        return self._next << 16

    def number(self) -> int:
        number = int.from_bytes(self._take(4), "little", signed=True)
        if number < 0:
            raise ValueError("a negative length")
        return number

    def skip(self, count: int) -> None:
        while count:
            count -= len(self._step(count))

    def _take(self, count: int) -> bytes:
        taken = b""
        while len(taken) < count:
            taken += self._step(count - len(taken))
        return taken

    def _step(self, most: int) -> bytes:
        if self._at == len(self._data):
            self._address = self._next
            self._data, size = read_block(self._file, self._address)
            self._next += size
            self._at = 0
        step = self._data[self._at : self._at + most]
        self._at += len(step)
        return step


def working_folder() -> tempfile.TemporaryDirectory[str]:
    """A folder for files of this process, where Dask removes what dead workers have left."""
    try:
        place: str | None = distributed().get_worker().local_directory
    except (ImportError, ValueError):
        place = None
    return tempfile.TemporaryDirectory(prefix="readkit-", dir=place)
