"""BAM files as objects."""

from __future__ import annotations

import os
import shutil
import tempfile
import weakref
from dataclasses import dataclass
from typing import Any, NamedTuple, Sequence

import numpy as np

from readkit import gateway, indexes
from readkit._readkit import TextColumn
from readkit.alignment_file import AlignmentFile, record_numbers
from readkit.errors import error_of
from readkit.outputs import whole_output
from readkit.progress import Progress, watching
from readkit.regions import Reference, Region, parse_region, reference_index
from readkit.tables import Table


class Starts(NamedTuple):
    """All records of a reference, in file order.

    Attributes:
        starts: uint32, 1-based first positions.
        ends: uint32, 1-based last positions, inclusive.
        flags: uint16.
    """

    starts: np.ndarray[Any, Any]
    ends: np.ndarray[Any, Any]
    flags: np.ndarray[Any, Any]


@dataclass(frozen=True)
class Counts:
    """Records that pass filters, and how many do not.

    Attributes:
        table: Header, Signature, Position, EndPosition (1-based, inclusive), Reference ("*" for
            none), Flag, MatePosition; a row for each record kept, in file order.
        tallies: records dropped, by the first reason that applies; "total" is all of the file.
        some_nh_missing: when counting by NH, whether a record had no such field.
    """

    table: Table
    tallies: dict[str, int]
    some_nh_missing: bool


_TALLIES = ("unmapped", "supplementary", "low_quality", "failed_pairing", "multi_mapped", "total")
_MULTI_MAPPED = {"keep": 0.0, "drop_by_nh": 1.0, "drop_secondary": 2.0}


