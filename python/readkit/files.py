"""Alignment files as objects."""

from __future__ import annotations

import contextlib
import html
import os
import shutil
import tempfile
import threading
import weakref
from dataclasses import dataclass
from typing import Any, Iterator, NamedTuple, Sequence

import numpy as np

from readkit import gateway, indexes
from readkit._readkit import TextColumn
from readkit.errors import error_of
from readkit.outputs import whole_output
from readkit.progress import Progress, watching
from readkit.regions import Reference, Region, parse_region, reference_index
from readkit.tables import Table

_FORMATS = ("bam", "sam", "fastq", "fasta")


@dataclass(frozen=True)
class Check:
    """What a check found.

    Attributes:
        kind: "BAM", "SAM", "BAI", "FASTQ", "BGZF" or "unknown".
        records: records that were read.
        sorted: in coordinate order.
        end_marker: whether the file ends as it should.
        count: all findings.
        findings: those that are kept: identifier, offset, record (from 1; 0 for none), text.
    """

    kind: str
    records: int
    sorted: bool
    end_marker: bool
    count: int
    findings: Table

    def __bool__(self) -> bool:
        """Whether nothing was found."""
        return self.count == 0


def check(path: str | os.PathLike[str], index: str | os.PathLike[str] | None = None, *,
          progress: Progress = None) -> Check:
    """Reads a BAM, SAM, BAI or FASTQ file to its end and lists what is wrong with it.

    Args:
        path: the file; its content tells which kind it is.
        index: an index through which every record of a BAM file is looked for.
        progress: see `readkit.progress.Progress`.

    Raises:
        FileNotFound: a file cannot be opened. Everything else is a finding.
    """
    name = os.fspath(path)
    inputs = (name,) if index is None else (name, os.fspath(index))
    with contextlib.ExitStack() as stack:
        # A file that is not there is the function's to report.
        exists = progress and os.path.exists(name)
        transfers = stack.enter_context(watching(name, progress)) if exists else None
        result = gateway.kxCheck(*inputs, progress=transfers)
    findings = result["findings"]
    return Check(result["kind"], int(result["records"][0]), result["sorted"],
                 result["end_marker"], int(result["count"][0]),
                 Table(findings, len(findings["record"])))


