"""Whether files that were written say what the file says that they were made of.

The functions underneath lose some of what SAM text can say, and write some records in a form that
is not that of the format. Here the outcome is compared, whatever the reason.
"""

from __future__ import annotations

import contextlib
import re
import struct
from itertools import chain, zip_longest
from typing import Any, BinaryIO, Callable, Iterable, Iterator, Sequence

from readkit.errors import Error, error_of

_PIECE = 1 << 20
_PRINTABLE = bytes(range(0x21, 0x7F))
_MANDATORY = 11
_SOUND_ARRAY = re.compile(rb"..:B:[cCsSiIf](,[-+.0-9a-zA-Z]+)*")
_ANY_ARRAY = re.compile(rb"\t[A-Za-z][A-Za-z0-9]:B")
_STAR = re.compile(rb"\n\*\n")
# No text that is looked for has more bytes.
_LONGEST = 8


def lossy(path: str, what: str) -> Error:
    """The error for a file that cannot be had in another form."""
    return error_of("readkit:python:LossyConversion", (path,), f"{path}: {what}")


# ---- SAM text


def header_lines(file: BinaryIO) -> Iterator[bytes]:
    """The first lines of a SAM file that begin with '@'. The file stays behind the last one."""
    while True:
        begin = file.tell()
        line = file.readline()
        if not line.startswith(b"@"):
            file.seek(begin)
            return
        yield line


def record_lines(path: str) -> Iterator[bytes]:
    """The lines of records, without their ends."""
    with open(path, "rb") as file:
        for _ in header_lines(file):
            pass
        for line in file:
            line = line[:-1] if line.endswith(b"\n") else line
            line = line[:-1] if line.endswith(b"\r") else line
            if line:
                yield line


def chosen(lines: Iterable[bytes], numbers: Sequence[int] | None) -> Iterator[bytes]:
    """Those with these numbers, which ascend; all without."""
    if numbers is None:
        yield from lines
        return
    wanted = iter(numbers)
    number = next(wanted, None)
    for i, line in enumerate(lines):
        if number is None:
            return
        if i == number:
            yield line
            number = next(wanted, None)


def _canonical(line: bytes, float_text: Callable[[float], bytes]) -> bytes:
    """A line as others with the same meaning have it."""
    fields = line.split(b"\t")
    if len(fields) > 6 and fields[6] == fields[2] != b"*":
        fields[6] = b"="
    for i in range(_MANDATORY, len(fields)):
        if fields[i][2:5] == b":f:":
            with contextlib.suppress(ValueError, OverflowError):
                fields[i] = fields[i][:5] + float_text(float(fields[i][5:]))
    return b"\t".join(fields)


def _stored(value: float) -> bytes:
    """A number as a file has it, of which any text with the same value is as good."""
    return struct.pack("<f", value).hex().encode()


def _printed(value: float) -> bytes:
    """A number as it is printed from a BAM file, which has more digits of it."""
    return b"%.6f" % struct.unpack("<f", struct.pack("<f", value))[0]


def require_same_lines(source: str, numbers: Sequence[int] | None, found: str,
                       is_stored: bool) -> None:
    """Raises LossyConversion unless the records of a SAM file, those of these numbers, are those of
    another one, in the same order.

    Args:
        source, numbers: the file, and which of its records are meant; all without.
        found: the other file.
        is_stored: whether it was printed of a BAM file, so that numbers have more digits there.
    """
    text = _printed if is_stored else _stored
    for number, (line, other) in enumerate(zip_longest(chosen(record_lines(source), numbers),
                                                       record_lines(found))):
        if line != other and (line is None or other is None
                              or _canonical(line, text) != _canonical(other, text)):
            raise _changed(source, numbers, number, line)


def require_same_set(source: str, found: str) -> None:
    """The same in any order."""
    if _sum(map(hash, record_lines(source))) == _sum(map(hash, record_lines(found))):
        return

    def keys(path: str) -> Iterator[int]:
        return (hash(_canonical(line, _stored)) for line in record_lines(path))

    if _sum(keys(source)) != _sum(keys(found)):
        there = set(keys(found))
        lost = next((number for number, key in enumerate(keys(source)) if key not in there), 0)
        raise _changed(source, None, lost, next(chosen(record_lines(source), [lost]), None))


