"""One large BAM file, which all workers read at the same time."""

from __future__ import annotations

import dataclasses
from typing import Any, Callable, Sequence

import numpy as np

from readkit.bam_file import BamFile, Counts, Starts, records_within, wanted_fields, wanted_place
from readkit.cluster import window_jobs
from readkit.cluster.running import Failure, Job, run
from readkit.cluster.window_jobs import Known, Part, PartOfCounts, Plan
from readkit.errors import Error, FileChanged, WorkersDied
from readkit.progress import Progress
from readkit.regions import Reference, Region, reference_index
from readkit.tables import Table

#: Bytes of a file, compressed, that a worker reads at a time.
WINDOW = 8 << 20


class _Unreliable(Exception):
    """Windows do not give what one machine does, or cannot be made."""


class WindowedBamFile:
    """A BAM file in windows of whole records. Made by `readkit.cluster.Cluster.open`.

    Methods have the arguments, results and errors of those of `BamFile`. Where there is no index
    beside the file that is no older and counts its records, or where windows do not have as many
    records as it counts, or one cannot be read, one worker reads the whole file: the result, or the
    error, is that of one machine in any case. ``progress`` is told the number of windows that are
    done, and of all.
    """

    def __init__(self, client: Any, path: str, window: int) -> None:
        if window < 1:
            raise ValueError("a window has a byte at least")
        self.path = path
        self.window = window
        self._client = client
        self._known: Known | None = None
        self._plans: dict[int, Plan] = {}
        self._parts: dict[int, list[Part]] = {}
        self._look()

    def __fspath__(self) -> str:
        return self.path

    def __repr__(self) -> str:
        count = len(self.references)
        return (f"<BAM file {self.path!r} in windows: {count} "
                f"reference{'' if count == 1 else 's'}>")

    @property
    def header(self) -> str:
        """The header's text."""
        return self._look().header

    @property
    def references(self) -> list[Reference]:
        """Names and lengths of the references, in the header's order."""
        return list(self._look().references)

    def starts(self, reference: str | int, *, progress: Progress = None) -> Starts:
        """As `BamFile.starts`."""
        def by_windows() -> Starts:
            number = reference_index(self.references, reference)
            found = self._read(number, None, None, progress)
            joined = Starts(*map(np.concatenate, zip(*found)))
            for array in joined:
                array.setflags(write=False)
            return joined

        result: Starts = self._right(by_windows, "starts", (reference,), {})
        return result

    def fields(self, reference: str | int | None = None,
               names: str | Sequence[str] = BamFile.FIELDS, *,
               records: Sequence[int] | np.ndarray[Any, Any] | None = None,
               region: str | None = None, progress: Progress = None) -> Table:
        """As `BamFile.fields`. The first query of a reference reads all of its windows; later ones
        those that hold what they ask for."""
        wanted = wanted_fields(names)

        def by_windows() -> Table:
            number, where = wanted_place(self.references, reference, region, records)
            if records is None:
                return Table.concatenate(self._read(number, wanted, where, progress))
            if number not in self._parts:
                self._read(number, [], np.zeros(0, np.int64), progress)
            counts = [part.records for part in self._parts[number]]
            numbers = records_within(sum(counts), records)
            rows, order = np.unique(numbers, return_inverse=True)
            table = Table.concatenate(self._read(number, wanted, rows, progress))
            return table if np.array_equal(rows, numbers) else table.take(order)

        result: Table = self._right(by_windows, "fields", (reference, names),
                                    {"records": records, "region": region})
        return result

    def count(self, *, progress: Progress = None, **filters: Any) -> Counts:
        """As `BamFile.count`, with its arguments."""
        def by_windows() -> Counts:
            known = self._look()
            plan = self._plan(window_jobs.plan_file, -1)
            parts: list[PartOfCounts] = self._all([
                Job(window_jobs.part_of_counts, self.path,
                    {"state": known.state, "first_record": plan.first_record, "span": span,
                     "filters": filters})
                for span in plan.spans], progress)
            tallies = {name: sum(part.counts.tallies[name] for part in parts)
                       for name in parts[0].counts.tallies}
            if plan.records is not None and tallies["total"] != plan.records:
                raise _Unreliable
            table = Table.concatenate([part.counts.table for part in parts])
            if (filters.get("multi_mapped") == "drop_by_nh" and table.rows
                    and not any(part.had_nh for part in parts)):
                raise _Unreliable
            return Counts(table, tallies, any(part.counts.some_nh_missing for part in parts))

        result: Counts = self._right(by_windows, "count", (), filters)
        return result

    # ---- By windows, or by one worker

    def _right(self, by_windows: Callable[[], Any], method: str, arguments: tuple[Any, ...],
               settings: dict[str, Any]) -> Any:
        """What `by_windows` gives; or what one worker gives, which says what is wrong as one
        machine says it."""
        try:
            try:
                return by_windows()
            except FileChanged:
                self._forget()
                return by_windows()
        except WorkersDied:
            raise
        except (Error, _Unreliable):
            self._forget()
        return self._one(window_jobs.whole_file, method=method, arguments=arguments,
                         settings=settings)

    def _forget(self) -> None:
        self._known = None
        self._plans = {}
        self._parts = {}

    def _look(self) -> Known:
        if self._known is None:
            self._known = self._one(window_jobs.look)
        return self._known

    def _plan(self, function: Callable[..., Any], number: int, **arguments: Any) -> Plan:
        """How the file is read for a reference; for all of it, with the number -1."""
        if number not in self._plans:
            known = self._look()
            plan = self._one(function, state=known.state, references=len(known.references),
                             window=self.window, **arguments)
            if plan is None:
                raise _Unreliable
            self._plans[number] = plan
        return self._plans[number]

    def _read(self, number: int, names: list[str] | None,
              chosen: np.ndarray[Any, Any] | Region | None, progress: Progress) -> list[Any]:
        """Starts, or fields, of the windows of a reference, in their order; of one at least."""
        plan = self._plan(window_jobs.plan_reference, number, reference=number)
        known = self._parts.get(number)
        state = self._look().state
        choices: dict[int, Any] = {}
        for i in range(len(plan.spans)):
            choice = chosen if known is None else _choice(known, i, chosen)
            if choice is not _NOTHING:
                choices[i] = choice
        if not choices:
            choices[0] = np.zeros(0, np.int64)
        parts: list[Part] = self._all([
            Job(window_jobs.part_of_reference, self.path,
                {"state": state, "reference": number, "span": plan.spans[i], "names": names,
                 "chosen": choice}) for i, choice in choices.items()], progress)
        if known is None:
            self._keep(number, plan, parts)
        return [part.result for part in parts]

    def _keep(self, number: int, plan: Plan, parts: list[Part]) -> None:
        """Remembers where records are, if they are all there."""
        there = [part for part in parts if part.records]
        if (sum(part.records for part in parts) != plan.records
                or not all(part.is_ordered for part in parts)
                or any(one.last > next.first for one, next in zip(there, there[1:]))):
            raise _Unreliable
        self._parts[number] = [dataclasses.replace(part, result=None) for part in parts]

    # ---- Jobs

    def _one(self, function: Callable[..., Any], **arguments: Any) -> Any:
        results: list[Any] = []
        run(self._client, "open", [Job(function, self.path, arguments)],
            lambda _, result: results.append(result))
        if isinstance(results[0], Failure):
            raise results[0].error
        return results[0]

    def _all(self, jobs: list[Job], progress: Progress) -> list[Any]:
        results: list[Any] = [None] * len(jobs)

        def take(number: int, result: Any) -> None:
            if isinstance(result, Failure):
                if isinstance(result.error, Error):
                    raise result.error
                raise _Unreliable from result.error
            results[number] = result

        run(self._client, "windows", jobs, take, progress)
        return results


_NOTHING = object()


def _choice(known: list[Part], window: int, chosen: np.ndarray[Any, Any] | Region | None) -> Any:
    """What of a window is chosen, when it is known where records are."""
    part = known[window]
    if chosen is None:
        return None if part.records else _NOTHING
    if isinstance(chosen, Region):
        overlaps = part.records and part.first <= chosen.last and part.end >= chosen.first
        return chosen if overlaps else _NOTHING
    before = sum(other.records for other in known[:window])
    begin, end = np.searchsorted(chosen, [before, before + part.records])
    return chosen[begin:end] - before if begin < end else _NOTHING


__all__ = ["WINDOW", "WindowedBamFile"]
