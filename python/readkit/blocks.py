"""The compressed blocks of a BAM file, read and copied as they are, and its header."""

from __future__ import annotations

import os
import re
import struct
import zlib
from typing import BinaryIO, NamedTuple, Sequence

from readkit.regions import Reference

END_OF_FILE = bytes.fromhex("1f8b08040000000000ff0600424302001b0003000000000000000000")
# Data of a block that fits one without compression.
_STORED = 0xFF00
_PIECE = 1 << 20


class Span(NamedTuple):
    """Virtual offsets: of a record, and behind the last one."""

    begin: int
    end: int


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


def copy(file: BinaryIO, span: Span, output: BinaryIO) -> None:
    """Appends a span of a file. Blocks are copied as they are, but for those that hold its ends.
    Raises ValueError for damaged ones."""
    address, inside = divmod(span.begin, 1 << 16)
    last, rest = divmod(span.end, 1 << 16)
    if inside:
        data, size = read_block(file, address)
        stop = rest if last == address else len(data)
        write_stored(data[inside:stop], output)
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
        write_stored(read_block(file, last)[0][:rest], output)


def write_stored(data: bytes, output: BinaryIO) -> None:
    """Appends data as blocks without compression."""
    for i in range(0, len(data), _STORED):
        part = data[i : i + _STORED]
        size = len(part)
        output.write(struct.pack("<4BI2BH2BHH", 31, 139, 8, 4, 0, 0, 255, 6, 66, 67, 2, size + 30)
                     + struct.pack("<BHH", 1, size, size ^ 0xFFFF) + part
                     + struct.pack("<2I", zlib.crc32(part), size))


# ---- Headers


def first_record(path: str) -> int:
    """The virtual offset behind the header. Raises ValueError for a damaged one; OSError."""
    with open(path, "rb") as file:
        reader = _Reader(file)
        reader.skip(4)
        reader.skip(reader.number())
        for _ in range(reader.number()):
            reader.skip(reader.number() + 4)
        return reader.tell()


def replace_header(path: str, text: bytes, references: Sequence[Reference]) -> None:
    """Gives a BAM file another header, which must have as many references as records need."""
    header = struct.pack("<4si", b"BAM\1", len(text)) + text + struct.pack("<i", len(references))
    for name, length in references:
        stored = name.encode("utf-8", "surrogateescape") + b"\0"
        header += struct.pack("<i", len(stored)) + stored + struct.pack("<i", length)
    whole = path + ".whole"
    with open(path, "rb") as file, open(whole, "wb") as output:
        write_stored(header, output)
        copy(file, Span(first_record(path), os.fstat(file.fileno()).st_size << 16), output)
    os.replace(whole, path)


def without_references(text: bytes, names: set[bytes]) -> bytes:
    """A header's text without the @SQ lines of references of other names."""
    lines = text.splitlines(True)
    found = [re.search(rb"\tSN:([^\t\r\n]*)", line) if line.startswith(b"@SQ\t") else None
             for line in lines]
    return b"".join(line for line, name in zip(lines, found) if name is None or name[1] in names)


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