def _sum(numbers: Iterable[int]) -> int:
    return sum(numbers)


def _changed(source: str, numbers: Sequence[int] | None, number: int,
             line: bytes | None) -> Error:
    which = number if numbers is None or number >= len(numbers) else int(numbers[number])
    name = (line or b"").split(b"\t")[0].decode("utf-8", "replace")
    return lossy(source, f"record {which}, {name!r}, would be changed or lost. Sequences of more "
                         "than 255 bases or of none, and some optional fields, cannot be read from "
                         "SAM text; make a BAM file of it with another tool.")


# ---- FASTQ and FASTA


def require_same_reads(source: str, numbers: Sequence[int] | None, found: str,
                       with_qualities: bool) -> None:
    """Raises LossyConversion unless a FASTQ or FASTA file has the reads of a SAM file."""
    with open(found, "rb") as file:
        for number, line in enumerate(chain(chosen(record_lines(source), numbers), (None,))):
            expected = b"" if line is None else _read_of(line, with_qualities)
            if expected is None or file.read(len(expected) or 1) != expected:
                raise _changed(source, numbers, number, line)


def _read_of(line: bytes, with_qualities: bool) -> bytes | None:
    """The read of a record; None for one without bases or qualities."""
    fields = line.split(b"\t", _MANDATORY)
    if len(fields) < _MANDATORY:
        return None
    name, bases, qualities = fields[0], fields[9], fields[10]
    if bases == b"*" or (with_qualities and len(qualities) != len(bases)):
        return None
    if not with_qualities:
        return b">%b\n%b\n" % (name, bases)
    return b"@%b\n%b\n+\n%b\n" % (name, bases, qualities)


def require_reads(source: str, path: str, with_qualities: bool) -> None:
    """Raises LossyConversion when a FASTQ or FASTA file has a read that the format cannot hold:
    without bases, or with qualities of another number, or other than its characters."""
    lines = 4 if with_qualities else 2
    if not _is_suspicious(path, _STAR, _PRINTABLE + b"\n"):
        return
    with open(path, "rb") as file:
        for number, read in enumerate(zip(*[file] * lines)):
            bases, qualities = read[1][:-1], read[-1][:-1]
            if (bases == b"*" or len(bases) != len(qualities)
                    or (with_qualities and qualities.translate(None, _PRINTABLE))):
                name = read[0][1:-1].decode("utf-8", "replace")
                raise lossy(source, f"read {number} to write, {name!r}, has no bases, or no "
                                    "qualities that FASTQ can hold. Leave it out by records=.")


# ---- SAM text of BAM files


def require_lines(source: str, lines: Iterable[bytes]) -> None:
    """Raises LossyConversion for a line that is no SAM record as the format has it: with an array
    of numbers, which are printed without their type, or with qualities that are no characters."""
    for line in lines:
        fields = line.rstrip(b"\n").split(b"\t")
        if (len(fields) < _MANDATORY or fields[10].translate(None, _PRINTABLE)
                or (fields[10] != b"*" and len(fields[10]) != len(fields[9]))
                or any(field[2:4] == b":B" and not _SOUND_ARRAY.fullmatch(field)
                       for field in fields[_MANDATORY:])):
            name = fields[0].decode("utf-8", "replace")
            raise lossy(source, f"the record {name!r} has an array of numbers or qualities that "
                                "cannot be written as SAM text.")


def require_sam(source: str, path: str) -> None:
    """The same for the lines of a file, which has no header."""
    if _is_suspicious(path, _ANY_ARRAY, _PRINTABLE + b"\t\n"):
        with open(path, "rb") as file:
            require_lines(source, file)


def _is_suspicious(path: str, text: re.Pattern[bytes], usual: bytes) -> bool:
    """Whether a file has such a text in it, or bytes other than the usual ones."""
    rest = b""
    with open(path, "rb") as file:
        while piece := file.read(_PIECE):
            if text.search(rest + piece) or piece.translate(None, usual):
                return True
            rest = piece[-_LONGEST:]
    return False
