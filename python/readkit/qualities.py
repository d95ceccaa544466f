"""Base qualities of many reads, counted by position."""

from __future__ import annotations

import contextlib
import errno
import gzip
import os
import shutil
import tempfile
import zlib
from dataclasses import asdict, dataclass
from typing import TYPE_CHECKING, Any, Iterable, Sequence, Tuple, Union

import numpy as np

from readkit import _readkit, verified
from readkit.alignment_file import AlignmentFile
from readkit.errors import error_of
from readkit.files import first_bytes
from readkit.notebooks import facts_html
from readkit.outputs import whole_output
from readkit.progress import Progress, watching

if TYPE_CHECKING:
    from matplotlib.axes import Axes  # type: ignore[import]

Source = Union[str, "os.PathLike[str]", Tuple[Sequence[str], Sequence[str]]]

_FASTQ, _SAM, _BAM, _MEMORY = 1, 2, 3, 4
_KINDS = {_FASTQ: "fastq", _SAM: "sam", _BAM: "bam", _MEMORY: "memory"}
# The characters of qualities, in pages: from this one on, so many.
_LEAST, _CHARACTERS = 33, 94


@dataclass(frozen=True)
class Settings:
    """What was counted; as the arguments of `quality`. Positions count from 0."""

    offset: int = 33
    min_average: float = 0
    first: int = 0
    last: int | None = None
    min_length: int = 1
    unplaced: bool = True


