"""What workers do to windows of a BAM file."""

from __future__ import annotations

import os
from dataclasses import dataclass
from typing import Any, Sequence

import numpy as np

from readkit import bai, blocks, errors, files
from readkit.bam_file import BamFile, Counts, Starts
from readkit.blocks import Span
from readkit.cluster import windows
from readkit.cluster.jobs import bam_file
from readkit.cluster.windows import State
from readkit.errors import error_of
from readkit.regions import Reference, Region
from readkit.tables import Table


@dataclass(frozen=True)
class Known:
    """What is known of a file from the beginning."""

    state: State
    header: str
    references: list[Reference]


@dataclass(frozen=True)
class Plan:
    """How a file is read by windows.

    Attributes:
        spans: the windows.
        records: what they hold together; None when the index does not say.
        first_record: the virtual offset behind the header.
    """

    spans: list[Span]
    records: int | None
    first_record: int = 0


@dataclass(frozen=True)
class Part:
    """What comes of a window of a reference.

    Attributes:
        records: all that it has of the reference.
        first, last: the starts of the first and the last one; 1-based, 0 without records.
        end: the greatest end, inclusive.
        is_ordered: whether starts ascend.
        result: starts, or fields of the records that were asked for.
    """

    records: int
    first: int
    last: int
    end: int
    is_ordered: bool
    result: Any


@dataclass(frozen=True)
class PartOfCounts:
    """What comes of counting a window.

    Attributes:
        counts: as if the window were a file.
        had_nh: when counting by NH, whether a record had this field.
    """

    counts: Counts
    had_nh: bool


def look(path: str, *, stop: object) -> Known:
    bam = bam_file(path)
    state = windows.state_of(path)
    return Known(state, bam.header, bam.references)


def _require(path: str, state: State) -> None:
    if windows.state_of(path) != state:
        raise error_of("readkit:python:FileChanged", (path,),
                       f"The file {path!r} has changed.")


def _index_of(path: str, references: int) -> bai.Sections | None:
    beside = path + ".bai"
    fresh = bai.is_fresh(beside, path)
    return bai.read_sections(beside, references) if fresh else None


def plan_reference(path: str, *, state: State, references: int, reference: int, window: int,
                   stop: object) -> Plan | None:
    """None when there is no index to rely on, or nothing to read."""
    _require(path, state)
    index = _index_of(path, references)
    if index is None or not index.references[reference].records:
        return None
    section = index.references[reference]
    whole = Span(section.begin, section.end)
    return Plan(windows.cut(whole, windows.places_in([section]), window), section.records)


def plan_file(path: str, *, state: State, references: int, window: int,
              stop: object) -> Plan | None:
    """None when there is no index to rely on, or a header that cannot be read here."""
    _require(path, state)
    index = _index_of(path, references)
    if index is None:
        return None
    try:
        first = blocks.first_record(path)
    except ValueError:
        return None
    spans = windows.cut(Span(first, state.size << 16), windows.places_in(index.references), window)
    placed = sum(section.records for section in index.references)
    return Plan(spans, None if index.unplaced is None else placed + index.unplaced, first)


def part_of_reference(path: str, *, state: State, reference: int, span: Span,
                      names: Sequence[str] | None, chosen: np.ndarray[Any, Any] | Region | None,
                      stop: object) -> Part:
    """The starts of a window's records (without `names`), or fields of those that are chosen: by
    their numbers within the window, by a region, or all."""
    _require(path, state)
    with windows.working_folder() as folder:
        with windows.PartOfReference(path, reference, span, folder) as bam:
            found = bam.starts(reference)
            starts, ends, _ = found
            result: Starts | Table = found
            if names is not None:
                rows = bam.overlapping(chosen) if isinstance(chosen, Region) else chosen
                result = bam.fields(reference, names, records=rows)
            first, last, end = ((int(starts[0]), int(starts[-1]), int(ends.max()))
                                if len(starts) else (0, 0, 0))
            part = Part(len(starts), first, last, end, bool(np.all(starts[1:] >= starts[:-1])),
                        result)
    _require(path, state)
    return part


def part_of_counts(path: str, *, state: State, first_record: int, span: Span,
                   filters: dict[str, Any], stop: Any) -> PartOfCounts:
    _require(path, state)
    with windows.working_folder() as folder:
        copy = os.path.join(folder, "window.bam")
        windows.copy_span(path, first_record, span, copy)
        bam = BamFile(copy)
        try:
            counts = bam.count(**filters, progress=stop)
            had_nh = bool(counts.tallies["multi_mapped"]) or counts.table.rows > 0
        except errors.AllNHTagsMissing:
            # Other windows may have the field; no record of this one can be dropped by it.
            all_kept: dict[str, Any] = {**filters, "multi_mapped": "keep"}
            counts = bam.count(**all_kept, progress=stop)
            counts = Counts(counts.table, counts.tallies, True)
            had_nh = False
    _require(path, state)
    return PartOfCounts(counts, had_nh)


def whole_file(path: str, *, method: str, arguments: tuple[Any, ...], settings: dict[str, Any],
               stop: Any) -> Any:
    """A method of the file on one worker."""
    if method == "count":
        settings = {**settings, "progress": stop}
    return getattr(files.open(path), method)(*arguments, **settings)
