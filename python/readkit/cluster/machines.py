"""Many files at once."""

from __future__ import annotations

import dataclasses
import logging
import os
import signal
from typing import Any, Callable, Iterable, Mapping, Sequence, TypeVar, Union

from readkit.bam_file import Counts
from readkit.checks import Check
from readkit.cluster import jobs
from readkit.cluster.running import Failure, Job, distributed, run
from readkit.cluster.windowed_file import WINDOW, WindowedBamFile
from readkit.progress import Progress
from readkit.qualities import Quality

_Path = Union[str, "os.PathLike[str]"]
#: Files, or for each file the one that belongs to it.
Files = Union[Iterable[_Path], Mapping[_Path, _Path]]
#: Takes the errors of files, by their names.
Failed = dict[str, BaseException]
_Result = TypeVar("_Result")


class Cluster:
    """The workers of a Dask cluster.

    Names of files must mean the same files on all machines; relative ones begin at the current
    folder of the caller. Results come by name, in the order of the files. What holds for all
    methods:

    - ``failed``: a dict that gets the errors of files that cannot be worked on, by their names; the
      others' results come all the same. Without it the first error that is known ends the call.
      Errors are those of one machine; their text and, where they are of the library, ``path`` name
      the file.
    - ``progress``: as everywhere, but told the number of files that are done, and of all.
    - A worker that dies is replaced: what it was doing is done again. WorkersDied says that this
      did not help, by default after four workers that had nothing else to do.
    - Outputs appear when they are complete. A call that is interrupted ends on all workers.

    Raises:
        ImportError: Dask is not installed.
    """

    def __init__(self, where: Any = None, *, workers: int | None = None) -> None:
        """Connects, or starts processes.

        Args:
            where: a `distributed.Client`, which stays open, or the address of a scheduler. Without
                it, processes of this machine, until `close()`.
            workers: how many processes; without it, one for each processor.
        """
        module = distributed()
        if where is not None and workers is not None:
            raise ValueError("the number of workers is for a cluster of this machine's processes")
        self._own: list[Any] = []
        if isinstance(where, module.Client):
            if where.asynchronous:
                raise ValueError("the client must not be asynchronous")
            self.client: Any = where
            return
        if where is None:
            # The library finds out itself how much memory there is. Any port does: there is no
            # dashboard, whose modules take seconds to load.
            where = module.LocalCluster(
                n_workers=workers or len(os.sched_getaffinity(0)), threads_per_worker=1,
                memory_limit=None, dashboard_address="127.0.0.1:0",
                scheduler_kwargs={"dashboard": False}, silence_logs=logging.ERROR)
            self._own.append(where)
        self.client = module.Client(where, set_as_default=False)
        self._own.append(self.client)
        if len(self._own) == 2:
            self.client.register_worker_plugin(_WithoutInterrupts(), name="readkit")

    def close(self) -> None:
        """Ends what the object has started: its connection, its processes."""
        while self._own:
            self._own.pop().close()

    def __enter__(self) -> Cluster:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<Cluster of {len(self.client.scheduler_info()['workers'])} workers>"

    # ---- Many files

    def index(self, files: Files, *, complete: bool = True, failed: Failed | None = None,
              progress: Progress = None) -> dict[str, str]:
        """Makes an index of each BAM file, as `BamFile.index`, and gives their names.

        Args:
            files: the files, or a dict from files to the indexes to write.
        """
        return self._each("index", jobs.index, files, {"complete": complete}, failed, progress)

    def sort(self, files: Files, *, failed: Failed | None = None,
             progress: Progress = None) -> dict[str, str]:
        """Writes the records of each BAM or SAM file in coordinate order, as `BamFile.sort`, and
        gives the names of what it wrote.

        Args:
            files: the files, or a dict from files to those to write.
        """
        return self._each("sort", jobs.sort, files, {}, failed, progress)

    def convert(self, files: Mapping[_Path, _Path], format: str | None = None, *,
                references: Sequence[str] | None = None, failed: Failed | None = None,
                progress: Progress = None) -> dict[str, str]:
        """Writes the records of each file in another format, as `BamFile.convert`, and gives the
        names of what it wrote.

        Args:
            files: a dict from files to those to write.
            format, references: as in `BamFile.convert`.
        """
        if not isinstance(files, Mapping):
            raise TypeError("convert() needs a dict from files to outputs")
        settings = {"format": format, "references": references}
        return self._each("convert", jobs.convert, files, settings, failed, progress)

    def check(self, files: Files, *, failed: Failed | None = None,
              progress: Progress = None) -> dict[str, Check]:
        """What is wrong with each file, as `readkit.check`.

        Args:
            files: the files, or a dict from BAM files to their indexes.
        """
        return self._each("check", jobs.check, files, {}, failed, progress, writes=False)

    def count(self, files: Iterable[_Path], *, failed: Failed | None = None,
              progress: Progress = None, **filters: Any) -> dict[str, Counts]:
        """The records of each BAM file that pass filters, with the arguments of `BamFile.count`.
        `open` counts one large file by windows."""
        return self._each("count", jobs.count, _only(files), {"filters": filters}, failed, progress,
                          writes=False)

    def quality(self, files: Iterable[_Path], *, failed: Failed | None = None,
                progress: Progress = None, **settings: Any) -> Quality:
        """Qualities and bases of the reads of all files together, with the arguments of
        `readkit.quality`.

        Raises:
            ValueError: no file, or none that has no error.
        """
        total: Quality | None = None
        summed: set[str] = set()

        def add(name: str, found: Quality) -> None:
            nonlocal total
            # Sums of integers: the order does not matter.
            total = found if total is None else total + found
            summed.add(name)

        pairs = _pairs(_only(files))
        self._run("quality", jobs.quality, pairs, {"settings": settings}, failed, progress, add,
                  writes=False)
        if total is None:
            raise ValueError("no source of qualities")
        return dataclasses.replace(
            total, sources=tuple(name for name, _ in pairs if name in summed))

    def _each(self, what: str, function: Callable[..., Any], files: Files,
              arguments: dict[str, Any], failed: Failed | None, progress: Progress,
              writes: bool = True) -> dict[str, Any]:
        pairs = _pairs(files)
        if _is_any_twice([os.path.abspath(name) for name, _ in pairs]):
            raise ValueError("a file is there twice")
        if writes and _is_any_twice([other for _, other in pairs if other is not None]):
            raise ValueError("an output is there twice")
        results: dict[str, Any] = {}
        self._run(what, function, pairs, arguments, failed, progress, results.__setitem__, writes)
        return {name: results[name] for name, _ in pairs if name in results}

    def _run(self, what: str, function: Callable[..., Any], pairs: list[tuple[str, str | None]],
             arguments: dict[str, Any], failed: Failed | None, progress: Progress,
             take: Callable[[str, Any], object], writes: bool) -> None:
        def done(number: int, result: Any) -> None:
            name = pairs[number][0]
            if not isinstance(result, Failure):
                take(name, result)
            elif failed is None:
                raise result.error
            else:
                failed[name] = result.error

        run(self.client, what,
            [Job(function, os.path.abspath(name), {"other": other, **arguments},
                 (other or os.path.abspath(name)) if writes else None)
             for name, other in pairs], done, progress)

    # ---- One large file

    def open(self, path: _Path, *, window: int = WINDOW) -> WindowedBamFile:
        """A large BAM file that all workers read at the same time.

        Args:
            path: the file; it should have an index beside it, as `index` makes it.
            window: how many bytes of the file, compressed, a worker reads at a time.

        Raises:
            FileNotFound, InvalidInputFormat for a file that is no BAM file, those of reading.
        """
        return WindowedBamFile(self.client, os.path.abspath(path), window)


class _WithoutInterrupts:
    """Has a worker leave Ctrl-C, which reaches all processes of a terminal, to the caller, who
    tells it to end what it does."""

    def setup(self, worker: Any) -> None:
        signal.signal(signal.SIGINT, signal.SIG_IGN)


def _only(files: Any) -> Any:
    if isinstance(files, Mapping):
        raise TypeError("a list of files is needed here")
    return files


def _pairs(files: Files) -> list[tuple[str, str | None]]:
    """Names of files, and absolute names of what belongs to them."""
    if isinstance(files, (str, bytes, os.PathLike)):
        raise TypeError("a list of files is needed, also of one")
    if isinstance(files, Mapping):
        return [(os.fspath(name), os.path.abspath(other)) for name, other in files.items()]
    return [(os.fspath(name), None) for name in files]


def _is_any_twice(names: list[str]) -> bool:
    return len(set(names)) < len(names)
