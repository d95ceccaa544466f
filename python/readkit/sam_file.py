"""SAM files as objects."""

from __future__ import annotations

import os
from typing import Any, Iterator

import numpy as np

from readkit import gateway
from readkit.alignment_file import AlignmentFile
from readkit.errors import error_of
from readkit.progress import Progress
from readkit.regions import Reference


class SamFile(AlignmentFile):
    """A SAM file. Made by `readkit.open`."""

    kind = "SAM"

    def _header_lines(self) -> Iterator[bytes]:
        with open(self.path, "rb") as file:
            for line in file:
                if not line.startswith(b"@"):
                    return
                yield line

    def _read_header(self) -> tuple[str, list[Reference]]:
        text = b""
        references = []
        try:
            for line in self._header_lines():
                text += line
                fields = dict(field.partition(b":")[::2] for field in line.split()[1:])
                if line.startswith(b"@SQ\t") and b"SN" in fields:
                    length = fields.get(b"LN", b"")
                    references.append(Reference(
                        fields[b"SN"].decode("utf-8", "surrogateescape"),
                        int(length) if length.isdigit() else 0))
        except OSError as error:
            raise error_of("seqlab:readkit:FileNotFound", (self.path,), str(error)) from error
        return text.decode("utf-8", "surrogateescape"), references

    def _scan(self) -> tuple[bool, np.ndarray[Any, Any], int]:
        is_sorted, rows, names = gateway.samInfo(self.path, nargout=3)
        found = dict(zip(names.to_list(), rows.tolist()))
        unplaced = int(found.pop("*", 0))
        counts = np.array([found.pop(name, 0) for name, _ in self.references], np.int64)
        if found:
            raise error_of("seqlab:readkit:ReferenceIDNotFound", (min(found),),
                           f"Records are on reference {min(found)!r}, which the header of "
                           f"{self.path!r} does not have.")
        return is_sorted, counts, unplaced

    def sort(self, out: str | os.PathLike[str] | None = None, *,
             progress: Progress = None) -> SamFile:
        """As `BamFile.sort`, for SAM text. Raises InvalidSAMFormat, InvalidArgument or OutOfRange
        for records that cannot pass."""
        sorted_file: SamFile = self._rewrite(gateway.samSort, out, "sorted", progress)
        return sorted_file
