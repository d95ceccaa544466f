"""BAM files as objects."""

from __future__ import annotations

import contextlib
import os
import shutil
import tempfile
import weakref
from dataclasses import dataclass
from typing import Any, NamedTuple, Sequence

import numpy as np

from readkit import _readkit, verified
from readkit.alignment_file import AlignmentFile, record_numbers
from readkit.errors import BadIndex, error_of
from readkit.indexes import Index, index_beside
from readkit.outputs import whole_output
from readkit.progress import Progress, watching
from readkit.regions import Reference, Region, parse_region, reference_index
from readkit.tables import Table
from readkit.written import require_lines, require_reads, require_sam


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


# The greatest position that queries take, and the last that an index can hold.
_MOST = 2**31 - 1
_MOST_INDEXED = 2**29

_TALLIES = ("unmapped", "supplementary", "low_quality", "failed_pairing", "multi_mapped", "total")
_MULTI_MAPPED = {"keep": 0.0, "drop_by_nh": 1.0, "drop_secondary": 2.0}


class BamFile(AlignmentFile):
    """A BAM file. Made by `readkit.open`.

    Queries use the index beside the file when it is no older than that, complete, and right about
    records at some places of the file; otherwise, and for small files, they make a complete one for
    themselves, which takes one reading of the file, and which goes with the object. `index()` makes
    a lasting one.
    """

    kind = "BAM"
    #: The fields of `fields`.
    FIELDS = ("Header", "Flag", "Position", "EndPosition", "MappingQuality", "Signature",
              "MatePosition", "QueryLength", "Sequence", "Quality")

    def _read_header(self) -> tuple[str, list[Reference]]:
        text, names, lengths = verified.getHeader(self.path, nargout=3)
        return text, [Reference(*pair) for pair in zip(names.to_list(), lengths.tolist())]

    def _scan(self) -> tuple[bool, np.ndarray[Any, Any], int]:
        is_sorted, rows = verified.bamInfo(self.path, nargout=2)
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
        function = verified.kxBamIndexComplete if complete else verified.bamIndex
        with whole_output(target, ".bai") as path, watching(self.path, progress) as transfers:
            function(self.path, path, progress=transfers)
        self.close()
        return target

    def _index(self) -> Index:
        """The index that queries use."""

        def find() -> Index:
            return index_beside(self.path, len(self.references)) or self._own_index()

        found: Index = self._remember("index", find)
        return found

    def _own_index(self) -> Index:
        folder = tempfile.mkdtemp(prefix="readkit-")
        remove = weakref.finalize(self, _remove_folder, folder, os.getpid())
        path = os.path.join(folder, "index.bai")
        try:
            verified.kxBamIndexComplete(self.path, path)
        except BaseException:
            remove()
            raise
        self._kept.setdefault("remove", remove)
        index = self._kept["index"] = Index(path)
        return index

    def _facts(self) -> list[tuple[str, str]]:
        there = os.path.exists(self.path + ".bai")
        return [("index", os.path.basename(self.path) + ".bai" if there else "none beside it")]

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
            columns = self._of_reference(number, ["Position", "EndPosition", "Flag"])
            found = Starts(*columns.values())
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
        return np.flatnonzero(_reach(starts, ends)[:stop] >= where.first)

    def fields(self, reference: str | int | None = None,
               names: str | Sequence[str] = FIELDS, *,
               records: Sequence[int] | np.ndarray[Any, Any] | None = None,
               region: str | None = None, regions: Sequence[str] | None = None) -> Table:
        """Fields of records: of a whole reference, of some of its records, of a region, or of many.

        Args:
            reference: a name, or a 0-based index; may be left out where regions name it.
            names: of `FIELDS`. Flag is uint16; Position, EndPosition and MatePosition are uint32,
                1-based and inclusive, 0 for none; MappingQuality is uint8; QueryLength, the number
                of bases, is uint32. Header (the read's name), Signature (the CIGAR), Sequence and
                Quality (characters, 33 above the quality) are texts, "*" for none.
            records: 0-based numbers within the reference, in any order, or a truth value for each
                record.
            region: ``name:first-last``, 1-based and inclusive: records that overlap it.
            regions: a list of such, on any references: all records of the first, then those of the
                second, and so on. The table begins with a column Region, uint32, with the number of
                the region in the list, from 0. They are read in one pass, in which blocks that
                regions share are read once: far quicker than one by one.

        Raises:
            UnknownFeatureType, BadIndex, InvalidRegion, ReferenceIDNotFound; FileChanged when the
            file holds other records than it did; those of `starts`.
        """
        wanted = wanted_fields(names)
        if regions is not None:
            if any(given is not None for given in (reference, records, region)):
                raise TypeError("regions exclude a reference, records and a region")
            if isinstance(regions, str):
                raise TypeError("regions must be a list; one of them is a region")
            references = self.references
            return self._of_regions([parse_region(references, text) for text in regions], wanted)
        number, where = wanted_place(self.references, reference, region, records)
        if where is not None:
            return self._of_regions([where], wanted).select(wanted)
        if records is not None:
            return self._of_records(number, records, wanted)
        with self._lock:
            columns = self._of_reference(number, wanted or ["Flag"])
        return Table({name: columns[name] for name in wanted}, len(next(iter(columns.values()))))

    def _read(self, index: Index, names: Sequence[str], regions: Sequence[Region],
              *ordinals: np.ndarray[Any, Any]) -> tuple[Any, Any, dict[str, Any]]:
        """The number of records of each region, the rows of each, from 1, and the columns."""
        asked = list(dict.fromkeys(names))
        references, firsts, lasts = (
            np.array([min(value, _MOST) for value in values], np.int64)
            for values in (zip(*regions) if regions else ((), (), ())))
        counts, rows, *columns = verified.kxFields(
            self.path, index.path, asked, references, firsts, lasts, *ordinals,
            nargout=2 + len(asked))
        return counts, rows, {
            name: _readkit.text_column(column["bytes"], column["offsets"])
            if isinstance(column, dict) else column for name, column in zip(asked, columns)}

    def _of_reference(self, number: int, names: Sequence[str]) -> dict[str, Any]:
        """All records of a reference."""
        index = self._index()
        counts, _, columns = self._read(index, names, [Region(number, 1, _MOST_INDEXED)])
        if index.counts is not None and counts[0] != index.counts[number]:
            columns = self._read(self._own_index(), names, [Region(number, 1, _MOST_INDEXED)])[2]
        return columns

    def _of_regions(self, regions: list[Region], names: list[str]) -> Table:
        with self._lock:
            index = self._index()
            asked = [Region(where.reference, index.first_to_read(where.reference, where.first),
                            where.last) for where in regions]
            is_more = asked != regions
            counts, rows, columns = self._read(
                index, [*names, "Position", "EndPosition"] if is_more else names, asked)
        numbers = np.repeat(np.arange(len(regions), dtype=np.uint32), counts)
        rows = rows - 1
        if is_more:
            reach = _reach(columns["Position"], columns["EndPosition"])
            firsts = np.array([min(where.first, _MOST) for where in regions], np.int64)
            there = reach[rows] >= firsts[numbers]
            numbers, rows = numbers[there], rows[there]
        table = Table({name: columns[name] for name in names}, len(rows))
        # Those of ascending regions that do not overlap are in order already.
        some = next(iter(columns.values()), None)
        if some is not None and (len(rows) != len(some) or np.any(np.diff(rows.astype(np.int64)) != 1)):
            table = table.take(rows)
        return Table({"Region": numbers, **table}, len(rows))

    def _of_records(self, number: int, records: Sequence[int] | np.ndarray[Any, Any],
                    names: list[str]) -> Table:
        with self._lock:
            starts, ends, _ = self.starts(number)
            numbers = records_within(len(starts), records)
            if len(numbers) == 0:
                return self.fields(names=names, regions=[]).select(names)
            rows, order = np.unique(numbers, return_inverse=True)
            # What lies between the first and the last one, and which of it is wanted.
            where = Region(number, int(starts[rows[0]]), int(starts[rows[-1]]))
            ordinals = np.asarray(np.searchsorted(self.overlapping(where), rows) + 1, np.uint32)

            def read(index: Index) -> dict[str, Any] | None:
                with contextlib.suppress(BadIndex):
                    columns = self._read(index, [*names, "Position"], [where],
                                         ordinals)[2]
                    # Positions prove that these are the records that were meant.
                    if np.array_equal(columns["Position"], starts[rows]):
                        return columns
                return None

            columns = read(self._index()) or read(self._own_index())
        if columns is None:
            raise error_of("readkit:python:FileChanged", (self.path,),
                           f"The file {self.path!r} does not hold the records that it did.")
        table = Table({name: columns[name] for name in names}, len(rows))
        return table if np.array_equal(rows, numbers) else table.take(order)

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
                verified.samWrite(self.path, path[: -len(".bai")], out, text, tags, False)
                with open(out, "rb") as file:
                    return file.read()

        with self._lock:
            index = self._index()
            lines = write(index.path)
            if index.counts is not None and lines.count(b"\n") != len(self.overlapping(where)):
                lines = write(self._own_index().path)
        require_lines(self.path, lines.splitlines(True) if b"\r" not in lines else
                      [line + b"\n" for line in lines.split(b"\n")[:-1]])
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
            verified.convertFormat(self.path, "bam", out, "sam", numbers.astype(np.uint32))
            require_sam(self.path, out)
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
                verified.getFeatureCountData(
                    self.path, _MULTI_MAPPED[multi_mapped], bool(both_ends_mapped),
                    bool(properly_mapped), float(min_quality), nargout=9, progress=transfers)
        table = Table({"Header": names, "Signature": cigars, "Position": starts,
                       "EndPosition": ends, "Reference": references, "Flag": flags,
                       "MatePosition": mates}, len(flags))
        numbers = {name: int(tally[0]) for name, tally in zip(_TALLIES, tallies)}
        return Counts(table, numbers, missing)

    # ---- Other files

    def _require_kept(self, path: str, format: str, numbers: np.ndarray[Any, Any] | None) -> None:
        if format == "sam":
            require_sam(self.path, path)
        elif format in ("fastq", "fasta"):
            require_reads(self.path, path, format == "fastq")

    def sort(self, out: str | os.PathLike[str] | None = None, *,
             progress: Progress = None) -> BamFile:
        """Writes the records in coordinate order and opens that file, which appears when it is
        complete; it may be this one.

        Args:
            out: the file to write; without it, this one's name with ".sorted" before its ending.
            progress: see `readkit.progress.Progress`.
        """
        sorted_file: BamFile = self._rewrite(verified.bamSort, out, "sorted", progress)
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
            self._rewrite(verified.kxBamShuffle, out, "shuffled", progress) if seed is None else
            self._rewrite(verified.kxBamShuffleSeeded, out, "shuffled", progress, int(seed)))
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


def _reach(starts: np.ndarray[Any, Any], ends: np.ndarray[Any, Any]) -> np.ndarray[Any, Any]:
    """The last positions, at which a record that covers none has its start."""
    reach: np.ndarray[Any, Any] = np.maximum(starts, ends)
    return reach
