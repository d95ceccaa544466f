"""Opens alignment files by what they hold."""

from __future__ import annotations

import os

from readkit.bam_file import BamFile
from readkit.errors import error_of
from readkit.sam_file import SamFile

builtin_open = open


def first_bytes(name: str) -> bytes:
    """The bytes that tell a file's kind. Raises FileNotFound."""
    try:
        with builtin_open(name, "rb") as file:
            return file.read(4096)
    except (OSError, ValueError) as error:
        raise error_of("seqlab:readkit:FileNotFound", (name,),
                       f"The file {name!r} cannot be opened for reading: {error}") from error


def open(path: str | os.PathLike[str]) -> BamFile | SamFile:  # noqa: A001
    """A BAM or a SAM file, as its first bytes tell.

    Raises:
        FileNotFound: the file cannot be opened.
        InvalidInputFormat: it is neither BAM nor SAM.
    """
    name = os.fspath(path)
    if not isinstance(name, str):
        raise TypeError("a path must be str or os.PathLike[str]")
    start = first_bytes(name)
    if start.startswith(b"\x1f\x8b"):
        return BamFile(name)
    line = start.partition(b"\n")[0]
    is_header = line[:1] == b"@" and line[1:3].isalpha() and line[3:4] in b"\t"
    if not start or is_header or line.count(b"\t") >= 10:
        return SamFile(name)
    raise error_of("seqlab:readkit:InvalidInputFormat", (),
                   f"The file {name!r} is neither a BAM nor a SAM file.")
