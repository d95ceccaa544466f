"""SAM files as objects."""

from __future__ import annotations

import os
from typing import Any

import numpy as np

from readkit import verified
from readkit.alignment_file import AlignmentFile
from readkit.blocks import replace_header
from readkit.errors import error_of
from readkit.progress import Progress
from readkit.regions import Reference
from readkit.written import (header_lines, lossy, record_lines, require_same_lines,
                             require_same_reads, require_same_set)


class SamFile(AlignmentFile):
    """A SAM file. Made by `readkit.open`."""

    kind = "SAM"

    def _read_header(self) -> tuple[str, list[Reference]]:
        text = b""
        references = []
        try:
            with open(self.path, "rb") as file:
                for line in header_lines(file):
                    text += line
                    fields = dict(field.partition(b":")[::2]
                                  for field in line.rstrip(b"\r\n").split(b"\t")[1:])
                    if line.startswith(b"@SQ\t") and b"SN" in fields:
                        length = fields.get(b"LN", b"")
                        references.append(Reference(
                            fields[b"SN"].decode("utf-8", "surrogateescape"),
                            int(length) if length.isdigit() else 0))
        except OSError as error:
            raise error_of("seqlab:readkit:FileNotFound", (self.path,), str(error)) from error
        return text.decode("utf-8", "surrogateescape"), references

    def _scan(self) -> tuple[bool, np.ndarray[Any, Any], int]:
        # Not `samInfo`, to which unplaced records come first, and which passes over damaged lines.
        numbers = {name.encode("utf-8", "surrogateescape"): number
                   for number, (name, _) in reversed(list(enumerate(self.references)))}
        behind = numbers[b"*"] = len(self.references)
        counts = np.zeros(behind + 1, np.int64)
        is_sorted = True
        last, position = 0, 0
        for line in record_lines(self.path):
            fields = line.split(b"\t", 4)
            if len(fields) < 5 or not fields[3].isdigit():
                raise error_of("seqlab:readkit:InvalidSAMFormat", (self.path,),
                               f"{self.path!r} has a line that is no record.")
            number = numbers.get(fields[2])
            if number is None:
                name = fields[2].decode("utf-8", "surrogateescape")
                raise error_of("seqlab:readkit:ReferenceIDNotFound", (name,),
                               f"Records are on reference {name!r}, which the header of "
                               f"{self.path!r} does not have.")
            counts[number] += 1
            here = 0 if number == behind else int(fields[3])
            is_sorted = is_sorted and (number, here) >= (last, position)
            last, position = number, here
        return is_sorted, counts[:-1], int(counts[-1])

    def sort(self, out: str | os.PathLike[str] | None = None, *,
             progress: Progress = None) -> SamFile:
        """As `BamFile.sort`, for SAM text. Raises InvalidSAMFormat, InvalidArgument, OutOfRange or
        LossyConversion for records that cannot pass."""
        sorted_file: SamFile = self._rewrite(verified.samSort, out, "sorted", progress)
        return sorted_file

    # ---- What is written says what the text does

    def _require_sorted(self, path: str) -> None:
        require_same_set(self.path, path)

    def _require_kept(self, path: str, format: str, numbers: np.ndarray[Any, Any] | None) -> None:
        which = None if numbers is None else numbers.tolist()
        if format == "sam":
            require_same_lines(self.path, which, path, False)
        elif format != "bam":
            require_same_reads(self.path, which, path, format == "fastq")
        else:
            self._mend_dictionary(path)
            printed = path + ".sam"
            verified.convertFormat(path, "bam", printed, "sam", np.zeros(0, np.uint32))
            require_same_lines(self.path, which, printed, True)

    def _mend_dictionary(self, path: str) -> None:
        """Ends the names of references as other tools read them: the function that writes them
        leaves the byte that ended the header's field."""
        text, names, lengths = verified.getHeader(path, nargout=3)
        written = [Reference(*pair) for pair in zip(names.to_list(), lengths.tolist())]
        if [one for one in self.references if one in written] != written:
            raise lossy(self.path, "the header's references cannot be read from its text.")
        replace_header(path, text.encode("utf-8", "surrogateescape"), written)