class BamFile(AlignmentFile):
    """A BAM file. Made by `readkit.open`.

    Queries use the index beside the file when it is no older than that, looks complete, and finds
    as many records as it counts; otherwise they make a complete one for themselves, which takes
    one reading of the file, and which goes with the object. `index()` makes a lasting one.
    """

    kind = "BAM"
    #: The fields of `fields`.
    FIELDS = ("Header", "Flag", "Position", "EndPosition", "MappingQuality", "Signature",
              "MatePosition", "QueryLength", "Sequence", "Quality")

    def _read_header(self) -> tuple[str, list[Reference]]:
        text, names, lengths = gateway.getHeader(self.path, nargout=3)
        return text, [Reference(*pair) for pair in zip(names.to_list(), lengths.tolist())]

    def _scan(self) -> tuple[bool, np.ndarray[Any, Any], int]:
        is_sorted, rows = gateway.bamInfo(self.path, nargout=2)
        counts = np.zeros(max(len(self.references), len(rows) - 1), np.int64)
        counts[: max(len(rows) - 1, 0)] = rows[1:]
        if counts[len(self.references):].any():
            raise error_of("seqlab:readkit:ReferenceIDNotFound", (str(len(rows) - 2),),
                           f"Records are on reference {len(rows) - 2}, which the header of "
                           f"{self.path!r} does not have.")
        return is_sorted, counts, int(rows[0]) if len(rows) else 0

    # ---- Indexes

    def index(self, out: str | os.PathLike[str] | None = None, *, complete: bool = True,
              progress: Progress = None) -> str:
        """Makes an index and gives its name. It appears when it is complete.

        Args:
            out: the BAI file to write; without it, the file's name and ".bai".
            complete: False makes the index that `bamIndex` makes, through which queries can miss
                records. Methods of this object do not use such an index.
            progress: see `readkit.progress.Progress`.

        Raises:
            BAMUnsorted, PositionTooBig, ReferenceIDNotFound, and the errors of reading and writing.
        """
        target = os.fspath(out) if out is not None else self.path + ".bai"
        function = gateway.kxBamIndexComplete if complete else gateway.bamIndex
        with whole_output(target, ".bai") as path, watching(self.path, progress) as transfers:
            function(self.path, path, progress=transfers)
        self.close()
        return target

    def _index(self) -> tuple[str, list[int] | None]:
        """The index that queries use, and the counts that have to come of it."""

        def find() -> tuple[str, list[int] | None]:
            beside = self.path + ".bai"
            if indexes.is_fresh(beside, self.path):
                counts = indexes.counts_of(beside, len(self.references))
                if counts is not None:
                    return beside, counts
            return self._own_index(), None

        found: tuple[str, list[int] | None] = self._remember("index", find)
        return found

    def _own_index(self) -> str:
        folder = tempfile.mkdtemp(prefix="readkit-")
        remove = weakref.finalize(self, _remove_folder, folder, os.getpid())
        path = os.path.join(folder, "index.bai")
        try:
            gateway.kxBamIndexComplete(self.path, path)
        except BaseException:
            remove()
            raise
        self._kept.setdefault("remove", remove)
        self._kept["index"] = path, None
        return path

    # ---- Records of a reference

    def starts(self, reference: str | int) -> Starts:
        """Where the records of a reference lie. The arrays cannot be written to.

        Args:
            reference: a name, or a 0-based index.

        Raises:
            ReferenceIDNotFound; BAMUnsorted when the file is not sorted; the errors of reading.
        """
        number = reference_index(self.references, reference)

        def read() -> tuple[int, Starts]:
            path, counts = self._index()
            found = Starts(*gateway.getStartsInReference(self.path, path, number, nargout=3))
            if counts is not None and len(found.starts) != counts[number]:
                found = Starts(*gateway.getStartsInReference(self.path, self._own_index(), number,
                                                             nargout=3))
            for array in found:
                array.setflags(write=False)
            return number, found

        with self._lock:
            # Those of one reference are kept: the next query is often about the same.
            if self._kept.get("starts", (number,))[0] != number:
                del self._kept["starts"]
            starts: Starts = self._remember("starts", read)[1]
            return starts

    def overlapping(self, region: str | Region) -> np.ndarray[Any, Any]:
        """The records of a region's reference that overlap it, as 0-based numbers (int64)."""
        where = region if isinstance(region, Region) else parse_region(self.references, region)
        starts, ends, _ = self.starts(where.reference)
        # In a sorted file no record behind this one begins within the region.
        stop = int(np.searchsorted(starts, where.last, side="right"))
        return np.flatnonzero(ends[:stop] >= where.first)

    def fields(self, reference: str | int | None = None,
               names: str | Sequence[str] = FIELDS, *,
               records: Sequence[int] | np.ndarray[Any, Any] | None = None,
               region: str | None = None) -> Table:
        """Fields of records of a reference.

        Args:
            reference: a name, or a 0-based index; may be left out where a region names it.
            names: of `FIELDS`. Flag is uint16; Position, EndPosition and MatePosition are uint32,
                1-based and inclusive, 0 for none; MappingQuality is uint8; QueryLength, the number
                of bases, is uint32. Header (the read's name), Signature (the CIGAR), Sequence and
                Quality (characters, 33 above the quality) are texts, "*" for none.
            records: 0-based numbers within the reference, in any order, or a truth value for each
                record; all without.
            region: ``name:first-last``, 1-based and inclusive: records that overlap it.

        Raises:
            UnknownFeatureType, BadIndex, InvalidRegion, ReferenceIDNotFound; FileChanged when the
            file holds other records than it did; those of `starts`.
        """
        wanted = wanted_fields(names)
        number, where = wanted_place(self.references, reference, region, records)
        with self._lock:
            starts = self.starts(number).starts
            if where is not None:
                numbers = self.overlapping(where)
            elif records is None:
                numbers = np.arange(len(starts))
            else:
                numbers = records_within(len(starts), records)
            if np.all(numbers[1:] > numbers[:-1]):
                return self._features(number, wanted, numbers, starts)
            rows, order = np.unique(numbers, return_inverse=True)
            return self._features(number, wanted, rows, starts).take(order)

    def _features(self, number: int, wanted: list[str], rows: np.ndarray[Any, Any],
                  starts: np.ndarray[Any, Any]) -> Table:
        # Positions prove that the rows are those of the records that were meant.
        asked = list(dict.fromkeys(
            ["Position", *("Sequence" if name == "QueryLength" else name for name in wanted)]))

        def read(path: str) -> dict[str, Any] | None:
            outputs = gateway.getFeatures(
                self.path, path, asked, number, (rows + 1).astype(np.uint32),
                starts - np.uint32(1), nargout=len(asked))
            given = dict(zip(asked, outputs if len(asked) > 1 else [outputs]))
            return given if np.array_equal(given["Position"], starts[rows]) else None

        path, counts = self._index()
        given = read(path)
        if given is None and counts is not None:
            given = read(self._own_index())
        if given is None:
            raise error_of("readkit:python:FileChanged", (self.path,),
                           f"The file {self.path!r} does not hold the records that it did.")
        if "EndPosition" in given:
            ends = given["EndPosition"]
            given["EndPosition"] = np.where(ends > 0, ends - np.uint32(1), ends)
        if "QueryLength" in wanted:
            given["QueryLength"] = _lengths(given["Sequence"])
        return Table({name: given[name] for name in wanted}, len(rows))

    def reads(self, region: str, *, tags: bool = True) -> str:
        """The SAM lines of the records that overlap a region, without header lines.

        Args:
            region: ``name``, or ``name:first-last``, 1-based and inclusive.
            tags: whether optional fields are written.

        Raises:
            InvalidRegion, ReferenceIDNotFound, InvalidSAMFormat, InvalidTagType; those of `starts`.
        """
        where = parse_region(self.references, region)
        name = self.references[where.reference].name
        if ":" in name:
            return self._lines(where, tags)
        text = f"{name}:{where.first}-{min(where.last, 2**29)}"

        def write(path: str) -> bytes:
            with tempfile.TemporaryDirectory(prefix="readkit-") as folder:
                out = os.path.join(folder, "reads.sam")
                gateway.samWrite(self.path, path[: -len(".bai")], out, text, tags, False)
                with open(out, "rb") as file:
                    return file.read()

        with self._lock:
            path, counts = self._index()
            lines = write(path)
            if counts is not None and lines.count(b"\n") != len(self.overlapping(where)):
                lines = write(self._own_index())
        return lines.decode("utf-8", "surrogateescape")

    def _lines(self, where: Region, tags: bool) -> str:
        """The same by the records' numbers, which takes a reading of the file: to `samWrite` a
        reference's name ends at its first colon."""
        numbers = self.overlapping(where)
        if not self.is_sorted:
            raise error_of("seqlab:readkit:BAMUnsorted", (),
                           f"The records of {self.path!r} are not in coordinate order.")
        if len(numbers) == 0:
            return ""
        numbers += int(self.counts[: where.reference].sum()) + 1
        with tempfile.TemporaryDirectory(prefix="readkit-") as folder:
            out = os.path.join(folder, "reads.sam")
            gateway.convertFormat(self.path, "bam", out, "sam", numbers.astype(np.uint32))
            with open(out, encoding="utf-8", errors="surrogateescape", newline="") as file:
                lines = file.read()
        if tags:
            return lines
        return "".join("\t".join(line.split("\t")[:11]) + "\n" for line in lines.split("\n")[:-1])

    def count(self, *, min_quality: float = 0, multi_mapped: str = "keep",
              both_ends_mapped: bool = False, properly_mapped: bool = False,
              progress: Progress = None) -> Counts:
        """The mapped, not supplementary records that pass filters. Reads the whole file.

        Args:
            min_quality: drop records of a lower mapping quality; 0 drops none.
            multi_mapped: "keep"; "drop_by_nh" drops records whose NH is 2 or more,
                "drop_secondary" those with flag 0x100.
            both_ends_mapped: drop paired records whose mate is unmapped.
            properly_mapped: drop paired records that are not properly aligned.
            progress: see `readkit.progress.Progress`.

        Raises:
            AllNHTagsMissing, ValueError for another `multi_mapped`, the errors of reading.
        """
        if multi_mapped not in _MULTI_MAPPED:
            raise ValueError(f"multi_mapped must be one of {', '.join(_MULTI_MAPPED)}")
        with watching(self.path, progress) as transfers:
            names, cigars, starts, ends, references, flags, mates, tallies, missing = \
                gateway.getFeatureCountData(
                    self.path, _MULTI_MAPPED[multi_mapped], bool(both_ends_mapped),
                    bool(properly_mapped), float(min_quality), nargout=9, progress=transfers)
        table = Table({"Header": names, "Signature": cigars, "Position": starts,
                       "EndPosition": ends, "Reference": references, "Flag": flags,
                       "MatePosition": mates}, len(flags))
        numbers = {name: int(tally[0]) for name, tally in zip(_TALLIES, tallies)}
        return Counts(table, numbers, missing)

    # ---- Other files

    def sort(self, out: str | os.PathLike[str] | None = None, *,
             progress: Progress = None) -> BamFile:
        """Writes the records in coordinate order and opens that file, which appears when it is
        complete; it may be this one.

        Args:
            out: the file to write; without it, this one's name with ".sorted" before its ending.
            progress: see `readkit.progress.Progress`.
        """
        sorted_file: BamFile = self._rewrite(gateway.bamSort, out, "sorted", progress)
        return sorted_file

    def shuffle(self, out: str | os.PathLike[str] | None = None, *, seed: int | None = None,
                progress: Progress = None) -> BamFile:
        """Writes the records in random order and opens that file, which appears when it is
        complete; it may be this one.

        Args:
            out: the file to write; without it, this one's name with ".shuffled" before its ending.
            seed: 0 to 4294967295: the same seed gives the same order. Another one each time
                without.
            progress: see `readkit.progress.Progress`.

        Raises:
            ValueError: a seed out of its range.
        """
        if seed is not None and not 0 <= seed <= 2**32 - 1:
            raise ValueError("a seed must be from 0 to 4294967295")
        shuffled: BamFile = (
            self._rewrite(gateway.kxBamShuffle, out, "shuffled", progress) if seed is None else
            self._rewrite(gateway.kxBamShuffleSeeded, out, "shuffled", progress, int(seed)))
        return shuffled