class AlignmentFile:
    """What BAM and SAM files have in common. Made by `readkit.open`.

    Nothing is open between calls: the object may be used by several threads, and in a process that
    was forked. What it keeps of the file is read again when the file has changed.
    """

    kind = ""

    def __init__(self, path: str) -> None:
        self.path = path
        self._lock = threading.RLock()
        self._state: tuple[int, ...] | None = None
        self._kept: dict[Any, Any] = {}
        self.references  # A file that cannot be read is an error now.

    def __fspath__(self) -> str:
        return self.path

    def __enter__(self) -> Any:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Lets go of what is kept of the file, and of temporary files."""
        with self._lock:
            remove = self._kept.pop("remove", None)
            self._kept = {}
            if remove is not None:
                remove()

    def __getstate__(self) -> dict[str, Any]:
        return {"path": self.path}

    def __setstate__(self, state: dict[str, Any]) -> None:
        self.__init__(**state)  # type: ignore[misc]

    def _remember(self, name: Any, read: Any) -> Any:
        """What `read()` gives, from the second time on as long as the file stays the same."""
        with self._lock:
            with contextlib.suppress(OSError):
                status = os.stat(self.path)
                state = (status.st_ino, status.st_size, status.st_mtime_ns)
                if state != self._state:
                    self.close()
                    self._state = state
            if name not in self._kept:
                value = read()
                self._kept[name] = value
            return self._kept[name]

    # ---- What the header says

    def _read_header(self) -> tuple[str, list[Reference]]:
        raise NotImplementedError

    @property
    def header(self) -> str:
        """The header's text."""
        return str(self._remember("header", self._read_header)[0])

    @property
    def references(self) -> list[Reference]:
        """Names and lengths of the references, in the header's order."""
        return list(self._remember("header", self._read_header)[1])

    # ---- What the records say

    def _scan(self) -> tuple[bool, np.ndarray[Any, Any], int]:
        raise NotImplementedError

    @property
    def is_sorted(self) -> bool:
        """Whether the records are in coordinate order. Reads the whole file, once."""
        return bool(self._remember("scan", self._scan)[0])

    @property
    def counts(self) -> np.ndarray[Any, Any]:
        """int64, the records of each reference. Reads the whole file, once."""
        counts: np.ndarray[Any, Any] = self._remember("scan", self._scan)[1].copy()
        return counts

    @property
    def unplaced(self) -> int:
        """The records without a reference."""
        return int(self._remember("scan", self._scan)[2])

    @property
    def records(self) -> int:
        """All records."""
        return int(self.counts.sum()) + self.unplaced

    def check(self, index: str | os.PathLike[str] | None = None, *,
              progress: Progress = None) -> Check:
        """Everything that is wrong with the file; see `readkit.check`."""
        return check(self.path, index, progress=progress)

    # ---- Other files

    def _default(self, word: str) -> str:
        base = os.path.splitext(self.path)[0]
        return f"{base}.{word}.{self.kind.lower()}"

    def _rewrite(self, function: gateway.GatewayFunction, out: str | os.PathLike[str] | None,
                 word: str, progress: Progress, *more: Any) -> Any:
        """Calls a function that writes `base` and an ending, and runs beside it."""
        target = self._default(word) if out is None else os.fspath(out)
        ending = "." + self.kind.lower()
        with whole_output(target, ending) as path, watching(self.path, progress) as transfers:
            function(self.path, path[: -len(ending)], *more, progress=transfers)
        return open(target)

    def convert(self, out: str | os.PathLike[str], format: str | None = None, *,
                records: Sequence[int] | np.ndarray[Any, Any] | None = None,
                references: Sequence[str] | None = None, progress: Progress = None) -> None:
        """Writes the records in another format. `out` appears when it is complete.

        Args:
            out: the file to write; an existing one is replaced.
            format: "bam", "sam", "fastq" or "fasta"; what `out` ends with, without it. SAM files
                get the header, too.
            records: the records to take, 0-based numbers within the file, ascending; all without.
            references: for BAM, the references that the header keeps, with those of mates. All
                records taken must lie on one of these.
            progress: see `readkit.progress.Progress`.

        Raises:
            InvalidOutputFormat, BadIndex, InvalidHeaderSubset, OutOfRange, FileWrite, and the
            errors of reading the file.
        """
        target = os.fspath(out)
        word = format or os.path.splitext(target)[1][1:]
        if word not in _FORMATS:
            raise error_of("seqlab:readkit:InvalidOutputFormat", (),
                           f"{word!r} is no output format. Use one of {', '.join(_FORMATS)}.")
        more: list[Any] = [self._ordinals(records)]
        if references is not None:
            more.append(list(references))
        if os.path.exists(target) and os.path.samefile(target, self.path):
            raise error_of("seqlab:readkit:CannotOpenOutFile", (target,),
                           f"The file {target!r} cannot be written: it is the input.")
        with whole_output(target, "." + word) as path:
            with watching(self.path, progress) as transfers:
                gateway.convertFormat(self.path, self.kind.lower(), path, word, *more,
                                      progress=transfers)
            if word == "sam":
                self._put_header_before(path)

    def _ordinals(self, records: Sequence[int] | np.ndarray[Any, Any] | None) -> Any:
        if records is None:
            return np.zeros(0, np.uint32)
        numbers = _record_numbers(records)
        # The function would leave out without a word what it does not find.
        if len(numbers) == 0 or np.any(np.diff(numbers) <= 0) or numbers[-1] >= self.records:
            raise error_of("seqlab:readkit:BadIndex", (),
                           f"Records must be ascending numbers from 0 to {self.records - 1}.")
        return (numbers + 1).astype(np.uint32)

    def _put_header_before(self, path: str) -> None:
        header = self.header.encode("utf-8", "surrogateescape")
        if header and not header.endswith(b"\n"):
            header += b"\n"
        if b"@SQ\t" not in header:
            for name, length in self.references:
                header += b"@SQ\tSN:%b\tLN:%d\n" % (os.fsencode(name), length)
        whole = path + ".whole"
        with builtin_open(whole, "wb") as output, builtin_open(path, "rb") as lines:
            output.write(header)
            shutil.copyfileobj(lines, output, 1 << 20)
        os.replace(whole, path)

    # ---- What it looks like

    def __repr__(self) -> str:
        count = len(self.references)
        return f"<{self.kind} file {self.path!r}: {count} reference{'' if count == 1 else 's'}>"

    def _repr_html_(self) -> str:
        shown = self.references[:10]
        rows = "".join(f"<tr><td>{html.escape(name)}</td><td>{length:,}</td></tr>"
                       for name, length in shown)
        more = len(self.references) - len(shown)
        rest = f"<p>and {more:,} more</p>" if more else ""
        return (f"<p><b>{self.kind} file</b> <code>{html.escape(self.path)}</code></p>"
                "<table><thead><tr><th>reference</th><th>bases</th></tr></thead>"
                f"<tbody>{rows}</tbody></table>{rest}")


