"""What workers do to one file: as a caller on one machine would."""

from __future__ import annotations

from typing import Any, Callable, Sequence

from readkit import files
from readkit.bam_file import BamFile, Counts
from readkit.checks import Check, check as check_file
from readkit.errors import error_of
from readkit.qualities import Quality, quality as quality_of

_Stop = Callable[[int, int], object]


def bam_file(path: str) -> BamFile:
    """The BAM file at `path`. Raises InvalidInputFormat for another one."""
    file = files.open(path)
    if not isinstance(file, BamFile):
        raise error_of("seqlab:readkit:InvalidInputFormat", (),
                       f"The file {path!r} is not a BAM file.")
    return file


def index(path: str, *, other: str | None, complete: bool, stop: _Stop) -> str:
    return bam_file(path).index(other, complete=complete, progress=stop)


def sort(path: str, *, other: str | None, stop: _Stop) -> str:
    return files.open(path).sort(other, progress=stop).path


def convert(path: str, *, other: str, format: str | None, references: Sequence[str] | None,
            stop: _Stop) -> str:
    files.open(path).convert(other, format, references=references, progress=stop)
    return other


def check(path: str, *, other: str | None, stop: _Stop) -> Check:
    return check_file(path, other, progress=stop)


def count(path: str, *, other: None, filters: dict[str, Any], stop: _Stop) -> Counts:
    return bam_file(path).count(**filters, progress=stop)


def quality(path: str, *, other: None, settings: dict[str, Any], stop: _Stop) -> Quality:
    return quality_of(path, **settings, progress=stop)