@dataclass(frozen=True)
class Quality:
    """Counts of many reads. Quality q stands in row ``q - min_quality``, position p (from the first
    scanned one, 0-based) in column p.

    Attributes:
        min_quality, max_quality: the range of qualities, both inclusive.
        reads: reads that were counted.
        qualities: float64, qualities by positions: how often each quality stands there.
        bases: float64, 5 by positions: how often A, C, G, T and other letters stand there.
        averages: float64, a row for each quality: reads by their average quality, cut to an integer.
        gc: float64, reads by the part of C and G among their bases, in 20 steps of 5 %.
        lengths: int64, two columns: numbers of positions scanned, ascending, and their reads.
        sources: the files, as they were given; "memory" for reads in memory.
        kind: "fastq", "sam", "bam" or "memory"; "mixed" for several kinds.
        settings: what was counted.
    """

    min_quality: int
    max_quality: int
    reads: int
    qualities: np.ndarray[Any, Any]
    bases: np.ndarray[Any, Any]
    averages: np.ndarray[Any, Any]
    gc: np.ndarray[Any, Any]
    lengths: np.ndarray[Any, Any]
    sources: tuple[str, ...] = ()
    kind: str = "mixed"
    settings: Settings = Settings()

    def __add__(self, other: Quality) -> Quality:
        """The counts of both together. Raises ValueError for those of other settings."""
        if (self.min_quality, self.max_quality, self.settings) != (
                other.min_quality, other.max_quality, other.settings):
            raise ValueError("the ranges of qualities, or the settings, differ")
        lengths = np.concatenate([self.lengths, other.lengths])
        numbers, places = np.unique(lengths[:, 0], return_inverse=True)
        reads = np.zeros(len(numbers), np.int64)
        np.add.at(reads, places, lengths[:, 1])
        return Quality(
            self.min_quality, self.max_quality, self.reads + other.reads,
            _sum(self.qualities, other.qualities), _sum(self.bases, other.bases),
            self.averages + other.averages, self.gc + other.gc,
            np.stack([numbers, reads], axis=1), self.sources + other.sources,
            self.kind if self.kind == other.kind else "mixed", self.settings)

    @property
    def mean(self) -> np.ndarray[Any, Any]:
        """float64, the mean quality at each position; NaN where no quality counts."""
        counts = self.qualities.sum(axis=0)
        rows = np.arange(self.min_quality, self.max_quality + 1, dtype=float)
        means: np.ndarray[Any, Any] = np.full(len(counts), np.nan)
        np.divide(rows @ self.qualities, counts, out=means, where=counts > 0)
        return means

    def percentile(self, percent: float) -> np.ndarray[Any, Any]:
        """float64, for each position the least quality that `percent` percent of those there do not
        exceed; NaN where no quality counts."""
        counts = self.qualities.sum(axis=0)
        seen = self.qualities.cumsum(axis=0)
        enough = (seen * 100 >= counts * percent) & (seen > 0)
        found: np.ndarray[Any, Any] = np.where(
            counts > 0, enough.argmax(axis=0) + float(self.min_quality), np.nan)
        return found

    def plot(self, ax: Axes | None = None) -> Axes:
        """Draws the qualities by position: the mean, the median, and between which qualities half
        and eight tenths of them lie. Needs matplotlib.

        Args:
            ax: the axes to draw into; those of a new figure without.

        Returns:
            The axes, to be changed or added to.
        """
        if ax is None:
            from matplotlib import pyplot  # type: ignore[import]

            ax = pyplot.subplots(figsize=(8, 4), layout="constrained")[1]
        positions = np.arange(self.qualities.shape[1]) + 1 + self.settings.first
        low, first, middle, third, high = (self.percentile(p) for p in (10, 25, 50, 75, 90))
        for lowest, highest, colour in _ZONES:
            ax.axhspan(lowest, highest, color=colour, linewidth=0, zorder=0)
        ax.fill_between(positions, low, high, step="mid", color="#9ecae1", linewidth=0,
                        label="10 % to 90 %")
        ax.fill_between(positions, first, third, step="mid", color="#4292c6", linewidth=0,
                        label="25 % to 75 %")
        ax.step(positions, middle, where="mid", color="#08306b", linewidth=1.2, label="median")
        ax.plot(positions, self.mean, color="#d94801", linewidth=1.6, label="mean")
        if len(positions):
            ax.set_xlim(positions[0] - 0.5, positions[-1] + 0.5)
        best = np.nanmax(high) if self.reads and np.isfinite(high).any() else 40
        ax.set_ylim(0, max(best, 40) + 2)
        ax.set_xlabel("position in the read (bases)")
        ax.set_ylabel("quality (Phred)")
        ax.legend(loc="lower left", ncols=2, framealpha=0.9)
        return ax

    def report(self, path: str | os.PathLike[str], *others: Quality) -> None:
        """Writes the page of ``readkit quality --report``: a file that opens in any browser, without
        a network. `path` appears when it is complete; an existing file is replaced.

        Args:
            path: the file to write.
            others: counts to show beside these, of the same settings.

        Raises:
            FileNotFoundError: this build of readkit has no page; it is made where npm is.
            ValueError: other settings; a quality that no character can stand for.
        """
        samples = []
        taken: set[str] = set()
        for one in (self, *others):
            if one.settings != self.settings:
                raise ValueError("the settings differ")
            name = base = one._name()
            number = 2
            while name in taken:
                name, number = f"{base} ({number})", number + 1
            taken.add(name)
            samples.append((name, ", ".join(one.sources) or name, one.kind, self.settings.offset,
                            one._tables()))
        words = self.settings
        settings = {"min_length": words.min_length, "min_average": words.min_average or None,
                    "from": words.first + 1, "to": None if words.last is None else words.last + 1,
                    "mapped_only": not words.unplaced, "encoding": str(words.offset)}
        page = _readkit.quality_page(_page(), settings, samples)
        with whole_output(os.fspath(path), ".html") as whole, open(
                whole, "w", encoding="utf-8", errors="surrogateescape", newline="") as file:
            file.write(page)

    def _name(self) -> str:
        names = [os.path.basename(source) for source in self.sources]
        return names[0] if len(names) == 1 else f"{len(names)} files"

    def _tables(self) -> list[np.ndarray[Any, Any]]:
        """As the page's maker takes them: qualities are characters from '!' on."""
        begin = self.min_quality + self.settings.offset - _LEAST
        counts = np.zeros((_CHARACTERS + 1, self.qualities.shape[1]), order="F")
        averages = np.zeros(_CHARACTERS)
        for quality in range(len(self.qualities)):
            character = begin + quality
            if 0 <= character < _CHARACTERS:
                counts[character] = self.qualities[quality]
                averages[character] = self.averages[quality]
            elif self.qualities[quality].any():
                raise ValueError("a quality that no character can stand for")
        return [averages, counts, self.gc, self.bases, np.array([float(self.reads)]),
                self.lengths.astype(float)]

    def to_dict(self) -> dict[str, Any]:
        """Everything in plain numbers and lists, as JSON can have it."""
        return {name: value.tolist() if isinstance(value, np.ndarray)
                else asdict(value) if isinstance(value, Settings)
                else list(value) if isinstance(value, tuple) else value
                for name, value in vars(self).items()}

    def __repr__(self) -> str:
        return f"<Quality of {self.reads:,} reads, {self.qualities.shape[1]:,} positions>"

    def _repr_html_(self) -> str:
        total = self.qualities.sum(axis=1)
        all_of = total.sum()
        rows = np.arange(self.min_quality, self.max_quality + 1)

        def part(counts: Any) -> str:
            return f"{100 * counts / all_of:.1f} %" if all_of else "–"

        letters = self.bases.sum(axis=1)
        known = letters[:4].sum()
        facts = [("reads", f"{self.reads:,}"), ("bases", f"{int(letters.sum()):,}"),
                 ("length", _range(self.lengths[:, 0])),
                 ("mean quality", f"{rows @ total / all_of:.1f}" if all_of else "–"),
                 ("of quality 20 or more", part(total[rows >= 20].sum())),
                 ("of quality 30 or more", part(total[rows >= 30].sum())),
                 ("GC", f"{100 * letters[1:3].sum() / known:.1f} %" if known else "–")]
        return facts_html(f"Qualities of {', '.join(self.sources[:3])}"
                          f"{', ...' if len(self.sources) > 3 else ''}", facts)


# Qualities that are poor, fair and good, as charts of them usually show.
_ZONES = ((0, 20, "#fdecea"), (20, 30, "#fff7e0"), (30, 94, "#eaf5ea"))


def _range(numbers: np.ndarray[Any, Any]) -> str:
    if len(numbers) == 0:
        return "–"
    return f"{numbers[0]:,}" if len(numbers) == 1 else f"{numbers[0]:,} to {numbers[-1]:,}"


