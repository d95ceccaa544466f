"""What BAM and SAM files have in common as objects."""

from __future__ import annotations

import contextlib
import os
import shutil
import threading
from typing import Any, Callable, Sequence

import numpy as np

from readkit import gateway, verified
from readkit.blocks import replace_header, without_references
from readkit.checks import Check, check
from readkit.errors import error_of
from readkit.notebooks import bytes_text, facts_html, rows_html
from readkit.outputs import whole_output
from readkit.progress import Progress, watching
from readkit.regions import Reference

_FORMATS = ("bam", "sam", "fastq", "fasta")


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
            self._require_sorted(path)
        return type(self)(target)

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
            LossyConversion: the format, or the way there, cannot hold what a record says. SAM text
                is compared with what was made of it, record by record.
            InvalidOutputFormat, BadIndex, InvalidHeaderSubset, OutOfRange, FileWrite, and the
            errors of reading the file.
        """
        target = os.fspath(out)
        word = format or os.path.splitext(target)[1][1:]
        if word not in _FORMATS:
            raise error_of("seqlab:readkit:InvalidOutputFormat", (),
                           f"{word!r} is no output format. Use one of {', '.join(_FORMATS)}.")
        if os.path.exists(target) and os.path.samefile(target, self.path):
            raise error_of("seqlab:readkit:CannotOpenOutFile", (target,),
                           f"The file {target!r} cannot be written: it is the input.")
        numbers = self._numbers(records)
        ordinals = np.asarray([] if numbers is None else numbers + 1, np.uint32)
        with whole_output(target, "." + word) as path, watching(self.path, progress) as transfers:

            def write(*more: Any) -> None:
                verified.convertFormat(self.path, self.kind.lower(), path, word, ordinals, *more,
                                       progress=transfers)

            if references is None or word != "bam":
                write(*([] if references is None else [list(references)]))
            else:
                self._write_subset(path, list(references), write)
            self._require_kept(path, word, numbers)
            if word == "sam":
                self._put_header_before(path)

    def _write_subset(self, path: str, references: list[str],
                      write: Callable[[list[str]], None]) -> None:
        """Writes a BAM file with a part of the dictionary."""
        while True:
            write(references)
            text, names, lengths = verified.getHeader(path, nargout=3)
            kept = names.to_list()
            # A reference that mates have added may have mates on others, which come in next time.
            if set(kept) <= set(references):
                break
            references = kept
        replace_header(
            path, without_references(_bytes(text), {_bytes(name) for name in kept}),
            [Reference(*pair) for pair in zip(kept, lengths.tolist())])

    def _require_kept(self, path: str, format: str, numbers: np.ndarray[Any, Any] | None) -> None:
        """Raises LossyConversion when a file that was written, of the records of these numbers, or
        of all, does not say what this one does."""

    def _require_sorted(self, path: str) -> None:
        """The same for all records in another order."""

    def _numbers(self, records: Sequence[int] | np.ndarray[Any, Any] | None
                 ) -> np.ndarray[Any, Any] | None:
        if records is None:
            return None
        numbers = record_numbers(records)
        # The function would leave out without a word what it does not find.
        if len(numbers) == 0 or np.any(np.diff(numbers) <= 0) or numbers[-1] >= self.records:
            raise error_of("seqlab:readkit:BadIndex", (),
                           f"Records must be ascending numbers from 0 to {self.records - 1}.")
        return numbers

    def _put_header_before(self, path: str) -> None:
        header = _bytes(self.header)
        if header and not header.endswith(b"\n"):
            header += b"\n"
        if b"@SQ\t" not in header:
            for name, length in self.references:
                header += b"@SQ\tSN:%b\tLN:%d\n" % (_bytes(name), length)
        whole = path + ".whole"
        with open(whole, "wb") as output, open(path, "rb") as lines:
            output.write(header)
            shutil.copyfileobj(lines, output, 1 << 20)
        os.replace(whole, path)

    # ---- What it looks like

    def __repr__(self) -> str:
        count = len(self.references)
        return f"<{self.kind} file {self.path!r}: {count} reference{'' if count == 1 else 's'}>"

    def _repr_html_(self) -> str:
        with self._lock:
            references = self.references
            # What is not known yet would take a reading of the file.
            scan = self._kept.get("scan")
        facts = [("size", bytes_text(os.path.getsize(self.path))),
                 ("references", f"{len(references):,}, {sum(r.length for r in references):,} bases"),
                 *self._facts()]
        if scan is not None:
            facts += [("records", f"{int(scan[1].sum()) + scan[2]:,}, {scan[2]:,} without a reference"),
                      ("order", "by coordinate" if scan[0] else "other than by coordinate")]
        titles = ["reference", "bases"] + ([] if scan is None else ["records"])
        rows = [[name, f"{length:,}"] + ([] if scan is None else [f"{scan[1][i]:,}"])
                for i, (name, length) in enumerate(references[:10])]
        rest = len(references) - len(rows)
        return (facts_html(f"{self.kind} file {self.path}", facts) + rows_html(titles, rows)
                + (f"<p>and {rest:,} more</p>" if rest else ""))

    def _facts(self) -> list[tuple[str, str]]:
        """What else there is to say in notebooks."""
        return []


def _bytes(text: str) -> bytes:
    return text.encode("utf-8", "surrogateescape")


def record_numbers(records: Sequence[int] | np.ndarray[Any, Any]) -> np.ndarray[Any, Any]:
    """0-based record numbers of a list of such, or of truth values. Raises BadIndex."""
    numbers = np.asarray(records)
    if numbers.dtype == bool:
        numbers = np.flatnonzero(numbers)
    if numbers.size == 0:
        return np.zeros(0, np.int64)
    if numbers.ndim != 1 or numbers.dtype.kind not in "iu" or numbers.min() < 0:
        raise error_of("seqlab:readkit:BadIndex", (),
                       "Records must be a list of integers from 0 on, or of truth values.")
    return numbers.astype(np.int64)
