"""What is wrong with a file."""

from __future__ import annotations

import contextlib
import os
from dataclasses import dataclass

from readkit import gateway
from readkit.progress import Progress, watching
from readkit.tables import Table


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
