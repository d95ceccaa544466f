"""Base qualities of many reads, counted by position."""

from __future__ import annotations

import os
from dataclasses import dataclass
from typing import Any, Iterable, Sequence, Tuple, Union

import numpy as np

from readkit import gateway
from readkit.alignment_file import AlignmentFile
from readkit.files import first_bytes
from readkit.progress import Progress, watching

Source = Union[str, "os.PathLike[str]", Tuple[Sequence[str], Sequence[str]]]

_FASTQ, _SAM, _BAM, _MEMORY = 1, 2, 3, 4


@dataclass(frozen=True)
class Quality:
    """Counts of many reads. Quality q stands in row ``q - min_quality``, position p (from the first
    scanned one, 0-based) in column p.

    Attributes:
        min_quality, max_quality: the range of qualities, both inclusive.
        reads: reads that were counted.
        qualities: float64, qualities by positions: how often each quality stands there.
        bases: float64, 5 by positions: how often A, C, G, T and other letters stand there.
        averages: float64, reads by their average quality, cut to an integer; those of the greatest
            quality count in the row before it.
        gc: float64, reads by the part of C and G among their bases, in 20 steps of 5 %.
        lengths: int64, two columns: numbers of positions scanned, ascending, and their reads.
    """

    min_quality: int
    max_quality: int
    reads: int
    qualities: np.ndarray[Any, Any]
    bases: np.ndarray[Any, Any]
    averages: np.ndarray[Any, Any]
    gc: np.ndarray[Any, Any]
    lengths: np.ndarray[Any, Any]

    def __add__(self, other: Quality) -> Quality:
        """The counts of both together. Raises ValueError for different ranges of qualities."""
        if (self.min_quality, self.max_quality) != (other.min_quality, other.max_quality):
            raise ValueError("the ranges of qualities differ")
        lengths = np.concatenate([self.lengths, other.lengths])
        numbers, places = np.unique(lengths[:, 0], return_inverse=True)
        reads = np.zeros(len(numbers), np.int64)
        np.add.at(reads, places, lengths[:, 1])
        return Quality(
            self.min_quality, self.max_quality, self.reads + other.reads,
            _sum(self.qualities, other.qualities), _sum(self.bases, other.bases),
            self.averages + other.averages, self.gc + other.gc,
            np.stack([numbers, reads], axis=1))

    @property
    def mean(self) -> np.ndarray[Any, Any]:
        """float64, the mean quality at each position; NaN where no quality counts."""
        counts = self.qualities.sum(axis=0)
        rows = np.arange(self.min_quality, self.max_quality + 1, dtype=float)
        means: np.ndarray[Any, Any] = np.full(len(counts), np.nan)
        np.divide(rows @ self.qualities, counts, out=means, where=counts > 0)
        return means

    def to_dict(self) -> dict[str, Any]:
        """Everything in plain numbers and lists, as JSON can have it."""
        return {name: value.tolist() if isinstance(value, np.ndarray) else value
                for name, value in vars(self).items()}


def _sum(one: np.ndarray[Any, Any], other: np.ndarray[Any, Any]) -> np.ndarray[Any, Any]:
    total = np.zeros((one.shape[0], max(one.shape[1], other.shape[1])))
    total[:, : one.shape[1]] += one
    total[:, : other.shape[1]] += other
    return total


def quality(source: Source | Iterable[Source], *, min_quality: int = 0, max_quality: int = 93,
            offset: int = 33, min_average: float = 0, first: int = 0, last: int | None = None,
            min_length: int | None = None, unplaced: bool = True,
            progress: Progress = None) -> Quality:
    """Counts qualities and bases by position.

    Args:
        source: a FASTQ, SAM or BAM file, as its content tells; reads in memory, a tuple of the
            sequences and their qualities, both str; or a list of such, whose counts are added up.
            FASTQ files are uncompressed and have four lines for each read.
        min_quality, max_quality: the valid qualities, both inclusive; another one is an error.
        offset: what a quality's character exceeds it by; SAM and BAM files always have 33.
        min_average: reads of a lower average quality are left out.
        first, last: first and last position of each read to count, 0-based and inclusive; to the
            read's end without `last`.
        min_length: reads with fewer positions to count are left out.
        unplaced: whether records of SAM and BAM files without a reference count, too.
        progress: see `readkit.progress.Progress`; told anew for each file.

    Raises:
        InvalidData: a quality out of range, or as many qualities as bases are not there; records
            without qualities, too.
        UnableToOpenFile, FileNotFound; the errors of SAM and BAM files.
    """
    if isinstance(source, (str, os.PathLike, tuple)):
        sources: list[Any] = [source]
    else:
        sources = list(source)
    total: Quality | None = None
    for one in sources:
        kind, data = _kind_of(one)
        settings = (min_quality, max_quality, offset, min_quality - 1, -1, min_average, -1,
                    np.zeros(0), -1 if min_length is None else min_length, first,
                    -1 if last is None else last, unplaced)
        if kind == _MEMORY:
            outputs = gateway.scanQualities(kind, data, *settings, nargout=6)
        else:
            with watching(data, progress) as transfers:
                outputs = gateway.scanQualities(kind, data, *settings, nargout=6,
                                                progress=transfers)
        averages, qualities, gc, bases, reads, lengths = outputs
        found = Quality(
            min_quality, max_quality, int(reads[0]), _rows(qualities, max_quality - min_quality + 1),
            _rows(bases, 5), averages.reshape(-1), gc.reshape(-1),
            lengths.reshape(-1, 2, order="F").astype(np.int64))
        total = found if total is None else total + found
    if total is None:
        raise ValueError("no source of qualities")
    return total


def _rows(table: np.ndarray[Any, Any], rows: int) -> np.ndarray[Any, Any]:
    # A table of one column comes with one dimension.
    return table.reshape(rows, -1, order="F") if table.size else np.zeros((rows, 0))


def _kind_of(source: Any) -> tuple[int, Any]:
    if isinstance(source, tuple):
        sequences, qualities = source
        return _MEMORY, {"Sequence": list(sequences), "Quality": list(qualities)}
    name = os.fspath(source)
    if isinstance(source, AlignmentFile):
        return (_BAM if source.kind == "BAM" else _SAM), name
    start = first_bytes(name)
    if start.startswith(b"\x1f\x8b"):
        return _BAM, name
    line = start.partition(b"\n")[0]
    is_sam = line[1:4] in (b"HD\t", b"SQ\t", b"RG\t", b"PG\t", b"CO\t") or line.count(b"\t") >= 10
    return (_SAM if is_sam else _FASTQ), name


__all__ = ["Quality", "quality"]