def _record_numbers(records: Sequence[int] | np.ndarray[Any, Any]) -> np.ndarray[Any, Any]:
    numbers = np.asarray(records)
    if numbers.dtype == bool:
        numbers = np.flatnonzero(numbers)
    if numbers.size == 0:
        return np.zeros(0, np.int64)
    if numbers.ndim != 1 or numbers.dtype.kind not in "iu" or numbers.min() < 0:
        raise error_of("seqlab:readkit:BadIndex", (),
                       "Records must be a list of integers from 0 on, or of truth values.")
    return numbers.astype(np.int64)


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
        wanted = [names] if isinstance(names, str) else list(names)
        for name in wanted:
            if name not in self.FIELDS:
                raise error_of(
                    "seqlab:bamaccessgw:getfeaturesinrefbyindex:UnknownFeatureType", (),
                    f"{name!r} is no field of a record. Use those of {', '.join(self.FIELDS)}.")
        where = parse_region(self.references, region) if region is not None else None
        if reference is not None:
            number = reference_index(self.references, reference)
        elif where is not None:
            number = where.reference
        else:
            raise TypeError("fields() needs a reference or a region")
        if where is not None and (where.reference != number or records is not None):
            raise TypeError("a region must be of the reference, and excludes records")
        with self._lock:
            starts = self.starts(number).starts
            if where is not None:
                numbers = self.overlapping(where)
            elif records is None:
                numbers = np.arange(len(starts))
            else:
                numbers = _record_numbers(records)
            if len(numbers) and numbers.max() >= len(starts):
                raise error_of("seqlab:readkit:BadIndex", (),
                               f"There are {len(starts)} records, of which the first is 0.")
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
                with builtin_open(out, "rb") as file:
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
            with builtin_open(out, encoding="utf-8", errors="surrogateescape", newline="") as file:
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


class SamFile(AlignmentFile):
    """A SAM file. Made by `readkit.open`."""

    kind = "SAM"

    def _header_lines(self) -> Iterator[bytes]:
        with builtin_open(self.path, "rb") as file:
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


builtin_open = open


def open(path: str | os.PathLike[str]) -> BamFile | SamFile:  # noqa: A001
    """A BAM or a SAM file, as its first bytes tell.

    Raises:
        FileNotFound: the file cannot be opened.
        InvalidInputFormat: it is neither BAM nor SAM.
    """
    name = os.fspath(path)
    if not isinstance(name, str):
        raise TypeError("a path must be str or os.PathLike[str]")
    try:
        with builtin_open(name, "rb") as file:
            start = file.read(4096)
    except (OSError, ValueError) as error:
        raise error_of("seqlab:readkit:FileNotFound", (name,),
                       f"The file {name!r} cannot be opened for reading: {error}") from error
    if start.startswith(b"\x1f\x8b"):
        return BamFile(name)
    line = start.partition(b"\n")[0]
    is_header = line[:1] == b"@" and line[1:3].isalpha() and line[3:4] in b"\t"
    if not start or is_header or line.count(b"\t") >= 10:
        return SamFile(name)
    raise error_of("seqlab:readkit:InvalidInputFormat", (),
                   f"The file {name!r} is neither a BAM nor a SAM file.")


__all__ = ["AlignmentFile", "BamFile", "Check", "Counts", "SamFile", "Starts", "check", "open"]