def _page() -> str:
    """The page without numbers: beside the libraries, or in the `share` of a build or an
    installation, which may have the libraries in a folder of their architecture."""
    folder = os.path.dirname(_readkit.flavour_path("fast"))
    above = os.path.dirname(folder)
    places = [os.path.join(folder, "report.html"),
              *(os.path.join(root, "share", "readkit", "report.html")
                for root in (above, os.path.dirname(above)))]
    for place in places:
        if os.path.exists(place):
            with open(place, encoding="utf-8", newline="") as file:
                return file.read()
    raise FileNotFoundError(errno.ENOENT, "the page of reports is missing, which is made when readkit "
                            "is built where npm is", places[0])


def _sum(one: np.ndarray[Any, Any], other: np.ndarray[Any, Any]) -> np.ndarray[Any, Any]:
    total = np.zeros((one.shape[0], max(one.shape[1], other.shape[1])))
    total[:, : one.shape[1]] += one
    total[:, : other.shape[1]] += other
    return total


def quality(source: Source | Iterable[Source], *, min_quality: int = 0, max_quality: int = 93,
            offset: int = 33, min_average: float = 0, first: int = 0, last: int | None = None,
            min_length: int = 1, unplaced: bool = True,
            progress: Progress = None) -> Quality:
    """Counts qualities and bases by position.

    Args:
        source: a FASTQ, SAM or BAM file, as its content tells; reads in memory, a tuple of the
            sequences and their qualities, both str; or a list of such, whose counts are added up.
            FASTQ files have four lines for each read. FASTQ and SAM files may be gzipped.
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
    settings = Settings(offset, min_average, first, last, min_length, unplaced)
    for one in sources:
        found = _scan(one, min_quality, max_quality, settings, progress)
        total = found if total is None else total + found
    if total is None:
        raise ValueError("no source of qualities")
    return total


def _scan(source: Source, min_quality: int, max_quality: int, settings: Settings,
          progress: Progress) -> Quality:
    with contextlib.ExitStack() as stack:
        kind, data = _kind_of(source, stack)
        # The function counts an average of the greatest quality as one less: so ask for one more.
        inputs = (kind, data, min_quality, max_quality + 1, settings.offset, min_quality - 1, -1,
                  settings.min_average, -1, np.zeros(0), settings.min_length, settings.first,
                  -1 if settings.last is None else settings.last, settings.unplaced)
        transfers = None if kind == _MEMORY else stack.enter_context(watching(data, progress))
        averages, qualities, gc, bases, reads, lengths = verified.scanQualities(
            *inputs, nargout=6, progress=transfers)
    table = _rows(qualities, max_quality - min_quality + 2)
    if table[-1].any():
        raise error_of("seqlab:scanqualities:InvalidData", (),
                       f"The reads have qualities above {max_quality}.")
    name = "memory" if isinstance(source, tuple) else os.fspath(source)
    return Quality(
        min_quality, max_quality, int(reads[0]), table[:-1], _rows(bases, 5), averages.reshape(-1),
        gc.reshape(-1), lengths.reshape(-1, 2, order="F").astype(np.int64), (name,), _KINDS[kind],
        settings)


def _rows(table: np.ndarray[Any, Any], rows: int) -> np.ndarray[Any, Any]:
    # A table of one column comes with one dimension.
    return table.reshape(rows, -1, order="F") if table.size else np.zeros((rows, 0))


def _kind_of(source: Any, stack: contextlib.ExitStack) -> tuple[int, Any]:
    """The kind of a source, and what the function takes for it."""
    if isinstance(source, tuple):
        sequences, qualities = source
        return _MEMORY, {"Sequence": list(sequences), "Quality": list(qualities)}
    name = os.fspath(source)
    if isinstance(source, AlignmentFile):
        return (_BAM if source.kind == "BAM" else _SAM), name
    start = first_bytes(name)
    if start.startswith(b"\x1f\x8b"):
        try:
            with gzip.open(name) as file:
                start = file.read(4096)
            if start.startswith(b"BAM\1"):
                return _BAM, name
            name = _unpacked(name, stack)
        except (OSError, EOFError, zlib.error) as error:
            raise error_of("seqlab:readkit:InvalidInputFormat", (),
                           f"The file {name!r} cannot be unpacked: {error}") from error
    line = start.partition(b"\n")[0]
    is_sam = line[1:4] in (b"HD\t", b"SQ\t", b"RG\t", b"PG\t", b"CO\t") or line.count(b"\t") >= 10
    return (_SAM if is_sam else _FASTQ), name


def _unpacked(name: str, stack: contextlib.ExitStack) -> str:
    """A temporary file with what a gzipped one holds, until the end of `stack`."""
    folder = stack.enter_context(tempfile.TemporaryDirectory(prefix="readkit-"))
    path = os.path.join(folder, "reads")
    with gzip.open(name) as file, open(path, "wb") as output:
        shutil.copyfileobj(file, output, 1 << 20)
    return path


__all__ = ["Quality", "Settings", "quality"]