def wanted_fields(names: str | Sequence[str]) -> list[str]:
    """The names of fields as a list. Raises UnknownFeatureType."""
    wanted = [names] if isinstance(names, str) else list(names)
    for name in wanted:
        if name not in BamFile.FIELDS:
            raise error_of(
                "seqlab:bamaccessgw:getfeaturesinrefbyindex:UnknownFeatureType", (),
                f"{name!r} is no field of a record. Use those of {', '.join(BamFile.FIELDS)}.")
    return wanted


def wanted_place(references: Sequence[Reference], reference: str | int | None, region: str | None,
                 records: object) -> tuple[int, Region | None]:
    """The reference's index, and the region. Raises TypeError for arguments that do not go
    together, InvalidRegion, ReferenceIDNotFound."""
    where = parse_region(references, region) if region is not None else None
    if reference is not None:
        number = reference_index(references, reference)
    elif where is not None:
        number = where.reference
    else:
        raise TypeError("fields() needs a reference or a region")
    if where is not None and (where.reference != number or records is not None):
        raise TypeError("a region must be of the reference, and excludes records")
    return number, where


def records_within(count: int, records: Sequence[int] | np.ndarray[Any, Any]
                   ) -> np.ndarray[Any, Any]:
    """0-based numbers of records of a reference that has so many. Raises BadIndex."""
    numbers = record_numbers(records)
    if len(numbers) and numbers.max() >= count:
        raise error_of("seqlab:readkit:BadIndex", (),
                       f"There are {count} records, of which the first is 0.")
    return numbers


def _remove_folder(folder: str, process: int) -> None:
    # A forked process has the same objects, and files that are not its own.
    if os.getpid() == process:
        shutil.rmtree(folder, ignore_errors=True)


def _lengths(sequences: TextColumn) -> np.ndarray[Any, Any]:
    lengths = np.diff(sequences.offsets).astype(np.uint32)
    ones = np.flatnonzero(lengths == 1)
    # "*" stands for no bases.
    lengths[ones[sequences.data[sequences.offsets[ones]] == ord("*")]] = 0
    return lengths
